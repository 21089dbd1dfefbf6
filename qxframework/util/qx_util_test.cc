#include "qxframework/util/qx_util.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/text.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/host/controls.h"
#include "qxframework/host/form.h"
#include "qxframework/os/message_loop.h"
#include "qxframework/util/program_name.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/dom_document.h"
#include "testing/fake_application.h"
#include "testing/raised_by.h"
#include "testing/recording_logger.h"
#include "testing/registry_in_use.h"
#include "testing/scripted_company.h"
#include "testing/temp_folder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

namespace {

using namespace qx::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(QxUtilLanguage, EveryListedValueHasItsIsoCodeAndLanguageId) {
  struct Row {
    int value;
    const char16_t* iso;
    unsigned short id;
  };
  constexpr Row kRows[] = {
      {1, u"HE", 1037},  {2, u"ES", 9226},   {3, u"EN", 1033},  {5, u"PL", 1045},
      {6, u"EN", 2057},  {7, u"ES", 9226},   {8, u"EN", 2057},  {9, u"DE", 1031},
      {10, u"SR", 1033}, {11, u"DA", 1030},  {12, u"NO", 2068}, {13, u"IT", 1040},
      {14, u"HU", 1038}, {15, u"ZH", 2052},  {16, u"NL", 1043}, {17, u"FI", 1035},
      {18, u"EL", 1032}, {19, u"PT", 2070},  {20, u"SV", 1053}, {21, u"EN", 2057},
      {22, u"FR", 1036}, {23, u"ES", 3082},  {24, u"RU", 1049}, {25, u"ESCO", 9226},
      {26, u"CS", 1029}, {27, u"SK", 1051},  {28, u"KO", 1042}, {29, u"PTBR", 1046},
      {30, u"JA", 1041}, {35, u"ZHTW", 1028}};
  for (const Row& row : kRows) {
    const auto language = static_cast<HvLanguages>(row.value);
    EXPECT_EQ(qx::viewOf(CQXUtil::ISOLangIDFromHVXLanguage(language)), row.iso) << row.value;
    EXPECT_EQ(CQXUtil::LangIDFromHVXLanguage(language), row.id) << row.value;
  }
}

TEST(QxUtilLanguage, ValuesThatAreNotListedAreEnglish) {
  for (const int value : {-1, 0, 4, 31, 32, 33, 34, 36, 1000}) {
    const auto language = static_cast<HvLanguages>(value);
    EXPECT_EQ(qx::viewOf(CQXUtil::ISOLangIDFromHVXLanguage(language)), u"EN") << value;
    EXPECT_EQ(CQXUtil::LangIDFromHVXLanguage(language), 1033) << value;
  }
}

class QxUtilNextCode : public ::testing::Test {
 protected:
  std::u16string next(long* number = nullptr) {
    return std::u16string(CQXUtil::GetNextCodeValue(7, company, u"@T", number).View());
  }
  std::u16string codeAfter(const CComVariant& highest) {
    company->answer(u"SELECT MAX(Code) FROM [@T]", {{highest}});
    return next();
  }

  HostCalls calls;
  CComPtr<ScriptedCompany> company = makeScriptedCompany(calls);
  RecordingLogger logger;
};

TEST_F(QxUtilNextCode, TheFirstCodeOfAnEmptyTableIsZero) {
  long number = 99;
  EXPECT_EQ(next(&number), u"00000000");
  EXPECT_EQ(number, 0);
  EXPECT_EQ(codeAfter(CComVariant()), u"00000000");
  EXPECT_EQ(codeAfter(CComVariant(u"")), u"00000000");
}

TEST_F(QxUtilNextCode, TheNextCodeIsOneMoreInUpperCaseHexadecimal) {
  EXPECT_EQ(codeAfter(CComVariant(u"00000000")), u"00000001");
  EXPECT_EQ(codeAfter(CComVariant(u"00000009")), u"0000000A");
  EXPECT_EQ(codeAfter(CComVariant(u"0000ffff")), u"00010000");
  EXPECT_EQ(codeAfter(CComVariant(u"7")), u"00000008");
  EXPECT_EQ(codeAfter(CComVariant(u"xyz")), u"00000001");
  EXPECT_EQ(codeAfter(CComVariant(u"12AZ")), u"0000012B");  // read up to the first other character
}

TEST_F(QxUtilNextCode, TheNumberIsThatOfTheCode) {
  company->answer(u"SELECT MAX(Code) FROM [@T]", {{CComVariant(u"000000FF")}});
  long number = 0;
  EXPECT_EQ(next(&number), u"00000100");
  EXPECT_EQ(number, 256);
}

TEST_F(QxUtilNextCode, TheHighestNumberIsFollowedByTheLowest) {
  EXPECT_EQ(codeAfter(CComVariant(u"7FFFFFFF")), u"80000000");
}

TEST_F(QxUtilNextCode, BeyondTheHighestNumberTheCodeStaysTheSame) {
  // A larger number reads as the highest one, so the codes of a table end there.
  for (const char16_t* highest : {u"80000000", u"FFFFFFFF", u"123456789ABC"}) {
    company->answer(u"SELECT MAX(Code) FROM [@T]", {{CComVariant(highest)}});
    long number = 0;
    EXPECT_EQ(next(&number), u"80000000");
    EXPECT_EQ(number, std::numeric_limits<std::int32_t>::min());
  }
}

TEST_F(QxUtilNextCode, EachDialectHasItsStatement) {
  for (const long serverType : {1L, 2L, 3L, 4L, 9L}) {
    company->serverType = serverType;
    next();
  }
  EXPECT_THAT(company->statements(),
              ElementsAre("SELECT MAX(Code) FROM [@T]", "SELECT MAX(Code) FROM @T",
                          "SELECT MAX(Code) FROM [@T]", "SELECT MAX(Code) FROM [@T]",
                          "SELECT MAX(\"Code\") FROM \"@T\""));
}

TEST_F(QxUtilNextCode, TheStatementIsLoggedAtDebugLevelZero) {
  next();
  EXPECT_TRUE(logger.has(4, u"SQL: \"SELECT MAX(Code) FROM [@T]\"\n"));
  EXPECT_EQ(logger.records.front().function, u"CQXUtil::GetNextCodeValue");
  EXPECT_EQ(logger.records.front().appId, 7);
}

TEST_F(QxUtilNextCode, AFailureIsLoggedAndReturnsAnEmptyText) {
  company->failStatement = 1;
  long number = 99;
  EXPECT_EQ(next(&number), u"");
  EXPECT_EQ(number, 99);
  EXPECT_THAT(logger.messages(1), ElementsAre(u"Failed to get max. Code value for table '@T'.\n"));
}

TEST_F(QxUtilNextCode, ACompanyWithoutARecordsetIsAFailureToo) {
  calls.failures["Company.GetBusinessObject 300"] = E_FAIL;
  EXPECT_EQ(next(), u"");
}

TEST(QxUtilText, AMenuUidIsThePrefixAndTheNumber) {
  EXPECT_EQ(CQXUtil::GetMenuUID(CQXBSTR(u"QX_", ln_English), 302).View(), u"QX_302");
  EXPECT_EQ(CQXUtil::GetMenuUID(CQXBSTR(u"", ln_English), -1).View(), u"-1");
}

TEST(QxUtilText, ConvertStrToSqlFormatDoublesQuotesOnly) {
  const auto converted = [](const char16_t* text) {
    CComBSTR out(text);
    CQXUtil::ConvertStrToSqlFormat(out);
    return std::u16string(out.View());
  };
  EXPECT_EQ(converted(u"O'Brien"), u"O''Brien");
  EXPECT_EQ(converted(u"''"), u"''''");
  EXPECT_EQ(converted(u"a\"\\%_b"), u"a\"\\%_b");
  EXPECT_EQ(converted(u""), u"");
}

TEST(QxUtilText, ReplaceXmlEntityCharsReplacesTheAmpersandFirst) {
  EXPECT_EQ(CQXUtil::ReplaceXMLEntityChars(u"a<b&c").View(), u"a&lt;b&amp;c");
  EXPECT_EQ(CQXUtil::ReplaceXMLEntityChars(u"\"'<>&amp;").View(), u"&quot;&apos;&lt;&gt;&amp;amp;");
  EXPECT_EQ(CQXUtil::ReplaceXMLEntityChars(u"").View(), u"");
}

TEST(QxUtilText, GetFileNameIsTheProgramWithoutFolderAndExtension) {
  EXPECT_EQ(CQXUtil::GetFileName().View(), u"qxframework_util_test");
}

TEST(QxUtilText, AProgramNameEndsAtTheLastDotAfterTheLastSeparator) {
  EXPECT_EQ(qx::programName(u"C:\\x\\app.v2.exe"), u"app.v2");
  EXPECT_EQ(qx::programName(u"/opt/a.b/app"), u"app");
  EXPECT_EQ(qx::programName(u"app.v2.exe"), u"app.v2");
  EXPECT_EQ(qx::programName(u""), u"");
}

TEST(QxUtilWindow, ANullWindowHasNoModule) {
  EXPECT_TRUE(CQXUtil::GetWindowModuleName(nullptr).IsEmpty());
}

TEST(QxUtilWindow, AWindowOfThisProcessHasItsProgram) {
  const HWND window = CreateMessageWindow({});
  EXPECT_EQ(CQXUtil::GetWindowModuleName(window).View(), qx::modulePath(nullptr));
  DestroyMessageWindow(window);
}

class QxUtilRegistry : public ::testing::Test {
 protected:
  static std::string content() {
    return "[\"HKEY_CURRENT_USER\\\\Software\\\\Halvex\"]\nName = \"value\"\nNumber = 7\n"
           "Longest = \"" +
           std::string(2047, 'x') + "\"\nTooLong = \"" + std::string(2048, 'x') + "\"\n";
  }

  TempFolder folder;

 private:
  qx::test::RegistryInUse registry_{folder.write("registry.toml", content())};
};

TEST_F(QxUtilRegistry, ReadsATextOfKeyAndTail) {
  CString out(u"before");
  EXPECT_TRUE(CQXUtil::getRegistryValue(HKEY_CURRENT_USER, u"Software\\", u"Name", out, u"Halvex"));
  EXPECT_EQ(out.View(), u"value");
}

TEST_F(QxUtilRegistry, ReturnsFalseForAnythingElse) {
  CString out(u"before");
  EXPECT_FALSE(
      CQXUtil::getRegistryValue(HKEY_CURRENT_USER, u"Software\\", u"None", out, u"Halvex"));
  EXPECT_FALSE(
      CQXUtil::getRegistryValue(HKEY_CURRENT_USER, u"Software\\", u"Number", out, u"Halvex"));
  EXPECT_FALSE(CQXUtil::getRegistryValue(HKEY_CURRENT_USER, u"Nowhere\\", u"Name", out, u"Halvex"));
  EXPECT_FALSE(
      CQXUtil::getRegistryValue(HKEY_CLASSES_ROOT, u"Software\\", u"Name", out, u"Halvex"));
  EXPECT_EQ(out.View(), u"before");
}

TEST_F(QxUtilRegistry, ReturnsFalseForATextThatExceedsTheBuffer) {
  CString out;
  EXPECT_TRUE(
      CQXUtil::getRegistryValue(HKEY_CURRENT_USER, u"Software\\", u"Longest", out, u"Halvex"));
  EXPECT_EQ(out.GetLength(), 2047);
  EXPECT_FALSE(
      CQXUtil::getRegistryValue(HKEY_CURRENT_USER, u"Software\\", u"TooLong", out, u"Halvex"));
}

TEST_F(QxUtilRegistry, ReadsADoubleWordOnly) {
  long out = 1;
  EXPECT_TRUE(
      CQXUtil::getRegistryLongValue(HKEY_CURRENT_USER, u"Software\\", u"Number", out, u"Halvex"));
  EXPECT_EQ(out, 7);
  EXPECT_FALSE(
      CQXUtil::getRegistryLongValue(HKEY_CURRENT_USER, u"Software\\", u"Name", out, u"Halvex"));
  EXPECT_EQ(out, 7);
}

class QxUtilComments : public ::testing::Test {
 protected:
  std::u16string cleaned(const char16_t* text, long depth = 0) {
    CComPtr<IXMLDOMDocument> document;
    EXPECT_EQ(qx::createDocument(&document.p), S_OK);
    EXPECT_EQ(document->loadXML(text), VARIANT_TRUE);
    const CComPtr<IXMLDOMNode> root = document->documentElement();
    EXPECT_EQ(CQXUtil::RemoveXMLCommentNodes(7, root, depth), S_OK);
    std::u16string xml(root->xml().View());
    std::erase_if(xml, [](char16_t unit) { return unit <= u' '; });
    return xml;
  }
  RecordingLogger logger;
};

TEST_F(QxUtilComments, SeveralInARowAreRemoved) {
  EXPECT_EQ(cleaned(u"<a><!--1--><!--2--><b/><!--3--></a>"), u"<a><b/></a>");
}

TEST_F(QxUtilComments, AreRemovedBelowTheFirstTwoSiblingsOnly) {
  EXPECT_EQ(cleaned(u"<a><b><!--1--></b><c><!--2--></c><d><!--3--></d></a>"),
            u"<a><b/><c/><d><!--3--></d></a>");
}

TEST_F(QxUtilComments, OfAFourthSiblingAreRemovedAgain) {
  EXPECT_EQ(cleaned(u"<a><b/><c/><d><!--3--></d><e><!--4--></e></a>"),
            u"<a><b/><c/><d><!--3--></d><e/></a>");
}

TEST_F(QxUtilComments, AtDepthTwoNothingIsTouched) {
  EXPECT_EQ(cleaned(u"<a><!--1--></a>", 2), u"<a><!--1--></a>");
}

TEST_F(QxUtilComments, AtADepthBeyondTwoTheyAreRemoved) {
  EXPECT_EQ(cleaned(u"<a><!--1--></a>", 3), u"<a/>");
}

TEST_F(QxUtilComments, ANullNodeIsRefusedWithEPointer) {
  EXPECT_EQ(raisedBy([] { CQXUtil::RemoveXMLCommentNodes(7, nullptr, 0); }), E_POINTER);
}

TEST_F(QxUtilComments, RemovalIsAScope) {
  cleaned(u"<a/>");
  EXPECT_EQ(logger.records.front().function, u"CQXUtil::RemoveXMLCommentNodes");
}

// The valid values of a form's item. Some of them cannot be removed.
class FakeValidValues final : public StubValidValues {
 public:
  HRESULT raw_Count(long* out) override {
    *out = count;
    return S_OK;
  }
  HRESULT raw_Remove(const VARIANT& value, long mode) override {
    removed.push_back({static_cast<long>(value.vt), value.lVal, mode});
    if (static_cast<int>(removed.size()) == failAt) return -2000;
    --count;
    return S_OK;
  }

  long count = 3;
  int failAt = 0;
  std::vector<std::vector<long>> removed;
};

TEST(QxUtilValidValues, TheFirstIsRemovedByIndexOncePerValue) {
  const auto values = qx::makeObject<FakeValidValues>();
  CQXUtil::ValidValuesRemoveAll(values);
  const std::vector<long> first{VT_I4, 0, 2};
  EXPECT_THAT(values->removed, ElementsAre(first, first, first));
}

TEST(QxUtilValidValues, AFailureIsLoggedAndTheLoopGoesOn) {
  RecordingLogger logger;
  const auto values = qx::makeObject<FakeValidValues>();
  values->failAt = 2;
  CQXUtil::ValidValuesRemoveAll(values);
  EXPECT_EQ(values->removed.size(), 3U);
  EXPECT_EQ(values->count, 1);
  EXPECT_THAT(logger.messages(1),
              ElementsAre(u"Exception: -2000 - " +
                          std::u16string(_com_error(-2000).ErrorMessage()) + u"\n"));
}

class QxUtilHost : public ::testing::Test {
 protected:
  void addForm(const char16_t* uid, bool selected) { application->addForm(uid, selected); }
  std::u16string selected() {
    const auto form = CQXUtil::GetSelectedForm(application);
    return form == nullptr ? u"none" : std::u16string(form->GetUniqueID().View());
  }

  HostCalls calls;
  CComPtr<FakeApplication> application = qx::makeObject<FakeApplication>(calls);
};

TEST_F(QxUtilHost, StatusBarMessagesHaveTheirTypesAndTheDisplayValueTwenty) {
  EXPECT_EQ(CQXUtil::SetStatusBarErrorMessage(application, u"e"), S_OK);
  EXPECT_EQ(CQXUtil::SetStatusBarInfoMessage(application, u"i"), S_OK);
  EXPECT_EQ(CQXUtil::SetStatusBarWarningMessage(application, u"w"), S_OK);
  EXPECT_EQ(CQXUtil::SetStatusBarMessage(application, smt_None, u"n"), S_OK);
  EXPECT_THAT(calls.of("StatusBar.SetText"),
              ElementsAre("(e, 20, 2)", "(i, 20, 3)", "(w, 20, 1)", "(n, 20, 0)"));
}

TEST_F(QxUtilHost, AStatusBarThatRefusesReturnsItsCode) {
  calls.failures["StatusBar.SetText"] = E_ACCESSDENIED;
  EXPECT_EQ(CQXUtil::SetStatusBarInfoMessage(application, u"i"), E_ACCESSDENIED);
}

TEST_F(QxUtilHost, TheFirstSelectedFormIsFound) {
  addForm(u"A", false);
  addForm(u"B", true);
  addForm(u"C", true);
  EXPECT_EQ(selected(), u"B");
}

TEST_F(QxUtilHost, WithoutASelectedFormTheFirstIsReturned) {
  addForm(u"A", false);
  addForm(u"B", false);
  EXPECT_EQ(selected(), u"A");
}

TEST_F(QxUtilHost, WithoutFormsNullIsReturned) { EXPECT_EQ(selected(), u"none"); }

}  // namespace
