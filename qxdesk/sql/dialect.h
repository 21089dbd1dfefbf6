// The four dialects in which statements arrive, told as data: which forms of names, literals,
// limits and operators each one has, and which functions. A form of another dialect is refused, so
// that a statement written for the wrong engine fails here and not at a customer.
#pragma once

#include <string_view>

namespace qx::sql {

enum class Dialect { Mssql, Sybase, Db2, Kordb };

// Dialect of a company's server type: 2 Db2, 3 Sybase, 9 Kordb, any other Mssql.
Dialect dialectOf(int engine);

struct DialectTraits {
  std::string_view name;     // as told in messages
  bool bracketNames;         // [x]
  bool quotedNames;          // "x" anywhere; without it, quotedAliases may still allow AS "x"
  bool quotedAliases;        // AS "x"
  bool textAliases;          // AS 'x', AS N'x'
  bool bareAtNames;          // @T without quotes
  bool top;                  // TOP n [WITH TIES]
  bool fetchFirst;           // FETCH FIRST n ROWS ONLY
  bool setRowCount;          // SET ROWCOUNT n
  bool selectWithoutFrom;    // SELECT 1
  bool plusJoinsText;        // 'a' + 'b'; without it, text is joined by ||
  bool likeSets;             // [a-z] and [^a-z] in LIKE patterns
  bool wholeAverage;         // AVG of whole numbers is one
  bool nullsHigh;            // NULL sorts above every value
  bool currentWords;         // CURRENT TIMESTAMP, CURRENT DATE
  bool currentUnderscore;    // CURRENT_TIMESTAMP, CURRENT_DATE
  bool durations;            // date + 1 DAYS
  std::string_view nowText;  // how this dialect writes the current time
};

const DialectTraits& traitsOf(Dialect dialect);

// What a function means, whatever its name in a dialect.
enum class Function {
  Count,
  Max,
  Min,
  Sum,
  Avg,
  AvgWhole,  // of whole numbers, cut to one; the resolver tells it from Avg
  Coalesce,
  Now,
  Today,
  ToDate,       // text or date to a date
  CompactDate,  // date to text of the form YYYYMMDD
  IsoDate,      // date to text of the form YYYY-MM-DD HH:MM:SS
  AddTime,      // date, count; the unit stands in the node
  DaysBetween,  // whole days from the first to the second date
  Year,
  Month,
  Day,
  Cast,     // target type stands in the node
  Convert,  // only as a name in the table; becomes one of the others
  Length,
  LengthNoTail,  // trailing blanks do not count
  Substring,
  Upper,
  Lower,
  TrimLeft,
  TrimRight,
  Replace,
  Abs,
  Round,
};

struct FunctionRule {
  std::string_view name;
  Function function;
  int minArguments;
  int maxArguments;
  unsigned dialects;  // bit per Dialect
};

// The rule of a function name, case-insensitive; null when the dialect has none such.
const FunctionRule* findFunction(Dialect dialect, std::string_view name);

// True when any dialect has the function: it is then a function of the wrong dialect.
bool isFunctionOfAnyDialect(std::string_view name);

// Equality of names and keywords: case-insensitive for ASCII letters, as the database has it.
bool sameName(std::string_view a, std::string_view b);

// An order of names in which those are equal that sameName() takes for the same.
struct NameLess {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const;
};

// The letter in lower case, as names are folded; any other character as it is.
constexpr char lowerAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace qx::sql
