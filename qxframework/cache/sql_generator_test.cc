// The pieces of the statements. sql_generator_statements_test.cc has whole statements.

#include "qxframework/cache/sql_generator.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/query/testing/condition_access.h"
#include "qxframework/query/testing/query_parts.h"
#include "qxframework/query/testing/vtable_slot.h"
#include "testing/scripted_company.h"

#include <gmock/gmock.h>

namespace Persistence {
namespace {

using namespace qx::test;
using qx::ConditionAccess;
using Param = TyLoadParameter_WithPrefetchKeys;
using SortFields = CQXPersistenceSortFieldCollection;

/// 31 January 2024.
const COleDateTime kDay(2024, 1, 31, 0, 0, 0);

template <class T>
qx_ptr<T> shared(T value) {
  return qx_ptr<T>(new T(std::move(value)), true);
}

class SqlGenerator : public testing::Test {
 protected:
  void use(long serverType) {
    company->serverType = serverType;
    generator.SetCompany(CComPtr<ICompany>(company.p));
  }
  std::string column(const OLECHAR* correlation, const OLECHAR* name, const OLECHAR* prefix) const {
    CComBSTR text;
    generator.BuildColumn(text, correlation, name, prefix);
    return utf8(text);
  }
  std::string fieldList() const {
    CComBSTR text;
    generator.BuildFieldList(text, param);
    return utf8(text);
  }
  std::string from() const {
    CComBSTR text;
    generator.BuildFrom(text, param);
    return utf8(text);
  }
  std::string joins() const {
    CComBSTR text;
    generator.BuildJoins(text, param);
    return utf8(text);
  }
  std::string orderBy(const SortFields& fields) const {
    CComBSTR text;
    generator.BuildOrderBy(text, param, fields);
    return utf8(text);
  }
  std::string where(const qx_ptr<CConditions>& list) const {
    CComBSTR text;
    generator.BuildWhere(text, *list, param);
    return utf8(text);
  }
  std::string literal(const CComVariant& value) const {
    return utf8(generator.VariantToLiteral(value));
  }
  /// Returns the two lists of an INSERT, separated by "| ".
  std::string insertLists(bool addCode, const TyFieldValues& fields, long code) const {
    CComBSTR columns;
    CComBSTR values;
    generator.BuildInsertLists({{{u"U_Key", u"k"}}, fields}, u"@T", addCode, columns, values, code);
    return utf8(columns) + "| " + utf8(values);
  }
  void setKeys(const std::vector<CComBSTR>& keys) { param.SetKeyFields(&keys); }
  void setFields(const std::vector<CComBSTR>& fields) { param.SetFields(&fields); }
  void setPrefetch(const TyFieldValues& fields) { param.SetPrefetchFields(&fields); }
  void setLinks(std::vector<CQXLinkTableCriteria> links) {
    param.SetLinkTableCriterias(shared(std::move(links)));
  }

  CComPtr<ScriptedCompany> company = makeScriptedCompany();
  CQXSQLGenerator_MSSQL generator;
  Param param;
};

TEST_F(SqlGenerator, HasItsVirtualOperationsInTheirSlots) {
  using G = CQXSQLGenerator;
  using KeyConditions = qx_ptr<CConditions> (G::*)(const TyFieldValues&,
                                                   const std::vector<HvConditionOperation>&) const;
  using KeyEquality = qx_ptr<CConditions> (G::*)(const TyFieldValues&) const;
  EXPECT_EQ(slotOf(&G::BuildSQL_Select), 0);
  EXPECT_EQ(slotOf(&G::BuildSQL_Insert), 1);
  EXPECT_EQ(slotOf(&G::BuildSQL_Update), 2);
  EXPECT_EQ(slotOf(&G::BuildSQL_Delete), 3);
  EXPECT_EQ(slotOf(&G::QuoteName), 4);
  EXPECT_EQ(slotOf(&G::BuildFieldList), 5);
  EXPECT_EQ(slotOf(&G::AddPrefetchConditions), 6);
  EXPECT_EQ(slotOf(static_cast<KeyConditions>(&G::GetConditionsFromKeyFields)), 7);
  EXPECT_EQ(slotOf(static_cast<KeyEquality>(&G::GetConditionsFromKeyFields)), 8);
  EXPECT_EQ(slotOf(&G::GetConditionsFromFieldValues), 9);
  EXPECT_EQ(slotOf(&G::DateToLiteral), 10);
  EXPECT_EQ(
      slotOf(static_cast<CComBSTR (G::*)(std::u16string_view, bool) const>(&G::StringToLiteral)),
      11);
  EXPECT_EQ(
      slotOf(static_cast<CComBSTR (G::*)(const CComVariant&, bool) const>(&G::VariantToLiteral)),
      12);
  EXPECT_EQ(slotOf(static_cast<CComBSTR (G::*)(std::u16string_view) const>(&G::StringToLiteral)),
            13);
  EXPECT_EQ(slotOf(static_cast<CComBSTR (G::*)(const CComVariant&) const>(&G::VariantToLiteral)),
            14);
  EXPECT_EQ(slotOf(&G::BuildOrderBy), 15);
  EXPECT_EQ(slotOf(&G::BuildWhere), 16);
  EXPECT_EQ(slotOf(&G::RelationshipToSQL), 17);
  EXPECT_EQ(slotOf(&G::OperationToSQL), 18);
  EXPECT_EQ(slotOf(&G::BuildJoins), 19);
  EXPECT_EQ(slotOf(&G::BuildFrom), 20);
  EXPECT_EQ(slotOf(&G::BuildJoinCondition), 21);
  EXPECT_EQ(slotOf(&G::BuildColumn), 22);
  EXPECT_EQ(slotOf(&G::BuildInsertLists), 23);
  EXPECT_EQ(slotOf(&G::BuildUpdateLists), 24);
  EXPECT_EQ(slotOf(&G::BuildDeleteCondition), 25);
}

TEST_F(SqlGenerator, ANameIsInBracketsWithoutACompanyAndForEveryServerButKordb) {
  EXPECT_EQ(utf8(generator.QuoteName(u"a[b]c]")), "[a[b]]c]]]");
  for (const long serverType : {1L, 2L, 3L, 0L, 8L, 10L}) {
    use(serverType);
    EXPECT_EQ(utf8(generator.QuoteName(u"a]b\"")), "[a]]b\"]") << serverType;
  }
  use(9);
  EXPECT_EQ(utf8(generator.QuoteName(u"a]b\"")), "\"a]b\"\"");
  EXPECT_EQ(utf8(generator.QuoteName(u"")), "\"\"");
}

TEST_F(SqlGenerator, ATextLiteralDoublesItsQuotes) {
  EXPECT_EQ(utf8(generator.StringToLiteral(u"O'Brien")), "N'O''Brien'");
  EXPECT_EQ(utf8(generator.StringToLiteral(u"'", true)), "N''''");
  EXPECT_EQ(utf8(generator.StringToLiteral(u"it's", false)), "'it''s'");
  EXPECT_EQ(utf8(generator.StringToLiteral(u"")), "N''");
  EXPECT_EQ(utf8(generator.StringToLiteral(u"\x7F")), "N'\x7F'");
}

TEST_F(SqlGenerator, ADateBecomesTheLiteralOfItsDay) {
  CComVariant date = someDate();
  EXPECT_EQ(utf8(generator.DateToLiteral(date)), "N'20240131'");
  EXPECT_EQ(date.vt, VT_BSTR);
  EXPECT_EQ(utf8(date), "N'20240131'");
  CComVariant text(u"20240131");
  EXPECT_EQ(utf8(generator.DateToLiteral(text)), "N'20240131'");
  EXPECT_EQ(utf8(text), "N'20240131'");
  CComVariant empty(0.0, VT_DATE);
  EXPECT_EQ(utf8(generator.DateToLiteral(empty)), "N'18991230'");
}

TEST_F(SqlGenerator, ALiteralHasTheFormOfItsType) {
  EXPECT_EQ(literal(u"it's"), "N'it''s'");
  EXPECT_EQ(literal(someDate()), "N'20240131'");
  EXPECT_EQ(literal(12.5), "12.5");
  EXPECT_EQ(literal(7), "7");
  EXPECT_EQ(utf8(generator.VariantToLiteral(CComVariant(u"a"), false)), "'a'");
  EXPECT_EQ(utf8(generator.VariantToLiteral(CComVariant(-0.25), false)), "-0.25");
  // The form of a date does not follow the argument.
  EXPECT_EQ(utf8(generator.VariantToLiteral(someDate(), false)), "N'20240131'");
}

TEST_F(SqlGenerator, WritingALiteralDoesNotChangeTheValue) {
  const CComVariant date = someDate();
  generator.VariantToLiteral(date);
  EXPECT_EQ(date.vt, VT_DATE);
}

TEST_F(SqlGenerator, RefusesAValueWithoutATextForm) {
  CComVariant null;
  null.vt = VT_NULL;
  EXPECT_EQ(refusalOf([&] { literal(null); }), "-1: A value of type 1 has no text form");
}

TEST_F(SqlGenerator, AColumnHasAnAliasOfItsPrefixOrElseOfItsCorrelation) {
  EXPECT_EQ(column(u"T0", u"Code", u"__kf__"), "T0.[Code] AS N'__kf__.Code'");
  EXPECT_EQ(column(u"T0", u"Code", nullptr), "T0.[Code] AS N'T0.Code'");
  EXPECT_EQ(column(nullptr, u"Code", u"__kf__"), "[Code] AS N'__kf__.Code'");
  EXPECT_EQ(column(nullptr, u"Code", nullptr), "[Code]");
  EXPECT_EQ(column(u"T0", nullptr, nullptr), "T0.*");
  EXPECT_EQ(column(u"T0", nullptr, u"__kf__"), "T0.*");
  EXPECT_EQ(column(nullptr, nullptr, nullptr), "*");
  EXPECT_EQ(column(u"T0", u"a]'b", nullptr), "T0.[a]]'b] AS N'T0.a]''b'");
}

TEST_F(SqlGenerator, AnEmptyCorrelationOrPrefixCountsAsNone) {
  EXPECT_EQ(column(u"", u"Code", nullptr), "[Code]");
  EXPECT_EQ(column(u"", u"Code", u""), "[Code]");
  EXPECT_EQ(column(u"", u"Code", u"__kf__"), "[Code] AS N'__kf__.Code'");
  EXPECT_EQ(column(u"T0", u"Code", u""), "T0.[Code] AS N'T0.Code'");
  EXPECT_EQ(column(u"", nullptr, nullptr), "*");
}

TEST_F(SqlGenerator, AnAliasIsAQuotedNameForKordbAndALiteralForTheOthers) {
  use(9);
  EXPECT_EQ(column(u"T0", u"Code", u"__kf__"), R"(T0."Code" AS "__kf__.Code")");
  EXPECT_EQ(column(u"T0", u"Code", nullptr), R"(T0."Code" AS "T0.Code")");
  for (const long serverType : {1L, 2L, 3L}) {
    use(serverType);
    EXPECT_EQ(column(u"T0", u"Code", u"__kf__"), "T0.[Code] AS N'__kf__.Code'") << serverType;
  }
}

TEST_F(SqlGenerator, TheFieldListIsACountIfOnlyThatIsAsked) {
  setKeys({u"Code"});
  setPrefetch({{u"Name", u"A"}});
  setLinks({CQXLinkTableCriteria(u"@L", u"T1", jm_Inner, false)});
  param.SetReturnRecordCountOnly(true);
  EXPECT_EQ(fieldList(), "COUNT(*)");
}

TEST_F(SqlGenerator, TheFieldListHasKeysThenPrefetchFieldsThenAllColumns) {
  setKeys({u"U_No", u"U_Line"});
  EXPECT_EQ(fieldList(), "[U_No] AS N'__kf__.U_No', [U_Line] AS N'__kf__.U_Line', *");
  setPrefetch({{u"U_Who", u"Ann"}, {u"U_No", u"A"}});
  EXPECT_EQ(fieldList(),
            "[U_No] AS N'__kf__.U_No', [U_Line] AS N'__kf__.U_Line', [U_Who] AS N'__pff__.U_Who', "
            "[U_No] AS N'__pff__.U_No', *");
  param.SetMajorTableCorrelationName(u"T0");
  EXPECT_EQ(fieldList(),
            "T0.[U_No] AS N'__kf__.U_No', T0.[U_Line] AS N'__kf__.U_Line', T0.[U_Who] AS "
            "N'__pff__.U_Who', T0.[U_No] AS N'__pff__.U_No', T0.*");
}

TEST_F(SqlGenerator, TheFieldListEndsAfterThePrefetchFieldsIfOnlyKeysAreRead) {
  setKeys({u"Code"});
  setFields({u"U_A"});
  setPrefetch({{u"U_Who", u"Ann"}});
  setLinks({CQXLinkTableCriteria(u"@L", u"T1", jm_Inner, false)});
  param.SetKeyFieldsOnly(true);
  EXPECT_EQ(fieldList(), "[Code] AS N'__kf__.Code', [U_Who] AS N'__pff__.U_Who'");
}

TEST_F(SqlGenerator, TheFieldListHasTheGivenFieldsWithTheCorrelationInTheirAliases) {
  setKeys({u"Code"});
  setFields({u"U_A", u"U_B"});
  EXPECT_EQ(fieldList(), "[Code] AS N'__kf__.Code', [U_A], [U_B]");
  param.SetMajorTableCorrelationName(u"T0");
  EXPECT_EQ(fieldList(),
            "T0.[Code] AS N'__kf__.Code', T0.[U_A] AS N'T0.U_A', T0.[U_B] AS N'T0.U_B'");
  setFields({});
  EXPECT_EQ(fieldList(), "T0.[Code] AS N'__kf__.Code', T0.*");
}

TEST_F(SqlGenerator, TheFieldListHasTheFieldsOfEachJoinedTable) {
  setKeys({u"Code"});
  setFields({u"U_A"});
  param.SetMajorTableCorrelationName(u"T0");
  CQXLinkTableCriteria named(u"@L", u"T1", jm_Inner, false);
  named.SetFields({u"U_X", u"U_Y"});
  setLinks({named, CQXLinkTableCriteria(u"@M", u"T2", jm_Inner, false)});
  EXPECT_EQ(fieldList(),
            "T0.[Code] AS N'__kf__.Code', T0.[U_A] AS N'T0.U_A', T1.[U_X] AS N'T1.U_X', T1.[U_Y] "
            "AS N'T1.U_Y', T2.*");
}

TEST_F(SqlGenerator, TheFieldListRefusesJoinsWithoutACorrelationName) {
  setKeys({u"Code"});
  setLinks({CQXLinkTableCriteria(u"@L", u"T1", jm_Inner, false)});
  EXPECT_EQ(refusalOf([&] { fieldList(); }), "-1: Correlation name for master table is missing");
  setLinks({});
  EXPECT_EQ(fieldList(), "[Code] AS N'__kf__.Code', *");
}

TEST_F(SqlGenerator, TheFromHasTheTableItsCorrelationAndTheJoins) {
  param.SetMajorTable(u"@O]");
  EXPECT_EQ(from(), "[@O]]]");
  param.SetMajorTableCorrelationName(u"T0");
  EXPECT_EQ(from(), "[@O]]] T0");
  CQXLinkTableCriteria link(u"@L", u"T1", jm_LeftOuter, false);
  link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_No", u"U_OrderNo"));
  setLinks({link});
  EXPECT_EQ(from(), "[@O]]] T0  LEFT OUTER JOIN [@L] T1 ON T0.[U_No] = T1.[U_OrderNo]");
}

TEST_F(SqlGenerator, EachJoinModeHasItsWord) {
  const auto wordOf = [this](int mode) {
    CQXLinkTableCriteria link(u"@L", u"T1", static_cast<etTABLE_JOIN_MODE>(mode), true);
    link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"A", u"B"));
    setLinks({link});
    return joins();
  };
  EXPECT_EQ(wordOf(0), " INNER JOIN [@L] T1 ON [A] = T1.[B]");
  EXPECT_EQ(wordOf(1), " LEFT OUTER JOIN [@L] T1 ON [A] = T1.[B]");
  EXPECT_EQ(wordOf(2), " RIGHT OUTER JOIN [@L] T1 ON [A] = T1.[B]");
  EXPECT_EQ(wordOf(3), " FULL OUTER JOIN [@L] T1 ON [A] = T1.[B]");
  EXPECT_EQ(wordOf(4), " JOIN [@L] T1 ON [A] = T1.[B]");
  param.SetLinkTableCriterias({});
  EXPECT_EQ(joins(), "");
}

TEST_F(SqlGenerator, AJoinComparesColumnsAndConstants) {
  param.SetMajorTableCorrelationName(u"T0");
  CQXLinkTableCriteria link(u"@L", u"T1", jm_Inner, false);
  link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_A", u"U_B"));
  link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_C", CComVariant(u"it's"), co_Like));
  link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_D", someDate(), co_LessOrEqual));
  link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_E", CComVariant(1.5), co_NotEqual));
  setLinks({link, CQXLinkTableCriteria(u"@M", u"T2", jm_LeftOuter, false)});
  const std::string expected =
      " INNER JOIN [@L] T1 ON T0.[U_A] = T1.[U_B] AND T1.[U_C]  LIKE  N'it''s' AND T1.[U_D]  <=  "
      "N'20240131' AND T1.[U_E]  <>  1.5 LEFT OUTER JOIN [@M] T2 ON ";
  EXPECT_EQ(joins(), expected);
  EXPECT_EQ(joins(), expected);  // the constants were not changed
}

TEST_F(SqlGenerator, TheOrderHasTheCorrelationBeforeEachField) {
  const SortFields fields{CQXPersistenceSortField(u"U_A", so_Descending),
                          CQXPersistenceSortField(u"U_]")};
  EXPECT_EQ(orderBy(fields), "[U_A] DESC,[U_]]] ASC");
  param.SetMajorTableCorrelationName(u"T0");
  EXPECT_EQ(orderBy(fields), "T0.[U_A] DESC,T0.[U_]]] ASC");
  EXPECT_EQ(orderBy({}), "");
}

TEST_F(SqlGenerator, TheRelationshipPrecedesTheBracketsOfACondition) {
  EXPECT_EQ(where(conditions({{u"Code", co_Like, u"A%", u"VT_BSTR", cr_Or, 1, 0},
                              {u"U_N", co_Greater, u"3", u"VT_R8", cr_Or, 2, 1},
                              {u"U_D", co_Less, u"20240131", u"VT_DATE", cr_And, 0, 2}})),
            "([Code] LIKE N'A%' OR (([U_N] > 3) AND [U_D] < N'20240131'))");
  param.SetMajorTableCorrelationName(u"T0");
  EXPECT_EQ(where(conditions({{u"U_]", co_NotEqual, u"it's"}})), "T0.[U_]]] <> N'it''s'");
  EXPECT_EQ(where(conditions({})), "");
}

TEST_F(SqlGenerator, AConditionsValueHasTheFormOfItsTag) {
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

TEST_F(SqlGenerator, ADateThatIsALiteralAlreadyIsNotQuotedAgain) {
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

TEST_F(SqlGenerator, ADateInAKeyReachesTheStatementAsOneLiteral) {
  const TyFieldValues key{{u"U_Day", someDate()}};
  EXPECT_EQ(where(generator.GetConditionsFromKeyFields(key)), "[U_Day] = N'20240131'");
  EXPECT_EQ(where(generator.GetConditionsFromFieldValues(key, co_GreaterOrEqual)),
            "([U_Day] >= N'20240131')");
}

TEST_F(SqlGenerator, RefusesToCompareColumns) {
  const qx_ptr<CConditions> list = codeIs(u"A");
  ConditionAccess::compareFields(*list->Item(0L), VARIANT_TRUE);
  EXPECT_EQ(refusalOf([&] { where(list); }), "-1: Comparing of fields is not implemented");
}

TEST_F(SqlGenerator, EachOperationAndRelationshipHasItsText) {
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

TEST_F(SqlGenerator, ConditionsOfAKeyHaveTheTypesOfItsValues) {
  const TyFieldValues key{{u"A", u"it's"}, {u"B", 12.5}, {u"C", someDate()}, {u"D", 7}};
  EXPECT_EQ(shown(generator.GetConditionsFromKeyFields(key)),
            "A|1|98|VT_BSTR|it's; B|1|98|VT_R8|12.5; C|1|98|VT_DATE|N'20240131'; D|1|98||7");
  EXPECT_EQ(where(generator.GetConditionsFromKeyFields(key)),
            "[A] = N'it''s' AND [B] = 12.5 AND [C] = N'20240131' AND [D] = 7");
}

TEST_F(SqlGenerator, ConditionsOfAKeyTakeTheOperationsByPosition) {
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

TEST_F(SqlGenerator, ConditionsOfValuesCompareWholeRows) {
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

TEST_F(SqlGenerator, ConditionsOfValuesHaveTheTypesOfTheirValues) {
  const TyFieldValues row{{u"A", u"x"}, {u"B", 12.5}};
  EXPECT_EQ(shown(generator.GetConditionsFromFieldValues(row, co_GreaterOrEqual)),
            "A|1|98|VT_BSTR|x; B|4|98|VT_R8|12.5; A|2|99|VT_BSTR|x");
}

TEST_F(SqlGenerator, ConditionsOfValuesRefuseOtherOperations) {
  for (const int operation : {0, 3, 5, 6, 7, -1}) {
    EXPECT_EQ(refusalOf([&] {
                generator.GetConditionsFromFieldValues(
                    {{u"A", 1}}, static_cast<HvConditionOperation>(operation));
              }),
              "-1: Invalid Condition operator in GetConditionsFromFieldValues")
        << operation;
  }
}

TEST_F(SqlGenerator, TheStartKeyFollowsTheConditionsOfTheUser) {
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

TEST_F(SqlGenerator, WithoutAStartKeyTheConditionsStay) {
  const qx_ptr<CConditions> list = conditions({{u"X", co_Equal, u"x"}, {u"Y", co_Equal, u"y"}});
  const TyFieldValues none;
  generator.AddPrefetchConditions(*list, nullptr);
  generator.AddPrefetchConditions(*list, &none);
  EXPECT_EQ(where(list), "[X] = N'x' AND [Y] = N'y'");
}

TEST_F(SqlGenerator, TheConditionsOfTheStartKeyBelongToTheList) {
  const TyFieldValues start{{u"A", 1}};
  const qx_ptr<CConditions> list = conditions({});
  generator.AddPrefetchConditions(*list, &start);
  const auto watched = ConditionAccess::watch(*list, 0);
  EXPECT_FALSE(watched.expired());
  list->Clear(true);
  EXPECT_TRUE(watched.expired());
}

TEST_F(SqlGenerator, TheListsOfAnInsertHaveTheOtherFieldsOfTheRow) {
  EXPECT_EQ(insertLists(false, {{u"U_A", u"it's"}, {u"U_B", 12.5}, {u"U_C", someDate()}}, 7),
            "([U_A], [U_B], [U_C]) | VALUES (N'it''s', 12.5, N'20240131')");
}

TEST_F(SqlGenerator, TheListsOfAnInsertBeginWithAGeneratedCode) {
  EXPECT_EQ(insertLists(true, {{u"U_A", 1}}, 255),
            "([Code], [Name], [U_A]) | VALUES (N'000000FF', N'000000FF', 1)");
  EXPECT_EQ(insertLists(true, {{u"U_A", 1}}, 0xFFFFFFFF),
            "([Code], [Name], [U_A]) | VALUES (N'FFFFFFFF', N'FFFFFFFF', 1)");
  EXPECT_EQ(insertLists(true, {}, 1), "([Code], [Name]) | VALUES (N'00000001', N'00000001')");
}

TEST_F(SqlGenerator, ARowsOwnCodeReplacesTheGeneratedOneAndIsNamedTwice) {
  EXPECT_EQ(insertLists(true, {{u"Code", u"X"}, {u"U_A", 1}}, 255),
            "([Code], [Name], [Code], [U_A]) | VALUES (N'X', N'000000FF', N'X', 1)");
  EXPECT_EQ(insertLists(true, {{u"Name", 5}}, 255),
            "([Code], [Name], [Name]) | VALUES (N'000000FF', 5, 5)");
}

TEST_F(SqlGenerator, TheListsOfAnUpdateAndADeleteAreAssignmentsAndComparisons) {
  CComBSTR set;
  CComBSTR where;
  const TyFieldValues key{{u"U_No", u"A"}, {u"U_Line", 2}};
  generator.BuildUpdateLists(set, where, key, {{}, {{u"U_]", u"it's"}, {u"U_B", 1.5}}});
  EXPECT_EQ(utf8(set), "[U_]]]=N'it''s', [U_B]=1.5");
  EXPECT_EQ(utf8(where), "[U_No]=N'A' AND [U_Line]=2");
  CComBSTR deleted;
  generator.BuildDeleteCondition(deleted, key);
  EXPECT_EQ(utf8(deleted), "[U_No]=N'A' AND [U_Line]=2");
}

TEST_F(SqlGenerator, PiecesAreAppendedToTheText) {
  setKeys({u"Code"});
  param.SetMajorTable(u"T");
  CComBSTR text(u">");
  generator.BuildFieldList(text, param);
  generator.BuildFrom(text, param);
  generator.BuildWhere(text, *codeIs(u"A"), param);
  generator.BuildOrderBy(text, param, {CQXPersistenceSortField(u"Code")});
  generator.BuildColumn(text, nullptr, nullptr, nullptr);
  EXPECT_EQ(utf8(text), ">[Code] AS N'__kf__.Code', *[T][Code] = N'A'[Code] ASC*");
}

}  // namespace
}  // namespace Persistence
