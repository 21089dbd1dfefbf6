#include "qxframework/automation/developer_trace.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace {

std::u16string g_traced;

void keep(std::u16string_view text) { g_traced += text; }

class DeveloperTrace : public testing::Test {
 protected:
  void SetUp() override { g_traced.clear(); }
  void TearDown() override {
    qx::setDeveloperTraceSink(nullptr);
    unsetenv("QX_TRACE");
  }
  static std::string traced(std::u16string_view text) {
    testing::internal::CaptureStderr();
    qx::developerTrace(text);
    return testing::internal::GetCapturedStderr();
  }
};

TEST_F(DeveloperTrace, ReachesTheSinkUnchanged) {
  EXPECT_EQ(qx::setDeveloperTraceSink(keep), nullptr);
  qx::developerTrace(u"one\n");
  qx::developerTrace(u"two");
  EXPECT_EQ(g_traced, u"one\ntwo");
  EXPECT_EQ(qx::setDeveloperTraceSink(nullptr), keep);
}

TEST_F(DeveloperTrace, IsSilentWithoutTheVariable) {
  unsetenv("QX_TRACE");
  EXPECT_EQ(traced(u"lost\n"), "");
  setenv("QX_TRACE", "", 1);
  EXPECT_EQ(traced(u"lost\n"), "");
}

TEST_F(DeveloperTrace, ReachesTheErrorStreamInUtf8WithTheVariable) {
  setenv("QX_TRACE", "1", 1);
  EXPECT_EQ(traced(u"K\u00F6ln\n"), "K\xC3\xB6ln\n");
}

}  // namespace
