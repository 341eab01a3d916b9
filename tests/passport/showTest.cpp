// What the sheet shows of one object, of several, and of one that the server does not know.
#include "fixture.h"

#include <QHeaderView>
#include <QLineEdit>
#include <QScrollBar>

namespace tlm::test {
namespace {

QString u8(const char* text) { return QString::fromUtf8(text); }

class Show : public PassportTest {};

TEST_F(Show, GroupsFieldsByTableUnderTheirRussianTitles) {
  show("P Т-1");
  const QAbstractItemModel* model = tree_->model();
  QStringList groups;
  for (int i = 0; i < model->rowCount(); ++i) groups << model->index(i, 0).data().toString();
  EXPECT_EQ(groups, QStringList({u8("Текущее значение"), u8("Объект"), u8("Измерение"), u8("Аналоговое измерение")}));
}

TEST_F(Show, HeadsItsColumns) {
  EXPECT_EQ(tree_->model()->headerData(0, Qt::Horizontal).toString(), u8("Свойство"));
  EXPECT_EQ(tree_->model()->headerData(1, Qt::Horizontal).toString(), u8("Значение"));
}

TEST_F(Show, NamesFieldsInCatalogueOrderAndTheKeyOnce) {
  show("P Т-1");
  QStringList fields;
  passport_->GetPassportFields(fields);
  EXPECT_EQ(fields.mid(0, 3),
            QStringList({"IdentifiedObject.KeyLink", "IdentifiedObject.ClassName", "IdentifiedObject.name_"}));
  EXPECT_EQ(fields.filter("KeyLink").size(), 1);
  EXPECT_LT(fields.indexOf("Measurement.comment"), fields.indexOf("Analog.scale_"));
  EXPECT_EQ(cell("Measurement.locId", 0).data().toString(), u8("Номер"));
}

TEST_F(Show, ShowsEachDeclaredTypeAsText) {
  show("P Т-1");
  EXPECT_EQ(text("IdentifiedObject.name_"), u8("P Т-1"));
  EXPECT_EQ(text("IdentifiedObject.ClassName"), u8("Аналоговое измерение"));
  EXPECT_EQ(text("Measurement.locId"), "1001");
  EXPECT_EQ(text("Measurement.staleTime"), u8("30 с"));
  EXPECT_EQ(text("Analog.smoothing"), u8("Скользящее среднее"));
  EXPECT_EQ(text("Measurement.UnitKey"), u8("МВт"));
  EXPECT_EQ(text("Measurement.RemoteUnitKey"), u8("ПС Северная"));
  EXPECT_EQ(text("Measurement.MeasurementCategoryKey"), u8("(нет)"));
  EXPECT_EQ(text("Measurement.primaryLocId"), u8("(нет)"));
  EXPECT_EQ(cell("Measurement.CheckArch").data(Qt::CheckStateRole).toInt(), Qt::Checked);
  EXPECT_EQ(cell("Analog.rateOn").data(Qt::CheckStateRole).toInt(), Qt::Unchecked);
  EXPECT_EQ(text("Analog.rateLimit"), "");
}

// A refill of the same sheet tells of the cells that differ, one at a time, so that a view paints no others.
TEST_F(Show, TellsOnlyTheCellsThatARefillChanges) {
  show("P Т-1", "12.5");
  QSignalSpy told(tree_->model(), &QAbstractItemModel::dataChanged);
  QSignalSpy resets(tree_->model(), &QAbstractItemModel::modelReset);
  show("P Т-1", "12.5");
  EXPECT_EQ(told.count(), 0) << "nothing is different";
  const auto rename = [this](const char* name) {
    CMDArray rows;
    rows.code = MDACopy(rows.array, model_.GetTableByName("IdentifiedObject")->Array(), 0);
    MDRData* const record = MDARecNew(rows.array);
    const QByteArray bytes = key("P Т-1").toLatin1();
    const auto put = [&](const char* field, const QByteArray& text) {
      MDRVar value{};
      value.type = MDX_TEXT;
      value.text.length = static_cast<uint32_t>(text.size());
      value.text.data = text.constData();
      rows.SetVal(record, field, value);
      MDRSetUser(MDRFldByName(rows.array, field), record, 1);
    };
    put("KeyLink", bytes);
    put("name_", name);
    MDRSetFlags(record, MDX_REC_UPDATE);
    rows.RecPost(record);
    MDXCliParam* reply = nullptr;
    ASSERT_TRUE(session()->SqlUpdate("IdentifiedObject", rows.array, true, &reply));
    ASSERT_TRUE(session()->WaitResult(&reply, -1));
    session()->PrmFree(reply);
  };
  rename("other");
  show("P Т-1", "12.5");
  EXPECT_EQ(text("IdentifiedObject.name_"), "other");
  EXPECT_EQ(resets.count(), 0);
  QStringList cells;
  for (const QList<QVariant>& signal : told) {
    EXPECT_EQ(signal.at(0).toModelIndex(), signal.at(1).toModelIndex()) << "more than a cell";
    cells.append(signal.at(0).toModelIndex().sibling(signal.at(0).toModelIndex().row(), 0).data().toString());
  }
  EXPECT_EQ(cells, QStringList({u8("Наименование"), u8("Наименование")}));
}

TEST_F(Show, NamesTheMeasurementBehindANumber) {
  show("Q Т-1");
  EXPECT_EQ(text("Measurement.primaryLocId"), u8("1001, P Т-1"));
}

TEST_F(Show, ShowsABooleanWithTextsAsText) {
  show("В-110");
  EXPECT_EQ(text("Discrete.inversion"), u8("Инверсный"));
  EXPECT_FALSE(cell("Discrete.inversion").data(Qt::CheckStateRole).isValid());
}

TEST_F(Show, ShowsTheNameOfTheServerGroup) {
  show("ПС Северная", nullptr);
  EXPECT_EQ(text("RemoteUnit.SrvGroup"), u8("Группа 1"));
  EXPECT_EQ(prop("RemoteUnit", "SrvGroup"), "1");
}

TEST_F(Show, KeepsItsCurrentKey) {
  show("P Т-1");
  EXPECT_EQ(passport_->currentKey, key("P Т-1"));
  passport_->SetDeclare("x", 1, "y");
  EXPECT_EQ(passport_->currentKey, "");
}

TEST_F(Show, DeclaresWithAHeadingOnly) {
  passport_->SetDeclare(u8("Модель"), 12, u8("Наименование"));
  QStringList fields;
  passport_->GetPassportFields(fields);
  EXPECT_TRUE(fields.isEmpty());
  const QAbstractItemModel* model = tree_->model();
  EXPECT_EQ(model->index(0, 0).data().toString(), u8("Наименование"));
  EXPECT_EQ(model->index(0, 1).data().toString(), u8("Модель"));
  EXPECT_EQ(model->index(1, 1).data().toString(), "12");
  EXPECT_FALSE(model->flags(model->index(0, 1)) & Qt::ItemIsEditable);
}

TEST_F(Show, DeclaresAMixedSelectionByItsSize) {
  passport_->SetDeclare(u8("ПС Северная"), 3, "");
  EXPECT_EQ(tree_->model()->index(0, 0).data().toString(), u8("ПС Северная"));
  EXPECT_EQ(tree_->model()->index(1, 1).data().toString(), "3");
}

TEST_F(Show, ReadsStoredValues) {
  show("P Т-1");
  EXPECT_EQ(prop("Measurement", "locId"), "1001");
  EXPECT_EQ(prop("measurement", "LOCID"), "1001");
  EXPECT_EQ(prop("Measurement", "CheckArch"), "true");
  EXPECT_EQ(prop("Measurement", "UnitKey"), key("МВт"));
  EXPECT_EQ(prop("Measurement", "comment"), u8("Проверено"));
  EXPECT_EQ(prop("Measurement", "ioGroup"), "");
  EXPECT_EQ(prop("Measurement", "nothing"), "unknown");
}

TEST_F(Show, EmitsNothingWhenItIsFilled) {
  show("P Т-1");
  show("Q Т-1");
  passport_->SetDeclare("x", 1, "y");
  show("ПС Северная");
  EXPECT_EQ(changes_->count(), 0);
  EXPECT_EQ(messages_->count(), 0);
  EXPECT_FALSE(passport_->HasChanges());
}

TEST_F(Show, RefreshesTheLiveValueOfTheShownObjectOnly) {
  show("P Т-1", "12.5");
  char fresh[] = "13.75", foreign[] = "99";
  passport_->SetValue(key("P Т-1"), fresh);
  EXPECT_EQ(text("live"), "13.75");
  passport_->SetValue(key("Q Т-1"), foreign);
  EXPECT_EQ(text("live"), "13.75");
  passport_->SetValue(key("P Т-1"), nullptr);
  EXPECT_EQ(text("live"), u8("—"));
}

TEST_F(Show, KeepsTheLiveValueWhenTheSameObjectIsShownWithoutOne) {
  show("P Т-1", "12.5");
  show("P Т-1", nullptr);
  EXPECT_EQ(text("live"), "12.5");
}

TEST_F(Show, LocksTheKeyAndNamedFieldsUntilTheNextDisplay) {
  show("P Т-1");
  EXPECT_TRUE(isLocked("IdentifiedObject.KeyLink"));
  QStringList names{"measurement.locid", "Measurement.absent"};
  passport_->SetNoEditableFields(names, true);
  EXPECT_TRUE(isLocked("Measurement.locId"));
  EXPECT_FALSE(cell("Measurement.locId").data(Qt::ToolTipRole).toString().isEmpty());
  EXPECT_FALSE(openEditor("Measurement.locId"));
  show("Q Т-1");
  EXPECT_FALSE(isLocked("Measurement.locId"));
}

TEST_F(Show, LocksAllFieldsWhenEditingIsForbidden) {
  passport_->SetEditable(false);
  show("P Т-1");
  EXPECT_TRUE(isLocked("IdentifiedObject.name_"));
  passport_->SetEditable(true);
  EXPECT_FALSE(isLocked("IdentifiedObject.name_"));
}

TEST_F(Show, KeepsScrollAndCurrentFieldFromObjectToObject) {
  show("P Т-1");
  settle();
  tree_->setCurrentIndex(cell("Analog.engMax"));
  tree_->verticalScrollBar()->setValue(15);
  show("Q Т-1");
  EXPECT_EQ(tree_->verticalScrollBar()->value(), 15);
  EXPECT_EQ(tree_->currentIndex(), cell("Analog.engMax"));
}

TEST_F(Show, KeepsClosedGroupsClosedForObjectsOfOtherClasses) {
  show("P Т-1");
  tree_->collapse(tree_->model()->index(1, 0));
  show("ПС Северная", nullptr);
  EXPECT_FALSE(tree_->isExpanded(tree_->model()->index(0, 0)));
  EXPECT_TRUE(tree_->isExpanded(tree_->model()->index(1, 0)));
}

TEST_F(Show, TogglesAGroupByAClickOnItsArrow) {
  show("P Т-1");
  const QModelIndex group = tree_->model()->index(1, 0);
  const QRect row = tree_->visualRect(group);
  QTest::mouseClick(tree_->viewport(), Qt::LeftButton, Qt::NoModifier, row.topLeft() + QPoint(8, row.height() / 2));
  EXPECT_FALSE(tree_->isExpanded(group));
}

TEST_F(Show, MergesThroughTheCallback) {
  ASSERT_TRUE(load(&model_, key("P Т-1")));
  Merged merged;
  merged.texts = {{"IdentifiedObject.name_", ""},     {"Measurement.staleTime", "0"},
                  {"Measurement.CheckArch", "true"},  {"Measurement.work_", "PartiallyChecked"},
                  {"Measurement.UnitKey", u8("МВт")}, {"Measurement.primaryLocId", u8("1001,P Т-1")},
                  {"Analog.smoothing", u8("Нет")},    {"IdentifiedObject.KeyLink", ""}};
  passport_->SetObject(key("P Т-1"), &model_, session(), nullptr, &merged, true, false);
  EXPECT_EQ(text("IdentifiedObject.name_"), "");
  EXPECT_EQ(text("IdentifiedObject.KeyLink"), "");
  EXPECT_EQ(text("Measurement.staleTime"), u8("0 с"));
  EXPECT_EQ(cell("Measurement.CheckArch").data(Qt::CheckStateRole).toInt(), Qt::Checked);
  EXPECT_EQ(cell("Measurement.work_").data(Qt::CheckStateRole).toInt(), Qt::PartiallyChecked);
  EXPECT_EQ(text("Measurement.UnitKey"), u8("МВт"));
  EXPECT_EQ(text("Measurement.primaryLocId"), u8("1001,P Т-1"));
  EXPECT_EQ(text("Analog.smoothing"), u8("Нет"));
  EXPECT_EQ(text("Analog.engMax"), "");  // the callback has no value
  QStringList fields;
  passport_->GetPassportFields(fields);
  EXPECT_EQ(merged.asked, fields);
}

TEST_F(Show, MarksWhereSeveralObjectsDiffer) {
  ASSERT_TRUE(load(&model_, key("P Т-1")));
  Merged merged;
  merged.texts = {{"IdentifiedObject.name_", ""},   {"Measurement.staleTime", "0"},
                  {"Measurement.UnitKey", ""},      {"Measurement.work_", "PartiallyChecked"},
                  {"Analog.highAlarm", "125.5"},    {"IdentifiedObject.shortName", ""},
                  {"Measurement.CheckArch", "true"}};
  passport_->SetObject(key("P Т-1"), &model_, session(), nullptr, &merged, true, false);
  const auto tip = [&](const char* id) { return cell(id).data(Qt::ToolTipRole).toString(); };
  const QString differ = u8("У выбранных объектов значения различаются");
  for (const char* id : {"IdentifiedObject.name_", "Measurement.staleTime", "Measurement.UnitKey", "Measurement.work_"})
    EXPECT_EQ(tip(id), differ) << id;
  for (const char* id : {"Analog.highAlarm", "IdentifiedObject.shortName", "Measurement.CheckArch"})
    EXPECT_EQ(tip(id), "") << id;
  type("Measurement.staleTime", "5");
  EXPECT_EQ(tip("Measurement.staleTime"), u8("Изменено, не сохранено"));
}

TEST_F(Show, RefreshesTheSameRowsForAnotherObjectOfTheClass) {
  show("P Т-1");
  QSignalSpy resets(tree_->model(), &QAbstractItemModel::modelReset);
  show("Q Т-1");
  EXPECT_EQ(resets.count(), 0) << "rows made anew flicker while a key is held down";
  EXPECT_EQ(text("IdentifiedObject.name_"), u8("Q Т-1"));
  show("В-110");
  EXPECT_EQ(resets.count(), 1);
}

TEST_F(Show, NamesTheFieldInFullInItsTip) {
  show("P Т-1");
  EXPECT_EQ(cell("Analog.highAlarm", 0).data(Qt::ToolTipRole).toString(), u8("Аварийный верхний предел"));
}

TEST_F(Show, GivesTheLiveValueTheWholeRow) {
  show("P Т-1");
  EXPECT_TRUE(tree_->isFirstColumnSpanned(0, {}));
  EXPECT_FALSE(tree_->isFirstColumnSpanned(0, cell("IdentifiedObject.name_").parent()));
}

TEST_F(Show, KeepsTheWidthOfItsColumnsWhetherLongOrShort) {
  show("P Т-1");
  const int wide = tree_->viewport()->width();
  passport_->SetDeclare(u8("Модель"), 12, u8("Наименование"));
  settle();
  EXPECT_EQ(tree_->viewport()->width(), wide);
}

TEST_F(Show, SaysThatAReferredRowIsGone) {
  ASSERT_TRUE(load(&model_, key("P Т-1")));
  TModelRecord rows[3];
  ASSERT_EQ(model_.GetRecordsByKey(key("P Т-1").toStdString(), rows), 3);
  const QByteArray gone(32, 'G');
  MDRVar value{};
  value.type = MDX_TEXT;
  value.text.length = 32;
  value.text.data = gone.constData();
  MDRSetVal(MDRFldByName(rows[1].table->Array(), "UnitKey"), rows[1].record, &value);
  passport_->SetObject(key("P Т-1"), &model_, session(), nullptr, nullptr, true, false);
  EXPECT_EQ(text("Measurement.UnitKey"), u8("(запись удалена)"));
  EXPECT_EQ(prop("Measurement", "UnitKey"), QString::fromLatin1(gone));
}

TEST_F(Show, HasNoLiveRowForSeveralObjects) {
  ASSERT_TRUE(load(&model_, key("P Т-1")));
  Merged merged;
  passport_->SetObject(key("P Т-1"), &model_, session(), nullptr, &merged, true, false);
  EXPECT_EQ(tree_->model()->index(0, 0).data().toString(), u8("Объект"));
}

TEST_F(Show, ShowsAllTablesOfANewObjectsClass) {
  showNew("Analog", QString(32, 'A'), key("ПС Северная"), 1005);
  QStringList fields;
  passport_->GetPassportFields(fields);
  EXPECT_TRUE(fields.contains("Analog.engMax"));
  EXPECT_EQ(cell("Analog.engMax", 0).data().toString(), u8("Максимум шкалы"));
  EXPECT_EQ(text("IdentifiedObject.name_"), u8("Новое"));
  EXPECT_EQ(text("Measurement.locId"), "1005");
  EXPECT_EQ(text("Measurement.RemoteUnitKey"), u8("ПС Северная"));
  EXPECT_EQ(passport_->currentKey, QString(32, 'A'));
  EXPECT_EQ(changes_->count(), 0);
}

TEST_F(Show, ShowsANewFolderWithoutArrays) {
  passport_->SetObjectNew(QString(32, 'B'), "RemoteUnitFolder", session(), nullptr, nullptr, "", false, false);
  QStringList fields;
  passport_->GetPassportFields(fields);
  EXPECT_TRUE(fields.contains("RemoteUnitFolder.caption"));
}

TEST_F(Show, SurvivesItsViewAndItsViewSurvivesIt) {
  show("P Т-1");
  passport_.reset();
  EXPECT_EQ(tree_->model(), nullptr);
}

TEST_F(Show, ShowsEveryFieldOfTheCatalogue) {
  show("P Т-1");
  QStringList expected, fields;
  for (const server::TableDef* table : server::Catalogue::builtIn().chain("Analog"))
    for (const server::FieldDef& field : table->fields)
      expected << QString::fromStdString(table->name + "." + field.name);
  expected.removeAll("Measurement.KeyLink");
  expected.removeAll("Analog.KeyLink");
  passport_->GetPassportFields(fields);
  EXPECT_EQ(fields, expected);
}

}  // namespace
}  // namespace tlm::test
