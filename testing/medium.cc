#include "testing/medium.h"

#include "qxframework/host/dialect_names.h"
#include "testing/postgres_server.h"
#include "testing/sqlite_file.h"

#include <cstdlib>
#include <stdexcept>

namespace qx::test {
namespace {

namespace fs = std::filesystem;

std::string valueOf(const char* variable, const char* otherwise) {
  const char* value = std::getenv(variable);
  return value == nullptr ? otherwise : value;
}

Medium readMedium() {
  const std::string dialect = valueOf("QX_TEST_DIALECT", "mssql");
  const std::string engine = valueOf("QX_TEST_ENGINE", "sqlite");
  const auto serverType = serverTypeNamed(dialect);
  if (!serverType)
    throw std::runtime_error("QX_TEST_DIALECT is \"" + dialect +
                             "\"; write mssql, sybase, db2 or kordb");
  if (engine != "sqlite" && engine != "postgres")
    throw std::runtime_error("QX_TEST_ENGINE is \"" + engine + "\"; write sqlite or postgres");
  return {dialect, engine == "postgres", *serverType};
}

std::string& model() {
  static std::string database;
  return database;
}

constexpr std::string_view kOdbc = "odbc:";

// Returns the name that the server has for a database of fresh(): the "Database=" of its connection
// string.
std::string serverName(const std::string& database) {
  constexpr std::string_view kKey = "Database=";
  const std::size_t begin = database.find(kKey);
  if (begin == std::string::npos) throw std::runtime_error("no database in " + database);
  const std::size_t from = begin + kKey.size();
  return database.substr(from, database.find(';', from) - from);
}

}  // namespace

const Medium& medium() {
  static const Medium medium = readMedium();
  return medium;
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
