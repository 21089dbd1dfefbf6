#include "qxdesk/dictionary/dictionary_keys.h"

#include "qxdesk/dictionary/dictionary_fields.h"
#include "qxdesk/dictionary/dictionary_tables.h"
#include "qxdesk/dictionary/test_support.h"

namespace qx::desk {
namespace {

class DictionaryKeysTest : public DictionaryTest {
 protected:
  DictionaryKeysTest() {
    DictionaryTables(*database, kMssql).add({"QX", "", 0});
    DictionaryFields(*database).add({"QX", 0, {"A", kAlphaField, 0, 5}, "", 0, "", {}});
  }
  std::string indexes() {
    return rowsOf("SELECT name FROM sqlite_master WHERE name LIKE 'KEY %' ORDER BY name");
  }

  DictionaryKeys keys{*database};
};

TEST_F(DictionaryKeysTest, AKeyIsAnIndexAndItsRows) {
  keys.add({"qx", "K1", true, {"a", "Name"}});
  keys.add({"@QX", "K2", false, {"Name"}});
  EXPECT_EQ(indexes(), "KEY @QX K1/KEY @QX K2");
  EXPECT_EQ(rowsOf("SELECT [KeyNo], [KeyName], [IsUnique] FROM [HVUKEY] ORDER BY [KeyNo]"),
            "0|K1|Y/1|K2|N");
  const auto found = keys.find("QX", 0);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->table, "@QX");
  EXPECT_EQ(found->columns, (std::vector<std::string>{"U_A", "Name"}));
  EXPECT_FALSE(keys.find("QX", 2));
  EXPECT_FALSE(keys.find("NONE", 0));
}

TEST_F(DictionaryKeysTest, MistakesAreRefusedAndNothingIsMade) {
  keys.add({"QX", "K", false, {"Name"}});
  const std::pair<UserKey, std::string> kMistakes[] = {
      {{"QX", "k", false, {"Name"}}, "-2107 The key 'k' already exists in the table '@QX'."},
      {{"QX", "", false, {"Name"}}, "-2106 The key of the table '@QX' needs a name."},
      {{"QX", "K2345678901", false, {"Name"}},
       "-2106 The key name 'K2345678901' is longer than 10 characters."},
      {{"QX", "L", false, {}}, "-2106 The key 'L' of the table '@QX' needs at least one column."},
      {{"QX", "L", false, {"Nope"}},
       "-2105 There is no column 'Nope' in the table '@QX' for the key."},
      {{"QX", "L", false, {"A", "U_A"}}, "-2106 The key 'L' names the column 'U_A' twice."},
      {{"NONE", "L", false, {"Name"}}, "-2105 There is no table 'NONE'."},
  };
  for (const auto& [key, words] : kMistakes)
    EXPECT_EQ(failureOf([&, &wrong = key] { keys.add(wrong); }), words);
  EXPECT_EQ(indexes(), "KEY @QX K");
  EXPECT_EQ(rowsOf("SELECT COUNT(*) FROM [HVUKEY]"), "1");
}

TEST_F(DictionaryKeysTest, AUniqueKeyIsRefusedIfRowsAreEqualInItsColumns) {
  database->execute("INSERT INTO [@QX] ([Code], [Name]) VALUES ('1', 'n'), ('2', 'n')");
  EXPECT_EQ(failureOf([&] {
              keys.add({"QX", "K", true, {"Name"}});
            }),
            "-2106 The table '@QX' has rows that are equal in the columns of the unique key 'K'.");
  EXPECT_EQ(rowsOf("SELECT COUNT(*) FROM [HVUKEY]"), "0");
}

TEST_F(DictionaryKeysTest, ARemovedKeyLosesItsIndex) {
  keys.add({"QX", "K", true, {"Name"}});
  keys.remove("qx", "k");
  EXPECT_EQ(indexes(), "");
  EXPECT_EQ(rowsOf("SELECT COUNT(*) FROM [HVUKCOL]"), "0");
  EXPECT_EQ(failureOf([&] { keys.remove("QX", "K"); }),
            "-2105 There is no key 'K' in the table '@QX'.");
}

TEST_F(DictionaryKeysTest, IndexesThatTheEngineLostAreMadeAgain) {
  keys.add({"QX", "K1", true, {"Name"}});
  keys.add({"QX", "K2", false, {"A"}});
  database->execute("DROP INDEX [KEY @QX K1]");
  database->execute("DROP INDEX [KEY @QX K2]");
  keys.remakeIndexes("@QX");
  EXPECT_EQ(indexes(), "KEY @QX K1/KEY @QX K2");
}

}  // namespace
}  // namespace qx::desk
