#include "qxframework/persistence/persistent_base.h"

#include "qxframework/foundation/date_time.h"
#include "qxframework/persistence/condition_test_access.h"
#include "qxframework/persistence/dialect_classes.h"
#include "qxframework/persistence/testing/query_parts.h"
#include "qxframework/persistence/testing/scripted_company.h"

#include <cmath>
#include <limits>

namespace {

using namespace qx::test;
using namespace Persistence;
using namespace std::literals;

/// The base with its own forms: names as they are, dates as literals of text.
class Plain : public CQXPersistentBase {
 public:
  using CQXPersistentBase::CQXPersistentBase;
  using CQXPersistentBase::m_bNationalStrings;
  CComBSTR GetSQLTableName(const OLECHAR* name) const override {
    return qx::joined({u"<", qx::viewOf(name), u">"});
  }

  std::string selectFields() const {
    CComBSTR text;
    BuildSelectFieldList(text);
    return utf8(text);
  }
  std::string joins() {
    CComBSTR text;
    AppendJoins(text);
    return utf8(text);
  }
  std::string removeWhere(const qx_ptr<CConditions>& list) const {
    CComBSTR text;
    BuildRemoveWhereClause(text, list);
    return utf8(text);
  }
  std::string value(CComVariant given) const { return utf8(GetSQLValue(given)); }
};

CQXLinkTableCriteria link(const OLECHAR* table, const OLECHAR* correlation,
                          etTABLE_JOIN_MODE mode = jm_Inner, bool userTable = false) {
  return CQXLinkTableCriteria(table, correlation, mode, userTable);
}

CQXLinkTableCriteria linkOnCode(const OLECHAR* table, const OLECHAR* correlation,
                                etTABLE_JOIN_MODE mode = jm_Inner, bool userTable = false) {
  CQXLinkTableCriteria made = link(table, correlation, mode, userTable);
  made.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"Code", u"U_Code"));
  return made;
}

TEST(PersistentBase, StartsEmpty) {
  const Plain base;
  EXPECT_TRUE(base.m_bNationalStrings);
  EXPECT_EQ(base.GetCompany().p, nullptr);
  EXPECT_EQ(base.GetRecordSet().p, nullptr);
  EXPECT_EQ(base.GetConditions().get(), nullptr);
  EXPECT_TRUE(base.GetMasterTable().IsEmpty());
  EXPECT_TRUE(base.GetCorrelationName().IsEmpty());
  EXPECT_TRUE(base.GetLastQuery().IsEmpty());
  EXPECT_TRUE(base.GetKeyFields().empty());
  EXPECT_TRUE(base.GetFields().empty());
  EXPECT_FALSE(base.HasLinkTables());
  EXPECT_FALSE(base.IsSelected());
  EXPECT_FALSE(base.IsUserTable());
  EXPECT_EQ(base.GetMasterTable().GetLanguage(), 3);
}

TEST(PersistentBase, GetsARecordSetOfItsOwnFromTheCompany) {
  const auto company = makeScriptedCompany();
  const Plain one{CComPtr<ICompany>(company)};
  const Plain other{CComPtr<ICompany>(company)};
  EXPECT_EQ(company->recordsets, 2);
  EXPECT_NE(one.GetRecordSet().p, nullptr);
  EXPECT_NE(one.GetRecordSet().p, other.GetRecordSet().p);
  EXPECT_EQ(one.GetCompany().p, company.p);
}

TEST(PersistentBase, ACompanyThatGivesNoRecordSetIsAnError) {
  const auto company = makeScriptedCompany();
  company->results["GetBusinessObject"] = E_ACCESSDENIED;
  EXPECT_THROW(Plain{CComPtr<ICompany>(company)}, _com_error);
  EXPECT_THROW(Plain{CComPtr<ICompany>()}, _com_error);
}

TEST(PersistentBase, KeepsWhatIsSet) {
  Plain base;
  base.SetMasterTable(u"@T");
  base.SetCorrelationName(u"T0");
  base.SetKeyFields({u"Code"});
  base.SetFields({u"U_A", u"U_B"});
  base.SetUserTable(true);
  base.SetSelected(true);
  base.SetLastQuery(u"SELECT");
  base.AddLinkTable(link(u"B", u"T1"));
  EXPECT_EQ(utf8(base.GetMasterTable()), "@T");
  EXPECT_EQ(utf8(base.GetCorrelationName()), "T0");
  EXPECT_EQ(base.GetKeyFields().size(), 1U);
  EXPECT_EQ(base.GetFields().size(), 2U);
  EXPECT_TRUE(base.IsUserTable());
  EXPECT_TRUE(base.IsSelected());
  EXPECT_EQ(utf8(base.GetLastQuery()), "SELECT");
  EXPECT_TRUE(base.HasLinkTables());
}

TEST(PersistentBase, KeepsACopyOfConditions) {
  Plain base;
  const auto given = codeIs(u"A");
  base.SetConditions(given);
  given->Item(0L)->PutCondVal(u"B");
  EXPECT_EQ(shown(base.GetConditions()), "Code|1|98|VT_BSTR|A");
  base.SetConditions(codeIs(u"C"));
  EXPECT_EQ(shown(base.GetConditions()), "Code|1|98|VT_BSTR|C");
  base.SetConditions({});
  EXPECT_EQ(shown(base.GetConditions()), "null");
}

TEST(PersistentBase, ConditionsOfItsOwnCanBeSetAgain) {
  Plain base;
  base.SetConditions(codeIs(u"A"));
  base.SetConditions(base.GetConditions());
  EXPECT_EQ(shown(base.GetConditions()), "Code|1|98|VT_BSTR|A");
}

TEST(PersistentBase, KeyFieldsOfConditionsOutliveThem) {
  Plain base;
  base.SetKeyFields({u"Before"});
  base.SetConditions(conditions({{u"Code", co_Equal, u"A"}, {u"U_Line", co_Less, u"3"}}));
  base.FillKeyFieldsFromConditions();
  base.SetConditions(codeIs(u"B"));
  ASSERT_EQ(base.GetKeyFields().size(), 2U);
  EXPECT_EQ(qx::viewOf(base.GetKeyFields()[0]), u"Code");
  EXPECT_EQ(qx::viewOf(base.GetKeyFields()[1]), u"U_Line");
}

TEST(PersistentBase, WithoutConditionsThereAreNoKeyFieldsToFill) {
  Plain base;
  base.SetKeyFields({u"Before"});
  base.FillKeyFieldsFromConditions();
  EXPECT_TRUE(base.GetKeyFields().empty());
}

TEST(SqlString, IsNationalUnlessToldOtherwise) {
  Plain base;
  EXPECT_EQ(utf8(base.GetSQLString(u"O'Brien")), "N'O''Brien'");
  EXPECT_EQ(utf8(base.GetSQLString(CComBSTR())), "N''");
  base.m_bNationalStrings = false;
  EXPECT_EQ(utf8(base.GetSQLString(u"O'Brien")), "'O''Brien'");
}

TEST(SqlPieces, OfTheBaseTakeDatesForTexts) {
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

TEST(SqlValue, LeavesANumberAsItIs) {
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

TEST(SqlValue, RefusesWhatHasNoText) {
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

TEST(FieldList, WithoutJoinsIsAStarWhereNothingIsSet) {
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

TEST(FieldList, OfAJoinThatEqualsTheMastersLosesItsComma) {
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

TEST(FieldList, OfAJoinWithAllColumnsHasItsCommaBehindText) {
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

TEST(Joins, WrittenASecondTimeQuoteTheirTextsAgain) {
  Plain base;
  base.SetCorrelationName(u"T0");
  CQXLinkTableCriteria made = link(u"B", u"T1");
  made.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_S", CComVariant(u"x"), co_Equal));
  base.AddLinkTable(made);
  EXPECT_EQ(base.joins(), " INNER JOIN B T1 ON T1.U_S  =  N'x'");
  EXPECT_EQ(base.joins(), " INNER JOIN B T1 ON T1.U_S  =  N'N''x'''");
}

TEST(Joins, WithoutCriteriaEndBehindOn) {
  Plain base;
  base.AddLinkTable(link(u"B", u"T1"));
  EXPECT_EQ(base.joins(), " INNER JOIN B T1 ON ");
}

TEST(RemoveWhere, WritesConditionsWithoutACorrelationName) {
  Plain base;
  base.SetCorrelationName(u"T0");
  EXPECT_EQ(base.removeWhere(codeIs(u"O'Brien")), " WHERE Code = N'O''Brien'");
}

TEST(RemoveWhere, PutsBracketsInFrontOfTheRelationship) {
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
    ConditionFlags::compareFields(*list->Item(0L), flag);
    EXPECT_EQ(refusalOf([&] { Plain().removeWhere(list); }),
              "-1: Only constants are allowed as values in the conditions");
  }
}

TEST(RemoveWhere, TestsTheOperationFirst) {
  const auto list = conditions({{u"A", co_Less, u"1"}});
  ConditionFlags::compareFields(*list->Item(0L), VARIANT_TRUE);
  EXPECT_EQ(refusalOf([&] { Plain().removeWhere(list); }),
            "-1: Only EQUAL is allowed as operation in the conditions");
}

TEST(RemoveWhere, OfNoConditionsHasNothingBehind) {
  EXPECT_EQ(Plain().removeWhere(CConditions::CreateNewInstance()), " WHERE ");
  EXPECT_EQ(Plain().removeWhere({}), " WHERE ");
}

TEST(ConditionsFromValues, TagValuesByTheirKind) {
  const Plain base;
  EXPECT_EQ(
      shown(base.BuildConditionsFromValues(
          values({{u"A", u"it's"}, {u"B", 12.5}, {u"C", someDate()}, {u"D", 7}, {u"E", true}}), {},
          false)),
      "A|1|98|VT_BSTR|it's; B|1|98|VT_R8|12.5; C|1|98|VT_DATE|N'20240131'; D|1|98||7; "
      "E|1|98||-1");
}

TEST(ConditionsFromValues, TakeTheOperationsOfTheirPositions) {
  const Plain base;
  const auto two = values({{u"A", u"1"}, {u"B", u"2"}});
  EXPECT_EQ(shown(base.BuildConditionsFromValues(two, {co_Like, co_NotEqual, co_Less}, false)),
            "A|0|98|VT_BSTR|1; B|6|98|VT_BSTR|2");
}

TEST(ConditionsFromValues, RefuseTooFewOperations) {
  const Plain base;
  const auto two = values({{u"A", u"1"}, {u"B", u"2"}});
  EXPECT_EQ(refusalOf([&] { base.BuildConditionsFromValues(two, {co_Like}, true); }),
            "-1: Operations count is less than the count of key fields");
}

TEST(ConditionsFromValues, RefuseNamesThatAreNotTheKeyIfAskedTo) {
  Plain base;
  base.SetKeyFields({u"Code", u"Line"});
  const std::string refusal =
      "-1: The given map of key fields does not match the key field list of this obejct";
  const auto build = [&](const TyFieldValues& given) {
    return refusalOf([&] { base.BuildConditionsFromValues(given, {}, true); });
  };
  EXPECT_EQ(build(values({{u"Code", u"1"}})), refusal);
  EXPECT_EQ(build(values({{u"Code", u"1"}, {u"line", u"2"}})), refusal);
  EXPECT_EQ(build(values({{u"Line", u"1"}, {u"Code", u"2"}})), refusal);
  EXPECT_EQ(build(values({{u"Code", u"1"}, {u"Line", u"2"}})), "");
  EXPECT_EQ(shown(base.BuildConditionsFromValues(values({{u"X", u"1"}}), {}, false)),
            "X|1|98|VT_BSTR|1");
}

TEST(ConditionsFromValues, OfNoValuesAreNone) {
  EXPECT_EQ(shown(Plain().BuildConditionsFromValues({}, {}, true)), "");
}

TEST(CopiedConditions, BringTheirValuesAndTags) {
  Plain object;
  object.SetConditions(conditions({{u"Code", co_Less, u"A", u"", cr_Or, 1, 1}}));
  CQXPersistentBase::CopyConditionValues(
      &object, conditions({{u"Code", co_Like, u"B", u"VT_DATE", cr_And, 5, 5}}));
  EXPECT_EQ(shown(object.GetConditions()), "Code|3|99|VT_DATE|B");
  EXPECT_EQ(object.GetConditions()->Item(0L)->GetBracketOpenNum(), 1);
}

TEST(CopiedConditions, MayNotBeMoreThanTheObjectHas) {
  Plain object;
  EXPECT_EQ(refusalOf([&] { CQXPersistentBase::CopyConditionValues(&object, codeIs(u"B")); }),
            "-1: More conditions than key fields");
  object.SetConditions(codeIs(u"A"));
  EXPECT_EQ(refusalOf([&] {
              CQXPersistentBase::CopyConditionValues(
                  &object, conditions({{u"Code", co_Equal, u"B"}, {u"Line", co_Equal, u"1"}}));
            }),
            "-1: More conditions than key fields");
}

TEST(CopiedConditions, MustBeOfTheSameColumns) {
  Plain object;
  object.SetConditions(codeIs(u"A"));
  EXPECT_EQ(
      refusalOf([&] {
        CQXPersistentBase::CopyConditionValues(&object, conditions({{u"code", co_Equal, u"B"}}));
      }),
      "-1: Field mismatch - field Code expected, code received");
}

TEST(CopiedConditions, ThatAreFewerAreAFailureOfTheList) {
  Plain object;
  object.SetConditions(codeIs(u"A"));
  EXPECT_THROW(CQXPersistentBase::CopyConditionValues(&object, CConditions::CreateNewInstance()),
               std::out_of_range);
  EXPECT_THROW(CQXPersistentBase::CopyConditionValues(&object, {}), std::out_of_range);
}

TEST(ExceptionFromCompany, TakesWhatTheCompanyHas) {
  const auto filled = [](long code, std::u16string text, HRESULT result = S_OK) {
    const auto company = makeScriptedCompany();
    company->errorCode = code;
    company->errorText = std::move(text);
    company->results["GetLastError"] = result;
    return refusalOf([&] {
      CQXPersistenceException exception;
      Plain(CComPtr<ICompany>(company)).FillExceptionFromCompany(exception);
      throw exception;
    });
  };
  EXPECT_EQ(filled(-2035, u"Already there"), "-2035: Already there");
  EXPECT_EQ(filled(0, u"Only text"), "-1: Only text");
  EXPECT_EQ(filled(-10, u""), "-10: Unknown error");
  EXPECT_EQ(filled(0, u""), "-1: Unknown error");
  EXPECT_EQ(filled(-10, u"lost", E_FAIL), "-1: Unknown error");
}

TEST(ExceptionFromCompany, WithoutACompanyStaysAsItIs) {
  CQXPersistenceException exception(u"mine");
  Plain().FillExceptionFromCompany(exception);
  EXPECT_EQ(qx::viewOf(exception.GetErrorString()), u"mine");
}

}  // namespace
