#include "qxdesk/sql/test_support.h"

#include <utility>

namespace qx::sql::test {

std::string translated(Dialect dialect, std::string_view text) {
  return Translator(dialect).translate(text).text;
}

std::string translatedForPostgres(Dialect dialect, std::string_view text) {
  const Target target{.engine = Engine::Postgres, .now = [] { return std::string(kClock); }};
  return Translator(dialect, nullptr, target).translate(text).text;
}

std::string refusal(Dialect dialect, std::string_view text, Engine engine) {
  try {
    Translator(dialect, nullptr, {.engine = engine}).translate(text);
    return {};
  } catch (const SqlError& error) {
    return error.what();
  }
}

std::string literal(std::string_view text, bool national) {
  std::string quoted = national ? "N'" : "'";
  for (const char c : text) quoted += c == '\'' ? "''" : std::string(1, c);
  return quoted + "'";
}

CompanyDatabase::CompanyDatabase(Engine engine, Dialect dialect)
    : CompanyDatabase(engine, dialect,
                      engine == Engine::Postgres ? connectToPostgres() : connectToSqlite()) {}

CompanyDatabase::CompanyDatabase(Engine engine, Dialect dialect,
                                 std::unique_ptr<Connection> connection)
    : connection_(std::move(connection)),
      translator_(dialect, &connection_->catalog(),
                  {.engine = engine, .now = [] { return std::string(kClock); }}) {}

std::string CompanyDatabase::run(std::string_view text) {
  const Translation translation = translator_.translate(text);
  if (translation.kind == StatementKind::SetRowCount) return {};
  return connection_->run(translation.text);
}

std::string engineName(const testing::TestParamInfo<Engine>& info) {
  return std::string(traitsOf(info.param).name == "SQLite" ? "Sqlite" : "Postgres");
}

std::string refusalOf(CompanyDatabase& database, std::string_view text) {
  try {
    database.run(text);
    return {};
  } catch (const SqlError& error) {
    return error.what();
  }
}

std::string answerOf(CompanyDatabase& database, std::string_view text) {
  try {
    return database.run(text);
  } catch (const SqlError& error) {
    return error.what();
  } catch (const ValueFault&) {
    return std::string(kRefusedByEngine);
  }
}

}  // namespace qx::sql::test
