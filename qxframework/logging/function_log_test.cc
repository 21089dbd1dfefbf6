#include "qxframework/logging/function_log.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/developer_trace.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/os/debug_trace.h"
#include "qxframework/xml/dom.h"
#include "qxframework/xml/dom_document.h"
#include "testing/recording_logger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using qx::test::LogRecord;
using qx::test::RecordingLogger;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using namespace std::string_literals;

/// Collects the message boxes of the system while it lives.
struct Boxes {
  Boxes() {
    texts().clear();
    before = qx::setMessageBoxSink(
        [](std::u16string_view text, std::u16string_view caption, UINT flags) {
          texts().push_back(std::u16string(caption) + u"|" + std::u16string(text) + u"|" +
                            qx::format(u"%X", flags));
        });
  }
  ~Boxes() { qx::setMessageBoxSink(before); }
  static std::vector<std::u16string>& texts() {
    static std::vector<std::u16string> list;
    return list;
  }
  qx::MessageBoxSink before;
};

/// Sets the module name of the log while it lives.
class ModuleName {
 public:
  explicit ModuleName(const OLECHAR* name) { qx::logModuleName() = name; }
  ~ModuleName() { qx::logModuleName().Empty(); }
};

TEST(FunctionLog, ScopeWritesEnteringAndLeavingLinesWithAllFields) {
  RecordingLogger logger;
  ModuleName module(u"HELLO");
  { CReturnValue<long> hr(u"CQXThing::Open", 0, 7, false); }
  EXPECT_THAT(
      logger.records,
      ElementsAre(LogRecord{7, u"HELLO", 6, u"CQXThing::Open", u"Entering function\n"},
                  LogRecord{7, u"HELLO", 6, u"CQXThing::Open", u"Leaving function [S_OK]\n"}));
}

TEST(FunctionLog, QuietScopeWritesItsErrorsButNoTraceLines) {
  RecordingLogger logger;
  {
    CReturnValue<long> hr(u"CQXThing::Open", 0, 7, true);
    hr.LogError(u"lost %s", u"it");
  }
  EXPECT_THAT(logger.records, ElementsAre(LogRecord{7, u"", 1, u"CQXThing::Open", u"lost it"}));
}

TEST(FunctionLog, NameMayComeFromALiteralABufferOrAString) {
  RecordingLogger logger;
  static constexpr OLECHAR kLonger[16] = u"constant";
  OLECHAR buffer[16] = u"buffer";
  buffer[7] = u'x';  // follows the terminator
  const std::u16string text = u"string";
  const OLECHAR* pointer = text.c_str();
  { CReturnValue<void> log(u"literal", 0, false); }
  { CReturnValue<long> log(kLonger, 0, 0, false); }
  { CReturnValue<CString> log(buffer, CString(u""), 0, false); }
  { CReturnValue<void> log(pointer, 0, false); }
  { CReturnValue<long> log(u"", 0, 0, false); }
  std::vector<std::u16string> names;
  for (std::size_t i = 0; i < logger.records.size(); i += 2) {
    names.push_back(logger.records[i].function);
  }
  EXPECT_THAT(names, ElementsAre(u"literal"s, u"constant"s, u"buffer"s, u"string"s, u""s));
}

TEST(FunctionLog, EverySeverityHasItsNumber) {
  RecordingLogger logger;
  CReturnValue<void> log(u"f", 0, true);
  log.LogError(u"1");
  log.LogWarning(u"2");
  log.LogInfo(u"3");
  log.LogDbg0(u"4");
  log.LogDbg1(u"5");
  log.LogDbg2(u"6");
  ASSERT_THAT(logger.records, SizeIs(6));
  for (int level = 1; level <= 6; ++level) {
    const LogRecord& record = logger.records[static_cast<std::size_t>(level - 1)];
    EXPECT_EQ(record.message, qx::format(u"%d", level));
    EXPECT_EQ(record.level, level);
  }
}

TEST(FunctionLog, LeavingLineNamesTheResult) {
  RecordingLogger logger;
  {
    CReturnValue<long> hr(u"f", 0, 0, false);
    hr = 0x80070057;
    EXPECT_LT(hr, 0);
  }
  EXPECT_EQ(logger.records.back().message, u"Leaving function [E_INVALIDARG]\n");
}

TEST(FunctionLog, LeavingLineShowsTheDigitsOfAnUnnamedResult) {
  RecordingLogger logger;
  {
    CReturnValue<long> hr(u"f", 0, 0, false);
    hr = 0x12345678;
  }
  EXPECT_EQ(logger.records.back().message, u"Leaving function [0x12345678]\n");
}

TEST(FunctionLog, InitialValueIsTheResult) {
  RecordingLogger logger;
  { CReturnValue<long> hr(u"f", 0x80004005, 0, false); }
  EXPECT_EQ(logger.records.back().message, u"Leaving function [E_FAIL]\n");
}

TEST(FunctionLog, VoidScopeLeavesWithoutAValue) {
  RecordingLogger logger;
  {
    CReturnValue<void> log(u"f", 0, false);
    CComBSTR text;
    log.ToString(text);
    EXPECT_EQ(text.View(), u"(void)");
  }
  EXPECT_EQ(logger.records.back().message, u"Leaving function\n");
}

TEST(FunctionLog, StringScopesLeaveWithTheirText) {
  RecordingLogger logger;
  { CReturnValue<CComBSTR> text(u"f", CComBSTR(u"eins"), 0, false); }
  EXPECT_EQ(logger.records.back().message, u"Leaving function [eins]\n");
  { CReturnValue<CString> text(u"f", CString(u"zwei"), 0, false); }
  EXPECT_EQ(logger.records.back().message, u"Leaving function [zwei]\n");
}

TEST(FunctionLog, NodeScopeLeavesWithTheNameOfItsNode) {
  RecordingLogger logger;
  CComPtr<IXMLDOMDocument> document;
  ASSERT_EQ(qx::createDocument(&document.p), S_OK);
  { CReturnValue<CComPtr<IXMLDOMNode>> node(u"f", nullptr, 0, false); }
  EXPECT_EQ(logger.records.back().message, u"Leaving function [null]\n");
  { CReturnValue<CComPtr<IXMLDOMNode>> node(u"f", document.p, 0, false); }
  EXPECT_EQ(logger.records.back().message, u"Leaving function [#document]\n");
}

TEST(FunctionLog, BoolScopeLeavesWithItsTruth) {
  RecordingLogger logger;
  { CReturnValue<bool> result(u"F", true, 0, false); }
  { CReturnValue<bool> result(u"F", false, 0, false); }
  ASSERT_THAT(logger.records, SizeIs(4));
  EXPECT_EQ(logger.records[1].message, u"Leaving function [true]\n");
  EXPECT_EQ(logger.records[3].message, u"Leaving function [false]\n");
  CComBSTR text;
  CReturnValue<bool>(u"F", true, 0, true).ToString(text);
  EXPECT_EQ(text.View(), u"true");
}

TEST(FunctionLog, PointerScopeComparesWithNull) {
  const RecordingLogger logger;
  CReturnValue<CComPtr<IXMLDOMNode>> node(u"F", nullptr, 0, true);
  EXPECT_TRUE(node == nullptr);
  CComPtr<IXMLDOMDocument> document;
  ASSERT_EQ(qx::createDocument(&document.p), S_OK);
  node = CComPtr<IXMLDOMNode>(document);
  EXPECT_TRUE(node != nullptr);
}

TEST(FunctionLog, CodeScopeEqualsTheLiteralOfItsCode) {
  const RecordingLogger logger;
  CReturnValue<long> hr(u"F", 0, 0, true);
  hr = 0x80040500;
  EXPECT_TRUE(hr == 0x80040500);
  EXPECT_TRUE(hr != 0x80040501);
  EXPECT_TRUE(hr == QX_E_DATABASE);
}

TEST(FunctionLog, MessagesAreCutAfter1023CharactersWithoutDots) {
  RecordingLogger logger;
  CReturnValue<void> log(u"f", 0, true);
  log.LogInfo(u"%s", std::u16string(1023, u'a'));
  log.LogInfo(u"%s", std::u16string(1023, u'a') + u"b");
  log.LogInfo(u"%s", std::u16string(5000, u'c'));
  EXPECT_EQ(logger.records[0].message, std::u16string(1023, u'a'));
  EXPECT_EQ(logger.records[1].message, std::u16string(1023, u'a'));
  EXPECT_EQ(logger.records[2].message, std::u16string(1023, u'c'));
}

TEST(FunctionLog, LineEndsAreNeitherAddedNorStripped) {
  RecordingLogger logger;
  CReturnValue<void> log(u"f", 0, true);
  log.LogInfo(u"with\n");
  log.LogInfo(u"without");
  EXPECT_THAT(logger.messages(), ElementsAre(u"with\n"s, u"without"s));
}

TEST(FunctionLog, ScopeWorksWithoutALoggerAndTracesTheReason) {
  RecordingLogger logger;
  logger.refuse = true;
  static std::vector<std::u16string> traced;
  traced.clear();
  const auto before =
      qx::setDeveloperTraceSink([](std::u16string_view text) { traced.emplace_back(text); });
  {
    CReturnValue<long> hr(u"f", 0, 0, false);
    hr.LogError(u"lost");
    hr = 1;
    EXPECT_EQ(hr, 1);
  }
  qx::setDeveloperTraceSink(before);
  EXPECT_THAT(logger.records, IsEmpty());
  EXPECT_THAT(traced, ElementsAre(u"CLog: Can't get QXLogger object\n"s));
}

TEST(FunctionLog, EveryScopeCreatesItsOwnLogger) {
  RecordingLogger logger;
  {
    CReturnValue<void> outer(u"f", 0, false);
    CReturnValue<void> inner(u"g", 0, true);
  }
  EXPECT_EQ(logger.instances, 2);
}

TEST(FunctionLog, ThrowingLoggerLosesOnlyTheMessage) {
  RecordingLogger logger;
  logger.throwOnWrite = true;
  CReturnValue<long> hr(u"f", 3, 0, false);
  EXPECT_NO_THROW(hr.LogError(u"x"));
  EXPECT_EQ(hr, 3);
}

TEST(FunctionLog, BadLevelIsRefusedAndWritesNothing) {
  RecordingLogger logger;
  const auto instance = qx::createLogger();
  using QXLoggerLib::HvSeverityLevel;
  for (const int level : {0, -1, 7}) {
    EXPECT_EQ(qx::writeLogMessage(instance, 0, u"f", static_cast<HvSeverityLevel>(level), u"x", {}),
              E_FAIL);
  }
  EXPECT_THAT(logger.records, IsEmpty());
}

TEST(FunctionLog, ReturnsTheResultOfTheLogger) {
  RecordingLogger logger;
  logger.writeResult = S_FALSE;
  const auto instance = qx::createLogger();
  EXPECT_EQ(qx::writeLogMessage(instance, 0, u"f", QXLoggerLib::sl_Error, u"x", {}), S_FALSE);
  EXPECT_EQ(qx::writeLogMessage(nullptr, 0, u"f", QXLoggerLib::sl_Error, u"x", {}), S_OK);
}

TEST(FunctionLog, UnwoundScopeLeavesWithTheLastValue) {
  RecordingLogger logger;
  try {
    CReturnValue<long> hr(u"f", 0, 0, false);
    hr = E_POINTER;
    qx::raiseError(hr);
  } catch (const _com_error&) {
  }
  EXPECT_EQ(logger.records.back().message, u"Leaving function [E_POINTER]\n");
}

TEST(FunctionLog, CopySharesTheLogger) {
  RecordingLogger logger;
  {
    CReturnValue<long> hr(u"f", 5, 0, true);
    CReturnValue<long> copy(hr);
    copy.LogInfo(u"copy");
    EXPECT_EQ(copy, 5);
  }
  EXPECT_THAT(logger.messages(), ElementsAre(u"copy"s));
  EXPECT_EQ(logger.instances, 1);
}

TEST(FunctionLog, ModuleNameIsEmptyUntilItIsSet) {
  RecordingLogger logger;
  { CReturnValue<void> log(u"f", 0, false); }
  EXPECT_EQ(logger.records.front().module, u"");
}

TEST(ErrorBox, ShowsTitleTextAndErrorIcon) {
  Boxes boxes;
  CLogBase<long>::ErrorBox(u"Connection to UI-API", u"code %d", 5);
  EXPECT_THAT(Boxes::texts(), ElementsAre(u"Connection to UI-API Error|code 5|10010"s));
}

TEST(ErrorBox, EmptyTitleGivesTheCaptionError) {
  Boxes boxes;
  CLogBase<long>::ErrorBox(u"", u"x");
  CLogBase<long>::ErrorBox(nullptr, u"y");
  EXPECT_THAT(Boxes::texts(), ElementsAre(u"Error|x|10010"s, u"Error|y|10010"s));
}

TEST(ErrorBox, CutsCaptionAndTextToTheirBuffers) {
  Boxes boxes;
  CLogBase<long>::ErrorBox(std::u16string(300, u't').c_str(), u"%s", std::u16string(2000, u'x'));
  EXPECT_THAT(Boxes::texts(), ElementsAre(std::u16string(255, u't') + u"|" +
                                          std::u16string(1023, u'x') + u"|10010"));
}

TEST(Xstrerror, ReturnsTheSentenceOfACode) {
  EXPECT_EQ(CLogBase<long>::xstrerror(static_cast<unsigned long>(-7000L)), u"Invalid form"s);
  EXPECT_EQ(CLogBase<long>::xstrerror(0x80040503),
            u"Halvex Add-On terminated due to running or incomplete DB upgrade."s);
}

TEST(Xstrerror, ReturnsAnUnknownCodeInBothForms) {
  EXPECT_EQ(CLogBase<long>::xstrerror(static_cast<unsigned long>(-7007L)),
            u"Unknown error (-7007, 0xFFFFE4A1)"s);
}

TEST(Xstrerror, EachInstantiationHasItsOwnBuffer) {
  const OLECHAR* first = CLogBase<long>::xstrerror(static_cast<unsigned long>(-1L));
  const OLECHAR* second = CLogBase<CReturnValue<long>>::xstrerror(static_cast<unsigned long>(-2L));
  const OLECHAR* third =
      CLogBase<CReturnValue<CComBSTR>>::xstrerror(static_cast<unsigned long>(-7001L));
  EXPECT_EQ(first, u"UI API general failure"s);
  EXPECT_EQ(second, u"Function not supported"s);
  EXPECT_EQ(third, u"Invalid item"s);
}

}  // namespace
