// A frameless pop-up panel inside a module's window.
#ifndef TLMCLIENT_CPOPTEMPLATE_H
#define TLMCLIENT_CPOPTEMPLATE_H

#include <TlmClient/export.h>

#include <QWidget>

class QKeyEvent;

// Enter accepts, Escape rejects; can be dragged by its title.
class TLMCLIENT_API CPopTemplate : public QWidget {
  Q_OBJECT

 public:
  explicit CPopTemplate(QWidget* parent);
  ~CPopTemplate() override;

  void moveToCenter();  // over the parent's centre, within the screen

 public slots:
  virtual void On_Accept();
  virtual void On_Reject();

 protected:
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;

 private:
  QPoint grab_;
};

#endif
