#include "qxdesk/session/password_source.h"

#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <string>

namespace qx::desk {
namespace {

std::string refusal(const std::string& source) {
  try {
    return "password " + readPassword(source);
  } catch (const PasswordSourceError& error) {
    return error.what();
  }
}

class PasswordFileTest : public testing::Test {
 protected:
  std::string write(const std::string& content, mode_t mode) const {
    const std::string file = folder_.write("word", content).string();
    chmod(file.c_str(), mode);
    return "file:" + file;
  }
  test::TempFolder folder_;
};

TEST_F(PasswordFileTest, ItsFirstLineIsThePassword) {
  EXPECT_EQ(readPassword(write("se;cr=et\n", 0600)), "se;cr=et");
  EXPECT_EQ(readPassword(write("secret\r\nsecond\n", 0400)), "secret");
  EXPECT_EQ(readPassword(write("secret", 0600)), "secret");
}

TEST_F(PasswordFileTest, AFileThatOthersCanReadIsRefused) {
  for (const mode_t mode : {0640U, 0604U}) {
    EXPECT_EQ(refusal(write("secret\n", mode)),
              "of the file " + folder_.file("word") +
                  ": other users can read it; take the right from them (chmod 600) and change the "
                  "password");
  }
}

TEST_F(PasswordFileTest, AFileThatOthersCanWriteIsRefused) {
  EXPECT_EQ(refusal(write("secret\n", 0602)),
            "of the file " + folder_.file("word") +
                ": other users can write to it; take the right from them (chmod go-w)");
}

TEST_F(PasswordFileTest, AMissingFileIsRefused) {
  EXPECT_EQ(
      refusal("file:" + folder_.file("none")),
      "of the file " + folder_.file("none") + ": it cannot be read (No such file or directory)");
}

TEST_F(PasswordFileTest, AnEmptyFirstLineIsRefused) {
  EXPECT_EQ(refusal(write("\nsecret\n", 0600)),
            "is empty; put it into the first line of the place that is named");
}

TEST(PasswordSource, AVariableOfTheEnvironmentHoldsThePassword) {
  const test::ScopedVariable variable("QX_TEST_WORD", "secret");
  EXPECT_EQ(readPassword("env:QX_TEST_WORD"), "secret");
  EXPECT_EQ(refusal("env:QX_TEST_NO_WORD"),
            "is empty; put it into the first line of the place that is named");
}

TEST(PasswordSource, ADescriptorIsReadOnceAndRemembered) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  ASSERT_EQ(write(ends[1], "sec", 3), 3);
  ASSERT_EQ(write(ends[1], "ret\nmore", 8), 8);
  const std::string source = "fd:" + std::to_string(ends[0]);
  EXPECT_EQ(readPassword(source), "secret");
  EXPECT_EQ(readPassword(source), "secret");
  close(ends[0]);
  close(ends[1]);
}

TEST(PasswordSource, ADescriptorMayEndWithoutALineEnd) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  // A number that no other test has used.
  constexpr int kNumber = 77;
  ASSERT_EQ(dup2(ends[0], kNumber), kNumber);
  ASSERT_EQ(write(ends[1], "secret", 6), 6);
  close(ends[1]);
  EXPECT_EQ(readPassword("fd:77"), "secret");
  close(ends[0]);
  close(kNumber);
}

TEST(PasswordSource, AClosedDescriptorIsRefused) {
  EXPECT_EQ(refusal("fd:999"), "of the descriptor 999 cannot be read");
}

TEST(PasswordSource, AWrongSourceIsRefusedWithoutBeingQuoted) {
  const std::string kinds =
      "is neither file:PATH nor env:NAME nor fd:NUMBER; the password itself does not belong here";
  EXPECT_EQ(refusal("secret"), kinds);
  EXPECT_EQ(refusal(""), kinds);
  for (const char* source : {"fd:", "fd:x", "fd:1x", "fd:-1"}) {
    EXPECT_EQ(refusal(source), "has no number after fd:; write fd:3 for the descriptor 3");
  }
}

}  // namespace
}  // namespace qx::desk
