#pragma once

// Another program on an ODBC source. With it a test looks at a database and changes it without the
// component under test.

#include <memory>
#include <string>

namespace qx::test {

class OdbcProgram {
 public:
  /// Connects. All operations throw std::runtime_error with the state and text of the driver.
  explicit OdbcProgram(const std::string& connection);
  ~OdbcProgram();
  OdbcProgram(const OdbcProgram&) = delete;
  OdbcProgram& operator=(const OdbcProgram&) = delete;

  void run(const std::string& sql);
  /// Returns the first cell as text, an empty text for null and without a row.
  std::string ask(const std::string& sql);

 private:
  struct Handles;
  std::unique_ptr<Handles> handles_;
};

}  // namespace qx::test
