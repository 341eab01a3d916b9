// The window of the retrospective: which values it shows, its table, what it saves.
#include <QApplication>
#include <QChart>
#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QValueAxis>

#include <gtest/gtest.h>

#include "RetroWindow.h"
#include "StationCore.h"
#include "retroChart.h"
#include "stationServer.h"
#include "support/Gui.h"

namespace tlm::test {
namespace {

using server::Quality;

constexpr double kHour = 1.0 / 24;
constexpr double kSecond = 1.0 / 86'400;

class RetroWindowTest : public testing::Test {
 protected:
  RetroWindowTest() : server(openCore(kStationModel), "model.tlm"), window(server), table(child<QTableWidget>()) {}

  template <class Child>
  Child* child() {
    return window.findChild<Child*>();
  }
  void put(int locId, double time, std::variant<double, std::string> value, Quality quality = Quality::kGood) {
    server.core().live().set(locId, {time, quality, std::move(value)});
  }
  void open(const char* name) {
    const auto object = findObject(server, QString::fromStdString(keyOf(name)));
    ASSERT_TRUE(object.has_value());
    window.setObject(*object);
  }
  QString cell(int row, int column) const { return table->item(row, column)->text(); }
  bool tells(const QString& text) const {
    const auto labels = window.findChildren<QLabel*>();
    return std::any_of(labels.begin(), labels.end(), [&](const QLabel* label) { return label->text() == text; });
  }
  // Presses a button, and names that file in the dialog that it opens; none: cancels it.
  void saveBy(const QString& button, const QString& file) {
    QTimer::singleShot(0, [file] {
      auto* const dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
      ASSERT_NE(dialog, nullptr);
      dialog->findChild<QLineEdit*>("fileNameEdit")->setText(file);
      file.isEmpty() ? static_cast<QDialog*>(dialog)->reject() : static_cast<QDialog*>(dialog)->accept();
    });
    for (QPushButton* each : window.findChildren<QPushButton*>())
      if (each->text() == button) QTest::mouseClick(each, Qt::LeftButton);
  }

  const double now = server::systemTime();
  StationServer server;
  RetroWindow window;
  QTableWidget* const table;
};

TEST_F(RetroWindowTest, ShowsTheValuesOfOneDay) {
  put(1001, now - 25 * kHour, 1.0);
  put(1001, now - 23 * kHour, 2.0);
  put(1001, now, 3.0);
  open("P Т-1");
  EXPECT_EQ(window.refresh(), 2);
  EXPECT_EQ(window.chart()->points(), 2u);
}

TEST_F(RetroWindowTest, ItsTableIsNewestFirst) {
  put(1001, now - 2 * kSecond, 1.0);
  put(1001, now - kSecond, 2.5, Quality::kOld);
  open("P Т-1");
  ASSERT_EQ(table->rowCount(), 2);
  EXPECT_EQ(cell(0, 0), localTime(now - kSecond).toString("dd.MM.yyyy hh:mm:ss"));
  EXPECT_EQ(cell(0, 1), "2.5 МВт");
  EXPECT_EQ(cell(0, 2), "устарело");
  EXPECT_EQ(cell(1, 1), "1 МВт");
  EXPECT_EQ(cell(1, 2), "достоверно");
}

TEST_F(RetroWindowTest, ItsTableHoldsAllThatTheServerKeeps) {
  for (int i = 128; i > 0; --i) put(1001, now - i * kSecond, 1.0 * i);
  open("P Т-1");
  ASSERT_EQ(table->rowCount(), 128);
  EXPECT_EQ(cell(127, 1), "128 МВт");
}

TEST_F(RetroWindowTest, ItsTableIsForReading) {
  put(1001, now, 1.0);
  open("P Т-1");
  window.show();
  const QPoint there = table->visualItemRect(table->item(0, 1)).center();
  QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, there);
  QTest::mouseDClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, there);
  EXPECT_EQ(table->viewport()->findChild<QLineEdit*>(), nullptr);
}

TEST_F(RetroWindowTest, NamesItsObjectAndItsValueNow) {
  open("P Т-1");
  EXPECT_TRUE(tells("КП-1: P Т-1"));
  EXPECT_TRUE(tells("№ 1001    Значение: нет    "));
  put(1001, now, 2.5, Quality::kInvalid);
  window.refresh();
  EXPECT_TRUE(tells("№ 1001    Значение: 2.5 МВт    недостоверно"));
  ObjectInfo object = window.object();
  object.unitName.clear();
  window.setObject(object);
  EXPECT_TRUE(tells("P Т-1"));
}

TEST_F(RetroWindowTest, FollowsTheValuesWhileItIsOpen) {
  open("P Т-1");
  put(1001, server::systemTime(), 7.0);
  EXPECT_TRUE(processUntil([&] { return table->rowCount() == 1; }));
}

TEST_F(RetroWindowTest, DrawsStatesAsStepsWithRoomAboutThem) {
  put(1003, now - kSecond, 0.0);
  put(1003, now, 1.0);
  open("Q-110");
  const auto* const axis = qobject_cast<QtCharts::QValueAxis*>(window.chart()->chart()->axes(Qt::Vertical).at(0));
  EXPECT_LT(axis->min(), 0);
  EXPECT_GT(axis->max(), 1);
  EXPECT_EQ(cell(0, 1), "1 (Включен)");
}

// ---- what it saves ----

TEST_F(RetroWindowTest, SavesATextThatBreaksNoCell) {
  put(1004, now, std::string("a\"b;c"));
  open("Режим");
  const QTemporaryDir folder;
  ASSERT_TRUE(window.saveCsv(folder.filePath("a.csv")));
  QFile csv(folder.filePath("a.csv"));
  ASSERT_TRUE(csv.open(QIODevice::ReadOnly));
  EXPECT_TRUE(csv.readAll().contains(";\"a\"\"b;c\";"));
}

TEST_F(RetroWindowTest, SavesWhereItIsTold) {
  put(1001, now, 1.0);
  open("P Т-1");
  const QTemporaryDir folder;
  saveBy("Сохранить таблицу…", folder.filePath("a.csv"));
  saveBy("Сохранить график…", folder.filePath("a.png"));
  QFile csv(folder.filePath("a.csv"));
  ASSERT_TRUE(csv.open(QIODevice::ReadOnly));
  EXPECT_TRUE(QString::fromUtf8(csv.readLine()).startsWith("Время;"));
  EXPECT_FALSE(QPixmap(folder.filePath("a.png")).isNull());
  saveBy("Сохранить таблицу…", "");
  EXPECT_TRUE(tells("КП-1: P Т-1")) << "nothing to tell of";
}

TEST_F(RetroWindowTest, TellsOfAFileThatIsNotWritten) {
  open("P Т-1");
  saveBy("Сохранить таблицу…", "/nowhere/a.csv");
  EXPECT_TRUE(tells("Файл не записан: /nowhere/a.csv"));
}

}  // namespace
}  // namespace tlm::test
