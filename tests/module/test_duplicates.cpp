// The panel of duplicates: what it shows, takes and saves.
#include "CToolMeasParamsConf.h"

#include <QTableWidget>
#include <QToolButton>

#include "OperatorWindow.h"

namespace tlm::test {
namespace {

class DuplicatesPanel : public OperatorWindow {
 protected:
  TlmDublies* panel() { return module->popDublies; }
  QTableWidget* table() { return in<QTableWidget>(panel(), "tw_Dublies"); }
  // "NUMBER on|off MODE" for each source.
  QString rows() {
    QStringList texts;
    for (int row = 0; row < table()->rowCount(); ++row)
      texts << QString("%1 %2 %3")
                   .arg(table()->item(row, 1)->text(), table()->item(row, 0)->checkState() ? "on" : "off")
                   .arg(qobject_cast<QComboBox*>(table()->cellWidget(row, 4))->currentIndex());
    return texts.join(", ");
  }
};

TEST_F(DuplicatesPanel, OpenWithTheObjectsKeyAndNoTool) {
  choose("Всё есть", module->actDubl);
  ASSERT_NE(panel(), nullptr);
  EXPECT_TRUE(panel()->isVisible());
  EXPECT_EQ(panel()->parent(), module.get());
  EXPECT_EQ(asked().first(), "PacketExec RecByKeyLink " + key("Всё есть"));
  EXPECT_EQ(module->findChildren<CToolMeasParamsConf*>().size(), 0);
}

TEST_F(DuplicatesPanel, WithoutASessionDoNotOpen) {
  click("Всё есть");
  CTlmCliAbo* const session = std::exchange(module->abo, nullptr);
  module->OnSetDublieslAction();
  EXPECT_EQ(panel(), nullptr);
  module->abo = session;
  module->OnSetDublieslAction();
  EXPECT_NE(panel(), nullptr);
}

TEST_F(DuplicatesPanel, KeepTheirPanel) {
  choose("Всё есть", module->actDubl);
  TlmDublies* const first = panel();
  QTest::keyClick(first, Qt::Key_Escape);
  EXPECT_TRUE(first->isHidden());
  choose("Не задано", module->actDubl);
  EXPECT_EQ(panel(), first);
  EXPECT_TRUE(first->isVisible());
}

TEST_F(DuplicatesPanel, ShowSourcesInTheirOrderWithSwitchAndMode) {
  choose("Всё есть", module->actDubl);
  EXPECT_EQ(rows(), "1002 on 0, 1003 off 2");
  EXPECT_EQ(table()->item(0, 2)->text(), "КП-1: Без архива");
  EXPECT_FALSE(in<QPushButton>(panel(), "btn_OK")->isEnabled());
}

TEST_F(DuplicatesPanel, SaveAllEditsInOneBlock) {
  choose("Всё есть", module->actDubl);
  QTest::mouseClick(in<QToolButton>(panel(), "btn_Down"), Qt::LeftButton);
  EXPECT_EQ(rows(), "1003 off 2, 1002 on 0");
  table()->item(0, 0)->setCheckState(Qt::Checked);
  enter(panel(), "le_Number", "1005");
  QTest::keyClick(in<QLineEdit>(panel(), "le_Number"), Qt::Key_Return);
  EXPECT_EQ(rows(), "1003 on 2, 1002 on 0, 1005 on 0");
  EXPECT_TRUE(panel()->isVisible());
  app.log.clear();
  press(panel(), "btn_OK");
  EXPECT_TRUE(panel()->isHidden());
  EXPECT_EQ(app.log.filter("SqlUpdate"), QStringList("SqlUpdate Dublies 3 records"));
  EXPECT_EQ(app.log.filter("BlockEnd"), QStringList("BlockEnd"));
  choose("Всё есть", module->actDubl);
  EXPECT_EQ(rows(), "1003 on 2, 1002 on 0, 1005 on 0");
}

TEST_F(DuplicatesPanel, RemoveASource) {
  choose("Всё есть", module->actDubl);
  QTest::mouseClick(in<QToolButton>(panel(), "btn_Remove"), Qt::LeftButton);
  EXPECT_EQ(rows(), "1003 off 2");
  press(panel(), "btn_OK");
  choose("Всё есть", module->actDubl);
  EXPECT_EQ(rows(), "1003 off 2");
}

TEST_F(DuplicatesPanel, EscapeDropsTheEdits) {
  choose("Всё есть", module->actDubl);
  QTest::mouseClick(in<QToolButton>(panel(), "btn_Remove"), Qt::LeftButton);
  app.log.clear();
  QTest::keyClick(panel(), Qt::Key_Escape);
  EXPECT_EQ(app.log.filter("SqlUpdate"), QStringList());
  choose("Всё есть", module->actDubl);
  EXPECT_EQ(rows(), "1002 on 0, 1003 off 2");
}

TEST_F(DuplicatesPanel, TakeNoNumberThatIsNotThereTwiceOrItsOwn) {
  choose("Всё есть", module->actDubl);
  for (const char* wrong : {"777", "1002", "1001"}) {
    enter(panel(), "le_Number", wrong);
    QTest::mouseClick(in<QPushButton>(panel(), "btn_Add"), Qt::LeftButton);
    EXPECT_FALSE(told(panel(), "lbl_Problem").isEmpty()) << wrong;
  }
  EXPECT_EQ(rows(), "1002 on 0, 1003 off 2");
}

TEST_F(DuplicatesPanel, StayOpenWhenTheServerRefuses) {
  choose("Всё есть", module->actDubl);
  QTest::mouseClick(in<QToolButton>(panel(), "btn_Remove"), Qt::LeftButton);
  app.failures.add("BlockEnd", Fail::kStatus);
  press(panel(), "btn_OK");
  EXPECT_TRUE(panel()->isVisible());
  EXPECT_FALSE(told(panel(), "lbl_Problem").isEmpty());
  EXPECT_TRUE(panel()->isEdited());
}

TEST_F(DuplicatesPanel, UseTheWholeWidthForTheirTable) {
  choose("Всё есть", module->actDubl);
  int width = 0;
  for (int column = 0; column < table()->columnCount(); ++column) width += table()->columnWidth(column);
  EXPECT_EQ(width, table()->viewport()->width());
  EXPECT_GT(table()->columnWidth(2), 290);
}

TEST_F(DuplicatesPanel, TellWhatIsNotThereAndWhatHasNoValue) {
  choose("Не задано", module->actDubl);
  EXPECT_EQ(rows(), "777 on 0, 1001 off 0");
  EXPECT_EQ(table()->item(0, 2)->text(), "(измерения нет на сервере)");
  EXPECT_EQ(table()->item(0, 3)->text(), "");
  EXPECT_EQ(table()->item(1, 3)->text(), "42.5 кВ");
  choose("Всё есть", module->actDubl);
  EXPECT_EQ(table()->item(0, 3)->text(), "нет данных");
  EXPECT_EQ(told(panel(), "lbl_Name"), "№ 1001  Всё есть");
}

TEST_F(DuplicatesPanel, OfferWhatTheSelectedSourceAllows) {
  const auto offered = [this] {
    QString text;
    for (const char* name : {"btn_Up", "btn_Down", "btn_Remove"})
      text += in<QToolButton>(panel(), name)->isEnabled() ? '+' : '-';
    return text;
  };
  choose("Всё есть", module->actDubl);
  EXPECT_EQ(table()->currentRow(), 0);
  EXPECT_EQ(offered(), "-++");
  table()->setCurrentCell(1, 1);
  EXPECT_EQ(offered(), "+-+");
  QTest::mouseClick(in<QToolButton>(panel(), "btn_Up"), Qt::LeftButton);
  EXPECT_EQ(rows(), "1003 off 2, 1002 on 0");
  EXPECT_EQ(table()->currentRow(), 0);
  EXPECT_EQ(offered(), "-++");
  QTest::mouseClick(in<QToolButton>(panel(), "btn_Remove"), Qt::LeftButton);
  EXPECT_EQ(table()->currentRow(), 0);
  EXPECT_EQ(offered(), "--+");
  QTest::mouseClick(in<QToolButton>(panel(), "btn_Remove"), Qt::LeftButton);
  EXPECT_EQ(rows(), "");
  EXPECT_EQ(offered(), "---");
  choose("Q-1", module->actDubl);
  EXPECT_EQ(rows(), "");
  EXPECT_EQ(offered(), "---");
}

TEST_F(DuplicatesPanel, AreNotEditedByWhatIsTakenBack) {
  choose("Всё есть", module->actDubl);
  auto* const save = in<QPushButton>(panel(), "btn_OK");
  auto* const mode = qobject_cast<QComboBox*>(table()->cellWidget(0, 4));
  EXPECT_EQ(mode->itemText(0) + "," + mode->itemText(1) + "," + mode->itemText(2), "По качеству,Всегда,Вручную");
  table()->item(0, 0)->setCheckState(Qt::Unchecked);
  EXPECT_TRUE(save->isEnabled());
  table()->item(0, 0)->setCheckState(Qt::Checked);
  EXPECT_FALSE(save->isEnabled());
  mode->setCurrentIndex(1);
  EXPECT_TRUE(save->isEnabled());
  mode->setCurrentIndex(0);
  EXPECT_FALSE(save->isEnabled());
  QTest::mouseClick(in<QToolButton>(panel(), "btn_Down"), Qt::LeftButton);
  EXPECT_TRUE(save->isEnabled());
  QTest::mouseClick(in<QToolButton>(panel(), "btn_Up"), Qt::LeftButton);
  EXPECT_FALSE(save->isEnabled());
}

TEST_F(DuplicatesPanel, AreEditedByTheirOrderAlone) {
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.change("Dublies", key("Д2"), {"enabled=1", "mode=0"}).commit());
  choose("Всё есть", module->actDubl);
  QTest::mouseClick(in<QToolButton>(panel(), "btn_Down"), Qt::LeftButton);
  EXPECT_TRUE(in<QPushButton>(panel(), "btn_OK")->isEnabled());
  app.log.clear();
  press(panel(), "btn_OK");
  EXPECT_EQ(app.log.filter("SqlUpdate"), QStringList("SqlUpdate Dublies 2 records"));
  choose("Всё есть", module->actDubl);
  EXPECT_EQ(rows(), "1003 on 0, 1002 on 0");
}

TEST_F(DuplicatesPanel, WriteOnlyWhatIsAnother) {
  choose("Всё есть", module->actDubl);
  qobject_cast<QComboBox*>(table()->cellWidget(1, 4))->setCurrentIndex(1);
  app.log.clear();
  press(panel(), "btn_OK");
  EXPECT_EQ(app.log.filter("SqlUpdate"), QStringList("SqlUpdate Dublies 1 records"));
  choose("Всё есть", module->actDubl);
  EXPECT_EQ(rows(), "1002 on 0, 1003 off 1");
}

TEST_F(DuplicatesPanel, LeaveAloneWhatAColleagueChangedMeanwhile) {
  choose("Всё есть", module->actDubl);
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.change("Dublies", key("Д1"), {"mode=2"}).commit());
  table()->item(0, 0)->setCheckState(Qt::Unchecked);
  press(panel(), "btn_OK");
  choose("Всё есть", module->actDubl);
  EXPECT_EQ(rows(), "1002 off 2, 1003 off 2");
}

TEST_F(DuplicatesPanel, TellWhyASourceIsNotTaken) {
  choose("Всё есть", module->actDubl);
  for (const auto& [number, why] : {std::pair("777", "Измерения № 777 нет на сервере."),
                                    {"1002", "Измерение № 1002 уже стоит в списке."},
                                    {"1001", "Измерение не может быть дублем самого себя."}}) {
    enter(panel(), "le_Number", number);
    QTest::mouseClick(in<QPushButton>(panel(), "btn_Add"), Qt::LeftButton);
    EXPECT_EQ(told(panel(), "lbl_Problem"), why);
    EXPECT_EQ(in<QLineEdit>(panel(), "le_Number")->text(), number);
  }
  app.failures.add("PacketExec MeasParams", Fail::kRefuseToSend);
  enter(panel(), "le_Number", "1005");
  QTest::mouseClick(in<QPushButton>(panel(), "btn_Add"), Qt::LeftButton);
  EXPECT_EQ(told(panel(), "lbl_Problem"), "Нет связи с сервером, запрос не отправлен.");
  app.failures.clear();
  QTest::mouseClick(in<QPushButton>(panel(), "btn_Add"), Qt::LeftButton);
  EXPECT_EQ(told(panel(), "lbl_Problem"), "");
  EXPECT_EQ(table()->currentRow(), 2);
  EXPECT_EQ(in<QLineEdit>(panel(), "le_Number")->text(), "");
}

TEST_F(DuplicatesPanel, TakeNothingButNumbers) {
  choose("Всё есть", module->actDubl);
  auto* const add = in<QPushButton>(panel(), "btn_Add");
  EXPECT_FALSE(add->isEnabled());
  enter(panel(), "le_Number", "abc0");
  EXPECT_FALSE(add->isEnabled());
  QTest::keyClick(in<QLineEdit>(panel(), "le_Number"), Qt::Key_Return);
  EXPECT_EQ(rows(), "1002 on 0, 1003 off 2");
  enter(panel(), "le_Number", "1005");
  EXPECT_TRUE(add->isEnabled());
  choose("Не задано", module->actDubl);
  EXPECT_EQ(in<QLineEdit>(panel(), "le_Number")->text(), "");
}

TEST_F(DuplicatesPanel, EnterPressesTheButtonThatHasTheFocus) {
  choose("Всё есть", module->actDubl);
  const auto enterOn = [this](auto* button) {
    button->setFocus();
    QTest::keyClick(button, Qt::Key_Return);
  };
  enterOn(in<QToolButton>(panel(), "btn_Remove"));
  EXPECT_TRUE(panel()->isVisible());
  EXPECT_EQ(rows(), "1003 off 2");
  enterOn(in<QPushButton>(panel(), "btn_Cancel"));
  EXPECT_TRUE(panel()->isHidden());
  choose("Всё есть", module->actDubl);
  EXPECT_EQ(rows(), "1002 on 0, 1003 off 2");
}

TEST_F(DuplicatesPanel, EnterInTheTableSavesOrCloses) {
  choose("Всё есть", module->actDubl);
  table()->setFocus();
  app.log.clear();
  QTest::keyClick(table(), Qt::Key_Return);
  EXPECT_TRUE(panel()->isHidden());
  EXPECT_EQ(asked(), QStringList());
  choose("Всё есть", module->actDubl);
  table()->item(0, 0)->setCheckState(Qt::Unchecked);
  table()->setFocus();
  QTest::keyClick(table(), Qt::Key_Return);
  EXPECT_TRUE(panel()->isHidden());
  choose("Всё есть", module->actDubl);
  EXPECT_EQ(rows(), "1002 off 0, 1003 off 2");
}

TEST_F(DuplicatesPanel, EnterInTheEmptyFieldOfTheNumberCloses) {
  choose("Всё есть", module->actDubl);
  auto* const number = in<QLineEdit>(panel(), "le_Number");
  number->setFocus();
  QTest::keyClick(number, Qt::Key_Return);
  EXPECT_TRUE(panel()->isHidden());
}

TEST_F(DuplicatesPanel, TellHowASaveFailed) {
  choose("Всё есть", module->actDubl);
  table()->item(0, 0)->setCheckState(Qt::Unchecked);
  const auto told = [this](const char* call, Fail fail) {
    app.failures.clear();
    app.failures.add(call, fail);
    press(panel(), "btn_OK");
    EXPECT_TRUE(panel()->isVisible());
    return OperatorWindow::told(panel(), "lbl_Problem");
  };
  EXPECT_EQ(told("PacketExec TableStructure", Fail::kTimeOut), "Сервер не ответил, ничего не записано.");
  EXPECT_EQ(told("SqlUpdate", Fail::kRefuseToSend), "Изменения не отправлены.");
  EXPECT_EQ(told("BlockEnd", Fail::kRefuseToSend), "Нет связи с сервером, ничего не записано.");
  EXPECT_EQ(told("BlockEnd", Fail::kStatus), "Сервер не принял изменения: refused by the test");
  EXPECT_EQ(told("BlockEnd", Fail::kTimeOut), "Сервер не ответил: записаны ли изменения, не известно.");
}

TEST_F(DuplicatesPanel, AreRefusedWhereAColleagueRemovedTheSource) {
  choose("Всё есть", module->actDubl);
  Colleague colleague(*server.core());
  ASSERT_TRUE(colleague.row("Dublies", key("Д1"), {}, MDX_REC_DELETE).commit());
  table()->item(0, 0)->setCheckState(Qt::Unchecked);
  press(panel(), "btn_OK");
  EXPECT_TRUE(panel()->isVisible());
  EXPECT_TRUE(told(panel(), "lbl_Problem").startsWith("Сервер не принял изменения: "));
}

TEST_F(DuplicatesPanel, WithoutAListSaveNothing) {
  for (const char* call : {"PacketExec RecByKeyLink", "PacketExec RecByKey "}) {
    app.failures.clear();
    app.failures.add(call, Fail::kStatus);
    module->CreateDublSetting(key("Всё есть"));
    EXPECT_EQ(told(panel(), "lbl_Problem"), "Сервер не дал списка дублей.") << call;
    EXPECT_EQ(rows(), "");
    enter(panel(), "le_Number", "1005");
    EXPECT_FALSE(in<QPushButton>(panel(), "btn_Add")->isEnabled());
    EXPECT_FALSE(in<QPushButton>(panel(), "btn_OK")->isEnabled());
  }
  table()->setFocus();
  QTest::keyClick(table(), Qt::Key_Return);
  EXPECT_TRUE(panel()->isHidden());
}

TEST_F(DuplicatesPanel, OfADeletedMeasurementSaveNothing) {
  module->CreateDublSetting(key("нигде"));
  EXPECT_EQ(told(panel(), "lbl_Problem"), "Измерения больше нет на сервере.");
  EXPECT_EQ(told(panel(), "lbl_Name"), "");
  enter(panel(), "le_Number", "1005");
  EXPECT_FALSE(in<QPushButton>(panel(), "btn_Add")->isEnabled());
}

TEST_F(DuplicatesPanel, ComeToTheFrontWhenOpenedAgain) {
  choose("Всё есть", module->actDubl);
  QWidget cover(module.get());
  cover.show();
  module->CreateDublSetting(key("Всё есть"));
  EXPECT_TRUE(panel()->isVisible());
  EXPECT_EQ(module->children().last(), panel());
}

}  // namespace
}  // namespace tlm::test
