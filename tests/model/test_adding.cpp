// New rows, and rows for objects that the module holds.
#include <QSignalSpy>

#include "RecordAccess.h"
#include "TreeWatch.h"
#include "module/ModuleWindow.h"

namespace tlm::test {
namespace {

constexpr char kModel[] = R"(folder Подстанция Северная
  unit КП-1
    analog 1001 P Т-1
    discrete 1003 Q-110
  unit КП-2 {prefName=1}
    string 1005 Режим
unit КП-3
analog 1009 Без КП
)";

// What AddNode makes of each class.
struct NewKind {
  const char* className;
  const char* caption;  // null: no group
  const char* name;
};
constexpr NewKind kNewKinds[] = {
    {"Analog", "Аналоговые измерения", "Новое аналоговое измерение"},
    {"Discrete", "Дискретные сигналы", "Новый дискретный сигнал"},
    {"Accumulator", "Счетчики", "Новый счетчик"},
    {"StringMeasurement", "Строковые величины", "Новая строковая величина"},
};

class Adding : public ModuleWindow {
 protected:
  Adding() : ModuleWindow(kModel) {}

  // The window without a view: rows come and go without requests for the passport.
  void open() {
    start();
    model = module->treeModel;
    tree()->setModel(nullptr);
    watch = std::make_unique<TreeWatch>(*model);
  }
  QModelIndex fetched(const char* name) {
    const QModelIndex unit = model->findByKey(key(name));
    EXPECT_TRUE(module->AddMeasForRTU(unit, QString(), false, QString())) << name;
    model->SortChildren(model->nodeFromIndex(unit), 0, Qt::AscendingOrder, false);
    watch->log.clear();
    return unit;
  }
  // A group of the unit, by its place.
  QModelIndex group(const char* name, int row = 0) { return model->index(row, 0, fetched(name)); }
  QString below(const char* name) { return treeText(*model, model->findByKey(key(name))); }
  myConfNode* lastOf(const QModelIndex& parent) { return model->nodeFromIndex(parent)->children.back(); }

  QString field(const myConfNode* node, const char* name) {
    MDRVar value{};
    node->table->GetVal(node->record, name, value);
    if (value.type == MDX_NONE) return "absent";
    if (value.isNull) return "null";
    return isText(value) ? decodeVar(value, module->moduleCodec) : QString::number(asInteger(value));
  }
  QStringList marked(const myConfNode* node) {
    QStringList names;
    for (int i = 0; i < MDAFldCount(node->table->array); ++i)
      if (MDRIsUser(MDRFldByNum(node->table->array, i), node->record, nullptr) == 1)
        names.append(QString(fieldName(*node->table, i)).toLower());
    names.sort();
    return names;
  }

  MeasConfTreeModel* model = nullptr;
  std::unique_ptr<TreeWatch> watch;
};

// ---- folders and units -----------------------------------------------------------------------------------

TEST_F(Adding, ARootFolderEntersAtTheTopOfTheTree) {
  open();
  const QString before = treeText(*model);
  EXPECT_TRUE(model->AddNode(model->findByKey(key("КП-1")), QString(), QString(), true));
  EXPECT_EQ(treeText(*model), "Новая папка\n" + before);
  EXPECT_EQ(watch->log, QStringList({"+/ 0", "focus Новая папка"}));
}

TEST_F(Adding, AFolderEntersAtTheTopOfItsFolder) {
  open();
  EXPECT_TRUE(model->AddNode(model->findByKey(key("Подстанция Северная")), QString(), QString(), false));
  EXPECT_EQ(below("Подстанция Северная"), "Новая папка\nКП-1\nКП-2\n");
  EXPECT_EQ(watch->log, QStringList({"+Подстанция Северная 0", "focus Новая папка"}));
}

TEST_F(Adding, AFolderKnowsTheFolderAboveIt) {
  open();
  const QModelIndex above = model->findByKey(key("Подстанция Северная"));
  model->AddNode(above, QString(), QString(), false);
  const myConfNode* node = model->nodeFromIndex(above)->children.front();
  EXPECT_EQ(node->table, &module->tblRemoteUnitFolder);
  EXPECT_TRUE(node->isFolder);
  EXPECT_EQ(field(node, "caption"), "Новая папка");
  EXPECT_EQ(field(node, "ParentKey"), key("Подстанция Северная"));
  EXPECT_EQ(field(node, "KeyLink").size(), 32);
  EXPECT_EQ(marked(node), QStringList({"caption", "keylink", "parentkey"}));
  EXPECT_EQ(MDRGetFlags(node->record), MDX_REC_INSERT);
}

TEST_F(Adding, ARootFolderHasNoFolderAbove) {
  open();
  model->AddNode(model->findByKey(key("Подстанция Северная")), QString(), QString(), true);
  const myConfNode* node = model->rootNode->children.front();
  EXPECT_EQ(field(node, "ParentKey"), "null");
  EXPECT_EQ(marked(node), QStringList({"caption", "keylink"}));
}

TEST_F(Adding, AUnitIsCompleteFromTheStart) {
  open();
  EXPECT_TRUE(model->AddNode(model->findByKey(key("Подстанция Северная")), "RemoteUnit", QString(), false));
  EXPECT_EQ(below("Подстанция Северная"), "Новое устройство\nКП-1\nКП-2\n");
  const myConfNode* node = model->nodeFromIndex(model->findByKey(key("Подстанция Северная")))->children.front();
  EXPECT_EQ(node->table, &module->tblRemoteUnit);
  EXPECT_FALSE(node->isFolder);
  EXPECT_TRUE(node->isLoaded);
  EXPECT_TRUE(module->loadedRemoteUnits.contains(field(node, "KeyLink")));
  EXPECT_EQ(field(node, "ClassName"), "RemoteUnit");
  EXPECT_EQ(field(node, "name_"), "Новое устройство");
  EXPECT_EQ(field(node, "RemoteUnitFolderKey"), key("Подстанция Северная"));
  EXPECT_EQ(marked(node), QStringList({"classname", "keylink", "name_", "remoteunitfolderkey"}));
  EXPECT_EQ(MDRGetFlags(node->record), MDX_REC_INSERT);
}

TEST_F(Adding, AUnitAtTheTopHasNoFolder) {
  open();
  EXPECT_TRUE(model->AddNode(QModelIndex(), "RemoteUnit", QString(), false));
  EXPECT_EQ(field(model->rootNode->children.front(), "RemoteUnitFolderKey"), "null");
  EXPECT_EQ(marked(model->rootNode->children.front()), QStringList({"classname", "keylink", "name_"}));
}

TEST_F(Adding, EachNewObjectHasAKeyOfItsOwn) {
  open();
  model->AddNode(QModelIndex(), QString(), QString(), true);
  model->AddNode(QModelIndex(), QString(), QString(), true);
  EXPECT_NE(field(model->rootNode->children[0], "KeyLink"), field(model->rootNode->children[1], "KeyLink"));
  EXPECT_TRUE(model->findByKey(field(model->rootNode->children[1], "KeyLink")).isValid());
}

TEST_F(Adding, AnUnknownClassAddsNothing) {
  open();
  const QString before = treeText(*model);
  EXPECT_FALSE(model->AddNode(QModelIndex(), "Tables", QString(), true));
  EXPECT_EQ(treeText(*model), before);
  EXPECT_EQ(watch->log, QStringList());
}

// ---- measurements ----------------------------------------------------------------------------------------

TEST_F(Adding, TheFirstMeasurementOfAClassMakesItsGroup) {
  open();
  const QModelIndex unit = fetched("КП-3");
  EXPECT_EQ(below("КП-3"), "");
  QString expected;
  for (const NewKind& kind : kNewKinds) {
    EXPECT_TRUE(model->AddNode(unit, kind.className, key("КП-3"), false)) << kind.className;
    expected += QString("%1\n  1002 %2\n").arg(kind.caption, kind.name);
    EXPECT_EQ(below("КП-3"), expected);
    EXPECT_EQ(watch->log.mid(0, 3),
              QStringList({QString("+КП-3 %1").arg(unit.model()->rowCount(unit) - 1),
                           QString("+%1 0").arg(kind.caption), QString("focus %1").arg(kind.name)}));
    watch->log.clear();
  }
}

TEST_F(Adding, AMeasurementJoinsTheGroupThatIsThere) {
  open();
  const QModelIndex unit = fetched("КП-1");
  EXPECT_TRUE(model->AddNode(unit, "Analog", key("КП-1"), false));
  EXPECT_EQ(below("КП-1"), picture(R"(
    Аналоговые измерения
      1001 P Т-1
      1002 Новое аналоговое измерение
    Дискретные сигналы
      1003 Q-110
  )"));
  EXPECT_EQ(watch->log, QStringList({"+Аналоговые измерения 1", "focus Новое аналоговое измерение"}));
}

TEST_F(Adding, TheRowOfAMeasurement) {
  open();
  const QModelIndex unit = fetched("КП-1");
  ASSERT_TRUE(model->AddNode(unit, "Analog", key("КП-1"), false));
  const myConfNode* node = lastOf(model->index(0, 0, unit));
  EXPECT_EQ(node->table, &module->measRecords);
  EXPECT_EQ(field(node, "ClassName"), "Analog");
  EXPECT_EQ(field(node, "name_"), "Новое аналоговое измерение");
  EXPECT_EQ(field(node, "locId"), "1002");
  EXPECT_EQ(field(node, "RemoteUnitKey"), key("КП-1"));
  EXPECT_EQ(marked(node), QStringList({"classname", "keylink", "locid", "name_", "remoteunitkey"}));
  EXPECT_EQ(MDRGetFlags(node->record), MDX_REC_INSERT);
  EXPECT_FALSE(node->isAggregated);
  EXPECT_EQ(seekText(module->measRecords, 0, field(node, "KeyLink"), module->moduleCodec), node->record);
}

TEST_F(Adding, TheUnitsNameStandsBeforeWhenTheUnitSaysSo) {
  open();
  ASSERT_TRUE(model->AddNode(fetched("КП-2"), "Analog", key("КП-2"), false));
  EXPECT_EQ(below("КП-2"), picture(R"(
    Строковые величины
      1005 Режим
    Аналоговые измерения
      1002 КП-2-Новое аналоговое измерение
  )"));
}

TEST_F(Adding, OnlyTheUnitOfTheCallGivesAPrefix) {
  open();
  ASSERT_TRUE(model->AddNode(fetched("КП-2"), "Analog", QString(), false));
  const myConfNode* node = lastOf(model->index(1, 0, model->findByKey(key("КП-2"))));
  EXPECT_EQ(field(node, "name_"), "Новое аналоговое измерение");
  EXPECT_EQ(field(node, "RemoteUnitKey"), "null");
  EXPECT_FALSE(marked(node).contains("remoteunitkey"));
}

TEST_F(Adding, AGroupTakesItsClassAlone) {
  open();
  const QModelIndex analogs = group("КП-1");
  EXPECT_TRUE(model->AddNode(analogs, "Analog", key("КП-1"), false));
  EXPECT_EQ(model->rowCount(analogs), 2);
  EXPECT_FALSE(model->AddNode(analogs, "Discrete", key("КП-1"), false));
  EXPECT_EQ(model->rowCount(analogs), 2);
}

TEST_F(Adding, ASiblingTakesItsClassIntoItsGroup) {
  open();
  const QModelIndex analogs = group("КП-1");
  const QModelIndex sibling = model->index(0, 0, analogs);
  EXPECT_TRUE(model->AddNode(sibling, "Analog", key("КП-1"), false));
  EXPECT_EQ(model->rowCount(analogs), 2);
  watch->log.clear();
  EXPECT_FALSE(model->AddNode(sibling, "Discrete", key("КП-1"), false));
  EXPECT_EQ(watch->log, QStringList());
}

TEST_F(Adding, AGroupOfTheDefaultUnitTakesAMeasurementTheUnitItselfDoesNot) {
  open();
  const QModelIndex unit = model->match(model->index(0, 0), Qt::DisplayRole, defaultUnitText()).value(0);
  ASSERT_TRUE(unit.isValid());
  EXPECT_FALSE(model->AddNode(unit, "Analog", QString(), false));
  EXPECT_TRUE(model->AddNode(model->index(0, 0, unit), "Analog", QString(), false));
  EXPECT_EQ(treeText(*model, unit), "Аналоговые измерения\n  1009 Без КП\n  1002 Новое аналоговое измерение\n");
}

TEST_F(Adding, NeitherAFolderNorTheTopTakesAMeasurement) {
  open();
  EXPECT_FALSE(model->AddNode(model->findByKey(key("Подстанция Северная")), "Analog", QString(), false));
  EXPECT_FALSE(model->AddNode(QModelIndex(), "Analog", QString(), false));
  EXPECT_FALSE(model->AddNode(fetched("КП-1"), "Analog", key("КП-1"), true)) << "at the root";
  EXPECT_EQ(watch->log, QStringList());
}

TEST_F(Adding, AnAggregatedSiblingTakesNothing) {
  open();
  const QModelIndex primary = model->index(0, 0, group("КП-1"));
  ASSERT_TRUE(model->AddExistNode(primary, "Analog", key("Q-110"), true));
  EXPECT_FALSE(model->AddNode(model->index(0, 0, primary), "Analog", key("КП-1"), false));
}

TEST_F(Adding, ClassesAreTakenInAnyCase) {
  open();
  const QModelIndex unit = fetched("КП-1");
  EXPECT_FALSE(model->AddNode(unit, "analog", key("КП-1"), false)) << "no table of that name";
  EXPECT_EQ(model->rowCount(unit), 2) << "but its group is known";
}

TEST_F(Adding, WithoutAFreeNumberItStaysZero) {
  open();
  const QModelIndex analogs = group("КП-1");
  app.failures.add("CalcExec", Fail::kRefuseToSend);
  model->AddNode(analogs, "Analog", key("КП-1"), false);
  EXPECT_EQ(field(lastOf(analogs), "locId"), "0");
}

TEST_F(Adding, ARowThatCannotBeMadeLeavesTheEmptyGroup) {
  open();
  const QModelIndex unit = fetched("КП-3");
  MDAClearAll(module->tblTables.array);
  EXPECT_FALSE(model->AddNode(unit, "Analog", key("КП-3"), false));
  EXPECT_EQ(below("КП-3"), "Аналоговые измерения\n");
}

TEST_F(Adding, CreateNodeNeedsOneOfTheThreeTables) {
  open();
  myConfNode node(nullptr, QString(), nullptr, nullptr);
  QString made;
  EXPECT_FALSE(model->CreateNode(&node, "Имя", "IdentifiedObject", "IdentifiedObject", made, QString(), nullptr));
  EXPECT_EQ(made.size(), 32);
  EXPECT_EQ(node.record, nullptr);
  EXPECT_FALSE(model->CreateNode(&node, "Имя", "remoteunit", "RemoteUnitFolder", made, QString(), nullptr));
  EXPECT_FALSE(node.isFolder);
}

class AddingToNothing : public ModuleWindow {
 protected:
  AddingToNothing() : ModuleWindow("unit КП-1\n") {}
};

TEST_F(AddingToNothing, TheFirstMeasurementOfAllHasItsRow) {
  start();
  const QModelIndex unit = module->treeModel->findByKey(key("КП-1"));
  module->AddMeasForRTU(unit, QString(), false, QString());
  ASSERT_TRUE(module->treeModel->AddNode(unit, "Analog", key("КП-1"), false));
  EXPECT_EQ(treeText(*module->treeModel).section('\n', 2, 2).mid(4).section(' ', 1), "Новое аналоговое измерение");
  EXPECT_EQ(keyOf(tree()->currentIndex()).size(), 32);
}

// ---- objects that the module holds -----------------------------------------------------------------------

TEST_F(Adding, AKnownMeasurementJoinsItsGroupWithoutFocus) {
  open();
  const QModelIndex unit = fetched("КП-1");
  ASSERT_TRUE(model->DelNode(model->index(0, 0, unit), nullptr));
  watch->log.clear();
  EXPECT_TRUE(model->AddExistNode(unit, "Analog", key("P Т-1"), false));
  EXPECT_EQ(below("КП-1"), picture(R"(
    Дискретные сигналы
      1003 Q-110
    Аналоговые измерения
      1001 P Т-1
  )"));
  EXPECT_EQ(watch->log, QStringList({"+КП-1 1", "+Аналоговые измерения 0"}));
  const myConfNode* node = model->nodeFromIndex(model->findByKey(key("P Т-1")));
  EXPECT_EQ(node->table, &module->measRecords);
  EXPECT_FALSE(node->isAggregated);
}

TEST_F(Adding, AKnownMeasurementJoinsByGroupAndBySibling) {
  open();
  const QModelIndex analogs = group("КП-1");
  EXPECT_TRUE(model->AddExistNode(analogs, "Analog", key("Q-110"), false));
  EXPECT_TRUE(model->AddExistNode(model->index(0, 0, analogs), "Analog", key("Q-110"), false));
  EXPECT_EQ(model->rowCount(analogs), 3);
  EXPECT_FALSE(model->AddExistNode(analogs, "Discrete", key("Q-110"), false));
  EXPECT_FALSE(model->AddExistNode(QModelIndex(), "Discrete", key("Q-110"), false));
}

TEST_F(Adding, AnAggregatedMeasurementHangsUnderItsPrimary) {
  open();
  const QModelIndex primary = model->index(0, 0, group("КП-1"));
  EXPECT_TRUE(model->AddExistNode(primary, "Discrete", key("Q-110"), true));
  EXPECT_EQ(treeText(*model, primary), "1003 Q-110\n");
  EXPECT_TRUE(lastOf(primary)->isAggregated);
  EXPECT_FALSE(model->AddExistNode(model->findByKey(key("КП-1")), "Discrete", key("Q-110"), true))
      << "no measurement to hang under";
}

TEST_F(Adding, AKnownUnitEntersAtTheTopAndWaitsToBeOpened) {
  open();
  ASSERT_TRUE(model->DelNode(model->findByKey(key("КП-2")), nullptr));
  watch->log.clear();
  EXPECT_TRUE(model->AddExistNode(model->findByKey(key("Подстанция Северная")), "RemoteUnit", key("КП-2"), false));
  EXPECT_EQ(below("Подстанция Северная"), "КП-2\nКП-1\n");
  const myConfNode* node = model->nodeFromIndex(model->findByKey(key("КП-2")));
  EXPECT_FALSE(node->isLoaded);
  EXPECT_FALSE(node->isFolder);
  EXPECT_EQ(watch->log, QStringList{"+Подстанция Северная 0"});
}

TEST_F(Adding, AKnownFolderEntersAtTheTop) {
  open();
  ASSERT_TRUE(model->DelNode(model->findByKey(key("Подстанция Северная")), nullptr));
  EXPECT_TRUE(model->AddExistNode(QModelIndex(), QString(), key("Подстанция Северная"), false));
  const myConfNode* node = model->rootNode->children.front();
  EXPECT_EQ(GetName(model->rootNode->children.front()), "Подстанция Северная");
  EXPECT_TRUE(node->isFolder);
  EXPECT_EQ(node->table, &module->tblRemoteUnitFolder);
}

TEST_F(Adding, OfUnknownClassNothingIsHung) {
  open();
  EXPECT_FALSE(model->AddExistNode(QModelIndex(), "Tables", key("КП-1"), false));
  EXPECT_FALSE(model->AddExistNode(QModelIndex(), "remoteunit", key("КП-1"), false)) << "with case";
  EXPECT_EQ(watch->log, QStringList());
}

TEST_F(Adding, LinkingMakesTheTextTheRowsOwn) {
  open();
  myConfNode node(nullptr, "Текст", nullptr, nullptr);
  EXPECT_TRUE(model->CreateExistNode(&node, "RemoteUnit", key("КП-1"), true));
  EXPECT_EQ(GetName(&node), "КП-1");
  EXPECT_FALSE(node.isAggregated) << "of measurements alone";
  EXPECT_TRUE(model->CreateExistNode(&node, "Analog", "нет такого", false));
  EXPECT_EQ(node.record, nullptr) << "a row that is missing is no failure";
  EXPECT_FALSE(model->CreateExistNode(&node, "analog", key("P Т-1"), false)) << "with case";
  EXPECT_FALSE(model->CreateExistNode(nullptr, "Analog", key("P Т-1"), false));
}

// ---- where what may be placed ----------------------------------------------------------------------------

TEST_F(Adding, WhatMayBePlacedWhere) {
  open();
  fetched("КП-1");
  const QModelIndex analogs = model->index(0, 0, model->findByKey(key("КП-1")));
  const QModelIndex common = model->match(model->index(0, 0), Qt::DisplayRole, defaultUnitText()).value(0);
  const char* const all[] = {"Folder",   "folder",   "RemoteUnit",  "remoteunit",        "Analog",           "analog",
                             "Discrete", "DISCRETE", "Accumulator", "StringMeasurement", "RemoteUnitFolder", ""};
  const auto accepted = [&](const QModelIndex& target) {
    QStringList names;
    for (const char* name : all)
      if (module->CheckIndexPaste(target, name)) names.append(name);
    return names.join(' ');
  };
  EXPECT_EQ(accepted(QModelIndex()), "Folder RemoteUnit");
  EXPECT_EQ(accepted(model->findByKey(key("Подстанция Северная"))), "Folder RemoteUnit");
  EXPECT_EQ(accepted(model->findByKey(key("КП-1"))), "Analog analog Discrete DISCRETE Accumulator StringMeasurement");
  EXPECT_EQ(accepted(analogs), "Analog analog");
  EXPECT_EQ(accepted(model->index(0, 0, analogs)), "Analog analog");
  EXPECT_EQ(accepted(model->index(1, 0, model->findByKey(key("КП-1")))), "Discrete DISCRETE");
  EXPECT_EQ(accepted(model->findByKey(key("Q-110"))), "Discrete DISCRETE");
  EXPECT_EQ(accepted(common), "");
  EXPECT_EQ(accepted(model->index(0, 0, common)), "Analog analog");
}

}  // namespace
}  // namespace tlm::test
