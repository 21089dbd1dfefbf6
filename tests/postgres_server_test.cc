#include "tests/support/postgres_server.h"

#include "tests/support/odbc_program.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <csignal>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace qx::test {
namespace {

TEST(PostgresServer, GivesDatabasesOfTheirOwn) {
  PostgresServer& server = PostgresServer::shared();
  const std::string one = server.createDatabase();
  const std::string two = server.createDatabase();
  server.run(one, "CREATE TABLE t (x int)");
  EXPECT_EQ(server.ask(one, "SELECT count(*) FROM t"), "0");
  EXPECT_THROW(server.ask(two, "SELECT count(*) FROM t"), std::runtime_error);
  server.run(one, "INSERT INTO t VALUES (1)");
  const std::string copy = server.createDatabase(one);
  EXPECT_EQ(server.ask(copy, "SELECT count(*) FROM t"), "1");
}

TEST(PostgresServer, SortsByBytesAndStoresUtf8) {
  PostgresServer& server = PostgresServer::shared();
  EXPECT_EQ(server.ask("postgres", "SELECT current_setting('server_encoding')"), "UTF8");
  EXPECT_EQ(server.ask("postgres", "SELECT datcollate FROM pg_database WHERE datname = 'postgres'"),
            "C");
  EXPECT_EQ(server.ask("postgres", "SHOW listen_addresses"), "");
}

// Where the tests run as root, the groups of root must not reach the server.
TEST(PostgresServer, RunsAsAnOrdinaryUser) {
  std::ifstream state(PostgresServer::shared().folder() / "data/postmaster.pid");
  std::string process;
  ASSERT_TRUE(std::getline(state, process));
  std::ifstream status("/proc/" + process + "/status");
  std::string line, users, groups;
  while (std::getline(status, line)) {
    if (line.starts_with("Uid:")) users = line.substr(4);
    if (line.starts_with("Groups:")) groups = line.substr(7);
  }
  EXPECT_EQ((" " + users).find("\t0"), std::string::npos) << users;
  if (geteuid() == 0) {
    EXPECT_EQ(groups.find_first_not_of(" \t"), std::string::npos) << groups;
  }
}

TEST(PostgresServer, KeepsAClusterForEveryMajorVersion) {
  PostgresServer& server = PostgresServer::shared();
  const std::string version = server.ask("postgres", "SHOW server_version");
  const std::string folder = QX_POSTGRES_CLUSTER "_" + version.substr(0, version.find('.'));
  std::ifstream kept(folder + "/PG_VERSION");
  std::string major;
  EXPECT_TRUE(std::getline(kept, major)) << folder;
  EXPECT_EQ(major, version.substr(0, version.find('.')));
}

TEST(PostgresServer, ComesBackWithItsDataAfterEveryEnd) {
  PostgresServer& server = PostgresServer::shared();
  const std::string name = server.createDatabase();
  server.run(name, "CREATE TABLE t (x int)");
  for (const auto end :
       {PostgresServer::End::Fast, PostgresServer::End::Immediate, PostgresServer::End::Killed}) {
    OdbcProgram open(server.connection(name));
    server.run(name, "INSERT INTO t VALUES (1)");
    server.stop(end);
    EXPECT_THROW(open.ask("SELECT 1"), std::runtime_error);
    EXPECT_THROW(server.ask(name, "SELECT 1"), std::runtime_error);
    server.start();
  }
  EXPECT_EQ(server.ask(name, "SELECT count(*) FROM t"), "3");
}

TEST(PostgresServer, GoesWithItsProgram) {
  std::array<int, 2> told{};
  ASSERT_EQ(pipe(told.data()), 0);
  const pid_t program = fork();
  if (program == 0) {
    const PostgresServer own;
    const std::string folder = own.folder().string();
    if (write(told[1], folder.data(), folder.size()) < 0) _exit(1);
    std::abort();
  }
  std::array<char, 200> name{};
  ASSERT_GT(read(told[0], name.data(), name.size() - 1), 0);
  waitpid(program, nullptr, 0);
  close(told[0]);
  close(told[1]);
  for (int i = 0; i < 1000 && std::filesystem::exists(name.data()); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_FALSE(std::filesystem::exists(name.data()));
}

}  // namespace
}  // namespace qx::test
