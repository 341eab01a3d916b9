#ifndef TLMTEST_MESSAGEBOX_PARENT_H
#define TLMTEST_MESSAGEBOX_PARENT_H

#include <TlmClient/CPopMessageBox.h>

#include <QAbstractButton>
#include <QStringList>
#include <QWidget>

namespace tlm::test {

// A window with slots that take answers.
class MessageBoxParent : public QWidget {
  Q_OBJECT

 public:
  QStringList answers;
  CPopMessageBox* box = nullptr;

 public slots:
  void answered(QAbstractButton* button) { answers.append(button->text()); }
  void other(QAbstractButton*) { answers.append("other"); }
  void askAgain(QAbstractButton*) {
    box->setMessage("t", "again", kBoxInformation, kBoxOk, SLOT(answered(QAbstractButton*)));
    box->show();
  }
};

}  // namespace tlm::test

#endif
