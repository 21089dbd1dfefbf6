#pragma once

// The dialects in which statements arrive, described as data: the forms of names, literals,
// limits and operators that each one has, and its functions. A form of another dialect is refused,
// so that a statement written for the wrong database fails in development and not at a customer.

#include <string_view>

namespace qx::sql {

/// Db2Brackets is Db2 with the forms of Mssql that the record cache writes for every server: [x],
/// TOP n [WITH TIES] and AS 'x'. A real server refuses them.
enum class Dialect { Mssql, Sybase, Db2, Kordb, Db2Brackets };

/// Returns the dialect of a company's server type: 2 is Db2, or Db2Brackets with `acceptBrackets`,
/// 3 Sybase, 9 Kordb, any other Mssql.
Dialect dialectOf(int serverType, bool acceptBrackets = false);

/// True if the dialect has the form in the comment.
struct DialectTraits {
  std::string_view name;     ///< as messages call it
  bool bracketNames;         ///< [x]
  bool quotedNames;          ///< "x" anywhere; without it, quotedAliases may still allow AS "x"
  bool quotedAliases;        ///< AS "x"
  bool textAliases;          ///< AS 'x', AS N'x'
  bool bareAtNames;          ///< @T without quotes
  bool top;                  ///< TOP n [WITH TIES]
  bool fetchFirst;           ///< FETCH FIRST n ROWS ONLY
  bool setRowCount;          ///< SET ROWCOUNT n
  bool selectWithoutFrom;    ///< SELECT 1
  bool plusJoinsText;        ///< 'a' + 'b'; without it, text is joined by ||
  bool wholeTexts;           ///< only digits are a whole number, not '1.5'; a blank text is 0
  bool monthNames;           ///< a date as a text is Jan 31 2024 10:59AM, not 2024-01-31 10:59:00
  bool likeSets;             ///< [a-z] and [^a-z] in LIKE patterns
  bool wholeAverage;         ///< AVG of whole numbers is a whole number
  bool nullsHigh;            ///< NULL sorts above every value
  bool currentWords;         ///< CURRENT TIMESTAMP, CURRENT DATE
  bool currentUnderscore;    ///< CURRENT_TIMESTAMP, CURRENT_DATE
  bool durations;            ///< date + 1 DAYS
  std::string_view nowText;  ///< the dialect's form of the current time
};

const DialectTraits& traitsOf(Dialect dialect);

/// The meaning of a function, independent of its name in a dialect.
enum class Function {
  Count,
  Max,
  Min,
  Sum,
  Avg,
  AvgWhole,  // of whole numbers, cut to one; the resolver sets it in place of Avg
  Coalesce,
  IsNull,  // the second value in place of a NULL; has the type of the first
  Now,
  Today,
  ToDate,       // text or date to a date
  CompactDate,  // date to text of the form YYYYMMDD
  IsoDate,      // date to text of the form YYYY-MM-DD HH:MM:SS
  AddTime,      // date, count; Expr::unit is the unit
  DaysBetween,  // whole days from the first to the second date
  Year,
  Month,
  Day,
  Cast,     // to Expr::target
  Convert,  // only as a name in the table; the parser makes one of the others of it
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
  unsigned dialects;  ///< bit per Dialect
};

/// Returns the rule of a function name in any case, or null if the dialect has no such function.
const FunctionRule* findFunction(Dialect dialect, std::string_view name);

/// True if any dialect has the function. If findFunction() has not found it, its dialect is wrong.
bool isFunctionOfAnyDialect(std::string_view name);

/// Compares names and keywords, ignoring the case of ASCII letters as the database does.
bool sameName(std::string_view a, std::string_view b);

/// Orders names so that two are equal exactly if sameName() says so.
struct NameLess {
  using is_transparent = void;
  bool operator()(std::string_view a, std::string_view b) const;
};

}  // namespace qx::sql
