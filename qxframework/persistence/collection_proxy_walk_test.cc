#include "qxframework/automation/com_error.h"
#include "qxframework/persistence/collection_proxy.h"
#include "qxframework/persistence/testing/collection_proxy_fixture.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

namespace Persistence::test {
namespace {

using qx::test::items;
using qx::test::refusalOf;
using qx::test::values;

TEST_F(CollectionProxy, StepsRunNoStatement) {
  load();
  EXPECT_EQ(proxy.First(item), 0);
  EXPECT_EQ(item.code, u"A");
  EXPECT_EQ(item.name, u"Nail");
  EXPECT_EQ(proxy.Next(item), 0);
  EXPECT_EQ(item.code, u"B");
  EXPECT_EQ(proxy.Last(item), 0);
  EXPECT_EQ(item.code, u"C");
  EXPECT_EQ(proxy.Previous(item), 0);
  EXPECT_EQ(item.code, u"B");
  EXPECT_TRUE(statements().empty());
  EXPECT_EQ(company->recordsets, 1);
}

TEST_F(CollectionProxy, ALoopOverNextReadsEveryRowOnce) {
  load();
  std::u16string seen;
  for (long hr = proxy.First(item); hr == 0; hr = proxy.Next(item)) seen += item.code;
  EXPECT_EQ(seen, u"ABC");
  EXPECT_TRUE(proxy.Eof());
  EXPECT_EQ(proxy.Next(item), 1);
  EXPECT_EQ(item.code, u"C");
}

TEST_F(CollectionProxy, ReportsEndBeginningAndCountOfTheRows) {
  load();
  EXPECT_EQ(proxy.GetRecordCount(), 3);
  EXPECT_FALSE(proxy.Bof());
  EXPECT_FALSE(proxy.Eof());
}

TEST_F(CollectionProxy, AStepBackFromTheFirstRowFailsToReadARow) {
  load();
  (void)proxy.First(item);
  item.code = u"untouched";
  EXPECT_THROW((void)proxy.Previous(item), _com_error);
  EXPECT_TRUE(proxy.Bof());
  EXPECT_FALSE(proxy.Eof());
  EXPECT_EQ(proxy.Previous(item), 1);
  EXPECT_EQ(item.code, u"untouched");
  EXPECT_EQ(proxy.Next(item), 0);
  EXPECT_EQ(item.code, u"A");
  EXPECT_FALSE(proxy.Bof());
}

TEST_F(CollectionProxy, AnEmptyResultHasNoFirstRowAndKeepsTheRecord) {
  company->otherwise = items({});
  load();
  item.code = u"untouched";
  EXPECT_EQ(proxy.First(item), 1);
  EXPECT_EQ(proxy.Last(item), 1);
  EXPECT_EQ(proxy.Next(item), 1);
  EXPECT_EQ(item.code, u"untouched");
  EXPECT_FALSE(logger.has(u"keys in map:"));
}

TEST_F(CollectionProxy, AnEmptyResultOfKeysKeepsTheRecordToo) {
  company->otherwise = items({});
  connect();
  proxy.Load({kCode}, {});
  item.code = u"untouched";
  EXPECT_EQ(proxy.First(item), 1);
  EXPECT_EQ(item.code, u"untouched");
}

TEST_F(CollectionProxy, WithKeysOnlyEachStepReadsItsRow) {
  loadKeys();
  EXPECT_TRUE(proxy.GetKeysOnly());
  EXPECT_EQ(proxy.First(item), 0);
  EXPECT_EQ(item.name, u"Nail");
  EXPECT_EQ(proxy.Next(item), 0);
  EXPECT_EQ(item.name, u"Screw");
  EXPECT_EQ(proxy.Previous(item), 0);
  EXPECT_EQ(item.name, u"Nail");
  EXPECT_EQ(proxy.Last(item), 0);
  EXPECT_EQ(item.name, u"Screw");
  EXPECT_EQ(statements(), (Texts{u"SELECT * FROM HVITEM     WHERE Code = N'A'",
                                 u"SELECT * FROM HVITEM     WHERE Code = N'B'",
                                 u"SELECT * FROM HVITEM     WHERE Code = N'A'",
                                 u"SELECT * FROM HVITEM     WHERE Code = N'B'"}));
}

TEST_F(CollectionProxy, WithKeysOnlyFindReadsTheRowThatItFound) {
  loadKeys();
  EXPECT_TRUE(proxy.Find(values({{kCode, u"B"}}), item));
  EXPECT_EQ(item.name, u"Screw");
  EXPECT_FALSE(proxy.Find(values({{kCode, u"X"}}), item));
  EXPECT_EQ(statements(), (Texts{u"SELECT * FROM HVITEM     WHERE Code = N'B'"}));
}

TEST_F(CollectionProxy, WithKeysOnlyFindOfADeletedRowReturnsFalse) {
  loadKeys();
  company->answers[u"SELECT * FROM HVITEM     WHERE Code = N'B'"] = items({});
  item.code = u"untouched";
  EXPECT_FALSE(proxy.Find(values({{kCode, u"B"}}), item));
  EXPECT_EQ(item.code, u"untouched");
}

TEST_F(CollectionProxy, WithKeysOnlyRefreshReadsTheSameRowAgain) {
  loadKeys();
  (void)proxy.Last(item);
  company->runs.clear();
  company->otherwise = {{u"Code"}, {{u"A"}, {u"B"}, {u"C"}}};
  company->answers[u"SELECT * FROM HVITEM     WHERE Code = N'B'"] = items({{u"B", u"Bolt"}});
  proxy.Refresh(item);
  EXPECT_EQ(item.name, u"Bolt");
  EXPECT_EQ(statements(), (Texts{u"SELECT Code FROM HVITEM     ORDER BY Code",
                                 u"SELECT * FROM HVITEM     WHERE Code = N'B'"}));
}

TEST_F(CollectionProxy, WithKeysOnlyRefreshReadsTheFirstRowIfTheOldOneIsGone) {
  loadKeys();
  (void)proxy.Last(item);
  company->runs.clear();
  company->otherwise = {{u"Code"}, {{u"A"}}};
  proxy.Refresh(item);
  EXPECT_EQ(item.name, u"Nail");
  EXPECT_EQ(statements(), (Texts{u"SELECT Code FROM HVITEM     ORDER BY Code",
                                 u"SELECT * FROM HVITEM     WHERE Code = N'A'"}));
}

TEST_F(CollectionProxy, WithKeysOnlyRefreshOfAnEmptyResultIsRefused) {
  loadKeys();
  company->otherwise = {{u"Code"}, {}};
  EXPECT_EQ(refusalOf([&] { proxy.Refresh(item); }), "-1: Record set is empty");
  EXPECT_TRUE(proxy.IsLoaded());
}

TEST_F(CollectionProxy, AStepReleasesTheObjectThatItMade) {
  loadKeys();
  const ULONG before = references();
  EXPECT_EQ(proxy.First(item), 0);
  EXPECT_EQ(references(), before);
}

TEST_F(CollectionProxy, FirstLogsTheNamesOfTheRowAndNoOtherStepDoes) {
  load();
  logger.records.clear();
  (void)proxy.First(item);
  EXPECT_EQ(logger.messagesOf(u"CQXPersistentCollectionProxy::First"),
            (Texts{u"keys in map:", u"Code", u"Name"}));
  (void)proxy.Next(item);
  EXPECT_EQ(logger.messagesOf(u"CQXPersistentCollectionProxy::Next"), Texts{});
}

TEST_F(CollectionProxy, EveryStepIsAScopeOfTheLogWithItsResult) {
  load();
  const auto linesOf = [&](const std::function<void()>& step) {
    logger.records.clear();
    step();
    const auto& entering = logger.records.front();
    const auto& leaving = logger.records.back();
    return Texts{entering.function, entering.message, leaving.function, leaving.message};
  };
  const auto lines = [](const std::u16string& step, const std::u16string& result) {
    const std::u16string scope = u"CQXPersistentCollectionProxy::" + step;
    return Texts{scope, u"Entering function\n", scope, u"Leaving function [" + result + u"]\n"};
  };
  // Before the first row there is no row to read: the step succeeds and the reading fails.
  EXPECT_EQ(linesOf([&] { EXPECT_THROW((void)proxy.Previous(item), _com_error); }),
            lines(u"Previous", u"S_OK"));
  EXPECT_EQ(linesOf([&] { (void)proxy.First(item); }), lines(u"First", u"S_OK"));
  EXPECT_EQ(linesOf([&] { (void)proxy.Last(item); }), lines(u"Last", u"S_OK"));
  EXPECT_EQ(linesOf([&] { (void)proxy.Next(item); }), lines(u"Next", u"S_FALSE"));
}

TEST_F(CollectionProxy, RefreshRepeatsTheQueryAndKeepsThePosition) {
  load();
  (void)proxy.Last(item);
  company->otherwise = items({{u"A", u"Nail"}, {u"C", u"Changed"}, {u"D", u""}});
  proxy.Refresh(item);
  EXPECT_EQ(statements(), (Texts{kAllRows}));
  EXPECT_EQ(item.name, u"Changed");
  EXPECT_EQ(proxy.Next(item), 0);
  EXPECT_EQ(item.code, u"D");
}

TEST_F(CollectionProxy, RefreshReadsTheFirstRowIfTheOldOneIsGone) {
  load();
  (void)proxy.Last(item);
  company->otherwise = items({{u"A", u"Nail"}, {u"B", u"Screw"}});
  proxy.Refresh(item);
  EXPECT_EQ(item.code, u"A");
}

TEST_F(CollectionProxy, RefreshAfterTheLastRowReadsTheFirst) {
  load();
  while (proxy.Next(item) == 0) {
  }
  proxy.Refresh(item);
  EXPECT_EQ(item.code, u"A");
}

TEST_F(CollectionProxy, RefreshReadsTheFirstRowIfTheCurrentOneCannotBeRead) {
  load();
  (void)proxy.Last(item);
  (void)proxy.Next(item);
  company->calls.failures["Recordset.GetEoF"] = E_FAIL;
  company->otherwise = items({{u"Z", u"Last"}});
  proxy.Refresh(item);
  EXPECT_EQ(item.code, u"Z");
}

TEST_F(CollectionProxy, RefreshOfAnEmptyResultIsRefusedAndKeepsItLoaded) {
  load();
  company->otherwise = items({});
  EXPECT_EQ(refusalOf([&] { proxy.Refresh(item); }), "-1: Record set is empty");
  EXPECT_TRUE(proxy.IsLoaded());
  EXPECT_EQ(proxy.GetRecordCount(), 0);
}

TEST_F(CollectionProxy, AFailureOfTheMappingPassesThroughAndReleasesTheObject) {
  loadKeys();
  const ULONG before = references();
  proxy.throwing = true;
  EXPECT_THROW((void)proxy.First(item), std::runtime_error);
  EXPECT_THROW(proxy.GetByKey(values({{kCode, u"A"}}), item), std::runtime_error);
  EXPECT_EQ(references(), before);
}

TEST_F(CollectionProxy, TheKeyOfTheCurrentRowBecomesConditions) {
  load();
  (void)proxy.Last(item);
  EXPECT_EQ(qx::test::shown(proxy.BuildPrimaryKeyConditions()), "Code|1|98|VT_BSTR|C");
}

}  // namespace
}  // namespace Persistence::test
