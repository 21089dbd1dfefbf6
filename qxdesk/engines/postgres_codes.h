#pragma once

// The draws of codes on PostgreSQL. The lock of a table's codes is an advisory lock of the server,
// by a number that every connection computes from the table's name. It travels in one turn with the
// query of the highest code, ahead of it, so that the query sees the rows of all who had the lock
// before; and the INSERT gives it up in its own turn, at the moment of the commit.
//
// A connection whose Adds follow each other closely does not give it up with each of them. It keeps
// the lock for codeTurnMs; the last INSERT in that time gives it up. The lock is also given up
// before any other statement of the connection, before a transaction, for another connection of the
// process and, by a thread, after codeIdleMs without a statement. So those who wait always wait for
// a connection at work, and there is at most one such lock in a connection.
//
// Within a transaction the lock is kept to the end. There the transaction's own view may be older
// than the lock, so a second connection reads the highest code as well, and the greater one counts.
//
// A connection that draws outside of a transaction and then does nothing, for example because its
// process is stopped, keeps the lock. The server shows it idle; those who have waited for it take a
// spare lock instead, and look at the first one again now and then. A thread that has drawn
// through one connection and draws through another one would wait for itself; it takes the spare
// lock at once.

#include "qxdesk/engines/code_draws.h"
#include "qxdesk/engines/environment.h"
#include "qxdesk/engines/kept_locks.h"
#include "qxdesk/engines/odbc_connection.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>

namespace qx::desk {

class PostgresCodes final : public CodeDraws, private KeptLocks::Keeper {
 public:
  using TimePoint = KeptLocks::TimePoint;
  /// Opens one more connection to the company.
  using Connect = std::function<std::unique_ptr<Database>()>;

  /// `connection` outlives it.
  PostgresCodes(OdbcConnection& connection, const CompanyEnvironment& environment, Connect connect);
  ~PostgresCodes() override;
  PostgresCodes(const PostgresCodes&) = delete;
  PostgresCodes& operator=(const PostgresCodes&) = delete;

  /// To be called before a transaction of the connection begins.
  void transactionBegins();

  bool runsTexts() const override { return true; }
  std::unique_ptr<Statement> draw(std::string_view table, std::string_view text) override;
  std::string highest(Database& database, std::string_view table) override;
  bool hasDrawn(std::string_view table) const override;
  std::unique_ptr<Statement> insert(std::string_view table, std::string_view text) override;
  std::string releasingCondition(std::string_view table) override;
  void rowInserted(std::string_view table) override;
  void inserted(std::string_view table) noexcept override;
  void giveUpOld() override;

 private:
  friend class DrawOnPostgres;
  friend class InsertOnPostgres;

  /// A query that has been run to its first row.
  struct Answer {
    std::unique_ptr<Statement> statement;
    bool row = false;
    /// Returns the highest code; empty if there is none.
    std::string code() const { return row ? std::string(statement->text(0)) : std::string(); }
  };
  /// A lock that this connection has from a draw to the INSERT, beyond its transactions.
  struct Held {
    std::int64_t key = 0;
    TimePoint since;      // the latest draw
    TimePoint turnBegan;  // since when others have had no turn
    std::thread::id thread;
    bool inSeries = false;   // the draw came soon after an Add to the same table
    bool keepsTurn = false;  // the INSERT that runs does not give the lock up
  };
  /// A lock that it keeps after the INSERT.
  struct Kept {
    std::string table;
    Held lock;
    TimePoint due;  // by the time of KeptLocks
  };
  struct LastRow {
    std::string table;
    std::int64_t key = 0;  // of the lock under which it was added
    TimePoint at;
  };
  struct Holder {
    std::int64_t process = 0;
    bool own = false;
    bool idle = false;   // in no transaction
    std::string change;  // when it became so; empty if this user may not know it
  };

  Answer read(const std::string& table, const std::string& text);
  Answer readLocked(const std::string& table, const std::string& text);
  std::optional<Answer> tryKey(const std::string& table, std::int64_t key, const std::string& text,
                               std::chrono::milliseconds most);
  std::optional<Answer> tryKeyOnce(const std::string& table, std::int64_t key,
                                   const std::string& text, std::chrono::milliseconds most);
  std::optional<Answer> waitForKey(const std::string& table, std::int64_t key,
                                   const std::string& text);
  Answer run(const std::string& sql, int skippedResults);
  std::string callOf(const std::string& text);
  Answer withCodesOfOthers(const std::string& table, const std::string& text, Answer own);
  std::optional<Answer> readByOther(const std::string& text);
  std::optional<Holder> holderOf(std::int64_t key);
  void unlock(std::int64_t key) noexcept;

  std::optional<TimePoint> giveUpDue(TimePoint now) override;
  bool yield(std::string_view database, std::int64_t key) override;
  void join();
  void resume(const std::string& table);
  void giveUpKept() noexcept;
  void statementBegins() noexcept;
  bool mayKeepTurn(const std::string& table, const Held& held) const;
  bool wouldWaitForItself(std::int64_t key) const;
  Held newlyHeld(std::int64_t key) const;
  std::optional<Answer> lockAndRead(const std::string& table, const std::string& text);

  OdbcConnection& connection_;
  const CompanyEnvironment& environment_;
  Connect connect_;
  std::unique_ptr<Database> other_;           // opened when it is first needed
  TimePoint noOtherBefore_;                   // when to try again to open it
  std::map<std::string, std::string> names_;  // of the prepared queries, by their texts
  int nextName_ = 0;
  // Guarded by the lock of the connection's calls. Only the connection's own thread changes held_,
  // so that thread reads it without the lock.
  std::map<std::string, Held, std::less<>> held_;  // by table
  std::optional<Kept> kept_;
  std::atomic<bool> keeps_ = false;  // whether there is one
  std::optional<LastRow> lastRow_;   // if no other statement has run since
  bool inSeries_ = false;            // of the draw that runs
  bool joined_ = false;
  std::map<std::string, TimePoint> spareUntil_;   // the tables whose first lock is stuck
  std::map<std::string, std::string> seenByAll_;  // the highest codes that all connections see
};

}  // namespace qx::desk
