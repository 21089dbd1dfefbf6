// The document of an add-on's form on its way to the client: what the adders add is what the user
// uses, and texts arrive as they are, in every language.

#include "testing/scoped_variable.h"
#include "tests/system/form_fixture.h"

#include <gmock/gmock.h>

namespace qx::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

using FormDocument = SystemForm;

TEST_F(FormDocument, OfAFormAloneIsCompletedAndOpens) {
  plan.xml =
      u"<application><forms><action type='add'><form title='Thin'/></action></forms>"
      u"</application>";
  EXPECT_NE(open(), nullptr);
  EXPECT_EQ(desk.form("PROBE_1"), "PROBE_1 -1 \"Thin\" selected\n");
  EXPECT_THAT(messages(u"CQXAddOnXMLForm::Construct"),
              ElementsAre("<datasources> does not exist - will be created now.\n",
                          "<items> does not exist - will be created now.\n"));
}

TEST_F(FormDocument, WithTwoActionsIsRefusedBeforeTheClientSeesIt) {
  plan.xml =
      u"<application><forms><action type='add'><form/></action><action type='add'/></forms>"
      u"</application>";
  const std::string before = desk.forms();
  EXPECT_EQ(openRaises(), E_INVALIDARG);
  EXPECT_EQ(desk.forms(), before);
  EXPECT_THAT(messages(u"CQXAddOnXMLForm::Construct"),
              ElementsAre("<action> node under <forms> not found.\n"));
  EXPECT_THAT(messages(u"CQXResourceLoader::GetChildNode"), testing::IsEmpty());
}

TEST_F(FormDocument, UidIsCutToTenCharactersAndATitleIsNot) {
  const std::u16string title(300, u't');
  plan.xml = documentOf(u"");
  plan.change = [&](CQXAddOnXMLForm& form) {
    form.SetAttribute(form.GetForm().p, u"title", CComBSTR(title));
    const auto item = form.AddButton(u"12345678901", u"Go", 1, 2, 0, 0, u"", 65, 19);
    form.SetAttribute(item, u"UID", u"abcdefghijk");
  };
  open();
  EXPECT_EQ(desk.form("PROBE_1"), "PROBE_1 -1 \"" + std::string(300, 't') +
                                      "\" selected\n  source U \"\"\n"
                                      "  1234567890 button \"Go\"\n");
}

TEST_F(FormDocument, ItemsColumnsAndSourcesOfTheAddersAreUsedByTheUser) {
  plan.xml = documentOf(
      u"<item uid=\"6\" type=\"127\"><specific SelectionMode=\"2\"><columns><action type=\"add\"/>"
      u"</columns></specific></item>");
  plan.change = [](CQXAddOnXMLForm& form) {
    form.AddStatic(u"3", u"Name", 5, 5, 80, 14, 0, 0, u"label");
    form.AddButton(u"9", u"Go", 30, 5, 0, 0, u"button", 65, 19);
    form.AddUserDataSource(u"V", 9, 3);
    form.AddDataBind(form.AddColumn(u"6", u"7", u"No", 16, 50, u"column"), u"V");
  };
  PlannedForm& form = *open();
  form.m_ptrForm->GetDataSources()->GetUserDataSources()->Item(u"V")->PutValue(u"abc");
  form.GetFormItemSpecific<IMatrix>(6)->AddRow(1, -1);
  plan.events.clear();
  EXPECT_TRUE(desk.clickCell("PROBE_1", "6", "7", 1));
  EXPECT_TRUE(desk.press("PROBE_1", "9"));
  EXPECT_EQ(desk.form("PROBE_1"), R"(PROBE_1 -1 "" selected
  source U ""
  source V "abc"
  6 matrix of 1 rows
    7 "No"
   * "abc"
  3 static "Name"
  9 button "Go" focus
)");
  EXPECT_THAT(plan.events, ElementsAre("6 '6' before", "6 '6' after", "6 '9' before", "6 '9' after",
                                       "1 '9' before", "1 '9' after"));
}

TEST_F(FormDocument, ColumnForAMatrixThatHoldsMoreThanColumnsLeavesNoForm) {
  plan.xml = documentOf(
      u"<item uid=\"6\" type=\"127\"><specific><columns><action type=\"add\"/></columns>"
      u"<databind/></specific></item>");
  plan.change = [](CQXAddOnXMLForm& form) { form.AddColumn(u"6", u"7", u"No", 16, 50, u""); };
  const std::string before = desk.forms();
  EXPECT_EQ(openRaises(), E_POINTER);
  plan.change = [](CQXAddOnXMLForm& form) { form.AddColumn(u"none", u"7", u"No", 16, 50, u""); };
  EXPECT_EQ(openRaises(), E_POINTER);
  EXPECT_EQ(desk.forms(), before);
}

// All that has a meaning in XML or in the framework's own formats, and a character of two units.
constexpr char16_t kSpecial[] = u"&amp; & < > \" ' ]]> -- \U0001F600 \u00E4 @ 100% %s $";

class FormText : public SystemForm {
 protected:
  FormText() {
    plan.xml = documentOf(
        u"<item uid=\"1\" type=\"4\" description=\"TEXT\"><specific caption=\"TEXT\"/></item>"
        u"<item uid=\"3\" type=\"8\"><specific caption=\"TEXT\"/></item>"
        u"<item uid=\"5\" type=\"113\"><specific><ValidValues><action type=\"add\"><ValidValue "
        u"value=\"TEXT\" description=\"TEXT\"/></action></ValidValues></specific></item>");
    plan.xml.replace(plan.xml.find(u"uid=\"P\""), 7, u"uid=\"P\" title=\"TEXT\"");
    setText(kSpecial);
  }
  /// Sets the text of the symbol. No module has a string of its number.
  void setText(const std::u16string& text) { plan.symbols = {{u"TEXT", 60000, text}}; }
};

TEST_F(FormText, ArrivesAsItIsInEveryLanguage) {
  const std::u16string text = kSpecial;
  int languages = 0;
  for (long language = 0; language <= ln_TrdtnlChinese_Hk + 1; ++language) {
    if (raisedBy([&] { desk.changeLanguage(language); }) != S_OK) continue;
    SCOPED_TRACE(language);
    ++languages;
    PlannedForm& form = *open();
    EXPECT_EQ(form.m_ptrForm->GetTitle().View(), text);
    EXPECT_EQ(form.GetFormItemSpecific<IButton>(1)->GetCaption().View(), text);
    EXPECT_EQ(form.GetFormItemSpecific<IStaticText>(3)->GetCaption().View(), text);
    const auto entry = form.GetFormItemSpecific<IComboBox>(5)->GetValidValues()->Item(0L);
    EXPECT_EQ(entry->GetValue().View(), text);
    EXPECT_EQ(entry->GetDescription().View(), text);
    desk.choose("PROBE_1", "5", toUtf8(text));
    EXPECT_EQ(form.GetSelectedInComboBox(5U).View(), text);
    desk.closeForm("PROBE_1");
  }
  EXPECT_GE(languages, 25);
}

TEST_F(FormText, TabsAndLineEndsOfATextBecomeBlanks) {
  setText(u"a\tb\nc");
  EXPECT_EQ(open()->m_ptrForm->GetTitle().View(), u"a b c");
}

TEST_F(FormText, ThatNoDocumentMayHoldIsRefusedInEveryLanguage) {
  const ScopedVariable dumps("TMPDIR", folder.path().string());
  const std::string before = desk.forms();
  const std::u16string texts[] = {u"\x01",
                                  u"\x1F",
                                  u"\xFFFE",
                                  u"\xFFFF",
                                  std::u16string(1, char16_t{0xD83D}),
                                  std::u16string(1, char16_t{0xDE00})};
  for (long language = 0; language <= ln_TrdtnlChinese_Hk; ++language) {
    if (raisedBy([&] { desk.changeLanguage(language); }) != S_OK) continue;
    for (const std::u16string& text : texts) {
      setText(u"a" + text + u"b");
      log.records.clear();
      EXPECT_EQ(openRaises(), E_INVALIDARG) << language;
      EXPECT_THAT(messages(u"CQXResourceLoader::LoadXML"),
                  Contains("Load XML following localization failed. Strange!.\n"));
    }
  }
  desk.changeLanguage(ln_English);
  EXPECT_EQ(desk.forms().substr(0, before.size()), before);
}

// What no document may hold can be written into an open form, as a text is any row of units.
TEST_F(FormText, WrittenIntoAnOpenFormMayHoldAnyUnit) {
  plan.xml = documentOf(kItemsOfEachType);
  PlannedForm& form = *open();
  const std::u16string any =
      u"\x01\t\n\xFFFE\xFFFF" + std::u16string(1, char16_t{0xD83D}) + u"<&\"'>";
  const CComBSTR text(any);
  form.m_ptrForm->PutTitle(text);
  form.GetFormItemSpecific<IButton>(9)->PutCaption(text);
  form.GetFormItemSpecific<IEditText>(4)->PutString(text);
  const auto combo = form.GetFormItemSpecific<IComboBox>(5);
  combo->GetValidValues()->Add(text, text);
  combo->Select(CComVariant(text), 1);
  form.GetFormItemSpecific<IMatrix>(6)->AddRow(1, -1);
  EXPECT_EQ(form.m_ptrForm->GetTitle().View(), any);
  EXPECT_EQ(form.GetFormItemSpecific<IButton>(9)->GetCaption().View(), any);
  EXPECT_EQ(form.GetFormItemSpecific<IEditText>(4)->GetString().View(), any);
  EXPECT_EQ(combo->GetSelected()->GetDescription().View(), any);
  const auto cell = form.GetFormItemSpecific<IMatrix>(6)->GetColumns()->Item(u"7")->GetCells();
  EXPECT_EQ(CComQIPtr<IEditText>(cell->Item(1L)->GetSpecific())->GetString().View(), any);
  EXPECT_THAT(desk.form("PROBE_1"), HasSubstr("\xEF\xBF\xBD<&\"'>")) << "printed all the same";
}

TEST_F(FormText, OfTheAddersThatNoDocumentMayHoldLeavesNoForm) {
  plan.symbols.clear();
  plan.xml = documentOf(u"");
  const std::string before = desk.forms();
  for (const char16_t* text : {u"\x01", u"\xFFFE"}) {
    plan.change = [&](CQXAddOnXMLForm& form) {
      form.AddStatic(u"3", text, 5, 5, 80, 14, 0, 0, u"");
    };
    EXPECT_LT(openRaises(), 0);
  }
  EXPECT_EQ(desk.forms(), before);
}

}  // namespace
}  // namespace qx::test
