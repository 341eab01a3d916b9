// Construction and start: what the session is asked for, in which order, and what a failing one leaves behind.
#include "ModuleWindow.h"

namespace tlm::test {
namespace {

constexpr char kLastIsUnit[] = R"(folder Подстанция
  unit КП-1
    analog 1001 P
unit Без папки
  analog 3001 I
)";

class Start : public ModuleWindow {
 protected:
  Start() : ModuleWindow(kLastIsUnit) {}
};

TEST_F(Start, ConstructorAsksNothing) {
  EXPECT_EQ(app.log, QStringList());
  EXPECT_EQ(tree()->model(), nullptr);
}

TEST_F(Start, AsksTheSessionInOrder) {
  module->ModuleStart();
  const QStringList expected{
      "SubEvent 601,602,603",
      "BlockBeg",
      "PacketExec TableRecords Fields",
      "PacketExec TableRecords RemoteUnit,KeyLink,RemoteUnitFolderKey,SrvGroup,StateRtu,name_,ClassName",
      "PacketExec TableRecords RemoteUnitFolder",
      "PacketExec TableRecords Tables,KeyLink,nameLat,nameLoc,parent,param",
      "PacketExec TableRecords FieldsType",
      "PacketExec TableRecords MeasurementArchGroup",
      "PacketExec TableRecords Archives",
      "PacketExec TableRecords Calculations",
      "BlockEnd",
      "PacketExec TableStructure Analog",
      "PacketExec TableStructure Discrete",
      "PacketExec TableStructure Accumulator",
      "PacketExec TableStructure StringMeasurement",
      "PacketExec TableStructure IdentifiedObject",
      "PacketExec TableStructure Measurement",
      "PacketExec TableStructure RemoteUnit",
      "PacketExec TableStructure RemoteUnitFolder",
      "PacketExec TableRecords Calculations",
      "PacketExec TableRecords Terminal",
      "CalcExec f*()",     // the measurements without a unit
      "CalcExec f*(rtu)",  // those of the last row
  };
  EXPECT_EQ(app.log.mid(0, expected.size()), expected);
  // Then the first row becomes the current one and the passport shows it.
  EXPECT_EQ(app.log.value(expected.size()), "PacketExec LiteModel obj=" + key("Подстанция"));
}

TEST_F(Start, FetchesTheLastRowOnly) {
  start();
  EXPECT_EQ(treeText(*module->treeModel), picture(R"(
      Подстанция
        КП-1
      Без папки
        Аналоговые измерения
          3001 I
  )"));
  EXPECT_TRUE(module->loadedRemoteUnits.contains(key("Без папки")));
}

TEST_F(Start, TellsTheHostItsTitle) {
  start();
  EXPECT_EQ(app.title, "Конфигуратор телеметрии");
  EXPECT_EQ(app.subtitle, "");
  EXPECT_EQ(module->title, "Конфигуратор телеметрии");
}

TEST_F(Start, KnowsWhereTheUnitsKeyStands) {
  start();
  EXPECT_STREQ(MDAFldName(module->strMeasurement.array, module->numfieldRTUKey), "RemoteUnitKey");
}

TEST_F(Start, SetsUpTheTree) {
  start();
  EXPECT_EQ(tree()->model(), module->treeModel);
  EXPECT_TRUE(module->treeModel->started);
  EXPECT_TRUE(module->treeModel->GetRootNode()->isExpanded);
  EXPECT_EQ(tree()->selectionMode(), QAbstractItemView::ExtendedSelection);
  EXPECT_EQ(tree()->selectionBehavior(), QAbstractItemView::SelectItems);
  EXPECT_TRUE(tree()->isSortingEnabled());
  EXPECT_EQ(module->treeModel->sortOrder, Qt::AscendingOrder);
  EXPECT_EQ(tree()->currentIndex(), module->treeModel->index(0, 0));
  EXPECT_TRUE(tree()->dragEnabled());
  EXPECT_TRUE(tree()->acceptDrops());
  EXPECT_TRUE(tree()->showDropIndicator());
}

TEST_F(Start, ListsTheLinkFields) {
  module->ownMoves += "left over";
  module->pendingTelecontrol += 7;
  start();
  EXPECT_EQ(module->fieldNamesKeyRefs, (QStringList{"remoteunitkey", "RemoteUnitFolderKey", "ParentKey"}));
  EXPECT_TRUE(module->ownMoves.isEmpty());
  EXPECT_TRUE(module->pendingTelecontrol.isEmpty());
}

TEST_F(Start, RunsTheHintTimer) {
  EXPECT_FALSE(module->measTimer.isActive());
  start();
  EXPECT_TRUE(module->measTimer.isActive());
  EXPECT_EQ(module->measTimer.interval(), 3000);
  EXPECT_FALSE(module->measTimer.isSingleShot());
}

class EmptyStart : public ModuleWindow {
 protected:
  EmptyStart() : ModuleWindow("") {}
};

TEST_F(EmptyStart, HasNoRowAndNoCurrentIndex) {
  start();
  EXPECT_EQ(treeText(*module->treeModel), "");
  EXPECT_FALSE(tree()->currentIndex().isValid());
  EXPECT_EQ(app.log.filter("CalcExec").size(), 1);
}

class DefaultUnitLast : public ModuleWindow {
 protected:
  DefaultUnitLast() : ModuleWindow("folder Подстанция\nanalog 5001 Без устройства\n") {}
};

TEST_F(DefaultUnitLast, IsNotFetchedForItHasNoKey) {
  start();
  EXPECT_EQ(treeText(*module->treeModel), picture(R"(
      Подстанция
      (Устройство по умолчанию)
        Аналоговые измерения
          5001 Без устройства
  )"));
  EXPECT_EQ(app.log.filter("CalcExec").size(), 1);
}

// ---- a session that fails --------------------------------------------------------------------------------

struct FailCase {
  const char* name;
  const char* call;
  Fail fail;
};

void PrintTo(const FailCase& row, std::ostream* out) { *out << row.name; }

class FailingStart : public Start, public testing::WithParamInterface<FailCase> {};

TEST_P(FailingStart, StillStartsAndShowsNothing) {
  app.failures.add(GetParam().call, GetParam().fail);
  module->show();
  EXPECT_EQ(module->ModuleStart(), 1);
  settle();
  EXPECT_EQ(waitingBox(), nullptr);
  EXPECT_TRUE(module->measTimer.isActive());
}

const FailCase kFailures[] = {
    {"TablesNotSent", "PacketExec TableRecords", Fail::kRefuseToSend},
    {"BlockNotSent", "BlockEnd", Fail::kRefuseToSend},
    {"BlockStatus", "BlockEnd", Fail::kStatus},
    {"BlockNoReply", "BlockEnd", Fail::kNoReply},
    {"TablesEmpty", "PacketExec TableRecords", Fail::kEmptyPayload},
    {"TablesEmptyText", "PacketExec TableRecords", Fail::kEmptyText},
    {"StructureNotSent", "PacketExec TableStructure", Fail::kRefuseToSend},
    {"StructureTimeOut", "PacketExec TableStructure", Fail::kTimeOut},
    {"StructureNoReply", "PacketExec TableStructure", Fail::kNoReply},
    {"StructureStatus", "PacketExec TableStructure", Fail::kStatus},
    {"StructureEmpty", "PacketExec TableStructure", Fail::kEmptyPayload},
    {"ScriptNotSent", "CalcExec", Fail::kRefuseToSend},
    {"ScriptTimeOut", "CalcExec", Fail::kTimeOut},
    {"ScriptNoReply", "CalcExec", Fail::kNoReply},
    {"ScriptStatus", "CalcExec", Fail::kStatus},
    {"ScriptEmpty", "CalcExec", Fail::kEmptyPayload},
    {"ModelNotSent", "PacketExec LiteModel", Fail::kRefuseToSend},
    {"ModelTimeOut", "PacketExec LiteModel", Fail::kTimeOut},
    {"ModelNoReply", "PacketExec LiteModel", Fail::kNoReply},
    {"ModelStatus", "PacketExec LiteModel", Fail::kStatus},
    {"HintStatus", "PacketExec ObjectHint", Fail::kStatus},
    {"EveryWait", "WaitResult", Fail::kTimeOut},
};

INSTANTIATE_TEST_SUITE_P(Module, FailingStart, testing::ValuesIn(kFailures),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_F(Start, WithoutStructuresGoesOn) {
  app.failures.add("PacketExec TableStructure", Fail::kStatus);
  start();
  EXPECT_EQ(module->numfieldRTUKey, -1);
  EXPECT_EQ(treeText(*module->treeModel).count('\n'), 5);
}

TEST_F(Start, WithoutTablesHasAnEmptyTree) {
  app.failures.add("BlockEnd", Fail::kStatus);
  start();
  EXPECT_EQ(treeText(*module->treeModel), "");
}

// ---- subscriptions and the hint timer --------------------------------------------------------------------

TEST_F(Start, SubscribesToTheLongListOnDemand) {
  module->PrepareSubEvent(true);
  module->PrepareSubEvent(false);
  EXPECT_EQ(app.log, (QStringList{"SubEvent 601,602,603,902,903,904", "SubEvent 601,602,603"}));
}

TEST_F(Start, SubscribesToOneParameterOrNone) {
  module->PrepareSubParam(1001);
  module->PrepareSubParam(0);
  module->PrepareSubParam(-5);
  EXPECT_EQ(app.log, (QStringList{"SubParam 1001", "SubParam", "SubParam"}));
}

TEST_F(Start, HintTickAsksForTheObjectShown) {
  start();
  click("P");
  app.log.clear();
  module->onTimerMeasEvent();
  EXPECT_EQ(app.log, QStringList{"PacketExec ObjectHint " + key("P")});
}

TEST_F(Start, HintTickWithoutAnObjectAsksNothing) {
  start();
  module->passport.SetDeclare("Заголовок", 0, "");
  ASSERT_TRUE(module->passport.currentKey.isEmpty());
  app.log.clear();
  module->onTimerMeasEvent();
  EXPECT_EQ(app.log, QStringList());
}

TEST_F(Start, HintThatFailsIsNotReported) {
  start();
  click("P");
  app.failures.add("PacketExec ObjectHint", Fail::kStatus);
  module->onTimerMeasEvent();
  EXPECT_EQ(waitingBox(), nullptr);
}

TEST_F(Start, IdleAndReconnectionAskNothing) {
  start();
  app.log.clear();
  module->AppIdleEvent();
  module->ModSesReconnect();
  module->ModDataEditPost();
  module->ModDataEditCancel();
  EXPECT_EQ(module->MessageOn(), 0);
  EXPECT_EQ(app.log, QStringList());
}

}  // namespace
}  // namespace tlm::test
