// The module's one shared message box: every question, error and receipt.
#ifndef TLMCLIENT_CPOPMESSAGEBOX_H
#define TLMCLIENT_CPOPMESSAGEBOX_H

#include <TlmClient/CPopTemplate.h>

#include <QString>

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

  // `slot` is a SLOT() text of the parent, which takes the clicked button, or null. It replaces the slot of
  // the message before.
  void setMessage(const QString& title, const QString& text, TMessageBoxIcon icon, TMessageBoxType type,
                  const char* slot);
  void show();

  // 0 for the accepting button, 1 for any other.
  int ButtonRole(QAbstractButton* button) const;

  QString titleText() const;
  QString messageText() const;
  TMessageBoxIcon icon() const;
  TMessageBoxType type() const;
  QList<QAbstractButton*> buttons() const;  // the accepting one first

  // True from show() until a button was pressed.
  bool isWaiting() const;

 signals:
  void shown();
  void clicked(QAbstractButton* button);

 public slots:
  void On_Accept() override;
  void On_Reject() override;

 private:
  struct Parts;
  Parts* parts_;
};

#endif
