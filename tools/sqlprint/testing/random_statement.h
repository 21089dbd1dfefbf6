#pragma once

// Random descriptions: their content, their text as a file, and the calls of the layer's classes
// that run the same statement.

#include "tools/sqlprint/description.h"

#include <cstdint>
#include <random>

class ICompany;

namespace qx::test {

/// Makes descriptions. Most are valid; the layer refuses some.
class RandomStatements {
 public:
  explicit RandomStatements(std::uint32_t seed) : random_(seed) {}
  sqlprint::Statement next();

 private:
  int upTo(int most) { return static_cast<int>(random_() % static_cast<unsigned>(most + 1)); }
  bool oneIn(int count) { return upTo(count - 1) == 0; }
  std::u16string name();
  std::u16string tableName();
  std::u16string text();
  sqlprint::Names names(int most);
  CComVariant value();
  CComVariant date();
  sqlprint::NamedValues values(int most);
  std::vector<sqlprint::Condition> conditions(bool onlyEqual);
  sqlprint::Condition condition(bool onlyEqual);
  sqlprint::Join join();
  void fillSelect(sqlprint::Statement& statement);
  void fillInsert(sqlprint::Statement& statement);
  void fillUpdate(sqlprint::Statement& statement);
  void fillChooseList(sqlprint::Statement& statement);

  std::mt19937 random_;  // gives the same numbers everywhere
};

/// Returns the description as the text of a file.
std::string tomlOf(const sqlprint::Statement& statement);

/// Runs the statement by the layer's classes with a company. Deletes by an object or a collection.
void sendByLayer(const sqlprint::Statement& statement, ICompany* company, bool removeByCollection);

}  // namespace qx::test
