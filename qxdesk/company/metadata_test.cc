#include "qxdesk/company/test_support.h"
#include "qxdesk/dictionary/field_type.h"

#include <random>

namespace qx::desk {
namespace {

class MetadataTest : public CompanyTest {};

CComPtr<IUserFieldsMD> loadField(const CComPtr<ICompany>& company, const std::u16string& table,
                                 long index) {
  auto fields = businessObject<IUserFieldsMD>(company, kUserFieldsMD);
  EXPECT_EQ(fields->GetByKey(CComBSTR(table), index), VARIANT_TRUE);
  return fields;
}

// ---- tables

TEST_P(MetadataTest, ANewTableCanBeFoundAndUsed) {
  const auto tables = businessObject<IUserTablesMD>(company, kUserTablesMD);
  EXPECT_EQ(tables->GetByKey(CComBSTR(u"QX_1")), VARIANT_FALSE);
  tables->PutTableName(CComBSTR(u"QX_1"));
  tables->PutTableDescription(CComBSTR(u"Extension DB versions"));
  tables->PutTableType(2);
  EXPECT_EQ(tables->Add(), 0);
  EXPECT_EQ(tables->GetByKey(CComBSTR(u"qx_1")), VARIANT_TRUE);
  EXPECT_EQ(tables->GetTableName().View(), u"QX_1");
  EXPECT_EQ(tables->GetTableDescription().View(), u"Extension DB versions");
  EXPECT_EQ(tables->GetTableType(), 2);
  query(company, u"INSERT INTO [@QX_1] (Code, Name) VALUES (N'1', N'1')");
  EXPECT_EQ(rowsOf(company, u"SELECT Code, Name FROM [@QX_1]"), u"1|1");
}

TEST_P(MetadataTest, ATableIsAlsoFoundByItsNameWithTheSign) {
  addTable(company, u"QX");
  const auto tables = businessObject<IUserTablesMD>(company, kUserTablesMD);
  EXPECT_EQ(tables->GetByKey(CComBSTR(u"@QX")), VARIANT_TRUE);
}

TEST_P(MetadataTest, AnExistingTableIsNotAddedAgain) {
  EXPECT_EQ(addTable(company, u"QX"), 0);
  EXPECT_EQ(addTable(company, u"qx"), -2107);
  EXPECT_EQ(lastError(company), (LastError{-2107, u"The table '@qx' already exists."}));
}

TEST_P(MetadataTest, ABadTableNameIsRefused) {
  EXPECT_EQ(addTable(company, u""), kInvalidValue);
  EXPECT_EQ(addTable(company, u"A B"), kInvalidValue);
  EXPECT_EQ(lastError(company).text,
            u"The name 'A B' may hold letters A to Z, digits and underscores only.");
  EXPECT_EQ(addTable(company, u"A\"B"), kInvalidValue);
  EXPECT_EQ(addTable(company, u"Ä"), kInvalidValue);
  EXPECT_EQ(addTable(company, u"A234567890123456789"), 0);
  EXPECT_EQ(addTable(company, u"A2345678901234567890"), kInvalidValue);
  EXPECT_EQ(lastError(company).text,
            u"The table name 'A2345678901234567890' is longer than 19 characters.");
}

TEST_P(MetadataTest, TableNamesOnDb2HaveAtMostNineCharacters) {
  const CComPtr<ICompany> db2 = another(kDb2);
  EXPECT_EQ(addTable(db2, u"A23456789"), 0);
  EXPECT_EQ(addTable(db2, u"B234567890"), kInvalidValue);
}

TEST_P(MetadataTest, AnUnknownTableTypeIsRefused) {
  const auto tables = businessObject<IUserTablesMD>(company, kUserTablesMD);
  tables->PutTableName(CComBSTR(u"QX"));
  tables->PutTableType(5);
  EXPECT_EQ(tables->Add(), kInvalidValue);
}

TEST_P(MetadataTest, ADescriptionHasAtMostThirtyCharacters) {
  const auto tables = businessObject<IUserTablesMD>(company, kUserTablesMD);
  tables->PutTableName(CComBSTR(u"QX"));
  tables->PutTableDescription(CComBSTR(std::u16string(31, u'x')));
  EXPECT_EQ(tables->Add(), kInvalidValue);
  tables->PutTableDescription(CComBSTR(std::u16string(30, u'x')));
  EXPECT_EQ(tables->Add(), 0);
}

TEST_P(MetadataTest, AnObjectIsAsNewAfterAdd) {
  const auto tables = businessObject<IUserTablesMD>(company, kUserTablesMD);
  tables->PutTableName(CComBSTR(u"QX"));
  tables->PutTableDescription(CComBSTR(u"text"));
  tables->PutTableType(3);
  EXPECT_EQ(tables->Add(), 0);
  EXPECT_EQ(tables->GetTableName().View(), u"");
  EXPECT_EQ(tables->GetTableDescription().View(), u"");
  EXPECT_EQ(tables->GetTableType(), 0);
}

TEST_P(MetadataTest, ARemovedTableLeavesNothing) {
  addTable(company, u"QX");
  addField(company, {u"QX", u"A", kAlphaField, 0, 5});
  addKey(company, u"QX", u"K", true, {u"A"});
  const auto tables = businessObject<IUserTablesMD>(company, kUserTablesMD);
  EXPECT_EQ(tables->Remove(), kNotFound);
  EXPECT_EQ(tables->GetByKey(CComBSTR(u"QX")), VARIANT_TRUE);
  EXPECT_EQ(tables->Remove(), 0);
  EXPECT_EQ(rowsOf(company, u"SELECT TableName FROM HVUTAB"), u"");
  EXPECT_EQ(rowsOf(company, u"SELECT AliasID FROM CUFD"), u"");
  EXPECT_EQ(rowsOf(company, u"SELECT KeyName FROM HVUKEY"), u"");
  EXPECT_EQ(rowsOf(company, u"SELECT ColumnAlias FROM HVUKCOL"), u"");
  EXPECT_EQ(addTable(company, u"QX"), 0);
  EXPECT_EQ(addKey(company, u"QX", u"K", true, {u"Name"}), 0);
}

// ---- fields

TEST_P(MetadataTest, AFieldHasItsRowInTheDictionary) {
  addTable(company, u"QX");
  EXPECT_EQ(addField(company, {u"QX", u"ExtID", kAlphaField, 0, 5, u"QX"}), 0);
  EXPECT_EQ(addField(company, {u"QX", u"Rdate", kDateField, 0, 0, u"GETDATE()"}), 0);
  EXPECT_EQ(rowsOf(company,
                   u"SELECT TableID, FieldID, AliasID, FieldType, FieldSubType, FieldSize, "
                   u"EditSize, DefaultValue, Mandatory, LinkedTable FROM CUFD ORDER BY FieldID"),
            u"@QX|0|ExtID|0|0|5|5|QX|N|\n@QX|1|Rdate|3|0|0|0|GETDATE()|N|");
  EXPECT_EQ(
      rowsOf(company, u"SELECT FieldID FROM CUFD WHERE TableID = '@QX' AND AliasID = 'Rdate'"),
      u"1");
}

TEST_P(MetadataTest, FieldsCountFromZeroInEachTable) {
  addTable(company, u"A");
  addTable(company, u"B");
  addField(company, {u"A", u"X", kNumericField});
  addField(company, {u"A", u"Y", kNumericField});
  addField(company, {u"B", u"Z", kNumericField});
  EXPECT_EQ(loadField(company, u"@A", 1)->GetName().View(), u"Y");
  EXPECT_EQ(loadField(company, u"@B", 0)->GetName().View(), u"Z");
  const auto fields = businessObject<IUserFieldsMD>(company, kUserFieldsMD);
  EXPECT_EQ(fields->GetByKey(CComBSTR(u"@B"), 1), VARIANT_FALSE);
  EXPECT_EQ(fields->GetByKey(CComBSTR(u"@C"), 0), VARIANT_FALSE);
}

TEST_P(MetadataTest, ASystemTableTakesFieldsUnderItsPlainName) {
  EXPECT_EQ(addField(company, {u"HVPARTN", u"Grade", kAlphaField, 0, 2, u"A1"}), 0);
  EXPECT_EQ(rowsOf(company, u"SELECT TableID, AliasID FROM CUFD"), u"HVPARTN|Grade");
  EXPECT_EQ(rowsOf(company, u"SELECT U_Grade FROM HVPARTN WHERE PartnerNo = 'C1000'"), u"A1");
}

TEST_P(MetadataTest, AnExistingFieldIsNotAddedAgain) {
  addTable(company, u"QX");
  EXPECT_EQ(addField(company, {u"QX", u"A", kAlphaField, 0, 5}), 0);
  EXPECT_EQ(addField(company, {u"QX", u"a", kAlphaField, 0, 5}), -2107);
  EXPECT_EQ(lastError(company).text, u"The field 'a' already exists in the table '@QX'.");
}

TEST_P(MetadataTest, AFieldNeedsItsTable) {
  EXPECT_EQ(addField(company, {u"NONE", u"A", kAlphaField, 0, 5}), kNotFound);
  EXPECT_EQ(lastError(company).text, u"There is no table 'NONE'.");
}

TEST_P(MetadataTest, AFieldNeedsAGoodNameTypeAndSize) {
  addTable(company, u"QX");
  EXPECT_EQ(addField(company, {u"QX", u"", kAlphaField, 0, 5}), kInvalidValue);
  EXPECT_EQ(addField(company, {u"QX", u"A-B", kAlphaField, 0, 5}), kInvalidValue);
  EXPECT_EQ(addField(company, {u"QX", u"A", 5, 0, 5}), kInvalidValue);
  EXPECT_EQ(lastError(company).text, u"The field 'A' has the unknown type 5.");
  EXPECT_EQ(addField(company, {u"QX", u"A", kAlphaField, 0, 0}), kInvalidValue);
  EXPECT_EQ(addField(company, {u"QX", u"A", kAlphaField, 0, 255}), kInvalidValue);
  EXPECT_EQ(lastError(company).text, u"The size of the field 'A' must be between 1 and 254.");
  EXPECT_EQ(addField(company, {u"QX", u"A", kNumericField, 0, 12}), kInvalidValue);
  EXPECT_EQ(addField(company, {u"QX", u"A", kAlphaField, 0, 254}), 0);
  EXPECT_EQ(addField(company, {u"QX", u"B", kNumericField, 0, 11}), 0);
}

TEST_P(MetadataTest, SizeReadsBackBeforeAdd) {
  const auto fields = businessObject<IUserFieldsMD>(company, kUserFieldsMD);
  fields->PutSize(15);
  EXPECT_EQ(fields->GetSize(), 15);
  EXPECT_EQ(fields->GetEditSize(), 15);
  fields->PutEditSize(20);
  EXPECT_EQ(fields->GetSize(), 15);
  EXPECT_EQ(fields->GetEditSize(), 20);
  fields->PutName(CComBSTR(u"A"));
  EXPECT_EQ(fields->GetName().View(), u"A");
}

TEST_P(MetadataTest, ADefaultFillsWhatAnInsertLeavesOut) {
  addTable(company, u"QX");
  EXPECT_EQ(addField(company, {u"QX", u"T", kAlphaField, 0, 5, u"a'b"}), 0);
  EXPECT_EQ(addField(company, {u"QX", u"N", kNumericField, 0, 9, u"42"}), 0);
  EXPECT_EQ(addField(company, {u"QX", u"F", kFloatField, 80, 0, u"1.5"}), 0);
  EXPECT_EQ(addField(company, {u"QX", u"D", kDateField, 0, 0, u"20240229"}), 0);
  EXPECT_EQ(addField(company, {u"QX", u"H", kDateField, kTimeSubType, 0, u"09:30"}), 0);
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('1', '1')");
  EXPECT_EQ(rowsOf(company, u"SELECT U_T, U_N, U_F, U_D, U_H FROM [@QX]"),
            u"a'b|42|1.5|2024-02-29 00:00:00|930");
}

TEST_P(MetadataTest, ADefaultThatDoesNotSuitItsFieldIsRefused) {
  addTable(company, u"QX");
  EXPECT_EQ(addField(company, {u"QX", u"A", kAlphaField, 0, 2, u"abc"}), kInvalidValue);
  EXPECT_EQ(addField(company, {u"QX", u"A", kNumericField, 0, 9, u"1.5"}), kInvalidValue);
  EXPECT_EQ(addField(company, {u"QX", u"A", kFloatField, 80, 0, u"nan"}), kInvalidValue);
  EXPECT_EQ(addField(company, {u"QX", u"A", kFloatField, 80, 0, u"1); DROP TABLE HVCOMP"}),
            kInvalidValue);
  EXPECT_EQ(addField(company, {u"QX", u"A", kDateField, 0, 0, u"20240231"}), kInvalidValue);
  EXPECT_EQ(lastError(company).text,
            u"The default value '20240231' of the field 'A' is not a date. Write YYYYMMDD or "
            u"GETDATE().");
  EXPECT_EQ(addField(company, {u"QX", u"A", kDateField, kTimeSubType, 0, u"2460"}), kInvalidValue);
  EXPECT_EQ(rowsOf(company, u"SELECT AliasID FROM CUFD"), u"");
}

TEST_P(MetadataTest, CurrentTimeAsDefaultIsTheTimeOfTheInsert) {
  addTable(company, u"QX");
  EXPECT_EQ(addField(company, {u"QX", u"D", kDateField, 0, 0, u"GETDATE()"}), 0);
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('1', '1')");
  query(company, u"INSERT INTO [@QX] (Code, Name, U_D) VALUES ('2', '2', NULL)");
  EXPECT_EQ(rowsOf(company, u"SELECT Code FROM [@QX] WHERE U_D > '20250101'"), u"1");
}

TEST_P(MetadataTest, CurrentTimeAsDefaultCanBeAddedToATableWithRows) {
  addTable(company, u"QX");
  addField(company, {u"QX", u"A", kAlphaField, 0, 5, u"x"});
  addKey(company, u"QX", u"K", true, {u"A", u"Name"});
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('1', '1')");
  EXPECT_EQ(addField(company, {u"QX", u"D", kDateField, 0, 0, u"getdate()"}), 0);
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('2', '2')");
  EXPECT_EQ(rowsOf(company, u"SELECT Code, U_A FROM [@QX] WHERE U_D > '20250101' ORDER BY Code"),
            u"1|x\n2|x");
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] {
              rows->DoQuery(CComBSTR(u"INSERT INTO [@QX] (Code, Name) VALUES ('3', '2')"));
            }),
            -2000)
      << "the unique key is lost";
}

TEST_P(MetadataTest, AMandatoryFieldRefusesNull) {
  addTable(company, u"QX");
  EXPECT_EQ(addField(company, {u"QX", u"A", kAlphaField, 0, 5, u"", true}), 0);
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] {
              rows->DoQuery(CComBSTR(u"INSERT INTO [@QX] (Code, Name) VALUES ('1', '1')"));
            }),
            -2000);
  EXPECT_EQ(lastError(company).text,
            words(u"NOT NULL constraint failed: @QX.U_A",
                  u"null value in column \"u_a\" of relation \"@qx\" violates not-null "
                  u"constraint (Failing row contains (1, 1, null).)"));
  EXPECT_EQ(rowsOf(company, u"SELECT Mandatory FROM CUFD"), u"Y");
}

TEST_P(MetadataTest, AMandatoryFieldOfATableWithRowsNeedsADefault) {
  addTable(company, u"QX");
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('1', '1')");
  EXPECT_EQ(addField(company, {u"QX", u"A", kAlphaField, 0, 5, u"", true}), kInvalidValue);
  EXPECT_EQ(lastError(company).text,
            u"The mandatory field 'A' needs a default value, since the table '@QX' has rows.");
  EXPECT_EQ(addField(company, {u"QX", u"A", kAlphaField, 0, 5, u"x", true}), 0);
  EXPECT_EQ(rowsOf(company, u"SELECT U_A FROM [@QX]"), u"x");
}

TEST_P(MetadataTest, ValidValuesAreSetFirstAndThenAdded) {
  addTable(company, u"QX");
  const auto fields = businessObject<IUserFieldsMD>(company, kUserFieldsMD);
  fields->PutTableName(CComBSTR(u"QX"));
  fields->PutName(CComBSTR(u"Kind"));
  fields->PutSize(1);
  fields->PutLinkedTable(CComBSTR(u"OTHER"));
  const auto values = fields->GetValidValues();
  EXPECT_EQ(values->Count(), 0);
  for (const char16_t* value : {u"Y", u"N"}) {
    values->PutValue(CComBSTR(value));
    values->PutDescription(CComBSTR(u"text"));
    values->Add();
  }
  EXPECT_EQ(values->Count(), 2);
  EXPECT_EQ(fields->Add(), 0);
  EXPECT_EQ(values->Count(), 0);
  EXPECT_EQ(rowsOf(company, u"SELECT FieldID, ValueNo, FieldValue, Description FROM HVUFVAL"),
            u"0|0|Y|text\n0|1|N|text");
  const auto found = loadField(company, u"QX", 0);
  EXPECT_EQ(found->GetValidValues()->Count(), 2);
  EXPECT_EQ(found->GetLinkedTable().View(), u"OTHER");
}

TEST_P(MetadataTest, ValidValuesAreNotEnforcedOnRows) {
  addTable(company, u"QX");
  const auto fields = businessObject<IUserFieldsMD>(company, kUserFieldsMD);
  fields->PutTableName(CComBSTR(u"QX"));
  fields->PutName(CComBSTR(u"Kind"));
  fields->PutSize(1);
  const auto values = fields->GetValidValues();
  values->PutValue(CComBSTR(u"Y"));
  values->Add();
  EXPECT_EQ(fields->Add(), 0);
  EXPECT_EQ(rowsOf(company, u"SELECT FieldValue FROM HVUFVAL"), u"Y");
  query(company, u"INSERT INTO [@QX] (Code, Name, U_Kind) VALUES ('1', '1', 'Z')");
  EXPECT_EQ(rowsOf(company, u"SELECT U_Kind FROM [@QX]"), u"Z");
}

TEST_P(MetadataTest, ValidValuesMustFitAndDifferAndBeSet) {
  addTable(company, u"QX");
  const auto fields = businessObject<IUserFieldsMD>(company, kUserFieldsMD);
  const auto values = fields->GetValidValues();
  EXPECT_EQ(raisedBy([&] { values->Add(); }), kInvalidValue);
  fields->PutTableName(CComBSTR(u"QX"));
  fields->PutName(CComBSTR(u"Kind"));
  fields->PutSize(1);
  values->PutValue(CComBSTR(u"AB"));
  values->Add();
  EXPECT_EQ(fields->Add(), kInvalidValue);
  EXPECT_EQ(lastError(company).text, u"The valid value 'AB' does not fit into the field 'Kind'.");
  fields->PutSize(2);
  values->PutValue(CComBSTR(u"AB"));
  values->Add();
  EXPECT_EQ(fields->Add(), kInvalidValue);
  EXPECT_EQ(lastError(company).text, u"The field 'Kind' has the valid value 'AB' twice.");
}

TEST_P(MetadataTest, AFieldCanGrowAndKeepsItsRowsAndKeys) {
  addTable(company, u"QX");
  addField(company, {u"QX", u"A", kAlphaField, 0, 2, u"x"});
  addField(company, {u"QX", u"B", kNumericField, 0, 9});
  addKey(company, u"QX", u"K", true, {u"A"});
  query(company, u"INSERT INTO [@QX] (Code, Name, U_A, U_B) VALUES ('1', 'n', 'ab', 7)");
  const auto field = loadField(company, u"@QX", 0);
  field->PutSize(4);
  field->PutEditSize(4);
  field->PutDescription(CComBSTR(u"Longer"));
  field->PutDefaultValue(CComBSTR(u"wxyz"));
  EXPECT_EQ(field->Update(), 0);
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('2', 'm')");
  EXPECT_EQ(rowsOf(company, u"SELECT Code, Name, U_A, U_B FROM [@QX] ORDER BY Code"),
            u"1|n|ab|7\n2|m|wxyz|0");
  EXPECT_EQ(loadField(company, u"@QX", 0)->GetDescription().View(), u"Longer");
  EXPECT_EQ(loadField(company, u"@QX", 0)->GetSize(), 4);
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] {
              rows->DoQuery(
                  CComBSTR(u"INSERT INTO [@QX] (Code, Name, U_A) VALUES "
                           u"('3', 'o', 'ab')"));
            }),
            -2000);
}

TEST_P(MetadataTest, AFieldCannotShrinkOrChangeItsType) {
  addTable(company, u"QX");
  addField(company, {u"QX", u"A", kAlphaField, 0, 4});
  const auto field = loadField(company, u"@QX", 0);
  field->PutSize(3);
  EXPECT_EQ(field->Update(), kInvalidValue);
  EXPECT_EQ(lastError(company).text,
            u"The field 'A' cannot become smaller than its present size 4.");
  field->PutSize(4);
  field->PutType(kMemoField);
  EXPECT_EQ(field->Update(), kInvalidValue);
}

TEST_P(MetadataTest, OnlyALoadedFieldIsUpdated) {
  const auto fields = businessObject<IUserFieldsMD>(company, kUserFieldsMD);
  EXPECT_EQ(fields->Update(), kNotFound);
  EXPECT_EQ(lastError(company).text, u"No object is loaded. Call GetByKey first.");
}

TEST_P(MetadataTest, EveryFieldTypeReadsBackAsItWasAdded) {
  addTable(company, u"P");
  std::mt19937 random(7);
  std::vector<FieldSetup> added;
  for (int i = 0; i < 60; ++i) {
    FieldSetup setup{u"P", u"F" + std::u16string(1, static_cast<char16_t>(u'A' + i % 26)) +
                               std::u16string(1, static_cast<char16_t>(u'A' + i / 26))};
    setup.type = static_cast<long>(random() % 5);
    if (setup.type == kAlphaField) setup.size = 1 + static_cast<long>(random() % 254);
    if (setup.type == kNumericField) setup.size = 1 + static_cast<long>(random() % 11);
    if (setup.type == kDateField && random() % 2 == 0) setup.subType = kTimeSubType;
    if (setup.type == kFloatField) setup.subType = random() % 2 == 0 ? 80 : 37;
    if (random() % 3 == 0) setup.defaultValue = setup.type == kDateField ? u"0" : u"1";
    if (setup.type == kDateField && setup.subType == 0) setup.defaultValue = u"GETDATE()";
    ASSERT_EQ(addField(company, setup), 0) << i;
    added.push_back(setup);
    if (i == 30) query(company, u"INSERT INTO [@P] (Code, Name) VALUES ('1', '1')");
  }
  for (std::size_t i = 0; i < added.size(); ++i) {
    const auto field = loadField(company, u"@P", static_cast<long>(i));
    EXPECT_EQ(field->GetName().View(), added[i].name);
    EXPECT_EQ(field->GetType(), added[i].type);
    EXPECT_EQ(field->GetSubType(), added[i].subType);
    EXPECT_EQ(field->GetSize(), added[i].size);
    EXPECT_EQ(field->GetDefaultValue().View(), added[i].defaultValue);
  }
  EXPECT_EQ(query(company, u"SELECT * FROM [@P]")->GetFields()->Count(), 62);
}

QX_TEST_ON_ALL_ENGINES(MetadataTest);

}  // namespace
}  // namespace qx::desk
