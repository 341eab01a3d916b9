// Watches a tree while rows come, go and move.
#ifndef TLMTEST_TREEWATCH_H
#define TLMTEST_TREEWATCH_H

#include <ModelsTelemetry.h>

#include <QAbstractItemModelTester>
#include <QIdentityProxyModel>
#include <QStringList>

namespace tlm::test {

// The tree as a model of one column, without the two habits that a model must not have: parents outside of
// column 0, and rows told that never come.
class OneColumn : public QIdentityProxyModel {
 public:
  using QIdentityProxyModel::QIdentityProxyModel;
  int columnCount(const QModelIndex& = QModelIndex()) const override { return 1; }
};

// A log of the notifications: "+Папка 0-1", "-Папка 2", ">Папка 0 Другая 3", with the parent's
// text ("/" for the root) as it was when the change was told.
class TreeWatch {
 public:
  explicit TreeWatch(MeasConfTreeModel& model) {
    proxy_.setSourceModel(&model);
    const auto name = [](const QModelIndex& index) { return index.isValid() ? index.data().toString() : QString("/"); };
    const auto rows = [](int first, int last) {
      return first == last ? QString::number(first) : QString("%1-%2").arg(first).arg(last);
    };
    QObject::connect(&model, &QAbstractItemModel::rowsAboutToBeInserted, &proxy_,
                     [=, this](const QModelIndex& parent, int first, int last) {
                       log.append("+" + name(parent) + " " + rows(first, last));
                     });
    QObject::connect(&model, &QAbstractItemModel::rowsAboutToBeRemoved, &proxy_,
                     [=, this](const QModelIndex& parent, int first, int last) {
                       log.append("-" + name(parent) + " " + rows(first, last));
                     });
    QObject::connect(
        &model, &QAbstractItemModel::rowsAboutToBeMoved, &proxy_,
        [=, this](const QModelIndex& from, int first, int last, const QModelIndex& to, int row) {
          log.append(">" + name(from) + " " + rows(first, last) + " " + name(to) + " " + QString::number(row));
        });
    QObject::connect(&model, &MeasConfTreeModel::setFocusRow, &proxy_,
                     [=, this](const QModelIndex& index) { log.append("focus " + name(index)); });
  }

  // Sets Qt's own tester on the one column, until the watch is gone. A sort does not remap persistent indexes, which
  // the tester does not bear.
  void judge() {
    tester_ =
        std::make_unique<QAbstractItemModelTester>(&proxy_, QAbstractItemModelTester::FailureReportingMode::Fatal);
  }
  void judgeNoMore() { tester_.reset(); }

  QStringList log;

 private:
  OneColumn proxy_;
  std::unique_ptr<QAbstractItemModelTester> tester_;
};

}  // namespace tlm::test

#endif
