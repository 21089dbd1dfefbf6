// The smallest example, from its start to its end, with the actions of the user read from a file.

#include "testing/child_process.h"
#include "testing/dialects.h"
#include "testing/file_content.h"
#include "testing/machine.h"
#include "testing/sqlite_file.h"
#include "testing/temp_folder.h"

#include <gmock/gmock.h>

#include <fstream>

namespace {

using qx::test::ChildProcess;
using qx::test::Dialect;
using testing::ElementsAre;

class Hello : public testing::TestWithParam<Dialect> {
 protected:
  std::string run() const {
    ChildProcess hello({qx::test::buildProgram("hello").string(),
                        "embedded:?db=" + file.string() + "&engine=" + GetParam().name +
                            "&play=" QX_TEST_DATA "/hello.play"},
                       {"QX_RUNTIME_DIR=" + (folder.path() / "run").string()});
    const std::string text = hello.rest();
    EXPECT_EQ(hello.wait(), 0);
    return text;
  }

  qx::test::TempFolder folder;
  std::filesystem::path file = folder.path() / "company.db";
};

TEST_P(Hello, SecondRunPrintsTheSameAndChangesNothing) {
  EXPECT_EQ(run(), qx::test::contentOfExisting(QX_TEST_DATA "/hello.out"));
  EXPECT_THAT(qx::test::rowsOf(file, "SELECT Code, U_Who FROM \"@HELLO\""),
              ElementsAre("00000000|World"));
  const std::string before = qx::test::dumpOf(file);
  EXPECT_EQ(run(), qx::test::contentOfExisting(QX_TEST_DATA "/hello.out"));
  EXPECT_EQ(qx::test::dumpOf(file), before);
}

TEST_P(Hello, WithoutACompanyEndsWithOneAndPrintsNothing) {
  ChildProcess hello({qx::test::buildProgram("hello").string(), "embedded:?engine=oldsql"}, {});
  EXPECT_EQ(hello.wait(), 1);
  EXPECT_EQ(hello.rest(), "");
}

INSTANTIATE_TEST_SUITE_P(Dialect, Hello, qx::test::allDialects(), qx::test::nameOf<Dialect>);

}  // namespace
