#pragma once

// The medium of a test program: the dialect and the database engine of its run. CTest runs one
// program for each pair. QX_TEST_ENGINE is mssql, sybase, db2 or kordb and names the dialect;
// QX_TEST_DATABASE is sqlite or postgres.

#include <filesystem>
#include <string>

namespace qx::test {

struct Medium {
  std::string engine;  ///< the dialect as a client's connection string names it
  bool postgres = false;
  long serverType = 0;  ///< see qx::DbServerType

  bool is(long type) const { return serverType == type; }
};

/// Returns the medium of this run, by default mssql on sqlite. Throws std::runtime_error if a
/// variable has an unknown name.
const Medium& medium();

/// Creates the databases of companies. Once a test has prepared one, all later ones are its copies.
class CompanyStore {
 public:
  /// Creates a database and returns it as a client's connection string names it. It is a copy of
  /// the model or, without one, empty until the first connection makes it a company.
  static std::string fresh(const std::filesystem::path& folder);
  /// Makes `database` the model that fresh() copies from now on. It must have no connection.
  static void keepAsModel(const std::string& database);
  static bool hasModel();

  /// Runs a statement of the engine's own SQL as another program does, without host and framework.
  static void run(const std::string& database, const std::string& sql);
  /// Runs a query likewise and returns the first cell of the answer.
  static std::string ask(const std::string& database, const std::string& sql);
};

}  // namespace qx::test
