#include "qxdesk/engines/row_store.h"

#include "qxdesk/company/decimal_text.h"
#include "qxframework/automation/ole_date_time.h"
#include "qxframework/automation/text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace qx::desk {
namespace {

using sql::ColumnType;

RowStore oneCell(ColumnType type) { return RowStore({{u"c", type}}); }

TEST(RowStore, AColumnOfUnknownTypeGivesValuesAsTheyAreStored) {
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

TEST(RowStore, ATextColumnGivesTextForNumbers) {
  RowStore rows = oneCell(ColumnType::Text);
  rows.appendInteger(-7);
  rows.appendReal(12.5);
  EXPECT_EQ(viewOfBstr(rows.value(0, 0).bstrVal), u"-7");
  EXPECT_EQ(viewOfBstr(rows.value(1, 0).bstrVal), u"12.5");
}

TEST(RowStore, TextInANumberColumnIsReadOrLeft) {
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

TEST(RowStore, TextThatIsNoDateStaysText) {
  RowStore rows = oneCell(ColumnType::Date);
  rows.appendText("2024-02-29 10:00:00");
  rows.appendText("2024-02-30 10:00:00");
  EXPECT_EQ(rows.value(0, 0).vt, VT_DATE);
  EXPECT_EQ(rows.value(1, 0).vt, VT_BSTR);
}

TEST(RowStore, KeepsTextsOfAnyLengthWhileRowsAreAppendedAndWhenItMoves) {
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
}

TEST(StoredDate, ReadsOnlyItsOwnForms) {
  EXPECT_EQ(dateOfStored("2024-01-31"), dateFromCivil({2024, 1, 31}));
  EXPECT_EQ(dateOfStored("2024-01-31 23:59:58"), dateFromCivil({2024, 1, 31, 23, 59, 58}));
  for (const char* text :
       {"", "2024-01-3", "2024/01/31", "2024-01-31T10:00:00", "2024-13-01", "2024-01-31 24:00:00",
        "-024-01-31", "2024-01-31 10:00:0x", "2024- 1-31"}) {
    EXPECT_FALSE(dateOfStored(text)) << text;
  }
}

TEST(StoredDate, ComesBackForEverySecond) {
  std::mt19937 random(11);
  for (int i = 0; i < 2000; ++i) {
    const CivilTime time{
        static_cast<int>(100 + random() % 9900), static_cast<int>(1 + random() % 12),
        static_cast<int>(1 + random() % 28),     static_cast<int>(random() % 24),
        static_cast<int>(random() % 60),         static_cast<int>(random() % 60)};
    const auto stored = storedOfDate(*dateFromCivil(time));
    ASSERT_TRUE(stored);
    EXPECT_EQ(dateOfStored(*stored), dateFromCivil(time));
  }
}

std::string text(double value, int places) {
  const auto decimal = roundedDecimal(value, places);
  if (!decimal) return "none";
  return (decimal->negative ? "-" : "") + decimal->whole + "." + decimal->fraction;
}

TEST(DecimalText, RoundsTheShortestDecimalForm) {
  EXPECT_EQ(text(1.005, 2), "1.01");
  EXPECT_EQ(text(1.004999, 2), "1.00");
  EXPECT_EQ(text(0.5, 0), "1.");
  EXPECT_EQ(text(-0.5, 0), "-1.");
  EXPECT_EQ(text(-0.4, 0), "0.");
  EXPECT_EQ(text(9.999, 2), "10.00");
  EXPECT_EQ(text(99.95, 1), "100.0");
  EXPECT_EQ(text(0.0004, 3), "0.000");
  EXPECT_EQ(text(0.0005, 3), "0.001");
  EXPECT_EQ(text(1e21, 2), "1000000000000000000000.00");
  EXPECT_EQ(text(1.5e-7, 7), "0.0000002");
  EXPECT_EQ(text(0.0, 2), "0.00");
  EXPECT_EQ(text(-0.0, 2), "0.00");
  EXPECT_EQ(text(std::numeric_limits<double>::quiet_NaN(), 2), "none");
  EXPECT_EQ(text(-std::numeric_limits<double>::infinity(), 2), "none");
}

TEST(DecimalText, ANumberWithFewerPlacesStaysItself) {
  std::mt19937 random(5);
  for (int i = 0; i < 5000; ++i) {
    const double value = static_cast<double>(static_cast<int>(random() % 2000001) - 1000000) / 100;
    const auto decimal = roundedDecimal(value, 2);
    ASSERT_TRUE(decimal);
    EXPECT_EQ(doubleOf(*decimal), value);
  }
}

}  // namespace
}  // namespace qx::desk
