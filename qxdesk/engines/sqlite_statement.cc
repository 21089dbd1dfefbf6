#include "qxdesk/engines/sqlite_statement.h"

#include <sqlite3.h>

namespace qx::desk {

namespace {

[[noreturn]] void fail(sqlite3* db) {
  throw sqliteFailure(sqlite3_extended_errcode(db), sqlite3_errmsg(db));
}

Storage storageOf(int sqliteType) {
  switch (sqliteType) {
    case SQLITE_NULL:
      return Storage::Null;
    case SQLITE_INTEGER:
      return Storage::Integer;
    case SQLITE_FLOAT:
      return Storage::Real;
    default:
      return Storage::Text;
  }
}

std::string_view textOf(sqlite3_value* value) {
  // The text first: it may convert the value, and the bytes count the converted one.
  const unsigned char* text = sqlite3_value_text(value);
  if (text == nullptr) return {};
  return {reinterpret_cast<const char*>(text),
          static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

struct EndOfTurn {
  ~EndOfTurn() { turns.end(); }
  SqliteTurns& turns;
};

class SqliteRows final : public Statement {
 public:
  SqliteRows(const SqliteLink& link, sql::SqliteStatement statement, bool repeated)
      : db_(link.db),
        limit_(link.limit),
        turns_(link.turns),
        repeated_(repeated),
        writes_(sqlite3_stmt_readonly(statement.get()) == 0),
        statement_(std::move(statement)) {}

  void bind(int parameter, std::int64_t value) override {
    check(sqlite3_bind_int64(statement_.get(), parameter, value));
  }
  void bind(int parameter, double value) override {
    check(sqlite3_bind_double(statement_.get(), parameter, value));
  }
  void bind(int parameter, std::string_view value) override {
    // A null pointer would bind NULL instead of an empty text.
    check(sqlite3_bind_text64(statement_.get(), parameter,
                              value.data() == nullptr ? "" : value.data(), value.size(),
                              SQLITE_TRANSIENT, SQLITE_UTF8));
  }
  void bindDate(int parameter, std::string_view value) override { bind(parameter, value); }
  bool step() override {
    // One deadline for all rows; set only during a step, since other statements share the limit.
    if (!deadline_) {
      turns_.begin(writes_);
      deadline_ = limit_.deadlineFromNow();
    }
    limit_.set(*deadline_);
    int result = sqlite3_step(statement_.get());
    limit_.lift();
    if (result == SQLITE_ROW) return true;
    const EndOfTurn atTheEnd{turns_};
    if (result == SQLITE_DONE) return false;
    // A repeated statement tells its reason only now, see sql::prepareRepeated().
    if (repeated_) result = sqlite3_reset(statement_.get());
    if (result == SQLITE_SCHEMA) throw DatabaseError(Fault::TablesChanged, sqlite3_errmsg(db_));
    if (result == SQLITE_INTERRUPT) throw DatabaseError(Fault::Cancelled, limit_.reason());
    fail(db_);
  }

  void reset() override {
    sqlite3_reset(statement_.get());
    deadline_.reset();
  }

  int columnCount() const override { return sqlite3_column_count(statement_.get()); }
  std::string columnName(int column) const override {
    const char* name = sqlite3_column_name(statement_.get(), column);
    return name == nullptr ? std::string() : std::string(name);
  }
  sql::ColumnType declaredType(int column) const override {
    const char* declaration = sqlite3_column_decltype(statement_.get(), column);
    return declaration == nullptr ? sql::ColumnType::Unknown : sql::typeOfDeclaration(declaration);
  }
  Storage storage(int column) const override {
    return storageOf(sqlite3_column_type(statement_.get(), column));
  }
  std::int64_t integer(int column) const override {
    return sqlite3_column_int64(statement_.get(), column);
  }
  double real(int column) const override { return sqlite3_column_double(statement_.get(), column); }
  std::string_view text(int column) const override {
    const unsigned char* text = sqlite3_column_text(statement_.get(), column);
    if (text == nullptr) return {};
    return {reinterpret_cast<const char*>(text),
            static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
  }
  // One look-up of the cell instead of one per call. The value is not protected by a mutex, which
  // is safe because one thread uses the connection.
  StoredValue value(int column) const override {
    sqlite3_value* const cell = sqlite3_column_value(statement_.get(), column);
    StoredValue value;
    value.storage = storageOf(sqlite3_value_type(cell));
    if (value.storage == Storage::Integer) value.integer = sqlite3_value_int64(cell);
    if (value.storage == Storage::Real) value.real = sqlite3_value_double(cell);
    if (value.storage == Storage::Text) value.text = textOf(cell);
    return value;
  }

 private:
  void check(int result) {
    if (result != SQLITE_OK) fail(db_);
  }

  sqlite3* db_;
  SqliteTimeLimit& limit_;
  SqliteTurns& turns_;
  bool repeated_;
  bool writes_;
  std::optional<SqliteTimeLimit::TimePoint> deadline_;
  sql::SqliteStatement statement_;
};

// The engine reports a doubled key under three extended codes, depending on the kind of the key.
Fault constraintFault(int sqliteCode) {
  return sqliteCode == SQLITE_CONSTRAINT_UNIQUE || sqliteCode == SQLITE_CONSTRAINT_PRIMARYKEY ||
                 sqliteCode == SQLITE_CONSTRAINT_ROWID
             ? Fault::Unique
             : Fault::Constraint;
}

}  // namespace

Fault faultOf(int sqliteCode) {
  if (sqliteCode == sql::kBadDateCode) return Fault::BadDate;
  if (sqliteCode == sql::kOutOfRangeCode) return Fault::OutOfRange;
  if (sqliteCode == sql::kBadNumberCode) return Fault::BadValue;
  switch (sqliteCode & 0xFF) {  // the lower byte is the class of an extended code
    case SQLITE_CONSTRAINT:
      return constraintFault(sqliteCode);
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return Fault::Locked;
    case SQLITE_READONLY:
    case SQLITE_PERM:
      return Fault::ReadOnly;
    case SQLITE_CORRUPT:
      return Fault::Damaged;
    case SQLITE_NOTADB:
      return Fault::NotADatabase;
    case SQLITE_FULL:
      return Fault::Full;
    case SQLITE_IOERR:
    case SQLITE_CANTOPEN:
      return Fault::InputOutput;
    case SQLITE_NOMEM:
      return Fault::Cancelled;
    default:
      return Fault::Statement;
  }
}

// The engine has a limit of memory, so that this is no failure of the machine.
DatabaseError sqliteFailure(int code, const std::string& message) {
  constexpr int kPrimary = 0xFF;
  const bool memory = (code & kPrimary) == SQLITE_NOMEM;
  return {faultOf(code), memory ? "it needs more memory than the key memory allows" : message};
}

std::unique_ptr<Statement> prepareSqlite(const SqliteLink& link, std::string_view sql) {
  sqlite3_stmt* raw = nullptr;
  const int result =
      sqlite3_prepare_v2(link.db, sql.data(), static_cast<int>(sql.size()), &raw, nullptr);
  if (result != SQLITE_OK) fail(link.db);
  return wrapSqlite(link, sql::SqliteStatement(raw));
}

std::unique_ptr<Statement> wrapSqlite(const SqliteLink& link, sql::SqliteStatement statement) {
  return std::make_unique<SqliteRows>(link, std::move(statement), false);
}

std::unique_ptr<Statement> wrapRepeatedSqlite(const SqliteLink& link,
                                              sql::SqliteStatement statement) {
  return std::make_unique<SqliteRows>(link, std::move(statement), true);
}

}  // namespace qx::desk
