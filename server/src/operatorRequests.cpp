#include "operatorRequests.h"

#include <TlmServer/CodePage.h>

#include <cmath>
#include <limits>

#include "objects.h"
#include "requests.h"
#include "values.h"

namespace tlm::server {
namespace {

using wire::Reply;

struct RequestName {
  std::string_view name;
  OperatorRequest request;
};

constexpr RequestName kNames[] = {{"ManualValue", OperatorRequest::kManualValue},
                                  {wire::kCommandRequest, OperatorRequest::kRemoteControl},
                                  {"CommandOutcome", OperatorRequest::kCommandOutcome}};

constexpr int64_t kTimeoutSeconds = 30;  // of a signal that says nothing of it
constexpr double kSecondsPerDay = 86400;
constexpr size_t kLongestText = 4096;

Reply refused(const char* why) { return Reply::failure(wire::kRefused, toCodePage(why)); }
Reply malformed(const char* why) { return Reply::failure(wire::kMalformed, why); }

std::optional<double> doubleOf(const Object& object, const char* field) {
  const MDRVar value = objectValue(object, field);
  if (const auto whole = intOf(value)) return static_cast<double>(*whole);
  if (isNull(value) || value.type != MDX_DOUBLE) return std::nullopt;
  return double{value.f64};
}

bool isOff(const Object& object, const char* field) { return intOf(objectValue(object, field)) == 0; }

Object objectOf(const ModelTables& tables, int64_t locId) {
  const MDRData* row = findNumber(tables, locId);
  return row ? findObject(tables, textOf(tables.table("Measurement"), row, "KeyLink")) : Object{};
}

// The measurement of a number, which must be the one that was seen under it. Status kOk, or why not.
Reply findSeen(const ModelTables& tables, int64_t locId, std::string_view seen, Object* object) {
  *object = objectOf(tables, locId);
  if (!*object) return Reply::failure(wire::kNotFound, toCodePage("Измерения с таким номером нет на сервере."));
  if (seen.empty() || seen == object->key) return {};
  return refused("Этот номер теперь у другого измерения.");
}

// The blocking signal is known to be off: by its field or by hand, and now.
bool isKnownOff(const std::optional<LiveValue>& value) {
  const double* const state = value ? std::get_if<double>(&value->value) : nullptr;
  return state && *state == 0 && (value->quality == Quality::kGood || value->quality == Quality::kManual);
}

// What a number entered by hand must keep to, by the class of the measurement.
Reply checkNumber(const Object& object, double number) {
  if (object.className == "Discrete")
    return number == 0 || number == 1 ? Reply{} : refused("Состояние сигнала — 0 или 1.");
  double low = -std::numeric_limits<double>::infinity();
  double high = std::numeric_limits<double>::infinity();
  if (object.className == "Accumulator") {
    if (number != std::floor(number)) return refused("Показание счетчика — целое число.");
    low = 0;
    const double rollover = doubleOf(object, "rollover").value_or(0);
    if (rollover > 0) high = rollover;
  } else {
    low = doubleOf(object, "engMin").value_or(low);
    high = doubleOf(object, "engMax").value_or(high);
  }
  return number < low || number > high ? refused("Значение вне пределов измерения.") : Reply{};
}

Reply readValue(const Object& object, std::string_view text, LiveValue* value) {
  if (object.className == "StringMeasurement") {
    const double most = doubleOf(object, "maxLength").value_or(kLongestText);
    if (text.size() > kLongestText || (most > 0 && static_cast<double>(text.size()) > most))
      return refused("Текст длиннее, чем допускает измерение.");
    value->value = std::string(text);
    return {};
  }
  const auto number = parseNumber(text);
  if (!number) return malformed("ManualValue: not a number");
  value->value = *number;
  return checkNumber(object, *number);
}

}  // namespace

OperatorRequest operatorRequest(const wire::Request& request) {
  if (request.kind != wire::RequestKind::kPacket) return OperatorRequest::kNone;
  for (const RequestName& row : kNames) {
    if (row.name == request.name) return row.request;
  }
  return OperatorRequest::kNone;
}

Reply planManual(const ModelTables& tables, std::string_view body, double now, ManualPlan* plan) {
  const auto locId = parseInteger(bodyValue(body, "locId"));
  Object object;
  Reply found = findSeen(tables, locId.value_or(0), bodyValue(body, "key"), &object);
  if (found.status != wire::kOk) return found;
  plan->locId = static_cast<int32_t>(*locId);
  plan->key = object.key;
  if (bodyValue(body, "auto") == "1") return {};
  if (isOff(object, "manualAllowed")) return refused("Ручной ввод для этого измерения не разрешен.");
  LiveValue value{now, Quality::kManual, {}};
  Reply reply = readValue(object, bodyValue(body, "value"), &value);
  if (reply.status == wire::kOk) plan->value = std::move(value);
  return reply;
}

Reply readOrder(std::string_view body, Order* order) {
  const auto locId = parseInteger(bodyValue(body, "locId"));
  const std::string_view state = bodyValue(body, "state");
  const auto issued = parseNumber(bodyValue(body, "issued"));
  order->identity = bodyValue(body, "id");
  if (!locId || !issued || (state != "0" && state != "1")) return malformed("RemoteControl: locId, state and issued");
  if (*locId < 1 || *locId > std::numeric_limits<int32_t>::max()) return malformed("RemoteControl: no such number");
  if (order->identity.size() != kKeyLength) return malformed("RemoteControl: an identity has 32 characters");
  order->locId = static_cast<int32_t>(*locId);
  order->key = bodyValue(body, "key");
  order->state = state == "1" ? 1 : 0;
  order->issued = *issued;
  order->user = bodyValue(body, "user");
  order->password = bodyValue(body, "password");
  return {};
}

Reply findSignal(const ModelTables& tables, const LiveValues& live, const Order& order, Signal* signal) {
  Object object;
  if (Reply found = findSeen(tables, order.locId, order.key, &object); found.status != wire::kOk) return found;
  if (object.className != "Discrete" || intOf(objectValue(object, "CheckTu")) != 1)
    return refused("Этим объектом нельзя управлять: телеуправление для него не включено.");
  if (const auto block = intOf(objectValue(object, "blockLocId"));
      block && *block != 0 && !isKnownOff(live.current(static_cast<int32_t>(*block))))
    return refused("Команда запрещена блокирующим сигналом.");
  signal->key = object.key;
  const int64_t seconds = intOf(objectValue(object, "tuTimeout")).value_or(kTimeoutSeconds);
  signal->timeout = static_cast<double>(seconds > 0 ? seconds : kTimeoutSeconds) / kSecondsPerDay;
  signal->asksPassword = !isOff(object, "tuPassword");
  return {};
}

}  // namespace tlm::server
