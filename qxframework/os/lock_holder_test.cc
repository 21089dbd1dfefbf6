#include "qxframework/os/lock_holder.h"

#include "qxframework/os/shared_file.h"
#include "qxframework/os/test_support.h"
#include "testing/file_content.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>

#include <array>
#include <fstream>

namespace qx {
namespace {

class LockHolderTest : public testing::Test {
 protected:
  void write(const std::string& text) const { std::ofstream(path_, std::ios::binary) << text; }
  std::string content() const { return test::contentOf(path_); }
  std::optional<LockHolder> readFrom(const std::string& text) {
    write(text);
    return readLockHolder(file_.get());
  }

  test::TempFolder folder_;
  std::filesystem::path path_ = folder_.path() / "Start.mutex";
  UniqueFd file_ = openSharedFile(folder_.path(), u"Start", ".mutex");
};

const LockHolder kThisProgram{getpid(), u"qxframework_os_test"};

TEST_F(LockHolderTest, IsTheProcessThatHasWrittenItself) {
  writeLockHolder(file_.get());
  EXPECT_EQ(readLockHolder(file_.get()), kThisProgram);
}

// The kernel's line on a process begins with this name, which may look like the fields after it.
TEST_F(LockHolderTest, TheStartOfTheProcessIsReadWhateverItsThreadIsCalled) {
  writeLockHolder(file_.get());
  const std::string before = content();
  std::array<char, 16> name{};
  ASSERT_EQ(prctl(PR_GET_NAME, name.data()), 0);
  ASSERT_EQ(prctl(PR_SET_NAME, "a) S 1 (2) b"), 0);
  writeLockHolder(file_.get());
  EXPECT_EQ(content(), before);
  EXPECT_EQ(readLockHolder(file_.get()), kThisProgram);
  ASSERT_EQ(prctl(PR_SET_NAME, name.data()), 0);
}

TEST_F(LockHolderTest, ReplacesALongerLine) {
  write(std::string(300, 'x') + "\n");
  writeLockHolder(file_.get());
  EXPECT_EQ(content().find('x', content().find('\n')), std::string::npos);
  EXPECT_EQ(readLockHolder(file_.get()), kThisProgram);
}

TEST_F(LockHolderTest, IsUnknownAfterItHasClearedTheFile) {
  writeLockHolder(file_.get());
  clearLockHolder(file_.get());
  EXPECT_EQ(content(), "");
  EXPECT_EQ(readLockHolder(file_.get()), std::nullopt);
}

TEST_F(LockHolderTest, IsUnknownOnceItsProcessHasEnded) {
  ChildProcess child([this](const ChildProcess::End& parent) {
    writeLockHolder(file_.get());
    parent.say('w');
    parent.hear();
  });
  ASSERT_EQ(child.end().hear(), 'w');
  ASSERT_NE(readLockHolder(file_.get()), std::nullopt);
  child.kill();
  EXPECT_EQ(readLockHolder(file_.get()), std::nullopt);
}

// The number of a process that has ended is given to a later one.
TEST_F(LockHolderTest, IsUnknownIfAnotherProcessHasItsNumber) {
  EXPECT_EQ(readFrom(std::to_string(getpid()) + " 1 program\n"), std::nullopt);
}

TEST_F(LockHolderTest, IsUnknownIfTheFileHasSomethingElse) {
  const std::string self = std::to_string(getpid());
  for (const std::string& text :
       {std::string(), std::string("\n"), std::string("words\n"), self, self + "\n", self + " 1\n",
        std::string("-1  x\n"), std::string("99999999999999999999 1 x\n"), std::string(5000, '7'),
        std::string("\0\n", 2)}) {
    EXPECT_EQ(readFrom(text), std::nullopt) << text;
  }
}

TEST_F(LockHolderTest, ItsProgramIsOneLineForAMessage) {
  writeLockHolder(file_.get());
  std::string line = content();
  line.resize(line.rfind(' ') + 1);
  EXPECT_EQ(readFrom(line + "two words\n")->program, u"two words");
  EXPECT_EQ(readFrom(line + "a\tb\x1B[1mc\n")->program, u"a?b?[1mc");
  EXPECT_EQ(readFrom(line + std::string(1000, 'x') + "\n")->program, std::u16string(255, u'x'));
}

}  // namespace
}  // namespace qx
