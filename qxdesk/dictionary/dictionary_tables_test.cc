#include "qxdesk/dictionary/dictionary_tables.h"

#include "qxdesk/dictionary/dictionary_fields.h"
#include "qxdesk/dictionary/dictionary_keys.h"
#include "qxdesk/dictionary/test_support.h"

namespace qx::desk {
namespace {

class DictionaryTablesTest : public DictionaryTest {
 protected:
  std::string tableCount() {
    return rowsOf("SELECT COUNT(*) FROM sqlite_master WHERE name LIKE '@%'");
  }

  DictionaryTables tables{*database, kMssql};
};

TEST_F(DictionaryTablesTest, AnAddedTableExistsAndIsFound) {
  tables.add({"@QX", "text", 2});
  EXPECT_EQ(rowsOf("SELECT [TableName], [Description], [ObjectType] FROM [HVUTAB]"), "QX|text|2");
  EXPECT_EQ(rowsOf("SELECT name FROM pragma_table_info('@QX') ORDER BY cid"), "Code/Name/LineId");
  for (const char* name : {"QX", "@QX", "qx"}) EXPECT_TRUE(tables.find(name)) << name;
  EXPECT_FALSE(tables.find("Q"));
}

TEST_F(DictionaryTablesTest, TheTypeDecidesTheColumnThatCounts) {
  const std::pair<long, std::string> kTypes[] = {
      {0, ""}, {1, "/DocEntry"}, {2, "/LineId"}, {3, "/DocEntry"}, {4, "/LineId"}};
  for (const auto& [type, column] : kTypes) {
    const std::string name = "T" + std::to_string(type);
    tables.add({name, "", type});
    EXPECT_EQ(rowsOf("SELECT name FROM pragma_table_info('@" + name + "') ORDER BY cid"),
              "Code/Name" + column);
  }
  EXPECT_EQ(failureOf([&] {
              tables.add({"T5", "", 5});
            }),
            "-2106 There is no table type 5; the types are 0 to 4.");
}

TEST_F(DictionaryTablesTest, ANameIsTakenOnceInAnyCase) {
  tables.add({"QX", "", 0});
  EXPECT_EQ(failureOf([&] { tables.add({"qx", "", 0}); }), "-2107 The table '@qx' already exists.");
  EXPECT_EQ(tableCount(), "1");
}

TEST_F(DictionaryTablesTest, TheServerTypeDecidesTheLengthOfANameAndNothingIsMade) {
  DictionaryTables db2(*database, kDb2);
  EXPECT_EQ(failureOf([&] {
              db2.add({"A123456789", "", 0});
            }),
            "-2106 The table name 'A123456789' is longer than 9 characters.");
  EXPECT_EQ(failureOf([&] {
              tables.add({"A2345678901234567890", "", 0});
            }),
            "-2106 The table name 'A2345678901234567890' is longer than 19 characters.");
  EXPECT_EQ(failureOf([&] { tables.add({"@", "", 0}); }), "-2106 The table needs a name.");
  EXPECT_EQ(tableCount(), "0");
  db2.add({"A12345678", "", 0});
  EXPECT_EQ(tableCount(), "1");
}

TEST_F(DictionaryTablesTest, ARemovedTableLeavesNothing) {
  tables.add({"QX", "", 0});
  DictionaryFields(*database).add({"QX", 0, {"A", kAlphaField, 0, 5}, "", 0, "", {{"Y", ""}}});
  DictionaryKeys(*database).add({"QX", "K", true, {"A"}});
  tables.remove("qx");
  EXPECT_EQ(tableCount(), "0");
  for (const char* table : {"HVUTAB", "CUFD", "HVUFVAL", "HVUKEY", "HVUKCOL"}) {
    EXPECT_EQ(rowsOf("SELECT COUNT(*) FROM " + bracketed(table)), "0") << table;
  }
  EXPECT_EQ(failureOf([&] { tables.remove("QX"); }), "-2105 There is no table 'QX'.");
}

TEST_F(DictionaryTablesTest, ANameWithABracketStaysOneNameOfTheEngine) {
  const std::string name = bracketed("a]; DROP TABLE [HVCURR]; --");
  database->execute("CREATE TABLE " + name + " (" + bracketed("x]") + " int)");
  database->execute("INSERT INTO " + name + " (" + bracketed("x]") + ") VALUES (7)");
  EXPECT_EQ(rowsOf("SELECT * FROM " + name), "7");
  database->execute("DROP TABLE " + name);
  EXPECT_EQ(rowsOf("SELECT COUNT(*) FROM [HVCURR]"), "4");
}

TEST_F(DictionaryTablesTest, AFailureAtAnyStatementLeavesNeitherTableNorRow) {
  FaultPlan plan;
  const auto refusing = failing(openDatabase(target.database, testEnvironment()), &plan);
  DictionaryTables failingTables(*refusing, kMssql);
  int refused = 0;
  for (plan = {0, 1, Fault::Full}; !failureOf([&] {
                                      failingTables.add({"QX", "", 0});
                                    }).empty();
       plan = {0, plan.refuse + 1, Fault::Full}) {
    ++refused;
    ASSERT_EQ(tableCount(), "0") << plan.refuse;
    ASSERT_EQ(rowsOf("SELECT COUNT(*) FROM [HVUTAB]"), "0") << plan.refuse;
  }
  EXPECT_GE(refused, 4);  // the look-up, the table, the row and the commit
  EXPECT_EQ(tableCount(), "1");
}

}  // namespace
}  // namespace qx::desk
