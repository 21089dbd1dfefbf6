#include "qxframework/query/condition.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/query/testing/condition_access.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <utility>

namespace Persistence {
namespace {

using qx::ConditionAccess;
using qx::viewOf;
using namespace std::string_view_literals;

/// A list of one condition with every field set.
qx_ptr<CConditions> full() {
  auto list = CConditions::CreateNewInstance();
  CCondition* const condition = list->Add();
  condition->PutAlias(u"Code");
  condition->PutComparedAlias(u"VT_BSTR");
  condition->PutCondVal(u"A");
  condition->PutOperation(co_Greater);
  condition->PutRelationship(cr_Or);
  condition->PutBracketOpenNum(2);
  condition->PutBracketCloseNum(3);
  ConditionAccess::compareFields(*condition, VARIANT_TRUE);
  return list;
}

TEST(Condition, ANewOneHasEmptyTextsAndTheLikeOperation) {
  const auto list = CConditions::CreateNewInstance();
  const CCondition* const condition = list->Add();
  ASSERT_NE(condition->GetAlias(), nullptr);
  ASSERT_NE(condition->GetCondVal(), nullptr);
  ASSERT_NE(condition->GetComparedAlias(), nullptr);
  EXPECT_EQ(viewOf(condition->GetAlias()), u"");
  EXPECT_EQ(viewOf(condition->GetCondVal()), u"");
  EXPECT_EQ(viewOf(condition->GetComparedAlias()), u"");
  EXPECT_EQ(condition->GetOperation(), 0);
  EXPECT_EQ(condition->GetOperation(), co_Like);
  EXPECT_EQ(condition->GetRelationship(), 0);
  EXPECT_EQ(condition->GetCompareFields(), VARIANT_FALSE);
  EXPECT_EQ(condition->GetBracketOpenNum(), 0);
  EXPECT_EQ(condition->GetBracketCloseNum(), 0);
}

TEST(Condition, ReturnsWhatWasSet) {
  const auto list = full();
  const CCondition& condition = *list->Item(0);
  EXPECT_EQ(viewOf(condition.GetAlias()), u"Code");
  EXPECT_EQ(viewOf(condition.GetComparedAlias()), u"VT_BSTR");
  EXPECT_EQ(viewOf(condition.GetCondVal()), u"A");
  EXPECT_EQ(condition.GetOperation(), 2);
  EXPECT_EQ(condition.GetRelationship(), 99);
  EXPECT_EQ(condition.GetBracketOpenNum(), 2);
  EXPECT_EQ(condition.GetBracketCloseNum(), 3);
}

TEST(Condition, KeepsACopyOfATextAndReturnsNullForANullOne) {
  const auto list = CConditions::CreateNewInstance();
  CCondition& condition = *list->Add();
  CComBSTR alias(u"Code");
  condition.PutAlias(alias);
  alias = u"Name";
  EXPECT_EQ(viewOf(condition.GetAlias()), u"Code");
  condition.PutCondVal(CComBSTR());
  EXPECT_EQ(condition.GetCondVal(), nullptr);
}

TEST(Condition, KeepsAllUnitsOfAValue) {
  const auto list = CConditions::CreateNewInstance();
  CCondition& condition = *list->Add();
  condition.PutCondVal(CComBSTR(u"a\0\xD800"sv));
  EXPECT_EQ(qx::viewOfBstr(condition.GetCondVal()), u"a\0\xD800"sv);
}

TEST(Condition, ACopyIsEqualAndIndependent) {
  const auto list = full();
  CCondition copy(*list->Item(0));
  EXPECT_TRUE(copy == *list->Item(0));
  EXPECT_FALSE(copy != *list->Item(0));
  copy.PutCondVal(u"B");
  EXPECT_EQ(viewOf(list->Item(0)->GetCondVal()), u"A");
}

TEST(Condition, AssignmentCopiesEveryField) {
  const auto list = full();
  CCondition& fresh = *list->Add();
  fresh = *list->Item(0);
  EXPECT_TRUE(fresh == *list->Item(0));
  EXPECT_EQ(fresh.GetCompareFields(), VARIANT_TRUE);
}

TEST(Condition, EveryFieldCountsForEquality) {
  const std::function<void(CCondition&)> changes[] = {
      [](CCondition& c) { c.PutComparedAlias(u"VT_R8"); },
      [](CCondition& c) { ConditionAccess::compareFields(c, VARIANT_FALSE); },
      [](CCondition& c) { c.PutOperation(co_Less); },
      [](CCondition& c) { c.PutRelationship(cr_And); },
      [](CCondition& c) { c.PutCondVal(u"a"); },
      [](CCondition& c) { c.PutAlias(u"code"); },
      [](CCondition& c) { c.PutBracketOpenNum(1); },
      [](CCondition& c) { c.PutBracketCloseNum(1); }};
  for (const auto& change : changes) {
    const auto a = full();
    const auto b = full();
    EXPECT_TRUE(*a->Item(0) == *b->Item(0));
    change(*b->Item(0));
    EXPECT_FALSE(*a->Item(0) == *b->Item(0));
    EXPECT_TRUE(*a->Item(0) != *b->Item(0));
    EXPECT_TRUE(*a != *b);
  }
}

TEST(Condition, TextsOfDifferentUnitsDifferEvenIfTheyCollateAlike) {
  const auto a = full();
  const auto b = full();
  a->Item(0)->PutCondVal(u"caf\u00E9");
  b->Item(0)->PutCondVal(u"cafe\u0301");
  EXPECT_FALSE(*a->Item(0) == *b->Item(0));
}

TEST(Conditions, ANewListIsEmpty) { EXPECT_EQ(CConditions::CreateNewInstance()->GetCount(), 0); }

TEST(Conditions, KeepTheOrderOfAdding) {
  const auto list = CConditions::CreateNewInstance();
  CCondition* const first = list->Add();
  CCondition* const second = list->Add();
  EXPECT_EQ(list->GetCount(), 2);
  EXPECT_EQ(list->Item(0), first);
  EXPECT_EQ(list->Item(1), second);
}

TEST(Conditions, AVariantIndexIsReadAsItsIntegerWhateverItsType) {
  const auto list = CConditions::CreateNewInstance();
  list->Add();
  CCondition* const second = list->Add();
  EXPECT_EQ(list->Item(CComVariant(1)), second);
  CComVariant other(1);
  other.vt = VT_UI4;
  EXPECT_EQ(list->Item(other), second);
}

TEST(Conditions, AnIndexOutOfRangeIsRefused) {
  const auto list = CConditions::CreateNewInstance();
  list->Add();
  EXPECT_THROW((void)list->Item(1), std::out_of_range);
  EXPECT_THROW((void)list->Item(-1), std::out_of_range);
  EXPECT_THROW((void)list->Item(CComVariant(7)), std::out_of_range);
}

TEST(Conditions, AddTakesOwnershipOfACondition) {
  const auto list = CConditions::CreateNewInstance();
  auto* const condition = new CCondition(*full()->Item(0));
  list->Add(condition);
  EXPECT_EQ(list->Item(0), condition);
}

TEST(Conditions, AddRefusesANullCondition) {
  const auto list = CConditions::CreateNewInstance();
  EXPECT_THROW(list->Add(nullptr), _com_error);
  EXPECT_EQ(list->GetCount(), 0);
}

TEST(Conditions, ACloneHasEqualButIndependentConditionsInTheSameOrder) {
  const auto list = full();
  list->Add()->PutAlias(u"Second");
  const auto clone = list->Clone();
  EXPECT_TRUE(*clone == *list);
  EXPECT_NE(clone->Item(0), list->Item(0));
  clone->Item(1)->PutAlias(u"Changed");
  EXPECT_EQ(viewOf(list->Item(1)->GetAlias()), u"Second");
  EXPECT_TRUE(*clone != *list);
}

TEST(Conditions, ListsOfDifferentLengthDiffer) {
  const auto a = full();
  const auto b = full();
  b->Add();
  EXPECT_FALSE(*a == *b);
  EXPECT_TRUE(*a != *b);
}

TEST(Conditions, ListsOfTheSameConditionsInAnotherOrderDiffer) {
  const auto a = full();
  a->Add();
  const auto b = CConditions::CreateNewInstance();
  b->Add();
  *b->Add() = *a->Item(0);
  EXPECT_FALSE(*a == *b);
}

TEST(Conditions, ClearWithDestroyDeletesTheConditions) {
  const auto list = full();
  const auto condition = ConditionAccess::watch(*list, 0);
  EXPECT_FALSE(condition.expired());
  list->Clear(true);
  EXPECT_TRUE(condition.expired());
  EXPECT_EQ(list->GetCount(), 0);
  list->Add();
  EXPECT_EQ(list->GetCount(), 1);
}

TEST(Conditions, ClearWithoutDestroyKeepsTheConditionsAlive) {
  CCondition* condition = nullptr;
  {
    const auto list = full();
    condition = list->Item(0);
    list->Clear(false);
    EXPECT_EQ(list->GetCount(), 0);
  }
  EXPECT_EQ(viewOf(condition->GetAlias()), u"Code");
  delete condition;
}

TEST(Conditions, ACopyOfTheListSharesTheConditions) {
  auto list = full();
  CConditions copy(*list);
  EXPECT_EQ(copy.Item(0), list->Item(0));
  list->Item(0)->PutAlias(u"Changed");
  list = 0;
  EXPECT_EQ(viewOf(copy.Item(0)->GetAlias()), u"Changed");
}

TEST(Conditions, AssignmentSharesTheConditionsAndReleasesTheFormerOnes) {
  const auto list = full();
  CConditions other(*CConditions::CreateNewInstance());
  other.Add();
  const auto former = ConditionAccess::watch(other, 0);
  other = *list;
  EXPECT_TRUE(former.expired());
  EXPECT_EQ(other.GetCount(), 1);
  EXPECT_EQ(other.Item(0), list->Item(0));
}

TEST(Conditions, RemoveReleasesItsReferenceOnly) {
  auto list = full();
  const qx_ptr<CConditions> second = list;
  CConditions::Remove(list);
  EXPECT_EQ(second->GetCount(), 1);
  CConditions::Remove(qx_ptr<CConditions>());
}

TEST(Conditions, AreDeletedWithTheLastReferenceToTheirList) {
  auto list = full();
  const auto condition = ConditionAccess::watch(*list, 0);
  qx_ptr<CConditions> second = list;
  list = 0;
  EXPECT_FALSE(condition.expired());
  CConditions::Remove(second);  // takes a reference of its own and gives it up
  EXPECT_FALSE(condition.expired());
  second = 0;
  EXPECT_TRUE(condition.expired());
}

TEST(Conditions, RemoveOfTheLastReferenceDeletesTheList) {
  auto list = full();
  const auto condition = ConditionAccess::watch(*list, 0);
  CConditions::Remove(std::exchange(list, qx_ptr<CConditions>()));
  EXPECT_TRUE(condition.expired());
}

TEST(Conditions, SharedByTwoListsAreDeletedWithTheLastOfThem) {
  auto list = full();
  const auto condition = ConditionAccess::watch(*list, 0);
  {
    const CConditions copy(*list);
    list = 0;
    EXPECT_FALSE(condition.expired());
  }
  EXPECT_TRUE(condition.expired());
}

}  // namespace
}  // namespace Persistence
