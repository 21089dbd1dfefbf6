#pragma once

// Shared by the tests of this folder: a company-like database on each engine, and short functions
// that translate, run and read results as text.

#include "qxdesk/sql/translator.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qx::sql::test {

constexpr std::string_view kClock = "2024-02-15 13:45:10";

/// Returns SQLite's text of one statement, from a new translator without a catalog.
std::string translated(Dialect dialect, std::string_view text);
/// Returns PostgreSQL's text, with kClock as the current time.
std::string translatedForPostgres(Dialect dialect, std::string_view text);

/// Returns the message of the front end's refusal; empty if the text was accepted.
std::string refusal(Dialect dialect, std::string_view text, Engine engine = Engine::Sqlite);

/// Returns `text` between single quotes with inner ones doubled, and after an N if it is national.
std::string literal(std::string_view text, bool national = false);

/// Thrown for a statement that an engine took and then refused because of a value, such as an
/// overflow or a text that is no number.
struct ValueFault : std::runtime_error {
  ValueFault(int resultCode, const std::string& message)
      : std::runtime_error(message), code(resultCode) {}
  int code;  // SQLite's extended result code; 0 from PostgreSQL
};

/// An open connection that runs statements in an engine's own SQL.
class Connection {
 public:
  virtual ~Connection() = default;
  virtual const Catalog& catalog() = 0;
  /// Returns the rows as text: cells separated by "|" and rows by "/", NULL as "NULL", numbers in
  /// their shortest form. Throws ValueFault, and std::runtime_error for any other failure.
  virtual std::string run(std::string_view text) = 0;
};

std::unique_ptr<Connection> connectToSqlite();
std::unique_ptr<Connection> connectToPostgres();
/// Connects to a database whose default order of texts is that of a language. Its columns still
/// have the order of code points.
std::unique_ptr<Connection> connectToForeignPostgres();

/// A database with the tables that the expectations name. Its clock always shows kClock.
class CompanyDatabase {
 public:
  CompanyDatabase(Engine engine, Dialect dialect);
  CompanyDatabase(Engine engine, Dialect dialect, std::unique_ptr<Connection> connection);

  /// Translates and runs, see Connection::run(). Throws SqlError, too.
  std::string run(std::string_view text);
  /// Translates without running. Throws SqlError.
  Translation translate(std::string_view text) { return translator_.translate(text); }

 private:
  std::unique_ptr<Connection> connection_;
  Translator translator_;
};

/// Returns the front end's refusal of a statement; empty if it ran.
std::string refusalOf(CompanyDatabase& database, std::string_view text);

/// The answer of answerOf() for a ValueFault, whose message differs between the engines.
constexpr std::string_view kRefusedByEngine = "refused by the engine";

/// Returns the rows, the front end's refusal or kRefusedByEngine. Throws for any other failure, so
/// that a text with a mistake does not pass for a refused value.
std::string answerOf(CompanyDatabase& database, std::string_view text);

/// For tests that hold on every engine. Those of PostgreSQL run together, with one server.
class EngineTest : public testing::TestWithParam<Engine> {
 protected:
  static CompanyDatabase company(Dialect dialect) { return {GetParam(), dialect}; }
};

inline auto engines() { return testing::Values(Engine::Sqlite, Engine::Postgres); }
/// Returns the engine's part of a test's name. "Postgres" in it makes CTest run the test with the
/// others that need the server.
std::string engineName(const testing::TestParamInfo<Engine>& info);

}  // namespace qx::sql::test
