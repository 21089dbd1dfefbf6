#pragma once

// The one way from the company objects to a database engine. An engine is a Database that makes
// Statements; everything above works with these two, so that any engine can take the place of
// another and a test can put a failing one around it.
//
// Our own statements are written once for all engines: plain SQL, names in [brackets] as
// bracketed() makes them, parameters as ?, counted in the order of the text. A Database writes the
// names as its engine needs them.
//
// EngineTables (engine_tables.h) and CodeDraws (code_draws.h) are known here by name only: they
// work on a Database, and a Database only says which one fits its engine.

#include "qxdesk/sql/column_type.h"
#include "qxframework/automation/civil_time.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace qx::desk {

class CodeDraws;
class EngineTables;

/// Why a database refused, in the classes for which users read different messages.
enum class Fault {
  Statement,   // the statement does not run: unknown name, wrong count of values
  Constraint,  // a value that the table does not accept
  Unique,      // a key that already exists
  Locked,
  ReadOnly,
  Damaged,
  NotADatabase,
  Full,
  InputOutput,
  Moved,           // the file was moved or deleted, so that all writes to it are lost
  ConnectionLost,  // this connection can do nothing any more
  CommitUnknown,   // the connection was lost during a commit
  Conflict,        // the engine ended the transaction: another one has changed its rows first
  Deadlock,        // the engine ended the transaction: it and another one waited for each other
  RolledBack,      // the engine ended the transaction for another reason
  Aborted,         // the engine accepts nothing more in it, since a statement had failed
  Cancelled,       // the statement exceeded its time limit or was stopped
  NoRight,         // the user may not do this
  BadValue,        // a text that is not the number or date needed in its place
  NoSavepoints,    // the engine cannot take back a part of a transaction
  LoginRefused,
  NoDriver,
  NoServer,
  NoDatabase,
  TooManyUsers,
  TooLong,
  OutOfRange,
  BadDate,
  TablesChanged,  // a kept statement was made for tables that have changed; nothing has run
};

/// A program that has locked what another one waits for.
struct LockHolder {
  std::string table;    // as the dictionary spells it; empty for the lock of the tables
  std::string program;  // as it names itself to the database
  std::string process;  // its number, on a server that of its session and where it comes from
};

/// what() is the engine's own message.
class DatabaseError : public std::runtime_error {
 public:
  DatabaseError(Fault fault, const std::string& message,
                std::optional<LockHolder> holder = std::nullopt)
      : std::runtime_error(message), fault_(fault), holder_(std::move(holder)) {}
  Fault fault() const { return fault_; }
  /// Returns who holds the lock of a Fault::Locked, if the engine knows it.
  const std::optional<LockHolder>& holder() const { return holder_; }

 private:
  Fault fault_;
  std::optional<LockHolder> holder_;
};

/// Date occurs in a StoredValue only. Statement::storage() returns Text for it, and text() its
/// stored form.
enum class Storage { Null, Integer, Real, Text, Date };

/// A value as the engine stores it; only the member that `storage` names is set.
struct StoredValue {
  Storage storage = Storage::Null;
  std::int64_t integer = 0;
  double real = 0;
  std::string_view text;  // valid until the next step()
  CivilTime date{};       // of an engine that returns dates as such
};

/// A prepared statement and, after step(), its current row. Texts are UTF-8.
class Statement {
 public:
  virtual ~Statement() = default;

  /// Sets a parameter, counted from 1. bindDate() takes the stored form, YYYY-MM-DD HH:MM:SS.
  virtual void bind(int parameter, std::int64_t value) = 0;
  virtual void bind(int parameter, double value) = 0;
  virtual void bind(int parameter, std::string_view value) = 0;
  virtual void bindDate(int parameter, std::string_view value) = 0;
  /// Sets a decimal, spelled with an optional minus sign, digits and a point.
  virtual void bindDecimal(int parameter, std::string_view value);
  /// Goes to the next row, the first time by running the statement; returns false after the last
  /// one. Throws DatabaseError.
  virtual bool step() = 0;
  /// Goes back to the start; the bound values stay.
  virtual void reset() = 0;

  /// The operations from here on are valid after the first step(); columns count from 0.
  virtual int columnCount() const = 0;
  virtual std::string columnName(int column) const = 0;
  /// Returns the type that the table declares for the column. For an expression it is the type
  /// that the engine reports, or Unknown.
  virtual sql::ColumnType declaredType(int column) const = 0;
  virtual Storage storage(int column) const = 0;
  virtual std::int64_t integer(int column) const = 0;
  virtual double real(int column) const = 0;
  /// Valid until the next step(); empty for null.
  virtual std::string_view text(int column) const = 0;
  /// Returns storage and value in one call, for callers that read every cell of many rows.
  virtual StoredValue value(int column) const;
};

/// How the statements of add-ons reach the engine: translated for one of the two, or unchanged.
enum class Route { ToSqlite, ToPostgres, Unchanged };

class Database {
 public:
  virtual ~Database() = default;

  virtual Route route() const = 0;
  /// Makes and changes tables in this engine's way.
  virtual const EngineTables& tables() const = 0;

  /// Prepares a statement of our own. Its failure is thrown as a DatabaseError here or by its
  /// first step(), depending on the engine.
  virtual std::unique_ptr<Statement> prepare(std::string_view sql) = 0;
  /// Prepares a statement of an add-on, in the engine's SQL. On the routes that translate it can
  /// read and change rows and nothing else.
  virtual std::unique_ptr<Statement> prepareGuarded(std::string_view sql) = 0;
  /// Returns true if statements can be prepared for many runs. Then no change of a table goes
  /// unnoticed by a text with the catalogue's check: it fails with TablesChanged or Statement.
  virtual bool keepsStatements() const { return false; }
  /// Returns false if at this moment a repeated statement takes more turns to a server than its
  /// text with the values written into it.
  virtual bool repeatsInOneTurn() const { return true; }
  /// Prepares a translated statement that runs many times, with other values of its parameters. If
  /// a table has changed, it fails like prepareGuarded() or with TablesChanged before it has done
  /// anything. Null if statements are not kept.
  virtual std::unique_ptr<Statement> prepareRepeated(std::string_view sql, int parameters);
  /// Returns the type that all columns of a translator's probe share.
  virtual sql::ColumnType probe(std::string_view sql) = 0;
  virtual const sql::Catalog& catalog() = 0;
  /// Makes the catalog see the tables as other processes have changed them.
  virtual void noticeChanges() = 0;
  /// Counts the changes of tables by this process; tableChanged() adds one.
  std::uint64_t changesOfTables() const { return changesOfTables_; }
  void tableChanged() { ++changesOfTables_; }

  /// Begins a transaction for an add-on. A row that it reads and changes is protected against
  /// changes by others in between, as far as the engine offers that.
  virtual void begin() = 0;
  /// Begins a transaction that changes tables. It sees what others have committed, also while it
  /// waited for its turn.
  virtual void beginChangeOfTables() { begin(); }
  /// If it throws, the transaction may still be open.
  virtual void commit() = 0;
  virtual void rollback() = 0;
  /// False also after the engine rolled back by itself.
  virtual bool inTransaction() const = 0;

  /// Sets a point within the open transaction to which it can be rolled back; there is one at a
  /// time. Throws DatabaseError with NoSavepoints if the engine has none.
  virtual void setSavepoint();
  virtual void rollBackToSavepoint();
  virtual void releaseSavepoint();

  /// Takes the lock under which programs check and make tables, unlike the lock of one change of
  /// them, which ends with it. Waits at most `most`; returns false if another connection has it
  /// then. It ends with this connection at the latest. On an engine without such locks it is
  /// always granted.
  virtual bool lockTables(std::chrono::milliseconds /*most*/) { return true; }
  virtual void unlockTables() {}
  /// Returns the other connection that has this lock, or nothing if none has it or it is not known.
  virtual std::optional<LockHolder> tablesHolder() { return std::nullopt; }
  /// Changes the definition of a table that other programs may be using. Where the wait for them
  /// would stop all that come later, also those who only read, it is done in short attempts.
  virtual void alterTable(std::string_view sql) { execute(sql); }

  /// Prepares the database for several processes at once. Called when the company in it is
  /// complete: the embedded engine begins its write-ahead log here and not before, so that the
  /// company is in the file itself whatever happens to the log. Throws CompanyError if another
  /// program keeps the file, and DatabaseError.
  virtual void share() {}

  /// Returns what protects the draws of codes, or null if this engine has nothing for it.
  virtual CodeDraws* codeDraws() { return nullptr; }

  virtual bool isReadOnly() const = 0;
  /// Returns why this database cannot be used any more, Moved or ConnectionLost, or nothing if it
  /// can.
  virtual std::optional<DatabaseError> lost() const = 0;

  /// Runs a statement of our own to its end.
  void execute(std::string_view sql);
  /// Return the first value of the first row; 0 or empty if there is no row.
  std::int64_t queryInteger(std::string_view sql);
  std::string queryText(std::string_view sql);

 private:
  std::uint64_t changesOfTables_ = 0;
};

/// Returns a name as our own statements write it: between brackets, closing ones in it doubled.
std::string bracketed(std::string_view name);
/// Returns `text` as a literal: between single quotes, inner ones doubled.
std::string quotedText(std::string_view text);

}  // namespace qx::desk
