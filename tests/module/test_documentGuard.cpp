// The bytes of the clipboard's document, and which texts from outside are read at all.
#include "DocumentGuard.h"

#include "ClipboardDocument.h"
#include "ModuleWindow.h"

namespace tlm::test {
namespace {

TEST(ClipboardPayload, IsAMarkAndTheText) {
  EXPECT_EQ(clipboardPayload("<a/>", true), "1<a/>");
  EXPECT_EQ(clipboardPayload("<a/>", false), "0<a/>");
  EXPECT_EQ(clipboardPayload("", false), "0");
  EXPECT_TRUE(payloadIsCopy("1<a/>"));
  EXPECT_FALSE(payloadIsCopy("0<a/>"));
  EXPECT_FALSE(payloadIsCopy("2<a/>"));
  EXPECT_FALSE(payloadIsCopy(""));
  EXPECT_EQ(payloadDocument("1<a/>"), "<a/>");
  EXPECT_EQ(payloadDocument(QString("0<я/>").toUtf8()), "<я/>");
  EXPECT_EQ(payloadDocument(QByteArray("0<a/>\0<b/>", 10)), "<a/>");
  EXPECT_EQ(payloadDocument("0"), "");
  EXPECT_EQ(payloadDocument(QByteArray(3 * (kMaxDocumentChars + 1), 'x')), "") << "is not even decoded";
  EXPECT_EQ(payloadDocument(""), "");
}

TEST(DocumentGuard, LetsTheOwnDocumentsPass) {
  EXPECT_TRUE(isHarmlessDocument("<!DOCTYPE MyTreeCut>\n<MyTree>\n <Folder caption=\"a>b/\" k='\"'/>\n</MyTree>\n"));
  EXPECT_TRUE(isHarmlessDocument("<?xml version='1.0'?><!-- <a><b> --><MyTree><![CDATA[<a><b>]]></MyTree>"));
}

TEST(DocumentGuard, RefusesDeclarationsInTheDocumentType) {
  EXPECT_FALSE(isHarmlessDocument("<!DOCTYPE a [<!ENTITY b \"c\">]><a/>"));
  EXPECT_FALSE(isHarmlessDocument("<!DOCTYPE a [\n]><a/>"));
  EXPECT_FALSE(isHarmlessDocument("<!ENTITY b \"c\"><a/>"));
}

// The reader takes the quoted text as one; what would end the type and open a comment in it hides the rest.
TEST(DocumentGuard, IsNotMisledByAQuotedIdentifierOfTheDocumentType) {
  for (const char* type : {"SYSTEM \"><x><!--\"", "SYSTEM '><x><!--'", "PUBLIC '><x><!--' 'b'"}) {
    const QString hidden = "<!DOCTYPE a " + QString(type) + "><a>%1<!-- --></a>";
    EXPECT_FALSE(isHarmlessDocument(hidden.arg(QString("<a>").repeated(2'000) + QString("</a>").repeated(2'000))));
    EXPECT_FALSE(isHarmlessDocument("<!DOCTYPE a " + QString(type) + " [<!ENTITY b 'c'>]><a d='&b;'/><!-- --></a>"));
  }
}

TEST(DocumentGuard, RefusesOneEntityRepeated) {
  QString text = "<!DOCTYPE MyTree [<!ENTITY a \"" + QString(50'000, 'x') + "\">]><MyTree>";
  while (text.size() < 300'000) text += "<Folder caption='&a;&a;&a;&a;'/>";
  QDomDocument document;
  EXPECT_FALSE(readDocument(text + "</MyTree>", document));
}

QString nested(int depth) { return QString("<a>").repeated(depth) + QString("</a>").repeated(depth); }

TEST(DocumentGuard, BoundsTheDepth) {
  EXPECT_TRUE(isHarmlessDocument(nested(kMaxDocumentDepth)));
  EXPECT_FALSE(isHarmlessDocument(nested(kMaxDocumentDepth + 1)));
  EXPECT_FALSE(isHarmlessDocument(nested(40'000)));
  EXPECT_TRUE(isHarmlessDocument("<r>" + QString("<a><b/></a>").repeated(2'000) + "</r>"));
}

TEST(DocumentGuard, IsNotMisledAboutTheDepth) {
  const auto deep = [](const char* each) { return QString(each).repeated(kMaxDocumentDepth + 1); };
  EXPECT_FALSE(isHarmlessDocument(deep("<a b='/'>")));
  EXPECT_FALSE(isHarmlessDocument(deep("<a b=\"/>\">")));
  EXPECT_FALSE(isHarmlessDocument(deep("<a><!-- </a> -->")));
  EXPECT_FALSE(isHarmlessDocument(deep("<a><!--></a>-->"))) << "the comment does not end where it begins";
  EXPECT_FALSE(isHarmlessDocument(deep("<a><![CDATA[</a>]]>")));
  EXPECT_FALSE(isHarmlessDocument(deep("<a><?p </a> ?>")));
}

TEST(DocumentGuard, BoundsSizeAndNumberOfParts) {
  EXPECT_TRUE(isHarmlessDocument("<a>" + QString(kMaxDocumentChars - 7, 'x') + "</a>"));
  EXPECT_FALSE(isHarmlessDocument("<a>" + QString(kMaxDocumentChars - 6, 'x') + "</a>"));
  EXPECT_TRUE(isHarmlessDocument("<a>" + QString("<b/>").repeated(kMaxDocumentParts - 2) + "</a>"));
  EXPECT_FALSE(isHarmlessDocument("<a>" + QString("<b/>").repeated(kMaxDocumentParts - 1) + "</a>"));
  EXPECT_FALSE(isHarmlessDocument("<a " + QString("b='' ").repeated(kMaxDocumentParts) + "/>"));
}

TEST(DocumentGuard, RefusesWhatIsCutShort) {
  for (const char* text : {"<a", "<a b='", "<!-- ", "<![CDATA[", "<?p ", "<!DOCTYPE a", "</a", "</a>"})
    EXPECT_FALSE(isHarmlessDocument(text)) << text;
}

TEST(DocumentFacts, AreReadAnewForAnotherText) {
  DocumentFacts facts;
  EXPECT_EQ(facts.top("<M><Analog KeyLink='a'/></M>").table, "Analog");
  EXPECT_EQ(facts.templateTable("<M><Analog KeyLink='a'/></M>"), "Analog");
  EXPECT_EQ(facts.top("<M><Folder KeyLink='f'/></M>").keyLink, "f");
  EXPECT_EQ(facts.templateTable("<M><Folder KeyLink='f'/></M>"), "");
  EXPECT_EQ(facts.top("").table, "");
}

}  // namespace
}  // namespace tlm::test
