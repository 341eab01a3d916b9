// Aggregated data of a measurement: the list of archive groups, the dialog, the children that come and go.
#include <QListView>

#include "SeriesWindow.h"
#include "StringListModel.h"
#include "popAddAgregData.h"
#include "support/Peer.h"
#include "ui_popAddAgregData.h"

namespace tlm::test {
namespace {

constexpr char kModel[] = R"(table Archives Архив ТИ {type_=1}
table Archives Архив срезов {type_=5}
table Archives Архив ТС {type_=2}
table Archives Архив прочий {type_=0}
table Archives Архив неизвестный {type_=6}
table Archives Архив без вида
table MeasurementArchGroup Час {aggregatedData=1;ArchivesKey=@Архив ТИ;description=Среднее за час;aggregatedName=_час}
table MeasurementArchGroup Сутки {aggregatedData=1;ArchivesKey=@Архив ТИ;description=Среднее за сутки;aggregatedName=_сутки}
table MeasurementArchGroup Минута {aggregatedData=1;ArchivesKey=@Архив срезов;description=Среднее за минуту}
table MeasurementArchGroup ТС сутки {aggregatedData=1;ArchivesKey=@Архив ТС;description=Время работы;aggregatedName=_раб}
table MeasurementArchGroup Исходная {aggregatedData=0;ArchivesKey=@Архив ТИ;description=Исходная}
table MeasurementArchGroup Неясная {ArchivesKey=@Архив ТИ;description=Неясная}
table MeasurementArchGroup Без архива {aggregatedData=1;description=Без архива}
table MeasurementArchGroup Чужой архив {aggregatedData=1;ArchivesKey=@Нет такого;description=Чужой архив}
table MeasurementArchGroup Прочая {aggregatedData=1;ArchivesKey=@Архив прочий;description=Прочая}
table MeasurementArchGroup Шестая {aggregatedData=1;ArchivesKey=@Архив неизвестный;description=Шестая}
table MeasurementArchGroup Без вида {aggregatedData=1;ArchivesKey=@Архив без вида;description=Без вида}
table PowerSystemResource Т-1
table Terminal Т-1 полюс
unit КП-1
  analog 1001 P Т-1 {PSRKey=@Т-1;TerminalKey=@Т-1 полюс;work_=1}
    analog 1002 P Т-1_час {MeasurementArchGroupKey=@Час}
    analog 1004 P Т-1_сутки {MeasurementArchGroupKey=@Сутки}
  analog 1005 Q Т-1 {work_=0}
  discrete 1006 Q-110
  accumulator 1007 Wp Т-1
  string 2 Режим
analog 1010 Без КП
)";

class Aggregated : public SeriesWindow {
 protected:
  explicit Aggregated(const char* model = kModel) : SeriesWindow(model) {
    nameKeys({"КП-1", "P Т-1", "Q Т-1", "Час", "Сутки", "Минута", "ТС сутки", "Т-1", "Т-1 полюс"});
  }

  CPopAddAgregData* dialog() { return module->popAddAgregData; }
  StringListModel* list() { return dialog()->listModel; }
  QListView* view() { return dialog()->ui->listView; }

  void open(const char* name) {
    click(name);
    app.log.clear();
    press(module->actAgregData);
    ASSERT_TRUE(dialog()->isVisible());
  }
  QModelIndex item(const char* description) {
    for (int i = 0; i < list()->rowCount(); ++i)
      if (list()->index(i).data().toString() == description) return list()->index(i);
    ADD_FAILURE() << "no group " << description;
    return QModelIndex();
  }
  // Clicks the check box of a group.
  void tick(const char* description) {
    const QModelIndex index = item(description);
    view()->scrollTo(index);
    const QRect row = view()->visualRect(index);
    QTest::mouseClick(view()->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(row.left() + 9, row.center().y()));
    settle();
  }
  QStringList ticked() {
    QStringList texts;
    for (int i = 0; i < list()->rowCount(); ++i)
      if (list()->index(i).data(Qt::CheckStateRole).toInt() == Qt::Checked) texts += list()->index(i).data().toString();
    texts.sort();
    return texts;
  }
  QStringList listed() {
    QStringList texts;
    for (int i = 0; i < list()->rowCount(); ++i) texts += list()->index(i).data().toString();
    texts.sort();
    return texts;
  }
  void accept() {
    key(Qt::Key_Return);
    ASSERT_TRUE(eventsAreIn());
  }
  // Deletes are sent without waiting for the server.
  void expectChildren(int number, const QStringList& expected) {
    eventually([&] { return childrenOf(number) == expected; }, 3000);
    EXPECT_EQ(childrenOf(number), expected);
    EXPECT_TRUE(eventsAreIn());
  }
  QStringList childrenOf(int number) {
    return serverRows().filter(QRegularExpression(QString("\\(of %1,").arg(number)));
  }
};

// ---- the command -----------------------------------------------------------------------------------------

TEST_F(Aggregated, IsOfferedForClassesThatHaveSuchGroups) {
  start();
  click("P Т-1");
  EXPECT_TRUE(module->actAgregData->isEnabled());
  click("Q-110");
  EXPECT_TRUE(module->actAgregData->isEnabled());
  click("Wp Т-1");
  EXPECT_FALSE(module->actAgregData->isEnabled());
  click("КП-1");
  EXPECT_FALSE(module->actAgregData->isEnabled());
}

TEST_F(Aggregated, IsNotOfferedForAggregatedMeasurements) {
  start();
  click("P Т-1");
  click("P Т-1_час");
  EXPECT_FALSE(module->actAgregData->isEnabled());
}

TEST_F(Aggregated, ComparesTheClassWithCase) {
  start();
  const QModelIndex row = find("P Т-1");
  module->classesEnabledAgreg = QStringList{"analog"};
  module->CheckEnabledAgregData(row);
  EXPECT_FALSE(module->actAgregData->isEnabled());
  module->classesEnabledAgreg = QStringList{"Analog"};
  module->CheckEnabledAgregData(row);
  EXPECT_TRUE(module->actAgregData->isEnabled());
}

TEST_F(Aggregated, AnInvalidIndexChangesNothing) {
  start();
  for (const bool on : {true, false}) {
    module->actAgregData->setEnabled(on);
    module->CheckEnabledAgregData(QModelIndex());
    EXPECT_EQ(module->actAgregData->isEnabled(), on);
  }
}

// ---- what is listed --------------------------------------------------------------------------------------

TEST_F(Aggregated, ListsTheGroupsWhoseArchiveFitsTheClass) {
  start();
  bool hasTypes = false;
  dialog()->Init("Analog", "подпись", &hasTypes);
  EXPECT_TRUE(hasTypes);
  EXPECT_EQ(listed(), (QStringList{"Среднее за минуту", "Среднее за сутки", "Среднее за час"}));
  dialog()->Init("Discrete", "подпись", &hasTypes);
  EXPECT_TRUE(hasTypes);
  EXPECT_EQ(listed(), QStringList{"Время работы"});
}

TEST_F(Aggregated, ListsInTheOrderOfTheKeys) {
  start();
  dialog()->Init("Analog", "", nullptr);
  QStringList keys;
  for (int i = 0; i < list()->rowCount(); ++i) keys += list()->index(i).data(12).toString();
  QStringList sorted = keys;
  sorted.sort();
  EXPECT_EQ(keys, sorted);
}

TEST_F(Aggregated, IgnoresTheCaseOfTheClass) {
  start();
  bool hasTypes = false;
  dialog()->Init("DISCRETE", "", &hasTypes);
  EXPECT_TRUE(hasTypes);
}

TEST_F(Aggregated, TellsThatNothingFits) {
  start();
  for (const char* className : {"Accumulator", "StringMeasurement", "RemoteUnit", ""}) {
    bool hasTypes = true;
    dialog()->Init(className, "1007, Wp Т-1", &hasTypes);
    EXPECT_FALSE(hasTypes) << className;
    EXPECT_EQ(list()->rowCount(), 0);
    EXPECT_EQ(view()->model(), list());
    EXPECT_EQ(dialog()->ui->label_nameSrc->text(), "1007, Wp Т-1");
  }
}

TEST_F(Aggregated, EachOpeningHasANewList) {
  start();
  dialog()->Init("Analog", "", nullptr);
  list()->checkedKeys = QStringList{key("Час")};
  dialog()->Init("Analog", "", nullptr);
  EXPECT_EQ(list()->checkedKeys, QStringList());
  EXPECT_EQ(view()->model(), list());
  dialog()->Clear();
  EXPECT_EQ(list(), nullptr);
  EXPECT_EQ(view()->model(), nullptr);
  EXPECT_EQ(dialog()->ui->label_nameSrc->text(), "");
}

// A group of aggregated data for each kind of archive.
class ArchiveKinds : public Aggregated {
 protected:
  ArchiveKinds() : Aggregated(modelText().c_str()) {}
  static std::string modelText() {
    std::string text = "unit КП-1\n  analog 1001 P Т-1\n";
    for (int kind = 0; kind <= 6; ++kind) {
      const std::string number = std::to_string(kind);
      text += "table Archives Архив " + number + " {type_=" + number + "}\n";
      text += "table MeasurementArchGroup Группа " + number + " {aggregatedData=1;description=" + number +
              ";ArchivesKey=@Архив " + number + "}\n";
    }
    return text;
  }
};

TEST_F(ArchiveKinds, SelectTheClass) {
  start();
  const struct {
    const char* className;
    QStringList groups;
  } cases[] = {{"Analog", {"1", "5"}},
               {"Discrete", {"2"}},
               {"Accumulator", {"3"}},
               {"StringMeasurement", {"4"}},
               {"RemoteUnit", {}}};
  for (const auto& each : cases) {
    bool hasTypes = false;
    dialog()->Init(each.className, "", &hasTypes);
    EXPECT_EQ(listed(), each.groups) << each.className;
    EXPECT_EQ(hasTypes, !each.groups.isEmpty());
  }
}

// ---- the list's model ------------------------------------------------------------------------------------

class GroupList : public Aggregated {
 protected:
  void start() {
    Aggregated::start();
    for (const char* name : {"Час", "Сутки"}) rows += seekText(module->tblArchGroup, 0, key(name), module->moduleCodec);
    model = std::make_unique<StringListModel>(rows, &module->tblArchGroup, nullptr);
  }
  QList<MDRData*> rows;
  std::unique_ptr<StringListModel> model;
};

TEST_F(GroupList, ShowsDescriptionTickKeyAndRecord) {
  start();
  EXPECT_EQ(model->rowCount(), 2);
  EXPECT_EQ(model->rowCount(model->index(0)), 0);
  const QModelIndex second = model->index(1);
  EXPECT_EQ(second.data(0).toString(), "Среднее за сутки");
  EXPECT_EQ(second.data(10).toInt(), 0);
  EXPECT_EQ(second.data(12).toString(), key("Сутки"));
  EXPECT_EQ(second.data(Qt::UserRole).value<void*>(), rows[1]);
  for (const int role : {1, 2, 3, 8, 9, 11, 13}) EXPECT_FALSE(second.data(role).isValid()) << role;
  model->checkedKeys = QStringList{key("Сутки").toLower()};
  EXPECT_EQ(second.data(10).toInt(), 2) << "the case of a key does not matter";
  EXPECT_EQ(model->index(0).data(10).toInt(), 0);
  EXPECT_FALSE(model->data(QModelIndex(), 0).isValid());
  model->rows.removeLast();
  EXPECT_FALSE(model->data(second, 0).isValid()) << "a row that is not there";
}

TEST_F(GroupList, AMissingDescriptionIsAnEmptyText) {
  start();
  module->tblArchGroup.SetVal(rows[0], "description", nullTextVar());
  const QVariant text = model->index(0).data(0);
  EXPECT_TRUE(text.isValid());
  EXPECT_EQ(text.toString(), "");
}

TEST_F(GroupList, TicksAndUnticks) {
  start();
  QStringList told;
  QVector<int> roles{77};
  QObject::connect(model.get(), &StringListModel::dataChanged,
                   [&](const QModelIndex& from, const QModelIndex& to, const QVector<int>& changed) {
                     told += QString("%1-%2").arg(from.row()).arg(to.row());
                     roles = changed;
                   });
  EXPECT_TRUE(model->setData(model->index(1), Qt::Checked, Qt::CheckStateRole));
  EXPECT_EQ(model->checkedKeys, QStringList{key("Сутки")});
  EXPECT_EQ(told, QStringList{"1-1"});
  EXPECT_TRUE(roles.isEmpty());
  model->checkedKeys += key("Сутки");
  model->checkedKeys += key("Час");
  EXPECT_TRUE(model->setData(model->index(1), Qt::Unchecked, Qt::CheckStateRole));
  EXPECT_EQ(model->checkedKeys, QStringList{key("Час")}) << "all entries go";
  model->checkedKeys += key("Сутки").toLower();
  EXPECT_TRUE(model->setData(model->index(1), Qt::Unchecked, Qt::CheckStateRole));
  EXPECT_EQ(model->checkedKeys, QStringList{key("Час")}) << "whatever their case";
  EXPECT_TRUE(model->setData(model->index(1), Qt::Unchecked, Qt::CheckStateRole)) << "also when there is none";
  EXPECT_EQ(told.size(), 4);
}

TEST_F(GroupList, TakesNothingButTicks) {
  start();
  int told = 0;
  QObject::connect(model.get(), &StringListModel::dataChanged, [&] { ++told; });
  EXPECT_FALSE(model->setData(model->index(0), true, Qt::EditRole));
  EXPECT_FALSE(model->setData(QModelIndex(), true, Qt::CheckStateRole));
  module->tblArchGroup.SetVal(rows[0], 0, nullTextVar());
  EXPECT_FALSE(model->setData(model->index(0), true, Qt::CheckStateRole)) << "a row without a key";
  EXPECT_EQ(model->checkedKeys, QStringList());
  EXPECT_EQ(told, 0);
}

TEST_F(GroupList, FlagsAndHeaders) {
  start();
  EXPECT_EQ(int(model->flags(QModelIndex())), 32);
  const Qt::ItemFlags flags = model->flags(model->index(0));
  EXPECT_TRUE(flags & Qt::ItemIsUserCheckable);
  EXPECT_TRUE(flags & Qt::ItemIsEnabled);
  EXPECT_TRUE(flags & Qt::ItemIsSelectable);
  EXPECT_EQ(model->headerData(3, Qt::Horizontal).toString(), "Column 3");
  EXPECT_EQ(model->headerData(4, Qt::Vertical).toString(), "Row 4");
  EXPECT_FALSE(model->headerData(4, Qt::Vertical, Qt::DecorationRole).isValid());
}

// ---- the dialog ------------------------------------------------------------------------------------------

TEST_F(Aggregated, OpensWithNameNumberAndTicks) {
  start();
  open("P Т-1");
  EXPECT_EQ(dialog()->windowTitle(), "Агрегированные данные");
  EXPECT_EQ(dialog()->panelTitle(), "Агрегированные данные");
  EXPECT_EQ(dialog()->ui->label_nameSrc->text(), "1001, P Т-1");
  EXPECT_EQ(dialog()->ui->buttonBox->button(QDialogButtonBox::Cancel)->text(), "Отмена");
  EXPECT_TRUE(dialog()->styleSheet().contains("QToolTip"));
  EXPECT_EQ(ticked(), (QStringList{"Среднее за сутки", "Среднее за час"}));
  EXPECT_EQ(list()->checkedKeys.size(), 2);
  EXPECT_TRUE(dialog()->shown);
  EXPECT_EQ(app.log, QStringList()) << "opening asks the server nothing";
}

TEST_F(Aggregated, TwoChildrenOfOneGroupTickItOnce) {
  start();
  Colleague(*server.core())
      .add("Analog", QString(32, 'A'),
           {"name_=Второй", "locId=1012", "primaryLocId=1001", "work_=1", "RemoteUnitKey=" + key("КП-1"),
            "MeasurementArchGroupKey=" + key("Час")})
      .commit();
  click("P Т-1");
  ASSERT_TRUE(eventsAreIn());
  open("P Т-1");
  EXPECT_EQ(list()->checkedKeys.size(), 2);
}

TEST_F(Aggregated, OpensForTheMeasurementAlsoFromTheNumbersColumn) {
  start();
  click("P Т-1");
  click(find("P Т-1").siblingAtColumn(1));
  press(module->actAgregData);
  EXPECT_EQ(dialog()->ui->label_nameSrc->text(), "1001, P Т-1");
  EXPECT_EQ(ticked().size(), 2);
}

TEST_F(Aggregated, IsACentredFramelessPanelWithoutCutTexts) {
  start();
  open("P Т-1");
  EXPECT_TRUE(isCentred(*dialog()));
  EXPECT_FALSE(dialog()->isWindow());
  EXPECT_EQ(dialog()->parentWidget(), module.get());
  EXPECT_EQ(cutTexts(*dialog()), QStringList());
}

TEST_F(Aggregated, TabGoesFromFieldToField) {
  start();
  open("P Т-1");
  EXPECT_EQ(tabRound(), (QStringList{"listView", "ОК", "Отмена"}));
  EXPECT_EQ(tabRound(Qt::Key_Backtab, Qt::ShiftModifier), (QStringList{"listView", "Отмена", "ОК"}));
}

TEST_F(Aggregated, ALongNameLeavesThePanelInTheWindow) {
  start();
  const QString name(200, QChar(0x0416));
  ASSERT_TRUE(Colleague(*server.core()).change("IdentifiedObject", key("Q Т-1"), {"name_=" + name}).commit());
  open("Q Т-1");
  ASSERT_TRUE(eventsAreIn());
  open("Q Т-1");
  EXPECT_EQ(dialog()->ui->label_nameSrc->text(), "1005, " + name);
  EXPECT_EQ(dialog()->ui->label_nameSrc->toolTip(), "1005, " + name);
  EXPECT_TRUE(module->rect().contains(dialog()->geometry())) << dialog()->width();
}

TEST_F(Aggregated, TellsWhatTheNameWillEndWith) {
  start();
  open("Q Т-1");
  EXPECT_EQ(view()->currentIndex(), list()->index(0)) << "the first one at opening";
  view()->setCurrentIndex(item("Среднее за час"));
  EXPECT_EQ(dialog()->ui->lE_->text(), "_час");
  view()->setCurrentIndex(item("Среднее за минуту"));
  EXPECT_EQ(dialog()->ui->lE_->text(), "");
}

TEST_F(Aggregated, SpaceTicksAndEnterAccepts) {
  start();
  open("Q Т-1");
  view()->setCurrentIndex(item("Среднее за час"));
  key(Qt::Key_Space);
  EXPECT_EQ(ticked(), QStringList{"Среднее за час"});
  accept();
  EXPECT_FALSE(dialog()->isVisible());
  EXPECT_FALSE(dialog()->shown);
  expectChildren(1005, (QStringList{"1 Q Т-1_час (of 1005, Час)"}));
  EXPECT_TRUE(tree()->hasFocus());
}

TEST_F(Aggregated, EscapeAndCancelChangeNothing) {
  start();
  const QStringList before = serverRows();
  open("P Т-1");
  tick("Среднее за час");
  key(Qt::Key_Escape);
  EXPECT_FALSE(dialog()->isVisible());
  open("P Т-1");
  tick("Среднее за минуту");
  clickButton(dialog()->ui->buttonBox, QDialogButtonBox::Cancel);
  EXPECT_FALSE(dialog()->isVisible());
  open("P Т-1");
  key(Qt::Key_Backtab, Qt::ShiftModifier);
  key(Qt::Key_Return);
  EXPECT_FALSE(dialog()->isVisible());
  EXPECT_EQ(app.log, QStringList());
  EXPECT_EQ(serverRows(), before);
}

TEST_F(Aggregated, TellsThatNoArchiveFitsAndOpensNothing) {
  start();
  click("Wp Т-1");
  module->ExecActAgregData();
  EXPECT_FALSE(dialog()->isVisible());
  expectBox("Несоответствие типа архива", "Нет типов агрегированных сигналов для Accumulator", kBoxWarning);
}

TEST_F(Aggregated, WithoutACurrentRowNothingOpens) {
  start();
  tree()->setCurrentIndex(QModelIndex());
  module->ExecActAgregData();
  EXPECT_FALSE(dialog()->isVisible());
  EXPECT_EQ(waitingBox(), nullptr);
}

TEST_F(Aggregated, AcceptTellsWhatIsTicked) {
  start();
  QList<QStringList> some;
  int none = 0;
  QObject::connect(dialog(), &CPopAddAgregData::SignOK, [&](const QStringList& keys) { some += keys; });
  QObject::connect(dialog(), &CPopAddAgregData::SignOKEmpty, [&] { ++none; });
  dialog()->show();
  dialog()->On_Accept();
  EXPECT_FALSE(dialog()->isVisible()) << "without a list it closes all the same";
  EXPECT_EQ(some.size() + none, 0);
  tree()->setCurrentIndex(QModelIndex());
  dialog()->Init("Analog", "", nullptr);
  dialog()->On_Accept();
  EXPECT_EQ(none, 1);
  list()->checkedKeys = QStringList{"k1", "k2"};
  dialog()->On_Accept();
  EXPECT_EQ(none, 1);
  EXPECT_EQ(some, (QList<QStringList>{QStringList{"k1", "k2"}}));
}

// ---- children that come and go ---------------------------------------------------------------------------

TEST_F(Aggregated, NewChildrenComeInOneBlockAndHangUnderTheirPrimary) {
  start();
  open("Q Т-1");
  tick("Среднее за час");
  tick("Среднее за сутки");
  clickButton(dialog()->ui->buttonBox, QDialogButtonBox::Ok);
  EXPECT_EQ(writes(), (QStringList{"BlockBeg", "SqlUpdate IdentifiedObject 2 records",
                                   "SqlUpdate Measurement 2 records", "SqlUpdate Analog 2 records", "BlockEnd"}));
  ASSERT_TRUE(eventsAreIn());
  expectChildren(1005, (QStringList{"1 Q Т-1_час (of 1005, Час)", "3 Q Т-1_сутки (of 1005, Сутки)"}));
  EXPECT_EQ(below("Q Т-1"), picture(R"(
    1 Q Т-1_час
    3 Q Т-1_сутки
  )"));
  EXPECT_TRUE(nodeOf(module->treeModel->index(0, 0, find("Q Т-1")))->isAggregated);
}

TEST_F(Aggregated, OneComesAndOneGoes) {
  start();
  open("P Т-1");
  tick("Среднее за час");
  tick("Среднее за минуту");
  accept();
  expectChildren(1001, (QStringList{"1 P Т-1 (of 1001, Минута)", "1004 P Т-1_сутки (of 1001, Сутки)"}));
  EXPECT_EQ(writes().filter("Block"), (QStringList{"BlockBeg", "BlockEnd", "BlockBeg", "BlockEnd unwaited"}));
  EXPECT_EQ(below("P Т-1"), picture(R"(
    1004 P Т-1_сутки
    1 P Т-1
  )"));
}

TEST_F(Aggregated, UntickingAllRemovesAll) {
  start();
  open("P Т-1");
  tick("Среднее за час");
  tick("Среднее за сутки");
  EXPECT_EQ(ticked(), QStringList());
  accept();
  expectChildren(1001, QStringList());
  EXPECT_EQ(below("P Т-1"), "");
  EXPECT_EQ(writes(),
            (QStringList{"BlockBeg", "SqlUpdate IdentifiedObject 2 records", "SqlUpdate Measurement 2 records",
                         "SqlUpdate Analog 2 records", "BlockEnd unwaited"}));
  EXPECT_EQ(serverRows().size(), 6) << "nothing else goes";
}

TEST_F(Aggregated, AnOrdinaryMeasurementThatNamesThePrimaryStays) {
  start();
  const auto add = [&](char letter, int number, const QString& group) {
    QStringList fields = {"name_=Обычное", QString("locId=%1").arg(number), "primaryLocId=1001", "work_=1",
                          "RemoteUnitKey=" + key("КП-1")};
    if (!group.isEmpty()) fields += "MeasurementArchGroupKey=" + group;
    ASSERT_TRUE(Colleague(*server.core()).add("Analog", QString(32, letter), fields).commit());
  };
  add('A', 1012, key("Исходная"));
  add('B', 1013, "");
  ASSERT_TRUE(eventsAreIn());
  open("P Т-1");
  EXPECT_EQ(below("P Т-1").count("Обычное"), 0);
  accept();
  EXPECT_EQ(childrenOf(1001).size(), 4) << "nothing was unticked";
  open("P Т-1");
  tick("Среднее за час");
  tick("Среднее за сутки");
  accept();
  eventually([&] { return childrenOf(1001).size() == 2; }, 3000);
  EXPECT_EQ(childrenOf(1001).filter("Обычное").size(), 2);
}

TEST_F(Aggregated, AChildInAnotherUnitIsNotShownAndStays) {
  start();
  Colleague(*server.core())
      .add("RemoteUnit", QString(32, 'A'), {"name_=КП-2", "SrvGroup=1"})
      .add("Analog", QString(32, 'B'),
           {"name_=Чужое", "locId=1012", "primaryLocId=1005", "work_=1", "RemoteUnitKey=" + QString(32, 'A'),
            "MeasurementArchGroupKey=" + key("Час")})
      .commit();
  ASSERT_TRUE(eventsAreIn());
  QModelIndex row;
  ASSERT_TRUE(module->FindKeyLink(QString(32, 'B'), row));
  for (const bool isTicked : {false, true}) {
    open("Q Т-1");
    EXPECT_EQ(ticked(), QStringList());
    if (isTicked) tick("Среднее за сутки");
    accept();
    EXPECT_EQ(childrenOf(1005).filter("Чужое").size(), 1) << isTicked;
  }
}

TEST_F(Aggregated, ChildrenOfOthersStay) {
  start();
  open("Q Т-1");
  tick("Среднее за час");
  accept();
  expectChildren(1005, QStringList{"1 Q Т-1_час (of 1005, Час)"});
  open("P Т-1");
  tick("Среднее за час");
  tick("Среднее за сутки");
  accept();
  expectChildren(1001, QStringList());
  EXPECT_EQ(childrenOf(1005).size(), 1);
}

TEST_F(Aggregated, WhatIsThereAlreadyIsNotMadeAgain) {
  start();
  const QStringList before = serverRows();
  open("P Т-1");
  accept();
  EXPECT_EQ(serverRows(), before);
  EXPECT_EQ(writes(), (QStringList{"BlockBeg", "BlockEnd"})) << "an empty save, and no delete";
}

TEST_F(Aggregated, ADiscreteGetsARowInItsOwnTable) {
  start();
  open("Q-110");
  tick("Время работы");
  accept();
  expectChildren(1006, QStringList{"1 Q-110_раб (of 1006, ТС сутки)"});
  EXPECT_EQ(serverField("Discrete", keyOfNumber(1), "KeyLink"), keyOfNumber(1));
  EXPECT_EQ(serverField("Analog", keyOfNumber(1), "KeyLink"), "absent");
  EXPECT_EQ(serverField("IdentifiedObject", keyOfNumber(1), "ClassName"), "Discrete");
}

TEST_F(Aggregated, TheSecondWindowFollows) {
  start();
  const auto second = openSecond();
  ASSERT_TRUE(second->treeModel->findByKey(key("Q Т-1")).isValid());
  open("Q Т-1");
  tick("Среднее за час");
  accept();
  EXPECT_EQ(belowIn(*second, "Q Т-1"), "1 Q Т-1_час\n");
  open("Q Т-1");
  tick("Среднее за час");
  accept();
  expectChildren(1005, {});
  EXPECT_EQ(belowIn(*second, "Q Т-1"), "");
}

TEST_F(Aggregated, TheAnswerIsForTheMeasurementThatWasAsked) {
  start();
  open("Q Т-1");
  tick("Среднее за час");
  tree()->setCurrentIndex(find("P Т-1"));
  dialog()->activateWindow();
  dialog()->On_Accept();
  settle();
  ASSERT_TRUE(eventsAreIn());
  EXPECT_EQ(childrenOf(1005).size(), 1);
  EXPECT_EQ(childrenOf(1001).size(), 2);
}

TEST_F(Aggregated, WithoutADialogTheAnswerIsForTheCurrentRow) {
  start();
  open("Q Т-1");
  key(Qt::Key_Escape);
  click("P Т-1");
  module->OnAddAgregData_SignOK({key("Час")});
  ASSERT_TRUE(eventsAreIn());
  expectChildren(1001, QStringList{"1002 P Т-1_час (of 1001, Час)"});
  module->OnAddAgregData_SignOK({});
  ASSERT_TRUE(eventsAreIn());
  expectChildren(1001, QStringList());
}

// ---- rows without a number or a key ----------------------------------------------------------------------

TEST_F(Aggregated, ARowWithoutANumberHasNoChildrenToRemove) {
  start();
  click("P Т-1");
  const QStringList before = serverRows();
  module->measRecords.SetVal(seekText(module->measRecords, 0, key("Q Т-1"), module->moduleCodec), "primaryLocId",
                             intVar(0));
  for (const QModelIndex& row : {find("КП-1"), find("P Т-1").parent(), QModelIndex()}) {
    tree()->setCurrentIndex(row);
    module->OnAddAgregData_SignOKEmpty();
    module->OnAddAgregData_SignOK({key("Час")});
  }
  EXPECT_EQ(serverRows(), before) << "nobody's child is not the child of number 0";
}

// ---- another engineer meanwhile --------------------------------------------------------------------------

class AggregatedTogether : public Aggregated {
 protected:
  // Another engineer adds data of a day to the measurement whose dialog is open.
  void othersAddADay() {
    ASSERT_TRUE(Colleague(*server.core())
                    .add("Analog", QString(32, 'A'),
                         {"name_=Чужое", "locId=1012", "primaryLocId=1005", "work_=1", "RemoteUnitKey=" + key("КП-1"),
                          "MeasurementArchGroupKey=" + key("Сутки")})
                    .commit());
    ASSERT_TRUE(eventsAreIn());
    ASSERT_EQ(below("Q Т-1"), "1012 Чужое\n");
  }
};

TEST_F(AggregatedTogether, WhatTheDialogDidNotShowStays) {
  start();
  open("Q Т-1");
  othersAddADay();
  accept();
  EXPECT_EQ(writes(), QStringList()) << "nothing was ticked and nothing unticked";
  expectChildren(1005, QStringList{"1012 Чужое (of 1005, Сутки)"});
}

TEST_F(AggregatedTogether, OwnTicksComeBesideIt) {
  start();
  open("Q Т-1");
  tick("Среднее за час");
  othersAddADay();
  accept();
  expectChildren(1005, (QStringList{"1 Q Т-1_час (of 1005, Час)", "1012 Чужое (of 1005, Сутки)"}));
}

TEST_F(AggregatedTogether, WhatBothTickedIsMadeOnce) {
  start();
  open("Q Т-1");
  tick("Среднее за сутки");
  othersAddADay();
  accept();
  expectChildren(1005, QStringList{"1012 Чужое (of 1005, Сутки)"});
}

TEST_F(AggregatedTogether, TheNextOpeningShowsItAndUntickingRemovesIt) {
  start();
  open("Q Т-1");
  othersAddADay();
  key(Qt::Key_Escape);
  open("Q Т-1");
  EXPECT_EQ(ticked(), QStringList{"Среднее за сутки"});
  tick("Среднее за сутки");
  accept();
  expectChildren(1005, QStringList());
}

// ---- what fails meanwhile --------------------------------------------------------------------------------

TEST_F(Aggregated, AMeasurementThatIsGoneGetsNothing) {
  start();
  open("Q Т-1");
  tick("Среднее за час");
  ASSERT_TRUE(Colleague(*server.core()).remove("Analog", key("Q Т-1")).commit());
  ASSERT_TRUE(eventsAreIn());
  const QStringList before = serverRows();
  dialog()->On_Accept();
  EXPECT_EQ(serverRows(), before);
  EXPECT_EQ(writes(), QStringList());
  open("P Т-1");
  ASSERT_TRUE(Colleague(*server.core()).remove("Analog", key("P Т-1")).commit());
  ASSERT_TRUE(eventsAreIn());
  list()->checkedKeys.clear();
  dialog()->On_Accept();
  EXPECT_EQ(writes(), QStringList());
}

TEST_F(Aggregated, ARefusedSaveIsToldAndTheUntickedGoAllTheSame) {
  start();
  open("P Т-1");
  tick("Среднее за час");
  tick("Среднее за минуту");
  app.failures.add("BlockEnd", Fail::kStatus, 1);
  key(Qt::Key_Return);
  app.failures.clear();
  expectBox("Ошибка изменения данных", "При изменения данных возникла непредвиденная ошибка.\nДанные не были изменены!",
            kBoxError);
  eventually([&] { return !serverRows().join('\n').contains("P Т-1_час"); }, 3000);
  EXPECT_FALSE(serverRows().join('\n').contains("P Т-1_час"));
  ASSERT_TRUE(eventsAreIn());
}

TEST_F(Aggregated, WithoutNumbersNothingIsMade) {
  start();
  open("Q Т-1");
  tick("Среднее за час");
  app.failures.add("CalcExec", Fail::kRefuseToSend);
  key(Qt::Key_Return);
  app.failures.clear();
  EXPECT_EQ(writes(), QStringList());
  expectChildren(1005, QStringList());
}

TEST_F(Aggregated, AServerThatIsAwayIsAskedInVain) {
  start();
  const QStringList before = serverRows();
  open("P Т-1");
  tick("Среднее за час");
  for (const char* call : {"CalcExec", "PacketExec", "BlockEnd"}) app.failures.add(call, Fail::kRefuseToSend);
  key(Qt::Key_Return);
  app.failures.clear();
  EXPECT_EQ(serverRows(), before);
  EXPECT_EQ(waitingBox(), nullptr);
}

// ---- the change set --------------------------------------------------------------------------------------

class AggregatedSet : public Aggregated {
 protected:
  bool prepare(const QString& primary, const QString& className, const QStringList& groups, QList<int> numbers,
               int locId = 1005, const QString& name = "Имя") {
    const bool ready = module->PrepareSaveGroupAgreg(changes.tables, changes.arrays, primary, className, name, locId,
                                                     groups, numbers, unticked);
    for (int i = 0; i < changes.tables.size(); ++i)
      for (int j = 0; changes.tables[i] == "IdentifiedObject" && j < MDARecCount(changes.arrays[i]->array); ++j)
        names[fieldText(*changes.arrays[i], MDARec(changes.arrays[i]->array, 0, j), 0, module->moduleCodec)] =
            QString("new%1").arg(j + 1);
    return ready;
  }
  ChangeSet changes;
  QList<MDRData*> unticked;
};

TEST_F(AggregatedSet, HoldsThreeRecordsForEachGroup) {
  start();
  find("P Т-1");
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {key("Час"), key("Минута")}, {7, 8}));
  EXPECT_EQ(changeText(changes),
            (QStringList{"IdentifiedObject 1: KeyLink=new1 ClassName=Analog name_=Имя_час",
                         "IdentifiedObject 1: KeyLink=new2 ClassName=Analog name_=Имя",
                         "Measurement 1: KeyLink=new1 locId=7 primaryLocId=1005* work_=1* RemoteUnitKey=КП-1* "
                         "MeasurementArchGroupKey=Час PSRKey=Т-1* TerminalKey=Т-1 полюс*",
                         "Measurement 1: KeyLink=new2 locId=8 primaryLocId=1005* work_=1* RemoteUnitKey=КП-1* "
                         "MeasurementArchGroupKey=Минута PSRKey=Т-1* TerminalKey=Т-1 полюс*",
                         "Analog 1: KeyLink=new1*", "Analog 1: KeyLink=new2*"}));
}

TEST_F(AggregatedSet, CopiesWhatThePrimaryHasEvenNothing) {
  start();
  find("Q Т-1");
  EXPECT_TRUE(prepare(key("Q Т-1"), "Analog", {key("Час")}, {7}));
  EXPECT_EQ(changeText(changes).value(1),
            "Measurement 1: KeyLink=new1 locId=7 primaryLocId=1005* work_=0* RemoteUnitKey=КП-1* "
            "MeasurementArchGroupKey=Час PSRKey=null* TerminalKey=null*");
}

TEST_F(AggregatedSet, AnUnknownGroupGivesNoSuffix) {
  start();
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {"unknown"}, {7}));
  EXPECT_EQ(changeText(changes).value(0), "IdentifiedObject 1: KeyLink=new1 ClassName=Analog name_=Имя");
}

TEST_F(AggregatedSet, ComparesTheClassWithoutCaseAndGivesItAsItCame) {
  start();
  EXPECT_TRUE(prepare(key("P Т-1"), "STRINGmeasurement", {key("Час")}, {7}));
  EXPECT_EQ(changes.tables, (QStringList{"IdentifiedObject", "Measurement", "StringMeasurement"}));
  EXPECT_TRUE(changeText(changes).value(0).contains("ClassName=STRINGmeasurement"));
}

TEST_F(AggregatedSet, AClassOutsideTheFourGetsNoThirdRow) {
  start();
  EXPECT_TRUE(prepare(key("P Т-1"), "RemoteUnit", {key("Час")}, {7}));
  EXPECT_EQ(changes.tables, (QStringList{"IdentifiedObject", "Measurement"}));
}

TEST_F(AggregatedSet, JoinsTheEntriesThatStandThere) {
  start();
  ASSERT_TRUE(prepare(key("P Т-1"), "Analog", {key("Час")}, {7}));
  const QList<CMDArray*> before = changes.arrays;
  ASSERT_TRUE(prepare(key("P Т-1"), "Analog", {key("Сутки")}, {8}));
  EXPECT_EQ(changes.arrays, before);
  EXPECT_EQ(changes.tables.size(), 3);
  EXPECT_EQ(changeText(changes).size(), 6);
}

TEST_F(AggregatedSet, KeepsTheTickedAndGivesTheUntickedBack) {
  start();
  find("P Т-1");
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {key("Час"), key("Минута")}, {7}, 1001));
  EXPECT_EQ(changes.tables.size(), 3);
  EXPECT_EQ(changeText(changes).size(), 3) << "the hour is there";
  ASSERT_EQ(unticked.size(), 1);
  EXPECT_EQ(fieldText(module->measRecords, unticked[0], 0, module->moduleCodec), key("P Т-1_сутки"));
}

TEST_F(AggregatedSet, ComparesGroupsWithCase) {
  start();
  find("P Т-1");
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {key("Час").toLower(), key("Сутки")}, {7}, 1001));
  ASSERT_EQ(unticked.size(), 1);
  EXPECT_EQ(fieldText(module->measRecords, unticked[0], 0, module->moduleCodec), key("P Т-1_час"));
  EXPECT_EQ(changeText(changes).size(), 3);
}

TEST_F(AggregatedSet, KeepsWithCase) {
  start();
  find("P Т-1");
  EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {key("Час"), key("Час").toLower(), key("Сутки")}, {7}, 1001));
  EXPECT_TRUE(unticked.isEmpty());
  EXPECT_EQ(changeText(changes).size(), 3) << "another key, another child";
}

TEST_F(AggregatedSet, AChildWithoutAGroupIsLeftAlone) {
  start();
  find("P Т-1");
  MDRData* child = seekText(module->measRecords, 0, key("P Т-1_час"), module->moduleCodec);
  for (const MDRVar& none : {nullTextVar(), textVar("")}) {
    module->measRecords.SetVal(child, "MeasurementArchGroupKey", none);
    unticked.clear();
    EXPECT_TRUE(prepare(key("P Т-1"), "Analog", {key("Минута")}, {7}, 1001));
    ASSERT_EQ(unticked.size(), 1);
    EXPECT_NE(unticked[0], child);
  }
}

TEST_F(AggregatedSet, ANumberOfZeroEndsItWithWhatWasBuilt) {
  start();
  EXPECT_FALSE(prepare(key("P Т-1"), "Analog", {key("Час"), key("Минута")}, {7, 0}));
  EXPECT_EQ(changes.tables, (QStringList{"IdentifiedObject", "Measurement", "Analog"}));
  EXPECT_EQ(changeText(changes).size(), 4) << "the second child's name stands there, and nothing else of it";
}

TEST_F(AggregatedSet, TooFewNumbersEndItToo) {
  start();
  EXPECT_FALSE(prepare(key("P Т-1"), "Analog", {key("Час"), key("Минута")}, {7}));
  EXPECT_FALSE(prepare(key("P Т-1"), "Analog", {key("Сутки")}, {}));
}

TEST_F(AggregatedSet, WithoutAKeyOrARecordNothingIsBuilt) {
  start();
  EXPECT_FALSE(prepare("", "Analog", {key("Час")}, {7}));
  EXPECT_FALSE(prepare(QString(32, '0'), "Analog", {key("Час")}, {7})) << "the server does not know it";
  EXPECT_EQ(changes.tables, QStringList());
}

TEST_F(AggregatedSet, AMeasurementWithoutAUnitIsReadyWithNothing) {
  start();
  EXPECT_TRUE(prepare(key("Без КП"), "Analog", {key("Час")}, {7}));
  EXPECT_EQ(changes.tables, QStringList());
  EXPECT_TRUE(unticked.isEmpty());
}

TEST_F(Aggregated, AsksForAsManyNumbersAsThereAreGroups) {
  start();
  open("Q Т-1");
  tick("Среднее за час");
  tick("Среднее за минуту");
  tick("Среднее за сутки");
  accept();
  EXPECT_EQ(app.log.filter("CalcExec"), QStringList{"CalcExec f*(countNeed, locidBeg)"});
  QStringList numbers;
  for (const QString& row : childrenOf(1005)) numbers += row.section(' ', 0, 0);
  EXPECT_EQ(numbers, (QStringList{"1", "3", "4"})) << "the lowest free ones";
}

}  // namespace
}  // namespace tlm::test
