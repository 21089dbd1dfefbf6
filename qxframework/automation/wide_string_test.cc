#include "qxframework/automation/wide_string.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/variant.h"

#include <gtest/gtest.h>

namespace {

TEST(CString, IsEmptyForANullPointer) {
  const CString text(static_cast<const OLECHAR*>(nullptr));
  EXPECT_TRUE(text.IsEmpty());
  EXPECT_EQ(text.GetString()[0], u'\0');
}

TEST(CString, PartsAreLimitedToTheString) {
  const CString text(u"abcdef");
  EXPECT_EQ(text.Left(2), u"ab");
  EXPECT_EQ(text.Left(9), u"abcdef");
  EXPECT_EQ(text.Left(-1), u"");
  EXPECT_EQ(text.Right(2), u"ef");
  EXPECT_EQ(text.Right(9), u"abcdef");
  EXPECT_EQ(text.Right(-1), u"");
  EXPECT_EQ(text.Mid(4), u"ef");
  EXPECT_EQ(text.Mid(9), u"");
  EXPECT_EQ(text.Mid(1, 3), u"bcd");
  EXPECT_EQ(text.Mid(-1, 3), u"abc");
  EXPECT_EQ(text.Mid(4, 9), u"ef");
  EXPECT_EQ(text.Mid(1, -1), u"");
}

TEST(CString, FindReturnsThePositionOrMinusOne) {
  const CString text(u"a.b.c");
  EXPECT_EQ(text.Find(u"."), 1);
  EXPECT_EQ(text.Find(u'.', 2), 3);
  EXPECT_EQ(text.Find(u".", 4), -1);
  EXPECT_EQ(text.Find(u".", 99), -1);
  EXPECT_EQ(text.Find(u".", -5), 1);
  EXPECT_EQ(text.Find(u"b.c"), 2);
  EXPECT_EQ(text.ReverseFind(u'.'), 3);
  EXPECT_EQ(text.ReverseFind(u'x'), -1);
}

TEST(CString, ReplaceCountsAndDoesNotSearchTheReplacement) {
  CString text(u"aaa");
  EXPECT_EQ(text.Replace(u"a", u"aa"), 3);
  EXPECT_EQ(text, u"aaaaaa");
  EXPECT_EQ(text.Replace(u"aaaa", u""), 1);
  EXPECT_EQ(text, u"aa");
  EXPECT_EQ(text.Replace(u"x", u"y"), 0);
  EXPECT_EQ(text.Replace(u"", u"y"), 0);
  EXPECT_EQ(text, u"aa");
}

TEST(CString, ReplaceMayTakeItsOwnText) {
  CString text(u"ab");
  EXPECT_EQ(text.Replace(u"b", text.View()), 1);
  EXPECT_EQ(text, u"aab");
}

TEST(CString, DeleteAndInsertReturnTheNewLength) {
  CString text(u"abcdef");
  EXPECT_EQ(text.Delete(1, 2), 4);
  EXPECT_EQ(text, u"adef");
  EXPECT_EQ(text.Delete(2, 99), 2);
  EXPECT_EQ(text.Delete(9), 2);
  EXPECT_EQ(text.Delete(0, -1), 2);
  EXPECT_EQ(text.Insert(1, u"XY"), 4);
  EXPECT_EQ(text, u"aXYd");
  EXPECT_EQ(text.Insert(99, u"!"), 5);
  EXPECT_EQ(text.Insert(-3, u"<"), 6);
  EXPECT_EQ(text, u"<aXYd!");
  EXPECT_EQ(text.Insert(1, text.View()), 12);
  EXPECT_EQ(text, u"<<aXYd!aXYd!");
}

TEST(CString, TrimRemovesWhiteSpaceAtBothEnds) {
  CString text(u" \t\r\n\u00A0a b\u3000 ");
  EXPECT_EQ(CString(text).TrimLeft(), u"a b\u3000 ");
  EXPECT_EQ(CString(text).TrimRight(), u" \t\r\n\u00A0a b");
  EXPECT_EQ(text.Trim(), u"a b");
  EXPECT_EQ(CString(u" \n ").Trim(), u"");
}

TEST(CString, UnitsAreReadAndSetByPosition) {
  CString text(u"abc");
  EXPECT_EQ(text.GetAt(1), u'b');
  EXPECT_EQ(text.GetAt(3), u'\0');
  EXPECT_EQ(text.GetAt(-1), u'\0');
  text.SetAt(0, u'X');
  EXPECT_EQ(text, u"Xbc");
  EXPECT_THROW(text.SetAt(3, u'X'), _com_error);
  EXPECT_THROW(text.SetAt(-1, u'X'), _com_error);
}

TEST(CString, CaseMappingChangesTheStringItself) {
  CString text(u"\u00C4bC");
  EXPECT_EQ(text.MakeLower(), u"\u00E4bc");
  EXPECT_EQ(text.MakeUpper(), u"\u00C4BC");
}

TEST(CString, ComparesByUnitWithAndWithoutCase) {
  EXPECT_LT(CString(u"B").Compare(u"a"), 0);
  EXPECT_EQ(CString(u"B").CompareNoCase(u"b"), 0);
  EXPECT_EQ(CString(u"B").CompareNoCase(u"a"), 1);
  EXPECT_EQ(CString(u"a").CompareNoCase(u"B"), -1);
  EXPECT_EQ(CString(u"").CompareNoCase({}), 0);
  EXPECT_EQ(CString(u"a").CompareNoCase({}), 1);
}

TEST(CString, FormatMayPrintTheStringItself) {
  CString text(u"x");
  text.Format(u"%s_%d", text, 7);
  EXPECT_EQ(text, u"x_7");
  const qx::FormatArg args[] = {text.GetString(), 8};
  text.FormatV(u"%s_%d", args);
  EXPECT_EQ(text, u"x_7_8");
}

TEST(CString, JoinsAndAppends) {
  CString text = CString(u"a") + u"b" + CString(u"c");
  text += u"d";
  text.Append(u"e");
  EXPECT_EQ(u"<" + text, u"<abcde");
}

TEST(CString, BecomesABstrWithAllItsUnits) {
  const CString text(std::u16string(u"a\0b", 3));
  CComBSTR copy;
  copy.Attach(text.AllocSysString());
  EXPECT_EQ(copy.View(), text.View());
}

TEST(CString, ComparesByUnitWithTheOwningStrings) {
  const CString status(u"Installed");
  const CComBSTR installed(u"Installed");
  EXPECT_TRUE(status == installed);
  EXPECT_TRUE(installed == status);
  EXPECT_TRUE(status != CComBSTR(u"installed"));
  EXPECT_TRUE(CComBSTR(u"installed") != status);
  EXPECT_TRUE(status == _bstr_t(u"Installed"));
  EXPECT_TRUE(status < CComBSTR(u"Upgrading"));
  EXPECT_TRUE(CComBSTR(u"Upgrading") > status);
  EXPECT_FALSE(CString(u"caf\u00E9") == CComBSTR(u"cafe\u0301")) << "by unit, not by collation";
}

TEST(CString, IsOrderedByItsTextAndNotByItsAddress) {
  const CString texts[] = {CString(u"b"), CString(u"a")};
  EXPECT_TRUE(texts[0] > texts[1]);
  EXPECT_TRUE(texts[1] < texts[0]);
  EXPECT_TRUE(texts[0] >= texts[0]);
  EXPECT_TRUE(texts[1] <= u"a");
  EXPECT_TRUE(texts[0] > u"a");
}

TEST(CString, JoinedWithAnOwningStringIsACString) {
  const CComBSTR bstr(u"b");
  EXPECT_EQ(CString(u"a") + bstr, u"ab");
  EXPECT_EQ(bstr + CString(u"a"), u"ba");
  EXPECT_EQ(_bstr_t(u"b") + CString(u"a"), u"ba");
  CString text(u"a");
  text += bstr;
  text += CString(u"c");
  EXPECT_EQ(text, u"abc");
}

CComBSTR sameText(const CComBSTR& text) { return text; }
_bstr_t sameText(int, _bstr_t text) { return text; }

TEST(CString, IsPassedAndAssignedAsAnOwningString) {
  const CString text(std::u16string(u"a\0b", 3));
  EXPECT_EQ(sameText(text).View(), text.View());
  EXPECT_EQ(sameText(0, text).view(), text.View());
  CComBSTR copy;
  copy = text;
  EXPECT_EQ(copy.View(), text.View());
  copy += text;
  EXPECT_EQ(copy.Length(), 6U);
  const CComVariant value(text);
  EXPECT_EQ(value.vt, VT_BSTR);
  EXPECT_EQ(qx::viewOfBstr(value.bstrVal), text.View());
}

}  // namespace
