// A frameless pop-up panel inside a module's window.
#ifndef TLMCLIENT_CPOPTEMPLATE_H
#define TLMCLIENT_CPOPTEMPLATE_H

#include <TlmClient/export.h>

#include <QPointer>
#include <QString>
#include <QWidget>

class QKeyEvent;
class QPaintEvent;

// GUI thread only. A child of its parent, above its other children, hidden until it is shown. Enter accepts,
// or presses the button that has the focus, once for each press of the key; Escape rejects; Tab goes round its own
// fields. It can be dragged by its title bar and never leaves the parent.
// With a null parent it is a frameless window of its own.
//
// The panel paints its frame and its title bar; a layout set on it stays clear of both (panelMargins).
class TLMCLIENT_API CPopTemplate : public QWidget {
  Q_OBJECT

 public:
  explicit CPopTemplate(QWidget* parent);
  ~CPopTemplate() override;

  void moveToCenter();  // over the parent's centre, within the screen

  void setPanelTitle(const QString& title);
  QString panelTitle() const { return panelTitle_; }

  // What a layout of the panel keeps as its margins: the title bar at the top, a border around.
  static QMargins panelMargins();

 public slots:
  virtual void On_Accept();  // hides the panel
  virtual void On_Reject();  // hides the panel

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  bool focusNextPrevChild(bool next) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;  // the panel's focus goes back to where it was
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

 private:
  QPoint keptInside(const QPoint& topLeft) const;

  QString panelTitle_;
  QPointer<QWidget> focusBefore_;
  QPoint grab_;
  bool dragging_ = false;
};

#endif
