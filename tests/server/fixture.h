// A core over a store in memory with a small model, and short forms for what the tests say to it.
#ifndef TLM_TESTS_SERVER_FIXTURE_H
#define TLM_TESTS_SERVER_FIXTURE_H

#include <TlmMdx/CMDArray.h>
#include <TlmServer/Catalogue.h>
#include <TlmServer/CodePage.h>
#include <TlmServer/Core.h>
#include <TlmServer/LiveValues.h>
#include <TlmServer/MemoryStore.h>
#include <TlmServer/ModelTables.h>
#include <TlmWire/messages.h>

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tlm::server::test {

// A key of 32 characters that begins with the name.
std::string key(const std::string& name);

// Russian text as records hold it.
inline std::string ru(std::string_view utf8) { return toCodePage(utf8); }

struct Null {};
using Value = std::variant<Null, int64_t, double, bool, std::string>;
inline Value text(std::string value) { return value; }
inline Value number(int64_t value) { return value; }

using Fields = std::vector<std::pair<std::string, Value>>;

// One update of a table, in the form in which a session sends it.
class Update {
 public:
  explicit Update(std::string table);
  Update& insert(const std::string& key, const Fields& fields = {});
  Update& update(const std::string& key, const Fields& marked, const Fields& unmarked = {});
  Update& remove(const std::string& key);
  Update& record(const std::string& key, int flags, const Fields& fields, bool marked);
  Update& addField(const std::string& name, uint8_t type, uint8_t size = 0);
  wire::Request request() const;
  operator wire::Request() const { return request(); }  // NOLINT: reads better in lists

 private:
  void set(MDRData* record, const Fields& fields, bool marked);

  std::string table_;
  std::shared_ptr<CMDArray> rows_ = std::make_shared<CMDArray>();
};

// The rows of a reply's table as texts: null is "-".
using Row = std::map<std::string, std::string>;
struct Table {
  std::vector<std::string> columns;
  std::vector<Row> rows;
};
Table tableOf(const MDArray* array);
Table tableOf(const wire::Reply& reply);  // fails the test when it holds no table
std::string textOfValue(const MDRVar& value);

// An event's image: field by position, with name, text and mark.
struct ImageField {
  std::string name;
  std::string text;
  bool marked;
};
std::vector<ImageField> imageOf(const wire::Event& event);
const ImageField* imageField(const std::vector<ImageField>& image, const std::string& name);

// Keeps all that it hears. Read it when no other thread publishes.
class Recorder : public Subscriber {
 public:
  void onEvent(const wire::Event& event) override { events.push_back(event); }
  void onValue(const wire::ParamValue& value) override { values.push_back(value); }
  std::string story() const;  // "601 IdentifiedObject KEY; ..." with keys up to the first zero

  std::vector<wire::Event> events;
  std::vector<wire::ParamValue> values;
};

constexpr double kNow = 46000.5;

// Two folders (Root > Sub), one unit in Root, one of each kind of measurement in it: A1 1001, D1 1002, C1 1003,
// S1 1004; reference rows for units, categories, groups.
class ServerTest : public ::testing::Test {
 protected:
  ServerTest();

  // Opens the core again on the same store.
  void reopen(const CoreOptions& options);

  wire::Reply packet(const std::string& name, const std::string& body) const;
  wire::BlockReply block(std::vector<wire::Request> requests, const std::string& identity = {}) const;
  int32_t status(std::vector<wire::Request> requests) const { return block(std::move(requests)).whole.status; }
  std::string reason(std::vector<wire::Request> requests) const;  // of a refusal, UTF-8

  std::string field(const std::string& table, const std::string& key, const char* name) const;
  bool has(const std::string& table, const std::string& key) const;
  int count(const std::string& table) const;

  static std::vector<wire::Request> newMeasurement(const std::string& key, const std::string& className, int locId);

  CoreOptions options;
  std::shared_ptr<MemoryStoreData> data;
  std::unique_ptr<Core> core;
};

}  // namespace tlm::server::test

#endif
