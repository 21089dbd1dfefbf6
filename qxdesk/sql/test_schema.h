#pragma once

// The tables of the tests' company databases and the rows on which the expectations are based.

#include <string_view>

namespace qx::sql::test {

/// In SQLite's SQL. test_postgres.cc replaces the types and folds the names for PostgreSQL.
constexpr std::string_view kTables = R"(
  CREATE TABLE "@QXEXTDBVERSION" (Code nvarchar(50) PRIMARY KEY, Name nvarchar(50),
    U_ExtID nvarchar(5), U_Version nvarchar(15), U_EFNum nvarchar(10), U_Status nvarchar(20),
    U_Rdate datetime);
  CREATE TABLE "@QXEXTDBV" (Code nvarchar(50) PRIMARY KEY, Name nvarchar(50),
    U_ExtID nvarchar(5), U_Version nvarchar(15), U_EFNum nvarchar(10), U_Status nvarchar(20),
    U_Rdate datetime);
  CREATE TABLE VTG1 (Code nvarchar(8), Rate decimal(21,6), EffecDate datetime);
  CREATE TABLE OFPR (Category nvarchar(10), SubNum smallint, F_RefDate datetime,
    T_RefDate datetime);
  CREATE TABLE CUFD (TableID nvarchar(20), FieldID int, AliasID nvarchar(20));
  CREATE TABLE "@T" (Code nvarchar(50), Name nvarchar(50), U_A nvarchar(50), U_B int,
    U_Price decimal(21,6), U_Date datetime);
  CREATE TABLE "@L" (Code nvarchar(50), U_T nvarchar(50), U_Text nvarchar(254));
)";

/// The names of the tables are in lower case, which both engines take.
constexpr std::string_view kRows = R"(
  INSERT INTO "@qxextdbversion" VALUES
    ('00000000', '00000000', 'QX', '9.20.00.00', NULL, 'Installed', '2024-01-01 00:00:00'),
    ('00000001', '00000001', 'QX', '9.20.00.01', '07', 'Upgrading', '2024-01-31 00:00:00'),
    ('000000FF', '000000FF', 'ZZ', '1.0', '00', 'Installed', NULL);
  INSERT INTO "@qxextdbv" SELECT * FROM "@qxextdbversion";
  INSERT INTO vtg1 VALUES ('A1', 15, '2020-01-01 00:00:00'), ('A1', 16.5, '2024-02-15 00:00:00'),
    ('A1', 19, '2024-02-16 00:00:00'), ('A2', NULL, '2024-01-01 00:00:00');
  INSERT INTO ofpr VALUES ('2024', 1, '2024-01-01 00:00:00', '2024-01-31 00:00:00'),
    ('2024', 2, '2024-02-01 00:00:00', '2024-02-29 00:00:00');
  INSERT INTO cufd VALUES ('@T', 0, 'A'), ('@T', 1, 'X'), ('HVITEM', 2, 'X');
  INSERT INTO "@t" VALUES
    ('1', 'one', 'x', 10, 12.5, '2024-01-31 00:00:00'),
    ('2', 'two', 'y', 20, 100, '2024-02-01 08:30:00'),
    ('3', 'three', 'y', NULL, NULL, NULL),
    ('4', 'four', 'y', 5, 0.5, '2023-12-31 00:00:00'),
    ('5', 'five', NULL, 7, 3, '2024-01-31 00:00:00');
  INSERT INTO "@l" VALUES ('1', '1', 'first'), ('2', '2', 'second'), ('3', '9', 'stray');
)";

}  // namespace qx::sql::test
