#include "qxdesk/screens/browser/log_tail.h"

#include "qxframework/logging/function_log.h"
#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace qx::screens {
namespace {

constexpr std::size_t kMost = 100;

class LogTailTest : public testing::Test {
 protected:
  void append(const std::string& text) { std::ofstream(path_, std::ios::app) << text; }

  test::TempFolder folder_;
  const std::filesystem::path path_ = folder_.path() / "a.log";
};

TEST_F(LogTailTest, GivesWhatIsAddedAfterItsBeginning) {
  append("old\n");
  LogTail tail(path_.string());
  EXPECT_EQ(tail.read(kMost), "");
  append("one\n");
  append("two\n");
  EXPECT_EQ(tail.read(kMost), "one\ntwo\n");
  EXPECT_EQ(tail.read(kMost), "");
}

TEST_F(LogTailTest, AFileThatAppearsLaterIsReadFromItsBeginning) {
  LogTail tail(path_.string());
  EXPECT_EQ(tail.read(kMost), "");
  append("one\n");
  EXPECT_EQ(tail.read(kMost), "one\n");
}

TEST_F(LogTailTest, ALongTextComesInPiecesOfWholeLines) {
  LogTail tail(path_.string());
  append("first line\nsecond line\n");
  EXPECT_EQ(tail.read(15), "first line\n");
  EXPECT_EQ(tail.read(15), "second line\n");
  append(std::string(20, 'x'));
  EXPECT_EQ(tail.read(15), std::string(15, 'x'));
  EXPECT_EQ(tail.read(15), std::string(5, 'x'));
}

TEST_F(LogTailTest, GoesOnInTheNewFileAfterARotation) {
  append("old\n");
  LogTail tail(path_.string());
  append("last of the old\n");
  std::filesystem::rename(path_, folder_.path() / "a.1.log");
  append("first of the new\n");
  EXPECT_EQ(tail.read(kMost), "last of the old\nfirst of the new\n");
  append("second\n");
  EXPECT_EQ(tail.read(kMost), "second\n");
}

TEST_F(LogTailTest, ReadsTheRestOfARotatedFileFirst) {
  append("");
  LogTail tail(path_.string());
  append("a line\nanother\n");
  std::filesystem::rename(path_, folder_.path() / "a.1.log");
  append("new\n");
  EXPECT_EQ(tail.read(8), "a line\n");
  EXPECT_EQ(tail.read(8), "another\n");
  EXPECT_EQ(tail.read(8), "new\n");
}

TEST_F(LogTailTest, FollowsTheLogOfTheAddOnsModule) {
  const test::ScopedVariable variable("QX_LOG_DIR", folder_.path().string());
  const CComBSTR before = logModuleName();
  logModuleName() = u"My Module";
  EXPECT_EQ(logFileOfThisProcess(), folder_.path().string() + "/My%20Module.log");
  logModuleName() = before;
}

}  // namespace
}  // namespace qx::screens
