// The objects of menus, forms, items and controls as an add-on sees them.

#include "qxdesk/screens/objects/test_support.h"

namespace qx::screens {
namespace {

using MenuObjects = EmbeddedTest;
using FormObjects = EmbeddedTest;
using ControlObjects = EmbeddedTest;

TEST_F(MenuObjects, FindEntriesAtAnyDepthAndReturnNullForAMiss) {
  const auto menus = app_->GetMenus();
  EXPECT_EQ(menus->Count(), 4);
  EXPECT_EQ(utf8(menus->Item(u"3001")->GetString()), "Sales Order");
  EXPECT_EQ(utf8(menus->Item(0)->GetUID()), "100");
  EXPECT_EQ(menus->Item(u"none"), nullptr);
  EXPECT_EQ(menus->Item(u""), nullptr);
  EXPECT_EQ(menus->Item(99), nullptr);
  const auto sales = menus->Item(u"3000");
  EXPECT_EQ(sales->GetType(), mt_Popup);
  EXPECT_EQ(sales->GetSubMenus()->Count(), 2);
  EXPECT_EQ(sales->GetSubMenus()->Item(u"1288"), nullptr);
  EXPECT_EQ(raisedBy([&] { menus->Item(CComVariant(1.5)); }), DISP_E_TYPEMISMATCH);
}

TEST_F(MenuObjects, AddEntriesAndRemoveThem) {
  const auto below = app_->GetMenus()->Item(u"43523")->GetSubMenus();
  const auto entry = below->Add(u"MN1", u"My entry", mt_String, 0);
  EXPECT_EQ(utf8(entry->GetUID()), "MN1");
  entry->PutChecked(VARIANT_TRUE);
  entry->PutEnabled(VARIANT_FALSE);
  EXPECT_EQ(entry->GetChecked(), VARIANT_TRUE);
  EXPECT_EQ(entry->GetEnabled(), VARIANT_FALSE);
  EXPECT_EQ(raisedBy([&] { below->Add(u"MN1", u"x", mt_String, 0); }), kMenuAlreadyExists);
  below->Remove(entry);
  EXPECT_EQ(raisedBy([&] { entry->GetString(); }), kInvalidMenuItem);
  EXPECT_EQ(raisedBy([&] { below->Remove(entry); }), kInvalidMenuItem);
  EXPECT_EQ(raisedBy([&] { below->Remove(nullptr); }), E_POINTER);
}

TEST_F(MenuObjects, RemoveOnlyAddOnEntriesFromTheirOwnMenu) {
  const auto menus = app_->GetMenus();
  const auto sales = menus->Item(u"3000")->GetSubMenus();
  const auto mine = menus->Item(u"43523")->GetSubMenus()->Add(u"MN1", u"x", mt_String, -1);
  EXPECT_EQ(raisedBy([&] { sales->Remove(mine); }), kInvalidMenuItem);
  EXPECT_EQ(raisedBy([&] { menus->Remove(menus->Item(u"3001")); }), kNotAUserMenuItem);
  EXPECT_EQ(raisedBy([&] { menus->Remove(mine); }), S_OK);
}

TEST_F(FormObjects, AreFoundByIndexUidTypeAndSelection) {
  const auto order = openOrder();
  const auto forms = app_->GetForms();
  EXPECT_EQ(forms->Count(), 2);
  EXPECT_EQ(utf8(forms->Item(0)->GetTypeEx()), "169");
  EXPECT_EQ(utf8(forms->Item(u"F_1")->GetUniqueID()), "F_1");
  EXPECT_EQ(utf8(forms->GetFormByUID(u"F_1")->GetTypeEx()), "3101");
  EXPECT_EQ(utf8(forms->GetFormByTypeAndCount(169, 1)->GetUniqueID()), "F_0");
  EXPECT_EQ(utf8(forms->GetActiveForm()->GetUniqueID()), "F_1");
  EXPECT_EQ(order->GetSelected(), VARIANT_TRUE);
  EXPECT_EQ(raisedBy([&] { forms->Item(2); }), kFormNotFound);
  EXPECT_EQ(raisedBy([&] { forms->Item(-1); }), kFormNotFound);
  EXPECT_EQ(raisedBy([&] { forms->GetFormByUID(u"none"); }), kFormNotFound);
  EXPECT_EQ(raisedBy([&] { forms->GetFormByTypeAndCount(3101, 2); }), kFormNotFound);
}

TEST_F(FormObjects, KeepTheirProperties) {
  const auto form = openOrder();
  form->PutTitle(u"Order");
  form->PutMode(2);
  form->PutDefaultItem(u"2");
  form->PutHeight(100);
  form->PutClientWidth(200);
  EXPECT_EQ(utf8(form->GetTitle()), "Order");
  EXPECT_EQ(form->GetMode(), 2);
  EXPECT_EQ(utf8(form->GetDefaultItem()), "2");
  EXPECT_EQ(form->GetHeight(), 100);
  EXPECT_EQ(form->GetClientHeight(), 74);
  EXPECT_EQ(form->GetWidth(), 208);
  form->PutClientHeight(100);
  form->PutWidth(100);
  EXPECT_EQ(form->GetHeight(), 126);
  EXPECT_EQ(form->GetClientWidth(), 92);
  EXPECT_EQ(raisedBy([&] { form->PutMode(9); }), kFormSettingMode);
  EXPECT_EQ(raisedBy([&] { form->PutDefaultItem(u"none"); }), kFormSettingDefaultButton);
}

TEST_F(FormObjects, CountFreezesAndUpdates) {
  const auto form = app_->GetForms()->GetFormByTypeAndCount(169, 1);
  form->Freeze(VARIANT_TRUE);
  form->Freeze(VARIANT_TRUE);
  form->Freeze(VARIANT_FALSE);
  form->Update();
  long freezes = 0;
  long updates = 0;
  EXPECT_EQ(user_->GetFormCounts(CComBSTR(u"F_0"), &freezes, &updates), S_OK);
  EXPECT_EQ(freezes, 1);
  EXPECT_EQ(updates, 1);
}

TEST_F(FormObjects, RefuseEveryCallAfterTheFormIsClosed) {
  const auto form = openOrder();
  const auto items = form->GetItems();
  const auto edit = control<IEditText>(form, u"4");
  EXPECT_EQ(form->Close(), S_OK);
  EXPECT_EQ(raisedBy([&] { form->PutVisible(VARIANT_TRUE); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { form->Close(); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { items->Count(); }), kInvalidForm);
  EXPECT_EQ(raisedBy([&] { edit->GetString(); }), kInvalidForm);
}

TEST_F(FormObjects, ReturnFalseFromAVetoedClose) {
  const auto form = openOrder();
  listen([](const std::string& words, VARIANT_BOOL* veto) {
    if (words.starts_with("100(F_1, before 20 ")) *veto = VARIANT_FALSE;
    return S_OK;
  });
  EXPECT_EQ(form->Close(), S_FALSE);
  EXPECT_EQ(utf8(form->GetUniqueID()), "F_1");
}

TEST_F(FormObjects, CloseAfterTheEventInWhichTheyAreClosed) {
  const auto form = openOrder();
  const auto sink = listen([&](const std::string& words, VARIANT_BOOL*) {
    if (words != "100(F_1, after 1 3101 F_1.2..0.0, -1)") return S_OK;
    EXPECT_EQ(form->Close(), S_OK);
    EXPECT_EQ(utf8(form->GetUniqueID()), "F_1");
    return S_OK;
  });
  VARIANT_BOOL done = VARIANT_FALSE;
  EXPECT_EQ(user_->PressItem(CComBSTR(u"F_1"), CComBSTR(u"2"), &done), S_OK);
  EXPECT_EQ(sink->log.back(), "100(F_1, after 17 3101 F_1...0.0, -1)");
  EXPECT_EQ(app_->GetForms()->Count(), 1);
}

TEST_F(FormObjects, ShowAndSelect) {
  const auto order = openOrder();
  const auto main = app_->GetForms()->Item(0);
  main->Select();
  EXPECT_EQ(order->GetSelected(), VARIANT_FALSE);
  order->PutVisible(VARIANT_FALSE);
  EXPECT_EQ(order->GetVisible(), VARIANT_FALSE);
  order->PutVisible(VARIANT_TRUE);
  EXPECT_EQ(order->GetSelected(), VARIANT_TRUE);
}

TEST_F(ControlObjects, HaveOnlyTheInterfaceOfTheirType) {
  const auto form = openOrder();
  const auto button = form->GetItems()->Item(u"1")->GetSpecific();
  EXPECT_NE(CComQIPtr<IButton>(button), nullptr);
  EXPECT_EQ(CComQIPtr<IEditText>(button), nullptr);
  EXPECT_EQ(form->GetItems()->Item(u"20")->GetType(), 127);
  EXPECT_EQ(utf8(form->GetItems()->Item(0)->GetUniqueID()), "1");
  EXPECT_EQ(form->GetItems()->Count(), 11);
  EXPECT_EQ(raisedBy([&] { form->GetItems()->Item(u"none"); }), kInvalidItem);
}

TEST_F(ControlObjects, HoldCaptionsAndTexts) {
  const auto form = openOrder();
  control<IButton>(form, u"1")->PutCaption(u"Choose");
  EXPECT_EQ(utf8(control<IButton>(form, u"1")->GetCaption()), "Choose");
  control<IStaticText>(form, u"L4")->PutCaption(u"Partner");
  EXPECT_EQ(utf8(control<IStaticText>(form, u"L4")->GetCaption()), "Partner");
  control<IEditText>(form, u"4")->PutString(u"C1");
  EXPECT_EQ(utf8(control<IEditText>(form, u"4")->GetString()), "C1");
}

TEST_F(ControlObjects, HideAndDisableItems) {
  const auto item = openOrder()->GetItems()->Item(u"4");
  item->PutVisible(VARIANT_FALSE);
  item->PutEnabled(VARIANT_FALSE);
  EXPECT_EQ(item->GetVisible(), VARIANT_FALSE);
  EXPECT_EQ(item->GetEnabled(), VARIANT_FALSE);
  EXPECT_EQ(raisedBy([&] { item->Click(0); }), kNotValidTarget);
  EXPECT_EQ(raisedBy([&] { item->Click(1); }), E_INVALIDARG);
}

TEST_F(ControlObjects, PressAButtonWhenItsItemIsClicked) {
  const auto form = openOrder();
  const auto sink = listen();
  EXPECT_EQ(form->GetItems()->Item(u"2")->Click(0), S_OK);
  ASSERT_GT(sink->log.size(), 2U);
  EXPECT_EQ(sink->log[2], "100(F_1, before 1 3101 F_1.2..0.0, -1)");
  EXPECT_EQ(raisedBy([&] { form->GetUniqueID(); }), kInvalidForm);
}

TEST_F(ControlObjects, ChooseInAComboBoxByKeyAndByIndex) {
  const auto combo = control<IComboBox>(openOrder(), u"7");
  const auto values = combo->GetValidValues();
  EXPECT_EQ(values->Add(u"Error", u"1"), S_OK);
  EXPECT_EQ(values->Count(), 3);
  combo->Select(u"1", 1);
  EXPECT_EQ(utf8(combo->GetSelected()->GetValue()), "Error");
  EXPECT_EQ(utf8(combo->GetSelected()->GetDescription()), "1");
  combo->Select(0, 2);
  EXPECT_EQ(utf8(combo->GetSelected()->GetDescription()), "O");
  combo->Select(1, 1);
  EXPECT_EQ(utf8(combo->GetSelected()->GetValue()), "Error");
  EXPECT_EQ(utf8(values->Item(u"C")->GetValue()), "Closed");
  EXPECT_EQ(raisedBy([&] { combo->Select(u"9", 1); }), kInvalidFieldValue);
  EXPECT_EQ(raisedBy([&] { combo->Select(3, 2); }), kInvalidFieldValue);
  EXPECT_EQ(raisedBy([&] { combo->Select(0, 3); }), E_INVALIDARG);
  values->Remove(u"1", 1);
  EXPECT_EQ(combo->GetSelected(), nullptr);
}

TEST_F(ControlObjects, FillAMatrixThroughItsDataSources) {
  app_->LoadBatchActions(
      uR"(<Application><forms><action type="add"><form uid="A">
      <datasources><userdatasources><action type="add"><datasource uid="U" type="9" size="5"/>
      </action></userdatasources></datasources><items><action type="add"><item uid="5" type="127">
      <specific SelectionMode="2"><columns><action type="add"><column uid="C0" type="16"/>
      <column uid="C1" type="16"><databind alias="U" databound="1"/></column></action></columns>
      </specific></item></action></items></form></action></forms></Application>)");
  const auto form = app_->GetForms()->Item(u"A");
  const auto source = form->GetDataSources()->GetUserDataSources()->Item(u"U");
  const auto matrix = control<IMatrix>(form, u"5");
  for (const char16_t* text : {u"one", u"two"}) {
    source->PutValue(text);
    matrix->AddRow(1, -1);
  }
  EXPECT_EQ(matrix->GetRowCount(), 2);
  const auto column = matrix->GetColumns()->Item(1);
  EXPECT_EQ(utf8(column->GetUniqueID()), "C1");
  EXPECT_EQ(column->GetType(), 16);
  const CComQIPtr<IEditText> cell(column->GetCells()->Item(2)->GetSpecific());
  EXPECT_EQ(utf8(cell->GetString()), "two");
  cell->PutString(u"2");
  EXPECT_EQ(utf8(cell->GetString()), "2");
  matrix->SelectRow(1, VARIANT_TRUE, VARIANT_TRUE);
  matrix->SelectRow(2, VARIANT_TRUE, VARIANT_TRUE);
  EXPECT_EQ(matrix->IsRowSelected(1), VARIANT_FALSE);
  EXPECT_EQ(matrix->IsRowSelected(2), VARIANT_TRUE);
  EXPECT_EQ(raisedBy([&] { column->GetCells()->Item(0); }), kIllegalOffset);
  EXPECT_EQ(raisedBy([&] { source->PutValue(u"too long"); }), kInvalidFieldValue);
  EXPECT_EQ(raisedBy([&] { matrix->GetColumns()->Item(u"C9"); }), kInvalidColumn);
  EXPECT_EQ(raisedBy([&] { form->GetDataSources()->GetUserDataSources()->Item(u"V"); }),
            kNotAUserDataSource);
  matrix->Clear();
  EXPECT_EQ(raisedBy([&] { cell->GetString(); }), kIllegalOffset);
}

TEST_F(ControlObjects, ClickIntoACell) {
  const auto matrix = control<IMatrix>(openOrder(), u"20");
  const auto sink = listen();
  EXPECT_EQ(matrix->GetColumns()->Item(u"2")->GetCells()->Item(1)->Click(0, 0), S_OK);
  EXPECT_EQ(sink->log, (Log{"100(F_1, before 6 3101 F_1.20.2.1.0, -1)",
                            "100(F_1, after 6 3101 F_1.20.2.1.0, -1)"}));
}

}  // namespace
}  // namespace qx::screens
