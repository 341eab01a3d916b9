// The window of a linked form: what it tells of its object, and how its diagram stands in it.
#include <QApplication>
#include <QGridLayout>
#include <QLabel>

#include <gtest/gtest.h>

#include "FormWindow.h"
#include "StationCore.h"
#include "schemeView.h"
#include "stationServer.h"
#include "support/Gui.h"

namespace tlm::test {
namespace {

class FormWindowTest : public testing::Test {
 protected:
  FormWindowTest() : server(openCore(kStationModel), "model.tlm") {}

  void open(const char* name) {
    const auto object = findObject(server, QString::fromStdString(keyOf(name)));
    ASSERT_TRUE(object.has_value());
    form = std::make_unique<FormWindow>(server, "other.svg", *object);
  }
  // What stands beside a title; "absent" without such a row.
  QString row(const QString& title) const {
    for (const QLabel* label : form->findChildren<QLabel*>()) {
      if (label->text() != title) continue;
      for (const QGridLayout* facts : form->findChildren<QGridLayout*>()) {
        for (int row = 0; row < facts->rowCount(); ++row) {
          for (int column = 0; column + 1 < facts->columnCount(); column += 2) {
            QLayoutItem* const name = facts->itemAtPosition(row, column);
            if (name && name->widget() == label)
              return qobject_cast<QLabel*>(facts->itemAtPosition(row, column + 1)->widget())->text();
          }
        }
      }
    }
    return "absent";
  }

  StationServer server;
  std::unique_ptr<FormWindow> form;
};

TEST_F(FormWindowTest, TellsWhatItsObjectIs) {
  open("P Т-1");
  EXPECT_EQ(row("Объект"), "P Т-1");
  EXPECT_EQ(row("Класс"), "Аналоговое измерение");
  EXPECT_EQ(row("Устройство"), "КП-1");
  EXPECT_EQ(row("Номер"), "1001");
  EXPECT_EQ(row("Файл формы"), "other.svg");
}

TEST_F(FormWindowTest, HasTheTitleOfItsFormOrElseOfItsFile) {
  EXPECT_EQ(formTitle(server, "вторая.svg"), "ПС Северная");
  EXPECT_EQ(formTitle(server, "first.svg"), "Первая");
  open("P Т-1");
  EXPECT_EQ(form->windowTitle(), "other.svg");
}

TEST_F(FormWindowTest, OfAUnitHasNeitherNumberNorUnitNorValue) {
  open("КП-1");
  EXPECT_EQ(row("Класс"), "Устройство");
  EXPECT_EQ(row("Устройство"), "absent");
  EXPECT_EQ(row("Номер"), "absent");
  for (const char* title : {"Значение", "Качество", "Время"}) EXPECT_EQ(row(title), "нет") << title;
}

TEST_F(FormWindowTest, TellsValueQualityAndTime) {
  const double now = server::systemTime();
  server.core().live().set(1001, {now, server::Quality::kOld, 12.34});
  open("P Т-1");
  EXPECT_EQ(row("Значение"), "12.3 МВт");
  EXPECT_EQ(row("Качество"), "устарело");
  EXPECT_EQ(row("Время"), localTime(now).toString("dd.MM.yyyy hh:mm:ss"));
}

TEST_F(FormWindowTest, FollowsTheValueWhileItIsOpen) {
  open("P Т-1");
  EXPECT_EQ(form->valueText(), "нет");
  server.core().live().set(1001, {server::systemTime(), server::Quality::kGood, 5.0});
  EXPECT_TRUE(processUntil([&] { return form->valueText() == "5 МВт"; }));
}

// ---- the diagram ----

class SchemeViewTest : public testing::Test {
 protected:
  SchemeViewTest() { EXPECT_TRUE(view.load("schemes/001.svg")); }
  QSizeF markedIn(int width, int height) {
    view.resize(width, height);
    return view.marked().size();
  }
  int framePixels() {
    const QImage image = view.grab().toImage();
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
      for (int x = 0; x < image.width(); ++x) count += image.pixelColor(x, y) == QColor("#e08a00") ? 1 : 0;
    return count;
  }
  SchemeView view;
};

TEST_F(SchemeViewTest, FitsIntoRoomOfAnyShape) {
  ASSERT_TRUE(view.mark(1001));
  EXPECT_EQ(markedIn(3000, 400), markedIn(2000, 400));
  EXPECT_EQ(markedIn(500, 3000), markedIn(500, 2000));
  EXPECT_GT(markedIn(1000, 800).width(), markedIn(500, 400).width() * 1.9);
}

TEST_F(SchemeViewTest, DrawsAFrameAboutTheMarkedMeasurement) {
  view.resize(1300, 900);
  EXPECT_EQ(framePixels(), 0);
  ASSERT_TRUE(view.mark(1001));
  EXPECT_GT(framePixels(), 20);
  EXPECT_FALSE(view.mark(77));
  EXPECT_EQ(framePixels(), 0);
}

}  // namespace
}  // namespace tlm::test
