// Feeds statements to the SQL front end in the dialect of this build, and, when it accepts one, its
// text to SQLite. The first byte of an input is passed over. Whatever is accepted has to be a
// single statement without parameters that SQLite's own parser takes: a refusal there may be about
// names, never about syntax.
#include "qxdesk/sql/sqlite_guard.h"
#include "qxdesk/sql/translator.h"

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

// How the messages begin that must not come; what follows may quote names of the input.
constexpr std::string_view kFindings[] = {
    "near \"",       "unrecognized token", "incomplete input", "parser stack overflow",
    "one statement", "the statement has",  "the text holds",   "not authorized",
    "access to",     "variable number",    "too many terms",   "Expression tree",
};

sqlite3* openDatabase() {
  sqlite3* db = nullptr;
  if (sqlite3_open(":memory:", &db) != SQLITE_OK) std::abort();
  qx::sql::setUpConnection(db, {});
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
  try {
    // A row count that is set applies to the same text once more, so that both forms are seen.
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
