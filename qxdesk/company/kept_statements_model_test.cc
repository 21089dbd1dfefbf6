// Kept statements against statements that are translated and prepared anew: the same random
// sequence on two companies has to give the same rows and the same failures. The sequence repeats
// shapes with other literals, and tables change in between, by the same connection, by another one
// and by a program that knows nothing of companies.
#include "qxdesk/company/test_support.h"
#include "qxdesk/sql/coercion.h"
#include "qxdesk/sql/dates.h"
#include "qxdesk/sql/statement_shape.h"
#include "qxdesk/sql/test_queries.h"
#include "qxframework/automation/text.h"
#include "testing/cases.h"
#include "testing/odbc_program.h"
#include "testing/sqlite_file.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace qx::desk {
namespace {

using sql::Dialect;

constexpr const char* kTexts[] = {
    "''",         "'1'",          "'a'",          "N'a%'",         "'O''Neil'",      "'[a-c]%'",
    "'20240131'", "'2024-02-01'", "'20240230'",   "'\u00E9'",      "'b '",           "'7'",
    "' 12.5 '",   "'x%_y'",       "'\U0001F600'", "'-3'",          "N'two words?'",  "'{d}'",
    "'2'",        "'\\'",         "'5'",          "'99999999999'", "'-- no comment'"};
constexpr const char* kWholes[] = {"0",
                                   "1",
                                   "2",
                                   "3",
                                   "5",
                                   "7",
                                   "10",
                                   "007",
                                   "100",
                                   "2147483647",
                                   "2147483648",
                                   "9223372036854775807",
                                   "9223372036854775808"};
constexpr const char* kDecimals[] = {"0.5", "12.5",     "1.0",    ".25",
                                     "3.",  "0.000001", "100.00", "12345678901234567.25",
                                     "0.1", "2.675"};
constexpr const char* kDates[] = {"'20240131'", "'2024-02-01'", "'20231231'",
                                  "'2024-02-01 08:30:00'"};
constexpr const char* kLists[] = {"Code",     "Code, U_B",       "*",  "T0.*", "MAX(Code)",
                                  "COUNT(*)", "U_Price, U_Date", "U_A"};

/// A company on which statements run, and ways to change its tables behind its back.
class Side {
 public:
  Side(Engine engine, long serverType, bool keeps)
      : engine_(engine),
        place_(engine),
        target_(targetOf(place_.companyDatabase(), serverType, keeps)),
        company_(connectTo(target_)) {}

  std::string run(const std::string& statement, bool ordered);
  long addFieldHere(const std::u16string& name) {
    return addField(company_, {u"T", name, kNumericField});
  }
  long addFieldThere(const std::u16string& name) {
    return addField(connectTo(target_), {u"T", name, kNumericField});
  }
  /// Runs a statement of another program in the engine's own SQL.
  void runThere(const std::string& onSqlite, const std::string& onPostgres) {
    if (engine_ == Engine::Sqlite) {
      test::SqliteFile(target_.database).execute(onSqlite);
    } else {
      test::OdbcProgram(target_.database.substr(std::string("odbc:").size())).run(onPostgres);
    }
  }
  ICompany& company() { return *company_; }
  void makeTables();

 private:
  static LoginTarget targetOf(const std::string& database, long serverType, bool keeps) {
    LoginTarget target{database, serverType, ln_English, u"manager", u"Demo"};
    target.keepsStatements = keeps;
    return target;
  }
  std::string rowsAsText(const CComPtr<IRecordset>& rows, bool ordered) const;

  Engine engine_;
  TestPlace place_;
  LoginTarget target_;
  CComPtr<ICompany> company_;
  CComPtr<IRecordset> rows_;
};

void Side::makeTables() {
  EXPECT_EQ(addTable(company_, u"T"), 0);
  EXPECT_EQ(addField(company_, {u"T", u"A", kTextField, 0, 20}), 0);
  EXPECT_EQ(addField(company_, {u"T", u"B", kNumericField}), 0);
  EXPECT_EQ(addField(company_, {u"T", u"Price", kFloatField, 80}), 0);
  EXPECT_EQ(addField(company_, {u"T", u"Date", kDateField}), 0);
  EXPECT_EQ(addTable(company_, u"L"), 0);
  EXPECT_EQ(addField(company_, {u"L", u"T", kTextField, 0, 20}), 0);
  EXPECT_EQ(addField(company_, {u"L", u"Text", kTextField, 0, 50}), 0);
  rows_ = businessObject<IRecordset>(company_, kRecordset);
}

std::string Side::rowsAsText(const CComPtr<IRecordset>& rows, bool ordered) const {
  const CComPtr<IFields> fields = rows->GetFields();
  std::string head;
  for (long i = 0; i < fields->Count(); ++i) {
    const CComPtr<IField> field = fields->Item(i);
    head +=
        toUtf8(CComBSTR(field->GetName()).View()) + ":" + std::to_string(field->GetType()) + "|";
  }
  std::vector<std::string> lines;
  for (; rows->GetEoF() == VARIANT_FALSE; rows->MoveNext()) {
    std::string line;
    for (long i = 0; i < fields->Count(); ++i) {
      line += toUtf8(cellText(fields->Item(i)->GetValue())) + "|";
    }
    lines.push_back(line);
  }
  if (!ordered) std::sort(lines.begin(), lines.end());
  for (const std::string& line : lines) head += "\n" + line;
  return head;
}

std::string Side::run(const std::string& statement, bool ordered) {
  if (rows_->raw_DoQuery(CComBSTR(toUtf16(statement))) == S_OK) return rowsAsText(rows_, ordered);
  const LastError error = lastError(company_);
  return std::to_string(error.code) + " " + toUtf8(error.text);
}

/// Random statements: those of QueryMaker, simpler ones as business code sends them, and
/// repetitions of both with other literals.
class Statements {
 public:
  Statements(Dialect dialect, unsigned seed)
      : dialect_(dialect), maker_(dialect, seed), random_(seed) {}

  struct Made {
    std::string text;
    bool ordered = false;
  };
  std::vector<std::string> fill() { return maker_.fill(); }
  Made next() {
    if (!made_.empty() && below(3) != 0) {
      const Made& old = made_[static_cast<std::size_t>(below(static_cast<int>(made_.size())))];
      return {withOtherLiterals(old.text), old.ordered};
    }
    Made made;
    if (below(2) == 0) {
      const sql::test::RandomQuery query = maker_.query();
      made = {query.text, query.ordered};
    } else {
      made = {below(8) == 0 ? maker_.change() : plain(), false};
    }
    if (made_.size() < 60) {
      made_.push_back(made);
    } else {
      made_[static_cast<std::size_t>(below(60))] = made;
    }
    return made;
  }
  int below(int limit) { return std::uniform_int_distribution<>(0, limit - 1)(random_); }
  /// A statement that shows every value that others have written.
  std::string everything() const { return "SELECT * FROM " + name("@T"); }

 private:
  template <std::size_t size>
  std::string oneOf(const char* const (&choices)[size]) {
    return choices[below(static_cast<int>(size))];
  }
  bool brackets() const { return dialect_ == Dialect::Mssql || dialect_ == Dialect::Sybase; }
  std::string name(const std::string& plain) const {
    if (dialect_ == Dialect::Db2) return plain;
    return brackets() ? "[" + plain + "]" : "\"" + plain + "\"";
  }
  std::string number() { return below(2) == 0 ? oneOf(kWholes) : oneOf(kDecimals); }
  std::string sign() { return below(2) == 0 ? "-" : ""; }
  std::string date() {
    if (brackets())
      return "CONVERT(datetime, " + oneOf(kTexts) + ", " + (below(2) == 0 ? "112)" : "120)");
    return dialect_ == Dialect::Db2 ? "TIMESTAMP_ISO(" + oneOf(kTexts) + ")"
                                    : "CAST(" + oneOf(kTexts) + " AS TIMESTAMP)";
  }
  std::string now() const {
    if (brackets()) return "GetDate()";
    return dialect_ == Dialect::Db2 ? "CURRENT TIMESTAMP" : "CURRENT_TIMESTAMP";
  }
  std::string value() {
    switch (below(8)) {
      case 0:
        return "NULL";
      case 1:
        return "-" + number();
      case 2:
        return date();
      case 3:
      case 4:
        return number();
      default:
        return oneOf(kTexts);
    }
  }
  // A value that the column takes, mostly.
  std::string fitting(const std::string& column) {
    if (below(12) == 0) return value();
    if (column == "U_B") return sign() + oneOf(kWholes);
    if (column == "U_Price") return sign() + number();
    if (column == "U_Date") return below(3) == 0 ? date() : oneOf(kDates);
    return oneOf(kTexts);
  }
  std::string compared() {
    constexpr const char* kColumns[] = {"Code", "U_A", "U_B", "U_Price", "U_Date"};
    constexpr const char* kSigns[] = {" = ", " <> ", " < ", " >= "};
    const std::string column = oneOf(kColumns);
    switch (below(7)) {
      case 0:
        return column + " IN (" + fitting(column) + ", " + fitting(column) + ")";
      case 1:
        return column + " BETWEEN " + fitting(column) + " AND " + fitting(column);
      case 2:
        return column + (below(2) == 0 ? " LIKE " : " NOT LIKE ") + oneOf(kTexts) +
               (below(4) == 0 ? " ESCAPE '!'" : "");
      case 3:
        return "U_Date <= " + now();
      case 4:
        return fitting(column) + oneOf(kSigns) + column;
      default:
        return column + oneOf(kSigns) + fitting(column);
    }
  }
  std::string where() {
    std::string text = " WHERE " + compared();
    if (below(2) == 0) text += (below(2) == 0 ? " AND " : " OR ") + compared();
    return text;
  }
  std::string plain() {
    const std::string table = name("@T");
    switch (below(9)) {
      case 0:
        return "INSERT INTO " + table + " (Code, Name, U_A, U_B, U_Price, U_Date) VALUES (" +
               fitting("Code") + ", " + fitting("Name") + ", " + fitting("U_A") + ", " +
               fitting("U_B") + ", " + fitting("U_Price") + ", " +
               (below(4) == 0 ? now() : fitting("U_Date")) + ")";
      case 1:
        return "UPDATE " + table + " SET U_A = " + fitting("U_A") + ", U_B = " + fitting("U_B") +
               ", U_Price = " + fitting("U_Price") + ", U_Date = " + fitting("U_Date") + where();
      case 2:
        return "DELETE FROM " + table + where();
      case 3:
        return "SELECT " + value() + ", Code, " + oneOf(kTexts) + " FROM " + table + where();
      case 4:
        return "SELECT Code, U_B, " + number() + " FROM " + table + where() + " ORDER BY " +
               oneOf(kWholes) + ", 1";
      case 5:
        if (dialect_ == Dialect::Db2)
          return "SELECT Code FROM " + table + where() + " ORDER BY Code FETCH FIRST 2 ROWS ONLY";
        if (dialect_ == Dialect::Sybase)
          return std::string("SET ROWCOUNT ") + (below(2) == 0 ? "0" : "2");
        return "SELECT TOP " + oneOf(kWholes) + " Code FROM " + table + where() + " ORDER BY Code";
      case 6:
        return "SELECT X.U_T, " + number() + " FROM " + name("@L") +
               " X WHERE X.U_T = " + fitting("U_A") + " AND X.Code IN (SELECT Code FROM " + table +
               where() + ")";
      case 7:
        return "INSERT INTO " + name("@L") + " (Code, Name, U_T, U_Text) VALUES (" +
               fitting("Code") + ", 'n', " + fitting("U_B") + ", " + fitting("U_A") + ")";
      default:
        return "SELECT " + oneOf(kLists) + " FROM " + table + " T0" + where();
    }
  }

  // Another text that is a date, a number or neither, as the one before.
  std::string like(const sql::ShapeLiteral& literal) {
    if (sql::storedDate(literal.source)) return oneOf(kDates);
    const bool number = sql::spellsNumber(literal.source);
    return number ? "'" + oneOf(kWholes) + "'" : oneOf(kTexts);
  }

  // Most literals get another value of the same kind, as in a run of an add-on.
  std::string withOtherLiterals(const std::string& text) {
    sql::StatementShape shape;
    if (!sql::findShape(text, shape)) return text;
    std::string result;
    std::size_t done = 0;
    for (const sql::ShapeLiteral& literal : shape.literals) {
      result.append(text, done, literal.at - done);
      const auto from = static_cast<std::size_t>(literal.source.data() - text.data());
      const bool isNumber = from == literal.at;
      done = from + literal.source.size() + (isNumber ? 0 : 1);
      if (below(2) == 0) {
        result.append(text, literal.at, done - literal.at);
      } else if (below(12) == 0) {
        result += isNumber ? oneOf(kTexts) : number();
      } else {
        result += isNumber ? number() : like(literal);
      }
    }
    return result + text.substr(done);
  }

  Dialect dialect_;
  sql::test::QueryMaker maker_;
  std::mt19937 random_;
  std::vector<Made> made_;
};

struct Medium {
  Engine engine;
  Dialect dialect;
};

long serverTypeOf(Dialect dialect) {
  switch (dialect) {
    case Dialect::Sybase:
      return 3;
    case Dialect::Db2:
      return 2;
    case Dialect::Kordb:
      return 9;
    default:
      return 1;
  }
}

class KeptStatementsModel : public testing::TestWithParam<Medium> {
 protected:
  void expectSame(const Statements::Made& made) {
    const std::string kept = kept_.run(made.text, made.ordered);
    const std::string fresh = fresh_.run(made.text, made.ordered);
    note(made.text);
    failures_ += fresh.starts_with("-2") ? 1 : 0;
    EXPECT_EQ(kept, fresh) << "after the statements\n" << history();
    if (made.text.starts_with("SELECT") || HasFailure()) return;
    const std::string all = statements_.everything();
    EXPECT_EQ(kept_.run(all, false), fresh_.run(all, false)) << "after the statements\n"
                                                             << history();
  }
  template <class Change>
  void onBoth(const std::string& what, Change change) {
    note("-- " + what);
    change(kept_);
    change(fresh_);
  }
  void changeTables();
  void changeOthersTable();
  void endOrStartTransaction();

  void note(const std::string& text) { history_.push_back(text); }
  std::string history() const {
    std::string text;
    const std::size_t first = history_.size() < 60 ? 0 : history_.size() - 60;
    for (std::size_t i = first; i < history_.size(); ++i) text += history_[i] + "\n";
    return text;
  }

  Side kept_{GetParam().engine, serverTypeOf(GetParam().dialect), true};
  Side fresh_{GetParam().engine, serverTypeOf(GetParam().dialect), false};
  Statements statements_{GetParam().dialect, 20261122U + static_cast<unsigned>(GetParam().dialect)};
  std::vector<std::string> history_;
  bool transaction_ = false;
  bool hasOther_ = true;   // the table L is there
  bool wholeKey_ = false;  // its column U_T is a whole number
  bool renamed_ = false;   // its column U_Text has another name
  int fields_ = 0;
  int failures_ = 0;
};

void KeptStatementsModel::endOrStartTransaction() {
  if (transaction_) {
    const HvEndTransaction end = statements_.below(2) == 0 ? et_Commit : et_RollBack;
    onBoth(end == et_Commit ? "commit" : "rollback",
           [&](Side& side) { side.company().EndTransaction(end); });
  } else {
    onBoth("transaction", [](Side& side) { side.company().StartTransaction(); });
  }
  transaction_ = !transaction_;
}

// By a program that knows nothing of companies.
void KeptStatementsModel::changeOthersTable() {
  switch (statements_.below(3)) {
    case 0: {
      const std::string from = renamed_ ? "U_Other" : "U_Text",
                        to = renamed_ ? "U_Text" : "U_Other";
      if (!hasOther_) return;
      renamed_ = !renamed_;
      onBoth("rename " + from, [&](Side& side) {
        const std::string text = " RENAME COLUMN " + from + " TO " + to;
        side.runThere("ALTER TABLE \"@L\"" + text, "ALTER TABLE \"@l\"" + text);
      });
      return;
    }
    case 1:
      hasOther_ = !hasOther_;
      wholeKey_ = hasOther_ ? !wholeKey_ : wholeKey_;
      renamed_ = false;
      onBoth(hasOther_ ? "make L" : "drop L", [&](Side& side) {
        if (!hasOther_) return side.runThere("DROP TABLE \"@L\"", "DROP TABLE \"@l\"");
        side.runThere(
            std::string("CREATE TABLE \"@L\" (Code nvarchar(50), Name nvarchar(100), U_T ") +
                (wholeKey_ ? "int" : "nvarchar(20)") + ", U_Text nvarchar(50))",
            std::string("CREATE TABLE \"@l\" (code varchar(50), name varchar(100), u_t ") +
                (wholeKey_ ? "int" : "varchar(20)") + ", u_text varchar(50))");
      });
      return;
    default:
      onBoth("add X", [&](Side& side) {
        const std::string text = " ADD COLUMN U_X" + std::to_string(fields_) + " int";
        side.runThere("ALTER TABLE \"@T\"" + text, "ALTER TABLE \"@t\"" + text);
      });
      ++fields_;
  }
}

void KeptStatementsModel::changeTables() {
  const std::u16string name = u"N" + toUtf16(std::to_string(++fields_));
  switch (statements_.below(4)) {
    case 0:
      onBoth("own field", [&](Side& side) { EXPECT_EQ(side.addFieldHere(name), 0); });
      return;
    case 1:
      // Another connection would wait for the end of the transaction.
      if (transaction_) return;
      onBoth("other's field", [&](Side& side) { EXPECT_EQ(side.addFieldThere(name), 0); });
      return;
    default:
      if (!transaction_) changeOthersTable();
  }
}

TEST_P(KeptStatementsModel, SameRowsAndFailuresAsWithoutThem) {
  kept_.makeTables();
  fresh_.makeTables();
  const std::size_t rounds = qx::test::cases(GetParam().engine == Engine::Sqlite ? 6 : 2);
  constexpr int kStatements = 100;
  for (std::size_t round = 0; round < rounds && !HasFailure(); ++round) {
    for (const std::string& statement : statements_.fill()) expectSame({statement, false});
    for (int i = 0; i < kStatements && !HasFailure(); ++i) {
      if (statements_.below(25) == 0) endOrStartTransaction();
      if (statements_.below(20) == 0) changeTables();
      expectSame(statements_.next());
    }
  }
  // Enough of them have to run.
  EXPECT_LT(failures_, static_cast<int>(rounds) * kStatements * 3 / 4);
}

std::string mediumName(const testing::TestParamInfo<Medium>& info) {
  return std::string(sql::traitsOf(info.param.dialect).name);
}

std::vector<Medium> mediaOf(Engine engine) {
  return {{engine, Dialect::Mssql},
          {engine, Dialect::Sybase},
          {engine, Dialect::Db2},
          {engine, Dialect::Kordb}};
}

INSTANTIATE_TEST_SUITE_P(Sqlite, KeptStatementsModel, testing::ValuesIn(mediaOf(Engine::Sqlite)),
                         mediumName);
INSTANTIATE_TEST_SUITE_P(Postgres, KeptStatementsModel,
                         testing::ValuesIn(mediaOf(Engine::Postgres)), mediumName);

}  // namespace
}  // namespace qx::desk
