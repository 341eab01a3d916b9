// The document of a drag, and its drop, by the calls that the views make.
#include <QClipboard>
#include <QDomDocument>
#include <QGuiApplication>
#include <QMimeData>

#include "Colleague.h"
#include "ModuleWindow.h"
#include "TreeChecks.h"

namespace tlm::test {
namespace {

constexpr char kModel[] = R"(folder Север
  folder ОРУ-110
    unit КП-1
      analog 1001 P Т-1
        analog 1002 P Т-1 макс {MeasurementArchGroupKey=@Часовая}
      analog 1003 Q Т-1
      discrete 1004 Q-110
    unit КП-2
      analog 1101 I Т-2
  unit КП-3
folder Юг
unit КП-4
  accumulator 1201 Wp
  string 1202 Режим
analog 1301 Ничьё
table MeasurementArchGroup Часовая {aggregatedData=1}
)";

class Drag : public ModuleWindow {
 protected:
  Drag() : ModuleWindow(kModel) {}

  std::unique_ptr<QMimeData> dragOf(const QModelIndexList& rows) {
    return std::unique_ptr<QMimeData>(module->treeModel->mimeData(rows));
  }
  template <typename... Names>
  std::unique_ptr<QMimeData> dragOf(const char* name, Names... names) {
    for (const char* each : {name, names...}) find(each);
    QModelIndexList rows;
    for (const char* each : {name, names...}) rows += find(each);
    return dragOf(rows);
  }
  bool drop(const QMimeData* data, const QModelIndex& at, Qt::DropAction action = Qt::MoveAction) {
    return module->treeModel->dropMimeData(data, action, -1, -1, at);
  }
  static QString textOf(const QMimeData& data) { return QString::fromUtf8(data.data("TlmMeasList").mid(1)); }

  // The elements of a document as indented text: tag and key.
  static QString elements(const QMimeData& data) {
    QDomDocument document;
    EXPECT_TRUE(document.setContent(textOf(data)));
    return elements(document.documentElement(), 0);
  }
  static QString elements(const QDomElement& parent, int level) {
    QString text;
    for (QDomElement each = parent.firstChildElement(); !each.isNull(); each = each.nextSiblingElement())
      text +=
          QString(level * 2, ' ') + each.tagName() + ' ' + each.attribute("KeyLink") + '\n' + elements(each, level + 1);
    return text;
  }
  QString line(const char* tag, const char* name, int level = 0) {
    return QString(level * 2, ' ') + tag + ' ' + key(name) + '\n';
  }

  QString folderOf(const char* name) {
    return part(serverRows(*server.core()).units[key(name)], "RemoteUnitFolderKey");
  }
  QString parentOf(const char* name) { return part(serverRows(*server.core()).folders[key(name)], "ParentKey"); }
  QString unitOf(const char* name) { return part(serverRows(*server.core()).measurements[key(name)], "RemoteUnitKey"); }
  static QString part(const QString& text, const char* field) {
    return text.section(QString(field) + "=", 1).section(';', 0, 0);
  }
  // What was asked to be written.
  QStringList writes() { return app.log.filter("SqlUpdate"); }
};

// ---- what is dragged ------------------------------------------------------------------------------------

TEST_F(Drag, OffersItsOwnFormatAndMovesAlone) {
  EXPECT_EQ(module->treeModel->mimeTypes(), QStringList{"TlmMeasList"});
  EXPECT_EQ(module->treeModel->supportedDropActions(), Qt::MoveAction);
}

TEST_F(Drag, DoesNotBeginWithoutAModule) {
  MeasConfTreeModel model(nullptr);
  EXPECT_EQ(model.mimeData({}), nullptr);
}

TEST_F(Drag, DoesNotBeginWhileAMessageWaits) {
  start();
  const QModelIndex row = find("КП-3");
  module->ExecAboutProg(true);
  EXPECT_EQ(dragOf(QModelIndexList{row}), nullptr);
  answerBox(module->popMessageBox, 0);
  EXPECT_NE(dragOf(QModelIndexList{row}), nullptr);
}

TEST_F(Drag, CarriesAZeroAndTheDocumentIndentedByOne) {
  start();
  const auto data = dragOf("Юг");
  EXPECT_EQ(data->formats(), QStringList{"TlmMeasList"});
  EXPECT_EQ(data->data("TlmMeasList").left(1), "0");
  const QString text = textOf(*data);
  EXPECT_TRUE(text.startsWith("<!DOCTYPE MyTreeCut>\n<MyTree>\n <Folder ")) << text.toStdString();
  EXPECT_TRUE(text.endsWith("/>\n</MyTree>\n")) << text.toStdString();
  EXPECT_TRUE(text.contains("caption=\"Юг\"")) << text.toStdString();
}

TEST_F(Drag, WritesTheRowsInTheOrderOfTheList) {
  start();
  EXPECT_EQ(elements(*dragOf("Юг", "КП-3")), line("Folder", "Юг") + line("RemoteUnit", "КП-3"));
  EXPECT_EQ(elements(*dragOf("КП-3", "Юг")), line("RemoteUnit", "КП-3") + line("Folder", "Юг"));
}

TEST_F(Drag, WritesOnlyTheUpperOfParentAndChild) {
  start();
  EXPECT_EQ(elements(*dragOf("КП-3", "Север")).section('\n', 0, 0) + '\n', line("Folder", "Север"));
  EXPECT_EQ(elements(*dragOf("Q Т-1", "P Т-1 макс", "P Т-1")),
            line("Analog", "Q Т-1") + line("Analog", "P Т-1") + line("Analog", "P Т-1 макс", 1));
}

TEST_F(Drag, CountsBothCellsOfARowOnce) {
  start();
  const QModelIndex row = find("КП-3");
  EXPECT_EQ(elements(*dragOf({row, row.sibling(row.row(), 1)})), line("RemoteUnit", "КП-3"));
  EXPECT_EQ(elements(*dragOf({row.sibling(row.row(), 1), row})), line("RemoteUnit", "КП-3"));
}

TEST_F(Drag, FetchesTheMeasurementsOfAClosedUnit) {
  start();
  const QModelIndex unit = module->treeModel->findByKey(key("КП-1"));
  ASSERT_FALSE(nodeOf(unit)->isLoaded);
  const QString text = elements(*dragOf(QModelIndexList{unit}));
  EXPECT_TRUE(nodeOf(unit)->isLoaded);
  EXPECT_EQ(module->treeModel->rowCount(unit), 2);
  for (const QString& each : {line("Analog", "Q Т-1", 1), line("Discrete", "Q-110", 1),
                              line("Analog", "P Т-1", 1) + line("Analog", "P Т-1 макс", 2)})
    EXPECT_TRUE(text.contains('\n' + each)) << text.toStdString();
  EXPECT_EQ(text.count('\n'), 5);
}

TEST_F(Drag, LeavesItsRowsBlackAndTheClipboardAlone) {
  start();
  QGuiApplication::clipboard()->setText("before");
  const auto data = dragOf("КП-1");
  EXPECT_EQ(module->treeModel->cutKeys, QStringList());
  EXPECT_EQ(find("КП-1").data(Qt::ForegroundRole).value<QColor>(), QColor(0, 0, 0));
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "before");
  QGuiApplication::clipboard()->clear();
}

TEST_F(Drag, NotesItsTopTable) {
  start();
  const auto topOf = [this](auto... names) {
    dragOf(names...);
    return module->dragTableName;
  };
  EXPECT_EQ(topOf("Юг"), "Folder");
  EXPECT_EQ(topOf("КП-3"), "RemoteUnit");
  EXPECT_EQ(topOf("КП-3", "Юг"), "Folder");
  EXPECT_EQ(topOf("Режим"), "StringMeasurement");
  EXPECT_EQ(topOf("Q-110", "I Т-2"), "Analog");
  EXPECT_EQ(topOf("КП-3", "I Т-2"), "");
  EXPECT_EQ(topOf("P Т-1 макс"), "");
}

TEST_F(Drag, GivenUpKeepsItsTopTableUntilTheNext) {
  start();
  dragOf("Юг");
  EXPECT_EQ(module->dragTableName, "Folder");
  dragOf("Wp");
  EXPECT_EQ(module->dragTableName, "Accumulator");
}

// ---- where it may be dropped ----------------------------------------------------------------------------

TEST_F(Drag, OffersNoTargetBeforeItBegan) {
  start();
  EXPECT_FALSE(module->treeModel->flags(find("Юг")) & Qt::ItemIsDropEnabled);
  EXPECT_EQ(module->treeModel->flags(QModelIndex()), Qt::NoItemFlags);
}

TEST_F(Drag, OffersWhatTakesItsTopTable) {
  start();
  const auto takes = [this](const QModelIndex& row) {
    return bool(module->treeModel->flags(row) & Qt::ItemIsDropEnabled);
  };
  const auto unit = dragOf("КП-4");
  EXPECT_EQ(module->treeModel->flags(QModelIndex()), Qt::ItemIsDropEnabled);
  EXPECT_TRUE(takes(find("Юг")));
  EXPECT_FALSE(takes(find("КП-3")));
  EXPECT_FALSE(takes(find("P Т-1")));
  const auto analog = dragOf("I Т-2");
  EXPECT_EQ(module->treeModel->flags(QModelIndex()), Qt::NoItemFlags);
  EXPECT_TRUE(takes(find("КП-3")));
  EXPECT_TRUE(takes(find("P Т-1")));
  EXPECT_TRUE(takes(find("P Т-1").parent()));
  EXPECT_FALSE(takes(find("P Т-1 макс")));
  EXPECT_FALSE(takes(find("Q-110")));
  EXPECT_FALSE(takes(find("Юг")));
  EXPECT_FALSE(takes(module->treeModel->defaultUnit()));
}

// ---- the drop ----------------------------------------------------------------------------------------------

TEST_F(Drag, DropThatIsIgnoredIsDoneAndDoesNothing) {
  start();
  const auto data = dragOf("КП-3");
  EXPECT_TRUE(drop(data.get(), find("Юг"), Qt::IgnoreAction));
  EXPECT_EQ(writes(), QStringList());
  EXPECT_EQ(module->dragTableName, "RemoteUnit");
  EXPECT_TRUE(drop(nullptr, find("Юг"), Qt::IgnoreAction));
}

TEST_F(Drag, DropOfOtherDataIsRefused) {
  start();
  const auto data = dragOf("КП-3");
  QMimeData other;
  other.setText(textOf(*data));
  EXPECT_FALSE(drop(&other, find("Юг")));
  EXPECT_FALSE(drop(nullptr, find("Юг")));
  EXPECT_EQ(writes(), QStringList());
  EXPECT_EQ(module->dragTableName, "RemoteUnit");
}

TEST_F(Drag, DropThatNobodyBeganHereIsRefused) {
  start();
  const auto data = dragOf("КП-3");
  module->dragTableName.clear();
  EXPECT_FALSE(drop(data.get(), find("Юг")));
  EXPECT_EQ(writes(), QStringList());
}

TEST_F(Drag, DropWhereItMayNotStandIsRefused) {
  start();
  const auto unit = dragOf("КП-3");
  EXPECT_FALSE(drop(unit.get(), find("КП-4")));
  EXPECT_FALSE(drop(unit.get(), find("Wp")));
  EXPECT_FALSE(drop(unit.get(), module->treeModel->defaultUnit()));
  EXPECT_EQ(module->dragTableName, "RemoteUnit");
  const auto analog = dragOf("I Т-2");
  EXPECT_FALSE(drop(analog.get(), QModelIndex()));
  EXPECT_FALSE(drop(analog.get(), find("Юг")));
  EXPECT_FALSE(drop(analog.get(), find("Wp").parent()));
  EXPECT_FALSE(drop(analog.get(), find("Wp")));
  EXPECT_EQ(module->dragTableName, "Analog");
  EXPECT_EQ(writes(), QStringList());
}

// The window's own drag of a folder was given up; then something else is dragged here from another window.
TEST_F(Drag, DropOfWhatDoesNotFitIsRefusedWhateverWasDraggedBefore) {
  start();
  const auto measurement = dragOf("Q Т-1");
  const auto unit = dragOf("КП-3");
  dragOf("Юг");
  EXPECT_FALSE(drop(measurement.get(), find("Север")));
  EXPECT_FALSE(drop(measurement.get(), QModelIndex()));
  EXPECT_FALSE(drop(measurement.get(), find("КП-4"))) << "the drag that began here decides as well";
  dragOf("I Т-2");
  EXPECT_FALSE(drop(unit.get(), find("КП-4")));
  EXPECT_EQ(module->dragTableName, "Analog");
  EXPECT_EQ(writes(), QStringList());
}

TEST_F(Drag, DropMovesAUnitAndEndsTheDrag) {
  start();
  const auto data = dragOf("КП-1");
  EXPECT_TRUE(drop(data.get(), find("Юг")));
  EXPECT_EQ(module->dragTableName, "");
  EXPECT_TRUE(writes().contains("SqlUpdate RemoteUnit 1 records"));
  EXPECT_EQ(folderOf("КП-1"), key("Юг"));
  ASSERT_TRUE(eventsAreIn());
  EXPECT_EQ(find("КП-1").parent(), find("Юг"));
}

TEST_F(Drag, DropAtTheTopTakesTheLinkAway) {
  start();
  ASSERT_TRUE(drop(dragOf("КП-1").get(), QModelIndex()));
  ASSERT_TRUE(drop(dragOf("ОРУ-110").get(), QModelIndex()));
  EXPECT_EQ(folderOf("КП-1"), "");
  EXPECT_EQ(parentOf("ОРУ-110"), "");
  ASSERT_TRUE(eventsAreIn());
  EXPECT_FALSE(find("КП-1").parent().isValid());
  EXPECT_FALSE(find("ОРУ-110").parent().isValid());
  EXPECT_EQ(find("КП-2").parent(), find("ОРУ-110"));
}

TEST_F(Drag, DropOfAMeasurementLandsInTheUnitOfItsTarget) {
  start();
  for (const char* target : {"КП-2", "I Т-2"}) {
    SCOPED_TRACE(target);
    ASSERT_TRUE(drop(dragOf("Q Т-1").get(), find(target)));
    EXPECT_EQ(unitOf("Q Т-1"), key("КП-2"));
    ASSERT_TRUE(eventsAreIn());
    EXPECT_EQ(find("Q Т-1").parent(), find("I Т-2").parent());
    ASSERT_TRUE(drop(dragOf("Q Т-1").get(), find("P Т-1").parent()));
    EXPECT_EQ(unitOf("Q Т-1"), key("КП-1"));
    ASSERT_TRUE(eventsAreIn());
  }
}

TEST_F(Drag, DropTakesAggregatedDataAlong) {
  start();
  ASSERT_TRUE(drop(dragOf("P Т-1").get(), find("КП-2")));
  EXPECT_EQ(unitOf("P Т-1"), key("КП-2"));
  EXPECT_EQ(unitOf("P Т-1 макс"), key("КП-2"));
  ASSERT_TRUE(eventsAreIn());
  EXPECT_EQ(find("P Т-1 макс").parent(), find("P Т-1"));
}

TEST_F(Drag, DropMovesSeveralRowsInOneBlock) {
  start();
  const auto data = dragOf("Юг", "КП-4", "КП-3");
  app.log.clear();
  ASSERT_TRUE(drop(data.get(), find("ОРУ-110")));
  EXPECT_EQ(app.log.filter("BlockEnd"), QStringList{"BlockEnd"});
  EXPECT_EQ(parentOf("Юг"), key("ОРУ-110"));
  EXPECT_EQ(folderOf("КП-4"), key("ОРУ-110"));
  EXPECT_EQ(folderOf("КП-3"), key("ОРУ-110"));
  EXPECT_TRUE(eventsAreIn());
}

TEST_F(Drag, DropReadsNeitherRowNorColumn) {
  start();
  const auto data = dragOf("КП-4");
  EXPECT_TRUE(module->treeModel->dropMimeData(data.get(), Qt::MoveAction, 7, 9, find("Юг")));
  EXPECT_EQ(folderOf("КП-4"), key("Юг"));
  EXPECT_TRUE(eventsAreIn());
}

TEST_F(Drag, DropDoesNotLookAtTheFirstByte) {
  start();
  const auto data = dragOf("КП-4");
  QMimeData marked;
  marked.setData("TlmMeasList", "1" + textOf(*data).toUtf8());
  EXPECT_TRUE(drop(&marked, find("Юг")));
  EXPECT_EQ(folderOf("КП-4"), key("Юг"));
  EXPECT_EQ(serverRows(*server.core()).units.size(), 4);
  EXPECT_TRUE(eventsAreIn());
}

TEST_F(Drag, DropReadsUpToTheFirstZeroByte) {
  start();
  const auto data = dragOf("КП-4");
  QMimeData longer;
  longer.setData("TlmMeasList", data->data("TlmMeasList") + QByteArray(1, '\0') + "</none>");
  EXPECT_TRUE(drop(&longer, find("Юг")));
  EXPECT_EQ(folderOf("КП-4"), key("Юг"));
  EXPECT_TRUE(eventsAreIn());
}

TEST_F(Drag, DropOfAnEmptyOrBrokenDocumentIsDoneAndDoesNothing) {
  start();
  for (const QByteArray& payload : {QByteArray(), QByteArray("0"), QByteArray("0<MyTree"), QByteArray("0<MyTree/>")}) {
    const auto data = dragOf("КП-4");
    QMimeData broken;
    broken.setData("TlmMeasList", payload);
    EXPECT_TRUE(drop(&broken, find("Юг"))) << payload.toStdString();
    EXPECT_EQ(module->dragTableName, "");
    EXPECT_EQ(writes(), QStringList());
  }
}

TEST_F(Drag, DropOnItselfOrItsParentIsDoneAndWritesNothing) {
  start();
  const auto lands = [this](const char* dragged, const QModelIndex& target) {
    const auto data = dragOf(dragged);
    EXPECT_TRUE(drop(data.get(), target)) << dragged;
    EXPECT_EQ(module->dragTableName, "");
  };
  lands("ОРУ-110", find("ОРУ-110"));
  lands("ОРУ-110", find("Север"));
  lands("КП-1", find("ОРУ-110"));
  lands("P Т-1", find("P Т-1"));
  lands("P Т-1", find("P Т-1").parent());
  lands("ОРУ-110", find("ОРУ-110").siblingAtColumn(1));
  lands("ОРУ-110", find("Север").siblingAtColumn(1));
  lands("Юг", QModelIndex());
  EXPECT_EQ(writes(), QStringList());
}

TEST_F(Drag, OnlyTheFirstOfSeveralDecidesWhetherItStandsThere) {
  start();
  ASSERT_TRUE(drop(dragOf("КП-3", "КП-4").get(), find("Север")));
  EXPECT_EQ(writes(), QStringList());
  EXPECT_EQ(folderOf("КП-4"), "");
  ASSERT_TRUE(drop(dragOf("КП-4", "КП-3").get(), find("Север")));
  EXPECT_EQ(folderOf("КП-4"), key("Север"));
  EXPECT_EQ(folderOf("КП-3"), key("Север"));
  EXPECT_TRUE(eventsAreIn());
}

// Another program may offer anything under the format.
TEST_F(Drag, DropOfADocumentThatDeclaresEntitiesDoesNothing) {
  start();
  const auto data = dragOf("КП-4");
  QMimeData foreign;
  foreign.setData("TlmMeasList", QString("0<!DOCTYPE x [<!ENTITY a 'b'>]><MyTree><RemoteUnit KeyLink='%1' "
                                         "ClassName='RemoteUnit'/></MyTree>")
                                     .arg(key("КП-4"))
                                     .toUtf8());
  EXPECT_TRUE(drop(&foreign, find("Юг")));
  EXPECT_EQ(writes(), QStringList());
}

// ---- what stands where ----------------------------------------------------------------------------------

TEST_F(Drag, IsAtItsParentByTheTopKeyAlone) {
  start();
  const auto xml = [this](const QString& k) { return QString("<MyTree><Folder KeyLink='%1'/></MyTree>").arg(k); };
  EXPECT_TRUE(module->CheckIsParent(xml(key("ОРУ-110")), find("ОРУ-110")));
  EXPECT_TRUE(module->CheckIsParent(xml(key("ОРУ-110")), find("Север")));
  EXPECT_TRUE(module->CheckIsParent(xml(key("ОРУ-110").toLower()), find("Север")));
  EXPECT_TRUE(module->CheckIsParent(xml(key("Север")), QModelIndex()));
  EXPECT_FALSE(module->CheckIsParent(xml(key("Север")), find("ОРУ-110")));
  EXPECT_FALSE(module->CheckIsParent(xml(key("КП-1")), find("Север")));
  EXPECT_FALSE(module->CheckIsParent(xml("absent"), QModelIndex()));
  EXPECT_FALSE(module->CheckIsParent("<MyTree/>", QModelIndex()));
}

}  // namespace
}  // namespace tlm::test
