#pragma once

// The medium of a test program: CTest runs the program once for each pair of dialect and engine.
// QX_TEST_DIALECT is mssql, sybase, db2 or kordb; QX_TEST_ENGINE is sqlite or postgres.

#include <filesystem>
#include <string>

namespace qx::test {

struct Medium {
  std::string dialect;    ///< as in a client's connection string
  bool postgres = false;  ///< SQLite if false
  long serverType = 0;    ///< see qx::DbServerType

  bool is(long type) const { return serverType == type; }
};

/// Returns the medium of this program; mssql on SQLite if the variables are not set. Throws
/// std::runtime_error if one of them has an unknown value.
const Medium& medium();

/// Creates company databases on the engine of the medium, as copies of a prepared one if there is
/// one.
class CompanyStore {
 public:
  /// Creates a database and returns its name for a client's connection string. It is a copy of the
  /// model, or empty if there is none: then the first connection makes a company of it. SQLite
  /// files are created in `folder`.
  static std::string fresh(const std::filesystem::path& folder);
  /// Makes `database` the model, which fresh() copies from now on. No connection to it may be open.
  static void keepAsModel(const std::string& database);
  static bool hasModel();

  /// Runs a statement in the engine's own SQL, as another program would, without the host.
  static void run(const std::string& database, const std::string& sql);
  /// Returns the first cell of a query, which is run as by run().
  static std::string ask(const std::string& database, const std::string& sql);
};

}  // namespace qx::test
