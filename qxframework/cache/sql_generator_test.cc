// The pieces of the statements. sql_generator_statements_test.cc has whole statements.

#include "qxframework/cache/sql_generator.h"

#include "qxframework/cache/testing/sql_generator_fixture.h"
#include "qxframework/query/testing/vtable_slot.h"

#include <gmock/gmock.h>

namespace Persistence {
namespace {

using namespace qx::test;

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
