// The images and the style sheet that travel in the library.
#include <QLibrary>

#include "ModuleWindow.h"

// The test's own copy of the collection.
int qInitResources_TlmMeas();
int qCleanupResources_TlmMeas();

namespace tlm::test {
namespace {

TEST(Resources, AreRegisteredByTheLibraryItself) {
  qCleanupResources_TlmMeas();
  QLibrary library(TLM_MEAS_LIBRARY);
  EXPECT_TRUE(library.load()) << library.errorString().toStdString();
  EXPECT_TRUE(QFile::exists(":/Add"));
  EXPECT_TRUE(QFile::exists(":/res/TreeViewPassport.css"));
  qInitResources_TlmMeas();
}

TEST(Resources, LackTheTwoImagesOfTheStyleSheet) {
  EXPECT_FALSE(QFile::exists(":/BranchClose_plus"));
  EXPECT_FALSE(QFile::exists(":/BranchOpen_minus"));
}

// A sheet as "selector, selector{declaration;declaration}" lines.
QStringList rules(const QString& sheet) {
  QStringList lines;
  for (const QString& rule : sheet.split('}')) {
    if (rule.simplified().isEmpty()) continue;
    QStringList declarations;
    for (const QString& each : rule.section('{', 1).split(';'))
      if (!each.trimmed().isEmpty()) declarations += each.simplified();
    lines += rule.section('{', 0, 0).simplified() + "{" + declarations.join(';') + "}";
  }
  return lines;
}

TEST(Resources, StyleSheetHasItsRules) {
  QFile file(":/res/TreeViewPassport.css");
  ASSERT_TRUE(file.open(QIODevice::ReadOnly));
  const QStringList expected{
      "QHeaderView::section{background-color: rgb( 215, 215, 215 )}",
      "QHeaderView::section:checked{background-color: rgb( 0, 0, 127 )}",
      "QTreeView::branch:has-siblings:!adjoins-item, QTreeView::branch:has-siblings:adjoins-item, "
      "QTreeView::branch:!has-children:!has-siblings:adjoins-item, "
      "QTreeView::branch:has-children:!has-siblings:adjoins-item, QTreeView::branch:!has-children"
      "{border-image: none;background-color: rgb(235, 235, 235)}",
      "QTreeView::branch:has-children:!has-siblings:closed, QTreeView::branch:closed:has-children:has-siblings"
      "{border-image: none;image: url(:/BranchClose_plus)}",
      "QTreeView::branch:open:has-children:!has-siblings, QTreeView::branch:open:has-children:has-siblings"
      "{border-image: none;image: url(:/BranchOpen_minus)}",
      "QTreeView{show-decoration-selected: 1}",
      "QTreeView::item{border: 1px solid #d9d9d9}",
      "QTreeView::item:has-children{background-color: rgb(235, 235, 235 )}",
      "QTreeView::item:hover{background: qlineargradient(x1: 0, y1: 0, x2: 0, y2: 1, stop: 0 #e7effd, "
      "stop: 1 #cbdaf1);border: 1px solid #bfcde4}",
      "QTreeView::item:selected{border: 1px solid #567dbc}",
      "QTreeView::item:selected:active{background: qlineargradient(x1: 0, y1: 0, x2: 0, y2: 1, stop: 0 #6ea1f1, "
      "stop: 1 #567dbc)}",
      "QTreeView::item:selected:!active{background: qlineargradient(x1: 0, y1: 0, x2: 0, y2: 1, stop: 0 #6b9be8, "
      "stop: 1 #577fbf)}",
  };
  EXPECT_EQ(rules(QString::fromUtf8(file.readAll())), expected);
}

}  // namespace
}  // namespace tlm::test
