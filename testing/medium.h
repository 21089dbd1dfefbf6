#pragma once

// The dialect and the database that a test program is run for: one program, run for each pair of
// them. QX_TEST_ENGINE says mssql, sybase, db2 or kordb, QX_TEST_DATABASE sqlite or postgres.

#include <filesystem>
#include <string>

namespace qx::test {

struct Medium {
  std::string engine;  ///< as in a client's connection string
  bool postgres = false;
  long serverType = 0;  ///< see qx::DbServerType

  bool is(long type) const { return serverType == type; }
};

/// Raises std::runtime_error for names that mean nothing; left out they are mssql and sqlite.
const Medium& medium();

/// A place for companies, all of which begin as copies of one that was prepared.
class CompanyStore {
 public:
  /// The database of a new company, as it stands in a client's connection string: an empty one, to
  /// become a company with the first connection, or a copy of the one that was kept.
  static std::string fresh(const std::filesystem::path& folder);
  /// Makes `database` the one that fresh() copies from now on. Nobody may be connected to it.
  static void keepAsModel(const std::string& database);
  static bool hasModel();

  /// Runs a statement past the host and the framework, as another program would, in the words of
  /// the database itself.
  static void run(const std::string& database, const std::string& sql);
  /// The first cell of the answer.
  static std::string ask(const std::string& database, const std::string& sql);
};

}  // namespace qx::test
