#include "CTlmMeasConfig.h"
#include "MeasRows.h"
#include "MeasScripts.h"
#include "RecordAccess.h"
#include "Requests.h"

namespace {

constexpr int kNoLimit = -1;

// Fills an array value with numbers, or with one text, or both, in the order of the script's parameters.
void setArgs(CVar* args, std::initializer_list<int> numbers) {
  CVarSetArr(args, static_cast<int>(numbers.size()));
  CVar* item = args->items;
  for (const int number : numbers) CVarSetInt(item++, number);
}
void setArgs(CVar* args, std::initializer_list<QByteArray> texts) {
  CVarSetArr(args, static_cast<int>(texts.size()));
  CVar* item = args->items;
  for (const QByteArray& text : texts) CVarSetStr(item++, text.constData(), text.size());
}

// The table of a script's result, or null.
MDArray* tableOf(const CVar& result) { return result.type == CVAR_TABLE && result.table ? *result.table : nullptr; }

}  // namespace

void CTlmMeasConfig::GetFreeLocId(int& locId) {
  callScript(session(), moduleCodec, kScriptFreeLocId, nullptr, kNoLimit, [&locId](const CVar& result) {
    if (result.type == CVAR_INT) locId = static_cast<int>(result.i64);
  });
}

void CTlmMeasConfig::LocIdIsBusy(int locId, bool& busy) {
  busy = false;
  callScript(
      session(), moduleCodec, kScriptLocIdIsBusy, [locId](CVar* args) { setArgs(args, {locId}); }, kNoLimit,
      [&busy](const CVar& result) { busy = result.type == CVAR_INT && result.i64 == 1; });
}

void CTlmMeasConfig::IsValueAtMeasurementsOfRTU(QString rtu, QString value, bool& found) {
  const QByteArray unit = encodeText(rtu, moduleCodec);
  const QByteArray part = encodeText(value, moduleCodec);
  callScript(
      session(), moduleCodec, kScriptNameInUnit,
      [&](CVar* args) {
        setArgs(args, {unit, part});
      },
      kNoLimit,
      [&found](const CVar& result) {
        if (result.type == CVAR_INT) found = result.i64 != 0;
      });
}

bool fetchMeasurements(CTlmMeasConfig* module, const QString& rtu, const std::function<void(MDArray*)>& take) {
  return callScript(
      module->session(), module->moduleCodec, kScriptUnitMeasurements,
      [&](CVar* args) { setArgs(args, {rtu.toUtf8()}); }, kFetchTimeout,
      [&take](const CVar& result) {
        if (MDArray* rows = tableOf(result)) take(rows);
      });
}

void CTlmMeasConfig::GetMeasurementsForRTU(QString rtu, QStringList* keys, bool filter, QString except) {
  fetchMeasurements(this, rtu, [&](MDArray* rows) {
    if (keys)
      listMeasurements(rows, moduleCodec, keys);
    else
      mergeMeasurements(measRecords, rows, {filter ? moduleCodec->fromUnicode(except) : QByteArray(), false});
  });
}

void CTlmMeasConfig::GetMeasurementsForEmptyRTU() {
  callScript(session(), moduleCodec, kScriptUnitlessMeasurements, nullptr, kFetchTimeout, [this](const CVar& result) {
    if (MDArray* rows = tableOf(result)) mergeMeasurements(measRecords, rows, {});
  });
}

void CTlmMeasConfig::GetCountFreeLocIdFromGiven(QList<int>& list, int countNeed, int locidBeg) {
  callScript(
      session(), moduleCodec, kScriptFreeFromGiven,
      [&](CVar* args) {
        setArgs(args, {countNeed, locidBeg});
      },
      kNoLimit,
      [&list](const CVar& result) {
        MDArray* rows = tableOf(result);
        if (!rows) return;
        CMDArray numbers;
        numbers.code = MDACopy(numbers.array, rows, 1);
        numbers.KeyAdd("locId", 0);
        if (MDAKeyCount(numbers.array) > 1) MDAKeyDel(numbers.array, 0);
        const MDRField* field = MDRFldByName(numbers.array, "locId");
        for (int i = 0; i < MDARecCount(numbers.array); ++i) {
          int32_t number = 0;
          if (MDRGetAsInt32(field, MDARec(numbers.array, 0, i), &number) >= 0 && number != 0) list.append(number);
        }
      });
}

void CTlmMeasConfig::GetCountFreeLocIdAtRange(QStringList& busy, int countNeed, int locidBeg, int locidEnd, int step) {
  callScript(
      session(), moduleCodec, kScriptFreeInRange,
      [&](CVar* args) {
        setArgs(args, {countNeed, locidBeg, locidEnd, step});
      },
      kNoLimit,
      [&](const CVar& result) {
        MDArray* rows = tableOf(result);
        if (!rows) return;
        CMDArray numbers;
        numbers.code = MDACopy(numbers.array, rows, 1);
        numbers.KeyAdd("locId", 0);
        numbers.KeyAdd("name_", 0);
        for (int i = 0; i < MDARecCount(numbers.array); ++i) {
          const MDRData* row = MDARec(numbers.array, 0, i);
          int32_t number = 0;
          MDRGetAsInt32(MDRFldByName(numbers.array, "locId"), row, &number);
          const QString name = fieldText(numbers, row, "name_", moduleCodec);
          if (name != QLatin1String("FreeLocId"))
            busy.append(QStringLiteral("%1, %2").arg(QString::number(number), name));
          else if (number != 0)
            freeLocIds.append(number);
        }
      });
}
