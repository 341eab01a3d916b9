#include "fixture.h"

#include <TlmServer/CodePage.h>

#include <limits>

namespace tlm::server::test {
namespace {

class ChangeSetTest : public ServerTest {
 protected:
  // A refused block must leave tables, log and store as they were.
  void expectRefused(std::vector<wire::Request> requests, int32_t wanted, const std::string& why) {
    Recorder recorder;
    core->subscribe(&recorder, {601, 602, 603}, -1);
    const int64_t before = core->lastSequence();
    const wire::BlockReply reply = block(std::move(requests));
    core->unsubscribe(&recorder);
    EXPECT_EQ(reply.whole.status, wanted);
    EXPECT_NE(fromCodePage(reply.whole.payload.value_or("")).find(why), std::string::npos)
        << fromCodePage(reply.whole.payload.value_or(""));
    EXPECT_TRUE(reply.each.empty());
    EXPECT_TRUE(recorder.events.empty());
    EXPECT_EQ(core->lastSequence(), before);
  }
};

TEST_F(ChangeSetTest, InsertPutsARowIntoEachTableOfTheChain) {
  EXPECT_EQ(status(newMeasurement("A2", "Analog", 2001)), wire::kOk);
  EXPECT_EQ(field("IdentifiedObject", key("A2"), "name_"), "name A2");
  EXPECT_EQ(field("Measurement", key("A2"), "locId"), "2001");
  EXPECT_TRUE(has("Analog", key("A2")));
}

TEST_F(ChangeSetTest, UpdateWritesMarkedFieldsOnly) {
  EXPECT_EQ(status({Update("IdentifiedObject").update(key("A1"), {{"name_", "renamed"}}, {{"ClassName", "nonsense"}})}),
            wire::kOk);
  EXPECT_EQ(field("IdentifiedObject", key("A1"), "name_"), "renamed");
  EXPECT_EQ(field("IdentifiedObject", key("A1"), "ClassName"), "Analog");
}

TEST_F(ChangeSetTest, UpdateWritesAMarkedNull) {
  EXPECT_EQ(status({Update("Measurement").update(key("A1"), {{"UnitKey", Null{}}})}), wire::kOk);
  EXPECT_EQ(field("Measurement", key("A1"), "UnitKey"), "-");
}

TEST_F(ChangeSetTest, DeleteTakesAllRowsOfAnObject) {
  EXPECT_EQ(status({Update("IdentifiedObject").remove(key("A1")), Update("Measurement").remove(key("A1")),
                    Update("Analog").remove(key("A1"))}),
            wire::kOk);
  EXPECT_FALSE(has("IdentifiedObject", key("A1")));
  EXPECT_FALSE(has("Measurement", key("A1")));
  EXPECT_FALSE(has("Analog", key("A1")));
}

TEST_F(ChangeSetTest, ABlockThatFailsAtItsEndWritesNothingOfItsBeginning) {
  expectRefused({Update("IdentifiedObject").update(key("A1"), {{"name_", "renamed"}}),
                 Update("Measurement").update(key("absent"), {{"work_", false}})},
                wire::kRefused, "такой записи нет");
  EXPECT_EQ(field("IdentifiedObject", key("A1"), "name_"), "name A1");
}

TEST_F(ChangeSetTest, AnUnknownTableIsRefused) {
  expectRefused({Update("Nothing").addField("KeyLink", MDX_TEXT, 32).insert(key("X"))}, wire::kUnknownTable, "Nothing");
}

TEST_F(ChangeSetTest, TheCaseOfATableNameCounts) {
  wire::Request request = Update("Archives").insert(key("X"));
  request.name = "archives";
  expectRefused({request}, wire::kUnknownTable, "archives");
}

TEST_F(ChangeSetTest, AnUnknownFieldIsRefused) {
  expectRefused({Update("Archives").addField("colour", MDX_MEMO).insert(key("X"), {{"colour", "red"}})},
                wire::kUnknownField, "colour");
}

TEST_F(ChangeSetTest, FieldNamesAreMatchedWithoutRegardToCase) {
  wire::Request request = Update("x")
                              .addField("keylink", MDX_TEXT, 32)
                              .addField("NAME_", MDX_MEMO)
                              .insert(key("X"), {{"NAME_", "archive"}});
  request.name = "Archives";
  EXPECT_EQ(status({request}), wire::kOk);
  EXPECT_EQ(field("Archives", key("X"), "name_"), "archive");
}

TEST_F(ChangeSetTest, ATextForANumberIsRefused) {
  wire::Request request =
      Update("x").addField("KeyLink", MDX_TEXT, 32).addField("type_", MDX_MEMO).insert(key("X"), {{"type_", "1"}});
  request.name = "Archives";
  expectRefused({request}, wire::kRefused, "тип поля не подходит");
}

TEST_F(ChangeSetTest, ANumberThatDoesNotFitItsFieldIsRefused) {
  wire::Request request = Update("x")
                              .addField("KeyLink", MDX_TEXT, 32)
                              .addField("type_", MDX_INT64)
                              .insert(key("X"), {{"type_", number(int64_t{1} << 40)}});
  request.name = "Archives";
  expectRefused({request}, wire::kRefused, "не подходит по типу");
}

TEST_F(ChangeSetTest, AnIntegerOfAnotherWidthIsTaken) {
  wire::Request request = Update("x")
                              .addField("KeyLink", MDX_TEXT, 32)
                              .addField("type_", MDX_INT64)
                              .insert(key("X"), {{"type_", number(4)}});
  request.name = "Archives";
  EXPECT_EQ(status({request}), wire::kOk);
  EXPECT_EQ(field("Archives", key("X"), "type_"), "4");
}

TEST_F(ChangeSetTest, ATextLongerThanItsFieldIsRefused) {
  wire::Request request = Update("x")
                              .addField("KeyLink", MDX_TEXT, 32)
                              .addField("ParentKey", MDX_MEMO)
                              .insert(key("X"), {{"ParentKey", std::string(33, 'a')}});
  request.name = "RemoteUnitFolder";
  expectRefused({request}, wire::kRefused, "текст длиннее поля");
}

TEST_F(ChangeSetTest, ATextOverTheLimitOfTheCatalogueIsRefused) {
  const auto renamed = [&](size_t length) {
    return Update("IdentifiedObject").update(key("A1"), {{"name_", std::string(length, 'a')}});
  };
  expectRefused({renamed(201)}, wire::kRefused, "name_: текст длиннее 200 символов");
  EXPECT_EQ(status({renamed(200)}), wire::kOk);
}

TEST_F(ChangeSetTest, AValueThatIsNoNumberIsRefused) {
  expectRefused({Update("Analog").update(key("A1"), {{"scale_", std::numeric_limits<double>::infinity()}})},
                wire::kRefused, "не число");
}

TEST_F(ChangeSetTest, AKeyShorterThan32CharactersIsRefused) {
  expectRefused({Update("Archives").insert("short")}, wire::kRefused, "32 символов");
}

TEST_F(ChangeSetTest, AKeyWithACommaIsRefused) {
  expectRefused({Update("Archives").insert("a,b" + std::string(29, '0'))}, wire::kRefused, "32 символов");
}

TEST_F(ChangeSetTest, ARecordWithoutAKindOfChangeIsRefused) {
  expectRefused({Update("Archives").record(key("X"), MDX_REC_NONE, {}, true)}, wire::kRefused, "вид изменения");
}

TEST_F(ChangeSetTest, InsertOfAKeyThatExistsIsRefused) {
  expectRefused({Update("RemoteUnitFolder").insert(key("Root"))}, wire::kRefused, "уже есть");
}

TEST_F(ChangeSetTest, InsertOfAKeyTwiceInABlockIsRefused) {
  expectRefused({Update("Archives").insert(key("X")), Update("Archives").insert(key("X"))}, wire::kRefused, "уже есть");
  EXPECT_FALSE(has("Archives", key("X")));
}

TEST_F(ChangeSetTest, InsertAfterDeleteInOneBlockIsTaken) {
  EXPECT_EQ(status({Update("RemoteUnitFolder").remove(key("Sub")),
                    Update("RemoteUnitFolder").insert(key("Sub"), {{"caption", "again"}})}),
            wire::kOk);
  EXPECT_EQ(field("RemoteUnitFolder", key("Sub"), "caption"), "again");
}

TEST_F(ChangeSetTest, UpdateOfAnAbsentRowIsRefused) {
  expectRefused({Update("RemoteUnitFolder").update(key("X"), {{"caption", "a"}})}, wire::kRefused, "такой записи нет");
}

TEST_F(ChangeSetTest, ANewMeasurementWithoutANumberIsRefused) {
  auto requests = newMeasurement("A2", "Analog", 2001);
  requests[1] = Update("Measurement").insert(key("A2"), {{"work_", true}});
  expectRefused(requests, wire::kRefused, "не может быть равен 0");
}

TEST_F(ChangeSetTest, ANewMeasurementWithTheNumberZeroIsRefused) {
  expectRefused(newMeasurement("A2", "Analog", 0), wire::kRefused, "не может быть равен 0");
}

TEST_F(ChangeSetTest, ANumberThatIsTakenIsRefused) {
  expectRefused(newMeasurement("A2", "Analog", 1002), wire::kRefused, "номер 1002 уже занят");
}

TEST_F(ChangeSetTest, ANumberThatTwoNewMeasurementsShareIsRefused) {
  auto requests = newMeasurement("A2", "Analog", 2001);
  for (const auto& request : newMeasurement("A3", "Analog", 2001)) requests.push_back(request);
  expectRefused(requests, wire::kRefused, "номер 2001 уже занят");
}

TEST_F(ChangeSetTest, ANumberBeyond32BitsIsRefused) {
  expectRefused({Update("Measurement").update(key("A1"), {{"locId", number(int64_t{1} << 32)}})}, wire::kRefused,
                "слишком велик");
}

TEST_F(ChangeSetTest, AnUpdateToANullNumberIsRefused) {
  expectRefused({Update("Measurement").update(key("A1"), {{"locId", Null{}}})}, wire::kRefused, "равен 0");
}

TEST_F(ChangeSetTest, TwoMeasurementsMayExchangeTheirNumbersInABlock) {
  EXPECT_EQ(status({Update("Measurement")
                        .update(key("A1"), {{"locId", number(1002)}})
                        .update(key("D1"), {{"locId", number(1001)}})}),
            wire::kOk);
  EXPECT_EQ(field("Measurement", key("A1"), "locId"), "1002");
  EXPECT_EQ(field("Measurement", key("D1"), "locId"), "1001");
}

TEST_F(ChangeSetTest, TheNumberOfAMeasurementDeletedInTheBlockMayBeTaken) {
  auto requests = newMeasurement("A2", "Analog", 1001);
  for (const char* table : {"IdentifiedObject", "Measurement", "Analog"})
    requests.push_back(Update(table).remove(key("A1")));
  EXPECT_EQ(status(requests), wire::kOk);
  EXPECT_EQ(field("Measurement", key("A2"), "locId"), "1001");
}

TEST_F(ChangeSetTest, AnObjectWithoutItsClassRowIsRefused) {
  auto requests = newMeasurement("A2", "Analog", 2001);
  requests.pop_back();
  expectRefused(requests, wire::kRefused, "нет записи в этой таблице");
}

TEST_F(ChangeSetTest, AMeasurementWithoutItsObjectRowIsRefused) {
  auto requests = newMeasurement("A2", "Analog", 2001);
  requests.erase(requests.begin());
  expectRefused(requests, wire::kRefused, "не принадлежит объекту");
}

TEST_F(ChangeSetTest, ADeleteThatLeavesARowOfTheChainIsRefused) {
  expectRefused({Update("IdentifiedObject").remove(key("A1")), Update("Measurement").remove(key("A1"))}, wire::kRefused,
                "не принадлежит объекту");
  EXPECT_TRUE(has("IdentifiedObject", key("A1")));
}

TEST_F(ChangeSetTest, ARowInATableOfAnotherClassIsRefused) {
  expectRefused({Update("Discrete").insert(key("A1"))}, wire::kRefused, "не принадлежит объекту");
}

TEST_F(ChangeSetTest, AClassThatDoesNotExistIsRefused) {
  expectRefused({Update("IdentifiedObject").insert(key("X"), {{"ClassName", "Valve"}})}, wire::kRefused,
                "нет класса \"Valve\"");
}

TEST_F(ChangeSetTest, AClassThatOnlyOthersDeriveFromIsRefused) {
  expectRefused({Update("IdentifiedObject").insert(key("X"), {{"ClassName", "Measurement"}}),
                 Update("Measurement").insert(key("X"), {{"locId", number(5)}})},
                wire::kRefused, "нет класса \"Measurement\"");
}

TEST_F(ChangeSetTest, AFolderUnderItselfIsRefused) {
  expectRefused({Update("RemoteUnitFolder").update(key("Root"), {{"ParentKey", key("Root")}})}, wire::kRefused,
                "в самой себе");
}

TEST_F(ChangeSetTest, AFolderUnderItsDescendantIsRefused) {
  expectRefused({Update("RemoteUnitFolder").update(key("Root"), {{"ParentKey", key("Sub")}})}, wire::kRefused,
                "в самой себе");
}

TEST_F(ChangeSetTest, ARingOfFoldersMadeByTwoUpdatesIsRefused) {
  expectRefused({Update("RemoteUnitFolder").insert(key("Other"), {{"ParentKey", key("Sub")}}),
                 Update("RemoteUnitFolder").update(key("Root"), {{"ParentKey", key("Other")}})},
                wire::kRefused, "в самой себе");
}

TEST_F(ChangeSetTest, AFolderMayMoveUnderAFormerDescendantThatLeavesInTheSameBlock) {
  EXPECT_EQ(status({Update("RemoteUnitFolder")
                        .update(key("Root"), {{"ParentKey", key("Sub")}})
                        .update(key("Sub"), {{"ParentKey", Null{}}})}),
            wire::kOk);
}

TEST_F(ChangeSetTest, APlaceThatIsNotThereIsRefused) {
  expectRefused({Update("RemoteUnitFolder").update(key("Sub"), {{"ParentKey", key("absent")}})}, wire::kRefused,
                "папки, в которую она входит, больше нет");
  expectRefused({Update("RemoteUnit").update(key("Unit"), {{"RemoteUnitFolderKey", key("absent")}})}, wire::kRefused,
                "папки, в которую оно входит, больше нет");
  expectRefused({Update("Measurement").update(key("A1"), {{"RemoteUnitKey", key("absent")}})}, wire::kRefused,
                "устройства, в которое оно входит, больше нет");
  expectRefused({Update("RemoteUnitFolder").insert(key("Other"), {{"ParentKey", key("absent")}})}, wire::kRefused,
                "папки, в которую она входит, больше нет");
}

TEST_F(ChangeSetTest, APlaceThatGoesInTheSameBlockIsRefused) {
  expectRefused({Update("RemoteUnitFolder")
                     .insert(key("Other"), {})
                     .update(key("Root"), {{"ParentKey", key("Other")}})
                     .remove(key("Other"))},
                wire::kRefused, "больше нет");
}

TEST_F(ChangeSetTest, APlaceMayComeInTheSameBlock) {
  EXPECT_EQ(
      status({Update("RemoteUnitFolder").update(key("Root"), {{"ParentKey", key("Other")}}).insert(key("Other"), {})}),
      wire::kOk);
}

// What hung in a folder when it was deleted can still be changed otherwise.
TEST_F(ChangeSetTest, ALinkThatLeadsNowhereAlreadyIsNoReason) {
  ASSERT_EQ(status({Update("RemoteUnitFolder").remove(key("Root"))}), wire::kOk);
  EXPECT_EQ(status({Update("RemoteUnit").update(key("Unit"), {{"RemoteUnitFolderKey", key("Root")}})}), wire::kOk);
}

TEST_F(ChangeSetTest, AnEmptyFolderLinkIsStoredAsNull) {
  EXPECT_EQ(status({Update("RemoteUnitFolder").update(key("Sub"), {{"ParentKey", ""}}),
                    Update("RemoteUnit").update(key("Unit"), {{"RemoteUnitFolderKey", ""}})}),
            wire::kOk);
  EXPECT_EQ(field("RemoteUnitFolder", key("Sub"), "ParentKey"), "-");
  EXPECT_EQ(field("RemoteUnit", key("Unit"), "RemoteUnitFolderKey"), "-");
}

TEST_F(ChangeSetTest, AnEmptyUnitLinkOfAMeasurementStaysEmpty) {
  EXPECT_EQ(status({Update("Measurement").update(key("A1"), {{"RemoteUnitKey", ""}})}), wire::kOk);
  EXPECT_EQ(field("Measurement", key("A1"), "RemoteUnitKey"), "");
}

TEST_F(ChangeSetTest, DeleteOfWhatIsNotThereIsNothing) {
  const int64_t before = core->lastSequence();
  EXPECT_EQ(status({Update("IdentifiedObject").remove(key("absent")), Update("Analog").remove(key("absent"))}),
            wire::kOk);
  EXPECT_EQ(core->lastSequence(), before);
}

TEST_F(ChangeSetTest, TheSameObjectMayBeDeletedTwiceInABlock) {
  std::vector<wire::Request> requests;
  for (const char* table : {"IdentifiedObject", "Measurement", "Analog"})
    requests.push_back(Update(table).remove(key("A1")).remove(key("A1")));
  EXPECT_EQ(status(requests), wire::kOk);
}

TEST_F(ChangeSetTest, UpdateOfAnAbsentCalculationInsertsIt) {
  EXPECT_EQ(status({Update("Calculations").update(key("A1"), {{"fname", "RES1001"}})}), wire::kOk);
  EXPECT_EQ(field("Calculations", key("A1"), "fname"), "RES1001");
}

TEST_F(ChangeSetTest, UpdateWithoutAMarkedFieldWritesAndPublishesNothing) {
  Recorder recorder;
  core->subscribe(&recorder, {601, 602, 603}, -1);
  EXPECT_EQ(status({Update("IdentifiedObject").update(key("A1"), {}, {{"name_", "renamed"}})}), wire::kOk);
  EXPECT_EQ(field("IdentifiedObject", key("A1"), "name_"), "name A1");
  EXPECT_TRUE(recorder.events.empty());
  core->unsubscribe(&recorder);
}

TEST_F(ChangeSetTest, AnEmptyBlockAnswersZero) {
  const wire::BlockReply reply = block({});
  EXPECT_EQ(reply.whole.status, wire::kOk);
  EXPECT_TRUE(reply.each.empty());
}

TEST_F(ChangeSetTest, AnUpdateWithoutRecordsAnswersZero) { EXPECT_EQ(status({Update("Archives")}), wire::kOk); }

TEST_F(ChangeSetTest, TheCatalogueTablesAreReadOnly) {
  expectRefused({Update("Tables").insert(key("X"))}, wire::kRefused, "только для чтения");
}

TEST_F(ChangeSetTest, BytesThatAreNoTableAreMalformed) {
  expectRefused({{wire::RequestKind::kUpdate, "Archives", "not a table"}}, wire::kMalformed, "not a packed table");
}

TEST_F(ChangeSetTest, ASingleUpdateIsABlockOfItsOwn) {
  const wire::Reply reply = core->execute(Update("Archives").insert(key("X")).request(), {"tester"});
  EXPECT_EQ(reply.status, wire::kOk);
  EXPECT_TRUE(has("Archives", key("X")));
}

TEST_F(ChangeSetTest, OtherRequestsOfABlockSeeTheTablesAfterItsUpdates) {
  const wire::BlockReply reply = block({{wire::RequestKind::kPacket, "TableRecords", "Archives"},
                                        Update("Archives").insert(key("X"), {{"name_", "new"}})});
  ASSERT_EQ(reply.each.size(), 2u);
  EXPECT_EQ(tableOf(reply.each[0]).rows.at(0).at("name_"), "new");
  EXPECT_EQ(reply.each[1].status, wire::kOk);
}

TEST_F(ChangeSetTest, ARequestThatFailsInABlockDoesNotFailTheOthers) {
  const wire::BlockReply reply = block({{wire::RequestKind::kPacket, "TableRecords", "Nothing"},
                                        {wire::RequestKind::kPacket, "TableRecords", "Archives"}});
  EXPECT_EQ(reply.whole.status, wire::kOk);
  EXPECT_EQ(reply.each.at(0).status, wire::kUnknownTable);
  EXPECT_EQ(reply.each.at(1).status, wire::kOk);
}

TEST_F(ChangeSetTest, ABlockThatComesAgainIsAnsweredAsBeforeAndNotWrittenAgain) {
  const std::string identity = key("block");
  const std::vector<wire::Request> requests{Update("Archives").insert(key("X"))};
  EXPECT_EQ(block(requests, identity).whole.status, wire::kOk);
  const int64_t before = core->lastSequence();
  const wire::BlockReply again = block(requests, identity);
  EXPECT_EQ(again.whole.status, wire::kOk);
  EXPECT_EQ(again.each.size(), 1u);
  EXPECT_EQ(core->lastSequence(), before);
}

TEST_F(ChangeSetTest, ABlockThatComesAgainAfterARestartIsNotWrittenAgain) {
  const std::vector<wire::Request> requests{Update("Archives").insert(key("X"))};
  EXPECT_EQ(block(requests, key("block")).whole.status, wire::kOk);
  reopen(options);
  EXPECT_EQ(block(requests, key("block")).whole.status, wire::kOk);
  EXPECT_EQ(count("Archives"), 1);
}

TEST_F(ChangeSetTest, ARefusedBlockThatComesAgainIsRefusedAgain) {
  const std::vector<wire::Request> requests{Update("Archives").update(key("X"), {{"name_", "a"}})};
  EXPECT_EQ(block(requests, key("block")).whole.status, wire::kRefused);
  EXPECT_EQ(status({Update("Archives").insert(key("X"))}), wire::kOk);
  EXPECT_EQ(block(requests, key("block")).whole.status, wire::kRefused);
}

TEST_F(ChangeSetTest, AnIdentityOfAnotherLengthIsMalformed) {
  EXPECT_EQ(block({Update("Archives").insert(key("X"))}, "short").whole.status, wire::kMalformed);
  EXPECT_FALSE(has("Archives", key("X")));
}

TEST_F(ChangeSetTest, AStoreThatCannotWriteLeavesTheModelAsItWas) {
  failCommits(*data, "disk full");
  expectRefused({Update("Archives").insert(key("X"))}, wire::kStorage, "disk full");
  EXPECT_FALSE(has("Archives", key("X")));
}

TEST_F(ChangeSetTest, ABlockThatTheStoreFailedMayComeAgain) {
  failCommits(*data, "disk full");
  EXPECT_EQ(block({Update("Archives").insert(key("X"))}, key("block")).whole.status, wire::kStorage);
  failCommits(*data, "");
  EXPECT_EQ(block({Update("Archives").insert(key("X"))}, key("block")).whole.status, wire::kOk);
  EXPECT_TRUE(has("Archives", key("X")));
}

TEST_F(ChangeSetTest, ABlockOverTheLimitOfSizeIsRefused) {
  options.maxRequestBytes = 100;
  reopen(options);
  EXPECT_EQ(status({Update("Archives").insert(key("X"), {{"name_", std::string(200, 'a')}})}), wire::kTooLarge);
  EXPECT_FALSE(has("Archives", key("X")));
}

TEST_F(ChangeSetTest, KeysFollowAnUpdate) {
  EXPECT_EQ(status({Update("Measurement").update(key("A1"), {{"locId", number(7)}})}), wire::kOk);
  EXPECT_EQ(tableOf(packet("RecByKeyLink", "#7")).rows.at(0).at("KeyLink"), key("A1"));
  EXPECT_EQ(packet("RecByKeyLink", "#1001").status, wire::kNotFound);
}

}  // namespace
}  // namespace tlm::server::test
