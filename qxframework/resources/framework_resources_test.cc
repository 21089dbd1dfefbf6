// The resources of the built shared library: they are well-formed, and complete in every language.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/text.h"
#include "qxframework/os/elf_resources.h"
#include "qxframework/os/resource_image.h"
#include "qxframework/os/resources.h"
#include "qxframework/resources/narrow_text.h"
#include "qxframework/resources/resource_loader.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/dom_document.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using ::testing::Contains;
using ::testing::ContainsRegex;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;
using namespace std::string_literals;

constexpr std::uint32_t kEnglish = 1033;

class FrameworkResources : public ::testing::Test {
 protected:
  FrameworkResources() : bytes_(qx::readResourceSection(std::filesystem::path(QX_FRAMEWORK))) {
    if (bytes_) image = qx::ResourceImage::open(*bytes_);
  }
  void SetUp() override { ASSERT_TRUE(image) << QX_FRAMEWORK; }

  /// Returns string `id` as UTF-8, or "<missing>".
  std::string string(std::uint32_t language, std::uint32_t id) const {
    const auto text = image->findString(language, id);
    return text ? qx::toUtf8(*text) : "<missing>";
  }
  std::string xmlBytes(std::uint32_t id) const {
    const auto data = image->resourceData(image->findResourceAnyLanguage(RT_HTML, id));
    EXPECT_TRUE(data) << id;
    if (!data) return {};
    return {reinterpret_cast<const char*>(data->data()), data->size()};
  }

  std::vector<std::uint32_t> languages() const {
    std::vector<std::uint32_t> found;
    for (auto next = image->nextStringLanguage(-1); next; next = image->nextStringLanguage(*next))
      found.push_back(*next);
    return found;
  }
  /// Returns the ids of a language's entries in the table of strings, which a look-up must find.
  std::vector<std::uint32_t> stringIds(std::uint32_t language) const {
    const qx::resource_format::Header& header = image->header();
    std::vector<std::uint32_t> found;
    for (std::size_t i = 0; i < header.stringCount; ++i) {
      qx::resource_format::StringEntry entry;
      std::memcpy(&entry, bytes_->data() + header.stringOffset + i * sizeof entry, sizeof entry);
      if (entry.language != language) continue;
      EXPECT_TRUE(image->findString(language, entry.id)) << language << "/" << entry.id;
      found.push_back(entry.id);
    }
    return found;
  }

  std::optional<qx::ResourceImage> image;

 private:
  std::optional<std::vector<std::byte>> bytes_;
};

/// Returns the conversions of a format, such as "%s%d". A "%%" is no conversion.
std::string conversions(std::u16string_view format) {
  std::string found;
  for (std::size_t i = 0; i + 1 < format.size(); ++i) {
    if (format[i] != u'%') continue;
    if (format[++i] != u'%') found += "%" + qx::toUtf8(format.substr(i, 1));
  }
  return found;
}

TEST_F(FrameworkResources, HaveTwentyFiveLanguages) {
  EXPECT_THAT(languages(), ElementsAre(1028, 1029, 1030, 1031, 1032, 1033, 1035, 1036, 1037, 1038,
                                       1040, 1041, 1042, 1043, 1045, 1046, 1049, 1051, 1053, 2052,
                                       2057, 2068, 2070, 3082, 9226));
}

TEST_F(FrameworkResources, EveryLanguageHasTheTextsOfEnglish) {
  const auto english = stringIds(kEnglish);
  EXPECT_THAT(english, Contains(223U));
  ASSERT_THAT(languages(), SizeIs(25));
  for (const std::uint32_t language : languages()) {
    EXPECT_EQ(stringIds(language), english) << "language " << language;
  }
}

TEST_F(FrameworkResources, EveryLanguageHasTheConversionsOfEnglish) {
  const auto ids = stringIds(kEnglish);
  ASSERT_THAT(ids, Not(IsEmpty()));
  ASSERT_THAT(languages(), SizeIs(25));
  for (const std::uint32_t language : languages()) {
    for (const std::uint32_t id : ids) {
      const auto text = image->findString(language, id);
      ASSERT_TRUE(text) << language << "/" << id;
      EXPECT_FALSE(text->empty()) << language << "/" << id;
      EXPECT_EQ(conversions(*text), conversions(*image->findString(kEnglish, id)))
          << language << "/" << id;
    }
  }
  EXPECT_EQ(conversions(*image->findString(kEnglish, 700)), "%s");
}

TEST_F(FrameworkResources, TableAndMenuResourcesParse) {
  for (const std::uint32_t id : {400U, 401U, 500U, 501U, 502U, 503U}) {
    CComPtr<IXMLDOMDocument> document;
    ASSERT_EQ(qx::createDocument(&document.p), S_OK);
    EXPECT_EQ(document->loadXML(CComBSTR(qx::textOfResource(xmlBytes(id)))), VARIANT_TRUE) << id;
    EXPECT_EQ(qx::toUtf8(document->documentElement()->nodeName().View()),
              id < 500 ? "database" : "Application")
        << id;
  }
}

// A form of the framework with the symbol table that its class declares.
struct StockForm {
  std::uint32_t resource;
  std::string type;  // the form's own uid, which is no symbol
  std::vector<std::pair<std::string, std::uint32_t>> symbols;
};

StockForm progressForm() {
  StockForm form{200, "QX_FIN", {{"QX_FIN_TITLE", 204}, {"QX_FIN_ST_MESSAGE", 205}}};
  for (std::uint32_t cell = 1; cell <= 15; ++cell) {
    form.symbols.emplace_back("QX_FIN_ET_PROGRESS" + std::to_string(cell), 205 + cell);
  }
  return form;
}

const StockForm kProgress = progressForm();

const StockForm kLogSettings{300,
                             "QX_FLS",
                             {{"QX_FLS_TITLE", 311},
                              {"QX_FLS_ST_LOGLEVEL", 304},
                              {"QX_FLS_CB_LOGLEVEL", 315},
                              {"QX_FLS_ST_MODULES", 306},
                              {"QX_FLS_CB_MODULES", 314},
                              {"QX_FLS_ST_LOGCOUNT", 303},
                              {"QX_FLS_ET_LOGCOUNT", 313},
                              {"QX_FLS_ST_LOGSIZE", 305},
                              {"QX_FLS_ET_LOGSIZE", 312},
                              {"QX_ITM_BT_OK", 1},
                              {"QX_ITM_BT_CANCEL", 2}}};

const StockForm kChooseList{10800,
                            "QX_FCL",
                            {{"MEN_FIRST_OBJ_ITEM", 1290},
                             {"MEN_PREV_OBJ_ITEM", 1289},
                             {"MEN_NEXT_OBJ_ITEM", 1288},
                             {"MEN_LAST_OBJ_ITEM", 1291},
                             {"MEN_DELETE_ITEM", 1283},
                             {"QX_ITM_BT_OK", 1},
                             {"QX_ITM_BT_CANCEL", 2},
                             {"QX_ITM_BT_NEW", 801},
                             {"QX_ITM_BT_COPY", 802},
                             {"QX_ITM_BT_CHOOSE", 803},
                             {"QX_FCL", 10800},
                             {"QX_FCL_TITLE", 10801},
                             {"QX_FCL_ST_SUBTITLE", 10802},
                             {"QX_FCL_ST_FIND", 10803},
                             {"QX_FCL_ET_FIND", 10804},
                             {"QX_FCL_MX_MATRIX", 10805},
                             {"QX_FCL_MX_COLNUM", 10806},
                             {"QX_FCL_UD_FIND", 10807},
                             {"QX_FCL_UD_COLNUM", 10808}}};

const StockForm* const kStockForms[] = {&kProgress, &kLogSettings, &kChooseList};

// The texts that the forms show or that their code loads: the refusals, the levels and the one
// module of the log settings, the end of the progress, the buttons that the choose list adds.
const std::map<std::uint32_t, std::string> kFormTexts{
    {1, "OK"},
    {2, "Cancel"},
    {201, "Initializing %s"},
    {202, "Initialization failed"},
    {203, "Initialization completed successfully"},
    {204, "Halvex Add-On Initialization"},
    {205, "Initializing Halvex Add-On"},
    {301, "File count must be between 1 and 10"},
    {302, "Size per log file must be at least 1 megabyte"},
    {303, "Maximum Number of Log Files to Maintain"},
    {304, "Severity Level of Log Messages to Record"},
    {305, "Maximum Size Per Log File [in Megabytes]"},
    {306, "Module to Record Log Messages from"},
    {307, "Debug"},
    {308, "Error"},
    {309, "Information"},
    {310, "Warning"},
    {311, "Halvex Add-On Log Settings"},
    {314, "All Modules"},
    {316, "Debug1"},
    {317, "Debug2"},
    {801, "New"},
    {802, "Copy"},
    {803, "Choose"},
    {10801, "Choose from List"},
    {10803, "Find"},
    {10806, "#"}};

class StockForms : public FrameworkResources {
 protected:
  /// Loads the form's resource as the form does; without `map` its symbols stay as they are.
  CComPtr<IXMLDOMDocument> load(const StockForm& form, const std::vector<XMLMAP>* map = nullptr) {
    CComPtr<IXMLDOMDocument> document;
    const CComBSTR text(qx::textOfResource(xmlBytes(form.resource)));
    EXPECT_EQ(loader_.LoadXML(0, text, document, map, ln_English), S_OK) << form.resource;
    return document;
  }
  std::string attribute(const CComPtr<IXMLDOMNode>& node, const char16_t* name) {
    return qx::toUtf8(loader_.GetXMLAttributeValue(node, name).View());
  }
  long number(const CComPtr<IXMLDOMNode>& node, const char16_t* name) {
    return std::stol(attribute(node, name));
  }
  std::vector<std::string> outline(const StockForm& form);
  std::map<std::string, std::uint32_t> shownTexts(const StockForm& form);

 private:
  std::string place(const CComPtr<IXMLDOMNode>& node) {
    return attribute(node, u"left") + "," + attribute(node, u"top") + " " +
           attribute(node, u"width") + "x" + attribute(node, u"height");
  }
  std::string line(const CComPtr<IXMLDOMNode>& node);

  CQXResourceLoader loader_;
};

std::vector<CComPtr<IXMLDOMNode>> elements(IXMLDOMDocument* document, const char16_t* xpath) {
  std::vector<CComPtr<IXMLDOMNode>> found;
  const auto nodes = document->selectNodes(CComBSTR(xpath));
  while (CComPtr<IXMLDOMNode> node = nodes->nextNode()) found.push_back(node);
  return found;
}

/// Returns all attributes in document order, such as " uid=5 type=16".
std::string attributesOf(const CComPtr<IXMLDOMNode>& node) {
  std::string found;
  const auto attributes = node->attributes();
  for (long i = 0; i < attributes->length(); ++i) {
    const auto each = attributes->item(i);
    found += " " + qx::toUtf8(each->nodeName().View()) + "=" + qx::toUtf8(each->text().View());
  }
  return found;
}

std::string StockForms::line(const CComPtr<IXMLDOMNode>& node) {
  const std::string name = qx::toUtf8(node->nodeName().View());
  const std::string type = name + " " + attribute(node, u"type");
  if (name == "form") {
    return type + " at " + place(node) + " " + attribute(node, u"title") + ", button " +
           attribute(node, u"default_button");
  }
  if (name == "datasource") {
    return type + " " + attribute(node, u"uid") + " of " + attribute(node, u"size");
  }
  if (name == "databind") return name + " " + attribute(node, u"alias");
  if (name == "column") {
    return type + " " + attribute(node, u"uid") + " " + attribute(node, u"width") + " wide";
  }
  std::string text = type + " " + attribute(node, u"uid") + " at " + place(node);
  if (attribute(node, u"enabled") == "0") text += " disabled";
  if (const std::string link = attribute(node, u"linkto"); !link.empty()) text += " for " + link;
  const std::string caption = attribute(node->firstChild(), u"caption");
  return caption.empty() ? text : text + " " + caption;
}

// Returns a line for each thing that the user sees or that holds its data, in document order.
std::vector<std::string> StockForms::outline(const StockForm& form) {
  std::vector<std::string> lines;
  for (const auto& node :
       elements(load(form), u"//form | //datasource | //Item | //column | //databind")) {
    lines.push_back(line(node));
  }
  return lines;
}

// Returns the symbols that the form shows as texts, with their string ids.
std::map<std::string, std::uint32_t> StockForms::shownTexts(const StockForm& form) {
  std::map<std::string, std::uint32_t> texts;
  for (const auto& node : elements(load(form), u"//@caption | //@title | //@description")) {
    const std::string symbol = qx::toUtf8(node->text().View());
    if (symbol.empty()) continue;
    const auto row = std::find_if(form.symbols.begin(), form.symbols.end(),
                                  [&](const auto& each) { return each.first == symbol; });
    EXPECT_NE(row, form.symbols.end()) << symbol;
    if (row != form.symbols.end()) texts.insert(*row);
  }
  return texts;
}

TEST_F(StockForms, ProgressFormHasAMessageAndFifteenCells) {
  std::vector<std::string> expected{
      "form 6 at 410,152 325x85 QX_FIN_TITLE, button 1",
      "Item 8 QX_FIN_ST_MESSAGE at 10,20 310x14 QX_FIN_ST_MESSAGE",
  };
  for (int cell = 1; cell <= 15; ++cell) {
    expected.push_back("Item 16 QX_FIN_ET_PROGRESS" + std::to_string(cell) + " at " +
                       std::to_string(20 * cell - 10) + ",50 19x14 disabled");
  }
  EXPECT_THAT(outline(kProgress), ElementsAreArray(expected));
}

TEST_F(StockForms, LogSettingsFormHasFourLabelledControlsAndTwoButtons) {
  EXPECT_THAT(
      outline(kLogSettings),
      ElementsAre(
          "form 4 at 410,152 405x190 QX_FLS_TITLE, button 0",
          "Item 8 QX_FLS_ST_LOGLEVEL at 10,20 230x14 for QX_FLS_CB_LOGLEVEL QX_FLS_ST_LOGLEVEL",
          "Item 113 QX_FLS_CB_LOGLEVEL at 250,20 135x14",
          "Item 8 QX_FLS_ST_MODULES at 10,45 230x14 for QX_FLS_CB_MODULES QX_FLS_ST_MODULES",
          "Item 113 QX_FLS_CB_MODULES at 250,45 135x14",
          "Item 8 QX_FLS_ST_LOGCOUNT at 10,70 230x14 for QX_FLS_ET_LOGCOUNT QX_FLS_ST_LOGCOUNT",
          "Item 16 QX_FLS_ET_LOGCOUNT at 250,70 20x14",
          "Item 8 QX_FLS_ST_LOGSIZE at 10,95 230x14 for QX_FLS_ET_LOGSIZE QX_FLS_ST_LOGSIZE",
          "Item 16 QX_FLS_ET_LOGSIZE at 250,95 20x14",
          "Item 4 QX_ITM_BT_OK at 10,135 65x19 QX_ITM_BT_OK",
          "Item 4 QX_ITM_BT_CANCEL at 325,135 65x19 QX_ITM_BT_CANCEL"));
}

TEST_F(StockForms, ChooseListFormHasAFindFieldAMatrixAndTwoButtons) {
  EXPECT_THAT(
      outline(kChooseList),
      ElementsAre("form 0 at 60,75 449x282 QX_FCL_TITLE, button 1",
                  "datasource 9 QX_FCL_UD_FIND of 80", "datasource 9 QX_FCL_UD_COLNUM of 80",
                  "Item 4 QX_ITM_BT_OK at 5,231 65x19 QX_ITM_BT_CHOOSE",
                  "Item 4 QX_ITM_BT_CANCEL at 75,231 65x19 QX_ITM_BT_CANCEL",
                  "Item 16 QX_FCL_ET_FIND at 78,25 161x14", "databind QX_FCL_UD_FIND",
                  "Item 8 QX_FCL_ST_FIND at 5,25 73x14 for QX_FCL_ET_FIND QX_FCL_ST_FIND",
                  "Item 127 QX_FCL_MX_MATRIX at 5,46 431x176", "column 16 QX_FCL_MX_COLNUM 23 wide",
                  "databind QX_FCL_UD_COLNUM"));
}

TEST_F(StockForms, WriteTheAttributesThatTheOutlineLeavesOut) {
  for (const StockForm* form : kStockForms) {
    const auto document = load(*form);
    // The choose list alone spells the first pane of an item as the client names it.
    const std::string panes = form == &kChooseList ? " from_pane=0" : " form_pane=0";
    for (const auto& node : elements(document, u"//Item")) {
      const bool cell = attribute(node, u"uid").starts_with("QX_FIN_ET_");
      EXPECT_THAT(attributesOf(node),
                  HasSubstr((cell ? " visible=0 enabled=0" : " visible=1 enabled=1") + panes +
                            " to_pane=0 disp_desc=0 right_just=0 description="));
      EXPECT_EQ(attributesOf(node).find(" linkto=") != std::string::npos,
                attribute(node, u"type") == "8");
    }
    const std::string font = form == &kChooseList ? "12" : "0";
    for (const auto& node : elements(document, u"//Item[@type='16']/Specific")) {
      EXPECT_EQ(attributesOf(node), " forecolor=-1 backcolor=-1 text_style=0 font_size=" + font +
                                        " supp_zeros=0 AffectsFormMode=0");
    }
    const auto forms = elements(document, u"/Application/forms/action[@type='add']/form");
    ASSERT_THAT(forms, SizeIs(1)) << form->resource;
    EXPECT_EQ(attribute(forms[0], u"uid"), form->type);
    EXPECT_THAT(attributesOf(forms[0]), HasSubstr(" color=0 "));
    EXPECT_THAT(attributesOf(forms[0]), HasSubstr(" appformnumber=-1 visible=0"));
  }
}

TEST_F(StockForms, MatrixOfTheChooseListSelectsOneRowAndNumbersTheRows) {
  const auto document = load(kChooseList);
  const auto matrix = elements(document, u"//Item[@type='127']/Specific");
  ASSERT_THAT(matrix, SizeIs(1));
  EXPECT_EQ(attributesOf(matrix[0]), " layout=0 SelectionMode=2");
  EXPECT_EQ(matrix[0]->childNodes()->length(), 1);  // the adder of columns refuses more
  const auto columns = elements(document, u"//columns/action[@type='add']/column");
  ASSERT_THAT(columns, SizeIs(1));
  EXPECT_EQ(attributesOf(columns[0]),
            " title=QX_FCL_MX_COLNUM width=23 type=16 uid=QX_FCL_MX_COLNUM "
            "description=QX_FCL_MX_COLNUM visible=1 editable=0 disp_desc=0 right_just=1");
  for (const auto& node : elements(document, u"//databind")) {
    EXPECT_THAT(attributesOf(node), EndsWith(" databound=1 table="));
  }
}

TEST_F(StockForms, OnlyTheLogSettingsFormIsUtf16) {
  EXPECT_THAT(xmlBytes(300), StartsWith("\xFF\xFE<\0?\0x\0m\0l\0"s));
  for (const std::uint32_t id : {200U, 10800U}) {
    EXPECT_THAT(xmlBytes(id), StartsWith("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"));
  }
}

TEST_F(StockForms, MappingLeavesNoSymbolInADocument) {
  for (const StockForm* form : kStockForms) {
    std::vector<XMLMAP> map;
    for (const auto& [tag, id] : form->symbols) map.emplace_back(qx::toUtf16(tag), id, u"text");
    map.emplace_back();
    const auto document = load(*form, &map);
    EXPECT_THAT(elements(document, u"//maptable"), IsEmpty());
    std::set<std::string> left;
    for (const auto& node : elements(document, u"//@*[starts-with(., 'QX_')]")) {
      left.insert(qx::toUtf8(node->text().View()));
    }
    left.erase(form->type);
    EXPECT_THAT(left, IsEmpty()) << form->resource;
  }
}

// The form class's table is in force; the document's own is removed before the client sees it.
TEST_F(StockForms, MapTableOfTheChooseListDiffersForThreeButtons) {
  auto expected = kChooseList.symbols;
  for (auto& [tag, id] : expected) {
    if (tag == "QX_ITM_BT_NEW") id = 6;
    if (tag == "QX_ITM_BT_COPY") id = 7;
    if (tag == "QX_ITM_BT_CHOOSE") id = 8;
  }
  std::vector<std::pair<std::string, std::uint32_t>> rows;
  for (const auto& node : elements(load(kChooseList), u"/Application/maptable/map")) {
    rows.emplace_back(attribute(node, u"tag"), number(node, u"id"));
  }
  EXPECT_EQ(rows, expected);
}

TEST_F(StockForms, ReadInEnglish) {
  for (const auto& [id, text] : kFormTexts) EXPECT_EQ(string(kEnglish, id), text) << id;
}

TEST_F(StockForms, ShowTheTextsOfTheirSymbols) {
  std::set<std::uint32_t> shown;
  for (const StockForm* form : kStockForms) {
    for (const auto& [symbol, id] : shownTexts(*form)) {
      shown.insert(id);
      EXPECT_TRUE(kFormTexts.contains(id)) << symbol;
    }
  }
  EXPECT_THAT(shown,
              ElementsAre(1, 2, 204, 205, 303, 304, 305, 306, 311, 803, 10801, 10803, 10806));
}

TEST_F(StockForms, HaveEveryTextInEveryLanguage) {
  ASSERT_THAT(languages(), SizeIs(25));
  for (const std::uint32_t language : languages()) {
    for (const auto& [id, english] : kFormTexts) {
      const auto text = image->findString(language, id);
      ASSERT_TRUE(text && !text->empty()) << language << "/" << id;
      EXPECT_EQ(conversions(*text), id == 201 ? "%s" : "") << language << "/" << id;
    }
  }
}

TEST_F(StockForms, RefusalsNameTheLimitsInEveryLanguage) {
  for (const std::uint32_t language : languages()) {
    EXPECT_THAT(string(language, 301), ContainsRegex("1[^0].*10")) << language;
    EXPECT_THAT(string(language, 302), HasSubstr("1")) << language;
  }
}

TEST_F(StockForms, LevelsDifferAndTheTitleIsTheMenuEntryInEveryLanguage) {
  for (const std::uint32_t language : languages()) {
    std::set<std::string> levels;
    for (const std::uint32_t id : {307U, 308U, 309U, 310U, 316U, 317U}) {
      levels.insert(string(language, id));
    }
    EXPECT_THAT(levels, SizeIs(6)) << language;
    EXPECT_EQ(string(language, 311), string(language, 551)) << language;
  }
}

/// Returns the width of a text in average letters. A letter of an East Asian script counts as two.
long letters(std::u16string_view text) {
  return static_cast<long>(text.size()) +
         std::count_if(text.begin(), text.end(), [](char16_t c) { return c >= 0x2E80; });
}

// A letter of the client's font is about 5 pixels wide; a button needs 10 for its frame.
TEST_F(StockForms, TextsFitTheirControlsInEveryLanguage) {
  // First the texts that code puts into a control of the form: messages, buttons, entries of
  // combos.
  std::map<std::uint32_t, long> rooms{{202, 310}, {203, 310}, {801, 55},  {802, 55},
                                      {307, 135}, {308, 135}, {309, 135}, {310, 135},
                                      {314, 135}, {316, 135}, {317, 135}};
  for (const StockForm* form : kStockForms) {
    const std::map<std::string, std::uint32_t> ids(form->symbols.begin(), form->symbols.end());
    for (const auto& node : elements(load(*form), u"//Item[Specific/@caption]")) {
      const long frame = attribute(node, u"type") == "4" ? 10 : 0;
      rooms[ids.at(attribute(node->firstChild(), u"caption"))] = number(node, u"width") - frame;
    }
  }
  for (const auto& [id, pixels] : rooms) {
    for (const std::uint32_t language : languages()) {
      EXPECT_LE(5 * letters(image->findString(language, id).value_or(u"")), pixels)
          << language << "/" << id << ": " << string(language, id);
    }
  }
}

}  // namespace
