#include "qxframework/persistence/internal/persistent_collection.h"

#include "qxframework/persistence/internal/persistent_collection_fixture.h"

#include <gmock/gmock.h>

#include <cmath>

namespace Persistence {
namespace {

using namespace qx::test;
using testing::ElementsAre;
using testing::IsEmpty;

using PersistentCollection = CollectionFixture;

INSTANTIATE_TEST_SUITE_P(Each, PersistentCollection, eachDialect(), nameOf<DialectParam>);

using CollectionLimitedByTheConnection = CollectionFixture;

INSTANTIATE_TEST_SUITE_P(Each, CollectionLimitedByTheConnection,
                         testing::Values(DialectParam{"Sybase", qx::kSybase}),
                         nameOf<DialectParam>);

TEST_P(PersistentCollection, StartsWithKeysOnlyAndNoLimit) {
  const auto fresh = qx::persistentCollectionFor(GetParam().dialect());
  EXPECT_TRUE(fresh->GetKeysOnly());
  EXPECT_EQ(fresh->GetMaxRecordCount(), -1);
  EXPECT_TRUE(fresh->GetSortFields().empty());
}

TEST_P(PersistentCollection, RefreshRunsTheSelectAndLogsIt) {
  const CComBSTR text = collection->SelectTexts().front();
  collection->Refresh();
  EXPECT_EQ(company->runs, (std::vector{ScriptedCompany::Run{1, std::u16string(text.View())}}));
  EXPECT_TRUE(collection->IsSelected());
  EXPECT_EQ(utf8(collection->GetLastQuery()), utf8(text));
  EXPECT_EQ(log(),
            (std::vector<LogRecord>{{0, u"", 6, scope(u"Select"), u"Entering function\n"},
                                    {0, u"", 3, scope(u"Select"), std::u16string(text.View())},
                                    {0, u"", 6, scope(u"Select"), u"Leaving function [S_OK]\n"}}));
}

TEST_P(PersistentCollection, ASecondRefreshRepeatsTheTextAfterChanges) {
  collection->Refresh();
  collection->SetConditions(codeIs(u"B"));
  collection->SetSortFields({CQXPersistenceSortField(u"U_N")});
  logger.records.clear();
  collection->Refresh();
  ASSERT_EQ(company->runs.size(), 2U);
  EXPECT_EQ(company->runs[0], company->runs[1]);
  EXPECT_EQ(log(), (std::vector<LogRecord>{{0, u"", 3, u"CQXPersistentCollection::Refresh",
                                            company->runs[0].statement}}));
}

TEST_P(PersistentCollection, ANewLimitMakesANewStatement) {
  collection->Refresh();
  collection->SetSortFields({CQXPersistenceSortField(u"U_N")});
  collection->SetMaxRecordCount(-1);
  EXPECT_TRUE(collection->IsSelected());
  collection->SetMaxRecordCount(7);
  EXPECT_FALSE(collection->IsSelected());
  collection->Refresh();
  EXPECT_NE(company->runs.back().statement, company->runs.front().statement);
}

TEST_P(PersistentCollection, ALimitBelowOneIsRefused) {
  for (const long maximum : {0L, -2L, -1000L})
    EXPECT_EQ(refusalOf([&] { collection->SetMaxRecordCount(maximum); }),
              "-1: Maximum record count must be greater than zero");
  EXPECT_EQ(collection->GetMaxRecordCount(), -1);
  collection->SetMaxRecordCount(3);
  collection->SetMaxRecordCount(-1);
  EXPECT_EQ(collection->GetMaxRecordCount(), -1);
}

TEST_P(PersistentCollection, ALimitLosesItsHigherBits) {
  constexpr long kBeyond = 1L << 32;
  collection->SetMaxRecordCount(kBeyond + 5);
  EXPECT_EQ(collection->GetMaxRecordCount(), 5);
  collection->Refresh();
  collection->SetMaxRecordCount(2 * kBeyond + 5);  // the limit that there is
  EXPECT_TRUE(collection->IsSelected());
  EXPECT_EQ(refusalOf([&] { collection->SetMaxRecordCount(kBeyond); }),
            "-1: Maximum record count must be greater than zero");
  EXPECT_EQ(refusalOf([&] { collection->SetMaxRecordCount(kBeyond / 2); }),
            "-1: Maximum record count must be greater than zero");
  EXPECT_EQ(collection->GetMaxRecordCount(), 5);
  collection->SetMaxRecordCount(kBeyond - 1);
  EXPECT_EQ(collection->GetMaxRecordCount(), -1);
}

TEST_P(PersistentCollection, ALimitedSelectRunsItsTextsInOrder) {
  collection->SetMaxRecordCount(2);
  std::vector<ScriptedCompany::Run> expected;
  for (const CComBSTR& text : collection->SelectTexts())
    expected.push_back({1, std::u16string(text.View())});
  if (isSybase()) expected[0].recordset = expected[2].recordset = 3;  // 2 is the object's
  collection->Refresh();
  EXPECT_EQ(company->runs, expected);
  EXPECT_EQ(company->recordsets, isSybase() ? 3 : 2);
}

TEST_P(PersistentCollection, AFailedLimitedSelectLeavesTheLimitOnTheConnection) {
  collection->SetMaxRecordCount(2);
  setUpFailure(isSybase() ? 1 : 0);
  EXPECT_EQ(refusalOf([&] { collection->Refresh(); }), "-2035: Not today");
  EXPECT_EQ(company->runs.size(), isSybase() ? 2U : 1U);
  EXPECT_FALSE(collection->IsSelected());
}

TEST_P(CollectionLimitedByTheConnection,
       AFailureOfTheStatementThatSetsTheLimitKeepsTheQueryFromRunning) {
  collection->SetMaxRecordCount(2);
  setUpFailure();
  EXPECT_EQ(refusalOf([&] { collection->Refresh(); }), "-2035: Not today");
  EXPECT_THAT(company->statementTexts(), ElementsAre(u"SET ROWCOUNT 2 "));
  EXPECT_EQ(logger.messages(1), std::vector<std::u16string>{u"Failed to select from OFPR"});
  EXPECT_FALSE(collection->IsSelected());
}

TEST_P(CollectionLimitedByTheConnection,
       AFailureOfTheStatementThatLiftsTheLimitIsAFailureOfTheSelect) {
  collection->SetMaxRecordCount(2);
  setUpFailure(2);
  EXPECT_EQ(refusalOf([&] { collection->Refresh(); }), "-2035: Not today");
  ASSERT_EQ(company->runs.size(), 3U);
  EXPECT_EQ(company->runs.back().statement, u"SET ROWCOUNT 0");
  EXPECT_EQ(logger.messages(1), std::vector<std::u16string>{u"Failed to select from OFPR"});
  EXPECT_FALSE(collection->IsSelected());
}

TEST_P(PersistentCollection, AFailureToSetTheLimitFailsTheSelect) {
  collection->SetMaxRecordCount(2);
  company->calls.failures["Company.GetBusinessObject 300"] = E_FAIL;
  company->errorText = u"No more record sets";
  EXPECT_EQ(refusalOf([&] { collection->Refresh(); }), isSybase() ? "-1: No more record sets" : "");
  EXPECT_EQ(company->runs.size(), isSybase() ? 0U : 1U);
}

TEST_P(PersistentCollection, AFailedSelectIsLoggedWithItsTable) {
  collection->SetCorrelationName(u"T0");
  setUpFailure();
  EXPECT_EQ(refusalOf([&] { collection->Refresh(); }), "-2035: Not today");
  const std::u16string text = company->runs.back().statement;
  EXPECT_EQ(log(),
            (std::vector<LogRecord>{
                {0, u"", 6, scope(u"Select"), u"Entering function\n"},
                {0, u"", 3, scope(u"Select"), text},
                {0, u"", 1, scope(u"Select"), u"Failed to select from " + table() + u" T0"},
                {0, u"", 6, scope(u"Select"), u"Leaving function [RX_API_ERR_SQL_FAILURE]\n"}}));
  // The text is stored before it is run.
  EXPECT_EQ(std::u16string(collection->GetLastQuery().View()), text);
}

TEST_P(PersistentCollection, ARepeatedQueryThatFailsIsTheHostsError) {
  collection->Refresh();
  setUpFailure();
  EXPECT_THROW(collection->Refresh(), _com_error);
}

TEST_P(PersistentCollection, RefreshRefusesMissingSettings) {
  collection->SetKeyFields({});
  EXPECT_EQ(
      refusalOf([&] { collection->Refresh(); }),
      "-1: Collection is not properly initialized, neither conditions nor key fields are set");
  collection->SetConditions(codeIs(u"A"));
  collection->SetMasterTable(u"");
  EXPECT_EQ(refusalOf([&] { collection->Refresh(); }),
            "-1: Collection is not properly initialized, master table name is not set");
  collection->SetSelected(true);
  EXPECT_EQ(refusalOf([&] { collection->Refresh(); }),
            "-1: Query string is empty - it may not have been saved with alst select");
  EXPECT_THAT(company->runs, IsEmpty());
}

TEST_P(PersistentCollection, RefreshWithoutAKeyTakesTheColumnsOfTheConditions) {
  collection->SetKeyFields({});
  collection->SetConditions(conditions({{u"U_N", co_Greater, u"1", u"VT_R8"}}));
  collection->Refresh();
  ASSERT_EQ(collection->GetKeyFields().size(), 1U);
  EXPECT_EQ(qx::viewOf(collection->GetKeyFields()[0]), u"U_N");
}

TEST_P(PersistentCollection, RemoveRunsItsTextAndLeavesTheCursor) {
  refresh();
  collection->Next();
  logger.records.clear();
  company->answers[std::u16string(collection->RemoveText(codeIs(u"A")).View())] = {};
  collection->Remove(codeIs(u"A"));
  const std::u16string text(collection->RemoveText(codeIs(u"A")).View());
  EXPECT_EQ(company->runs.back().statement, text);
  EXPECT_EQ(log(),
            (std::vector<LogRecord>{{0, u"", 6, scope(u"Remove"), u"Entering function\n"},
                                    {0, u"", 3, scope(u"Remove"), text},
                                    {0, u"", 6, scope(u"Remove"), u"Leaving function [S_OK]\n"}}));
}

TEST_P(PersistentCollection, AFailedRemoveIsLoggedWithItsTable) {
  setUpFailure();
  EXPECT_EQ(refusalOf([&] { collection->Remove(codeIs(u"A")); }), "-2035: Not today");
  EXPECT_EQ(log()[2],
            (LogRecord{0, u"", 1, scope(u"Remove"), u"Failed to delete from " + table()}));
}

TEST_P(PersistentCollection, WalksTheRowsForwards) {
  refresh();
  std::vector<std::string> codes;
  for (long hr = collection->First(object.get()); hr == 0; hr = collection->Next(object.get()))
    codes.push_back(code());
  EXPECT_THAT(codes, ElementsAre("A", "B", "C"));
  EXPECT_TRUE(collection->Eof());
  EXPECT_FALSE(collection->Bof());
  EXPECT_EQ(collection->Next(object.get()), 1);
  EXPECT_EQ(company->runs.size(), 1U);  // no row costs a statement
}

TEST_P(PersistentCollection, WalksTheRowsBackwardsWithoutReadingThem) {
  refresh();
  EXPECT_EQ(collection->Last(), 0);
  EXPECT_EQ(collection->Previous(), 0);
  EXPECT_EQ(collection->Previous(), 0);
  EXPECT_FALSE(collection->Bof());
  EXPECT_EQ(collection->Previous(), 0);  // in front of the first row
  EXPECT_TRUE(collection->Bof());
  EXPECT_EQ(collection->Previous(), 1);
  EXPECT_EQ(company->fieldsRead, 0);
  EXPECT_THAT(company->calls.of("Recordset."),
              ElementsAre("MoveLast", "MovePrevious", "MovePrevious", "MovePrevious"));
}

TEST_P(PersistentCollection, PreviousOfTheFirstRowStillTriesToLoadOne) {
  refresh();
  EXPECT_EQ(collection->First(object.get()), 0);
  EXPECT_THROW(collection->Previous(object.get()), _com_error);
  EXPECT_TRUE(collection->Bof());
  EXPECT_EQ(collection->Previous(object.get()), 1);
}

TEST_P(PersistentCollection, NextOfTheLastRowReturnsOneAndEndsAfterIt) {
  refresh();
  EXPECT_EQ(collection->Last(object.get()), 0);
  EXPECT_EQ(code(), "C");
  EXPECT_EQ(collection->Next(object.get()), 1);
  EXPECT_TRUE(collection->Eof());
  EXPECT_EQ(code(), "C");
  EXPECT_EQ(collection->Next(), 1);
  EXPECT_THAT(company->calls.of("Recordset."), ElementsAre("MoveLast", "MoveNext"));
}

TEST_P(PersistentCollection, AnEmptyResultTouchesNoObject) {
  company->otherwise.rows.clear();
  refresh();
  object->GetFieldValues() = values({{u"Code", u"mine"}});
  EXPECT_EQ(collection->First(object.get()), 1);
  EXPECT_EQ(collection->Last(object.get()), 1);
  EXPECT_EQ(collection->Next(object.get()), 1);
  EXPECT_EQ(collection->Previous(object.get()), 1);
  EXPECT_EQ(collection->First(), 1);
  EXPECT_EQ(collection->Last(), 1);
  EXPECT_EQ(code(), "mine");
  EXPECT_TRUE(object->GetMasterTable().IsEmpty());
  EXPECT_THAT(company->calls.of("Recordset."), IsEmpty());
  EXPECT_EQ(collection->GetRecordCount(), 0);
}

TEST_P(PersistentCollection, AMoveWithAPositiveResultLoadsNothing) {
  refresh();
  for (const char* move : {"MoveFirst", "MoveLast", "MoveNext", "MovePrevious"})
    company->calls.failures[std::string("Recordset.") + move] = 3;
  EXPECT_EQ(collection->First(object.get()), 3);
  EXPECT_EQ(collection->Last(object.get()), 3);
  EXPECT_EQ(collection->Previous(object.get()), 3);
  EXPECT_EQ(collection->First(), 3);
  EXPECT_EQ(collection->Next(object.get()), 3);
  EXPECT_EQ(collection->Next(), 3);
  EXPECT_EQ(company->fieldsRead, 0);
}

TEST_P(PersistentCollection, AMoveThatFailsIsTheHostsError) {
  refresh();
  for (const char* move : {"MoveFirst", "MoveLast", "MoveNext", "MovePrevious"})
    company->calls.failures[std::string("Recordset.") + move] = E_FAIL;
  EXPECT_THROW(collection->First(), _com_error);
  EXPECT_THROW(collection->Last(), _com_error);
  EXPECT_THROW(collection->Next(object.get()), _com_error);
  EXPECT_THROW(collection->Previous(), _com_error);
}

TEST_P(PersistentCollection, MovesTraceOneScopeEach) {
  refresh();
  collection->First(object.get());
  collection->Next();
  collection->Previous(object.get());
  collection->Last();
  collection->Next();
  std::vector<std::u16string> lines;
  for (const LogRecord& each : logger.records) lines.push_back(each.function + u" " + each.message);
  const std::u16string head = u"CQXPersistentCollection::";
  EXPECT_THAT(
      lines,
      ElementsAre(head + u"First Entering function\n", head + u"First Leaving function [S_OK]\n",
                  head + u"Next Entering function\n", head + u"Next Leaving function [S_OK]\n",
                  head + u"Previous Entering function\n",
                  head + u"Previous Leaving function [S_OK]\n", head + u"Last Entering function\n",
                  head + u"Last Leaving function [S_OK]\n", head + u"Next Entering function\n",
                  head + u"Next Leaving function [S_FALSE]\n"));
}

TEST_P(PersistentCollection, WithKeysOnlyEachRowIsASelectOfItsOwn) {
  collection->SetKeysOnly(true);
  refresh();
  company->otherwise = {{u"Code", u"U_N"}, {{u"A", 99.5}}};
  EXPECT_EQ(collection->Next(object.get()), 0);
  ASSERT_EQ(company->runs.size(), 2U);
  EXPECT_EQ(company->runs[1].recordset, 2);
  EXPECT_EQ(company->runs[1].statement,
            (GetParam().name == "KORDB" ? u"SELECT * FROM \"OFPR\"     WHERE \"Code\" = N'B'"
                                        : u"SELECT * FROM OFPR     WHERE Code = N'B'"));
  EXPECT_EQ(object->GetFieldValues().GetValue(u"U_N").dblVal, 99.5);
}

TEST_P(PersistentCollection, WithKeysOnlyALoadedObjectRepeatsItsSelect) {
  collection->SetKeysOnly(true);
  refresh();
  company->otherwise.rows.resize(1);
  collection->First(object.get());
  collection->Next(object.get());
  ASSERT_EQ(company->runs.size(), 3U);
  EXPECT_EQ(company->runs[1], company->runs[2]);
}

TEST_P(PersistentCollection, CurrentRowToMapReadsTheRowOnce) {
  refresh();
  TyFieldValues row = values({{u"Old", 1}});
  collection->CurrentRowToMap(row);
  ASSERT_EQ(row.GetCount(), 2);
  EXPECT_EQ(utf8(row.GetKeyAt(1)), "U_N");
  EXPECT_EQ(row.GetValueAt(1).dblVal, 1.5);
  EXPECT_EQ(company->fieldsRead, 1);
  EXPECT_EQ(company->itemsRead, 2);
}

TEST_P(PersistentCollection, ConditionsFromTheRowAreItsKey) {
  company->otherwise = {{u"Code", u"N", u"Rate", u"Day"}, {{u"it's", 7, 12.5, someDate()}}};
  collection->SetKeyFields({u"Rate", u"Code", u"Day", u"N"});
  refresh();
  EXPECT_EQ(shown(collection->GetConditionsFromCurrentRow()),
            "Rate|1|98|VT_R8|12.5; Code|1|98|VT_BSTR|it's; Day|1|98|VT_DATE|" +
                qx::toUtf8(dateInConditions()) + "; N|1|98||7");
}

TEST_P(PersistentCollection, ConditionsFromTheRowUseTheCorrelationName) {
  company->otherwise = {{u"Code", u"T0.Code"}, {{u"bare", u"named"}}};
  collection->SetCorrelationName(u"T0");
  refresh();
  EXPECT_EQ(shown(collection->GetConditionsFromCurrentRow()), "Code|1|98|VT_BSTR|bare");
  collection->SetFields({u"Code"});
  EXPECT_EQ(shown(collection->GetConditionsFromCurrentRow()), "Code|1|98|VT_BSTR|named");
}

TEST_P(PersistentCollection, ConditionsFromTheRowRefuseAKeyWithoutText) {
  CComVariant null;
  null.vt = VT_NULL;
  company->otherwise = {{u"Code"}, {{null}, {std::nan("")}, {HUGE_VAL}}};
  refresh();
  EXPECT_EQ(refusalOf([&] { collection->GetConditionsFromCurrentRow(); }),
            "-1: A value of type 1 has no text form");
  EXPECT_EQ(refusalOf([&] { collection->Next(object.get()); }),
            "-1: A value of type 5 has no text form");
  EXPECT_EQ(refusalOf([&] { collection->Next(object.get()); }),
            "-1: A value of type 5 has no text form");
}

TEST_P(PersistentCollection, ConditionsFromTheRowNeedARow) {
  refresh();
  collection->Last();
  collection->Next();
  EXPECT_EQ(refusalOf([&] { collection->GetConditionsFromCurrentRow(); }),
            "-1: No valid current record found");
}

TEST_P(PersistentCollection, OnlyAllSixteenBitsMeanTheEnd) {
  company->otherwise.rows.clear();
  refresh();
  EXPECT_TRUE(collection->Eof());
  EXPECT_TRUE(collection->Bof());
  company->truth = 1;
  EXPECT_FALSE(collection->Eof());
  EXPECT_FALSE(collection->Bof());
}

TEST_P(PersistentCollection, WithoutACompanyNothingRuns) {
  const auto idle = qx::persistentCollectionFor(GetParam().dialect());
  idle->SetMasterTable(u"OFPR");
  idle->SetConditions(codeIs(u"A"));
  EXPECT_EQ(refusalOf([&] { idle->Refresh(); }), "-1: Unknown error");
  EXPECT_EQ(refusalOf([&] { idle->Remove(codeIs(u"A")); }), "-1: Unknown error");
  EXPECT_THROW(idle->First(), _com_error);
  EXPECT_THROW(idle->Eof(), _com_error);
}

}  // namespace
}  // namespace Persistence
