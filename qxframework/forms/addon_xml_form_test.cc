#include "qxframework/forms/addon_xml_form.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/text.h"
#include "testing/raised_by.h"
#include "testing/recording_logger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace qx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;

/// Returns a document whose `form` holds `content`.
std::u16string formWith(const std::u16string& content) {
  return u"<Application><forms><action type=\"add\"><form uid=\"F\">" + content +
         u"</form></action></forms></Application>";
}

/// The items of a document, without the sources that the builder adds.
constexpr char16_t kSources[] =
    u"<datasources><dbdatasources><action type=\"add\"/></dbdatasources>"
    u"<userdatasources><action type=\"add\"/></userdatasources></datasources>";

class XmlForm : public testing::Test {
 protected:
  CQXAddOnXMLForm& build(const std::u16string& xml, const std::vector<XMLMAP>* map = nullptr) {
    form = std::make_unique<CQXAddOnXMLForm>(7, CComBSTR(xml), loader, map, ln_English);
    return *form;
  }
  HRESULT buildRaises(const std::u16string& xml) {
    return raisedBy([&] { build(xml); });
  }
  std::string xml() { return toUtf8(form->GetXML().View()); }
  /// Returns the messages of a function at level Error or Information, in their order.
  Strings messages(std::u16string_view function) const {
    Strings out;
    for (const std::u16string& each : log.messagesOf(function)) out.push_back(toUtf8(each));
    return out;
  }
  Strings constructLog() const { return messages(u"CQXAddOnXMLForm::Construct"); }
  /// Returns the element of the form with that XPath.
  CComPtr<IXMLDOMElement> element(const OLECHAR* path) {
    return CComQIPtr<IXMLDOMElement>(form->GetForm()->selectSingleNode(path));
  }

  std::u16string formAttribute(const OLECHAR* name) {
    return std::u16string(form->GetForm()->getAttributeNode(name)->text().View());
  }

  RecordingLogger log;
  CQXResourceLoader loader;
  std::unique_ptr<CQXAddOnXMLForm> form;
};

TEST_F(XmlForm, CompletesAnEmptyForm) {
  build(formWith(u""));
  EXPECT_EQ(xml(), R"(<Application>
  <forms>
    <action type="add">
      <form uid="F">
        <datasources>
          <dbdatasources>
            <action type="add"/>
          </dbdatasources>
          <userdatasources>
            <action type="add"/>
          </userdatasources>
        </datasources>
        <items>
          <action type="add"/>
        </items>
      </form>
    </action>
  </forms>
</Application>
)");
  EXPECT_THAT(constructLog(), ElementsAre("<datasources> does not exist - will be created now.\n",
                                          "<items> does not exist - will be created now.\n"));
  EXPECT_THAT(messages(u"CQXResourceLoader::GetChildNode"),
              ElementsAre("<datasources> node not found.\n", "<dbdatasources> node not found.\n",
                          "<userdatasources> node not found.\n", "<items> node not found.\n"));
}

TEST_F(XmlForm, KeepsACompleteOutline) {
  const std::u16string document =
      formWith(std::u16string(kSources) + u"<Items><Action type=\"add\"/></Items>");
  build(document);
  EXPECT_THAT(constructLog(), IsEmpty());
  EXPECT_THAT(messages(u"CQXResourceLoader::GetChildNode"), IsEmpty());
  EXPECT_EQ(element(u"Items/Action")->xml().View(), u"<Action type=\"add\"/>");
  form->AddItem(4, u"1", 0, 0, 0, 0, 0, 0, u"");
  EXPECT_NE(element(u"Items/Action/item"), nullptr)
      << "the item goes into the action that is there";
}

TEST_F(XmlForm, AddsAnActionBesideSeveral) {
  build(formWith(u"<items><action type=\"add\"/><action type=\"update\"/></items>"));
  EXPECT_EQ(element(u"items")->childNodes()->length(), 3);
}

TEST_F(XmlForm, OfADocumentThatIsNotWellFormedIsRefused) {
  EXPECT_EQ(buildRaises(u"<Application>"), E_INVALIDARG);
}

TEST_F(XmlForm, WithoutAPartOfTheOutlineIsRefused) {
  const struct {
    const char16_t* xml;
    const char* message;
  } cases[] = {
      {u"<other/>", "<application> node not found.\n"},
      {u"<Application><menus/></Application>", "<forms> node not found.\n"},
      {u"<Application><forms><form/></forms></Application>",
       "<action> node under <forms> not found.\n"},
      {u"<Application><forms/></Application>", "<action> node under <forms> not found.\n"},
      {u"<Application><forms><action><menu/></action></forms></Application>",
       "<form> node not found.\n"},
      {u"<Application><forms><action><form/><form/></action></forms></Application>",
       "<form> node not found.\n"},
  };
  for (const auto& each : cases) {
    log.records.clear();
    EXPECT_EQ(buildRaises(each.xml), E_INVALIDARG) << each.message;
    EXPECT_THAT(constructLog(), ElementsAre(each.message));
  }
}

TEST_F(XmlForm, WithTwoActionsIsRefusedWithoutALineOfTheSearch) {
  EXPECT_EQ(buildRaises(u"<Application><forms><action><form/></action><action/></forms>"
                        u"</Application>"),
            E_INVALIDARG);
  EXPECT_THAT(constructLog(), ElementsAre("<action> node under <forms> not found.\n"));
  EXPECT_THAT(messages(u"CQXResourceLoader::GetChildNode"), IsEmpty());
}

TEST_F(XmlForm, ReplacesSymbolsAndRemovesTheMapTable) {
  const std::vector<XMLMAP> map{{u"QX_F", 300, u""}, {u"QX_TITLE", 9999, u"A & B"}, {}};
  build(
      u"<Application><maptable><map tag=\"x\" id=\"1\"/></maptable><forms><action>"
      u"<form uid=\"QX_F\" title=\"QX_TITLE\"/></action></forms></Application>",
      &map);
  EXPECT_EQ(formAttribute(u"uid"), u"300");
  EXPECT_EQ(formAttribute(u"title"), u"A & B");
  EXPECT_EQ(xml().find("maptable"), std::string::npos);
}

TEST_F(XmlForm, OfAMissingResourceIsRefused) {
  EXPECT_EQ(raisedBy([this] { CQXAddOnXMLForm(7, 4711, loader, nullptr, ln_English); }),
            E_INVALIDARG);
}

TEST_F(XmlForm, CutsAUidInAnySpellingToTenCharacters) {
  build(formWith(u""));
  const auto item = form->GetForm();
  EXPECT_EQ(form->SetAttribute(item, u"UID", u"12345678901")->text().View(), u"1234567890");
  EXPECT_EQ(form->SetAttribute(item, u"uid", u"12345678901")->text().View(), u"1234567890");
  EXPECT_EQ(form->SetAttribute(item, u"Uid", u"1234567890")->text().View(), u"1234567890");
  EXPECT_EQ(form->SetAttribute(item, u"title", u"12345678901")->text().View(), u"12345678901");
  EXPECT_EQ(form->SetAttribute(item, u"myuid", u"12345678901")->text().View(), u"12345678901");
}

TEST_F(XmlForm, SettingAnAttributeKeepsItsPlace) {
  build(formWith(u"<items a=\"1\" b=\"2\"/>"));
  const auto items = element(u"items");
  form->SetAttribute(items, u"a", u"3");
  form->SetAttribute(items, u"c", u"4");
  EXPECT_EQ(items->xml().View().substr(0, 27), u"<items a=\"3\" b=\"2\" c=\"4\">\n ");
}

TEST_F(XmlForm, EscapesTheTextsOfAnAttribute) {
  build(formWith(u""));
  const auto attribute = form->SetAttribute(form->GetForm(), u"title", u"<&\"'>\x20AC");
  EXPECT_EQ(attribute->text().View(), u"<&\"'>\x20AC");
  const std::u16string text(form->GetXML().View());
  build(text);
  EXPECT_EQ(formAttribute(u"title"), u"<&\"'>\x20AC");
}

TEST_F(XmlForm, AddsAnItemWithItsAttributesInOrder) {
  build(formWith(u""));
  const auto item = form->AddItem(16, u"EDIT", 1, 2, 3, 4, 5, 6, u"An edit");
  EXPECT_EQ(item->xml().View(),
            u"<item uid=\"EDIT\" type=\"16\" top=\"1\" left=\"2\" width=\"5\" height=\"6\" "
            u"visible=\"1\" enabled=\"1\" form_pane=\"3\" to_pane=\"4\" disp_desc=\"0\" "
            u"right_just=\"0\" description=\"An edit\"/>");
  EXPECT_EQ(element(u"items/action/item"), item);
}

TEST_F(XmlForm, AddsAButtonAndAStaticTextWithTheirOwnOrderOfNumbers) {
  build(formWith(u""));
  EXPECT_EQ(form->AddButton(u"B", u"Go", -1, 2, 3, 4, u"Button", 5, 6)->xml().View(),
            u"<item uid=\"B\" type=\"4\" top=\"-1\" left=\"2\" width=\"5\" height=\"6\" "
            u"visible=\"1\" enabled=\"1\" form_pane=\"3\" to_pane=\"4\" disp_desc=\"0\" "
            u"right_just=\"0\" description=\"Button\">\n  <specific caption=\"Go\"/>\n</item>");
  EXPECT_EQ(form->AddStatic(u"S", u"Text", 1, 2, 5, 6, 3, 4, u"Static")->xml().View(),
            u"<item uid=\"S\" type=\"8\" top=\"1\" left=\"2\" width=\"5\" height=\"6\" "
            u"visible=\"1\" enabled=\"1\" form_pane=\"3\" to_pane=\"4\" disp_desc=\"0\" "
            u"right_just=\"0\" description=\"Static\">\n  <specific caption=\"Text\"/>\n</item>");
}

TEST_F(XmlForm, AddsAUserDataSourceAndBindsAControl) {
  build(
      formWith(u"<items><action type=\"add\"><Item uid=\"E\"><Specific/></Item></action>"
               u"</items>"));
  EXPECT_EQ(form->AddUserDataSource(u"SOURCE", 9, 80)->xml().View(),
            u"<datasource uid=\"SOURCE\" type=\"9\" size=\"80\"/>");
  EXPECT_NE(element(u"datasources/userdatasources/action/datasource"), nullptr);
  EXPECT_EQ(form->AddDataBind(element(u"items/action/Item/Specific"), u"SOURCE")->xml().View(),
            u"<databind databound=\"1\" alias=\"SOURCE\"/>");
}

/// A matrix of that UID with `more` beside its columns.
std::u16string matrix(const std::u16string& uid, const std::u16string& more = u"") {
  return u"<Item uid=\"" + uid + u"\"><Specific><columns><action type=\"add\"/></columns>" + more +
         u"</Specific></Item>";
}

TEST_F(XmlForm, AddsAColumnToTheMatrixWithExactlyThatUid) {
  build(formWith(u"<items><action type=\"add\"><!-- none --><Item/>" + matrix(u"m1") +
                 matrix(u"M1") + u"</action></items>"));
  const auto column = form->AddColumn(u"M1", u"12345678901", u"Title", 16, 97, u"Text");
  EXPECT_EQ(column->xml().View(),
            u"<column title=\"Title\" width=\"97\" type=\"16\" uid=\"1234567890\" "
            u"description=\"Text\" visible=\"1\" editable=\"1\" disp_desc=\"0\" "
            u"right_just=\"0\"/>");
  EXPECT_EQ(element(u"items/action/Item[@uid='M1']/Specific/columns/action/column"), column);
}

TEST_F(XmlForm, AddsNoColumnToAMatrixThatHoldsMoreOrIsMissing) {
  build(formWith(u"<items><action type=\"add\">" + matrix(u"A", u"<other/>") +
                 u"<Item uid=\"B\"/><Item uid=\"C\"><Specific><columns/></Specific></Item>" +
                 u"</action></items>"));
  for (const OLECHAR* uid : {u"A", u"B", u"C", u"D", u""}) {
    EXPECT_EQ(raisedBy([&] { form->AddColumn(uid, u"1", u"T", 16, 1, u""); }), E_POINTER)
        << toUtf8(uid);
  }
}

TEST_F(XmlForm, PassesOnAFailureOfTheDocument) {
  build(formWith(u""));
  EXPECT_EQ(raisedBy([this] { form->SetAttribute(form->GetForm(), u"no name", u""); }),
            E_INVALIDARG);
  EXPECT_EQ(raisedBy([this] { form->SetAttribute(nullptr, u"uid", u""); }), E_POINTER);
}

TEST_F(XmlForm, LoadsAnotherDocumentInPlaceOfTheFirst) {
  build(formWith(u"")).Construct(CComBSTR(formWith(u"<items extra=\"1\"/>")), nullptr);
  EXPECT_NE(element(u"items[@extra='1']/action"), nullptr);
}

}  // namespace
}  // namespace qx::test
