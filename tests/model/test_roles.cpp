#include "SmallTree.h"

#include <gtest/gtest.h>

#include <QAbstractItemModelTester>
#include <QColor>
#include <QIcon>
#include <QImage>
#include <QSignalSpy>

namespace tlm::test {
namespace {

const QString kAnalogs = QString::fromUtf8(kMeasClasses[0].caption);

QImage picture(const QVariant& icon) { return icon.value<QIcon>().pixmap(16, 16).toImage(); }

struct RolesTest : testing::Test {
  QVariant show(const myConfNode* node, int role, int column = 0) { return tree.at(node, column).data(role); }

  SmallTree tree;
};

TEST_F(RolesTest, ColumnZeroShowsTheTextOrTheNameOfTheRow) {
  myConfNode* folder = tree.folder(tree.root, "Папка");
  setField(tree.folders, folder->record, "name_", QString("не показывается"));
  for (const int role : {0, 2}) {
    EXPECT_EQ(show(folder, role), "Папка");
    EXPECT_EQ(show(tree.unit(tree.root, "КП-1"), role), "КП-1");
    EXPECT_EQ(show(tree.defaultUnit(), role), "(Устройство по умолчанию)");
    EXPECT_EQ(show(tree.measurement(tree.root, "Analog", 5, "P Т-1"), role), "P Т-1");
  }
}

TEST_F(RolesTest, ANameThatIsNullOrEmptyShowsAsAnEmptyText) {
  myConfNode* node = tree.measurement(tree.root, "Analog", 5, QString(""));
  EXPECT_EQ(show(node, 0), QVariant(QString()));
  setField(tree.meas, node->record, "name_", QVariant());
  EXPECT_EQ(show(node, 0), QVariant(QString()));
  EXPECT_EQ(show(tree.group(tree.root, QString()), 0), QVariant(QString()));
}

TEST_F(RolesTest, AChangedRowShowsAtTheNextRead) {
  myConfNode* node = tree.measurement(tree.root, "Analog", 5, "было");
  EXPECT_EQ(show(node, 0), "было");
  setField(tree.meas, node->record, "name_", QString("стало"));
  EXPECT_EQ(show(node, 0), "стало");
}

TEST_F(RolesTest, ColumnOneShowsTheNumber) {
  EXPECT_EQ(show(tree.measurement(tree.root, "Analog", 1001, "а"), 0, 1), "1001");
  EXPECT_EQ(show(tree.measurement(tree.root, "Analog", QVariant(), "а"), 2, 1), QVariant(QString()));
  EXPECT_EQ(show(tree.unit(tree.root, "нет такого поля"), 0, 1), QVariant(QString()));
  EXPECT_EQ(show(tree.group(tree.root, kAnalogs), 0, 1), QVariant(QString()));
  EXPECT_EQ(show(tree.measurement(tree.root, "Analog", 0x100000001LL, "а"), 0, 1), "4294967297");
}

TEST_F(RolesTest, FurtherColumnsAndOtherRolesAreInvalid) {
  const myConfNode* node = tree.measurement(tree.root, "Analog", 1, "а");
  EXPECT_FALSE(show(node, 0, 2).isValid());
  EXPECT_FALSE(show(node, 2, 2).isValid());
  EXPECT_FALSE(show(node, 1, 1).isValid());
  for (const int role : {int(Qt::ToolTipRole), int(Qt::FontRole), int(Qt::BackgroundRole), 255, 257})
    EXPECT_FALSE(show(node, role).isValid()) << role;
  EXPECT_FALSE(tree.model.data(QModelIndex(), 0).isValid());
}

TEST_F(RolesTest, ClassAndKeyAreGivenInEveryColumn) {
  const myConfNode* node = tree.measurement(tree.root, "Discrete", 1, "а", "KEY1");
  for (const int column : {0, 1, 5}) {
    EXPECT_EQ(show(node, 11, column), "Discrete");
    EXPECT_EQ(show(node, 12, column), "KEY1");
    EXPECT_EQ(show(node, Qt::UserRole, column).value<void*>(), node);
  }
}

TEST_F(RolesTest, WhatHasNoRowHasAnEmptyClassAndKey) {
  const myConfNode* group = tree.group(tree.root, kAnalogs);
  EXPECT_EQ(show(group, 11), QVariant(QString()));
  EXPECT_EQ(show(group, 12), QVariant(QString()));
  EXPECT_EQ(show(tree.folder(tree.root, "Папка"), 11), QVariant(QString()));
}

TEST_F(RolesTest, IconsFollowTheFirstRuleThatFits) {
  myConfNode* folder = tree.folder(tree.root, "Папка");
  myConfNode* aggregated = tree.measurement(tree.root, "Analog", 1, "макс");
  aggregated->isAggregated = true;
  myConfNode* folderWithUnitText = tree.folder(tree.root, "Папка");
  folderWithUnitText->text = defaultUnitText();
  const std::pair<myConfNode*, const char*> rows[] = {
      {tree.defaultUnit(), ":/RTU_meas"},
      {folderWithUnitText, ":/RTU_meas"},
      {folder, ":/ClosedFolder"},
      {aggregated, ":/AgregData"},
      {tree.unit(tree.root, "КП"), ":/RTU_meas"},
      {tree.measurement(tree.root, "Analog", 1, "а"), ":/Analog"},
      {tree.measurement(tree.root, "ANALOG", 1, "а"), ":/Analog"},
      {tree.measurement(tree.root, "Discrete", 1, "а"), ":/Discrete"},
      {tree.measurement(tree.root, "Accumulator", 1, "а"), ":/Accumulator"},
      {tree.measurement(tree.root, "StringMeasurement", 1, "а"), ":/StringMeasurement"},
      {tree.group(tree.root, kAnalogs), ":/ClosedFolder"},
  };
  for (const auto& [node, path] : rows) {
    const QImage expected = QIcon(path).pixmap(16, 16).toImage();
    ASSERT_FALSE(expected.isNull()) << path;
    EXPECT_EQ(picture(show(node, 1)), expected) << path;
  }
}

TEST_F(RolesTest, AnUnknownClassHasNoIcon) {
  EXPECT_FALSE(show(tree.measurement(tree.root, "", 1, "а"), 1).isValid());
  EXPECT_FALSE(show(tree.measurement(tree.root, "Прочее", 1, "а"), 1).isValid());
  EXPECT_FALSE(show(tree.group(tree.root, QString()), 1).isValid());
}

TEST_F(RolesTest, ColoursTellWhatIsCutAndWhatDoesNotWork) {
  const QColor black(0, 0, 0), grey(125, 125, 125), cut(175, 175, 175);
  const auto measured = [&](const QVariant& works) {
    myConfNode* node = tree.measurement(tree.root, "Analog", 1, "а");
    setField(tree.meas, node->record, "work_", works);
    return node;
  };
  const auto served = [&](const QVariant& state) {
    myConfNode* node = tree.unit(tree.root, "КП");
    setField(tree.units, node->record, "StateRtu", state);
    return node;
  };
  const std::pair<myConfNode*, QColor> rows[] = {
      {measured(true), black},
      {measured(false), grey},
      {measured(QVariant()), black},
      {served(true), black},
      {served(false), grey},
      {served(QVariant()), black},
      {tree.folder(tree.root, "П"), black},
      {tree.group(tree.root, kAnalogs), black},
      {tree.defaultUnit(), black},
  };
  for (const auto& [node, colour] : rows) {
    EXPECT_EQ(show(node, 9).value<QColor>(), colour);
    EXPECT_EQ(show(node, 9, 1).value<QColor>(), colour);
  }
  tree.model.cutKeys = QStringList{"M"};
  EXPECT_EQ(show(rows[0].first, 9).value<QColor>(), cut);
  EXPECT_EQ(show(rows[1].first, 9).value<QColor>(), cut);
  EXPECT_EQ(show(rows[3].first, 9).value<QColor>(), black);
  tree.model.cutKeys = QStringList{"m"};
  EXPECT_EQ(show(rows[0].first, 9).value<QColor>(), black);
}

TEST_F(RolesTest, FieldsAreFoundAgainInARebuiltArray) {
  myConfNode* node = tree.measurement(tree.root, "Analog", 1, "а");
  EXPECT_EQ(show(node, 0), "а");
  CMDArray other;
  addFields(other, {{"KeyLink", MDX_TEXT, 32}, {"locId", MDX_INT32}, {"NAME_", MDX_MEMO}});
  addRow(other, {{"KeyLink", "K"}, {"locId", 7}, {"NAME_", "б"}});
  MDACopy(tree.meas.array, other.array, 1);
  node->record = MDARec(tree.meas.array, 0, 0);
  EXPECT_EQ(show(node, 0), "б");
  EXPECT_EQ(show(node, 0, 1), "7");
  EXPECT_EQ(show(node, 11), QVariant(QString()));
}

TEST_F(RolesTest, SetDataKeepsTheTextInTheNodeAndLeavesTheRow) {
  myConfNode* node = tree.unit(tree.root, "КП-1");
  QSignalSpy changed(&tree.model, &QAbstractItemModel::dataChanged);
  EXPECT_TRUE(tree.model.setData(tree.at(node), "Другое", Qt::EditRole));
  EXPECT_EQ(show(node, 0), "Другое");
  node->text.clear();
  EXPECT_EQ(show(node, 0), "КП-1");
  ASSERT_EQ(changed.count(), 1);
  EXPECT_EQ(changed[0][0].toModelIndex(), tree.at(node));
  EXPECT_EQ(changed[0][1].toModelIndex(), tree.at(node));
  EXPECT_TRUE(changed[0][2].value<QVector<int>>().isEmpty());
}

TEST_F(RolesTest, SetDataRefusesOtherRolesColumnsAndNodes) {
  myConfNode* node = tree.unit(tree.root, "КП-1");
  EXPECT_FALSE(tree.model.setData(tree.at(node), "x", Qt::DisplayRole));
  EXPECT_FALSE(tree.model.setData(tree.at(node, 1), "x", Qt::EditRole));
  EXPECT_FALSE(tree.model.setData(QModelIndex(), "x", Qt::EditRole));
  EXPECT_TRUE(node->text.isEmpty());
}

TEST_F(RolesTest, UpdateDataTellsOfAChange) {
  myConfNode* node = tree.unit(tree.root, "КП-1");
  QSignalSpy changed(&tree.model, &QAbstractItemModel::dataChanged);
  tree.model.UpdateData(tree.at(node), tree.at(node, 1));
  ASSERT_EQ(changed.count(), 1);
  EXPECT_EQ(changed[0][1].toModelIndex(), tree.at(node, 1));
}

TEST_F(RolesTest, HeadersAreNamed) {
  EXPECT_EQ(tree.model.headerData(0, Qt::Horizontal), "Наименование");
  EXPECT_EQ(tree.model.headerData(1, Qt::Horizontal), "Номер");
  EXPECT_FALSE(tree.model.headerData(2, Qt::Horizontal).isValid());
  EXPECT_FALSE(tree.model.headerData(0, Qt::Vertical).isValid());
  EXPECT_FALSE(tree.model.headerData(0, Qt::Horizontal, Qt::EditRole).isValid());
}

TEST_F(RolesTest, RowsCanBeSelectedAndDraggedAndAreNeverEditedInPlace) {
  const Qt::ItemFlags plain = Qt::ItemIsSelectable | Qt::ItemIsDragEnabled | Qt::ItemIsEnabled;
  EXPECT_EQ(tree.model.flags(tree.at(tree.unit(tree.root, "КП"))), plain);
  EXPECT_EQ(tree.model.flags(tree.at(tree.group(tree.root, kAnalogs), 1)), plain);
  EXPECT_EQ(tree.model.flags(QModelIndex()), Qt::NoItemFlags);
}

TEST_F(RolesTest, DragsCarryOneFormatAndMove) {
  EXPECT_EQ(tree.model.mimeTypes(), QStringList{"TlmMeasList"});
  EXPECT_EQ(tree.model.supportedDropActions(), Qt::MoveAction);
}

}  // namespace
}  // namespace tlm::test
