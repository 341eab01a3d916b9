// One object as the sheet was filled with it: a row in each table of its chain, and the user's edits.
#pragma once

#include "passport/fieldMeta.h"

#include <TlmMdx/CMDArray.h>

#include <QList>
#include <QStringList>
#include <QVariant>

#include <memory>
#include <vector>

namespace tlm::passport {

struct FormTable {
  QString name;
  QString id;                       // the name; of a row of a table tab the name, "@" and the row's key
  std::unique_ptr<CMDArray> array;  // full structure, one record
  bool isPage = false;              // a row of a table tab: written only when edited
  bool isNew = false;               // the server has no such row

  MDRData* record() const { return MDARec(array->array, 0, 0); }
};

struct Edit {
  QVariant value;
  QString text;  // as it is shown
};

class ObjectForm {
 public:
  ObjectForm(QString objectKey, bool objectIsNew) : key(std::move(objectKey)), isNew(objectIsNew) {}

  // A table with a copy of a record, or with a record that holds the key only (null). Null without a structure.
  // The pointer holds until the next table is added.
  FormTable* addTable(const QString& name, const MDArray* structure, const MDRData* record);
  FormTable* addPageRow(const QString& name, const MDArray* structure, const MDRData* record, const QString& rowKey);
  FormTable* table(const QString& id) const;  // case ignored; null when absent
  const std::vector<FormTable>& tables() const { return tables_; }
  void dropPageRows(const QString& name);

  QVariant value(const FieldMeta& meta) const { return value(meta.table, meta); }  // as the server gave it
  QVariant value(const QString& tableId, const FieldMeta& meta) const;

  // An edit that gives back the value of the server is none, unless `keepEqual`.
  void setEdit(const QString& tableId, const FieldMeta& meta, const Edit& edit, bool keepEqual);
  const Edit* edit(const QString& id) const;
  bool hasEdits() const { return !edits_.isEmpty(); }
  void takeEdits(const ObjectForm& other) { edits_ = other.edits_; }

  // The edits become what the server gave; a new object becomes an existing one.
  void acceptEdits();
  void dropEdits() { edits_.clear(); }
  void dropEdits(const QString& tableId);

  // Appends the object's row to the arrays of a change set, in the order of its chain.
  void appendTo(QStringList* tables, QList<CMDArray*>* arrays) const;

  const QString key;
  bool isNew;
  bool isMerged = false;    // stands for several objects
  bool handedOver = false;  // the edits were given out since the last of them was made

 private:
  FormTable* add(const QString& name, const MDArray* structure, const MDRData* record, const QString& rowKey);
  bool isEdited(const QString& tableId) const;
  void fillRecord(const FormTable& from, CMDArray* into) const;

  std::vector<FormTable> tables_;
  QHash<QString, Edit> edits_;  // by the table's id, a point and the field
};

using ObjectFormPtr = std::shared_ptr<ObjectForm>;

}  // namespace tlm::passport
