#include "qxdesk/company/company_session.h"

#include "qxdesk/company/result_columns.h"
#include "qxdesk/company/statement_reports.h"
#include "qxdesk/dictionary/company_schema.h"
#include "qxdesk/dictionary/dictionary_layouts.h"
#include "qxdesk/dictionary/system_tables.h"
#include "qxdesk/engines/code_draws.h"
#include "qxdesk/engines/engine_tables.h"
#include "qxdesk/engines/memory_watch.h"
#include "qxdesk/session/database_name.h"
#include "qxdesk/sql/translator.h"
#include "qxframework/automation/system_message.h"
#include "qxframework/automation/text.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <utility>

namespace qx::desk {

namespace {

sql::Target targetOf(Route route, const CompanyEnvironment& environment) {
  const bool postgres = route == Route::ToPostgres;
  std::vector<std::string> kept = dictionaryTableNames();
  kept.emplace_back(kVersionTable);
  return {postgres ? sql::Engine::Postgres : sql::Engine::Sqlite, environment.now, std::move(kept),
          std::string(kSettingsTable)};
}

// Returns the refusal as a sentence; the place is written without words, since they would be in
// English in every language.
CompanyError protectedTable(const sql::ProtectedTable& refusal) {
  return {kSqlFailure, refusal.oneRow ? Text::OneRowTable : Text::KeptByCompany, refusal.table,
          std::to_string(refusal.line) + ":" + std::to_string(refusal.column)};
}

// True if a statement may have failed because the tables are not those that it was translated for.
// A server reports a missing name so, before the check in the text runs.
bool mayBeOutdated(const Database& database, const DatabaseError& error) {
  return error.fault() == Fault::TablesChanged ||
         (error.fault() == Fault::Statement && database.route() != Route::ToSqlite);
}

void needRoom(const RowStore& rows, std::size_t mostBytes) {
  if (rows.bytes() <= mostBytes) return;
  throw needsTooMuchMemory(mostBytes);
}

// True if a statement reads the highest code and cannot run as a kept one for that reason.
bool drawsByText(CodeDraws* draws, const sql::Translation& translation) {
  return draws != nullptr && draws->runsTexts() && !translation.drawsFrom.empty();
}

// True if a kept INSERT has to give up the lock of a draw by its own text.
bool releasesByText(CodeDraws* draws, const sql::Translation& translation) {
  return draws != nullptr && draws->runsTexts() && !translation.insertsInto.empty() &&
         draws->hasDrawn(translation.insertsInto);
}

// Returns the number of a code as the framework reads it: hexadecimal, of 32 bits.
std::uint32_t codeNumber(const std::string& code) {
  constexpr int kHexadecimal = 16;
  constexpr long long kHighest = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::uint32_t>(
      std::min(std::strtoll(code.c_str(), nullptr, kHexadecimal), kHighest));
}

// Ends a draw with its statement: an INSERT in any case, and the query of the highest code if it
// fails.
class EndOfDraw {
 public:
  EndOfDraw(CodeDraws* draws, DrawOfStatement& draw) : draws_(draws), draw_(draw) {
    draw_.table.clear();
    if (draws_ != nullptr) draws_->giveUpOld();
  }
  ~EndOfDraw() {
    if (!draw_.table.empty()) draws_->inserted(draw_.table);
  }
  EndOfDraw(const EndOfDraw&) = delete;
  EndOfDraw& operator=(const EndOfDraw&) = delete;

 private:
  CodeDraws* draws_;
  DrawOfStatement& draw_;
};

// Ends the run of a kept statement, so that it holds no lock of the database.
struct Rewinding {
  explicit Rewinding(Statement& rewound) : statement(rewound) {}
  ~Rewinding() { statement.reset(); }
  Rewinding(const Rewinding&) = delete;
  Rewinding& operator=(const Rewinding&) = delete;
  Statement& statement;
};

}  // namespace

CompanySession::CompanySession(CompanyEnvironment environment, OpenDatabase open)
    : environment_(std::move(environment)), open_(std::move(open)) {}

CompanySession::~CompanySession() = default;

void CompanySession::open(const LoginTarget& target) {
  // A lost connection needs no Disconnect before the next Connect.
  if (database_ != nullptr && !isOpen()) close();
  if (isOpen()) throw CompanyError(kOpenFailed, Text::AlreadyConnected);
  target_ = target;
  std::unique_ptr<Database> database;
  try {
    if (target.memoryMegabytes > 0) {
      environment_.memoryBytes = static_cast<std::size_t>(target.memoryMegabytes) << 20;
    }
    database = open_(target.database, environment_);
    ensureCompany(*database, target, environment_);
  } catch (const DatabaseError& error) {
    // The engine's message on a statement does not say which database it is about.
    if (error.fault() != Fault::Statement) throw asCompanyError(kOpenFailed, error);
    throw CompanyError(kOpenFailed, Text::CannotOpen, databaseName(target.database), error.what());
  }
  // The translator keeps a pointer to the catalogue; close() therefore destroys it first.
  if (database->route() != Route::Unchanged) {
    translator_ = std::make_unique<sql::Translator>(
        sql::dialectOf(static_cast<int>(target.dbServerType), target.acceptBrackets),
        &database->catalog(), targetOf(database->route(), environment_));
  }
  database_ = std::move(database);
  keepsStatements_ = database_->keepsStatements() && target.keepsStatements;
  // Otherwise all that has been written would stay in the file's log. A server notices the end of
  // the process by itself, and its driver may have been shut down before this action runs.
  if (database_->route() == Route::ToSqlite) atExit_.emplace([this] { letGo(); });
}

void CompanySession::close() {
  atExit_.reset();
  letGo();
}

void CompanySession::letGo() {
  transaction_ = false;
  tableLocks_ = 0;
  kept_.clear();
  translator_.reset();
  database_.reset();
}

bool CompanySession::isOpen() const {
  if (database_ == nullptr) return false;
  const std::optional<DatabaseError> reason = database_->lost();
  return !reason || reason->fault() != Fault::ConnectionLost;
}

void CompanySession::needOpen() const {
  if (database_ == nullptr) throw CompanyError(kNotConnected, Text::NotConnected);
}

std::string CompanySession::nameOfDatabase() const {
  needOpen();
  return databaseName(target_.database);
}

Database& CompanySession::database() {
  needOpen();
  if (const auto reason = database_->lost()) throw *reason;
  if (transaction_ && !database_->inTransaction()) {
    throw CompanyError(kSqlFailure, Text::TransactionLost);
  }
  return *database_;
}

CompanySettings CompanySession::settings() { return readSettings(database()); }

RowStore CompanySession::query(std::string_view utf8) {
  StatementReports& reports = StatementReports::instance();
  if (!reports.wanted()) return queryUnreported(utf8);
  const auto start = std::chrono::steady_clock::now();
  const auto report = [&](long rows, long code) {
    reports.report(utf8, rows, std::chrono::steady_clock::now() - start, code);
  };
  try {
    RowStore rows = queryUnreported(utf8);
    report(rows.columnCount() == 0 ? -1 : static_cast<long>(rows.rowCount()), 0);
    return rows;
  } catch (const CompanyError& error) {
    report(-1, error.code());
    throw;
  } catch (const DatabaseError&) {
    report(-1, kSqlFailure);
    throw;
  }
}

RowStore CompanySession::queryUnreported(std::string_view utf8) {
  Database& open = database();
  if (translator_ == nullptr) return run(open, utf8, {});
  const EndOfDraw endOfDraw(open.codeDraws(), draw_);
  try {
    RowStore rows = keepsStatements_ ? queryKept(open, utf8) : queryAnew(open, utf8);
    // The draw goes on to the INSERT.
    if (draw_.begins) draw_.table.clear();
    return rows;
  } catch (const sql::ProtectedTable& refusal) {
    throw protectedTable(refusal);
  } catch (const sql::SqlError& error) {
    throw CompanyError(kSqlFailure, Text::EngineMessage, error.what());
  }
}

// Returns the statement to run for `text`, or null if it runs as any other.
std::unique_ptr<Statement> CompanySession::protectDraw(Database& database,
                                                       const sql::Translation& translation,
                                                       std::string_view text) {
  CodeDraws* const draws = database.codeDraws();
  if (draws == nullptr) return nullptr;
  if (!translation.drawsFrom.empty()) {
    draw_ = {translation.drawsFrom, true};
    return draws->draw(draw_.table, text);
  }
  if (translation.insertsInto.empty() || !draws->hasDrawn(translation.insertsInto)) return nullptr;
  draw_ = {translation.insertsInto, false};
  return draws->insert(draw_.table, text);
}

std::unique_ptr<Statement> CompanySession::prepare(Database& database, std::string_view text,
                                                   const sql::Translation& translation) {
  std::unique_ptr<Statement> statement = protectDraw(database, translation, text);
  return statement ? std::move(statement) : database.prepareGuarded(text);
}

RowStore CompanySession::queryAnew(Database& database, std::string_view utf8) {
  // The translator asks the catalogue, which must show the tables as they are now.
  database.noticeChanges();
  const sql::Translation translation = translator_->translate(utf8);
  // The translator keeps the limit and writes it into later statements; the engine sees none of
  // it.
  if (translation.kind == sql::StatementKind::SetRowCount) return {};
  return run(database, translation.text, translation);
}

RowStore CompanySession::queryKept(Database& database, std::string_view utf8) {
  const bool changed = changesSeen_ != database.changesOfTables();
  changesSeen_ = database.changesOfTables();
  if (changed) kept_.clear();
  const sql::StatementShape* shape = sql::findShape(utf8, shape_) ? &shape_ : nullptr;
  KeptStatement* const kept = shape ? kept_.find(*shape, translator_->rowLimit()) : nullptr;
  if (kept == nullptr) return runNew(database, utf8, shape, changed);
  try {
    if (std::optional<RowStore> rows = runKept(database, *kept)) return *std::move(rows);
  } catch (const DatabaseError& error) {
    if (!mayBeOutdated(database, error)) throw;
    if (error.fault() == Fault::TablesChanged) {
      kept_.clear();
    } else {
      kept_.drop(*kept);
    }
    return runNew(database, utf8, shape, true);
  }
  return runNew(database, utf8, shape, changed);
}

// Translates by what is known of the tables, and again with the tables as they are now if that
// refuses the statement or fails: the catalogue of a server costs turns, so that it is not read
// anew for every statement. The embedded engine's is always read as it is now.
RowStore CompanySession::runNew(Database& database, std::string_view utf8,
                                const sql::StatementShape* shape, bool notice) {
  constexpr int kAttempts = 5;
  bool noticed = notice || database.route() == Route::ToSqlite;
  for (int attempt = 1;; ++attempt, noticed = true) {
    if (noticed) database.noticeChanges();
    try {
      if (std::optional<RowStore> rows = translateAndRun(database, utf8, shape, noticed)) {
        return *std::move(rows);
      }
    } catch (const sql::SqlError&) {
      if (noticed) throw;
    } catch (const DatabaseError& error) {
      if (!mayBeOutdated(database, error)) throw;
      const bool again = error.fault() == Fault::TablesChanged ? attempt < kAttempts : !noticed;
      if (again) continue;
      // A transaction sees the catalogue as it was at its first statement. What is translated by
      // it cannot agree with a table that has changed since, so the text runs without the check.
      if (!database.inTransaction()) throw;
      return queryAnew(database, utf8);
    }
  }
}

// Returns nothing if the text would not notice a change of the tables, and `noticed` is false.
std::optional<RowStore> CompanySession::translateAndRun(Database& database, std::string_view utf8,
                                                        const sql::StatementShape* shape,
                                                        bool noticed) {
  sql::Translation translation = translator_->translateForUse(utf8, shape);
  // The translator keeps the limit and writes it into later statements; the engine sees none of
  // it.
  if (translation.kind == sql::StatementKind::SetRowCount) return RowStore();
  if (!translation.checked && !noticed) return std::nullopt;
  if (!translation.repeatable && !translation.parameters.empty()) {
    translation = translator_->translateForUse(utf8, nullptr);
  }
  if (!translation.repeatable) return run(database, translation.text, translation);
  KeptStatement kept(*shape, std::move(translation));
  std::optional<RowStore> rows = runKept(database, kept);
  // Never so: the values of the statement itself fit.
  if (!rows) throw std::logic_error("a statement does not take its own values");
  // Kept after its first run, so that no statement is that cannot run.
  kept_.add(*shape, translator_->rowLimit(), std::move(kept));
  return rows;
}

// Returns nothing if the values do not fit, which a translation of the text reports.
std::optional<RowStore> CompanySession::runKept(Database& database, KeptStatement& kept) {
  const sql::Translation& translation = kept.translation();
  CodeDraws* const draws = database.codeDraws();
  if (database.repeatsInOneTurn() && !drawsByText(draws, translation)) {
    if (releasesByText(draws, translation)) return runReleasing(database, kept);
    Statement& statement = kept.statement(database);
    if (!kept.bind(shape_, environment_.now)) return std::nullopt;
    protectDraw(database, translation, {});
    const Rewinding rewinding(statement);
    return rowsOf(database, statement, kept);
  }
  const std::optional<std::string> text = kept.textWith(shape_, environment_.now);
  if (!text) return std::nullopt;
  const std::unique_ptr<Statement> statement = prepare(database, *text, translation);
  return rowsOf(database, *statement, kept);
}

// The INSERT after a draw, which gives up the lock of its table or keeps it for the next draw.
std::optional<RowStore> CompanySession::runReleasing(Database& database, KeptStatement& kept) {
  CodeDraws& draws = *database.codeDraws();
  draw_ = {kept.translation().insertsInto, false};
  Statement& statement = kept.statement(database, draws.releasingCondition(draw_.table));
  if (!kept.bind(shape_, environment_.now)) return std::nullopt;
  const Rewinding rewinding(statement);
  RowStore rows = rowsOf(database, statement, kept);
  draws.rowInserted(draw_.table);
  return rows;
}

RowStore CompanySession::rowsOf(Database& database, Statement& statement,
                                KeptStatement& kept) const {
  bool row = statement.step();
  if (kept.columns == nullptr) {
    kept.columns = std::make_shared<const std::vector<RowColumn>>(
        resultColumns(database, statement, kept.translation()));
  }
  // A transaction sees the catalogue as it was at its start, but rows of the table as it is now.
  if (kept.columns->size() != static_cast<std::size_t>(statement.columnCount())) {
    throw DatabaseError(Fault::TablesChanged, "the result has other columns now");
  }
  RowStore rows(kept.columns);
  for (; row; row = statement.step()) {
    rows.append(statement);
    needRoom(rows, environment_.memoryBytes);
  }
  return rows;
}

RowStore CompanySession::run(Database& database, std::string_view text,
                             const sql::Translation& translation) {
  const std::unique_ptr<Statement> statement = prepare(database, text, translation);
  // The first step comes before the columns: only then does every engine know them.
  bool row = statement->step();
  RowStore rows(resultColumns(database, *statement, translation));
  for (; row; row = statement->step()) {
    rows.append(*statement);
    needRoom(rows, environment_.memoryBytes);
  }
  return rows;
}

void CompanySession::startTransaction() {
  Database& open = database();
  if (transaction_) throw CompanyError(kWrongTransactionState, Text::TransactionOpen);
  if (open.isReadOnly()) throw CompanyError(kSqlFailure, Text::ReadOnly);
  open.begin();
  transaction_ = true;
  endedBy_ = kOtherFault;
}

void CompanySession::endTransaction(bool commit) {
  needOpen();
  // Cleared first: whatever happens below, no transaction is open for the add-on afterwards.
  const bool open = std::exchange(transaction_, false);
  // The server rolled back with the loss of the connection, so a rollback is no failure.
  if (!isOpen() && (commit || !open)) throw database_->lost().value();
  if (!open) throw CompanyError(kWrongTransactionState, Text::NoTransaction);
  // If the engine rolled back by itself, a rollback has nothing to do and a commit has failed.
  if (!database_->inTransaction()) {
    if (commit) throw CompanyError(kWrongTransactionState, Text::TransactionLost);
    return;
  }
  if (commit) {
    commitOrRollBack();
  } else {
    database_->rollback();
  }
}

// Rolls back if the commit fails, so that the next transaction can start.
void CompanySession::commitOrRollBack() {
  try {
    database_->commit();
  } catch (const DatabaseError&) {
    if (database_->inTransaction()) database_->rollback();
    throw;
  }
}

std::optional<std::u16string> CompanySession::lockTables(std::chrono::milliseconds most) {
  Database& open = database();
  if (tableLocks_ == 0 && !open.lockTables(most)) {
    const std::optional<LockHolder> holder = open.tablesHolder();
    return holder ? wordsOf(*holder) : std::u16string();
  }
  ++tableLocks_;
  return std::nullopt;
}

void CompanySession::unlockTables() {
  needOpen();
  if (tableLocks_ == 0) throw CompanyError(kWrongTransactionState, Text::TablesNotLocked);
  // Counted first: a lock that cannot be given back has ended with its connection.
  if (--tableLocks_ == 0) database().unlockTables();
}

// The codes of a table that an engine does not protect are read all the same.
bool CompanySession::continueCodes(std::string_view table, long next) {
  Database& open = database();
  try {
    CodeDraws* const draws = open.codeDraws();
    if (draws != nullptr) draws->giveUpOld();
    const std::string highest = draws != nullptr
                                    ? draws->highest(open, table)
                                    : open.queryText("SELECT MAX([Code]) FROM " + bracketed(table));
    return highest.empty() || codeNumber(highest) < static_cast<std::uint32_t>(next);
  } catch (const DatabaseError& error) {
    if (open.codeDraws() != nullptr) open.codeDraws()->inserted(table);
    if (error.fault() != Fault::Statement) throw;
    // Looked for only now, since it costs turns to a server.
    DictionaryLayouts(open).need(table);
    throw;
  }
}

CompanyError CompanySession::asCompanyError(long code, const DatabaseError& error) const {
  const Text text = textOf(error.fault());
  if (text == Text::Locked && odbcConnection(target_.database)) return lockedError(code, error);
  // The sentences of these two name the place; the others quote the engine.
  const bool aboutPlace = text == Text::Moved || text == Text::NotADatabase;
  return CompanyError(code, text, aboutPlace ? databaseName(target_.database) : error.what());
}

// On a server a row or a table is locked and not the whole database.
CompanyError CompanySession::lockedError(long code, const DatabaseError& error) const {
  if (!error.holder()) return CompanyError(code, Text::LockedOnServer, error.what());
  const LockHolder& holder = *error.holder();
  if (holder.table.empty()) {
    return CompanyError(code, Text::LockedOnServer, std::vector{wordsOf(holder)});
  }
  return CompanyError(code, Text::TableLocked, std::vector{toUtf16(holder.table), wordsOf(holder)});
}

std::u16string CompanySession::wordsOf(const LockHolder& holder) const {
  return sentence(Text::Holder, {toUtf16(holder.program), toUtf16(holder.process)}, language());
}

void CompanySession::remember(const CompanyError& error, CompanyFault fault) {
  const bool ends = fault == kConflictFault || fault == kDeadlockFault;
  if (ends && transaction_) endedBy_ = fault;
  lastCode_ = error.code();
  lastFault_ = error.text() == Text::TransactionLost ? endedBy_ : fault;
  lastText_ = error.sentenceIn(language());
}

// The words come last: they may find no memory either.
void CompanySession::rememberNoMemory() {
  lastCode_ = E_OUTOFMEMORY;
  lastFault_ = kOtherFault;
  lastText_ = systemMessage(E_OUTOFMEMORY);
}

HvLanguages CompanySession::language() const { return language_.value_or(target_.language); }

}  // namespace qx::desk
