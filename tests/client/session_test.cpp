// The rules of sending, waiting and answering, with the test at the other end of the line.
#include <TlmClient/TlmSession.h>
#include <TlmMdx/CMDArray.h>

#include <QCoreApplication>
#include <QTextCodec>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <future>
#include <thread>

#include "support/DebugLines.h"
#include "support/FakeTransport.h"
#include "support/Gui.h"

namespace tlm::test {
namespace {

class Session : public testing::Test {
 protected:
  Session() : line(new FakeTransport), session(std::unique_ptr<ITransport>(line)) {
    QObject::connect(&session, &TlmSession::writeRefused,
                     [this](int status, const QString& why) { refused.append(QString("%1 %2").arg(status).arg(why)); });
  }

  bool packet(const char* name, MDXCliParam** reply) { return session.PacketExec(name, nullptr, 0, reply); }

  bool update(MDXCliParam** reply) {
    CMDArray rows;
    const MDRFldDesc field{"KeyLink", 32, MDX_TEXT, {}};
    MDAFldAdd(rows.array, 1, &field);
    rows.RecPost(MDARecNew(rows.array));
    return session.SqlUpdate("Analog", rows.array, true, reply);
  }

  const wire::Block& block(size_t number = 0) { return line->sent.at(number).block; }
  void answer(wire::BlockReply reply, size_t number = 0) { line->answer(line->sent.at(number).id, std::move(reply)); }

  static int status(const MDXCliParam* reply) {
    int32_t value = -1;
    MDRGetAsInt32(MDXParamFld(reply, MDX_REPLY_STATUS), reply, &value);
    return value;
  }

  static std::string payload(const MDXCliParam* reply) {
    char* text = nullptr;
    MDRGetTextPtr(MDXParamFld(reply, MDX_REPLY_PAYLOAD), reply, &text);
    return text ? text : "(null)";
  }

  FakeTransport* line;
  TlmSession session;
  QStringList refused;
};

TEST_F(Session, SendsAPacketWithItsBody) {
  MDXCliParam* reply = nullptr;
  const unsigned char body[] = {'a', 0, 'b'};
  EXPECT_TRUE(session.PacketExec("ObjectHint", body, 3, &reply));
  ASSERT_EQ(line->sent.size(), 1u);
  ASSERT_EQ(block().requests.size(), 1u);
  EXPECT_EQ(block().requests[0].kind, wire::RequestKind::kPacket);
  EXPECT_EQ(block().requests[0].name, "ObjectHint");
  EXPECT_EQ(block().requests[0].body, std::string("a\0b", 3));
  EXPECT_TRUE(block().identity.empty());
}

TEST_F(Session, FillsTheReplyWhenItIsWaitedFor) {
  line->handler = echo;
  MDXCliParam* reply = nullptr;
  ASSERT_TRUE(packet("ObjectHint", &reply));
  EXPECT_EQ(reply, nullptr) << "before the wait";
  EXPECT_TRUE(session.WaitResult(&reply, -1));
  ASSERT_NE(reply, nullptr);
  EXPECT_EQ(status(reply), 0);
  EXPECT_EQ(payload(reply), "reply to ObjectHint");
  session.PrmFree(reply);
}

TEST_F(Session, FillsAReplyWithANonZeroStatusAndItsText) {
  line->handler = [](const wire::Block&) { return wire::BlockReply{{}, {wire::Reply::failure(5, "no object")}}; };
  MDXCliParam* reply = nullptr;
  packet("ObjectHint", &reply);
  EXPECT_TRUE(session.WaitResult(&reply, -1));
  EXPECT_EQ(status(reply), 5);
  EXPECT_EQ(payload(reply), "no object");
  session.PrmFree(reply);
}

// Callers in the window take both for a plain "no".
TEST_F(Session, TellsTheDevelopersWhyAReplyIsNoneOrRefused) {
  const DebugLines told;
  MDXCliParam* reply = nullptr;
  packet("ObjectHint", &reply);
  EXPECT_FALSE(session.WaitResult(&reply, 1));
  EXPECT_EQ(told.all(), QStringList{"session: no answer"});
  line->handler = [](const wire::Block&) { return wire::BlockReply{{}, {wire::Reply::failure(5, "\xED\xE5\xF2")}}; };
  packet("ObjectHint", &reply);
  EXPECT_TRUE(session.WaitResult(&reply, -1));
  EXPECT_EQ(told.all().last(), "session: status 5 нет");
  EXPECT_TRUE(session.WaitResult(&reply, -1)) << "it has come before";
  session.PrmFree(reply);
  line->handler = echo;
  packet("ObjectHint", &reply);
  EXPECT_TRUE(session.WaitResult(&reply, -1));
  session.PrmFree(reply);
  EXPECT_EQ(told.all().size(), 2) << "nothing of what went well";
}

TEST_F(Session, KeepsANullPayloadApartFromAnEmptyOne) {
  line->handler = [](const wire::Block&) {
    return wire::BlockReply{{}, {{wire::kOk, std::nullopt, std::string("text")}}};
  };
  MDXCliParam* reply = nullptr;
  packet("MeasParams", &reply);
  ASSERT_TRUE(session.WaitResult(&reply, -1));
  EXPECT_EQ(MDRIsNull(MDXParamFld(reply, MDX_REPLY_PAYLOAD), reply, nullptr), 1);
  char* text = nullptr;
  MDRGetTextPtr(MDXParamFld(reply, MDX_REPLY_TEXT), reply, &text);
  EXPECT_STREQ(text, "text");
  session.PrmFree(reply);
}

TEST_F(Session, RefusesToSendWhenTheLineDoes) {
  line->refuses = true;
  MDXCliParam* reply = nullptr;
  EXPECT_FALSE(packet("ObjectHint", &reply));
  EXPECT_FALSE(session.WaitResult(&reply, -1)) << "and there is nothing to wait for";
  EXPECT_EQ(reply, nullptr);
}

TEST_F(Session, NeverWritesToAPointerThatNobodyWaitsFor) {
  line->handler = echo;
  MDXCliParam* reply = nullptr;
  packet("ObjectHint", &reply);
  settle();
  EXPECT_EQ(reply, nullptr);
}

TEST_F(Session, WaitsForNothingWithoutARequest) {
  MDXCliParam* reply = nullptr;
  EXPECT_FALSE(session.WaitResult(&reply, -1));
  EXPECT_FALSE(session.WaitResult(nullptr, -1));
}

TEST_F(Session, EndsAWaitWhenTheTimeIsOver) {
  MDXCliParam* reply = nullptr;
  packet("ObjectHint", &reply);
  EXPECT_FALSE(session.WaitResult(&reply, 1));
  EXPECT_EQ(reply, nullptr);
}

TEST_F(Session, DropsTheLateReplyOfATimedOutWait) {
  MDXCliParam* reply = nullptr;
  packet("ObjectHint", &reply);
  EXPECT_FALSE(session.WaitResult(&reply, 0));
  answer(echo(block()));
  EXPECT_FALSE(session.WaitResult(&reply, -1));
  EXPECT_EQ(reply, nullptr);
}

TEST_F(Session, AnswersTheSecondRequestOfOnePointer) {
  MDXCliParam* reply = nullptr;
  packet("First", &reply);
  packet("Second", &reply);
  answer(echo(block(0)), 0);
  EXPECT_FALSE(session.WaitResult(&reply, 0)) << "the first answer is not for it";
  packet("Third", &reply);
  answer(echo(block(2)), 2);
  ASSERT_TRUE(session.WaitResult(&reply, -1));
  EXPECT_EQ(payload(reply), "reply to Third");
  session.PrmFree(reply);
}

TEST_F(Session, TakesRepliesInAnyOrder) {
  MDXCliParam* first = nullptr;
  MDXCliParam* second = nullptr;
  packet("First", &first);
  packet("Second", &second);
  answer(echo(block(1)), 1);
  answer(echo(block(0)), 0);
  EXPECT_TRUE(session.WaitResult(&first, -1));
  EXPECT_TRUE(session.WaitResult(&second, -1));
  EXPECT_EQ(payload(first), "reply to First");
  EXPECT_EQ(payload(second), "reply to Second");
  session.PrmFree(first);
  session.PrmFree(second);
}

TEST_F(Session, WakesUpWhenTheAnswerComesFromAnotherThread) {
  MDXCliParam* reply = nullptr;
  packet("ObjectHint", &reply);
  std::thread server([this] { answer(echo(block())); });
  EXPECT_TRUE(session.WaitResult(&reply, -1));
  server.join();
  EXPECT_EQ(payload(reply), "reply to ObjectHint");
  session.PrmFree(reply);
}

TEST_F(Session, LetsTheLineCarryOutWhatIsWaitedForWithoutLimit) {
  line->carries = true;
  MDXCliParam* reply = nullptr;
  packet("ObjectHint", &reply);
  EXPECT_TRUE(session.WaitResult(&reply, -1));
  EXPECT_EQ(payload(reply), "reply to ObjectHint");
  session.PrmFree(reply);
}

TEST_F(Session, DoesNotLetTheLineCarryOutWhatMayTimeOut) {
  line->carries = true;
  MDXCliParam* reply = nullptr;
  packet("ObjectHint", &reply);
  EXPECT_FALSE(session.WaitResult(&reply, 0));
  EXPECT_EQ(line->carried, 0);
}

TEST_F(Session, DoesNotLetTheLineCarryOutWhatIsAnswered) {
  line->handler = echo;
  MDXCliParam* reply = nullptr;
  packet("ObjectHint", &reply);
  EXPECT_TRUE(session.WaitResult(&reply, -1));
  EXPECT_EQ(line->carried, 0);
  session.PrmFree(reply);
}

TEST_F(Session, EndsAWaitWithoutLimitWhenTheLineDies) {
  MDXCliParam* reply = nullptr;
  packet("ObjectHint", &reply);
  std::thread net([this] { line->breakLine("gone"); });
  EXPECT_FALSE(session.WaitResult(&reply, -1));
  net.join();
  EXPECT_EQ(reply, nullptr);
}

// The transport sends it again when the line is back.
TEST_F(Session, EndsAWaitWithoutLimitForAWriteThatIsKeptWhenTheLineDies) {
  MDXCliParam* reply = nullptr;
  update(&reply);
  std::thread net([this] { line->dieAlone("gone"); });
  EXPECT_FALSE(session.WaitResult(&reply, -1));
  net.join();
  answer(refusal(wire::kRefused, "no"));
  EXPECT_TRUE(processUntil([this] { return !refused.isEmpty(); })) << "what becomes of it is told to the host";
  EXPECT_EQ(reply, nullptr);
}

TEST_F(Session, GoesOnWithATimedWaitForAWriteThatIsKeptWhenTheLineDies) {
  line->dieAlone("gone");
  MDXCliParam* reply = nullptr;
  update(&reply);
  std::thread net([this] { answer(echo(block())); });
  EXPECT_TRUE(session.WaitResult(&reply, 10'000));
  net.join();
  session.PrmFree(reply);
}

TEST_F(Session, WaitsWithoutLimitAgainWhenTheLineIsBack) {
  line->dieAlone("gone");
  line->mendLine();
  MDXCliParam* reply = nullptr;
  packet("ObjectHint", &reply);
  std::thread server([this] { answer(echo(block())); });
  EXPECT_TRUE(session.WaitResult(&reply, -1));
  server.join();
  session.PrmFree(reply);
}

// The transport takes blocks again before it tells that the line is back.
TEST_F(Session, WaitsWithoutLimitForWhatIsSentJustBeforeTheWordThatTheLineIsBack) {
  line->dieAlone("gone");
  MDXCliParam* reply = nullptr;
  packet("ObjectHint", &reply);
  auto waited = std::async(std::launch::async, [&] { return session.WaitResult(&reply, -1); });
  EXPECT_EQ(waited.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout) << "nobody has answered";
  line->mendLine();
  answer(echo(block()));
  EXPECT_TRUE(waited.get());
  session.PrmFree(reply);
}

TEST_F(Session, WaitsWithoutLimitForAWriteThatGoesOutAgain) {
  MDXCliParam* reply = nullptr;
  packet("ObjectHint", &reply);
  line->dieAlone("gone");
  line->mendLine();
  std::thread server([this] { answer(echo(block())); });
  EXPECT_TRUE(session.WaitResult(&reply, -1));
  server.join();
  session.PrmFree(reply);
}

TEST_F(Session, EndsOnlyTheWaitForWhatIsLost) {
  MDXCliParam* first = nullptr;
  MDXCliParam* second = nullptr;
  packet("First", &first);
  packet("Second", &second);
  line->lose(line->sent.at(0).id, "gone");
  EXPECT_FALSE(session.WaitResult(&first, -1));
  answer(echo(block(1)), 1);
  EXPECT_TRUE(session.WaitResult(&second, -1));
  session.PrmFree(second);
}

TEST(SessionAtItsEnd, TellsOfTheWritesThatAreLost) {
  auto transport = std::make_unique<FakeTransport>();
  transport->losesAtTheEnd = true;
  auto session = std::make_unique<TlmSession>(std::move(transport));
  QStringList seen;
  QObject::connect(session.get(), &TlmSession::writeRefused,
                   [&](int status, const QString& why) { seen.append(QString("%1 %2").arg(status).arg(why)); });
  ASSERT_TRUE(session->PacketExec("Write", nullptr, 0, nullptr));
  session.reset();
  EXPECT_EQ(seen, QStringList(QString("%1 too late").arg(wire::kUnavailable)));
}

TEST_F(Session, TellsThatEventsAreLost) {
  QStringList seen;
  QObject::connect(&session, &TlmSession::eventsLost, [&](const QString& why) { seen.append(why); });
  line->loseEvents("too long away");
  EXPECT_TRUE(processUntil([&] { return !seen.isEmpty(); }));
  EXPECT_EQ(seen, QStringList("too long away"));
}

TEST_F(Session, TellsThatTheLineDiedAndCameBack) {
  QStringList seen;
  QObject::connect(&session, &TlmSession::lineChanged,
                   [&](bool alive, const QString& why) { seen.append((alive ? "up " : "down ") + why); });
  line->breakLine("gone");
  line->mendLine();
  EXPECT_TRUE(seen.isEmpty()) << "only from the event loop";
  EXPECT_TRUE(processUntil([&] { return seen.size() == 2; }));
  EXPECT_EQ(seen, QStringList({"down gone", "up "}));
}

TEST_F(Session, IsAliveAsTheLineIs) {
  EXPECT_TRUE(session.alive());
  line->refuses = true;
  EXPECT_FALSE(session.alive());
}

// ---- scripts and procedures ----

TEST_F(Session, SendsAScriptWithoutArguments) {
  EXPECT_TRUE(session.CalcExec("void f() {}", nullptr, nullptr));
  EXPECT_EQ(block().requests[0].kind, wire::RequestKind::kScript);
  EXPECT_EQ(block().requests[0].name, "void f() {}");
  EXPECT_TRUE(block().requests[0].body.empty());
}

TEST_F(Session, PacksTheArgumentsOfAScript) {
  CVar args;
  CVarInit(&args, 1);
  CVarSetArr(&args, 2);
  CVarSetInt(&args.items[0], 7);
  CVarSetStr(&args.items[1], "text", 4);
  EXPECT_TRUE(session.CalcExec("f", &args, nullptr));
  CVarClear(&args, 1);
  CVar read;
  CVarInit(&read, 1);
  const std::string& body = block().requests[0].body;
  ASSERT_GE(CVarFromBuffN(&read, body.data(), body.size()), 0);
  ASSERT_EQ(read.type, CVAR_ARRAY);
  EXPECT_EQ(read.items[0].i64, 7);
  EXPECT_STREQ(read.items[1].text, "text");
  CVarClear(&read, 1);
}

TEST_F(Session, SendsAProcedureByItsName) {
  EXPECT_TRUE(session.ProcExec("SrvReq_ObjectForms", nullptr, nullptr));
  EXPECT_EQ(block().requests[0].kind, wire::RequestKind::kProcedure);
  EXPECT_EQ(block().requests[0].name, "SrvReq_ObjectForms");
}

// ---- change sets ----

TEST_F(Session, TakesTheRecordsOfAChangeSetAtOnce) {
  CMDArray rows;
  const MDRFldDesc field{"KeyLink", 32, MDX_TEXT, {}};
  MDAFldAdd(rows.array, 1, &field);
  MDRData* const record = rows.RecPost(MDARecNew(rows.array));
  MDRSetFlags(record, MDX_REC_UPDATE);
  MDRVar key{};
  key.type = MDX_TEXT;
  key.text.length = 3;
  key.text.data = "abc";
  rows.SetValF(record, 0, key);
  ASSERT_TRUE(session.SqlUpdate("Analog", rows.array, true, nullptr));
  MDAClearAll(rows.array);
  CMDArray read;
  const std::string& body = block().requests[0].body;
  ASSERT_EQ(MDXArrayUnPackN(read.array, body.data(), body.size(), 1), 0);
  ASSERT_EQ(MDARecCount(read.array), 1);
  const MDRData* const row = MDARec(read.array, 0, 0);
  EXPECT_EQ(MDRGetFlags(row), MDX_REC_UPDATE);
  EXPECT_EQ(MDRIsUser(MDRFldByNum(read.array, 0), row, nullptr), 1);
}

TEST_F(Session, GivesABlockThatWritesAnIdentityOfItsOwn) {
  update(nullptr);
  update(nullptr);
  EXPECT_EQ(block(0).identity.size(), 32u);
  EXPECT_NE(block(0).identity, block(1).identity);
}

TEST_F(Session, RefusesAChangeSetWithoutAnArray) {
  EXPECT_FALSE(session.SqlUpdate("Analog", nullptr, true, nullptr));
  EXPECT_TRUE(line->sent.empty());
}

TEST_F(Session, AnswersASingleChangeSetWithTheStatusOfItsCommit) {
  line->handler = [](const wire::Block&) { return refusal(wire::kRefused, "no number"); };
  MDXCliParam* reply = nullptr;
  ASSERT_TRUE(update(&reply));
  ASSERT_TRUE(session.WaitResult(&reply, -1));
  EXPECT_EQ(status(reply), wire::kRefused);
  EXPECT_EQ(payload(reply), "no number");
  session.PrmFree(reply);
}

// ---- blocks ----

TEST_F(Session, SendsABlockAsOne) {
  session.BlockBeg();
  packet("First", nullptr);
  update(nullptr);
  EXPECT_TRUE(line->sent.empty()) << "inside a block requests are only queued";
  EXPECT_TRUE(session.BlockEnd(true, nullptr));
  ASSERT_EQ(line->sent.size(), 1u);
  ASSERT_EQ(block().requests.size(), 2u);
  EXPECT_EQ(block().requests[0].name, "First");
  EXPECT_EQ(block().requests[1].name, "Analog");
  EXPECT_EQ(block().identity.size(), 32u);
}

TEST_F(Session, FillsTheSingleRepliesWhenTheBlockIsWaitedFor) {
  line->handler = echo;
  MDXCliParam* first = nullptr;
  MDXCliParam* second = nullptr;
  MDXCliParam* whole = nullptr;
  session.BlockBeg();
  packet("First", &first);
  packet("Second", &second);
  ASSERT_TRUE(session.BlockEnd(true, &whole));
  EXPECT_EQ(first, nullptr);
  ASSERT_TRUE(session.WaitResult(&whole, -1));
  EXPECT_EQ(status(whole), 0);
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(payload(first), "reply to First");
  EXPECT_EQ(payload(second), "reply to Second");
  EXPECT_TRUE(session.WaitResult(&first, 0)) << "it is filled already";
  session.PrmFree(first);
  session.PrmFree(second);
  session.PrmFree(whole);
}

TEST_F(Session, LeavesTheSingleRepliesOfARefusedBlockNull) {
  line->handler = [](const wire::Block&) { return refusal(wire::kRefused, "no"); };
  MDXCliParam* single = nullptr;
  MDXCliParam* whole = nullptr;
  session.BlockBeg();
  packet("First", &single);
  session.BlockEnd(true, &whole);
  ASSERT_TRUE(session.WaitResult(&whole, -1));
  EXPECT_EQ(status(whole), wire::kRefused);
  EXPECT_EQ(single, nullptr);
  session.PrmFree(whole);
}

TEST_F(Session, LeavesSingleRepliesNullWhenTheBlockTimedOut) {
  MDXCliParam* single = nullptr;
  MDXCliParam* whole = nullptr;
  session.BlockBeg();
  packet("First", &single);
  session.BlockEnd(true, &whole);
  EXPECT_FALSE(session.WaitResult(&whole, 0));
  answer(echo(block()));
  EXPECT_FALSE(session.WaitResult(&single, -1));
  EXPECT_EQ(single, nullptr);
  EXPECT_EQ(whole, nullptr);
}

TEST_F(Session, LeavesASinglePointerAloneThatServesAnotherRequestByNow) {
  MDXCliParam* single = nullptr;
  MDXCliParam* whole = nullptr;
  session.BlockBeg();
  packet("First", &single);
  session.BlockEnd(true, &whole);
  packet("Later", &single);
  answer(echo(block(0)), 0);
  ASSERT_TRUE(session.WaitResult(&whole, -1));
  EXPECT_EQ(single, nullptr);
  answer(echo(block(1)), 1);
  ASSERT_TRUE(session.WaitResult(&single, -1));
  EXPECT_EQ(payload(single), "reply to Later");
  session.PrmFree(single);
  session.PrmFree(whole);
}

TEST_F(Session, CanWaitForOneReplyOfABlock) {
  line->handler = echo;
  MDXCliParam* first = nullptr;
  MDXCliParam* second = nullptr;
  session.BlockBeg();
  packet("First", &first);
  packet("Second", &second);
  session.BlockEnd(true, nullptr);
  ASSERT_TRUE(session.WaitResult(&second, -1));
  EXPECT_EQ(payload(second), "reply to Second");
  EXPECT_EQ(first, nullptr);
  session.PrmFree(second);
}

TEST_F(Session, DropsABlock) {
  MDXCliParam* single = nullptr;
  session.BlockBeg();
  packet("First", &single);
  EXPECT_TRUE(session.BlockEnd(false, nullptr));
  EXPECT_TRUE(line->sent.empty());
  EXPECT_FALSE(session.WaitResult(&single, -1));
}

TEST_F(Session, BlockBegDropsWhatWasQueued) {
  session.BlockBeg();
  packet("First", nullptr);
  session.BlockBeg();
  packet("Second", nullptr);
  session.BlockEnd(true, nullptr);
  ASSERT_EQ(block().requests.size(), 1u);
  EXPECT_EQ(block().requests[0].name, "Second");
}

TEST_F(Session, RefusesToEndABlockThatIsNotOpen) {
  MDXCliParam* whole = nullptr;
  EXPECT_FALSE(session.BlockEnd(true, &whole));
  EXPECT_FALSE(session.WaitResult(&whole, -1));
}

TEST_F(Session, SendsAnEmptyBlock) {
  line->handler = echo;
  MDXCliParam* whole = nullptr;
  session.BlockBeg();
  EXPECT_TRUE(session.BlockEnd(true, &whole));
  EXPECT_TRUE(session.WaitResult(&whole, -1));
  EXPECT_EQ(status(whole), 0);
  session.PrmFree(whole);
}

TEST_F(Session, IsOutsideABlockAgainAfterOneThatCouldNotBeSent) {
  line->refuses = true;
  MDXCliParam* whole = nullptr;
  session.BlockBeg();
  packet("First", nullptr);
  EXPECT_FALSE(session.BlockEnd(true, &whole));
  EXPECT_FALSE(session.WaitResult(&whole, -1));
  line->refuses = false;
  EXPECT_TRUE(packet("Second", nullptr));
  ASSERT_EQ(line->sent.size(), 1u);
  EXPECT_EQ(block().requests[0].name, "Second");
}

// ---- refusals that nobody waits for ----

TEST_F(Session, TellsOfARefusedBlockThatNobodyWaitsFor) {
  session.BlockBeg();
  update(nullptr);
  session.BlockEnd(true, nullptr);
  answer(refusal(wire::kRefused, "\xCD\xE5\xF2"));
  EXPECT_TRUE(refused.isEmpty()) << "only from the event loop";
  EXPECT_TRUE(processUntil([this] { return !refused.isEmpty(); }));
  EXPECT_EQ(refused, QStringList(QString::fromUtf8("6 Нет")));
}

TEST_F(Session, TellsNothingOfAnAcceptedBlock) {
  line->handler = echo;
  update(nullptr);
  settle();
  EXPECT_TRUE(refused.isEmpty());
}

TEST_F(Session, TellsOfAWriteThatWasRefusedAfterItsWaitTimedOut) {
  MDXCliParam* whole = nullptr;
  session.BlockBeg();
  update(nullptr);
  session.BlockEnd(true, &whole);
  EXPECT_FALSE(session.WaitResult(&whole, 0));
  answer(refusal(wire::kStorage, "disk full"));
  EXPECT_TRUE(processUntil([this] { return !refused.isEmpty(); }));
  EXPECT_EQ(refused, QStringList("9 disk full"));
}

TEST_F(Session, TellsNothingOfAReadThatFailedLate) {
  MDXCliParam* reply = nullptr;
  packet("ObjectHint", &reply);
  EXPECT_FALSE(session.WaitResult(&reply, 0));
  answer(refusal(wire::kNotFound, "no object"));
  settle();
  EXPECT_TRUE(refused.isEmpty());
}

TEST_F(Session, TellsNothingOfARefusalThatTheCallerSaw) {
  line->handler = [](const wire::Block&) { return refusal(wire::kRefused, "no"); };
  MDXCliParam* whole = nullptr;
  session.BlockBeg();
  update(nullptr);
  session.BlockEnd(true, &whole);
  EXPECT_TRUE(session.WaitResult(&whole, -1));
  settle();
  EXPECT_TRUE(refused.isEmpty());
  session.PrmFree(whole);
}

TEST_F(Session, TellsOfAWriteWhoseAnswerNeverCame) {
  update(nullptr);
  line->breakLine("gone");
  EXPECT_TRUE(processUntil([this] { return !refused.isEmpty(); }));
  EXPECT_EQ(refused, QStringList("10 gone"));
}

TEST_F(Session, TellsOfAWriteThatCouldNotBeSent) {
  line->refuses = true;
  MDXCliParam* whole = nullptr;
  session.BlockBeg();
  update(nullptr);
  EXPECT_FALSE(session.BlockEnd(true, &whole));
  EXPECT_TRUE(processUntil([this] { return !refused.isEmpty(); }));
  EXPECT_TRUE(refused.first().startsWith("10 "));
}

TEST_F(Session, LeavesItToTheCallerThatNothingWasSentWhereHeWaitsForNothing) {
  line->refuses = true;
  session.BlockBeg();
  update(nullptr);
  EXPECT_FALSE(session.BlockEnd(true, nullptr));
  QCoreApplication::processEvents();
  EXPECT_TRUE(refused.isEmpty());
}

TEST_F(Session, TellsOfARefusalWhosePointerWasGivenToAnotherRequest) {
  MDXCliParam* reply = nullptr;
  update(&reply);
  answer(refusal(wire::kRefused, "no"));
  packet("ObjectHint", &reply);
  EXPECT_TRUE(processUntil([this] { return !refused.isEmpty(); }));
  EXPECT_EQ(refused, QStringList("6 no"));
}

TEST_F(Session, ForgetsTheOldestAnswersThatNobodyFetches) {
  line->handler = echo;
  std::vector<MDXCliParam*> replies(10'000);
  for (MDXCliParam*& reply : replies) packet("ObjectHint", &reply);
  EXPECT_FALSE(session.WaitResult(&replies.front(), -1));
  EXPECT_TRUE(session.WaitResult(&replies.back(), -1));
}

// ---- the rest ----

TEST_F(Session, PassesOverANullReplyAndAForeignOneWhenFreeing) {
  session.PrmFree(nullptr);
  MDXCliParam* const foreign = wire::replyRecord({});
  session.PrmFree(foreign);
  EXPECT_EQ(status(foreign), 0) << "still there";
  MDXParamFree(foreign);
}

TEST_F(Session, FreesRepliesThatNobodyFreed) {
  line->handler = echo;
  MDXCliParam* reply = nullptr;
  packet("ObjectHint", &reply);
  EXPECT_TRUE(session.WaitResult(&reply, -1));  // the leak checker sees what is left behind
}

TEST_F(Session, ConvertsServerTimeToLocalTime) {
  const QByteArray before = qgetenv("TZ");
  qputenv("TZ", "Europe/Moscow");
  tzset();
  EXPECT_NEAR(session.MdxTimeToSesTime(45000.0), 45000.0 + 3.0 / 24, 1e-9);
  before.isEmpty() ? (void)qunsetenv("TZ") : (void)qputenv("TZ", before);
  tzset();
}

TEST_F(Session, LeavesTimesAloneThatAreNone) {
  EXPECT_TRUE(std::isnan(session.MdxTimeToSesTime(std::nan(""))));
  EXPECT_EQ(session.MdxTimeToSesTime(1e300), 1e300);
}

TEST_F(Session, SpeaksWindows1251) { EXPECT_EQ(session.Codec()->name(), "windows-1251"); }

TEST_F(Session, ReplacesSubscriptions) {
  const int kinds[] = {601, 602, 603};
  session.SubEvent(kinds, 3);
  EXPECT_EQ(line->eventKinds, std::vector<int>({601, 602, 603}));
  session.SubEvent(kinds, 1);
  EXPECT_EQ(line->eventKinds, std::vector<int>({601}));
  const int number = 1001;
  session.SubParam(&number, 1);
  EXPECT_EQ(line->valueIds, std::vector<int>({1001}));
  session.SubParam(nullptr, 0);
  EXPECT_TRUE(line->valueIds.empty());
}

TEST(SessionEnd, DestroysItsTransport) {
  bool gone = false;
  { TlmSession session(std::make_unique<FakeTransport>(&gone)); }
  EXPECT_TRUE(gone);
}

TEST(SessionEnd, MayComeWithRequestsUnderWay) {
  auto transport = std::make_unique<FakeTransport>();
  MDXCliParam* reply = nullptr;
  {
    TlmSession session(std::move(transport));
    session.PacketExec("ObjectHint", nullptr, 0, &reply);
  }
  EXPECT_EQ(reply, nullptr);
}

}  // namespace
}  // namespace tlm::test
