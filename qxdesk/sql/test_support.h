// What the tests of this folder share: a company-like database on each engine, and short ways to
// translate, to run and to read results as text.
#pragma once

#include "qxdesk/sql/translator.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>

namespace qx::sql::test {

constexpr std::string_view kClock = "2024-02-15 13:45:10";

// Text of one statement on a new translator without a catalogue.
std::string translated(Dialect dialect, std::string_view text);
// For PostgreSQL, which is told the time kClock.
std::string translatedForPostgres(Dialect dialect, std::string_view text);

// The message of the refusal; empty when the text was accepted.
std::string refusal(Dialect dialect, std::string_view text, Engine engine = Engine::Sqlite);

// `text` between single quotes, inner ones doubled, with an N before it where it is national.
std::string literal(std::string_view text, bool national = false);

// An open connection that runs statements in an engine's own SQL. Raises std::runtime_error.
class Connection {
 public:
  virtual ~Connection() = default;
  virtual const Catalog& catalog() = 0;
  // The rows as text: cells by "|", rows by "/", NULL as "NULL", numbers in their shortest form.
  virtual std::string run(std::string_view text) = 0;
};

std::unique_ptr<Connection> connectToSqlite();
std::unique_ptr<Connection> connectToPostgres();
// Whose own order of texts is that of a language; the columns have that of code points all the
// same.
std::unique_ptr<Connection> connectToForeignPostgres();

// A database with the tables of the expectations, its clock standing at kClock.
class CompanyDatabase {
 public:
  CompanyDatabase(Engine engine, Dialect dialect);
  CompanyDatabase(Engine engine, Dialect dialect, std::unique_ptr<Connection> connection);

  // Translates and runs, see Connection::run().
  std::string run(std::string_view text);
  // Translates without running.
  Translation translate(std::string_view text) { return translator_.translate(text); }

 private:
  std::unique_ptr<Connection> connection_;
  Translator translator_;
};

// The front end's refusal of a statement; empty when it ran.
std::string refusalOf(CompanyDatabase& database, std::string_view text);

// For tests that hold on every engine. Those of PostgreSQL run together, with one server.
class EngineTest : public testing::TestWithParam<Engine> {
 protected:
  static CompanyDatabase company(Dialect dialect) { return {GetParam(), dialect}; }
};

inline auto engines() { return testing::Values(Engine::Sqlite, Engine::Postgres); }
std::string engineName(const testing::TestParamInfo<Engine>& info);

}  // namespace qx::sql::test
