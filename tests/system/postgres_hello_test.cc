// The smallest example on a PostgreSQL server, in every dialect: its output and its rows are those
// on SQLite, on the first start and on the second.

#include "testing/child_process.h"
#include "testing/dialects.h"
#include "testing/file_content.h"
#include "testing/machine.h"
#include "testing/postgres_server.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>

#include <fstream>

namespace {

using qx::test::ChildProcess;
using qx::test::Dialect;
using qx::test::PostgresServer;

class HelloOnPostgres : public testing::TestWithParam<Dialect> {
 protected:
  std::string run() const {
    ChildProcess hello({qx::test::buildProgram("hello").string(),
                        "embedded:?db=odbc:" + server.connection(database) +
                            "&engine=" + GetParam().name + "&play=" QX_TEST_DATA "/hello.play"},
                       {"QX_RUNTIME_DIR=" + (folder.path() / "run").string()});
    const std::string text = hello.rest();
    EXPECT_EQ(hello.wait(), 0);
    return text;
  }
  /// Returns all rows of the version table in one text.
  std::string versionRows() const {
    return server.ask(database,
                      "SELECT string_agg(code || ' ' || u_extid || ' ' || u_version || "
                      "' ' || u_status, ', ' ORDER BY code) FROM \"@" +
                          lower(GetParam().versionTable) + "\"");
  }
  static std::string lower(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
  }

  PostgresServer& server = PostgresServer::shared();
  std::string database = server.createDatabase();
  qx::test::TempFolder folder;
};

TEST_P(HelloOnPostgres, PrintsAndStoresTheSameAsOnSqlite) {
  EXPECT_EQ(run(), qx::test::contentOfExisting(QX_TEST_DATA "/hello.out"));
  EXPECT_EQ(server.ask(database, "SELECT code || ' ' || u_who FROM \"@hello\""), "00000000 World");
  const std::string rows = versionRows();
  EXPECT_EQ(rows, "00000000  9.20.00.01 Installed, 00000001 HELLO 1.00.00.00 Installed");
  EXPECT_EQ(run(), qx::test::contentOfExisting(QX_TEST_DATA "/hello.out"));
  EXPECT_EQ(server.ask(database, "SELECT code || ' ' || u_who FROM \"@hello\""), "00000000 World");
  EXPECT_EQ(versionRows(), rows);
}

INSTANTIATE_TEST_SUITE_P(Dialect, HelloOnPostgres, qx::test::allDialects(),
                         qx::test::nameOf<Dialect>);

}  // namespace
