// What an index of the tree stands for.
#ifndef TLMMEAS_TREEACCESS_H
#define TLMMEAS_TREEACCESS_H

#include "ModelsTelemetry.h"

#include <QModelIndex>

// The node of an index, null for an invalid one.
inline myConfNode* nodeAt(const QModelIndex& index) {
  return static_cast<myConfNode*>(index.data(Qt::UserRole).value<void*>());
}

inline bool isRemoteUnit(const QModelIndex& index) {
  return index.data(kClassRole).toString().compare(QLatin1String(kRemoteUnitClass), Qt::CaseInsensitive) == 0;
}

#endif
