#include "requests.h"

#include <TlmServer/Script.h>

#include "records.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>

namespace tlm::server {
namespace {

using wire::Reply;

struct PacketRow {
  std::string_view name;
  Reply (*handler)(const RequestContext&, std::string_view);
};

constexpr PacketRow kPackets[] = {{"TableRecords", tableRecords},    {"TableStructure", tableStructure},
                                  {"RecByKeyLink", recByKeyLink},    {"RecByKey", recByKey},
                                  {"ObjectHint", objectHint},        {"LiteModel", liteModel},
                                  {"SRV_GROUPS_INFO", serverGroups}, {"MeasParams", measParams},
                                  {"ValueHistory", valueHistory}};

struct ProcedureRow {
  std::string_view name;
  Reply (*handler)(const RequestContext&, const CVar*);
};

constexpr ProcedureRow kProcedures[] = {{"SrvReq_ObjectForms", objectForms}};

// The arguments of a script or procedure; none for an empty body.
class Arguments {
 public:
  explicit Arguments(const std::string& body) {
    CVarInit(&value_, 1);
    given_ = !body.empty();
    ok_ = !given_ || CVarFromBuffN(&value_, body.data(), body.size()) >= 0;
  }
  ~Arguments() { CVarClear(&value_, 1); }
  Arguments(const Arguments&) = delete;
  Arguments& operator=(const Arguments&) = delete;

  bool ok() const { return ok_; }
  const CVar* get() const { return given_ ? &value_ : nullptr; }

 private:
  CVar value_;
  bool given_ = false;
  bool ok_ = false;
};

Reply unknown(const std::string& name) { return Reply::failure(wire::kUnknownRequest, "no request " + name); }

Reply packet(const RequestContext& context, const wire::Request& request) {
  for (const PacketRow& row : kPackets) {
    if (row.name == request.name) return row.handler(context, request.body);
  }
  return unknown(request.name);
}

Reply procedure(const RequestContext& context, const wire::Request& request) {
  for (const ProcedureRow& row : kProcedures) {
    if (row.name != request.name) continue;
    const Arguments arguments(request.body);
    if (!arguments.ok()) return Reply::failure(wire::kMalformed, request.name + ": arguments cannot be read");
    return row.handler(context, arguments.get());
  }
  return unknown(request.name);
}

Reply runScript(const RequestContext& context, const wire::Request& request, int64_t* steps) {
  const Arguments arguments(request.body);
  if (!arguments.ok()) return Reply::failure(wire::kMalformed, "script: arguments cannot be read");
  std::string error;
  const auto compiled = context.scripts.compiled(request.name, &error);
  if (!compiled) return Reply::failure(wire::kScriptError, error);
  CVar result;
  CVarInit(&result, 1);
  const Script::Outcome outcome = compiled->run(context.tables, arguments.get(), context.allowance.left(), &result);
  *steps = outcome.steps;
  Reply reply{outcome.status, outcome.error, std::nullopt};
  if (outcome.status == wire::kOk) reply.payload = packValue(result);
  CVarClear(&result, 1);
  return reply;
}

// The time is that of all that the request asks for: to read it, to compile, to run and to pack.
Reply script(const RequestContext& context, const wire::Request& request) {
  using Clock = std::chrono::steady_clock;
  if (context.allowance.spent())
    return Reply::failure(wire::kBudgetSpent, "the scripts of the block have used up their steps or their time");
  const auto start = Clock::now();
  int64_t steps = 0;
  Reply reply = runScript(context, request, &steps);
  context.allowance.take(steps, Clock::now() - start);
  return reply;
}

size_t bytesOf(const Reply& reply) {
  const auto bytes = [](const std::optional<std::string>& text) { return text ? text->size() : 0; };
  return bytes(reply.payload) + bytes(reply.text);
}

}  // namespace

Reply answer(const RequestContext& context, const wire::Request& request) {
  Reply reply;
  switch (request.kind) {
    case wire::RequestKind::kPacket:
      reply = packet(context, request);
      break;
    case wire::RequestKind::kScript:
      reply = script(context, request);
      break;
    case wire::RequestKind::kProcedure:
      reply = procedure(context, request);
      break;
    default:
      return Reply::failure(wire::kMalformed, "unknown kind of request");
  }
  if (bytesOf(reply) > context.options.maxReplyBytes)
    return Reply::failure(wire::kTooLarge, "the answer is over the limit of size");
  return reply;
}

std::vector<Reply> answerAll(const RequestContext& context, wire::Requests requests) {
  const auto isUpdate = [](const wire::Request& request) { return request.kind == wire::RequestKind::kUpdate; };
  const char* const noRoom = std::any_of(requests.begin(), requests.end(), isUpdate)
                                 ? "written, but the answers do not fit"
                                 : "the answers of the block are over the limit of size";
  std::vector<Reply> replies(requests.size());
  size_t room = context.options.maxReplyBytes;
  bool full = false;
  for (size_t i = 0; i < requests.size(); ++i) {
    if (isUpdate(requests[i])) continue;
    if (!full) replies[i] = answer(context, requests[i]);
    const size_t bytes = bytesOf(replies[i]);
    full = full || bytes > room;
    if (full)
      replies[i] = Reply::failure(wire::kTooLarge, noRoom);
    else
      room -= bytes;
  }
  return replies;
}

std::string_view bodyText(std::string_view body) { return body.substr(0, body.find('\0')); }

std::string_view bodyValue(std::string_view body, std::string_view name) {
  std::string_view rest = bodyText(body);
  while (!rest.empty()) {
    const size_t end = rest.find('\n');
    const std::string_view line = rest.substr(0, end);
    if (line.size() > name.size() && line.substr(0, name.size()) == name && line[name.size()] == '=')
      return line.substr(name.size() + 1);
    rest = end == std::string_view::npos ? std::string_view{} : rest.substr(end + 1);
  }
  return {};
}

std::optional<int64_t> parseInteger(std::string_view text) {
  int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<double> parseNumber(std::string_view text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value)) return std::nullopt;
  return value;
}

Reply arrayReply(const RequestContext& context, const MDArray* array) {
  if (MDAMemory(array) > 2 * context.options.maxReplyBytes)
    return Reply::failure(wire::kTooLarge, "the answer is over the limit of size");
  std::string packed = wire::packArray(array);
  if (packed.empty()) return Reply::failure(wire::kTooLarge, "no memory for the answer");
  return {wire::kOk, std::move(packed), std::nullopt};
}

}  // namespace tlm::server
