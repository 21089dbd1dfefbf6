#pragma once

// The statements that the framework runs, as tables: what is done, what is then run in each
// dialect, word for word, and what the database answers.

#include "tests/media/record.h"

#include <map>
#include <ostream>
#include <string>
#include <vector>

class IApplication;

namespace qx::test {

/// One statement in the dialects; Sybase writes what MSSQL does unless told otherwise, and runs
/// nothing for "-".
struct Golden {
  std::string mssql;
  std::string db2;
  std::string kordb;
  std::string sybase = {};

  const std::string& of(const std::string& engine) const {
    if (engine == "db2") return db2;
    if (engine == "kordb") return kordb;
    return engine == "sybase" && !sybase.empty() ? sybase : mssql;
  }
};

/// What a case works on: orders A, B and C and their lines, host tables with two periods.
struct StatementContext {
  CComPtr<ICompany> company;
  CComPtr<IApplication> application;
  std::string database;  ///< for what happens past the company
};

struct StatementCase {
  std::string name;
  /// What there is to see afterwards: rows joined by "\n".
  std::string (*work)(const StatementContext& context);
  std::vector<Golden> statements;
  std::string answer;
  std::map<std::string, std::string> otherAnswers = {};  ///< of engines that have another one
};

inline void PrintTo(const StatementCase& each, std::ostream* out) { *out << each.name; }

/// Rows of a collection, joined.
std::string allOf(Rows& rows);

std::vector<StatementCase> oneRowStatements();
std::vector<StatementCase> collectionStatements();
std::vector<StatementCase> joinStatements();
std::vector<StatementCase> utilityStatements();

}  // namespace qx::test
