#include "qxframework/logging/result_names.h"
#include "qxframework/runtime/addon_fixture.h"
#include "qxframework/runtime/addon_form.h"
#include "qxframework/runtime/framework_host_fixture.h"
#include "testing/fake_controls.h"
#include "testing/raised_by.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ItemForm final : public TestForm {
 public:
  using CQXAddOnForm::GetFormItem;
  using CQXAddOnForm::GetFormItemSpecific;
  using CQXAddOnForm::GetSelectedInComboBox;
  using TestForm::TestForm;
};

class FormItemsTest : public testing::Test {
 protected:
  FormItemsTest() {
    FakeForm& hostForm = host.addForm(u"F1");
    items = makeObject<FakeItems>(host);
    hostForm.items = items.p;
    form = std::make_unique<ItemForm>(host, &addOn, &hostForm);
    log.records.clear();
  }

  RecordingLogger log;
  FrameworkHost host;
  TestAddOn addOn{host};
  CComPtr<FakeItems> items;
  std::unique_ptr<ItemForm> form;
};

TEST_F(FormItemsTest, GetFormItemFindsByUidAndByNumber) {
  items->add(u"12", 16);
  EXPECT_NE(form->GetFormItem(CComBSTR(u"12")), nullptr);
  EXPECT_EQ(form->GetFormItem(12L), form->GetFormItem(CComBSTR(u"12")));
}

TEST_F(FormItemsTest, GetFormItemLogsAndThrowsForAMissingItem) {
  EXPECT_EQ(raisedBy([this] { form->GetFormItem(CComBSTR(u"nix")); }), -7001);
  EXPECT_THAT(messagesOf(log, u"CQXAddOnForm::GetFormItem"),
              ElementsAre("Cannot find item [nix].\n"));
  EXPECT_TRUE(log.has(6, u"Leaving function [UI_API_ERR_INVALID_ITEM]\n"));
}

TEST_F(FormItemsTest, GetFormItemSpecificReturnsNullForAnotherKind) {
  items->add(u"113", 113, makeObject<FakeComboBox>(true).p);
  EXPECT_NE(form->GetFormItemSpecific<IComboBox>(113L), nullptr);
  EXPECT_NE(form->GetFormItemSpecific<IComboBox>(CComBSTR(u"113")), nullptr);
  EXPECT_EQ(form->GetFormItemSpecific<IMatrix>(113L), nullptr);
  EXPECT_TRUE(log.messagesOf(u"CQXAddOnForm::GetFormItemSpecific").empty());
  EXPECT_EQ(log.records.front().function, u"CQXAddOnForm::GetFormItemSpecific");
}

TEST_F(FormItemsTest, SetItemFocusClicksEditsAndButtons) {
  items->add(u"1", 4);
  items->add(u"ED", 16);
  form->SetItemFocus(1);
  form->SetItemFocus(CComBSTR(u"ED"));
  EXPECT_THAT(host.calls, ElementsAre("item 1.Click(0)", "item ED.Click(0)"));
}

TEST_F(FormItemsTest, SetItemFocusDoesNotClickOtherItems) {
  items->add(u"8", 8);
  items->add(u"9", 127);
  form->SetItemFocus(8);
  form->SetItemFocus(9);
  EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(FormItemsTest, SetItemFocusClicksACellOfThreeKindsOfColumns) {
  for (const long type : {4L, 16L, 116L}) {
    items->add(u"20", 127, makeObject<FakeMatrix>(host, u"3", type).p);
    host.calls.clear();
    form->SetItemFocus(20, 3, 5);
    EXPECT_THAT(host.calls, ElementsAre("cell 5.Click(0, 0)")) << type;
  }
  items->add(u"20", 127, makeObject<FakeMatrix>(host, u"3", 113).p);
  host.calls.clear();
  form->SetItemFocus(20, 3, 5);
  EXPECT_THAT(host.calls, IsEmpty());
}

TEST_F(FormItemsTest, GetSelectedInComboBoxReturnsTheValueOrAnEmptyText) {
  items->add(u"113", 113, makeObject<FakeComboBox>(true).p);
  items->add(u"114", 113, makeObject<FakeComboBox>(false).p);
  EXPECT_EQ(form->GetSelectedInComboBox(113).View(), u"KEY");
  EXPECT_EQ(form->GetSelectedInComboBox(114).View(), u"");
  EXPECT_EQ(
      form->GetSelectedInComboBox(CComPtr<IComboBox>(makeObject<FakeComboBox>(true).p)).View(),
      u"KEY");
}

TEST_F(FormItemsTest, GetSelectedInComboBoxLogsAFailureAndReturnsAnEmptyText) {
  items->add(u"115", 113, makeObject<FakeComboBox>(true, E_ACCESSDENIED).p);
  items->add(u"116", 16);
  EXPECT_EQ(form->GetSelectedInComboBox(115).View(), u"");
  EXPECT_EQ(form->GetSelectedInComboBox(116).View(), u"");
  EXPECT_EQ(form->GetSelectedInComboBox(117).View(), u"");
  EXPECT_EQ(form->GetSelectedInComboBox(CComPtr<IComboBox>()).View(), u"");
  const std::string head = "Ignoring exception while getting selected in combo box : ";
  EXPECT_THAT(messagesOf(log, u"CQXAddOnForm::GetSelectedInComboBox"),
              ElementsAre(head + toUtf8(errorText(E_ACCESSDENIED)) + "\n",
                          head + toUtf8(errorText(E_POINTER)) + "\n", head + "Invalid item\n",
                          head + toUtf8(errorText(E_POINTER)) + "\n"));
}

}  // namespace
}  // namespace qx::test
