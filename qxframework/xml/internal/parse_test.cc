#include "qxframework/xml/internal/parse.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/xml/internal/parse_rules.h"
#include "qxframework/xml/test_document.h"
#include "testing/raised_by.h"
#include "testing/temp_folder.h"

#include <filesystem>
#include <string>
#include <vector>

namespace qx::xml {
namespace {

/// Notes the tags, and throws at the one that is named "stop".
class NotingHandler final : public TagHandler {
 public:
  void startElement(std::string_view name, const ParseRules::StartTag&, std::size_t) override {
    tags.emplace_back(name);
    if (name == "stop") raiseError(E_ABORT);
  }
  void endElement() override { tags.emplace_back("/"); }

  std::vector<std::string> tags;
};

TEST(ParseTags, PassesEachElementOnce) {
  NotingHandler handler;
  EXPECT_EQ(parseTags("<a><b/>text<c></c></a>", handler).code, S_OK);
  EXPECT_EQ(handler.tags, (std::vector<std::string>{"a", "b", "/", "c", "/", "/"}));
}

TEST(ParseTags, EndsWithWhatItsHandlerThrows) {
  NotingHandler handler;
  EXPECT_EQ(test::raisedBy([&] { parseTags("<a><stop/><b/></a>", handler); }), E_ABORT);
  EXPECT_EQ(handler.tags, (std::vector<std::string>{"a", "stop"}));
}

TEST(ParseTags, PassesNoElementThatIsTooDeep) {
  std::string text;
  for (int level = 0; level < 300; ++level) text += "<a>";
  NotingHandler handler;
  EXPECT_EQ(parseTags(text, handler).reason,
            "The elements are nested more than 255 levels deep.\n");
  EXPECT_EQ(handler.tags.size(), 255U);
}

TEST(ParseFile, ReadsAFileWhoseNameLooksLikeAnAddress) {
  const test::TempFolder folder;
  std::filesystem::create_directory(folder.path() / "a:");
  folder.write("a:/b.xml", "<r/>");
  EXPECT_EQ(parseFile((folder.path() / "a:").string() + "//b.xml").fault.code, S_OK);
  EXPECT_EQ(parseFile("a://b.xml").fault.reason, "Cannot read a://b.xml: not a file.\n");
}

TEST(ParseFile, ReadsNoHostWithoutAPath) {
  EXPECT_EQ(parseFile("file://host").fault.reason,
            "Cannot read file://host: No such file or directory.\n");
}

TEST(ParseText, TakesNamesOfNamespacesAsTheyAre) {
  for (const char* text :
       {"<r xmlns=\"relative\"/>\n", "<r xmlns:p=\"a b%\"/>\n",
        "<p:r xmlns:p=\"a&amp;&amp;b&amp;\"/>\n", "<r xmlns:p=\"urn:p\" xmlns:q=\"a&amp;b\"/>\n"}) {
    EXPECT_EQ(plain(documentOf(toUtf16(text))->xml()), text);
  }
  const auto document = documentOf(u"<p:r xmlns:p='a&amp;&amp;b'/>");
  EXPECT_EQ(plain(document->documentElement()->namespaceURI()), "a&&b");
}

TEST(ParseText, ReportsTheFirstOfSeveralFaults) {
  const ParseFault fault = parseText(u"<r>\n<p:a b='1' b='2'/>\n<c></d>\n").fault;
  EXPECT_EQ(fault.reason, "Attribute b redefined\n");
  EXPECT_EQ(fault.line, 2);
}

TEST(ParseText, HasNoDocumentAfterAFault) {
  EXPECT_EQ(parseText(u"<r>").document, nullptr);
  EXPECT_NE(parseText(u"<r/>").document, nullptr);
  EXPECT_EQ(parseText(u"<r/>").fault.code, S_OK);
}

TEST(ParseFile, PlacesAFaultOfTheEncoding) {
  const test::TempFolder folder;
  const auto file = folder.write("jis.xml", "<?xml version='1.0' encoding='EUC-JP'?>\n<r>\xA4</r>");
  const ParseFault fault = parseFile(file.string()).fault;
  EXPECT_LT(fault.code, 0);
  EXPECT_GE(fault.line, 1);
  EXPECT_GE(fault.position, 1);
}

}  // namespace
}  // namespace qx::xml
