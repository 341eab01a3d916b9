#include "ModuleFixture.h"
#include "RecordAccess.h"
#include "TextSession.h"

#include <QApplication>
#include <QMessageBox>
#include <QTimer>

#include <cstring>

namespace tlm::test {
namespace {

constexpr const char* kModel = R"(
    table MeasurementArchGroup Часовая {aggregatedData=1}
    unit КП-1 {prefName=1}
      analog 1001 P Т-1
      discrete 1002 Q-110
    unit КП-2 {prefName=0}
)";

constexpr Fail kFailures[] = {Fail::kRefuseToSend, Fail::kTimeOut,      Fail::kNoReply,
                              Fail::kStatus,       Fail::kEmptyPayload, Fail::kEmptyText};

struct RequestsTest : ModuleFixture {
  void SetUp() override { serve(kModel); }
  QTextCodec* codec() const { return module->moduleCodec; }
};

TEST_F(RequestsTest, ATableStructureHasFieldsAndNoRows) {
  CMDArray out;
  EXPECT_TRUE(GetTableStructure(session(), "Measurement", &out));
  EXPECT_GT(MDAFldCount(out.array), 9);
  EXPECT_STREQ(MDAFldName(out.array, 0), "KeyLink");
  EXPECT_EQ(MDARecCount(out.array), 0);
  EXPECT_EQ(app->log.last(), "PacketExec TableStructure Measurement");
  EXPECT_FALSE(GetTableStructure(session(), "NoSuchTable", &out));
  EXPECT_FALSE(GetTableStructure(nullptr, "Measurement", &out));
}

TEST_F(RequestsTest, AnObjectIsReadByItsKey) {
  CMDArray out;
  ASSERT_TRUE(GetRecByKey(session(), keyOf("P Т-1"), &out));
  EXPECT_EQ(MDARecCount(out.array), 1);
  EXPECT_EQ(fieldText(out, MDARec(out.array, 0, 0), "name_", codec()), "P Т-1");
  EXPECT_FALSE(GetRecByKey(session(), "00000000000000000000000000000000", &out));
}

TEST_F(RequestsTest, RecordsAreReadByTheValuesOfAnyKey) {
  CMDArray out;
  const char* table = "Measurement";
  ASSERT_TRUE(GetToolRecByKey1(session(), &table, KEY_MEAS_LOCID, {intVar(1002)}, &out));
  EXPECT_EQ(MDARecCount(out.array), 1);
  EXPECT_EQ(fieldText(out, MDARec(out.array, 0, 0), 0, codec()), key("Q-110"));
  const QByteArray unit = key("КП-1").toLatin1();
  CMDArray ofUnit;
  ASSERT_TRUE(GetToolRecByKey1(session(), &table, KEY_MEAS_RTU, {textVar(unit)}, &ofUnit));
  EXPECT_EQ(MDARecCount(ofUnit.array), 2);
}

TEST_F(RequestsTest, RecordsOfSeveralValuesAreReadByACompositeKey) {
  CMDArray tables, out;
  const char* table = "Tables";
  const QByteArray name("Measurement");
  ASSERT_TRUE(GetToolRecByKey1(session(), &table, 1, {textVar(name)}, &tables));
  MDRVar tableKey{};
  tables.GetVal(MDARec(tables.array, 0, 0), 0, tableKey);
  const char* fields = "Fields";
  const QByteArray field("locId");
  ASSERT_TRUE(GetToolRecByKey1(session(), &fields, 1, {tableKey, textVar(field)}, &out));
  EXPECT_EQ(fieldText(out, MDARec(out.array, 0, 0), "nameLat", codec()), "locId");
}

TEST_F(RequestsTest, NoValuesAskNothing) {
  CMDArray out;
  const char* table = "Measurement";
  const int before = app->log.size();
  EXPECT_FALSE(GetToolRecByKey1(session(), &table, 0, {}, &out));
  EXPECT_EQ(app->log.size(), before);
  EXPECT_FALSE(GetToolRecByKey1(session(), &table, KEY_MEAS_LOCID, {intVar(7)}, &out));
}

TEST_F(RequestsTest, TheLiveValueIsAFreshZeroTerminatedText) {
  char* text = nullptr;
  ASSERT_TRUE(GetValue(session(), key("P Т-1"), text));
  ASSERT_NE(text, nullptr);
  EXPECT_LT(std::strlen(text), 1000u);
  delete[] text;
  EXPECT_TRUE(app->log.last().startsWith("PacketExec ObjectHint "));
}

TEST_F(RequestsTest, ALiveValueThatFailsLeavesTheText) {
  char mark[] = "mark";
  for (const Fail fail : {Fail::kRefuseToSend, Fail::kTimeOut, Fail::kNoReply, Fail::kStatus, Fail::kEmptyPayload}) {
    app->failures.clear();
    app->failures.add("PacketExec ObjectHint", fail);
    char* text = mark;
    EXPECT_FALSE(GetValue(session(), key("P Т-1"), text));
    EXPECT_EQ(text, mark);
  }
  char* text = mark;
  EXPECT_FALSE(GetValue(nullptr, key("P Т-1"), text));
  EXPECT_EQ(text, mark);
}

TEST_F(RequestsTest, PrefixIsTheNameOfAUnitThatWantsIt) {
  EXPECT_EQ(GetPrefix(session(), key("КП-1")), "КП-1");
  EXPECT_EQ(GetPrefix(session(), key("КП-2")), QString());
  EXPECT_EQ(GetPrefix(session(), key("P Т-1")), QString());
  EXPECT_EQ(GetPrefix(session(), "00000000000000000000000000000000"), QString());
  const int before = app->log.size();
  EXPECT_EQ(GetPrefix(session(), QString()), QString());
  EXPECT_EQ(app->log.size(), before);
}

TEST_F(RequestsTest, EveryFailureIsOneFailureToTheCaller) {
  for (const Fail fail : kFailures) {
    app->failures.clear();
    app->failures.add("PacketExec", fail);
    CMDArray out;
    const char* table = "Measurement";
    EXPECT_FALSE(GetTableStructure(session(), "Measurement", &out));
    EXPECT_FALSE(GetRecByKey(session(), keyOf("P Т-1"), &out));
    EXPECT_FALSE(GetToolRecByKey1(session(), &table, KEY_MEAS_LOCID, {intVar(1001)}, &out));
    EXPECT_EQ(GetPrefix(session(), key("КП-1")), QString());
    QStringList groups;
    EXPECT_FALSE(GetSrvGroup(session(), &groups));
    EXPECT_TRUE(groups.isEmpty());
    module->getLiteModel(key("P Т-1"), module->liteModel);
    EXPECT_TRUE(module->liteModel.IsEmpty());
  }
}

TEST_F(RequestsTest, TheModelOfAnObjectIsLoadedAfresh) {
  module->getLiteModel(key("P Т-1"), module->liteModel);
  EXPECT_FALSE(module->liteModel.IsEmpty());
  EXPECT_EQ(app->log.last(), "PacketExec LiteModel obj=" + key("P Т-1"));
  EXPECT_EQ(GetNameByKey(key("P Т-1"), &module->liteModel), "P Т-1");
  module->getLiteModel("00000000000000000000000000000000", module->liteModel);
  EXPECT_TRUE(module->liteModel.IsEmpty());
}

// ---- server groups --------------------------------------------------------------------------------------

QStringList groupsOf(const QString& text, bool* answer = nullptr) {
  TextSession session(text);
  QStringList groups;
  const bool good = GetSrvGroup(&session, &groups);
  EXPECT_EQ(session.request, "SRV_GROUPS_INFO");
  EXPECT_TRUE(session.body.isEmpty());
  EXPECT_EQ(session.open, 0);
  if (answer) *answer = good;
  return groups;
}

TEST(ServerGroups, AreTheCurrentOneAndAllOthers) {
  EXPECT_EQ(groupsOf("[CurSrvGroup]\r\nCurGroup=2\r\n[Groups]\r\nGroup 1=Первая\r\nGroup 2=Вторая\r\n"),
            (QStringList{"0=Текущая группа сервера", "1=Первая", "2=Вторая"}));
}

TEST(ServerGroups, AnAbsentOrZeroCurrentGroupGivesNoEntry) {
  bool good = false;
  EXPECT_EQ(groupsOf("[Groups]\r\nGroup 1=Первая\r\n", &good), QStringList{"1=Первая"});
  EXPECT_TRUE(good);
  EXPECT_EQ(groupsOf("[CurSrvGroup]\r\nCurGroup=0\r\n[Groups]\r\nGroup 1=Первая"), QStringList{"1=Первая"});
  EXPECT_EQ(groupsOf("[CurSrvGroup]\r\nCurGroup 5\r\n[Groups]\r\n"), QStringList());
  EXPECT_EQ(groupsOf("[CurSrvGroup]\r\nCurGroup=5\r\n", &good), QStringList());  // no further section
  EXPECT_TRUE(good);
}

TEST(ServerGroups, ATextWithoutSectionsIsNone) {
  bool good = true;
  EXPECT_EQ(groupsOf("прочее", &good), QStringList());
  EXPECT_FALSE(good);
  EXPECT_FALSE(GetSrvGroup(nullptr, nullptr));
  QStringList groups;
  EXPECT_FALSE(GetSrvGroup(nullptr, &groups));
}

TEST_F(RequestsTest, TheServersOwnGroupsAreRead) {
  serve("table ServerGroups Первая {number=1}\ntable ServerGroups Вторая {number=2;current_=1}");
  QStringList groups;
  EXPECT_TRUE(GetSrvGroup(session(), &groups));
  EXPECT_EQ(groups, (QStringList{"0=Текущая группа сервера", "1=Первая", "2=Вторая"}));
}

// ---- FillCmdArray ---------------------------------------------------------------------------------------

TEST_F(RequestsTest, FillCmdArrayReadsATable) {
  CMDArray out;
  EXPECT_TRUE(module->FillCmdArray(session(), "RemoteUnit,KeyLink,name_", out));
  EXPECT_EQ(MDARecCount(out.array), 2);
  EXPECT_EQ(MDAFldCount(out.array), 2);
}

TEST_F(RequestsTest, FillCmdArrayShowsABoxForAStatus) {
  app->failures.add("PacketExec TableRecords", Fail::kStatus);
  QString shown;
  QTimer answer;
  QObject::connect(&answer, &QTimer::timeout, [&] {
    if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
      shown = box->text();
      box->accept();
    }
  });
  answer.start(1);
  CMDArray out;
  EXPECT_FALSE(module->FillCmdArray(session(), "RemoteUnit", out));
  EXPECT_EQ(shown, "CTlmMeasConfig::FillCmdArray : str");
}

TEST_F(RequestsTest, FillCmdArrayIsQuietWithoutAReply) {
  CMDArray out;
  for (const Fail fail : {Fail::kRefuseToSend, Fail::kTimeOut, Fail::kNoReply}) {
    app->failures.clear();
    app->failures.add("PacketExec TableRecords", fail);
    EXPECT_FALSE(module->FillCmdArray(session(), "RemoteUnit", out));
  }
}

TEST_F(RequestsTest, FillCmdArrayIsContentWithAGoodStatusAlone) {
  CMDArray out;
  app->failures.add("PacketExec TableRecords", Fail::kEmptyPayload);
  EXPECT_TRUE(module->FillCmdArray(session(), "RemoteUnit", out));
  EXPECT_EQ(MDARecCount(out.array), 0);
}

}  // namespace
}  // namespace tlm::test
