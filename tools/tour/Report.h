// What a tour saw: a numbered picture and a line of the report for each step.
#ifndef TLMTOUR_REPORT_H
#define TLMTOUR_REPORT_H

#include <QDir>
#include <QJsonArray>
#include <QString>
#include <QVector>

class QPixmap;
class QWidget;

namespace tlm::tour {

class Report {
 public:
  // Pictures of an earlier tour in the folder are removed.
  explicit Report(const QDir& folder);

  // Tells what a step was to show and what was seen, and keeps a picture of the window (null: none). True when
  // both are equal.
  bool step(const QString& step, const QString& expected, const QString& seen, QWidget* window);
  // The same with several windows in one picture, side by side.
  bool step(const QString& step, const QString& expected, const QString& seen, const QVector<QWidget*>& windows);

  // Keeps a text beside the pictures.
  void text(const QString& name, const QString& text) const;

  // Writes report.json. False, told on the error stream, when the folder cannot be written or a step failed.
  bool finish() const;

 private:
  bool note(const QString& step, const QString& expected, const QString& seen, const QPixmap& picture);

  QDir folder_;
  QJsonArray steps_;
  bool allOk_ = true;
};

}  // namespace tlm::tour

#endif
