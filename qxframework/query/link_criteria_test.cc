#include "qxframework/query/link_criteria.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>

namespace Persistence {
namespace {

const OLECHAR* const kCode = u"Code";
const OLECHAR* const kName = u"Name";

/// Its protected default constructor is for derived classes.
struct BareFieldCriteria : CQXLinkFieldCriteria {
  BareFieldCriteria() = default;
};

CQXLinkTableCriteria table() {
  CQXLinkTableCriteria made(u"@T", u"T1", jm_LeftOuter, true);
  made.AddLinkFieldCriteria({u"Code", u"U_Code"});
  made.AddLinkFieldCriteria({u"U_Kind", CComVariant(u"A"), co_NotEqual});
  made.SetFields({kCode, kName});
  return made;
}

TEST(LinkFieldCriteria, OfTwoColumnsComparesThemForEquality) {
  const CQXLinkFieldCriteria field(u"Code", u"U_Code");
  EXPECT_EQ(field.GetSourceField().View(), u"Code");
  EXPECT_EQ(field.GetDestField().View(), u"U_Code");
  EXPECT_EQ(field.GetOperation(), 1);
  EXPECT_EQ(field.GetDestValue().vt, VT_EMPTY);
}

TEST(LinkFieldCriteria, OfAConstantHasNoSourceField) {
  const CQXLinkFieldCriteria field(u"U_Kind", CComVariant(7), co_Less);
  EXPECT_EQ(field.GetSourceField().m_str, nullptr);
  EXPECT_EQ(field.GetDestField().View(), u"U_Kind");
  EXPECT_EQ(field.GetOperation(), co_Less);
  EXPECT_EQ(field.GetDestValue().lVal, 7);
}

TEST(LinkFieldCriteria, ItsTextsAreOfTheEnglishLanguage) {
  const CQXLinkFieldCriteria field(u"Code", u"U_Code");
  EXPECT_EQ(field.GetSourceField().GetLanguage(), 3);
  EXPECT_EQ(field.GetDestField().GetLanguage(), 3);
  EXPECT_EQ(BareFieldCriteria().GetDestField().GetLanguage(), 3);
}

TEST(LinkFieldCriteria, ADefaultOneIsEmpty) {
  const BareFieldCriteria field{};
  EXPECT_EQ(field.GetSourceField().m_str, nullptr);
  EXPECT_EQ(field.GetDestField().m_str, nullptr);
  EXPECT_EQ(field.GetDestValue().vt, VT_EMPTY);
}

TEST(LinkFieldCriteria, ItsFieldsCanBeSet) {
  BareFieldCriteria field;
  field.SetSourceField(u"A");
  field.SetDestField(u"B");
  EXPECT_EQ(field.GetSourceField().View(), u"A");
  EXPECT_EQ(field.GetDestField().View(), u"B");
  field.SetSourceField(nullptr);
  EXPECT_EQ(field.GetSourceField().m_str, nullptr);
}

TEST(LinkFieldCriteria, ItsConstantCanBeChangedInPlace) {
  CQXLinkFieldCriteria field(u"U_Kind", CComVariant(u"A"), co_Equal);
  field.GetDestValue() = CComVariant(u"N'A'");
  EXPECT_EQ(CComBSTR(field.GetDestValue().bstrVal).View(), u"N'A'");
}

TEST(LinkFieldCriteria, EveryFieldCountsForEquality) {
  const CQXLinkFieldCriteria constant(u"K", CComVariant(1), co_Equal);
  EXPECT_TRUE(constant == CQXLinkFieldCriteria(u"K", CComVariant(1), co_Equal));
  EXPECT_TRUE(constant != CQXLinkFieldCriteria(u"k", CComVariant(1), co_Equal));
  EXPECT_TRUE(constant != CQXLinkFieldCriteria(u"K", CComVariant(2), co_Equal));
  EXPECT_TRUE(constant != CQXLinkFieldCriteria(u"K", CComVariant(1), co_Less));
  const CQXLinkFieldCriteria columns(u"A", u"B");
  EXPECT_TRUE(columns != CQXLinkFieldCriteria(u"X", u"B"));
  EXPECT_TRUE(columns != CQXLinkFieldCriteria(u"A", u"X"));
  EXPECT_FALSE(columns != CQXLinkFieldCriteria(u"A", u"B"));
}

TEST(LinkFieldCriteria, ConstantsOfDifferentTypesDiffer) {
  EXPECT_TRUE(CQXLinkFieldCriteria(u"K", CComVariant(1), co_Equal) !=
              CQXLinkFieldCriteria(u"K", CComVariant(1.0), co_Equal));
}

TEST(LinkTableCriteria, ADefaultOneIsEmptyAndAnInnerJoin) {
  const CQXLinkTableCriteria made;
  EXPECT_EQ(made.GetTableName().m_str, nullptr);
  EXPECT_EQ(made.GetCorrelationName().m_str, nullptr);
  EXPECT_EQ(made.GetTableName().GetLanguage(), 3);
  EXPECT_FALSE(made.GetUpdate());
  EXPECT_EQ(made.GetJoinMode(), 0);
  EXPECT_EQ(made.GetSize(), 0);
  EXPECT_TRUE(made.GetFields().empty());
  EXPECT_FALSE(made.IsUserTable());
}

TEST(LinkTableCriteria, ReturnsTheArgumentsOfItsConstructor) {
  const CQXLinkTableCriteria made(u"@T", u"T1", jm_FullOuter, true);
  EXPECT_EQ(made.GetTableName().View(), u"@T");
  EXPECT_EQ(made.GetCorrelationName().View(), u"T1");
  EXPECT_EQ(made.GetJoinMode(), 3);
  EXPECT_TRUE(made.IsUserTable());
  EXPECT_FALSE(made.GetUpdate());
}

TEST(LinkTableCriteria, ItsNamesAndJoinModeCanBeSet) {
  CQXLinkTableCriteria made;
  made.SetTableName(u"HVITEM");
  made.SetCorrelationName(u"T2");
  made.SetJoinMode(jm_RightOuter);
  EXPECT_EQ(made.GetTableName().View(), u"HVITEM");
  EXPECT_EQ(made.GetCorrelationName().View(), u"T2");
  EXPECT_EQ(made.GetJoinMode(), 2);
}

TEST(LinkTableCriteria, KeepsLinkFieldsInTheOrderOfAdding) {
  const CQXLinkTableCriteria made = table();
  EXPECT_EQ(made.GetSize(), 2);
  EXPECT_EQ(made.GetLinkFieldCriteriaAt(0).GetDestField().View(), u"U_Code");
  EXPECT_EQ(made.GetLinkFieldCriteriaAt(1).GetDestField().View(), u"U_Kind");
  EXPECT_THROW((void)made.GetLinkFieldCriteriaAt(2), std::out_of_range);
  EXPECT_THROW((void)made.GetLinkFieldCriteriaAt(-1), std::out_of_range);
}

TEST(LinkTableCriteria, KeepsPointersToTheCallersColumns) {
  EXPECT_EQ(table().GetFields(), (std::vector<const OLECHAR*>{kCode, kName}));
}

TEST(LinkTableCriteria, ColumnsAreComparedByNameAndNotByPointer) {
  const std::u16string code(kCode);
  const std::u16string name(kName);
  CQXLinkTableCriteria other = table();
  other.SetFields({code.c_str(), name.c_str()});
  EXPECT_TRUE(other == table());
  other.SetFields({name.c_str(), code.c_str()});
  EXPECT_TRUE(other != table());
}

TEST(LinkTableCriteria, ACopyIsEqualAndIndependent) {
  const CQXLinkTableCriteria made = table();
  CQXLinkTableCriteria copy(made);
  EXPECT_TRUE(copy == made);
  copy.GetLinkFieldCriteriaAt(1).GetDestValue() = CComVariant(u"B");
  EXPECT_TRUE(copy != made);
}

TEST(LinkTableCriteria, AssignmentToAnEmptyOneMakesItEqual) {
  CQXLinkTableCriteria target;
  target = table();
  EXPECT_TRUE(target == table());
}

TEST(LinkTableCriteria, AssignmentAppendsTheLinkFields) {
  CQXLinkTableCriteria target(u"OLD", u"T9", jm_Inner, false);
  target.AddLinkFieldCriteria({u"Old", u"U_Old"});
  target = table();
  ASSERT_EQ(target.GetSize(), 3);
  EXPECT_EQ(target.GetLinkFieldCriteriaAt(0).GetDestField().View(), u"U_Old");
  EXPECT_EQ(target.GetLinkFieldCriteriaAt(1).GetDestField().View(), u"U_Code");
  EXPECT_EQ(target.GetLinkFieldCriteriaAt(2).GetDestField().View(), u"U_Kind");
  EXPECT_EQ(target.GetTableName().View(), u"@T");
  EXPECT_EQ(target.GetCorrelationName().View(), u"T1");
  EXPECT_EQ(target.GetJoinMode(), jm_LeftOuter);
  EXPECT_TRUE(target.IsUserTable());
  EXPECT_EQ(target.GetFields().size(), 2U);
}

TEST(LinkTableCriteria, AssignmentToItselfDoublesTheLinkFields) {
  CQXLinkTableCriteria made = table();
  const CQXLinkTableCriteria& same = made;
  made = same;
  ASSERT_EQ(made.GetSize(), 4);
  EXPECT_TRUE(made.GetLinkFieldCriteriaAt(2) == made.GetLinkFieldCriteriaAt(0));
}

TEST(LinkTableCriteria, EveryMemberCountsForEquality) {
  const std::function<void(CQXLinkTableCriteria&)> changes[] = {
      [](CQXLinkTableCriteria& t) { t.SetTableName(u"@t"); },
      [](CQXLinkTableCriteria& t) { t.SetCorrelationName(u"T2"); },
      [](CQXLinkTableCriteria& t) { t.SetJoinMode(jm_Inner); },
      [](CQXLinkTableCriteria& t) {
        t.AddLinkFieldCriteria({u"A", u"B"});
      },
      [](CQXLinkTableCriteria& t) { t.GetLinkFieldCriteriaAt(0).SetDestField(u"B"); },
      [](CQXLinkTableCriteria& t) { t.SetFields({kCode}); }};
  for (const auto& change : changes) {
    CQXLinkTableCriteria other = table();
    EXPECT_TRUE(other == table());
    change(other);
    EXPECT_FALSE(other == table());
    EXPECT_TRUE(other != table());
  }
  EXPECT_TRUE(CQXLinkTableCriteria(u"T", u"", jm_Inner, true) !=
              CQXLinkTableCriteria(u"T", u"", jm_Inner, false));
}

}  // namespace
}  // namespace Persistence
