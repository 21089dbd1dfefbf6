#include "qxdesk/dictionary/dictionary_fields.h"

#include "qxdesk/dictionary/dictionary_keys.h"
#include "qxdesk/dictionary/dictionary_tables.h"
#include "qxdesk/dictionary/test_support.h"

namespace qx::desk {
namespace {

class DictionaryFieldsTest : public DictionaryTest {
 protected:
  DictionaryFieldsTest() { DictionaryTables(*database, kMssql).add({"QX", "", 0}); }
  void add(const FieldShape& shape) { fields.add({"QX", 0, shape, "", 0, "", {}}); }
  void addRow() { database->execute("INSERT INTO [@QX] ([Code], [Name]) VALUES ('1', 'n')"); }

  DictionaryFields fields{*database};
};

TEST_F(DictionaryFieldsTest, AFieldIsAColumnAndARow) {
  add({"A", kAlphaField, 0, 5, false, "x"});
  add({"D", kDateField});
  EXPECT_EQ(rowsOf("SELECT [TableID], [FieldID], [AliasID] FROM [CUFD] ORDER BY [FieldID]"),
            "@QX|0|A/@QX|1|D");
  EXPECT_EQ(rowsOf("SELECT name, type FROM pragma_table_info('@QX') WHERE cid > 1 ORDER BY cid"),
            "U_A|nvarchar(5)/U_D|datetime");
  addRow();
  EXPECT_EQ(rowsOf("SELECT [U_A], [U_D] FROM [@QX]"), "x|-");
  EXPECT_EQ(fields.find("qx", 1).value().shape.name, "D");
  EXPECT_FALSE(fields.find("QX", 2));
  EXPECT_FALSE(fields.find("NONE", 0));
}

TEST_F(DictionaryFieldsTest, MistakesAreRefusedAndNothingIsMade) {
  add({"A", kAlphaField, 0, 5});
  const std::pair<FieldShape, std::string> kMistakes[] = {
      {{"a", kAlphaField, 0, 5}, "-2107 The field 'a' already exists in the table '@QX'."},
      {{"", kAlphaField, 0, 5}, "-2106 The field of the table '@QX' needs a name."},
      {{std::string(51, 'x'), kAlphaField, 0, 5},
       "-2106 The field name '" + std::string(51, 'x') + "' is longer than 50 characters."},
      {{"B", 9}, "-2106 The field 'B' has the unknown type 9."},
      {{"B", kAlphaField, 0, 255}, "-2106 The size of the field 'B' must be between 1 and 254."},
      {{"B", kNumericField, 0, 9, false, "x"},
       "-2106 The default value 'x' of the field 'B' is not a number."},
  };
  for (const auto& [shape, words] : kMistakes)
    EXPECT_EQ(failureOf([&, &wrong = shape] { add(wrong); }), words);
  EXPECT_EQ(rowsOf("SELECT [AliasID] FROM [CUFD]"), "A");
  EXPECT_EQ(rowsOf("SELECT COUNT(*) FROM pragma_table_info('@QX')"), "3");
}

TEST_F(DictionaryFieldsTest, AMandatoryFieldNeedsADefaultOnceTheTableHasRows) {
  add({"A", kAlphaField, 0, 5, true});
  database->execute("INSERT INTO [@QX] ([Code], [Name], [U_A]) VALUES ('1', 'n', 'a')");
  EXPECT_EQ(failureOf([&] {
              add({"B", kAlphaField, 0, 5, true});
            }),
            "-2106 The mandatory field 'B' needs a default value, since the table '@QX' has rows.");
  add({"B", kAlphaField, 0, 5, true, "b"});
  EXPECT_EQ(rowsOf("SELECT [U_B] FROM [@QX]"), "b");
}

TEST_F(DictionaryFieldsTest, ValidValuesMustFitAndDiffer) {
  UserField field{"QX", 0, {"K", kAlphaField, 0, 1}, "", 0, "", {{"AB", ""}}};
  EXPECT_EQ(failureOf([&] { fields.add(field); }),
            "-2106 The valid value 'AB' does not fit into the field 'K'.");
  field.validValues = {{"A", ""}, {"B", ""}, {"A", ""}};
  EXPECT_EQ(failureOf([&] { fields.add(field); }),
            "-2106 The field 'K' has the valid value 'A' twice.");
  field.validValues = {{"A", "a"}, {"B", "b"}};
  fields.add(field);
  EXPECT_EQ(rowsOf("SELECT [ValueNo], [FieldValue], [Description] FROM [HVUFVAL]"), "0|A|a/1|B|b");
}

TEST_F(DictionaryFieldsTest, AFieldThatGrowsKeepsRowsAndKeys) {
  add({"A", kAlphaField, 0, 2, false, "x"});
  DictionaryKeys(*database).add({"QX", "K", true, {"A"}});
  addRow();
  UserField field = fields.find("QX", 0).value();
  field.shape.size = 4;
  field.shape.defaultValue = "wxyz";
  field.description = "longer";
  fields.update(field);
  database->execute("INSERT INTO [@QX] ([Code], [Name]) VALUES ('2', 'm')");
  EXPECT_EQ(rowsOf("SELECT [Code], [U_A] FROM [@QX] ORDER BY [Code]"), "1|x/2|wxyz");
  EXPECT_EQ(fields.find("QX", 0).value().description, "longer");
  EXPECT_THROW(
      database->execute("INSERT INTO [@QX] ([Code], [Name], [U_A]) VALUES ('3', 'o', 'x')"),
      DatabaseError);
}

TEST_F(DictionaryFieldsTest, AFieldNeitherShrinksNorChangesItsNameOrType) {
  add({"A", kAlphaField, 0, 4});
  UserField field = fields.find("QX", 0).value();
  field.shape.size = 3;
  EXPECT_EQ(failureOf([&] { fields.update(field); }),
            "-2106 The field 'A' cannot become smaller than its present size 4.");
  field.shape.size = 4;
  field.shape.type = kMemoField;
  EXPECT_EQ(failureOf([&] { fields.update(field); }),
            "-2106 The name and the type of the field 'A' cannot be changed.");
  field.index = 7;
  EXPECT_EQ(failureOf([&] { fields.update(field); }),
            "-2105 There is no field 'A' in the table '@QX'.");
}

}  // namespace
}  // namespace qx::desk
