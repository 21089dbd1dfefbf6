#include "qxframework/foundation/qx_bstr.h"

#include "qxframework/automation/wide_string.h"
#include "testing/raised_by.h"

#include <gtest/gtest.h>

#include <string_view>

// The string tables of this program are in testdata/strings: 1033 has 1, 2, 3 and 7; 1031 has 1, 7
// and 8.

namespace {

using qx::test::raisedBy;

TEST(QxBstr, LoadsTheTextOfItsLanguage) {
  CQXBSTR text(ln_German);
  EXPECT_TRUE(text.LoadStringW(1, static_cast<HvLanguages>(-1), nullptr));
  EXPECT_EQ(text.View(), u"Hallo");
}

TEST(QxBstr, LoadFallsBackToEnglish) {
  CQXBSTR text(ln_English);
  EXPECT_TRUE(text.LoadStringW(2, ln_German, nullptr));
  EXPECT_EQ(text.View(), u"Only English");
}

TEST(QxBstr, LoadFallsBackToAnyLanguage) {
  CQXBSTR text(ln_French_Fr);
  EXPECT_TRUE(text.LoadStringW(8, ln_French_Fr, nullptr));
  EXPECT_EQ(text.View(), u"Nur deutsch");
}

TEST(QxBstr, LoadOfAMissingIdKeepsTheText) {
  CQXBSTR text(u"before", ln_English);
  EXPECT_FALSE(text.LoadStringW(999, ln_English, nullptr));
  EXPECT_FALSE(text.LoadStringW(999, static_cast<unsigned short>(1031), nullptr));
  EXPECT_EQ(text.View(), u"before");
}

TEST(QxBstr, EmptyResourceStringIsFound) {
  CQXBSTR text(u"before", ln_English);
  EXPECT_TRUE(text.LoadStringW(3, ln_English, nullptr));
  EXPECT_TRUE(text.IsEmpty());
}

TEST(QxBstr, CopiesTakeTheLanguageAndOtherTextsKeepIt) {
  const CQXBSTR german(u"x", ln_German);
  CQXBSTR copy(german);
  EXPECT_EQ(copy.GetLanguage(), ln_German);
  copy = CComBSTR(u"y");
  EXPECT_EQ(copy.GetLanguage(), ln_German);
  EXPECT_EQ(copy.View(), u"y");
  copy = u"z";
  EXPECT_EQ(copy.GetLanguage(), ln_German);
  CQXBSTR other(ln_English);
  other = german;
  EXPECT_EQ(other.GetLanguage(), ln_German);
  EXPECT_EQ(other.View(), u"x");
}

TEST(QxBstr, LengthConstructorsAllocateOrMakeNull) {
  EXPECT_EQ(CQXBSTR(3, ln_English).View(), std::u16string_view(u"\0\0\0", 3));
  EXPECT_EQ(CQXBSTR(0, ln_English).m_str, nullptr);
  EXPECT_EQ(CQXBSTR(2, u"abc", ln_English).View(), u"ab");
  EXPECT_EQ(CQXBSTR(0, u"abc", ln_English).m_str, nullptr);
}

TEST(QxBstr, NegativeLengthThrowsInvalidArgument) {
  EXPECT_EQ(raisedBy([] { CQXBSTR(-1, u"abc", ln_English); }), E_INVALIDARG);
}

TEST(QxBstr, GuidIsWrittenInBraces) {
  const GUID guid{0x12345678, 0x9ABC, 0xDEF0, {1, 2, 3, 4, 5, 6, 7, 8}};
  EXPECT_EQ(CQXBSTR(guid, ln_English).View(), u"{12345678-9ABC-DEF0-0102-030405060708}");
}

TEST(QxBstr, FormatsATextWithItsArguments) {
  CQXBSTR text(ln_English);
  text.Format(u"%s has %d", u"A", 3);
  EXPECT_EQ(text.View(), u"A has 3");
  const qx::FormatArg list[] = {qx::FormatArg(4)};
  text.Format(u"%d", qx::FormatArgs(list));
  EXPECT_EQ(text.View(), u"4");
}

TEST(QxBstr, FormatsAResourceTextInTheGivenLanguageOrItsOwn) {
  CQXBSTR text(ln_English);
  text.Format(7U, u"x", 2);
  EXPECT_EQ(text.View(), u"x costs 2");
  text.Format(ln_German, 7U, u"x", 2);
  EXPECT_EQ(text.View(), u"x kostet 2");
  EXPECT_EQ(text.GetLanguage(), ln_English);
}

TEST(QxBstr, FormatAcceptsIntegerIdsAndItsOwnTextAsArgument) {
  CQXBSTR text(u"x", ln_English);
  text.Format(ln_German, 7, text, 2);
  EXPECT_EQ(text.View(), u"x kostet 2");
  text.Format(7, u"y", 3);
  EXPECT_EQ(text.View(), u"y costs 3");
  const qx::FormatArg list[] = {qx::FormatArg(u"z"), qx::FormatArg(4)};
  text.Format(7, qx::FormatArgs(list));
  EXPECT_EQ(text.View(), u"z costs 4");
  text.Format(ln_German, 7, qx::FormatArgs(list));
  EXPECT_EQ(text.View(), u"z kostet 4");
}

TEST(QxBstr, FormatWithAMissingIdKeepsTheText) {
  CQXBSTR text(u"before", ln_English);
  EXPECT_NO_THROW(text.Format(999U, 1));
  EXPECT_EQ(text.View(), u"before");
}

TEST(QxBstr, FormatOfANullTextThrowsInvalidArgument) {
  CQXBSTR text(ln_English);
  EXPECT_EQ(raisedBy([&] { text.Format(static_cast<const OLECHAR*>(nullptr)); }), E_INVALIDARG);
}

TEST(QxBstr, ComparesWithAResourceText) {
  const CQXBSTR text(u"Hallo", ln_German);
  EXPECT_TRUE(text.Compare(1, static_cast<HvLanguages>(-1)));
  EXPECT_FALSE(text.Compare(1, ln_English));
  EXPECT_FALSE(text.Compare(999, ln_German));
}

template <class Language>
concept Loads = requires(CQXBSTR text, Language language) {
  text.LoadStringW(1, language, nullptr);
};

TEST(QxBstr, LoadStringRefusesANumberThatMayBeEitherKindOfLanguage) {
  EXPECT_TRUE(Loads<HvLanguages>);
  EXPECT_TRUE(Loads<unsigned short>);
  EXPECT_FALSE(Loads<int>);
  EXPECT_FALSE(Loads<long>);
}

TEST(QxBstr, IsMadeOfAndAssignedEveryOwningString) {
  const CString source(u"text");
  CQXBSTR text(source, ln_German);
  EXPECT_EQ(text.View(), u"text");
  text = CString(u"other");
  EXPECT_EQ(text.View(), u"other");
  text = std::u16string(u"third");
  EXPECT_EQ(text.View(), u"third");
  EXPECT_EQ(CQXBSTR(std::u16string(u"fourth"), ln_German).View(), u"fourth");
  EXPECT_EQ(CQXBSTR(_bstr_t(u"fifth"), ln_German).View(), u"fifth");
  EXPECT_EQ(text.GetLanguage(), ln_German);
}

}  // namespace
