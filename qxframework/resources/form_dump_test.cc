#include "qxframework/resources/form_dump.h"

#include "qxframework/automation/text.h"
#include "testing/file_content.h"
#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <string>

namespace qx {
namespace {

class DumpForm : public testing::Test {
 protected:
  std::filesystem::path file() const { return folder_.path() / "HVX_Form.xml"; }

  test::TempFolder folder_;
};

TEST_F(DumpForm, WritesTheTextAsUtf8IntoTheTemporaryFolder) {
  const test::ScopedVariable place("TMPDIR", folder_.path().string());
  const FormDump dump = dumpForm(u"<a b=\"\u00E4\U0001F600\"/>");
  EXPECT_TRUE(dump.written);
  EXPECT_EQ(toUtf8(dump.name), file().string());
  EXPECT_EQ(test::contentOf(file()), "<a b=\"\xC3\xA4\xF0\x9F\x98\x80\"/>");
}

TEST_F(DumpForm, ReplacesALongerDump) {
  const test::ScopedVariable place("TMPDIR", folder_.path().string() + "/");
  dumpForm(u"a long text");
  EXPECT_EQ(toUtf8(dumpForm(u"short").name), file().string()) << "with one slash";
  EXPECT_EQ(test::contentOf(file()), "short");
}

TEST_F(DumpForm, SaysThatItCouldNotOpenTheFile) {
  const test::ScopedVariable place("TMPDIR", folder_.path().string());
  std::filesystem::create_directory(file());
  const FormDump dump = dumpForm(u"x");
  EXPECT_FALSE(dump.written);
  EXPECT_EQ(toUtf8(dump.name), file().string());
}

// The limit of this process for files stands for a full disk.
TEST_F(DumpForm, SaysThatTheDiskIsFull) {
  const test::ScopedVariable place("TMPDIR", folder_.path().string());
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit none{.rlim_cur = 0, .rlim_max = before.rlim_max};
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  setrlimit(RLIMIT_FSIZE, &none);
  const bool written = dumpForm(u"x").written;
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_FALSE(written);
}

// What another user could put under the name of the dump.
TEST_F(DumpForm, IsAFileOfItsOwnWhateverHasItsName) {
  const test::ScopedVariable place("TMPDIR", folder_.path().string());
  const std::filesystem::path victim = folder_.write("victim", "precious");
  const auto expectOwnFile = [&] {
    EXPECT_TRUE(dumpForm(u"<a/>").written);
    struct stat status {};
    EXPECT_EQ(lstat(file().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, S_IFREG | 0600U);
    EXPECT_EQ(test::contentOf(file()), "<a/>");
    std::filesystem::remove(file());
  };
  expectOwnFile();
  std::filesystem::create_symlink(victim, file());
  expectOwnFile();
  std::filesystem::create_hard_link(victim, file());
  expectOwnFile();
  ASSERT_EQ(mkfifo(file().c_str(), 0600), 0);
  expectOwnFile();
  EXPECT_EQ(test::contentOf(victim), "precious");
}

}  // namespace
}  // namespace qx
