// The pieces of SQL that a row and a set of rows have in common.

#include "qxframework/foundation/date_time.h"
#include "qxframework/persistence/internal/persistent_base_fixture.h"
#include "qxframework/query/testing/condition_access.h"
#include "qxframework/query/testing/query_parts.h"

#include <cmath>
#include <limits>

namespace Persistence {
namespace {

using namespace qx::test;
using qx::ConditionAccess;
using namespace std::literals;

CQXLinkTableCriteria linkOnCode(const OLECHAR* table, const OLECHAR* correlation,
                                etTABLE_JOIN_MODE mode = jm_Inner, bool userTable = false) {
  CQXLinkTableCriteria made = link(table, correlation, mode, userTable);
  made.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"Code", u"U_Code"));
  return made;
}

TEST(SqlString, IsNationalByDefault) {
  Plain base;
  EXPECT_EQ(utf8(base.GetSQLString(u"O'Brien")), "N'O''Brien'");
  EXPECT_EQ(utf8(base.GetSQLString(CComBSTR())), "N''");
  base.m_bNationalStrings = false;
  EXPECT_EQ(utf8(base.GetSQLString(u"O'Brien")), "'O''Brien'");
}

TEST(SqlPieces, OfTheBaseWriteDatesAsTexts) {
  const Plain base;
  CComVariant date = someDate();
  base.GetSQLDate(date);
  EXPECT_EQ(utf8(date), "N'20240131'");
  CComVariant text(u"it's");
  base.GetSQLDate(text);
  EXPECT_EQ(utf8(text), "N'it''s'");
  EXPECT_EQ(utf8(base.GetDateString(CQXDateTime(2024, 1, 31, 1, 2, 3))), "20240131");
  EXPECT_EQ(utf8(base.GetSQLAlias(u"T0.A")), "'T0.A'");
  EXPECT_EQ(utf8(base.GetSQLColumnName(u"A")), "A");
}

TEST(SqlPieces, OperationsHaveTheirWords) {
  const auto word = [](int operation) {
    return qx::toUtf8(CQXPersistentBase::GetOperationString(HvConditionOperation(operation)));
  };
  EXPECT_EQ(word(0), " LIKE ");
  EXPECT_EQ(word(1), " = ");
  EXPECT_EQ(word(2), " > ");
  EXPECT_EQ(word(3), " < ");
  EXPECT_EQ(word(4), " >= ");
  EXPECT_EQ(word(5), " <= ");
  EXPECT_EQ(word(6), " <> ");
  EXPECT_EQ(word(7), " = ");
  EXPECT_EQ(word(-1), " = ");
}

TEST(SqlPieces, RelationshipsHaveTheirWords) {
  const auto word = [](int relationship) {
    return qx::toUtf8(
        CQXPersistentBase::GetRelationshipString(HvConditionRelationship(relationship)));
  };
  EXPECT_EQ(word(98), " AND ");
  EXPECT_EQ(word(99), " OR ");
  EXPECT_EQ(word(0), " AND ");
}

TEST(SqlValue, ChangesATextAndADateInPlace) {
  const Plain base;
  CComVariant text(u"a'b");
  EXPECT_EQ(utf8(base.GetSQLValue(text)), "N'a''b'");
  EXPECT_EQ(utf8(text), "N'a''b'");
  CComVariant date = someDate();
  EXPECT_EQ(utf8(base.GetSQLValue(date)), "N'20240131'");
  EXPECT_EQ(utf8(date), "N'20240131'");
}

TEST(SqlValue, LeavesANumberUnchanged) {
  const Plain base;
  CComVariant number(12.5);
  EXPECT_EQ(utf8(base.GetSQLValue(number)), "12.5");
  EXPECT_EQ(number.vt, VT_R8);
}

TEST(SqlValue, WritesNumbersWithAPoint) {
  const Plain base;
  EXPECT_EQ(base.value(0.1), "0.1");
  EXPECT_EQ(base.value(-1234567.5), "-1234567.5");
  EXPECT_EQ(base.value(1e20), "1E+20");
  EXPECT_EQ(base.value(42), "42");
}

TEST(SqlValue, RefusesAValueWithoutAText) {
  const Plain base;
  CComVariant null;
  null.vt = VT_NULL;
  EXPECT_EQ(refusalOf([&] { base.value(null); }), "-1: A value of type 1 has no text form");
  EXPECT_EQ(refusalOf([&] { base.value(std::nan("")); }), "-1: A value of type 5 has no text form");
  EXPECT_EQ(refusalOf([&] { base.value(std::numeric_limits<double>::infinity()); }),
            "-1: A value of type 5 has no text form");
}

TEST(SqlValue, KeepsEveryUnitOfALongText) {
  const Plain base;
  std::u16string text(1 << 20, u'x');
  text += u"'\x7F\r\n\U0001F600"s + u'\0' + u"\xD800z"s;
  CComVariant value{std::u16string_view(text)};
  const CComBSTR literal = base.GetSQLValue(value);
  const std::u16string expected =
      u"N'" + std::u16string(1 << 20, u'x') + u"''''\r\n\U0001F600" + u'\0' + u"\xD800z'";
  EXPECT_EQ(literal.View(), expected);
  EXPECT_EQ(qx::viewOfBstr(value.bstrVal), expected);
}

TEST(FieldList, WithoutJoinsAndFieldsIsAStar) {
  Plain base;
  EXPECT_EQ(base.selectFields(), "*");
  base.SetCorrelationName(u"");
  EXPECT_EQ(base.selectFields(), "*");
  base.SetCorrelationName(u"T0");
  EXPECT_EQ(base.selectFields(), "T0.*");
}

TEST(FieldList, OfJoinsNeedsACorrelationNameOfTheMasterTable) {
  Plain base;
  base.AddLinkTable(link(u"B", u"T1"));
  EXPECT_EQ(refusalOf([&] { base.selectFields(); }),
            "-1: Correlation name for master table is missing");
}

TEST(FieldList, OfJoinsNamesTheFieldsOfEachTable) {
  Plain base;
  base.SetCorrelationName(u"T0");
  base.SetFields({u"Code", u"U_A"});
  CQXLinkTableCriteria one = link(u"B", u"T1");
  one.SetFields({u"U_B"});
  base.AddLinkTable(one);
  base.AddLinkTable(link(u"C", u"T2"));
  EXPECT_EQ(base.selectFields(), "T0.Code AS'T0.Code',T0.U_A AS'T0.U_A',T1.U_B AS'T1.U_B',T2.*");
}

TEST(FieldList, OfAJoinThatEqualsTheMastersHasNoComma) {
  Plain base;
  base.SetCorrelationName(u"T0");
  const std::u16string code = u"Code", sameCode = u"Code";
  base.SetFields({code.c_str(), u"U_A"});
  CQXLinkTableCriteria same = link(u"B", u"T1");
  same.SetFields({sameCode.c_str(), u"U_A"});
  base.AddLinkTable(same);
  EXPECT_EQ(base.selectFields(),
            "T0.Code AS'T0.Code',T0.U_A AS'T0.U_A'T1.Code AS'T1.Code',T1.U_A AS'T1.U_A'");
}

TEST(FieldList, OfAJoinWithAllColumnsHasACommaAfterText) {
  Plain base;
  base.SetCorrelationName(u"T0");
  base.AddLinkTable(link(u"B", u"T1"));
  EXPECT_EQ(base.selectFields(), "T0.*,T1.*");
}

TEST(FieldList, ThatIsNotTheObjectsOwnBeginsWithAComma) {
  const Plain base;
  CComBSTR text;
  base.AppendFieldList(text, {u"A"}, nullptr);
  EXPECT_EQ(utf8(text), ",A");
}

TEST(Joins, HaveTheWordOfTheirMode) {
  const auto word = [](int mode) {
    Plain base;
    base.SetCorrelationName(u"T0");
    base.AddLinkTable(linkOnCode(u"B", u"T1", etTABLE_JOIN_MODE(mode)));
    return base.joins();
  };
  EXPECT_EQ(word(0), " INNER JOIN B T1 ON T0.Code = T1.U_Code");
  EXPECT_EQ(word(1), " LEFT OUTER JOIN B T1 ON T0.Code = T1.U_Code");
  EXPECT_EQ(word(2), " RIGHT OUTER JOIN B T1 ON T0.Code = T1.U_Code");
  EXPECT_EQ(word(3), " FULL OUTER JOIN B T1 ON T0.Code = T1.U_Code");
  EXPECT_EQ(word(4), " JOIN B T1 ON T0.Code = T1.U_Code");
  EXPECT_EQ(word(-1), " JOIN B T1 ON T0.Code = T1.U_Code");
}

TEST(Joins, PassAUserTableThroughTheTableForm) {
  Plain base;
  base.SetCorrelationName(u"T0");
  base.AddLinkTable(linkOnCode(u"@B", u"T1", jm_Inner, true));
  base.AddLinkTable(linkOnCode(u"@C", u"T2", jm_LeftOuter, false));
  EXPECT_EQ(base.joins(),
            " INNER JOIN <@B> T1 ON T0.Code = T1.U_Code"
            " LEFT OUTER JOIN @C T2 ON T0.Code = T2.U_Code");
}

TEST(Joins, PutTwoBlanksAroundTheOperatorOfAConstant) {
  Plain base;
  base.SetCorrelationName(u"T0");
  CQXLinkTableCriteria made = linkOnCode(u"B", u"T1");
  made.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_N", CComVariant(7), co_GreaterOrEqual));
  made.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_S", CComVariant(u"it's"), co_Like));
  base.AddLinkTable(made);
  EXPECT_EQ(base.joins(),
            " INNER JOIN B T1 ON T0.Code = T1.U_Code AND T1.U_N  >=  7 AND T1.U_S  LIKE  N'it''s'");
}

TEST(Joins, QuoteTheirTextsAgainWhenWrittenTwice) {
  Plain base;
  base.SetCorrelationName(u"T0");
  CQXLinkTableCriteria made = link(u"B", u"T1");
  made.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_S", CComVariant(u"x"), co_Equal));
  base.AddLinkTable(made);
  EXPECT_EQ(base.joins(), " INNER JOIN B T1 ON T1.U_S  =  N'x'");
  EXPECT_EQ(base.joins(), " INNER JOIN B T1 ON T1.U_S  =  N'N''x'''");
}

TEST(Joins, WithoutCriteriaEndAfterOn) {
  Plain base;
  base.AddLinkTable(link(u"B", u"T1"));
  EXPECT_EQ(base.joins(), " INNER JOIN B T1 ON ");
}

TEST(RemoveWhere, WritesConditionsWithoutACorrelationName) {
  Plain base;
  base.SetCorrelationName(u"T0");
  EXPECT_EQ(base.removeWhere(codeIs(u"O'Brien")), " WHERE Code = N'O''Brien'");
}

TEST(RemoveWhere, WritesBracketsBeforeTheRelationship) {
  EXPECT_EQ(Plain().removeWhere(
                conditions({{u"A", co_Equal, u"1", u"", cr_And, 1, 0},
                            {u"B", co_Equal, u"2", u"", cr_Or, 2, 1},
                            {u"C", co_Equal, u"3", u"", HvConditionRelationship(7), 0, 2}})),
            " WHERE (A = 1(( OR B = 2) AND C = 3))");
}

TEST(RemoveWhere, WritesADoubleAsAText) {
  EXPECT_EQ(Plain().removeWhere(conditions({{u"Price", co_Equal, u"12.5", u"VT_R8"}})),
            " WHERE Price = N'12.5'");
}

TEST(RemoveWhere, WritesAValueByItsTag) {
  EXPECT_EQ(Plain().removeWhere(conditions({{u"A", co_Equal, u"1"},
                                            {u"B", co_Equal, u"2", u""},
                                            {u"C", co_Equal, u"3", nullptr},
                                            {u"D", co_Equal, u"20240131", u"VT_DATE"},
                                            {u"E", co_Equal, u"5", u"odd"}})),
            " WHERE A = N'1' AND B = 2 AND C = 3 AND D = N'20240131' AND E = N'5'");
}

TEST(RemoveWhere, AllowsEqualOnly) {
  for (const int operation : {0, 2, 3, 4, 5, 6, 7})
    EXPECT_EQ(refusalOf([&] {
                Plain().removeWhere(conditions({{u"A", HvConditionOperation(operation), u"1"}}));
              }),
              "-1: Only EQUAL is allowed as operation in the conditions");
}

TEST(RemoveWhere, AllowsConstantsOnly) {
  for (const VARIANT_BOOL flag : {VARIANT_TRUE, VARIANT_BOOL{1}}) {
    const auto list = codeIs(u"A");
    ConditionAccess::compareFields(*list->Item(0L), flag);
    EXPECT_EQ(refusalOf([&] { Plain().removeWhere(list); }),
              "-1: Only constants are allowed as values in the conditions");
  }
}

TEST(RemoveWhere, TestsTheOperationFirst) {
  const auto list = conditions({{u"A", co_Less, u"1"}});
  ConditionAccess::compareFields(*list->Item(0L), VARIANT_TRUE);
  EXPECT_EQ(refusalOf([&] { Plain().removeWhere(list); }),
            "-1: Only EQUAL is allowed as operation in the conditions");
}

TEST(RemoveWhere, WithoutConditionsEndsAfterWhere) {
  EXPECT_EQ(Plain().removeWhere(CConditions::CreateNewInstance()), " WHERE ");
  EXPECT_EQ(Plain().removeWhere({}), " WHERE ");
}

}  // namespace
}  // namespace Persistence
