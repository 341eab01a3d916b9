#include "Report.h"

#include <QApplication>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPainter>
#include <QPixmap>
#include <QWidget>

#include <cstdio>

namespace tlm::tour {
namespace {

constexpr int kGap = 16;  // between two windows

// A picture of what a user would see: bars and views lay themselves out when the event loop comes round, and a scroll
// bar that the first round has brought narrows its view in the second.
QPixmap picture(QWidget* window) {
  for (int round = 0; round < 2; ++round) QApplication::processEvents();
  return window->grab();
}

QPixmap sideBySide(const QVector<QWidget*>& windows) {
  QVector<QPixmap> pictures;
  QSize size(-kGap, 0);
  for (QWidget* window : windows) {
    pictures.append(picture(window));
    size = QSize(size.width() + kGap + pictures.last().width(), qMax(size.height(), pictures.last().height()));
  }
  QPixmap whole(size);
  whole.fill(Qt::white);
  QPainter painter(&whole);
  int x = 0;
  for (const QPixmap& each : pictures) {
    painter.drawPixmap(x, 0, each);
    x += each.width() + kGap;
  }
  return whole;
}

}  // namespace

Report::Report(const QDir& folder) : folder_(folder) {
  const QStringList old = folder_.entryList({"[0-9]*-*.png", "report.json", "*.txt"}, QDir::Files);
  for (const QString& file : old) folder_.remove(file);
}

bool Report::step(const QString& step, const QString& expected, const QString& seen, QWidget* window) {
  return note(step, expected, seen, window ? picture(window) : QPixmap());
}

bool Report::step(const QString& step, const QString& expected, const QString& seen, const QVector<QWidget*>& windows) {
  return note(step, expected, seen, sideBySide(windows));
}

bool Report::note(const QString& step, const QString& expected, const QString& seen, const QPixmap& picture) {
  const bool ok = expected == seen;
  allOk_ = allOk_ && ok;
  steps_.append(QJsonObject{{"step", step}, {"expected", expected}, {"seen", seen}, {"ok", ok}});
  const int number = steps_.size();
  if (!picture.isNull()) picture.save(folder_.filePath(QString("%1-%2.png").arg(number, 2, 10, QChar('0')).arg(step)));
  std::printf("%2d %-6s %s\n", number, ok ? "ok" : "FAILED", qUtf8Printable(step));
  if (!ok) std::printf("   expected: %s\n   seen:     %s\n", qUtf8Printable(expected), qUtf8Printable(seen));
  return ok;
}

void Report::text(const QString& name, const QString& text) const {
  QFile file(folder_.filePath(name));
  if (file.open(QIODevice::WriteOnly)) file.write(text.toUtf8());
}

bool Report::finish() const {
  QFile file(folder_.filePath("report.json"));
  if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(steps_).toJson()) < 0) {
    std::fprintf(stderr, "cannot write %s: %s\n", qUtf8Printable(file.fileName()), qUtf8Printable(file.errorString()));
    return false;
  }
  return allOk_;
}

}  // namespace tlm::tour
