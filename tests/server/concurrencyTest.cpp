// Readers, committers, values and subscribers at once; meant for the thread sanitizer.
#include "fixture.h"

#include <TlmServer/Simulator.h>

#include <atomic>
#include <thread>

namespace tlm::server::test {
namespace {

constexpr int kCommits = 60;
constexpr int kWriters = 2;

class ConcurrencyTest : public ServerTest {
 protected:
  // Adds and renames measurements of its own numbers.
  void write(int writer) {
    for (int i = 0; i < kCommits; ++i) {
      const std::string name = "W" + std::to_string(writer) + "x" + std::to_string(i) + "e";
      if (status(newMeasurement(name, "Analog", 10'000 * (writer + 1) + i)) != wire::kOk) ++failures;
      if (status({Update("IdentifiedObject").update(key(name), {{"name_", "renamed"}})}) != wire::kOk) ++failures;
    }
    --writing;
  }

  // An object that is found must be whole: all tables of its chain, one name or the other.
  void readOn() {
    while (writing > 0) {
      for (int i = 0; i < kCommits; i += 7) {
        const std::string name = "W0x" + std::to_string(i) + "e";
        const wire::Reply reply = packet("RecByKeyLink", key(name));
        if (reply.status == wire::kNotFound) continue;
        const CMDArray array;
        if (MDXArrayUnPackN(array.array, reply.payload->data(), reply.payload->size(), 1) != 0) ++failures;
        const Table table = tableOf(array.array);
        if (table.rows.size() != 1 || table.rows[0].count("scale_") == 0) ++failures;
        const std::string& seen = table.rows.at(0).at("name_");
        if (seen != "renamed" && seen != "name " + name) ++failures;
      }
      packet("TableRecords", "Analog,KeyLink,locId,name_");
      packet("LiteModel", "obj=" + key("A1"));
      packet("ObjectHint", key("A1"));
    }
  }

  std::atomic<int> writing{kWriters};
  std::atomic<int> failures{0};
};

TEST_F(ConcurrencyTest, ReadersSeeWholeObjectsWhileOthersCommit) {
  Recorder recorder;
  const int64_t before = core->lastSequence();
  core->subscribe(&recorder, {601, 602, 603}, -1);
  core->subscribeValues(&recorder, {1001});
  std::vector<std::thread> threads;
  for (int w = 0; w < kWriters; ++w) threads.emplace_back([this, w] { write(w); });
  threads.emplace_back([this] { readOn(); });
  threads.emplace_back([this] { readOn(); });
  threads.emplace_back([this] {
    Simulator simulator(*core, 1);
    for (int i = 0; writing > 0; ++i) simulator.tick(kNow + i * 1e-4);
  });
  threads.emplace_back([this] {
    while (writing > 0) {
      Recorder passing;
      core->subscribe(&passing, {601}, core->lastSequence());
      core->unsubscribe(&passing);
    }
  });
  for (std::thread& thread : threads) thread.join();
  core->unsubscribe(&recorder);
  EXPECT_EQ(failures, 0);
  ASSERT_EQ(recorder.events.size(), static_cast<size_t>(kWriters * kCommits * 4));
  for (size_t i = 0; i < recorder.events.size(); ++i)
    EXPECT_EQ(recorder.events[i].sequence, before + 1 + static_cast<int64_t>(i));
  EXPECT_EQ(count("Measurement"), 4 + kWriters * kCommits);
}

TEST_F(ConcurrencyTest, OfTwoThatTakeTheSameNumberOneIsRefused) {
  for (int i = 0; i < 20; ++i) {
    std::atomic<int> taken{0};
    std::vector<std::thread> threads;
    for (int w = 0; w < 2; ++w) {
      threads.emplace_back([&, w] {
        const std::string name = "N" + std::to_string(w) + "x" + std::to_string(i) + "e";
        if (status(newMeasurement(name, "Analog", 5000 + i)) == wire::kOk) ++taken;
      });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(taken, 1);
  }
}

}  // namespace
}  // namespace tlm::server::test
