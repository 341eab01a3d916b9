#include "ChangeSet.h"

#include "RecordAccess.h"

#include <TlmClient/CTlmCliSes.h>

#include <memory>

void addKeyRecord(QStringList& tables, QList<CMDArray*>& arrays, const QString& table, const CMDArray& structure,
                  const QByteArray& key, int mark) {
  const int at = tables.indexOf(table);
  std::unique_ptr<CMDArray> made;
  CMDArray* array = at >= 0 ? arrays[at] : nullptr;
  if (!array) {
    made = std::make_unique<CMDArray>();
    array = made.get();
    array->code = MDACopy(array->array, structure.array, 0);
  }
  MDRData* record = MDARecNew(array->array);
  if (!record) return;
  MDRSetFlags(record, mark);
  array->SetValF(record, 0, textVar(key));
  array->RecPost(record);
  if (!made) return;
  tables.append(table);
  arrays.append(made.release());
}

void queueChanges(CTlmCliSes* session, const ChangeSet& changes, QTextCodec* codec) {
  for (int i = 0; i < changes.tables.size(); ++i)
    if (MDARecCount(changes.arrays[i]->array) > 0)
      session->SqlUpdate(codec->fromUnicode(changes.tables[i]).constData(), changes.arrays[i]->array, true, nullptr);
}

bool isMarked(const CMDArray& array, const MDRData* record, int field) {
  return MDRIsUser(MDRFldByNum(array.array, field), record, nullptr) == 1;
}

MDRData* copyRecord(const CMDArray& source, const MDRData* record, CMDArray& target, bool markAll) {
  MDRData* copy = MDARecNew(target.array);
  if (!copy) return nullptr;
  const int count = MDAFldCount(source.array);
  for (int field = 0; field < count; ++field) {
    MDRVar value{};
    source.GetVal(record, field, value);
    if (markAll || isMarked(source, record, field))
      target.SetValF(copy, field, value);
    else
      target.SetVal(copy, field, value);
  }
  return copy;
}
