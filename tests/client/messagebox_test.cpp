// The message box and the panel under it.
#include <TlmClient/CPopMessageBox.h>

#include <QAbstractButton>
#include <QMainWindow>
#include <QtTest/QTest>

#include <gtest/gtest.h>

#include "messagebox_parent.h"
#include "support/Gui.h"

namespace tlm::test {
namespace {

class MessageBox : public testing::Test {
 protected:
  MessageBox() {
    window.resize(800, 600);
    window.show();
  }

  void ask(TMessageBoxType type, const char* slot = SLOT(answered(QAbstractButton*))) {
    box->setMessage(QString::fromUtf8("Вопрос"), QString::fromUtf8("Удалить объект?"), kBoxInformation, type, slot);
    box->show();
  }

  QStringList captions() const {
    QStringList texts;
    for (QAbstractButton* button : box->buttons()) texts.append(button->text());
    return texts;
  }

  MessageBoxParent window;
  CPopMessageBox* box = new CPopMessageBox(&window);
};

struct TypeRow {
  TMessageBoxType type;
  QStringList captions;
};

TEST_F(MessageBox, HasTheButtonsOfItsType) {
  const TypeRow rows[] = {
      {kBoxOk, {"ОК"}}, {kBoxOkCancel, {"ОК", "Отмена"}}, {kBoxClose, {"Закрыть"}}, {kBoxYesNo, {"Да", "Нет"}}};
  for (const TypeRow& row : rows) {
    ask(row.type);
    EXPECT_EQ(captions(), row.captions);
    EXPECT_EQ(box->type(), row.type);
    answerBox(box, 0);
  }
}

TEST_F(MessageBox, ShowsWhatItWasGiven) {
  ask(kBoxOk);
  EXPECT_EQ(box->titleText(), QString::fromUtf8("Вопрос"));
  EXPECT_EQ(box->messageText(), QString::fromUtf8("Удалить объект?"));
  EXPECT_EQ(box->icon(), kBoxInformation);
  EXPECT_TRUE(box->isVisible());
  answerBox(box, 0);
}

TEST_F(MessageBox, WaitsFromShowUntilAButtonIsPressed) {
  box->setMessage("t", "x", kBoxError, kBoxOk, nullptr);
  EXPECT_FALSE(box->isWaiting());
  EXPECT_EQ(waitingBox(), nullptr);
  box->show();
  EXPECT_TRUE(box->isWaiting());
  EXPECT_EQ(waitingBox(), box);
  answerBox(box, 0);
  EXPECT_FALSE(box->isWaiting());
}

TEST_F(MessageBox, KnowsTheAcceptingButton) {
  ask(kBoxYesNo);
  EXPECT_EQ(box->ButtonRole(box->buttons()[0]), 0);
  EXPECT_EQ(box->ButtonRole(box->buttons()[1]), 1);
  EXPECT_EQ(box->ButtonRole(nullptr), 1);
  answerBox(box, 1);
}

TEST_F(MessageBox, CallsTheSlotWithTheButton) {
  ask(kBoxYesNo);
  answerBox(box, 1);
  EXPECT_EQ(window.answers, QStringList("Нет"));
  EXPECT_TRUE(box->isVisible()) << "the slot closes it";
}

TEST_F(MessageBox, ForgetsTheSlotOfTheMessageBefore) {
  ask(kBoxYesNo, SLOT(other(QAbstractButton*)));
  answerBox(box, 0);
  ask(kBoxYesNo);
  answerBox(box, 0);
  EXPECT_EQ(window.answers, QStringList({"other", "Да"}));
}

TEST_F(MessageBox, ClosesItselfWithoutASlot) {
  ask(kBoxClose, nullptr);
  answerBox(box, 0);
  EXPECT_FALSE(box->isVisible());
  EXPECT_TRUE(window.answers.isEmpty());
}

TEST_F(MessageBox, CanAskAgainFromItsSlot) {
  window.box = box;
  ask(kBoxYesNo, SLOT(askAgain(QAbstractButton*)));
  answerBox(box, 0);
  EXPECT_TRUE(box->isWaiting());
  EXPECT_EQ(box->messageText(), "again");
  answerBox(box, 0);
  EXPECT_EQ(window.answers, QStringList("ОК"));
}

TEST_F(MessageBox, CountsAClickOnce) {
  ask(kBoxYesNo);
  QAbstractButton* const yes = box->buttons()[0];
  yes->click();
  yes->click();
  EXPECT_EQ(window.answers, QStringList("Да"));
}

TEST_F(MessageBox, AcceptsByEnter) {
  ask(kBoxYesNo);
  QTest::keyClick(box, Qt::Key_Return);
  EXPECT_EQ(window.answers, QStringList("Да"));
}

TEST_F(MessageBox, RejectsByEscape) {
  ask(kBoxYesNo);
  QTest::keyClick(box->buttons()[0], Qt::Key_Escape);
  EXPECT_EQ(window.answers, QStringList("Нет"));
}

TEST_F(MessageBox, AcceptsByEscapeWhereThatButtonIsAlone) {
  ask(kBoxOk);
  QTest::keyClick(box, Qt::Key_Escape);
  EXPECT_EQ(window.answers, QStringList("ОК"));
}

TEST_F(MessageBox, TakesAClickOfTheMouse) {
  ask(kBoxYesNo);
  QTest::mouseClick(box->buttons()[1], Qt::LeftButton);
  EXPECT_EQ(window.answers, QStringList("Нет"));
}

TEST_F(MessageBox, StandsInTheCentreOfItsWindow) {
  ask(kBoxOk);
  const QPoint off = box->geometry().center() - window.rect().center();
  EXPECT_LE(off.manhattanLength(), 2);
  answerBox(box, 0);
}

TEST_F(MessageBox, ShowsALongTextWhole) {
  QString text;
  for (int i = 0; i < 40; ++i) text += QString::fromUtf8("Очень длинное сообщение об ошибке. ");
  box->setMessage("t", text, kBoxError, kBoxOk, nullptr);
  box->show();
  EXPECT_TRUE(window.rect().contains(box->geometry()));
  EXPECT_GT(box->height(), 200);
  for (QAbstractButton* button : box->buttons()) EXPECT_TRUE(box->rect().contains(button->geometry()));
  answerBox(box, 0);
}

TEST_F(MessageBox, StaysInsideWhenTheWindowShrinks) {
  ask(kBoxOk);
  window.resize(500, 300);
  EXPECT_TRUE(window.rect().contains(box->geometry()));
  answerBox(box, 0);
}

TEST_F(MessageBox, IsDraggedByItsTitle) {
  ask(kBoxOk);
  const QPoint before = box->pos();
  QTest::mousePress(box, Qt::LeftButton, {}, QPoint(40, 10));
  QMouseEvent move(QEvent::MouseMove, QPoint(70, 30), Qt::LeftButton, Qt::LeftButton, {});
  QCoreApplication::sendEvent(box, &move);
  QTest::mouseRelease(box, Qt::LeftButton, {}, QPoint(40, 10));
  EXPECT_EQ(box->pos(), before + QPoint(30, 20));
  answerBox(box, 0);
}

TEST(MessageBoxEnd, IsNoQuestionWhenItWasNeverShown) {
  const int before = CPopMessageBox::abandonedCount();
  {
    QWidget window;
    CPopMessageBox box(&window);
    box.setMessage("t", "x", kBoxNoIcon, kBoxOk, nullptr);
    EXPECT_FALSE(box.isWaiting());
  }
  EXPECT_EQ(CPopMessageBox::abandonedCount(), before);
}

}  // namespace
}  // namespace tlm::test
