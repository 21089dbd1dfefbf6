#include "qxdesk/dictionary/dictionary_rows.h"

#include "qxdesk/dictionary/test_support.h"

namespace qx::desk {
namespace {

class DictionaryRowsTest : public DictionaryTest {
 protected:
  static UserField field(long index, const std::string& name) {
    UserField made;
    made.table = "@QX";
    made.index = index;
    made.shape = {name, kAlphaField, 0, 5, true, "d"};
    made.description = "text";
    made.linkedTable = "OTHER";
    made.validValues = {{"Y", "yes"}, {"N", "no"}};
    return made;
  }
};

TEST_F(DictionaryRowsTest, ATableReadsBackAsItWasInserted) {
  TableRows rows(*database);
  rows.insert({"Qx", "some text", 3});
  const auto found = rows.find("qX");
  ASSERT_TRUE(found);
  EXPECT_EQ(found->name, "Qx");
  EXPECT_EQ(found->description, "some text");
  EXPECT_EQ(found->type, 3);
  rows.remove("Qx");
  EXPECT_FALSE(rows.find("Qx"));
}

TEST_F(DictionaryRowsTest, AFieldReadsBackAsItWasInserted) {
  FieldRows rows(*database);
  EXPECT_EQ(rows.nextIndex("@QX"), 0);
  rows.insert(field(0, "A"));
  EXPECT_EQ(rows.nextIndex("@QX"), 1);
  const auto found = rows.find("@QX", 0);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->table, "@QX");
  EXPECT_EQ(found->shape.name, "A");
  EXPECT_EQ(found->shape.size, 5);
  EXPECT_TRUE(found->shape.mandatory);
  EXPECT_EQ(found->shape.defaultValue, "d");
  EXPECT_EQ(found->description, "text");
  EXPECT_EQ(found->editSize, 5);
  EXPECT_EQ(found->linkedTable, "OTHER");
  ASSERT_EQ(found->validValues.size(), 2U);
  EXPECT_EQ(found->validValues[1].value, "N");
  EXPECT_EQ(found->validValues[1].description, "no");
}

TEST_F(DictionaryRowsTest, AShapeIsFoundByNameInAnyCaseWithinItsTable) {
  FieldRows rows(*database);
  rows.insert(field(0, "Abc"));
  EXPECT_EQ(rows.findShape("@QX", "aBC").value().name, "Abc");
  EXPECT_FALSE(rows.findShape("@QY", "Abc"));
  EXPECT_FALSE(rows.findShape("@QX", "U_Abc"));
}

TEST_F(DictionaryRowsTest, RemovingAFieldLeavesTheOthers) {
  FieldRows rows(*database);
  rows.insert(field(0, "A"));
  rows.insert(field(1, "B"));
  rows.remove("@QX", 0);
  EXPECT_EQ(rowsOf("SELECT [AliasID] FROM [CUFD]"), "B");
  EXPECT_EQ(rowsOf("SELECT DISTINCT [FieldID] FROM [HVUFVAL]"), "1");
  rows.removeAllOf("@QX");
  EXPECT_EQ(rowsOf("SELECT [AliasID] FROM [CUFD]"), "");
  EXPECT_EQ(rowsOf("SELECT [FieldID] FROM [HVUFVAL]"), "");
}

TEST_F(DictionaryRowsTest, KeysCountWithoutGapsAlthoughTheirNumbersHaveSome) {
  KeyRows rows(*database);
  for (const char* name : {"K0", "K1", "K2"}) rows.insert({"@QX", name, false, {"Name"}});
  rows.remove("@QX", rows.findId("@QX", "k1").value());
  EXPECT_EQ(rowsOf("SELECT [KeyNo] FROM [HVUKEY] ORDER BY [KeyNo]"), "0/2");
  EXPECT_EQ(rows.find("@QX", 1).value().name, "K2");
  EXPECT_FALSE(rows.find("@QX", 2));
  EXPECT_FALSE(rows.find("@QX", -1));
  EXPECT_FALSE(rows.findId("@QX", "K1"));
}

TEST_F(DictionaryRowsTest, NamesThatTheCompanyWouldNotWriteAreRefusedWhenTheyAreRead) {
  const auto refused = [](const std::string& failure, const std::string& table,
                          const std::string& name) {
    const std::string start = "-2000 The dictionary table " + table + " holds the name '" + name;
    EXPECT_TRUE(failure.starts_with(start + "'")) << failure << " instead of " << start;
  };
  TableRows tables(*database);
  tables.insert({"X]", "", 0});
  refused(failureOf([&] { tables.find("x]"); }), "HVUTAB", "X]");
  FieldRows fields(*database);
  fields.insert(field(0, "A\""));
  refused(failureOf([&] { fields.find("@QX", 0); }), "CUFD", "A\"");
  refused(failureOf([&] { fields.findShape("@QX", "a\""); }), "CUFD", "A\"");
  refused(failureOf([&] { fields.shapesOf("@QX"); }), "CUFD", "A\"");
  KeyRows keys(*database);
  keys.insert({"@QX", "K;", false, {"Name"}});
  refused(failureOf([&] { keys.find("@QX", 0); }), "HVUKEY", "K;");
  refused(failureOf([&] { keys.findId("@QX", "k;"); }), "HVUKEY", "K;");
  keys.insert({"@QX", "K", false, {"Name) --"}});
  refused(failureOf([&] { keys.find("@QX", 1); }), "HVUKCOL", "Name) --");
}

TEST_F(DictionaryRowsTest, AKeyKeepsTheOrderOfItsColumns) {
  KeyRows rows(*database);
  rows.insert({"@QX", "K", true, {"U_B", "Name", "U_A"}});
  const auto found = rows.find("@QX", 0);
  ASSERT_TRUE(found);
  EXPECT_TRUE(found->unique);
  EXPECT_EQ(found->columns, (std::vector<std::string>{"U_B", "Name", "U_A"}));
  rows.removeAllOf("@QX");
  EXPECT_EQ(rowsOf("SELECT [ColumnAlias] FROM [HVUKCOL]"), "");
}

}  // namespace
}  // namespace qx::desk
