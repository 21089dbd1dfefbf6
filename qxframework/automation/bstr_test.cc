#include "qxframework/automation/bstr.h"

#include "qxframework/automation/com_error.h"
#include "testing/raised_by.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace {

using namespace std::string_view_literals;
using qx::test::raisedBy;

TEST(SysString, NullIsEmptyAndIsFreedWithoutHarm) {
  EXPECT_EQ(SysStringLen(nullptr), 0U);
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  SysFreeString(nullptr);
}

TEST(SysString, KeepsZerosAndItsLength) {
  const BSTR text = SysAllocStringLen(u"a\0b", 3);
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(SysStringLen(text), 3U);
  EXPECT_EQ(qx::viewOfBstr(text), u"a\0b"sv);
  EXPECT_EQ(text[3], u'\0');
  SysFreeString(text);
}

TEST(SysString, WithoutASourceIsFilledWithZeros) {
  const BSTR text = SysAllocStringLen(nullptr, 2);
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(qx::viewOfBstr(text), u"\0\0"sv);
  SysFreeString(text);
}

/// Returns a view that is longer than a string can be. Only its length may be read.
std::u16string_view tooLong(std::size_t length = qx::kLongestText + 1) {
  static const OLECHAR unit = u'x';
  return {&unit, length};
}

TEST(SysString, ReturnsNullForALengthBeyondTheLimit) {
  EXPECT_EQ(SysAllocStringLen(nullptr, 0x80000000), nullptr);
  EXPECT_EQ(SysAllocStringLen(u"", 0x80000000), nullptr);
  EXPECT_EQ(SysAllocStringLen(nullptr, 0xFFFFFFFF), nullptr);
}

TEST(SysString, ReturnsNullForATooLongTextInsteadOfCuttingIt) {
  EXPECT_EQ(qx::newText(tooLong()), nullptr);
  EXPECT_EQ(qx::newText(tooLong(0x100000001)), nullptr);
}

TEST(CComBSTR, ThrowsOutOfMemoryForATooLongText) {
  EXPECT_EQ(raisedBy([] { const CComBSTR text(tooLong(0x100000001)); }), E_OUTOFMEMORY);
}

TEST(CComBSTR, AppendingATooLongTextThrowsAndKeepsTheText) {
  CComBSTR text(u"kept");
  EXPECT_EQ(raisedBy([&] { text.Append(tooLong()); }), E_OUTOFMEMORY);
  EXPECT_EQ(raisedBy([&] { text.Append(tooLong(qx::kLongestText - 3)); }), E_OUTOFMEMORY);
  EXPECT_EQ(text.View(), u"kept");
  CComBSTR null;
  EXPECT_EQ(raisedBy([&] { null.Append(tooLong()); }), E_OUTOFMEMORY);
  EXPECT_EQ(null.m_str, nullptr);
}

TEST(SysString, NewBstrHasItsLengthAndATerminator) {
  for (const std::size_t length : {0U, 1U, 22U}) {
    const BSTR text = qx::newBstr(length);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(SysStringLen(text), length);
    EXPECT_EQ(text[length], u'\0');
    std::fill_n(text, length, u'x');
    EXPECT_EQ(qx::viewOfBstr(text), std::u16string(length, u'x'));
    SysFreeString(text);
  }
}

TEST(CComBSTR, IsNullForANullPointerButNotForAnEmptyText) {
  EXPECT_EQ(CComBSTR(static_cast<const OLECHAR*>(nullptr)).m_str, nullptr);
  const CComBSTR empty(u"");
  EXPECT_NE(empty.m_str, nullptr);
  EXPECT_TRUE(empty.IsEmpty());
}

TEST(CComBSTR, ThrowsForANegativeLength) {
  EXPECT_EQ(raisedBy([] { const CComBSTR text(-1, u"x"); }), E_INVALIDARG);
}

TEST(CComBSTR, ALengthOfZeroMakesANullString) { EXPECT_EQ(CComBSTR(0, u"x").m_str, nullptr); }

TEST(CComBSTR, WritesTheBraceFormOfAGuid) {
  const GUID guid{0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
  EXPECT_EQ(CComBSTR(guid).View(), u"{00020400-0000-0000-C000-000000000046}");
}

TEST(CComBSTR, CopiesAreIndependent) {
  CComBSTR first(u"one");
  const CComBSTR second(first);
  first.m_str[0] = u'O';
  EXPECT_EQ(second.View(), u"one");
  EXPECT_EQ(first.View(), u"One");
}

TEST(CComBSTR, AssigningItselfOrItsOwnTextKeepsTheText) {
  CComBSTR text(u"same");
  const CComBSTR& alias = text;
  text = alias;
  EXPECT_EQ(text.View(), u"same");
  text = static_cast<const OLECHAR*>(text.m_str);
  EXPECT_EQ(text.View(), u"same");
}

TEST(CComBSTR, AppendingItsOwnTextDoublesIt) {
  CComBSTR text(u"ab");
  text += text.View();
  EXPECT_EQ(text.View(), u"abab");
  for (int i = 0; i < 12; ++i) text.Append(text);
  EXPECT_EQ(text.Length(), 4U << 12);
  EXPECT_EQ(text.View().substr(text.Length() - 5), u"babab");
}

TEST(CComBSTR, AppendsAPartOfItself) {
  CComBSTR text(u"abcdef");
  for (int i = 0; i < 40; ++i) text.Append(text.View().substr(2, 3));
  std::u16string expected = u"abcdef";
  for (int i = 0; i < 40; ++i) expected += u"cde";
  EXPECT_EQ(text.View(), expected);
}

TEST(CComBSTR, AppendsZerosAndIgnoresNullStrings) {
  CComBSTR text;
  text.Append(static_cast<const OLECHAR*>(nullptr));
  EXPECT_EQ(text.View(), u"");
  EXPECT_NE(text.m_str, nullptr);
  text.Append(CComBSTR(u"a\0b"sv));
  text.Append(CComBSTR());
  text.Append(u"c");
  EXPECT_EQ(text.View(), u"a\0bc"sv);
  EXPECT_EQ(text.m_str[4], u'\0');
}

TEST(CComBSTR, ManyAppendsRarelyMoveTheText) {
  CComBSTR text;
  int moves = 0;
  for (int i = 0; i < 100000; ++i) {
    const BSTR before = text.m_str;
    text.Append(u"piece ");
    if (text.m_str != before) ++moves;
  }
  EXPECT_EQ(text.Length(), 600000U);
  EXPECT_LT(moves, 30);
}

TEST(CComBSTR, ItsCapacityPrecedesItsLengthAndIsUsedByAppends) {
  CComBSTR text(u"abc");
  const auto room = [&text] { return reinterpret_cast<const std::uint32_t*>(text.m_str)[-2]; };
  EXPECT_EQ(room(), 3U);
  text.Append(u"d");
  EXPECT_EQ(room(), 6U);
  const BSTR before = text.m_str;
  text.Append(u"ef");
  EXPECT_EQ(text.m_str, before);
  EXPECT_EQ(room(), 6U);
  EXPECT_EQ(CComBSTR(text).View(), u"abcdef");
  EXPECT_EQ(reinterpret_cast<const std::uint32_t*>(text.m_str)[-1], 12U);
}

TEST(CComBSTR, DetachesAnAppendedString) {
  CComBSTR text(u"a");
  text.Append(u"b");
  const BSTR given = text.Detach();
  EXPECT_EQ(qx::viewOfBstr(given), u"ab");
  SysFreeString(given);
}

TEST(CComBSTR, DetachAndAttachPassTheTextOn) {
  CComBSTR text(u"mine");
  const BSTR given = text.Detach();
  EXPECT_EQ(text.m_str, nullptr);
  CComBSTR taker(u"old");
  taker.Attach(given);
  EXPECT_EQ(taker.View(), u"mine");
}

TEST(CComBSTR, CopyOfNullIsNull) {
  EXPECT_EQ(CComBSTR().Copy(), nullptr);
  BSTR out = SysAllocString(u"x");
  SysFreeString(out);
  EXPECT_EQ(CComBSTR().CopyTo(&out), S_OK);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(CComBSTR().CopyTo(nullptr), E_POINTER);
}

TEST(CComBSTR, NullEqualsEmpty) {
  EXPECT_TRUE(CComBSTR() == CComBSTR(u""));
  EXPECT_TRUE(CComBSTR() == u"");
  EXPECT_TRUE(CComBSTR(u"") == static_cast<const OLECHAR*>(nullptr));
}

TEST(CComBSTR, ComparesByTheLocaleWithCase) {
  EXPECT_TRUE(CComBSTR(u"Code") == u"Code");
  EXPECT_TRUE(CComBSTR(u"Code") != u"code");
  EXPECT_TRUE(CComBSTR(u"a") < CComBSTR(u"B"));
  EXPECT_TRUE(CComBSTR(u"b") > CComBSTR(u"A"));
}

TEST(CComBSTR, OrdersTheKeysOfAMap) {
  std::map<CComBSTR, int> map;
  map[u"Name"] = 1;
  map[u"name"] = 2;
  map[u"Code"] = 3;
  EXPECT_EQ(map.size(), 3U);
  EXPECT_EQ(map[u"Name"], 1);
  EXPECT_EQ(map.begin()->second, 3);
}

TEST(CComBSTR, KeepsUnpairedSurrogates) {
  const std::u16string lone = {u'a', char16_t{0xD800}, u'b', char16_t{0xDC00}};
  EXPECT_EQ(CComBSTR(lone).View(), lone);
  EXPECT_TRUE(CComBSTR(lone) == CComBSTR(lone));
  EXPECT_TRUE(CComBSTR(lone) != CComBSTR(u"ab"));
}

TEST(BstrT, ACopyHasAllUnitsAndItsOwnText) {
  const _bstr_t text(u"a\0b"sv);
  const _bstr_t copy = text;
  EXPECT_EQ(copy.length(), 3U);
  EXPECT_EQ(copy.view(), u"a\0b"sv);
  EXPECT_NE(static_cast<BSTR>(copy), static_cast<BSTR>(text));
}

TEST(BstrT, ComparesTextsAndNotPointers) {
  const _bstr_t text(u"Code");
  EXPECT_TRUE(text == u"Code");
  EXPECT_TRUE(text == _bstr_t(u"Code"));
  EXPECT_TRUE(text == CComBSTR(u"Code"));
  EXPECT_TRUE(CComBSTR(u"code") != text);
  EXPECT_TRUE(text != u"code");
}

TEST(GiveText, StoresAnEmptyTextAsAStringAndNotAsNull) {
  BSTR out = nullptr;
  ASSERT_EQ(qx::giveText(u"", &out), S_OK);
  EXPECT_NE(out, nullptr);
  SysFreeString(out);
  EXPECT_EQ(qx::giveText(u"x", nullptr), E_POINTER);
}

TEST(GiveText, ReturnsOutOfMemoryForATooLongText) {
  BSTR out = nullptr;
  EXPECT_EQ(qx::giveText(tooLong(0x100000001), &out), E_OUTOFMEMORY);
  EXPECT_EQ(out, nullptr);
}

TEST(CComBSTR, PlusJoinsAllUnits) {
  const CComBSTR text(u"a\0b"sv);
  EXPECT_EQ((text + u"c").View(), u"a\0bc"sv);
  EXPECT_EQ((u"c" + text).View(), u"ca\0b"sv);
  EXPECT_EQ((text + text).View(), u"a\0ba\0b"sv);
  EXPECT_EQ((text + std::u16string(u"c")).View(), u"a\0bc"sv);
}

TEST(CComBSTR, PlusTakesNullAsEmptyAndIsNeverNull) {
  const CComBSTR null;
  EXPECT_EQ((null + u"c").View(), u"c");
  const CComBSTR none = null + static_cast<const OLECHAR*>(nullptr);
  EXPECT_NE(none.m_str, nullptr);
  EXPECT_EQ(none.Length(), 0U);
}

TEST(CComBSTR, IsMadeOfAndAssignedAnArgumentString) {
  const _bstr_t argument(u"text");
  CComBSTR text(argument);
  EXPECT_EQ(text.View(), u"text");
  text = _bstr_t(u"other");
  EXPECT_EQ(text.View(), u"other");
}

TEST(CComBSTR, PlusAssignsAnotherString) {
  CComBSTR text(u"a");
  text += CComBSTR(u"b");
  text += u"c";
  EXPECT_EQ(text.View(), u"abc");
}

}  // namespace
