// The choose list over rows of every kind and number, and the rows of its table of events that a
// user reaches.

#include "qxframework/host/controls.h"
#include "qxframework/logging/function_log.h"
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
using testing::StartsWith;

/// The dialog by the objects of the client, for what is too long to be printed.
class ChooseListRows : public ChooseList {
 protected:
  template <class Control>
  CComQIPtr<Control> control(const char16_t* uid) {
    return CComQIPtr<Control>(hostForm()->GetItems()->Item(CComVariant(uid))->GetSpecific());
  }
  CComPtr<IForm> hostForm() {
    return record.application->GetForms()->GetFormByUID(CComBSTR(toUtf16(list)));
  }
  CComPtr<IMatrix> matrix() { return CComPtr<IMatrix>(control<IMatrix>(u"10805").p); }
  /// Changes the items of the dialog, as another add-on may.
  void patch(const std::u16string& actions) {
    record.application->LoadBatchActions(
        CComBSTR(u"<Application><forms><action type='update'><form uid='" + toUtf16(list) +
                 u"'><items>" + actions + u"</items></form></action></forms></Application>"));
  }
  /// Returns the text of a cell of the first column of data.
  std::string key(long row) {
    const auto cell = matrix()->GetColumns()->Item(CComVariant(1L))->GetCells();
    return toUtf8(
        CComQIPtr<IEditText>(cell->Item(CComVariant(row))->GetSpecific())->GetString().View());
  }
};

// Ten rows, joined with themselves.
std::u16string hundredThousandRows() {
  std::u16string digits = u"SELECT '0' AS D";
  for (char16_t digit = u'1'; digit <= u'9'; ++digit) {
    digits += std::u16string(u" UNION ALL SELECT '") + digit + u"'";
  }
  const std::u16string from = u"(" + digits + u") ";
  return u"SELECT A.D + B.D + C.D + D.D + E.D AS No, E.D + D.D + C.D + B.D + A.D AS Back FROM " +
         from + u"A CROSS JOIN " + from + u"B CROSS JOIN " + from + u"C CROSS JOIN " + from +
         u"D CROSS JOIN " + from + u"E";
}

TEST_F(ChooseListRows, OfAHundredThousandRowsSortsFindsAndChooses) {
  EXPECT_EQ(choose(hundredThousandRows()), 0);
  EXPECT_EQ(matrix()->GetRowCount(), 100000);
  EXPECT_EQ(key(1), "00000");
  EXPECT_EQ(key(100000), "99999");
  desk.clickCell(list, kMatrix, "10800020", 0);
  EXPECT_EQ(key(2), "10000") << "sorted by the other column";
  desk.type(list, kFind, "54321");
  EXPECT_EQ(matrix()->IsRowSelected(54322), VARIANT_TRUE);
  EXPECT_TRUE(desk.press(list, kChoose));
  EXPECT_THAT(parent->keys, ElementsAre("12345"));
}

TEST_F(ChooseListRows, OfNoRowsAnswersOnlyWithAnEmptyKey) {
  choose(u"SELECT Code FROM [@QXEXTDBVERSION] WHERE Code = 'none'");
  desk.clickCell(list, kMatrix, "10800010", 0);
  desk.type(list, kFind, "a");
  EXPECT_THAT(rows(), IsEmpty());
  EXPECT_EQ(raisedBy([this] { desk.clickCell(list, kMatrix, "10800010", 1); }), -7028);
  EXPECT_TRUE(desk.press(list, kCancel));
  EXPECT_THAT(parent->keys, ElementsAre(""));
}

TEST_F(ChooseListRows, OfOneRowIsShownOnRequest) {
  choose(u"SELECT 'C1' AS No", true);
  EXPECT_THAT(rows(), ElementsAre("\"1\" \"C1\""));
  EXPECT_THAT(parent->keys, IsEmpty());
}

TEST_F(ChooseListRows, OfOneRowWithANullKeyGivesAnEmptyKey) {
  EXPECT_EQ(choose(u"SELECT CAST(NULL AS varchar(5)) AS No", false), 0);
  EXPECT_THAT(parent->keys, ElementsAre(""));
}

TEST_F(ChooseListRows, ShowsANullAsTheEmptyValueOfItsType) {
  choose(
      u"SELECT CAST(NULL AS varchar(5)) AS No, CAST(NULL AS int) AS Amount, CAST(NULL AS "
      u"datetime) AS Day UNION ALL SELECT 'A', 2, NULL");
  EXPECT_THAT(rows(),
              ElementsAre("\"1\" \"\" \"0\" \"12:00:00 AM\"", "\"2\" \"A\" \"2\" \"12:00:00 AM\""));
  desk.clickCell(list, kMatrix, "10800010", 1);
  desk.press(list, kChoose);
  EXPECT_THAT(parent->keys, ElementsAre(""));
}

TEST_F(ChooseListRows, GivesAKeyThatIsNoTextAsTheTextThatItShows) {
  const auto chosen = [this](const std::u16string& sql) {
    choose(sql);
    desk.clickCell(list, kMatrix, "10800010", 1);
    desk.press(list, kChoose);
    return parent->keys.back();
  };
  EXPECT_EQ(chosen(u"SELECT 42 AS No"), "42");
  EXPECT_EQ(chosen(u"SELECT -7 AS No UNION ALL SELECT 8"), "-7");
  EXPECT_EQ(chosen(u"SELECT CAST(1.5 AS numeric(10,2)) AS No"), "1.5");
  EXPECT_EQ(chosen(u"SELECT CAST('2024-01-31' AS datetime) AS Day"), "1/31/2024");
}

TEST_F(ChooseListRows, GivesALongKeyAsItIsShown) {
  choose(u"SELECT '" + std::u16string(300, u'k') + u"' AS No");
  desk.clickCell(list, kMatrix, "10800010", 1);
  desk.press(list, kChoose);
  EXPECT_THAT(parent->keys, ElementsAre(std::string(254, 'k')));
}

// All that has a meaning in XML, a tab, a line end, and characters that need two units in UTF-16 or
// that the documents may not hold.
constexpr char16_t kSpecial[] = u"&amp; & < > \" ' ]]> \t\n \U0001F600 @ 100% %s";

TEST_F(ChooseListRows, ShowsTextsWithCharactersOfXmlAsTheyAre) {
  const std::u16string special = kSpecial;
  std::u16string quoted = special;
  quoted.insert(quoted.find(u'\''), 1, u'\'');
  findText = special.c_str();
  choose(u"SELECT '" + quoted + u"' AS No UNION ALL SELECT 'x'");
  EXPECT_EQ(key(1), toUtf8(special));
  EXPECT_EQ(control<IEditText>(u"10804")->GetString().View(), special);
  EXPECT_EQ(matrix()->IsRowSelected(1), VARIANT_TRUE) << "the text is found";
  desk.press(list, kChoose);
  EXPECT_THAT(parent->keys, ElementsAre(toUtf8(special)));
}

TEST_F(ChooseListRows, ShowsASubtitleWithCharactersOfXml) {
  subtitle = u"<A> & \"B\" 'C' \U0001F600 %d";
  choose(u"SELECT 'x' AS [<&\">]");
  EXPECT_EQ(toUtf8(control<IStaticText>(u"10802")->GetCaption().View()),
            "<A> & \"B\" 'C' \U0001F600 %d (1 record)");
  EXPECT_THAT(text(), HasSubstr("10800010 \"<&\">\""));
}

TEST_F(ChooseListRows, RefusesASubtitleThatNoDocumentMayHold) {
  for (const std::u16string& bad :
       {std::u16string(u"\x01"), std::u16string(u"\xFFFE"), std::u16string(1, char16_t(0xD800)),
        std::u16string(1, char16_t(0xDC00))}) {
    subtitle = (u"a" + bad + u"b").c_str();
    log.records.clear();
    EXPECT_LT(raisedBy([this] { choose(u"SELECT 'x' AS No"); }), 0);
    EXPECT_FALSE(isOpen());
    EXPECT_EQ(parent->m_pChild, nullptr);
  }
}

TEST_F(ChooseListRows, HoldsCellsThatNoDocumentMayHold) {
  choose(u"SELECT 'a\x01\xFFFE' AS No");
  EXPECT_EQ(key(1), "a\x01\xEF\xBF\xBE");
}

TEST_F(ChooseListRows, EveryKeySetsTheCaptionOfTheChooseButton) {
  choose(kCustomers);
  for (const char* item : {kFind, kMatrix, kCancel}) {
    control<IButton>(u"1")->PutCaption(u"OK");
    desk.key(list, item, 'q');
    EXPECT_THAT(linesWith("  1 button "), ElementsAre("\"Choose\" default")) << item;
  }
}

TEST_F(ChooseListRows, TheCloseBoxAfterAnAnswerGivesNoSecondOne) {
  choose(kCustomers);
  hostForm()->PutMode(3);  // outside of OK mode the client does not close the form on its button
  desk.clickCell(list, kMatrix, "10800010", 1);
  desk.press(list, kChoose);
  ASSERT_TRUE(isOpen());
  EXPECT_TRUE(desk.closeForm(list));
  EXPECT_THAT(parent->keys, ElementsAre("C1"));
}

TEST_F(ChooseListRows, CopyWithoutASelectionIsAnErrorAndOpensNothing) {
  auto target = std::make_unique<PlainForm>(&addOn);
  choose(kCustomers, true, false, false, true, target.get());
  log.records.clear();
  desk.press(list, kCopy);
  EXPECT_THAT(messages(u"CFrmAddOnChooseList::OnItemEvent"), Contains(StartsWith("Error: ")));
  EXPECT_EQ(target->m_ptrForm, nullptr);
  EXPECT_TRUE(isOpen());
}

TEST_F(ChooseListRows, NewAndCopyOfATargetThatIsGoneAreLogged) {
  auto target = std::make_unique<PlainForm>(&addOn);
  choose(kCustomers, true, false, true, true, target.get());
  target.reset();
  desk.clickCell(list, kMatrix, "10800010", 1);
  for (const char* button : {kNew, kCopy}) {
    log.records.clear();
    desk.press(list, button);
    const bool isNew = std::string(button) == kNew;
    EXPECT_THAT(
        messages(isNew ? u"CQXChooseList::ChooseListNew" : u"CQXChooseList::ChooseListCopy"),
        ElementsAre("Failed to create instance of CFrmAddOnChooseList (" +
                    toUtf8(CReturnValue<long>::xstrerror(0x80004003UL)) + ").\n"));
    EXPECT_TRUE(isOpen());
  }
}

TEST_F(ChooseListRows, OfAFindTextThatItsFieldDoesNotTakeIsRefused) {
  findText = std::u16string(80, u'x').c_str();
  EXPECT_EQ(choose(kCustomers), 0);
  desk.press(list, kCancel);
  findText = std::u16string(81, u'x').c_str();
  EXPECT_EQ(raisedBy([this] { choose(kCustomers); }), -7018);
  EXPECT_FALSE(isOpen());
}

TEST_F(ChooseListRows, EveryRecordCommandLeavesItInOkMode) {
  choose(kCustomers);
  for (const char* command : {"1281", "1282", "1283", "1288", "1289", "1290", "1291"}) {
    hostForm()->PutMode(3);
    EXPECT_TRUE(desk.pickMenu(command));
    EXPECT_EQ(hostForm()->GetMode(), 1) << command;
  }
  hostForm()->PutMode(3);
  desk.pickMenu("43523");
  EXPECT_EQ(hostForm()->GetMode(), 3) << "another entry changes nothing";
}

TEST_F(ChooseListRows, NoEventOfTheUserIsVetoed) {
  choose(kCustomers);
  EXPECT_TRUE(desk.type(list, kFind, "C2"));
  EXPECT_TRUE(desk.tab(list));
  EXPECT_TRUE(desk.clickCell(list, kMatrix, "10800020", 0));
  EXPECT_TRUE(desk.clickCell(list, kMatrix, "10806", 1));
  EXPECT_TRUE(desk.doubleClickCell(list, kMatrix, "10800010", 2));
  EXPECT_FALSE(isOpen());
}

TEST_F(ChooseListRows, ThatItsUserClosesWhileItOpensIsReportedToTheCaller) {
  record.hooks["OnFormLoad"] = [this](short*) {
    const Strings all = openForms(record.application, "QX_FCL_");
    if (!all.empty()) desk.closeForm(all.back());
    return E_FAIL;
  };
  EXPECT_EQ(raisedBy([this] { choose(kCustomers); }), -7008);
  EXPECT_FALSE(isOpen());
  EXPECT_EQ(parent->m_pChild, nullptr);
  EXPECT_THAT(parent->keys, IsEmpty());
}

TEST_F(ChooseListRows, SurvivesAParentThatItsUserClosesWhileItOpens) {
  const std::string asker = toUtf8(parent->m_ptrForm->GetUniqueID().View());
  record.hooks["OnFormLoad"] = [&](short*) {
    if (CQXAddOnForm::IsLive(parent)) desk.closeForm(asker);
    return E_FAIL;
  };
  EXPECT_EQ(choose(kCustomers), 0);
  EXPECT_FALSE(CQXAddOnForm::IsLive(parent));
  desk.clickCell(list, kMatrix, "10800010", 1);
  EXPECT_TRUE(desk.press(list, kChoose));
  EXPECT_FALSE(isOpen());
}

TEST_F(ChooseListRows, ItsParentMayCloseItWhenItGetsTheKey) {
  choose(kCustomers);
  parent->onKey = [this] { desk.closeForm(list); };
  desk.clickCell(list, kMatrix, "10800010", 1);
  EXPECT_TRUE(desk.press(list, kChoose));
  EXPECT_THAT(parent->keys, ElementsAre("C1"));
  EXPECT_FALSE(isOpen());
}

TEST_F(ChooseListRows, ItsParentMayAskAgainWhenItGetsTheKey) {
  choose(kCustomers);
  const std::string first = list;
  parent->onKey = [this] {
    parent->onKey = nullptr;
    choose(u"SELECT 'D1' AS No");
  };
  desk.clickCell(list, kMatrix, "10800010", 1);
  EXPECT_TRUE(desk.press(first, kChoose));
  EXPECT_NE(list, first);
  desk.clickCell(list, kMatrix, "10800010", 1);
  EXPECT_TRUE(desk.press(list, kChoose));
  EXPECT_THAT(parent->keys, ElementsAre("C1", "D1"));
  EXPECT_FALSE(isOpen());
}

TEST_F(ChooseListRows, ADoubleClickCountsFromTheFirstRowOn) {
  choose(kCustomers);
  desk.clickCell(list, kMatrix, "10800010", 2);
  desk.doubleClickCell(list, kMatrix, "10800010", 0);
  EXPECT_THAT(parent->keys, IsEmpty()) << "the head is no row";
  EXPECT_TRUE(isOpen());
  desk.doubleClickCell(list, kMatrix, "10800010", 1);
  EXPECT_THAT(parent->keys, ElementsAre("C1"));
}

TEST_F(ChooseListRows, ADoubleClickOutsideOfTheMatrixChoosesNothing) {
  choose(kCustomers);
  desk.clickCell(list, kMatrix, "10800010", 2);
  desk.doubleClickCell(list, kFind, "", 0);
  EXPECT_THAT(parent->keys, IsEmpty());
}

TEST_F(ChooseListRows, EnterClosesTheDialogOutsideOfOkModeOnceItHasAnswered) {
  choose(kCustomers);
  hostForm()->PutMode(3);
  desk.key(list, kFind, 13);
  EXPECT_TRUE(isOpen()) << "nothing is selected, so there is no answer";
  EXPECT_THAT(parent->keys, IsEmpty());
  hostForm()->PutMode(3);
  desk.clickCell(list, kMatrix, "10800010", 2);
  desk.key(list, kFind, 13);
  EXPECT_FALSE(isOpen());
  EXPECT_THAT(parent->keys, ElementsAre("C2"));
}

TEST_F(ChooseListRows, AnotherKeyAfterAnAnswerLeavesTheDialogOpen) {
  choose(kCustomers);
  hostForm()->PutMode(3);
  desk.clickCell(list, kMatrix, "10800010", 2);
  desk.press(list, kChoose);
  desk.key(list, kFind, 'x');
  EXPECT_TRUE(isOpen());
}

TEST_F(ChooseListRows, ClearingTheFindFieldLeavesNothingToChoose) {
  choose(kCustomers);
  desk.type(list, kFind, "C2");
  desk.type(list, kFind, "");
  hostForm()->PutMode(3);
  log.records.clear();
  desk.press(list, kChoose);
  EXPECT_THAT(messages(u"CFrmAddOnChooseList::OnItemEvent"), Contains(StartsWith("Error: ")));
  EXPECT_THAT(parent->keys, IsEmpty());
}

TEST_F(ChooseListRows, OtherItemsAndHeadsThatDoNotSortAreNoErrors) {
  auto target = std::make_unique<PlainForm>(&addOn);
  choose(kCustomers, true, false, true, true, target.get());
  log.records.clear();
  desk.clickCell(list, kMatrix, "10806", 0);
  desk.press(list, "10803");
  desk.press(list, kFind);
  EXPECT_THAT(log.messages(1), IsEmpty());
  EXPECT_TRUE(isOpen());
  EXPECT_EQ(target->m_ptrForm, nullptr);
}

TEST_F(ChooseListRows, AButtonOfOthersIsNoneOfItsOwn) {
  auto target = std::make_unique<PlainForm>(&addOn);
  choose(kCustomers, true, false, true, true, target.get());
  patch(u"<action type='add'><item uid='MINE' type='4'/></action>");
  desk.clickCell(list, kMatrix, "10800010", 2);
  EXPECT_TRUE(desk.press(list, "MINE"));
  EXPECT_TRUE(isOpen());
  EXPECT_THAT(parent->keys, IsEmpty());
  EXPECT_EQ(target->m_ptrForm, nullptr);
}

TEST_F(ChooseListRows, AHeadOfAColumnOfOthersIsAnErrorAndSortsNothing) {
  choose(kCustomers);
  // The first of them is directly behind the last field.
  patch(
      u"<action type='update'><item uid='10805'><specific><columns><action type='add'>"
      u"<column uid='10800040' type='16' title='D'/><column uid='10800990' type='16' title='E'/>"
      u"</action></columns></specific></item></action>");
  for (const char* column : {"10800040", "10800990"}) {
    log.records.clear();
    desk.clickCell(list, kMatrix, column, 0);
    EXPECT_THAT(messages(u"CFrmAddOnChooseList::OnItemEvent"), ElementsAre(StartsWith("Error: ")))
        << column;
    EXPECT_EQ(key(1), "C1");
    EXPECT_EQ(key(3), "C3");
    desk.type(list, kFind, "C2");
    EXPECT_EQ(matrix()->IsRowSelected(2), VARIANT_FALSE) << "no row has a text there to be found";
  }
}

TEST_F(ChooseListRows, SortingLooksForTheFindTextAnew) {
  choose(u"SELECT 'b1' AS No, 'x' AS Name UNION ALL SELECT 'c2', 'b2'");
  desk.type(list, kFind, "b");
  EXPECT_EQ(matrix()->IsRowSelected(1), VARIANT_TRUE);
  desk.clickCell(list, kMatrix, "10800020", 0);
  EXPECT_EQ(key(1), "c2");
  desk.press(list, kChoose);
  EXPECT_THAT(parent->keys, ElementsAre("c2"));
}

TEST_F(ChooseListRows, CopyBesideNewOpensTheCopyOfTheSelectedRow) {
  auto* target = new PlainForm(&addOn);
  choose(kCustomers, true, false, true, true, target);
  desk.clickCell(list, kMatrix, "10800010", 3);
  EXPECT_TRUE(desk.press(list, kCopy));
  EXPECT_FALSE(isOpen());
  EXPECT_EQ(target->m_InitialFormMode, afm_Copy);
  EXPECT_EQ(target->m_bstrCopyKey.View(), u"C3");
  EXPECT_EQ(target->m_pParent, parent);
  ASSERT_NE(target->m_ptrForm, nullptr);
  EXPECT_EQ(target->m_ptrForm->GetVisible(), VARIANT_TRUE);
}

/// A target that is content with less than it could have.
class ContentForm final : public PlainForm {
 public:
  using PlainForm::PlainForm;
  long OnFormLoaded() override { return 5; }
};

TEST_F(ChooseListRows, NewAndCopyReturnTheResultOfTheTarget) {
  EXPECT_EQ(CQXChooseList::ChooseListNew(new ContentForm(&addOn), record.application,
                                         record.company, parent),
            5);
  EXPECT_EQ(CQXChooseList::ChooseListCopy(new ContentForm(&addOn), record.application,
                                          record.company, parent, u"K"),
            5);
}

TEST_F(ChooseListRows, EveryOperationIsTracedUnderItsName) {
  const auto entered = [this] {
    Strings out;
    for (const LogRecord& each : std::exchange(log.records, {})) {
      if (each.message != u"Entering function\n") continue;
      const std::string name = toUtf8(each.function);
      const bool isForm = name.starts_with("CFrmAddOnChooseList::");
      if (isForm) {
        EXPECT_EQ(each.appId, -1) << name;
      }
      if (name.starts_with("CQXChooseList::")) {
        EXPECT_EQ(each.appId, 0) << name;
      }
      if (isForm || name == "CQXAddOnForm::FixFormSize") out.push_back(name);
    }
    std::erase(out, "CFrmAddOnChooseList::OnItemEvent");
    return out;
  };
  findText = u"C";
  choose(kCustomers);
  EXPECT_THAT(entered(),
              ElementsAre("CFrmAddOnChooseList::OnCreateForm", "CFrmAddOnChooseList::OnInitForm",
                          "CFrmAddOnChooseList::FillMatrix", "CFrmAddOnChooseList::FindSelect",
                          "CFrmAddOnChooseList::MatrixFindRow", "CQXAddOnForm::FixFormSize"));
  desk.clickCell(list, kMatrix, "10800020", 0);
  EXPECT_THAT(entered(),
              ElementsAre("CFrmAddOnChooseList::SortMatrix", "CFrmAddOnChooseList::FillMatrix",
                          "CFrmAddOnChooseList::FindSelect", "CFrmAddOnChooseList::MatrixFindRow"));
  desk.pickMenu("1282");
  EXPECT_THAT(entered(),
              ElementsAre("CFrmAddOnChooseList::OnMenuEvent", "CFrmAddOnChooseList::OnMenuEvent"));
}

TEST_F(ChooseListRows, LogsItsStatementForDebuggersAndItsFailureAsAnError) {
  choose(u"SELECT 'x' AS No");
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Debug0, u"SQL: \"SELECT 'x' AS No\"\n"));
  EXPECT_LT(raisedBy([this] { choose(u"SELECT nonsense"); }), 0);
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Error, u"SQL was: \"SELECT nonsense\"\n"));
}

TEST_F(ChooseListRows, ARecordCommandSetsTheModeAfterItself) {
  choose(kCustomers);
  std::vector<long> modes;
  record.hooks["OnMenuEvent"] = [&](short*) {
    modes.push_back(hostForm()->GetMode());
    return S_OK;
  };
  hostForm()->PutMode(3);
  desk.pickMenu("1290");
  EXPECT_THAT(modes, ElementsAre(3, 1));
}

TEST_F(ChooseListRows, WithoutItsParentItLetsOtherFormsComeToTheFront) {
  choose(kCustomers);
  const std::string other = desk.openForm("1001");
  EXPECT_THAT(desk.forms(), HasSubstr("\"Choose from List\" selected"));
  desk.closeForm(toUtf8(parent->m_ptrForm->GetUniqueID().View()));
  desk.selectForm(other);
  EXPECT_THAT(desk.forms(), Not(HasSubstr("\"Choose from List\" selected")));
}

TEST_F(ChooseListRows, SecondSearchTakesTheSelectionOfTheFirst) {
  choose(kCustomers);
  desk.type(list, kFind, "C1");
  desk.type(list, kFind, "C3");
  EXPECT_THAT(rows(), ElementsAre(Not(HasSubstr("*")), Not(HasSubstr("*")), HasSubstr("*")));
}

}  // namespace
}  // namespace qx::test
