// "tlmctl value" against a running server: what it takes, what it says, how it ends.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "Tlmctl.h"
#include "support/NetworkServer.h"
#include "support/Peer.h"

namespace tlm::test {
namespace {

// In the sample: 1001 is an analog, 1007 a discrete signal, 1010 a counter, 1080 a text, 1067 is out of operation.
constexpr char kAnalogKey[] = "32873CDCB79D674621511D874DD17809";

class TlmctlValue : public Tlmctl {
 protected:
  TlmctlValue() {
    setenv("TLM_PASSWORD", "collects", 1);
    unsetenv("TLM_USER");
    make({"create", server.store()});
    EXPECT_EQ(run({"user", "add", "--name", "сбор", "--values", server.store()}, "collects\n").code, 0);
    EXPECT_TRUE(server.start());
  }
  ~TlmctlValue() override { unsetenv("TLM_PASSWORD"); }

  Result send(Words words, const std::string& input = {}) const {
    words.insert(words.begin(), {"value", "--server", server.address(), "--user", "сбор"});
    return run(words, input);
  }
  // A line of what the server tells of a measurement, such as "value" or "quality".
  std::string told(int locId, const std::string& name) {
    std::string problem;
    Peer peer(connectToServer(quickLine(server.address()), &problem));
    const std::string text = "\n" + peer.ask("MeasParams", "locId=" + std::to_string(locId)).text;
    const size_t at = text.find("\n" + name + "=");
    if (at == std::string::npos) return "none";
    const size_t from = at + name.size() + 2;
    return text.substr(from, text.find('\n', from) - from);
  }

  ServerProcess server;
};

TEST_F(TlmctlValue, HandsInOneValue) {
  const Result sent = send({"1001", "-12.5"});
  EXPECT_EQ(sent.code, 0) << sent.err;
  EXPECT_EQ(sent.out, "taken 1, refused 0\n");
  EXPECT_EQ(sent.err, "");
  EXPECT_EQ(told(1001, "value"), "-12.5");
  EXPECT_EQ(told(1001, "quality"), "0");
}

TEST_F(TlmctlValue, NamesTheMeasurementByKeyOrNumber) {
  EXPECT_EQ(send({kAnalogKey, "1"}).code, 0);
  EXPECT_EQ(told(1001, "value"), "1");
  EXPECT_EQ(send({"#1001", "2"}).code, 0);
  EXPECT_EQ(told(1001, "value"), "2");
}

TEST_F(TlmctlValue, KeepsQualityAndTime) {
  EXPECT_EQ(send({"1001", "7", "--quality", "old", "--time", "2026-01-02T03:04:05.250Z"}).code, 0);
  EXPECT_EQ(told(1001, "quality"), "2");
  EXPECT_NEAR(std::stod(told(1001, "time")), 46024.12783854167, 1e-8);
  EXPECT_EQ(send({"1001", "8", "--time", "2026-01-02T05:04:05+02:00", "--quality=invalid"}).code, 0);
  EXPECT_EQ(told(1001, "quality"), "2") << "a quarter of a second older than the one before";
  EXPECT_EQ(send({"1001", "9", "--time=1767323045500"}).code, 0);
  EXPECT_EQ(told(1001, "value"), "9");
  EXPECT_EQ(send({"1001", "-", "--quality", "invalid"}).code, 0);
  EXPECT_EQ(told(1001, "value"), "9");
  EXPECT_EQ(told(1001, "quality"), "3");
}

TEST_F(TlmctlValue, SaysWhyAValueIsRefused) {
  const Result unknown = send({"99999", "1"});
  EXPECT_EQ(unknown.code, 1);
  EXPECT_EQ(unknown.out, "taken 0, refused 1\n");
  EXPECT_EQ(unknown.err, "tlmctl: #99999: no such measurement\n");
  EXPECT_NE(send({"1001", "abc"}).err.find("#1001: not a number"), std::string::npos);
  EXPECT_NE(send({"1007", "2"}).err.find("#1007: a number that this measurement cannot have"), std::string::npos);
  EXPECT_NE(send({"1067", "2"}).err.find("not in operation"), std::string::npos);
}

TEST_F(TlmctlValue, ReadsManyLines) {
  std::ofstream(file("secret")) << "collects\n";
  unsetenv("TLM_PASSWORD");
  setenv("TLM_USER", "сбор", 1);
  const std::string input =
      "1001 2.5\n\n  1007\t1 old \r\n1010 123456789012 good 2026-01-02T03:04:05Z\n1080 \"в \\\"норме\\\" \\\\\"\n"
      "1001 x\n1001\n1001 1 good 1 1\n1001 1 fine\n#zz 1\n1001 1 good yesterday\n1080 \"open\n1080 \"a\"b\n"
      "99999 1\n1001 3.5";
  const Result sent = run({"value", "--server", server.tcpAddress(), "--password-file", file("secret")}, input);
  unsetenv("TLM_USER");
  EXPECT_EQ(sent.code, 1);
  EXPECT_EQ(sent.out, "taken 5, refused 9\n");
  std::vector<std::string> said = lines(sent.err);
  std::sort(said.begin(), said.end());
  EXPECT_EQ(said, (Words{"tlmctl: line 10: no key and no number of a measurement: \"#zz\"",
                         "tlmctl: line 11: a time is 2026-11-21T07:05:10.250Z or milliseconds since 1970, not "
                         "\"yesterday\"",
                         "tlmctl: line 12: a quotation mark is not closed",
                         "tlmctl: line 13: something stands close behind a quotation mark",
                         "tlmctl: line 14: #99999: no such measurement",
                         "tlmctl: line 6: #1001: not a number, or a number for a text",
                         "tlmctl: line 7: a line is KEY VALUE [QUALITY [TIME]]",
                         "tlmctl: line 8: a line is KEY VALUE [QUALITY [TIME]]",
                         "tlmctl: line 9: the quality is good, old or invalid, not \"fine\""}));
  EXPECT_EQ(told(1001, "value"), "3.5");
  EXPECT_EQ(told(1007, "quality"), "2");
  EXPECT_EQ(told(1010, "value"), "123456789012");
  EXPECT_EQ(told(1080, "value"), "\xE2 \"\xED\xEE\xF0\xEC\xE5\" \\");
}

TEST_F(TlmctlValue, SendsMoreThanABatch) {
  std::string input;
  for (int i = 0; i < 10'000; ++i) input += "1001 " + std::to_string(i) + "\n";
  const Result sent = send({}, input);
  EXPECT_EQ(sent.out, "taken 10000, refused 0\n") << sent.err;
  EXPECT_EQ(told(1001, "value"), "9999");
}

TEST_F(TlmctlValue, SaysThatAValueByHandStandsOverIt) {
  {
    std::string problem;
    Peer peer(connectToServer(quickLine(server.address()), &problem));
    ASSERT_EQ(peer.ask("ManualValue", "locId=1001\nvalue=115").status, 0);
  }
  const Result sent = send({"1001", "1"});
  EXPECT_EQ(sent.code, 0);
  EXPECT_EQ(sent.out, "taken 1, refused 0\nbeneath values by hand 1\n");
  EXPECT_EQ(told(1001, "value"), "115");
}

TEST_F(TlmctlValue, NeedsTheRightAndThePassword) {
  setenv("TLM_PASSWORD", "wrong", 1);
  const Result wrong = send({"1001", "1"});
  EXPECT_EQ(wrong.code, 1);
  EXPECT_NE(wrong.err.find("no such user, or another password"), std::string::npos) << wrong.err;
  setenv("TLM_PASSWORD", "оператор", 1);
  const Result noRight = run({"value", "--server", server.address(), "--user", "Оператор", "1001", "1"});
  EXPECT_EQ(noRight.code, 1);
  EXPECT_EQ(told(1001, "value"), "none");
  EXPECT_NE(send({"1001", "1", "--password-file", file("no")}).err.find("no password in"), std::string::npos);
}

TEST_F(TlmctlValue, AServerThatIsNotThereIsAFailure) {
  server.terminate();
  const Result sent = send({"1001", "1"});
  EXPECT_EQ(sent.code, 1);
  EXPECT_NE(sent.err.find("no server answers at " + server.address()), std::string::npos) << sent.err;
}

TEST_F(Tlmctl, ValueTellsMistakesOfTheCommandLine) {
  const auto says = [&](Words words, const std::string& what) {
    words.insert(words.begin(), "value");
    const Result result = run(words);
    EXPECT_EQ(result.code, 2) << what;
    EXPECT_NE(result.err.find(what), std::string::npos) << result.err;
    EXPECT_EQ(result.out, "");
  };
  unsetenv("TLM_USER");
  says({"1001", "1"}, "--server is missing");
  says({"--server", "a:1", "1001", "1"}, "--user is missing");
  says({"--server", "a:1", "--user", "u", "1001"}, "one KEY and one VALUE");
  says({"--server", "a:1", "--user", "u", "1001", "1", "2"}, "one KEY and one VALUE");
  says({"--server", "a:1", "--user", "u", "--quality", "old"}, "--quality and --time belong");
  says({"--server", "a:1", "--user", "u", "--quality", "bad", "1001", "1"}, "the quality is good, old or invalid");
  says({"--server", "a:1", "--user", "u", "key", "1"}, "no key and no number");
  for (const char* time :
       {"0", "-5", "2026-01-02", "2026-01-02T03:04:05", "2026-02-30T03:04:05Z", "2026-01-02T25:04:05Z",
        "2026-01-02T03:04:05.Z", "2026-01-02T03:04:05.1234Z", "2026-01-02T03:04:05+3", "x"})
    says({"--server", "a:1", "--user", "u", "1001", "1", std::string("--time=") + time}, "a time is 2026");
}

}  // namespace
}  // namespace tlm::test
