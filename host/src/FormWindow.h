// A linked form: its diagram with the object marked, and what the station knows of the object, with its live value.
#ifndef TLMHOST_FORMWINDOW_H
#define TLMHOST_FORMWINDOW_H

#include <TlmServer/Core.h>

#include <QTimer>
#include <QWidget>

#include "objectInfo.h"

class QLabel;

namespace tlm {

class SchemeView;

// The server must outlive it.
class FormWindow : public QWidget {
  Q_OBJECT

 public:
  FormWindow(StationServer& server, const QString& file, const ObjectInfo& object, QWidget* parent = nullptr);

  QString valueText() const;
  const SchemeView* scheme() const { return scheme_; }  // null when the station has no diagram of that name
  void refresh();

 private:
  StationServer& server_;
  const ObjectInfo object_;
  SchemeView* scheme_ = nullptr;
  QLabel* value_;
  QLabel* quality_;
  QLabel* time_;
  QTimer timer_;
};

}  // namespace tlm

#endif
