#include "qxdesk/engines/odbc_statement.h"

#include "qxdesk/engines/engine_names.h"
#include "qxdesk/engines/odbc_columns.h"
#include "qxdesk/sql/stored_date.h"
#include "qxframework/automation/text.h"

#include <malloc.h>
#include <sqlucode.h>

#include <algorithm>
#include <charconv>
#include <deque>

namespace qx::desk {

namespace {

constexpr std::size_t kBatchRows = 100;

SQLPOINTER number(SQLULEN value) { return reinterpret_cast<SQLPOINTER>(value); }

SQLUSMALLINT digits(std::string_view text, std::size_t first, std::size_t count) {
  SQLUSMALLINT value = 0;
  if (text.size() >= first + count) {
    std::from_chars(text.data() + first, text.data() + first + count, value);
  }
  return value;
}

template <class Things>
auto& at(Things& things, int index) {
  return things.at(static_cast<std::size_t>(index));
}

// What the driver is told of a parameter before the statement runs.
struct Binding {
  SQLSMALLINT cType = 0;
  SQLSMALLINT sqlType = 0;
  SQLULEN size = 0;
  void* place = nullptr;
  bool operator==(const Binding&) const = default;
};

// A bound value. The driver keeps the addresses of its place and its length.
struct Parameter {
  Parameter() = default;
  Parameter(const Parameter&) = delete;
  Parameter& operator=(const Parameter&) = delete;

  Binding binding{SQL_C_SBIGINT, SQL_BIGINT, 0, &integer};
  Binding known;  // what the driver was told last; its place is null before that
  SQLBIGINT integer = 0;
  double real = 0;
  SQL_TIMESTAMP_STRUCT date{};
  std::u16string wide;
  std::string narrow;
  SQLLEN length = 0;
};

// Replaces `wide` by the UTF-16 of a text. Most texts are ASCII; they are widened where the text
// before was, so that the place of a parameter stays.
void assignUtf16(std::u16string& wide, std::string_view utf8) {
  unsigned char seen = 0;
  wide.resize(utf8.size());
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto byte = static_cast<unsigned char>(utf8[i]);
    seen |= byte;
    wide[i] = byte;
  }
  if (seen >= 0x80) wide = toUtf16(utf8);
}

class OdbcStatement final : public Statement {
 public:
  OdbcStatement(OdbcConnection& connection, std::string_view sql, bool repeated,
                int skippedResults = 0)
      : connection_(connection),
        sql_(sql),
        repeated_(repeated),
        skippedResults_(skippedResults),
        statement_(connection.newStatement()) {
    const OdbcConnection::CallLock lock = connection_.lockCalls();
    // Braces in a statement are the author's text, not an ODBC escape for the driver to resolve.
    keepsBraces_ = take(SQL_ATTR_NOSCAN, SQL_NOSCAN_ON);
    const int seconds = connection_.statementTimeoutSeconds();
    if (seconds > 0) take(SQL_ATTR_QUERY_TIMEOUT, static_cast<SQLULEN>(seconds));
  }
  ~OdbcStatement() override {
    const OdbcConnection::CallLock lock = connection_.lockCalls();
    SQLFreeHandle(SQL_HANDLE_STMT, statement_);
    // What the rows took goes back to the system, so that the next statement begins without it.
    if (tooMuch_) malloc_trim(0);
  }
  OdbcStatement(const OdbcStatement&) = delete;
  OdbcStatement& operator=(const OdbcStatement&) = delete;

  void bind(int parameter, std::int64_t value) override {
    Parameter& place = parameterAt(parameter);
    place.integer = value;
    place.length = 0;
    place.binding = {SQL_C_SBIGINT, SQL_BIGINT, 0, &place.integer};
  }
  void bind(int parameter, double value) override {
    Parameter& place = parameterAt(parameter);
    place.real = value;
    place.length = 0;
    place.binding = {SQL_C_DOUBLE, SQL_DOUBLE, 0, &place.real};
  }
  void bind(int parameter, std::string_view value) override;
  void bindDate(int parameter, std::string_view value) override;
  // As its digits, since a double would not be the same number in the engine.
  void bindDecimal(int parameter, std::string_view value) override { bind(parameter, value); }
  bool step() override;
  void reset() override {
    const OdbcConnection::CallLock lock = connection_.lockCalls();
    SQLFreeStmt(statement_, SQL_CLOSE);
    ran_ = false;
  }

  int columnCount() const override { return static_cast<int>(columns_.size()); }
  std::string columnName(int column) const override { return at(columns_, column).name(); }
  sql::ColumnType declaredType(int column) const override { return at(columns_, column).type(); }
  Storage storage(int column) const override {
    const Storage storage = at(cells_, column).storage;
    return storage == Storage::Date ? Storage::Text : storage;
  }
  std::int64_t integer(int column) const override;
  double real(int column) const override;
  std::string_view text(int column) const override;
  StoredValue value(int column) const override {
    const OdbcCell& cell = at(cells_, column);
    StoredValue value;
    value.storage = cell.storage;
    if (cell.storage == Storage::Integer) value.integer = cell.integer;
    if (cell.storage == Storage::Real) value.real = cell.real;
    if (cell.storage == Storage::Text) value.text = cell.text;
    if (cell.storage == Storage::Date) value.date = cell.date;
    return value;
  }

 private:
  /// Sets an attribute; returns true if the driver accepts exactly this value.
  bool take(SQLINTEGER attribute, SQLULEN value) {
    return SQLSetStmtAttrW(statement_, attribute, number(value), 0) == SQL_SUCCESS;
  }
  Parameter& parameterAt(int number);
  void run();
  void runPrepared();
  void bindParameters();
  void skipResults();
  void describe();
  void bindColumns();
  bool fetchBatch();
  /// True if the rows end with those that were fetched: a driver fills a batch as far as it can.
  bool endsWithBatch() const { return fetched_ > 0 && fetched_ < batchSize_; }
  void loadRow();
  bool nextResult();
  void check(SQLRETURN result) {
    if (!SQL_SUCCEEDED(result)) fail();
  }
  [[noreturn]] void fail();
  /// Makes a call in which the driver may read all rows of a result, and returns its result.
  template <class Call>
  SQLRETURN watched(Call&& call);

  OdbcConnection& connection_;
  std::string sql_;
  bool repeated_;
  int skippedResults_;
  SQLHSTMT statement_;
  std::deque<Parameter> parameters_;  // a deque, since the driver knows their addresses
  bool keepsBraces_ = true;
  bool prepared_ = false;
  bool ran_ = false;
  bool ended_ = false;
  bool tooMuch_ = false;  // the last call was cancelled, since its rows took too much memory

  std::vector<OdbcColumn> columns_;
  mutable std::vector<OdbcCell> cells_;  // text() writes the stored form of a date
  std::vector<SQLUSMALLINT> states_;
  bool bound_ = false;
  SQLULEN batchSize_ = 1;
  SQLULEN fetched_ = 0;
  std::size_t next_ = 0;
};

template <class Call>
SQLRETURN OdbcStatement::watched(Call&& call) {
  MemoryWatch* const watch = connection_.memoryWatch();
  if (watch == nullptr) return call();
  MemoryWatch::Call running(*watch, [this] { SQLCancel(statement_); });
  const SQLRETURN result = call();
  tooMuch_ = running.end();
  return result;
}

// If the call was too quick for its cancellation, it has not failed, and the rows are counted.
void OdbcStatement::fail() {
  try {
    connection_.failStatement(statement_, sql_);
  } catch (const DatabaseError& error) {
    if (!tooMuch_ || error.fault() == Fault::ConnectionLost) throw;
    throw needsTooMuchMemory(connection_.memoryWatch()->most());
  }
}

Parameter& OdbcStatement::parameterAt(int number) {
  const auto count = static_cast<std::size_t>(number);
  while (parameters_.size() < count) parameters_.emplace_back();
  return parameters_[count - 1];
}

void OdbcStatement::bind(int parameter, std::string_view value) {
  Parameter& place = parameterAt(parameter);
  // Drivers refuse a size of 0.
  const auto sizeOf = [](const auto& text) { return std::max<SQLULEN>(1, text.size()); };
  if (connection_.isWide()) {
    assignUtf16(place.wide, value);
    place.length = static_cast<SQLLEN>(place.wide.size() * sizeof(char16_t));
    place.binding = {SQL_C_WCHAR, SQL_WVARCHAR, sizeOf(place.wide), place.wide.data()};
  } else {
    place.narrow = value;
    place.length = static_cast<SQLLEN>(value.size());
    place.binding = {SQL_C_CHAR, SQL_VARCHAR, sizeOf(place.narrow), place.narrow.data()};
  }
}

void OdbcStatement::bindDate(int parameter, std::string_view value) {
  constexpr SQLULEN kStoredForm = 19;  // characters, that is without fractions of a second
  Parameter& place = parameterAt(parameter);
  place.length = 0;
  place.binding = {SQL_C_TYPE_TIMESTAMP, SQL_TYPE_TIMESTAMP, kStoredForm, &place.date};
  place.date = {static_cast<SQLSMALLINT>(digits(value, 0, 4)),
                digits(value, 5, 2),
                digits(value, 8, 2),
                digits(value, 11, 2),
                digits(value, 14, 2),
                digits(value, 17, 2),
                0};
}

bool OdbcStatement::step() {
  if (!ran_) run();
  if (columns_.empty() || ended_) return false;
  if (next_ == fetched_ && (endsWithBatch() || !fetchBatch())) {
    ended_ = true;
    // A later statement of the batch may have failed; only reading on shows that. One that is
    // repeated is no batch.
    while (!repeated_ && nextResult()) {
    }
    return false;
  }
  loadRow();
  return true;
}

void OdbcStatement::run() {
  const OdbcConnection::CallLock lock = connection_.lockCalls();
  connection_.statementBegins();
  connection_.needAlive();
  if (!keepsBraces_ && hasEscape(sql_)) {
    throw DatabaseError(Fault::Statement,
                        "the driver would rewrite the text between braces in this statement; "
                        "write it in the engine's own SQL, without braces");
  }
  // Without parameters in one step: preparing costs another round trip to the server, and not every
  // engine prepares a batch of statements.
  if (parameters_.empty() && !repeated_) {
    const SQLRETURN result = watched([this] { return connection_.execute(statement_, sql_); });
    if (result != SQL_NO_DATA) check(result);
  } else {
    runPrepared();
  }
  ran_ = true;
  ended_ = false;
  fetched_ = 0;
  next_ = 0;
  skipResults();
  // A statement that runs again keeps its columns and their bindings.
  if (!bound_) describe();
  while (columns_.empty() && nextResult()) describe();
}

bool OdbcStatement::nextResult() {
  if (!connection_.hasMoreResults()) return false;
  const OdbcConnection::CallLock lock = connection_.lockCalls();
  const SQLRETURN result = watched([this] { return SQLMoreResults(statement_); });
  if (result == SQL_NO_DATA) return false;
  check(result);
  return true;
}

void OdbcStatement::runPrepared() {
  if (!prepared_) {
    check(connection_.prepare(statement_, sql_));
    prepared_ = true;
  }
  bindParameters();
  connection_.openPending();
  const SQLRETURN result = watched([this] { return SQLExecute(statement_); });
  if (result != SQL_NO_DATA) check(result);  // SQL_NO_DATA: the change affected no rows
}

// The driver keeps a binding from run to run and reads the value and its length at each.
void OdbcStatement::bindParameters() {
  SQLUSMALLINT count = 0;
  for (Parameter& parameter : parameters_) {
    ++count;
    const Binding& binding = parameter.binding;
    if (binding == parameter.known) continue;
    check(SQLBindParameter(statement_, count, SQL_PARAM_INPUT, binding.cType, binding.sqlType,
                           binding.size, 0, binding.place, parameter.length, &parameter.length));
    parameter.known = binding;
  }
}

// Beyond the last result there are no columns.
void OdbcStatement::skipResults() {
  for (int left = skippedResults_; left > 0;) {
    SQLSMALLINT count = 0;
    check(SQLNumResultCols(statement_, &count));
    if (count > 0) --left;
    if (!nextResult()) {
      bound_ = true;
      return;
    }
  }
}

void OdbcStatement::describe() {
  SQLSMALLINT count = 0;
  check(SQLNumResultCols(statement_, &count));
  columns_.clear();
  for (SQLUSMALLINT i = 1; i <= count; ++i) columns_.emplace_back(connection_, statement_, i);
  cells_.assign(columns_.size(), {});
  if (count > 0) bindColumns();
  bound_ = true;
}

void OdbcStatement::bindColumns() {
  constexpr unsigned kAnyCell = SQL_GD_ANY_COLUMN | SQL_GD_BLOCK | SQL_GD_BOUND;
  const bool anyCell = (connection_.infoNumber(SQL_GETDATA_EXTENSIONS) & kAnyCell) == kAnyCell;
  const bool allFit = std::all_of(columns_.begin(), columns_.end(),
                                  [](const OdbcColumn& column) { return column.alwaysFits(); });
  // SQLGetData on a bound column of a batch is an optional ability. Without it a text that did not
  // fit its place could not be read again.
  batchSize_ = anyCell || allFit ? kBatchRows : 1;
  states_.assign(batchSize_, SQL_ROW_NOROW);
  check(SQLSetStmtAttrW(statement_, SQL_ATTR_ROW_ARRAY_SIZE, number(batchSize_), 0));
  check(SQLSetStmtAttrW(statement_, SQL_ATTR_ROWS_FETCHED_PTR, &fetched_, 0));
  check(SQLSetStmtAttrW(statement_, SQL_ATTR_ROW_STATUS_PTR, states_.data(), 0));
  if (batchSize_ == 1) return;
  for (OdbcColumn& column : columns_) column.bind(batchSize_);
}

bool OdbcStatement::fetchBatch() {
  const OdbcConnection::CallLock lock = connection_.lockCalls();
  next_ = 0;
  fetched_ = 0;  // the driver writes it during SQLFetch
  const SQLRETURN result = SQLFetch(statement_);
  if (result == SQL_NO_DATA) {
    // Some drivers report the end of the connection as the end of the rows.
    connection_.needAlive();
    return false;
  }
  check(result);
  return fetched_ > 0;
}

void OdbcStatement::loadRow() {
  const std::size_t row = next_++;
  if (states_[row] == SQL_ROW_ERROR) connection_.failStatement(statement_);
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (batchSize_ == 1) {
      const OdbcConnection::CallLock lock = connection_.lockCalls();
      columns_[i].fetch(cells_[i]);
    } else if (!columns_[i].read(row, cells_[i])) {
      const OdbcConnection::CallLock lock = connection_.lockCalls();
      // SQLGetData reads from the current row of the batch, which SQLSetPos sets.
      check(SQLSetPos(statement_, static_cast<SQLSETPOSIROW>(row + 1), SQL_POSITION,
                      SQL_LOCK_NO_CHANGE));
      columns_[i].fetch(cells_[i]);
    }
  }
}

// A value is converted as SQLite would do it: callers of our own statements ask for the kind that
// they need, whatever type the source chose for the column.
std::int64_t OdbcStatement::integer(int column) const {
  const OdbcCell& cell = at(cells_, column);
  std::int64_t value = 0;
  if (cell.storage == Storage::Integer) value = cell.integer;
  if (cell.storage == Storage::Real) value = static_cast<std::int64_t>(cell.real);
  const std::string_view digits = text(column);
  std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return value;
}

double OdbcStatement::real(int column) const {
  const OdbcCell& cell = at(cells_, column);
  double value = 0;
  if (cell.storage == Storage::Integer) value = static_cast<double>(cell.integer);
  if (cell.storage == Storage::Real) value = cell.real;
  const std::string_view digits = text(column);
  std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return value;
}

std::string_view OdbcStatement::text(int column) const {
  OdbcCell& cell = at(cells_, column);
  if (cell.storage == Storage::Date) sql::assignStored(cell.text, cell.date);
  const bool isText = cell.storage == Storage::Text || cell.storage == Storage::Date;
  return isText ? std::string_view(cell.text) : std::string_view();
}

}  // namespace

std::unique_ptr<Statement> makeOdbcStatement(OdbcConnection& connection, std::string_view sql,
                                             int skippedResults) {
  return std::make_unique<OdbcStatement>(connection, sql, false, skippedResults);
}

std::unique_ptr<Statement> makeRepeatedOdbcStatement(OdbcConnection& connection,
                                                     std::string_view sql) {
  return std::make_unique<OdbcStatement>(connection, sql, true);
}

}  // namespace qx::desk
