#include "qxdesk/screens/model/form_model.h"

#include "qxdesk/screens/model/test_support.h"

#include <gtest/gtest.h>

namespace qx::screens {
namespace {

TEST(FormModel, HoldsUidsToTenUnits) {
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

TEST(FormModel, TakesAnItemUidOnce) {
  const auto form = makeAddOnForm(u"A");
  ItemModel item;
  item.uid = u"5";
  EXPECT_EQ(raisedBy([&] { form->addItem(std::move(item)); }), kItemAlreadyExists);
  EXPECT_EQ(raisedBy([&] { form->removeItem(u"5"); }), S_OK);
  EXPECT_EQ(raisedBy([&] { form->removeItem(u"5"); }), kInvalidItem);
  EXPECT_EQ(raisedBy([&] { form->item(u"5"); }), kInvalidItem);
}

TEST(FormModel, ForgetsTheDefaultAndTheFocusOfARemovedItem) {
  const auto form = makeAddOnForm(u"A");
  form->focus = kOkButton;
  form->removeItem(kOkButton);
  EXPECT_EQ(form->defaultItem(), u"");
  EXPECT_EQ(form->focus, u"");
}

TEST(FormModel, SharesTheValueOfASourceWithTheControlsBoundToIt) {
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

TEST(FormModel, RefusesModesDefaultsAndSizesThatDoNotExist) {
  FormModel form(u"A", u"1", false);
  EXPECT_EQ(raisedBy([&] { form.setMode(4); }), kFormSettingMode);
  EXPECT_EQ(raisedBy([&] { form.setMode(-1); }), kFormSettingMode);
  EXPECT_EQ(raisedBy([&] { form.setDefaultItem(u"none"); }), kFormSettingDefaultButton);
  EXPECT_EQ(raisedBy([&] { form.setWidth(-1); }), kFormSettingRect);
  EXPECT_EQ(raisedBy([&] { form.setHeight(-1); }), kFormSettingRect);
}

TEST(ComboModel, SelectsByKeyBeforeShownText) {
  ComboModel combo;
  combo.add(u"2", u"1");
  combo.add(u"Two", u"2");
  combo.select(*combo.find(u"2"));
  EXPECT_EQ(combo.selected(), 1U);
  combo.select(*combo.find(u"Two"));
  EXPECT_EQ(combo.selected(), 1U);
  EXPECT_EQ(combo.find(u"3"), std::nullopt);
  EXPECT_EQ(raisedBy([&] { combo.select(2); }), kInvalidFieldValue);
}

TEST(ComboModel, FollowsItsSelectionWhenEntriesGo) {
  ComboModel combo;
  for (const char16_t* key : {u"a", u"b", u"c"}) combo.add(key, key);
  combo.select(1);
  combo.remove(0);
  EXPECT_EQ(combo.selected(), 0U);
  combo.remove(0);
  EXPECT_EQ(combo.selected(), std::nullopt);
}

TEST(ComboModel, ShowsTheEntryWhoseKeyStandsInTheSource) {
  ComboModel combo;
  const auto source = std::make_shared<UserDataSource>(u"UD", 9, 10);
  combo.key().bind(source);
  combo.add(u"Error", u"1");
  combo.add(u"Warning", u"2");
  source->setValue(u"2");
  EXPECT_EQ(combo.selected(), 1U);
  combo.select(0);
  EXPECT_EQ(source->value(), u"1");
  source->setValue(u"7");
  EXPECT_EQ(combo.selected(), std::nullopt);
}

class Matrix : public testing::Test {
 protected:
  Matrix() {
    MatrixColumn bound;
    bound.uid = u"A";
    bound.source = source_;
    matrix_.addColumn(bound);
    MatrixColumn free;
    free.uid = u"B";
    matrix_.addColumn(free);
  }
  std::u16string cells(long column) {
    std::u16string out;
    for (long row = 1; row <= matrix_.rowCount(); ++row) {
      out += matrix_.cell(row, *matrix_.columns()[static_cast<std::size_t>(column)]) + u"|";
    }
    return out;
  }

  std::shared_ptr<UserDataSource> source_ = std::make_shared<UserDataSource>(u"UD", 9, 10);
  MatrixModel matrix_;
};

TEST_F(Matrix, CopiesTheSourcesIntoANewRow) {
  source_->setValue(u"one");
  matrix_.addRows(1, -1);
  source_->setValue(u"two");
  matrix_.addRows(2, 0);
  EXPECT_EQ(cells(0), u"two|two|one|");
  EXPECT_EQ(cells(1), u"|||");
}

TEST_F(Matrix, RefusesPlacesOutside) {
  EXPECT_EQ(raisedBy([&] { matrix_.addRows(1, 1); }), kIllegalOffset);
  EXPECT_EQ(raisedBy([&] { matrix_.addRows(-1, 0); }), kIllegalOffset);
  EXPECT_EQ(raisedBy([&] { matrix_.addRows(2'000'000'000, -1); }), kIllegalOffset);
  EXPECT_EQ(raisedBy([&] { matrix_.selectRow(0, true, true); }), kIllegalOffset);
  EXPECT_EQ(raisedBy([&] { matrix_.cell(1, *matrix_.columns()[0]); }), kIllegalOffset);
  MatrixColumn other;
  matrix_.addRows(1, -1);
  EXPECT_EQ(raisedBy([&] { matrix_.cell(1, other); }), kInvalidColumn);
  other.uid = u"A";
  EXPECT_EQ(raisedBy([&] { matrix_.addColumn(other); }), kColumnAlreadyExists);
}

TEST_F(Matrix, SelectsOneRowOrSeveral) {
  matrix_.addRows(3, -1);
  matrix_.selectRow(1, true, true);
  matrix_.selectRow(2, true, true);
  EXPECT_TRUE(matrix_.isRowSelected(1));
  matrix_.selectRow(3, true, false);
  EXPECT_FALSE(matrix_.isRowSelected(1));
  matrix_.selectionMode = kSelectOne;
  matrix_.selectRow(1, true, true);
  EXPECT_FALSE(matrix_.isRowSelected(3));
  EXPECT_TRUE(matrix_.isRowSelected(1));
}

}  // namespace
}  // namespace qx::screens
