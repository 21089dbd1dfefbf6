#pragma once

// A private PostgreSQL server for the tests of one program. Its data is in a temporary folder, and
// it listens on a Unix socket only, so it needs no free port. The test program starts a keeper
// process, which starts the server. The keeper stops the server and removes the folder when the
// program ends, also after a crash.
//
// PostgreSQL refuses to run as root: if the tests run as root, it runs as "postgres" or "nobody".

#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

namespace qx::test {

class OdbcProgram;

class PostgresServer {
 public:
  /// A way to end the server. Fast: it rolls back and tells its clients. Immediate: it warns its
  /// clients and exits without a checkpoint. Killed: the process is gone.
  enum class End { Fast, Immediate, Killed };

  /// Returns the server of this test program, which the first call starts. Throws
  /// std::runtime_error with the server's log if it does not start.
  static PostgresServer& shared();

  PostgresServer();
  ~PostgresServer();
  PostgresServer(const PostgresServer&) = delete;
  PostgresServer& operator=(const PostgresServer&) = delete;

  /// Creates a database as a copy of `model`, to which no connection may be open, and returns its
  /// name.
  std::string createDatabase(std::string_view model = "template1");
  /// Returns the ODBC connection string of a database.
  std::string connection(std::string_view database) const;
  /// Runs statements over a connection of its own, as another program would. Throws
  /// std::runtime_error if one fails.
  void run(std::string_view database, const std::string& sql) const;
  /// Runs a query like run(). Returns the first cell as text; empty for null and for no row.
  std::string ask(std::string_view database, const std::string& sql) const;

  void stop(End how);
  /// Starts the server again with all committed data. Does nothing if it runs.
  void start();
  /// Returns the folder of its socket, its data and its log.
  const std::filesystem::path& folder() const { return folder_; }

 private:
  void command(char what);
  [[noreturn]] void fail() const;

  std::filesystem::path folder_;
  pid_t owner_;
  pid_t keeper_ = -1;
  int line_ = -1;                         // a socket to the keeper
  std::unique_ptr<OdbcProgram> creator_;  // null until the first createDatabase() after a start
  int databases_ = 0;
};

}  // namespace qx::test
