// A linked form: what the station knows of one object, with its live value.
#ifndef TLMHOST_FORMWINDOW_H
#define TLMHOST_FORMWINDOW_H

#include <TlmServer/Core.h>

#include <QTimer>
#include <QWidget>

#include "objectInfo.h"

class QLabel;

namespace tlm {

// The server must outlive it.
class FormWindow : public QWidget {
  Q_OBJECT

 public:
  FormWindow(StationServer& server, const QString& file, const ObjectInfo& object, QWidget* parent = nullptr);

  QString valueText() const;
  void refresh();

 private:
  StationServer& server_;
  const ObjectInfo object_;
  QLabel* value_;
  QLabel* quality_;
  QLabel* time_;
  QTimer timer_;
};

}  // namespace tlm

#endif
