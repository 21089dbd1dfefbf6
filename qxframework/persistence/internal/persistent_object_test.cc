#include "qxframework/persistence/internal/persistent_object.h"

#include "qxframework/logging/qx_logger.h"
#include "qxframework/persistence/internal/persistence_factory.h"
#include "qxframework/query/testing/query_parts.h"
#include "qxframework/sql/testing/dialect_param.h"
#include "testing/recording_logger.h"
#include "testing/scripted_company.h"

#include <gmock/gmock.h>

#include <cmath>

namespace Persistence {
namespace {

using namespace qx::test;
using testing::ElementsAre;
using testing::IsEmpty;

class PersistentObject : public testing::TestWithParam<DialectParam> {
 protected:
  PersistentObject() {
    company->serverType = GetParam().serverType;
    object.reset(CQXPersistenceFactory(CComPtr<ICompany>(company)).CreatePersistentObject());
    object->SetMasterTable(u"OFPR");
    company->otherwise = {{u"Code", u"Price"}, {{u"A", 12.5}}};
  }
  std::u16string scope(std::u16string_view operation) const {
    return u"CQXPersistentObject" + qx::toUtf16(GetParam().name) + u"::" +
           std::u16string(operation);
  }
  std::u16string table() const { return GetParam().name == "KORDB" ? u"\"OFPR\"" : u"OFPR"; }
  /// Expects a scope with its two trace lines and `message` between them.
  void expectLog(std::u16string_view operation, const std::vector<LogRecord>& between,
                 const std::u16string& result) {
    std::vector<LogRecord> all{record(operation, 6, u"Entering function\n")};
    all.insert(all.end(), between.begin(), between.end());
    all.push_back(record(operation, 6, u"Leaving function [" + result + u"]\n"));
    EXPECT_EQ(std::vector<LogRecord>(logger.records.begin(), logger.records.end()), all);
  }
  LogRecord record(std::u16string_view operation, int level, std::u16string message) const {
    return {0, u"", level, scope(operation), std::move(message)};
  }
  LogRecord ran(std::u16string_view operation) const {
    return record(operation, 3, company->runs.back().statement);
  }
  void setUpFailure(HRESULT code = qx::resultCode(-2000)) {
    company->failStatement = static_cast<int>(company->runs.size()) + 1;
    company->statementFailure = code;
    company->errorCode = -2035;
    company->errorText = u"It is there";
  }

  CComPtr<ScriptedCompany> company = makeScriptedCompany();
  std::unique_ptr<CQXPersistentObject> object;
  RecordingLogger logger;
};

INSTANTIATE_TEST_SUITE_P(Each, PersistentObject, eachDialect(), nameOf<DialectParam>);

TEST_P(PersistentObject, AddRunsItsTextAndLogsIt) {
  object->GetFieldValues() = values({{u"Code", u"A"}});
  const CComBSTR text = object->InsertText(CComBSTR());
  object->Add();
  EXPECT_THAT(company->statementTexts(), ElementsAre(text.View()));
  expectLog(u"Add", {record(u"Add", 3, std::u16string(text.View()))}, u"S_OK");
}

TEST_P(PersistentObject, AddTakesTheNextCodeOfAUserTableFromTheCompany) {
  object->SetMasterTable(u"@T");
  object->SetUserTable(true);
  object->GetFieldValues() = values({{u"Name", u"mine"}, {u"U_A", u"x"}});
  company->otherwise = {{u""}, {{u"0000000F"}}};
  object->Add();
  ASSERT_EQ(company->runs.size(), 2U);
  EXPECT_EQ(company->runs[1].statement, object->InsertText(u"00000010").View());
  EXPECT_EQ(utf8(object->GetFieldValues().GetValue(u"Name")), "00000010");
  EXPECT_NE(company->runs[0].recordset, company->runs[1].recordset);
}

TEST_P(PersistentObject, UpdateRunsItsTextAndLogsIt) {
  object->GetFieldValues() = values({{u"Code", u"A"}, {u"Price", 3.5}});
  const auto keys = values({{u"Code", u"A"}});
  const CComBSTR text = object->UpdateText(keys);
  object->Update(keys);
  EXPECT_THAT(company->statementTexts(), ElementsAre(text.View()));
  expectLog(u"Update", {ran(u"Update")}, u"S_OK");
}

TEST_P(PersistentObject, UpdateWritesTheWhereClauseBeforeTheSetClause) {
  CComVariant null;
  null.vt = VT_NULL;
  object->GetFieldValues() = values({{u"Code", null}});
  EXPECT_EQ(refusalOf([&] {
              object->Update(values({{u"Code", HUGE_VAL}}));
            }),
            "-1: A value of type 5 has no text form");  // that of the key, not of the value
}

TEST_P(PersistentObject, RemoveRunsItsTextAndLogsIt) {
  object->SetConditions(codeIs(u"A"));
  const CComBSTR text = object->RemoveText();
  object->Remove({});
  EXPECT_THAT(company->statementTexts(), ElementsAre(text.View()));
  expectLog(u"Remove", {ran(u"Remove")}, u"S_OK");
}

TEST_P(PersistentObject, SelectRunsItsTextOnTheObjectsRecordSetAndKeepsIt) {
  object->SetConditions(codeIs(u"A"));
  const CComBSTR text = object->SelectText();
  object->Select();
  EXPECT_EQ(company->runs, (std::vector{ScriptedCompany::Run{1, std::u16string(text.View())}}));
  EXPECT_EQ(utf8(object->GetLastQuery()), utf8(text));
  EXPECT_FALSE(object->IsSelected());
  expectLog(u"Select", {ran(u"Select")}, u"S_OK");
}

TEST_P(PersistentObject, AStatementWithPercentSignsIsLoggedUnchanged) {
  object->SetConditions(conditions({{u"Code", co_Like, u"%s%n%d"}}));
  object->Select();
  expectLog(u"Select", {ran(u"Select")}, u"S_OK");
  EXPECT_NE(company->runs.back().statement.find(u"N'%s%n%d'"), std::u16string::npos);
}

TEST_P(PersistentObject, AResultAboveZeroIsTheScopesResult) {
  company->calls.failures["SQL"] = 1;
  object->SetConditions(codeIs(u"A"));
  object->Remove({});
  expectLog(u"Remove", {ran(u"Remove")}, u"S_FALSE");
}

TEST_P(PersistentObject, AFailureOfAddThrowsTheCompanysError) {
  setUpFailure();
  EXPECT_EQ(refusalOf([&] { object->Add(); }), "-2035: It is there");
  expectLog(u"Add", {ran(u"Add"), record(u"Add", 1, u"Failed to insert into " + table())},
            u"RX_API_ERR_SQL_FAILURE");
}

TEST_P(PersistentObject, AFailureOfUpdateThrowsTheCompanysError) {
  setUpFailure();
  EXPECT_EQ(refusalOf([&] { object->Update({}); }), "-2035: It is there");
  expectLog(u"Update", {ran(u"Update"), record(u"Update", 1, u"Failed to update " + table())},
            u"RX_API_ERR_SQL_FAILURE");
}

TEST_P(PersistentObject, AFailureOfRemoveThrowsTheCompanysError) {
  setUpFailure();
  EXPECT_EQ(refusalOf([&] { object->Remove({}); }), "-2035: It is there");
  expectLog(u"Remove", {ran(u"Remove"), record(u"Remove", 1, u"Failed to delete from " + table())},
            u"RX_API_ERR_SQL_FAILURE");
}

TEST_P(PersistentObject, AFailureOfSelectNamesTheTableWithItsCorrelationName) {
  setUpFailure();
  object->SetCorrelationName(u"T0");
  object->SetConditions(codeIs(u"A"));
  EXPECT_EQ(refusalOf([&] { object->Select(); }), "-2035: It is there");
  expectLog(u"Select",
            {ran(u"Select"), record(u"Select", 1, u"Failed to select from " + table() + u" T0")},
            u"RX_API_ERR_SQL_FAILURE");
  EXPECT_TRUE(object->GetLastQuery().IsEmpty());
}

TEST_P(PersistentObject, AFailureWithoutACompanysErrorIsUnknown) {
  setUpFailure(E_ACCESSDENIED);
  company->errorCode = 0;
  company->errorText = u"";
  EXPECT_EQ(refusalOf([&] { object->Add(); }), "-1: Unknown error");
  expectLog(u"Add", {ran(u"Add"), record(u"Add", 1, u"Failed to insert into " + table())},
            u"E_ACCESSDENIED");
}

TEST_P(PersistentObject, AFailureOfALostCompanyIsUnknown) {
  setUpFailure();
  company->calls.failures["Company.GetLastError"] = E_FAIL;
  EXPECT_EQ(refusalOf([&] { object->Add(); }), "-1: Unknown error");
}

TEST_P(PersistentObject, SelectRefusesNoRow) {
  company->otherwise.rows.clear();
  object->SetConditions(codeIs(u"A"));
  EXPECT_EQ(refusalOf([&] { object->Select(); }),
            "-1: No record was found with the given conditions");
  expectLog(u"Select",
            {ran(u"Select"), record(u"Select", 1,
                                    u"Failed to select from " + table() +
                                        u" because No record was found with the given conditions")},
            u"S_FALSE");
  EXPECT_FALSE(object->GetLastQuery().IsEmpty());
}

TEST_P(PersistentObject, SelectRefusesTwoRows) {
  company->otherwise.rows.push_back({u"B", 1.0});
  object->SetConditions(codeIs(u"A"));
  EXPECT_EQ(refusalOf([&] { object->Select(); }), "-1: The given key is not unique");
  expectLog(u"Select",
            {ran(u"Select"),
             record(u"Select", 1,
                    u"Failed to select from " + table() + u" because The given key is not unique")},
            u"S_FALSE");
}

TEST_P(PersistentObject, ARecordCountThatFailsIsAFailureOfSelect) {
  company->calls.failures["Recordset.GetRecordCount"] = E_FAIL;
  company->errorText = u"no count";
  object->SetConditions(codeIs(u"A"));
  EXPECT_EQ(refusalOf([&] { object->Select(); }), "-1: no count");
}

TEST_P(PersistentObject, ARefusalWhileTheTextIsWrittenIsNotLogged) {
  EXPECT_EQ(refusalOf([&] { object->Select(); }), "-1: No conditions are set for select");
  expectLog(u"Select", {}, u"S_OK");
  EXPECT_THAT(company->runs, IsEmpty());
}

TEST_P(PersistentObject, WithoutACompanyNothingRuns) {
  const auto idle = qx::persistentObjectFor(GetParam().dialect());
  idle->SetMasterTable(u"OFPR");
  idle->SetConditions(codeIs(u"A"));
  EXPECT_EQ(refusalOf([&] { idle->Add(); }), "-1: Unknown error");
  EXPECT_EQ(refusalOf([&] { idle->Select(); }), "-1: Unknown error");
}

TEST_P(PersistentObject, LoadTakesTheConditionsAndSelects) {
  object->Load(codeIs(u"A"));
  EXPECT_EQ(shown(object->GetConditions()), "Code|1|98|VT_BSTR|A");
  EXPECT_EQ(company->runs.size(), 1U);
  EXPECT_EQ(object->GetFieldValues().GetCount(), 0);
}

TEST_P(PersistentObject, ExistsForOneRowOnly) {
  object->SetConditions(codeIs(u"A"));
  EXPECT_TRUE(object->Exists());
}

TEST_P(PersistentObject, DoesNotExistForNoRowNorForTwo) {
  object->SetConditions(codeIs(u"A"));
  company->otherwise.rows.push_back({u"B", 1.0});
  EXPECT_FALSE(object->Exists());
  company->otherwise.rows.clear();
  EXPECT_FALSE(object->Exists());
}

TEST_P(PersistentObject, DoesNotExistIfTheQueryFailsOrCannotBeWritten) {
  EXPECT_FALSE(object->Exists());
  object->SetConditions(codeIs(u"A"));
  setUpFailure();
  EXPECT_FALSE(object->Exists());
}

TEST_P(PersistentObject, ExistsLetsAFailureOfTheStoredTextThrough) {
  object->SetConditions(codeIs(u"A"));
  EXPECT_TRUE(object->Exists());
  EXPECT_TRUE(object->IsSelected());
  setUpFailure();
  EXPECT_THROW(object->Exists(), _com_error);
}

TEST_P(PersistentObject, ReloadReadsTheRow) {
  object->SetConditions(codeIs(u"A"));
  object->Reload();
  EXPECT_TRUE(object->IsSelected());
  const TyFieldValues& row = object->GetFieldValues();
  ASSERT_EQ(row.GetCount(), 2);
  EXPECT_EQ(utf8(row.GetKeyAt(0)), "Code");
  EXPECT_EQ(utf8(row.GetValueAt(0)), "A");
  EXPECT_EQ(row.GetValueAt(1).dblVal, 12.5);
  ASSERT_EQ(object->GetKeyFields().size(), 1U);
  EXPECT_EQ(qx::viewOf(object->GetKeyFields()[0]), u"Code");
}

TEST_P(PersistentObject, ReloadReplacesTheFormerRow) {
  object->GetFieldValues() = values({{u"U_Old", 1}});
  object->SetConditions(codeIs(u"A"));
  object->Reload();
  EXPECT_EQ(object->GetFieldValues().FindIndex(u"U_Old"), -1);
}

TEST_P(PersistentObject, ReloadKeepsTheKeyFieldsThatAreSet) {
  object->SetKeyFields({u"Mine"});
  object->SetConditions(codeIs(u"A"));
  object->Reload();
  EXPECT_EQ(qx::viewOf(object->GetKeyFields()[0]), u"Mine");
}

TEST_P(PersistentObject, ASecondReloadRepeatsTheTextAfterChanges) {
  object->SetConditions(codeIs(u"A"));
  object->Reload();
  object->SetConditions(codeIs(u"B"));
  company->otherwise.rows.push_back({u"B", 1.0});  // the rows are not counted again
  logger.records.clear();
  object->Reload();
  ASSERT_EQ(company->runs.size(), 2U);
  EXPECT_EQ(company->runs[0], company->runs[1]);
  EXPECT_TRUE(logger.records.empty());
}

TEST_P(PersistentObject, AFailedReloadKeepsTheSelectedFlag) {
  object->SetConditions(codeIs(u"A"));
  setUpFailure();
  EXPECT_NE(refusalOf([&] { object->Reload(); }), "");
  EXPECT_FALSE(object->IsSelected());
  object->Reload();
  EXPECT_TRUE(object->IsSelected());
}

TEST_P(PersistentObject, AReloadOfStoredTextThatFailsIsTheHostsError) {
  object->SetConditions(codeIs(u"A"));
  object->Reload();
  setUpFailure();
  EXPECT_THROW(object->Reload(), _com_error);
  EXPECT_TRUE(object->IsSelected());
}

TEST_P(PersistentObject, ReloadRefusesMissingSettings) {
  EXPECT_EQ(refusalOf([&] { object->Reload(); }),
            "-1: Persistent Object is not properly initialized, neither conditions nor key fields "
            "are set");
  object->SetMasterTable(u"");
  object->SetConditions(codeIs(u"A"));
  EXPECT_EQ(refusalOf([&] { object->Reload(); }),
            "-1: Persistent Object is not properly initialized, master table name is not set");
  object->SetSelected(true);
  EXPECT_EQ(refusalOf([&] { object->Reload(); }),
            "-1: Query string is empty - it may not have been saved with alst select");
  EXPECT_THAT(company->runs, IsEmpty());
}

TEST_P(PersistentObject, ReloadByKeyFieldsAloneFindsNoConditions) {
  object->SetKeyFields({u"Code"});
  EXPECT_EQ(refusalOf([&] { object->Reload(); }), "-1: No conditions are set for select");
}

TEST_P(PersistentObject, FieldsAreReadFromTheRecordSetOnce) {
  object->SetConditions(codeIs(u"A"));
  object->Select();
  object->LoadFieldsFromRecordSet();
  EXPECT_EQ(company->fieldsRead, 1);
  EXPECT_EQ(company->itemsRead, 2);
}

TEST_P(PersistentObject, FieldsAreFoundByNameOrByTheirNameInUpperCase) {
  object->GetFieldValues() = values({{u"Code", 1}, {u"U_Na\u00EFve", 2}, {u"CODE2", 3}});
  EXPECT_EQ(object->FindFieldIndex(u"Code"), 0);
  EXPECT_EQ(object->FindFieldIndex(u"CODE"), 0);
  EXPECT_EQ(object->FindFieldIndex(u"U_NA\u00CFVE"), 1);
  EXPECT_EQ(object->FindFieldIndex(u"CODE2"), 2);
  EXPECT_EQ(object->FindFieldIndex(u"code"), -1);
  EXPECT_EQ(object->FindFieldIndex(u"code2"), -1);
  EXPECT_EQ(object->FindFieldIndex(u""), -1);
  object->GetFieldValues() = values({{u"Other", 1}, {u"coDe", 2}, {u"Code", 3}});
  EXPECT_EQ(object->FindFieldIndex(u"CODE"), 1) << "the first of two";
}

TEST_P(PersistentObject, ALetterWithoutASingleCapitalStays) {
  object->GetFieldValues() = values({{u"Ma\u00DF", 1}});
  EXPECT_EQ(object->FindFieldIndex(u"MA\u00DF"), 0);
  EXPECT_EQ(object->FindFieldIndex(u"MASS"), -1);
  // A letter with a single capital, although its full form in capitals has two letters.
  object->GetFieldValues() = values({{u"\u1F80", 1}});
  EXPECT_EQ(object->FindFieldIndex(u"\u1F88"), 0);
}

TEST_P(PersistentObject, ANameWithoutAPositionThrowsTheMapsText) {
  object->GetFieldValues() = values({{u"Code", u"A"}});
  object->GetFieldValues().SetValue(u"Stray", 1);
  const auto thrown = [](auto work) -> std::string {
    try {
      work();
      return "nothing";
    } catch (const char* text) {
      return text;
    }
  };
  EXPECT_EQ(thrown([&] { object->FindFieldIndex(u"Stray"); }), "internal unknown error");
  EXPECT_EQ(thrown([&] { object->UpdateText(values({{u"Stray", 1}})); }), "internal unknown error");
  EXPECT_EQ(thrown([&] { object->FindFieldIndex(u"STRAY"); }), "nothing");
}

TEST_P(PersistentObject, ConditionsOfItsOwnFieldsAreTheKey) {
  object->SetKeyFields({u"Code", u"N", u"Rate", u"Missing"});
  object->GetFieldValues() = values({{u"Rate", 12.5}, {u"N", 7}, {u"Code", u"it's"}, {u"X", 1}});
  EXPECT_EQ(shown(object->GetConditionsFromOwnFields()),
            "Code|1|98|VT_BSTR|it's; N|1|98||7; Rate|1|98|VT_R8|12.5; Missing|1|98||0");
}

TEST_P(PersistentObject, ConditionsOfItsOwnFieldsRefuseAKeyWithoutText) {
  CComVariant null;
  null.vt = VT_NULL;
  object->SetKeyFields({u"Code"});
  object->GetFieldValues() = values({{u"Code", null}});
  EXPECT_EQ(refusalOf([&] { object->GetConditionsFromOwnFields(); }),
            "-1: A value of type 1 has no text form");
  for (const double number : {std::nan(""), HUGE_VAL, -HUGE_VAL}) {
    object->GetFieldValues() = values({{u"Code", number}});
    EXPECT_EQ(refusalOf([&] { object->GetConditionsFromOwnFields(); }),
              "-1: A value of type 5 has no text form");
  }
}

TEST_P(PersistentObject, UpdateRefusesAValueOrAKeyValueWithoutText) {
  CComVariant null;
  null.vt = VT_NULL;
  object->GetFieldValues() = values({{u"Code", u"A"}, {u"Price", null}});
  EXPECT_EQ(refusalOf([&] { object->Update({}); }), "-1: A value of type 1 has no text form");
  object->GetFieldValues() = values({{u"Code", u"A"}});
  EXPECT_EQ(refusalOf([&] {
              object->Update(values({{u"Code", HUGE_VAL}}));
            }),
            "-1: A value of type 5 has no text form");
  EXPECT_THAT(company->runs, IsEmpty());
  // The key is not written, so it needs no text.
  object->SetKeyFields({u"Code"});
  object->GetFieldValues() = values({{u"Code", null}, {u"Price", 1.5}});
  EXPECT_EQ(refusalOf([&] { object->Update({}); }), "");
}

TEST_P(PersistentObject, ADateOfItsOwnFieldsIsALiteral) {
  object->SetKeyFields({u"Day"});
  object->GetFieldValues() = values({{u"Day", someDate()}});
  EXPECT_EQ(shown(object->GetConditionsFromOwnFields()),
            (PerDialect{.mssql = "Day|1|98|VT_DATE|CONVERT(datetime,N'20240131',112)",
                        .db2 = "Day|1|98|VT_DATE|TIMESTAMP_ISO(N'2024-01-31')",
                        .kordb = "Day|1|98|VT_DATE|'2024-01-31 00:00:00'"}
                 .of(GetParam())));
}

TEST_P(PersistentObject, ConditionsOfItsOwnFieldsUseTheCorrelationName) {
  object->SetKeyFields({u"Code"});
  object->SetCorrelationName(u"T0");
  object->GetFieldValues() = values({{u"Code", u"bare"}, {u"T0.Code", u"named"}});
  EXPECT_EQ(shown(object->GetConditionsFromOwnFields()), "Code|1|98|VT_BSTR|bare");
  object->SetFields({u"Code"});
  EXPECT_EQ(shown(object->GetConditionsFromOwnFields()), "Code|1|98|VT_BSTR|named");
}

}  // namespace
}  // namespace Persistence
