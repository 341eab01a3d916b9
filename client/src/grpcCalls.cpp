#include "grpcCalls.h"

#include <algorithm>
#include <utility>

namespace tlm {
namespace {

using grpc::Status;
using grpc::StatusCode;

// What the server has said by a status of the call: it has carried out nothing, and would not at another time.
struct Verdict {
  StatusCode code;
  bool marked;  // gRPC gives it too, of its own accord and at any moment: the server's mark has to stand with it
  wire::Status status;
};

constexpr Verdict kVerdicts[] = {{StatusCode::RESOURCE_EXHAUSTED, true, wire::kTooLarge},
                                 {StatusCode::INVALID_ARGUMENT, false, wire::kMalformed},
                                 {StatusCode::UNIMPLEMENTED, false, wire::kUnknownRequest},
                                 {StatusCode::PERMISSION_DENIED, false, wire::kRefused},
                                 {StatusCode::UNAUTHENTICATED, false, wire::kRefused}};

// Room that a server's word alone makes; beyond it a text grows by what has come.
constexpr uint64_t kReservedAtOnce = uint64_t{16} << 20;

GrpcOutcome unknown(const Status& status) { return {std::nullopt, status.error_message()}; }

GrpcOutcome refused(wire::Status status, const std::string& why) {
  return {wire::BlockReply{wire::Reply::failure(status, why), {}}, {}};
}

bool isMarked(const grpc::ClientContext& context) {
  return context.GetServerTrailingMetadata().count(wire::kVerdictKey) != 0;
}

GrpcOutcome failed(const grpc::ClientContext& context, const Status& status) {
  for (const Verdict& verdict : kVerdicts) {
    if (verdict.code == status.error_code() && (!verdict.marked || isMarked(context)))
      return refused(verdict.status, status.error_message());
  }
  return unknown(status);
}

// Splits the pieces over the parts that wait for them.
class Filler {
 public:
  explicit Filler(const std::vector<wire::Part>& parts) : parts_(parts) {}

  bool take(std::string_view data) {
    while (!data.empty()) {
      if (at_ == parts_.size()) return false;
      std::string& text = *parts_[at_].text;
      if (text.empty()) text.reserve(std::min(parts_[at_].bytes, kReservedAtOnce));
      const size_t room = std::min<uint64_t>(parts_[at_].bytes - text.size(), data.size());
      text.append(data.substr(0, room));
      data.remove_prefix(room);
      if (text.size() == parts_[at_].bytes) ++at_;
    }
    return true;
  }
  bool full() const { return at_ == parts_.size(); }

 private:
  const std::vector<wire::Part>& parts_;
  size_t at_ = 0;
};

Status broken() { return {StatusCode::DATA_LOSS, "the pieces of a reply do not make a whole"}; }

}  // namespace

GrpcOutcome GrpcCalls::carryOut(const wire::Block& block) const {
  const bool whole = wire::sizeOf(block) <= wire::kWholeBytes;
  v1::BlockPiece first;
  wire::toMessage(block, user, whole, first.mutable_block());
  // Only the bodies can be cut; gRPC over there would turn it away each time that it came.
  if (first.ByteSizeLong() > wire::kMessageBytes)
    return refused(wire::kTooLarge, "the names do not fit into a message");
  v1::BlockReply message;
  GrpcOutcome outcome = call(block, whole, &first, &message);
  if (!outcome.reply || outcome.reply->whole.status != wire::kOk) return outcome;
  const std::string rest = std::move(*message.mutable_rest());
  std::vector<wire::Part> missing;
  wire::fromMessage(std::move(message), &*outcome.reply, &missing);
  if (rest.empty()) return outcome;
  const Status status = takeRest(rest, missing);
  return status.ok() ? std::move(outcome) : unknown(status);  // whatever it says, the block was carried out
}

// The outcome of a call that succeeded is empty still.
GrpcOutcome GrpcCalls::call(const wire::Block& block, bool whole, v1::BlockPiece* first, v1::BlockReply* reply) const {
  grpc::ClientContext context;
  context.set_deadline(deadline);
  if (!enter(context)) return unknown({StatusCode::UNAVAILABLE, "the line is dead"});
  const Status status = whole ? stub.Call(&context, first->block(), reply) : upload(context, block, first, reply);
  leave();
  return status.ok() ? GrpcOutcome{wire::BlockReply{}, {}} : failed(context, status);
}

Status GrpcCalls::upload(grpc::ClientContext& context, const wire::Block& block, v1::BlockPiece* first,
                         v1::BlockReply* reply) const {
  const auto writer = stub.Upload(&context, reply);
  v1::BlockPiece& piece = *first;
  bool going = writer->Write(piece);
  piece.clear_block();
  const auto send = [&] {
    going = going && writer->Write(piece);
    piece.mutable_data()->clear();
  };
  for (const wire::Request& request : block.requests) {
    for (size_t at = 0; at < request.body.size() && going;) {
      const size_t room = std::min(wire::kPieceBytes - piece.data().size(), request.body.size() - at);
      piece.mutable_data()->append(request.body, at, room);
      at += room;
      if (piece.data().size() == wire::kPieceBytes) send();
    }
  }
  if (!piece.data().empty()) send();
  if (going) writer->WritesDone();
  return writer->Finish();
}

Status GrpcCalls::takeRest(const std::string& name, const std::vector<wire::Part>& parts) const {
  grpc::ClientContext context;
  context.set_deadline(deadline);
  if (!enter(context)) return {StatusCode::UNAVAILABLE, "the line is dead"};
  v1::PiecesRequest request;
  request.set_rest(name);
  const auto reader = stub.TakePieces(&context, request);
  Filler filler(parts);
  v1::Piece piece;
  bool good = true;
  while (reader->Read(&piece)) good = good && filler.take(piece.data());
  const Status status = reader->Finish();
  leave();
  return status.ok() && !(good && filler.full()) ? broken() : status;
}

}  // namespace tlm
