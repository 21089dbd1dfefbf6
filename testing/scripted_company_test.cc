#include "testing/scripted_company.h"

#include "qxframework/host/metadata.h"
#include "qxframework/host/recordset.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx::test {
namespace {

using testing::ElementsAre;

class ScriptedCompanyTest : public testing::Test {
 protected:
  ScriptedCompanyTest() { company->otherwise = {{u"Code", u"Name"}, {{u"A", 1L}, {u"B", 2L}}}; }
  CComPtr<IRecordset> recordset() {
    return CComQIPtr<IRecordset>(company->GetBusinessObject(kRecordset));
  }
  template <class Index>
  static CComVariant cell(const CComPtr<IRecordset>& rows, const Index& index) {
    return rows->GetFields()->Item(CComVariant(index))->GetValue();
  }

  CComPtr<ScriptedCompany> company = makeScriptedCompany();
};

TEST_F(ScriptedCompanyTest, RowsAreReadByNameAndByNumber) {
  const auto rows = recordset();
  rows->DoQuery(u"any");
  EXPECT_EQ(cell(rows, u"Name").lVal, 1);
  EXPECT_EQ(cell(rows, 1L).lVal, 1);
  EXPECT_EQ(rows->GetFields()->Count(), 2);
  EXPECT_THROW(cell(rows, u"Price"), _com_error);
  EXPECT_THROW(cell(rows, 2L), _com_error);
}

TEST_F(ScriptedCompanyTest, CursorGoesBeforeTheFirstRowAndAfterTheLast) {
  const auto rows = recordset();
  rows->DoQuery(u"any");
  rows->MovePrevious();
  EXPECT_EQ(rows->GetBoF(), VARIANT_TRUE);
  EXPECT_THROW(cell(rows, u"Name"), _com_error);
  rows->MoveNext();
  EXPECT_EQ(cell(rows, u"Name").lVal, 1);
  rows->MoveLast();
  EXPECT_EQ(rows->GetEoF(), VARIANT_FALSE);
  rows->MoveNext();
  EXPECT_EQ(rows->GetEoF(), VARIANT_TRUE);
  EXPECT_THAT(company->calls.of("Recordset."),
              ElementsAre("MovePrevious", "MoveNext", "MoveLast", "MoveNext"));
}

TEST_F(ScriptedCompanyTest, ATransactionIsOpenFromItsStartToItsEnd) {
  EXPECT_EQ(company->GetInTransaction(), VARIANT_FALSE);
  company->calls.failures["Company.StartTransaction"] = E_FAIL;
  EXPECT_EQ(company->raw_StartTransaction(), E_FAIL);
  EXPECT_EQ(company->GetInTransaction(), VARIANT_FALSE);
  company->calls.failures.clear();
  company->StartTransaction();
  EXPECT_EQ(company->GetInTransaction(), VARIANT_TRUE);
  company->calls.failures["Company.EndTransaction"] = E_FAIL;
  EXPECT_EQ(company->raw_EndTransaction(et_RollBack), E_FAIL);
  EXPECT_EQ(company->GetInTransaction(), VARIANT_FALSE);
  EXPECT_THAT(company->calls.calls,
              ElementsAre("Company.StartTransaction", "Company.StartTransaction",
                          "Company.EndTransaction(1)"));
}

TEST_F(ScriptedCompanyTest, AnswersItsStatementsBeforeAllOthers) {
  company->answer(u"known", {{CComVariant(7L)}});
  const auto rows = recordset();
  rows->DoQuery(u"known");
  EXPECT_EQ(cell(rows, 0L).lVal, 7);
  rows->DoQuery(u"other");
  EXPECT_EQ(rows->GetRecordCount(), 2);
  EXPECT_THAT(company->statements(), ElementsAre("known", "other"));
}

TEST_F(ScriptedCompanyTest, StatementsFailByNumberAndByKind) {
  company->failStatement = 2;
  company->calls.failures["SQL delete"] = E_ACCESSDENIED;
  const CComBSTR select(u"select 1");
  const CComBSTR remove(u"delete from T");
  const auto rows = recordset();
  EXPECT_EQ(rows->raw_DoQuery(select), S_OK);
  EXPECT_EQ(rows->raw_DoQuery(select), resultCode(-2000));
  EXPECT_EQ(rows->raw_DoQuery(remove), E_ACCESSDENIED);
  EXPECT_EQ(company->runs.size(), 3U);
}

TEST_F(ScriptedCompanyTest, DictionaryRefusesAnEntryThatExists) {
  company->tables = {{u"T", u"", 0}};
  const CComQIPtr<IUserTablesMD> tables(company->GetBusinessObject(kUserTablesMD));
  tables->PutTableName(u"T");
  EXPECT_EQ(tables->Add(), FakeDictionary::kAlreadyThere);
  tables->PutTableName(u"U");
  EXPECT_EQ(tables->Add(), 0);
  EXPECT_EQ(company->tables.size(), 2U);
}

TEST_F(ScriptedCompanyTest, FieldOfTheDictionaryIsFoundByNumberAndChanged) {
  company->fields = {{.table = u"T", .name = u"A"}, {.table = u"T", .name = u"B", .size = 5}};
  const CComQIPtr<IUserFieldsMD> field(company->GetBusinessObject(kUserFieldsMD));
  EXPECT_EQ(field->GetByKey(u"@T", 2), VARIANT_FALSE);
  EXPECT_EQ(field->GetByKey(u"@T", 1), VARIANT_TRUE);
  field->PutSize(9);
  EXPECT_EQ(company->field(u"B")->size, 5);
  EXPECT_EQ(field->Update(), 0);
  EXPECT_EQ(company->field(u"B")->size, 9);
}

}  // namespace
}  // namespace qx::test
