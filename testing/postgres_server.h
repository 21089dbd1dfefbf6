#pragma once

// A private PostgreSQL server for the tests of one program: fresh databases in a temporary folder,
// reached by a Unix socket only, so that no port is taken. A keeper process stands between the test
// program and the server. It stops the server and removes the folder when the program ends, however
// that ends, so that nothing is left behind.
//
// The server takes no root, so it runs as "postgres" or "nobody" where the tests run as root.

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <string_view>

namespace qx::test {

class PostgresServer {
 public:
  /// How a server goes away, from the gentlest: clients are told, are cut off with a word of
  /// warning, find the process dead.
  enum class End { Fast, Immediate, Killed };

  /// The server of this test program, which starts when it is first asked for. Raises
  /// std::runtime_error with the server's log when it does not start.
  static PostgresServer& shared();

  PostgresServer();
  ~PostgresServer();
  PostgresServer(const PostgresServer&) = delete;
  PostgresServer& operator=(const PostgresServer&) = delete;

  /// A database that nobody has used; its name. A copy of `model` where one is given, to which
  /// nobody must be connected.
  std::string createDatabase(std::string_view model = "template1");
  /// An ODBC connection string.
  std::string connection(std::string_view database) const;
  /// Runs statements as another program would.
  void run(std::string_view database, const std::string& sql) const;
  /// The first cell of the answer as text.
  std::string ask(std::string_view database, const std::string& sql) const;

  void stop(End how);
  /// After stop(), with everything that was committed; nothing happens while it runs.
  void start();
  /// Where its socket is.
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
