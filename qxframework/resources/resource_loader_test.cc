#include "qxframework/resources/resource_loader.h"

#include "qxframework/automation/com_object.h"
#include "qxframework/automation/text.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/dom_document.h"
#include "testing/raised_by.h"
#include "testing/recording_logger.h"
#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace {

using qx::test::raisedBy;
using qx::test::RecordingLogger;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using namespace std::string_literals;

/// A temporary folder that TMPDIR names while it lives.
class TemporaryPlace : public qx::test::TempFolder {
  qx::test::ScopedVariable variable_{"TMPDIR", path().string()};
};

// Reaches the private operations that only an empty symbol table would lead to, which no present
// caller passes. An explicit instantiation may name private members.
using MapTable = std::unordered_map<std::u16string_view, const XMLMAP*>;
template <auto GetXMLMapTable, auto MakeTable>
struct Reach {
  friend long readMapTable(CQXResourceLoader& loader, CComPtr<IXMLDOMNode> mapTable,
                           std::vector<XMLMAP>& map) {
    return (loader.*GetXMLMapTable)(5, mapTable, map);
  }
  friend MapTable makeTable(CQXResourceLoader& loader, IXMLDOMDocument* document,
                            const std::vector<XMLMAP>& map, std::vector<XMLMAP>& ofDocument) {
    return (loader.*MakeTable)(5, document, map, ofDocument);
  }
};
long readMapTable(CQXResourceLoader& loader, CComPtr<IXMLDOMNode> mapTable,
                  std::vector<XMLMAP>& map);
MapTable makeTable(CQXResourceLoader& loader, IXMLDOMDocument* document,
                   const std::vector<XMLMAP>& map, std::vector<XMLMAP>& ofDocument);
template struct Reach<&CQXResourceLoader::GetXMLMapTable, &CQXResourceLoader::MakeTable>;

class ResourceLoaderTest : public ::testing::Test {
 protected:
  /// Returns the document, as UTF-8, that loading `xml` by `map` and its end row makes.
  std::string mapped(std::u16string_view xml, std::vector<XMLMAP> map,
                     HvLanguages language = ln_English) {
    map.emplace_back();
    CComPtr<IXMLDOMDocument> document;
    EXPECT_EQ(loader.LoadXML(5, CComBSTR(xml), document, &map, language), S_OK);
    return qx::toUtf8(document->xml().View());
  }
  std::u16string contents(unsigned id) {
    CComBSTR text;
    EXPECT_EQ(loader.GetResourceFileContents(5, id, text), S_OK);
    return std::u16string(text.View());
  }

  RecordingLogger logger;
  CQXResourceLoader loader;
};

TEST_F(ResourceLoaderTest, ReadsNarrowAndWideResources) {
  EXPECT_EQ(
      contents(1),
      u"<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<Application name=\"Stra\u00DFe\"/>\n");
  EXPECT_EQ(contents(4), contents(1));
  EXPECT_EQ(contents(2), u"\uFEFF<Application name=\"\u4E2D\"/>");
}

TEST_F(ResourceLoaderTest, MissingResourceIsLoggedAndThrown) {
  CComBSTR text;
  EXPECT_EQ(raisedBy([&] { loader.GetResourceFileContents(5, 99, text); }), E_INVALIDARG);
  EXPECT_TRUE(logger.has(1, u"Could not locate resource (ID=99)!\n"));
  EXPECT_TRUE(logger.has(6, u"Leaving function [E_INVALIDARG]\n"));
}

TEST_F(ResourceLoaderTest, EmptyResourceIsLoggedAndThrown) {
  CComBSTR text;
  EXPECT_EQ(raisedBy([&] { loader.GetResourceFileContents(5, 3, text); }), E_INVALIDARG);
  EXPECT_TRUE(logger.has(1, u"Could not get the size of resource (ID=3)!\n"));
}

TEST_F(ResourceLoaderTest, SourceIsParsedFromItsFirstBracket) {
  CComPtr<IXMLDOMDocument> document;
  loader.LoadXML(0, CComBSTR(u"\uFEFF stray <a/>"), document, nullptr, ln_English);
  EXPECT_EQ(document->documentElement()->nodeName().View(), u"a");
}

TEST_F(ResourceLoaderTest, SourceWithoutABracketIsAFileName) {
  const qx::test::TempFolder folder;
  const auto file = folder.write("form.xml", "<fromfile/>");
  CComPtr<IXMLDOMDocument> document;
  loader.LoadXML(0, CComBSTR(qx::toUtf16(file.string())), document, nullptr, ln_English);
  EXPECT_EQ(document->documentElement()->nodeName().View(), u"fromfile");
}

TEST_F(ResourceLoaderTest, MalformedTextIsLoggedOnOneLineAndThrown) {
  CComPtr<IXMLDOMDocument> document;
  EXPECT_EQ(raisedBy([&] {
              loader.LoadXML(0, CComBSTR(u"<a>\n<b>\n</a>"), document, nullptr, ln_English);
            }),
            E_INVALIDARG);
  const auto errors = logger.messages(1);
  ASSERT_EQ(errors.size(), 1U);
  EXPECT_TRUE(errors[0].starts_with(u"Load XML failed: ")) << qx::toUtf8(errors[0]);
  EXPECT_TRUE(errors[0].find(u" [line: 3 linepos: ") != std::u16string::npos)
      << qx::toUtf8(errors[0]);
  EXPECT_EQ(errors[0].find(u'\n'), errors[0].size() - 1);
  EXPECT_TRUE(logger.has(6, u"Leaving function [E_INVALIDARG]\n"));
}

TEST_F(ResourceLoaderTest, MissingFileIsThrown) {
  CComPtr<IXMLDOMDocument> document;
  EXPECT_EQ(raisedBy([&] {
              loader.LoadXML(0, CComBSTR(u"/nowhere/form.xml"), document, nullptr, ln_English);
            }),
            E_INVALIDARG);
}

TEST_F(ResourceLoaderTest, BigEndianResourceDoesNotParse) {
  const std::u16string text = contents(5);
  CComPtr<IXMLDOMDocument> document;
  EXPECT_EQ(raisedBy([&] { loader.LoadXML(0, CComBSTR(text), document, nullptr, ln_English); }),
            E_INVALIDARG);
  EXPECT_TRUE(logger.messages(1).back().starts_with(u"Load XML failed: "));
}

TEST_F(ResourceLoaderTest, FailureToCreateADocumentIsThrownWithItsCode) {
  DWORD cookie = 0;
  CComPtr<IXMLDOMDocument> document;
  ASSERT_EQ(qx::createDocument(&document.p), S_OK);
  CoRegisterClassObject(CLSID_DOMDocument, qx::makeFactory([]() -> CComPtr<IXMLDOMDocument> {
                          qx::raiseError(REGDB_E_CLASSNOTREG);
                        }),
                        1, 0, &cookie);
  EXPECT_EQ(raisedBy([&] { loader.LoadXML(0, CComBSTR(u"<a/>"), document, nullptr, ln_English); }),
            REGDB_E_CLASSNOTREG);
  CoRevokeClassObject(cookie);
  EXPECT_TRUE(logger.has(1, u"Failed to CoCreate an instance of an XML DOM [0x80040154]\n"));
}

TEST_F(ResourceLoaderTest, LoadWithoutAMapRewritesNothingAndKeepsTheMapTable) {
  const auto text =
      u"<Application><maptable><map tag=\"A\" id=\"1\"/></maptable><form uid=\"A\"/></Application>";
  const std::vector<XMLMAP> empty;
  for (const std::vector<XMLMAP>* map :
       {static_cast<const std::vector<XMLMAP>*>(nullptr), &empty}) {
    CComPtr<IXMLDOMDocument> document;
    loader.LoadXML(0, CComBSTR(text), document, map, ln_English);
    const std::string xml = qx::toUtf8(document->xml().View());
    EXPECT_THAT(xml, HasSubstr("maptable"));
    EXPECT_THAT(xml, HasSubstr("uid=\"A\""));
  }
}

TEST_F(ResourceLoaderTest, LoadReleasesTheDocumentThatItReplaces) {
  CComPtr<IXMLDOMDocument> former;
  ASSERT_EQ(qx::createDocument(&former.p), S_OK);
  CComPtr<IXMLDOMDocument> document = former;
  EXPECT_EQ(loader.LoadXML(0, CComBSTR(u"<a/>"), document, nullptr, ln_English), S_OK);
  EXPECT_NE(document, former);
  former->AddRef();
  EXPECT_EQ(former->Release(), 1U) << "only this test holds it";
  EXPECT_EQ(former->documentElement(), nullptr);
}

TEST_F(ResourceLoaderTest, ReadsTheRowsOfAMapTable) {
  CComPtr<IXMLDOMDocument> document;
  loader.LoadXML(0,
                 CComBSTR(u"<maptable><map tag='A' id='12' value='v'/><MAP tag='B' id='1'/>"
                          u"<!--k--><map tag='C' id='7x'/><map tag='D' value='w'/>"
                          u"<map id='3'/><map tag='' id='4'/><map tag='E' id='-1'/></maptable>"),
                 document, nullptr, ln_English);
  logger.records.clear();
  std::vector<XMLMAP> map;
  EXPECT_EQ(readMapTable(loader, CComPtr<IXMLDOMNode>(document->documentElement().p), map), S_OK);
  ASSERT_EQ(map.size(), 3U);
  EXPECT_TRUE(map[0].tag == u"A" && map[0].id == 12 && map[0].value == u"v");
  EXPECT_TRUE(map[1].tag == u"C" && map[1].id == 7 && map[1].value.empty());
  EXPECT_TRUE(map[2].tag == u"E" && map[2].id == 0xFFFFFFFF && map[2].value.empty());
  EXPECT_THAT(
      logger.messagesOf(u"CQXUtil::GetXMLMapTable"),
      ElementsAre(u"Mapping added: 'A' '12' 'v' \n"s, u"Skipping node <MAP>.\n"s,
                  u"Skipping node <>.\n"s, u"Mapping added: 'C' '7x' '' \n"s,
                  u"ID for tag 'D' not provided. Skipping!\n"s, u"Mapping added: 'E' '-1' '' \n"s));
}

TEST_F(ResourceLoaderTest, AnEmptyMapTableHasNoRows) {
  CComPtr<IXMLDOMDocument> document;
  loader.LoadXML(0, CComBSTR(u"<maptable/>"), document, nullptr, ln_English);
  std::vector<XMLMAP> map;
  EXPECT_EQ(readMapTable(loader, CComPtr<IXMLDOMNode>(document->documentElement().p), map), S_OK);
  EXPECT_THAT(map, IsEmpty());
  EXPECT_THAT(logger.messagesOf(u"CQXUtil::GetXMLMapTable"),
              ElementsAre(u"Mapping table not defined in XML file.\n"s));
}

TEST_F(ResourceLoaderTest, ATableWithoutRowsIsThatOfTheDocument) {
  const auto tableOf = [this](const char16_t* text, const std::vector<XMLMAP>& map) {
    CComPtr<IXMLDOMDocument> document;
    loader.LoadXML(0, CComBSTR(text), document, nullptr, ln_English);
    logger.records.clear();
    std::vector<XMLMAP> ofDocument;
    std::string out;
    for (const auto& [tag, row] : makeTable(loader, document, map, ofDocument)) {
      out += qx::toUtf8(tag) + "=" + std::to_string(row->id) + " ";
    }
    return out;
  };
  const char16_t* const text =
      u"<Application><MapTable><map tag='A' id='1'/><map tag='A' id='2'/></MapTable></Application>";
  EXPECT_EQ(tableOf(text, {}), "A=1 ");
  EXPECT_THAT(logger.messagesOf(u"CQXResourceLoader::LoadXML"),
              ElementsAre(u"Mapping table contains no mappings. Altenative mapping searched.\n"s,
                          u"Altenative mapping found in XML file.\n"s));
  EXPECT_EQ(tableOf(text, {{u"B", 3, u""}}), "B=3 ");
  EXPECT_THAT(logger.messagesOf(u"CQXResourceLoader::LoadXML"), IsEmpty());
  EXPECT_EQ(tableOf(u"<Application/>", {}), "");
  EXPECT_THAT(logger.messages(1), ElementsAre(u"<maptable> node not found.\n"s));
  EXPECT_EQ(tableOf(u"<other/>", {}), "");
  EXPECT_THAT(logger.messages(1), ElementsAre(u"<application> node not found.\n"s));
}

TEST_F(ResourceLoaderTest, LoadWithAMapRemovesTheFirstMapTableOfTheRootOnly) {
  EXPECT_EQ(mapped(u"<Application><a/><MapTable/><b><maptable/></b><maptable/></Application>", {}),
            "<Application>\n  <a/>\n  <b>\n    <maptable/>\n  </b>\n  <maptable/>\n"
            "</Application>\n");
  EXPECT_THAT(logger.messages(1), IsEmpty());
  EXPECT_EQ(mapped(u"<Application uid=\"1\"/>", {}), "<Application uid=\"1\"/>\n");
  EXPECT_THAT(logger.messages(1), IsEmpty()) << "a document without a table is no fault";
  EXPECT_EQ(mapped(u"<other/>", {}), "<other/>\n");
  EXPECT_THAT(logger.messages(1), ElementsAre(u"<application> node not found.\n"s));
}

TEST_F(ResourceLoaderTest, LogsTheNumberOfTheClient) {
  mapped(u"<Application uid=\"A\"/>", {{u"A", 1, u""}});
  contents(1);
  ASSERT_FALSE(logger.records.empty());
  for (const auto& record : logger.records) {
    // What has no number of the client logs 0.
    const bool isWithout = record.function == u"CQXResourceLoader::LoadStringW" ||
                           record.function == u"CQXResourceLoader::GetXMLAttributeValue";
    if (record.function.starts_with(u"CQXResourceLoader::")) {
      EXPECT_EQ(record.appId, isWithout ? 0 : 5) << qx::toUtf8(record.function);
    }
  }
}

TEST_F(ResourceLoaderTest, LeavesAPassWithTheTextThatItHasWritten) {
  const std::u16string rest(2000, u'x');
  mapped(u"<Application uid=\"A\" b=\"" + rest + u"\"/>", {{u"A", 17, u""}});
  std::vector<std::u16string> leaving;
  for (const auto& record : logger.records) {
    if (record.function == u"CQXResourceLoader::FindAndReplace" &&
        record.message.starts_with(u"Leaving")) {
      leaving.push_back(record.message);
    }
  }
  ASSERT_EQ(leaving.size(), 11U);
  EXPECT_THAT(qx::toUtf8(leaving[0]), HasSubstr("<Application uid=\"17\" b=\"xxx"));
  EXPECT_EQ(leaving[0].size(), 1023U);
}

TEST_F(ResourceLoaderTest, LoadWithAMapRemovesTheMapTable) {
  const auto xml = mapped(
      u"<Application><maptable><map tag=\"A\" id=\"1\"/></maptable><form uid=\"A\"/></Application>",
      {});
  EXPECT_THAT(xml, Not(HasSubstr("maptable")));
  EXPECT_THAT(xml, HasSubstr("<form uid=\"A\"/>"));
}

TEST_F(ResourceLoaderTest, PrefixIsKeptBeforeTheNumber) {
  const auto xml =
      mapped(u"<Application UniqueID=\"QX_@QX_MNU_LOGGING\"/>", {{u"QX_MNU_LOGGING", 302, u""}});
  EXPECT_THAT(xml, HasSubstr("UniqueID=\"QX_302\""));
  EXPECT_TRUE(logger.has(5, u"[UniqueID]: 'QX_MNU_LOGGING' => '302'.\n"));
}

TEST_F(ResourceLoaderTest, UnknownIdentifierIsCutToTenCharactersAndLogged) {
  const auto xml = mapped(u"<Application>\n<form uid=\"QX_FCL_ET_FIND\"/></Application>", {});
  EXPECT_THAT(xml, HasSubstr("uid=\"QX_FCL_ET_\""));
  const auto lines = logger.messagesOf(u"CQXResourceLoader::FindAndReplace");
  EXPECT_THAT(lines,
              ElementsAre(u"[QX_FCL_ET_FIND]: no mapping defined for uid attribute [line=2].\n"s));
}

TEST_F(ResourceLoaderTest, NumbersAndShortIdentifiersAreKept) {
  const auto xml =
      mapped(u"<Application FatherUID=\"43523\" default_button=\"1\" uid=\"ABCDEFGHIJ\"/>", {});
  EXPECT_THAT(xml, HasSubstr("FatherUID=\"43523\" default_button=\"1\" uid=\"ABCDEFGHIJ\""));
}

TEST_F(ResourceLoaderTest, PrefixDoesNotCountInTheTenCharacters) {
  const auto xml = mapped(u"<Application uid=\"PRE_@ABCDEFGHIJKLM\"/>", {});
  EXPECT_THAT(xml, HasSubstr("uid=\"PRE_@ABCDEFGHI\""));
}

TEST_F(ResourceLoaderTest, TextAttributeGetsTheStringOfTheLanguage) {
  const std::vector<XMLMAP> map{{u"QX_ITM_BT_OK", 1, u""}};
  EXPECT_THAT(mapped(u"<Application caption=\"QX_ITM_BT_OK\"/>", map), HasSubstr("caption=\"OK\""));
  EXPECT_THAT(mapped(u"<Application caption=\"QX_ITM_BT_OK\"/>", map, ln_German),
              HasSubstr("caption=\"In Ordnung\""));
}

TEST_F(ResourceLoaderTest, MissingStringIsReplacedByTheValueOfTheRow) {
  EXPECT_THAT(mapped(u"<Application title=\"T\"/>", {{u"T", 999, u"a<b&c"}}),
              HasSubstr("title=\"a&lt;b&amp;c\""));
  EXPECT_THAT(mapped(u"<Application caption=\"T\"/>", {{u"T", 999, u""}}),
              HasSubstr("caption=\"\""));
}

TEST_F(ResourceLoaderTest, MarkupCharactersOfStringsAreEscaped) {
  const auto xml = mapped(u"<Application String=\"T\"/>", {{u"T", 2, u""}});
  EXPECT_THAT(xml, HasSubstr("Fish &amp; Chips &quot;to go&quot; &lt;now&gt;"));
}

TEST_F(ResourceLoaderTest, UnknownTextIsKeptWithItsPrefix) {
  const auto xml =
      mapped(u"<Application caption=\"ab@cd\" description=\"a very long description\"/>", {});
  EXPECT_THAT(xml, HasSubstr("caption=\"ab@cd\" description=\"a very long description\""));
  EXPECT_THAT(logger.messagesOf(u"CQXResourceLoader::FindAndReplace"), IsEmpty());
}

TEST_F(ResourceLoaderTest, EndRowMatchesEmptyValues) {
  const auto xml = mapped(u"<Application uid=\"\" linkto=\"\" caption=\"\"/>", {});
  EXPECT_THAT(xml, HasSubstr("uid=\"-1\" linkto=\"-1\" caption=\"\""));
}

TEST_F(ResourceLoaderTest, RewritesAllElevenAttributesByTheirKind) {
  const std::vector<XMLMAP> map{{u"S", 1, u""}};
  EXPECT_THAT(
      mapped(u"<Application uid=\"S\" alias=\"S\" linkto=\"S\" UniqueID=\"S\" FatherUID=\"S\" "
             u"caption=\"S\" description=\"S\" title=\"p@S\" value=\"S\" String=\"S\" "
             u"default_button=\"S\" other=\"S\"/>",
             map),
      HasSubstr("<Application uid=\"1\" alias=\"1\" linkto=\"1\" UniqueID=\"1\" FatherUID=\"1\" "
                "caption=\"OK\" description=\"OK\" title=\"pOK\" value=\"OK\" String=\"OK\" "
                "default_button=\"1\" other=\"S\"/>"));
  EXPECT_TRUE(logger.has(5, u"[title]: 'S' => 'OK'.\n"));
}

TEST_F(ResourceLoaderTest, IdIsWrittenAsASignedNumberOfTenCharacters) {
  EXPECT_THAT(mapped(u"<Application uid=\"A\"/>", {{u"A", 0x80000000U, u""}}),
              HasSubstr("uid=\"-214748364\""));
}

TEST_F(ResourceLoaderTest, FirstOfTwoRowsWins) {
  EXPECT_THAT(mapped(u"<Application uid=\"A\"/>", {{u"A", 1, u""}, {u"A", 2, u""}}),
              HasSubstr("uid=\"1\""));
}

TEST_F(ResourceLoaderTest, AttributesThatEndLikeAnOpenerAreRewrittenToo) {
  EXPECT_THAT(mapped(u"<Application myuid=\"A\"/>", {{u"A", 1, u""}}), HasSubstr("myuid=\"1\""));
}

TEST_F(ResourceLoaderTest, OpenersInReplacementsAreNotRewritten) {
  // The pass for "value" reads the text that the pass for "caption" wrote. Its entities keep the
  // quote from looking like an opener.
  const auto xml = mapped(u"<Application caption=\"T\" value=\"V\"/>",
                          {{u"T", 999, u"value=\"V\""}, {u"V", 1, u""}});
  EXPECT_THAT(xml, HasSubstr("caption=\"value=&quot;V&quot;\" value=\"OK\""));
}

TEST_F(ResourceLoaderTest, MalformedLocalisedTextIsDumpedAndThrown) {
  const TemporaryPlace folder;
  std::vector<XMLMAP> map{{u"A", 999, u"\x01"}, {}};  // XML has no such control character
  CComPtr<IXMLDOMDocument> document;
  EXPECT_EQ(raisedBy([&] {
              loader.LoadXML(0, CComBSTR(u"<Application caption=\"A\"/>"), document, &map,
                             ln_English);
            }),
            E_INVALIDARG);
  EXPECT_TRUE(logger.has(1, u"Load XML following localization failed. Strange!.\n"));
  std::ifstream dump(folder.path() / "HVX_Form.xml");
  const std::string content(std::istreambuf_iterator<char>(dump), {});
  EXPECT_THAT(content, HasSubstr("<Application caption=\"\x01\"/>"));
}

TEST_F(ResourceLoaderTest, FailedDumpIsLoggedBeforeTheFailure) {
  const TemporaryPlace folder;
  std::filesystem::create_directory(folder.path() /
                                    "HVX_Form.xml");  // no file can be written there
  std::vector<XMLMAP> map{{u"A", 999, u"\x01"}, {}};
  CComPtr<IXMLDOMDocument> document;
  EXPECT_EQ(raisedBy([&] {
              loader.LoadXML(0, CComBSTR(u"<Application caption=\"A\"/>"), document, &map,
                             ln_English);
            }),
            E_INVALIDARG);
  EXPECT_THAT(logger.messages(1),
              ElementsAre(u"Failed to dump form to " +
                              qx::toUtf16((folder.path() / "HVX_Form.xml").string()) +
                              u" -- access rights?",
                          u"Load XML following localization failed. Strange!.\n"s));
}

TEST_F(ResourceLoaderTest, GetChildNodeIgnoresTheCaseOfTheChild) {
  CComPtr<IXMLDOMDocument> document;
  loader.LoadXML(0, CComBSTR(u"<Application><ITEM/><Item n=\"2\"/></Application>"), document,
                 nullptr, ln_English);
  const auto application = loader.GetChildNode(0, document, u"application", -1, true);
  ASSERT_NE(application, nullptr);
  EXPECT_EQ(loader.GetChildNode(0, application, u"item", -1, true)->nodeName().View(), u"ITEM");
  EXPECT_EQ(loader.GetChildNode(0, application, u"Item", -1, false), nullptr);
}

TEST_F(ResourceLoaderTest, GetChildNodeWithAnotherNumberOfChildrenLogsNothing) {
  CComPtr<IXMLDOMDocument> document;
  loader.LoadXML(0, CComBSTR(u"<forms><form/><form/></forms>"), document, nullptr, ln_English);
  const auto forms = loader.GetChildNode(0, document, u"forms", -1, true);
  EXPECT_EQ(loader.GetChildNode(0, forms, u"form", 1, true), nullptr);
  EXPECT_THAT(logger.messages(1), IsEmpty());
}

TEST_F(ResourceLoaderTest, GetChildNodeLogsAMissingChildOnlyOnRequest) {
  CComPtr<IXMLDOMDocument> document;
  loader.LoadXML(0, CComBSTR(u"<forms/>"), document, nullptr, ln_English);
  EXPECT_EQ(loader.GetChildNode(0, document, u"menus", -1, false), nullptr);
  EXPECT_THAT(logger.messages(1), IsEmpty());
  EXPECT_EQ(loader.GetChildNode(0, document, u"menus", -1, true), nullptr);
  EXPECT_THAT(logger.messages(1), ElementsAre(u"<menus> node not found.\n"s));
}

TEST_F(ResourceLoaderTest, MissingAttributeReturnsANullString) {
  CComPtr<IXMLDOMDocument> document;
  loader.LoadXML(0, CComBSTR(u"<a b=\"x\" c=\"\"><!-- no attributes --></a>"), document, nullptr,
                 ln_English);
  const CComPtr<IXMLDOMNode> node = document->documentElement();
  EXPECT_EQ(loader.GetXMLAttributeValue(node, u"b").View(), u"x");
  EXPECT_NE(loader.GetXMLAttributeValue(node, u"c").m_str, nullptr);
  EXPECT_EQ(loader.GetXMLAttributeValue(node, u"d").m_str, nullptr);
  EXPECT_EQ(loader.GetXMLAttributeValue(node->firstChild(), u"b").m_str, nullptr);
}

TEST_F(ResourceLoaderTest, LoadsStringsOfItsModule) {
  CQXBSTR text(ln_English);
  EXPECT_TRUE(loader.LoadStringW(text, 1, ln_German));
  EXPECT_EQ(text.View(), u"In Ordnung");
  EXPECT_TRUE(loader.LoadStringW(text, 1, static_cast<unsigned short>(1033)));
  EXPECT_EQ(text.View(), u"OK");
  EXPECT_FALSE(loader.LoadStringW(text, 999, ln_German));
  EXPECT_EQ(text.View(), u"OK");
}

TEST_F(ResourceLoaderTest, LoadStringRefusesANumberThatMayBeEitherKindOfLanguage) {
  const auto loads = [](auto language) {
    return requires(CQXResourceLoader reader, CQXBSTR text) {
      reader.LoadStringW(text, 1, language);
    };
  };
  EXPECT_TRUE(loads(ln_German));
  EXPECT_TRUE(loads(static_cast<unsigned short>(1031)));
  EXPECT_FALSE(loads(9));
}

TEST_F(ResourceLoaderTest, NullNodeIsRefusedWithEPointer) {
  EXPECT_EQ(raisedBy([&] { loader.GetChildNode(0, nullptr, u"menus", -1, false); }), E_POINTER);
  EXPECT_EQ(raisedBy([&] { loader.GetXMLAttributeValue(nullptr, u"uid"); }), E_POINTER);
}

TEST_F(ResourceLoaderTest, LoadsTenMegabytes) {
  std::u16string text = u"<Application>";
  long items = 0;
  for (; text.size() < 10'000'000; ++items)
    text += u"<item uid=\"12345\" caption=\"plain text without a row\"/>";
  text += u"</Application>";
  CComPtr<IXMLDOMDocument> document;
  EXPECT_EQ(loader.LoadXML(0, CComBSTR(text), document, nullptr, ln_English), S_OK);
  EXPECT_EQ(document->documentElement()->childNodes()->length(), items);
}

}  // namespace
