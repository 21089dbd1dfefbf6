#pragma once

// The draws of codes on PostgreSQL. The lock of a table's codes is an advisory lock of the server,
// by a number that every connection computes from the table's name. It travels in one turn with the
// query of the highest code, ahead of it, so that the query sees the rows of all who had the lock
// before; and the INSERT gives it up in its own turn, at the moment of the commit.
//
// Within a transaction the lock is kept to the end. There the transaction's own view may be older
// than the lock, so a second connection reads the highest code as well, and the greater one counts.
//
// A connection that draws outside of a transaction and then does nothing, for example because its
// process is stopped, keeps the lock. The server shows it idle; those who have waited for it take a
// spare lock instead, and look at the first one again now and then.

#include "qxdesk/engines/code_draws.h"
#include "qxdesk/engines/environment.h"
#include "qxdesk/engines/odbc_connection.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace qx::desk {

class PostgresCodes final : public CodeDraws {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  /// Opens one more connection to the company.
  using Connect = std::function<std::unique_ptr<Database>()>;

  /// `connection` outlives it.
  PostgresCodes(OdbcConnection& connection, const CompanyEnvironment& environment, Connect connect);

  /// Called when a transaction of the connection begins.
  void transactionBegins() { seenByAll_.clear(); }

  bool runsTexts() const override { return true; }
  std::unique_ptr<Statement> draw(std::string_view table, std::string_view text) override;
  std::string highest(Database& database, std::string_view table) override;
  bool hasDrawn(std::string_view table) const override;
  std::unique_ptr<Statement> insert(std::string_view table, std::string_view text) override;
  std::string releasingCondition(std::string_view table) const override;
  void released(std::string_view table) override;
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
  /// A lock that this connection keeps beyond its transactions.
  struct Held {
    std::int64_t key = 0;
    TimePoint since;
  };
  struct Holder {
    std::int64_t process = 0;
    bool own = false;
    bool idle = false;  // in no transaction
  };

  Answer read(const std::string& table, const std::string& text);
  Answer readLocked(const std::string& table, const std::string& text);
  std::optional<Answer> tryKey(const std::string& table, std::int64_t key, const std::string& text,
                               std::chrono::milliseconds most);
  std::optional<Answer> waitForKey(const std::string& table, std::int64_t key,
                                   const std::string& text);
  Answer run(const std::string& sql, int skippedResults);
  std::string callOf(const std::string& text);
  Answer withCodesOfOthers(const std::string& table, const std::string& text, Answer own);
  std::optional<Answer> readByOther(const std::string& text);
  std::optional<Holder> holderOf(std::int64_t key);
  void unlock(std::int64_t key) noexcept;

  OdbcConnection& connection_;
  const CompanyEnvironment& environment_;
  Connect connect_;
  std::unique_ptr<Database> other_;           // opened when it is first needed
  TimePoint noOtherBefore_;                   // when to try again to open it
  std::map<std::string, std::string> names_;  // of the prepared queries, by their texts
  int nextName_ = 0;
  std::map<std::string, Held, std::less<>> held_;  // by table
  std::map<std::string, TimePoint> spareUntil_;    // the tables whose first lock is stuck
  std::map<std::string, std::string> seenByAll_;   // the highest codes that all connections see
};

}  // namespace qx::desk
