#include "qxdesk/sql/test_queries.h"

namespace qx::sql::test {
namespace {

constexpr const char* kTexts[] = {"''",   "'a'",  "'A'",    "'b '",      "' b'",
                                  "'ab'", "'a%'", "'a_b'",  "'O''Neil'", "'\u00E9\u00DF'",
                                  "'1'",  "'10'", "'a\\b'", "'[a]'",     "'\U0001F600'",
                                  "'Zz'"};
constexpr const char* kDecimals[] = {"0.5", "12.5", "-2.25", "100.0", "3.75", "0.0"};
constexpr const char* kDates[] = {"20240131", "20240229", "20231231", "20240201"};
constexpr const char* kPatterns[] = {"'%'", "'a%'", "'%b'", "'_b%'", "'%a%b%'", "''", "'a\\b'"};
constexpr const char* kSetPatterns[] = {"'[a-c]%'", "'%[^ab]'", "'[[]%'", "'[A-Z]%[0-9]'", "'[]'"};
constexpr const char* kCompared[] = {"=", "<>", "<", "<=", ">", ">="};

bool hasBrackets(Dialect dialect) {
  return dialect == Dialect::Mssql || dialect == Dialect::Sybase;
}

}  // namespace

QueryMaker::QueryMaker(Dialect dialect, unsigned seed) : dialect_(dialect), random_(seed) {}

// ---- names

std::string QueryMaker::name(const std::string& plain) {
  const bool at = plain.front() == '@';
  if (dialect_ == Dialect::Db2 || (!at && below(2) == 0)) return plain;
  return hasBrackets(dialect_) ? "[" + plain + "]" : "\"" + plain + "\"";
}

std::string QueryMaker::column(const std::string& plain) {
  if (changes_) return name(plain);
  return "T0." + name(plain);
}

std::string QueryMaker::alias(const std::string& plain) {
  return hasBrackets(dialect_) ? " AS N'" + plain + "'" : " AS \"" + plain + "\"";
}

std::string QueryMaker::joined(const std::string& a, const std::string& b) {
  return "(" + a + (hasBrackets(dialect_) ? " + " : " || ") + b + ")";
}

// ---- values

std::string QueryMaker::literal() { return (below(2) == 0 ? "N" : "") + oneOf(kTexts); }

std::string QueryMaker::dateLiteral() {
  const std::string day = oneOf(kDates);
  if (hasBrackets(dialect_)) return "CONVERT(datetime, '" + day + "', 112)";
  if (dialect_ == Dialect::Db2) return "TIMESTAMP_ISO('" + day + "')";
  return "CAST('" + day + "' AS TIMESTAMP)";
}

std::string QueryMaker::text(int depth) {
  if (depth > 0 && below(2) == 0) return textFunction(depth - 1);
  switch (below(joined_ ? 5 : 4)) {
    case 0:
      return literal();
    case 1:
      return column("Name");
    case 2:
      return column("U_A");
    case 3:
      return column("Code");
    default:
      return "T1." + name("U_Text");
  }
}

std::string QueryMaker::textFunction(int depth) {
  const std::string part = dialect_ == Dialect::Db2 ? "SUBSTR(" : "SUBSTRING(";
  switch (below(10)) {
    case 0:
      return joined(text(depth), text(depth));
    case 8:
      return "CAST(" + date(depth) + " AS " +
             (dialect_ == Dialect::Db2 ? "VARCHAR(30))" : "NVARCHAR(30))");
    case 1:
      return "UPPER(" + text(depth) + ")";
    case 2:
      return "LOWER(" + text(depth) + ")";
    case 3:
      return part + text(depth) + ", " + std::to_string(below(5) - 1) + ", " +
             std::to_string(below(4)) + ")";
    case 4:
      return part + text(depth) + ", " + whole(depth) + ", 2)";
    case 5:
      return "RTRIM(LTRIM(" + text(depth) + "))";
    case 6:
      return "REPLACE(" + text(depth) + ", " + text(0) + ", " + literal() + ")";
    case 7:
      return "CAST(" + whole(depth) + " AS " +
             (dialect_ == Dialect::Db2 ? "VARCHAR(4)" : "NVARCHAR(4)") + ")";
    default:
      return "CASE WHEN " + condition(depth) + " THEN " + text(depth) + " ELSE " + text(depth) +
             " END";
  }
}

std::string QueryMaker::whole(int depth) {
  if (depth == 0 || below(3) == 0) {
    return below(2) == 0 ? column("U_B") : std::to_string(below(12) - 3);
  }
  const std::string length = hasBrackets(dialect_) ? "LEN(" : "LENGTH(";
  switch (below(hasBrackets(dialect_) ? 9 : 8)) {
    case 7:
      return "(YEAR(" + date(depth - 1) + ") - MONTH(" + date(0) + "))";
    case 0:
      return "(" + whole(depth - 1) + " + " + whole(depth - 1) + ")";
    case 1:
      return whole(depth - 1) + " * " + whole(0);
    case 2:
      return "(" + whole(depth - 1) + " / " + whole(0) + " - " + whole(0) + " % 5)";
    case 3:
      return length + text(depth - 1) + ")";
    case 4:
      return "COALESCE(" + whole(depth - 1) + ", " + whole(0) + ")";
    case 5:
      return "CAST(" + decimal(depth - 1) + " AS int)";
    case 6:
      return "ABS(-" + whole(0) + ")";
    default:
      return "(" + column("Code") + " + " + whole(depth - 1) + ")";
  }
}

// Every result is exact in decimal and in binary arithmetic, since the only divisors are powers of
// two.
std::string QueryMaker::decimal(int depth) {
  if (depth == 0 || below(3) == 0) return below(2) == 0 ? column("U_Price") : oneOf(kDecimals);
  switch (below(6)) {
    case 0:
      return "(" + decimal(depth - 1) + " - " + whole(0) + ")";
    case 1:
      return decimal(0) + " * " + decimal(0);
    case 2:
      return "(" + decimal(depth - 1) + ") / 4";
    case 3:
      return "ROUND(" + decimal(0) + ", " + std::to_string(below(3)) + ")";
    case 4:
      return "COALESCE(" + decimal(0) + ", " + whole(0) + ")";
    default:
      return "CASE WHEN " + condition(depth - 1) + " THEN " + decimal(0) + " ELSE 0 END";
  }
}

std::string QueryMaker::date(int depth) {
  if (depth == 0 || below(3) == 0) return below(2) == 0 ? column("U_Date") : dateLiteral();
  const std::string day = date(depth - 1);
  const std::string count = std::to_string(below(60) - 30);
  if (below(4) == 0) return "COALESCE(" + day + ", " + dateLiteral() + ")";
  if (dialect_ == Dialect::Db2) return "(" + day + " - " + std::to_string(below(60)) + " HOURS)";
  if (dialect_ == Dialect::Kordb) return "ADDDATE(" + day + ", " + column("U_B") + ")";
  if (below(2) == 0) return "DATEADD(hour, " + column("U_B") + ", " + day + ")";
  return "DATEADD(day, " + count + ", " + day + ")";
}

std::string QueryMaker::value(int depth) {
  switch (below(4)) {
    case 0:
      return whole(depth);
    case 1:
      return decimal(depth);
    case 2:
      return date(depth);
    default:
      return text(depth);
  }
}

// ---- conditions

std::string QueryMaker::condition(int depth) {
  if (depth > 0) {
    switch (below(6)) {
      case 0:
        return "(" + condition(depth - 1) + " OR " + condition(depth - 1) + ")";
      case 1:
        return "(" + condition(depth - 1) + " AND " + condition(depth - 1) + ")";
      case 2:
        return "NOT (" + condition(depth - 1) + ")";
      default:
        break;
    }
  }
  switch (below(6)) {
    case 0:
      return value(depth) + (below(2) == 0 ? " IS NULL" : " IS NOT NULL");
    case 1:
      return membership(depth);
    case 2:
      return like(depth);
    default:
      return comparison(depth);
  }
}

std::string QueryMaker::comparison(int depth) {
  const std::string op = " " + oneOf(kCompared) + " ";
  switch (below(6)) {
    case 0:
      return whole(depth) + op + decimal(depth);
    case 1:
      return decimal(depth) + op + "N'12.5'";
    case 2:
      return date(depth) + op + date(depth);
    case 3:
      return column("U_Date") + op + "N'" + oneOf(kDates) + "'";
    case 4:
      return column("Code") + op + (below(2) == 0 ? std::to_string(below(12)) : whole(depth));
    default:
      return text(depth) + op + text(depth);
  }
}

std::string QueryMaker::membership(int depth) {
  const std::string word = below(2) == 0 ? " IN (" : " NOT IN (";
  switch (below(6)) {
    case 0:
      return whole(depth) + word + "1, " + whole(0) + ", '7')";
    case 1:
      return text(depth) + word + literal() + ", " + text(0) + ")";
    case 5:
      return whole(depth) + word + "SELECT " + name("U_T") + " FROM " + name("@L") + " WHERE " +
             name("Code") + " <> '3')";
    case 2:
      return text(0) + word + "SELECT " + name("U_Text") + " FROM " + name("@L") + " WHERE " +
             name("U_T") + " IS NOT NULL)";
    case 3:
      return text(depth) + (below(2) == 0 ? " BETWEEN " : " NOT BETWEEN ") + text(0) + " AND " +
             text(0);
    default:
      return "EXISTS (SELECT * FROM " + name("@L") + " X WHERE X." + name("U_Text") + " = " +
             text(0) + ")";
  }
}

std::string QueryMaker::like(int depth) {
  const std::string word = below(2) == 0 ? " LIKE " : " NOT LIKE ";
  std::string pattern = oneOf(kPatterns);
  if (below(3) == 0) pattern = oneOf(kSetPatterns);
  if (below(4) == 0) pattern = joined(column("U_A"), "'%'");
  if (below(4) == 0) return text(depth) + word + "'%b!%%' ESCAPE '!'";
  return text(depth) + word + pattern;
}

// ---- statements

std::string QueryMaker::source() {
  std::string from = " FROM " + name("@T") + " T0";
  joined_ = below(3) == 0;
  if (!joined_) return from;
  constexpr const char* kJoins[] = {" INNER JOIN ", " LEFT OUTER JOIN ", " RIGHT OUTER JOIN ",
                                    " FULL OUTER JOIN "};
  from += oneOf(kJoins) + name("@L") + " T1 ON T0." + name("Code") + " = T1." + name("U_T");
  if (below(2) == 0) from += " AND T1." + name("Code") + " <> '2'";
  return from;
}

std::string QueryMaker::where() { return below(4) == 0 ? "" : " WHERE " + condition(2); }

// Limits a list; `rest` has an order that decides all rows, so every engine keeps the same ones.
std::string QueryMaker::limited(const std::string& list, const std::string& rest) {
  const std::string count = std::to_string(below(8));
  if (dialect_ == Dialect::Db2) {
    return "SELECT " + list + rest + " FETCH FIRST " + count + " ROWS ONLY";
  }
  return "SELECT TOP " + count + " " + list + rest;
}

RandomQuery QueryMaker::plain() {
  const std::string from = source();
  const std::string rest = from + where();
  const std::string direction = below(2) == 0 ? " DESC" : "";
  // Code is unique in each of the two tables, so the order decides all rows.
  std::string order = " ORDER BY COALESCE(" + column("U_A") + ", " + text(1) + ")" + direction +
                      ", T0." + name("Code");
  if (joined_) order += ", T1." + name("Code") + " DESC";
  std::string list = value(2) + alias("A.x") + ", T0." + name("Code") + ", " + text(1);
  if (below(3) == 0) return {limited(list, rest + order), true};
  if (below(4) == 0) return {"SELECT DISTINCT " + list + rest, false};
  return {"SELECT " + list + rest + order, true};
}

RandomQuery QueryMaker::grouped() {
  const std::string from = source();
  const std::string rest = from + where();
  const std::string key = column(below(2) == 0 ? "U_A" : "U_B");
  const std::string inner = value(1);
  std::string query = "SELECT " + key + ", COUNT(*), COUNT(DISTINCT " + inner + "), MAX(" + inner +
                      "), MIN(" + text(1) + ") " + alias("m") + ", SUM(" + decimal(1) + "), AVG(" +
                      column("U_B") + ")" + rest + " GROUP BY " + key;
  if (below(2) == 0) query += " HAVING COUNT(*) > 1 OR MAX(" + text(1) + ") > 'b'";
  return {query + " ORDER BY " + key + (below(2) == 0 ? " DESC" : ""), true};
}

RandomQuery QueryMaker::united() {
  const std::string first = source();
  std::string query = "SELECT " + text(1) + alias("A") + ", " + whole(1) + first + where();
  query += below(2) == 0 ? " UNION " : " UNION ALL ";
  const std::string second = source();
  query += "SELECT " + text(1) + ", " + whole(1) + second + where();
  return {query + " ORDER BY 1" + (below(2) == 0 ? " DESC" : "") + ", 2", true};
}

RandomQuery QueryMaker::nested() {
  joined_ = false;
  const std::string list = "T0." + name("Code") + alias("K.a") + ", " + text(1) + alias("V") +
                           ", " + decimal(1) + alias("D");
  const std::string rest = " FROM " + name("@T") + " T0" + where() + " ORDER BY ";
  const std::string keyOnly =
      column(below(2) == 0 ? "U_A" : "U_B") + (below(2) == 0 ? " DESC" : "");
  const std::string quotedKey = hasBrackets(dialect_) ? "[K.a]" : "\"K.a\"";
  if (dialect_ == Dialect::Db2) {
    const std::string inner = "SELECT " + list + " FROM " + name("@T") + " T0" + where();
    return {"SELECT X.*, X.V FROM (" + inner + ") X ORDER BY X." + quotedKey, true};
  }
  const std::string inner =
      "SELECT TOP " + std::to_string(below(7)) + " WITH TIES " + list + rest + keyOnly;
  return {"WITH [C &*] AS (" + inner + ") SELECT * FROM [C &*] T0 ORDER BY T0." + quotedKey, true};
}

RandomQuery QueryMaker::query() {
  changes_ = false;
  switch (below(6)) {
    case 0:
      return grouped();
    case 1:
      return united();
    case 2:
      return nested();
    default:
      return plain();
  }
}

std::string QueryMaker::change() {
  joined_ = false;
  changes_ = true;
  if (below(6) == 0) return "DELETE FROM " + name("@T") + " WHERE " + condition(1);
  std::string assignment;
  switch (below(4)) {
    case 0:
      assignment = name("U_A") + " = " + text(1);
      break;
    case 1:
      assignment = name("U_B") + " = " + column("U_B") + " + " + std::to_string(below(5));
      break;
    case 2:
      assignment = name("U_Price") + " = N'" + oneOf(kDecimals) + "'";
      break;
    default:
      assignment = name("U_Date") + " = N'" + oneOf(kDates) + "'";
  }
  return "UPDATE " + name("@T") + " SET " + assignment + " WHERE " + condition(2);
}

RandomQuery QueryMaker::everything() {
  return {"SELECT * FROM " + name("@T") + " ORDER BY " + name("Code"), true};
}

std::vector<std::string> QueryMaker::fill() {
  joined_ = false;
  const auto orNull = [this](const std::string& text) { return below(5) == 0 ? "NULL" : text; };
  std::vector<std::string> statements = {"DELETE FROM " + name("@T"), "DELETE FROM " + name("@L")};
  for (int i = 0; i < 12; ++i) {
    const std::string key = "'" + std::to_string(i) + "'";
    statements.push_back("INSERT INTO " + name("@T") + " (Code, Name, U_A, U_B, U_Price, U_Date) " +
                         "VALUES (" + key + ", " + orNull(literal()) + ", " + orNull(literal()) +
                         ", " + orNull(std::to_string(below(12) - 3)) + ", " +
                         orNull(oneOf(kDecimals)) + ", " + orNull(dateLiteral()) + ")");
    statements.push_back("INSERT INTO " + name("@L") + " (Code, U_T, U_Text) VALUES (" + key +
                         ", " + orNull("'" + std::to_string(below(8)) + "'") + ", " +
                         orNull(literal()) + ")");
  }
  return statements;
}

}  // namespace qx::sql::test
