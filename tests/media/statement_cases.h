#pragma once

// The statements that the framework runs, as tables of cases: an operation, the statements that it
// runs in each dialect, and its result.

#include "tests/media/record.h"

#include <map>
#include <ostream>
#include <string>
#include <vector>

class IApplication;

namespace qx::test {

/// One expected statement in all dialects. An empty `sybase` means the text of `mssql`; "-" means
/// that the dialect runs no statement here.
struct Golden {
  std::string mssql;
  std::string db2;
  std::string kordb;
  std::string sybase = {};

  const std::string& of(const std::string& dialect) const {
    if (dialect == "db2") return db2;
    if (dialect == "kordb") return kordb;
    return dialect == "sybase" && !sybase.empty() ? sybase : mssql;
  }
};

/// The company of a case: it has the orders A, B and C, their lines and two posting periods.
struct StatementContext {
  CComPtr<ICompany> company;
  CComPtr<IApplication> application;
  std::string database;  ///< for statements that bypass the company
};

struct StatementCase {
  std::string name;
  /// Runs the operation and returns its result, usually the rows afterwards joined by "\n".
  std::string (*work)(const StatementContext& context);
  std::vector<Golden> statements;
  std::string answer;
  std::map<std::string, std::string> otherAnswers =
      {};  ///< by dialect, where they differ from `answer`
};

inline void PrintTo(const StatementCase& each, std::ostream* out) { *out << each.name; }

/// Returns all rows of a collection, joined by "\n".
std::string textOfAll(Rows& rows);

std::vector<StatementCase> oneRowStatements();
std::vector<StatementCase> collectionStatements();
std::vector<StatementCase> joinStatements();
std::vector<StatementCase> utilityStatements();

}  // namespace qx::test
