#include "qxdesk/engines/plain_savepoints.h"

#include "qxdesk/engines/atomic_change.h"
#include "qxdesk/engines/open_database.h"
#include "qxdesk/engines/test_support.h"

#include <gtest/gtest.h>

namespace qx::desk {
namespace {

class PlainSavepointsTest : public testing::Test {
 protected:
  void open(const std::string& options) {
    database = openDatabase("odbc:Driver=" QX_SCRIPTED_DRIVER ";" + options, testEnvironment());
  }
  std::string log() { return database->queryText("LOG"); }
  /// The words with which a change within a transaction is refused; empty if it is not.
  std::string refusal() {
    database->begin();
    std::string words;
    try {
      AtomicChange change(*database);
      change.commit();
    } catch (const DatabaseError& error) {
      EXPECT_EQ(error.fault(), Fault::NoSavepoints);
      words = error.what();
    }
    database->rollback();
    return words;
  }

  std::unique_ptr<Database> database;
};

TEST_F(PlainSavepointsTest, AreWrittenAsInTheStandard) {
  open("");
  EXPECT_EQ(refusal(), "");
  EXPECT_EQ(log(), "SAVEPOINT qx_change|RELEASE SAVEPOINT qx_change|rollback|");
}

TEST_F(PlainSavepointsTest, AreTriedOnceInEachSpellingUntilTheEngineAcceptsOne) {
  open("Refuse=SAVEPOINT");
  EXPECT_EQ(refusal(), "");
  EXPECT_EQ(refusal(), "");
  EXPECT_EQ(log(),
            "SAVEPOINT qx_change|SAVEPOINT qx_change ON ROLLBACK RETAIN CURSORS|"
            "SAVE TRANSACTION qx_change|rollback|SAVE TRANSACTION qx_change|rollback|");
}

TEST_F(PlainSavepointsTest, AreRolledBackInTheSameSpelling) {
  open("Refuse=SAVEPOINT");
  database->begin();
  { const AtomicChange change(*database); }
  EXPECT_TRUE(log().ends_with("SAVE TRANSACTION qx_change|ROLLBACK TRANSACTION qx_change|"))
      << log();
}

TEST_F(PlainSavepointsTest, AreReportedAsMissingIfTheEngineHasNone) {
  open("Refuse=SAVEPOINT,SAVE ");
  EXPECT_EQ(refusal(), "syntax error near SAVEPOINT");
  const std::string before = log();
  EXPECT_EQ(refusal(), "syntax error near SAVEPOINT");
  EXPECT_EQ(log(), before + "rollback|");
}

TEST_F(PlainSavepointsTest, AreNotTriedIfAChangeOfATableEndsTheTransaction) {
  open("Tables=commit");
  EXPECT_EQ(refusal(), "it does not keep changes of tables in transactions");
  EXPECT_EQ(log(), "rollback|");
}

TEST_F(PlainSavepointsTest, AreNotNeededOutsideATransaction) {
  open("Tables=commit;Refuse=SAVE");
  AtomicChange change(*database);
  change.commit();
  EXPECT_EQ(log(), "commit|");
}

}  // namespace
}  // namespace qx::desk
