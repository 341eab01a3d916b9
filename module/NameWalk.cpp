#include "NameWalk.h"

#include "CTlmMeasConfig.h"
#include "IndexFacts.h"
#include "ui_TlmMeasConfig.h"

#include <algorithm>
#include <iterator>

namespace {

QModelIndex child(const QModelIndex& parent, int row) { return parent.model()->index(row, 0, parent); }
QModelIndex lastRow(const QModelIndex& at) { return at.sibling(at.model()->rowCount(at.parent()) - 1, 0); }

}  // namespace

NameWalk::NameWalk(CTlmMeasConfig& module, const QString& text, bool forward)
    : module_(module), text_(text), forward_(forward) {}

QModelIndex NameWalk::step(const QModelIndex& at) const {
  return forward_ ? module_.GetNextIndex(at) : module_.GetPrevIndex(at);
}

QModelIndex NameWalk::stepUnit(const QModelIndex& at) const {
  return forward_ ? module_.GetNextRTUIndex(at) : module_.GetPrevRTUIndex(at);
}

bool NameWalk::holdsText(const QModelIndex& unit) const {
  bool found = false;
  module_.IsValueAtMeasurementsOfRTU(keyOf(unit), text_, found);
  return found;
}

QModelIndex NameWalk::entered(const QModelIndex& start) {
  MeasConfTreeModel& model = *module_.treeModel;
  if (!start.isValid()) return forward_ ? model.index(0, 0) : QModelIndex();
  const QModelIndex unit = !isRemoteUnit(start) || forward_ ? start : module_.GetPrevRTUIndex(start);
  if (isRemoteUnit(start) && isRemoteUnit(unit) && !nodeOf(unit)->isLoaded && holdsText(unit)) {
    module_.ui->tV_MeasConfig->setExpanded(unit, true);
    for (myConfNode* group : nodeOf(unit)->children)
      model.SortChildren(group, model.sortColumn, model.sortOrder, false);
  }
  return step(start);
}

QModelIndex NameWalk::next(QModelIndex at) {
  while (at.isValid())
    if (look(at)) return at;
  return QModelIndex();
}

bool NameWalk::look(QModelIndex& at) {
  const QString shown = at.data().toString();
  if (shown.contains(text_, Qt::CaseInsensitive)) return true;
  if (measClassByName(classOf(at), Qt::CaseSensitive)) return lookInRows(at);
  if (isRemoteUnit(at)) return lookInUnit(at);
  if (isGroupCaption(shown)) return lookInGroup(at);
  at = step(at);
  return false;
}

void NameWalk::match(const QModelIndex& first, Qt::MatchFlags flags) {
  hits = first.isValid() ? module_.treeModel->match(first, Qt::DisplayRole, text_, -1, flags) : QModelIndexList();
}

// A measurement that is no hit itself stands for all rows beside it. Backward the first of the list is passed over.
bool NameWalk::lookInRows(QModelIndex& at) {
  if (!forward_) lastUnit_ = at.parent().parent().data().toString();
  const QModelIndex first = at.sibling(0, 0);
  match(first, Qt::MatchContains);
  const int row = at.row();
  if (forward_) {
    const auto hit = std::find_if(hits.cbegin(), hits.cend(), [row](const QModelIndex& i) { return i.row() >= row; });
    position = hit == hits.cend() ? -1 : static_cast<int>(hit - hits.cbegin());
  } else {
    position = hits.size() - 1;
    while (position > 0 && hits[position].row() > row) --position;
    if (position == 0) position = -1;
  }
  at = position >= 0 ? hits[position] : step(forward_ ? lastRow(at) : first);
  return position >= 0;
}

bool NameWalk::fetch(const QModelIndex& unit) const {
  if (!module_.AddMeasForRTU(unit, keyOf(unit), false, QString())) return false;
  MeasConfTreeModel& model = *module_.treeModel;
  myConfNode* node = nodeOf(unit);
  node->isExpanded = true;
  model.SortChildren(node, model.sortColumn, model.sortOrder, false);
  return true;
}

bool NameWalk::lookInUnit(QModelIndex& at) {
  const bool loaded = nodeOf(at)->isLoaded;
  const bool left = loaded && !forward_ && lastUnit_ == at.data().toString();
  if (!left && (loaded || (holdsText(at) && fetch(at)))) {
    match(child(at, 0), Qt::MatchContains | Qt::MatchRecursive);
    if (takeOutermost(at)) return true;
  }
  at = stepUnit(at);
  return false;
}

bool NameWalk::lookInGroup(QModelIndex& at) {
  if (!forward_) {
    lastUnit_ = at.parent().data().toString();
    at = step(at);
    return false;
  }
  const QModelIndex first = child(at, 0);
  if (first.isValid()) {
    match(first, Qt::MatchContains);
    if (takeOutermost(at)) return true;
    at = lastRow(first);
  }
  at = step(at);
  return false;
}

// The first hit forward, the last one backward.
bool NameWalk::takeOutermost(QModelIndex& at) {
  if (hits.isEmpty()) return false;
  position = forward_ ? 0 : hits.size() - 1;
  at = hits[position];
  return true;
}
