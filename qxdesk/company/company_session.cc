#include "qxdesk/company/company_session.h"

#include "qxdesk/company/company_schema.h"
#include "qxdesk/sql/translator.h"
#include "qxframework/automation/text.h"

#include <utility>

namespace qx::desk {

namespace {

sql::ColumnType resultType(Database& database, const Statement& statement, int column,
                           const sql::OutputColumn* told) {
  const sql::ColumnType declared = statement.declaredType(column);
  if (declared != sql::ColumnType::Unknown || told == nullptr) return declared;
  if (told->type != sql::ColumnType::Unknown || told->probe.empty()) return told->type;
  return database.probe(told->probe);
}

std::vector<RowColumn> resultColumns(Database& database, const Statement& statement,
                                     const sql::Translation& translation) {
  std::vector<RowColumn> columns;
  const int count = statement.columnCount();
  const bool told = translation.columns.size() == static_cast<std::size_t>(count);
  for (int i = 0; i < count; ++i) {
    const sql::OutputColumn* output =
        told ? &translation.columns[static_cast<std::size_t>(i)] : nullptr;
    columns.push_back({toUtf16(output != nullptr ? output->name : statement.columnName(i)),
                       resultType(database, statement, i, output)});
  }
  return columns;
}

}  // namespace

CompanySession::CompanySession(CompanyEnvironment environment, OpenDatabase open)
    : environment_(std::move(environment)), open_(std::move(open)) {}

CompanySession::~CompanySession() = default;

void CompanySession::open(const LoginTarget& target) {
  if (isOpen()) throw CompanyError(kOpenFailed, Text::AlreadyConnected);
  target_ = target;
  std::unique_ptr<Database> database;
  try {
    database = open_(target.database, environment_);
    ensureCompany(*database, target, environment_);
  } catch (const DatabaseError& error) {
    throw asCompanyError(kOpenFailed, error);
  }
  translator_ = std::make_unique<sql::Translator>(
      sql::dialectOf(static_cast<int>(target.dbServerType)), &database->catalog());
  database_ = std::move(database);
}

void CompanySession::close() {
  transaction_ = false;
  translator_.reset();
  database_.reset();
}

void CompanySession::needOpen() const {
  if (!isOpen()) throw CompanyError(kNotConnected, Text::NotConnected);
}

Database& CompanySession::database() {
  needOpen();
  if (database_->isGone()) throw CompanyError(kSqlFailure, Text::Moved, target_.database);
  if (transaction_ && !database_->inTransaction()) {
    throw CompanyError(kSqlFailure, Text::TransactionLost);
  }
  return *database_;
}

CompanySettings CompanySession::settings() { return readSettings(database()); }

RowStore CompanySession::query(std::string_view utf8) {
  Database& open = database();
  try {
    return runTranslated(open, utf8);
  } catch (const sql::SqlError& error) {
    throw CompanyError(kSqlFailure, Text::EngineMessage, error.what());
  }
}

RowStore CompanySession::runTranslated(Database& database, std::string_view utf8) {
  database.noticeChanges();
  const sql::Translation translation = translator_->translate(utf8);
  if (translation.kind == sql::StatementKind::SetRowCount) return {};
  const std::unique_ptr<Statement> statement = database.prepareGuarded(translation.text);
  RowStore rows(resultColumns(database, *statement, translation));
  while (statement->step()) rows.append(*statement);
  return rows;
}

void CompanySession::startTransaction() {
  Database& open = database();
  if (transaction_) throw CompanyError(kWrongTransactionState, Text::TransactionOpen);
  if (open.isReadOnly()) throw CompanyError(kSqlFailure, Text::ReadOnly);
  open.execute("BEGIN IMMEDIATE");
  transaction_ = true;
}

void CompanySession::endTransaction(bool commit) {
  needOpen();
  if (!transaction_) throw CompanyError(kWrongTransactionState, Text::NoTransaction);
  if (!database_->inTransaction()) {
    transaction_ = false;
    if (commit) throw CompanyError(kWrongTransactionState, Text::TransactionLost);
    return;
  }
  transaction_ = false;
  if (commit && database_->isGone()) {  // the engine would commit into a file that nobody has
    database_->execute("ROLLBACK");
    throw CompanyError(kSqlFailure, Text::Moved, target_.database);
  }
  if (commit) {
    commitOrRollBack();
  } else {
    database_->execute("ROLLBACK");
  }
}

// A commit that failed leaves nothing open, so that the next transaction can start.
void CompanySession::commitOrRollBack() {
  try {
    database_->execute("COMMIT");
  } catch (const DatabaseError&) {
    if (database_->inTransaction()) database_->execute("ROLLBACK");
    throw;
  }
}

CompanyError CompanySession::asCompanyError(long code, const DatabaseError& error) const {
  switch (error.fault()) {
    case Fault::Locked:
      return CompanyError(code, Text::Locked);
    case Fault::ReadOnly:
      return CompanyError(code, Text::ReadOnly);
    case Fault::Damaged:
      return CompanyError(code, Text::Damaged, error.what());
    case Fault::NotADatabase:
      return CompanyError(code, Text::NotADatabase, target_.database);
    case Fault::Full:
      return CompanyError(code, Text::DiskFull);
    case Fault::InputOutput:
      return CompanyError(code, Text::InputOutput, error.what());
    default:
      return CompanyError(code, Text::EngineMessage, error.what());
  }
}

void CompanySession::remember(const CompanyError& error) {
  lastCode_ = error.code();
  lastText_ = error.sentenceIn(language());
}

HvLanguages CompanySession::language() const { return language_.value_or(target_.language); }

}  // namespace qx::desk
