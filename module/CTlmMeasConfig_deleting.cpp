#include "CTlmMeasConfig.h"
#include "ChangeSet.h"
#include "IndexFacts.h"
#include "RecordAccess.h"

// The commands of deleting are not offered yet; what a delete writes is.

void CTlmMeasConfig::ExecActDel() {}

void CTlmMeasConfig::confirmDelGroup(QAbstractButton*) {}

void CTlmMeasConfig::CheckChildRemouteUnit(QModelIndex, QList<QModelIndex>&, QList<QModelIndex>&) {}

void CTlmMeasConfig::DeleteAgregMeas(QList<MDRData*>&, QString) {}

// The key of the calculation of a measurement, which is found by its result's name; empty if there is none.
static QByteArray calculationKey(const CTlmMeasConfig& module, const QString& key) {
  MDRData* record = seekText(module.measRecords, 0, key, module.moduleCodec);
  int32_t locId = 0;
  if (!record || MDRGetAsInt32(MDRFldByName(module.measRecords.array, "locId"), record, &locId) < 0)
    return QByteArray();
  MDRData* calculation = seekText(module.tblCalculations, 1, QStringLiteral("RES%1").arg(locId), module.moduleCodec);
  return module.moduleCodec->fromUnicode(fieldText(module.tblCalculations, calculation, 0, module.moduleCodec));
}

void CTlmMeasConfig::PrepareDelRec(QStringList& tables, QList<CMDArray*>& arrays, QString key, QString className) {
  if (key.isEmpty()) return;
  const QByteArray bytes = moduleCodec->fromUnicode(key);
  const auto add = [&](const char* table, const CMDArray& structure, const QByteArray& recordKey) {
    addKeyRecord(tables, arrays, QString::fromLatin1(table), structure, recordKey, MDX_REC_DELETE);
  };
  add("IdentifiedObject", strIdentifiedObject, bytes);
  if (className.compare(QLatin1String(kRemoteUnitClass), Qt::CaseInsensitive) == 0) {
    add("RemoteUnit", strRemoteUnit, bytes);
    return;
  }
  add("Measurement", strMeasurement, bytes);
  const QByteArray calculation = calculationKey(*this, key);
  if (!calculation.isEmpty()) add("Calculations", tblCalculations, calculation);
  const CMDArray* const structures[] = {&strAnalog, &strDiscrete, &strAccumulator, &strStringMeasurement};
  const MeasClass* kind = measClassByName(className, Qt::CaseInsensitive);
  if (kind) add(kind->className, *structures[kind - kMeasClasses], bytes);
}
