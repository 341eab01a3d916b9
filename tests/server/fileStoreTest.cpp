// The core on a store in a file: what was answered is there after the server has gone and come again.
#include <TlmServer/SqliteStore.h>

#include "fixture.h"

#include <filesystem>

namespace tlm::server::test {
namespace {

class FileStoreTest : public ::testing::Test {
 protected:
  FileStoreTest() {
    folder_ = (std::filesystem::temp_directory_path() / "tlm_core_XXXXXX").string();
    EXPECT_TRUE(mkdtemp(folder_.data()));
    std::string error;
    auto store = createSqliteStore(path(), Catalogue::builtIn(), &error);
    open(std::move(store), error);
  }
  ~FileStoreTest() override {
    core.reset();
    std::filesystem::remove_all(folder_);
  }

  void restart() {
    core.reset();
    std::string error;
    auto store = openSqliteStore(path(), Catalogue::builtIn(), &error);
    open(std::move(store), error);
  }

  int32_t status(std::vector<wire::Request> requests, const std::string& identity = {}) const {
    return core->execute(wire::Block{identity, std::move(requests)}, {"tester"}).whole.status;
  }

  Row object(const std::string& name) const {
    const wire::Request request{wire::RequestKind::kPacket, "RecByKeyLink", key(name)};
    const wire::Reply reply = core->execute(request, {"tester"});
    return reply.status == wire::kOk ? tableOf(reply).rows.at(0) : Row{};
  }

  static std::vector<wire::Request> analog(const std::string& name, int locId) {
    return {Update("IdentifiedObject")
                .insert(key(name), {{"ClassName", "Analog"}, {"name_", ru("Т-1 P")}, {"created", 45000.25}}),
            Update("Measurement").insert(key(name), {{"locId", number(locId)}, {"work_", true}, {"RemoteUnitKey", ""}}),
            Update("Analog").insert(key(name), {{"scale_", 0.5}, {"decimals", number(2)}})};
  }

  std::unique_ptr<Core> core;

 private:
  std::string path() const { return folder_ + "/model.tlm"; }
  void open(std::unique_ptr<Store> store, const std::string& error) {
    ASSERT_TRUE(store) << error;
    std::string why;
    core = Core::open(std::move(store), {}, &why);
    ASSERT_TRUE(core) << why;
  }

  std::string folder_;
};

TEST_F(FileStoreTest, EveryKindOfValueIsThereAfterARestart) {
  ASSERT_EQ(status(analog("A1", 1001)), wire::kOk);
  const Row before = object("A1");
  restart();
  EXPECT_EQ(object("A1"), before);
  EXPECT_EQ(before.at("name_"), ru("Т-1 P"));
  EXPECT_EQ(before.at("RemoteUnitKey"), "");
  EXPECT_EQ(before.at("created"), "45000.25");
}

TEST_F(FileStoreTest, UpdatesAndDeletesAreThereAfterARestart) {
  ASSERT_EQ(status(analog("A1", 1001)), wire::kOk);
  ASSERT_EQ(status(analog("A2", 1002)), wire::kOk);
  ASSERT_EQ(status({Update("Analog").update(key("A1"), {{"scale_", Null{}}})}), wire::kOk);
  ASSERT_EQ(status({Update("IdentifiedObject").remove(key("A2")), Update("Measurement").remove(key("A2")),
                    Update("Analog").remove(key("A2"))}),
            wire::kOk);
  restart();
  EXPECT_EQ(object("A1").at("scale_"), "-");
  EXPECT_EQ(object("A1").at("decimals"), "2");
  EXPECT_TRUE(object("A2").empty());
}

TEST_F(FileStoreTest, ARefusedBlockLeavesNothingInTheFile) {
  ASSERT_EQ(status(analog("A1", 1001)), wire::kOk);
  auto requests = analog("A2", 1001);
  EXPECT_EQ(status(requests), wire::kRefused);
  restart();
  EXPECT_TRUE(object("A2").empty());
}

TEST_F(FileStoreTest, EventsAreReadFromTheFileAfterARestart) {
  ASSERT_EQ(status(analog("A1", 1001)), wire::kOk);
  const int64_t before = core->lastSequence();
  ASSERT_EQ(status({Update("Measurement").update(key("A1"), {{"work_", false}})}), wire::kOk);
  restart();
  Recorder recorder;
  EXPECT_TRUE(core->subscribe(&recorder, {601, 602, 603}, before));
  EXPECT_EQ(recorder.story(), "602 Measurement A1");
  EXPECT_TRUE(imageField(imageOf(recorder.events.at(0)), "work_")->marked);
  EXPECT_FALSE(imageField(imageOf(recorder.events.at(0)), "locId")->marked);
  core->unsubscribe(&recorder);
}

TEST_F(FileStoreTest, ABlockIsKnownAgainAfterARestart) {
  const std::string identity = key("block");
  ASSERT_EQ(status(analog("A1", 1001), identity), wire::kOk);
  const int64_t before = core->lastSequence();
  restart();
  EXPECT_EQ(status(analog("A1", 1001), identity), wire::kOk);
  EXPECT_EQ(core->lastSequence(), before);
}

TEST_F(FileStoreTest, TheIdentityOfTheStoreStays) {
  const std::string before = core->identity();
  EXPECT_EQ(before.size(), kKeyLength);
  restart();
  EXPECT_EQ(core->identity(), before);
}

}  // namespace
}  // namespace tlm::server::test
