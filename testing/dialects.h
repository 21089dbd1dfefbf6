#pragma once

// The four dialects that the framework writes, for tests that hold for each.

#include "testing/param_name.h"

#include <ostream>
#include <string>

namespace qx::test {

struct Dialect {
  std::string name;
  std::string versionTable;  ///< its name in the company's dictionary
  friend std::ostream& operator<<(std::ostream& out, const Dialect& dialect) {
    return out << dialect.name;
  }
};

inline auto allDialects() {
  return testing::Values(Dialect{"mssql", "QXEXTDBVERSION"}, Dialect{"sybase", "QXEXTDBVERSION"},
                         Dialect{"db2", "QXEXTDBV"}, Dialect{"kordb", "QXEXTDBVERSION"});
}

}  // namespace qx::test
