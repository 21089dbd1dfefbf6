// The choose list: its dialog, used as a user does, and the key that its parent gets.

#include "qxframework/stock/choose_list.h"

#include "qxframework/stock/choose_list_fixture.h"

#include <gmock/gmock.h>

#include <utility>

namespace qx::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

TEST_F(ChooseList, ShowsTheRowsInTheOrderOfTheFirstColumn) {
  subtitle = u"Customers";
  EXPECT_EQ(choose(kCustomers), 0);
  EXPECT_EQ(text(), list + R"X( -1 "Choose from List" selected
  source 10807 ""
  source 10808 "3"
  source 10800011 "C3"
  source 10800021 "alpha"
  source 10800031 "100"
  1 button "Choose" default
  2 button "Cancel"
  10804 edit ""
  10803 static "Find"
  10805 matrix of 3 rows
    10806 "#" 10800010 "No" 10800020 "Name" 10800030 "Amount"
     "1" "C1" "Beta" "3"
     "2" "C2" "beta" "20"
     "3" "C3" "alpha" "100"
  10802 static "Customers (3 records)"
)X");
  EXPECT_TRUE(parent->m_pChild != nullptr);
  EXPECT_THAT(parent->keys, IsEmpty());
}

TEST_F(ChooseList, CountsTheRecordsInTheSubtitle) {
  choose(u"SELECT 'A' AS No");
  EXPECT_THAT(linesWith("  10802 static "), ElementsAre("\"(1 record)\""));
  desk.press(list, kCancel);
  subtitle = u"Orders";
  choose(u"SELECT 'A' AS No");
  EXPECT_THAT(linesWith("  10802 static "), ElementsAre("\"Orders (1 record)\""));
  desk.press(list, kCancel);
  subtitle.Empty();
  choose(u"SELECT Code FROM [@QXEXTDBVERSION] WHERE Code = 'none'");
  EXPECT_THAT(linesWith("  10802 static "), ElementsAre("\"(0 records)\""));
  EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(ChooseList, OfOneRowAnswersAtOnceWithoutADialog) {
  EXPECT_EQ(choose(u"SELECT 'C1' AS No, 'Beta' AS Name", false), 0);
  EXPECT_THAT(parent->keys, ElementsAre("C1"));
  EXPECT_EQ(choose(u"SELECT 42 AS No", false), 0);
  EXPECT_THAT(parent->keys, ElementsAre("C1", "42"));
  EXPECT_FALSE(isOpen());
}

TEST_F(ChooseList, OfOneRowWithADateKeyIsRefused) {
  EXPECT_EQ(raisedBy([this] { choose(u"SELECT CAST('2024-01-31' AS datetime) AS Day", false); }),
            E_INVALIDARG);
  EXPECT_THAT(messages(u"CQXChooseList::GetKey"), Contains("Not supported data type as key (3)\n"));
  EXPECT_THAT(parent->keys, IsEmpty());
}

TEST_F(ChooseList, OfNoOrManyRowsOpensADialog) {
  choose(u"SELECT Code FROM [@QXEXTDBVERSION] WHERE Code = 'none'", false);
  EXPECT_TRUE(isOpen());
  desk.press(list, kCancel);
  choose(kCustomers, false);
  EXPECT_TRUE(isOpen());
}

TEST_F(ChooseList, LogsItsStatement) {
  choose(kCustomers);
  EXPECT_EQ(messages(u"CQXChooseList::GetKey"), Strings{"SQL: \"" + toUtf8(kCustomers) + "\"\n"});
}

TEST_F(ChooseList, WithoutACompanyIsRefused) {
  record.company.Release();
  EXPECT_EQ(raisedBy([this] { choose(kCustomers); }), E_POINTER);
  EXPECT_THAT(messages(u"CQXChooseList::GetKey"), ElementsAre("Company pointer not set.\n"));
}

TEST_F(ChooseList, WithoutAParentIsRefusedBeforeItsQueryRuns) {
  PlainForm* const owner = std::exchange(parent, nullptr);
  for (const bool alwaysShow : {false, true}) {
    log.records.clear();
    EXPECT_EQ(raisedBy([&] { choose(u"SELECT 'C1' AS No", alwaysShow); }), E_POINTER);
    EXPECT_THAT(messages(u"CQXChooseList::GetKey"), ElementsAre("Parent form not set.\n"));
  }
  parent = owner;
  EXPECT_FALSE(isOpen());
}

TEST_F(ChooseList, OfAQueryThatFailsLogsTheStatementAndThrows) {
  EXPECT_EQ(raisedBy([this] { choose(u"SELECT nonsense FROM nowhere"); }), -2000);
  const Strings lines = messages(u"CQXChooseList::GetKey");
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_THAT(lines[1], testing::StartsWith("Exception caught while DoQuery: "));
  EXPECT_EQ(lines[2], "SQL was: \"SELECT nonsense FROM nowhere\"\n");
  EXPECT_FALSE(isOpen());
}

TEST_F(ChooseList, ThatTheClientRefusesIsLoggedAndThrown) {
  takeNextUid(record.application, "QX_FCL_", [this](const auto& note) {
    choose(kCustomers);
    note();
    desk.press(list, kCancel);
  });
  log.records.clear();
  EXPECT_LT(raisedBy([this] { choose(kCustomers); }), 0);
  EXPECT_THAT(messages(u"CQXChooseList::GetKey"),
              Contains(testing::StartsWith("Failed to create form CFrmAddOnChooseList (")));
  EXPECT_EQ(parent->m_pChild, nullptr) << "the dialog that is gone is no child any more";
}

TEST_F(ChooseList, ChoosesTheSelectedRowOnce) {
  choose(kCustomers);
  desk.clickCell(list, kMatrix, "10800020", 2);
  EXPECT_THAT(rows()[1], HasSubstr("*\"2\" \"C2\""));
  EXPECT_TRUE(desk.press(list, kChoose));
  EXPECT_THAT(parent->keys, ElementsAre("C2"));
  EXPECT_FALSE(isOpen());
  EXPECT_EQ(parent->m_pChild, nullptr);
}

TEST_F(ChooseList, ADoubleClickChooses) {
  choose(kCustomers);
  desk.doubleClickCell(list, kMatrix, "10800010", 3);
  EXPECT_THAT(parent->keys, ElementsAre("C3"));
  EXPECT_FALSE(isOpen());
}

TEST_F(ChooseList, ADoubleClickOnAHeadChoosesNothing) {
  choose(kCustomers);
  desk.doubleClickCell(list, kMatrix, "10800010", 0);
  EXPECT_THAT(parent->keys, IsEmpty());
  EXPECT_TRUE(isOpen());
}

TEST_F(ChooseList, ChoosingWithoutASelectionIsAnErrorAndGivesNothing) {
  choose(kCustomers);
  log.records.clear();
  desk.press(list, kChoose);
  EXPECT_THAT(messages(u"CFrmAddOnChooseList::OnItemEvent"),
              Contains(testing::StartsWith("Error: ")));
  EXPECT_THAT(parent->keys, Not(Contains(testing::StartsWith("C"))));
}

TEST_F(ChooseList, CancelAndTheCloseBoxGiveAnEmptyKeyOnce) {
  choose(kCustomers);
  EXPECT_TRUE(desk.press(list, kCancel));
  EXPECT_THAT(parent->keys, ElementsAre(""));
  choose(kCustomers);
  EXPECT_TRUE(desk.closeForm(list));
  EXPECT_THAT(parent->keys, ElementsAre("", ""));
}

TEST_F(ChooseList, SortsByTheHeadOfAColumn) {
  choose(kCustomers);
  desk.clickCell(list, kMatrix, "10800020", 0);
  EXPECT_THAT(rows(), ElementsAre("\"1\" \"C3\" \"alpha\" \"100\"", "\"2\" \"C2\" \"beta\" \"20\"",
                                  "\"3\" \"C1\" \"Beta\" \"3\""));
  desk.clickCell(list, kMatrix, "10800030", 0);
  EXPECT_THAT(rows(), ElementsAre("\"1\" \"C3\" \"alpha\" \"100\"", "\"2\" \"C2\" \"beta\" \"20\"",
                                  "\"3\" \"C1\" \"Beta\" \"3\""))
      << "numbers are sorted as texts";
  desk.clickCell(list, kMatrix, "10800010", 0);
  EXPECT_THAT(rows()[0], HasSubstr("C1"));
}

TEST_F(ChooseList, TheColumnOfTheRowNumbersDoesNotSort) {
  choose(kCustomers);
  desk.clickCell(list, kMatrix, "10800020", 0);
  const Strings before = rows();
  desk.clickCell(list, kMatrix, "10806", 0);
  EXPECT_EQ(rows(), before);
}

TEST_F(ChooseList, FindsAsTheUserTypesInTheSortColumn) {
  choose(kCustomers);
  desk.type(list, kFind, "c2");
  EXPECT_THAT(rows()[1], HasSubstr("*\"2\""));
  desk.type(list, kFind, "");
  EXPECT_THAT(rows(), Not(Contains(HasSubstr("*")))) << "clearing the field deselects";
  desk.clickCell(list, kMatrix, "10800020", 0);
  desk.type(list, kFind, "BET");
  EXPECT_THAT(rows(), ElementsAre("\"1\" \"C3\" \"alpha\" \"100\"", "*\"2\" \"C2\" \"beta\" \"20\"",
                                  "\"3\" \"C1\" \"Beta\" \"3\""));
  desk.key(list, kFind, 'x');
  EXPECT_THAT(rows()[1], HasSubstr("*")) << "without a match the last selection stays";
}

TEST_F(ChooseList, BeginsWithTheGivenFindText) {
  findText = u"C3";
  choose(kCustomers);
  EXPECT_THAT(linesWith("  10804 edit "), ElementsAre("\"C3\""));
  EXPECT_THAT(rows()[2], HasSubstr("*\"3\""));
}

TEST_F(ChooseList, EnterChoosesTheFoundRowAndCloses) {
  choose(kCustomers);
  desk.type(list, kFind, "C2");
  desk.key(list, kFind, 13);
  EXPECT_THAT(parent->keys, ElementsAre("C2"));
  EXPECT_FALSE(isOpen());
}

TEST_F(ChooseList, TypingKeepsTheCaptionOfTheChooseButton) {
  choose(kCustomers);
  desk.type(list, kFind, "C");
  EXPECT_THAT(linesWith("  1 button "), ElementsAre("\"Choose\" default"));
}

TEST_F(ChooseList, KeepsRowsWithEqualKeysInTheirOrder) {
  choose(u"SELECT 'A' AS No, 'one' AS Name UNION ALL SELECT 'A', 'two'");
  EXPECT_THAT(rows(), ElementsAre("\"1\" \"A\" \"one\"", "\"2\" \"A\" \"two\""));
}

TEST_F(ChooseList, CutsALongTextAt254) {
  choose(u"SELECT '" + std::u16string(300, u'x') + u"' AS A UNION ALL SELECT '" +
         std::u16string(255, u'y') + u"'");
  EXPECT_THAT(rows(), ElementsAre("\"1\" \"" + std::string(254, 'x') + "\"",
                                  "\"2\" \"" + std::string(255, 'y') + "\""));
}

TEST_F(ChooseList, ShowsANullAsAnEmptyText) {
  choose(u"SELECT 'A' AS No, CAST(NULL AS varchar(5)) AS Name");
  EXPECT_THAT(rows(), ElementsAre("\"1\" \"A\" \"\""));
}

TEST_F(ChooseList, HidesTheFirstColumnOnRequest) {
  choose(kCustomers, true, true);
  EXPECT_THAT(text(), HasSubstr("10800010 \"No\" hidden 10800020 \"Name\""));
  desk.clickCell(list, kMatrix, "10800020", 1);
  desk.press(list, kChoose);
  EXPECT_THAT(parent->keys, ElementsAre("C1")) << "the hidden column is still the key";
}

TEST_F(ChooseList, OfOneHiddenColumnIsRefused) {
  EXPECT_EQ(raisedBy([this] { choose(u"SELECT 'A' AS No", true, true); }), E_INVALIDARG);
}

TEST_F(ChooseList, NewAndCopyOpenTheTargetForm) {
  auto* target = new PlainForm(&addOn);
  choose(kCustomers, true, false, true, true, target);
  EXPECT_THAT(linesWith("  801 button "), ElementsAre("\"New\""));
  EXPECT_THAT(linesWith("  802 button "), ElementsAre("\"Copy\""));
  EXPECT_TRUE(desk.press(list, kNew));
  EXPECT_FALSE(isOpen());
  EXPECT_EQ(target->m_InitialFormMode, afm_New);
  EXPECT_EQ(target->m_pParent, parent);
  EXPECT_THAT(parent->keys, IsEmpty());

  target = new PlainForm(&addOn);
  choose(kCustomers, true, false, false, true, target);
  EXPECT_THAT(linesWith("  801 button "), IsEmpty());
  desk.clickCell(list, kMatrix, "10800010", 2);
  EXPECT_TRUE(desk.press(list, kCopy));
  EXPECT_FALSE(isOpen());
  EXPECT_EQ(target->m_InitialFormMode, afm_Copy);
  EXPECT_EQ(target->m_bstrCopyKey.View(), u"C2");
  EXPECT_THAT(parent->keys, IsEmpty());
}

TEST_F(ChooseList, NewWithoutATargetIsLogged) {
  choose(kCustomers, true, false, true);
  log.records.clear();
  desk.press(list, kNew);
  EXPECT_THAT(messages(u"CQXChooseList::ChooseListNew"),
              Contains(testing::StartsWith("Failed to create instance of CFrmAddOnChooseList (")));
  EXPECT_TRUE(isOpen());
}

TEST_F(ChooseList, KeepsTheFrontWhileItIsOpen) {
  choose(kCustomers);
  const std::string other = toUtf8(parent->m_ptrForm->GetUniqueID().View());
  desk.selectForm(other);
  EXPECT_THAT(desk.forms(), HasSubstr("\"Choose from List\" selected"));
}

TEST_F(ChooseList, RecordCommandsLeaveItInOkMode) {
  choose(kCustomers);
  const auto form = record.application->GetForms()->GetFormByUID(CComBSTR(toUtf16(list)));
  form->PutMode(3);
  desk.pickMenu("1282");
  EXPECT_EQ(form->GetMode(), 1);
}

TEST_F(ChooseList, SurvivesTheEndOfItsParent) {
  choose(kCustomers);
  const std::string other = toUtf8(parent->m_ptrForm->GetUniqueID().View());
  desk.closeForm(other);
  desk.clickCell(list, kMatrix, "10800010", 1);
  EXPECT_TRUE(desk.press(list, kChoose));
  EXPECT_FALSE(isOpen());
}

}  // namespace
}  // namespace qx::test
