// The report of the numbers that a series of copies could not have.
#ifndef TLMMEAS_POPMESSAGEBOXBYTEMPLATE_H
#define TLMMEAS_POPMESSAGEBOXBYTEMPLATE_H

#include <TlmClient/CPopTemplate.h>

#include <QString>
#include <QStringList>

class QTextCodec;
class Ui_CPopMessageBoxByTemplate;

// GUI thread only. Made once by the module.
class CPopMessageBoxByTemplate : public CPopTemplate {
  Q_OBJECT

 public:
  explicit CPopMessageBoxByTemplate(QWidget* parent);
  ~CPopMessageBoxByTemplate() override;

  // The question, and the lines of its details, which are hidden at first.
  void Init(QString text, QStringList occupied);
  void show();  // over the module's centre, the keyboard on the accepting button

  QString unitKey;  // of the unit that the series goes to; empty when the current row tells

 signals:
  void SignOK();

 public slots:
  void On_pressedPushButton();  // shows the details, or hides them
  void On_Accept() override;
  void On_Reject() override;

 public:
  Ui_CPopMessageBoxByTemplate* ui;
  QTextCodec* moduleCodec = nullptr;

 private:
  void showDetails(bool on);
};

#endif
