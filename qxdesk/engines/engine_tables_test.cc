#include "qxdesk/engines/engine_tables.h"

#include "qxdesk/engines/postgres_tables.h"
#include "qxdesk/engines/sqlite_tables.h"

#include <gtest/gtest.h>

namespace qx::desk {
namespace {

ColumnLayout withDefault(ColumnLayout column, ColumnDefault value) {
  column.byDefault = std::move(value);
  return column;
}

TEST(EngineTables, SqliteColumnsHaveNamedChecks) {
  const EngineTables& tables = sqliteTables();
  EXPECT_EQ(tables.declaration(textColumn("U_A", 5)),
            "nvarchar(5) CONSTRAINT [U_A: at most 5 characters] CHECK ([U_A] IS NULL OR "
            "length([U_A]) <= 5)");
  EXPECT_EQ(tables.declaration(memoColumn("U_A")), "ntext");
  EXPECT_EQ(tables.declaration(
                notNull(withDefault(integerColumn("N"), {ColumnDefault::Kind::Number, "7"}))),
            "int CONSTRAINT [N: a whole number] CHECK ([N] IS NULL OR typeof([N]) = 'integer') "
            "NOT NULL DEFAULT 7");
  EXPECT_EQ(
      tables.declaration(withDefault(dateColumn("D"), {ColumnDefault::Kind::CurrentTime, {}})),
      "datetime CONSTRAINT [D: a date of the form YYYY-MM-DD HH:MM:SS] CHECK ([D] IS NULL OR "
      "[D] IS datetime([D], '+0 days')) DEFAULT (datetime('now', 'localtime'))");
  EXPECT_EQ(tables.declaration(decimalColumn("P")),
            "decimal(21,6) CONSTRAINT [P: a number] CHECK ([P] IS NULL OR typeof([P]) IN "
            "('integer', 'real') AND abs([P]) < 9e999)");
}

TEST(EngineTables, PostgresColumnsHaveTheSameLimits) {
  const EngineTables& tables = postgresTables();
  EXPECT_EQ(
      tables.declaration(withDefault(textColumn("U_A", 5), {ColumnDefault::Kind::Text, "a'b"})),
      "varchar COLLATE \"C\" CONSTRAINT \"U_A: at most 5 characters\" CHECK "
      "(char_length([U_A]) <= 5) DEFAULT 'a''b'");
  EXPECT_EQ(tables.declaration(memoColumn("U_A")), "text COLLATE \"C\"");
  EXPECT_EQ(tables.declaration(notNull(smallIntegerColumn("N"))), "bigint NOT NULL");
  EXPECT_EQ(tables.declaration(decimalColumn("P")),
            "numeric CONSTRAINT \"P: a number\" CHECK ([P] BETWEEN "
            "-1.7976931348623157e308 AND 1.7976931348623157e308)");
  EXPECT_EQ(
      tables.declaration(withDefault(dateColumn("D"), {ColumnDefault::Kind::CurrentTime, {}})),
      "timestamp(0) CONSTRAINT \"D: a date of the form YYYY-MM-DD HH:MM:SS\" CHECK ([D] "
      "BETWEEN '0001-01-01' AND '9999-12-31 23:59:59') DEFAULT localtimestamp(0)");
}

TEST(EngineTables, PostgresNamesOfChecksAreCutToTheirLimit) {
  const std::string name(52, 'x');
  EXPECT_EQ(postgresTables().declaration(textColumn(name, 254)),
            "varchar COLLATE \"C\" CONSTRAINT \"" + name + ": at most 2\" CHECK (char_length([" +
                name + "]) <= 254)");
}

TEST(EngineTables, AColumnIsFoundInAnyCase) {
  const TableLayout table{"T", {textColumn("Code", 5), integerColumn("N")}, {}};
  EXPECT_EQ(columnNamed(table, "n").kind, ColumnKind::Integer);
  EXPECT_THROW(columnNamed(table, "x"), std::out_of_range);
  EXPECT_EQ(columnList({"A", "B"}), "[A], [B]");
}

}  // namespace
}  // namespace qx::desk
