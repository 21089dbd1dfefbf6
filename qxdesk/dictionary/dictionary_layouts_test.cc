#include "qxdesk/dictionary/dictionary_layouts.h"

#include "qxdesk/dictionary/dictionary_fields.h"
#include "qxdesk/dictionary/dictionary_tables.h"
#include "qxdesk/dictionary/test_support.h"

namespace qx::desk {
namespace {

class DictionaryLayoutsTest : public DictionaryTest {
 protected:
  void addTable(const std::string& name) { DictionaryTables(*database, kMssql).add({name, "", 0}); }
  static std::string namesOf(const std::optional<TableLayout>& layout) {
    std::string names;
    if (!layout) return "none";
    for (const ColumnLayout& column : layout->columns) names += column.name + " ";
    return names;
  }

  DictionaryLayouts layouts{*database};
};

TEST_F(DictionaryLayoutsTest, ATableIsNamedWithOrWithoutItsSignInAnyCase) {
  addTable("Qx");
  for (const char* name : {"Qx", "@Qx", "QX", "@qx"}) EXPECT_EQ(layouts.resolve(name), "@Qx");
  EXPECT_EQ(layouts.resolve("hvPartn"), "HVPARTN");
  EXPECT_EQ(layouts.resolve("@HVPARTN"), std::nullopt);
  EXPECT_EQ(layouts.resolve("nothing"), std::nullopt);
}

TEST_F(DictionaryLayoutsTest, ABareNameMeansTheUserTableBeforeTheSystemTable) {
  addTable("HVPARTN");
  EXPECT_EQ(layouts.resolve("HVPARTN"), "@HVPARTN");
}

TEST_F(DictionaryLayoutsTest, AMissingTableIsRefusedByName) {
  EXPECT_EQ(failureOf([&] { layouts.need("NONE"); }), "-2105 There is no table 'NONE'.");
}

TEST_F(DictionaryLayoutsTest, UserFieldsFollowTheOwnColumns) {
  addTable("QX");
  DictionaryFields fields(*database);
  for (const char* name : {"B", "A"}) fields.add({"QX", 0, {name, kNumericField}, "", 0, "", {}});
  fields.add({"HVITEM", 0, {"Grade", kMemoField}, "", 0, "", {}});
  EXPECT_EQ(namesOf(layouts.layoutOf("@QX")), "Code Name U_B U_A ");
  EXPECT_EQ(namesOf(layouts.storedLayout("hvitem")),
            "ItemNo ItemText InStock Price CreateDate U_Grade ");
}

TEST_F(DictionaryLayoutsTest, ANameFromAStatementMayBeUnknown) {
  addTable("QX");
  EXPECT_EQ(namesOf(layouts.storedLayout("@qx")), "Code Name ");
  EXPECT_EQ(namesOf(layouts.storedLayout("QX")), "none");
  EXPECT_EQ(namesOf(layouts.storedLayout("@none")), "none");
  EXPECT_EQ(namesOf(layouts.storedLayout("sqlite_master")), "none");
}

}  // namespace
}  // namespace qx::desk
