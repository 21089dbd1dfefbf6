#pragma once

// The protection of a draw: a program reads the highest code of a table and inserts a row with the
// next one, in two statements. In between no other connection may draw from that table. An engine
// holds a lock from the draw to the end of the INSERT, and within a transaction to its end, but for
// a short time only: a connection that draws and does not insert must not stop the others. A code
// that is drawn twice all the same fails as a duplicate.
//
// A change of turns costs more than an Add, since other processes wake up. So a connection that
// adds row after row keeps its turn over several Adds, as long as the others can wait without harm.

#include "qxdesk/engines/database.h"

#include <memory>
#include <string>
#include <string_view>

namespace qx::desk {

class CodeDraws {
 public:
  virtual ~CodeDraws() = default;

  /// True if the statements of a draw and of the INSERT after it have to run as draw() and insert()
  /// return them, or the INSERT with releasingCondition(). Otherwise these two return null, and the
  /// statements run as any other.
  virtual bool runsTexts() const = 0;
  /// Takes the lock of a table for a draw, waits for it as for any lock, and returns the statement
  /// that reads the highest code by `text`, in the engine's SQL. Throws DatabaseError here or from
  /// the first step of that statement.
  virtual std::unique_ptr<Statement> draw(std::string_view table, std::string_view text) = 0;
  /// Draws from a table and returns its highest code; empty if it has none. Throws DatabaseError.
  virtual std::string highest(Database& database, std::string_view table) = 0;
  /// True between a draw from the table and inserted().
  virtual bool hasDrawn(std::string_view table) const = 0;
  /// Returns the INSERT `text` after a draw from the table.
  virtual std::unique_ptr<Statement> insert(std::string_view table, std::string_view text) = 0;
  /// Returns what continues the condition of an INSERT that is kept, so that it gives the lock up;
  /// empty if the connection is to keep the lock for the draws that follow. rowInserted() is called
  /// after it. Only outside of a transaction.
  virtual std::string releasingCondition(std::string_view /*table*/) { return {}; }
  virtual void rowInserted(std::string_view /*table*/) {}
  /// Ends a draw after an INSERT into the table, or an attempt. Within a transaction the lock
  /// stays.
  virtual void inserted(std::string_view table) noexcept = 0;
  /// Called before each statement: gives up what is held for longer than the environment's
  /// drawTimeoutMs.
  virtual void giveUpOld() = 0;
};

}  // namespace qx::desk
