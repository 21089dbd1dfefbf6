#include "qxdesk/company/engines/odbc_database.h"

#include "qxdesk/company/engines/odbc_names.h"
#include "qxdesk/company/engines/odbc_statement.h"
#include "qxdesk/company/engines/plain_tables.h"
#include "qxdesk/company/engines/postgres_catalog.h"
#include "qxdesk/company/engines/postgres_tables.h"
#include "qxdesk/sql/emitter_postgres.h"

#include <sql.h>
#include <sqlext.h>

namespace qx::desk {

namespace {

constexpr std::string_view kPostgres = "PostgreSQL";

class OdbcDatabase : public Database {
 public:
  OdbcDatabase(std::unique_ptr<OdbcConnection> connection, NameStyle names)
      : connection_(std::move(connection)), names_(std::move(names)) {}

  std::unique_ptr<Statement> prepare(std::string_view sql) override {
    return makeOdbcStatement(*connection_, withEngineNames(sql, names_));
  }
  std::unique_ptr<Statement> prepareGuarded(std::string_view sql) override {
    return makeOdbcStatement(*connection_, sql);
  }
  // A driver describes expressions, too.
  sql::ColumnType probe(std::string_view) override { return sql::ColumnType::Unknown; }
  void begin() override { connection_->begin(); }
  void commit() override { connection_->commit(); }
  void rollback() override { connection_->rollback(); }
  bool inTransaction() const override { return connection_->inTransaction(); }
  bool isReadOnly() const override { return connection_->info(SQL_DATA_SOURCE_READ_ONLY) == "Y"; }
  std::optional<DatabaseError> lost() const override { return connection_->lost(); }

 protected:
  OdbcConnection& connection() { return *connection_; }

 private:
  std::unique_ptr<OdbcConnection> connection_;
  NameStyle names_;
};

class PostgresDatabase final : public OdbcDatabase {
 public:
  PostgresDatabase(std::unique_ptr<OdbcConnection> connection,
                   const CompanyEnvironment& environment)
      : OdbcDatabase(std::move(connection), {"\"", true}), catalog_(*this) {
    execute(sql::kPostgresSettings);
    execute("SET client_min_messages = warning");
    execute("SET lock_timeout = " + std::to_string(environment.busyTimeoutMs));
  }

  Route route() const override { return Route::ToPostgres; }
  const EngineTables& tables() const override { return postgresTables(); }
  const sql::Catalog& catalog() override { return catalog_; }
  void noticeChanges() override { catalog_.forget(); }

 private:
  PostgresCatalog catalog_;
};

class PlainDatabase final : public OdbcDatabase {
 public:
  PlainDatabase(std::unique_ptr<OdbcConnection> connection, NameStyle names)
      : OdbcDatabase(std::move(connection), std::move(names)), tables_(this->connection()) {}

  Route route() const override { return Route::AsTheyStand; }
  const EngineTables& tables() const override { return tables_; }
  const sql::Catalog& catalog() override { return catalog_; }
  void noticeChanges() override {}

 private:
  struct NoCatalog final : sql::Catalog {
    sql::ColumnType columnType(std::string_view, std::string_view) const override {
      return sql::ColumnType::Unknown;
    }
  };

  PlainTables tables_;
  NoCatalog catalog_;
};

// A blank says that names cannot be quoted.
std::string quoteOf(const OdbcConnection& connection) {
  const std::string quote = connection.info(SQL_IDENTIFIER_QUOTE_CHAR);
  return quote == " " ? std::string() : quote;
}

}  // namespace

std::unique_ptr<Database> openOdbcDatabase(std::string_view connection,
                                           const CompanyEnvironment& environment) {
  auto opened = std::make_unique<OdbcConnection>(connection, environment.loginTimeoutSeconds);
  if (opened->info(SQL_DBMS_NAME) == kPostgres) {
    return std::make_unique<PostgresDatabase>(std::move(opened), environment);
  }
  const std::string quote = quoteOf(*opened);
  return std::make_unique<PlainDatabase>(std::move(opened), NameStyle{quote, false});
}

}  // namespace qx::desk
