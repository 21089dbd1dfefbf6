#pragma once

// Another program on an ODBC source: tests look behind the component's back with it.

#include <memory>
#include <string>

namespace qx::test {

class OdbcProgram {
 public:
  /// Raises std::runtime_error, as all operations do.
  explicit OdbcProgram(const std::string& connection);
  ~OdbcProgram();
  OdbcProgram(const OdbcProgram&) = delete;
  OdbcProgram& operator=(const OdbcProgram&) = delete;

  void run(const std::string& sql);
  /// The first cell as text; empty for null and for no row.
  std::string ask(const std::string& sql);

 private:
  struct Handles;
  std::unique_ptr<Handles> handles_;
};

}  // namespace qx::test
