// The quick retrospective: the last values of one measurement as a chart and as a table.
#ifndef TLMHOST_RETROWINDOW_H
#define TLMHOST_RETROWINDOW_H

#include <TlmServer/Core.h>

#include <QTimer>
#include <QWidget>

#include "objectInfo.h"

class QLabel;
class QTableWidget;

namespace tlm {

class RetroChart;

// Follows the values while it is open. The server must outlive it.
class RetroWindow : public QWidget {
  Q_OBJECT

 public:
  explicit RetroWindow(StationServer& server, QWidget* parent = nullptr);

  void setObject(const ObjectInfo& object);
  const ObjectInfo& object() const { return object_; }

  // Reads the history again. Returns how many values it holds.
  int refresh();

  const RetroChart* chart() const { return chart_; }

  // Everything that the window knows as text (UTF-8, ";" between the cells), and its chart as a picture. False when the
  // file cannot be written.
  bool saveCsv(const QString& file) const;
  bool savePng(const QString& file) const;

 private:
  void askAndSave(const QString& filter, bool (RetroWindow::*save)(const QString&) const);
  void fillTable(const std::vector<server::LiveValue>& values);

  StationServer& server_;
  ObjectInfo object_;
  std::vector<server::LiveValue> values_;
  QLabel* heading_;
  QLabel* current_;
  RetroChart* chart_;
  QTableWidget* table_;
  QTimer timer_;
};

}  // namespace tlm

#endif
