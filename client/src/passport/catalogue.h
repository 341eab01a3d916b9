// The catalogue as the client sees it: the tables "Tables", "Fields" and "FieldsType".
#pragma once

#include "passport/fieldMeta.h"

#include <TlmMdx/mdx.h>

#include <QStringList>

namespace tlm::passport {

struct TableInfo {
  QString key;
  QString name;
  QString title;
  QString parentKey;
  QString param;
  QString display;  // the column that stands for a row
};

class Catalogue {
 public:
  // Reads the three tables; a null one is taken as empty. What was held is gone.
  void read(const MDArray* tables, const MDArray* fields, const MDArray* types);
  void clear();
  bool isEmpty() const { return tables_.isEmpty(); }

  const TableInfo* table(const QString& name) const;  // case ignored; null when unknown
  QHash<QString, QString> titles() const;             // by lower-case name
  const TableInfo* parent(const TableInfo& table) const;

  // From the root of the chain down to the table itself; empty when it is unknown.
  QStringList chain(const QString& name) const;

  // Title, declared type and parameter text of a field, names ignoring case. False when unknown.
  bool field(const QString& table, const QString& name, FieldSource* out) const;

 private:
  void readFields(const MDArray* fields, const MDArray* types);

  QHash<QString, TableInfo> tables_;    // by key
  QHash<QString, QString> keysByName_;  // lower-case name
  QHash<QString, FieldSource> fields_;  // lower-case "table.field"
};

}  // namespace tlm::passport
