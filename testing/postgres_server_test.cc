#include "testing/postgres_server.h"

#include "testing/odbc_program.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>
#include <stdexcept>

namespace qx::test {
namespace {

TEST(PostgresServer, CreatesSeparateDatabases) {
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
  EXPECT_EQ(server.ask("postgres",
                       "SELECT string_agg(x, '' ORDER BY x) FROM (VALUES ('b'), ('B'), "
                       "('a')) AS texts(x)"),
            "Bab");
  EXPECT_EQ(server.ask("postgres", "SELECT octet_length(U&'\\00e9')"), "2");
}

// ask() returns "" for no row as well, so the test compares inside the query.
TEST(PostgresServer, ListensOnNoPort) {
  EXPECT_EQ(PostgresServer::shared().ask(
                "postgres", "SELECT 'none' WHERE current_setting('listen_addresses') = ''"),
            "none");
}

// The server must have no groups of root either if the tests run as root.
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
  ASSERT_FALSE(users.empty());
  EXPECT_EQ((" " + users).find("\t0"), std::string::npos) << users;
  if (geteuid() == 0) {
    EXPECT_EQ(groups.find_first_not_of(" \t"), std::string::npos) << groups;
  }
}

TEST(PostgresServer, KeepsAClusterInTheBuildFolderForItsMajorVersion) {
  PostgresServer& server = PostgresServer::shared();
  const std::string version = server.ask("postgres", "SHOW server_version");
  const std::string folder = QX_POSTGRES_CLUSTER "_" + version.substr(0, version.find('.'));
  std::ifstream kept(folder + "/PG_VERSION");
  std::string major;
  EXPECT_TRUE(std::getline(kept, major)) << folder;
  EXPECT_EQ(major, version.substr(0, version.find('.')));
}

TEST(PostgresServer, StartsAgainWithItsDataAfterEveryEnd) {
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

/// A pipe whose writing end other processes hold: it closes when the last of them has ended.
class Lifeline {
 public:
  Lifeline() {
    if (pipe(ends_.data()) != 0) throw std::runtime_error("no pipe");
  }
  ~Lifeline() {
    close(ends_[0]);
    closeWritingEnd();
  }
  Lifeline(const Lifeline&) = delete;
  Lifeline& operator=(const Lifeline&) = delete;

  void send(const std::string& text) const {
    if (write(ends_[1], text.data(), text.size()) < 0) _exit(1);
  }
  /// Closes the writing end of this process.
  void closeWritingEnd() {
    if (ends_[1] >= 0) close(ends_[1]);
    ends_[1] = -1;
  }
  /// Waits until all writing ends are closed and returns all text. Fails the test after 30 seconds
  /// and returns the text so far.
  std::string untilTheEnd() const {
    constexpr int kPatienceMs = 30'000;
    std::string text;
    pollfd line{ends_[0], POLLIN, 0};
    while (poll(&line, 1, kPatienceMs) > 0) {
      std::array<char, 200> part{};
      const ssize_t got = read(ends_[0], part.data(), part.size());
      if (got <= 0) return text;
      text.append(part.data(), static_cast<std::size_t>(got));
    }
    ADD_FAILURE() << "the server is still running";
    return text;
  }

 private:
  std::array<int, 2> ends_{-1, -1};
};

// The keeper and the server inherit the writing end, so it closes when both have ended.
TEST(PostgresServer, EndsWhenItsProgramAborts) {
  Lifeline lifeline;
  const pid_t program = fork();
  if (program == 0) {
    const PostgresServer own;
    lifeline.send(own.folder().string());
    std::abort();
  }
  lifeline.closeWritingEnd();
  const std::string folder = lifeline.untilTheEnd();
  waitpid(program, nullptr, 0);
  ASSERT_FALSE(folder.empty());
  EXPECT_FALSE(std::filesystem::exists(folder)) << folder;
}

}  // namespace
}  // namespace qx::test
