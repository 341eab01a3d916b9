// The workstation on a server on the network.
#include <TlmClient/CPopMessageBox.h>
#include <TlmClient/CTlmCliAbo.h>
#include <TlmClient/CTlmCliApp.h>
#include <TlmServer/LiveValues.h>

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include "RetroWindow.h"
#include "StationApp.h"
#include "StationWindow.h"
#include "plainModule.h"
#include "support/EmbeddedServer.h"
#include "support/Gui.h"
#include "support/ModelText.h"
#include "support/NetworkServer.h"
#include "support/Peer.h"
#include "support/Proxy.h"

namespace tlm::test {
namespace {

constexpr char kModel[] = R"(
table MeasurementUnit Мегаватт {symbol=МВт}
unit КП-1
  analog 1001 P Т-1 {UnitKey=@Мегаватт;decimals=1}
)";

class RemoteStation : public testing::Test {
 protected:
  RemoteStation() : model(kModel), network(*model.core()), proxy(network.tcp()) {
    QString problem;
    server = StationServer::connect(QString::fromStdString(proxy.address()), "engineer", &problem);
    EXPECT_NE(server, nullptr) << problem.toStdString();
    const auto factory = [this](CTlmCliApp* host, const QByteArray&) -> CTlmCliMod* {
      return new PlainModule(host, &log, 1);
    };
    app = std::make_unique<StationApp>(
        *server, StationSetup{"config", "engineer", folder.filePath("settings.ini"), factory, nullptr});
  }

  StationWindow* open() {
    QString problem;
    StationWindow* const window = app->openWindow(&problem);
    EXPECT_NE(window, nullptr) << problem.toStdString();
    return window;
  }
  void breakLine() {
    proxy.refuse(true);
    proxy.cut();
  }

  EmbeddedServer model;
  NetworkServer network;
  Proxy proxy;
  QTemporaryDir folder;
  QStringList log;
  std::unique_ptr<StationServer> server;
  std::unique_ptr<StationApp> app;
};

TEST_F(RemoteStation, ShowsTheServerInTheStatusBar) {
  EXPECT_EQ(open()->connectionText(), QString("Сервер: %1").arg(proxy.address().c_str()));
}

TEST_F(RemoteStation, ShowsThatTheLineIsBrokenAndIsBack) {
  StationWindow* const window = open();
  breakLine();
  const QString dead = QString("Нет связи с сервером %1, идет подключение").arg(proxy.address().c_str());
  EXPECT_TRUE(eventually([&] { return window->connectionText() == dead; }));
  proxy.refuse(false);
  EXPECT_TRUE(eventually([&] { return window->connectionText().startsWith("Сервер: "); }));
}

TEST_F(RemoteStation, GivesEachWindowALineOfItsOwn) {
  StationWindow* const first = open();
  StationWindow* const second = open();
  EXPECT_NE(first->module()->abo->Session(), second->module()->abo->Session());
}

TEST_F(RemoteStation, SaysWhyASecondWindowHasNoLine) {
  open();
  breakLine();
  network.stop();
  QString problem;
  EXPECT_EQ(app->openWindow(&problem), nullptr);
  EXPECT_TRUE(problem.contains(proxy.address().c_str())) << problem.toStdString();
  EXPECT_EQ(app->windows().size(), 1u);
}

TEST_F(RemoteStation, OffersToLoadAnewWhenEventsAreLost) {
  StationWindow* const window = open();
  const int kinds[] = {602};
  window->module()->abo->SubEvent(kinds, 1);
  Peer writer([&] {
    std::string problem;
    return connectToServer(quickLine(network.tcp()), &problem);
  }());
  ASSERT_EQ(writer.rename(keyOf("P Т-1"), "before"), 0);
  CTlmCliMod* const module = window->module();
  breakLine();
  ASSERT_TRUE(eventually([&] { return window->connectionText().startsWith("Нет связи"); }));
  EmbeddedServer reset(kModel);  // as after the store was set back: it never gave a number as high
  NetworkServer second(*reset.core());
  proxy.retarget(second.tcp());
  proxy.refuse(false);
  ASSERT_TRUE(eventually([&] { return window->question() && window->question()->isVisible(); }));
  EXPECT_TRUE(window->question()->messageText().contains("Загрузить модель заново?"));
  log.clear();
  answerBox(window->question(), 0);
  ASSERT_NE(window->module(), nullptr);
  EXPECT_NE(window->module(), module);
  EXPECT_TRUE(log.contains("start, shown")) << log.join(", ").toStdString();
}

TEST_F(RemoteStation, KeepsItsModuleWhenThereIsNoLineToLoadItAnew) {
  StationWindow* const window = open();
  CTlmCliMod* const module = window->module();
  window->showRefused(wire::kUnavailable, {});
  answerBox(window->question(), 1);
  breakLine();
  network.stop();
  log.clear();
  EXPECT_FALSE(window->loadAnew());
  EXPECT_EQ(window->module(), module);
  EXPECT_EQ(log, QStringList());
  EXPECT_EQ(window->refusedText(), "Отказов записи: 1");
  EXPECT_EQ(window->question()->messageText(),
            QString("Сервер «%1» не отвечает.").arg(QString::fromStdString(proxy.address())));
  answerBox(window->question(), 0);
}

class LastWords : public RemoteStation {
 protected:
  // What the server refuses, and nobody waits for its answer.
  static void writeBadly(StationWindow& window) {
    CMDArray set;
    Peer::fillName(keyOf("P Т-1"), "nowhere", &set);
    CTlmCliSes* const session = window.module()->abo->Session();
    ASSERT_TRUE(session->SqlUpdate("NoSuchTable", set.array, true, nullptr));
  }
};

TEST_F(LastWords, OfAWindowThatClosesAreShownByOneThatIsOpen) {
  StationWindow* const first = open();
  StationWindow* const second = open();
  writeBadly(*first);
  delete first;
  EXPECT_EQ(second->refusedText(), "Отказов записи: 1");
  answerBox(second->question(), 1);
  EXPECT_EQ(app->closeAll(), QString());
}

TEST_F(LastWords, OfTheLastWindowAreLeftToTheProgram) {
  writeBadly(*open());
  EXPECT_EQ(app->closeAll().section("\n", 0, 0), "Сервер не принял изменения: на сервере нет такой таблицы.");
  EXPECT_EQ(app->closeAll(), QString()) << "and told once";
}

TEST_F(LastWords, AreNoneWhenAllIsWritten) {
  open();
  EXPECT_EQ(app->closeAll(), QString());
}

TEST_F(LastWords, OfAModelThatIsLoadedAnewAreShown) {
  StationWindow* const window = open();
  writeBadly(*window);
  ASSERT_TRUE(window->loadAnew());
  EXPECT_EQ(window->refusedText(), "Отказов записи: 1");
  answerBox(window->question(), 1);
}

TEST_F(RemoteStation, ShowsARetrospectiveOfValuesOverThere) {
  StationWindow* const window = open();
  model.core()->live().set(1001, {server::systemTime() - 0.01, server::Quality::kGood, 1.0});
  model.core()->live().set(1001, {server::systemTime(), server::Quality::kGood, 2.0});
  const QByteArray parameter = "TlmRetro.modRetroQuick;Key=" + QByteArray::fromStdString(keyOf("P Т-1"));
  TlmHostCall call{0, "RUN_MOD", parameter.constData()};
  ASSERT_TRUE(window->module()->doCall(64, &call));
  EXPECT_EQ(app->lastRetro()->windowTitle(), "Ретроспектива: P Т-1");
  EXPECT_EQ(app->lastRetro()->refresh(), 2);
}

}  // namespace
}  // namespace tlm::test
