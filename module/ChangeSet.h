// A change set: the records of each table that one act writes, in the order of the tables' first use.
#ifndef TLMMEAS_CHANGESET_H
#define TLMMEAS_CHANGESET_H

#include <TlmMdx/CMDArray.h>

#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

class CTlmCliSes;
class QTextCodec;

// Two parallel lists; owns its arrays.
struct ChangeSet {
  ChangeSet() = default;
  ~ChangeSet() { qDeleteAll(arrays); }
  ChangeSet(const ChangeSet&) = delete;
  ChangeSet& operator=(const ChangeSet&) = delete;

  QStringList tables;
  QList<CMDArray*> arrays;
};

// The entry of one table in a change set's two lists: the one that stands there, or a new one that joins them with the
// first record posted to it. Lives no longer than the lists.
class ChangeEntry {
 public:
  // `structure` gives a new entry its fields; null leaves it without any.
  ChangeEntry(QStringList& tables, QList<CMDArray*>& arrays, const QString& table, const MDArray* structure);

  CMDArray& rows() { return *rows_; }
  MDRData* newRecord(int mark);  // not posted; null when there is no room
  void post(MDRData* record);    // null is passed over

 private:
  QStringList& tables_;
  QList<CMDArray*>& arrays_;
  const QString table_;
  std::unique_ptr<CMDArray> made_;  // until it joins the lists
  CMDArray* rows_ = nullptr;
};

// Adds a record of the table that carries nothing but its key (in the server's code page), marked with `mark`. The
// table's entry is made from `structure` when the lists have none yet.
void addKeyRecord(QStringList& tables, QList<CMDArray*>& arrays, const QString& table, const CMDArray& structure,
                  const QByteArray& key, int mark);

// Queues the records of each table that has some, in the open block.
void queueChanges(CTlmCliSes* session, const ChangeSet& changes, QTextCodec* codec);

// Copies a record into a new one of `target`, which has the same fields: every value by number. A field gets the
// changed mark where `markAll` is set or the source's field has it. Not posted.
MDRData* copyRecord(const CMDArray& source, const MDRData* record, CMDArray& target, bool markAll);

// The changed mark of a field by number.
bool isMarked(const CMDArray& array, const MDRData* record, int field);

#endif
