// Requests that answer with text: the value of an object, server groups, parameters for operator dialogs.
#include "requests.h"

#include <TlmMdx/CMDArray.h>
#include <TlmServer/CodePage.h>

#include "objects.h"
#include "values.h"

#include <algorithm>
#include <cmath>
#include <ctime>

namespace tlm::server {
namespace {

using wire::Reply;

constexpr double kUnixEpoch = 25569;  // 01.01.1970 in days since 30.12.1899
constexpr double kSecondsPerDay = 86400;

std::string localTime(double time) {
  const auto seconds = static_cast<time_t>(std::llround((time - kUnixEpoch) * kSecondsPerDay));
  tm parts{};
  localtime_r(&seconds, &parts);
  char text[32];
  return {text, std::strftime(text, sizeof text, "%d.%m.%Y %H:%M:%S", &parts)};
}

// Fit for measuring the age of a command, and for a value that was measured to the millisecond.
std::string exactTime(double time) {
  char text[48];
  const int length = std::snprintf(text, sizeof text, "%.9f", time);
  return {text, static_cast<size_t>(length)};
}

const char* qualityText(Quality quality) {
  switch (quality) {
    case Quality::kGood:
      return "достоверно";
    case Quality::kManual:
      return "ручной ввод";
    case Quality::kOld:
      return "устарело";
    case Quality::kInvalid:
      return "недостоверно";
  }
  return "недостоверно";
}

// A measurement as its value is shown; texts in Windows-1251.
class Measured {
 public:
  Measured(const RequestContext& context, const Object& object) : context_(context), object_(object) {}

  std::optional<int32_t> number() const {
    const auto locId = intOf(objectValue(object_, "locId"));
    return locId ? std::optional(static_cast<int32_t>(*locId)) : std::nullopt;
  }

  std::string text(const LiveValue& value) const {
    if (object_.className == "Discrete") {
      if (const auto* state = std::get_if<double>(&value.value)) return stateText(*state != 0);
    }
    const std::string shown = valueText(value, static_cast<int>(intOf(objectValue(object_, "decimals")).value_or(-1)));
    const std::string_view symbol = unit();
    return symbol.empty() ? shown : shown + " " + std::string(symbol);
  }

  std::string_view unit() const { return referred("UnitKey"); }

  // The text of the row behind a reference of the object.
  std::string_view referred(const char* field) const {
    for (const ObjectRow& row : object_.rows) {
      const int number = row.def->field(field);
      if (number < 0) continue;
      const std::string_view key = textOf(row.array, row.record, field);
      return referenceText(context_.tables, row.def->fields[static_cast<size_t>(number)], key);
    }
    return {};
  }

  // "text0", "text1", "command0" or "command1" of the signal's texts.
  std::string stateColumn(const char* column, const char* otherwise) const {
    const MDArray* texts = context_.tables.table("StateTexts");
    const std::string_view key = textOf(objectValue(object_, "StateTextsKey"));
    const std::string_view found = key.empty() ? key : textOf(texts, seekKey(texts, key), column);
    return found.empty() ? toCodePage(otherwise) : std::string(found);
  }

 private:
  std::string stateText(bool on) const {
    return on ? stateColumn("text1", "Включено") : stateColumn("text0", "Отключено");
  }

  const RequestContext& context_;
  const Object& object_;
};

// Lines of the form "name=value"; a value holds no line break.
class Lines {
 public:
  Lines& add(const char* name, std::string_view value) {
    text_ += name;
    text_ += '=';
    for (const char c : value) text_ += c == '\n' || c == '\r' || c == '\0' ? ' ' : c;
    text_ += '\n';
    return *this;
  }
  Lines& add(const char* name, const MDRVar& value) {
    if (const auto number = intOf(value)) return add(name, std::to_string(*number));
    if (isText(value)) return add(name, textOf(value));
    return !isNull(value) && value.type == MDX_DOUBLE ? add(name, valueText({0, Quality::kGood, double{value.f64}}))
                                                      : *this;
  }
  std::string take() { return std::move(text_); }

 private:
  std::string text_;
};

std::string measurementHint(const RequestContext& context, const Measured& measured, int32_t locId) {
  const auto value = context.live.current(locId);
  if (!value) return toCodePage("нет данных");
  return measured.text(*value) + "; " + toCodePage(qualityText(value->quality)) + "; " + localTime(value->time);
}

std::string objectText(const RequestContext& context, const Object& object) {
  const Measured measured(context, object);
  if (const auto locId = measured.number()) return measurementHint(context, measured, *locId);
  if (object.className != "RemoteUnit") return {};
  return toCodePage(intOf(objectValue(object, "StateRtu")) == 0 ? "выведено из работы" : "в работе");
}

struct ParameterRow {
  const char* className;
  const char* field;
};

// What the dialogs need to know of a measurement beside its value.
constexpr ParameterRow kParameters[] = {{"", "manualAllowed"},
                                        {"Analog", "decimals"},
                                        {"Analog", "engMin"},
                                        {"Analog", "engMax"},
                                        {"Discrete", "CheckTu"},
                                        {"Discrete", "tuMode"},
                                        {"Discrete", "tuTimeout"},
                                        {"Discrete", "tuPassword"},
                                        {"Discrete", "tuAuto"},
                                        {"Accumulator", "rollover"},
                                        {"StringMeasurement", "maxLength"}};

void addParameters(const Object& object, Lines* lines) {
  for (const ParameterRow& row : kParameters) {
    if (*row.className && object.className != row.className) continue;
    lines->add(row.field, objectValue(object, row.field));
  }
}

void addStates(const Measured& measured, Lines* lines) {
  lines->add("text0", measured.stateColumn("text0", "Отключено"))
      .add("text1", measured.stateColumn("text1", "Включено"))
      .add("command0", measured.stateColumn("command0", "Отключить"))
      .add("command1", measured.stateColumn("command1", "Включить"));
}

void addValue(const RequestContext& context, const Measured& measured, int32_t locId, Lines* lines) {
  const auto manual = context.live.manual(locId);
  lines->add("manual", manual ? "1" : "0");
  if (manual) lines->add("manualUser", manual->user).add("manualTimeText", localTime(manual->time));
  const auto value = context.live.current(locId);
  if (!value) return;
  lines->add("value", valueText(*value))
      .add("text", measured.text(*value))
      .add("quality", std::to_string(static_cast<int>(value->quality)))
      .add("time", exactTime(value->time))
      .add("timeText", localTime(value->time));
}

// The measurement that a body names by "locId=N".
Object measurementOf(const RequestContext& context, std::string_view body) {
  const auto locId = parseInteger(bodyValue(body, "locId"));
  const MDRData* row = locId ? findNumber(context.tables, *locId) : nullptr;
  if (!row) return {};
  return findObject(context.tables, textOf(context.tables.table("Measurement"), row, "KeyLink"));
}

Reply noMeasurement(const char* request) {
  return Reply::failure(wire::kNotFound, std::string(request) + ": no measurement of that number");
}

// A name that its reader cannot take for a mark of the list: no brackets, no line break, and a hard blank where
// the word that begins an entry stands in it.
std::string withoutMarks(std::string_view name) {
  std::string clean(name);
  std::replace(clean.begin(), clean.end(), '[', '(');
  std::replace(clean.begin(), clean.end(), ']', ')');
  std::replace_if(
      clean.begin(), clean.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
  constexpr std::string_view kEntry = "Group ";
  constexpr char kHardBlank = '\xA0';
  for (size_t at = clean.find(kEntry); at != std::string::npos; at = clean.find(kEntry, at))
    clean[at + kEntry.size() - 1] = kHardBlank;
  return clean;
}

}  // namespace

Reply objectHint(const RequestContext& context, std::string_view body) {
  const Object object = findObject(context.tables, bodyText(body));
  if (!object) return Reply::failure(wire::kNotFound, "ObjectHint: no such object");
  std::string text = objectText(context, object);
  text.push_back('\0');
  return {wire::kOk, std::move(text), std::nullopt};
}

Reply serverGroups(const RequestContext& context, std::string_view) {
  const MDArray* groups = context.tables.table("ServerGroups");
  int64_t current = 0;
  std::string list = "[Groups]\r\n";
  for (int i = 0; i < MDARecCount(groups); ++i) {
    const MDRData* row = MDARec(groups, 1, i);
    const auto number = intOf(groups, row, "number");
    if (!number) continue;
    if (intOf(groups, row, "current_") == 1) current = *number;
    list += "Group " + std::to_string(*number) + "=" + withoutMarks(textOf(groups, row, "name_")) + "\r\n";
  }
  return {wire::kOk, "[CurSrvGroup]\r\nCurGroup=" + std::to_string(current) + "\r\n" + list, std::nullopt};
}

Reply measParams(const RequestContext& context, std::string_view body) {
  const Object object = measurementOf(context, body);
  if (!object) return noMeasurement("MeasParams");
  const Measured measured(context, object);
  const int32_t locId = measured.number().value_or(0);
  Lines lines;
  lines.add("locId", std::to_string(locId))
      .add("key", object.key)
      .add("class", object.className)
      .add("name", objectValue(object, "name_"))
      .add("unitName", measured.referred("RemoteUnitKey"))
      .add("unit", measured.unit())
      .add("now", exactTime(context.now));
  addParameters(object, &lines);
  if (object.className == "Discrete") addStates(measured, &lines);
  addValue(context, measured, locId, &lines);
  return {wire::kOk, std::nullopt, lines.take()};
}

Reply valueHistory(const RequestContext& context, std::string_view body) {
  const Object object = measurementOf(context, body);
  if (!object) return noMeasurement("ValueHistory");
  const double from = parseNumber(bodyValue(body, "from")).value_or(0);
  const double to = parseNumber(bodyValue(body, "to")).value_or(1e9);
  const CMDArray out;
  static constexpr MDRFldDesc kFields[] = {{"time", 0, MDX_DOUBLE, {}},
                                           {"value", 0, MDX_DOUBLE, {}},
                                           {"text", 0, MDX_MEMO, {}},
                                           {"quality", 0, MDX_INT32, {}}};
  for (const MDRFldDesc& field : kFields) MDAFldAdd(out.array, 1, &field);
  const int32_t locId = Measured(context, object).number().value_or(0);
  for (const LiveValue& value : context.live.history(locId, from, to)) {
    MDRData* row = MDARecNew(out.array);
    put(out.array, row, 0, doubleVar(value.time));
    if (const auto* number = std::get_if<double>(&value.value)) put(out.array, row, 1, doubleVar(*number));
    const std::string text = valueText(value);
    put(out.array, row, 2, textVar(text));
    put(out.array, row, 3, intVar(static_cast<int>(value.quality)));
    MDARecPost(row, nullptr);
  }
  return arrayReply(context, out.array);
}

}  // namespace tlm::server
