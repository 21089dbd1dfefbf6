#include "qxdesk/engines/odbc_error.h"

#include <gtest/gtest.h>

namespace qx::desk {
namespace {

TEST(OdbcError, AStateDecidesTheFault) {
  const std::pair<const char*, Fault> kStates[] = {
      {"08S01", Fault::ConnectionLost}, {"08006", Fault::ConnectionLost},
      {"57P01", Fault::ConnectionLost}, {"57P02", Fault::ConnectionLost},
      {"57P03", Fault::NoServer},       {"28P01", Fault::LoginRefused},
      {"28000", Fault::LoginRefused},   {"40P01", Fault::Deadlock},
      {"40001", Fault::Conflict},       {"25P02", Fault::Aborted},
      {"55P03", Fault::Locked},         {"HYT00", Fault::Cancelled},
      {"53100", Fault::Full},           {"53300", Fault::TooManyUsers},
      {"53200", Fault::InputOutput},    {"22001", Fault::TooLong},
      {"22003", Fault::OutOfRange},     {"22007", Fault::BadDate},
      {"22008", Fault::BadDate},        {"23505", Fault::Unique},
      {"23502", Fault::Constraint},     {"23000", Fault::Constraint},
      {"25006", Fault::ReadOnly},       {"42601", Fault::Statement},
      {"42P01", Fault::Statement},      {"42S02", Fault::Statement},
      {"3D000", Fault::NoDatabase},     {"IM002", Fault::NoDriver},
      {"57014", Fault::Cancelled},      {"HY008", Fault::Cancelled},
      {"22P02", Fault::BadValue},       {"22018", Fault::BadValue},
      {"42501", Fault::NoRight},        {"XX001", Fault::Damaged},
      {"HY000", Fault::Statement},      {"", Fault::Statement},
      {"40002", Fault::RolledBack},
  };
  for (const auto& [state, fault] : kStates) EXPECT_EQ(faultOfState(state), fault) << state;
}

TEST(OdbcError, TheWordsDecideTheFaultOfAConnection) {
  EXPECT_EQ(faultOfConnect({"01000", "Can't open lib 'x.so' : file not found"}), Fault::NoDriver);
  EXPECT_EQ(faultOfConnect({"IM002", "Data source name not found"}), Fault::NoDriver);
  EXPECT_EQ(faultOfConnect({"08001", R"(FATAL:  password authentication failed for user "a")"}),
            Fault::LoginRefused);
  EXPECT_EQ(faultOfConnect({"08001", "fe_sendauth: no password supplied"}), Fault::LoginRefused);
  EXPECT_EQ(faultOfConnect({"08001", R"(FATAL:  database "a" does not exist)"}), Fault::NoDatabase);
  EXPECT_EQ(faultOfConnect({"08001", "FATAL:  sorry, too many clients already"}),
            Fault::TooManyUsers);
  EXPECT_EQ(faultOfConnect({"08001", R"(too many connections for role "a")"}), Fault::TooManyUsers);
  EXPECT_EQ(faultOfConnect({"08001", "Connection refused"}), Fault::NoServer);
  EXPECT_EQ(faultOfConnect({"HYT00", "timeout"}), Fault::NoServer);
  EXPECT_EQ(faultOfConnect({"28000", "Login failed"}), Fault::LoginRefused);
  EXPECT_EQ(faultOfConnect({"08001", R"(FATAL:  permission denied for database "a")"}),
            Fault::NoRight);
  for (const char* state : {"HY000", "42601", "23505", "25P02", "40001", "57014", "01000", ""})
    EXPECT_EQ(faultOfConnect({state, "?"}), Fault::NoServer) << state;
}

TEST(OdbcError, TheWordsTellApartWhatEnginesReportByOneState) {
  EXPECT_EQ(
      faultOfStatement({"40001", "Transaction (Process ID 52) was deadlocked on lock resources"}),
      Fault::Deadlock);
  EXPECT_EQ(faultOfStatement({"40001", "Deadlock found when trying to get lock"}), Fault::Deadlock);
  EXPECT_EQ(faultOfStatement({"40001", "could not serialize access due to concurrent update"}),
            Fault::Conflict);
  EXPECT_EQ(faultOfStatement({"HYT00", "Lock request time out period exceeded."}), Fault::Locked);
  EXPECT_EQ(faultOfStatement({"HYT00", "Query timeout expired"}), Fault::Cancelled);
  EXPECT_EQ(faultOfStatement({"23000", "Cannot insert duplicate key in object 't'."}),
            Fault::Unique);
  EXPECT_EQ(faultOfStatement({"23000", "Cannot insert the value NULL into column 'x'"}),
            Fault::Constraint);
  EXPECT_EQ(faultOfStatement({"HY000", "Lock wait timeout exceeded; try restarting transaction"}),
            Fault::Locked);
}

TEST(OdbcError, TheWordsDecideTheFaultOfAGeneralState) {
  EXPECT_EQ(faultOfStatement({"HY000", "database is locked (5)"}), Fault::Locked);
  EXPECT_EQ(faultOfStatement({"HY000", "database table is locked"}), Fault::Locked);
  EXPECT_EQ(faultOfStatement({"HY000", "attempt to write a readonly database"}), Fault::ReadOnly);
  EXPECT_EQ(faultOfStatement({"HY000", "database or disk is full"}), Fault::Full);
  EXPECT_EQ(faultOfStatement({"HY000", "UNIQUE constraint failed: t.x"}), Fault::Unique);
  EXPECT_EQ(faultOfStatement({"HY000", "NOT NULL constraint failed: t.x"}), Fault::Constraint);
  EXPECT_EQ(faultOfStatement({"HY000", "no such table: t"}), Fault::Statement);
  EXPECT_EQ(faultOfStatement({"22001", "the text 'x is locked' is too long"}), Fault::TooLong);
}

TEST(OdbcError, AdditionsOfDriversAreCutOff) {
  EXPECT_EQ(engineWords("ERROR: no;\nError while executing the query"), "no");
  EXPECT_EQ(engineWords("ERROR: no\nDETAIL: Key (a)=(1).;\nError while executing the query"),
            "no (Key (a)=(1).)");
  EXPECT_EQ(engineWords("[vendor][ODBC driver] Login failed."), "Login failed.");
  EXPECT_EQ(engineWords("[never closed"), "[never closed");
  EXPECT_EQ(engineWords("ERROR: one\r\n  two\n\n\tthree\nDETAIL: four\nfive\nHINT: six\n"),
            "one two three (four five) (six)");
  EXPECT_EQ(engineWords("two  blanks"), "two  blanks");
  EXPECT_EQ(engineWords(""), "");
}

}  // namespace
}  // namespace qx::desk
