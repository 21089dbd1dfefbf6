#include "testing/medium.h"

#include "qxframework/host/dialect_names.h"
#include "testing/postgres_server.h"
#include "testing/sqlite_file.h"

#include <cstdlib>
#include <stdexcept>

namespace qx::test {
namespace {

namespace fs = std::filesystem;

std::string chosen(const char* variable, const char* otherwise) {
  const char* value = std::getenv(variable);
  return value == nullptr ? otherwise : value;
}

Medium readMedium() {
  const std::string engine = chosen("QX_TEST_ENGINE", "mssql");
  const std::string database = chosen("QX_TEST_DATABASE", "sqlite");
  const auto serverType = serverTypeNamed(engine);
  if (!serverType) throw std::runtime_error("QX_TEST_ENGINE: " + engine);
  if (database != "sqlite" && database != "postgres")
    throw std::runtime_error("QX_TEST_DATABASE: " + database);
  return {engine, database == "postgres", *serverType};
}

std::string& model() {
  static std::string database;
  return database;
}

constexpr std::string_view kOdbc = "odbc:";

// Returns the name that follows "Database=" in a connection string.
std::string serverName(const std::string& database) {
  constexpr std::string_view kKey = "Database=";
  const std::size_t begin = database.find(kKey);
  if (begin == std::string::npos) throw std::runtime_error("no database in " + database);
  const std::size_t from = begin + kKey.size();
  return database.substr(from, database.find(';', from) - from);
}

}  // namespace

const Medium& medium() {
  static const Medium ofThisRun = readMedium();
  return ofThisRun;
}

std::string CompanyStore::fresh(const fs::path& folder) {
  if (medium().postgres) {
    PostgresServer& server = PostgresServer::shared();
    const std::string name =
        hasModel() ? server.createDatabase(serverName(model())) : server.createDatabase();
    return std::string(kOdbc) + server.connection(name);
  }
  static int count = 0;
  const fs::path file = folder / ("company" + std::to_string(++count) + ".db");
  if (hasModel()) fs::copy_file(model(), file);
  return file.string();
}

void CompanyStore::keepAsModel(const std::string& database) { model() = database; }

bool CompanyStore::hasModel() { return !model().empty(); }

void CompanyStore::run(const std::string& database, const std::string& sql) {
  if (medium().postgres) {
    PostgresServer::shared().run(serverName(database), sql);
  } else {
    SqliteFile(database).execute(sql);
  }
}

std::string CompanyStore::ask(const std::string& database, const std::string& sql) {
  if (medium().postgres) return PostgresServer::shared().ask(serverName(database), sql);
  return SqliteFile(database).rows(sql).at(0);
}

}  // namespace qx::test
