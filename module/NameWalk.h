// The walk over the tree that looks for a part of a name, units that were not fetched included.
#ifndef TLMMEAS_NAMEWALK_H
#define TLMMEAS_NAMEWALK_H

#include <QList>
#include <QModelIndex>
#include <QString>

class CTlmMeasConfig;

// One pass in one direction. A unit that was not fetched is asked for through the server, and fetched only when it
// holds the text. GUI thread; blocks for each question. Call entered() and next() on rows in column 0.
class NameWalk {
 public:
  NameWalk(CTlmMeasConfig& module, const QString& text, bool forward);

  // Fetches the unit next to the row where the walk starts when it holds the text, and gives the first row to look
  // at: the one beside the start, which is not looked at itself; invalid at the end of the tree.
  QModelIndex entered(const QModelIndex& start);

  // The next hit from a row on; invalid when the tree ends.
  QModelIndex next(QModelIndex at);

  // The hits of the group or unit that was matched last, in match order, and the place of the present one; -1
  // when the hit came from no list.
  QModelIndexList hits;
  int position = -1;

 private:
  QModelIndex step(const QModelIndex& at) const;
  QModelIndex stepUnit(const QModelIndex& at) const;
  bool look(QModelIndex& at);  // true: `at` is a hit; false: it is the row to look at next
  bool lookInRows(QModelIndex& at);
  bool lookInUnit(QModelIndex& at);
  bool lookInGroup(QModelIndex& at);
  bool takeOutermost(QModelIndex& at);
  bool holdsText(const QModelIndex& unit) const;
  bool fetch(const QModelIndex& unit) const;
  void match(const QModelIndex& first, Qt::MatchFlags flags);

  CTlmMeasConfig& module_;
  const QString text_;
  const bool forward_;
  QString lastUnit_;  // the unit that a walk backward has just been in
};

#endif
