// The elements and attributes of a form's document, one by one: where the model keeps them, and how
// each is refused.

#include "qxdesk/screens/batch/form_reader.h"

#include "qxdesk/screens/batch/batch.h"
#include "qxdesk/screens/model/desk_printer.h"
#include "qxdesk/screens/model/test_support.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/dom_document.h"
#include "testing/cases.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace qx::screens {
namespace {

using testing::ElementsAre;

class FormReaderTest : public testing::Test {
 protected:
  HRESULT apply(const std::u16string& xml) { return applyBatch(desk_, xml); }
  std::string forms() { return toUtf8(printForms(desk_.forms)); }
  std::shared_ptr<FormModel> form() { return desk_.forms.find(u"A"); }

  /// Returns the errors of the report, each as "LINE:COLUMN CODE DETAIL".
  Log faults() {
    CComPtr<IXMLDOMDocument> report;
    raiseIfFailed(createDocument(&report));
    EXPECT_EQ(report->loadXML(_bstr_t(desk_.lastBatchResults)), VARIANT_TRUE);
    Log out;
    const auto errors = report->selectNodes(_bstr_t(u"//error"));
    while (const auto error = errors->nextNode()) {
      const auto value = [&](const char16_t* name) {
        const auto attribute = error->attributes()->getNamedItem(_bstr_t(name));
        return attribute == nullptr ? std::string() : toUtf8(attribute->text().View());
      };
      out.push_back(value(u"line") + ":" + value(u"column") + " " + value(u"code") + " " +
                    value(u"detail"));
    }
    return out;
  }
  /// Applies a document that is to be refused. Nothing of its form may be left.
  Log faultsOf(const std::u16string& xml) {
    const std::string before = forms();
    const auto sink = listen(desk_);
    EXPECT_LT(apply(xml), 0);
    EXPECT_EQ(forms(), before);
    EXPECT_EQ(sink->log, Log{});
    return faults();
  }

  Desk desk_{testSettings()};
};

std::u16string formOf(const std::u16string& attributes, const std::u16string& content) {
  return u"<Application><forms><action type='add'>\n<form uid='A' " + attributes + u">\n" +
         content + u"</form></action></forms></Application>";
}

// The items begin at the third line, each caller breaks the lines between them.
std::u16string itemsOf(const std::u16string& items) {
  return formOf(u"", u"<items><action type='add'>\n" + items +
                         u"\n</action></items><datasources><userdatasources><action type='add'>"
                         u"<datasource uid='U' type='9' size='5'/></action></userdatasources>"
                         u"</datasources>");
}

std::u16string columnOf(const std::u16string& attributes, const std::u16string& content = u"") {
  return itemsOf(u"<item uid='5' type='127'><specific><columns><action type='add'>\n<column " +
                 attributes + u">" + content + u"</column></action></columns></specific></item>");
}

TEST_F(FormReaderTest, KeepsTheAttributesOfAForm) {
  ASSERT_EQ(apply(formOf(u"type='4' title='T' left='1' top='2' width='300' height='200' color='7' "
                         u"default_button='1' appformnumber='-1' visible='0' pane='2' mode='3' "
                         u"objecttype='17'",
                         u"<items><action type='add'><item uid='1' type='4'/></action></items>")),
            0);
  EXPECT_EQ(form()->borderStyle, 4);
  EXPECT_EQ(form()->title, u"T");
  EXPECT_EQ(form()->rect.left, 1);
  EXPECT_EQ(form()->rect.top, 2);
  EXPECT_EQ(form()->rect.width, 300);
  EXPECT_EQ(form()->rect.height, 200);
  EXPECT_EQ(form()->color, 7);
  EXPECT_EQ(form()->defaultItem(), u"1");
  EXPECT_EQ(form()->typeEx(), u"-1");
  EXPECT_FALSE(form()->visible);
  EXPECT_EQ(form()->pane, 2);
  EXPECT_EQ(form()->mode(), kAddMode);
  EXPECT_EQ(form()->objectType, u"17");
}

TEST_F(FormReaderTest, KeepsTheAttributesOfADataSource) {
  ASSERT_EQ(apply(formOf(u"",
                         u"<datasources><userdatasources><action type='add'><datasource "
                         u"uid='U' type='9' size='80'/></action></userdatasources>"
                         u"<dbdatasources><action type='add'><datasource tablename='ORDR'/>"
                         u"</action></dbdatasources></datasources>")),
            0);
  ASSERT_EQ(form()->sources().size(), 1U);
  EXPECT_EQ(form()->sources()[0]->uid(), u"U");
  EXPECT_EQ(form()->sources()[0]->type(), 9);
  EXPECT_EQ(form()->sources()[0]->size(), 80);
  EXPECT_EQ(form()->tables, std::vector<std::u16string>{u"ORDR"});
}

TEST_F(FormReaderTest, KeepsTheAttributesOfAnItem) {
  ASSERT_EQ(apply(itemsOf(u"<Item uid='5' type='8' left='1' top='2' width='3' height='4' "
                          u"visible='0' enabled='0' from_pane='1' to_pane='6' disp_desc='1' "
                          u"right_just='1' description='D' linkto='7'><Specific caption='C'/>"
                          u"</Item><item uid='6' type='4' form_pane='3'/>")),
            0);
  const ItemModel& item = form()->item(u"5");
  EXPECT_EQ(item.type, kStaticText);
  EXPECT_EQ(item.rect.left, 1);
  EXPECT_EQ(item.rect.top, 2);
  EXPECT_EQ(item.rect.width, 3);
  EXPECT_EQ(item.rect.height, 4);
  EXPECT_FALSE(item.visible);
  EXPECT_FALSE(item.enabled);
  EXPECT_EQ(item.fromPane, 1);
  EXPECT_EQ(item.toPane, 6);
  EXPECT_TRUE(item.showsDescription);
  EXPECT_TRUE(item.rightJustified);
  EXPECT_EQ(item.description, u"D");
  EXPECT_EQ(item.linkTo, u"7");
  EXPECT_EQ(item.caption, u"C");
  EXPECT_EQ(form()->item(u"6").fromPane, 3) << "the other spelling of from_pane";
}

TEST_F(FormReaderTest, KeepsTheStyleOfAnEdit) {
  ASSERT_EQ(apply(itemsOf(u"<item uid='5' type='16'><specific forecolor='255' backcolor='65280' "
                          u"text_style='2' font_size='12' supp_zeros='1' AffectsFormMode='0'>"
                          u"<databind alias='U' databound='1' table=''/></specific></item>")),
            0);
  ItemModel& item = form()->item(u"5");
  EXPECT_EQ(item.style.foreColor, 255);
  EXPECT_EQ(item.style.backColor, 65280);
  EXPECT_EQ(item.style.textStyle, 2);
  EXPECT_EQ(item.style.fontSize, 12);
  EXPECT_TRUE(item.style.suppressesZeros);
  EXPECT_FALSE(item.affectsFormMode);
  EXPECT_EQ(item.text.source(), form()->findSource(u"U"));
}

TEST_F(FormReaderTest, KeepsTheAttributesOfAMatrixAndItsColumns) {
  ASSERT_EQ(apply(itemsOf(u"<item uid='5' type='127'><specific layout='3' SelectionMode='1'>"
                          u"<columns><action type='add'><column uid='C' title='T' width='23' "
                          u"type='116' description='D' visible='0' editable='0' disp_desc='1' "
                          u"right_just='1'><databind alias='U' databound='1' table=''/></column>"
                          u"</action></columns></specific></item>")),
            0);
  const MatrixModel& matrix = *form()->item(u"5").matrix;
  EXPECT_EQ(matrix.layout, 3);
  EXPECT_EQ(matrix.selectionMode, kSelectMany);
  ASSERT_EQ(matrix.columns().size(), 1U);
  const MatrixColumn& column = *matrix.columns()[0];
  EXPECT_EQ(column.uid, u"C");
  EXPECT_EQ(column.title, u"T");
  EXPECT_EQ(column.width, 23);
  EXPECT_EQ(column.type, kLinkedButton);
  EXPECT_EQ(column.description, u"D");
  EXPECT_FALSE(column.visible);
  EXPECT_FALSE(column.editable);
  EXPECT_TRUE(column.showsDescription);
  EXPECT_TRUE(column.rightJustified);
  EXPECT_EQ(column.source, form()->findSource(u"U"));
}

TEST_F(FormReaderTest, AttributesThatAreMissingOrEmptyHaveTheirDefaults) {
  ASSERT_EQ(apply(itemsOf(u"<item uid='4' type='16'><specific font_size=''/></item>"
                          u"<item uid='5' type='127' visible='' disp_desc=''><specific><columns>"
                          u"<action type='add'><column uid='C'/></action></columns></specific>"
                          u"</item>")),
            0);
  const ItemModel& edit = form()->item(u"4");
  EXPECT_TRUE(edit.visible && edit.enabled && edit.affectsFormMode);
  EXPECT_FALSE(edit.showsDescription || edit.rightJustified || edit.style.suppressesZeros);
  EXPECT_EQ(edit.style.foreColor, -1);
  EXPECT_EQ(edit.style.backColor, -1);
  EXPECT_EQ(edit.style.fontSize, 0);
  const MatrixModel& matrix = *form()->item(u"5").matrix;
  EXPECT_TRUE(form()->item(u"5").visible);
  EXPECT_EQ(matrix.selectionMode, kSelectNone);
  EXPECT_EQ(matrix.layout, 0);
  EXPECT_EQ(matrix.columns()[0]->type, kEditText);
  EXPECT_TRUE(matrix.columns()[0]->visible && matrix.columns()[0]->editable);
}

TEST_F(FormReaderTest, NamesAreReadInAnyCase) {
  ASSERT_EQ(apply(u"<APPLICATION><Forms><Action TYPE='add'><FORM UID='A' TITLE='T'><ITEMS><ACTION "
                  u"type='add'><ITEM UID='1' TYPE='4'><SPECIFIC CAPTION='C'/></ITEM></ACTION>"
                  u"</ITEMS></FORM></Action></Forms></APPLICATION>"),
            0);
  EXPECT_EQ(toUtf8(printForm(*form())), "A -1 \"T\" selected\n  1 button \"C\"\n");
}

TEST_F(FormReaderTest, AnUpdateKeepsTheTextsThatItDoesNotName) {
  ASSERT_EQ(apply(formOf(u"title='T' objecttype='22'",
                         u"<items><action type='add'><item uid='1' type='8' description='D' "
                         u"linkto='2'><specific caption='C'/></item></action></items>")),
            0);
  const auto update = [this](const std::u16string& ofForm, const std::u16string& ofItem,
                             const std::u16string& ofSpecific) {
    EXPECT_EQ(apply(u"<Application><forms><action type='update'><form uid='A' " + ofForm +
                    u"><items><action type='update'><item uid='1' " + ofItem + u"><specific " +
                    ofSpecific +
                    u"/></item></action></items></form></action></forms>"
                    u"</Application>"),
              0);
    const ItemModel& item = form()->item(u"1");
    return toUtf8(form()->title + u"," + form()->objectType + u"," + item.description + u"," +
                  item.linkTo + u"," + item.caption);
  };
  EXPECT_EQ(update(u"", u"", u""), "T,22,D,2,C");
  EXPECT_EQ(update(u"title='U' objecttype='17'", u"description='E' linkto='3'", u"caption='F'"),
            "U,17,E,3,F");
  EXPECT_EQ(update(u"title='' objecttype=''", u"description='' linkto=''", u"caption=''"), ",,,,");
}

TEST_F(FormReaderTest, TheFirstOfTwoNamesThatDifferInCaseCounts) {
  ASSERT_EQ(apply(u"<Application><forms><action type='add'><form UID='A' uid='B' title='' "
                  u"Title='T'/></action></forms></Application>"),
            0);
  EXPECT_EQ(toUtf8(printForm(*form())), "A -1 \"\" selected\n");
}

struct Fault {
  const char* name;
  std::u16string document;
  std::string fault;
  friend std::ostream& operator<<(std::ostream& out, const Fault& each) { return out << each.name; }
};

class MalformedForm : public FormReaderTest, public testing::WithParamInterface<Fault> {};

TEST_P(MalformedForm, IsRefusedWithTheElementAndItsPlace) {
  EXPECT_THAT(faultsOf(GetParam().document), ElementsAre(GetParam().fault));
}

std::string nameOfFault(const testing::TestParamInfo<Fault>& info) { return info.param.name; }

const Fault kFormFaults[] = {
    {"Type", formOf(u"type='x'", u""), "2:1 -7063 <form> A: type is not a number: x"},
    {"Left", formOf(u"left='1.5'", u""), "2:1 -7063 <form> A: left is not a number: 1.5"},
    {"Top", formOf(u"top='x'", u""), "2:1 -7063 <form> A: top is not a number: x"},
    {"Width", formOf(u"width='-1'", u""), "2:1 -7063 <form> A: width is negative: -1"},
    {"Height", formOf(u"height='99999999999'", u""),
     "2:1 -7063 <form> A: height is not a number: 99999999999"},
    {"Color", formOf(u"color='red'", u""), "2:1 -7068 <form> A: color is not a number: red"},
    {"Pane", formOf(u"pane='x'", u""), "2:1 -7069 <form> A: pane is not a number: x"},
    {"Mode", formOf(u"mode='4'", u""), "2:1 -7067 <form> A"},
    {"Visible", formOf(u"visible='yes'", u""),
     "2:1 -7065 <form> A: visible is neither 1 nor 0: yes"},
    {"UidTooLong",
     u"<Application><forms><action type='add'><form uid='12345678901'/></action>"
     u"</forms></Application>",
     "1:40 -7013 <form> 12345678901"},
    {"UidMissing", u"<Application><forms><action type='add'><form/></action></forms></Application>",
     "1:40 -7070 <form>"},
    {"UidOfTheHost",
     u"<Application><forms><action type='add'><form uid='F_1'/></action></forms></Application>",
     "1:40 -7019 "},
    {"UnknownElement", formOf(u"", u"<Itms/>"),
     "3:1 -7051 <itms>: <form> holds only <datasources>, <items>"},
};
INSTANTIATE_TEST_SUITE_P(OfAForm, MalformedForm, testing::ValuesIn(kFormFaults), nameOfFault);

std::u16string sourcesOf(const std::u16string& content) {
  return formOf(u"",
                u"<datasources><userdatasources>" + content + u"</userdatasources></datasources>");
}

const Fault kSourceFaults[] = {
    {"Type", sourcesOf(u"<action type='add'>\n<datasource uid='U' type='x'/></action>"),
     "4:1 -7090 <datasource> U: type is not a number: x"},
    {"Size", sourcesOf(u"<action type='add'>\n<datasource uid='U' size='x'/></action>"),
     "4:1 -7090 <datasource> U: size is not a number: x"},
    {"NegativeSize", sourcesOf(u"<action type='add'>\n<datasource uid='U' size='-1'/></action>"),
     "4:1 -7090 <datasource> U"},
    {"UidMissing", sourcesOf(u"<action type='add'>\n<datasource type='9'/></action>"),
     "4:1 -7016 <datasource>"},
    {"UidTooLong", sourcesOf(u"<action type='add'>\n<datasource uid='12345678901'/></action>"),
     "4:1 -7013 <datasource> 12345678901"},
    {"UidTwice",
     sourcesOf(u"<action type='add'><datasource uid='U'/>\n<datasource uid='U'/></action>"),
     "4:1 -7016 <datasource> U"},
    {"ActionType", sourcesOf(u"\n<action type='update'/>"), "4:1 -7050 <action>: type is not add"},
    {"Misspelt", sourcesOf(u"<action type='add'>\n<datasorce uid='U'/></action>"),
     "4:1 -7051 <datasorce> U: <action> holds only <datasource>"},
    {"WithoutAnAction", sourcesOf(u"\n<datasource uid='U'/>"),
     "4:1 -7051 <datasource> U: <userdatasources> holds only <action>"},
    {"UnknownKind", formOf(u"", u"<datasources>\n<xmldatasources/></datasources>"),
     "4:1 -7051 <xmldatasources>: <datasources> holds only <dbdatasources>, <userdatasources>"},
};
INSTANTIATE_TEST_SUITE_P(OfASource, MalformedForm, testing::ValuesIn(kSourceFaults), nameOfFault);

const Fault kItemFaults[] = {
    {"Type", itemsOf(u"<item uid='5' type='99'/>"),
     "4:1 -7091 <item> 5: type is not one of 4, 8, 16, 113, 127"},
    {"TypeMissing", itemsOf(u"<item uid='5'/>"),
     "4:1 -7091 <item> 5: type is not one of 4, 8, 16, 113, 127"},
    {"UidMissing", itemsOf(u"<item type='4'/>"), "4:1 -7091 <item>"},
    {"UidTooLong", itemsOf(u"<item uid='12345678901' type='4'/>"), "4:1 -7013 <item> 12345678901"},
    {"UidTwice", itemsOf(u"<item uid='5' type='4'/>\n<item uid='5' type='8'/>"),
     "5:1 -7012 <item> 5"},
    {"Left", itemsOf(u"<item uid='5' type='4' left='x'/>"),
     "4:1 -7091 <item> 5: left is not a number: x"},
    {"Top", itemsOf(u"<item uid='5' type='4' top='x'/>"),
     "4:1 -7091 <item> 5: top is not a number: x"},
    {"Width", itemsOf(u"<item uid='5' type='4' width='-5'/>"),
     "4:1 -7091 <item> 5: width is negative: -5"},
    {"Height", itemsOf(u"<item uid='5' type='4' height='x'/>"),
     "4:1 -7091 <item> 5: height is not a number: x"},
    {"Visible", itemsOf(u"<item uid='5' type='4' visible='2'/>"),
     "4:1 -7091 <item> 5: visible is neither 1 nor 0: 2"},
    {"Enabled", itemsOf(u"<item uid='5' type='4' enabled='no'/>"),
     "4:1 -7091 <item> 5: enabled is neither 1 nor 0: no"},
    {"FromPane", itemsOf(u"<item uid='5' type='4' from_pane='x'/>"),
     "4:1 -7091 <item> 5: from_pane is not a number: x"},
    {"FormPane", itemsOf(u"<item uid='5' type='4' form_pane='x'/>"),
     "4:1 -7091 <item> 5: form_pane is not a number: x"},
    {"ToPane", itemsOf(u"<item uid='5' type='4' to_pane='x'/>"),
     "4:1 -7091 <item> 5: to_pane is not a number: x"},
    {"DispDesc", itemsOf(u"<item uid='5' type='4' disp_desc='x'/>"),
     "4:1 -7091 <item> 5: disp_desc is neither 1 nor 0: x"},
    {"RightJust", itemsOf(u"<item uid='5' type='4' right_just='x'/>"),
     "4:1 -7091 <item> 5: right_just is neither 1 nor 0: x"},
    {"Misspelt", itemsOf(u"<itm uid='5' type='4'/>"),
     "4:1 -7051 <itm> 5: <action> holds only <item>"},
    {"UnknownElement", itemsOf(u"<item uid='5' type='4'>\n<Spezific/></item>"),
     "5:1 -7051 <spezific>: <item> holds only <specific>"},
    {"ActionType",
     formOf(u"",
            u"<items>\n<action type='swap'><item uid='5' type='4'/></action>"
            u"</items>"),
     "4:1 -7050 <action>: type is not add, update or remove"},
    {"WithoutAnAction", formOf(u"", u"<items>\n<item uid='5' type='4'/></items>"),
     "4:1 -7051 <item> 5: <items> holds only <action>"},
    {"UpdateOfNone",
     formOf(u"", u"<items><action type='update'>\n<item uid='5'/></action></items>"),
     "4:1 -7001 <item> 5"},
};
INSTANTIATE_TEST_SUITE_P(OfAnItem, MalformedForm, testing::ValuesIn(kItemFaults), nameOfFault);

std::u16string editOf(const std::u16string& attributes, const std::u16string& content = u"") {
  return itemsOf(u"<item uid='5' type='16'>\n<specific " + attributes + u">" + content +
                 u"</specific></item>");
}

const Fault kControlFaults[] = {
    {"ForeColor", editOf(u"forecolor='x'"), "5:1 -7091 <specific>: forecolor is not a number: x"},
    {"BackColor", editOf(u"backcolor='x'"), "5:1 -7091 <specific>: backcolor is not a number: x"},
    {"TextStyle", editOf(u"text_style='x'"), "5:1 -7091 <specific>: text_style is not a number: x"},
    {"FontSize", editOf(u"font_size='-1'"), "5:1 -7091 <specific>: font_size is negative: -1"},
    {"SuppZeros", editOf(u"supp_zeros='x'"),
     "5:1 -7091 <specific>: supp_zeros is neither 1 nor 0: x"},
    {"AffectsFormMode", editOf(u"AffectsFormMode='x'"),
     "5:1 -7091 <specific>: affectsformmode is neither 1 nor 0: x"},
    {"UnknownElement", editOf(u"", u"\n<bind/>"),
     "6:1 -7051 <bind>: <specific> holds only <databind>, <columns>, <validvalues>"},
    {"Alias", editOf(u"", u"\n<databind alias='V'/>"),
     "6:1 -7092 <databind>: the form has no user data source with the alias V"},
    {"DataBound", editOf(u"", u"\n<databind alias='U' databound='x'/>"),
     "6:1 -7092 <databind>: databound is neither 1 nor 0: x"},
    {"Table", editOf(u"", u"\n<databind alias='U' table='ORDR'/>"),
     "6:1 -7092 <databind>: the form has no database data source for table ORDR"},
    {"BoundButton",
     itemsOf(u"<item uid='5' type='4'>\n<specific><databind alias='U'/></specific>"
             u"</item>"),
     "5:1 -7092 <specific>: only edits, combo boxes and columns are bound"},
    {"ValueOfACombo",
     itemsOf(u"<item uid='5' type='113'><specific><ValidValues><action "
             u"type='add'>\n<value/></action></ValidValues></specific></item>"),
     "5:1 -7051 <value>: <action> holds only <validvalue>"},
    {"SelectionMode", itemsOf(u"<item uid='5' type='127'>\n<specific SelectionMode='3'/></item>"),
     "5:1 -7091 <specific>: selectionmode is not one of 0, 1, 2"},
    {"Layout", itemsOf(u"<item uid='5' type='127'>\n<specific layout='x'/></item>"),
     "5:1 -7091 <specific>: layout is not a number: x"},
};
INSTANTIATE_TEST_SUITE_P(OfAControl, MalformedForm, testing::ValuesIn(kControlFaults), nameOfFault);

const Fault kColumnFaults[] = {
    {"UidMissing", columnOf(u"title='T'"), "5:1 -7110 <column>"},
    {"UidTooLong", columnOf(u"uid='12345678901'"), "5:1 -7013 <column> 12345678901"},
    {"UidTwice", columnOf(u"uid='C'/>\n<column uid='C'"), "6:1 -7014 <column> C"},
    {"Type", columnOf(u"uid='C' type='127'"),
     "5:1 -7110 <column> C: type is not one of 4, 8, 16, 113, 116"},
    {"Width", columnOf(u"uid='C' width='-1'"), "5:1 -7110 <column> C: width is negative: -1"},
    {"Visible", columnOf(u"uid='C' visible='x'"),
     "5:1 -7110 <column> C: visible is neither 1 nor 0: x"},
    {"Editable", columnOf(u"uid='C' editable='x'"),
     "5:1 -7110 <column> C: editable is neither 1 nor 0: x"},
    {"DispDesc", columnOf(u"uid='C' disp_desc='x'"),
     "5:1 -7110 <column> C: disp_desc is neither 1 nor 0: x"},
    {"RightJust", columnOf(u"uid='C' right_just='x'"),
     "5:1 -7110 <column> C: right_just is neither 1 nor 0: x"},
    {"Alias", columnOf(u"uid='C'", u"\n<databind alias='V'/>"),
     "6:1 -7111 <databind>: the form has no user data source with the alias V"},
    {"UnknownElement", columnOf(u"uid='C'", u"\n<bind/>"),
     "6:1 -7051 <bind>: <column> holds only <databind>"},
};
INSTANTIATE_TEST_SUITE_P(OfAColumn, MalformedForm, testing::ValuesIn(kColumnFaults), nameOfFault);

// A form with every element, as a page of text whose parts a test can exchange.
std::u16string wholeForm() {
  return formOf(u"title='T' width='300' default_button='1' mode='1' visible='1'",
                u"<datasources><dbdatasources><action type='add'><datasource tablename='T'/>"
                u"</action></dbdatasources><userdatasources><action type='add'>"
                u"<datasource uid='U' type='9' size='5'/></action></userdatasources></datasources>"
                u"<items><action type='add'><item uid='1' type='4'><specific caption='C'/></item>"
                u"<item uid='2' type='16'><specific font_size='12'><databind alias='U'/></specific>"
                u"</item><item uid='3' type='113'><specific><ValidValues><action type='add'>"
                u"<ValidValue value='V' description='D'/></action></ValidValues></specific></item>"
                u"<item uid='4' type='127'><specific SelectionMode='2'><columns>"
                u"<action type='add'><column uid='C' type='16'><databind alias='U'/></column>"
                u"</action></columns></specific></item></action></items>");
}

TEST_F(FormReaderTest, DamagedDocumentOpensItsFormOrLeavesNothing) {
  const std::u16string whole = wholeForm();
  ASSERT_EQ(apply(whole), 0);
  const std::u16string parts[] = {
      u"'",    u"<",      u">",      u"/",      u"-1",      u"99999999999",
      u"&#1;", u"&lt;",   u"uid",    u"type",   u"<item/>", u"<action type='remove'/>",
      u"A",    u"\xFFFE", u"\xD800", u"x='1' ", u"'' ",     u"\U0001F600"};
  std::mt19937 random(20261122);
  const auto below = [&](std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
  };
  std::size_t opened = 0;
  const std::size_t count = test::cases(2000);
  for (std::size_t i = 0; i < count; ++i) {
    std::u16string damaged = whole;
    for (std::size_t changes = 1 + below(2); changes > 0; --changes) {
      damaged.replace(below(damaged.size()), below(12), parts[below(std::size(parts))]);
    }
    Desk desk(testSettings());
    const std::string before = toUtf8(printForms(desk.forms));
    const HRESULT code = applyBatch(desk, damaged);
    desk_.lastBatchResults = desk.lastBatchResults;
    EXPECT_EQ(code < 0, !faults().empty()) << toUtf8(damaged);
    if (code < 0) {
      EXPECT_EQ(toUtf8(printForms(desk.forms)), before) << toUtf8(damaged);
    } else {
      for (const auto& form : desk.forms.all()) printForm(*form);
      ++opened;
    }
  }
  EXPECT_GT(opened, 0U);
  EXPECT_LT(opened, count);
}

TEST_F(FormReaderTest, RefusedFormLeavesItsUidFree) {
  faultsOf(formOf(u"width='x'", u""));
  EXPECT_EQ(apply(formOf(u"", u"")), 0);
  EXPECT_EQ(forms(), "F_0 169 \"Main Menu\"\nA -1 \"\" selected\n");
}

TEST_F(FormReaderTest, FormWithAUidInUseIsRefusedAndTheOpenFormStays) {
  ASSERT_EQ(apply(formOf(u"title='first'", u"")), 0);
  EXPECT_THAT(faultsOf(formOf(u"title='second'", u"")), ElementsAre("2:1 -7010 "));
  EXPECT_EQ(form()->title, u"first");
}

}  // namespace
}  // namespace qx::screens
