// A sort moves rows; what is selected, current, open and in the sheet stays with its object.
#include <QHeaderView>
#include <QSignalSpy>

#include "ModuleWindow.h"

namespace tlm::test {
namespace {

constexpr char kUnsorted[] = R"(folder Б
  unit КП-2
    analog 5 Ток
    analog 4 Я
    analog 9 Амперы
    discrete 7 Ключ
  unit КП-1
    analog 8 Уровень
folder А
  unit КП-3
    analog 6 Ёмкость
unit КП-4
analog 3 Ток сам
)";

class Sorted : public ModuleWindow {
 protected:
  Sorted() : ModuleWindow(kUnsorted) {
    start();
    module->resize(1000, 700);
    settle();
  }
  void clickHeader(int column) {
    QHeaderView* header = tree()->header();
    const QPoint at(header->sectionViewportPosition(column) + header->sectionSize(column) / 2, header->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier, at);
    settle();
  }
  QStringList selected() {
    QStringList names;
    for (const QModelIndex& each : tree()->selectionModel()->selectedIndexes()) names += each.data().toString();
    names.sort();
    return names;
  }
  // What is painted as selected, row by row of the tree.
  QStringList painted(const QModelIndex& parent = QModelIndex()) {
    QStringList names;
    for (int row = 0; row < module->treeModel->rowCount(parent); ++row) {
      const QModelIndex index = module->treeModel->index(row, 0, parent);
      if (tree()->selectionModel()->isSelected(index)) names += index.data().toString();
      names += painted(index);
    }
    names.sort();
    return names;
  }
  QString current() { return tree()->currentIndex().data().toString(); }
};

TEST_F(Sorted, TheSelectedRowStaysSelectedWithItsSheet) {
  click("Ток");
  for (int column : {0, 1, 1, 0}) {
    clickHeader(column);
    EXPECT_EQ(current(), "Ток");
    EXPECT_EQ(selected(), QStringList("Ток"));
    EXPECT_EQ(painted(), QStringList("Ток"));
    EXPECT_EQ(shown("Наименование"), "Ток");
  }
}

TEST_F(Sorted, SeveralSelectedStaySelected) {
  click("Амперы");
  click(find("Я"), Qt::ControlModifier);
  click(find("Ключ"), Qt::ControlModifier);
  const QStringList all{"Амперы", "Ключ", "Я"};
  ASSERT_EQ(selected(), all);
  for (int column : {0, 1, 1, 0}) {
    clickHeader(column);
    EXPECT_EQ(selected(), all);
    EXPECT_EQ(painted(), all);
  }
}

TEST_F(Sorted, SeveralSelectedAtTheTopStaySelected) {
  click("А");
  click(find("Б"), Qt::ShiftModifier);
  const QStringList all{"А", "Б"};
  ASSERT_EQ(selected(), all);
  QSignalSpy changes(tree()->selectionModel(), &QItemSelectionModel::selectionChanged);
  for (int column : {0, 1, 1, 0}) {
    clickHeader(column);
    EXPECT_EQ(selected(), all);
    EXPECT_EQ(painted(), all);
  }
  EXPECT_EQ(changes.count(), 0) << "the same objects are selected: nothing to save, nothing to show anew";
}

TEST_F(Sorted, WhatIsOpenStaysOpen) {
  for (const char* name : {"Ток", "Ёмкость"}) tree()->scrollTo(find(name));
  const QStringList open = openRows();
  ASSERT_GE(open.size(), 6);
  for (int column : {0, 1, 1, 0}) {
    clickHeader(column);
    EXPECT_EQ(openRows(), open);
  }
}

TEST_F(Sorted, ARowThatTookThePlaceOfTheSelectedOneIsShownByAClick) {
  click("Амперы");
  clickHeader(0);  // the last one stands there now
  click("Я");
  EXPECT_EQ(current(), "Я");
  EXPECT_EQ(shown("Наименование"), "Я");
}

// The new row lands where the current one stood.
TEST_F(Sorted, ANewObjectIsShownWhereverItLands) {
  for (const char* beside : {"Ток", "Я", "Амперы", "Ток сам"}) {
    click(beside);
    module->actAddAnalog->trigger();
    settle();
    EXPECT_EQ(current(), "Новое аналоговое измерение");
    EXPECT_EQ(selected(), QStringList(current()));
    EXPECT_EQ(shown("Наименование"), "Новое аналоговое измерение") << beside;
    module->onActCancel_Triggered();
    settle();
  }
}

}  // namespace
}  // namespace tlm::test
