#include "qxframework/persistence/internal/persistent_base.h"

#include "qxframework/persistence/internal/persistent_base_fixture.h"
#include "qxframework/query/testing/query_parts.h"
#include "testing/scripted_company.h"

#include <stdexcept>

namespace Persistence {
namespace {

using namespace qx::test;

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

TEST(PersistentBase, ACompanyWithoutARecordSetIsAnError) {
  const auto company = makeScriptedCompany();
  company->calls.failures["Company.GetBusinessObject 300"] = E_ACCESSDENIED;
  EXPECT_THROW(Plain{CComPtr<ICompany>(company)}, _com_error);
  EXPECT_THROW(Plain{CComPtr<ICompany>()}, _com_error);
}

TEST(PersistentBase, ReturnsWhatWasSet) {
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

TEST(PersistentBase, AcceptsItsOwnConditions) {
  Plain base;
  base.SetConditions(codeIs(u"A"));
  base.SetConditions(base.GetConditions());
  EXPECT_EQ(shown(base.GetConditions()), "Code|1|98|VT_BSTR|A");
}

TEST(PersistentBase, KeyFieldsStayValidAfterTheirConditions) {
  Plain base;
  base.SetKeyFields({u"Before"});
  base.SetConditions(conditions({{u"Code", co_Equal, u"A"}, {u"U_Line", co_Less, u"3"}}));
  base.FillKeyFieldsFromConditions();
  base.SetConditions(codeIs(u"B"));
  ASSERT_EQ(base.GetKeyFields().size(), 2U);
  EXPECT_EQ(qx::viewOf(base.GetKeyFields()[0]), u"Code");
  EXPECT_EQ(qx::viewOf(base.GetKeyFields()[1]), u"U_Line");
}

TEST(PersistentBase, KeyFieldsSetAgainStayValidAfterTheirConditions) {
  Plain base;
  base.SetConditions(codeIs(u"A"));
  base.FillKeyFieldsFromConditions();
  base.SetKeyFields(base.GetKeyFields());
  base.SetConditions({});
  ASSERT_EQ(base.GetKeyFields().size(), 1U);
  EXPECT_EQ(qx::viewOf(base.GetKeyFields()[0]), u"Code");
}

TEST(PersistentBase, CopiedKeyFieldsStayValidAfterTheirConditions) {
  Plain taker;
  {
    Plain base;
    base.SetConditions(codeIs(u"A"));
    base.FillKeyFieldsFromConditions();
    taker.TakeKeyFieldsOf(base);
  }
  ASSERT_EQ(taker.GetKeyFields().size(), 1U);
  EXPECT_EQ(qx::viewOf(taker.GetKeyFields()[0]), u"Code");
}

TEST(PersistentBase, KeyFieldsCopiedFromPlainNamesKeepTheFormerValid) {
  Plain base;
  base.SetConditions(codeIs(u"A"));
  base.FillKeyFieldsFromConditions();
  Plain other;
  other.SetKeyFields(base.GetKeyFields());
  base.TakeKeyFieldsOf(other);
  base.SetConditions({});
  EXPECT_EQ(qx::viewOf(base.GetKeyFields()[0]), u"Code");
}

TEST(PersistentBase, WithoutConditionsKeyFieldsAreEmpty) {
  Plain base;
  base.SetKeyFields({u"Before"});
  base.FillKeyFieldsFromConditions();
  EXPECT_TRUE(base.GetKeyFields().empty());
}

TEST(ConditionsFromValues, TagValuesByTheirType) {
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

TEST(ConditionsFromValues, RefuseNamesOtherThanTheKeyIfChecked) {
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

TEST(ConditionsFromValues, AreEmptyWithoutValues) {
  EXPECT_EQ(shown(Plain().BuildConditionsFromValues({}, {}, true)), "");
}

TEST(CopiedConditions, CopyValuesAndTags) {
  Plain object;
  object.SetConditions(conditions({{u"Code", co_Less, u"A", u"", cr_Or, 1, 1}}));
  CQXPersistentBase::CopyConditionValues(
      &object, conditions({{u"Code", co_Like, u"B", u"VT_DATE", cr_And, 5, 5}}));
  EXPECT_EQ(shown(object.GetConditions()), "Code|3|99|VT_DATE|B");
  EXPECT_EQ(object.GetConditions()->Item(0L)->GetBracketOpenNum(), 1);
}

TEST(CopiedConditions, AreRefusedIfThereAreMoreThanTheObjectHas) {
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

TEST(CopiedConditions, AreRefusedForOtherColumns) {
  Plain object;
  object.SetConditions(codeIs(u"A"));
  EXPECT_EQ(
      refusalOf([&] {
        CQXPersistentBase::CopyConditionValues(&object, conditions({{u"code", co_Equal, u"B"}}));
      }),
      "-1: Field mismatch - field Code expected, code received");
}

TEST(CopiedConditions, ThrowOutOfRangeIfThereAreFewer) {
  Plain object;
  object.SetConditions(codeIs(u"A"));
  EXPECT_THROW(CQXPersistentBase::CopyConditionValues(&object, CConditions::CreateNewInstance()),
               std::out_of_range);
  EXPECT_THROW(CQXPersistentBase::CopyConditionValues(&object, {}), std::out_of_range);
}

TEST(ExceptionFromCompany, HasTheCompanysLastError) {
  const auto filled = [](long code, std::u16string text, HRESULT result = S_OK) {
    const auto company = makeScriptedCompany();
    company->errorCode = code;
    company->errorText = std::move(text);
    company->calls.failures["Company.GetLastError"] = result;
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

TEST(ExceptionFromCompany, WithoutACompanyIsUnchanged) {
  CQXPersistenceException exception(u"mine");
  Plain().FillExceptionFromCompany(exception);
  EXPECT_EQ(qx::viewOf(exception.GetErrorString()), u"mine");
}

}  // namespace
}  // namespace Persistence
