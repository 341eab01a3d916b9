// The duplicates of one measurement: read from the server, edited, written back in one block.
#ifndef TLMCLIENT_OPERATOR_DUPLICATES_H
#define TLMCLIENT_OPERATOR_DUPLICATES_H

#include <TlmMdx/CMDArray.h>

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

class CTlmCliSes;

namespace tlm {

// One source. The texts are what the server tells of it.
struct Duplicate {
  QByteArray key;
  int locId = 0;
  bool enabled = true;
  int mode = 0;
  bool isNew = false;
  QString name;
  QString value;
};

// GUI thread only. Does not keep the session.
class Duplicates {
 public:
  enum Load { kLoaded, kGone, kFailed };
  // The list is empty when the measurement is gone or the server does not answer.
  Load load(CTlmCliSes* session, const QByteArray& measurement);

  const QList<Duplicate>& rows() const { return rows_; }
  int number() const { return own_; }  // of the measurement that they stand in for
  bool isEdited() const;

  void setEnabled(int row, bool enabled) { rows_[row].enabled = enabled; }
  void setMode(int row, int mode) { rows_[row].mode = mode; }
  void move(int from, int to) { rows_.move(from, to); }
  void remove(int row) { rows_.removeAt(row); }
  // Appends the measurement of that number. False with what is wrong in *problem.
  bool add(CTlmCliSes* session, int locId, QString* problem);

  // Sends what was edited as one change set. False with what to tell in *problem.
  bool save(CTlmCliSes* session, QString* problem) const;

 private:
  struct Kept {
    Duplicate row;
    int priority = 0;
  };

  bool read(CTlmCliSes* session, CMDArray* found) const;
  void describe(CTlmCliSes* session, Duplicate* row) const;
  const Kept* kept(const QByteArray& key) const;
  void fillChanges(CMDArray* changes) const;

  QByteArray measurement_;
  int own_ = 0;  // number of the measurement itself
  QList<Duplicate> rows_;
  QList<Kept> kept_;  // as they stand on the server
};

}  // namespace tlm

#endif
