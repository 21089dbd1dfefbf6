#include "qxframework/resources/form_dump.h"

#include "qxframework/automation/text.h"
#include "testing/file_content.h"
#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>

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

// The text fits into the buffer of the file, so that a full disk shows when the file is closed.
TEST_F(DumpForm, SaysThatTheDiskIsFull) {
  const test::ScopedVariable place("TMPDIR", folder_.path().string());
  std::filesystem::create_symlink("/dev/full", file());
  EXPECT_FALSE(dumpForm(u"x").written);
}

}  // namespace
}  // namespace qx
