#include "qxdesk/engines/postgres_locks.h"

#include "qxdesk/engines/engine_tables.h"

#include <algorithm>

namespace qx::desk {

namespace {

using std::chrono::milliseconds;

constexpr std::string_view kKey = "hashtext('company tables')";

// Follows a condition on pg_locks l: those that are granted and are this lock.
constexpr std::string_view kTablesLock =
    " AND l.granted AND l.locktype = 'advisory' AND l.objsubid = 1 "
    "AND l.database = (SELECT oid FROM pg_database WHERE datname = current_database()) "
    "AND (CAST(l.classid AS bigint) << 32) | CAST(l.objid AS bigint) = "
    "hashtext('company tables')";

// A name that a program has not given itself is that of its user.
constexpr std::string_view kNames =
    "COALESCE(NULLIF(a.application_name, ''), a.usename), "
    "CAST(a.pid AS text) || COALESCE(', ' || host(a.client_addr), '')";

// Locks on tables that only readers take are left out.
constexpr std::string_view kTableHolder =
    " FROM pg_locks l JOIN pg_stat_activity a ON a.pid = l.pid JOIN pg_class c ON c.oid = "
    "l.relation LEFT JOIN hvutab u ON c.relname = '@' || lower(u.tablename) "
    "WHERE l.granted AND l.locktype = 'relation' AND l.mode <> 'AccessShareLock' "
    "AND c.relkind = 'r' AND l.pid <> pg_backend_pid() "
    "AND l.database = (SELECT oid FROM pg_database WHERE datname = current_database()) "
    "AND strpos(";

}  // namespace

void lockChangeOfTables(Database& database) {
  // An advisory lock is released with the transaction, however that ends.
  database.execute("SELECT pg_advisory_xact_lock(" + std::string(kKey) + ")");
  // A transaction that has seen its rows before the change of another program would go on with a
  // dictionary of the past. The server refuses the change of a row that it does not see as it is.
  if (database.tables().exists(database, kVersionTable)) {
    database.execute("UPDATE " + bracketed(kVersionTable) + " SET [Version] = [Version]");
  }
}

bool PostgresLocks::lockTables(milliseconds most) {
  if (most <= milliseconds(0)) {
    return database_.queryInteger("SELECT CASE WHEN pg_try_advisory_lock(" + std::string(kKey) +
                                  ") THEN 1 ELSE 0 END") != 0;
  }
  // In portions that the time limit of a statement does not stop.
  constexpr milliseconds kPortion = std::chrono::minutes(1);
  for (; most > milliseconds(0); most -= kPortion) {
    if (tryLock(std::min(most, kPortion))) return true;
  }
  return false;
}

// The server grants the lock in the order in which it was asked for.
bool PostgresLocks::tryLock(milliseconds most) {
  try {
    database_.execute(withTimeout(most, "SELECT pg_advisory_lock(" + std::string(kKey) + ")"));
    return true;
  } catch (const DatabaseError& error) {
    if (error.fault() != Fault::Locked) throw;
    // A lock that is granted at the moment at which its time is over fails as well, but it belongs
    // to the session and stays.
    return hasTables();
  }
}

bool PostgresLocks::hasTables() {
  return database_.queryInteger("SELECT COUNT(*) FROM pg_locks l WHERE l.pid = pg_backend_pid()" +
                                std::string(kTablesLock)) != 0;
}

void PostgresLocks::unlockTables() {
  database_.execute("SELECT pg_advisory_unlock(" + std::string(kKey) + ")");
}

std::optional<LockHolder> PostgresLocks::tablesHolder() {
  return firstHolder("SELECT '', " + std::string(kNames) +
                     " FROM pg_locks l JOIN pg_stat_activity a ON a.pid = l.pid "
                     "WHERE l.pid <> pg_backend_pid()" +
                     std::string(kTablesLock));
}

std::optional<LockHolder> PostgresLocks::holderFor(std::string_view sql) {
  if (sql.find(kKey) != std::string_view::npos) return tablesHolder();
  // Statements have all their names between quotes.
  return firstHolder("SELECT COALESCE('@' || u.tablename, upper(c.relname)), " +
                     std::string(kNames) + std::string(kTableHolder) + quotedText(sql) +
                     ", '\"' || c.relname || '\"') > 0 ORDER BY a.xact_start, a.pid LIMIT 1");
}

std::optional<LockHolder> PostgresLocks::firstHolder(std::string_view sql) {
  // As an add-on's statement, since the text quoted in it is one already.
  const std::unique_ptr<Statement> row = database_.prepareGuarded(sql);
  if (!row->step()) return std::nullopt;
  return LockHolder{std::string(row->text(0)), std::string(row->text(1)),
                    std::string(row->text(2))};
}

// Sent as one text, which the server takes back as a whole if the statement fails, the limit too.
std::string PostgresLocks::withTimeout(milliseconds most, std::string_view sql) const {
  const auto limit = [](auto count) { return "SET lock_timeout = " + std::to_string(count); };
  return limit(most.count()) + "; " + std::string(sql) + "; " + limit(environment_.busyTimeoutMs);
}

// A change of a table waits for all who use it, and all who come later wait behind the change, also
// those who only read. So it waits for a short time only, lets them pass, and tries again.
void PostgresLocks::alterTable(std::string_view sql) {
  constexpr milliseconds kAttempt{200};
  constexpr milliseconds kLongestPause{1000};
  const auto start = environment_.clock();
  // The sum of the waits counts as well as the clock, so that the attempts end in any case.
  milliseconds waited{0};
  milliseconds pause{50};
  for (;;) {
    const milliseconds passed =
        std::max(waited, std::chrono::duration_cast<milliseconds>(environment_.clock() - start));
    const milliseconds left = milliseconds(environment_.busyTimeoutMs) - passed;
    const milliseconds attempt = std::clamp(left, milliseconds(1), kAttempt);
    try {
      database_.execute(withTimeout(attempt, sql));
      return;
    } catch (const DatabaseError& error) {
      if (error.fault() != Fault::Locked || left <= attempt + pause) throw;
    }
    environment_.sleep(static_cast<int>(pause.count()));
    waited += attempt + pause;
    pause = std::min(2 * pause, kLongestPause);
  }
}

}  // namespace qx::desk
