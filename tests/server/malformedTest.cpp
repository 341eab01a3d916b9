// Bodies that no client of ours sends: every request answers with a status and a text and goes on.
#include "fixture.h"

#include <random>

namespace tlm::server::test {
namespace {

constexpr const char* kPackets[] = {"TableRecords", "TableStructure",  "RecByKeyLink", "RecByKey",    "ObjectHint",
                                    "LiteModel",    "SRV_GROUPS_INFO", "MeasParams",   "ManualValue", "ValueHistory"};

class MalformedTest : public ServerTest {
 protected:
  // Sends a body as every kind of request; the model must be as it was.
  void sendAll(const std::string& body) const {
    std::vector<wire::Request> requests;
    for (const char* name : kPackets) requests.push_back({wire::RequestKind::kPacket, name, body});
    requests.push_back({wire::RequestKind::kScript, "f1() { }", body});
    requests.push_back({wire::RequestKind::kScript, body, ""});
    requests.push_back({wire::RequestKind::kProcedure, "SrvReq_ObjectForms", body});
    requests.push_back({static_cast<wire::RequestKind>(9), "TableRecords", body});
    for (const wire::Request& request : requests) {
      const wire::Reply reply = core->execute(request, {"tester"});
      if (reply.status != wire::kOk) {
        EXPECT_TRUE(reply.payload && !reply.payload->empty()) << request.name;
      }
    }
    for (const char* table : {"Measurement", "Archives", "Nothing"}) {
      core->execute(wire::Request{wire::RequestKind::kUpdate, table, body}, {"tester"});
    }
  }

  std::string goodUpdate() const {
    return Update("Archives").insert(key("X"), {{"name_", "archive"}, {"type_", number(1)}}).request().body;
  }
};

TEST_F(MalformedTest, AnEmptyBody) { sendAll(""); }
TEST_F(MalformedTest, ABodyOfZeros) { sendAll(std::string(100, '\0')); }
TEST_F(MalformedTest, ABodyOfCommas) { sendAll(std::string(1000, ',')); }
TEST_F(MalformedTest, ALongBody) { sendAll(std::string(1 << 20, 'A')); }
TEST_F(MalformedTest, ManyKeys) {
  std::string body;
  for (int i = 0; i < 200'000; ++i) body += "x,";
  EXPECT_EQ(packet("RecByKeyLink", body).status, wire::kTooLarge);
}

TEST_F(MalformedTest, RandomBodies) {
  std::mt19937 random(1);
  for (int i = 0; i < 2000; ++i) {
    std::string body(random() % 200, '\0');
    for (char& c : body) c = static_cast<char>(random());
    sendAll(body);
  }
  EXPECT_EQ(count("Measurement"), 4);
}

TEST_F(MalformedTest, EveryCutOfAGoodUpdate) {
  const std::string body = goodUpdate();
  for (size_t length = 0; length < body.size(); ++length) sendAll(body.substr(0, length));
  EXPECT_EQ(count("Measurement"), 4);
}

TEST_F(MalformedTest, RandomChangesOfAGoodUpdate) {
  const std::string body = goodUpdate();
  std::mt19937 random(2);
  for (int i = 0; i < 3000; ++i) {
    std::string changed = body;
    for (int n = 0; n < 2; ++n) changed[random() % changed.size()] = static_cast<char>(random());
    sendAll(changed);
  }
  EXPECT_EQ(count("Measurement"), 4);
}

TEST_F(MalformedTest, AnUpdateWithoutAKeyField) {
  wire::Request request = Update("x").addField("name_", MDX_MEMO).request();
  request.name = "Archives";
  EXPECT_EQ(status({request}), wire::kOk);
}

TEST_F(MalformedTest, ARequestOverTheLimitOfSize) {
  options.maxRequestBytes = 1000;
  reopen(options);
  EXPECT_EQ(packet("TableRecords", std::string(2000, 'A')).status, wire::kTooLarge);
}

}  // namespace
}  // namespace tlm::server::test
