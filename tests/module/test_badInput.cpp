// Input that cannot be kept: what is said, what stays in the editor, what reaches the server.
#include <QAbstractButton>
#include <QLineEdit>

#include "ModuleWindow.h"
#include "RecordAccess.h"
#include "WorkWithData.h"

namespace tlm::test {
namespace {

class BadInput : public ModuleWindow {
 protected:
  // Opens the editor of a field and types a text into it, without leaving it.
  QLineEdit* typeInto(const char* title, const QString& text) {
    const QModelIndex cell = field(title);
    module->activateWindow();
    sheet()->setFocus();
    sheet()->scrollTo(cell);
    sheet()->setCurrentIndex(cell);
    sheet()->edit(cell);
    auto* editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    if (!editor) return nullptr;
    editor->selectAll();
    for (const QChar& letter : text) {
      QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, letter);
      QCoreApplication::sendEvent(editor, &press);
    }
    return editor;
  }
  QTreeView* sheet() { return module->ui->tV_Prop; }

  void expectWarning(const QString& text) {
    CPopMessageBox* box = waitingBox();
    ASSERT_NE(box, nullptr) << text.toStdString();
    EXPECT_EQ(box->titleText(), "Предупреждение");
    EXPECT_EQ(box->messageText(), text);
    answerBox(box, 0);
    settle();
  }
  int64_t blocks() { return app.log.filter("BlockEnd").size(); }
};

TEST_F(BadInput, TextOverItsLengthIsRefusedWhileItIsTyped) {
  start();
  click("P Т-1");
  QLineEdit* editor = typeInto("Наименование", QString(200, QChar(0x0416)));
  ASSERT_NE(editor, nullptr);
  EXPECT_EQ(waitingBox(), nullptr);
  QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, "x");
  QCoreApplication::sendEvent(editor, &press);
  EXPECT_EQ(editor->text(), QString(200, QChar(0x0416)));
  expectWarning("Текст не может быть длиннее 200 символов.");
  EXPECT_TRUE(editor->hasFocus());
  QTest::keyClick(editor, Qt::Key_Escape);
}

TEST_F(BadInput, CharacterThatTheServerLacksIsRefused) {
  start();
  click("P Т-1");
  QLineEdit* editor = typeInto("Наименование", QString::fromUtf8("5 Ω"));
  ASSERT_NE(editor, nullptr);
  EXPECT_EQ(editor->text(), "5 ");
  expectWarning("Символ «Ω» нельзя сохранить: его нет в кодировке Windows-1251.");
  QTest::keyClick(editor, Qt::Key_Escape);
  EXPECT_FALSE(module->passport.HasChanges());
}

TEST_F(BadInput, NumberOutOfItsRangeStaysInTheEditorBehindTheMessage) {
  start();
  click("P Т-1");
  QLineEdit* editor = typeInto("Группа опроса", "256");
  ASSERT_NE(editor, nullptr);
  QTest::keyClick(editor, Qt::Key_Return);
  EXPECT_TRUE(editor->isVisible());
  expectWarning("Значение поля «Группа опроса» должно быть от 0 до 255.");
  EXPECT_TRUE(editor->hasFocus()) << "typing goes on where it was";
  EXPECT_EQ(editor->text(), "256");
  EXPECT_FALSE(module->passport.HasChanges());
  QTest::keyClick(editor, Qt::Key_Backspace);
  QTest::keyClick(editor, Qt::Key_Return);
  settle();
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_EQ(shown("Группа опроса"), "25");
  module->onActCancel_Triggered();
}

TEST_F(BadInput, MessageIsWholeWhenItReplacesAnother) {
  start();
  CPopMessageBox* box = module->PopMessageBoxCreate();
  for (int i = 0; i < 2; ++i) {
    module->onSignMessage(
        "Значение поля «Группа опроса, адрес и период» должно быть от 0 до 86400 секунд включительно.");
    EXPECT_TRUE(box->rect().contains(box->buttons().first()->geometry().bottomRight())) << i;
    EXPECT_GE(box->buttons().first()->height(), box->buttons().first()->sizeHint().height()) << i;
  }
  answerBox(box, 0);
}

TEST_F(BadInput, FocusReturnsFromAMessage) {
  start();
  click("P Т-1");
  module->activateWindow();
  tree()->setFocus();
  module->onSignMessage("Проверьте значение");
  EXPECT_FALSE(tree()->hasFocus());
  answerBox(waitingBox(), 0);
  EXPECT_TRUE(tree()->hasFocus());
}

// ---- the server ------------------------------------------------------------------------------------------

TEST_F(BadInput, UpdateThatTheServerRefusesIsToldToTheHost) {
  start();
  click("P Т-1");
  type("Примечание", "проверено");
  TestApp colleague(*server.core(), "colleague");
  CTlmMeasConfig other(&colleague);
  other.ModuleStart();
  QStringList tables;
  QList<CMDArray*> arrays;
  other.PrepareDelRec(tables, arrays, key("P Т-1"), "Analog");
  ASSERT_TRUE(other.session() != nullptr);
  other.session()->BlockBeg();
  for (int i = 0; i < tables.size(); ++i)
    other.session()->SqlUpdate(tables[i].toLatin1().constData(), arrays[i]->array, true, nullptr);
  MDXCliParam* reply = nullptr;
  other.session()->BlockEnd(true, &reply);
  ASSERT_TRUE(other.session()->WaitResult(&reply, -1));
  other.session()->PrmFree(reply);
  qDeleteAll(arrays);

  module->actSave->trigger();
  ASSERT_TRUE(processUntil([&] { return !app.refused.isEmpty(); }));
  EXPECT_TRUE(app.refused.first().why.contains("такой записи нет")) << app.refused.first().why.toStdString();
  EXPECT_EQ(waitingBox(), nullptr) << "nobody waited";
  CLiteModel model(module->moduleCodec);
  module->getLiteModel(key("P Т-1"), model);
  EXPECT_TRUE(model.IsEmpty()) << "nothing half-written";
}

TEST_F(BadInput, ReferenceWhoseRowIsGoneSaysSo) {
  start();
  click("P Т-1");
  CMDArray array;
  MDACopy(array.array, module->strMeasurement.array, 0);
  MDRData* record = MDARecNew(array.array);
  const QByteArray measurement = key("P Т-1").toLatin1(), gone(32, 'G');
  array.SetVal(record, 0, textVar(measurement));
  array.SetValF(record, MDRFldByName(array.array, "UnitKey")->number, textVar(gone));
  array.RecPost(record);
  QStringList tables{"Measurement"};
  QList<CMDArray*> arrays{&array};
  ASSERT_TRUE(module->Save(tables, arrays, false));
  module->UpdateTlmPassport(find("P Т-1"));
  EXPECT_EQ(shown("Единица измерения"), "(запись удалена)");
}

TEST_F(BadInput, TextTooLongForTheServerIsRefusedWhole) {
  start();
  CMDArray array;
  MDACopy(array.array, module->strIdentifiedObject.array, 0);
  MDRData* record = MDARecNew(array.array);
  const QByteArray measurement = key("P Т-1").toLatin1(), name(201, 'n');
  array.SetVal(record, 0, textVar(measurement));
  array.SetValF(record, MDRFldByName(array.array, "name_")->number, textVar(name));
  array.RecPost(record);
  QStringList tables{"IdentifiedObject"};
  QList<CMDArray*> arrays{&array};
  EXPECT_FALSE(module->Save(tables, arrays, false));
  ASSERT_NE(waitingBox(), nullptr);
  answerBox(waitingBox(), 0);
  EXPECT_EQ(shownName("P Т-1"), "P Т-1");
}

}  // namespace
}  // namespace tlm::test
