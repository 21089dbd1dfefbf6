#pragma once

// The parameter of suites that run once for each dialect, and the texts that they expect.

#include "qxframework/sql/dialects.h"
#include "testing/param_name.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace qx::test {

struct DialectParam {
  std::string name;  ///< the end of the dialect's class names
  DbServerType serverType;

  const Dialect& dialect() const { return dialectOf(serverType); }
  friend std::ostream& operator<<(std::ostream& out, const DialectParam& dialect) {
    return out << dialect.name;
  }
};

inline auto eachDialect() {
  return testing::Values(DialectParam{"MSSQL", kMssql}, DialectParam{"Sybase", kSybase},
                         DialectParam{"DB2", kDb2}, DialectParam{"KORDB", kKordb});
}

/// The texts of the dialects. Sybase writes the text of MSSQL if it has none of its own.
struct PerDialect {
  std::string mssql;
  std::string sybase = {};
  std::string db2;
  std::string kordb;

  const std::string& of(const DialectParam& dialect) const {
    if (dialect.name == "DB2") return db2;
    if (dialect.name == "KORDB") return kordb;
    return dialect.name == "Sybase" && !sybase.empty() ? sybase : mssql;
  }
};

}  // namespace qx::test
