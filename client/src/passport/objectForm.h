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
  std::unique_ptr<CMDArray> array;  // full structure, one record
  bool isPage = false;              // a table tab: written only when edited

  MDRData* record() const { return MDARec(array->array, 0, 0); }
};

struct Edit {
  QVariant value;
  QString text;  // as it is shown
};

class ObjectForm {
 public:
  ObjectForm(QString objectKey, bool objectIsNew) : key(std::move(objectKey)), isNew(objectIsNew) {}

  // A table with a copy of a record, or with a record that holds the key only (null).
  FormTable* addTable(const QString& name, const MDArray* structure, const MDRData* record);
  FormTable* table(const QString& name) const;  // case ignored; null when absent

  QVariant value(const FieldMeta& meta) const;  // as the server gave it

  // An edit that gives back the value of the server is none.
  void setEdit(const FieldMeta& meta, const Edit& edit, bool keepEqual);
  const Edit* edit(const QString& id) const;
  bool hasEdits() const { return !edits_.isEmpty(); }
  void takeEdits(const ObjectForm& other) { edits_ = other.edits_; }

  // The edits become what the server gave; a new object becomes an existing one.
  void acceptEdits();
  void dropEdits() { edits_.clear(); }

  // Appends the object's row to the arrays of a change set, in the order of its chain.
  void appendTo(QStringList* tables, QList<CMDArray*>* arrays) const;

  const QString key;
  bool isNew;

 private:
  bool isEdited(const QString& table) const;
  void fillRecord(const FormTable& from, CMDArray* into) const;

  std::vector<FormTable> tables_;
  QHash<QString, Edit> edits_;  // by "Table.field"
};

using ObjectFormPtr = std::shared_ptr<ObjectForm>;

}  // namespace tlm::passport
