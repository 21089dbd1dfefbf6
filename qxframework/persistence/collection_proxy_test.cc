#include "qxframework/persistence/collection_proxy.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/persistence/testing/collection_proxy_fixture.h"
#include "qxframework/query/link_criteria.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace Persistence::test {
namespace {

using qx::test::codeIs;
using qx::test::items;
using qx::test::refusalOf;
using qx::test::values;

TEST_F(CollectionProxy, StartsNeitherConnectedNorLoaded) {
  EXPECT_FALSE(proxy.IsConnected());
  EXPECT_FALSE(proxy.IsLoaded());
}

TEST_F(CollectionProxy, RefusesOperationsThatNeedAConnection) {
  const TyFieldValues key = values({{kCode, u"A"}});
  const std::function<void()> operations[] = {
      [&] { proxy.Load({kCode}, {}); },        [&] { proxy.GetByKey(key, item); },
      [&] { (void)proxy.Find(key, item); },    [&] { (void)proxy.Exists(key); },
      [&] { proxy.SetMaxRecordCount(5); },     [&] { proxy.Add(item); },
      [&] { proxy.Update(key, item); },        [&] { proxy.Remove(key); },
      [&] { proxy.RemoveRange(key, {}); },     [&] { (void)proxy.GetKeysOnly(); },
      [&] { proxy.SetKeysOnly(true); },        [&] { proxy.SetFields({kCode}); },
      [&] { proxy.SetSortFields({}); },        [&] { (void)proxy.conditionsOf(key, {}); },
      [&] { proxy.AddLinkTableCriteria({}); }, [&] { proxy.SetCorrelationName(u"T0"); }};
  for (std::size_t i = 0; i < std::size(operations); ++i)
    EXPECT_EQ(refusalOf(operations[i]), "-1: Proxy is not connected to a persistent collection")
        << i;
}

TEST_F(CollectionProxy, RefusesOperationsThatNeedLoadedRows) {
  const std::function<void()> operations[] = {[&] { (void)proxy.First(item); },
                                              [&] { (void)proxy.Last(item); },
                                              [&] { (void)proxy.Next(item); },
                                              [&] { (void)proxy.Previous(item); },
                                              [&] { (void)proxy.Eof(); },
                                              [&] { (void)proxy.Bof(); },
                                              [&] { proxy.Refresh(item); },
                                              [&] { (void)proxy.GetRecordCount(); },
                                              [&] { (void)proxy.BuildPrimaryKeyConditions(); }};
  const char* const refusal = "-1: Proxy is not connected to a initialized persistent collection";
  for (const bool connected : {false, true}) {
    if (connected) connect();
    for (std::size_t i = 0; i < std::size(operations); ++i)
      EXPECT_EQ(refusalOf(operations[i]), refusal) << connected << i;
  }
}

TEST_F(CollectionProxy, ASecondConnectIsRefusedAndReleasesItsCompany) {
  connect();
  const ULONG before = references();
  EXPECT_EQ(refusalOf([&] { connect(); }),
            "-1: Proxy is already connected to a persistent collection");
  EXPECT_EQ(references(), before);
  EXPECT_TRUE(proxy.IsConnected());
}

TEST_F(CollectionProxy, AFailedConnectLeavesItUnconnected) {
  company->calls.failures["Company.GetBusinessObject 300"] = E_FAIL;
  EXPECT_THROW(connect(), _com_error);
  EXPECT_FALSE(proxy.IsConnected());
  company->calls.failures.clear();
  connect();
  EXPECT_TRUE(proxy.IsConnected());
}

TEST_F(CollectionProxy, WritesTheCompanysDialectAndTheFormOfAUserTable) {
  company->serverType = 9;
  proxy.Connect(company.p, u"@T", true);
  proxy.Load({kCode}, {});
  EXPECT_EQ(statements(), (Texts{u"SELECT \"Code\" FROM \"@T\"     ORDER BY \"Code\""}));
}

TEST_F(CollectionProxy, LoadRunsTheQueryOfItsConditions) {
  connect();
  proxy.Load({kCode}, codeIs(u"O'Neil"));
  EXPECT_TRUE(proxy.IsLoaded());
  EXPECT_EQ(statements(),
            (Texts{u"SELECT Code FROM HVITEM     WHERE Code = N'O''Neil' ORDER BY Code"}));
}

TEST_F(CollectionProxy, CanBeLoadedAgainOnlyAfterTheLimitIsSet) {
  load();
  EXPECT_EQ(refusalOf([&] { proxy.Load({kCode}, {}); }),
            "-1: Proxy is already connected to a initialized persistent collection");
  proxy.SetMaxRecordCount(2);
  EXPECT_FALSE(proxy.IsLoaded());
  EXPECT_TRUE(proxy.IsConnected());
  proxy.Load({kCode}, {});
  EXPECT_TRUE(proxy.IsLoaded());
  EXPECT_EQ(statements(), (Texts{u"SELECT TOP 2 * FROM HVITEM     ORDER BY Code"}));
}

TEST_F(CollectionProxy, TheSameLimitUnloadsItAndKeepsTheStatement) {
  load();
  proxy.SetMaxRecordCount(-1);
  EXPECT_FALSE(proxy.IsLoaded());
  proxy.Load({kCode}, codeIs(u"A"));
  EXPECT_EQ(statements(), (Texts{kAllRows}));
}

TEST_F(CollectionProxy, LaterSettingsTakeEffectAfterANewLimitOnly) {
  load();
  proxy.SetFields({kCode, kName});
  proxy.SetSortFields({CQXPersistenceSortField(kName)});
  proxy.Refresh(item);
  EXPECT_EQ(statements(), (Texts{kAllRows}));
  proxy.SetMaxRecordCount(7);
  proxy.Load({kCode}, codeIs(u"A"));
  EXPECT_EQ(statements().back(),
            u"SELECT TOP 7 Code,Name FROM HVITEM     WHERE Code = N'A' ORDER BY Name ASC");
}

TEST_F(CollectionProxy, ARefusedLimitKeepsItLoaded) {
  load();
  EXPECT_EQ(refusalOf([&] { proxy.SetMaxRecordCount(0); }),
            "-1: Maximum record count must be greater than zero");
  EXPECT_TRUE(proxy.IsLoaded());
}

TEST_F(CollectionProxy, AFailedLoadLeavesItUnloaded) {
  connect();
  company->failStatement = 1;
  company->errorCode = -5;
  company->errorText = u"No such table";
  EXPECT_EQ(refusalOf([&] { proxy.Load({kCode}, {}); }), "-5: No such table");
  EXPECT_FALSE(proxy.IsLoaded());
  EXPECT_EQ(refusalOf([&] { proxy.SetMaxRecordCount(3); }), "");
}

TEST_F(CollectionProxy, GetByKeySearchesTheRowsOfTheQuery) {
  load();
  proxy.GetByKey(values({{kCode, u"B"}}), item);
  EXPECT_EQ(item.name, u"Screw");
  EXPECT_EQ(proxy.Next(item), 0);
  EXPECT_EQ(item.code, u"C");
  EXPECT_TRUE(statements().empty());
}

TEST_F(CollectionProxy, GetByKeyOfAMissingRowIsRefused) {
  load();
  const ULONG before = references();
  EXPECT_EQ(refusalOf([&] {
              proxy.GetByKey(values({{kCode, u"X"}}), item);
            }),
            "-1: No match found");
  EXPECT_EQ(references(), before);
}

TEST_F(CollectionProxy, OnlyACompleteKeyIsAccepted) {
  load();
  const TyFieldValues other = values({{kName, u"Nail"}});
  const TyFieldValues tooMany = values({{kCode, u"A"}, {kName, u"Nail"}});
  for (const TyFieldValues& key : {other, tooMany}) {
    const std::function<void()> operations[] = {
        [&] { proxy.GetByKey(key, item); }, [&] { (void)proxy.Exists(key); },
        [&] { proxy.Update(key, item); }, [&] { proxy.Remove(key); }};
    for (const auto& operation : operations)
      EXPECT_EQ(refusalOf(operation),
                "-1: The given map of key fields does not match the key field list of this obejct");
  }
}

TEST_F(CollectionProxy, FindAcceptsAnyColumns) {
  load();
  EXPECT_TRUE(proxy.Find(values({{kName, u"Screw"}}), item));
  EXPECT_EQ(item.code, u"B");
}

TEST_F(CollectionProxy, FindWithoutAMatchReturnsFalseAndKeepsTheRecord) {
  load();
  item.code = u"untouched";
  EXPECT_FALSE(proxy.Find(values({{kName, u"Bolt"}}), item));
  EXPECT_EQ(item.code, u"untouched");
}

TEST_F(CollectionProxy, ExistsQueriesTheDatabaseAndKeepsTheCursor) {
  load();
  (void)proxy.First(item);
  company->answers[u"SELECT * FROM HVITEM     WHERE Code = N'X'"] = items({{u"X", u"New"}});
  company->answers[u"SELECT * FROM HVITEM     WHERE Code = N'Y'"] = items({});
  EXPECT_TRUE(proxy.Exists(values({{kCode, u"X"}})));
  EXPECT_FALSE(proxy.Exists(values({{kCode, u"Y"}})));
  EXPECT_EQ(statements().size(), 2U);
  EXPECT_EQ(proxy.Next(item), 0);
  EXPECT_EQ(item.code, u"B");
}

TEST_F(CollectionProxy, AddInsertsTheRecordAndDoesNotRefresh) {
  load();
  item.code = u"X";
  item.name = u"New";
  const ULONG before = references();
  proxy.Add(item);
  EXPECT_EQ(statements(), (Texts{u"INSERT INTO HVITEM ( Code, Name)  VALUES ( N'X', N'New') "}));
  EXPECT_EQ(proxy.GetRecordCount(), 3);
  EXPECT_EQ(references(), before);
}

TEST_F(CollectionProxy, UpdateFindsTheRowAndWritesIt) {
  load();
  item.code = u"B";
  item.name = u"Bolt";
  proxy.Update(values({{kCode, u"B"}}), item);
  EXPECT_EQ(statements(), (Texts{u"UPDATE HVITEM  SET Name = N'Bolt'  WHERE Code = N'B'"}));
}

TEST_F(CollectionProxy, UpdateWithKeysOnlyReadsTheRowFirst) {
  loadKeys();
  item.code = u"B";
  item.name = u"Bolt";
  proxy.Update(values({{kCode, u"B"}}), item);
  EXPECT_EQ(statements(), (Texts{u"SELECT * FROM HVITEM     WHERE Code = N'B'",
                                 u"UPDATE HVITEM  SET Name = N'Bolt'  WHERE Code = N'B'"}));
}

TEST_F(CollectionProxy, UpdateMapsTheRecordBeforeItSearchesTheKey) {
  load();
  std::vector<std::string> moves = {"not asked"};
  proxy.writing = [&] { moves = company->calls.of("Recordset."); };
  company->calls.calls.clear();
  EXPECT_EQ(refusalOf([&] {
              proxy.Update(values({{kCode, u"X"}}), item);
            }),
            "-1: Record not found in record set");
  EXPECT_TRUE(moves.empty());
  EXPECT_EQ(company->calls.of("Recordset.").front(), "MoveFirst");
}

TEST_F(CollectionProxy, ARecordThatCannotBeMappedRunsNoStatement) {
  load();
  (void)proxy.First(item);
  company->calls.calls.clear();
  const ULONG before = references();
  proxy.writing = [] { throw std::runtime_error("the record cannot be written"); };
  EXPECT_THROW(proxy.Add(item), std::runtime_error);
  EXPECT_EQ(references(), before);
  EXPECT_THROW(proxy.Update(values({{kCode, u"B"}}), item), std::runtime_error);
  EXPECT_EQ(references(), before);
  EXPECT_TRUE(statements().empty());
  EXPECT_TRUE(company->calls.of("Recordset.").empty());
  EXPECT_TRUE(proxy.IsLoaded());
}

TEST_F(CollectionProxy, RemoveFindsTheRowAndDeletesIt) {
  load();
  const ULONG before = references();
  proxy.Remove(values({{kCode, u"C"}}));
  EXPECT_EQ(statements(), (Texts{u"DELETE FROM HVITEM  WHERE Code = N'C'"}));
  EXPECT_EQ(references(), before);
}

TEST_F(CollectionProxy, UpdateAndRemoveOfAMissingRowAreRefused) {
  load();
  const TyFieldValues key = values({{kCode, u"X"}});
  EXPECT_EQ(refusalOf([&] { proxy.Update(key, item); }), "-1: Record not found in record set");
  EXPECT_EQ(refusalOf([&] { proxy.Remove(key); }), "-1: Record not found in record set");
  EXPECT_TRUE(statements().empty());
}

TEST_F(CollectionProxy, RemoveRangeWithoutOperationsDeletesAllEqualRowsAtOnce) {
  load();
  proxy.RemoveRange(values({{kName, u"Nail"}, {u"Price", 12.5}}), {});
  EXPECT_EQ(statements(), (Texts{u"DELETE FROM HVITEM  WHERE Name = N'Nail' AND Price = N'12.5'"}));
  EXPECT_TRUE(company->calls.of("Recordset.").empty());
}

TEST_F(CollectionProxy, RemoveRangeRefusesOtherOperationsThanEqual) {
  load();
  EXPECT_EQ(refusalOf([&] {
              proxy.RemoveRange(values({{kName, u"Nail"}}), {co_Greater});
            }),
            "-1: Only EQUAL is allowed as operation in the conditions");
  EXPECT_EQ(refusalOf([&] {
              proxy.RemoveRange(values({{kName, u"Nail"}, {kCode, u"A"}}), {co_Equal});
            }),
            "-1: Operations count is less than the count of key fields");
  EXPECT_TRUE(statements().empty());
}

TEST_F(CollectionProxy, FieldsSortingJoinsAndCorrelationAreWritten) {
  connect();
  proxy.SetKeysOnly(false);
  proxy.SetFields({kCode, kName});
  proxy.SetSortFields({CQXPersistenceSortField(kName, so_Descending)});
  proxy.SetCorrelationName(u"T0");
  CQXLinkTableCriteria link(u"@L", u"T1", jm_LeftOuter, true);
  link.AddLinkFieldCriteria({kCode, u"U_Code"});
  link.SetFields({u"U_Text"});
  proxy.AddLinkTableCriteria(link);
  proxy.Load({kCode}, {});
  EXPECT_EQ(statements(),
            (Texts{u"SELECT T0.Code AS'T0.Code',T0.Name AS'T0.Name',T1.U_Text AS'T1.U_Text' FROM "
                   u"HVITEM T0   LEFT OUTER JOIN [@L] T1 ON T0.Code = T1.U_Code   ORDER BY "
                   u"T0.Name DESC"}));
}

TEST_F(CollectionProxy, ConditionsHaveTheGivenOperations) {
  connect();
  EXPECT_EQ(
      qx::test::shown(proxy.conditionsOf(values({{kName, u"A"}, {u"Qty", 7}}), {co_Like, co_Less})),
      "Name|0|98|VT_BSTR|A; Qty|3|98||7");
}

TEST_F(CollectionProxy, ConditionsWithoutOperationsAreEqual) {
  connect();
  EXPECT_EQ(qx::test::shown(proxy.equalConditionsOf(values({{kName, u"A"}, {u"Qty", 7}}))),
            "Name|1|98|VT_BSTR|A; Qty|1|98||7");
}

TEST_F(CollectionProxy, NullConditionsSelectAllRows) {
  connect();
  proxy.Load({kCode}, nullptr);
  EXPECT_EQ(statements(), (Texts{u"SELECT Code FROM HVITEM     ORDER BY Code"}));
}

TEST_F(CollectionProxy, GetValueReadsTheNameOrTheNameInCapitals) {
  const TyFieldValues row = values({{u"Code", u"a"}, {u"CODE", u"b"}, {u"U_QTY", 7}});
  EXPECT_EQ(qx::test::utf8(proxy.GetValue(row, u"Code")), "a");
  EXPECT_EQ(qx::test::utf8(proxy.GetValue(row, u"code")), "b");
  EXPECT_EQ(proxy.GetValue(row, u"u_Qty").lVal, 7);
  EXPECT_EQ(proxy.GetValue(row, u"Price").vt, VT_I4);
  EXPECT_EQ(proxy.GetValue(row, u"Price").lVal, 0);
}

TEST_F(CollectionProxy, ReleasesTheCompany) {
  const ULONG before = references();
  {
    Items other;
    other.Connect(company.p, u"HVITEM", false);
    other.Load({kCode}, {});
    EXPECT_GT(references(), before);
  }
  EXPECT_EQ(references(), before);
}

TEST_F(CollectionProxy, ACopySharesTheRowsAndEitherMayBeDestroyedFirst) {
  auto original = std::make_unique<Items>();
  original->Connect(company.p, u"HVITEM", false);
  original->SetKeysOnly(false);
  original->Load({kCode}, {});
  Items copy(*original);
  Items assigned;
  assigned = *original;
  EXPECT_TRUE(copy.IsLoaded());
  EXPECT_EQ(original->First(item), 0);
  original.reset();
  EXPECT_EQ(copy.Next(item), 0);
  EXPECT_EQ(item.code, u"B");
  EXPECT_EQ(assigned.Next(item), 0);
  EXPECT_EQ(item.code, u"C");
}

}  // namespace
}  // namespace Persistence::test
