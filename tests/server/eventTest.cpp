#include "fixture.h"

namespace tlm::server::test {
namespace {

class EventTest : public ServerTest {
 protected:
  EventTest() { core->subscribe(&recorder, {601, 602, 603}, -1); }
  ~EventTest() override { core->unsubscribe(&recorder); }

  Recorder recorder;
};

// A session that comes back may be told of values before it says after which event it goes on.
TEST_F(EventTest, CatchingUpIsWholeForOneThatListenedToValuesAlone) {
  Recorder late;
  core->subscribeValues(&late, {1001});
  ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"work_", false}})}), wire::kOk);
  ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"work_", true}})}), wire::kOk);
  EXPECT_TRUE(core->subscribe(&late, {602}, 0));
  EXPECT_EQ(late.story(), "602 Measurement A1; 602 Measurement A1");
  core->unsubscribe(&late);
}

TEST_F(EventTest, AnInsertPublishesTheObjectFirstThenItsTables) {
  ASSERT_EQ(status(newMeasurement("A2", "Analog", 2001)), wire::kOk);
  EXPECT_EQ(recorder.story(), "601 IdentifiedObject A2; 601 Measurement A2; 601 Analog A2");
}

TEST_F(EventTest, AnUpdateAndADeleteHaveTheirKinds) {
  ASSERT_EQ(status({Update("RemoteUnitFolder").update(key("Sub"), {{"caption", "x"}}).remove(key("Root"))}), wire::kOk);
  EXPECT_EQ(recorder.story(), "602 RemoteUnitFolder Sub; 603 RemoteUnitFolder Root");
}

TEST_F(EventTest, TheParameterTextNamesTheTableBehindFourCharactersAndBeforeAComma) {
  ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"work_", false}})}), wire::kOk);
  EXPECT_EQ(recorder.events.at(0).param.substr(0, 16), "tbl=Measurement,");
}

TEST_F(EventTest, AnEventTellsKeyTimeAndWriter) {
  ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"work_", false}})}), wire::kOk);
  const wire::Event& event = recorder.events.at(0);
  EXPECT_EQ(event.key, key("A1"));
  EXPECT_EQ(event.time, kNow);
  EXPECT_EQ(event.user, "tester");
  EXPECT_EQ(event.sequence, core->lastSequence());
}

TEST_F(EventTest, TheImageOfAnUpdateIsTheWholeTableWithMarksOnWhatWasCarried) {
  ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"work_", false}, {"comment", ru("пример")}})}),
            wire::kOk);
  const auto image = imageOf(recorder.events.at(0));
  const TableDef& def = *Catalogue::builtIn().table("Measurement");
  ASSERT_EQ(image.size(), def.fields.size());
  for (size_t i = 0; i < image.size(); ++i) {
    EXPECT_EQ(image[i].name, def.fields[i].name);
    EXPECT_EQ(image[i].marked, image[i].name == "work_" || image[i].name == "comment") << image[i].name;
  }
  EXPECT_EQ(imageField(image, "locId")->text, "1001");
  EXPECT_EQ(imageField(image, "work_")->text, "false");
  EXPECT_EQ(imageField(image, "comment")->text, ru("пример"));
}

TEST_F(EventTest, ACarriedNullIsMarkedInTheImage) {
  ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"UnitKey", Null{}}})}), wire::kOk);
  const auto image = imageOf(recorder.events.at(0));
  EXPECT_EQ(imageField(image, "UnitKey")->text, "-");
  EXPECT_TRUE(imageField(image, "UnitKey")->marked);
}

TEST_F(EventTest, AnEmptyFolderLinkIsPublishedAsNull) {
  ASSERT_EQ(status({Update("RemoteUnitFolder").update(key("Sub"), {{"ParentKey", ""}})}), wire::kOk);
  const auto image = imageOf(recorder.events.at(0));
  EXPECT_EQ(imageField(image, "ParentKey")->text, "-");
  EXPECT_TRUE(imageField(image, "ParentKey")->marked);
}

TEST_F(EventTest, TheImageOfAnInsertCarriesEveryField) {
  ASSERT_EQ(status({Update("RemoteUnitFolder").insert(key("New"), {{"caption", "x"}})}), wire::kOk);
  const auto image = imageOf(recorder.events.at(0));
  for (const ImageField& field : image) EXPECT_TRUE(field.marked) << field.name;
  EXPECT_EQ(imageField(image, "KeyLink")->text, key("New"));
  EXPECT_EQ(imageField(image, "caption")->text, "x");
}

TEST_F(EventTest, ADeleteHasNoImage) {
  ASSERT_EQ(status({Update("RemoteUnitFolder").remove(key("Sub"))}), wire::kOk);
  EXPECT_FALSE(recorder.events.at(0).image);
}

TEST_F(EventTest, AnUpdateThatInsertsACalculationIsPublishedAsAdded) {
  ASSERT_EQ(status({Update("Calculations").update(key("A1"), {{"fname", "RES1001"}})}), wire::kOk);
  EXPECT_EQ(recorder.story(), "601 Calculations A1");
}

TEST_F(EventTest, NumbersRiseByOneInTheOrderOfTheBlock) {
  const int64_t before = core->lastSequence();
  ASSERT_EQ(status(newMeasurement("A2", "Analog", 2001)), wire::kOk);
  for (size_t i = 0; i < recorder.events.size(); ++i)
    EXPECT_EQ(recorder.events[i].sequence, before + 1 + static_cast<int64_t>(i));
  EXPECT_EQ(core->lastSequence(), before + 3);
}

TEST_F(EventTest, NumbersGoOnAfterARestart) {
  const int64_t before = core->lastSequence();
  reopen(options);
  EXPECT_EQ(core->lastSequence(), before);
  ASSERT_EQ(status({Update("RemoteUnitFolder").remove(key("Sub"))}), wire::kOk);
  EXPECT_EQ(core->lastSequence(), before + 1);
}

TEST_F(EventTest, TheTablesShowAChangeWhenItIsPublished) {
  class Looker : public Subscriber {
   public:
    void onEvent(const wire::Event& event) override { last = event.sequence; }
    void onValue(const wire::ParamValue&) override {}
    int64_t last = 0;
  } looker;
  core->subscribe(&looker, {602}, -1);
  ASSERT_EQ(status({Update("RemoteUnitFolder").update(key("Sub"), {{"caption", "x"}})}), wire::kOk);
  EXPECT_EQ(looker.last, core->lastSequence());
  EXPECT_EQ(field("RemoteUnitFolder", key("Sub"), "caption"), "x");
  core->unsubscribe(&looker);
}

TEST_F(EventTest, ASubscriberHearsOnlyTheKindsItAskedFor) {
  core->subscribe(&recorder, {603}, -1);
  ASSERT_EQ(status({Update("RemoteUnitFolder").update(key("Root"), {{"caption", "x"}}).remove(key("Sub"))}), wire::kOk);
  EXPECT_EQ(recorder.story(), "603 RemoteUnitFolder Sub");
}

TEST_F(EventTest, ALateSubscriberCatchesUpFromANumber) {
  const int64_t before = core->lastSequence();
  ASSERT_EQ(status({Update("RemoteUnitFolder").update(key("Sub"), {{"caption", "x"}})}), wire::kOk);
  ASSERT_EQ(status({Update("RemoteUnitFolder").remove(key("Sub"))}), wire::kOk);
  Recorder late;
  EXPECT_TRUE(core->subscribe(&late, {601, 602, 603}, before));
  EXPECT_EQ(late.story(), "602 RemoteUnitFolder Sub; 603 RemoteUnitFolder Sub");
  EXPECT_EQ(late.events.at(0).image, recorder.events.at(0).image);
  core->unsubscribe(&late);
}

TEST_F(EventTest, ACatchUpWorksAfterARestart) {
  const int64_t before = core->lastSequence();
  ASSERT_EQ(status({Update("RemoteUnitFolder").remove(key("Sub"))}), wire::kOk);
  reopen(options);
  Recorder late;
  EXPECT_TRUE(core->subscribe(&late, {603}, before));
  EXPECT_EQ(late.story(), "603 RemoteUnitFolder Sub");
  core->unsubscribe(&late);
}

TEST_F(EventTest, ASecondSubscriptionDeliversNothingTwice) {
  ASSERT_EQ(status({Update("RemoteUnitFolder").remove(key("Sub"))}), wire::kOk);
  EXPECT_TRUE(core->subscribe(&recorder, {601, 602, 603, 902}, 0));
  EXPECT_EQ(recorder.events.size(), 1u);
}

TEST_F(EventTest, ANumberThatWasNeverGivenIsRefused) {
  Recorder late;
  EXPECT_FALSE(core->subscribe(&late, {603}, core->lastSequence() + 1));
  ASSERT_EQ(status({Update("RemoteUnitFolder").remove(key("Sub"))}), wire::kOk);
  EXPECT_TRUE(late.events.empty());
}

TEST_F(EventTest, EventsThatWereForgottenAreRefused) {
  options.keptEvents = 10;
  reopen(options);
  for (int i = 0; i < 5000; ++i)
    ASSERT_EQ(status({Update("RemoteUnitFolder").update(key("Sub"), {{"orderNo", number(i)}})}), wire::kOk);
  Recorder late;
  EXPECT_FALSE(core->subscribe(&late, {602}, 0));
  EXPECT_TRUE(core->subscribe(&late, {602}, core->lastSequence() - 1));
  EXPECT_EQ(late.events.size(), 1u);
  core->unsubscribe(&late);
}

TEST_F(EventTest, NothingComesAfterUnsubscribing) {
  core->unsubscribe(&recorder);
  ASSERT_EQ(status({Update("RemoteUnitFolder").remove(key("Sub"))}), wire::kOk);
  EXPECT_TRUE(recorder.events.empty());
}

TEST_F(EventTest, AReceiptIsPublishedWithoutANumberAndNotKept) {
  const int64_t before = core->lastSequence();
  core->subscribe(&recorder, {903}, -1);
  core->publish({0, 903, 0, key("D1"), "id=1002,cm=1", "tester", std::nullopt});
  ASSERT_EQ(recorder.events.size(), 1u);
  EXPECT_EQ(recorder.events[0].sequence, 0);
  EXPECT_EQ(recorder.events[0].time, kNow);
  EXPECT_EQ(core->lastSequence(), before);
}

}  // namespace
}  // namespace tlm::server::test
