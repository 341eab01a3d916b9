// Which remote units have their measurements in the tree.
#ifndef TLMMEAS_LOADEDUNITS_H
#define TLMMEAS_LOADEDUNITS_H

#include <QSet>
#include <QString>
#include <QStringList>

// Answers `list.contains(key, Qt::CaseInsensitive)` for a list that mostly grows at its end, without going through
// its thousands of keys for every event.
class LoadedUnits {
 public:
  explicit LoadedUnits(const QStringList& list) : list_(list) {}

  bool contains(const QString& key) {
    if (!isPrefixKnown()) {
      folded_.clear();
      known_ = 0;
    }
    for (; known_ < list_.size(); ++known_) folded_.insert(list_[known_].toCaseFolded());
    if (known_ > 0) {
      first_ = list_.first();
      last_ = list_.last();
    }
    return folded_.contains(key.toCaseFolded());
  }

 private:
  // What was taken in still stands at the beginning of the list: a key that was taken out or put in moved the others.
  bool isPrefixKnown() const {
    if (known_ == 0) return true;
    return list_.size() >= known_ && isSame(list_.first(), first_) && isSame(list_[known_ - 1], last_);
  }

  static bool isSame(const QString& a, const QString& b) { return a.constData() == b.constData(); }

  const QStringList& list_;
  QSet<QString> folded_;
  int known_ = 0;
  // The first and the last key taken in, held so that no other key gets the place of their texts.
  QString first_;
  QString last_;
};

#endif
