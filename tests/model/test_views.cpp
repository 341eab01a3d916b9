#include "SmallTree.h"

#include <gtest/gtest.h>

#include <QDropEvent>
#include <QMimeData>
#include <QStandardItemModel>
#include <QtTest>

namespace tlm::test {
namespace {

struct ViewTest : testing::Test {
  ViewTest() {
    view.setModel(&model);
    view.resize(200, 200);
    view.show();
    QObject::connect(&view, &KeysModifQTreeViewMeas::keysModif,
                     [this](Qt::KeyboardModifiers modifiers) { told.append(modifiers); });
  }
  QPoint firstRow() { return view.visualRect(model.index(0, 0)).center(); }

  QStandardItemModel model{2, 1};
  QList<Qt::KeyboardModifiers> told;
  KeysModifQTreeViewMeas view;
};

TEST_F(ViewTest, TellsTheModifiersOfALeftRelease) {
  QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::ControlModifier, firstRow());
  EXPECT_EQ(told, QList<Qt::KeyboardModifiers>{Qt::ControlModifier});
}

TEST_F(ViewTest, TellsNothingOfOtherButtons) {
  QTest::mouseClick(view.viewport(), Qt::RightButton, Qt::NoModifier, firstRow());
  QTest::mouseClick(view.viewport(), Qt::MiddleButton, Qt::NoModifier, firstRow());
  EXPECT_TRUE(told.isEmpty());
}

TEST_F(ViewTest, TellsNothingWithoutAModel) {
  view.setModel(nullptr);
  QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
  EXPECT_TRUE(told.isEmpty());
}

TEST_F(ViewTest, TellsWhenTheSelectionStandsAlready) {
  QStringList seen;
  QObject::connect(&view, &KeysModifQTreeViewMeas::keysModif,
                   [&] { seen.append(QString::number(view.selectionModel()->selectedIndexes().size())); });
  QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, firstRow());
  EXPECT_EQ(seen, QStringList{"1"});
}

class OpenView : public KeysModifQTreeViewMeas {
 public:
  using KeysModifQTreeViewMeas::DragSelectingState;
  using KeysModifQTreeViewMeas::setState;
  using KeysModifQTreeViewMeas::state;
  // Whether the event was still accepted afterwards.
  bool release(Qt::MouseButton button) {
    QMouseEvent event(QEvent::MouseButtonRelease, QPoint(5, 5), button, Qt::NoButton, Qt::NoModifier);
    event.accept();
    mouseReleaseEvent(&event);
    return event.isAccepted();
  }
};

TEST(View, EndsASelectionByTheLeftButtonAlone) {
  QStandardItemModel model(2, 1);
  OpenView view;
  view.setModel(&model);
  for (const Qt::MouseButton button : {Qt::RightButton, Qt::MiddleButton}) {
    view.setState(OpenView::DragSelectingState);
    view.release(button);
    EXPECT_EQ(view.state(), OpenView::DragSelectingState) << button;
  }
  view.release(Qt::LeftButton);
  EXPECT_NE(view.state(), OpenView::DragSelectingState);
}

TEST(View, LeavesEveryReleaseToTheWidgetsAround) {
  QStandardItemModel model(2, 1);
  OpenView view;
  view.setModel(&model);
  for (const Qt::MouseButton button : {Qt::LeftButton, Qt::RightButton, Qt::MiddleButton})
    EXPECT_FALSE(view.release(button)) << button;
}

TEST_F(ViewTest, TellsOfEachLeftReleaseOnceWithoutModifiersToo) {
  QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::NoModifier, firstRow());
  QTest::mouseClick(view.viewport(), Qt::LeftButton, Qt::ShiftModifier | Qt::AltModifier, QPoint(5, 150));
  EXPECT_EQ(told, (QList<Qt::KeyboardModifiers>{Qt::NoModifier, Qt::ShiftModifier | Qt::AltModifier}));
}

// A model that writes down where something was dropped.
class DropModel : public QStandardItemModel {
 public:
  DropModel() : QStandardItemModel(2, 2) {}
  QStringList mimeTypes() const override { return {kMeasMimeType}; }
  Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }
  Qt::ItemFlags flags(const QModelIndex&) const override { return Qt::ItemIsDropEnabled | Qt::ItemIsEnabled; }
  bool dropMimeData(const QMimeData*, Qt::DropAction, int, int, const QModelIndex& parent) override {
    drops.append(parent.isValid() ? "row" : "top");
    return true;
  }
  QStringList drops;
};

class OpenHeader : public DropHeaderView {
 public:
  using DropHeaderView::DropHeaderView;
  void drop(QDropEvent* event) { dropEvent(event); }
};

TEST(Header, IsInteractiveClickableAndStretchesItsLastSection) {
  QObject owner;
  DropHeaderView header(Qt::Horizontal, nullptr, &owner);
  QStandardItemModel model(1, 2);
  header.setModel(&model);
  EXPECT_EQ(header.sectionResizeMode(0), QHeaderView::Interactive);
  EXPECT_TRUE(header.stretchLastSection());
  EXPECT_TRUE(header.sectionsClickable());
  EXPECT_EQ(header.orientation(), Qt::Horizontal);
}

TEST(Header, HandsADropOfMeasurementsToTheTopLevel) {
  DropModel model;
  OpenHeader header(Qt::Horizontal, nullptr, &model);
  header.setModel(&model);
  header.resize(200, 20);
  header.setAcceptDrops(true);
  QMimeData data;
  data.setData("TlmMeasList", "0");
  QDropEvent event(QPointF(5, 5), Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
  header.drop(&event);
  EXPECT_EQ(model.drops, QStringList{"top"});
}

TEST(Header, IgnoresOtherDrops) {
  DropModel model;
  OpenHeader header(Qt::Horizontal, nullptr, &model);
  header.setModel(&model);
  QMimeData data;
  data.setText("текст");
  QDropEvent event(QPointF(5, 5), Qt::MoveAction, &data, Qt::LeftButton, Qt::NoModifier);
  event.accept();
  header.drop(&event);
  EXPECT_FALSE(event.isAccepted());
  EXPECT_TRUE(model.drops.isEmpty());
}

}  // namespace
}  // namespace tlm::test
