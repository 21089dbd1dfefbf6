// A client that refuses one call of a stock form's life, each in turn: nothing is thrown where
// nothing may be thrown, and the client and the next form work.

#include "qxdesk/session/call_gate.h"
#include "qxframework/automation/class_object.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/os/clock.h"
#include "qxframework/stock/choose_list.h"
#include "qxframework/stock/init_progress.h"
#include "qxframework/stock/stock_fixture.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

namespace qx::test {
namespace {

class Asker final : public CQXAddOnForm {
  DECLARE_XML_FORM_EX(u"ASKER", -1, u"EXT")

 public:
  explicit Asker(const CQXAddOn* addOn) : CQXAddOnForm(addOn, -1) {}
  long OnItemEvent(CComPtr<IItemEvent>, short*) override { return S_OK; }
};

class RefusedFormCall : public StockForms {
 protected:
  RefusedFormCall() {
    raiseIfFailed(createInstance(desk::kScreensGateClass, CLSCTX_ALL, &gate.p));
    setCurrentClock(&clock);
  }
  ~RefusedFormCall() override {
    gate->RefuseCall(0, S_OK);
    setCurrentClock(nullptr);
  }
  /// Runs the life of a form with each of its calls refused in turn, and once more at the end.
  void refuseEachCallOf(const std::string& prefix, const std::function<void()>& life) {
    run(life, 0);  // what only the first form of a client needs
    const long calls = run(life, 0);
    ASSERT_GT(calls, 10);
    for (long call = 1; call <= calls; ++call) {
      SCOPED_TRACE("call " + std::to_string(call) + " of " + std::to_string(calls));
      run(life, call);
      // A refused close leaves a form that its user can still close.
      for (const std::string& uid : openForms(record.application, prefix)) desk.closeForm(uid);
      EXPECT_TRUE(openForms(record.application, prefix).empty());
    }
    EXPECT_EQ(run(life, 0), calls) << "the client works as before";
  }
  long run(const std::function<void()>& life, long call) {
    gate->RefuseCall(call, E_FAIL);
    try {
      life();
    } catch (const _com_error&) {
      EXPECT_NE(call, 0);
    }
    long count = 0;
    gate->GetCallCount(&count);
    gate->RefuseCall(0, S_OK);
    return count;
  }

  /// Returns the number of visible forms whose UIDs begin so.
  long shown(const std::string& prefix) {
    long count = 0;
    for (const std::string& uid : openForms(record.application, prefix)) {
      const auto form = record.application->GetForms()->GetFormByUID(CComBSTR(toUtf16(uid)));
      if (form->GetVisible() == VARIANT_TRUE) ++count;
    }
    return count;
  }

  CComPtr<desk::ICallGate> gate;
  ManualClock clock;
};

TEST_F(RefusedFormCall, OfTheProgressFormIsNeverThrown) {
  refuseEachCallOf("QX_FIN_", [this] {
    CQXInitProgress progress(record.application, record.company, &addOn);
    EXPECT_NO_THROW({
      progress.OpenInitForm();
      progress.DisplayProgressMessage(u"Tables", 3);
      progress.CloseInitForm(true);
    });
    for (const std::string& uid : openForms(record.application, "QX_FIN_")) desk.closeForm(uid);
  });
}

TEST_F(RefusedFormCall, OfTheOpeningLeavesNoProgressFormOrOneThatTakesMessages) {
  const auto life = [this] {
    CQXInitProgress progress(record.application, record.company, &addOn);
    progress.OpenInitForm();
  };
  const auto close = [this] {
    for (const std::string& uid : openForms(record.application, "QX_FIN_")) desk.closeForm(uid);
  };
  run(life, 0);
  close();
  const long calls = run(life, 0);
  close();
  int opened = 0;
  // The first call is that of the constructor.
  for (long call = 2; call <= calls; ++call) {
    SCOPED_TRACE("call " + std::to_string(call) + " of " + std::to_string(calls));
    CQXInitProgress progress(record.application, record.company, &addOn);
    run([&] { progress.OpenInitForm(); }, call - 1);
    // A form that its object has not found stays hidden in the client.
    const bool isShown = shown("QX_FIN_") != 0;
    log.records.clear();
    EXPECT_EQ(progress.DisplayProgressMessage(u"Tables", 1), 0);
    // Without a form the message says so and opens one; an open one is used as it is.
    EXPECT_EQ(messages(u"CQXInitProgress::DisplayProgressMessage").empty(), isShown);
    if (isShown) ++opened;
    close();
  }
  EXPECT_GT(opened, 0);
}

TEST_F(RefusedFormCall, OfTheNumberOfTheClientLogsMinusOne) {
  gate->RefuseCall(1, E_FAIL);
  CQXInitProgress progress(record.application, record.company, &addOn);
  log.records.clear();
  progress.OpenInitForm();
  EXPECT_EQ(log.records.front().appId, -1);
}

TEST_F(RefusedFormCall, OfShowingAProgressFormOpensAnother) {
  CQXInitProgress progress(record.application, record.company, &addOn);
  progress.OpenInitForm();
  gate->RefuseCall(1, E_FAIL);
  EXPECT_EQ(progress.OpenInitForm(), 0);
  EXPECT_EQ(openForms(record.application, "QX_FIN_").size(), 2U);
}

TEST_F(RefusedFormCall, OfTheMessageOfANewProgressFormFailsOnce) {
  CQXInitProgress first(record.application, record.company, &addOn);
  const long calls = run([&] { first.OpenInitForm(); }, 0);
  desk.closeForm(openForms(record.application, "QX_FIN_").back());
  CQXInitProgress progress(record.application, record.company, &addOn);
  log.records.clear();
  // After those of the opening come the number of the client, for the log, and the message.
  gate->RefuseCall(calls + 2, E_ABORT);
  EXPECT_EQ(progress.DisplayProgressMessage(u"Tables", 1), E_FAIL);
  EXPECT_THAT(messages(u"CQXInitProgress::DisplayProgressMessage"),
              testing::ElementsAre("Failed to display progress. Try to reopen the progress bar",
                                   "Failed to reopen the progress bar"));
  EXPECT_EQ(progress.DisplayProgressMessage(u"Tables", 1), 0);
}

TEST_F(RefusedFormCall, OfTheLogSettingsDialogLeavesTheClientWorking) {
  refuseEachCallOf("QX_FLS_", [this] {
    desk.pickMenu("QX_551");
    for (const std::string& uid : openForms(record.application, "QX_FLS_")) desk.press(uid, "1");
  });
}

TEST_F(RefusedFormCall, OfTheChooseListLeavesTheClientWorking) {
  Asker asker(&addOn);
  refuseEachCallOf("QX_FCL_", [&] {
    CQXChooseList::GetKey(u"Rows", u"B", u"SELECT 'A' AS No UNION ALL SELECT 'B'", true, true,
                          &asker, record.application, record.company, true, false, nullptr);
    for (const std::string& uid : openForms(record.application, "QX_FCL_")) {
      desk.clickCell(uid, "10805", "10800010", 0);
      desk.press(uid, "1");
    }
  });
}

}  // namespace
}  // namespace qx::test
