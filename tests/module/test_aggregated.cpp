// Aggregated data of a measurement: the command, the list of archive groups, the dialog.
#include "AggregatedWindow.h"

namespace tlm::test {
namespace {

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

}  // namespace
}  // namespace tlm::test
