#include "qxframework/cache/load_parameter.h"

#include "qxframework/cache/testing/load_parameter_access.h"
#include "qxframework/os/clock.h"
#include "qxframework/query/testing/query_parts.h"
#include "qxframework/query/testing/vtable_slot.h"
#include "testing/time_zone.h"

#include <gmock/gmock.h>

#include <memory>

namespace Persistence {
namespace {

using namespace qx::test;
using namespace std::chrono_literals;
using qx::LoadParameterAccess;

using Names = std::vector<CComBSTR>;
using Links = std::vector<CQXLinkTableCriteria>;
using Prefetching = TyLoadParameter_WithPrefetchKeys;

qx_ptr<Names> names(const Names& list) { return qx_ptr<Names>(new Names(list), true); }

qx_ptr<CQXPersistenceSortFieldCollection> sortedBy(const OLECHAR* name) {
  return qx_ptr<CQXPersistenceSortFieldCollection>(
      new CQXPersistenceSortFieldCollection{CQXPersistenceSortField(name)}, true);
}

qx_ptr<Links> joinedWith(const OLECHAR* table) {
  return qx_ptr<Links>(new Links{CQXLinkTableCriteria(table, u"T1", jm_Inner, false)}, true);
}

void setAll(TyLoadParameter& param) {
  param.SetKeyFields(names({u"Code"}));
  const Names fields{u"U_A", u"U_B"};
  param.SetFields(&fields);
  param.SetKeyFieldsOnly(true);
  param.SetMajorTable(u"@T");
  param.SetMajorTableCorrelationName(u"T0");
  param.SetConditions(codeIs(u"A"));
  param.SetSortFields(sortedBy(u"U_A"));
  param.SetIsUserTable(true);
  param.SetReturnRecordCountOnly(true);
  param.SetLinkTableCriterias(joinedWith(u"@L"));
}

class LoadParameter : public testing::Test {
 protected:
  static double secondsBetween(const COleDateTime& before, const TyLoadParameter& param) {
    return (LoadParameterAccess::timeStamp(param) - before).GetTotalSeconds();
  }
  /// Lets a second pass, so that what is made next has another time stamp.
  void nextSecond() { clock.advance(1s); }

  qx::ManualClock clock{std::chrono::sys_days{std::chrono::year{2024} / 1 / 31} + 10h + 400ms};
  qx::ScopedClock current{clock};
};

/// Expects that a parameter that `change` was applied to differs from one without the change.
#define EXPECT_DIFFERS(Type, statement) \
  {                                     \
    Type a;                             \
    setAll(a);                          \
    nextSecond();                       \
    Type b;                             \
    setAll(b);                          \
    EXPECT_TRUE(a == b);                \
    statement;                          \
    EXPECT_FALSE(a == b) << #statement; \
    EXPECT_FALSE(b == a) << #statement; \
  }

TEST_F(LoadParameter, HasItsVirtualOperationsInTheirSlots) {
  EXPECT_EQ(slotOf(&TyLoadParameter::Init), 0);
  EXPECT_EQ(slotOf(&TyLoadParameter::operator==), 1);
  EXPECT_EQ(slotOf(&TyLoadParameter::Clear), 2);
  // The destructor has the slots 3 and 4.
  EXPECT_EQ(slotOf(static_cast<bool (Prefetching::*)(const Prefetching&) const>(
                &Prefetching::operator==)),
            5);
  EXPECT_EQ(slotOf(&Prefetching::GetPrefetchBehavior), 6);
  EXPECT_EQ(slotOf(&Prefetching::SetPrefetchBehavior), 7);
}

TEST_F(LoadParameter, ANewOneIsEmpty) {
  const TyLoadParameter param;
  EXPECT_EQ(param.GetKeyFields().get(), nullptr);
  EXPECT_EQ(param.GetFields().get(), nullptr);
  EXPECT_EQ(param.GetConditions().get(), nullptr);
  EXPECT_EQ(param.GetSortFields().get(), nullptr);
  EXPECT_EQ(param.GetLinkTableCriterias().get(), nullptr);
  EXPECT_EQ(utf8(param.GetMajorTable()), "");
  EXPECT_EQ(utf8(param.GetMajorTableCorrelationName()), "");
  EXPECT_FALSE(param.IsKeyFieldsOnly());
  EXPECT_FALSE(param.GetIsUserTable());
  EXPECT_FALSE(param.IsReturnRecordCount());
}

TEST_F(LoadParameter, ReturnsWhatWasSet) {
  TyLoadParameter param;
  setAll(param);
  EXPECT_EQ(*param.GetKeyFields(), Names{u"Code"});
  EXPECT_EQ(*param.GetFields(), (Names{u"U_A", u"U_B"}));
  EXPECT_EQ(shown(param.GetConditions()), "Code|1|98|VT_BSTR|A");
  EXPECT_EQ(param.GetSortFields()->front(), CQXPersistenceSortField(u"U_A"));
  EXPECT_EQ(*param.GetLinkTableCriterias(), *joinedWith(u"@L"));
  EXPECT_EQ(utf8(param.GetMajorTable()), "@T");
  EXPECT_EQ(utf8(param.GetMajorTableCorrelationName()), "T0");
  EXPECT_TRUE(param.IsKeyFieldsOnly());
  EXPECT_TRUE(param.GetIsUserTable());
  EXPECT_TRUE(param.IsReturnRecordCount());
}

TEST_F(LoadParameter, SharesTheListsThatAreGivenAsCountedPointers) {
  TyLoadParameter param;
  const auto keys = names({u"Code"});
  const auto conditions = codeIs(u"A");
  const auto sortFields = sortedBy(u"U_A");
  const auto links = joinedWith(u"@L");
  param.SetKeyFields(keys);
  param.SetConditions(conditions);
  param.SetSortFields(sortFields);
  param.SetLinkTableCriterias(links);
  EXPECT_EQ(param.GetKeyFields().get(), keys.get());
  EXPECT_EQ(param.GetConditions().get(), conditions.get());
  EXPECT_EQ(param.GetSortFields().get(), sortFields.get());
  EXPECT_EQ(param.GetLinkTableCriterias().get(), links.get());
}

TEST_F(LoadParameter, CopiesTheNamesThatAreGivenAsPlainPointers) {
  TyLoadParameter param;
  Names keys{u"Code"};
  Names fields{u"U_A"};
  param.SetKeyFields(&keys);
  param.SetFields(&fields);
  keys[0] = u"x";
  fields[0] = u"x";
  EXPECT_EQ(*param.GetKeyFields(), Names{u"Code"});
  EXPECT_EQ(*param.GetFields(), Names{u"U_A"});
  param.SetKeyFields(static_cast<const Names*>(nullptr));
  param.SetFields(nullptr);
  EXPECT_EQ(param.GetKeyFields().get(), nullptr);
  EXPECT_EQ(param.GetFields().get(), nullptr);
}

TEST_F(LoadParameter, ACopyHasListsOfItsOwn) {
  TyLoadParameter param;
  setAll(param);
  const TyLoadParameter copy(param);
  (*param.GetKeyFields())[0] = u"x";
  (*param.GetFields())[0] = u"x";
  param.GetConditions()->Item(0L)->PutCondVal(u"x");
  param.GetSortFields()->clear();
  param.GetLinkTableCriterias()->clear();
  EXPECT_EQ(*copy.GetKeyFields(), Names{u"Code"});
  EXPECT_EQ(*copy.GetFields(), (Names{u"U_A", u"U_B"}));
  EXPECT_EQ(shown(copy.GetConditions()), "Code|1|98|VT_BSTR|A");
  EXPECT_EQ(copy.GetSortFields()->size(), 1u);
  EXPECT_EQ(*copy.GetLinkTableCriterias(), *joinedWith(u"@L"));
  EXPECT_TRUE(copy.IsKeyFieldsOnly());
  EXPECT_TRUE(copy.GetIsUserTable());
  EXPECT_EQ(utf8(copy.GetMajorTable()), "@T");
  EXPECT_EQ(utf8(copy.GetMajorTableCorrelationName()), "T0");
}

TEST_F(LoadParameter, ACopySelectsRowsAndHasATimeStampOfItsOwn) {
  TyLoadParameter param;
  setAll(param);
  nextSecond();
  const TyLoadParameter copy(param);
  EXPECT_FALSE(copy.IsReturnRecordCount());
  EXPECT_EQ(secondsBetween(LoadParameterAccess::timeStamp(param), copy), 1);
}

TEST_F(LoadParameter, ACopyOfAnEmptyOneHasNoLists) {
  const TyLoadParameter param;
  const TyLoadParameter copy(param);
  EXPECT_EQ(copy.GetKeyFields().get(), nullptr);
  EXPECT_EQ(copy.GetFields().get(), nullptr);
  EXPECT_EQ(copy.GetConditions().get(), nullptr);
  EXPECT_EQ(copy.GetSortFields().get(), nullptr);
  EXPECT_EQ(copy.GetLinkTableCriterias().get(), nullptr);
}

TEST_F(LoadParameter, AnAssignmentSharesTheListsAndCopiesTextsAndFlags) {
  Prefetching param;
  setAll(param);
  param.SetPrefetchBehavior(pb_FirstRowsFrom, std::make_unique<TyFieldValues>().get(), 7);
  param.SetMaxCacheTimeSpan(COleDateTimeSpan(1, 0, 0, 0));
  nextSecond();
  Prefetching other;
  const COleDateTime before = LoadParameterAccess::timeStamp(other);
  nextSecond();
  other = param;
  EXPECT_EQ(other.GetKeyFields().get(), param.GetKeyFields().get());
  EXPECT_EQ(other.GetFields().get(), param.GetFields().get());
  EXPECT_EQ(other.GetConditions().get(), param.GetConditions().get());
  EXPECT_EQ(other.GetSortFields().get(), param.GetSortFields().get());
  EXPECT_EQ(other.GetLinkTableCriterias().get(), param.GetLinkTableCriterias().get());
  EXPECT_EQ(other.GetPrefetchFields().get(), param.GetPrefetchFields().get());
  EXPECT_EQ(utf8(other.GetMajorTable()), "@T");
  EXPECT_EQ(utf8(other.GetMajorTableCorrelationName()), "T0");
  EXPECT_TRUE(other.IsKeyFieldsOnly());
  EXPECT_TRUE(other.GetIsUserTable());
  EXPECT_TRUE(other.IsReturnRecordCount());
  EXPECT_EQ(other.GetPrefetchCount(), 7);
  EXPECT_EQ(other.GetMaxCacheTimeSpan(), COleDateTimeSpan(1, 0, 0, 0));
  EXPECT_EQ(LoadParameterAccess::timeStamp(other), before);
}

TEST_F(LoadParameter, AnAssignmentToItselfChangesNothing) {
  Prefetching param;
  setAll(param);
  const Prefetching& same = param;
  param = same;
  EXPECT_EQ(*param.GetKeyFields(), Names{u"Code"});
  EXPECT_EQ(utf8(param.GetMajorTable()), "@T");
}

TEST_F(LoadParameter, InitAndClearKeepOnlyTheFlagOfKeyFieldsOnly) {
  for (const auto operation : {&TyLoadParameter::Init, &TyLoadParameter::Clear}) {
    TyLoadParameter param;
    setAll(param);
    nextSecond();
    (param.*operation)();
    EXPECT_EQ(param.GetKeyFields().get(), nullptr);
    EXPECT_EQ(param.GetFields().get(), nullptr);
    EXPECT_EQ(param.GetConditions().get(), nullptr);
    EXPECT_EQ(param.GetSortFields().get(), nullptr);
    EXPECT_EQ(param.GetLinkTableCriterias().get(), nullptr);
    EXPECT_EQ(utf8(param.GetMajorTable()), "");
    EXPECT_EQ(utf8(param.GetMajorTableCorrelationName()), "");
    EXPECT_TRUE(param.IsKeyFieldsOnly());
    EXPECT_FALSE(param.GetIsUserTable());
    EXPECT_FALSE(param.IsReturnRecordCount());
    EXPECT_EQ(LoadParameterAccess::timeStamp(param),
              LoadParameterAccess::timeStamp(TyLoadParameter()));
  }
}

TEST_F(LoadParameter, ClearLeavesTheSharedListsToTheOthers) {
  TyLoadParameter param;
  const auto conditions = codeIs(u"A");
  const auto keys = names({u"Code"});
  param.SetConditions(conditions);
  param.SetKeyFields(keys);
  param.Clear();
  EXPECT_EQ(conditions->GetCount(), 1);
  EXPECT_EQ(keys->size(), 1u);
}

TEST_F(LoadParameter, InitAndClearOfTheDerivedClassSetItsDefaults) {
  for (const auto operation : {&TyLoadParameter::Init, &TyLoadParameter::Clear}) {
    Prefetching param;
    const TyFieldValues start{{u"Code", u"A"}};
    param.SetMajorTable(u"@T");
    param.SetPrefetchBehavior(pb_FirstRowsFrom, &start, 7);
    param.SetMaxCacheTimeSpan(COleDateTimeSpan(1, 0, 0, 0));
    LoadParameterAccess::setComparison(param, co_Less);
    nextSecond();
    TyLoadParameter& base = param;
    (base.*operation)();
    EXPECT_EQ(param.GetPrefetchFields().get(), nullptr);
    EXPECT_EQ(param.GetPrefetchCount(), 100);
    EXPECT_EQ(param.GetMaxCacheTimeSpan(), COleDateTimeSpan(0, 0, 5, 0));
    EXPECT_EQ(utf8(param.GetMajorTable()), "");
    nextSecond();
    EXPECT_TRUE(param == Prefetching());
  }
}

TEST_F(LoadParameter, TheTimeStampIsTheLocalTimeInWholeSeconds) {
  const ScopedTimeZone zone("UTC-1");
  const TyLoadParameter param;
  EXPECT_EQ(LoadParameterAccess::timeStamp(param), COleDateTime(2024, 1, 31, 11, 0, 0));
  clock.advance(599ms);
  EXPECT_EQ(LoadParameterAccess::timeStamp(TyLoadParameter()), COleDateTime(2024, 1, 31, 11, 0, 0));
  clock.advance(1ms);
  EXPECT_EQ(LoadParameterAccess::timeStamp(TyLoadParameter()), COleDateTime(2024, 1, 31, 11, 0, 1));
}

TEST_F(LoadParameter, EverySetterButThatOfTheRecordCountUpdatesTheTimeStamp) {
  using Change = void (*)(Prefetching&);
  const Change updating[] = {
      [](Prefetching& param) { param.SetKeyFields(names({u"A"})); },
      [](Prefetching& param) { param.SetKeyFields(static_cast<const Names*>(nullptr)); },
      [](Prefetching& param) { param.SetFields(nullptr); },
      [](Prefetching& param) { param.SetConditions({}); },
      [](Prefetching& param) { param.SetSortFields({}); },
      [](Prefetching& param) { param.SetLinkTableCriterias({}); },
      [](Prefetching& param) { param.SetKeyFieldsOnly(true); },
      [](Prefetching& param) { param.SetIsUserTable(true); },
      [](Prefetching& param) { param.SetMajorTable(u"T"); },
      [](Prefetching& param) { param.SetMajorTableCorrelationName(u"T"); },
      [](Prefetching& param) { param.Init(); }};
  const Change silent[] = {
      [](Prefetching& param) { param.SetReturnRecordCountOnly(true); },
      [](Prefetching& param) { param.SetMaxCacheTimeSpan(COleDateTimeSpan(1, 0, 0, 0)); },
      [](Prefetching& param) { param.SetPrefetchFields(nullptr); },
      [](Prefetching& param) { param.SetPrefetchBehavior(pb_AllRows, nullptr, 0); }};
  const auto updates = [this](Change change) {
    Prefetching param;
    const COleDateTime before = LoadParameterAccess::timeStamp(param);
    nextSecond();
    change(param);
    return secondsBetween(before, param) == 1;
  };
  for (const Change& change : updating)
    EXPECT_TRUE(updates(change)) << "number " << &change - updating;
  for (const Change& change : silent)
    EXPECT_FALSE(updates(change)) << "number " << &change - silent;
}

TEST_F(LoadParameter, ParametersOfOneSecondAreEqualWhateverTheyHold) {
  TyLoadParameter orders;
  orders.SetMajorTable(u"@ORDERS");
  clock.advance(599ms);
  TyLoadParameter lines;
  lines.SetMajorTable(u"@LINES");
  EXPECT_TRUE(orders == lines);
  clock.advance(1ms);
  lines.SetMajorTable(u"@LINES");
  EXPECT_FALSE(orders == lines);
}

TEST_F(LoadParameter, ParametersOfDifferentSecondsAreEqualByTheirContents) {
  EXPECT_DIFFERS(TyLoadParameter, b.SetKeyFieldsOnly(false));
  EXPECT_DIFFERS(TyLoadParameter, b.SetReturnRecordCountOnly(false));
  EXPECT_DIFFERS(TyLoadParameter, b.SetMajorTable(u"@t"));
  EXPECT_DIFFERS(TyLoadParameter, b.SetMajorTableCorrelationName(u"T1"));
  EXPECT_DIFFERS(TyLoadParameter, b.SetIsUserTable(false));
  EXPECT_DIFFERS(TyLoadParameter, b.SetKeyFields(names({u"Code", u"Line"})));
  EXPECT_DIFFERS(TyLoadParameter, b.SetKeyFields(names({u"code"})));
  EXPECT_DIFFERS(TyLoadParameter, b.SetKeyFields(names({})));
  EXPECT_DIFFERS(TyLoadParameter, b.SetKeyFields(static_cast<const Names*>(nullptr)));
  EXPECT_DIFFERS(TyLoadParameter, b.SetFields(nullptr));
  EXPECT_DIFFERS(TyLoadParameter, b.GetFields()->pop_back());
  EXPECT_DIFFERS(TyLoadParameter, b.SetConditions({}));
  EXPECT_DIFFERS(TyLoadParameter, b.SetConditions(codeIs(u"B")));
  EXPECT_DIFFERS(TyLoadParameter, b.SetSortFields({}));
  EXPECT_DIFFERS(TyLoadParameter, b.SetSortFields(sortedBy(u"U_B")));
  EXPECT_DIFFERS(TyLoadParameter, b.SetLinkTableCriterias({}));
  EXPECT_DIFFERS(TyLoadParameter, b.SetLinkTableCriterias(joinedWith(u"@M")));
}

TEST_F(LoadParameter, ParametersWithoutListsAreEqual) {
  const TyLoadParameter a;
  nextSecond();
  EXPECT_TRUE(a == TyLoadParameter());
}

TEST_F(LoadParameter, SharedListsAreEqualWithoutAComparison) {
  TyLoadParameter a;
  setAll(a);
  nextSecond();
  TyLoadParameter b;
  b = a;
  EXPECT_TRUE(a == b);
}

TEST_F(LoadParameter, TheDerivedClassComparesItsOwnFieldsToo) {
  const TyFieldValues start{{u"Code", u"A"}, {u"Line", 1}};
  EXPECT_DIFFERS(Prefetching, b.SetPrefetchBehavior(pb_FirstRows, nullptr, 99));
  EXPECT_DIFFERS(Prefetching, LoadParameterAccess::setComparison(b, co_Equal));
  EXPECT_DIFFERS(Prefetching, b.SetMaxCacheTimeSpan(COleDateTimeSpan(0, 0, 5, 1)));
  EXPECT_DIFFERS(Prefetching, b.SetPrefetchFields(&start));
  EXPECT_DIFFERS(Prefetching, b.SetMajorTable(u"@U"));
}

TEST_F(LoadParameter, ItsOwnFieldsAreComparedWithinOneSecondToo) {
  Prefetching a;
  Prefetching b;
  b.SetPrefetchBehavior(pb_FirstRows, nullptr, 99);
  EXPECT_FALSE(a == b);
  const TyLoadParameter& base = b;
  EXPECT_TRUE(base == a);
}

TEST_F(LoadParameter, TimeSpansAreEqualWithinHalfASecond) {
  constexpr double kSecond = 1.0 / 86400;
  const auto equal = [](const COleDateTimeSpan& span) {
    Prefetching a;
    Prefetching b;
    a.SetMaxCacheTimeSpan(COleDateTimeSpan(1.0));
    b.SetMaxCacheTimeSpan(span);
    return a == b;
  };
  EXPECT_TRUE(equal(COleDateTimeSpan(1 + 0.49 * kSecond)));
  EXPECT_TRUE(equal(COleDateTimeSpan(1 - 0.49 * kSecond)));
  EXPECT_FALSE(equal(COleDateTimeSpan(1 + 0.51 * kSecond)));
  EXPECT_FALSE(equal(COleDateTimeSpan(1 - 0.51 * kSecond)));
  COleDateTimeSpan null(1.0);
  null.SetStatus(COleDateTimeSpan::null);
  EXPECT_FALSE(equal(null));
}

TEST_F(LoadParameter, PrefetchFieldsAreEqualByTheirNamesInOrder) {
  const auto equal = [](const TyFieldValues& start) {
    const TyFieldValues own{{u"Code", u"A"}, {u"Line", 1}};
    Prefetching a;
    Prefetching b;
    a.SetPrefetchFields(&own);
    b.SetPrefetchFields(&start);
    return a == b;
  };
  EXPECT_TRUE(equal({{u"Code", u"B"}, {u"Line", 2}}));
  EXPECT_FALSE(equal({{u"Line", 1}, {u"Code", u"A"}}));
  EXPECT_FALSE(equal({{u"Code", u"A"}, {u"line", 1}}));
  EXPECT_FALSE(equal({{u"Code", u"A"}}));
  EXPECT_FALSE(equal({{u"Code", u"A"}, {u"Line", 1}, {u"U_A", 1}}));
  EXPECT_FALSE(equal({}));
}

TEST_F(LoadParameter, FillsATemplateOfTheKey) {
  TyLoadParameter param;
  TyFieldValues key;
  param.FillKeyFieldsInfo(key);
  EXPECT_EQ(key.GetCount(), 0);
  param.SetKeyFields(names({u"U_No", u"U_Line"}));
  param.FillKeyFieldsInfo(key);
  ASSERT_EQ(key.GetCount(), 2);
  EXPECT_EQ(utf8(key.GetKeyAt(0)), "U_No");
  EXPECT_EQ(utf8(key.GetKeyAt(1)), "U_Line");
  EXPECT_EQ(key.GetValueAt(0).vt, VT_EMPTY);
  EXPECT_EQ(key.GetValueAt(1).vt, VT_EMPTY);
}

TEST_F(LoadParameter, FillsATemplateOfThePrefetchFields) {
  Prefetching param;
  TyFieldValues values;
  param.FillPrefetchFieldsInfo(values);
  EXPECT_EQ(values.GetCount(), 0);
  const TyFieldValues start{{u"U_Who", u"Ann"}, {u"U_No", 1}};
  param.SetPrefetchFields(&start);
  param.FillPrefetchFieldsInfo(values);
  ASSERT_EQ(values.GetCount(), 2);
  EXPECT_EQ(utf8(values.GetKeyAt(0)), "U_Who");
  EXPECT_EQ(utf8(values.GetKeyAt(1)), "U_No");
  EXPECT_EQ(values.GetValueAt(0).vt, VT_EMPTY);
  EXPECT_EQ(values.GetValueAt(1).vt, VT_EMPTY);
}

}  // namespace
}  // namespace Persistence
