#include "qxframework/automation/trusted_file.h"

#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace qx {
namespace {

class TrustedFileTest : public testing::Test {
 protected:
  TrustedFileTest() : file_(folder_.write("inner/file", "text")) {
    chmod(inner().c_str(), 0700);
    chmod(file_.c_str(), 0644);
  }
  std::filesystem::path inner() const { return folder_.path() / "inner"; }

  /// Returns what both operations say of the file; they must agree.
  std::string problem() const {
    const TrustedText read = readTrusted(file_, 100);
    EXPECT_EQ(distrust(file_), read.problem);
    EXPECT_EQ(read.text, read.problem.empty() ? "text" : "");
    return read.problem;
  }

  test::TempFolder folder_;
  std::filesystem::path file_;
};

TEST_F(TrustedFileTest, AFileOfThisUserIsRead) { EXPECT_EQ(problem(), ""); }

TEST_F(TrustedFileTest, AFileOfRootIsTrusted) { EXPECT_EQ(distrust("/etc/passwd"), ""); }

TEST_F(TrustedFileTest, AFileThatOthersCanWriteIsNotTrusted) {
  chmod(file_.c_str(), 0606);
  EXPECT_EQ(problem(), "other users can write to it; take the right from them (chmod go-w)");
}

TEST_F(TrustedFileTest, AFileThatTheUsersOwnGroupCanWriteIsTrusted) {
  chmod(file_.c_str(), 0664);
  EXPECT_EQ(problem(), getegid() == geteuid() ? ""
                                              : "other users can write to it; take the right from "
                                                "them (chmod go-w)");
}

TEST_F(TrustedFileTest, AFileInAFolderThatOthersCanWriteIsNotTrusted) {
  chmod(inner().c_str(), 0707);
  EXPECT_EQ(problem(), "other users can write to its folder " + inner().string() +
                           "; take the right from them (chmod go-w)");
}

TEST_F(TrustedFileTest, InAStickyFolderNobodyReplacesTheFile) {
  chmod(inner().c_str(), 01777);
  EXPECT_EQ(problem(), "");
}

TEST_F(TrustedFileTest, OfALinkTheTargetsFolderCountsToo) {
  const std::filesystem::path other = folder_.write("other/file", "text");
  chmod(other.parent_path().c_str(), 0707);
  std::filesystem::remove(file_);
  std::filesystem::create_symlink(other, file_);
  EXPECT_EQ(problem(), "other users can write to its folder " + other.parent_path().string() +
                           "; take the right from them (chmod go-w)");
  chmod(other.parent_path().c_str(), 0755);
  EXPECT_EQ(problem(), "");
}

TEST_F(TrustedFileTest, APipeIsRefusedWithoutWaiting) {
  std::filesystem::remove(file_);
  ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
  EXPECT_EQ(problem(), "it is not a plain file; replace it by one");
}

TEST_F(TrustedFileTest, AFolderIsNotAPlainFile) {
  EXPECT_EQ(distrust(folder_.path()), "it is not a plain file; replace it by one");
}

TEST_F(TrustedFileTest, AFileOfTheLimitIsReadAndALongerOneIsNot) {
  EXPECT_EQ(readTrusted(file_, 4).text, "text");
  EXPECT_EQ(readTrusted(file_, 3).problem, "it is longer than 3 bytes; shorten it");
  EXPECT_EQ(readTrusted(file_, 3).text, "");
}

TEST_F(TrustedFileTest, AnEmptyFileIsRead) {
  const TrustedText read = readTrusted(folder_.write("inner/empty", ""), 100);
  EXPECT_EQ(read.text + read.problem, "");
}

TEST_F(TrustedFileTest, AMissingFileIsNotDistrustedButCannotBeRead) {
  EXPECT_EQ(distrust(folder_.path() / "none"), "");
  EXPECT_EQ(readTrusted(folder_.path() / "none", 100).problem,
            "it cannot be read (No such file or directory)");
}

TEST(TrustedVariable, IsTheVariableOfAProcessWithoutFurtherRights) {
  const test::ScopedVariable variable("QX_TEST_TRUSTED", "value");
  EXPECT_EQ(trustedVariable("QX_TEST_TRUSTED"), "value");
  EXPECT_EQ(trustedVariable("QX_TEST_TRUSTED_NONE"), "");
}

TEST_F(TrustedFileTest, AFileOfAnotherUserIsNotTrusted) {
  // Only root can give a file away; for other users there is nothing to check.
  constexpr uid_t kNobody = 65534;
  if (chown(file_.c_str(), kNobody, 0) == 0) {
    EXPECT_EQ(problem(), "it belongs to user 65534; only files of this user or of root are used");
    ASSERT_EQ(chown(file_.c_str(), 0, 0), 0);
    ASSERT_EQ(chown(inner().c_str(), kNobody, 0), 0);
    EXPECT_EQ(problem(), "its folder " + inner().string() +
                             " belongs to user 65534; only files of this user or of root are used");
  } else {
    EXPECT_NE(geteuid(), 0U);
  }
}

}  // namespace
}  // namespace qx
