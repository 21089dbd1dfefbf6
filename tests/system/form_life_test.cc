// The life of an add-on's form on the client: how it opens, what fails, how its user closes it, and
// what its operations return afterwards.

#include "tests/system/form_fixture.h"

#include <gmock/gmock.h>

namespace qx::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr HRESULT kInvalidForm = -7000;
constexpr HRESULT kFormNotFound = -7008;
constexpr HRESULT kFormAlreadyExists = -7010;

class FormLife : public SystemForm {
 protected:
  FormLife() { plan.xml = documentOf(kItemsOfEachType); }
  /// Expects that a form that failed to open has left nothing in the client.
  void expectNoForm(HRESULT code) {
    const std::string before = desk.forms();
    EXPECT_EQ(openRaises(), code);
    EXPECT_EQ(desk.forms(), before);
  }
};

TEST_F(FormLife, UidIsTheTypeWithTheNumberOfTheInstance) {
  plan.type = u"XXXXXXX";
  plan.count = 9;
  EXPECT_EQ(uidOf(*open()), "XXXXXXX_10");
}

TEST_F(FormLife, UidOfALongTypeLosesTheEndOfItsNumber) {
  plan.type = u"XXXXXXXX";
  plan.count = 9;
  EXPECT_EQ(uidOf(*open()), "XXXXXXXX_1");
  // The next number is cut to the same UID, which the client refuses.
  expectNoForm(kFormAlreadyExists);
  EXPECT_EQ(plan.count, 11) << "the count stays raised";
}

TEST_F(FormLife, NumberOfAClosedFormIsUsedAgainAndMayBeTaken) {
  const std::string first = uidOf(*open());
  EXPECT_EQ(uidOf(*open()), "PROBE_2");
  EXPECT_TRUE(desk.closeForm(first));
  expectNoForm(kFormAlreadyExists);
}

TEST_F(FormLife, RefusalByOnCreateFormLeavesNoFormAndDoesNotCount) {
  plan.change = [](CQXAddOnXMLForm&) { raiseError(E_ACCESSDENIED); };
  expectNoForm(E_ACCESSDENIED);
  EXPECT_EQ(plan.count, 0);
  EXPECT_THAT(messages(u"CQXAddOnForm::CreateForm"), ElementsAre("OnCreateForm() failed.\n"));
}

TEST_F(FormLife, RefusalByOnInitFormClosesTheHiddenFormAndStaysCounted) {
  plan.init = [this](PlannedForm&) {
    EXPECT_THAT(desk.forms(), HasSubstr("PROBE_1 -1 \"\" hidden\n"));
    return E_ACCESSDENIED;
  };
  expectNoForm(E_ACCESSDENIED);
  EXPECT_EQ(plan.count, 1);
  EXPECT_THAT(messages(u"CQXAddOnForm::CreateForm"),
              Contains("OnInitForm() failed (form type = PROBE).\n"));
}

TEST_F(FormLife, RefusalByOnFormLoadedClosesTheFormAndTheClientRefusesToShowIt) {
  plan.loaded = [](PlannedForm&) { return E_ACCESSDENIED; };
  expectNoForm(kInvalidForm);
  EXPECT_THAT(messages(u"CQXAddOnForm::CreateForm"),
              Contains("OnFormLoaded() failed (form type = PROBE).\n"));
}

TEST_F(FormLife, DocumentWithAFaultLeavesNoFormAndStaysCounted) {
  plan.xml = documentOf(u"<item uid=\"1\" type=\"99\"/>");
  expectNoForm(-7091);
  EXPECT_EQ(plan.count, 1);
}

TEST_F(FormLife, SetItemFocusClicksEditsAndButtonsOnly) {
  PlannedForm& form = *open();
  plan.events.clear();
  for (const char16_t* item : {u"3", u"5", u"6"}) form.SetItemFocus(CComBSTR(item));
  EXPECT_THAT(plan.events, IsEmpty());
  EXPECT_EQ(desk.focus(uidOf(form)), "");
  form.SetItemFocus(4U);
  EXPECT_EQ(desk.focus(uidOf(form)), "4");
  EXPECT_THAT(plan.events, ElementsAre("6 '4' before", "6 '4' after"));
}

TEST_F(FormLife, SetItemFocusClicksACellOfAColumnOfEdits) {
  PlannedForm& form = *open();
  form.GetFormItemSpecific<IMatrix>(6)->AddRow(1, -1);
  plan.events.clear();
  form.SetItemFocus(6U, 8U, 1U);
  EXPECT_THAT(plan.events, IsEmpty()) << "a column of texts";
  form.SetItemFocus(6U, 7U, 1U);
  EXPECT_THAT(plan.events, ElementsAre("6 '6' before", "6 '6' after"));
  EXPECT_EQ(desk.focus(uidOf(form)), "6");
}

TEST_F(FormLife, KeyFromAChildReachesItsParentAndTheChildIsForgotten) {
  PlannedForm& parent = *open();
  PlannedForm& child = *open();
  child.PutParent(&parent);
  parent.PutChild(&child);
  plan.item = [&](PlannedForm& form, const std::string& event) {
    if (&form == &child && event == "1 '9' after") parent.put_Key(u"K1");
  };
  desk.press(uidOf(child), "9");
  EXPECT_THAT(plan.keys, ElementsAre("K1"));
  EXPECT_EQ(parent.m_bstrKey.View(), u"K1");
  EXPECT_EQ(parent.m_pChild, nullptr);
}

TEST_F(FormLife, EditedFieldTakesTheFormToUpdateModeAndOkSavesIt) {
  const std::string uid = uidOf(*open());
  EXPECT_TRUE(desk.type(uid, "4", "abc"));
  EXPECT_THAT(desk.forms(), HasSubstr(uid + " -1 \"\" selected update\n"));
  EXPECT_THAT(desk.form(uid), HasSubstr("source U \"abc\""));
  EXPECT_TRUE(desk.press(uid, "1"));
  EXPECT_THAT(desk.forms(), HasSubstr(uid + " -1 \"\" selected\n"));
  EXPECT_TRUE(desk.press(uid, "1"));
  EXPECT_THAT(desk.forms(), Not(HasSubstr(uid))) << "OK in OK mode closes";
}

TEST_F(FormLife, TheUserFillsACellAndMovesByTheTabKey) {
  PlannedForm& form = *open();
  const std::string uid = uidOf(form);
  form.GetFormItemSpecific<IMatrix>(6)->AddRow(2, -1);
  EXPECT_TRUE(desk.typeIntoCell(uid, "6", "7", 2, "x"));
  EXPECT_THAT(desk.form(uid), HasSubstr("     \"\" \"\"\n     \"x\" \"\"\n"));
  plan.events.clear();
  EXPECT_TRUE(desk.tab(uid));
  EXPECT_EQ(desk.focus(uid), "9");
  EXPECT_THAT(plan.events,
              ElementsAre("2 '6' before", "10 '6' before", "10 '6' after", "2 '6' after"));
}

/// Calls each operation of a form whose host form is closed.
void expectClosed(PlannedForm& form) {
  CComBSTR uid;
  CComBSTR key(u"K");
  EXPECT_EQ(raisedBy([&] { form.GetFormUID(uid, uid); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { form.GetFormItem(4); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { form.GetFormItem(CComBSTR(u"4")); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { form.GetFormItemSpecific<IEditText>(4); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { form.SetItemFocus(4U); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { form.SetItemFocus(6U, 7U, 1U); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { form.FixFormSize(); }), kInvalidForm);
  EXPECT_EQ(form.GetSelectedInComboBox(5U).View(), u"");
  EXPECT_EQ(form.HVXItemUIDToResourceSymbol(7).View(), u"7");
  EXPECT_EQ(form.PutParent(nullptr), S_OK);
  EXPECT_EQ(form.PutChild(nullptr), S_OK);
  EXPECT_EQ(form.PutCompany(nullptr), S_OK);
  EXPECT_EQ(form.PutCopyKey(key), S_OK);
  EXPECT_EQ(form.PutInitialFormMode(afm_New), S_OK);
  EXPECT_EQ(form.put_Key(u"K"), S_OK);
  EXPECT_EQ(form.DateFromString(u"2024-01-31"), 0) << "it has no company any more";
  EXPECT_EQ(form.StringFromDate(45000).View(), u"");
}

TEST_F(FormLife, OperationsAfterTheUserClosedTheFormSayThatItIsClosed) {
  // The object lives until the hook returns, its host form does not.
  int checks = 0;
  const auto closeAndCheck = [&](PlannedForm& form) {
    EXPECT_TRUE(desk.closeForm("PROBE_1"));
    expectClosed(form);
    return ++checks, S_OK;
  };
  plan.init = closeAndCheck;
  expectNoForm(kInvalidForm);
  plan.init = nullptr;
  plan.count = 0;
  plan.loaded = closeAndCheck;
  expectNoForm(kInvalidForm);
  EXPECT_EQ(checks, 2);
}

TEST_F(FormLife, ObjectCannotBeAttachedToAClosedForm) {
  const CComPtr<IForm> closed = open()->m_ptrForm;
  EXPECT_TRUE(desk.closeForm("PROBE_1"));
  PlannedForm late(&addOn, plan);
  EXPECT_EQ(raisedBy([&] { late.InitForm(record.application, closed); }), kInvalidForm);
  EXPECT_THAT(messages(u"CQXAddOnForm::InitForm"), ElementsAre("RegisterForm() failed.\n"));
}

TEST_F(FormLife, ControlsOfAClosedFormSayThatItIsClosed) {
  PlannedForm& form = *open();
  const auto edit = form.GetFormItemSpecific<IEditText>(4);
  const auto combo = form.GetFormItemSpecific<IComboBox>(5);
  const auto matrix = form.GetFormItemSpecific<IMatrix>(6);
  const auto button = form.GetFormItemSpecific<IButton>(9);
  const auto label = form.GetFormItemSpecific<IStaticText>(3);
  const auto item = form.GetFormItem(4);
  const auto source = form.m_ptrForm->GetDataSources()->GetUserDataSources()->Item(u"U");
  EXPECT_TRUE(desk.closeForm("PROBE_1"));
  EXPECT_EQ(raisedBy([&] { edit->PutString(u"x"); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { combo->GetSelected(); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { combo->GetValidValues(); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { matrix->AddRow(1, -1); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { matrix->Clear(); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { button->PutCaption(u"x"); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { label->PutCaption(u"x"); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { item->Click(0); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { source->PutValue(u"x"); }), kInvalidForm);
}

TEST_F(FormLife, TheUserClosesTheFormWhileItHandlesAnEvent) {
  plan.item = [this](PlannedForm& form, const std::string& event) {
    if (event != "1 '9' after") return;
    EXPECT_TRUE(desk.closeForm("PROBE_1"));
    form.GetFormItemSpecific<IEditText>(4)->PutString(u"still open");
    EXPECT_THAT(desk.form("PROBE_1"), HasSubstr("  4 edit \"still open\""));
  };
  const PlannedForm* const form = open();
  EXPECT_TRUE(desk.press("PROBE_1", "9"));
  EXPECT_FALSE(CQXAddOnForm::IsLive(form));
  EXPECT_EQ(plan.events.back(), "17 '' before") << "the sink ends the form with this event";
  EXPECT_EQ(plan.count, 0);
}

TEST_F(FormLife, TheUserClosesTheFormWhileItOpens) {
  // The client has no form of that UID any more when the framework looks for it.
  record.hooks["OnFormLoad"] = [this](short*) {
    desk.closeForm("PROBE_1");
    return E_FAIL;
  };
  expectNoForm(kFormNotFound);
}

}  // namespace
}  // namespace qx::test
