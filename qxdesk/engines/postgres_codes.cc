#include "qxdesk/engines/postgres_codes.h"

#include "qxdesk/engines/engine_names.h"
#include "qxdesk/engines/odbc_statement.h"
#include "qxdesk/engines/table_layout.h"

#include <algorithm>
#include <climits>
#include <utility>

namespace qx::desk {

namespace {

using std::chrono::milliseconds;

// A connection that works keeps the lock for a few milliseconds.
constexpr milliseconds kShortWait{50};
constexpr milliseconds kSpareTime{5000};
constexpr milliseconds kNextAttempt{10'000};

// Longer than the pause of a program between two of its Adds, and shorter than that of a user.
constexpr milliseconds kSoon{10};

// Returns the number of a lock, the same in all releases: FNV-1a over the name, without the sign.
std::int64_t keyOf(std::string_view table, bool spare) {
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const std::string_view part : {std::string_view("qxdesk codes "), table}) {
    for (const char c : part) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  }
  const auto key = static_cast<std::int64_t>(hash & (std::uint64_t{LLONG_MAX} - 1));
  return spare ? key + 1 : key;
}

std::string call(std::string_view function, std::int64_t key) {
  return "SELECT " + std::string(function) + "(" + std::to_string(key) + ")";
}

std::string setTimeout(std::int64_t time) {
  return "SET LOCAL lock_timeout = " + std::to_string(time) + "; ";
}

/// Passes everything on to another statement, which a subclass makes with the first step.
class LateStatement : public Statement {
 public:
  void bind(int, std::int64_t) override {}
  void bind(int, double) override {}
  void bind(int, std::string_view) override {}
  void bindDate(int, std::string_view) override {}
  void reset() override {}
  int columnCount() const override { return real_->columnCount(); }
  std::string columnName(int column) const override { return real_->columnName(column); }
  sql::ColumnType declaredType(int column) const override { return real_->declaredType(column); }
  Storage storage(int column) const override { return real_->storage(column); }
  std::int64_t integer(int column) const override { return real_->integer(column); }
  double real(int column) const override { return real_->real(column); }
  std::string_view text(int column) const override { return real_->text(column); }

 protected:
  std::unique_ptr<Statement> real_;
};

}  // namespace

/// Reads the highest code under the lock of its table.
class DrawOnPostgres final : public LateStatement {
 public:
  DrawOnPostgres(PostgresCodes& codes, std::string_view table, std::string_view text)
      : codes_(codes), table_(lowerName(table)), text_(text) {}
  bool step() override {
    if (real_) return real_->step();
    PostgresCodes::Answer answer = codes_.read(table_, text_);
    real_ = std::move(answer.statement);
    return answer.row;
  }

 private:
  PostgresCodes& codes_;
  std::string table_;
  std::string text_;
};

/// Inserts the row. The lock is kept or given up: then it passes to the transaction, or to that of
/// the statement alone, which ends with the commit.
class InsertOnPostgres final : public LateStatement {
 public:
  InsertOnPostgres(PostgresCodes& codes, std::string_view table, std::string_view text)
      : codes_(codes), table_(lowerName(table)) {
    const bool keeps = codes_.releasingCondition(table_).empty();
    const std::int64_t key = codes_.held_.at(table_).key;
    const std::string sql = keeps ? std::string(text)
                                  : call("pg_advisory_xact_lock", key) + "; " + std::string(text) +
                                        "; " + call("pg_advisory_unlock", key);
    real_ = makeOdbcStatement(codes_.connection_, sql, INT_MAX);
  }
  bool step() override {
    const bool row = real_->step();
    codes_.rowInserted(table_);
    return row;
  }

 private:
  PostgresCodes& codes_;
  std::string table_;
};

PostgresCodes::PostgresCodes(OdbcConnection& connection, const CompanyEnvironment& environment,
                             Connect connect)
    : connection_(connection), environment_(environment), connect_(std::move(connect)) {
  connection_.setBeforeStatement([this] { statementBegins(); });
}

// A lock that is still kept ends with the connection.
PostgresCodes::~PostgresCodes() {
  if (joined_) KeptLocks::ofProcess().leave(*this);
  connection_.setBeforeStatement(nullptr);
}

// Given up rather than taken along: a transaction may last long and need no code.
void PostgresCodes::transactionBegins() {
  seenByAll_.clear();
  statementBegins();
}

// A draw goes on with a kept lock before it runs its statements, so this one is of another kind.
void PostgresCodes::statementBegins() noexcept {
  const OdbcConnection::CallLock lock = connection_.lockCalls();
  giveUpKept();
  lastRow_.reset();
}

std::unique_ptr<Statement> PostgresCodes::draw(std::string_view table, std::string_view text) {
  return std::make_unique<DrawOnPostgres>(*this, table, text);
}

std::string PostgresCodes::highest(Database& /*database*/, std::string_view table) {
  const std::string text =
      withEngineNames("SELECT MAX([Code]) FROM " + bracketed(table), {"\"", true});
  return read(lowerName(table), text).code();
}

bool PostgresCodes::hasDrawn(std::string_view table) const {
  return !held_.empty() && held_.contains(lowerName(table));
}

std::unique_ptr<Statement> PostgresCodes::insert(std::string_view table, std::string_view text) {
  return std::make_unique<InsertOnPostgres>(*this, table, text);
}

// The lock passes to the statement's own transaction, which ends with the commit. The order of the
// two matters, and CASE keeps it.
std::string PostgresCodes::releasingCondition(std::string_view table) {
  const OdbcConnection::CallLock lock = connection_.lockCalls();
  const std::string name = lowerName(table);
  Held& held = held_.at(name);
  held.keepsTurn = mayKeepTurn(name, held);
  if (held.keepsTurn) return {};
  const std::string key = std::to_string(held.key);
  return " AND CASE WHEN pg_advisory_xact_lock(" + key +
         ") IS NULL THEN true ELSE pg_advisory_unlock(" + key + ") IS NOT NULL END";
}

// Only in a series of Adds: after a single one the thread would have to give the lock up, with a
// turn of its own. A spare lock is never kept, since those who take the first one again would not
// wait for it.
bool PostgresCodes::mayKeepTurn(const std::string& table, const Held& held) const {
  return held.inSeries && held.key == keyOf(table, false) && !connection_.inTransaction() &&
         environment_.clock() - held.turnBegan < milliseconds(environment_.codeTurnMs) &&
         KeptLocks::ofProcess().isReady();
}

void PostgresCodes::rowInserted(std::string_view table) {
  const OdbcConnection::CallLock lock = connection_.lockCalls();
  const std::string name = lowerName(table);
  const auto held = held_.find(name);
  if (held == held_.end()) return;
  const Held last = held->second;
  held_.erase(held);
  if (!connection_.inTransaction()) lastRow_ = {name, last.key, environment_.clock()};
  if (!last.keepsTurn) return;
  const TimePoint due = std::chrono::steady_clock::now() + milliseconds(environment_.codeIdleMs);
  kept_ = {name, last, due};
  keeps_ = true;
  KeptLocks::ofProcess().watch(due);
}

// Reached with the lock only if the INSERT, or the draw itself, has failed.
void PostgresCodes::inserted(std::string_view table) noexcept {
  const OdbcConnection::CallLock lock = connection_.lockCalls();
  const auto held = held_.find(lowerName(table));
  if (held == held_.end()) return;
  const std::int64_t key = held->second.key;
  held_.erase(held);
  unlock(key);
}

void PostgresCodes::giveUpOld() {
  if (held_.empty()) return;
  const OdbcConnection::CallLock lock = connection_.lockCalls();
  const TimePoint now = environment_.clock();
  std::erase_if(held_, [&](const auto& each) {
    const bool old = now - each.second.since >= milliseconds(environment_.drawTimeoutMs);
    if (old) unlock(each.second.key);
    return old;
  });
}

// A failure means that the connection is lost, and the lock with it.
void PostgresCodes::unlock(std::int64_t key) noexcept {
  try {
    run(call("pg_advisory_unlock", key), 0);
  } catch (const DatabaseError&) {
  }
}

PostgresCodes::Answer PostgresCodes::run(const std::string& sql, int skippedResults) {
  Answer answer{makeOdbcStatement(connection_, sql, skippedResults), false};
  answer.row = answer.statement->step();
  return answer;
}

PostgresCodes::Answer PostgresCodes::read(const std::string& table, const std::string& text) {
  const OdbcConnection::CallLock lock = connection_.lockCalls();
  join();
  inSeries_ = lastRow_ && lastRow_->table == table && environment_.clock() - lastRow_->at < kSoon;
  resume(table);
  Answer own = readLocked(table, text);
  if (!connection_.inTransaction()) return own;
  return withCodesOfOthers(table, text, std::move(own));
}

PostgresCodes::Answer PostgresCodes::readLocked(const std::string& table, const std::string& text) {
  if (const auto held = held_.find(table); held != held_.end()) {
    held->second.since = environment_.clock();
    held->second.thread = std::this_thread::get_id();
    held->second.inSeries = inSeries_;
    return run(callOf(text), 0);
  }
  std::optional<Answer> answer = lockAndRead(table, text);
  // With both locks stuck it goes without: a code that is drawn twice fails as a duplicate.
  return answer ? *std::move(answer) : run(text, 0);
}

// Returns nothing if both locks are stuck.
std::optional<PostgresCodes::Answer> PostgresCodes::lockAndRead(const std::string& table,
                                                                const std::string& text) {
  const std::int64_t key = keyOf(table, false);
  const std::int64_t spareKey = keyOf(table, true);
  // The server is asked all the same: the other connection may have lost its lock by now.
  if (wouldWaitForItself(key)) {
    if (auto answer = tryKeyOnce(table, key, text, milliseconds(1))) return answer;
    return tryKeyOnce(
        table, spareKey, text,
        wouldWaitForItself(spareKey) ? milliseconds(1) : milliseconds(environment_.busyTimeoutMs));
  }
  const TimePoint now = environment_.clock();
  const auto spare = spareUntil_.find(table);
  std::optional<Answer> answer;
  if (spare == spareUntil_.end()) {
    answer = waitForKey(table, key, text);
  } else if (now >= spare->second) {
    answer = tryKeyOnce(table, key, text, kShortWait);
    if (answer) spareUntil_.erase(table);
  }
  if (answer) return answer;
  spareUntil_[table] = now + kSpareTime;
  return waitForKey(table, spareKey, text);
}

// Returns nothing if the holder has been idle all the time. A holder that works gives the lock up
// in between, and the server passes it on in the order in which it was asked for.
std::optional<PostgresCodes::Answer> PostgresCodes::waitForKey(const std::string& table,
                                                               std::int64_t key,
                                                               const std::string& text) {
  // The holder is looked at after half the time, and again. The server measures the time.
  const milliseconds slice(std::max(1, environment_.drawTimeoutMs / 2));
  std::optional<Holder> idle;
  for (milliseconds left(environment_.busyTimeoutMs);; left -= slice) {
    if (auto answer = tryKey(table, key, text, std::clamp(left, milliseconds(1), slice))) {
      return answer;
    }
    const std::optional<Holder> holder = holderOf(key);
    if (holder && holder->own) {
      // It came in time, but the table itself was locked.
      if (!connection_.inTransaction()) held_[table] = newlyHeld(key);
      return run(text, 0);
    }
    const bool isIdle = holder && holder->idle;
    if (isIdle && idle && idle->process == holder->process && idle->change == holder->change) {
      return std::nullopt;
    }
    idle = isIdle ? holder : std::nullopt;
    if (left <= slice) {
      throw DatabaseError(Fault::Locked, "another connection adds rows to " + table);
    }
  }
}

// Returns the text that runs a query, in a batch: planning it takes the server several times as
// long as running it, so it is prepared. The protocol's own prepared statements do not come in
// batches.
std::string PostgresCodes::callOf(const std::string& text) {
  constexpr std::size_t kMost = 64;
  const auto known = names_.find(text);
  if (known != names_.end()) return "EXECUTE " + known->second;
  if (names_.size() >= kMost) {
    std::string all;
    for (const auto& [query, name] : std::exchange(names_, {})) all += "DEALLOCATE " + name + "; ";
    run(all, 0);
  }
  const std::string name = "qx_draw_" + std::to_string(nextName_++);
  // Outside of the batch, with which it would fail.
  run("PREPARE " + name + " AS " + text, 0);
  names_.emplace(text, name);
  return "EXECUTE " + name;
}

// Returns nothing if the lock, or the table itself, is not to be had within the time.
std::optional<PostgresCodes::Answer> PostgresCodes::tryKey(const std::string& table,
                                                           std::int64_t key,
                                                           const std::string& text,
                                                           milliseconds most) {
  const bool transaction = connection_.inTransaction();
  const std::string batch =
      setTimeout(most.count()) +
      call(transaction ? "pg_advisory_xact_lock" : "pg_advisory_lock", key) + "; " +
      (transaction ? setTimeout(environment_.busyTimeoutMs) : std::string()) + callOf(text);
  try {
    // Noted first: the lock stays even if the query fails after it.
    if (!transaction) held_[table] = newlyHeld(key);
    Answer answer = run(batch, 1);
    if (!transaction) held_[table] = newlyHeld(key);
    return answer;
  } catch (const DatabaseError& error) {
    if (error.fault() == Fault::Locked) {
      if (!transaction) held_.erase(table);
      return std::nullopt;
    }
    // Two connections that wait for each other outside of transactions; one goes without the lock.
    if (error.fault() != Fault::Deadlock || transaction) throw;
    held_.erase(table);
    return run(text, 0);
  }
}

// The server can grant the lock and end the wait for it at the same moment. Then the statement
// fails and the session has the lock; one that will not ask again gives it back.
std::optional<PostgresCodes::Answer> PostgresCodes::tryKeyOnce(const std::string& table,
                                                               std::int64_t key,
                                                               const std::string& text,
                                                               milliseconds most) {
  std::optional<Answer> answer = tryKey(table, key, text, most);
  if (!answer && !connection_.inTransaction()) unlock(key);
  return answer;
}

// The rows about the locks say for the number its two halves. A connection in a transaction has a
// lock on its number.
std::optional<PostgresCodes::Holder> PostgresCodes::holderOf(std::int64_t key) {
  const Answer row = run(
      "SELECT CAST(l.pid AS bigint), CASE WHEN l.pid = pg_backend_pid() THEN 1 ELSE 0 END, CASE "
      "WHEN EXISTS (SELECT 1 FROM pg_locks v WHERE v.pid = l.pid AND v.locktype = 'virtualxid' AND "
      "v.granted) THEN 0 ELSE 1 END, COALESCE((SELECT CAST(a.state_change AS text) FROM "
      "pg_stat_activity a WHERE a.pid = l.pid), '') FROM pg_locks l WHERE l.locktype = 'advisory' "
      "AND l.granted "
      "AND l.objsubid = 1 AND l.database = (SELECT oid FROM pg_database WHERE datname = "
      "current_database()) AND CAST(l.classid AS bigint) = " +
          std::to_string(key >> 32) +
          " AND CAST(l.objid AS bigint) = " + std::to_string(key & 0xFFFFFFFF),
      0);
  if (!row.row) return std::nullopt;
  return Holder{row.statement->integer(0), row.statement->integer(1) != 0,
                row.statement->integer(2) != 0, std::string(row.statement->text(3))};
}

// ---- a turn that is kept over several Adds

void PostgresCodes::join() {
  if (std::exchange(joined_, true)) return;
  KeptLocks::ofProcess().join(*this);
}

PostgresCodes::Held PostgresCodes::newlyHeld(std::int64_t key) const {
  const TimePoint now = environment_.clock();
  return {key, now, now, std::this_thread::get_id(), inSeries_, false};
}

// Goes on with a kept lock, unless others should have had it by now: for example after the process
// was stopped, while they may have taken the spare one.
void PostgresCodes::resume(const std::string& table) {
  if (!kept_ || kept_->table != table) return;
  const auto turn = milliseconds(environment_.codeTurnMs);
  if (environment_.clock() - kept_->lock.turnBegan >= turn) return giveUpKept();
  held_[table] = kept_->lock;
  kept_.reset();
  keeps_ = false;
}

void PostgresCodes::giveUpKept() noexcept {
  if (!keeps_) return;
  const OdbcConnection::CallLock lock = connection_.lockCalls();
  if (!kept_) return;
  connection_.runAside(call("pg_advisory_unlock", kept_->lock.key));
  kept_.reset();
  keeps_ = false;
}

std::optional<PostgresCodes::TimePoint> PostgresCodes::giveUpDue(TimePoint now) {
  if (!keeps_) return std::nullopt;
  const OdbcConnection::CallLock lock = connection_.tryLockCalls();
  if (!lock) return now + milliseconds(environment_.codeIdleMs);
  if (!kept_) return std::nullopt;
  if (now < kept_->due) return kept_->due;
  giveUpKept();
  return std::nullopt;
}

// A connection at work has its lock in the order of the server, also before another one of the
// process. Two that a thread uses in turn keep nothing from now on, so that neither has to yield
// for each Add.
bool PostgresCodes::yield(std::string_view database, std::int64_t key) {
  if (connection_.completed() != database) return false;
  const OdbcConnection::CallLock lock = connection_.tryLockCalls();
  if (!lock) return false;
  if (kept_ && kept_->lock.key == key) giveUpKept();
  if (lastRow_ && lastRow_->key == key) lastRow_.reset();
  return std::any_of(held_.begin(), held_.end(), [&](const auto& each) {
    return each.second.key == key && each.second.thread == std::this_thread::get_id();
  });
}

bool PostgresCodes::wouldWaitForItself(std::int64_t key) const {
  return KeptLocks::ofProcess().wouldWaitForItself(*this, connection_.completed(), key);
}

// ---- within a transaction

// Read once in a transaction: under the lock nobody else adds rows. If the highest code was read in
// an earlier draw and its row is still missing, it is read again.
PostgresCodes::Answer PostgresCodes::withCodesOfOthers(const std::string& table,
                                                       const std::string& text, Answer own) {
  const auto seen = seenByAll_.find(table);
  if (seen != seenByAll_.end() && seen->second <= own.code()) return own;
  std::optional<Answer> others = readByOther(text);
  if (!others) return own;
  const std::string code = others->code();
  seenByAll_[table] = code;
  return own.code() < code ? *std::move(others) : std::move(own);
}

// Returns nothing if this transaction itself has made or changed the table, which is then locked
// for every other connection and of which none has added rows; or if there is no other connection.
std::optional<PostgresCodes::Answer> PostgresCodes::readByOther(const std::string& text) {
  try {
    if (other_ == nullptr) {
      if (environment_.clock() < noOtherBefore_) return std::nullopt;
      noOtherBefore_ = environment_.clock() + kNextAttempt;
      other_ = connect_();
    }
    Answer answer{other_->prepareGuarded(text), false};
    answer.row = answer.statement->step();
    return answer;
  } catch (const std::runtime_error&) {
    if (other_ != nullptr && other_->lost()) other_.reset();
    return std::nullopt;
  }
}

}  // namespace qx::desk
