#include "qxdesk/engines/odbc_database.h"

#include "qxdesk/engines/driver_options.h"
#include "qxdesk/engines/engine_names.h"
#include "qxdesk/engines/odbc_statement.h"
#include "qxdesk/engines/plain_savepoints.h"
#include "qxdesk/engines/plain_tables.h"
#include "qxdesk/engines/postgres_catalog.h"
#include "qxdesk/engines/postgres_codes.h"
#include "qxdesk/engines/postgres_locks.h"
#include "qxdesk/engines/postgres_tables.h"
#include "qxdesk/sql/emitter_postgres.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>

namespace qx::desk {

namespace {

constexpr std::string_view kPostgres = "PostgreSQL";
constexpr std::string_view kPostgresDriver = "psqlodbc";

// Of two transactions that change a row which both have read, the second one fails. At the server's
// usual level it would overwrite the change of the first.
constexpr std::string_view kRepeatable = "SET TRANSACTION ISOLATION LEVEL REPEATABLE READ";

std::string settingsOf(const CompanyEnvironment& environment) {
  return "SET client_min_messages = warning; "
         // For single statements and for changes of tables; transactions of add-ons are stricter.
         "SET default_transaction_isolation = 'read committed'; "
         // "x = NULL" is neither true nor false, as on the other engines.
         "SET transform_null_equals = off; "
         "SET lock_timeout = " +
         std::to_string(environment.busyTimeoutMs) + "; SELECT set_config('statement_timeout', '" +
         std::to_string(environment.statementTimeoutSeconds) +
         "s', false) WHERE current_setting('statement_timeout') = '0'; "
         // A stopped program must not hold rows for ever, nor a machine that is gone.
         "SELECT set_config('idle_in_transaction_session_timeout', '" +
         std::to_string(environment.idleTransactionSeconds) +
         "s', false) WHERE current_setting('idle_in_transaction_session_timeout') = '0'; "
         "SELECT set_config('tcp_keepalives_idle', '120', false), "
         "set_config('tcp_keepalives_interval', '30', false), "
         "set_config('tcp_keepalives_count', '4', false) "
         "WHERE CAST(current_setting('tcp_keepalives_idle') AS bigint) > 120; "
         // A statement whose client has died must not go on. Servers before release 14 cannot look.
         "SELECT set_config('client_connection_check_interval', '10s', false) WHERE EXISTS "
         "(SELECT 1 FROM pg_settings WHERE name = 'client_connection_check_interval' "
         "AND setting = '0'); "
         // The name by which others learn who holds what they wait for.
         "SELECT set_config('application_name', " +
         quotedText(environment.program) +
         ", false) WHERE current_setting('application_name') = ''";
}

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
  // Nothing to probe: a driver reports the types of expressions as well.
  sql::ColumnType probe(std::string_view) override { return sql::ColumnType::Unknown; }
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
                   const CompanyEnvironment& environment, bool readOnly,
                   PostgresCodes::Connect connect)
      : OdbcDatabase(std::move(connection), {"\"", true}),
        environment_(environment),
        catalog_(*this),
        locks_(*this, environment),
        codes_(this->connection(), environment_, std::move(connect)),
        readOnly_(readOnly) {
    needUtf8();
    // First of all statements that change anything: settings made inside a transaction of the
    // connection string would end with it.
    endForeignTransaction();
    execute(sql::kPostgresSettings);
    execute(settingsOf(environment));
    if (readOnly_) execute("SET default_transaction_read_only = on");
    this->connection().setLockInquiry(
        [this](std::string_view sql) { return locks_.holderFor(sql); });
  }

  Route route() const override { return Route::ToPostgres; }
  const EngineTables& tables() const override { return postgresTables(); }
  const sql::Catalog& catalog() override { return catalog_; }
  CodeDraws* codeDraws() override { return &codes_; }
  void noticeChanges() override { catalog_.forget(); }
  bool keepsStatements() const override { return true; }
  // In a transaction the driver sets a point of return before each statement. It sends that along
  // with a text, but in a turn of its own before a prepared statement.
  bool repeatsInOneTurn() const override { return !inTransaction(); }
  std::unique_ptr<Statement> prepareRepeated(std::string_view sql, int /*parameters*/) override {
    return makeRepeatedOdbcStatement(connection(), sql);
  }
  bool isReadOnly() const override { return readOnly_ || OdbcDatabase::isReadOnly(); }

  void begin() override {
    codes_.transactionBegins();
    connection().begin(kRepeatable);
  }
  // At the server's usual level, so that a program that waited for its turn to change a table or to
  // make the company sees what the other one made.
  void beginChangeOfTables() override {
    codes_.transactionBegins();
    connection().begin();
  }
  bool lockTables(std::chrono::milliseconds most) override { return locks_.lockTables(most); }
  void unlockTables() override { locks_.unlockTables(); }
  std::optional<LockHolder> tablesHolder() override { return locks_.tablesHolder(); }
  void alterTable(std::string_view sql) override { locks_.alterTable(sql); }

 private:
  // Another encoding would work until someone first writes a letter that it lacks.
  void needUtf8() {
    const std::string encoding = queryText("SHOW server_encoding");
    if (encoding == "UTF8") return;
    throw DatabaseError(Fault::Statement,
                        "its encoding is " + encoding + "; make a database with ENCODING 'UTF8'");
  }

  // Ends a transaction that the connection string's own statements began. The statement ROLLBACK
  // does not do: if nothing is open, the driver takes it for the end of a failed transaction and
  // never releases its prepared statements again.
  void endForeignTransaction() {
    beginChangeOfTables();
    rollback();
  }

  CompanyEnvironment environment_;
  PostgresCatalog catalog_;
  PostgresLocks locks_;
  PostgresCodes codes_;
  bool readOnly_;
};

class PlainDatabase final : public OdbcDatabase {
 public:
  PlainDatabase(std::unique_ptr<OdbcConnection> connection, NameStyle names)
      : OdbcDatabase(std::move(connection), std::move(names)),
        tables_(this->connection()),
        savepoints_(*this, this->connection()) {}

  Route route() const override { return Route::Unchanged; }
  const EngineTables& tables() const override { return tables_; }
  const sql::Catalog& catalog() override { return catalog_; }
  void noticeChanges() override {}
  void begin() override { connection().beginRepeatable(); }
  void beginChangeOfTables() override { connection().begin(); }
  void setSavepoint() override { savepoints_.set(); }
  void rollBackToSavepoint() override { savepoints_.rollBack(); }
  void releaseSavepoint() override { savepoints_.release(); }

 private:
  struct NoCatalog final : sql::Catalog {
    sql::ColumnType columnType(std::string_view, std::string_view) const override {
      return sql::ColumnType::Unknown;
    }
  };

  PlainTables tables_;
  PlainSavepoints savepoints_;
  NoCatalog catalog_;
};

// Drivers return a blank if the engine cannot quote names.
std::string quoteOf(const OdbcConnection& connection) {
  const std::string quote = connection.info(SQL_IDENTIFIER_QUOTE_CHAR);
  return quote == " " ? std::string() : quote;
}

// Options of the driver can change the name of the product that it reports, but not its own name.
bool isPostgres(const OdbcConnection& connection) {
  return connection.info(SQL_DBMS_NAME) == kPostgres ||
         connection.info(SQL_DRIVER_NAME).starts_with(kPostgresDriver);
}

struct PostgresConnection {
  std::unique_ptr<OdbcConnection> connection;
  bool readOnly = false;
};

// Connects anew with the corrected options. A short list of options hides most of them; it becomes
// a full one with the first correction, so a second one may be needed.
PostgresConnection withRightOptions(std::unique_ptr<OdbcConnection> opened, std::string text,
                                    int timeoutSeconds) {
  PostgresConnection result{std::move(opened)};
  if (!result.connection->info(SQL_DRIVER_NAME).starts_with(kPostgresDriver)) return result;
  constexpr int kTimes = 2;
  std::string more = correctedOptions(result.connection->completed());
  for (int i = 0; i < kTimes && !more.empty(); ++i) {
    result.readOnly |= asksForReadOnly(result.connection->completed());
    result.connection.reset();
    text += more;
    result.connection = std::make_unique<OdbcConnection>(text, timeoutSeconds);
    more = correctedOptions(result.connection->completed());
  }
  if (more.empty()) return result;
  throw DatabaseError(Fault::Statement,
                      "the driver does not accept the options " + more.substr(1) +
                          "; remove other values for them from the connection string");
}

// A connection that reads beside another one waits for a locked table for a moment only: the other
// one may have locked it.
std::unique_ptr<Database> openBeside(const std::string& connection,
                                     CompanyEnvironment environment) {
  constexpr int kTimeoutMs = 500;
  environment.busyTimeoutMs = std::min(environment.busyTimeoutMs, kTimeoutMs);
  return openOdbcDatabase(connection, environment);
}

}  // namespace

std::unique_ptr<Database> openOdbcDatabase(std::string_view connection,
                                           const CompanyEnvironment& environment) {
  auto opened = std::make_unique<OdbcConnection>(connection, environment.loginTimeoutSeconds);
  if (isPostgres(*opened)) {
    PostgresConnection right = withRightOptions(std::move(opened), std::string(connection),
                                                environment.loginTimeoutSeconds);
    right.connection->watchMemory(environment.memoryBytes);
    return std::make_unique<PostgresDatabase>(
        std::move(right.connection), environment, right.readOnly,
        [text = std::string(connection), environment] { return openBeside(text, environment); });
  }
  // PostgreSQL gets its limit as a setting of the session instead.
  opened->setStatementTimeoutSeconds(environment.statementTimeoutSeconds);
  opened->watchMemory(environment.memoryBytes);
  const std::string quote = quoteOf(*opened);
  return std::make_unique<PlainDatabase>(std::move(opened), NameStyle{quote, false});
}

}  // namespace qx::desk
