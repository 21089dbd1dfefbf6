#pragma once

// The one door from the company objects to a database engine. An engine is a Database that makes
// Statements; everything above works with these two, so that engines stand beside each other and a
// test can put a failing one in between.
//
// Our own statements are written once for all engines: plain SQL, names in [brackets], parameters
// as ?, in this order. A Database writes the names as its engine wants them.

#include "qxdesk/sql/column_type.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qx::desk {

class EngineTables;

/// Why a database refused, as far as users are told different things.
enum class Fault {
  Statement,   // the statement does not run: unknown name, wrong count of values
  Constraint,  // a value that the table does not take
  Unique,      // a key that is there already
  Locked,
  ReadOnly,
  Damaged,
  NotADatabase,
  Full,
  InputOutput,
  Moved,           // the file was moved or deleted, so that what is written is lost
  ConnectionLost,  // nothing can be done here any more
  CommitUnknown,   // it was lost while it committed
  RolledBack,      // the engine ended the transaction in favour of another one
  Aborted,         // the engine takes nothing more in it, since a statement had failed
  Cancelled,       // the statement ran out of its time, or somebody stopped it
  NoRight,         // the user may not do this
  BadValue,        // a text that is not what its place needs
  NoSavepoints,    // the engine cannot take back a part of a transaction
  LoginRefused,
  NoDriver,
  NoServer,
  NoDatabase,
  TooManyUsers,
  TooLong,
  OutOfRange,
  BadDate,
};

/// what() is the engine's own message.
class DatabaseError : public std::runtime_error {
 public:
  DatabaseError(Fault fault, const std::string& message)
      : std::runtime_error(message), fault_(fault) {}
  Fault fault() const { return fault_; }

 private:
  Fault fault_;
};

enum class Storage { Null, Integer, Real, Text };

/// A value as it is stored; the one of its storage counts.
struct StoredValue {
  Storage storage = Storage::Null;
  std::int64_t integer = 0;
  double real = 0;
  std::string_view text;  // valid until the next step()
};

/// A prepared statement and, after step(), its current row. Texts are UTF-8.
class Statement {
 public:
  virtual ~Statement() = default;

  /// Parameters count from 1. A date is given as text, YYYY-MM-DD HH:MM:SS.
  virtual void bind(int parameter, std::int64_t value) = 0;
  virtual void bind(int parameter, double value) = 0;
  virtual void bind(int parameter, std::string_view value) = 0;
  virtual void bindDate(int parameter, std::string_view value) = 0;
  /// True when a row stands ready. Raises DatabaseError.
  virtual bool step() = 0;
  /// Back to the start, with the values that were bound.
  virtual void reset() = 0;

  /// What is told of the columns holds after the first step().
  virtual int columnCount() const = 0;
  virtual std::string columnName(int column) const = 0;
  /// By the declaration of the table's column; for an expression what the engine tells, or Unknown.
  virtual sql::ColumnType declaredType(int column) const = 0;
  virtual Storage storage(int column) const = 0;
  virtual std::int64_t integer(int column) const = 0;
  virtual double real(int column) const = 0;
  /// Valid until the next step(); empty for null.
  virtual std::string_view text(int column) const = 0;
  /// All of it at once, for those who read every value of many rows.
  virtual StoredValue value(int column) const;
};

/// What becomes of the statements of add-ons on their way to the engine.
enum class Route { ToSqlite, ToPostgres, AsTheyStand };

class Database {
 public:
  virtual ~Database() = default;

  virtual Route route() const = 0;
  /// How tables are made and changed here.
  virtual const EngineTables& tables() const = 0;

  /// A statement of our own. Raises DatabaseError, or else its first step() does.
  virtual std::unique_ptr<Statement> prepare(std::string_view sql) = 0;
  /// A statement of an add-on in the engine's SQL. On the routes that translate it can read and
  /// change rows and nothing else.
  virtual std::unique_ptr<Statement> prepareGuarded(std::string_view sql) = 0;
  /// The type that the columns of a translator's probe have in common.
  virtual sql::ColumnType probe(std::string_view sql) = 0;
  virtual const sql::Catalog& catalog() = 0;
  /// Takes note of what other processes changed in the tables; before the catalog is asked.
  virtual void noticeChanges() = 0;

  virtual void begin() = 0;
  /// When it raises, the transaction may be open still.
  virtual void commit() = 0;
  virtual void rollback() = 0;
  /// False also after the engine rolled back by itself.
  virtual bool inTransaction() const = 0;

  /// A point within the open transaction to which it can be rolled back. There is one at a time.
  /// Raises NoSavepoints where the engine has none.
  virtual void setSavepoint();
  virtual void rollBackToSavepoint();
  virtual void releaseSavepoint();

  virtual bool isReadOnly() const = 0;
  /// Why nothing can be done here any more, Moved or ConnectionLost; nothing while all is well.
  virtual std::optional<DatabaseError> lost() const = 0;

  /// Runs a statement of our own to its end.
  void execute(std::string_view sql);
  /// The first value of the first row; 0 or empty when there is none.
  std::int64_t queryInteger(std::string_view sql);
  std::string queryText(std::string_view sql);
};

/// One change of the company's tables, made of several statements: all or nothing, alone or within
/// an open transaction. Processes make such changes one after the other. Without commit() it is
/// rolled back, and where the engine cannot roll back a part of the open transaction, all of that.
class AtomicChange {
 public:
  explicit AtomicChange(Database& database);
  ~AtomicChange();
  AtomicChange(const AtomicChange&) = delete;
  AtomicChange& operator=(const AtomicChange&) = delete;
  void commit();

 private:
  void rollBack() noexcept;
  bool rollsBack(void (Database::*how)()) noexcept;

  Database& database_;
  bool nested_;
  bool done_ = false;
};

/// A name in a statement of our own.
std::string bracketed(std::string_view name);
/// `text` between single quotes, inner ones doubled: a literal.
std::string quotedText(std::string_view text);

}  // namespace qx::desk
