// What an index of the tree stands for, read through the roles.
#ifndef TLMMEAS_INDEXFACTS_H
#define TLMMEAS_INDEXFACTS_H

#include "ModelsTelemetry.h"

#include <QModelIndex>
#include <QSet>

inline myConfNode* nodeOf(const QModelIndex& index) {
  return static_cast<myConfNode*>(index.data(Qt::UserRole).value<void*>());
}
inline QString classOf(const QModelIndex& index) { return index.data(kClassRole).toString(); }
inline QString keyOf(const QModelIndex& index) { return index.data(kKeyRole).toString(); }

// A view may select both cells of a row: the rows that indexes lie in, each once, in their order, by the first of
// its indexes.
inline QModelIndexList distinctRows(const QModelIndexList& indexes) {
  QModelIndexList rows;
  QSet<const void*> seen;
  for (const QModelIndex& index : indexes) {
    if (seen.contains(index.internalPointer())) continue;
    seen.insert(index.internalPointer());
    rows.append(index);
  }
  return rows;
}

// The text of the number's column.
inline QString numberOf(const QModelIndex& index) { return index.sibling(index.row(), 1).data().toString(); }

inline bool isRemoteUnit(const QModelIndex& index) {
  return classOf(index).compare(QLatin1String(kRemoteUnitClass), Qt::CaseInsensitive) == 0;
}

// A measurement's class, or the class of the group that a node is; null for any other row. Captions compare
// with case, classes without.
inline const MeasClass* groupOrMeasClass(const QString& caption, const QString& className) {
  for (const MeasClass& kind : kMeasClasses)
    if (caption == QString::fromUtf8(kind.caption) ||
        className.compare(QLatin1String(kind.className), Qt::CaseInsensitive) == 0)
      return &kind;
  return nullptr;
}

#endif
