#include "ModuleFixture.h"
#include "RecordAccess.h"

namespace tlm::test {
namespace {

using ScriptsTest = ModuleFixture;

int freeLocId(CTlmMeasConfig& module) {
  int locId = -1;
  module.GetFreeLocId(locId);
  return locId;
}

TEST_F(ScriptsTest, TheFirstFreeNumberIsTheLowestHole) {
  serve("unit КП\n  analog 1 a\n  analog 2 b\n  analog 5 c");
  EXPECT_EQ(freeLocId(*module), 3);
  serve("unit КП\n  analog 7 a\n  analog 8 b");
  EXPECT_EQ(freeLocId(*module), 0);
  serve("unit КП");
  EXPECT_EQ(freeLocId(*module), 0);
}

TEST_F(ScriptsTest, ATakenNumberIsBusy) {
  serve("unit КП\n  analog 7 a");
  bool busy = false;
  module->LocIdIsBusy(7, busy);
  EXPECT_TRUE(busy);
  module->LocIdIsBusy(8, busy);
  EXPECT_FALSE(busy);
}

TEST_F(ScriptsTest, APartOfANameIsFoundInAnyCaseInItsUnitAlone) {
  serve("unit КП\n  analog 1 Ток ФАЗЫ А\nunit Другой\n  analog 2 Иное");
  bool found = false;
  module->IsValueAtMeasurementsOfRTU(key("КП"), "фазы", found);
  EXPECT_TRUE(found);
  module->IsValueAtMeasurementsOfRTU(key("КП"), "иное", found);
  EXPECT_FALSE(found);
}

constexpr const char* kUnits = R"(
    unit КП
      analog 1 P {MeasurementCategoryKey=00000000000000000000000000000007}
      discrete 2 Q {CheckTu=1}
    unit Другой
      string 3 S
)";

TEST_F(ScriptsTest, TheFirstRowsBringTheirStructureAndMakeTheFourKeys) {
  serve(kUnits);
  module->GetMeasurementsForRTU(key("КП"), nullptr, false, QString());
  const CMDArray& rows = module->measRecords;
  ASSERT_EQ(MDARecCount(rows.array), 2);
  QStringList fields, keys;
  for (int i = 0; i < MDAFldCount(rows.array); ++i) fields.append(MDAFldName(rows.array, i));
  for (int i = 0; i < MDAKeyCount(rows.array); ++i) keys.append(MDAKeyExpr(rows.array, i));
  EXPECT_EQ(fields, (QStringList{"KeyLink", "ClassName", "name_", "locId", "work_", "MeasurementCategoryKey",
                                 "RemoteUnitKey", "MeasurementArchGroupKey", "primaryLocId", "CheckTu"}));
  EXPECT_EQ(keys, (QStringList{"KeyLink", "RemoteUnitKey", "locId", "primaryLocId"}));
  const MDRData* row = seekText(rows, 0, key("P"), module->moduleCodec);
  EXPECT_EQ(fieldText(rows, row, "ClassName", module->moduleCodec), "Analog");
  EXPECT_EQ(fieldText(rows, row, "MeasurementCategoryKey", module->moduleCodec), "00000000000000000000000000000007");
  EXPECT_EQ(fieldText(rows, row, "RemoteUnitKey", module->moduleCodec), key("КП"));
}

TEST_F(ScriptsTest, FurtherRowsAreAddedWithTheMarkOfNewOnes) {
  serve(kUnits);
  module->GetMeasurementsForRTU(key("КП"), nullptr, false, QString());
  module->GetMeasurementsForRTU(key("Другой"), nullptr, false, QString());
  EXPECT_EQ(MDARecCount(module->measRecords.array), 3);
  const MDRData* row = seekText(module->measRecords, 0, key("S"), module->moduleCodec);
  ASSERT_NE(row, nullptr);
  EXPECT_EQ(MDRGetFlags(row), int(MDX_REC_INSERT));
  EXPECT_EQ(fieldText(module->measRecords, row, "name_", module->moduleCodec), "S");
}

TEST_F(ScriptsTest, AUnitThatIsFetchedTwiceHasItsRowsTwice) {
  serve(kUnits);
  module->GetMeasurementsForRTU(key("КП"), nullptr, false, QString());
  module->GetMeasurementsForRTU(key("КП"), nullptr, false, QString());
  EXPECT_EQ(MDARecCount(module->measRecords.array), 4);
}

TEST_F(ScriptsTest, OneRowIsLeftOutRespectingCase) {
  serve(kUnits);
  module->GetMeasurementsForRTU(key("Другой"), nullptr, false, QString());
  module->GetMeasurementsForRTU(key("КП"), nullptr, true, key("Q"));
  EXPECT_EQ(MDARecCount(module->measRecords.array), 2);
  module->GetMeasurementsForRTU(key("КП"), nullptr, true, key("Q").toLower());
  EXPECT_EQ(MDARecCount(module->measRecords.array), 4);
  module->GetMeasurementsForRTU(key("КП"), nullptr, false, key("Q"));  // not asked to filter
  EXPECT_EQ(MDARecCount(module->measRecords.array), 6);
  module->GetMeasurementsForRTU(key("КП"), nullptr, true, QString());
  EXPECT_EQ(MDARecCount(module->measRecords.array), 8);
}

TEST_F(ScriptsTest, AListTakesKeysAndClassesAndLeavesTheRows) {
  serve(kUnits);
  QStringList keys{"было"};
  module->GetMeasurementsForRTU(key("КП"), &keys, false, QString());
  EXPECT_EQ(keys, (QStringList{"было", key("P") + ",Analog", key("Q") + ",Discrete"}));
  EXPECT_EQ(MDARecCount(module->measRecords.array), 0);
}

TEST_F(ScriptsTest, RowsWithoutAUnitComeInBothKindsTheEmptyTextsFirst) {
  serve("analog 1 Никакой\nanalog 2 Пустой\nunit КП\n  analog 3 Свой");
  emptyOnServer("Measurement", "Пустой", "RemoteUnitKey");
  module->GetMeasurementsForEmptyRTU();
  ASSERT_EQ(MDARecCount(module->measRecords.array), 2);
  EXPECT_EQ(MDAKeyCount(module->measRecords.array), 4);
  module->GetMeasurementsForEmptyRTU();
  EXPECT_EQ(MDARecCount(module->measRecords.array), 4);
}

TEST_F(ScriptsTest, RowsWithoutAUnitComeWhereAllAreNull) {
  serve("analog 1 Никакой\nunit КП\n  analog 3 Свой");
  module->GetMeasurementsForEmptyRTU();
  EXPECT_EQ(MDARecCount(module->measRecords.array), 1);
}

TEST_F(ScriptsTest, FreeNumbersFromAGivenOneAreAppended) {
  serve("unit КП\n  analog 11 a\n  analog 12 b");
  QList<int> numbers{5};
  module->GetCountFreeLocIdFromGiven(numbers, 3, 10);
  EXPECT_EQ(numbers, (QList<int>{5, 10, 13, 14}));
  QList<int> none;
  module->GetCountFreeLocIdFromGiven(none, 3, 100);  // above every number
  EXPECT_TRUE(none.isEmpty());
}

TEST_F(ScriptsTest, NumbersOfARangeAreFreeOrNamed) {
  serve("unit КП\n  analog 12 Занято\n  analog 30 Дальше");
  QStringList busy;
  module->GetCountFreeLocIdAtRange(busy, 3, 10, 20, 2);
  EXPECT_EQ(busy, QStringList{"12, Занято"});
  EXPECT_EQ(module->freeLocIds, (QList<int>{10, 14}));
}

TEST_F(ScriptsTest, BehindTheLastNumberOneMoreThanNeededIsFree) {
  serve("unit КП\n  analog 1 a");
  QStringList busy;
  module->GetCountFreeLocIdAtRange(busy, 3, 10, 100, 2);
  EXPECT_TRUE(busy.isEmpty());
  EXPECT_EQ(module->freeLocIds, (QList<int>{10, 12, 14, 16}));
}

TEST_F(ScriptsTest, NoTwoCallsShareTheirText) {
  serve(kUnits);
  int locId = 0;
  app->log.clear();
  module->GetFreeLocId(locId);
  module->GetFreeLocId(locId);
  EXPECT_EQ(app->log, (QStringList{"CalcExec f*()", "CalcExec f*()"}));
}

TEST_F(ScriptsTest, OnlyTheTwoFetchesWaitForALimitedTime) {
  serve(kUnits);
  module.reset();
  app->recordWaits = true;
  module = std::make_unique<CTlmMeasConfig>(app.get());
  const auto wait = [&](const std::function<void()>& call) {
    app->log.clear();
    call();
    return app->log.filter("WaitResult").join(' ');
  };
  int number = 0;
  bool flag = false;
  QList<int> numbers;
  QStringList texts;
  EXPECT_EQ(wait([&] { module->GetFreeLocId(number); }), "WaitResult -1");
  EXPECT_EQ(wait([&] { module->LocIdIsBusy(1, flag); }), "WaitResult -1");
  EXPECT_EQ(wait([&] { module->IsValueAtMeasurementsOfRTU("a", "b", flag); }), "WaitResult -1");
  EXPECT_EQ(wait([&] { module->GetCountFreeLocIdFromGiven(numbers, 1, 1); }), "WaitResult -1");
  EXPECT_EQ(wait([&] { module->GetCountFreeLocIdAtRange(texts, 1, 1, 2, 1); }), "WaitResult -1");
  EXPECT_EQ(wait([&] { module->GetMeasurementsForRTU("a", nullptr, false, ""); }), "WaitResult 5000");
  EXPECT_EQ(wait([&] { module->GetMeasurementsForEmptyRTU(); }), "WaitResult 5000");
}

TEST_F(ScriptsTest, ACallThatFailsChangesNothing) {
  serve(kUnits);
  module->GetMeasurementsForRTU(key("Другой"), nullptr, false, QString());
  for (const Fail fail :
       {Fail::kRefuseToSend, Fail::kTimeOut, Fail::kNoReply, Fail::kStatus, Fail::kEmptyPayload, Fail::kEmptyText}) {
    app->failures.clear();
    app->failures.add("CalcExec", fail);
    int locId = 77;
    module->GetFreeLocId(locId);
    EXPECT_EQ(locId, 77);
    bool busy = true;
    module->LocIdIsBusy(1, busy);
    EXPECT_FALSE(busy);
    bool found = true;
    module->IsValueAtMeasurementsOfRTU(key("КП"), "нет такого", found);
    EXPECT_TRUE(found);
    QStringList texts{"было"};
    module->GetMeasurementsForRTU(key("КП"), &texts, false, QString());
    module->GetMeasurementsForRTU(key("КП"), nullptr, false, QString());
    module->GetMeasurementsForEmptyRTU();
    module->GetCountFreeLocIdAtRange(texts, 1, 1, 9, 1);
    EXPECT_EQ(texts, QStringList{"было"});
    QList<int> numbers{1};
    module->GetCountFreeLocIdFromGiven(numbers, 2, 1);
    EXPECT_EQ(numbers, QList<int>{1});
    EXPECT_TRUE(module->freeLocIds.isEmpty());
    EXPECT_EQ(MDARecCount(module->measRecords.array), 1);
  }
}

// ---- where a drag may go (asked by the model, answered by the module) -----------------------------------

TEST_F(ScriptsTest, ADragMarksTheRowsThatTakeIt) {
  load(kUnits);
  expand("КП");
  const auto takes = [&](const QModelIndex& index) {
    return bool(module->treeModel->flags(index) & Qt::ItemIsDropEnabled);
  };
  EXPECT_FALSE(takes(row("КП")));
  EXPECT_FALSE(takes(QModelIndex()));
  module->dragTableName = "Analog";
  EXPECT_TRUE(takes(row("КП")));
  EXPECT_TRUE(takes(row("Аналоговые измерения")));
  EXPECT_FALSE(takes(row("Дискретные сигналы")));
  EXPECT_FALSE(takes(QModelIndex()));
  EXPECT_TRUE(takes(row("P")));
  node("P")->isAggregated = true;
  EXPECT_FALSE(takes(row("P")));
  module->dragTableName = "RemoteUnit";
  EXPECT_EQ(module->treeModel->flags(QModelIndex()), Qt::ItemIsDropEnabled);
}

}  // namespace
}  // namespace tlm::test
