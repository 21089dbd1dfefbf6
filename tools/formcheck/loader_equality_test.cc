// The values that the check computes equal those that the framework's loader puts into a document.

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/text.h"
#include "qxframework/resources/resource_loader.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/dom_document.h"
#include "tools/formcheck/document.h"
#include "tools/formcheck/symbols.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx::formcheck {
namespace {

constexpr const char16_t* kNames[] = {
    u"uid",     u"myuid",       u"Uid",      u"alias", u"linkto", u"UniqueID",       u"FatherUID",
    u"caption", u"description", u"subtitle", u"value", u"String", u"default_button", u"name"};

constexpr const char16_t* kValues[] = {u"",
                                       u"ORDER",
                                       u"QX_@ORDER",
                                       u"@ORDER",
                                       u"A@B@ORDER",
                                       u"ORDER@",
                                       u"order",
                                       u"LONG_SYMBOL_NAME",
                                       u"QX_@LONG_SYMBOL_NAME",
                                       u"@LONG_SYMBOL",
                                       u"1234567890",
                                       u"12345678901",
                                       u"a text of its own",
                                       u"A&amp;B",
                                       u"A&lt;@ORDER",
                                       u"12345&amp;7890",
                                       u"1&quot;&#10;&gt;@LONG_SYMBOL",
                                       u"SPECIAL",
                                       u"ENGLISH",
                                       u"LINES",
                                       u"RETURNS",
                                       u"GERMAN",
                                       u"POLISH",
                                       u"FALLBACK",
                                       u"NOTHING",
                                       u"HIGHEST",
                                       u"LOWEST"};

std::vector<XMLMAP> rows() {
  return {
      {u"ORDER", 10, u""},   {u"ORDER", 2, u"a later row"}, {u"SPECIAL", 11, u""},
      {u"ENGLISH", 12, u""}, {u"LINES", 13, u""},           {u"RETURNS", 14, u""},
      {u"GERMAN", 20, u""},  {u"POLISH", 21, u""},          {u"FALLBACK", 99, u"from the <table>"},
      {u"NOTHING", 99, u""}, {u"HIGHEST", 0xFFFFFFFE, u""}, {u"LOWEST", 0x80000000, u""}};
}

// Every value in every attribute, each in an element of its own.
std::u16string document() {
  std::u16string out = u"<Application>";
  for (const char16_t* name : kNames)
    for (const char16_t* value : kValues)
      out += u"<x " + std::u16string(name) + u"=\"" + value + u"\"/>\n";
  return out + u"</Application>\n";
}

std::vector<std::string> valuesByLoader(HvLanguages language) {
  std::vector<XMLMAP> map = rows();
  map.emplace_back();
  CQXResourceLoader loader;
  CComPtr<IXMLDOMDocument> loaded;
  EXPECT_EQ(loader.LoadXML(0, CComBSTR(document()), loaded, &map, language), S_OK);
  std::vector<std::string> values;
  const auto children = loaded->documentElement()->childNodes();
  while (const auto child = children->nextNode())
    values.push_back(toUtf8(child->attributes()->item(0)->text().View()));
  return values;
}

std::vector<std::string> valuesByCheck(std::uint32_t language) {
  Findings findings;
  auto root = readDocument(document(), findings);
  const ModuleTexts texts("/proc/self/exe");
  replaceSymbols(*root, symbolTable(rows(), *root, findings), texts, language, findings);
  std::vector<std::string> values;
  for (const Element& child : root->children)
    values.push_back(toUtf8(child.attributes.front().result));
  return values;
}

std::string messages(std::u16string_view text, const std::vector<XMLMAP>& given) {
  Findings findings;
  auto root = readDocument(text, findings);
  const ModuleTexts texts("/proc/self/exe");
  replaceSymbols(*root, symbolTable(given, *root, findings), texts, 1033, findings);
  std::string all;
  for (const Finding& finding : findings.sorted()) all += messageOf("f", finding);
  return all;
}

TEST(LoaderEquality, EveryValueBecomesWhatTheLoaderMakesOfIt) {
  for (const auto& [language, windowsId] :
       {std::pair(ln_English, 1033U), std::pair(ln_German, 1031U), std::pair(ln_Polish, 1045U)}) {
    const auto values = valuesByCheck(windowsId);
    EXPECT_EQ(values.size(), std::size(kNames) * std::size(kValues));
    EXPECT_EQ(values, valuesByLoader(language)) << windowsId;
  }
}

// Two faults make the loader refuse the rewritten document. Both are reported.
TEST(LoaderEquality, ATextThatTheLoaderCannotPutIntoTheDocumentIsReported) {
  const std::vector<XMLMAP> given{{u"BELL", 99, u"a\u0007"}};
  const std::u16string text = u"<Application caption=\"BELL\"/>";
  std::vector<XMLMAP> map = given;
  map.emplace_back();
  CQXResourceLoader loader;
  CComPtr<IXMLDOMDocument> loaded;
  EXPECT_THROW(loader.LoadXML(0, CComBSTR(text), loaded, &map, ln_English), _com_error);
  Findings findings;
  auto root = readDocument(text, findings);
  const ModuleTexts texts("/proc/self/exe");
  replaceSymbols(*root, symbolTable(given, *root, findings), texts, 1033, findings);
  std::string messages;
  for (const Finding& finding : findings.sorted()) messages += messageOf("f", finding);
  EXPECT_EQ(
      messages,
      "f:1:23: error: string 99 of 'BELL' is in no string table; the form shows the text of "
      "the symbol table, 'a?'; add it to the string table\n"
      "f:1:23: error: the text of 'BELL' holds U+0007, which no XML may hold, so the form does "
      "not open; correct the string\n");
}

TEST(LoaderEquality, AUidThatIsCutWithinAReferenceIsReported) {
  const std::u16string text = u"<Application uid=\"1234567&amp;9\"/>";
  std::vector<XMLMAP> map(1);
  CQXResourceLoader loader;
  CComPtr<IXMLDOMDocument> loaded;
  EXPECT_THROW(loader.LoadXML(0, CComBSTR(text), loaded, &map, ln_English), _com_error);
  EXPECT_EQ(messages(text, {}),
            "f:1:19: error: '1234567&9' is cut within a reference, since it is written "
            "'1234567&amp;9', so the form does not open; write letters and digits\n"
            "f:1:19: error: cut UID: '1234567&am' remains of '1234567&9'; write at most 10 "
            "characters, or a symbol of the symbol table\n");
}

}  // namespace
}  // namespace qx::formcheck
