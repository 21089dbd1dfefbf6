#include "qxdesk/sql/dialect.h"

#include "qxframework/automation/ascii.h"

#include <algorithm>
#include <array>

namespace qx::sql {
namespace {

constexpr unsigned bit(Dialect dialect) { return 1U << static_cast<unsigned>(dialect); }

constexpr unsigned kMssql = bit(Dialect::Mssql);
constexpr unsigned kSybase = bit(Dialect::Sybase);
constexpr unsigned kDb2 = bit(Dialect::Db2) | bit(Dialect::Db2Brackets);
constexpr unsigned kKordb = bit(Dialect::Kordb);
constexpr unsigned kBrackets = kMssql | kSybase;
constexpr unsigned kAll = kMssql | kSybase | kDb2 | kKordb;
constexpr int kMany = 100;  // far more than anyone writes, and within SQLite's limit of 127

// MSSQL and Sybase share all but the name.
constexpr DialectTraits kBracketTraits = {
    .name = "MSSQL",
    .bracketNames = true,
    // A server setting decides there whether "x" is a name or a text; neither reading is safe.
    .quotedNames = false,
    .quotedAliases = false,
    .textAliases = true,
    .bareAtNames = false,
    .top = true,
    .fetchFirst = false,
    .setRowCount = true,
    .selectWithoutFrom = true,
    .plusJoinsText = true,
    .wholeTexts = true,
    .monthNames = true,
    .likeSets = true,
    .wholeAverage = true,
    .nullsHigh = false,
    .currentWords = false,
    .currentUnderscore = false,
    .durations = false,
    .nowText = "getdate()",
};

constexpr DialectTraits sybaseTraits() {
  DialectTraits traits = kBracketTraits;
  traits.name = "Sybase";
  return traits;
}

constexpr DialectTraits kDb2Traits = {
    .name = "DB2",
    .bracketNames = false,
    // Quotes make a name case-sensitive there. For a column that would change its meaning; an alias
    // of the statement itself keeps it. See NameParser::checkQuotedReferences.
    .quotedNames = false,
    .quotedAliases = true,
    .textAliases = false,
    .bareAtNames = true,
    .top = false,
    .fetchFirst = true,
    .setRowCount = false,
    .selectWithoutFrom = false,
    .plusJoinsText = false,
    .wholeTexts = false,
    .monthNames = false,
    .likeSets = false,
    .wholeAverage = true,
    .nullsHigh = true,  // the only dialect; without it rows would silently come in another order
    .currentWords = true,
    .currentUnderscore = false,
    .durations = true,
    .nowText = "CURRENT TIMESTAMP",
};

constexpr DialectTraits db2BracketTraits() {
  DialectTraits traits = kDb2Traits;
  traits.bracketNames = true;
  traits.textAliases = true;
  traits.top = true;
  return traits;
}

constexpr DialectTraits kKordbTraits = {
    .name = "KORDB",
    .bracketNames = false,
    .quotedNames = true,
    .quotedAliases = true,
    .textAliases = false,
    .bareAtNames = false,
    .top = true,
    .fetchFirst = false,
    .setRowCount = false,
    .selectWithoutFrom = true,
    .plusJoinsText = false,
    .wholeTexts = false,
    .monthNames = false,
    .likeSets = false,
    .wholeAverage = false,  // AVG of 1 and 2 is 1.5 here and 1 in the others
    .nullsHigh = false,
    .currentWords = false,
    .currentUnderscore = true,
    .durations = false,
    .nowText = "CURRENT_TIMESTAMP",
};

// In the order of the enumeration.
constexpr std::array<DialectTraits, 5> kTraits = {kBracketTraits, sybaseTraits(), kDb2Traits,
                                                  kKordbTraits, db2BracketTraits()};

// Names that look alike may differ in meaning: LEN ignores trailing blanks and LENGTH counts them.
// The argument counts of AddTime, DaysBetween, Cast and Convert are not checked against this table,
// since their arguments have forms of their own (FunctionParser).
constexpr FunctionRule kFunctions[] = {
    {"COUNT", Function::Count, 1, 1, kAll},
    {"MAX", Function::Max, 1, 1, kAll},
    {"MIN", Function::Min, 1, 1, kAll},
    {"SUM", Function::Sum, 1, 1, kAll},
    {"AVG", Function::Avg, 1, 1, kAll},
    {"COALESCE", Function::Coalesce, 2, kMany, kAll},
    {"ISNULL", Function::IsNull, 2, 2, kBrackets},
    {"VALUE", Function::Coalesce, 2, kMany, kDb2},
    {"IFNULL", Function::Coalesce, 2, 2, kKordb},
    {"GETDATE", Function::Now, 0, 0, kBrackets},
    {"DATEADD", Function::AddTime, 3, 3, kBrackets},
    {"ADDDATE", Function::AddTime, 2, 2, kKordb},
    {"DATEDIFF", Function::DaysBetween, 3, 3, kBrackets},
    {"TIMESTAMP_ISO", Function::ToDate, 1, 1, kDb2},
    {"YEAR", Function::Year, 1, 1, kAll},
    {"MONTH", Function::Month, 1, 1, kAll},
    {"DAY", Function::Day, 1, 1, kBrackets | kDb2},
    {"CAST", Function::Cast, 1, 1, kAll},
    {"CONVERT", Function::Convert, 2, 3, kBrackets},
    {"LEN", Function::LengthNoTail, 1, 1, kBrackets},
    {"LENGTH", Function::Length, 1, 1, kDb2 | kKordb},
    {"SUBSTRING", Function::Substring, 3, 3, kBrackets | kKordb},
    {"SUBSTR", Function::Substring, 2, 3, kDb2},
    {"UPPER", Function::Upper, 1, 1, kAll},
    {"LOWER", Function::Lower, 1, 1, kAll},
    {"LTRIM", Function::TrimLeft, 1, 1, kAll},
    {"RTRIM", Function::TrimRight, 1, 1, kAll},
    {"REPLACE", Function::Replace, 3, 3, kAll},
    {"ABS", Function::Abs, 1, 1, kAll},
    {"ROUND", Function::Round, 2, 2, kAll},
};

}  // namespace

// The numbers are those of qx::DbServerType. Any other one takes the dialect of a company that
// names no server type.
Dialect dialectOf(int serverType, bool acceptBrackets) {
  switch (serverType) {
    case 2:
      return acceptBrackets ? Dialect::Db2Brackets : Dialect::Db2;
    case 3:
      return Dialect::Sybase;
    case 9:
      return Dialect::Kordb;
    default:
      return Dialect::Mssql;
  }
}

const DialectTraits& traitsOf(Dialect dialect) {
  return kTraits.at(static_cast<std::size_t>(dialect));
}

const FunctionRule* findFunction(Dialect dialect, std::string_view name) {
  for (const FunctionRule& rule : kFunctions) {
    if ((rule.dialects & bit(dialect)) != 0 && sameName(rule.name, name)) return &rule;
  }
  return nullptr;
}

bool isFunctionOfAnyDialect(std::string_view name) {
  return std::any_of(std::begin(kFunctions), std::end(kFunctions),
                     [name](const FunctionRule& rule) { return sameName(rule.name, name); });
}

// Only ASCII letters are folded: SQLite compares names so, and the fold of further letters would
// depend on a version of Unicode.
bool sameName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return toUpperAscii(x) == toUpperAscii(y); });
}

bool NameLess::operator()(std::string_view a, std::string_view b) const {
  return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
    return toUpperAscii(x) < toUpperAscii(y);
  });
}

}  // namespace qx::sql
