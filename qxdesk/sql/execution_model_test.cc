// Deep, hostile and random statements on real databases, compared with models.
#include "qxdesk/sql/test_support.h"
#include "testing/cases.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>
#include <vector>

namespace qx::sql {
namespace {

using test::CompanyDatabase;
using test::engineName;
using test::engines;
using test::EngineTest;
using test::literal;

class ExecutionDepth : public EngineTest {};
class ExecutionLiterals : public EngineTest {};
class ExecutionTies : public EngineTest {};

TEST_P(ExecutionDepth, LongChainOfConditionsRuns) {
  CompanyDatabase database = company(Dialect::Mssql);
  std::string chain = "SELECT COUNT(*) FROM [@T] WHERE Code = '0'";
  for (int i = 0; i < 5000; ++i) chain += " OR Code = " + literal(std::to_string(i), false);
  EXPECT_EQ(database.run(chain), "5");
  EXPECT_EQ(database.run("SELECT COUNT(*) FROM [@T] WHERE " + std::string(50, '(') + "Code = '1'" +
                         std::string(50, ')')),
            "1");
}

bool isAccepted(CompanyDatabase& database, const std::string& text) {
  try {
    database.translate(text);
    return true;
  } catch (const SqlError&) {
    return false;
  }
}

// The counts of open symbols are right if the database takes the deepest nesting that the front end
// accepts.
TEST_P(ExecutionDepth, DeepestAcceptedNestingRuns) {
  struct Nesting {
    std::string_view open, middle, close;
  };
  CompanyDatabase database = company(Dialect::Mssql);
  for (const Nesting& nesting : std::vector<Nesting>{
           {"(1 + ", "2", ")"},
           {"ABS(", "2", ")"},
           {"1 - (2 * ", "2", ")"},
           {"-(1 + ", "2", ")"},
           {"COALESCE(1, ABS(2 * ", "2", "))"},
           {"CASE 1 WHEN 1 THEN 2 + ", "2", " ELSE 3 END"},
           {"CASE WHEN 1 = 1 AND 2 < ", "2", " THEN 2 END"},
           {"(SELECT 1 + ", "2", ")"},
           {"(SELECT MAX(U_B) FROM [@T] WHERE U_B IN (SELECT 1 + ", "2", "))"},
           {"(SELECT T0.U_B FROM (SELECT U_B FROM [@T] WHERE 1 = 1 AND U_B = ", "2", ") T0)"},
           {"CASE WHEN NOT EXISTS (SELECT 1 WHERE 1 = 1 AND 1 BETWEEN 1 AND 2 + ", "2",
            ") THEN 1 END"},
           {"(SELECT TOP 1 WITH TIES 1 + U_B FROM [@T] WHERE U_B > 0 ORDER BY U_B + ", "2", ")"}}) {
    std::string accepted;
    std::string text = "SELECT " + std::string(nesting.middle);
    int depth = 0;
    for (; depth < 200 && isAccepted(database, text); ++depth) {
      accepted = text;
      text = text.substr(0, 7) + std::string(nesting.open) + text.substr(7) +
             std::string(nesting.close);
    }
    EXPECT_GT(depth, 1) << "no nesting is accepted: " << nesting.open;
    EXPECT_LT(depth, 200) << "no nesting is refused: " << nesting.open;
    EXPECT_NE(database.run(accepted), "") << accepted;
  }
}

// ---- model tests

std::string hostileText(std::mt19937& random) {
  static const std::array<std::string, 24> kPieces = {"'",
                                                      "''",
                                                      "\"",
                                                      "\\",
                                                      "--",
                                                      "/*",
                                                      "*/",
                                                      ";",
                                                      "\r\n",
                                                      "\n",
                                                      "?",
                                                      "@x",
                                                      ":y",
                                                      "$1",
                                                      "[",
                                                      "]",
                                                      "%",
                                                      "_",
                                                      "N'",
                                                      "é",
                                                      "漢",
                                                      "\xF0\x9F\x98\x80",
                                                      "DROP TABLE T",
                                                      " "};
  std::string text;
  for (int i = std::uniform_int_distribution<>(0, 12)(random); i > 0; --i) {
    text += kPieces.at(std::uniform_int_distribution<std::size_t>(0, 23)(random));
  }
  return text;
}

// A long run with the factor 10 has 1500 texts for each dialect.
TEST_P(ExecutionLiterals, HostileTextComesBackUnchangedInEveryDialect) {
  std::mt19937 random(20240215);
  const std::size_t texts = qx::test::cases(150);
  for (const Dialect dialect : {Dialect::Mssql, Dialect::Sybase, Dialect::Db2, Dialect::Kordb}) {
    CompanyDatabase database = company(dialect);
    const bool quoted = dialect == Dialect::Kordb;
    const std::string table = dialect == Dialect::Db2 ? "@L" : quoted ? "\"@L\"" : "[@L]";
    for (std::size_t i = 0; i < texts; ++i) {
      const std::string text = hostileText(random);
      database.run("UPDATE " + table + " SET U_Text = " + literal(text, i % 2 == 0));
      ASSERT_EQ(database.run("SELECT U_Text FROM " + table +
                             " WHERE Code = '1' AND U_Text = " + literal(text, i % 3 == 0)),
                text)
          << i;
    }
  }
}

TEST_P(ExecutionLiterals, LiteralMayHaveAMillionBytes) {
  CompanyDatabase database = company(Dialect::Mssql);
  std::string text;
  while (text.size() < 1'000'000) text += "it's \\ \xE6\xBC\xA2?";
  EXPECT_EQ(database.run("SELECT LEN(" + literal(text + ".") + ")"),
            std::to_string(text.size() / 11 * 9 + 1));
}

// TOP n WITH TIES returns every row that the keys do not put after the n-th.
TEST_P(ExecutionTies, RandomRowsAgreeWithAModel) {
  std::mt19937 random(7);
  const auto number = [&random](int high) {
    return std::uniform_int_distribution<>(0, high)(random);
  };
  CompanyDatabase database = company(Dialect::Mssql);
  const std::size_t rounds = qx::test::cases(200);
  for (std::size_t round = 0; round < rounds; ++round) {
    database.run("DELETE FROM [@L]");
    std::vector<int> keys;
    const int rows = number(12);
    for (int i = 0; i < rows; ++i) {
      keys.push_back(number(4));  // 0 is written as NULL, which sorts lowest
      const std::string key =
          keys.back() == 0 ? "NULL" : literal(std::to_string(keys.back()), false);
      database.run("INSERT INTO [@L] (Code, U_T) VALUES ('c', " + key + ")");
    }
    const bool descending = number(1) == 1;
    const int top = number(6);
    std::sort(keys.begin(), keys.end());
    if (descending) std::reverse(keys.begin(), keys.end());
    std::size_t expected = std::min(keys.size(), static_cast<std::size_t>(top));
    while (expected > 0 && expected < keys.size() && keys[expected] == keys[expected - 1]) {
      ++expected;
    }
    const std::string inner = "SELECT TOP " + std::to_string(top) +
                              " WITH TIES Code FROM [@L] ORDER BY U_T" +
                              (descending ? " DESC" : "");
    EXPECT_EQ(database.run("WITH C AS (" + inner + ") SELECT COUNT(*) FROM C"),
              std::to_string(expected))
        << round;
  }
}

INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionDepth, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionLiterals, engines(), engineName);
INSTANTIATE_TEST_SUITE_P(AllEngines, ExecutionTies, engines(), engineName);

}  // namespace
}  // namespace qx::sql
