#include "qxdesk/engines/row_store.h"

#include "qxframework/automation/text.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

namespace qx::desk {
namespace {

using sql::ColumnType;

RowStore oneCell(ColumnType type) { return RowStore({{u"c", type}}); }

TEST(RowStore, AColumnOfUnknownTypeReturnsValuesAsStored) {
  RowStore rows = oneCell(ColumnType::Unknown);
  rows.appendInteger(7);
  rows.appendReal(1.5);
  rows.appendText("x");
  rows.appendNull();
  rows.appendInteger(std::int64_t{1} << 40);
  EXPECT_EQ(rows.value(0, 0).vt, VT_I4);
  EXPECT_EQ(rows.value(1, 0).vt, VT_R8);
  EXPECT_EQ(rows.value(2, 0).vt, VT_BSTR);
  EXPECT_EQ(rows.value(3, 0).vt, VT_BSTR);
  EXPECT_EQ(rows.value(4, 0).dblVal, 1099511627776.0);
}

TEST(RowStore, ATextColumnReturnsNumbersAsText) {
  RowStore rows = oneCell(ColumnType::Text);
  rows.appendInteger(-7);
  rows.appendReal(12.5);
  EXPECT_EQ(viewOfBstr(rows.value(0, 0).bstrVal), u"-7");
  EXPECT_EQ(viewOfBstr(rows.value(1, 0).bstrVal), u"12.5");
}

TEST(RowStore, TextInANumberColumnIsReadAsANumberIfItIsOne) {
  RowStore rows = oneCell(ColumnType::Integer);
  rows.appendText("42");
  rows.appendText("4.5");
  rows.appendText("99999999999");
  rows.appendText("many");
  EXPECT_EQ(rows.value(0, 0).lVal, 42);
  EXPECT_EQ(rows.value(1, 0).dblVal, 4.5);
  EXPECT_EQ(rows.value(2, 0).dblVal, 99999999999.0);
  EXPECT_EQ(viewOfBstr(rows.value(3, 0).bstrVal), u"many");
}

TEST(RowStore, TextThatIsNotADateStaysText) {
  RowStore rows = oneCell(ColumnType::Date);
  rows.appendText("2024-02-29 10:00:00");
  rows.appendText("2024-02-30 10:00:00");
  EXPECT_EQ(rows.value(0, 0).vt, VT_DATE);
  EXPECT_EQ(rows.value(1, 0).vt, VT_BSTR);
}

TEST(RowStore, KeepsTextsOfAnyLengthWhileItGrowsAndMoves) {
  RowStore filled = oneCell(ColumnType::Text);
  std::mt19937 random(3);
  std::vector<std::string> texts = {"", std::string(200'000, 'x'), "\xC3\xA4\xE2\x82\xAC",
                                    std::string(65'536, 'y'), ""};
  for (int i = 0; i < 5000; ++i)
    texts.emplace_back(random() % 100, static_cast<char>('a' + random() % 26));
  for (const std::string& text : texts) filled.appendText(text);
  const RowStore rows = std::move(filled);
  ASSERT_EQ(rows.rowCount(), texts.size());
  for (std::size_t i = 0; i < texts.size(); ++i)
    ASSERT_EQ(viewOfBstr(rows.value(i, 0).bstrVal), toUtf16(texts[i])) << i;
}

TEST(RowStore, NamesAreFoundInAnyCase) {
  const RowStore rows({{u"Code", ColumnType::Text}, {u"ÄÖ", ColumnType::Text}});
  EXPECT_EQ(rows.find(u"CODE"), 0U);
  EXPECT_EQ(rows.find(u"äö"), 1U);
  EXPECT_EQ(rows.find(u"Name"), 2U);
  EXPECT_EQ(rows.find({}), 2U) << "a null text";
}

}  // namespace
}  // namespace qx::desk
