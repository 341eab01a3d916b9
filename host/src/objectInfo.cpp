#include "objectInfo.h"

#include <TlmServer/Catalogue.h>
#include <TlmServer/CodePage.h>
#include <TlmServer/ModelTables.h>

#include <cmath>

namespace tlm {
namespace {

QString shown(const std::string& text) { return QString::fromStdString(server::fromCodePage(text)); }

const MDRData* seek(const MDArray* array, const std::string& key) {
  MDRVar value{};
  value.type = MDX_TEXT;
  value.text.length = static_cast<uint32_t>(key.size());
  value.text.data = key.data();
  return array && !key.empty() ? MDARecSeekV(array, 0, &value, nullptr) : nullptr;
}

std::string text(const MDArray* array, const MDRData* record, const char* field) {
  MDRVar value{};
  if (!record || MDRGetVal(MDRFldByName(array, field), record, &value) < 0 || value.isNull) return {};
  return value.type == MDX_TEXT || value.type == MDX_MEMO ? std::string(value.text.data, value.text.length)
                                                          : std::string();
}

int number(const MDArray* array, const MDRData* record, const char* field, int otherwise) {
  int32_t value = 0;
  return record && MDRGetAsInt32(MDRFldByName(array, field), record, &value) >= 0 ? value : otherwise;
}

// A field of the row of that key.
QString textOf(const server::ModelTables& tables, const char* table, const std::string& key, const char* field) {
  const MDArray* const array = tables.table(table);
  return shown(text(array, seek(array, key), field));
}

ObjectInfo describe(const server::ModelTables& tables, const std::string& key) {
  ObjectInfo info;
  info.key = QString::fromStdString(key);
  info.name = textOf(tables, "IdentifiedObject", key, "name_");
  info.className = textOf(tables, "IdentifiedObject", key, "ClassName");
  const MDArray* const meas = tables.table("Measurement");
  const MDRData* const row = seek(meas, key);
  info.locId = number(meas, row, "locId", 0);
  info.unitName = textOf(tables, "IdentifiedObject", text(meas, row, "RemoteUnitKey"), "name_");
  info.measure = textOf(tables, "MeasurementUnit", text(meas, row, "UnitKey"), "symbol");
  const MDArray* const analog = tables.table("Analog");
  info.decimals = number(analog, seek(analog, key), "decimals", -1);
  const MDArray* const discrete = tables.table("Discrete");
  const std::string states = text(discrete, seek(discrete, key), "StateTextsKey");
  info.states[0] = textOf(tables, "StateTexts", states, "text0");
  info.states[1] = textOf(tables, "StateTexts", states, "text1");
  return info;
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

std::optional<ObjectInfo> findObject(const server::Core& core, const QString& key) {
  std::optional<ObjectInfo> found;
  core.read([&](const server::ModelTables& tables) {
    const std::string bytes = key.toStdString();
    if (seek(tables.table("IdentifiedObject"), bytes)) found = describe(tables, bytes);
  });
  return found;
}

QString formTitle(const server::Core& core, const QString& file) {
  QString title = file;
  core.read([&](const server::ModelTables& tables) {
    const MDArray* const forms = tables.table("ObjectForms");
    const std::string wanted = server::toCodePage(file.toStdString());
    for (int i = 0; i < MDARecCount(forms); ++i) {
      const MDRData* const row = MDARec(forms, 0, i);
      if (text(forms, row, "file_") != wanted) continue;
      title = shown(text(forms, row, "caption"));
      return;
    }
  });
  return title;
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
