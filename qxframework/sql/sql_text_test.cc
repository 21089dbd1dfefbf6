#include "qxframework/sql/sql_text.h"

#include "qxframework/query/testing/query_parts.h"

#include <cmath>

namespace {

using namespace qx::test;
using namespace std::literals;

TEST(SqlLiteral, DoublesQuotes) {
  EXPECT_EQ(utf8(qx::sqlLiteral(u"O'Brien", true)), "N'O''Brien'");
  EXPECT_EQ(utf8(qx::sqlLiteral(u"'", true)), "N''''");
  EXPECT_EQ(utf8(qx::sqlLiteral(u"''a'", true)), "N'''''a'''");
}

TEST(SqlLiteral, TreatsTheDeleteCharacterAsAQuote) {
  EXPECT_EQ(utf8(qx::sqlLiteral(u"a\x7Fz", true)), "N'a''z'");
  EXPECT_EQ(utf8(qx::sqlLiteral(u"\x7F'\x7F", true)), "N''''''''");
}

TEST(SqlLiteral, HasThePrefixOnlyIfNational) {
  EXPECT_EQ(utf8(qx::sqlLiteral(u"a'b", false)), "'a''b'");
  EXPECT_EQ(utf8(qx::sqlLiteral(u"", false)), "''");
}

TEST(SqlLiteral, OfAnEmptyTextIsEmpty) { EXPECT_EQ(utf8(qx::sqlLiteral(u"", true)), "N''"); }

TEST(SqlLiteral, KeepsEveryOtherUnit) {
  const std::u16string text = u"a\r\n\t\\%\"\u00E9\U0001F600"s + u'\0' + u"b\xD800z\xDC00";
  EXPECT_EQ(qx::sqlLiteral(text, true).View(), u"N'" + text + u"'");
}

TEST(SqlLiteral, OfAMillionQuotesIsTwoMillionQuotes) {
  const std::u16string text(1'000'000, u'\'');
  EXPECT_EQ(qx::sqlLiteral(text, true).View(), u"N'" + text + text + u"'");
}

// Doubles quotes in two passes: each quote becomes 0x7F, then each 0x7F two quotes.
std::u16string byTwoPasses(std::u16string text) {
  for (OLECHAR& unit : text)
    if (unit == u'\'') unit = 0x7F;
  std::u16string doubled;
  for (const OLECHAR unit : text) doubled += unit == 0x7F ? u"''"s : std::u16string(1, unit);
  return u"N'" + doubled + u"'";
}

TEST(SqlLiteral, EqualsTheResultOfTwoPasses) {
  constexpr std::u16string_view kUnits =
      u"'\x7F"
      u"aB \n\"\xD83D\xDE00";
  unsigned state = 20240131;
  for (unsigned round = 0; round < 5000; ++round) {
    std::u16string text;
    for (unsigned length = round % 17; text.size() < length;) {
      state = state * 1103515245 + 12345;
      text += kUnits[(state >> 16) % kUnits.size()];
    }
    ASSERT_EQ(qx::sqlLiteral(text, true).View(), byTwoPasses(text));
  }
}

TEST(Joined, AppendsThePiecesToEachOther) {
  EXPECT_EQ(qx::joined({u"a", u"", u"b\0c"sv}).View(), u"ab\0c"sv);
  const CComBSTR nothing = qx::joined({});
  ASSERT_NE(nothing.m_str, nullptr);
  EXPECT_TRUE(nothing.IsEmpty());
}

TEST(TextOf, ATextIsUnchangedWithItsZeros) {
  EXPECT_EQ(qx::textOf(CComVariant(u"a\0b"sv)).View(), u"a\0b"sv);
  EXPECT_EQ(qx::neutralTextOf(CComVariant(u"a\0b"sv)).View(), u"a\0b"sv);
}

TEST(TextOf, ANeutralNumberHasAPoint) {
  EXPECT_EQ(qx::neutralTextOf(CComVariant(-0.25)).View(), u"-0.25");
  EXPECT_EQ(qx::neutralTextOf(CComVariant(7)).View(), u"7");
}

TEST(TextOf, RefusesAValueWithoutATextForm) {
  CComVariant null;
  null.vt = VT_NULL;
  EXPECT_EQ(refusalOf([&] { qx::textOf(null); }), "-1: A value of type 1 has no text form");
  EXPECT_EQ(refusalOf([&] { qx::neutralTextOf(null); }), "-1: A value of type 1 has no text form");
  for (const double number : {std::nan(""), HUGE_VAL, -HUGE_VAL})
    EXPECT_EQ(refusalOf([&] { qx::neutralTextOf(CComVariant(number)); }),
              "-1: A value of type 5 has no text form");
  EXPECT_EQ(refusalOf([&] { qx::textOf(CComVariant(static_cast<IUnknown*>(nullptr))); }),
            "-1: A value of type 13 has no text form");
}

TEST(TextVariant, OwnsTheText) {
  const CComVariant value = qx::textVariant(CComBSTR(u"x"));
  EXPECT_EQ(value.vt, VT_BSTR);
  EXPECT_EQ(utf8(value), "x");
}

}  // namespace
