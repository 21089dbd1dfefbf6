// The events of every action of the user, and what a veto of each of them leaves.

#include "qxdesk/screens/model/desk_printer.h"
#include "qxdesk/screens/model/test_support.h"
#include "qxdesk/screens/user/user_actions.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>

namespace qx::screens {
namespace {

// Every action of the user on a sales order and an add-on's form, with all of its events.
struct Action {
  const char* name;
  std::function<bool(UserActions&)> run;
  Log events;
  bool closesLater = false;  // the form closes when the action is done, so it is not vetoed
  friend std::ostream& operator<<(std::ostream& out, const Action& each) {
    return out << each.name;
  }
};

class UserAction : public testing::TestWithParam<Action> {
 protected:
  struct Played {
    Log log;
    bool done = false;
    std::string before;
    std::string after;
  };
  /// Plays the action on a new desk on which `vetoed` is refused.
  static Played play(const std::string& vetoed = "") {
    Desk desk(testSettings());
    UserActions user(desk);
    user.openForm(u"3101");
    desk.forms.open(makeAddOnForm(u"A"));
    user.type({u"A", u"5"}, u"a");
    Played out;
    out.before = toUtf8(printForms(desk.forms));
    const auto sink = listen(desk, vetoed.empty() ? nullptr : veto(vetoed));
    out.done = GetParam().run(user);
    out.after = toUtf8(printForms(desk.forms));
    out.log = sink->log;
    return out;
  }
};

TEST_P(UserAction, RaisesItsEventsInTheirOrder) {
  const Played played = play();
  EXPECT_EQ(played.log, GetParam().events);
  EXPECT_TRUE(played.done);
}

TEST_P(UserAction, StopsAtAnEventThatIsVetoed) {
  const Log& all = GetParam().events;
  for (auto event = all.begin(); event != all.end(); ++event) {
    if (!event->starts_with("before ")) continue;
    SCOPED_TRACE(*event);
    const Played played = play(*event);
    EXPECT_EQ(played.log, Log(all.begin(), event + 1));
    const bool isClosing =
        event->starts_with("before item 20 ") || event->starts_with("before item 17 ");
    EXPECT_EQ(played.done, isClosing && GetParam().closesLater);
    if (event == all.begin()) {
      EXPECT_EQ(played.after, played.before);
    }
  }
}

const Action kActions[] = {
    {"Press",
     [](UserActions& user) {
       return user.click({u"A", u"6"});
     },
     {"before item 10 A.5", "after item 10 A.5", "before item 6 A.6", "after item 6 A.6",
      "before item 1 A.6", "after item 1 A.6"}},
    {"Cancel",
     [](UserActions& user) {
       return user.click({u"A", u"2"});
     },
     {"before item 10 A.5", "after item 10 A.5", "before item 6 A.2", "after item 6 A.2",
      "before item 1 A.2", "after item 1 A.2", "before item 20 A", "after item 20 A",
      "before item 17 A", "after item 17 A"},
     true},
    {"CloseByTheBox",
     [](UserActions& user) { return user.closeForm(u"A"); },
     {"before item 20 A", "after item 20 A", "before item 17 A", "after item 17 A"}},
    {"Type",
     [](UserActions& user) {
       return user.key({u"A", u"5"}, u'b');
     },
     {"before item 2 A.5 key 98", "after item 2 A.5 key 98"}},
    {"Validate",
     [](UserActions& user) {
       return user.validate({u"A", u"5"});
     },
     {"before item 10 A.5", "after item 10 A.5"}},
    {"Select",
     [](UserActions& user) { return user.selectForm(u"F_1"); },
     {"before item 19 A", "after item 19 A"}},
    {"ClickACell",
     [](UserActions& user) {
       return user.click({u"F_1", u"20", u"2", 1});
     },
     {"before item 19 A", "after item 19 A", "before item 6 F_1.20.2.1",
      "after item 6 F_1.20.2.1"}},
    {"DoubleClickACell",
     [](UserActions& user) {
       return user.doubleClick({u"F_1", u"20", u"2", 1});
     },
     {"before item 19 A", "after item 19 A", "before item 6 F_1.20.2.1", "after item 6 F_1.20.2.1",
      "before item 7 F_1.20.2.1", "after item 7 F_1.20.2.1"}},
    {"TypeIntoACell",
     [](UserActions& user) {
       return user.type({u"F_1", u"20", u"2", 1}, u"1");
     },
     {"before item 19 A", "after item 19 A", "before item 2 F_1.20.2.1 key 49",
      "after item 2 F_1.20.2.1 key 49"}},
    {"Choose",
     [](UserActions& user) {
       return user.choose({u"F_1", u"7"}, u"C");
     },
     {"before item 19 A", "after item 19 A", "before item 6 F_1.7", "after item 6 F_1.7"}},
};

INSTANTIATE_TEST_SUITE_P(EachAction, UserAction, testing::ValuesIn(kActions),
                         [](const auto& each) { return std::string(each.param.name); });

}  // namespace
}  // namespace qx::screens
