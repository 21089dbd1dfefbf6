// The conditions of the statements, those of the user and those of a key.

#include "qxframework/cache/sql_generator.h"
#include "qxframework/cache/testing/sql_generator_fixture.h"
#include "qxframework/query/testing/condition_access.h"

#include <gmock/gmock.h>

namespace Persistence {
namespace {

using namespace qx::test;
using qx::ConditionAccess;

using SqlGeneratorConditions = SqlGenerator;

TEST_F(SqlGeneratorConditions, TheRelationshipPrecedesTheBracketsOfACondition) {
  EXPECT_EQ(where(conditions({{u"Code", co_Like, u"A%", u"VT_BSTR", cr_Or, 1, 0},
                              {u"U_N", co_Greater, u"3", u"VT_R8", cr_Or, 2, 1},
                              {u"U_D", co_Less, u"20240131", u"VT_DATE", cr_And, 0, 2}})),
            "([Code] LIKE N'A%' OR (([U_N] > 3) AND [U_D] < N'20240131'))");
  param.SetMajorTableCorrelationName(u"T0");
  EXPECT_EQ(where(conditions({{u"U_]", co_NotEqual, u"it's"}})), "T0.[U_]]] <> N'it''s'");
  EXPECT_EQ(where(conditions({})), "");
}

TEST_F(SqlGeneratorConditions, AConditionsValueHasTheFormOfItsTag) {
  const auto value = [this](const OLECHAR* tag) {
    return where(conditions({{u"A", co_Equal, u"it's", tag}}));
  };
  EXPECT_EQ(value(u"VT_BSTR"), "[A] = N'it''s'");
  EXPECT_EQ(value(u"VT_DATE"), "[A] = N'it''s'");
  EXPECT_EQ(value(u"VT_R8"), "[A] = it's");
  EXPECT_EQ(value(u"other"), "[A] = it's");
  EXPECT_EQ(value(u""), "[A] = it's");
  EXPECT_EQ(value(nullptr), "[A] = it's");
}

TEST_F(SqlGeneratorConditions, ADateThatIsALiteralAlreadyIsNotQuotedAgain) {
  const auto date = [this](const OLECHAR* value) {
    return where(conditions({{u"A", co_Equal, value, u"VT_DATE"}}));
  };
  EXPECT_EQ(date(u"N'20240131'"), "[A] = N'20240131'");
  EXPECT_EQ(date(u"'20240131'"), "[A] = '20240131'");
  EXPECT_EQ(date(u"''"), "[A] = ''");
  EXPECT_EQ(date(u"N'it''s'"), "[A] = N'it''s'");
  EXPECT_EQ(date(u"N''''"), "[A] = N''''");
  // Not one literal: each of these is quoted as a whole.
  EXPECT_EQ(date(u"'a' OR 'b'"), "[A] = N'''a'' OR ''b'''");
  EXPECT_EQ(date(u"N'a"), "[A] = N'N''a'");
  EXPECT_EQ(date(u"a'"), "[A] = N'a'''");
  EXPECT_EQ(date(u"'"), "[A] = N''''");
  EXPECT_EQ(date(u"N"), "[A] = N'N'");
  EXPECT_EQ(date(u""), "[A] = N''");
  EXPECT_EQ(date(u"'''"), "[A] = N''''''''");
}

TEST_F(SqlGeneratorConditions, ADateInAKeyReachesTheStatementAsOneLiteral) {
  const TyFieldValues key{{u"U_Day", someDate()}};
  EXPECT_EQ(where(generator.GetConditionsFromKeyFields(key)), "[U_Day] = N'20240131'");
  EXPECT_EQ(where(generator.GetConditionsFromFieldValues(key, co_GreaterOrEqual)),
            "([U_Day] >= N'20240131')");
}

TEST_F(SqlGeneratorConditions, RefusesToCompareColumns) {
  const qx_ptr<CConditions> list = codeIs(u"A");
  ConditionAccess::compareFields(*list->Item(0L), VARIANT_TRUE);
  EXPECT_EQ(refusalOf([&] { where(list); }), "-1: Comparing of fields is not implemented");
}

TEST_F(SqlGeneratorConditions, EachOperationAndRelationshipHasItsText) {
  const auto operation = [this](int number) {
    return qx::toUtf8(generator.OperationToSQL(static_cast<HvConditionOperation>(number)));
  };
  EXPECT_EQ(operation(0), " LIKE ");
  EXPECT_EQ(operation(1), " = ");
  EXPECT_EQ(operation(2), " > ");
  EXPECT_EQ(operation(3), " < ");
  EXPECT_EQ(operation(4), " >= ");
  EXPECT_EQ(operation(5), " <= ");
  EXPECT_EQ(operation(6), " <> ");
  EXPECT_EQ(operation(7), " = ");
  EXPECT_EQ(operation(-1), " = ");
  const auto relationship = [this](int number) {
    return qx::toUtf8(generator.RelationshipToSQL(static_cast<HvConditionRelationship>(number)));
  };
  EXPECT_EQ(relationship(98), " AND ");
  EXPECT_EQ(relationship(99), " OR ");
  EXPECT_EQ(relationship(0), " AND ");
}

TEST_F(SqlGeneratorConditions, ConditionsOfAKeyHaveTheTypesOfItsValues) {
  const TyFieldValues key{{u"A", u"it's"}, {u"B", 12.5}, {u"C", someDate()}, {u"D", 7}};
  EXPECT_EQ(shown(generator.GetConditionsFromKeyFields(key)),
            "A|1|98|VT_BSTR|it's; B|1|98|VT_R8|12.5; C|1|98|VT_DATE|N'20240131'; D|1|98||7");
  EXPECT_EQ(where(generator.GetConditionsFromKeyFields(key)),
            "[A] = N'it''s' AND [B] = 12.5 AND [C] = N'20240131' AND [D] = 7");
}

TEST_F(SqlGeneratorConditions, ConditionsOfAKeyTakeTheOperationsByPosition) {
  const TyFieldValues key{{u"A", u"x"}, {u"B", u"y"}};
  EXPECT_EQ(shown(generator.GetConditionsFromKeyFields(key, {co_Like, co_Less})),
            "A|0|98|VT_BSTR|x; B|3|98|VT_BSTR|y");
  EXPECT_EQ(shown(generator.GetConditionsFromKeyFields(key, {co_Like, co_Less, co_Greater})),
            "A|0|98|VT_BSTR|x; B|3|98|VT_BSTR|y");
  EXPECT_EQ(shown(generator.GetConditionsFromKeyFields(key, {})),
            "A|1|98|VT_BSTR|x; B|1|98|VT_BSTR|y");
  EXPECT_EQ(refusalOf([&] { generator.GetConditionsFromKeyFields(key, {co_Like}); }),
            "-1: Operations count is less than the count of key fields");
}

TEST_F(SqlGeneratorConditions, ConditionsOfValuesCompareWholeRows) {
  const TyFieldValues one{{u"A", 1}};
  const TyFieldValues two{{u"A", 1}, {u"B", 2}};
  const TyFieldValues three{{u"A", 1}, {u"B", 2}, {u"C", 3}};
  const auto text = [this](const TyFieldValues& values, HvConditionOperation operation) {
    return where(generator.GetConditionsFromFieldValues(values, operation));
  };
  EXPECT_EQ(text(one, co_GreaterOrEqual), "([A] >= 1)");
  EXPECT_EQ(text(one, co_Greater), "([A] > 1)");
  EXPECT_EQ(text(one, co_Equal), "([A] = 1)");
  EXPECT_EQ(text(two, co_Equal), "([A] = 1 AND [B] = 2)");
  EXPECT_EQ(text(two, co_Greater), "([A] = 1 AND [B] > 2) OR ([A] > 1)");
  EXPECT_EQ(text(three, co_GreaterOrEqual),
            "([A] = 1 AND [B] = 2 AND [C] >= 3) OR ([A] = 1 AND [B] > 2) OR ([A] > 1)");
  EXPECT_EQ(text(three, co_Greater),
            "([A] = 1 AND [B] = 2 AND [C] > 3) OR ([A] = 1 AND [B] > 2) OR ([A] > 1)");
  EXPECT_EQ(text({}, co_GreaterOrEqual), "");
}

TEST_F(SqlGeneratorConditions, ConditionsOfValuesHaveTheTypesOfTheirValues) {
  const TyFieldValues row{{u"A", u"x"}, {u"B", 12.5}};
  EXPECT_EQ(shown(generator.GetConditionsFromFieldValues(row, co_GreaterOrEqual)),
            "A|1|98|VT_BSTR|x; B|4|98|VT_R8|12.5; A|2|99|VT_BSTR|x");
}

TEST_F(SqlGeneratorConditions, ConditionsOfValuesRefuseOtherOperations) {
  for (const int operation : {0, 3, 5, 6, 7, -1}) {
    EXPECT_EQ(refusalOf([&] {
                generator.GetConditionsFromFieldValues(
                    {{u"A", 1}}, static_cast<HvConditionOperation>(operation));
              }),
              "-1: Invalid Condition operator in GetConditionsFromFieldValues")
        << operation;
  }
}

TEST_F(SqlGeneratorConditions, TheStartKeyFollowsTheConditionsOfTheUser) {
  const TyFieldValues start{{u"A", 1}, {u"B", 2}};
  const auto added = [&](const qx_ptr<CConditions>& list) {
    generator.AddPrefetchConditions(*list, &start);
    return where(list);
  };
  EXPECT_EQ(added(conditions({})), "([A] = 1 AND [B] >= 2) OR ([A] > 1)");
  EXPECT_EQ(added(conditions({{u"X", co_Equal, u"x"}})),
            "[X] = N'x' AND ([A] = 1 AND [B] >= 2) OR ([A] > 1)");
  EXPECT_EQ(added(conditions({{u"X", co_Equal, u"x", u"VT_BSTR", cr_And, 1, 0},
                              {u"Y", co_Equal, u"y", u"VT_BSTR", cr_Or, 0, 1}})),
            "(([X] = N'x' OR [Y] = N'y')) AND ([A] = 1 AND [B] >= 2) OR ([A] > 1)");
}

TEST_F(SqlGeneratorConditions, WithoutAStartKeyTheConditionsStay) {
  const qx_ptr<CConditions> list = conditions({{u"X", co_Equal, u"x"}, {u"Y", co_Equal, u"y"}});
  const TyFieldValues none;
  generator.AddPrefetchConditions(*list, nullptr);
  generator.AddPrefetchConditions(*list, &none);
  EXPECT_EQ(where(list), "[X] = N'x' AND [Y] = N'y'");
}

TEST_F(SqlGeneratorConditions, TheConditionsOfTheStartKeyBelongToTheList) {
  const TyFieldValues start{{u"A", 1}};
  const qx_ptr<CConditions> list = conditions({});
  generator.AddPrefetchConditions(*list, &start);
  const auto watched = ConditionAccess::watch(*list, 0);
  EXPECT_FALSE(watched.expired());
  list->Clear(true);
  EXPECT_TRUE(watched.expired());
}

}  // namespace
}  // namespace Persistence
