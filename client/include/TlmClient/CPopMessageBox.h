// The module's one shared message box: every question, error and receipt.
#ifndef TLMCLIENT_CPOPMESSAGEBOX_H
#define TLMCLIENT_CPOPMESSAGEBOX_H

#include <TlmClient/CPopTemplate.h>

#include <QList>
#include <QString>

#include <memory>

class QAbstractButton;

enum TMessageBoxIcon { kBoxNoIcon = 0, kBoxError = 1, kBoxCritical = 2, kBoxWarning = 3, kBoxInformation = 4 };
enum TMessageBoxType { kBoxOk = 0, kBoxOkCancel = 1, kBoxClose = 2, kBoxYesNo = 3 };

// Not modal: the answer comes through the slot of the parent that setMessage names. Enter presses the
// accepting button, Escape the rejecting one (the accepting one where it is alone).
class TLMCLIENT_API CPopMessageBox : public CPopTemplate {
  Q_OBJECT

 public:
  explicit CPopMessageBox(QWidget* parent);
  ~CPopMessageBox() override;

  // `slot` is a SLOT() text of the parent, which takes the clicked button and closes the box, or null: then
  // the box closes itself. It replaces the slot of the message before. May be called by such a slot.
  void setMessage(const QString& title, const QString& text, TMessageBoxIcon icon, TMessageBoxType type,
                  const char* slot);
  void show();  // sized, centred over the parent, with the focus on the accepting button

  // 0 for the accepting button, 1 for any other.
  int ButtonRole(QAbstractButton* button) const;

  QString titleText() const;
  QString messageText() const;
  TMessageBoxIcon icon() const;
  TMessageBoxType type() const;
  QList<QAbstractButton*> buttons() const;  // the accepting one first

  // True from show() until a button was pressed.
  bool isWaiting() const;

  // For tests: all boxes that wait, and how many were destroyed while they did.
  static QList<CPopMessageBox*> waitingBoxes();
  static int abandonedCount();

 signals:
  void shown();
  void clicked(QAbstractButton* button);

 public slots:
  void On_Accept() override;
  void On_Reject() override;

 private:
  void press(QAbstractButton* button);
  void makeButtons(TMessageBoxType type);

  struct Parts;
  std::unique_ptr<Parts> parts_;
};

#endif
