// What the clipboard holds, and where it may be pasted.
#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QToolButton>

#include "ClipboardDocument.h"
#include "ModuleWindow.h"

namespace tlm::test {
namespace {

struct TopCase {
  const char* name;
  const char* elements;
  const char* table;
  const char* keyLink;
  const char* templateTable;
};

void PrintTo(const TopCase& row, std::ostream* out) { *out << row.name; }

class DocumentTop : public testing::TestWithParam<TopCase> {};

TEST_P(DocumentTop, IsWhatDecides) {
  const TopCase& row = GetParam();
  const QString xml = QString("<!DOCTYPE MyTreeCopy><MyTree>%1</MyTree>").arg(row.elements);
  EXPECT_EQ(clipboardTop(xml).table, row.table);
  EXPECT_EQ(clipboardTop(xml).keyLink, row.keyLink);
  EXPECT_EQ(clipboardTemplate(xml), row.templateTable);
}

const TopCase kTops[] = {
    {"Nothing", "", "", "", ""},
    {"Folder", "<Folder KeyLink='f'/>", "Folder", "f", ""},
    {"Unit", "<RemoteUnit KeyLink='u'/>", "RemoteUnit", "u", ""},
    {"FolderThenUnit", "<Folder KeyLink='f'/><RemoteUnit KeyLink='u'/>", "Folder", "f", ""},
    {"UnitThenFolder", "<RemoteUnit KeyLink='u'/><Folder KeyLink='f'/>", "Folder", "f", ""},
    {"Analog", "<Analog KeyLink='a'/>", "Analog", "a", "Analog"},
    {"TwoOfAClass", "<Analog KeyLink='a'/><Analog KeyLink='b'/>", "Analog", "a", ""},
    {"TwoClasses", "<Analog KeyLink='a'/><Discrete KeyLink='d'/>", "Discrete", "d", ""},
    {"MeasurementThenFolder", "<Analog KeyLink='a'/><Folder KeyLink='f'/>", "", "", ""},
    {"MeasurementThenUnit", "<Analog KeyLink='a'/><RemoteUnit KeyLink='u'/>", "", "", ""},
    {"UnitThenMeasurement", "<RemoteUnit KeyLink='u'/><Analog KeyLink='a'/>", "", "", ""},
    {"AggregatedFirst", "<Analog KeyLink='a' primaryLocId='5'/>", "", "", "Analog"},
    {"AggregatedLater", "<Analog KeyLink='a'/><Analog KeyLink='b' primaryLocId='5'/>", "Analog", "a", ""},
    {"AggregatedOfAnotherClassLater", "<Analog KeyLink='a'/><Discrete KeyLink='d' primaryLocId='5'/>", "Discrete", "d",
     ""},
    {"Unknown", "<Terminal KeyLink='t'/>", "", "", ""},
    {"ChildrenAreNotLookedAt", "<Analog KeyLink='a'><Discrete KeyLink='d'/></Analog>", "Analog", "a", "Analog"},
};

INSTANTIATE_TEST_SUITE_P(Module, DocumentTop, testing::ValuesIn(kTops),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(DocumentTop, OfNoDocumentIsEmpty) {
  EXPECT_EQ(clipboardTop("<MyTree").table, "");
  EXPECT_EQ(clipboardTop("").table, "");
  EXPECT_EQ(clipboardTemplate("no"), "");
}

class Clipboard : public ModuleWindow {
 protected:
  ~Clipboard() override { QGuiApplication::clipboard()->clear(); }

  static void put(const char* format, const QByteArray& bytes) {
    auto* data = new QMimeData;
    data->setData(format, bytes);
    QGuiApplication::clipboard()->setMimeData(data);
    settle();
  }
  static QByteArray document(const char* element) {
    return QString("<!DOCTYPE MyTreeCopy><MyTree><%1 KeyLink='k'/></MyTree>").arg(element).toUtf8();
  }
  static void putCopy(const char* element) { put("TlmMeasList", "1" + document(element)); }

  // Which documents a row takes, as letters: F U A D C S.
  QString takes(const QModelIndex& index) {
    const std::pair<const char*, char> all[] = {{"Folder", 'F'},   {"RemoteUnit", 'U'},  {"Analog", 'A'},
                                                {"Discrete", 'D'}, {"Accumulator", 'C'}, {"StringMeasurement", 'S'}};
    QString text;
    for (const auto& [table, letter] : all)
      if (module->CheckIndexPaste(index, table)) text += letter;
    return text;
  }
};

TEST_F(Clipboard, RowsTakeWhatMayStandUnderThem) {
  start();
  EXPECT_EQ(takes(QModelIndex()), "FU");
  EXPECT_EQ(takes(find("ОРУ-110")), "FU");
  EXPECT_EQ(takes(find("КП-1")), "ADCS");
  EXPECT_EQ(takes(find("P Т-1")), "A");
  EXPECT_EQ(takes(find("P Т-1").parent()), "A");
  EXPECT_EQ(takes(find("Q-110")), "D");
  EXPECT_EQ(takes(find("Q-110").parent()), "D");
  EXPECT_EQ(takes(find("Wp Т-1")), "C");
  EXPECT_EQ(takes(find("Wp Т-1").parent()), "C");
  EXPECT_EQ(takes(find("Режим")), "S");
  EXPECT_EQ(takes(find("Режим").parent()), "S");
}

TEST_F(Clipboard, FoldersAndUnitsRespectTheCaseOfTheTable) {
  start();
  EXPECT_FALSE(module->CheckIndexPaste(find("ОРУ-110"), "folder"));
  EXPECT_FALSE(module->CheckIndexPaste(find("ОРУ-110"), "remoteunit"));
  EXPECT_TRUE(module->CheckIndexPaste(find("КП-1"), "analog"));
  EXPECT_TRUE(module->CheckIndexPaste(find("P Т-1"), "ANALOG"));
}

TEST_F(Clipboard, CopyIsTakenInWhole) {
  start();
  module->clipCopyCount = 5;
  module->clipPasteTarget = "before";
  putCopy("Analog");
  EXPECT_TRUE(module->clipIsCopy);
  EXPECT_EQ(module->clipText, QString::fromUtf8(document("Analog")));
  EXPECT_TRUE(module->templatePasteOn);
  EXPECT_EQ(module->clipCopyCount, 0);
  EXPECT_EQ(module->clipPasteTarget, "");
  EXPECT_EQ(module->clipTopTable, "Analog");
  EXPECT_EQ(module->clipTemplateTable, "Analog");
}

TEST_F(Clipboard, CutLeavesTheCopyStateAlone) {
  start();
  module->clipCopyCount = 5;
  module->clipPasteTarget = "before";
  put("TlmMeasList", "0" + document("Folder"));
  EXPECT_FALSE(module->clipIsCopy);
  EXPECT_FALSE(module->templatePasteOn);
  EXPECT_EQ(module->clipCopyCount, 5);
  EXPECT_EQ(module->clipPasteTarget, "before");
}

TEST_F(Clipboard, OfAnotherProgramLeavesThePasteState) {
  start();
  click("КП-1");
  putCopy("Analog");
  ASSERT_TRUE(module->btnPaste->isEnabled());
  put("text/plain", "anything");
  EXPECT_TRUE(module->btnPaste->isEnabled());
  EXPECT_EQ(module->clipTopTable, "Analog");
}

TEST_F(Clipboard, PasteFollowsTheSelection) {
  start();
  putCopy("Analog");
  click("Подстанция Северная");
  EXPECT_FALSE(module->btnPaste->isEnabled());
  click("КП-1");
  EXPECT_TRUE(module->btnPaste->isEnabled());
}

TEST_F(Clipboard, EmptyDocumentTurnsPasteOff) {
  start();
  click("КП-1");
  putCopy("Analog");
  put("TlmMeasList", "0");
  EXPECT_FALSE(module->btnPaste->isEnabled());
  EXPECT_FALSE(module->actCopyTemplate->isEnabled());
  EXPECT_EQ(module->clipTopTable, "");
  EXPECT_EQ(module->clipTemplateTable, "");
}

TEST_F(Clipboard, WithoutARowFollowsTheTopLevel) {
  start();
  module->clipText = QString::fromUtf8(document("Folder"));
  module->CheckEnabledPaste(QModelIndex());
  EXPECT_TRUE(module->btnPaste->isEnabled());
  module->clipText = QString::fromUtf8(document("Analog"));
  module->CheckEnabledPaste(QModelIndex());
  EXPECT_FALSE(module->btnPaste->isEnabled());
}

TEST_F(Clipboard, TemplateNeedsACopy) {
  start();
  module->actCopyTemplate->setEnabled(true);
  module->templatePasteOn = false;
  module->clipText = QString::fromUtf8(document("Analog"));
  module->CheckEnabledPaste(find("КП-1"));
  EXPECT_FALSE(module->actCopyTemplate->isEnabled());
}

TEST_F(Clipboard, KnowsWhatStandsThereAlready) {
  start();
  const QString xml = QString("<MyTree><Analog KeyLink='%1'/></MyTree>").arg(key("P Т-1"));
  const QModelIndex row = find("P Т-1");
  EXPECT_TRUE(module->CheckIsParent(xml, row));
  EXPECT_TRUE(module->CheckIsParent(xml, row.parent()));
  EXPECT_FALSE(module->CheckIsParent(xml, find("КП-1")));
  EXPECT_FALSE(module->CheckIsParent("<MyTree/>", row));
}

}  // namespace
}  // namespace tlm::test
