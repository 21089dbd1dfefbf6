#include "qxdesk/screens/model/combo_model.h"

#include "qxdesk/screens/model/test_support.h"

#include <gtest/gtest.h>

namespace qx::screens {
namespace {

TEST(ComboModel, KeyIsFoundBeforeShownText) {
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

TEST(ComboModel, SelectionFollowsItsEntryWhenOthersAreRemoved) {
  ComboModel combo;
  for (const char16_t* key : {u"a", u"b", u"c"}) combo.add(key, key);
  combo.select(1);
  combo.remove(0);
  EXPECT_EQ(combo.selected(), 0U);
  combo.remove(0);
  EXPECT_EQ(combo.selected(), std::nullopt);
}

TEST(ComboModel, SelectedEntryIsTheOneWhoseKeyIsInTheSource) {
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

}  // namespace
}  // namespace qx::screens
