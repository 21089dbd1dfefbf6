#include "qxdesk/company/engines/odbc_error.h"

#include <gtest/gtest.h>

namespace qx::desk {
namespace {

TEST(OdbcError, AStateTellsTheFault) {
  const std::pair<const char*, Fault> kStates[] = {
      {"08S01", Fault::ConnectionLost}, {"08006", Fault::ConnectionLost},
      {"57P01", Fault::ConnectionLost}, {"57P02", Fault::ConnectionLost},
      {"57P03", Fault::NoServer},       {"28P01", Fault::LoginRefused},
      {"28000", Fault::LoginRefused},   {"40P01", Fault::RolledBack},
      {"40001", Fault::RolledBack},     {"25P02", Fault::RolledBack},
      {"55P03", Fault::Locked},         {"HYT00", Fault::Locked},
      {"53100", Fault::Full},           {"53300", Fault::TooManyUsers},
      {"53200", Fault::InputOutput},    {"22001", Fault::TooLong},
      {"22003", Fault::OutOfRange},     {"22007", Fault::BadDate},
      {"22008", Fault::BadDate},        {"23505", Fault::Unique},
      {"23502", Fault::Constraint},     {"23000", Fault::Constraint},
      {"25006", Fault::ReadOnly},       {"42601", Fault::Statement},
      {"42P01", Fault::Statement},      {"42S02", Fault::Statement},
      {"3D000", Fault::NoDatabase},     {"IM002", Fault::NoDriver},
      {"XX001", Fault::Damaged},        {"HY000", Fault::Statement},
      {"", Fault::Statement},
  };
  for (const auto& [state, fault] : kStates) EXPECT_EQ(faultOfState(state), fault) << state;
}

TEST(OdbcError, WhyThereIsNoConnectionIsReadFromTheWordsToo) {
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
  EXPECT_EQ(faultOfConnect({"HY000", "?"}), Fault::Statement);
}

TEST(OdbcError, TheWordsAreTheEnginesAlone) {
  EXPECT_EQ(engineWords("ERROR: no;\nError while executing the query"), "no");
  EXPECT_EQ(engineWords("ERROR: no\nDETAIL: Key (a)=(1).;\nError while executing the query"),
            "no (Key (a)=(1).)");
  EXPECT_EQ(engineWords("[vendor][ODBC driver] Login failed."), "Login failed.");
  EXPECT_EQ(engineWords("[never closed"), "[never closed");
  EXPECT_EQ(engineWords(""), "");
}

}  // namespace
}  // namespace qx::desk
