// Records of new objects that are made after a pattern: what each object gets of its own, and what is copied.
#ifndef TLMMEAS_OBJECTSTAMP_H
#define TLMMEAS_OBJECTSTAMP_H

#include <TlmMdx/CMDArray.h>

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <vector>

// Where a field of a new record takes its value from.
enum class StampValue {
  kSource,  // the field of the same name of the pattern; null when that has none
  kEmpty,
  kKey,
  kNumber,
  kPrimaryNumber,
  kUnitKey,
  kName,
  kClassName,
  kArchGroupKey
};

// One field, its name compared without regard to case. A marked one carries the changed mark.
struct StampRule {
  const char* field;
  StampValue value;
  bool marked;
};

// What one new object has of its own; texts in the server's code page.
struct StampValues {
  QByteArray key;
  int number = 0;
  int primaryNumber = 0;
  QByteArray unitKey;
  QByteArray name;
  QByteArray className;
  QByteArray archGroupKey;
};

// The records of one table, made one after another. Structure, pattern and rules must outlive it.
class ObjectStamp {
 public:
  // Fields that no rule names take `others`: kSource or kEmpty. `pattern` may be null: then there is no source.
  ObjectStamp(const QString& table, const MDArray* structure, const MDArray* patternTable, const MDRData* pattern,
              const std::vector<StampRule>& rules, StampValue others);

  // Adds the record of one object, marked as an insert, to a change set.
  void add(QStringList& tables, QList<CMDArray*>& arrays, const StampValues& values);

 private:
  struct Field {
    StampValue value;
    bool marked;
    MDRVar source;
  };
  void readFields(const CMDArray& rows);

  QString table_;
  const MDArray* structure_;
  const MDArray* patternTable_;
  const MDRData* pattern_;
  const std::vector<StampRule>* rules_;
  StampValue others_;
  std::vector<Field> fields_;  // of the change set's entry, by number
};

#endif
