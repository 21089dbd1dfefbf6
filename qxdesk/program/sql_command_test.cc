#include "qxdesk/program/sql_command.h"

#include "qxdesk/program/test_program.h"

#include <gtest/gtest.h>

#include <string>

namespace qx::desk {
namespace {

constexpr const char* kSelect = "[select]\ntable = \"@T\"\nkeys = [\"K\"]\nlimit = 2\n";
constexpr const char* kSideBySide =
    "mssql   SELECT TOP 2 K FROM [@T]     ORDER BY K\n"
    "sybase  SET ROWCOUNT 2 \n"
    "        SELECT K FROM [@T]     ORDER BY K\n"
    "        SET ROWCOUNT 0\n"
    "db2     SELECT K FROM @T     ORDER BY K  FETCH FIRST 2 ROWS ONLY\n"
    "kordb   SELECT TOP 2 \"K\" FROM \"@T\"     ORDER BY \"K\"\n";

class SqlCommand : public test::TestProgram {};

TEST_F(SqlCommand, PrintsAFileWithoutAConnection) {
  folder_.write("f.toml", kSelect);
  const Outcome outcome = run("sql f.toml");
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.output, kSideBySide);
  EXPECT_EQ(outcome.errors, "");
}

TEST_F(SqlCommand, ReadsTheStandardInput) {
  folder_.write("in", kSelect);
  EXPECT_EQ(run("sql -").output, kSideBySide);
  folder_.write("in", "[select]\ntable = 1\n");
  const Outcome refused = run("sql -");
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_EQ(refused.output, "");
  EXPECT_EQ(refused.errors,
            "<stdin>:2:9: error: 'table' is a whole number; write a text in double quotes\n");
}

TEST_F(SqlCommand, PrintsOneDialectsStatementsBare) {
  folder_.write("f.toml", kSelect);
  EXPECT_EQ(run("sql f.toml --engine kordb").output,
            "SELECT TOP 2 \"K\" FROM \"@T\"     ORDER BY \"K\"\n");
  EXPECT_EQ(
      run("sql --engine sybase -0 f.toml").output,
      std::string("SET ROWCOUNT 2 \0SELECT K FROM [@T]     ORDER BY K\0SET ROWCOUNT 0\0", 65));
}

TEST_F(SqlCommand, ARefusedFileIsReportedAndPrintsNothing) {
  folder_.write("f.toml", std::string(kSelect) +
                              "[delete]\ntable = \"T\"\nwhere = [{ field = "
                              "\"A\", is = \">\", value = 1 }]\n");
  const Outcome outcome = run("sql f.toml");
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.output, "");
  EXPECT_EQ(outcome.errors,
            "f.toml:7:10: error: Only EQUAL is allowed as operation in the conditions; the "
            "persistence layer refuses this, so change it\n");
}

TEST_F(SqlCommand, AWarningDoesNotChangeOutputAndExitCode) {
  folder_.write("f.toml",
                "[load]\ntable = \"T\"\nwhere = [{ field = \"A\", value = 1, open = 1, close = 1 "
                "}]\n");
  const Outcome outcome = run("sql f.toml --engine db2");
  EXPECT_EQ(outcome.exitCode, 0);
  EXPECT_EQ(outcome.output, "SELECT * FROM T     WHERE A = 1\n");
  EXPECT_EQ(outcome.errors,
            "f.toml:3:10: warning: the layer writes no brackets in [load]; give the conditions an "
            "order that needs none\n");
}

TEST_F(SqlCommand, AFileThatCannotBeReadIsReported) {
  EXPECT_EQ(run("sql none.toml").errors,
            "none.toml: error: the file cannot be read; check the path and its rights\n");
  const Outcome folder = run("sql .");
  EXPECT_EQ(folder.exitCode, 1);
  EXPECT_EQ(folder.errors, ".: error: the file cannot be read; check the path and its rights\n");
  EXPECT_EQ(run("sql /dev/zero").errors,
            "/dev/zero: error: the file is larger than 16 MiB; divide it\n");
}

TEST_F(SqlCommand, OutputThatCannotBeWrittenIsReported) {
  folder_.write("f.toml", kSelect);
  const Outcome outcome = run("sql f.toml", "/dev/full");
  EXPECT_EQ(outcome.exitCode, 1);
  EXPECT_EQ(outcome.errors, "<stdout>: error: the output cannot be written; check where it goes\n");
}

TEST_F(SqlCommand, AWrongCommandLineIsReportedWithAnotherCode) {
  const Outcome noFile = run("sql");
  EXPECT_EQ(noFile.exitCode, 2);
  EXPECT_EQ(noFile.errors, "FILE is required\nRun with --help for more information.\n");
  folder_.write("f.toml", kSelect);
  const Outcome noEngine = run("sql f.toml --engine other");
  EXPECT_EQ(noEngine.exitCode, 2);
  EXPECT_EQ(noEngine.output, "");
  EXPECT_NE(noEngine.errors.find("other not in {mssql,sybase,db2,kordb}"), std::string::npos);
  EXPECT_EQ(run("sql f.toml --null").exitCode, 2);
  EXPECT_EQ(run("sql f.toml --example").exitCode, 2);
  const Outcome exampleOfOne = run("sql --example --engine db2");
  EXPECT_EQ(exampleOfOne.exitCode, 2);
  EXPECT_EQ(exampleOfOne.output, "");
  EXPECT_NE(exampleOfOne.errors.find("--example excludes --engine"), std::string::npos);
  EXPECT_EQ(run("").exitCode, 2);
}

TEST_F(SqlCommand, ItsExampleIsAValidFile) {
  const Outcome example = run("sql --example");
  EXPECT_EQ(example.exitCode, 0);
  folder_.write("in", example.output);
  const Outcome printed = run("sql - --engine mssql");
  EXPECT_EQ(printed.exitCode, 0);
  EXPECT_EQ(printed.errors, "");
  EXPECT_TRUE(printed.output.starts_with("SELECT TOP 5 T0.Code AS'T0.Code',"));
}

TEST_F(SqlCommand, ItsHelpHasTheFormWithAValidExample) {
  const Outcome help = run("sql --help");
  EXPECT_EQ(help.exitCode, 0);
  const std::size_t begin = help.output.find("  [select]\n  table");
  ASSERT_NE(begin, std::string::npos);
  folder_.write("in", help.output.substr(begin, help.output.find("\n\n", begin) - begin));
  EXPECT_EQ(
      run("sql - --engine mssql").output,
      "SELECT Code FROM [@ORDERS]     WHERE U_Date >= CONVERT(datetime,N'20240131',112) ORDER "
      "BY Code\n");
  EXPECT_EQ(run("--help").exitCode, 0);
}

}  // namespace
}  // namespace qx::desk
