// The database engines that translated statements run on, told as data where they differ by a word
// or a limit. What differs by more is an operation of the engine's emitter.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace qx::sql {

enum class Engine { Sqlite, Postgres };

struct EngineTraits {
  std::string_view name;       // as told in messages
  std::size_t maxNameBytes;    // longer names would be cut; 0: any length
  std::string_view ownTables;  // how the engine's own tables begin, which no statement may name
  int maxOpen;                 // symbols that its parser can hold open
  bool foldsNames;             // names are kept in lower case, where the engine minds the case
  bool nullsHigh;              // NULL sorts above every value unless told otherwise
  bool ordersOneRow;           // takes an ORDER BY of columns behind an ungrouped COUNT or MAX
  bool probes;                 // does not tell the types of expressions by itself
  std::string_view unnamed;    // the name of a result column that has none
  // Around the table and the condition of the rows that a limited UPDATE or DELETE changes.
  std::string_view beforeLimitedRows;
  std::string_view afterLimitedRows;
  std::string_view beforeLimitedPart;  // before a part of a UNION that has a limit of its own
  std::string_view smallerOf;          // the function
  std::string_view rankedTable;        // alias of a derived table that needs none by itself
};

const EngineTraits& traitsOf(Engine engine);

// The name under which `engine` keeps a table, column or index that statements call `name`.
std::string storedName(Engine engine, std::string_view name);

}  // namespace qx::sql
