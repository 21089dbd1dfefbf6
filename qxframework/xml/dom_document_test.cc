#include "qxframework/xml/dom_document.h"

#include "qxframework/automation/com_object.h"
#include "qxframework/xml/test_document.h"
#include "testing/temp_folder.h"

#include <string>

namespace qx::xml {
namespace {

/// Returns "failed" or "fine", reason, line, position and URL of the last load, separated by "|".
std::string faultOf(const CComPtr<IXMLDOMDocument>& document) {
  const CComPtr<IXMLDOMParseError> error = document->parseError();
  return (error->errorCode() < 0 ? "failed" : "fine") + std::string("|") + plain(error->reason()) +
         "|" + std::to_string(error->line()) + "|" + std::to_string(error->linepos()) + "|" +
         plain(error->url());
}

/// Returns the fault of a text that must not be read, and checks that the document is empty then.
std::string faultOfText(std::u16string_view text) {
  const auto document = documentOf(u"<before/>");
  EXPECT_EQ(document->loadXML(text), VARIANT_FALSE);
  EXPECT_EQ(plain(document->xml()), "");
  EXPECT_EQ(document->childNodes()->length(), 0);
  return faultOf(document);
}

/// Returns the XML of a document that is read from `text`.
std::string rewritten(std::u16string_view text) { return plain(documentOf(text)->xml()); }

class DomDocumentFile : public testing::Test {
 protected:
  std::string write(const std::string& name, std::string_view bytes) const {
    return folder_.write(name, bytes).string();
  }
  static bool load(const CComPtr<IXMLDOMDocument>& document, const std::string& path) {
    return document->load(CComVariant(std::u16string_view(toUtf16(path)))) == VARIANT_TRUE;
  }

  test::TempFolder folder_;
};

// --- writing -------------------------------------------------------------------------------

TEST(DomDocument, WritesTheDeclarationWithoutItsEncoding) {
  EXPECT_EQ(rewritten(u"<?xml version=\"1.0\"?><r/>"), "<?xml version=\"1.0\"?>\n<r/>\n");
  EXPECT_EQ(rewritten(u"<?xml version='1.0' encoding='ISO-8859-1' standalone='yes'?>\r\n<r/>"),
            "<?xml version=\"1.0\" standalone=\"yes\"?>\n<r/>\n");
  EXPECT_EQ(rewritten(u"<r></r>"), "<r/>\n");
}

TEST(DomDocument, WritesEachElementOnItsOwnLineUnlessTextIsBesideIt) {
  EXPECT_EQ(rewritten(u"<!--top--><a><b><c/></b><d>x<e><f/></e></d><g/></a><?end of?>"),
            "<!--top-->\n"
            "<a>\n"
            "  <b>\n"
            "    <c/>\n"
            "  </b>\n"
            "  <d>x<e><f/></e></d>\n"
            "  <g/>\n"
            "</a>\n"
            "<?end of?>\n");
}

TEST(DomDocument, WritesWideCharactersAndReferencesWithoutLoss) {
  const std::u16string text =
      u"<r "
      u"a=\"&quot;'&#13;&#10;&#9;\u00e4\u20ac\U0001F600\">\u00e4\u20ac\U0001F600&amp;&lt;&gt;\"&#"
      u"13;</r>\n";
  EXPECT_EQ(plain(documentOf(text)->xml()),
            "<r "
            "a=\"&quot;'&#13;&#10;&#9;\u00e4\u20ac\U0001F600\">\u00e4\u20ac\U0001F600&amp;&lt;&gt;"
            "\"&#13;</r>\n");
}

TEST(DomDocument, WritesNamespaceNamesThatNeedReferences) {
  const std::string text = "<p:r xmlns:p=\"a&amp;&quot;b\"/>\n";
  EXPECT_EQ(rewritten(toUtf16(text)), text);
}

TEST(DomDocument, WrittenTextReadsBackTheSame) {
  const auto document = documentOf(
      u"<?xml version='1.0'?><r><!-- k --><a b='c'>t <i/> u</a><![CDATA[<&]]><s "
      u"xml:space='preserve'>"
      u"<t/></s></r>");
  const std::string once = plain(document->xml());
  EXPECT_EQ(rewritten(document->xml().View()), once);
}

TEST(DomDocument, WrittenWhiteSpaceReadsBackTheSame) {
  for (const char* text :
       {"<r><![CDATA[b]]> <![CDATA[c]]>\n<![CDATA[d]]><e/></r>\n",
        "<r>\n  <a>&#32;</a>\n  <b>&#9; \n</b>\n  <c>&#10;<d/></c>\n</r>\n",
        "<r xml:space=\"preserve\"> <a><b/></a>\n</r>\n",
        "<r xml:space=\"preserve\"><a xml:space=\"default\">&#32;</a></r>\n",
        "<r xml:space=\"default\">\n  <a>\n    <b/>\n  </a>\n</r>\n",
        "<r>\n  <s xml:space=\"preserve\"><t/></s>\n  <u/>\n</r>\n", "<r>&#13;\n</r>\n"}) {
    EXPECT_EQ(rewritten(toUtf16(text)), text);
  }
}

// --- reading texts -------------------------------------------------------------------------

TEST(DomDocument, IgnoresTheEncodingNamedInAWideText) {
  for (const char16_t* encoding : {u"ISO-8859-1", u"UTF-8", u"UTF-16", u"no-such-encoding"}) {
    const std::u16string text =
        std::u16string(u"<?xml version='1.0' encoding='") + encoding + u"'?><r>\u20ac\u00e4</r>";
    EXPECT_EQ(rewritten(text), "<?xml version=\"1.0\"?>\n<r>\u20ac\u00e4</r>\n");
  }
}

TEST(DomDocument, SkipsAByteOrderMark) { EXPECT_EQ(rewritten(u"\uFEFF<r/>"), "<r/>\n"); }

TEST(DomDocument, SkipsADocumentType) {
  EXPECT_EQ(rewritten(u"<!DOCTYPE r SYSTEM 'r.dtd'><r>&lt;</r>"), "<r>&lt;</r>\n");
  EXPECT_EQ(rewritten(u"<!DOCTYPE r [<!ELEMENT r (a*)><!ATTLIST r b CDATA #IMPLIED>"
                      u"<!NOTATION n SYSTEM 'n'>]><r b='1'> <a/> </r>"),
            "<r b=\"1\">\n  <a/>\n</r>\n");
}

TEST(DomDocument, AddsTheDefaultValuesOfAttributes) {
  EXPECT_EQ(rewritten(u"<!DOCTYPE r [<!ATTLIST a b (x|y) 'x' c CDATA #FIXED '&lt;&amp;&#34;' "
                      u"d CDATA #IMPLIED e NMTOKEN '  n '>]><r><a/><a c='1' b='y'/><b/></r>"),
            "<r>\n"
            "  <a b=\"x\" c=\"&lt;&amp;&quot;\" e=\"n\"/>\n"
            "  <a c=\"1\" b=\"y\" e=\"n\"/>\n"
            "  <b/>\n"
            "</r>\n");
}

TEST(DomDocument, AddsDefaultValuesOfNamespacesAndTheirAttributes) {
  const auto document = documentOf(
      u"<!DOCTYPE r [<!ATTLIST r p:a CDATA 'v' xmlns:p CDATA 'urn:p' xmlns CDATA 'urn:&amp;d'>]>"
      u"<r><s/></r>");
  EXPECT_EQ(plain(document->xml()),
            "<r xmlns:p=\"urn:p\" xmlns=\"urn:&amp;d\" p:a=\"v\">\n  <s/>\n</r>\n");
  EXPECT_EQ(plain(document->selectSingleNode(u"//@p:a")->namespaceURI()), "urn:p");
  EXPECT_EQ(plain(document->documentElement()->firstChild()->namespaceURI()), "urn:&d");
}

TEST(DomDocument, ADefaultValuePreservesWhiteSpace) {
  const std::u16string type =
      u"<!DOCTYPE r [<!ATTLIST p xml:space (default|preserve) 'preserve'>"
      u"<!ATTLIST d xml:space (default|preserve) 'default'>]>";
  EXPECT_EQ(rewritten(type + u"<r><p> <q>\n</q></p> <p xml:space='default'> </p></r>"),
            "<r>\n"
            "  <p xml:space=\"preserve\"> <q>\n</q></p>\n"
            "  <p xml:space=\"default\"/>\n"
            "</r>\n");
  EXPECT_EQ(rewritten(type + u"<p><d> </d> </p>"),
            "<p xml:space=\"preserve\"><d xml:space=\"default\"/> </p>\n");
}

TEST(DomDocument, AddedAttributesAreLikeOthers) {
  const auto document = documentOf(u"<!DOCTYPE r [<!ATTLIST r a CDATA '1'>]><r/>");
  const CComPtr<IXMLDOMElement> root = document->documentElement();
  EXPECT_EQ(plain(root->getAttribute(u"a")), "1");
  const CComPtr<IXMLDOMNode> removed = root->attributes()->removeNamedItem(u"a");
  EXPECT_EQ(plain(document->xml()), "<r/>\n");
  const auto other = documentOf(u"<s/>");
  other->documentElement()->attributes()->setNamedItem(removed);
  EXPECT_EQ(plain(other->xml()), "<s a=\"1\"/>\n");
}

// Run with the leak checker, this also shows that what is skipped is freed.
TEST(DomDocument, SkipsCommentsAndInstructionsOfADocumentType) {
  EXPECT_EQ(rewritten(u"<!DOCTYPE r [<!-- a --><?b c?>]><!-- d --><?e f?><r/>"),
            "<!-- d -->\n<?e f?>\n<r/>\n");
}

TEST(DomDocument, ReadsDuplicateIdsLikeOtherAttributes) {
  EXPECT_EQ(rewritten(u"<r><a xml:id='x'/><b xml:id='x'/></r>"),
            "<r>\n  <a xml:id=\"x\"/>\n  <b xml:id=\"x\"/>\n</r>\n");
}

TEST(DomDocument, ReportsASuccessAsAnEmptyFault) {
  EXPECT_EQ(faultOf(documentOf(u"<r/>")), "fine||0|0|");
  EXPECT_EQ(faultOf(emptyDocument()), "fine||0|0|");
}

TEST(DomDocument, ReportsTheFirstFaultWithItsPosition) {
  EXPECT_EQ(faultOfText(u"<r>\n  <a></b>\n</r>"),
            "failed|Opening and ending tag mismatch: a line 2 and b\n|2|10|");
  EXPECT_EQ(faultOfText(u"<r a='1' a='2'/>"), "failed|Attribute a redefined\n|1|15|");
  EXPECT_EQ(faultOfText(u"<r/><s/>"), "failed|Extra content at the end of the document\n|1|5|");
  EXPECT_EQ(faultOfText(u"<p:r/>"), "failed|Namespace prefix p on r is not defined\n|1|5|");
}

TEST(DomDocument, RefusesTextsThatAreNoDocument) {
  EXPECT_EQ(faultOfText(u""), "failed|Document is empty\n|1|1|");
  EXPECT_EQ(faultOfText(u"  "), "failed|Start tag expected, '<' not found\n|1|3|");
  EXPECT_EQ(faultOfText(u"<!--only-->"), "failed|Start tag expected, '<' not found\n|1|12|");
  EXPECT_EQ(faultOfText(u"<r>\xD800</r>"), "failed|The text is no well-formed UTF-16.\n|0|0|");
  EXPECT_EQ(faultOfText(u"<r>\xDC00\xD800</r>"),
            "failed|The text is no well-formed UTF-16.\n|0|0|");
  EXPECT_EQ(faultOfText(std::u16string_view(u"<r>\0</r>", 8)),
            "failed|The text holds a zero character.\n|0|0|");
  CComPtr<IXMLDOMDocument> document = emptyDocument();
  VARIANT_BOOL success = VARIANT_TRUE;
  EXPECT_EQ(document->raw_loadXML(nullptr, &success), S_FALSE);
  EXPECT_EQ(success, VARIANT_FALSE);
}

TEST(DomDocument, RefusesOtherVersionsOfXml) {
  EXPECT_EQ(faultOfText(u"<?xml version='1.1'?>\n<r/>"),
            "failed|Unsupported version '1.1'\n|1|20|");
  EXPECT_EQ(faultOfText(u"<?xml version='2.0'?><r/>"), "failed|Unsupported version '2.0'\n|1|20|");
}

TEST(DomDocument, AFaultDoesNotChangeWithALaterLoad) {
  const auto document = emptyDocument();
  document->loadXML(u"<r>");
  const CComPtr<IXMLDOMParseError> error = document->parseError();
  document->loadXML(u"<r/>");
  EXPECT_EQ(error->errorCode(), E_FAIL);
  EXPECT_EQ(document->parseError()->errorCode(), S_OK);
}

// --- hostile texts -------------------------------------------------------------------------

TEST(DomDocument, RefusesEntityDeclarations) {
  const char* const refused = "The declaration of an entity is not allowed.\n";
  for (const char16_t* text :
       {u"<!DOCTYPE r [<!ENTITY a 'x'><!ENTITY b '&a;&a;&a;'>]><r>&b;</r>",
        u"<!DOCTYPE r [<!ENTITY a SYSTEM 'file:///etc/hostname'>]><r>&a;</r>",
        u"<!DOCTYPE r [<!ENTITY % p '<!ELEMENT r ANY>'>%p;]><r/>",
        u"<!DOCTYPE r [<!NOTATION n SYSTEM 'n'><!ENTITY a SYSTEM 'x' NDATA n>]><r/>"}) {
    const auto document = emptyDocument();
    EXPECT_EQ(document->loadXML(text), VARIANT_FALSE);
    EXPECT_EQ(plain(document->parseError()->reason()), refused);
    EXPECT_EQ(document->parseError()->line(), 1);
  }
}

TEST(DomDocument, RefusesDefaultValuesThatDoNotFitTheDocument) {
  EXPECT_EQ(faultOfText(u"<!DOCTYPE r [<!ATTLIST r p:a CDATA 'x'>]>\n<r/>"),
            "failed|Namespace prefix p for a on r is not defined\n|2|3|");
  EXPECT_EQ(faultOfText(u"<!DOCTYPE r [<!ATTLIST r a CDATA '&e;'>]><r/>"),
            "failed|Entity 'e' not defined\n|1|38|");
  for (const char* name : {":p", "p:", "a:b:c"}) {
    const auto document = emptyDocument();
    EXPECT_EQ(document->loadXML(
                  toUtf16(std::string("<!DOCTYPE r [<!ATTLIST r ") + name + " CDATA 'x'>]><r/>")),
              VARIANT_FALSE);
    EXPECT_EQ(plain(document->parseError()->reason()),
              "A default value has an attribute with an impossible name.\n");
  }
  for (const char16_t* declaration :
       {u"xmlns:p CDATA ''", u"xmlns:xml CDATA 'urn:p'", u"xmlns:xmlns CDATA 'urn:p'",
        u"xmlns CDATA 'http://www.w3.org/2000/xmlns/'",
        u"xmlns:p CDATA 'http://www.w3.org/XML/1998/namespace'"}) {
    const auto document = emptyDocument();
    EXPECT_EQ(
        document->loadXML(std::u16string(u"<!DOCTYPE r [<!ATTLIST r ") + declaration + u">]><r/>"),
        VARIANT_FALSE);
    EXPECT_EQ(plain(document->parseError()->reason()),
              "A default value declares a namespace that is not allowed.\n");
  }
  EXPECT_EQ(rewritten(u"<!DOCTYPE r [<!ATTLIST s xmlns CDATA ''>]><r xmlns='urn:d'><s/></r>"),
            "<r xmlns=\"urn:d\">\n  <s xmlns=\"\"/>\n</r>\n");
}

TEST(DomDocument, ReadsAThousandDefaultValues) {
  const auto withDefaults = [](int count) {
    std::u16string text = u"<!DOCTYPE r [<!ATTLIST r";
    for (int i = 1; i <= count; ++i) text += toUtf16(" a" + std::to_string(i) + " CDATA 'x'");
    return text + u">]><r/>";
  };
  EXPECT_EQ(documentOf(withDefaults(1'000))->documentElement()->attributes()->length(), 1'000);
  EXPECT_EQ(emptyDocument()->loadXML(withDefaults(1'001)), VARIANT_FALSE);
  EXPECT_TRUE(faultOfText(withDefaults(1'001))
                  .starts_with("failed|There are more than 1000 default values for attributes.\n|"
                               "1|"));
}

TEST(DomDocument, LimitsWhatDefaultValuesAddToADocument) {
  // ` name="..."` is 7 bytes longer than its value; each element adds 1,000,000 bytes.
  const auto withElements = [](std::u16string_view name, std::size_t length, int count) {
    std::u16string text = u"<!DOCTYPE r [<!ATTLIST e ";
    (text += name) += u" CDATA '" + std::u16string(length, u'x') + u"'>]><r>\n";
    for (int i = 0; i < count; ++i) text += u"<e/>";
    return text + u"</r>";
  };
  EXPECT_EQ(emptyDocument()->loadXML(withElements(u"abc", 999'993, 10)), VARIANT_TRUE);
  const std::string refused =
      "failed|The default values for attributes add more than 10000000 bytes to the document.\n"
      "|2|43|";
  EXPECT_EQ(faultOfText(withElements(u"abc", 999'993, 11)), refused);
  EXPECT_EQ(emptyDocument()->loadXML(withElements(u"xmlns:p", 999'991, 10)), VARIANT_TRUE);
  EXPECT_EQ(faultOfText(withElements(u"xmlns:p", 999'991, 11)), refused);
}

TEST(DomDocument, RefusesReferencesToUnknownEntities) {
  for (const char16_t* text :
       {u"<r>&a;</r>", u"<r b='&a;'/>", u"<!DOCTYPE r SYSTEM 'r.dtd'><r>&a;</r>",
        u"<!DOCTYPE r SYSTEM 'r.dtd'><r b='&a;'/>"}) {
    const auto document = emptyDocument();
    EXPECT_EQ(document->loadXML(text), VARIANT_FALSE);
    EXPECT_EQ(plain(document->parseError()->reason()), "Entity 'a' not defined\n");
  }
}

std::u16string nested(int levels) {
  std::u16string text;
  for (int i = 0; i < levels; ++i) text += u"<a>";
  for (int i = 0; i < levels; ++i) text += u"</a>";
  return text;
}

TEST(DomDocument, ReadsDeepNestingUpToItsLimit) {
  const auto document = documentOf(nested(255));
  EXPECT_EQ(document->selectNodes(u"//a")->length(), 255);
  for (const int levels : {256, 257, 100'000}) {
    EXPECT_EQ(faultOfText(nested(levels)),
              "failed|The elements are nested more than 255 levels deep.\n|1|768|");
  }
}

TEST(DomDocument, ReadsTenMegabytes) {
  const std::u16string row = u"<row name='value' other='another value'>some text</row>\n";
  std::u16string text = u"<r>\n";
  while (text.size() < 10'500'000) text += row;
  const auto document = documentOf(text + u"</r>");
  EXPECT_EQ(document->documentElement()->childNodes()->length(),
            static_cast<long>((text.size() - 4) / row.size()));
  EXPECT_EQ(emptyDocument()->loadXML(document->xml()), VARIANT_TRUE);
}

// --- reading files -------------------------------------------------------------------------

TEST_F(DomDocumentFile, ReadsTheEncodingNamedInAFile) {
  const auto document = emptyDocument();
  ASSERT_TRUE(load(document, write("latin.xml",
                                   "<?xml version='1.0' encoding='ISO-8859-1'?>"
                                   "<r>\xE4\xFC</r>")));
  EXPECT_EQ(plain(document->xml()), "<?xml version=\"1.0\"?>\n<r>\u00e4\u00fc</r>\n");
  EXPECT_EQ(faultOf(document).substr(0, 11), "fine||0|0|/");
}

TEST_F(DomDocumentFile, ReadsUtf16ByItsMark) {
  const std::u16string text = u"\uFEFF<?xml version='1.0' encoding='UTF-16'?><r>\u20ac</r>";
  std::string little;
  std::string big;
  for (const char16_t unit : text) {
    const auto low = static_cast<char>(unit & 0xFF);
    const auto high = static_cast<char>(unit >> 8);
    (little += low) += high;
    (big += high) += low;
  }
  for (const std::string& bytes : {little, big}) {
    const auto document = emptyDocument();
    ASSERT_TRUE(load(document, write("wide.xml", bytes)));
    EXPECT_EQ(plain(document->xml()), "<?xml version=\"1.0\"?>\n<r>\u20ac</r>\n");
  }
}

// The parser converts such a file piece by piece.
TEST_F(DomDocumentFile, ReadsALongFileInAnotherEncodingToItsEnd) {
  std::string rows;
  for (int i = 0; i < 20'000; ++i) rows += "<row>\xE4</row>\n";
  const auto document = emptyDocument();
  ASSERT_TRUE(load(document, write("long.xml", "<?xml version='1.0' encoding='ISO-8859-1'?>\n<r>" +
                                                   rows + "</r>")));
  const auto children = document->documentElement()->childNodes();
  ASSERT_EQ(children->length(), 20'000);
  EXPECT_EQ(children->item(19'999)->text(), u"\u00e4");
}

TEST_F(DomDocumentFile, ReadsUtf8WithMarkAndByDefault) {
  const auto document = emptyDocument();
  ASSERT_TRUE(load(document, write("a.xml", "\xEF\xBB\xBF<r>\u20ac</r>")));
  EXPECT_EQ(plain(document->xml()), "<r>\u20ac</r>\n");
  ASSERT_TRUE(load(document, write("b.xml", "<r>\u00e4</r>")));
  EXPECT_EQ(plain(document->xml()), "<r>\u00e4</r>\n");
}

TEST_F(DomDocumentFile, ReadsTenMegabytesOfUtf16) {
  std::string bytes = "\xFF\xFE";
  const auto add = [&](std::string_view text) {
    for (const char c : text) (bytes += c) += '\0';
  };
  add("<r>");
  long rows = 0;
  for (; bytes.size() < 10'500'000; ++rows) add("<row name='value'>some text</row>\n");
  add("</r>");
  const auto document = emptyDocument();
  ASSERT_TRUE(load(document, write("wide.xml", bytes)));
  EXPECT_EQ(document->documentElement()->childNodes()->length(), rows);
  EXPECT_EQ(plain(document->documentElement()->lastChild()->text()), "some text");
}

TEST_F(DomDocumentFile, ReadsFileUrls) {
  const std::string path = write("with blank.xml", "<r/>");
  std::string escaped = path;
  escaped.replace(escaped.find(' '), 1, "%20");
  const auto document = emptyDocument();
  EXPECT_TRUE(load(document, "file://" + escaped));
  EXPECT_TRUE(load(document, "file://localhost" + escaped));
  EXPECT_TRUE(load(document, "file:" + escaped));
  EXPECT_EQ(plain(document->parseError()->url()), "file:" + escaped);
}

TEST_F(DomDocumentFile, ReportsWhyAFileCannotBeRead) {
  const std::string missing = (folder_.path() / "missing.xml").string();
  const auto document = documentOf(u"<before/>");
  EXPECT_FALSE(load(document, missing));
  EXPECT_EQ(document->parseError()->errorCode(), resultCode(0x80070002));
  EXPECT_EQ(faultOf(document),
            "failed|Cannot read " + missing + ": No such file or directory.\n|0|0|" + missing);
  EXPECT_EQ(plain(document->xml()), "");
  EXPECT_FALSE(load(document, folder_.path().string()));
  EXPECT_EQ(plain(document->parseError()->reason()),
            "Cannot read " + folder_.path().string() + ": Is a directory.\n");
  EXPECT_FALSE(load(document, "http://localhost/a.xml"));
  EXPECT_EQ(plain(document->parseError()->reason()),
            "Cannot read http://localhost/a.xml: not a file.\n");
  EXPECT_FALSE(load(document, "/dev/null"));
  EXPECT_EQ(plain(document->parseError()->reason()),
            "Cannot read /dev/null: Operation not supported.\n");
  EXPECT_FALSE(load(document, ""));
  EXPECT_EQ(plain(document->parseError()->reason()), "Cannot read : No such file or directory.\n");
}

TEST_F(DomDocumentFile, RefusesSourcesThatAreNoText) {
  VARIANT_BOOL success = VARIANT_TRUE;
  EXPECT_EQ(emptyDocument()->raw_load(CComVariant(1), &success), E_INVALIDARG);
  EXPECT_EQ(success, VARIANT_FALSE);
}

TEST_F(DomDocumentFile, DoesNotReadOtherFiles) {
  const std::string secret = write("secret.txt", "secret");
  const std::string entity =
      write("entity.xml", "<!DOCTYPE r [<!ENTITY s SYSTEM '" + secret + "'>]><r>&s;</r>");
  write("r.dtd", "<!ENTITY s 'secret'>");
  const std::string external = write("external.xml", "<!DOCTYPE r SYSTEM 'r.dtd'><r>&s;</r>");
  const std::string included = write("included.xml",
                                     "<r xmlns:i='http://www.w3.org/2001/XInclude'>"
                                     "<i:include href='" +
                                         secret + "' parse='text'/></r>");
  const auto document = emptyDocument();
  EXPECT_FALSE(load(document, entity));
  EXPECT_EQ(plain(document->parseError()->reason()),
            "The declaration of an entity is not allowed.\n");
  EXPECT_FALSE(load(document, external));
  EXPECT_EQ(plain(document->parseError()->reason()), "Entity 's' not defined\n");
  EXPECT_TRUE(load(document, included));
  EXPECT_EQ(plain(document->text()), "");
  EXPECT_EQ(plain(document->documentElement()->firstChild()->nodeName()), "i:include");
}

TEST_F(DomDocumentFile, ReportsBytesThatDoNotFitTheEncodingWithoutPrinting) {
  testing::internal::CaptureStderr();
  const auto document = emptyDocument();
  EXPECT_FALSE(load(document, write("bad.xml", "<r>\xFF\xFE</r>")));
  EXPECT_NE(plain(document->parseError()->reason()), "");
  EXPECT_FALSE(
      load(document, write("jis.xml", "<?xml version='1.0' encoding='EUC-JP'?><r>\xA4</r>")));
  EXPECT_NE(plain(document->parseError()->reason()), "");
  CComPtr<IXMLDOMNode> node;
  document->raw_selectSingleNode(CComBSTR(u"//["), &node);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// --- activation ----------------------------------------------------------------------------

TEST(DomDocumentClass, IsMadeByItsClassId) {
  CComPtr<IXMLDOMDocument> document;
  EXPECT_EQ(createInstance(CLSID_DOMDocument, CLSCTX_INPROC_SERVER, &document), S_OK);
  EXPECT_NE(document.p, nullptr);
}

TEST(DomDocumentClass, YieldsToAFactoryRegisteredLater) {
  const auto refusing = makeFactory([]() -> CComPtr<IXMLDOMDocument> { raiseError(E_ABORT); });
  DWORD cookie = 0;
  ASSERT_EQ(CoRegisterClassObject(CLSID_DOMDocument, refusing, CLSCTX_INPROC_SERVER, 0, &cookie),
            S_OK);
  CComPtr<IXMLDOMDocument> document;
  EXPECT_EQ(createDocument(&document), E_ABORT);
  EXPECT_EQ(CoRevokeClassObject(cookie), S_OK);
  EXPECT_EQ(createDocument(&document), S_OK);
}

}  // namespace
}  // namespace qx::xml
