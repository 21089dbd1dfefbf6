// Drawings are compared whole.

#include "qxdesk/screens/user/form_drawing.h"

#include "qxdesk/screens/model/test_support.h"
#include "qxdesk/screens/user/user_actions.h"

#include <gtest/gtest.h>

#include <limits>

namespace qx::screens {
namespace {

class FormDrawing : public testing::Test {
 protected:
  std::string drawn(const FormModel& form) const { return toUtf8(drawForm(form, desk_.statusBar)); }
  /// Opens a form with one edit, drawn as one line of its own.
  FormModel& openEdit() {
    auto form = std::make_shared<FormModel>(u"A", u"-1", false);
    form->rect = {0, 0, 80 + kFrameWidth, 16 + kFrameHeight};
    ItemModel edit;
    edit.uid = u"E";
    edit.type = kEditText;
    edit.rect = {8, 0, 64, 14};
    form->addItem(std::move(edit));
    form->visible = true;
    desk_.forms.open(form);
    return *form;
  }

  Desk desk_{testSettings()};
  UserActions user_{desk_};
};

constexpr char kHead[] = "+----------+\n";

TEST_F(FormDrawing, ShowsTheFormAsItOpens) {
  const auto form = user_.openForm(u"3101");
  EXPECT_EQ(drawn(*form),
            R"(+- Sales Order ---------------------------------------------------------+
|Customer      [____________________]                                   |
|Name          [____________________]                                   |
|Posting Date  [____________________]                                   |
|Status        [Open______________ v]                                   |
|+---+----------------+----------+------------+-----------------------+ |
|| # | Item No.       | Quantity | Unit Price |                       | |
|+---+----------------+----------+------------+-----------------------+ |
||   |                |          |            |                       | |
||   |                |          |            |                       | |
||   |                |          |            |                       | |
||   |                |          |            |                       | |
||   |                |          |            |                       | |
||   |                |          |            |                       | |
||   |                |          |            |                       | |
||   |                |          |            |                       | |
||   |                |          |            |                       | |
||   |                |          |            |                       | |
|+---+----------------+----------+------------+-----------------------+ |
|[  OK   ] [ Cancel ]                                                   |
|                                                                       |
+-----------------------------------------------------------------------+
)");
}

TEST_F(FormDrawing, ShowsWhatTheUserTypesAndChooses) {
  const auto form = user_.openForm(u"3101");
  user_.type({u"F_1", u"4"}, u"C2000");
  user_.choose({u"F_1", u"7"}, u"C");
  user_.type({u"F_1", u"20", u"1", 1}, u"A1000");
  form->item(u"20").matrix->addRows(2, -1);
  form->item(u"5").enabled = false;
  form->item(u"2").visible = false;
  user_.click({u"F_1", u"20", u"1", 2});
  EXPECT_EQ(drawn(*form), R"(+- Sales Order -------------------------------------------------------+
|Customer      [C2000_____________]                                   |
|Name          (__________________)                                   |
|Posting Date  [__________________]                                   |
|Status        [Closed__________ v]                                   |
|{---+--------------+----------+------------+-----------------------} |
|| # | Item No.     | Quantity | Unit Price |                       | |
|+---+--------------+----------+------------+-----------------------+ |
||   | A1000        |          |            |                       | |
|>   |              |          |            |                       | |
||   |              |          |            |                       | |
||   |              |          |            |                       | |
||   |              |          |            |                       | |
||   |              |          |            |                       | |
||   |              |          |            |                       | |
||   |              |          |            |                       | |
||   |              |          |            |                       | |
||   |              |          |            |                       | |
|{---+--------------+----------+------------+-----------------------} |
|[  OK   ]                                                            |
|                                                                     |
+---------------------------------------------------------------------+
)");
}

TEST_F(FormDrawing, ShowsTheFocus) {
  FormModel& form = openEdit();
  EXPECT_EQ(drawn(form), kHead + std::string("| [______] |\n") + kHead);
  user_.type({u"A", u"E"}, u"ab");
  EXPECT_EQ(drawn(form), kHead + std::string("| {ab____} |\n") + kHead);
}

TEST_F(FormDrawing, ShowsTheItemsOfThePane) {
  FormModel& form = openEdit();
  const std::string with = kHead + std::string("| [______] |\n") + kHead;
  const std::string without = kHead + std::string("|          |\n") + kHead;
  const auto onPane = [&](long from, long to, long pane) {
    form.item(u"E").fromPane = from;
    form.item(u"E").toPane = to;
    form.pane = pane;
    return drawn(form);
  };
  EXPECT_EQ(onPane(0, 0, 7), with);
  EXPECT_EQ(onPane(0, 2, 1), with);
  EXPECT_EQ(onPane(1, 3, 0), without);
  EXPECT_EQ(onPane(1, 3, 1), with);
  EXPECT_EQ(onPane(1, 3, 3), with);
  EXPECT_EQ(onPane(1, 3, 4), without);
}

TEST_F(FormDrawing, IsEmptyForAHiddenForm) {
  FormModel& form = openEdit();
  desk_.forms.show(desk_.forms.find(u"A"), false);
  EXPECT_EQ(drawn(form), "");
}

TEST_F(FormDrawing, HasTheLastMessageOfTheStatusBar) {
  FormModel& form = openEdit();
  const std::string edit = drawn(form);
  desk_.statusBar.show({u"Adding", smt_None, 0});
  desk_.statusBar.show({u"No customer", smt_Error, 0});
  EXPECT_EQ(drawn(form), edit + " error: No customer\n");
  desk_.statusBar.show({u"", smt_Error, 0});
  EXPECT_EQ(drawn(form), edit);
}

TEST_F(FormDrawing, HasTheProgressBar) {
  FormModel& form = openEdit();
  const std::string edit = drawn(form);
  const auto gauge = [&](long value, long maximum) {
    const auto progress = desk_.statusBar.createProgress(u"Adding", maximum, false);
    progress->setValue(value);
    return drawn(form).substr(edit.size());
  };
  constexpr long kMost = std::numeric_limits<long>::max();
  EXPECT_EQ(gauge(0, 3), " [____________________] Adding\n");
  EXPECT_EQ(gauge(1, 3), " [######______________] Adding\n");
  EXPECT_EQ(gauge(3, 3), " [####################] Adding\n");
  EXPECT_EQ(gauge(kMost, kMost), " [####################] Adding\n");
  EXPECT_EQ(gauge(1, 0), " [____________________] Adding\n");
  EXPECT_EQ(gauge(1, -1), " [____________________] Adding\n");
  EXPECT_EQ(drawn(form), edit);
}

}  // namespace
}  // namespace qx::screens
