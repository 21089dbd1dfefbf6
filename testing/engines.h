#pragma once

// The four dialects that the framework writes, for tests that hold for each.

#include "testing/param_name.h"

#include <ostream>
#include <string>

namespace qx::test {

struct Engine {
  std::string name;
  std::string versionTable;  ///< its name in the company's dictionary
  friend std::ostream& operator<<(std::ostream& out, const Engine& engine) {
    return out << engine.name;
  }
};

inline auto allEngines() {
  return testing::Values(Engine{"mssql", "QXEXTDBVERSION"}, Engine{"sybase", "QXEXTDBVERSION"},
                         Engine{"db2", "QXEXTDBV"}, Engine{"kordb", "QXEXTDBVERSION"});
}

}  // namespace qx::test
