// What a field is: its names, its declared type, its limits, and so how it is shown and edited.
#pragma once

#include "passport/paramText.h"

#include <QHash>
#include <QString>

#include <limits>
#include <memory>
#include <vector>

namespace tlm::passport {

enum class FieldKind {
  kText,
  kMemo,
  kInteger,
  kDouble,
  kFlag,
  kChoice,
  kServerGroup,
  kDateTime,
  kReference,
  kMeasNumber,
  kKey
};

// A field as the catalogue or a table's structure describes it.
struct FieldSource {
  QString table;
  QString name;
  QString title;     // Russian; empty where the catalogue is unknown
  QString declared;  // "TEXT", "GUID_REF", ...; empty where the catalogue is unknown
  QString param;
  int number = 0;  // position in the table's structure
  int type = 0;    // MDX_*
  int size = 0;    // bytes of a fixed text, else 0

  bool operator==(const FieldSource& other) const;
};

struct FieldMeta : FieldSource {
  QString id;  // "Table.field"
  FieldKind kind = FieldKind::kText;
  QVector<Choice> choices;
  QString refTable;
  QString unit;
  double min = 0;  // limits of a number, those of its type included
  double max = 0;
  int longest = 0;  // characters of a text; 0 without a limit
  bool readOnly = false;

  bool isNumber() const {
    return kind == FieldKind::kInteger || kind == FieldKind::kDouble || kind == FieldKind::kMeasNumber;
  }
};

using FieldMetaPtr = std::shared_ptr<const FieldMeta>;

// Keeps one description for each field, so that equal forms hold the same pointers. Descriptions live as long
// as the store, also those that have been replaced: an open editor may still point at one.
class FieldMetas {
 public:
  FieldMetaPtr of(const FieldSource& source);

 private:
  QHash<QString, FieldMetaPtr> known_;
  std::vector<FieldMetaPtr> all_;
};

}  // namespace tlm::passport
