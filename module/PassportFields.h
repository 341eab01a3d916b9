// Which fields of an object the passport may not edit, and the records of an object that the server does not know.
#ifndef TLMMEAS_PASSPORTFIELDS_H
#define TLMMEAS_PASSPORTFIELDS_H

#include <QString>
#include <QStringList>

#include <vector>

// One record of the form: the table, the structure that it is copied from, the array that holds the object's row,
// and the fields whose values are copied besides field 0.
class CTlmMeasConfig;
class CMDArray;

struct PassportTable {
  const char* table;
  CMDArray CTlmMeasConfig::*structure;
  CMDArray CTlmMeasConfig::*rows;
  std::vector<const char*> fields;
};

struct PassportForm {
  std::vector<const char*> locked;            // "Table.field"
  std::vector<const char*> lockedAggregated;  // besides, for an aggregated measurement
  std::vector<PassportTable> tables;          // one or two
};

// The form of a class, compared without regard to case; null for a class that has none.
const PassportForm* passportForm(const QString& className);

// The fields that are locked for a class.
QStringList lockedFields(const PassportForm& form, bool aggregated);

#endif
