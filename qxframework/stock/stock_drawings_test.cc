// The framework's forms as their user sees them, compared whole.

#include "qxframework/runtime/addon_form.h"
#include "qxframework/stock/choose_list.h"
#include "qxframework/stock/init_progress.h"
#include "qxframework/stock/stock_fixture.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>

namespace qx::test {
namespace {

/// A form that asks for a key or is opened for a new record.
class PlainForm final : public CQXAddOnForm {
  DECLARE_XML_FORM_EX(u"PLAIN", -1, u"EXT")

 public:
  explicit PlainForm(const CQXAddOn* addOn) : CQXAddOnForm(addOn, -1) {}
  long OnItemEvent(CComPtr<IItemEvent>, short*) override { return S_OK; }
};

class StockDrawings : public StockForms {
 protected:
  /// Returns the drawing of the form that was opened last of those whose UIDs begin so.
  std::string drawn(const std::string& prefix) {
    return desk.drawing(openForms(record.application, prefix).back());
  }
  /// Opens a choose list with both of its further buttons.
  void choose(bool allowNew) {
    CQXChooseList::GetKey(u"Customers", u"", u"SELECT 'C1' AS No, 'Beta' AS Name", allowNew, true,
                          &asker, record.application, record.company, true, false, &target);
  }

  PlainForm asker{&addOn};
  PlainForm target{&addOn};
};

TEST_F(StockDrawings, TheChooseListHasItsButtonsInARow) {
  choose(true);
  EXPECT_EQ(drawn("QX_FCL_"), R"(+- Choose from List ----------------------------------------+
|Customers (1 record)                                       |
|Find       [____________________]                          |
|+---+--------------------------+------------------------++ |
|| # | No                       | Name                   || |
|+---+--------------------------+------------------------++ |
|| 1 | C1                       | Beta                   || |
||   |                          |                        || |
||   |                          |                        || |
||   |                          |                        || |
||   |                          |                        || |
||   |                          |                        || |
||   |                          |                        || |
|+---+--------------------------+------------------------++ |
|                                                           |
|[ Choose ] [ Cancel ] [ New  ][ Copy  ]                    |
|                                                           |
+-----------------------------------------------------------+
)");
}

TEST_F(StockDrawings, TheCopyButtonTakesThePlaceOfAMissingNewButton) {
  choose(false);
  EXPECT_THAT(
      drawn("QX_FCL_"),
      testing::HasSubstr("\n|[ Choose ] [ Cancel ] [ Copy ]                             |\n"));
}

// The head of each list: its columns share the width up to three, and have fixed ones from four on.
TEST_F(StockDrawings, TheColumnsOfTheChooseListFillItsWidth) {
  const auto head = [this](const std::u16string& fields, bool hideFirst) {
    CQXChooseList::GetKey(u"", u"", CComBSTR(u"SELECT " + fields), false, false, &asker,
                          record.application, record.company, true, hideFirst, nullptr);
    const std::string text = drawn("QX_FCL_");
    const std::size_t at = text.find("|| # ");
    return text.substr(at, text.find('\n', at) - at);
  };
  EXPECT_EQ(head(u"1 AS A", false),
            "|| # | A                                                 || |");
  EXPECT_EQ(head(u"1 AS A, 2 AS B, 3 AS C", false),
            "|| # | A                | B              | C             || |");
  EXPECT_EQ(head(u"1 AS A, 2 AS B, 3 AS C", true),
            "|| # | B                        | C                      || |");
  EXPECT_EQ(head(u"1 AS A, 2 AS B, 3 AS C, 4 AS D", false),
            "|| # | A          | B           | C         | D          || |");
  EXPECT_EQ(head(u"1 AS A, 2 AS B, 3 AS C, 4 AS D", true),
            "|| # | B          | C           | D          |            | |");
  EXPECT_EQ(head(u"1 AS A, 2 AS B, 3 AS C, 4 AS D, 5 AS E", false),
            "|| # | A          | B           | C         | D          | E | |");
}

// The text of the find field is looked for in the column that sorts, so the selection moves.
TEST_F(StockDrawings, SortingSelectsTheRowThatTheFindFieldNames) {
  CQXChooseList::GetKey(u"", u"b", u"SELECT 'b1' AS No, 'x' AS Name UNION ALL SELECT 'c2', 'b2'",
                        false, false, &asker, record.application, record.company, true, false,
                        nullptr);
  EXPECT_THAT(
      drawn("QX_FCL_"),
      testing::HasSubstr("\n|> 1 | b1                       | x                      || |"
                         "\n|| 2 | c2                       | b2                     || |\n"));
  desk.clickCell(openForms(record.application, "QX_FCL_").back(), "10805", "10800020", 0);
  EXPECT_THAT(
      drawn("QX_FCL_"),
      testing::HasSubstr("\n|> 1 | c2                       | b2                     || |"
                         "\n|| 2 | b1                       | x                      || |\n"));
}

TEST_F(StockDrawings, TheProgressFormShowsItsTextAndItsFilledCells) {
  CQXInitProgress progress(record.application, record.company, &addOn);
  progress.OpenInitForm();
  progress.DisplayProgressMessage(u"Creating tables", 4);
  EXPECT_EQ(drawn("QX_FIN_"), R"(+- Halvex Add-On Initialization --------+
|                                       |
| Creating tables                       |
|                                       |
| (_)(_)(_)(_)                          |
+---------------------------------------+
)");
  progress.DisplayProgressMessage(u"Creating keys", 12);
  EXPECT_EQ(drawn("QX_FIN_"), R"(+- Halvex Add-On Initialization --------+
|                                       |
| Creating keys                         |
|                                       |
| (_)                                   |
+---------------------------------------+
)");
  EXPECT_THAT(messages(u"CQXInitProgress::OpenInitForm"), testing::IsEmpty());
}

}  // namespace
}  // namespace qx::test
