#include "ChangeSet.h"

#include "RecordAccess.h"

#include <TlmClient/CTlmCliSes.h>

ChangeEntry::ChangeEntry(QStringList& tables, QList<CMDArray*>& arrays, const QString& table, const MDArray* structure)
    : tables_(tables), arrays_(arrays), table_(table) {
  const int at = tables.indexOf(table);
  if (at < 0) {
    made_ = std::make_unique<CMDArray>();
    made_->code = MDACopy(made_->array, structure, 0);
  }
  rows_ = made_ ? made_.get() : arrays[at];
}

MDRData* ChangeEntry::newRecord(int mark) {
  MDRData* record = MDARecNew(rows_->array);
  if (record) MDRSetFlags(record, mark);
  return record;
}

void ChangeEntry::post(MDRData* record) {
  if (!rows_->RecPost(record) || !made_) return;
  tables_.append(table_);
  arrays_.append(made_.release());
}

void addKeyRecord(QStringList& tables, QList<CMDArray*>& arrays, const QString& table, const CMDArray& structure,
                  const QByteArray& key, int mark) {
  ChangeEntry entry(tables, arrays, table, structure.array);
  MDRData* record = entry.newRecord(mark);
  if (!record) return;
  entry.rows().SetValF(record, 0, textVar(key));
  entry.post(record);
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
