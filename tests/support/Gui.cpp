#include "Gui.h"

#include <TlmClient/CPopMessageBox.h>

#include <QAbstractButton>
#include <QCoreApplication>
#include <QStringList>
#include <QTimer>

#include <gtest/gtest.h>

namespace tlm::test {
namespace {

void print(QAbstractItemModel& model, const QModelIndex& parent, bool fetch, int depth, QString* text) {
  while (fetch && model.canFetchMore(parent)) {
    const int before = model.rowCount(parent);
    model.fetchMore(parent);
    if (model.rowCount(parent) == before) break;
  }
  const int rows = model.rowCount(parent);
  for (int row = 0; row < rows; ++row) {
    const QModelIndex index = model.index(row, 0, parent);
    const QString number =
        model.columnCount(parent) > 1 ? model.index(row, 1, parent).data(Qt::DisplayRole).toString() : QString();
    *text += QString(2 * depth, ' ') + (number.isEmpty() ? number : number + ' ') +
             index.data(Qt::DisplayRole).toString() + '\n';
    print(model, index, fetch, depth + 1, text);
  }
}

int blanks(const QString& line) {
  int count = 0;
  while (count < line.size() && line.at(count) == ' ') ++count;
  return count;
}

}  // namespace

bool processUntil(const std::function<bool()>& condition, int limitMs) {
  // A timer ends the wait for events when none comes.
  QTimer limit;
  limit.setSingleShot(true);
  limit.start(limitMs);
  while (!condition()) {
    if (!limit.isActive()) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
  return true;
}

void settle() {
  for (int i = 0; i < 3; ++i) {
    QCoreApplication::processEvents();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  }
}

QString treeText(QAbstractItemModel& model, const QModelIndex& parent, bool fetch) {
  QString text;
  print(model, parent, fetch, 0, &text);
  return text;
}

QString picture(const char* text) {
  QStringList lines = QString::fromUtf8(text).split('\n');
  while (!lines.isEmpty() && lines.first().trimmed().isEmpty()) lines.removeFirst();
  while (!lines.isEmpty() && lines.last().trimmed().isEmpty()) lines.removeLast();
  const int margin = lines.isEmpty() ? 0 : blanks(lines.first());
  QString result;
  for (const QString& line : lines) result += line.mid(qMin(margin, blanks(line))) + '\n';
  return result;
}

void answerBox(CPopMessageBox* box, int role) {
  ASSERT_NE(box, nullptr) << "there is no message box";
  ASSERT_TRUE(box->isWaiting()) << "no question waits";
  for (QAbstractButton* button : box->buttons()) {
    if (box->ButtonRole(button) != role) continue;
    button->click();
    return;
  }
  FAIL() << "the message box has no button of role " << role;
}

CPopMessageBox* waitingBox() {
  const QList<CPopMessageBox*> boxes = CPopMessageBox::waitingBoxes();
  return boxes.isEmpty() ? nullptr : boxes.last();
}

}  // namespace tlm::test
