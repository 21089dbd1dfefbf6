// An add-on whose hooks throw exceptions of any type: the exception does not reach the client, the
// add-on stays registered, and the next event calls the hook again.

#include "qxframework/automation/com_error.h"
#include "testing/param_name.h"
#include "testing/running_addon.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace {

using qx::test::EmbeddedClient;
using qx::test::Record;
using qx::test::RecordingAddOn;
using qx::test::RecordingLogger;
using qx::test::RunningAddOn;

/// A thrown type that is derived from no exception class.
struct UnknownException {};

struct Thrower {
  std::string name;
  long (*throwIt)(short* bubble);
  friend std::ostream& operator<<(std::ostream& out, const Thrower& thrower) {
    return out << thrower.name;
  }
};

const Thrower kThrowers[] = {
    {"Int", [](short*) -> long { throw 42; }},
    {"StdException", [](short*) -> long { throw std::runtime_error("no"); }},
    {"ComError", [](short*) -> long { throw _com_error(E_FAIL); }},
    {"ForeignStruct", [](short*) -> long { throw UnknownException(); }},
};

class ThrowingHooks : public testing::TestWithParam<Thrower> {};

/// A hook, the action of the user that makes the client call it, and the record that its exception
/// leaves in the log.
struct HookCase {
  std::string hook;
  std::function<void(RunningAddOn&, const std::string& form)> act;
  std::u16string message;
};

std::vector<HookCase> hookCases() {
  const std::u16string handler = u"Add-on's ";
  return {
      {"Form.OnItemEvent", [](auto& run, auto& form) { run.desk.press(form, "4"); },
       u"Form F_1 threw exception"},
      {"Form.OnMenuEvent", [](auto& run, auto&) { run.desk.pickMenu("1282"); },
       u"Form F_1 threw exception"},
      {"Form.OnRightClickEvent", [](auto& run, auto& form) { run.desk.rightClick(form, "4"); },
       u"Form F_1 threw exception"},
      {"Form.OnFormDataEvent", [](auto& run, auto& form) { run.desk.formData(form, "17", "K"); },
       u"Form F_1 threw exception"},
      {"OnFormLoad", [](auto& run, auto&) { run.desk.openForm("1001"); },
       handler + u"OnFormLoad threw exception"},
      {"OnMenuEvent", [](auto& run, auto&) { run.desk.pickMenu("1282"); },
       handler + u"OnMenuEvent threw exception"},
      {"OnRightClickEvent", [](auto& run, auto& form) { run.desk.rightClick(form, "4"); },
       handler + u"OnRightClickEvent threw exception"},
      {"OnStatusBarEvent", [](auto& run, auto&) { run.desk.status("Text", smt_Info); },
       handler + u"OnStatusBarEvent handler threw an exception"},
      {"OnProgressBarEvent", [](auto& run, auto&) { run.desk.progressBar(); },
       handler + u"OnProgressBarEvent handler threw an exception"},
      {"OnPrintEvent", [](auto& run, auto& form) { run.desk.print(form); },
       handler + u"OnPrintEvent handler threw an exception"},
      {"OnReportDataEvent", [](auto& run, auto& form) { run.desk.reportData(form); },
       handler + u"OnReportDataEvent handler threw an exception"},
      {"OnChangeLanguage", [](auto& run, auto&) { run.desk.changeLanguage(ln_German); },
       handler + u"OnChangeCompany handler threw an exception"},
      {"OnChangeCompany", [](auto& run, auto&) { run.desk.changeCompany(run.file); },
       handler + u"OnChangeCompany handler threw an exception"},
      {"OnApplicationUnload", [](auto& run, auto&) { run.desk.shutDown(); },
       handler + u"OnApplicationUnload handler threw an exception"},
  };
}

std::size_t callsOf(const Record& record, const std::string& hook) {
  std::size_t count = 0;
  for (const std::string& line : record.lines) count += line.starts_with(hook) ? 1 : 0;
  return count;
}

TEST_P(ThrowingHooks, AreLoggedAndCalledAgainByTheNextEvent) {
  for (const HookCase& each : hookCases()) {
    SCOPED_TRACE(each.hook);
    RunningAddOn run;
    ASSERT_EQ(run.result, S_OK);
    const std::string form = run.desk.openForm("3101");
    run.record.take();
    run.record.hooks[each.hook] = GetParam().throwIt;
    each.act(run, form);
    const std::size_t calls = callsOf(run.record, each.hook);
    EXPECT_GE(calls, 1U);
    EXPECT_TRUE(run.log.has(QXLoggerLib::sl_Error, each.message));
    if (each.hook == "OnApplicationUnload") continue;
    EXPECT_TRUE(run.desk.closeForm(form));
    run.desk.openForm("3101");
    run.record.take();
    each.act(run, "F_2");
    EXPECT_GE(callsOf(run.record, each.hook), 1U);
  }
}

TEST_P(ThrowingHooks, DoNotKeepAnUnloadedFormAlive) {
  RunningAddOn run;
  const std::string form = run.desk.openForm("3101");
  run.record.hooks["Form.OnItemEvent"] = GetParam().throwIt;
  run.record.hooks["Form.OnUnloadForm"] = GetParam().throwIt;
  run.record.take();
  EXPECT_TRUE(run.desk.closeForm(form));
  EXPECT_EQ(run.record.lines.back(), "~Form");
}

TEST_P(ThrowingHooks, AtTheStartEndTheAddOnWithAMessageToTheUser) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
  qx::test::TempFolder folder;
  RecordingLogger log;
  EmbeddedClient desk(folder.path() / "company.db");
  const std::string menus = desk.menus();
  Record record;
  record.hooks["OnApplicationLoad"] = GetParam().throwIt;
  RecordingAddOn addOn(desk.connection(), record);
  EXPECT_EQ(addOn.Connect(1), E_FAIL);
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Error, u"Exception not handled by Add-On\n"));
  EXPECT_EQ(desk.boxes(), "\"Set-up function of add-on failed (" + program +
                              ")\" [OK] -> 1\n\"Initialization failed\" [OK] -> 1\n");
  EXPECT_EQ(desk.menus(), menus);
  EXPECT_EQ(desk.sinks(), 0);
}

INSTANTIATE_TEST_SUITE_P(Type, ThrowingHooks, testing::ValuesIn(kThrowers),
                         qx::test::nameOf<Thrower>);

TEST(FailingHooks, AtTheStartEndTheAddOnWithTheResultOfTheHook) {
  qx::test::TempFolder folder;
  RecordingLogger log;
  EmbeddedClient desk(folder.path() / "company.db");
  Record record;
  record.hooks["OnApplicationLoad"] = [](short*) -> long { return E_ABORT; };
  RecordingAddOn addOn(desk.connection(), record);
  EXPECT_EQ(addOn.Connect(1), E_ABORT);
  EXPECT_EQ(desk.sinks(), 0);
}

TEST(FailingHooks, ResultAboveZeroAtTheStartIsNoFailure) {
  qx::test::TempFolder folder;
  EmbeddedClient desk(folder.path() / "company.db");
  Record record;
  record.hooks["OnApplicationLoad"] = [](short*) -> long { return S_FALSE; };
  RecordingAddOn addOn(desk.connection(), record);
  EXPECT_EQ(addOn.Connect(1), S_OK);
  EXPECT_EQ(desk.boxes(), "");
}

}  // namespace
