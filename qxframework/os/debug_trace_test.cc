#include "qxframework/os/debug_trace.h"

#include "qxframework/automation/text.h"
#include "testing/scoped_variable.h"

#include <gtest/gtest.h>

#include <string>

namespace qx {
namespace {

std::u16string g_seen;

void recordTrace(std::u16string_view text) { g_seen += text; }

void recordBox(std::u16string_view text, std::u16string_view caption, UINT flags) {
  g_seen +=
      std::u16string(caption) + u"|" + std::u16string(text) + u"|" + toUtf16(std::to_string(flags));
}

TEST(DebugTrace, GoesToTheSinkUnchanged) {
  g_seen.clear();
  const TraceSink before = setDeveloperTraceSink(recordTrace);
  OutputDebugStringW(u"one\n");
  OutputDebugStringW(nullptr);
  OutputDebugStringW(u"two");
  EXPECT_EQ(setDeveloperTraceSink(before), &recordTrace);
  EXPECT_EQ(g_seen, u"one\ntwo");
}

TEST(DebugTrace, GoesToStandardErrorOnlyIfQxTraceIsSet) {
  const TraceSink before = setDeveloperTraceSink(nullptr);
  testing::internal::CaptureStderr();
  {
    const test::ScopedVariable off("QX_TRACE", nullptr);
    OutputDebugStringW(u"unseen\n");
    const test::ScopedVariable on("QX_TRACE", "1");
    OutputDebugStringW(u"grün\n");
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "grün\n");
  setDeveloperTraceSink(before);
}

TEST(MessageBox, IsPrintedOnStandardErrorAndReturnsOk) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(MessageBoxW(nullptr, u"No host", u"Connection to UI-API", MB_OK), IDOK);
  EXPECT_EQ(MessageBoxW(nullptr, nullptr, nullptr, MB_OK), IDOK);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Connection to UI-API: No host\nError: \n");
}

TEST(MessageBox, GoesToTheSink) {
  g_seen.clear();
  EXPECT_EQ(setMessageBoxSink(recordBox), nullptr);
  EXPECT_EQ(MessageBoxW(nullptr, u"text", u"caption", MB_ICONERROR), IDOK);
  EXPECT_EQ(setMessageBoxSink(nullptr), &recordBox);
  EXPECT_EQ(g_seen, u"caption|text|16");
}

}  // namespace
}  // namespace qx
