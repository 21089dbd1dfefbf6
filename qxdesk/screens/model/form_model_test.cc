#include "qxdesk/screens/model/form_model.h"

#include "qxdesk/screens/model/test_support.h"

#include <gtest/gtest.h>

#include <limits>

namespace qx::screens {
namespace {

TEST(FormModel, UidsAreLimitedToTenUnits) {
  EXPECT_EQ(raisedBy([] { FormModel(u"1234567890", u"1", false); }), S_OK);
  EXPECT_EQ(raisedBy([] { FormModel(u"12345678901", u"1", false); }), kStringTooLong10);
  EXPECT_EQ(raisedBy([] { FormModel(u"", u"1", false); }), kFormSettingUid);
  FormModel form(u"A", u"1", false);
  ItemModel item;
  item.uid = u"12345678901";
  EXPECT_EQ(raisedBy([&] { form.addItem(std::move(item)); }), kStringTooLong10);
  EXPECT_EQ(raisedBy([&] { form.addItem(ItemModel()); }), kItemAttributes);
  EXPECT_EQ(raisedBy([&] { form.addSource(u"12345678901", 9, 1); }), kStringTooLong10);
}

TEST(FormModel, ItemUidMustBeUnique) {
  const auto form = makeAddOnForm(u"A");
  ItemModel item;
  item.uid = u"5";
  EXPECT_EQ(raisedBy([&] { form->addItem(std::move(item)); }), kItemAlreadyExists);
  EXPECT_EQ(raisedBy([&] { form->removeItem(u"5"); }), S_OK);
  EXPECT_EQ(raisedBy([&] { form->removeItem(u"5"); }), kInvalidItem);
  EXPECT_EQ(raisedBy([&] { form->item(u"5"); }), kInvalidItem);
}

TEST(FormModel, FindsTheItemsThatItHoldsNow) {
  FormModel form(u"A", u"1", false);
  const auto add = [&form](std::u16string uid) {
    ItemModel item;
    item.uid = std::move(uid);
    return &form.addItem(std::move(item));
  };
  ItemModel* const shortUid = add(u"1");
  ItemModel* const longUid = add(u"1234567890");
  EXPECT_EQ(form.findItem(u"1").get(), shortUid);
  EXPECT_EQ(form.findItem(u"1234567890").get(), longUid);
  EXPECT_EQ(form.findItem(u"123456789"), nullptr);
  EXPECT_EQ(form.findItem(u""), nullptr);
  form.removeItem(u"1");
  EXPECT_EQ(form.findItem(u"1"), nullptr);
  EXPECT_EQ(form.findItem(u"1234567890").get(), longUid);
  // The new item is at the end and has the UID of the one that is gone.
  ItemModel* const again = add(u"1");
  EXPECT_EQ(form.findItem(u"1").get(), again);
  ASSERT_EQ(form.items().size(), 2U);
  EXPECT_EQ(form.items().back().get(), again);
}

TEST(FormModel, RemovedItemLosesDefaultAndFocus) {
  const auto form = makeAddOnForm(u"A");
  form->focus = kOkButton;
  form->removeItem(kOkButton);
  EXPECT_EQ(form->defaultItem(), u"");
  EXPECT_EQ(form->focus, u"");
}

TEST(FormModel, BoundControlSharesTheValueOfItsSource) {
  FormModel form(u"A", u"1", false);
  form.addSource(u"UD", 9, 5);
  ItemModel item;
  item.uid = u"1";
  item.type = kEditText;
  item.text.bind(form.findSource(u"UD"));
  ItemModel& edit = form.addItem(std::move(item));
  edit.text.set(u"abc");
  EXPECT_EQ(form.findSource(u"UD")->value(), u"abc");
  EXPECT_EQ(raisedBy([&] { edit.text.set(u"abcdef"); }), kInvalidFieldValue);
  EXPECT_EQ(edit.text.get(), u"abc");
}

TEST(FormModel, CountsFreezes) {
  FormModel form(u"A", u"1", false);
  form.freeze(false);
  form.freeze(true);
  form.freeze(true);
  form.freeze(false);
  EXPECT_EQ(form.freezeCount(), 1);
}

TEST(FormModel, RefusesInvalidModesDefaultItemsAndSizes) {
  FormModel form(u"A", u"1", false);
  EXPECT_EQ(raisedBy([&] { form.setMode(4); }), kFormSettingMode);
  EXPECT_EQ(raisedBy([&] { form.setMode(-1); }), kFormSettingMode);
  EXPECT_EQ(raisedBy([&] { form.setDefaultItem(u"none"); }), kFormSettingDefaultButton);
  EXPECT_EQ(raisedBy([&] { form.setWidth(-1); }), kFormSettingRect);
  EXPECT_EQ(raisedBy([&] { form.setHeight(-1); }), kFormSettingRect);
}

TEST(FormModel, RefusesSizesBeyond32Bits) {
  FormModel form(u"A", u"1", false);
  for (const long size : {0x8000'0000L, std::numeric_limits<long>::max()}) {
    EXPECT_EQ(raisedBy([&] { form.setHeight(size); }), kFormSettingRect);
    EXPECT_EQ(raisedBy([&] { form.setWidth(size); }), kFormSettingRect);
    EXPECT_EQ(raisedBy([&] { form.setClientHeight(size); }), kFormSettingRect);
    EXPECT_EQ(raisedBy([&] { form.setClientWidth(size); }), kFormSettingRect);
  }
  EXPECT_EQ(raisedBy([&] { form.setClientHeight(0x7FFF'FFFF); }), kFormSettingRect)
      << "the frame comes on top";
  form.setClientHeight(0);
  EXPECT_EQ(form.rect.height, kFrameHeight);
}

ItemModel itemOf(const char16_t* uid, long type) {
  ItemModel item;
  item.uid = uid;
  item.type = type;
  return item;
}

TEST(FormModel, TabKeyGoesThroughTheUsableItemsInTheirOrder) {
  FormModel form(u"A", u"1", false);
  EXPECT_EQ(form.nextFocus(u""), u"") << "nothing takes the focus";
  form.addItem(itemOf(u"label", kStaticText));
  form.addItem(itemOf(u"edit", kEditText));
  form.addItem(itemOf(u"hidden", kEditText)).visible = false;
  form.addItem(itemOf(u"disabled", kButton)).enabled = false;
  ItemModel& onPane = form.addItem(itemOf(u"pane", kButton));
  onPane.fromPane = onPane.toPane = 2;
  form.addItem(itemOf(u"combo", kComboBox));
  form.addItem(itemOf(u"matrix", kMatrix));
  form.addItem(itemOf(u"button", kButton));
  std::vector<std::u16string> order;
  for (const auto& item : form.tabOrder()) order.push_back(item->uid);
  EXPECT_EQ(order, (std::vector<std::u16string>{u"edit", u"combo", u"matrix", u"button"}));
  EXPECT_EQ(form.nextFocus(u"edit"), u"combo");
  EXPECT_EQ(form.nextFocus(u"button"), u"edit") << "the last is followed by the first";
  EXPECT_EQ(form.nextFocus(u"hidden"), u"combo");
  EXPECT_EQ(form.nextFocus(u"none"), u"edit");
  form.pane = 2;
  EXPECT_EQ(form.nextFocus(u"edit"), u"pane");
}

TEST(FormModel, TabKeyWithShiftGoesTheSameWayBack) {
  FormModel form(u"A", u"1", false);
  EXPECT_EQ(form.previousFocus(u""), u"") << "nothing takes the focus";
  form.addItem(itemOf(u"label", kStaticText));
  form.addItem(itemOf(u"edit", kEditText));
  form.addItem(itemOf(u"disabled", kButton)).enabled = false;
  form.addItem(itemOf(u"combo", kComboBox));
  form.addItem(itemOf(u"hidden", kEditText)).visible = false;
  form.addItem(itemOf(u"button", kButton));
  EXPECT_EQ(form.previousFocus(u"button"), u"combo");
  EXPECT_EQ(form.previousFocus(u"combo"), u"edit");
  EXPECT_EQ(form.previousFocus(u"edit"), u"button") << "the first is preceded by the last";
  EXPECT_EQ(form.previousFocus(u"hidden"), u"combo");
  EXPECT_EQ(form.previousFocus(u"none"), u"button");
}

TEST(FormModel, ItemIsOnThePanesOfItsRange) {
  ItemModel item;
  EXPECT_TRUE(item.isOnPane(0) && item.isOnPane(7)) << "0 to 0 is every pane";
  item.fromPane = 2;
  item.toPane = 3;
  EXPECT_FALSE(item.isOnPane(1));
  EXPECT_TRUE(item.isOnPane(2) && item.isOnPane(3));
  EXPECT_FALSE(item.isOnPane(4));
}

}  // namespace
}  // namespace qx::screens
