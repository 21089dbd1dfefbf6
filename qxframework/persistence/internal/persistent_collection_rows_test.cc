// A collection's operations on rows: those through an object, and the search.

#include "qxframework/persistence/internal/persistent_collection_fixture.h"

#include <gmock/gmock.h>

#include <cmath>

namespace Persistence {
namespace {

using namespace qx::test;
using testing::ElementsAre;

using CollectionRows = CollectionFixture;

INSTANTIATE_TEST_SUITE_P(Each, CollectionRows, eachDialect(), nameOf<DialectParam>);

TEST_P(CollectionRows, SettingsAreCopiedWithoutJoins) {
  collection->SetUserTable(true);
  collection->SetCorrelationName(u"T0");
  collection->SetFields({u"Code"});
  collection->AddLinkTable(CQXLinkTableCriteria(u"B", u"T1", jm_Inner, false));
  object->SetConditions(codeIs(u"mine"));
  collection->CopySettingsToObject(object.get(), false, true);
  EXPECT_EQ(utf8(object->GetMasterTable()), "OFPR");
  EXPECT_EQ(utf8(object->GetCorrelationName()), "T0");
  EXPECT_EQ(object->GetKeyFields(), collection->GetKeyFields());
  EXPECT_EQ(object->GetFields(), collection->GetFields());
  EXPECT_TRUE(object->IsUserTable());
  EXPECT_FALSE(object->HasLinkTables());
  EXPECT_EQ(shown(object->GetConditions()), "Code|1|98|VT_BSTR|mine");
}

TEST_P(CollectionRows, SettingsIncludeTheConditionsOfTheRowOrOfTheObject) {
  refresh();
  object->GetFieldValues() = values({{u"Code", u"own"}});
  collection->CopySettingsToObject(object.get(), true, false);
  EXPECT_EQ(shown(object->GetConditions()), "Code|1|98|VT_BSTR|own");
  collection->CopySettingsToObject(object.get(), false, false);
  EXPECT_EQ(shown(object->GetConditions()), "Code|1|98|VT_BSTR|A");
}

TEST_P(CollectionRows, CopiedKeyFieldsStayValidAfterTheCollection) {
  collection->SetKeyFields({});
  collection->SetConditions(codeIs(u"A"));
  refresh();
  collection->CopySettingsToObject(object.get(), false, true);
  collection.reset();
  ASSERT_EQ(object->GetKeyFields().size(), 1U);
  EXPECT_EQ(qx::viewOf(object->GetKeyFields()[0]), u"Code");
}

TEST_P(CollectionRows, AddRunsTheObjectsInsert) {
  object->GetFieldValues() = values({{u"Code", u"own"}, {u"U_N", 3.5}});
  collection->Add(object.get());
  EXPECT_EQ(shown(object->GetConditions()), "Code|1|98|VT_BSTR|own");
  EXPECT_EQ(company->statementTexts().back(), object->InsertText(CComBSTR()).View());
}

TEST_P(CollectionRows, ExistsRunsASelectByTheGivenConditions) {
  company->otherwise.rows.resize(1);
  EXPECT_TRUE(collection->Exists(codeIs(u"X"), object.get()));
  EXPECT_EQ(company->runs.back().recordset, 2);
  EXPECT_NE(company->runs.back().statement.find(u" = N'X'"), std::u16string::npos);
  company->otherwise.rows.clear();
  object.reset(CQXPersistenceFactory(CComPtr<ICompany>(company)).CreatePersistentObject());
  EXPECT_FALSE(collection->Exists(codeIs(u"X"), object.get()));
}

TEST_P(CollectionRows, UpdateReplacesTheKeyOfTheRowByTheGivenValues) {
  refresh();
  object->GetFieldValues() = values({{u"Code", u"A"}, {u"U_N", 3.5}});
  collection->Update(codeIs(u"Z"), object.get(), values({{u"Code", u"not read"}}));
  EXPECT_EQ(
      company->runs.back().statement,
      (GetParam().name == "KORDB" ? u"UPDATE \"OFPR\"  SET \"U_N\" = 3.5  WHERE \"Code\" = N'Z'"
                                  : u"UPDATE OFPR  SET U_N = 3.5  WHERE Code = N'Z'"));
}

TEST_P(CollectionRows, RemoveOfAnObjectComparesTheGivenValues) {
  refresh();
  collection->Remove(codeIs(u"Z"), object.get(), {});
  EXPECT_EQ(company->runs.back().recordset, 2);
  EXPECT_EQ(company->runs.back().statement,
            (GetParam().name == "KORDB" ? u"DELETE FROM \"OFPR\"  WHERE \"Code\" = N'Z'"
                                        : u"DELETE FROM OFPR  WHERE Code = N'Z'"));
}

TEST_P(CollectionRows, RowOperationsRefuseOtherColumnsThanTheKey) {
  refresh();
  const auto other = conditions({{u"U_N", co_Equal, u"1"}});
  EXPECT_EQ(refusalOf([&] { collection->Update(other, object.get(), {}); }),
            "-1: Field mismatch - field Code expected, U_N received");
  EXPECT_EQ(refusalOf([&] { collection->Remove(other, object.get(), {}); }),
            "-1: Field mismatch - field Code expected, U_N received");
  EXPECT_EQ(company->runs.size(), 1U);
}

TEST_P(CollectionRows, RowOperationsNeedACurrentRow) {
  company->otherwise.rows.clear();
  refresh();
  EXPECT_EQ(refusalOf([&] { collection->Update(codeIs(u"A"), object.get(), {}); }),
            "-1: No valid current record found");
  EXPECT_EQ(refusalOf([&] { collection->Remove(codeIs(u"A"), object.get(), {}); }),
            "-1: No valid current record found");
}

TEST_P(CollectionRows, FindStopsOnTheFirstMatchAndLoadsIt) {
  refresh();
  collection->FindInRecordSet(
      conditions({{u"Code", co_Equal, u"B"}, {u"U_N", co_Equal, u"2.5", u"VT_R8"}}), object.get());
  EXPECT_EQ(code(), "B");
  EXPECT_THAT(company->calls.of("Recordset."), ElementsAre("MoveFirst", "MoveNext"));
  EXPECT_EQ(company->runs.size(), 1U);
  EXPECT_EQ(log(),
            (std::vector<LogRecord>{
                {0, u"", 3, u"CQXPersistentCollection::FindInRecordSet",
                 u"Notice the performance: trying to find in record set from 2 records in table "
                 u"OFPR"}}));
}

TEST_P(CollectionRows, FindComparesTextsWithTheirCase) {
  refresh();
  EXPECT_EQ(refusalOf([&] { collection->FindInRecordSet(codeIs(u"b"), object.get()); }),
            "-1: No match found");
  EXPECT_TRUE(collection->Eof());
}

TEST_P(CollectionRows, FindComparesAllConditions) {
  refresh();
  EXPECT_FALSE(collection->FindInRecordSetNoThrow(
      conditions({{u"Code", co_Equal, u"B"}, {u"U_N", co_Equal, u"3.5"}}), object.get()));
}

TEST_P(CollectionRows, FindWithoutConditionsMatchesNothing) {
  refresh();
  EXPECT_EQ(refusalOf([&] {
              collection->FindInRecordSet(CConditions::CreateNewInstance(), object.get());
            }),
            "-1: No match found");
  EXPECT_EQ(refusalOf([&] { collection->FindInRecordSet({}, object.get()); }),
            "-1: No match found");
  EXPECT_THAT(logger.messages(3),
              ElementsAre(u"Notice the performance: trying to find in record set from 0 records in "
                          u"table OFPR",
                          u"Notice the performance: trying to find in record set from 0 records in "
                          u"table OFPR"));
}

TEST_P(CollectionRows, FindAllowsEqualOnly) {
  refresh();
  EXPECT_EQ(refusalOf([&] {
              collection->FindInRecordSet(conditions({{u"Code", co_Like, u"B"}}), object.get());
            }),
            "-1: Only EQUAL is allowed as condition operator");
}

TEST_P(CollectionRows, FindChecksALaterConditionOnlyIfTheFormerMatch) {
  refresh();
  const auto list = conditions({{u"Code", co_Equal, u"Z"}, {u"U_N", co_Less, u"1"}});
  EXPECT_EQ(refusalOf([&] { collection->FindInRecordSet(list, object.get()); }),
            "-1: No match found");
}

TEST_P(CollectionRows, FindComparesADateInTheFormForConditions) {
  company->otherwise = {{u"Day"}, {{CComVariant(45321.0, VT_DATE)}, {someDate()}}};
  collection->SetKeyFields({u"Day"});
  refresh();
  collection->FindInRecordSet(conditions({{u"Day", co_Equal, dateInConditions(), u"VT_DATE"}}),
                              object.get());
  EXPECT_EQ(object->GetFieldValues().GetValue(u"Day").date, 45322.0);
  const auto key = collection->GetConditionsFromCurrentRow();
  EXPECT_TRUE(collection->FindInRecordSetNoThrow(key, object.get()));
}

TEST_P(CollectionRows, FindSkipsValuesWithoutText) {
  CComVariant null;
  null.vt = VT_NULL;
  company->otherwise = {{u"Code"}, {{null}, {std::nan("")}, {u"B"}}};
  refresh();
  EXPECT_TRUE(collection->FindInRecordSetNoThrow(codeIs(u"B"), object.get()));
  EXPECT_FALSE(collection->FindInRecordSetNoThrow(codeIs(u""), object.get()));
}

TEST_P(CollectionRows, FindThrowsTheHostsErrorForAMissingColumn) {
  refresh();
  EXPECT_THROW(
      collection->FindInRecordSetNoThrow(conditions({{u"X", co_Equal, u"1"}}), object.get()),
      _com_error);
}

TEST_P(CollectionRows, AFailedMoveOfFindIsThrownEvenByTheNoThrowForm) {
  refresh();
  company->calls.failures["Recordset.MoveNext"] = E_FAIL;
  EXPECT_THROW(collection->FindInRecordSet(codeIs(u"B"), object.get()), _com_error);
  EXPECT_THROW(collection->FindInRecordSetNoThrow(codeIs(u"B"), object.get()), _com_error);
  EXPECT_TRUE(collection->FindInRecordSetNoThrow(codeIs(u"A"), object.get()));
  company->calls.failures["Recordset.MoveFirst"] = E_FAIL;
  EXPECT_THROW(collection->FindInRecordSet(codeIs(u"A"), object.get()), _com_error);
  EXPECT_THROW(collection->FindInRecordSetNoThrow(codeIs(u"A"), object.get()), _com_error);
}

TEST_P(CollectionRows, FindWithKeysOnlyReloadsTheRow) {
  collection->SetKeysOnly(true);
  refresh();
  company->otherwise.rows.resize(1);
  EXPECT_TRUE(collection->FindInRecordSetNoThrow(codeIs(u"C"), object.get()));
  ASSERT_EQ(company->runs.size(), 2U);
  EXPECT_NE(company->runs[1].statement.find(u" = N'C'"), std::u16string::npos);
}

TEST_P(CollectionRows, GetByKeyFindsTheRow) {
  refresh();
  collection->GetByKey(codeIs(u"C"), object.get());
  EXPECT_EQ(code(), "C");
}

TEST_P(CollectionRows, GetByKeyAcceptsTheBeginningOfAKey) {
  collection->SetKeyFields({u"Code", u"U_N"});
  refresh();
  collection->GetByKey(codeIs(u"B"), object.get());
  EXPECT_EQ(code(), "B");
}

TEST_P(CollectionRows, GetByKeyRefusesOtherColumns) {
  refresh();
  EXPECT_EQ(refusalOf([&] {
              collection->GetByKey(
                  conditions({{u"Code", co_Equal, u"A"}, {u"U_N", co_Equal, u"1"}}), object.get());
            }),
            "-1: More conditions than key fields");
  EXPECT_EQ(refusalOf([&] {
              collection->GetByKey(conditions({{u"U_N", co_Equal, u"1"}}), object.get());
            }),
            "-1: Only primary key is allowed for GetByKey");
  EXPECT_EQ(refusalOf([&] {
              collection->GetByKey(conditions({{u"code", co_Equal, u"1"}}), object.get());
            }),
            "-1: Only primary key is allowed for GetByKey");
  EXPECT_EQ(refusalOf([&] { collection->GetByKey(codeIs(u"none"), object.get()); }),
            "-1: No match found");
}

}  // namespace
}  // namespace Persistence
