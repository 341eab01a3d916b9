// Editing by mouse and keys: each editor, each key, and what reaches a change set.
#include "fixture.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLineEdit>
#include <QListView>
#include <QPlainTextEdit>

namespace tlm::test {
namespace {

QString u8(const char* text) { return QString::fromUtf8(text); }

class Edit : public PassportTest {};

TEST_F(Edit, WritesATextAndMarksItsField) {
  show("P Т-1");
  type("IdentifiedObject.name_", u8("Новое"));
  EXPECT_EQ(text("IdentifiedObject.name_"), u8("Новое"));
  EXPECT_TRUE(isMarked("IdentifiedObject.name_"));
  EXPECT_FALSE(isMarked("IdentifiedObject.shortName"));
  EXPECT_EQ(changes_->count(), 1);
  EXPECT_TRUE(passport_->HasChanges());
  EXPECT_EQ(prop("IdentifiedObject", "name_"), u8("Новое"));
}

TEST_F(Edit, GivesTheWholeChainWithOnlyEditedFieldsMarked) {
  show("P Т-1");
  type("Analog.engMax", "200");
  const ChangeSet set = handOver();
  EXPECT_EQ(set.tables, QStringList({"IdentifiedObject", "Measurement", "Analog"}));
  EXPECT_EQ(set.marked("IdentifiedObject"), "");
  EXPECT_EQ(set.marked("Measurement"), "");
  EXPECT_EQ(set.marked("Analog"), "engMax=200");
  EXPECT_EQ(set.kind("Analog"), 2);
  EXPECT_EQ(set.value("Analog", "KeyLink"), key("P Т-1"));
  EXPECT_EQ(set.value("Measurement", "locId"), "1001");
  EXPECT_EQ(set.value("Analog", "highAlarm"), "125.5");
}

TEST_F(Edit, AlignsFieldNumbersWithTheServersStructure) {
  show("P Т-1");
  type("Analog.engMax", "200");
  const ChangeSet set = handOver();
  const CMDArray* analog = set.array("Analog");
  const auto& fields = server::Catalogue::builtIn().table("Analog")->fields;
  ASSERT_EQ(MDAFldCount(analog->array), int(fields.size()));
  for (int i = 0; i < int(fields.size()); ++i) EXPECT_EQ(MDAFldName(analog->array, i), fields[size_t(i)].name);
}

TEST_F(Edit, GivesNothingWithoutEdits) {
  show("P Т-1");
  EXPECT_TRUE(handOver().tables.isEmpty());
}

TEST_F(Edit, TakesAnEditBackWhenTheOldValueReturns) {
  show("P Т-1");
  type("Analog.engMax", "200");
  type("Analog.engMax", "150");
  EXPECT_FALSE(isMarked("Analog.engMax"));
  EXPECT_FALSE(passport_->HasChanges());
  EXPECT_TRUE(handOver().tables.isEmpty());
}

TEST_F(Edit, IsNoEditToOpenAndLeaveAField) {
  show("P Т-1");
  openEditor("IdentifiedObject.name_");
  press(Qt::Key_Enter);
  EXPECT_EQ(changes_->count(), 0);
  EXPECT_FALSE(isMarked("IdentifiedObject.name_"));
}

TEST_F(Edit, ForgetsWhatEscapeEnds) {
  show("P Т-1");
  type("IdentifiedObject.name_", "abc", Qt::Key_Escape);
  EXPECT_EQ(text("IdentifiedObject.name_"), u8("P Т-1"));
  EXPECT_EQ(changes_->count(), 0);
  EXPECT_EQ(editor(), nullptr);
}

TEST_F(Edit, ClearsATextToAnEmptyOneAndANumberToNull) {
  show("P Т-1");
  type("Measurement.comment", "");
  type("Measurement.staleTime", "");
  const ChangeSet set = handOver();
  EXPECT_EQ(set.marked("Measurement"), "staleTime=null, comment=");
}

TEST_F(Edit, IsNoEditToLeaveANullTextEmpty) {
  show("P Т-1");
  type("IdentifiedObject.shortName", "x");
  type("IdentifiedObject.shortName", "");
  EXPECT_FALSE(passport_->HasChanges());
}

TEST_F(Edit, AcceptsACommaInADouble) {
  show("P Т-1");
  type("Analog.engMax", "0,25");
  EXPECT_EQ(handOver().marked("Analog"), "engMax=0.25");
}

TEST_F(Edit, RefusesLettersInANumber) {
  show("P Т-1");
  type("Measurement.staleTime", "4x2");
  EXPECT_EQ(handOver().marked("Measurement"), "staleTime=42");
}

TEST_F(Edit, RefusesANumberOutOfItsRangeAndStaysOpen) {
  show("P Т-1");
  type("Measurement.ioGroup", "256");
  ASSERT_EQ(messages_->count(), 1);
  EXPECT_TRUE(messages_->at(0).at(0).toString().contains("255"));
  EXPECT_NE(editor(), nullptr);
  press(Qt::Key_Escape);
  EXPECT_EQ(changes_->count(), 0);
  EXPECT_EQ(text("Measurement.ioGroup"), "");
}

TEST_F(Edit, RefusesANumberThatItsFieldCannotHold) {
  show("P Т-1");
  type("Measurement.locId", "99999999999999999999");
  EXPECT_EQ(messages_->count(), 1);
  press(Qt::Key_Escape);
  EXPECT_FALSE(passport_->HasChanges());
}

TEST_F(Edit, DropsARefusedNumberWhenTheFocusGoes) {
  show("P Т-1");
  auto* field = qobject_cast<QLineEdit*>(openEditor("Measurement.ioGroup"));
  ASSERT_TRUE(field);
  QTest::keyClicks(field, "999");
  tabs_->tabBar()->setFocus();
  settle();
  EXPECT_EQ(messages_->count(), 1);
  EXPECT_FALSE(passport_->HasChanges());
}

TEST_F(Edit, KeepsToTheLengthOfATextField) {
  show("P Т-1");
  auto* field = qobject_cast<QLineEdit*>(openEditor("IdentifiedObject.shortName"));
  ASSERT_TRUE(field);
  QTest::keyClicks(field, QString(60, 'a'));
  EXPECT_EQ(messages_->count(), 0);
  QTest::keyClicks(field, "b");
  EXPECT_EQ(field->text(), QString(60, 'a'));
  ASSERT_EQ(messages_->count(), 1);
  EXPECT_EQ(messages_->at(0).at(0).toString(), u8("Текст не может быть длиннее 60 символов."));
}

TEST_F(Edit, KeepsToTheLengthOfALongText) {
  show("P Т-1");
  auto* memo = qobject_cast<QPlainTextEdit*>(openEditor("IdentifiedObject.description"));
  ASSERT_TRUE(memo);
  memo->setPlainText(QString(2000, 'a'));
  EXPECT_EQ(messages_->count(), 0);
  memo->insertPlainText("b");
  EXPECT_EQ(memo->toPlainText(), QString(2000, 'a'));
  EXPECT_EQ(messages_->count(), 1);
}

TEST_F(Edit, RefusesCharactersThatTheCodePageLacks) {
  show("P Т-1");
  type("IdentifiedObject.name_", u8("Ток Ω"));
  EXPECT_EQ(text("IdentifiedObject.name_"), u8("Ток "));
  ASSERT_EQ(messages_->count(), 1);
  EXPECT_TRUE(messages_->at(0).at(0).toString().contains(u8("Ω")));
}

TEST_F(Edit, SwitchesACheckBoxByMouseAndSpace) {
  show("P Т-1");
  tree_->scrollTo(cell("Measurement.ioGroup"));
  const QRect row = tree_->visualRect(cell("Measurement.CheckArch"));
  QTest::mouseClick(tree_->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(row.left() + 11, row.center().y()));
  EXPECT_EQ(handOver().marked("Measurement"), "CheckArch=false");
  tree_->setFocus();
  tree_->setCurrentIndex(cell("Measurement.CheckDubl", 0));
  press(Qt::Key_Space);
  EXPECT_EQ(handOver().marked("Measurement"), "CheckArch=false, CheckDubl=true");
  EXPECT_EQ(changes_->count(), 2);
}

TEST_F(Edit, SwitchesAPartlyCheckedBoxOn) {
  ASSERT_TRUE(load(&model_, key("P Т-1")));
  Merged merged;
  merged.texts = {{"Measurement.work_", "PartiallyChecked"}};
  passport_->SetObject(key("P Т-1"), &model_, session(), nullptr, &merged, true, false);
  tree_->setFocus();
  tree_->setCurrentIndex(cell("Measurement.work_"));
  press(Qt::Key_Space);
  EXPECT_EQ(cell("Measurement.work_").data(Qt::CheckStateRole).toInt(), Qt::Checked);
  EXPECT_EQ(handOver().marked("Measurement"), "work_=true");  // also where the first object has it already
}

TEST_F(Edit, WritesAMergedValueEvenIfTheFirstObjectHasIt) {
  ASSERT_TRUE(load(&model_, key("P Т-1")));
  Merged merged;
  merged.texts = {{"Measurement.staleTime", "0"}};
  passport_->SetObject(key("P Т-1"), &model_, session(), nullptr, &merged, true, false);
  type("Measurement.staleTime", "30");
  EXPECT_EQ(handOver().marked("Measurement"), "staleTime=30");
}

TEST_F(Edit, ChoosesFromAnEnumeration) {
  show("P Т-1");
  auto* box = qobject_cast<QComboBox*>(openEditor("Analog.smoothing"));
  ASSERT_TRUE(box);
  EXPECT_EQ(box->currentText(), u8("Скользящее среднее"));
  QTest::keyClick(box, Qt::Key_Down);
  QTest::keyClick(box, Qt::Key_Enter);
  settle();
  EXPECT_EQ(text("Analog.smoothing"), u8("Экспоненциальное"));
  EXPECT_EQ(handOver().marked("Analog"), "smoothing=2");
}

TEST_F(Edit, ChoosesABooleanWithTexts) {
  show("В-110");
  auto* box = qobject_cast<QComboBox*>(openEditor("Discrete.inversion"));
  ASSERT_TRUE(box);
  QTest::keyClick(box, Qt::Key_Up);
  QTest::keyClick(box, Qt::Key_Enter);
  settle();
  EXPECT_EQ(text("Discrete.inversion"), u8("Прямой"));
  EXPECT_EQ(handOver().marked("Discrete"), "inversion=false");
}

TEST_F(Edit, ChoosesAServerGroup) {
  show("ПС Северная", nullptr);
  auto* box = qobject_cast<QComboBox*>(openEditor("RemoteUnit.SrvGroup"));
  ASSERT_TRUE(box);
  box->setCurrentIndex(box->findText(u8("Группа 2")));
  emit box->activated(box->currentIndex());
  settle();
  EXPECT_EQ(text("RemoteUnit.SrvGroup"), u8("Группа 2"));
  EXPECT_EQ(handOver().marked("RemoteUnit"), "SrvGroup=2");
}

TEST_F(Edit, WritesADateAndTime) {
  show("P Т-1");
  type("Measurement.commissioned", "31.12.2024 10:30:00");
  EXPECT_EQ(text("Measurement.commissioned"), "31.12.24 10:30:00");
  const ChangeSet set = handOver();
  const double stored = set.value("Measurement", "commissioned")->toDouble();
  EXPECT_NEAR(session()->MdxTimeToSesTime(stored), 45657.4375, 1e-6);
}

TEST_F(Edit, RefusesATextThatIsNoDate) {
  show("P Т-1");
  type("Measurement.commissioned", "31.02.2024");
  EXPECT_EQ(messages_->count(), 1);
  press(Qt::Key_Escape);
  EXPECT_FALSE(passport_->HasChanges());
}

TEST_F(Edit, WritesALongTextOfSeveralLines) {
  show("P Т-1");
  auto* memo = qobject_cast<QPlainTextEdit*>(openEditor("IdentifiedObject.description"));
  ASSERT_TRUE(memo);
  QTest::keyClicks(memo, "one");
  QTest::keyClick(memo, Qt::Key_Return, Qt::ShiftModifier);
  QTest::keyClicks(memo, "two");
  QTest::keyClick(memo, Qt::Key_Return);
  settle();
  EXPECT_EQ(handOver().marked("IdentifiedObject"), "description=one\ntwo");
}

TEST_F(Edit, NamesTheMeasurementOfATypedNumber) {
  show("P Т-1");
  type("Measurement.primaryLocId", "1003");
  EXPECT_EQ(text("Measurement.primaryLocId"), u8("1003, В-110"));
  type("Measurement.primaryLocId", "7777");
  EXPECT_EQ(text("Measurement.primaryLocId"), u8("7777, измерения нет"));
}

TEST_F(Edit, MovesOnWithTab) {
  show("P Т-1");
  type("IdentifiedObject.shortName", "s", Qt::Key_Tab);
  EXPECT_EQ(tree_->currentIndex(), cell("IdentifiedObject.aliasName"));
  ASSERT_NE(editor(), nullptr);
  press(Qt::Key_Backtab);
  EXPECT_EQ(tree_->currentIndex(), cell("IdentifiedObject.shortName"));
  EXPECT_EQ(text("IdentifiedObject.shortName"), "s");
}

TEST_F(Edit, PassesLockedFieldsOverWithTab) {
  show("P Т-1");
  QStringList locked{"IdentifiedObject.aliasName"};
  passport_->SetNoEditableFields(locked, true);
  type("IdentifiedObject.shortName", "s", Qt::Key_Tab);
  EXPECT_EQ(tree_->currentIndex(), cell("IdentifiedObject.description"));
}

TEST_F(Edit, OpensAnEditorWithF2AndWithALetterFromTheNameColumn) {
  show("P Т-1");
  tree_->setFocus();
  tree_->setCurrentIndex(cell("IdentifiedObject.shortName", 0));
  press(Qt::Key_F2);
  ASSERT_NE(editor(), nullptr);
  press(Qt::Key_Escape);
  tree_->setFocus();
  tree_->setCurrentIndex(cell("IdentifiedObject.shortName", 0));
  press(Qt::Key_Q);
  auto* field = qobject_cast<QLineEdit*>(editor());
  ASSERT_TRUE(field);
  EXPECT_EQ(field->text(), "q");
}

TEST_F(Edit, CopiesTheValueOfARow) {
  show("P Т-1");
  tree_->setFocus();
  tree_->setCurrentIndex(cell("Measurement.UnitKey", 0));
  press(Qt::Key_C, Qt::ControlModifier);
  EXPECT_EQ(QApplication::clipboard()->text(), u8("МВт"));
}

TEST_F(Edit, KeepsAnOpenEditorWhileTheLiveValueRefreshes) {
  show("P Т-1");
  auto* field = qobject_cast<QLineEdit*>(openEditor("IdentifiedObject.shortName"));
  ASSERT_TRUE(field);
  QTest::keyClicks(field, "ab");
  char fresh[] = "14";
  passport_->SetValue(key("P Т-1"), fresh);
  settle();
  EXPECT_EQ(text("live"), "14");
  EXPECT_EQ(editor(), field);
  EXPECT_EQ(field->text(), "ab");
}

TEST_F(Edit, KeepsAnOpenEditorWhenTheSameObjectIsShownAnew) {
  show("P Т-1");
  auto* field = qobject_cast<QLineEdit*>(openEditor("IdentifiedObject.shortName"));
  ASSERT_TRUE(field);
  QTest::keyClicks(field, "ab");
  show("P Т-1");
  EXPECT_EQ(editor(), field);
  EXPECT_EQ(field->text(), "ab");
}

TEST_F(Edit, TakesAnOpenEditorOverWhenAnotherObjectComes) {
  show("P Т-1");
  auto* field = qobject_cast<QLineEdit*>(openEditor("IdentifiedObject.shortName"));
  ASSERT_TRUE(field);
  QTest::keyClicks(field, "ab");
  show("Q Т-1");
  settle();
  EXPECT_EQ(editor(), nullptr);
  EXPECT_EQ(text("IdentifiedObject.shortName"), "");
  const ChangeSet set = handOver();
  EXPECT_EQ(set.marked("IdentifiedObject"), "shortName=ab");
  EXPECT_EQ(set.value("IdentifiedObject", "KeyLink"), key("P Т-1"));
}

TEST_F(Edit, TakesAnOpenEditorOverWhenTheValuesAreAskedFor) {
  show("P Т-1");
  auto* field = qobject_cast<QLineEdit*>(openEditor("IdentifiedObject.shortName"));
  ASSERT_TRUE(field);
  QTest::keyClicks(field, "ab");
  EXPECT_EQ(handOver().marked("IdentifiedObject"), "shortName=ab");
}

TEST_F(Edit, StepsFromFieldToFieldWithTabWithoutAnEditor) {
  show("P Т-1");
  tree_->setFocus();
  tree_->setCurrentIndex(cell("IdentifiedObject.created"));
  press(Qt::Key_Tab);
  EXPECT_EQ(tree_->currentIndex(), cell("Measurement.locId"));  // over the heading of the next group
  EXPECT_EQ(editor(), nullptr);
  press(Qt::Key_Backtab);
  EXPECT_EQ(tree_->currentIndex(), cell("IdentifiedObject.created"));
}

TEST_F(Edit, TellsOfWhatCannotBeEdited) {
  show("P Т-1");
  EXPECT_EQ(cell("IdentifiedObject.KeyLink").data(Qt::ToolTipRole).toString(), u8("Ключ объекта не изменяется"));
  EXPECT_EQ(openEditor("IdentifiedObject.KeyLink"), nullptr);
}

TEST_F(Edit, RefusesAWholePasteThatHoldsAForeignCharacter) {
  show("P Т-1");
  auto* field = qobject_cast<QLineEdit*>(openEditor("IdentifiedObject.shortName"));
  ASSERT_TRUE(field);
  QApplication::clipboard()->setText(u8("a→b"));
  field->paste();
  EXPECT_EQ(field->text(), "");
  EXPECT_EQ(messages_->count(), 1);
}

TEST_F(Edit, ReachesTheServer) {
  show("P Т-1");
  type("IdentifiedObject.name_", u8("Новое"));
  type("Measurement.UnitKey", u8("Мвар"));
  const ChangeSet set = handOver();
  MDXCliParam* reply = nullptr;
  session()->BlockBeg();
  for (int i = 0; i < set.tables.size(); ++i)
    ASSERT_TRUE(session()->SqlUpdate(set.tables[i].toLatin1().constData(), set.arrays[i]->array, true, nullptr));
  ASSERT_TRUE(session()->BlockEnd(true, &reply));
  ASSERT_TRUE(session()->WaitResult(&reply, -1));
  int32_t status = -1;
  MDRGetAsInt32(MDXParamFld(reply, MDX_REPLY_STATUS), reply, &status);
  session()->PrmFree(reply);
  EXPECT_EQ(status, 0);
  passport_->ClearChanges();
  show("P Т-1");
  EXPECT_EQ(text("IdentifiedObject.name_"), u8("Новое"));
  EXPECT_EQ(text("Measurement.UnitKey"), u8("Мвар"));
  EXPECT_EQ(text("Measurement.comment"), u8("Проверено"));
}

}  // namespace
}  // namespace tlm::test
