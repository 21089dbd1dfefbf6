// Both engines have to return the same rows for the same random statements.
#include "qxdesk/sql/test_queries.h"
#include "qxdesk/sql/test_support.h"
#include "testing/cases.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

namespace qx::sql {
namespace {

using test::CompanyDatabase;
using test::QueryMaker;
using test::RandomQuery;

std::vector<std::string> split(const std::string& text, char by) {
  std::vector<std::string> parts;
  for (std::size_t at = 0; at <= text.size();) {
    const std::size_t end = std::min(text.find(by, at), text.size());
    parts.push_back(text.substr(at, end - at));
    at = end + 1;
  }
  return parts;
}

/// Returns true for equal cells and for numbers whose difference is within the error of double
/// arithmetic.
bool sameCell(const std::string& a, const std::string& b) {
  if (a == b) return true;
  char* endOfA = nullptr;
  char* endOfB = nullptr;
  const double x = std::strtod(a.c_str(), &endOfA);
  const double y = std::strtod(b.c_str(), &endOfB);
  const bool numbers = !a.empty() && !b.empty() && *endOfA == 0 && *endOfB == 0;
  return numbers && std::abs(x - y) <= 1e-9 * std::max(1.0, std::abs(x));
}

bool sameRows(const std::string& a, const std::string& b, bool ordered) {
  std::vector<std::string> left = split(a, '/');
  std::vector<std::string> right = split(b, '/');
  if (!ordered) {
    std::sort(left.begin(), left.end());
    std::sort(right.begin(), right.end());
  }
  if (left.size() != right.size()) return false;
  for (std::size_t i = 0; i < left.size(); ++i) {
    const std::vector<std::string> x = split(left[i], '|');
    const std::vector<std::string> y = split(right[i], '|');
    if (!std::equal(x.begin(), x.end(), y.begin(), y.end(), sameCell)) return false;
  }
  return true;
}

/// Returns the rows, or the reason why there are none.
std::string outcome(CompanyDatabase& database, const std::string& text) {
  try {
    return database.run(text);
  } catch (const SqlError& error) {
    return std::string("refused: ") + error.what();
  } catch (const std::exception& error) {
    return std::string("failed: ") + error.what();
  }
}

/// The same company database on each engine.
class BothEngines {
 public:
  explicit BothEngines(Dialect dialect)
      : sqlite_(Engine::Sqlite, dialect), postgres_(Engine::Postgres, dialect) {}

  /// Both engines return the same rows, or the front end refuses the statement for both with the
  /// same words. A failure of an engine is never expected.
  void expectSame(const RandomQuery& query) {
    const std::string expected = outcome(sqlite_, query.text);
    const std::string actual = outcome(postgres_, query.text);
    rows_ += expected.starts_with("refused: ") || expected.empty() ? 0 : 1;
    const bool failed = expected.starts_with("failed: ") || actual.starts_with("failed: ");
    EXPECT_TRUE(!failed && sameRows(expected, actual, query.ordered))
        << query.text << "\nSQLite:     " << expected << "\nPostgreSQL: " << actual << "\n"
        << postgres_.translate(query.text).text;
  }

  std::size_t queriesWithRows() const { return rows_; }

 private:
  CompanyDatabase sqlite_;
  CompanyDatabase postgres_;
  std::size_t rows_ = 0;
};

class ExecutionRandom : public testing::TestWithParam<Dialect> {};

// A long run with the factor 3 has 12 rounds.
TEST_P(ExecutionRandom, PostgresAndSqliteReturnTheSameRows) {
  const std::size_t rounds = qx::test::cases(4);
  constexpr std::size_t kQueries = 50;
  BothEngines engines(GetParam());
  QueryMaker maker(GetParam(), 20240215U + static_cast<unsigned>(GetParam()));
  for (std::size_t round = 0; round < rounds && !HasFailure(); ++round) {
    for (const std::string& statement : maker.fill()) engines.expectSame({statement, true});
    for (std::size_t i = 0; i < kQueries; ++i) engines.expectSame(maker.query());
    for (int i = 0; i < 5; ++i) engines.expectSame({maker.change(), true});
    engines.expectSame(maker.everything());
  }
  // Equal refusals and equal empty results do not count as a comparison.
  EXPECT_GT(engines.queriesWithRows(), rounds * kQueries / 2);
}

INSTANTIATE_TEST_SUITE_P(AllDialects, ExecutionRandom,
                         testing::Values(Dialect::Mssql, Dialect::Sybase, Dialect::Db2,
                                         Dialect::Kordb),
                         [](const auto& test) { return std::string(traitsOf(test.param).name); });

}  // namespace
}  // namespace qx::sql
