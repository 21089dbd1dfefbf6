// The progress of a run on the status bar, and the wait for the bar.

#include "qxframework/automation/text.h"
#include "qxframework/dbdef/db_def_fixture.h"

namespace {

using namespace qx::test;
using std::chrono::minutes;
using std::chrono::seconds;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DbDefProgress : public DbDefTest {
 protected:
  std::string twoFields() const {
    return userField("<userfield Name=\"A\" Type=\"INT\"/><userfield Name=\"B\" Type=\"INT\"/>");
  }
  std::chrono::milliseconds waited() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
        clock.monotonic() - std::chrono::steady_clock::time_point());
  }
};

TEST_F(DbDefProgress, TheBarMovesWithEachFieldAndPassesItsMaximum) {
  EXPECT_EQ(create(twoFields()), S_OK);
  EXPECT_THAT(calls.of("StatusBar."), ElementsAre("CreateProgressBar(Check database, 1, 0)"));
  EXPECT_THAT(calls.of("Bar."),
              ElementsAre("PutValue(0)", "PutText(Create user fields for table T)", "PutValue(1)",
                          "PutText(Create user fields for table T)", "PutValue(2)", "Stop()"));
  EXPECT_EQ(clock.sleeps(), 0);
}

TEST_F(DbDefProgress, TheStepComesBeforeItsField) {
  create(userField("<userfield Name=\"A\" Type=\"INT\"/>"));
  const auto step = std::ranges::find(calls.calls, "Bar.PutValue(1)");
  const auto field = std::ranges::find(calls.calls, "Fields.PutName(A)");
  ASSERT_NE(field, calls.calls.end());
  EXPECT_LT(step, field);
}

TEST_F(DbDefProgress, TextsAreInTheApplicationsLanguage) {
  application->language = ln_German;
  create(userField("<userfield Name=\"A\" Type=\"INT\"/>"));
  EXPECT_THAT(calls.of("StatusBar."), ElementsAre("CreateProgressBar(Datenbank prüfen, 1, 0)"));
  EXPECT_THAT(calls.of("Bar.PutText"), ElementsAre("(Benutzerfelder für Tabelle T anlegen)"));
}

TEST_F(DbDefProgress, TheCounterStartsAgainWithTheNextRun) {
  create(twoFields());
  calls.calls.clear();
  create(twoFields());
  EXPECT_THAT(calls.of("Bar.PutValue"), ElementsAre("(0)", "(1)", "(2)"));
}

TEST_F(DbDefProgress, ARunWaitsForABarThatIsHeld) {
  application->barHeldFor = 3;
  EXPECT_EQ(create(twoFields()), S_OK);
  EXPECT_EQ(clock.sleeps(), 3);
  EXPECT_EQ(waited(), seconds(90));
  EXPECT_THAT(log(u"CQXDbDef::CreateProgressBar"),
              ElementsAre("1 Failed to create progress bar", "1 Failed to create progress bar",
                          "1 Failed to create progress bar"));
  EXPECT_THAT(stamps(), ElementsAre("Installed"));
}

TEST_F(DbDefProgress, TheUserSeesThatARunWaitsForAnotherAddOn) {
  application->barHeldFor = 3;
  EXPECT_EQ(create(twoFields()), S_OK);
  const std::string text = "(Waiting for the progress bar, which another add-on is using ";
  EXPECT_THAT(calls.of("StatusBar.SetText"), ElementsAre(text + "(30 minutes at most), 20, 1)",
                                                         text + "(30 minutes at most), 20, 1)",
                                                         text + "(29 minutes at most), 20, 1)"));
}

// The bar of a run without a `database` element is not freed, and the object holds it.
TEST_F(DbDefProgress, TheUserSeesThatASecondRunWaitsForTheBarOfTheFirst) {
  EXPECT_EQ(create("<other/>"), S_OK);
  application->barHeldFor = 61;
  EXPECT_EQ(create(twoFields()), E_FAIL);
  EXPECT_EQ(waited(), minutes(30));
  const auto messages = calls.of("StatusBar.SetText");
  ASSERT_EQ(messages.size(), 60U);
  const std::string text =
      "(Waiting for the progress bar, which an earlier run of this add-on has left ";
  EXPECT_EQ(messages.front(), text + "(30 minutes at most), 20, 1)");
  EXPECT_EQ(messages.back(), text + "(1 minutes at most), 20, 1)");
  EXPECT_THAT(log(u"CQXDbDef::Create"),
              Contains("1 Timeout received while waiting for progress bar"));
}

TEST_F(DbDefProgress, AWaitGoesOnIfTheClientCannotShowIt) {
  application->barHeldFor = 1;
  calls.failures["StatusBar.SetText"] = E_FAIL;
  EXPECT_EQ(create(twoFields()), S_OK);
  EXPECT_THAT(stamps(), ElementsAre("Installed"));
}

TEST_F(DbDefProgress, ABarThatIsFreeAtTheLastTryIsTaken) {
  application->barHeldFor = 60;
  EXPECT_EQ(create(twoFields()), S_OK);
  EXPECT_EQ(waited(), minutes(30));
}

TEST_F(DbDefProgress, ARunEndsAfterThirtyMinutesWithoutAStamp) {
  application->barHeldFor = 61;
  EXPECT_EQ(create(twoFields(), false), E_FAIL);
  EXPECT_EQ(clock.sleeps(), 60);
  EXPECT_EQ(waited(), minutes(30));
  EXPECT_EQ(calls.of("StatusBar.CreateProgressBar").size(), 61U);
  EXPECT_THAT(company->statements(), IsEmpty());
  EXPECT_THAT(log(u"CQXDbDef::Create"),
              ElementsAre("1 Timeout received while waiting for progress bar"));
}

TEST_F(DbDefProgress, ARunWaitsForAClientWithoutAStatusBarToo) {
  calls.failures["App.GetStatusBar"] = E_FAIL;
  EXPECT_EQ(create(twoFields()), E_FAIL);
  EXPECT_EQ(clock.sleeps(), 60);
}

TEST_F(DbDefProgress, ABarThatFailsToStopDoesNotFailTheRun) {
  calls.failures["Bar.Stop"] = E_FAIL;
  EXPECT_EQ(create(twoFields()), S_OK);
  EXPECT_THAT(stamps(), ElementsAre("Installed"));
}

TEST_F(DbDefProgress, ABarThatFailsDuringTheRunEndsIt) {
  calls.failures["Bar.PutText"] = E_FAIL;
  EXPECT_EQ(create(twoFields()), E_FAIL);
  EXPECT_THAT(calls.of("Fields."), IsEmpty());
  EXPECT_THAT(stamps(), IsEmpty());
}

TEST_F(DbDefProgress, TheBarIsStoppedWhenTheRunFails) {
  EXPECT_EQ(create(userField("<userfield Type=\"INT\"/>")), E_FAIL);
  EXPECT_EQ(calls.of("Bar.").back(), "Stop()");
}

}  // namespace
