// Feeds statements to the SQL front end in the dialect of this build and, if it accepts one, its
// text to SQLite. The first byte of an input is ignored.
//
// An accepted statement must become a single one without parameters that SQLite's parser takes:
// SQLite may refuse a name but never the syntax. There is no PostgreSQL server here, so the text
// for it is inspected outside of its names and literals.

#include "qxdesk/sql/sqlite_guard.h"
#include "qxdesk/sql/translator.h"
#include "qxframework/automation/ascii.h"

#include <sqlite3.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

constexpr const char* kSchema = R"(
  CREATE TABLE "@T" (Code nvarchar(50), Name nvarchar(50), U_A nvarchar(50), U_B int,
    U_Price decimal(21,6), U_Date datetime);
  CREATE TABLE T (a, b, c);
  CREATE TABLE VTG1 (Code nvarchar(8), Rate decimal(21,6), EffecDate datetime);
  CREATE TABLE OFPR (Category nvarchar(10), SubNum smallint, F_RefDate datetime,
    T_RefDate datetime);
)";

// The beginnings of SQLite's messages that are findings; the rest of a message may quote names of
// the input. A parser that overflows is a finding, since the front end has to limit the depth
// before.
constexpr std::string_view kFindings[] = {
    "near \"",       "unrecognized token", "incomplete input", "parser stack overflow",
    "one statement", "the statement has",  "the text holds",   "not authorized",
    "access to",     "variable number",    "too many terms",   "Expression tree",
};

sqlite3* openDatabase() {
  sqlite3* db = nullptr;
  if (sqlite3_open(":memory:", &db) != SQLITE_OK) std::abort();
  qx::sql::setUpConnection(db, {}).provide();
  if (sqlite3_exec(db, kSchema, nullptr, nullptr, nullptr) != SQLITE_OK) std::abort();
  return db;
}

void prepare(sqlite3* db, std::string_view input, const std::string& text) {
  try {
    qx::sql::prepareGuarded(db, text);
  } catch (const qx::sql::SqliteError& error) {
    const std::string_view message = error.what();
    for (const std::string_view finding : kFindings) {
      if (message.substr(0, finding.size()) != finding) continue;
      std::fprintf(stderr, "input:  %.*s\noutput: %s\nSQLite: %s\n", static_cast<int>(input.size()),
                   input.data(), text.c_str(), error.what());
      std::abort();
    }
  }
}

[[noreturn]] void fail(std::string_view input, const std::string& text, const char* finding) {
  std::fprintf(stderr, "input:  %.*s\noutput: %s\nPostgreSQL: %s\n", static_cast<int>(input.size()),
               input.data(), text.c_str(), finding);
  std::abort();
}

// Returns the position after the name or literal that begins at `at`; npos if it does not end.
std::size_t skipQuoted(const std::string& text, std::size_t at) {
  const char quote = text[at];
  for (;;) {
    at = text.find(quote, at + 1);
    if (at == std::string::npos) return at;
    if (at + 1 >= text.size() || text[at + 1] != quote) return at + 1;
    ++at;
  }
}

bool isPlain(char c) {
  constexpr std::string_view kSymbols = " _.,()[]=<>!~+-*/%|";
  return qx::isLetterOrDigit(c) || kSymbols.find(c) != std::string_view::npos;
}

// Checks that the text is one statement: quotes and brackets match, and there is no comment, no
// parameter and no second statement.
void inspect(std::string_view input, const std::string& text) {
  constexpr std::size_t kMaxName = 63;
  int open = 0;
  for (std::size_t at = 0; at < text.size();) {
    const char c = text[at];
    if (c == '\'' || c == '"') {
      const std::size_t end = skipQuoted(text, at);
      if (end == std::string::npos) fail(input, text, "a quote is open");
      const bool name = c == '"';
      if (name && end - at == 2) fail(input, text, "a name is empty");
      // Every character may be a doubled quote.
      if (name && end - at > 2 * kMaxName + 2) fail(input, text, "a name is too long");
      // "x"'y' would be a name and a literal without a blank, which no emitter writes on purpose.
      if (name && end < text.size() && text[end] == '\'') fail(input, text, "no blank");
      at = end;
      continue;
    }
    // Semicolons, dollar signs and backslashes are not among the plain characters: they would end
    // the statement, be parameters or start strings of another kind.
    if (!isPlain(c)) fail(input, text, "something that is no SQL of ours");
    const std::string_view two = std::string_view(text).substr(at, 2);
    if (two == "--" || two == "/*") fail(input, text, "a comment");
    open += c == '(' ? 1 : c == ')' ? -1 : 0;
    if (open < 0) fail(input, text, "a bracket that was not opened");
    ++at;
  }
  if (open != 0) fail(input, text, "a bracket is open");
}

void translateForPostgres(qx::sql::Dialect dialect, const qx::sql::Catalog& catalog,
                          std::string_view input, bool limited) {
  qx::sql::Translator translator(dialect, &catalog, {.engine = qx::sql::Engine::Postgres});
  try {
    if (limited) translator.translate("SET ROWCOUNT 5");
    inspect(input, translator.translate(input).text);
  } catch (const qx::sql::SqlError&) {
    return;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static sqlite3* const db = openDatabase();
  static const qx::sql::SqliteCatalog catalog(db);
  if (size == 0) return 0;
  constexpr auto kDialect = qx::sql::Dialect::QX_FUZZ_DIALECT;
  constexpr bool kHasRowCount =
      kDialect == qx::sql::Dialect::Mssql || kDialect == qx::sql::Dialect::Sybase;
  qx::sql::Translator translator(kDialect, &catalog);
  const std::string_view input(reinterpret_cast<const char*>(data) + 1, size - 1);
  translateForPostgres(kDialect, catalog, input, false);
  if (kHasRowCount) translateForPostgres(kDialect, catalog, input, true);
  try {
    // Translated twice where the dialect has SET ROWCOUNT: without a limit and with one.
    const qx::sql::Translation translation = translator.translate(input);
    if (translation.kind == qx::sql::StatementKind::SetRowCount) return 0;
    prepare(db, input, translation.text);
    for (const qx::sql::OutputColumn& column : translation.columns) {
      if (!column.probe.empty()) prepare(db, input, column.probe);
    }
    if (!kHasRowCount) return 0;
    translator.translate("SET ROWCOUNT 5");
    prepare(db, input, translator.translate(input).text);
  } catch (const qx::sql::SqlError&) {
    return 0;
  }
  return 0;
}
