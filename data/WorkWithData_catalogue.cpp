#include "CTlmMeasConfig.h"
#include "RecordAccess.h"
#include "Requests.h"
#include "WorkWithData.h"

#include <TlmClient/CLiteModel.h>

#include <cmath>

const TTablesForSave TablesForSave[kClassesForSave] = {
    {"RemoteUnitFolder", "RemoteUnitFolder"},
    {"RemoteUnit", "IdentifiedObject,RemoteUnit"},
    {"Analog", "IdentifiedObject,Measurement,Analog"},
    {"Accumulator", "IdentifiedObject,Measurement,Accumulator"},
    {"Discrete", "IdentifiedObject,Measurement,Discrete"},
    {"StringMeasurement", "IdentifiedObject,Measurement,StringMeasurement"},
};

int CTlmMeasConfig::GetPosFieldAtCMDArray(CMDArray* array, QString name) {
  if (!array || name.isEmpty()) return -1;
  for (int i = 0; i < MDAFldCount(array->array); ++i) {
    if (name.compare(QString::fromLatin1(MDAFldName(array->array, i)), Qt::CaseInsensitive) == 0) return i;
  }
  return -1;
}

QString GetServerGroup(QString number, QStringList* groups) {
  if (!groups || groups->isEmpty()) return QString();
  const QString prefix = QStringLiteral("%1=").arg(number.toInt());
  for (const QString& group : qAsConst(*groups)) {
    if (group.startsWith(prefix)) return group.mid(prefix.size());
  }
  return QString();
}

namespace {

bool hasRows(const CMDArray* table) { return table && MDARecCount(table->array) > 0; }

}  // namespace

bool GetParentTableKey(CMDArray* tables, QString key, QString& parent, bool byKeyLink) {
  if (!hasRows(tables)) return false;
  const MDRData* row = seekText(*tables, byKeyLink ? 0 : 1, key, serverCodec());
  if (!row) return false;
  MDRVar value{};
  tables->GetVal(row, "parent", value);
  if (!hasValue(value)) return false;
  parent = decodeVar(value, serverCodec());
  return true;
}

QString GetNameTableByKey(CMDArray* tables, QString key) {
  if (!hasRows(tables)) return QString();
  return fieldText(*tables, seekText(*tables, 0, key, serverCodec()), "nameLat", serverCodec());
}

MDRData* GetFldRec(CMDArray* fields, CMDArray* tables, QString table, const char* field) {
  if (!hasRows(fields) || !hasRows(tables) || !field) return nullptr;
  const MDRData* tableRow = seekText(*tables, 1, table, serverCodec());
  if (!tableRow) return nullptr;
  const QByteArray name(field);
  MDRVar values[2] = {{}, textVar(name)};
  tables->GetVal(tableRow, 0, values[0]);
  return MDARecSeekV(fields->array, 1, values, nullptr);
}

QString GetTypeField(CMDArray* fields, CMDArray* tables, CMDArray* types, QString table, const char* field) {
  const MDRData* row = GetFldRec(fields, tables, table, field);
  if (!row || !hasRows(types)) return QString();
  MDRVar typeKey{};
  fields->GetVal(row, "FieldsTypeKey", typeKey);
  if (!hasValue(typeKey)) return QString();
  return fieldText(*types, MDARecSeekV(types->array, 0, &typeKey, nullptr), "nameLoc", serverCodec());
}

QString GetNameByKey(QString key, CLiteModel* model) {
  if (!model || key.isEmpty()) return QString();
  TModelRecord records[3];
  const int count = model->GetRecordsByKey(serverCodec()->fromUnicode(key).toStdString(), records);
  for (int i = 0; i < count; ++i) {
    if (records[i].table->Name() != "IdentifiedObject") continue;
    MDRVar name{};
    MDRGetVal(MDRFldByName(records[i].table->Array(), "name_"), records[i].record, &name);
    return decodeVar(name, serverCodec());
  }
  return QString();
}

QString GetNameByLocId(int locId, std::string table, CLiteModel* model, QString& key) {
  const CModelTable* found = model ? model->GetTableByName(table) : nullptr;
  if (!found) return QString();
  const MDRVar number = intVar(locId);
  const MDRData* row = MDARecSeekV(found->Array(), 1, &number, nullptr);
  if (!row) return QString();
  MDRVar value{};
  MDRGetVal(MDRFldByName(found->Array(), "KeyLink"), row, &value);
  if (!isText(value)) return QString();
  key = decodeVar(value, serverCodec());
  return GetNameByKey(key, model);
}

QString ParseParam(QString name, QString text) {
  name += '=';
  if (!text.contains(name, Qt::CaseInsensitive)) return QString();
  // A name in another case is found above and missed here; the tail then starts at the length less one.
  QString tail = text.mid(text.indexOf(name) + name.size());
  const int end = tail.indexOf(';');
  if (end > 0) tail.truncate(end);
  if (tail.contains(',')) return tail;
  const int quote = tail.indexOf('"');
  if (quote >= 0) tail.truncate(quote);
  return tail;
}

int compDoubleOb(const void* a, const void* b) {
  double wholeA = 0;
  double wholeB = 0;
  const double partA = std::modf(*static_cast<const double*>(a), &wholeA);
  const double partB = std::modf(*static_cast<const double*>(b), &wholeB);
  const int difference = static_cast<int>(wholeA - wholeB);
  return difference != 0 ? difference : static_cast<int>((partA - partB) * 100);
}
