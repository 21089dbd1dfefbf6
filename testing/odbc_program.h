#pragma once

// Another program on an ODBC source: tests read and change a database with it without the
// component.

#include <memory>
#include <string>

namespace qx::test {

/// A connection by ODBC. All operations throw std::runtime_error with the driver's message.
class OdbcProgram {
 public:
  /// Connects with an ODBC connection string.
  explicit OdbcProgram(const std::string& connection);
  ~OdbcProgram();
  OdbcProgram(const OdbcProgram&) = delete;
  OdbcProgram& operator=(const OdbcProgram&) = delete;

  void run(const std::string& sql);
  /// Returns the first cell as text, cut at 8191 bytes; empty for null and for no row.
  std::string ask(const std::string& sql);

 private:
  struct Handles;
  std::unique_ptr<Handles> handles_;
};

}  // namespace qx::test
