#include "qxdesk/engines/plain_savepoints.h"

#include "qxdesk/engines/odbc_connection.h"

#include <sql.h>
#include <sqlext.h>

#include <array>
#include <string_view>

namespace qx::desk {

namespace {

struct Spelling {
  std::string_view set, rollBack, release;
};

// The last one has no release: such a savepoint ends with its transaction.
constexpr std::array<Spelling, 3> kSpellings{{
    {"SAVEPOINT qx_change", "ROLLBACK TO SAVEPOINT qx_change", "RELEASE SAVEPOINT qx_change"},
    {"SAVEPOINT qx_change ON ROLLBACK RETAIN CURSORS", "ROLLBACK TO SAVEPOINT qx_change",
     "RELEASE SAVEPOINT qx_change"},
    {"SAVE TRANSACTION qx_change", "ROLLBACK TRANSACTION qx_change", ""},
}};

}  // namespace

void PlainSavepoints::set() {
  if (spelling_) {
    database_.execute(kSpellings[*spelling_].set);
    return;
  }
  if (!none_) find();
  if (none_) throw *none_;
}

void PlainSavepoints::find() {
  // A savepoint is of no use if the engine commits the transaction when a table changes.
  if (connection_.infoNumber(SQL_TXN_CAPABLE) != SQL_TC_ALL) {
    none_ =
        DatabaseError(Fault::NoSavepoints, "it does not keep changes of tables in transactions");
    return;
  }
  for (std::size_t i = 0; i < kSpellings.size(); ++i) {
    try {
      database_.execute(kSpellings[i].set);
      spelling_ = i;
      none_.reset();
      return;
    } catch (const DatabaseError& error) {
      if (error.fault() != Fault::Statement) throw;
      // The first spelling is the standard's, so the refusal of it explains most.
      if (i == 0) none_ = DatabaseError(Fault::NoSavepoints, error.what());
    }
  }
}

void PlainSavepoints::rollBack() {
  database_.execute(kSpellings[spelling_.value()].rollBack);
  release();
}

void PlainSavepoints::release() {
  const std::string_view release = kSpellings[spelling_.value()].release;
  if (!release.empty()) database_.execute(release);
}

}  // namespace qx::desk
