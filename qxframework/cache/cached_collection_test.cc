// Loads and the cursor; cached_collection_keys_test.cc reads rows by their keys.

#include "qxframework/cache/cached_collection.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/cache/sql_generator.h"
#include "qxframework/cache/testing/cached_collection_fixture.h"
#include "qxframework/query/testing/vtable_slot.h"
#include "testing/raised_by.h"

#include <gmock/gmock.h>

#include <random>
#include <stdexcept>
#include <type_traits>

namespace Persistence {
namespace {

using namespace qx::test;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kNoTable[] = "-1: The collection has no table: call Connect before it is used";
constexpr char kNoStep[] = "-1: Can't move next, EOF or BOF met";
constexpr char kNoKey[] = "-1: Failed to find the key in database";

class CachedCollection : public CachedCollectionFixture {};

TEST_F(CachedCollection, HasItsVirtualOperationsInTheirSlots) {
  using C = CQXPersistentCollection_CacheBased;
  using Step = long (C::*)(CQXValueContainer*);
  static_assert(std::is_abstract_v<C>);
  static_assert(std::is_base_of_v<IQXPersistentCollection, C>);
  EXPECT_EQ(slotOf(&IQXPersistentCollection::GetValue), 21);
  EXPECT_EQ(slotOf(static_cast<Step>(&C::First)), 22);
  EXPECT_EQ(slotOf(static_cast<Step>(&C::Last)), 23);
  EXPECT_EQ(slotOf(static_cast<Step>(&C::Next)), 24);
  EXPECT_EQ(slotOf(static_cast<Step>(&C::Previous)), 25);
  EXPECT_EQ(slotOf(&C::ExistsInCache), 26);
  EXPECT_EQ(slotOf(&C::FindByKey), 27);
  EXPECT_EQ(slotOf(&C::RemoveByFieldValues), 28);
  EXPECT_EQ(slotOf(&C::FindInIndex), 29);
  EXPECT_EQ(slotOf(&C::GetLoadParameter), 30);
  EXPECT_EQ(slotOf(&C::AddIndex), 31);
  EXPECT_EQ(slotOf(&C::RemoveIndex), 32);
  EXPECT_EQ(slotOf(&C::ClearAllIndexes), 33);
  EXPECT_EQ(slotOf(&C::ClearIndexContent), 34);
  EXPECT_EQ(slotOf(&C::GetRowsByIndex), 35);
  EXPECT_EQ(slotOf(&C::RebuildIndexes), 36);
  EXPECT_EQ(slotOf(&C::BuildIndex), 37);
}

TEST_F(CachedCollection, RefusesWhatNeedsTheCacheBeforeConnect) {
  Parts fresh;
  TyFieldValues key = code(u"A");
  std::vector<qx_ptr<TyRow>> found;
  fresh.AddIndex(u"I", {u"U_N"});
  const std::function<void()> operations[] = {[&] { fresh.First(part); },
                                              [&] { fresh.Last(part); },
                                              [&] { fresh.Next(part); },
                                              [&] { fresh.Previous(part); },
                                              [&] { fresh.Eof(); },
                                              [&] { fresh.Bof(); },
                                              [&] { fresh.GetRecordCount(); },
                                              [&] { fresh.Add(part); },
                                              [&] { fresh.Refresh(part); },
                                              [&] { fresh.Exists(key); },
                                              [&] { fresh.Load(); },
                                              [&] { fresh.Remove(key); },
                                              [&] { fresh.Update(key, part); },
                                              [&] { fresh.GetConditionsFromKeyFields(key, {}); },
                                              [&] { fresh.ExistsInCache(key); },
                                              [&] { fresh.FindByKey(key, &part); },
                                              [&] { fresh.RemoveByFieldValues(key); },
                                              [&] { fresh.FindInIndex(u"I", key, &part); },
                                              [&] { fresh.GetRowsByIndex(found, u"I", key); },
                                              [&] { fresh.RebuildIndexes(); },
                                              [&] { fresh.GetSQLGenerator(); },
                                              [&] { fresh._checkAndLoad(); },
                                              [&] { fresh.GetLoadParaFromKey(key); }};
  for (const auto& operation : operations) {
    EXPECT_EQ(refusalOf(operation), kNoTable) << "number " << &operation - operations;
  }
  EXPECT_THAT(statements(), IsEmpty());
}

TEST_F(CachedCollection, SetsTheLoadParameterUpBeforeConnect) {
  Parts fresh;
  fresh.SetCorrelationName(u"T0");
  fresh.SetKeysOnly(true);
  fresh.ClearIndexContent();
  fresh.ClearAllIndexes();
  fresh.Connect(host(), u"@T", true, nullptr);
  const Param& param = *fresh.GetLoadParameter();
  EXPECT_EQ(&param, fresh.GetLoadParameter());
  EXPECT_EQ(utf8(param.GetMajorTable()), "@T");
  EXPECT_EQ(utf8(param.GetMajorTableCorrelationName()), "T0");
  EXPECT_TRUE(param.GetIsUserTable());
  EXPECT_TRUE(param.IsKeyFieldsOnly());
  fresh.SetKeysOnly(false);
  EXPECT_FALSE(param.IsKeyFieldsOnly());
}

TEST_F(CachedCollection, ConnectRefusesATableWithoutAName) {
  EXPECT_EQ(refusalOf([this] { parts.Connect(host(), nullptr, false, u"C"); }),
            "-1: Connect needs the name of a table");
}

TEST_F(CachedCollection, AConnectThatFailsLeavesTheRows) {
  EXPECT_EQ(codes(parts), "ABC");
  EXPECT_THROW(parts.Connect({}, u"@U", true, nullptr), _com_error);
  EXPECT_EQ(utf8(parts.GetLoadParameter()->GetMajorTable()), "@T");
  EXPECT_EQ(codes(parts), "ABC");
}

TEST_F(CachedCollection, AnotherConnectLeavesTheRowsAndReadsTheOtherTable) {
  EXPECT_EQ(codes(parts), "ABC");
  parts.Last(part);
  statements();
  parts.Connect(host(), u"@U", false, nullptr);
  answerRows({{u"X", 1}});
  EXPECT_EQ(codes(parts), "X");
  EXPECT_THAT(statements(),
              ElementsAre("SELECT [Code] AS N'__kf__.Code', *\r\nFROM [@U]\r\nORDER BY [Code] "
                          "ASC\r\n"));
}

TEST_F(CachedCollection, LoadsWithTheFirstOperationThatReads) {
  using Read = std::function<void(Parts&)>;
  TyFieldValues key = code(u"B");
  std::vector<qx_ptr<TyRow>> found;
  const Read reads[] = {[&](Parts& each) { EXPECT_EQ(each.First(part), 0); },
                        [&](Parts& each) { EXPECT_EQ(each.Last(part), 0); },
                        [&](Parts& each) { EXPECT_EQ(each.Next(part), 0); },
                        [&](Parts& each) { EXPECT_EQ(each.Previous(part), 1); },
                        [&](Parts& each) { EXPECT_FALSE(each.Eof()); },
                        [&](Parts& each) { EXPECT_FALSE(each.Bof()); },
                        [&](Parts& each) { EXPECT_EQ(each.GetRecordCount(), 3); },
                        [&](Parts& each) { EXPECT_TRUE(each.ExistsInCache(key)); },
                        [&](Parts& each) { EXPECT_TRUE(each.FindByKey(key, nullptr)); },
                        [&](Parts& each) {
                          EXPECT_TRUE(each.FindInIndex(u"I", values({{u"U_N", 2}}), nullptr));
                        },
                        [&](Parts& each) {
                          each.GetRowsByIndex(found, u"I", values({{u"U_N", 2}}));
                        }};
  for (const Read& read : reads) {
    SCOPED_TRACE(&read - reads);
    CDBRecordCache::ClearAllCaches(false, true);
    Parts fresh;
    setUp(fresh);
    fresh.AddIndex(u"I", {u"U_N"});
    statements();
    read(fresh);
    EXPECT_THAT(statements(), ElementsAre(kSelectAll));
    fresh.GetRecordCount();
    EXPECT_THAT(statements(), IsEmpty());
  }
  EXPECT_EQ(found.size(), 1u);
}

TEST_F(CachedCollection, ReadsTheOtherFieldsOfARow) {
  EXPECT_EQ(parts.First(part), 0);
  EXPECT_EQ(part.text(), "Code=A U_N=1");
}

TEST_F(CachedCollection, StepsForwardToTheEnd) {
  EXPECT_EQ(parts.First(part), 0);
  EXPECT_EQ(parts.Next(part), 0);
  EXPECT_EQ(part.text(), "Code=B U_N=2");
  EXPECT_EQ(parts.Next(part), 0);
  EXPECT_EQ(part.text(), "Code=C U_N=1");
  EXPECT_FALSE(parts.Eof());
  EXPECT_EQ(parts.Next(part), 1);
  EXPECT_EQ(part.text(), "Code=C U_N=1");
  EXPECT_TRUE(parts.Eof());
  EXPECT_FALSE(parts.Bof());
  EXPECT_EQ(refusalOf([this] { parts.Next(part); }), kNoStep);
  EXPECT_EQ(refusalOf([this] { parts.Previous(part); }), kNoStep);
}

TEST_F(CachedCollection, StepsBackToThePositionInFrontOfTheFirstRow) {
  EXPECT_EQ(parts.Last(part), 0);
  EXPECT_EQ(part.text(), "Code=C U_N=1");
  EXPECT_EQ(parts.Previous(part), 0);
  EXPECT_EQ(part.text(), "Code=B U_N=2");
  EXPECT_EQ(parts.Previous(part), 0);
  EXPECT_EQ(part.text(), "Code=A U_N=1");
  EXPECT_FALSE(parts.Bof());
  EXPECT_EQ(parts.Previous(part), 1);
  EXPECT_EQ(part.text(), "Code=A U_N=1");
  EXPECT_TRUE(parts.Bof());
  EXPECT_FALSE(parts.Eof());
  EXPECT_EQ(refusalOf([this] { parts.Previous(part); }), kNoStep);
  EXPECT_EQ(refusalOf([this] { parts.Next(part); }), kNoStep);
  EXPECT_EQ(parts.First(part), 0);
  EXPECT_EQ(parts.Next(part), 0);
  EXPECT_EQ(part.text(), "Code=B U_N=2");
}

TEST_F(CachedCollection, StepsWithoutARecordMoveOnly) {
  EXPECT_EQ(parts.First(nullptr), 0);
  EXPECT_EQ(parts.Next(nullptr), 0);
  EXPECT_EQ(parts.Next(nullptr), 0);
  EXPECT_EQ(parts.Previous(nullptr), 0);
  EXPECT_EQ(parts.Last(nullptr), 0);
  EXPECT_EQ(parts.Next(nullptr), 1);
  EXPECT_EQ(part.text(), "");
}

TEST_F(CachedCollection, WithoutRowsIsAtBothEnds) {
  answerRows({});
  part = Part(u"kept", 7);
  EXPECT_EQ(parts.First(part), 1);
  EXPECT_EQ(parts.Last(part), 1);
  EXPECT_EQ(part.text(), "Code=kept U_N=7");
  EXPECT_TRUE(parts.Eof());
  EXPECT_TRUE(parts.Bof());
  EXPECT_EQ(parts.GetRecordCount(), 0);
  EXPECT_EQ(refusalOf([this] { parts.Next(part); }), kNoStep);
  EXPECT_EQ(refusalOf([this] { parts.Previous(part); }), kNoStep);
  EXPECT_EQ(refusalOf([this] { parts.Refresh(part); }), kNoKey);
  EXPECT_FALSE(parts.FindByKey(code(u"A"), &part));
}

TEST_F(CachedCollection, OneRowIsTheFirstAndTheLast) {
  answerRows({{u"A", 1}});
  EXPECT_FALSE(parts.Bof());
  EXPECT_FALSE(parts.Eof());
  EXPECT_EQ(parts.First(part), 0);
  EXPECT_EQ(part.text(), "Code=A U_N=1");
  part = Part();
  EXPECT_EQ(parts.Last(part), 0);
  EXPECT_EQ(part.text(), "Code=A U_N=1");
  parts.Refresh(part);
  EXPECT_TRUE(parts.FindByKey(code(u"A"), &part));
  EXPECT_EQ(parts.Next(part), 1);
  EXPECT_EQ(parts.First(part), 0);
  EXPECT_EQ(parts.Previous(part), 1);
}

TEST_F(CachedCollection, MovesAsAPlainListDoes) {
  const std::string all = "ABCDEFG";
  company->otherwise = {{u"__kf__.Code", u"Code"}, {}};
  for (const char each : all) {
    const std::u16string text(1, static_cast<char16_t>(each));
    company->otherwise.rows.push_back({std::u16string_view(text), std::u16string_view(text)});
  }
  const long count = static_cast<long>(all.size());
  std::mt19937 random(20261122);
  long position = 0;
  parts.Load();
  for (int step = 0; step < 2000; ++step) {
    const bool onARow = position >= 0 && position < count;
    const unsigned operation = random() % 8;
    long outcome = 0;
    part = Part();
    if (operation == 0) {
      position = 0, outcome = parts.First(part);
    } else if (operation == 1) {
      position = count - 1, outcome = parts.Last(part);
    } else if (!onARow) {
      EXPECT_EQ(refusalOf([&] { operation % 2 == 0 ? parts.Next(part) : parts.Previous(part); }),
                kNoStep);
      continue;
    } else if (operation % 2 == 0) {
      ++position, outcome = parts.Next(part);
    } else {
      --position, outcome = parts.Previous(part);
    }
    const bool reached = position >= 0 && position < count;
    ASSERT_EQ(outcome, reached ? 0 : 1) << step;
    ASSERT_EQ(part.text(),
              reached ? std::string("Code=") + all[static_cast<std::size_t>(position)] : "")
        << step;
    ASSERT_EQ(parts.Eof(), position == count) << step;
    ASSERT_EQ(parts.Bof(), position < 0) << step;
  }
}

TEST_F(CachedCollection, ALoadIsAnsweredFromTheCacheAndMovesToTheFirstRow) {
  parts.Last(part);
  statements();
  parts.Load();
  EXPECT_THAT(statements(), IsEmpty());
  EXPECT_EQ(parts.Next(part), 0);
  EXPECT_EQ(part.text(), "Code=B U_N=2");
}

TEST_F(CachedCollection, ALoadReadsTheDatabaseAgainWhenTheRowsAreTooOld) {
  parts.Load();
  statements();
  wait(5 * 60);
  parts.Load();
  EXPECT_THAT(statements(), IsEmpty());
  answerRows({{u"X", 1}});
  wait(1);
  parts.Load();
  EXPECT_THAT(statements(), ElementsAre(kSelectAll));
  EXPECT_EQ(codes(parts), "X");
}

TEST_F(CachedCollection, AFailedLoadLeavesNoRowsAndIsRepeated) {
  EXPECT_EQ(codes(parts), "ABC");
  wait(301);
  company->failStatement = static_cast<int>(company->runs.size()) + 1;
  EXPECT_THROW(parts.Load(), _com_error);
  statements();
  answerRows({{u"X", 1}});
  EXPECT_EQ(parts.GetRecordCount(), 1);
  EXPECT_THAT(statements(), ElementsAre(kSelectAll));
  EXPECT_EQ(codes(parts), "X");
}

TEST_F(CachedCollection, ALoadWithoutABehaviorIsRefused) {
  Parts fresh;
  fresh.Connect(host(), u"@T", false, nullptr);
  EXPECT_EQ(refusalOf([&] { fresh.First(part); }),
            "-1: not support yet, not make sense in reality");
}

TEST_F(CachedCollection, ARefreshLoadsAndReadsTheFirstRow) {
  parts.Last(part);
  answerRows({{u"D", 4}, {u"E", 5}});
  wait(301);
  parts.Refresh(part);
  EXPECT_EQ(part.text(), "Code=D U_N=4");
  EXPECT_EQ(parts.Next(part), 0);
  EXPECT_EQ(part.text(), "Code=E U_N=5");
}

TEST_F(CachedCollection, ACopyOfAnUnconnectedCollectionIsUnconnected) {
  const Parts fresh;
  Parts copy(fresh);
  EXPECT_EQ(refusalOf([&] { copy.First(part); }), kNoTable);
  parts = fresh;
  EXPECT_EQ(refusalOf([&] { parts.First(part); }), kNoTable);
}

}  // namespace
}  // namespace Persistence
