#pragma once

// Random statements over the tables "@T" and "@L" of the tests' databases, in any dialect. Their
// results leave no choice to the engine: an order decides all rows, or the rows count as a set.

#include "qxdesk/sql/dialect.h"

#include <random>
#include <string>
#include <vector>

namespace qx::sql::test {

struct RandomQuery {
  std::string text;
  bool ordered = false;  // true if the order of the rows counts
};

class QueryMaker {
 public:
  QueryMaker(Dialect dialect, unsigned seed);

  /// Returns statements that empty the tables and fill them anew.
  std::vector<std::string> fill();
  RandomQuery query();
  /// Returns an UPDATE or DELETE.
  std::string change();
  /// Returns a query of everything that change() can change.
  RandomQuery everything();

 private:
  int below(int limit) { return std::uniform_int_distribution<>(0, limit - 1)(random_); }
  template <std::size_t size>
  std::string oneOf(const char* const (&choices)[size]) {
    return choices[below(static_cast<int>(size))];
  }

  std::string name(const std::string& plain);
  std::string column(const std::string& plain);
  std::string alias(const std::string& plain);
  std::string joined(const std::string& a, const std::string& b);
  std::string literal();
  std::string dateLiteral();
  std::string text(int depth);
  std::string textFunction(int depth);
  std::string whole(int depth);
  std::string decimal(int depth);
  std::string date(int depth);
  std::string value(int depth);
  std::string condition(int depth);
  std::string comparison(int depth);
  std::string membership(int depth);
  std::string like(int depth);
  std::string source();
  std::string where();
  std::string limited(const std::string& list, const std::string& rest);
  RandomQuery plain();
  RandomQuery grouped();
  RandomQuery united();
  RandomQuery nested();

  Dialect dialect_;
  std::mt19937 random_;
  bool joined_ = false;   // true if the query has T1, too
  bool changes_ = false;  // true for an UPDATE or DELETE, which has no aliases
};

}  // namespace qx::sql::test
