#include "qxdesk/screens/batch/batch.h"

#include "qxdesk/screens/model/desk_printer.h"
#include "qxdesk/screens/model/test_support.h"

#include <gtest/gtest.h>

namespace qx::screens {
namespace {

class BatchTest : public testing::Test {
 protected:
  HRESULT apply(std::u16string_view xml) { return applyBatch(desk_, xml); }
  std::string report() { return toUtf8(desk_.lastBatchResults); }
  std::string addOns() {
    const std::string tree = toUtf8(desk_.menus.tree());
    return tree.substr(tree.find("43523"));
  }

  Desk desk_{testSettings()};
};

constexpr char16_t kCommonMenu[] =
    uR"(<?xml version="1.0" encoding="UTF-16"?><Application><Menus><action type="add">
    <Menu Type="1" UniqueID="QX_551" String="Log Settings" Checked="0" Enabled="1"
      FatherUID="43523" Image="" Position="2"/>
    <Menu Type="1" UniqueID="QX_550" String="Quit &amp; Leave" Checked="1" Enabled="0"
      FatherUID="43523" Image="" Position="3"/>
    </action></Menus></Application>)";

TEST_F(BatchTest, AddsMenusInOrder) {
  EXPECT_EQ(apply(kCommonMenu), 0);
  EXPECT_EQ(addOns(),
            "43523 \"Add-Ons\" popup\n"
            "  QX_551 \"Log Settings\"\n"
            "  QX_550 \"Quit & Leave\" checked disabled\n");
  EXPECT_EQ(report(), R"(<result actions="1" applied="2" failed="0"/>)");
}

TEST_F(BatchTest, UpdatesAndRemovesMenus) {
  apply(kCommonMenu);
  EXPECT_EQ(apply(uR"(<Application><Menus><action type="update">
      <Menu UniqueID="QX_551" String="Log" Checked="1"/></action><action type="remove">
      <Menu UniqueID="QX_550"/></action></Menus></Application>)"),
            0);
  EXPECT_EQ(addOns(), "43523 \"Add-Ons\" popup\n  QX_551 \"Log\" checked\n");
}

TEST_F(BatchTest, AMenuKeepsWhatAnUpdateDoesNotName) {
  apply(kCommonMenu);
  desk_.menus.find(u"QX_551")->properties().image = u"a.bmp";
  EXPECT_EQ(apply(uR"(<Application><Menus><action type="update"><Menu UniqueID="QX_551"/>
      <Menu UniqueID="QX_550" Image="b.bmp"/></action></Menus></Application>)"),
            0);
  EXPECT_EQ(addOns(),
            "43523 \"Add-Ons\" popup\n"
            "  QX_551 \"Log Settings\"\n"
            "  QX_550 \"Quit & Leave\" checked disabled\n");
  EXPECT_EQ(desk_.menus.find(u"QX_551")->properties().image, u"a.bmp");
  EXPECT_EQ(desk_.menus.find(u"QX_550")->properties().image, u"b.bmp");
}

TEST_F(BatchTest, MissingFatherIsReportedAndTheOtherEntriesAreApplied) {
  EXPECT_EQ(apply(uR"(<Application><Menus><action type="add">
      <Menu Type="1" UniqueID="X1" String="x" FatherUID="4711"/>
      <Menu Type="1" UniqueID="X2" String="y" FatherUID="43523"/></action></Menus></Application>)"),
            kInvalidMenuItem);
  EXPECT_EQ(addOns(), "43523 \"Add-Ons\" popup\n  X2 \"y\"\n");
  EXPECT_EQ(
      report(),
      R"(<result actions="1" applied="1" failed="1"><errors><error action="1" type="add" )"
      R"(entry="1" uid="X1" line="2" column="7" code="-7026" )"
      R"(text="Invalid menu item" detail="there is no menu with the FatherUID 4711"/></errors></result>)");
}

TEST_F(BatchTest, EachFaultOfAMenuIsReportedWithItsCode) {
  apply(kCommonMenu);
  EXPECT_EQ(apply(uR"(<Application><Menus><action type="add">
      <Menu Type="1" UniqueID="QX_551" String="x" FatherUID="43523"/>
      <Menu Type="7" UniqueID="X2" String="x" FatherUID="43523"/>
      <Menu Type="1" UniqueID="X3" String="x" FatherUID="43523" Position="second"/>
      <Menu Type="1" UniqueID="X4" String="x" FatherUID="43523" Position="-5"/>
      </action><action type="remove"><Menu UniqueID="43523"/><Menu UniqueID="X9"/></action>
      <action type="update"><Menu UniqueID="3001" String="x"/></action>
      <action type="swap"/></Menus></Application>)"),
            kMenuAlreadyExists);
  EXPECT_EQ(
      report(),
      R"(<result actions="4" applied="0" failed="8"><errors>)"
      R"(<error action="1" type="add" entry="1" uid="QX_551" line="2" column="7" code="-7130" )"
      R"(text="Menu already exists"/>)"
      R"(<error action="1" type="add" entry="2" uid="X2" line="3" column="7" code="-7132" )"
      R"(text="Menu invalid type"/>)"
      R"(<error action="1" type="add" entry="3" uid="X3" line="4" column="7" code="-7133" )"
      R"(text="Menu position not valid"/>)"
      R"(<error action="1" type="add" entry="4" uid="X4" line="5" column="7" code="-7133" )"
      R"(text="Menu position not valid"/>)"
      R"(<error action="2" type="remove" entry="1" uid="43523" line="6" column="38" code="-7027" )"
      R"(text="Not an user menu item"/>)"
      R"(<error action="2" type="remove" entry="2" uid="X9" line="6" column="62" code="-7026" )"
      R"(text="Invalid menu item"/>)"
      R"(<error action="3" type="update" entry="1" uid="3001" line="7" column="29" code="-7027" )"
      R"(text="Not an user menu item"/>)"
      R"(<error action="4" type="swap" line="8" column="7" code="-7050" )"
      R"(text="Action type not valid" detail="the type is not add, update or remove"/></errors></result>)");
}

TEST_F(BatchTest, ReportsLineAndColumnOfADocumentThatCannotBeParsed) {
  EXPECT_EQ(apply(u"<Application>\n  <Menus>\n</Application>"), kCannotLoadXml);
  EXPECT_NE(report().find(R"(<error line="3" column=")"), std::string::npos) << report();
  EXPECT_NE(report().find(R"(code="-7040" text="Can't load XML" detail=")"), std::string::npos);
  EXPECT_EQ(apply(u""), kCannotLoadXml);
}

TEST_F(BatchTest, RefusesElementsInTheWrongPlace) {
  EXPECT_EQ(apply(u"<Menus/>"), kTagNotInPosition);
  EXPECT_EQ(
      report(),
      R"(<result actions="0" applied="0" failed="1"><errors><error line="1" column="1" code="-7051" )"
      R"(text="Tag not in position" detail="the root element is not &lt;Application&gt;"/>)"
      R"(</errors></result>)");
  EXPECT_EQ(apply(u"<Application><Tables/></Application>"), kTagNotInPosition);
  EXPECT_EQ(apply(u"<Application><Menus><Menu/></Menus></Application>"), kTagNotInPosition);
  EXPECT_EQ(apply(u"<Application><Menus><action type='add'><form/></action></Menus>"
                  u"</Application>"),
            kTagNotInPosition);
}

TEST_F(BatchTest, AcceptsADocumentWithNothingToDo) {
  EXPECT_EQ(apply(u"<application/>"), 0);
  EXPECT_EQ(report(), R"(<result actions="0" applied="0" failed="0"/>)");
}

constexpr char16_t kForm[] =
    uR"(<Application><forms><action type="add">
  <form uid="QX_FCL_1" type="0" title="Choose" left="60" top="75" width="449" height="282"
      default_button="1" color="0" appformnumber="-1" visible="0">
    <datasources><dbdatasources><action type="add"/></dbdatasources>
      <userdatasources><action type="add"><datasource uid="10807" type="9" size="80"/>
        <datasource uid="10808" type="9" size="80"/></action></userdatasources></datasources>
    <items><action type="add">
      <Item uid="1" type="4" left="5" top="231" width="65" height="19" visible="1" enabled="1"
        from_pane="0" to_pane="0" disp_desc="0" right_just="0" description="x">
        <Specific caption="Choose"/></Item>
      <item uid="10804" type="16"><specific forecolor="-1" AffectsFormMode="0">
        <databind alias="10807" databound="1" table=""/></specific></item>
      <Item uid="10803" type="8" linkto="10804"><Specific caption="Find"/></Item>
      <Item uid="9" type="113" enabled="0"><Specific><ValidValues><action type="add">
        <ValidValue value="All" description="0"/></action></ValidValues></Specific></Item>
      <Item uid="10805" type="127"><Specific layout="0" SelectionMode="2"><columns>
        <action type="add"><column uid="10806" title="#" width="23" type="16" editable="0">
          <databind alias="10808" databound="1" table=""/></column>
          <column uid="10800010" title="Key" width="97" type="16" visible="0"/></action></columns>
      </Specific></Item>
    </action></items></form></action></forms></Application>)";

TEST_F(BatchTest, AddsAForm) {
  EXPECT_EQ(apply(kForm), 0) << report();
  const auto form = desk_.forms.find(u"QX_FCL_1");
  ASSERT_NE(form, nullptr);
  form->findSource(u"10807")->setValue(u"abc");
  form->findSource(u"10808")->setValue(u"1");
  form->item(u"10805").matrix->addRows(1, -1);
  EXPECT_EQ(toUtf8(printForm(*form)),
            "QX_FCL_1 -1 \"Choose\" hidden\n"
            "  source 10807 \"abc\"\n"
            "  source 10808 \"1\"\n"
            "  1 button \"Choose\" default\n"
            "  10804 edit \"abc\"\n"
            "  10803 static \"Find\"\n"
            "  9 combo of 1 disabled\n"
            "  10805 matrix of 1 rows\n"
            "    10806 \"#\" 10800010 \"Key\" hidden\n"
            "     \"1\" \"\"\n");
  EXPECT_EQ(form->rect.width, 449);
  EXPECT_EQ(form->item(u"10805").matrix->selectionMode, kSelectOne);
  EXPECT_FALSE(form->item(u"10804").affectsFormMode);
  EXPECT_FALSE(form->item(u"10805").matrix->columns()[0]->editable);
  EXPECT_EQ(apply(kForm), kFormAlreadyExists);
}

TEST_F(BatchTest, DefaultButtonThatTheFormLacksIsNone) {
  ASSERT_EQ(apply(uR"(<Application><forms><action type="add"><form uid="A" default_button="1">
      <items><action type="add"><item uid="5" type="8"/></action></items></form>
      <form uid="B" default_button="0"/></action></forms></Application>)"),
            0)
      << report();
  EXPECT_EQ(desk_.forms.find(u"A")->defaultItem(), u"");
  EXPECT_EQ(desk_.forms.find(u"B")->defaultItem(), u"");
}

TEST_F(BatchTest, VetoOfTheLoadEventIsReported) {
  const auto sink = listen(desk_, veto("before item 16 QX_FCL_1"));
  EXPECT_EQ(apply(kForm), kGeneralFailure);
  EXPECT_EQ(desk_.forms.find(u"QX_FCL_1"), nullptr);
  EXPECT_NE(report().find("an add-on vetoed the load"), std::string::npos);
}

TEST_F(BatchTest, FormWithFaultsIsNotOpenedAndAllOfThemAreReported) {
  EXPECT_EQ(apply(uR"(<Application><forms><action type="add"><form uid="A" width="wide">
      <datasources><userdatasources><action type="add"><datasource uid="U" type="x" size="1"/>
        </action></userdatasources></datasources>
      <items><action type="add"><item uid="1" type="4"/><item uid="1" type="4"/>
        <item uid="2" type="99"/><item uid="12345678901" type="4"/>
        <item uid="3" type="16"><specific><databind alias="V"/></specific></item>
      </action></items></form></action></forms></Application>)"),
            kFormSettingRect);
  EXPECT_EQ(desk_.forms.find(u"A"), nullptr);
  EXPECT_EQ(
      report(),
      R"(<result actions="1" applied="0" failed="6"><errors>)"
      R"(<error action="1" type="add" entry="1" uid="A" line="1" column="40" code="-7063" )"
      R"(text="Form setting rectangle" detail="&lt;form&gt; A: width is not a number: wide"/>)"
      R"(<error action="1" type="add" entry="1" uid="A" line="2" column="56" code="-7090" )"
      R"(text="Data sources unknow field type" )"
      R"(detail="&lt;datasource&gt; U: type is not a number: x"/>)"
      R"(<error action="1" type="add" entry="1" uid="A" line="4" column="57" code="-7012" )"
      R"(text="Item already exists" detail="&lt;item&gt; 1"/>)"
      R"(<error action="1" type="add" entry="1" uid="A" line="5" column="9" code="-7091" )"
      R"(text="Item attributes" detail="&lt;item&gt; 2: type is not one of 4, 8, 16, 113, 127"/>)"
      R"(<error action="1" type="add" entry="1" uid="A" line="5" column="34" code="-7013" )"
      R"x(text="String too long (10)" detail="&lt;item&gt; 12345678901"/>)x"
      R"(<error action="1" type="add" entry="1" uid="A" line="6" column="43" code="-7092" )"
      R"(text="Item binding data" detail="&lt;databind&gt;: the form has no user data source with the alias V"/>)"
      R"(</errors></result>)");
}

TEST_F(BatchTest, RefusesFormUidsThatAreTooLongOrReserved) {
  const auto add = [&](const std::u16string& uid) {
    return apply(u"<Application><forms><action type='add'><form uid='" + uid +
                 u"'/></action></forms></Application>");
  };
  EXPECT_EQ(add(u"12345678901"), kStringTooLong10);
  EXPECT_EQ(add(u""), kFormSettingUid);
  EXPECT_EQ(add(u"F_7"), kFormUidReserved);
  EXPECT_EQ(add(u"1234567890"), 0);
}

TEST_F(BatchTest, UpdatesAndRemovesForms) {
  apply(kForm);
  EXPECT_EQ(apply(uR"(<Application><forms><action type="update"><form uid="QX_FCL_1" title="New">
      <items><action type="add"><item uid="7" type="4"><specific caption="More"/></item></action>
        <action type="update"><item uid="1" enabled="0"><specific caption="Go"/></item></action>
        <action type="remove"><item uid="10804"/><item uid="10803"/><item uid="9"/>
          <item uid="10805"/></action></items></form></action></forms></Application>)"),
            0)
      << report();
  EXPECT_EQ(toUtf8(printForm(*desk_.forms.find(u"QX_FCL_1"))),
            "QX_FCL_1 -1 \"New\" hidden\n"
            "  source 10807 \"\"\n"
            "  source 10808 \"\"\n"
            "  1 button \"Go\" disabled default\n"
            "  7 button \"More\"\n");
  const std::u16string remove =
      u"<Application><forms><action type='remove'><form uid='QX_FCL_1'/></action></forms>"
      u"</Application>";
  EXPECT_EQ(apply(remove), 0);
  EXPECT_EQ(desk_.forms.find(u"QX_FCL_1"), nullptr);
  EXPECT_EQ(apply(remove), kFormNotFound);
}

TEST_F(BatchTest, CorrectPartsOfAFormUpdateAreApplied) {
  apply(kForm);
  EXPECT_EQ(apply(uR"(<Application><forms><action type="update"><form uid="QX_FCL_1" title="New">
      <items><action type="remove"><item uid="none"/><item uid="9"/></action></items></form>
      </action></forms></Application>)"),
            kInvalidItem);
  EXPECT_EQ(desk_.forms.find(u"QX_FCL_1")->title, u"New");
  EXPECT_EQ(desk_.forms.find(u"QX_FCL_1")->findItem(u"9"), nullptr);
}

TEST_F(BatchTest, HandlerOfTheLoadEventMayApplyABatch) {
  listen(desk_, [&](const std::string& words, bool&) {
    if (words == "after item 16 QX_FCL_1") applyBatch(desk_, kCommonMenu);
  });
  EXPECT_EQ(apply(kForm), 0);
  EXPECT_EQ(report(), R"(<result actions="1" applied="1" failed="0"/>)");
  EXPECT_NE(desk_.menus.find(u"QX_551"), nullptr);
}

TEST_F(BatchTest, AddsTenThousandMenusInOneBatch) {
  std::u16string xml = u"<Application><Menus><action type='add'>";
  for (int i = 0; i < 10000; ++i) {
    xml += u"<Menu Type='1' UniqueID='M" + toUtf16(std::to_string(i)) +
           u"' String='entry' FatherUID='43523'/>";
  }
  EXPECT_EQ(apply(xml + u"</action></Menus></Application>"), 0);
  EXPECT_EQ(desk_.menus.find(u"43523")->children().size(), 10000U);
  EXPECT_EQ(report(), R"(<result actions="1" applied="10000" failed="0"/>)");
}

}  // namespace
}  // namespace qx::screens
