// Events and values on their way to a module.
#include <TlmClient/CTlmCliApp.h>
#include <TlmClient/CTlmCliMod.h>
#include <TlmClient/TlmSession.h>

#include <QTimer>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

#include "support/FakeTransport.h"
#include "support/Gui.h"

namespace tlm::test {
namespace {

// A host with one line that the test holds.
class OneLineApp : public CTlmCliApp {
 public:
  OneLineApp() : line(new FakeTransport), session(std::unique_ptr<ITransport>(line)) {}
  CTlmCliAbo* ConnectModule(CTlmCliMod*) override { return &session; }
  void DisconnectModule(CTlmCliMod*) override { ++disconnected; }
  QLibrary* ModuleLibrary(CTlmCliMod*) override { return nullptr; }
  QString ModuleInstance(CTlmCliMod*) override { return "1"; }
  void ModuleIsEdit(CTlmCliMod*, bool) override {}
  void ModuleTitle(CTlmCliMod*, const QString&, const QString&) override {}
  void ModuleMessage(CTlmCliMod*, const QString&) override {}
  bool ModuleCall(CTlmCliMod*, int, void*) override { return false; }

  FakeTransport* line;
  TlmSession session;
  int disconnected = 0;
};

class Listener : public CTlmCliMod {
 public:
  using CTlmCliMod::CTlmCliMod;

  int MessageOn() override {
    ++calls;
    return takes ? MessageGet() : 0;
  }

  int MessageData(MDXCliParam* message) override {
    EXPECT_FALSE(busy) << "a message within a message";
    busy = true;
    int32_t kind = 0;
    MDRGetAsInt32(MDXParamFld(message, message->typeNumber == MDX_TYPE_EVENT ? MDX_EVENT_KIND : 0), message, &kind);
    seen.append(QString("%1:%2").arg(message->typeNumber).arg(kind));
    if (during) during();
    busy = false;
    return 7;
  }

  QStringList seen;
  int calls = 0;
  bool takes = true;
  bool busy = false;
  std::function<void()> during;
};

class Delivery : public testing::Test {
 protected:
  void event(int kind) {
    wire::Event event;
    event.kind = kind;
    app.line->publish(std::move(event));
  }

  OneLineApp app;
  std::unique_ptr<Listener> module = std::make_unique<Listener>(&app);
};

TEST_F(Delivery, ComesFromTheEventLoopInOrder) {
  event(601);
  event(602);
  app.line->publish(wire::ParamValue{1001, 0, 0, "5"});
  event(603);
  EXPECT_TRUE(module->seen.isEmpty());
  EXPECT_TRUE(processUntil([this] { return module->seen.size() == 4; }));
  EXPECT_EQ(module->seen, QStringList({"10:601", "10:602", "11:1001", "10:603"}));
}

TEST_F(Delivery, CallsMessageOnOncePerMessage) {
  event(601);
  event(602);
  processUntil([this] { return module->seen.size() == 2; });
  settle();
  EXPECT_EQ(module->calls, 2);
}

TEST_F(Delivery, ComesFromAnyThread) {
  std::thread server([this] {
    for (int i = 0; i < 1000; ++i) event(602);
  });
  EXPECT_TRUE(processUntil([this] { return module->seen.size() == 1000; }));
  server.join();
}

TEST_F(Delivery, DoesNotComeWhileTheModuleWaits) {
  event(602);
  MDXCliParam* reply = nullptr;
  app.line->handler = echo;
  app.session.PacketExec("ObjectHint", nullptr, 0, &reply);
  EXPECT_TRUE(app.session.WaitResult(&reply, -1));
  EXPECT_TRUE(module->seen.isEmpty());
  app.session.PrmFree(reply);
  EXPECT_TRUE(processUntil([this] { return module->seen.size() == 1; }));
}

TEST_F(Delivery, DoesNotComeInAnEventLoopInsideAMessage) {
  int inside = -1;
  module->during = [&] {
    if (inside >= 0) return;
    inside = 0;
    event(603);
    settle();
    inside = module->seen.size();
  };
  event(601);
  EXPECT_TRUE(processUntil([this] { return module->seen.size() == 2; }));
  EXPECT_EQ(inside, 1);
}

TEST_F(Delivery, AllowsRequestsInsideAMessage) {
  app.line->handler = echo;
  bool answered = false;
  module->during = [&] {
    MDXCliParam* reply = nullptr;
    answered = app.session.PacketExec("ObjectHint", nullptr, 0, &reply) && app.session.WaitResult(&reply, -1);
    app.session.PrmFree(reply);
  };
  event(602);
  EXPECT_TRUE(processUntil([&] { return answered; }));
}

TEST_F(Delivery, StopsWhenTheModuleTakesNothing) {
  module->takes = false;
  event(601);
  processUntil([this] { return module->calls == 1; });
  settle();
  EXPECT_EQ(module->calls, 1);
  module->takes = true;
  event(602);
  EXPECT_TRUE(processUntil([this] { return module->seen.size() == 2; }));
  EXPECT_EQ(module->seen, QStringList({"10:601", "10:602"}));
}

TEST_F(Delivery, HoldsBackWhatCameBeforeTheModule) {
  module.reset();
  event(601);
  settle();
  module = std::make_unique<Listener>(&app);
  EXPECT_TRUE(processUntil([this] { return module->seen.size() == 1; }));
}

TEST_F(Delivery, EndsWithTheModule) {
  event(601);
  module.reset();
  settle();
  EXPECT_EQ(app.disconnected, 1);
  EXPECT_EQ(app.session.TakeMessage(), nullptr) << "what was queued for it has gone";
}

TEST_F(Delivery, LetsTheWindowHaveItsTurn) {
  // Each message takes longer than a slice: a timer gets in between.
  int ticks = 0;
  module->during = [] {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(25);
    while (std::chrono::steady_clock::now() < end) {
    }
  };
  for (int i = 0; i < 3; ++i) event(602);
  QTimer timer;
  QObject::connect(&timer, &QTimer::timeout, [&] { ticks += module->seen.size() < 3; });
  timer.start(0);
  EXPECT_TRUE(processUntil([this] { return module->seen.size() == 3; }));
  EXPECT_GT(ticks, 0);
}

TEST_F(Delivery, CarriesAllPositionsOfAnEvent) {
  wire::Event event;
  event.sequence = 12;
  event.kind = 602;
  event.time = 45000.5;
  event.key = "0123456789ABCDEF0123456789ABCDEF";
  event.param = "tbl=Analog,";
  event.user = "engineer";
  event.image = std::string("\1\0\2", 3);
  app.line->publish(event);
  MDXCliParam* const message = app.session.TakeMessage();
  ASSERT_NE(message, nullptr);
  const auto textAt = [&](int position) {
    char* text = nullptr;
    MDRGetTextPtr(MDXParamFld(message, position), message, &text);
    return std::string(text ? text : "");
  };
  double time = 0;
  MDRGetAsDouble(MDXParamFld(message, MDX_EVENT_TIME), message, &time);
  EXPECT_EQ(time, 45000.5);
  EXPECT_EQ(textAt(MDX_EVENT_KEY), event.key);
  EXPECT_EQ(textAt(MDX_EVENT_PARAM), event.param);
  EXPECT_EQ(textAt(MDX_EVENT_USER), event.user);
  int length = 0;
  void* data = nullptr;
  MDRGetTextRef(MDXParamFld(message, MDX_EVENT_IMAGE), message, &length, &data);
  EXPECT_EQ(std::string(static_cast<char*>(data), static_cast<size_t>(length)), *event.image);
  MDXParamFree(message);
}

}  // namespace
}  // namespace tlm::test
