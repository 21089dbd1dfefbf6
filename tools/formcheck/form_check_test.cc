#include "tools/formcheck/form_check.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qx::formcheck {
namespace {

// String tables in memory, with the fall-back of a module.
class TableTexts : public Texts {
 public:
  std::optional<FoundText> find(std::uint32_t id, std::uint32_t language) const override {
    for (const std::uint32_t each : {language, kEnglish})
      if (const auto found = tables_.find({each, id}); found != tables_.end())
        return FoundText{found->second, each};
    for (const auto& [key, text] : tables_)
      if (key.second == id) return FoundText{text, key.first};
    return std::nullopt;
  }

 private:
  std::map<std::pair<std::uint32_t, std::uint32_t>, std::u16string> tables_{
      {{1031, 10}, u"Auftrag"},
      {{1031, 20}, u"Nur deutsch"},
      {{1033, 10}, u"Order"},
      {{1033, 11}, u"A customer"},
  };
};

const std::vector<XMLMAP> kRows{{u"T_ORDER", 10, u""},
                                {u"T_CUSTOMER", 11, u""},
                                {u"T_GERMAN", 20, u""},
                                {u"T_NONE", 99, u""},
                                {u"T_FALLBACK", 99, u"A text"}};

Report report(const std::string& document, std::uint32_t language = kEnglish) {
  const TableTexts texts;
  return checkForm(document, {texts, language, kRows});
}

std::string findings(const std::string& document, std::uint32_t language = kEnglish) {
  std::string out;
  for (const Finding& finding : report(document, language).findings) out += messageOf("f", finding);
  return out;
}

/// Returns a form whose content, after its start tag in line 3, begins in line 4.
std::string form(const std::string& attributes, const std::string& content) {
  return "<Application>\n<forms><action type=\"add\">\n<form " + attributes + ">\n" + content +
         "\n</form></action></forms></Application>\n";
}

/// Returns a form of 200 by 100 pixels with items, which begin in line 5, and the user data sources
/// 1 and 2.
std::string items(const std::string& all) {
  return form("width=\"200\" height=\"100\"",
              "<datasources><dbdatasources><action type=\"add\"><datasource tablename=\"@T\"/>"
              "</action></dbdatasources><userdatasources><action type=\"add\">"
              "<datasource uid=\"1\"/><datasource uid=\"2\"/></action></userdatasources>"
              "</datasources><items><action type=\"add\">\n" +
                  all + "\n</action></items>");
}

TEST(FormCheck, AFormWithoutFaultsHasNoFindings) {
  EXPECT_EQ(findings(items(R"(<Item type="4" uid="1" left="5" top="5" width="195" height="95">
<Specific caption="T_ORDER"/></Item>
<!-- a comment --><ITEM type="16" uid="EDIT" visible="0" left="900"><specific>
<databind alias="2" databound="1" table=""/></specific></ITEM>)")),
            "");
  EXPECT_EQ(findings(form("", "")), "");
}

TEST(FormCheck, ReportsAnUnmappedSymbol) {
  EXPECT_EQ(
      findings(items("<Item type=\"4\" uid=\"QX_FCL_ET_FIND\"/>")),
      "f:5:21: error: unmapped symbol: no mapping replaces 'QX_FCL_ET_FIND', and 'QX_FCL_ET_' "
      "remains of it; add it to the symbol table\n");
  EXPECT_EQ(findings(items("<Item type='4' uid='PRE@QX_FCL_ET_FIND'/>")),
            "f:5:21: error: unmapped symbol: no mapping replaces 'QX_FCL_ET_FIND', and "
            "'PRE@QX_FCL_ET' remains of it; add it to the symbol table\n");
}

TEST(FormCheck, ReportsACutUid) {
  EXPECT_EQ(findings(items("<Item type=\"4\"\n  uid = \"customername\"/>")),
            "f:6:10: error: cut UID: 'customerna' remains of 'customername'; write at most 10 "
            "characters, or a symbol of the symbol table\n");
  EXPECT_EQ(findings(items("<Item type=\"4\" uid=\"12345678901\"/>")),
            "f:5:21: error: cut UID: '1234567890' remains of '12345678901'; write at most 10 "
            "characters, or a symbol of the symbol table\n");
}

TEST(FormCheck, NumbersAndShortUidsNeedNoMapping) {
  EXPECT_EQ(
      findings(items("<Item type=\"4\" uid=\"1234567890\"/><Item type=\"4\" uid=\"QX_SHORT\"/>"
                     "<Item type=\"4\" uid=\"PRE@T_ORDER\"/>")),
      "");
}

TEST(FormCheck, ReportsAUidThatAPrefixMakesTooLong) {
  EXPECT_EQ(findings(items("<Item type=\"4\" uid=\"PREFIX_OF_US@T_ORDER\"/>")),
            "f:5:21: error: the UID 'PREFIX_OF_US10' has 14 characters, and the client allows 10; "
            "shorten what precedes the @\n");
}

TEST(FormCheck, ReportsAnEmptyUid) {
  EXPECT_EQ(findings(items("<Item type=\"4\" uid=\"\"/>")),
            "f:5:21: error: the uid is empty and becomes '-1'; give the <Item> a UID\n");
}

// The form's own UID is replaced when it opens.
TEST(FormCheck, TheUidOfTheFormItselfIsNotChecked) {
  EXPECT_EQ(findings(form("uid=\"A_VERY_LONG_SYMBOL\"", "")), "");
}

TEST(FormCheck, ReportsAStringThatTheLanguageLacksWithTheTextThatIsShown) {
  const std::string document = items(
      "<Item type=\"8\" uid=\"1\" description=\"T_CUSTOMER\"><Specific caption=\"T_GERMAN\"/>"
      "</Item>\n<Item type=\"4\" uid=\"2\" description=\"T_NONE\"><Specific\n"
      "caption=\"T_FALLBACK\"/></Item>");
  const std::string missing =
      "f:6:37: error: string 99 of 'T_NONE' is in no string table; the form shows no text; add it "
      "to the string table\n"
      "f:7:10: error: string 99 of 'T_FALLBACK' is in no string table; the form shows the text of "
      "the symbol table, 'A text'; add it to the string table\n";
  EXPECT_EQ(
      findings(document),
      "f:5:68: error: string 20 of 'T_GERMAN' is missing in language 1033; the form shows the "
      "text of another language, such as 'Nur deutsch' of 1031; add it to the string table\n" +
          missing);
  EXPECT_EQ(findings(document, 1031),
            "f:5:37: error: string 11 of 'T_CUSTOMER' is missing in language 1031; the form shows "
            "the English 'A customer'; add it to the string table\n" +
                missing);
  EXPECT_EQ(
      findings(items("<Item type=\"8\" uid=\"1\" description=\"T_GERMAN\"/>"), 1045),
      "f:5:37: error: string 20 of 'T_GERMAN' is missing in language 1045 and in English; the "
      "form shows the text of another language, such as 'Nur deutsch' of 1031; add it to the "
      "string table\n");
}

TEST(FormCheck, NotesATextThatLooksLikeASymbol) {
  EXPECT_EQ(
      findings(items("<Item type=\"4\" uid=\"1\"><Specific caption=\"T_ODRER\"/></Item>")),
      "f:5:43: note: no mapping replaces 'T_ODRER', so the form shows it; add it to the symbol "
      "table if it is a symbol\n");
  EXPECT_FALSE(
      report(items("<Item type=\"4\" uid=\"1\"><Specific caption=\"T_X\"/></Item>")).hasErrors());
  EXPECT_EQ(findings(items("<Item type=\"4\" uid=\"1\"><Specific caption=\"Find\"/></Item>")), "");
}

TEST(FormCheck, ReportsUnknownElements) {
  EXPECT_EQ(findings(items("<Item type=\"4\" uid=\"1\">\n <specfic uid=\"A_LONG_SYMBOL\"/></Item>\n"
                           "<column/>")),
            "f:6:2: error: unknown element <specfic> in <Item>; remove it, or write Specific\n"
            "f:6:16: error: unmapped symbol: no mapping replaces 'A_LONG_SYMBOL', and 'A_LONG_SYM' "
            "remains of it; add it to the symbol table\n"
            "f:7:1: error: unknown element <column> in <action>; remove it, or write Item\n");
  EXPECT_EQ(findings(form("", "<x/>")),
            "f:4:1: error: unknown element <x> in <form>; remove it, or write datasources or "
            "items\n");
}

TEST(FormCheck, ReportsUnknownAttributes) {
  EXPECT_EQ(
      findings(items("<Item type=\"4\" uid=\"1\" xml:space=\"preserve\">"
                     "<Specific  captoin=\"x\"/></Item>")),
      "f:5:56: error: unknown attribute 'captoin' of <Specific>; remove it, or write caption, "
      "forecolor, backcolor, text_style, font_size, supp_zeros, AffectsFormMode, layout or "
      "SelectionMode\n");
  EXPECT_EQ(findings(items("</action><action type=\"add\" x=\"\">")),
            "f:5:29: error: unknown attribute 'x' of <action>; remove it, or write type\n");
}

TEST(FormCheck, ReportsAnAttributeInWhichSymbolsAreNotReplaced) {
  EXPECT_EQ(findings(items("<Item Type=\"4\" UID=\"T_ORDER\"/>")),
            "f:5:16: error: no symbol is replaced in 'UID', since the case of its letters counts; "
            "write 'uid'\n");
}

TEST(FormCheck, ReportsWhatIsMissingOrNoNumber) {
  EXPECT_EQ(findings(items("<Item left=\"1 px\" top=\"\" type=\"\"/>")),
            "f:5:1: error: <Item> has no uid; give it one\n"
            "f:5:13: error: '1 px' is no whole number of 32 bits; write the left in digits\n"
            "f:5:32: error: <Item> has no type; give it one\n");
  EXPECT_EQ(findings(items("<Item type=\"4\" uid=\"1\" left=\"99999999999\" top=\"2147483648\"/>")),
            "f:5:30: error: '99999999999' is no whole number of 32 bits; write the left in digits\n"
            "f:5:48: error: '2147483648' is no whole number of 32 bits; write the top in digits\n");
  EXPECT_EQ(findings(items("<Item type=\"4\" uid=\"1\" left=\"-\" top=\"+1\"/>")),
            "f:5:30: error: '-' is no whole number of 32 bits; write the left in digits\n");
}

TEST(FormCheck, ReportsAnActionThatDoesNotAdd) {
  EXPECT_EQ(findings(form("", "<items><action type=\"remove\"/></items><items><action/></items>")),
            "f:4:22: error: the type of the action is 'remove'; write add, since the form is new\n"
            "f:4:46: error: the type of the action is ''; write add, since the form is new\n");
}

TEST(FormCheck, ReportsDoubledUidsOfItemsAndSources) {
  EXPECT_EQ(findings(items("<Item type=\"4\" uid=\"10\"/>\n<Item type=\"4\" uid=\"T_ORDER\"/>")),
            "f:6:21: error: doubled UID: '10' ('T_ORDER') is in line 5 already; choose another "
            "one\n");
  EXPECT_EQ(findings(form("",
                          "<datasources><userdatasources><action type=\"add\">\n"
                          "<datasource uid=\"1\"/>\n<datasource uid=\"1\"/>\n"
                          "</action></userdatasources></datasources>")),
            "f:6:18: error: doubled UID: '1' is in line 5 already; choose another one\n");
}

// An item and a source may share a UID, and so may columns of two matrices.
TEST(FormCheck, ReportsDoubledUidsOfColumnsWithinTheirMatrix) {
  const std::string columns = "<Specific><columns><action type=\"add\">\n<column uid=\"1\"/>";
  const std::string end = "</action></columns></Specific></Item>\n";
  EXPECT_EQ(
      findings(items("<Item type=\"127\" uid=\"1\">" + columns + end +
                     "<Item type=\"127\" uid=\"2\">" + columns + "<column uid=\"1\"/>" + end)),
      "f:8:31: error: doubled UID: '1' is in line 8 already; choose another one\n");
}

// That both become the same UID is reported for each.
TEST(FormCheck, CutUidsAreNotReportedAsDoubled) {
  EXPECT_EQ(findings(items("<Item type=\"4\" uid=\"QX_FLS_ST_A\"/><Item type=\"4\" "
                           "uid=\"QX_FLS_ST_B\"/>")),
            "f:5:21: error: unmapped symbol: no mapping replaces 'QX_FLS_ST_A', and 'QX_FLS_ST_' "
            "remains of it; add it to the symbol table\n"
            "f:5:55: error: unmapped symbol: no mapping replaces 'QX_FLS_ST_B', and 'QX_FLS_ST_' "
            "remains of it; add it to the symbol table\n");
}

TEST(FormCheck, ReportsADataBindWhoseSourceIsMissing) {
  EXPECT_EQ(findings(items("<Item type=\"16\" uid=\"1\"><Specific>"
                           "<databind alias=\"T_ORDER\" databound=\"1\" table=\"\"/>"
                           "</Specific></Item>")),
            "f:5:52: error: the form has no user data source '10' ('T_ORDER'); add a <datasource> "
            "to <userdatasources>, or correct the alias\n");
  EXPECT_EQ(findings(items("<Item type=\"127\" uid=\"1\"><Specific><columns><action type=\"add\">\n"
                           "<column uid=\"1\"><databind alias=\"3\"/></column>"
                           "<column uid=\"2\"><databind alias=\"Code\" table=\"@T\"/></column>\n"
                           "<column uid=\"3\"><databind alias=\"Code\" table=\"@X\"/></column>\n"
                           "<column uid=\"4\"><databind databound=\"1\"/></column>\n"
                           "<column uid=\"5\"><databind alias=\"3\" databound=\"0\"/></column>\n"
                           "</action></columns></Specific></Item>")),
            "f:6:34: error: the form has no user data source '3'; add a <datasource> to "
            "<userdatasources>, or correct the alias\n"
            "f:7:47: error: the form has no data source for the table '@X'; add a <datasource> to "
            "<dbdatasources>, or correct the table\n"
            "f:8:17: error: <databind> names no data source; write the UID of one as its alias\n");
}

TEST(FormCheck, ReportsAnItemOutsideOfItsForm) {
  EXPECT_EQ(
      findings(items(R"(<Item type="16" uid="0" left="-1" visible="0"/><!--
--><Item type="16" uid="1" left="10" top="-3" width="191" height="9"/>
<Item type="16" uid="2" left="200" top="100" width="0" height="0"/>
<Item type="16" uid="3" left="0" top="90" width="200" height="14"/>
<Item type="16" uid="4" top="101" visible="1"/>)")),
      "f:6:34: error: the item ends at 201 pixels, and the form has a width of 200; move the "
      "item or enlarge the form\n"
      "f:6:43: error: the item begins 3 pixels outside of the form; give it a top of 0 or "
      "more\n"
      "f:8:39: error: the item ends at 104 pixels, and the form has a height of 100; move the "
      "item or enlarge the form\n"
      "f:9:30: error: the item ends at 101 pixels, and the form has a height of 100; move the "
      "item or enlarge the form\n");
}

TEST(FormCheck, AFormWithoutASizeHoldsAnyItem) {
  EXPECT_EQ(findings(form("",
                          "<items><action type=\"add\"><Item type=\"16\" uid=\"1\" left=\"9000\" "
                          "width=\"90\" height=\"14\"/></action></items>")),
            "");
}

TEST(FormCheck, ReportsATextThatIsCertainlyWiderThanItsItem) {
  // Seven letters of 5 pixels, and the blank, "t" and "r" of 4.
  const std::string end = "\"><Specific caption=\"T_CUSTOMER\"/></Item>";
  EXPECT_EQ(findings(items("<Item type=\"8\" uid=\"1\" width=\"46" + end)),
            "f:5:54: error: the text 'A customer' takes 47 pixels or more, and the item has 46; "
            "shorten it or widen the item\n");
  EXPECT_EQ(findings(items("<Item type=\"8\" uid=\"1\" width=\"47" + end)), "");
  EXPECT_EQ(findings(items("<Item type=\"16\" uid=\"1\" width=\"9" + end)), "");
  EXPECT_EQ(findings(items("<Item type=\"8\" uid=\"1\" width=\"24\" height=\"28" + end)), "");
  EXPECT_EQ(
      findings(items("<Item type=\"8\" uid=\"1\" width=\"23\" height=\"28" + end)),
      "f:5:66: error: the text 'A customer' takes 47 pixels or more, and the item has 2 lines "
      "of 23; shorten it or widen the item\n");
}

TEST(FormCheck, ReportsATitleThatIsCertainlyTooWide) {
  EXPECT_EQ(findings(form("title=\"T_CUSTOMER\" width=\"40\"", "")),
            "f:3:14: error: the text 'A customer' takes 47 pixels or more, and the form has 40; "
            "shorten it or widen the form\n");
  EXPECT_EQ(
      findings(items("<Item type=\"127\" uid=\"1\" width=\"99\"><Specific><columns>"
                     "<action type=\"add\">\n<column uid=\"1\" width=\"9\" title=\"設\"/>\n"
                     "<column uid=\"2\" width=\"9\" title=\"設\" visible=\"0\"/>"
                     "</action></columns></Specific></Item>")),
      "f:6:34: error: the text '設' takes 10 pixels or more, and the column has 9; shorten it "
      "or widen the column\n");
}

TEST(FormCheck, ReportsALabelWithoutItsItem) {
  EXPECT_EQ(
      findings(items("<Item type=\"8\" uid=\"1\" linkto=\"T_ORDER\"/>"
                     "<Item type=\"8\" uid=\"2\" linkto=\"\"/>"
                     "<Item type=\"8\" uid=\"3\" linkto=\"1\"/>")),
      "f:5:32: error: the form has no item '10' ('T_ORDER') to link to; correct the symbol or "
      "the UID, or add the item\n");
}

TEST(FormCheck, NotesADefaultButtonThatIsMissing) {
  EXPECT_EQ(
      findings(form("default_button=\"1\"", "")),
      "f:3:23: note: the form has no item '1' as its default button; write 0 unless the form's "
      "code adds it\n");
  EXPECT_FALSE(report(form("default_button=\"1\"", "")).hasErrors());
  EXPECT_EQ(findings(form("default_button=\"0\"", "")), "");
  EXPECT_EQ(findings(form("default_button=\"\"", "")), "");
}

TEST(FormCheck, ReportsADocumentThatIsNotWellFormed) {
  EXPECT_EQ(
      findings("ab\n \n<Application>\n<forms></Application>"),
      "f:4:22: error: the document is not well-formed: Opening and ending tag mismatch: forms "
      "line 2 and Application; correct the XML\n");
  EXPECT_EQ(findings("<!DOCTYPE a [<!ENTITY b 'c'>]><Application/>"),
            "f:1:28: error: the document is not well-formed: The declaration of an entity is not "
            "allowed; correct the XML\n");
  EXPECT_EQ(findings("<a><!-- ü\nc </a>"),
            "f:2:7: error: the document is not well-formed: Comment not terminated  <!-- ü c </; "
            "correct the XML\n");
  EXPECT_EQ(
      findings("ab<a"),
      "f:1:5: error: the document is not well-formed: Couldn't find end of Start Tag a line 1; "
      "correct the XML\n");
  EXPECT_EQ(
      findings("\xF0\x9D\x84\x9E-<a"),
      "f:1:5: error: the document is not well-formed: Couldn't find end of Start Tag a line 1; "
      "correct the XML\n");
  EXPECT_EQ(findings("no document"),
            "f:1:1: error: the file holds no XML; give a form document, in UTF-8, ISO-8859-1 or "
            "little-endian UTF-16\n");
  EXPECT_EQ(report("").drawing, "");
}

// The parser refuses such a text as a whole, without a place.
TEST(FormCheck, ReportsATextThatIsNoUtf16AtItsBeginning) {
  using namespace std::string_literals;
  EXPECT_EQ(findings("\xFF\xFE \0\n\0 \0<\0a\0>\0\0\xD8"s),
            "f:2:2: error: the document is not well-formed: The text is no well-formed UTF-16; "
            "correct the XML\n");
}

TEST(FormCheck, ReportsADocumentThatLacksTheOutline) {
  EXPECT_EQ(findings("<?xml version=\"1.0\"?>\n<database/>"),
            "f:2:1: error: the root element is <database>; write <Application>, as in a form "
            "document\n");
  EXPECT_EQ(
      findings("<application/>"),
      "f:1:1: error: <application> holds no <forms>; add it, with one <action> that holds one "
      "<form>\n");
  EXPECT_EQ(findings("<Application>\n<forms/></Application>"),
            "f:2:1: error: <forms> holds no <action>; add one\n");
  EXPECT_EQ(findings("<Application><forms>\n<action type=\"add\"/></forms></Application>"),
            "f:2:1: error: <action> holds no <form>; add one\n");
}

// The framework counts all children, so that it refuses a comment as well.
TEST(FormCheck, ReportsWhatIsBesideTheAction) {
  EXPECT_EQ(findings("<Application><forms>\n<!-- c --><action type=\"add\"><form/></action></forms>"
                     "</Application>"),
            "f:1:14: error: <forms> holds 2 nodes, comments included, and must hold one <action> "
            "alone; move the others elsewhere\n");
  EXPECT_EQ(findings("<Application><forms><action type=\"add\"><form/><form/></action></forms>"
                     "</Application>"),
            "f:1:21: error: <action> holds 2 nodes, comments included, and must hold one <form> "
            "alone; move the others elsewhere\n");
}

TEST(FormCheck, TakesTheRowsOfTheDocumentAfterTheGivenOnes) {
  const auto document = [](const std::string& rows) {
    return "<Application><maptable>\n" + rows +
           "\n</maptable><forms><action type=\"add\"><form title=\"T_ORDER\">\n"
           "<items><action type=\"add\"><Item type=\"4\" uid=\"A_LONG_SYMBOL\"/></action></items>"
           "</form></action></forms></Application>";
  };
  EXPECT_EQ(findings(document("<map tag=\"A_LONG_SYMBOL\" id=\"7\" value=\"A_TEXT\"/>"
                              "<map tag=\"T_ORDER\" id=\"99\"/>")),
            "");
}

TEST(FormCheck, ReportsRowsThatDoNotCount) {
  EXPECT_EQ(
      findings("<Application><maptable>\n<map tag=\"A\" id=\"7\"/>\n<map tag=\"A\" id=\"8\"/>\n"
               "<map tag=\"B\"/>\n<map id=\"1\"/>\n<Map tag=\"C\" id=\"1\"/>\n"
               "<map tag=\"D\" id=\"x\"/></maptable>"
               "<forms><action type=\"add\"><form/></action></forms></Application>"),
      "f:3:11: error: 'A' has a row in line 2 already, which counts; remove one of the two\n"
      "f:4:1: error: <map> has no id; give it one\n"
      "f:5:1: error: <map> has no tag; give it one\n"
      "f:6:1: error: <Map> is skipped as a row; write <map>, since the case of its letters "
      "counts\n"
      "f:7:18: error: 'x' is no whole number of 32 bits; write the id in digits\n");
}

TEST(FormCheck, ReadsTheEncodingsOfResources) {
  const std::string utf16 = [] {
    std::string out = "\xFF\xFE";
    for (const char each : items("<x\xE4/>")) (out += each) += '\0';
    return out;
  }();
  const std::string expected =
      "f:5:1: error: unknown element <xä> in <action>; remove it, or write Item\n";
  EXPECT_EQ(findings(utf16), expected);
  EXPECT_EQ(findings(items("<x\xE4/>")), expected);
  EXPECT_EQ(findings("\xEF\xBB\xBF" + items("<xä/>")), expected);
  EXPECT_EQ(findings("\xEF\xBB\xBF<database/>"),
            "f:1:1: error: the root element is <database>; write <Application>, as in a form "
            "document\n");
}

// The first and the last pair that a cut could divide.
TEST(FormCheck, QuotesNoHalfOfAPair) {
  const auto remark = [](const std::string& shown) {
    return "f:5:21: error: cut UID: 'xxxxxxxxxx' remains of '" + shown +
           "…'; write at most 10 characters, or a symbol of the symbol table\n";
  };
  for (const std::string pair : {"\U00010000", "\U0010FFFF"}) {
    const std::string most(58, 'x');
    EXPECT_EQ(findings(items("<Item type=\"4\" uid=\"" + most + "x" + pair + "y\"/>")),
              remark(most + "x"));
    EXPECT_EQ(findings(items("<Item type=\"4\" uid=\"" + most + pair + "y\"/>")),
              remark(most + pair));
  }
}

TEST(FormCheck, QuotesLongTextInPart) {
  EXPECT_EQ(findings(items("<Item type=\"4\" uid=\"" + std::string(59, 'x') + "𝄞yz\"/>")),
            "f:5:21: error: cut UID: 'xxxxxxxxxx' remains of '" + std::string(59, 'x') +
                "…'; write at most 10 characters, or a symbol of the symbol table\n");
  EXPECT_EQ(findings(items("<Item type=\"4\" uid=\"" + std::string(61, 'x') + "\"/>")),
            "f:5:21: error: cut UID: 'xxxxxxxxxx' remains of '" + std::string(60, 'x') +
                "…'; write at most 10 characters, or a symbol of the symbol table\n");
  EXPECT_EQ(findings(items("<Item type=\"4\" uid=\"" + std::string(60, 'x') + "\"/>")),
            "f:5:21: error: cut UID: 'xxxxxxxxxx' remains of '" + std::string(60, 'x') +
                "'; write at most 10 characters, or a symbol of the symbol table\n");
}

}  // namespace
}  // namespace qx::formcheck
