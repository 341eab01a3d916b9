// The workstation in the test's own process, around a plain module.
#include <TlmClient/CPopMessageBox.h>
#include <TlmClient/CTlmCliAbo.h>
#include <TlmClient/CTlmCliApp.h>
#include <TlmClient/CTlmCliSes.h>
#include <TlmMdx/CMDArray.h>

#include <QFile>
#include <QMouseEvent>
#include <QPixmap>
#include <QPointer>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTextCodec>
#include <QToolButton>
#include <QWheelEvent>

#include <gtest/gtest.h>

#include "FormWindow.h"
#include "RetroWindow.h"
#include "StationApp.h"
#include "StationCore.h"
#include "StationWindow.h"
#include "plainModule.h"
#include "retroChart.h"
#include "schemeView.h"
#include "support/Gui.h"

namespace tlm::test {
namespace {

class Station : public testing::Test {
 protected:
  Station() : server(openCore(kStationModel), "model.tlm") { startApp(); }

  void startApp() {
    const auto factory = [this](CTlmCliApp* host, const QByteArray& name) -> CTlmCliMod* {
      return name == "config" ? new PlainModule(host, &log, startResult) : nullptr;
    };
    app = std::make_unique<StationApp>(
        server, StationSetup{moduleName, "engineer", folder.filePath("settings.ini"), factory, nullptr});
  }

  StationWindow* open() {
    QString problem;
    StationWindow* const window = app->openWindow(&problem);
    EXPECT_NE(window, nullptr) << problem.toStdString();
    return window;
  }

  bool call(StationWindow* window, const char* command, const QByteArray& parameter, int flags = 0) {
    TlmHostCall data{flags, command, parameter.constData()};
    return window->module()->doCall(64, &data);
  }
  static QByteArray retro(const char* name) {
    return "TlmRetro.modRetroQuick;Key=" + QByteArray::fromStdString(keyOf(name));
  }

  QTemporaryDir folder;
  QStringList log;
  int startResult = 1;
  QString moduleName = "config";
  StationServer server;
  std::unique_ptr<StationApp> app;
};

TEST_F(Station, ShowsTheWindowBeforeTheModuleStarts) {
  open();
  EXPECT_EQ(log, QStringList("start, shown"));
}

TEST_F(Station, ShowsTitleConnectionUserAndEdits) {
  StationWindow* const window = open();
  EXPECT_EQ(window->windowTitle(), "Plain[*]");
  EXPECT_TRUE(window->connectionText().contains("model.tlm"));
  EXPECT_EQ(window->editText(), "Изменений нет");
  window->module()->SetIsEdit(true);
  EXPECT_EQ(window->editText(), "Есть несохраненные изменения");
  EXPECT_TRUE(window->isWindowModified());
  window->module()->SetIsEdit(false);
  EXPECT_EQ(window->editText(), "Изменений нет");
}

TEST_F(Station, TellsOfAModuleThatIsUnknown) {
  moduleName = QString::fromUtf8("нет такого");
  startApp();
  QString problem;
  EXPECT_EQ(app->openWindow(&problem), nullptr);
  EXPECT_EQ(problem, "В библиотеке нет модуля с именем «нет такого».");
  EXPECT_TRUE(app->windows().empty());
}

TEST_F(Station, TellsOfAModuleThatDoesNotStart) {
  startResult = 0;
  QString problem;
  EXPECT_EQ(app->openWindow(&problem), nullptr);
  EXPECT_EQ(problem, "Модуль «config» не запустился.");
  EXPECT_TRUE(log.contains("deleted"));
}

// ---- the state between runs ----

TEST_F(Station, GivesNoStateAtTheFirstStart) {
  open();
  EXPECT_FALSE(log.join('|').contains("state"));
}

TEST_F(Station, GivesTheStateBackAtTheNextStart) {
  static_cast<PlainModule*>(open()->module())->state = "cpp_mod=a.1,splitter=AAA=";
  app.reset();
  log.clear();
  startApp();
  open();
  EXPECT_EQ(log, QStringList({"state cpp_mod=a.1,splitter=AAA=", "start, shown"}));
}

TEST_F(Station, KeepsAStateForEachWindow) {
  static_cast<PlainModule*>(open()->module())->state = "first";
  static_cast<PlainModule*>(open()->module())->state = "second";
  app.reset();
  log.clear();
  startApp();
  open();
  open();
  EXPECT_EQ(log, QStringList({"state first", "start, shown", "state second", "start, shown"}));
}

TEST_F(Station, KeepsTheOldStateWhenTheModuleHasNone) {
  static_cast<PlainModule*>(open()->module())->state = "first";
  app.reset();
  startApp();
  static_cast<PlainModule*>(open()->module())->state = QString();
  app.reset();
  log.clear();
  startApp();
  open();
  EXPECT_EQ(log.first(), "state first");
}

// ---- the end of a window ----

TEST_F(Station, ClosesWithoutAQuestionWhenNothingIsPending) {
  QPointer<StationWindow> window = open();
  window->close();
  settle();
  EXPECT_TRUE(window.isNull());
  EXPECT_EQ(log, QStringList({"start, shown", "stop", "deleted"}));
  EXPECT_TRUE(app->windows().empty());
}

TEST_F(Station, AsksBeforeItClosesOverUnsavedEdits) {
  QPointer<StationWindow> window = open();
  window->module()->SetIsEdit(true);
  window->close();
  settle();
  ASSERT_FALSE(window.isNull());
  EXPECT_TRUE(window->isVisible());
  ASSERT_NE(window->question(), nullptr);
  EXPECT_EQ(window->question()->type(), kBoxYesNo);
  answerBox(window->question(), 1);
  settle();
  ASSERT_FALSE(window.isNull()) << "it stays";
  EXPECT_FALSE(window->question()->isVisible());
  window->close();
  answerBox(window->question(), 0);
  settle();
  EXPECT_TRUE(window.isNull()) << "it goes without them";
}

TEST_F(Station, GoesWithItsWindowsWithoutAQuestion) {
  open()->module()->SetIsEdit(true);
  open();
  app.reset();
  EXPECT_EQ(log.count("deleted"), 2);
}

// ---- two windows ----

TEST_F(Station, OpensASecondWindowOnTheSameModel) {
  StationWindow* const first = open();
  first->openSecond();
  ASSERT_EQ(app->windows().size(), 2u);
  StationWindow* const second = app->windows()[1];
  EXPECT_EQ(second->windowTitle(), "Plain (окно 2)[*]");
  EXPECT_EQ(first->module()->instance, "1");
  EXPECT_EQ(second->module()->instance, "2");
  EXPECT_NE(first->module()->abo, second->module()->abo);
}

TEST_F(Station, GivesTheNumberOfAClosedWindowAway) {
  StationWindow* const first = open();
  open();
  first->close();
  settle();
  EXPECT_EQ(open()->number(), 1);
}

// ---- refused writes and messages ----

// A block that nobody waits for and that the server does not take.
void sendWhatIsRefused(StationWindow* window) {
  CMDArray rows;
  const MDRFldDesc field{"NoSuchField", 0, MDX_INT32, {}};
  MDAFldAdd(rows.array, 1, &field);
  MDRData* const record = rows.RecPost(MDARecNew(rows.array));
  MDRSetFlags(record, MDX_REC_UPDATE);
  const QString before = window->refusedText();
  ASSERT_TRUE(window->module()->abo->Session()->SqlUpdate("Analog", rows.array, true, nullptr));
  EXPECT_TRUE(processUntil([&] { return window->refusedText() != before; }));
}

QToolButton* anewButton(StationWindow* window) { return window->statusBar()->findChild<QToolButton*>(); }

TEST_F(Station, TellsOfARefusedWriteAndOffersToLoadAnew) {
  StationWindow* const window = open();
  EXPECT_EQ(window->refusedText(), QString());
  EXPECT_FALSE(anewButton(window)->isVisible());
  sendWhatIsRefused(window);
  EXPECT_EQ(window->refusedText(), "Отказов записи: 1");
  EXPECT_TRUE(anewButton(window)->isVisible());
  ASSERT_NE(window->question(), nullptr);
  EXPECT_EQ(window->question()->titleText(), "Изменения не записаны");
  EXPECT_TRUE(window->question()->messageText().startsWith("Сервер не принял изменения: "));
  EXPECT_TRUE(window->question()->messageText().endsWith("Загрузить модель заново?"));
  EXPECT_EQ(window->question()->type(), kBoxYesNo);
  answerBox(window->question(), 1);
}

TEST_F(Station, KeepsItsModuleWhenTheOfferIsDeclined) {
  StationWindow* const window = open();
  CTlmCliMod* const module = window->module();
  sendWhatIsRefused(window);
  answerBox(window->question(), 1);
  EXPECT_FALSE(window->question()->isVisible());
  EXPECT_EQ(window->module(), module);
  EXPECT_EQ(log, QStringList("start, shown"));
  EXPECT_EQ(window->refusedText(), "Отказов записи: 1");
  sendWhatIsRefused(window);
  EXPECT_EQ(window->refusedText(), "Отказов записи: 2");
  answerBox(window->question(), 1);
}

TEST_F(Station, LoadsAnewWithTheStateOfTheModuleThatGoes) {
  StationWindow* const window = open();
  static_cast<PlainModule*>(window->module())->state = "splitter";
  log.clear();
  sendWhatIsRefused(window);
  answerBox(window->question(), 0);
  EXPECT_EQ(log, QStringList({"stop", "deleted", "state splitter", "start, shown"}));
  EXPECT_EQ(window->refusedText(), QString());
  EXPECT_FALSE(anewButton(window)->isVisible());
  EXPECT_EQ(window->centralWidget(), window->module());
  EXPECT_EQ(window->module()->instance, "1");
  sendWhatIsRefused(window);
  EXPECT_EQ(window->refusedText(), "Отказов записи: 1") << "the new session is watched";
  answerBox(window->question(), 1);
}

TEST_F(Station, LoadsAnewFromTheStatusBar) {
  StationWindow* const window = open();
  sendWhatIsRefused(window);
  answerBox(window->question(), 1);
  log.clear();
  QTest::mouseClick(anewButton(window), Qt::LeftButton);
  EXPECT_EQ(log, QStringList({"stop", "deleted", "state kept", "start, shown"}));
}

TEST_F(Station, WarnsThatLoadingAnewDropsWhatIsNotSaved) {
  StationWindow* const window = open();
  window->module()->SetIsEdit(true);
  sendWhatIsRefused(window);
  EXPECT_TRUE(window->question()->messageText().endsWith("Несохраненные изменения пропадут."));
  answerBox(window->question(), 0);
  EXPECT_EQ(window->editText(), "Изменений нет");
}

TEST_F(Station, AsksBeforeTheStatusBarDropsWhatIsNotSaved) {
  StationWindow* const window = open();
  sendWhatIsRefused(window);
  answerBox(window->question(), 1);
  CTlmCliMod* const module = window->module();
  module->SetIsEdit(true);
  QTest::mouseClick(anewButton(window), Qt::LeftButton);
  ASSERT_TRUE(window->question()->isVisible());
  EXPECT_EQ(window->question()->messageText(), "Загрузить модель заново? Несохраненные изменения пропадут.");
  answerBox(window->question(), 1);
  EXPECT_EQ(window->module(), module);
  QTest::mouseClick(anewButton(window), Qt::LeftButton);
  log.clear();
  answerBox(window->question(), 0);
  EXPECT_TRUE(log.contains("start, shown"));
}

TEST_F(Station, TellsThatAWriteWithoutAnAnswerMayBeWritten) {
  StationWindow* const window = open();
  window->showRefused(wire::kUnavailable, "the server is not heard any more");
  EXPECT_EQ(window->question()->titleText(), "Ответ на запись не получен");
  EXPECT_TRUE(window->question()->messageText().startsWith(
      "Связь с сервером потеряна. Записаны ли изменения, неизвестно.\n\n"));
  EXPECT_FALSE(window->question()->messageText().contains("heard"));
  answerBox(window->question(), 1);
}

TEST_F(Station, TellsWhenTheModuleDoesNotComeBack) {
  StationWindow* const window = open();
  startResult = 0;
  EXPECT_FALSE(window->loadAnew());
  EXPECT_EQ(window->question()->messageText(), "Модуль «config» не запустился.");
  answerBox(window->question(), 0);
}

TEST_F(Station, CanLoadAnewOnceMoreWhenTheModuleDidNotComeBack) {
  StationWindow* const window = open();
  startResult = 0;
  EXPECT_FALSE(window->loadAnew());
  answerBox(window->question(), 0);
  startResult = 1;
  ASSERT_TRUE(anewButton(window)->isVisible());
  QTest::mouseClick(anewButton(window), Qt::LeftButton);
  ASSERT_NE(window->module(), nullptr);
  EXPECT_FALSE(anewButton(window)->isVisible());
}

TEST_F(Station, TellsAboutItself) {
  StationWindow* const window = open();
  window->showAbout();
  EXPECT_TRUE(window->question()->messageText().contains("model.tlm"));
  answerBox(window->question(), 0);
}

// ---- commands of modules ----

TEST_F(Station, OpensTheRetrospectiveOfAMeasurement) {
  StationWindow* const window = open();
  const double now = server::systemTime();
  for (int i = 10; i > 0; --i) {
    server.core().live().set(1001, {now - i / 86'400.0, server::Quality::kGood, 100.0 + i});
  }
  EXPECT_TRUE(call(window, "RUN_MOD", retro("P Т-1")));
  ASSERT_NE(app->lastRetro(), nullptr);
  EXPECT_TRUE(app->lastRetro()->isVisible());
  EXPECT_EQ(app->lastRetro()->windowTitle(), "Ретроспектива: P Т-1");
  EXPECT_EQ(app->lastRetro()->refresh(), 10);
  server.core().live().set(1001, {server::systemTime(), server::Quality::kGood, 7.0});
  EXPECT_EQ(app->lastRetro()->refresh(), 11);
  EXPECT_EQ(window->statusBar()->currentMessage(), "Открыта ретроспектива: P Т-1");
  app->lastRetro()->close();
  settle();
  EXPECT_EQ(app->lastRetro(), nullptr);
}

TEST_F(Station, OpensARetrospectiveBesideTheOtherWithControl) {
  StationWindow* const window = open();
  call(window, "RUN_MOD", retro("P Т-1"));
  QPointer<RetroWindow> first = app->lastRetro();
  call(window, "RUN_MOD", retro("Q-110"));
  EXPECT_EQ(app->lastRetro(), first) << "one window serves";
  EXPECT_EQ(first->object().locId, 1003);
  call(window, "RUN_MOD", retro("P Т-1"), 1);
  EXPECT_NE(app->lastRetro(), first);
  EXPECT_EQ(first->object().locId, 1003);
}

TEST_F(Station, LooksCloserAtTheRetrospectiveAndSavesIt) {
  StationWindow* const window = open();
  const double now = server::systemTime();
  for (int i = 0; i < 10; ++i)
    server.core().live().set(1001, {now - (10 - i) / 1440.0, server::Quality::kGood, 1.0 * i + 0.1234});
  call(window, "RUN_MOD", retro("P Т-1"));
  RetroWindow* const retrospective = app->lastRetro();
  auto* const chart = retrospective->findChild<RetroChart*>();
  const double all = chart->shownTo() - chart->shownFrom();
  QWidget* const view = chart->viewport();
  const QPoint middle = view->rect().center();
  EXPECT_EQ(chart->underCursor(), "");
  QMouseEvent over(QEvent::MouseMove, QPointF(chart->width() - 30, 50), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
  QCoreApplication::sendEvent(view, &over);
  EXPECT_TRUE(chart->underCursor().contains("   9.1 ")) << chart->underCursor().toStdString();
  QWheelEvent closer(middle, view->mapToGlobal(middle), {}, {0, 120}, Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase,
                     false);
  QCoreApplication::sendEvent(view, &closer);
  EXPECT_NEAR(chart->shownTo() - chart->shownFrom(), all * 0.8, all / 1000);
  const double from = chart->shownFrom();
  QTest::mousePress(view, Qt::LeftButton, Qt::NoModifier, middle);
  QMouseEvent drag(QEvent::MouseMove, middle + QPoint(20, 0), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
  QCoreApplication::sendEvent(view, &drag);
  EXPECT_LT(chart->shownFrom(), from);
  QTest::mouseDClick(view, Qt::LeftButton);
  EXPECT_NEAR(chart->shownTo() - chart->shownFrom(), all, all / 1000);
  const QTemporaryDir saved;
  ASSERT_TRUE(retrospective->saveCsv(saved.filePath("a.csv")));
  QFile csv(saved.filePath("a.csv"));
  ASSERT_TRUE(csv.open(QIODevice::ReadOnly));
  const QList<QByteArray> lines = csv.readAll().split('\n');
  ASSERT_EQ(lines.size(), 12);
  EXPECT_EQ(QString::fromUtf8(lines[0]), "Время;Значение;Качество");
  EXPECT_TRUE(QString::fromUtf8(lines[10]).endsWith("\"9.1 МВт\";достоверно")) << lines[10].toStdString();
  EXPECT_FALSE(retrospective->saveCsv("/nowhere/a.csv"));
  ASSERT_TRUE(retrospective->savePng(saved.filePath("a.png")));
  EXPECT_FALSE(QPixmap(saved.filePath("a.png")).isNull());
}

TEST_F(Station, RefusesTheRetrospectiveOfWhatIsNoMeasurement) {
  StationWindow* const window = open();
  EXPECT_FALSE(call(window, "RUN_MOD", retro("КП-1")));
  EXPECT_FALSE(call(window, "RUN_MOD", "TlmRetro.modRetroQuick;Key="));
  EXPECT_FALSE(call(window, "RUN_MOD", "TlmRetro.modRetroQuick"));
  EXPECT_EQ(app->lastRetro(), nullptr);
}

TEST_F(Station, RefusesWhatItCannotRun) {
  StationWindow* const window = open();
  EXPECT_FALSE(call(window, "RUN_MOD", "Other.module;Key=1"));
  EXPECT_EQ(window->statusBar()->currentMessage(), "Модуля «Other.module» на этой станции нет.");
  EXPECT_FALSE(call(window, "RUN_AWAY", "x"));
  EXPECT_FALSE(window->module()->doCall(64, nullptr));
  const QByteArray good = retro("P Т-1");
  TlmHostCall data{0, "RUN_MOD", good.constData()};
  EXPECT_FALSE(window->module()->doCall(65, &data));
  EXPECT_EQ(app->lastRetro(), nullptr);
}

TEST_F(Station, OpensALinkedFormWithTheLiveValue) {
  StationWindow* const window = open();
  server.core().live().set(1001, {server::systemTime(), server::Quality::kGood, 12.34});
  const QByteArray file = window->codec()->fromUnicode(QString::fromUtf8("схема.scheme"));
  EXPECT_TRUE(call(window, "RUN_FILE", file + ";object=" + QByteArray::fromStdString(keyOf("P Т-1"))));
  auto* const form = qobject_cast<FormWindow*>(app->lastForm());
  ASSERT_NE(form, nullptr);
  EXPECT_EQ(form->windowTitle(), QString::fromUtf8("схема.scheme"));
  EXPECT_EQ(form->valueText(), "12.3 МВт");
  server.core().live().set(1001, {server::systemTime(), server::Quality::kGood, 5.0});
  form->refresh();
  EXPECT_EQ(form->valueText(), "5 МВт");
  EXPECT_TRUE(form->isVisible());
  EXPECT_EQ(window->statusBar()->currentMessage(), QString::fromUtf8("Открыта форма: схема.scheme"));
  form->close();
  settle();
  EXPECT_EQ(app->lastForm(), nullptr);
}

TEST_F(Station, MarksTheMeasurementOnItsDiagram) {
  StationWindow* const window = open();
  const QByteArray object = ";object=" + QByteArray::fromStdString(keyOf("P Т-1"));  // number 1001
  ASSERT_TRUE(call(window, "RUN_FILE", "schemes/001.svg" + object));
  const auto* form = qobject_cast<FormWindow*>(app->lastForm());
  ASSERT_NE(form->scheme(), nullptr);
  EXPECT_FALSE(form->scheme()->marked().isEmpty());
  ASSERT_TRUE(call(window, "RUN_FILE", "schemes/002.svg" + object));  // shows another substation
  form = qobject_cast<FormWindow*>(app->lastForm());
  ASSERT_NE(form->scheme(), nullptr);
  EXPECT_TRUE(form->scheme()->marked().isEmpty());
}

TEST_F(Station, MarksNothingOfTheLineBelowTheMeasurementOnItsDiagram) {
  SchemeView scheme;
  scheme.resize(1310, 1061);  // the form's own size
  ASSERT_TRUE(scheme.load("schemes/001.svg"));
  ASSERT_TRUE(scheme.mark(1003));
  const QRect below = scheme.marked().toAlignedRect().adjusted(0, 1, 0, 0);
  ASSERT_TRUE(scheme.mark(1004));  // of another bay
  const QImage plain = scheme.grab(below).toImage();
  ASSERT_TRUE(scheme.mark(1001));
  EXPECT_EQ(scheme.grab(below).toImage(), plain);
}

TEST_F(Station, OpensAFormInPlaceOfTheOtherOrBesideIt) {
  StationWindow* const window = open();
  const QByteArray object = ";object=" + QByteArray::fromStdString(keyOf("P Т-1"));
  call(window, "RUN_FILE", "schemes/001.svg" + object);
  const QPointer<QWidget> first = app->lastForm();
  call(window, "RUN_FILE", "schemes/002.svg" + object);
  EXPECT_TRUE(first.isNull());
  const QPointer<QWidget> second = app->lastForm();
  call(window, "RUN_FILE", "schemes/001.svg" + object, 1);
  EXPECT_FALSE(second.isNull());
  EXPECT_NE(app->lastForm(), second);
  delete second;
}

TEST_F(Station, RefusesAFormOfAnObjectThatIsGone) {
  StationWindow* const window = open();
  EXPECT_FALSE(call(window, "RUN_FILE", "a.scheme;object=" + QByteArray(32, '0')));
  EXPECT_FALSE(call(window, "RUN_FILE", ";object=" + QByteArray::fromStdString(keyOf("P Т-1"))));
}

TEST_F(Station, SaysTheStateOfADiscreteInItsOwnWords) {
  const auto object = findObject(server, QString::fromStdString(keyOf("Q-110")));
  ASSERT_TRUE(object.has_value());
  EXPECT_EQ(object->unitName, "КП-1");
  EXPECT_EQ(shownValue({0, server::Quality::kGood, 1.0}, *object), "1 (Включен)");
  EXPECT_EQ(shownValue({0, server::Quality::kGood, 0.0}, *object), "0 (Отключен)");
}

TEST_F(Station, LetsValuesMove) {
  server.startSimulator();
  EXPECT_TRUE(server.core().live().current(1001).has_value());
  const double now = server::systemTime();
  EXPECT_GE(server.core().live().history(1001, now - 1, now).size(), 30u);
}

}  // namespace
}  // namespace tlm::test
