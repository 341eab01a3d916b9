// One object of a paste: how the fields of its records follow from those of the object it was made from.
#ifndef TLMMEAS_PASTEDRECORD_H
#define TLMMEAS_PASTEDRECORD_H

#include <TlmMdx/CMDArray.h>

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <functional>

class QTextCodec;

// A copy becomes a full record of every table; what is moved becomes an update that carries the parent link alone.
// Keys are in the server's code page.
class PastedRecord {
 public:
  // `source` holds the object as the server gave it, in its first record.
  PastedRecord(const CMDArray& source, QTextCodec* codec);

  bool isCopy = false;
  QByteArray key;
  QByteArray targetKey;                       // of the folder or unit that takes the object; empty: the top
  int primaryLocId = 0;                       // of a copy that is aggregated; otherwise 0
  QByteArray archGroupKey;                    // the same
  std::function<void(QString& name)> rename;  // empty: the name stays
  std::function<int()> nextNumber;            // for each number that a copy needs; 0: there is none

  // Adds the object's record of one table to a change set. False when there was no number for it: the record is not
  // added then.
  bool addTo(QStringList& tables, QList<CMDArray*>& arrays, const QString& table, const CMDArray* structure);

 private:
  bool fill(CMDArray& rows, MDRData* record, int field);
  void setName(CMDArray& rows, MDRData* record, int field, const MDRVar& value);

  const CMDArray& source_;
  const MDRData* from_;
  QTextCodec* codec_;
};

#endif
