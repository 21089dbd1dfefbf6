#include "qxdesk/engines/sqlite_database.h"

#include "qxdesk/engines/company_error.h"
#include "qxdesk/engines/engine_names.h"
#include "qxdesk/engines/lock_file.h"
#include "qxdesk/engines/sqlite_statement.h"
#include "qxdesk/engines/sqlite_tables.h"
#include "qxdesk/engines/write_ahead_log.h"
#include "qxdesk/sql/sqlite_guard.h"
#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/text.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <system_error>
#include <utility>

namespace qx::desk {

namespace {

struct ConnectionCloser {
  void operator()(sqlite3* db) const { sqlite3_close_v2(db); }
};
using Connection = std::unique_ptr<sqlite3, ConnectionCloser>;

// The engine's own UPPER and LOWER know ASCII letters only.
std::string upperCase(std::string_view text) { return toUtf8(toUpper(toUtf16(text))); }
std::string lowerCase(std::string_view text) { return toUtf8(toLower(toUtf16(text))); }

class SqliteDatabase final : public Database {
 public:
  SqliteDatabase(Connection db, const CompanyEnvironment& environment)
      : turns_(environment),
        limit_(environment.clock, environment.statementTimeoutSeconds),
        db_(std::move(db)),
        catalog_(db_.get()) {
    turns_.watch(db_.get());
    // For all of the engine in this process: a statement that needs more fails, not the process.
    sqlite3_hard_heap_limit64(static_cast<sqlite3_int64>(environment.memoryBytes));
    limit_.watch(db_.get());
    asDatabaseErrors([&] {
      functions_ =
          sql::setUpConnection(db_.get(), sql::GuardSettings{environment.now, upperCase, lowerCase,
                                                             [this] { return limit_.isOver(); }});
    });
  }

  Route route() const override { return Route::ToSqlite; }
  const EngineTables& tables() const override { return sqliteTables(); }

  // The engine reads names in brackets itself, but not a closing bracket within one.
  std::unique_ptr<Statement> prepare(std::string_view sql) override {
    const bool simple = sql.find("]]") == std::string_view::npos;
    return prepareSqlite(link(), simple ? std::string(sql) : withEngineNames(sql, {}));
  }
  std::unique_ptr<Statement> prepareGuarded(std::string_view sql) override {
    return asDatabaseErrors([&] {
      functions_->provideFor(sql);
      return wrapSqlite(link(), sql::prepareGuarded(db_.get(), sql));
    });
  }
  bool keepsStatements() const override { return true; }
  std::unique_ptr<Statement> prepareRepeated(std::string_view sql, int parameters) override {
    return asDatabaseErrors([&] {
      functions_->provideFor(sql);
      return wrapRepeatedSqlite(link(), sql::prepareRepeated(db_.get(), sql, parameters));
    });
  }
  sql::ColumnType probe(std::string_view sql) override {
    return asDatabaseErrors([&] {
      functions_->provideFor(sql);
      return sql::probedType(db_.get(), sql);
    });
  }
  const sql::Catalog& catalog() override { return catalog_; }
  void noticeChanges() override { hasTables(); }
  // IMMEDIATE: a transaction that begins by reading cannot wait when it later needs to write; the
  // engine refuses it at once to avoid a deadlock.
  void begin() override { execute("BEGIN IMMEDIATE"); }
  // The engine would commit without failure into a file that has no name any more.
  void commit() override {
    if (const auto reason = lost()) throw *reason;
    execute("COMMIT");
  }
  void rollback() override { execute("ROLLBACK"); }
  bool inTransaction() const override { return sqlite3_get_autocommit(db_.get()) == 0; }
  CodeDraws* codeDraws() override { return &turns_; }
  bool isReadOnly() const override { return sqlite3_db_readonly(db_.get(), "main") == 1; }
  // Changing the mode needs exclusive access for a moment, and the engine does not wait for that by
  // itself.
  void share() override {
    if (isReadOnly()) return;
    TimedWait wait(turns_.environment());
    while (!useWriteAheadLog()) {
      if (!wait.pause()) throw CompanyError(kOpenFailed, Text::Locked);
    }
  }
  // Without a lock file the connections do not know of each other; then the lock is granted.
  bool lockTables(std::chrono::milliseconds most) override {
    return locks_ == nullptr || locks_->take(LockFile::Part::Tables, most);
  }
  void unlockTables() override {
    if (locks_ != nullptr) locks_->release(LockFile::Part::Tables);
  }
  std::optional<LockHolder> tablesHolder() override {
    if (locks_ == nullptr) return std::nullopt;
    const std::optional<LockFile::Holder> holder = locks_->holder(LockFile::Part::Tables);
    if (!holder) return std::nullopt;
    return LockHolder{{}, holder->program, std::to_string(holder->process)};
  }
  std::optional<DatabaseError> lost() const override {
    int moved = 0;
    const int result = sqlite3_file_control(db_.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
    if (result != SQLITE_OK || moved == 0) return std::nullopt;
    return DatabaseError(Fault::Moved, "the file is gone");
  }

  /// Joins the other connections to the file; `locks` is null if they cannot know of each other.
  void join(std::unique_ptr<LockFile> locks) {
    locks_ = std::move(locks);
    if (locks_) turns_.join(*locks_);
  }

  /// Returns true if the file has tables. The catalogue reads the engine's cached schema; any
  /// statement that runs makes the engine compare that cache with the file. This one is prepared
  /// once and touches one row.
  bool hasTables() {
    if (!look_) look_ = prepareSqlite(link(), "SELECT 1 FROM sqlite_master LIMIT 1");
    const bool any = look_->step();
    look_->reset();
    return any;
  }

  /// Returns the path of the file, to which all links to it lead.
  std::filesystem::path file() const { return sqlite3_db_filename(db_.get(), "main"); }

  /// Decides if the last connection moves the log into the file when it closes, and removes it.
  void keepLog(bool keep) {
    sqlite3_db_config(db_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, keep ? 1 : 0, nullptr);
  }

 private:
  SqliteLink link() { return {db_.get(), limit_, turns_}; }

  // Without a turn to write: a log that is in use already stays as it is, and a start must not wait
  // for the transaction of another program.
  void executeAtOnce(const char* sql) {
    if (sqlite3_exec(db_.get(), sql, nullptr, nullptr, nullptr) == SQLITE_OK) return;
    throw DatabaseError(faultOf(sqlite3_extended_errcode(db_.get())), sqlite3_errmsg(db_.get()));
  }

  // Returns false while another connection keeps the file. A folder that cannot be written has no
  // room for a log; the file is used without one.
  bool useWriteAheadLog() {
    try {
      executeAtOnce("PRAGMA journal_mode = WAL");
      executeAtOnce("PRAGMA synchronous = NORMAL");
      return true;
    } catch (const DatabaseError& error) {
      if (error.fault() == Fault::ReadOnly) return true;
      if (error.fault() != Fault::Locked) throw;
      return false;
    }
  }

  // Declared before the connection, which holds pointers to them and is destroyed first.
  std::unique_ptr<LockFile> locks_;  // null if there is none
  SqliteTurns turns_;
  SqliteTimeLimit limit_;
  Connection db_;
  sql::SqliteCatalog catalog_;
  std::optional<sql::FunctionsOnDemand> functions_;  // set by the constructor
  std::unique_ptr<Statement> look_;
};

[[noreturn]] void cannotOpen(const std::string& path, const std::string& reason) {
  throw CompanyError(kOpenFailed, Text::CannotOpen, path, reason);
}

// The rights of the effective user count, as for the engine: a set-user-id program opens the
// companies of its owner.
bool can(int kind, const std::string& path) {
  return faccessat(AT_FDCWD, path.c_str(), kind, AT_EACCESS) == 0;
}
bool canRead(const std::string& path) { return can(R_OK, path); }
bool canWrite(const std::string& path) { return can(W_OK, path); }

// Where others can write, a link of theirs could lead to a file that they have prepared.
bool isForeignLink(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode) && status.st_uid != 0 &&
         status.st_uid != geteuid();
}

// Checks what the engine would only report as "unable to open database file".
void checkPlace(const std::string& path) {
  std::error_code error;
  const std::filesystem::path file(path);
  std::filesystem::path folder = file.parent_path();
  if (folder.empty()) folder = ".";
  const std::filesystem::file_status status = std::filesystem::status(file, error);
  if (isForeignLink(path)) cannotOpen(path, "it is another user's symbolic link");
  if (status.type() == std::filesystem::file_type::directory) {
    throw CompanyError(kOpenFailed, Text::IsFolder, path);
  }
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    throw CompanyError(kOpenFailed, Text::NotADatabase, path);
  }
  if (status.type() == std::filesystem::file_type::not_found) {
    if (!std::filesystem::is_directory(folder, error)) {
      throw CompanyError(kOpenFailed, Text::FolderMissing, path);
    }
    if (!canWrite(folder.string())) throw CompanyError(kOpenFailed, Text::NoPermission, path);
  } else if (!canRead(path)) {
    throw CompanyError(kOpenFailed, Text::NoPermission, path);
  }
}

// A file in write-ahead mode is read through two companion files. If they do not exist and cannot
// be made, no process is writing, and the file can be read as an immutable one. Without that the
// engine refuses to open it.
bool standsStill(const std::string& path) {
  std::filesystem::path folder = std::filesystem::path(path).parent_path();
  if (folder.empty()) folder = ".";
  std::error_code error;
  return !canWrite(path) && !canWrite(folder.string()) &&
         !std::filesystem::exists(path + "-wal", error);
}

// Escapes the three characters that have a meaning in the engine's URIs.
std::string asUri(const std::string& path) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string uri = "file:";
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '?' || c == '#' || c == '%') {
      uri += '%';
      uri += kDigits[byte >> 4];
      uri += kDigits[byte & 0xF];
    } else {
      uri += c;
    }
  }
  return uri;
}

// The engine would make the file with the rights that the umask leaves, and its companions with
// those of the file. A company is its user's alone until the user gives it to others.
void makePrivately(const std::string& path) {
  const int file = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (file >= 0) close(file);
}

Connection openConnection(const std::string& path) {
  const bool still = standsStill(path);
  const std::string name = still ? asUri(path) + "?immutable=1" : path;
  const int flags =
      still ? SQLITE_OPEN_READONLY | SQLITE_OPEN_URI : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
  // The engine returns a connection even if it fails, for the message; it must be closed, too.
  sqlite3* raw = nullptr;
  const int result = sqlite3_open_v2(name.c_str(), &raw,
                                     flags | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
  Connection db(raw);
  if (result != SQLITE_OK) {
    cannotOpen(path, raw == nullptr ? "out of memory" : sqlite3_errmsg(raw));
  }
  return db;
}

// The engine opens files lazily: only the first read shows if the file is a database at all.
// Returns true if it has tables.
bool readSchema(SqliteDatabase& database, const std::string& path) {
  try {
    return database.hasTables();
  } catch (const DatabaseError& error) {
    switch (error.fault()) {
      case Fault::NotADatabase:
        throw CompanyError(kOpenFailed, Text::NotADatabase, path);
      case Fault::Damaged:
        throw CompanyError(kOpenFailed, Text::Damaged, error.what());
      case Fault::Locked:
        throw CompanyError(kOpenFailed, Text::Locked);
      default:
        cannotOpen(path, error.what());
    }
  }
}

/// A database file and its log. The engine follows links before it looks for the log.
struct FileAndLog {
  explicit FileAndLog(std::filesystem::path path) : file(std::move(path)) {
    std::error_code error;
    const std::filesystem::path real = std::filesystem::weakly_canonical(file, error);
    log = logOf(error ? file : real);
  }

  std::filesystem::path file;
  std::filesystem::path log;
};

[[noreturn]] void refuse(Text reason, const FileAndLog& place) {
  throw CompanyError(kOpenFailed, reason, place.file.string(), place.log.string());
}

// A log without its file, which the user has moved or deleted: it is of use only together with that
// file, but the engine would delete it. Returns false if it cannot be renamed. Another process may
// have done so already.
bool setAside(const std::filesystem::path& log) {
  const std::filesystem::path aside = log.string() + ".lost";
  std::error_code error;
  std::filesystem::rename(log, aside, error);
  if (error) return error == std::errc::no_such_file_or_directory;
  developerTrace(toUtf16("The log " + log.string() + " has no database file; it is now " +
                         aside.string() + "\n"));
  return true;
}

// Beside a missing or empty file the engine would delete the log unread. It takes a file of one
// byte for an empty one. The log is looked at first: another process that makes a company at this
// moment has a log only after the company is in the file.
void checkRemains(const FileAndLog& place) {
  if (!holdsFrames(place.log)) return;
  std::error_code error;
  const std::uintmax_t size = std::filesystem::file_size(place.file, error);
  const bool missing = error == std::errc::no_such_file_or_directory;
  if (missing && setAside(place.log)) return;
  if (missing || (!error && size <= 1)) refuse(Text::CompanyLost, place);
}

// Looked at again under the lock of writers: without it, a transaction that is being written at
// this moment could look like damage. If a writer keeps the lock, or this connection may not write,
// the log is in use by a process that has read all of it.
bool hasLostChanges(Database& database, const std::filesystem::path& log) {
  if (!hasUnreadableChanges(log)) return false;
  try {
    database.begin();
  } catch (const DatabaseError&) {
    return false;
  }
  const bool lost = hasUnreadableChanges(log);
  database.rollback();
  return lost;
}

// A company is in its file before the log begins, see Database::share(). So a file that has had a
// log and has no tables has lost its company, and must not become a new one. The tables are looked
// for after the log: another process may have made the company in the meantime.
bool hasLostCompany(Database& database) {
  return database.queryText("PRAGMA journal_mode") == "wal" && !database.tables().any(database);
}

void checkHistory(Database& database, const FileAndLog& place, bool hasTables) {
  if (!hasTables && hasLostCompany(database)) refuse(Text::CompanyLost, place);
  if (hasLostChanges(database, place.log)) refuse(Text::LogDamaged, place);
}

}  // namespace

std::unique_ptr<Database> openSqliteDatabase(const std::string& path,
                                             const CompanyEnvironment& environment) {
  checkPlace(path);
  // The full path, since the engine takes ":memory:" for a database in memory and "file:..." for a
  // URI.
  const std::string file = std::filesystem::absolute(path).string();
  const FileAndLog place{std::filesystem::path(path)};
  checkRemains(place);
  makePrivately(file);
  auto database = std::make_unique<SqliteDatabase>(openConnection(file), environment);
  // If the file is refused, its log stays as it is: it may still be of use.
  database->keepLog(holdsFrames(place.log));
  const bool hasTables = readSchema(*database, path);
  checkHistory(*database, place, hasTables);
  database->keepLog(false);
  // By the engine's own path: all names of a company lead to one lock file.
  if (!database->isReadOnly()) database->join(LockFile::open(database->file(), environment));
  return database;
}

}  // namespace qx::desk
