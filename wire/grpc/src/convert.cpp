#include <TlmWireGrpc/convert.h>
#include <TlmWireGrpc/plainForm.h>

#include <utility>

namespace tlm::wire {
namespace {

bool bodyOf(const v1::Request& message, RequestKind kind, std::string* body, std::string* why) {
  switch (message.plain_case()) {
    case v1::Request::kTable:
      return kind == RequestKind::kUpdate ? packTable(message.table(), body, why)
                                          : packRecord(message.table(), body, why);
    case v1::Request::kArgument:
      return packScriptValue(message.argument(), body, why);
    default:
      *body = message.body();
      return true;
  }
}

void toMessage(Reply& reply, bool whole, v1::Reply* message) {
  message->set_status(reply.status);
  if (reply.payload && (whole || reply.payload->empty()))
    message->set_payload(std::move(*reply.payload));
  else if (reply.payload)
    message->set_payload_bytes(reply.payload->size());
  if (reply.text && (whole || reply.text->empty()))
    message->set_text(std::move(*reply.text));
  else if (reply.text)
    message->set_text_bytes(reply.text->size());
}

void fromMessage(v1::Reply& message, Reply* reply, std::vector<Part>* missing) {
  const auto toCome = [&](std::optional<std::string>* part, uint64_t bytes) {
    if (bytes > 0) missing->push_back({&part->emplace(), bytes});
  };
  reply->status = message.status();
  if (message.has_payload()) reply->payload = std::move(*message.mutable_payload());
  toCome(&reply->payload, message.payload_bytes());
  if (message.has_text()) reply->text = std::move(*message.mutable_text());
  toCome(&reply->text, message.text_bytes());
}

}  // namespace

void toMessage(const Block& block, const std::string& user, bool bodies, v1::Block* message) {
  message->set_identity(block.identity);
  message->set_user(user);
  for (const Request& request : block.requests) {
    v1::Request* const one = message->add_requests();
    one->set_kind(static_cast<v1::RequestKind>(request.kind));
    one->set_name(request.name);
    if (bodies)
      one->set_body(request.body);
    else
      one->set_body_bytes(request.body.size());
  }
}

bool fromMessage(const v1::Block& message, Block* block, std::string* why) {
  block->identity = message.identity();
  for (const v1::Request& one : message.requests()) {
    if (one.kind() < v1::PACKET || one.kind() > v1::PROCEDURE) return *why = "an unknown kind of request", false;
    Request request;
    request.kind = static_cast<RequestKind>(one.kind());
    request.name = one.name();
    if (!bodyOf(one, request.kind, &request.body, why)) return false;
    block->requests.push_back(std::move(request));
  }
  return true;
}

void toMessage(BlockReply& reply, bool whole, v1::BlockReply* message) {
  toMessage(reply.whole, whole, message->mutable_whole());
  while (message->each_size() < static_cast<int>(reply.each.size())) message->add_each();
  for (size_t i = 0; i < reply.each.size(); ++i) {
    toMessage(reply.each[i], whole, message->mutable_each(static_cast<int>(i)));
  }
}

void fromMessage(v1::BlockReply&& message, BlockReply* reply, std::vector<Part>* missing) {
  fromMessage(*message.mutable_whole(), &reply->whole, missing);
  reply->each.resize(static_cast<size_t>(message.each_size()));
  for (int i = 0; i < message.each_size(); ++i) {
    fromMessage(*message.mutable_each(i), &reply->each[static_cast<size_t>(i)], missing);
  }
}

std::vector<const std::string*> partsOf(const BlockReply& reply) {
  std::vector<const std::string*> parts;
  const auto take = [&](const Reply& one) {
    if (one.payload && !one.payload->empty()) parts.push_back(&*one.payload);
    if (one.text && !one.text->empty()) parts.push_back(&*one.text);
  };
  take(reply.whole);
  for (const Reply& one : reply.each) take(one);
  return parts;
}

void toMessage(const Event& event, bool plain, v1::Event* message) {
  message->set_sequence(event.sequence);
  message->set_kind(event.kind);
  message->set_time(event.time);
  message->set_key(event.key);
  message->set_param(event.param);
  message->set_user(event.user);
  if (!event.image) return;
  if (plain && plainRecord(*event.image, message->mutable_record())) return;
  message->clear_record();
  message->set_image(*event.image);
}

Event fromMessage(v1::Event&& message) {
  Event event;
  event.sequence = message.sequence();
  event.kind = message.kind();
  event.time = message.time();
  event.key = std::move(*message.mutable_key());
  event.param = std::move(*message.mutable_param());
  event.user = std::move(*message.mutable_user());
  if (message.has_image()) event.image = std::move(*message.mutable_image());
  return event;
}

void toMessage(const ParamValue& value, v1::ParamValue* message) {
  message->set_loc_id(value.locId);
  message->set_time(value.time);
  message->set_quality(value.quality);
  message->set_value(value.value);
}

ParamValue fromMessage(v1::ParamValue&& message) {
  return {message.loc_id(), message.time(), message.quality(), std::move(*message.mutable_value())};
}

}  // namespace tlm::wire
