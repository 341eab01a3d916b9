#include "objectInfo.h"

#include <TlmMdx/CMDArray.h>
#include <TlmServer/CodePage.h>

#include <cmath>

#include "stationServer.h"

namespace tlm {
namespace {

QString shown(const std::string& text) { return QString::fromStdString(server::fromCodePage(text)); }

std::string text(const CMDArray& rows, const MDRData* record, const char* field) {
  MDRVar value{};
  rows.GetVal(record, field, value);
  const bool is = (value.type == MDX_TEXT || value.type == MDX_MEMO) && !value.isNull;
  return is ? std::string(value.text.data, value.text.length) : std::string();
}

int number(const CMDArray& rows, const MDRData* record, const char* field) {
  int32_t value = 0;
  const MDRField* const handle = MDRFldByName(rows.array, field);
  return handle && MDRGetAsInt32(handle, record, &value) >= 0 ? value : 0;
}

// The table that a request answers with; false without one.
bool rowsOf(StationServer& server, const std::string& request, const std::string& body, CMDArray* rows) {
  const wire::Reply reply = server.ask(request, body);
  return reply.status == wire::kOk && reply.payload &&
         MDXArrayUnPackN(rows->array, reply.payload->data(), reply.payload->size(), 1) == 0;
}

// A line "name=value" of a text.
QString lineOf(const std::string& lines, const std::string& name) {
  const std::string text = '\n' + lines;
  const size_t at = text.find('\n' + name + '=');
  if (at == std::string::npos) return {};
  const size_t from = at + name.size() + 2;
  return shown(text.substr(from, text.find('\n', from) - from));
}

void addParameters(StationServer& server, ObjectInfo* info) {
  const wire::Reply reply = server.ask("MeasParams", "locId=" + std::to_string(info->locId));
  if (reply.status != wire::kOk || !reply.text) return;
  const std::string& lines = *reply.text;
  info->unitName = lineOf(lines, "unitName");
  info->measure = lineOf(lines, "unit");
  info->states[0] = lineOf(lines, "text0");
  info->states[1] = lineOf(lines, "text1");
  bool given = false;
  const int decimals = lineOf(lines, "decimals").toInt(&given);
  if (given) info->decimals = decimals;
}

struct Named {
  const char* name;
  const char* title;
};

constexpr Named kClasses[] = {{"Analog", "Аналоговое измерение"},
                              {"Discrete", "Дискретный сигнал"},
                              {"Accumulator", "Счетчик"},
                              {"StringMeasurement", "Строковая величина"},
                              {"RemoteUnit", "Устройство"}};

}  // namespace

std::optional<ObjectInfo> findObject(StationServer& server, const QString& key) {
  CMDArray rows;
  if (!rowsOf(server, "RecByKeyLink", key.toStdString(), &rows) || MDARecCount(rows.array) == 0) return std::nullopt;
  const MDRData* const row = MDARec(rows.array, 0, 0);
  ObjectInfo info;
  info.key = key;
  info.name = shown(text(rows, row, "name_"));
  info.className = shown(text(rows, row, "ClassName"));
  info.locId = number(rows, row, "locId");
  if (info.locId != 0) addParameters(server, &info);
  return info;
}

QString formTitle(StationServer& server, const QString& file) {
  CMDArray forms;
  const std::string wanted = server::toCodePage(file.toStdString());
  if (!rowsOf(server, "TableRecords", "ObjectForms,file_,caption", &forms)) return file;
  for (int i = 0; i < MDARecCount(forms.array); ++i) {
    const MDRData* const row = MDARec(forms.array, 0, i);
    if (text(forms, row, "file_") == wanted) return shown(text(forms, row, "caption"));
  }
  return file;
}

std::vector<server::LiveValue> history(StationServer& server, int locId, double from, double to) {
  CMDArray rows;
  const std::string body =
      QString("locId=%1\nfrom=%2\nto=%3").arg(locId).arg(from, 0, 'f', 12).arg(to, 0, 'f', 12).toStdString();
  std::vector<server::LiveValue> values;
  if (!rowsOf(server, "ValueHistory", body, &rows)) return values;
  for (int i = 0; i < MDARecCount(rows.array); ++i) {
    const MDRData* const row = MDARec(rows.array, 0, i);
    server::LiveValue value;
    MDRGetAsDouble(MDRFldByName(rows.array, "time"), row, &value.time);
    value.quality = static_cast<server::Quality>(number(rows, row, "quality"));
    double figure = 0;
    if (MDRGetAsDouble(MDRFldByName(rows.array, "value"), row, &figure) >= 0)
      value.value = figure;
    else
      value.value = text(rows, row, "text");
    values.push_back(std::move(value));
  }
  return values;
}

std::optional<server::LiveValue> currentValue(StationServer& server, int locId) {
  constexpr double kAlways = 1e6;
  std::vector<server::LiveValue> values = history(server, locId, 0, kAlways);
  if (values.empty()) return std::nullopt;
  return std::move(values.back());
}

QString classTitle(const QString& className) {
  for (const Named& known : kClasses) {
    if (className == known.name) return QString::fromUtf8(known.title);
  }
  return className;
}

QString qualityText(server::Quality quality) {
  switch (quality) {
    case server::Quality::kGood:
      return QString("достоверно");
    case server::Quality::kManual:
      return QString("ручной ввод");
    case server::Quality::kOld:
      return QString("устарело");
    case server::Quality::kInvalid:
      break;
  }
  return QString("недостоверно");
}

QString shownValue(const server::LiveValue& value, const ObjectInfo& object) {
  QString text = shown(server::valueText(value, object.decimals));
  if (const double* const state = std::get_if<double>(&value.value); state && object.className == "Discrete") {
    const QString& named = object.states[*state != 0];
    if (!named.isEmpty()) text += QString(" (%1)").arg(named);
  }
  return object.measure.isEmpty() ? text : text + ' ' + object.measure;
}

QDateTime localTime(double serverTime) {
  return QDateTime::fromMSecsSinceEpoch(std::llround((serverTime - 25569) * 86'400'000.0), Qt::UTC).toLocalTime();
}

}  // namespace tlm
