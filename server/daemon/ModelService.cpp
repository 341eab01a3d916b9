#include "ModelService.h"

#include <TlmWireGrpc/convert.h>
#include <TlmWireGrpc/plainForm.h>

#include <algorithm>
#include <exception>
#include <limits>
#include <system_error>
#include <utility>

namespace tlm::server {
namespace {

using grpc::Status;
using grpc::StatusCode;

constexpr auto kSlowCall = std::chrono::seconds(1);
// A request costs memory of its own, however short it is, and a name is copied into each event of a block.
constexpr int kMostRequests = 65'536;
constexpr size_t kLongestUser = 256;

Status tooMany() { return {StatusCode::UNAVAILABLE, "too many calls under way"}; }
Status tooLarge() { return {StatusCode::RESOURCE_EXHAUSTED, "over the limit of size"}; }

std::string count(size_t number) { return std::to_string(number); }

Status checkBounds(const v1::Block& block) {
  if (block.requests_size() > kMostRequests) return {StatusCode::RESOURCE_EXHAUSTED, "too many requests in a block"};
  if (block.user().size() > kLongestUser) return {StatusCode::INVALID_ARGUMENT, "the name of the user is too long"};
  return Status::OK;
}

// None of these codes is given here to a block that has written.
Status marked(grpc::ServerContext* context, Status status) {
  const StatusCode code = status.error_code();
  if (code == StatusCode::RESOURCE_EXHAUSTED || code == StatusCode::INVALID_ARGUMENT)
    context->AddTrailingMetadata(wire::kVerdictKey, wire::kVerdictValue);
  return status;
}

// The status of the whole stays what it is: who wrote has to know that it is written.
void leaveOutAnswers(const wire::Block& block, wire::BlockReply* reply) {
  for (size_t i = 0; i < reply->each.size() && i < block.requests.size(); ++i) {
    if (block.requests[i].kind != wire::RequestKind::kUpdate)
      reply->each[i] = wire::Reply::failure(wire::kTooLarge, "written, but the answers do not fit");
  }
}

}  // namespace

ModelService::ModelService(Core& core, const NetOptions& options, Log& log)
    : core_(core),
      options_(options),
      log_(log),
      shelf_(options.heldBytes, std::chrono::milliseconds(options.replyKeptMs)),
      house_{core,
             options.queueBytes,
             options.beatMs,
             options.maxRequestBytes,
             [this](std::function<void()> job) { return later(std::move(job)); },
             [this](Listener* listener, const std::string& why) { ended(listener, why); }},
      places_(options.maxCalls, patience(), log),
      feeds_(core, log),
      beats_([this] { beat(); }) {}

void ModelService::settle() {
  feeds_.settle();
  {
    std::unique_lock lock(mutex_);
    wake_.wait(lock, [this] { return listeners_.empty() && work_.empty() && atWork_ == 0; });
    closed_ = true;
  }
  wake_.notify_all();
  { const std::lock_guard tending(tending_); }  // the last to end may be on its way out
  for (std::thread& worker : workers_) worker.join();
  workers_.clear();
  if (beats_.joinable()) beats_.join();
}

// ---- calls ----

Status ModelService::StreamedCall(grpc::ServerContext* context,
                                  grpc::ServerUnaryStreamer<v1::Block, v1::BlockReply>* stream) {
  v1::BlockReply response;
  Status status = call(context, stream, &response);
  if (status.ok()) stream->WriteLast(response, grpc::WriteOptions());
  return marked(context, std::move(status));
}

Status ModelService::Upload(grpc::ServerContext* context, grpc::ServerReader<v1::BlockPiece>* reader,
                            v1::BlockReply* response) {
  return marked(context, upload(context, reader, response));
}

Status ModelService::call(grpc::ServerContext* context, grpc::ServerUnaryStreamer<v1::Block, v1::BlockReply>* stream,
                          v1::BlockReply* response) {
  CallPlaces::Place place(places_, context, wire::kMessageBytes);
  if (!place.given()) return tooMany();
  v1::Block request;
  if (!stream->Read(&request)) return {StatusCode::INVALID_ARGUMENT, "not a block"};
  if (!place.carriesOut({})) return tooMany();
  if (const Status good = checkBounds(request); !good.ok()) return good;
  wire::Block block;
  std::string why;
  if (!wire::fromMessage(request, &block, &why)) return {StatusCode::INVALID_ARGUMENT, why};
  return carryOut(block, request, context->peer(), response);
}

Status ModelService::upload(grpc::ServerContext* context, grpc::ServerReader<v1::BlockPiece>* reader,
                            v1::BlockReply* response) {
  CallPlaces::Place place(places_, context, wire::kMessageBytes);
  if (!place.given()) return tooMany();
  v1::Block first;
  wire::Block block;
  if (Status read = readPieces(place, reader, &first, &block); !read.ok()) return read;
  if (!place.carriesOut(patience())) return tooMany();  // it would have to come again as a whole
  return carryOut(block, first, context->peer(), response);
}

// The lengths are checked before a byte of the bodies is kept, and nothing is taken for granted about them.
Status ModelService::readPieces(const CallPlaces::Place& place, grpc::ServerReader<v1::BlockPiece>* reader,
                                v1::Block* first, wire::Block* block) {
  v1::BlockPiece piece;
  std::string why;
  if (!reader->Read(&piece) || !piece.has_block()) return {StatusCode::INVALID_ARGUMENT, "no block in the first piece"};
  place.goesOn();
  *first = std::move(*piece.mutable_block());
  if (const Status good = checkBounds(*first); !good.ok()) return good;
  if (!wire::fromMessage(*first, block, &why)) return {StatusCode::INVALID_ARGUMENT, why};
  uint64_t left = options_.maxRequestBytes;
  for (const v1::Request& request : first->requests()) {
    if (request.body_bytes() > left) return tooLarge();
    left -= request.body_bytes();
  }
  int at = 0;
  uint64_t wanted = first->requests_size() > 0 ? first->requests(0).body_bytes() : 0;
  const auto next = [&] {
    while (wanted == 0 && ++at < first->requests_size()) wanted = first->requests(at).body_bytes();
    return wanted > 0;
  };
  size_t bytes = 0;
  while (reader->Read(&piece)) {
    bytes += piece.data().size();
    if (bytes >= wire::kPieceBytes) {
      place.goesOn();
      bytes = 0;
    }
    std::string_view rest = piece.data();
    while (!rest.empty()) {
      if (!next()) return {StatusCode::INVALID_ARGUMENT, "more bytes than the bodies have"};
      const size_t part = std::min<uint64_t>(wanted, rest.size());
      block->requests[static_cast<size_t>(at)].body.append(rest.substr(0, part));
      rest.remove_prefix(part);
      wanted -= part;
    }
  }
  return next() ? Status(StatusCode::INVALID_ARGUMENT, "fewer bytes than the bodies have") : Status::OK;
}

Status ModelService::carryOut(const wire::Block& block, const v1::Block& asked, const std::string& peer,
                              v1::BlockReply* response) {
  const auto start = Clock::now();
  wire::BlockReply reply;
  try {
    reply = core_.execute(block, {asked.user()});
  } catch (const std::exception& problem) {
    log_.error("call-failed", {{"peer", peer}, {"why", problem.what()}});
    return {StatusCode::INTERNAL, problem.what()};
  }
  const auto took = Clock::now() - start;
  if (reply.whole.status != wire::kOk)
    log_.info("block-refused",
              {{"peer", peer}, {"user", asked.user()}, {"status", std::to_string(reply.whole.status)}});
  if (took > kSlowCall) {
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(took).count();
    log_.warning("slow-call", {{"peer", peer}, {"requests", count(block.requests.size())}, {"ms", std::to_string(ms)}});
  }
  return finishReply(block, asked.plain(), std::move(reply), response);
}

Status ModelService::finishReply(const wire::Block& block, bool plain, wire::BlockReply&& reply,
                                 v1::BlockReply* response) {
  const auto without = [&](wire::BlockReply&& left, const Status& why) {
    response->Clear();
    if (!wire::writes(block)) return why;
    leaveOutAnswers(block, &left);
    wire::toMessage(left, true, response);
    return Status::OK;
  };
  if (plain) {
    wire::makePlain(block, reply, response);
    wire::toMessage(reply, true, response);
    return response->ByteSizeLong() <= wire::kMessageBytes ? Status::OK : without(std::move(reply), tooLarge());
  }
  const size_t bytes = wire::sizeOf(reply);
  if (bytes <= wire::kWholeBytes) {
    wire::toMessage(reply, true, response);
    return Status::OK;
  }
  if (bytes > options_.heldBytes) return without(std::move(reply), tooLarge());
  wire::toMessage(reply, false, response);
  const std::string rest = shelf_.put(std::move(reply));
  if (rest.empty()) return {StatusCode::UNAVAILABLE, "too many large replies wait to be taken"};
  response->set_rest(rest);
  return Status::OK;
}

Status ModelService::StreamedTakePieces(grpc::ServerContext* context,
                                        grpc::ServerSplitStreamer<v1::PiecesRequest, v1::Piece>* stream) {
  const CallPlaces::Place place(places_, context);
  if (!place.given()) return tooMany();
  v1::PiecesRequest request;
  if (!stream->Read(&request)) return {StatusCode::INVALID_ARGUMENT, "not a request for pieces"};
  place.goesOn();
  const auto reply = shelf_.take(request.rest());
  if (!reply) return {StatusCode::NOT_FOUND, "no such reply waits to be taken"};
  v1::Piece piece;
  const auto send = [&] {
    const bool sent = stream->Write(piece);
    place.goesOn();
    piece.mutable_data()->clear();
    return sent;
  };
  for (const std::string* part : wire::partsOf(*reply)) {
    for (size_t at = 0; at < part->size();) {
      const size_t room = std::min(wire::kPieceBytes - piece.data().size(), part->size() - at);
      piece.mutable_data()->append(*part, at, room);
      at += room;
      if (piece.data().size() == wire::kPieceBytes && !send()) return Status::CANCELLED;
    }
  }
  return piece.data().empty() || send() ? Status::OK : Status::CANCELLED;
}

// ---- streams ----

grpc::ServerBidiReactor<v1::Subscription, v1::Delivery>* ModelService::Listen(grpc::CallbackServerContext* context) {
  std::unique_lock lock(mutex_);
  if (stopping_) return Listener::refuse(house_, {StatusCode::UNAVAILABLE, "the server is stopping"});
  const std::string peer = context->peer();
  if (listeners_.size() >= static_cast<size_t>(options_.maxSessions)) {
    lock.unlock();
    log_.warning("session-refused", {{"peer", peer}, {"sessions", std::to_string(options_.maxSessions)}});
    return Listener::refuse(house_, {StatusCode::RESOURCE_EXHAUSTED, "too many sessions"});
  }
  Listener* const listener = Listener::open(house_, context);
  listeners_.emplace(listener, peer);
  const size_t sessions = listeners_.size();
  lock.unlock();
  log_.info("session-opened", {{"peer", peer}, {"sessions", count(sessions)}});
  return listener;
}

void ModelService::ended(Listener* listener, const std::string& why) {
  const std::lock_guard tending(tending_);
  const std::lock_guard lock(mutex_);
  const auto known = listeners_.find(listener);
  if (known == listeners_.end()) return;
  const std::string peer = known->second;
  listeners_.erase(known);
  const size_t sessions = listeners_.size();
  if (why.empty())
    log_.info("session-closed", {{"peer", peer}, {"sessions", count(sessions)}});
  else
    log_.info("session-closed", {{"peer", peer}, {"sessions", count(sessions)}, {"why", why}});
  wake_.notify_all();
}

void ModelService::endStreams(const Status& why) {
  feeds_.endAll(why);
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  eachListener([&](Listener& listener) { listener.finish(why); });
}

void ModelService::eachListener(const std::function<void(Listener&)>& visit) {
  const std::lock_guard tending(tending_);
  std::vector<Listener*> all;
  {
    const std::lock_guard lock(mutex_);
    all.reserve(listeners_.size());
    for (const auto& [listener, peer] : listeners_) all.push_back(listener);
  }
  for (Listener* const listener : all) visit(*listener);
}

// Where the system gives no more threads the work waits for one of those that are there.
bool ModelService::later(std::function<void()> job) {
  const std::lock_guard lock(mutex_);
  if (workers_.size() < atWork_ + work_.size() + 1) {
    try {
      workers_.emplace_back([this] { work(); });
    } catch (const std::system_error& problem) {
      log_.error("no-thread", {{"workers", count(workers_.size())}, {"why", problem.what()}});
      if (workers_.empty()) return false;
    }
  }
  work_.push_back(std::move(job));
  wake_.notify_all();
  return true;
}

void ModelService::work() {
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [this] { return closed_ || !work_.empty(); });
    if (work_.empty()) return;
    std::function<void()> job = std::move(work_.front());
    work_.pop_front();
    ++atWork_;
    lock.unlock();
    job();
    job = nullptr;
    lock.lock();
    --atWork_;
    wake_.notify_all();
  }
}

void ModelService::beat() {
  std::unique_lock lock(mutex_);
  while (!wake_.wait_for(lock, std::chrono::milliseconds(options_.beatMs) / 2, [this] { return closed_; })) {
    lock.unlock();
    tend(Clock::now());
    lock.lock();
  }
}

void ModelService::tend(Clock::time_point now) {
  const auto tooOld = now - patience();
  eachListener([&](Listener& listener) {
    listener.endIfStuckSince(tooOld);
    if (listener.silentSince(tooOld))
      listener.finish({StatusCode::DEADLINE_EXCEEDED, "no subscription came"});
    else
      listener.beat(now);
  });
  places_.endStuck(now);
  feeds_.endStuckSince(tooOld);
  if (const size_t dropped = shelf_.dropOld(now); dropped > 0)
    log_.info("replies-dropped", {{"replies", count(dropped)}});
}

}  // namespace tlm::server
