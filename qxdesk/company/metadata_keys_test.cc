#include "qxdesk/company/test_support.h"
#include "qxdesk/company/user_keys_md.h"
#include "qxframework/automation/text.h"

namespace qx::desk {
namespace {

class MetadataKeysTest : public CompanyTest {};

TEST_P(MetadataKeysTest, AUniqueKeyRefusesEqualRows) {
  addTable(company, u"QX");
  addField(company, {u"QX", u"A", kAlphaField, 0, 5});
  EXPECT_EQ(addKey(company, u"QX", u"K1", true, {u"U_A", u"Name"}), 0);
  EXPECT_EQ(rowsOf(company, u"SELECT TableName, KeyNo, KeyName, IsUnique FROM HVUKEY"),
            u"@QX|0|K1|Y");
  EXPECT_EQ(rowsOf(company, u"SELECT ColumnNo, ColumnAlias FROM HVUKCOL ORDER BY ColumnNo"),
            u"0|U_A\n1|Name");
  query(company, u"INSERT INTO [@QX] (Code, Name, U_A) VALUES ('1', 'n', 'x')");
  query(company, u"INSERT INTO [@QX] (Code, Name, U_A) VALUES ('2', 'n', 'y')");
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] {
              rows->DoQuery(
                  CComBSTR(u"INSERT INTO [@QX] (Code, Name, U_A) VALUES "
                           u"('3', 'n', 'x')"));
            }),
            -2000);
}

TEST_P(MetadataKeysTest, KeysCountFromZeroWithoutGaps) {
  addTable(company, u"QX");
  for (const char16_t* name : {u"K0", u"K1", u"K2"}) {
    EXPECT_EQ(addKey(company, u"@QX", name, false, {u"Name"}), 0);
  }
  const auto keys = businessObject<IUserKeysMD>(company, kUserKeysMD);
  EXPECT_EQ(keys->GetByKey(CComBSTR(u"@QX"), 0), VARIANT_TRUE);
  EXPECT_EQ(keys->GetKeyName().View(), u"K0");
  EXPECT_EQ(keys->GetElements()->Count(), 1);
  EXPECT_EQ(keys->Remove(), 0);
  EXPECT_EQ(keys->GetByKey(CComBSTR(u"@QX"), 0), VARIANT_TRUE);
  EXPECT_EQ(keys->GetKeyName().View(), u"K1");
  EXPECT_EQ(keys->GetByKey(CComBSTR(u"@QX"), 2), VARIANT_FALSE);
  EXPECT_EQ(keys->GetByKey(CComBSTR(u"@QX"), -1), VARIANT_FALSE);
  EXPECT_EQ(addKey(company, u"QX", u"K0", true, {u"Name"}), 0);
  EXPECT_EQ(keys->GetByKey(CComBSTR(u"@QX"), 2), VARIANT_TRUE);
  EXPECT_EQ(keys->GetKeyName().View(), u"K0");
}

TEST_P(MetadataKeysTest, ARemovedKeyNoLongerRefusesEqualRows) {
  addTable(company, u"QX");
  addKey(company, u"QX", u"K", true, {u"Name"});
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('1', 'n')");
  const auto keys = businessObject<IUserKeysMD>(company, kUserKeysMD);
  EXPECT_EQ(keys->Remove(), kNotFound);
  EXPECT_EQ(keys->GetByKey(CComBSTR(u"QX"), 0), VARIANT_TRUE);
  EXPECT_EQ(keys->Remove(), 0);
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('2', 'n')");
  EXPECT_EQ(rowsOf(company, u"SELECT Code FROM [@QX] ORDER BY Code"), u"1\n2");
}

TEST_P(MetadataKeysTest, AKeyNeedsANameAndColumns) {
  addTable(company, u"QX");
  EXPECT_EQ(addKey(company, u"QX", u"", false, {u"Name"}), kInvalidValue);
  EXPECT_EQ(addKey(company, u"QX", u"K2345678901", false, {u"Name"}), kInvalidValue);
  EXPECT_EQ(lastError(company).text, u"The key name 'K2345678901' is longer than 10 characters.");
  EXPECT_EQ(addKey(company, u"QX", u"K", false, {}), kInvalidValue);
  EXPECT_EQ(lastError(company).text, u"The key 'K' of the table '@QX' needs at least one column.");
  EXPECT_EQ(addKey(company, u"QX", u"K", false, {u"Nope"}), kNotFound);
  EXPECT_EQ(lastError(company).text, u"There is no column 'Nope' in the table '@QX' for the key.");
  EXPECT_EQ(addKey(company, u"QX", u"K", false, {u"Name", u"name"}), kInvalidValue);
  EXPECT_EQ(addKey(company, u"NONE", u"K", false, {u"Name"}), kNotFound);
  EXPECT_EQ(addKey(company, u"QX", u"K234567890", false, {u"Name"}), 0);
  EXPECT_EQ(addKey(company, u"QX", u"k234567890", false, {u"Name"}), -2107);
  const auto elements = businessObject<IUserKeysMD>(company, kUserKeysMD)->GetElements();
  EXPECT_EQ(raisedBy([&] { elements->Add(); }), kInvalidValue);
}

TEST_P(MetadataKeysTest, AUniqueKeyOverEqualRowsIsRefused) {
  addTable(company, u"QX");
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('1', 'n')");
  query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('2', 'n')");
  EXPECT_EQ(addKey(company, u"QX", u"K", true, {u"Name"}), kInvalidValue);
  EXPECT_EQ(lastError(company).text,
            u"The table '@QX' has rows that are equal in the columns of the unique key 'K'.");
  EXPECT_EQ(rowsOf(company, u"SELECT KeyName FROM HVUKEY"), u"");
}

// ---- across connections and transactions

TEST_P(MetadataKeysTest, AnotherConnectionSeesTheNewFieldAtOnce) {
  addTable(company, u"QX");
  const CComPtr<ICompany> other = another();
  EXPECT_EQ(rowsOf(other, u"SELECT Code FROM [@QX]"), u"");
  EXPECT_EQ(addField(company, {u"QX", u"D", kDateField}), 0);
  query(other, u"INSERT INTO [@QX] (Code, Name, U_D) VALUES ('1', '1', '20240131')");
  EXPECT_EQ(rowsOf(other, u"SELECT MAX(U_D) FROM [@QX]"), u"2024-01-31 00:00:00");
}

TEST_P(MetadataKeysTest, ARollbackUndoesDictionaryAndTable) {
  company->StartTransaction();
  EXPECT_EQ(addTable(company, u"QX"), 0);
  EXPECT_EQ(addField(company, {u"QX", u"A", kNumericField}), 0);
  EXPECT_EQ(addTable(company, u"QX"), -2107);
  EXPECT_EQ(company->GetInTransaction(), VARIANT_TRUE);
  company->EndTransaction(et_RollBack);
  EXPECT_EQ(rowsOf(company, u"SELECT TableName FROM HVUTAB"), u"");
  EXPECT_EQ(addTable(company, u"QX"), 0);
}

TEST_P(MetadataKeysTest, AFailureAtAnyStatementLeavesNoHalfOfAChange) {
  FaultPlan plan;
  const CComPtr<ICompany> failing = connectThrough(failingOpen(&plan), target());
  const auto isThere = [&](const std::u16string& in, const std::u16string& of) {
    return rowsOf(failing, u"SELECT COUNT(*) FROM " + in + u" = N'" + of + u"'") == u"1";
  };
  for (int refuse = 1;; ++refuse) {
    const std::u16string name = u"QX" + toUtf16(std::to_string(refuse));
    plan = FaultPlan{0, refuse, Fault::Full};
    const bool done = addTable(failing, name) == 0 &&
                      addField(failing, {name, u"A", kAlphaField, 0, 5}) == 0 &&
                      addKey(failing, name, u"K", true, {u"A"}) == 0;
    plan = FaultPlan{};
    if (done) {
      EXPECT_GT(refuse, 10);  // so many statements did fail
      break;
    }
    EXPECT_EQ(failing->GetInTransaction(), VARIANT_FALSE);
    if (!isThere(u"HVUTAB WHERE TableName", name)) {
      EXPECT_EQ(addTable(failing, name), 0) << refuse;
    }
    if (!isThere(u"CUFD WHERE TableID", u"@" + name)) {
      EXPECT_EQ(addField(failing, {name, u"A", kAlphaField, 0, 5}), 0) << refuse;
    }
    const bool key = isThere(u"HVUKEY WHERE TableName", u"@" + name);
    EXPECT_EQ(addKey(failing, name, u"K", true, {u"A"}), key ? -2107 : 0) << refuse;
  }
}

QX_TEST_ON_ALL_ENGINES(MetadataKeysTest);

}  // namespace
}  // namespace qx::desk
