#include "qxdesk/screens/model/form_model.h"

#include "qxdesk/screens/model/test_support.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace qx::screens
