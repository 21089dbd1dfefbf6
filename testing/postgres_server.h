#pragma once

// A private PostgreSQL server for the tests of one program. Its databases are in a temporary
// folder, and it listens on a Unix socket only, so it needs no port. A keeper process starts and
// stops the server. When the test program ends, even by a crash, the keeper stops the server and
// removes the folder.
//
// PostgreSQL refuses to run as root, so in tests of root it runs as "postgres" or "nobody".

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace qx::test {

class PostgresServer {
 public:
  /// The ways to end a server. Fast ends its sessions with an error and shuts down in order.
  /// Immediate warns the clients and exits. Killed leaves them a dead process.
  enum class End { Fast, Immediate, Killed };

  /// Returns the server of this test program, which the first call starts. Throws
  /// std::runtime_error with the server's log if it does not start.
  static PostgresServer& shared();

  PostgresServer();
  ~PostgresServer();
  PostgresServer(const PostgresServer&) = delete;
  PostgresServer& operator=(const PostgresServer&) = delete;

  /// Creates a database as a copy of `model`, which must have no connection. Returns its name.
  std::string createDatabase(std::string_view model = "template1");
  /// Returns an ODBC connection string.
  std::string connection(std::string_view database) const;
  /// Runs statements as another program does.
  void run(std::string_view database, const std::string& sql) const;
  /// Runs a query likewise and returns the first cell of the answer as text.
  std::string ask(std::string_view database, const std::string& sql) const;

  void stop(End how);
  /// Starts the server again after stop(), with all committed data. Does nothing if it runs.
  void start();
  /// Returns the folder of the socket.
  const std::filesystem::path& folder() const { return folder_; }

 private:
  void command(char what);
  [[noreturn]] void fail() const;

  std::filesystem::path folder_;
  pid_t owner_;
  pid_t keeper_ = -1;
  int line_ = -1;  // to the keeper
  int databases_ = 0;
};

}  // namespace qx::test
