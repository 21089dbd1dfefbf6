#pragma once

// The database engines that translated statements run on, described as data where they differ by a
// word or a limit. A larger difference is an operation of the engine's emitter.

#include <cstddef>
#include <string>
#include <string_view>

namespace qx::sql {

enum class Engine { Sqlite, Postgres };

struct EngineTraits {
  std::string_view name;       // for messages
  std::size_t maxNameBytes;    // the engine cuts longer names; 0: any length
  std::string_view ownTables;  // prefix of the engine's own tables, which no statement may name
  int maxOpenSymbols;          // the symbols that its parser can hold open
  bool foldsNames;             // names are kept in lower case, because the engine minds their case
  bool nullsHigh;              // NULL sorts above every value by default
  bool ordersOneRow;           // takes an ORDER BY of columns after an ungrouped COUNT or MAX
  bool probes;                 // reports no types of expressions; a probe query finds them
  std::string_view unnamed;    // the name of a result column that has none
  // Around the table and the condition of the rows that a limited UPDATE or DELETE changes.
  std::string_view beforeLimitedRows;
  std::string_view afterLimitedRows;
  std::string_view beforeLimitedPart;  // before a part of a UNION that has its own limit
  std::string_view smallerOf;          // the function that returns the smaller of two values
  std::string_view rankedTable;        // alias of the derived table of ranks, if it needs one
};

const EngineTraits& traitsOf(Engine engine);

/// Returns the name under which `engine` keeps a table, column or index that statements call
/// `name`.
std::string storedName(Engine engine, std::string_view name);

}  // namespace qx::sql
