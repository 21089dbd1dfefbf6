#include "qxframework/stock/init_progress.h"

#include "qxframework/automation/text.h"
#include "qxframework/host/controls.h"
#include "qxframework/host/form.h"
#include "qxframework/os/clock.h"
#include "qxframework/stock/stock_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace qx::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Strings = std::vector<std::string>;

/// Replaces the clock while it lives, so that the second at the end passes at once.
class ScopedClock {
 public:
  ScopedClock() { setCurrentClock(&clock); }
  ~ScopedClock() { setCurrentClock(nullptr); }
  ScopedClock(const ScopedClock&) = delete;
  ScopedClock& operator=(const ScopedClock&) = delete;

  ManualClock clock;
};

class InitProgress : public StockForms {
 protected:
  InitProgress() { log.records.clear(); }
  CComPtr<IForm> hostForm(const std::string& uid) {
    return record.application->GetForms()->GetFormByUID(CComBSTR(toUtf16(uid)));
  }
  /// Returns the UIDs of the open progress forms.
  Strings open() { return openForms(record.application, "QX_FIN_"); }
  /// Returns the only progress form.
  std::string uid() {
    const Strings all = open();
    return all.size() == 1 ? all.front() : "not one form";
  }
  std::string message(const std::string& form) { return caption(desk.form(form), "  205 static "); }
  /// Returns one letter per cell: # for a filled one.
  std::string bar(const std::string& form) {
    const std::string text = desk.form(form);
    std::string out;
    for (int cell = 206; cell <= 220; ++cell) {
      const std::string line = lineOf(text, "  " + std::to_string(cell) + " edit");
      out += line.find(" hidden") == std::string::npos ? '#' : '.';
    }
    return out;
  }
  static std::string lineOf(const std::string& text, const std::string& head) {
    const std::size_t at = text.find(head);
    return at == std::string::npos ? "" : text.substr(at, text.find('\n', at) - at);
  }
  static std::string caption(const std::string& text, const std::string& head) {
    const std::string line = lineOf(text, head);
    return line.substr(std::min(line.size(), head.size()));
  }
  CQXInitProgress progress() { return {record.application, record.company, &addOn}; }

  ScopedClock time;
};

TEST_F(InitProgress, OpensWithItsFirstTextAndAnEmptyBar) {
  auto handle = progress();
  EXPECT_THAT(open(), IsEmpty()) << "the handle alone opens nothing";
  EXPECT_EQ(handle.OpenInitForm(), 0);
  EXPECT_EQ(message(uid()), "\"Initializing Halvex Add-On\"");
  EXPECT_EQ(bar(uid()), "...............");
  EXPECT_EQ(hostForm(uid())->GetVisible(), VARIANT_TRUE);
  EXPECT_EQ(hostForm(uid())->GetTitle().View(), u"Halvex Add-On Initialization");
  EXPECT_THAT(log.messages(1), IsEmpty());
}

TEST_F(InitProgress, OpeningTwiceShowsTheSameForm) {
  auto handle = progress();
  handle.OpenInitForm();
  hostForm(uid())->PutVisible(VARIANT_FALSE);
  EXPECT_EQ(handle.OpenInitForm(), 0);
  EXPECT_EQ(open().size(), 1U);
  EXPECT_EQ(hostForm(uid())->GetVisible(), VARIANT_TRUE);
}

TEST_F(InitProgress, ShowsTextAndSteps) {
  auto handle = progress();
  handle.OpenInitForm();
  EXPECT_EQ(handle.DisplayProgressMessage(u"Tables", 3), 0);
  EXPECT_EQ(message(uid()), "\"Tables\"");
  EXPECT_EQ(bar(uid()), "###............");
  EXPECT_EQ(handle.DisplayProgressMessage(u"Keys", 0), 0);
  EXPECT_EQ(handle.DisplayProgressMessage(u"Keys", -5), 0);
  EXPECT_EQ(message(uid()), "\"Keys\"");
  EXPECT_EQ(bar(uid()), "###............");
}

TEST_F(InitProgress, SixteenStepsFillTheBarAndBeginAnew) {
  auto handle = progress();
  handle.OpenInitForm();
  handle.DisplayProgressMessage(u"", 15);
  EXPECT_EQ(bar(uid()), "###############");
  handle.DisplayProgressMessage(u"", 1);
  EXPECT_EQ(bar(uid()), "#..............");
}

TEST_F(InitProgress, ClosingFillsTheBarSaysHowItEndedAndHides) {
  auto handle = progress();
  handle.OpenInitForm();
  handle.DisplayProgressMessage(u"", 4);
  EXPECT_EQ(handle.CloseInitForm(true), 0);
  EXPECT_EQ(bar(uid()), "###############");
  EXPECT_EQ(message(uid()), "\"Initialization completed successfully\"");
  EXPECT_EQ(hostForm(uid())->GetVisible(), VARIANT_FALSE);
  EXPECT_EQ(time.clock.sleeps(), 1);
  EXPECT_EQ(time.clock.now(), std::chrono::system_clock::time_point(std::chrono::seconds(1)));
}

TEST_F(InitProgress, ClosingAfterAFailureSaysSoInTheUsersLanguage) {
  desk.changeLanguage(ln_German);
  auto handle = progress();
  handle.OpenInitForm();
  handle.CloseInitForm(false);
  EXPECT_EQ(message(uid()), "\"Initialisierung fehlgeschlagen\"");
}

TEST_F(InitProgress, ClosingWithoutAFormOpensOne) {
  auto handle = progress();
  EXPECT_EQ(handle.CloseInitForm(false), 0);
  EXPECT_EQ(message(uid()), "\"Initialization failed\"");
}

TEST_F(InitProgress, AMessageWithoutAFormOpensOne) {
  auto handle = progress();
  EXPECT_EQ(handle.DisplayProgressMessage(u"Tables", 2), 0);
  EXPECT_EQ(message(uid()), "\"Tables\"");
  EXPECT_EQ(bar(uid()), "##.............");
  EXPECT_THAT(messages(u"CQXInitProgress::DisplayProgressMessage"),
              ElementsAre("Failed to display progress. Try to reopen the progress bar"));
}

TEST_F(InitProgress, AfterTheUserClosedTheFormTheNextMessageOpensANewOne) {
  auto handle = progress();
  handle.OpenInitForm();
  handle.DisplayProgressMessage(u"", 9);
  EXPECT_TRUE(desk.closeForm(uid()));
  EXPECT_THAT(open(), IsEmpty());
  EXPECT_EQ(handle.DisplayProgressMessage(u"More", 1), 0);
  EXPECT_EQ(bar(uid()), "#..............");
}

/// A clock during whose first sleeps the user acts.
class ClockWithUser final : public ManualClock {
 public:
  explicit ClockWithUser(std::function<void()> act, int times = 1)
      : act_(std::move(act)), left_(times) {}
  void sleepFor(std::chrono::milliseconds duration) override {
    ManualClock::sleepFor(duration);
    if (left_-- > 0) act_();
  }

 private:
  std::function<void()> act_;
  int left_;
};

TEST_F(InitProgress, AFormThatTheUserClosesEachTimeIsOpenedTwiceMore) {
  ClockWithUser clock([this] { EXPECT_TRUE(desk.closeForm(uid())); }, 10);
  setCurrentClock(&clock);
  auto handle = progress();
  handle.OpenInitForm();
  EXPECT_EQ(handle.CloseInitForm(true), 0);
  EXPECT_THAT(messages(u"CQXInitProgress::CloseInitForm"),
              ElementsAre("Failed to close progress form, try to reopen",
                          "Failed to close progress form, try to reopen"));
  EXPECT_EQ(clock.sleeps(), 2);
  EXPECT_EQ(bar(uid()), "...............");
}

TEST_F(InitProgress, AFormThatCannotBeOpenedOnceMoreEndsTheAttempts) {
  ClockWithUser clock([this] {
    const std::string gone = uid();
    desk.closeForm(gone);
    // The next form would have the same number.
    record.application->LoadBatchActions(
        CComBSTR(u"<Application><forms><action type='add'><form uid='" + toUtf16(gone) +
                 u"' title='Other'/></action></forms></Application>"));
  });
  setCurrentClock(&clock);
  auto handle = progress();
  handle.OpenInitForm();
  EXPECT_EQ(handle.CloseInitForm(true), 0);
  EXPECT_THAT(messages(u"CQXInitProgress::CloseInitForm"),
              ElementsAre("Failed to close progress form, try to reopen"));
  EXPECT_EQ(clock.sleeps(), 1);
  EXPECT_EQ(hostForm(uid())->GetTitle().View(), u"Other");
}

TEST_F(InitProgress, AFormThatTheUserClosesWhileReadingTheEndIsOpenedOnceMore) {
  ClockWithUser clock([this] { EXPECT_TRUE(desk.closeForm(uid())); });
  setCurrentClock(&clock);
  auto handle = progress();
  handle.OpenInitForm();
  EXPECT_EQ(handle.CloseInitForm(true), 0);
  EXPECT_THAT(messages(u"CQXInitProgress::CloseInitForm"),
              ElementsAre("Failed to close progress form, try to reopen"));
  EXPECT_EQ(message(uid()), "\"Initialization completed successfully\"");
  EXPECT_EQ(bar(uid()), "###############");
  EXPECT_EQ(hostForm(uid())->GetVisible(), VARIANT_FALSE);
  EXPECT_EQ(clock.sleeps(), 2);
}

TEST_F(InitProgress, EveryOperationAfterTheUserClosedTheFormOpensANewOne) {
  const std::function<long(CQXInitProgress&)> operations[] = {
      [](CQXInitProgress& handle) { return handle.OpenInitForm(); },
      [](CQXInitProgress& handle) { return handle.DisplayProgressMessage(u"x", 1); },
      [](CQXInitProgress& handle) { return handle.CloseInitForm(true); },
      [](CQXInitProgress& handle) { return handle.CloseInitForm(false); }};
  for (const auto& operation : operations) {
    auto handle = progress();
    handle.OpenInitForm();
    desk.closeForm(uid());
    EXPECT_EQ(operation(handle), 0);
    EXPECT_EQ(open().size(), 1U);
    desk.closeForm(uid());
  }
}

TEST_F(InitProgress, SixteenStepsAtOnceFillTheBarAndBeginAnew) {
  auto handle = progress();
  handle.OpenInitForm();
  handle.DisplayProgressMessage(u"", 16);
  EXPECT_EQ(bar(uid()), "#..............");
}

TEST_F(InitProgress, AMessageMayHoldAnyUnit) {
  const std::u16string any = u"<&\"'> \x01\n\xFFFE" + std::u16string(1, char16_t{0xD83D}) + u" %s";
  auto handle = progress();
  EXPECT_EQ(handle.DisplayProgressMessage(any.c_str(), 0), 0);
  const CComQIPtr<IStaticText> label(
      hostForm(uid())->GetItems()->Item(CComVariant(u"205"))->GetSpecific());
  EXPECT_EQ(label->GetCaption().View(), any);
}

TEST_F(InitProgress, ACopyNoticesThatTheUserClosedTheForm) {
  auto handle = progress();
  handle.OpenInitForm();
  auto copy = handle;
  desk.closeForm(uid());
  EXPECT_EQ(copy.CloseInitForm(true), 0);
  EXPECT_EQ(message(uid()), "\"Initialization completed successfully\"");
}

TEST_F(InitProgress, ACopySharesTheForm) {
  auto handle = progress();
  handle.OpenInitForm();
  auto copy = handle;
  copy.DisplayProgressMessage(u"From the copy", 1);
  EXPECT_EQ(message(uid()), "\"From the copy\"");
  auto assigned = progress();
  assigned = copy;
  assigned.DisplayProgressMessage(u"Again", 1);
  EXPECT_EQ(open().size(), 1U);
  EXPECT_EQ(bar(uid()), "##.............");
}

TEST_F(InitProgress, WithoutAnApplicationNothingIsShownAndNothingThrown) {
  CQXInitProgress handle(nullptr, nullptr, &addOn);
  EXPECT_EQ(handle.OpenInitForm(), 0);
  EXPECT_THAT(messages(u"CQXInitProgress::OpenInitForm"),
              ElementsAre("Failed to display Initialization Progress.\n"));
  EXPECT_EQ(handle.DisplayProgressMessage(u"x", 1), 0);
  EXPECT_EQ(handle.CloseInitForm(true), 0);
  EXPECT_THAT(open(), IsEmpty());
}

TEST_F(InitProgress, AFormThatTheClientRefusesIsLogged) {
  takeNextUid(record.application, "QX_FIN_", [this](const auto& note) {
    progress().OpenInitForm();
    note();
    desk.closeForm(uid());
  });
  log.records.clear();
  auto handle = progress();
  EXPECT_EQ(handle.OpenInitForm(), 0);
  EXPECT_THAT(messages(u"CQXInitProgress::OpenInitForm"),
              ElementsAre("Failed to display Initialization Progress.\n"));
}

TEST_F(InitProgress, LogsTheNumberOfItsClient) {
  auto handle = progress();
  handle.OpenInitForm();
  handle.DisplayProgressMessage(u"", 1);
  handle.CloseInitForm(true);
  for (const LogRecord& each : log.records) {
    if (each.function.starts_with(u"CQXInitProgress::")) {
      EXPECT_EQ(each.appId, desk.appId());
    }
  }
  log.records.clear();
  CQXInitProgress(nullptr, nullptr, &addOn).OpenInitForm();
  EXPECT_EQ(log.records.front().appId, -1);
}

TEST_F(InitProgress, EveryOperationIsTracedUnderItsName) {
  auto handle = progress();
  handle.OpenInitForm();
  const auto entered = [this] {
    Strings out;
    for (const LogRecord& each : std::exchange(log.records, {})) {
      const bool isOurs = each.function.find(u"InitProgress::") != each.function.npos;
      if (isOurs && each.message == u"Entering function\n") out.push_back(toUtf8(each.function));
    }
    return out;
  };
  Strings opening{"CQXInitProgress::OpenInitForm", "CFrmInitProgress::OnInitForm",
                  "CFrmInitProgress::ClearProgressBar"};
  opening.insert(opening.end(), 15, "CFrmInitProgress::SetItemVisible");
  Strings opened = entered();
  std::erase(opened, "CFrmInitProgress::OnItemEvent");
  EXPECT_EQ(opened, opening);
  handle.DisplayProgressMessage(u"", 1);
  EXPECT_THAT(
      entered(),
      ElementsAre("CQXInitProgress::DisplayProgressMessage", "CFrmInitProgress::DisplayMessage",
                  "CFrmInitProgress::ShowProgress", "CFrmInitProgress::SetItemVisible"));
  desk.press(uid(), "205");
  EXPECT_THAT(entered(), testing::Each("CFrmInitProgress::OnItemEvent"));
}

/// Removes an item of a form in the client.
void removeItem(const CComPtr<IApplication>& application, const std::string& form,
                const std::u16string& item) {
  application->LoadBatchActions(
      CComBSTR(u"<Application><forms><action type=\"update\"><form uid=\"" + toUtf16(form) +
               u"\"><items><action type=\"remove\"><item uid=\"" + item +
               u"\"/></action></items></form></action></forms></Application>"));
}

TEST_F(InitProgress, AFormThatLacksItsMessageIsReplaced) {
  auto handle = progress();
  handle.OpenInitForm();
  removeItem(record.application, uid(), u"205");
  EXPECT_EQ(handle.DisplayProgressMessage(u"Tables", 1), 0);
  ASSERT_EQ(open().size(), 2U);
  EXPECT_EQ(message(open().back()), "\"Tables\"");
  EXPECT_THAT(messages(u"CQXInitProgress::DisplayProgressMessage"),
              ElementsAre("Failed to display progress. Try to reopen the progress bar"));
}

TEST_F(InitProgress, ReturnsTheFailureIfNoOtherFormCanBeOpened) {
  std::string second;
  {
    auto handle = progress();
    auto other = progress();
    handle.OpenInitForm();
    other.OpenInitForm();
    second = open().back();
    desk.closeForm(second);
    removeItem(record.application, uid(), u"205");
    record.application->LoadBatchActions(
        CComBSTR(u"<Application><forms><action type='add'><form uid='" + toUtf16(second) +
                 u"'/></action></forms></Application>"));
    EXPECT_EQ(handle.DisplayProgressMessage(u"Tables", 1), -7001);
  }
  EXPECT_THAT(messages(u"CQXInitProgress::DisplayProgressMessage"),
              ElementsAre("Failed to display progress. Try to reopen the progress bar"));
}

TEST_F(InitProgress, AHiddenCellThatIsGoneIsLogged) {
  auto handle = progress();
  handle.OpenInitForm();
  removeItem(record.application, uid(), u"206");
  EXPECT_EQ(handle.DisplayProgressMessage(u"x", 2), 0);
  EXPECT_THAT(messages(u"CFrmInitProgress::SetItemVisible"), ElementsAre("Error: Invalid item\n"));
  EXPECT_THAT(bar(uid()), HasSubstr(".")) << "the rest of the bar goes on";
}

}  // namespace
}  // namespace qx::test
