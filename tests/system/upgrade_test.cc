// An incomplete upgrade of the framework's tables: the user is asked twice whether to restart it,
// and the add-on starts with either answer.

#include "qxframework/automation/text.h"
#include "testing/dialects.h"
#include "testing/embedded_client.h"
#include "testing/recording_addon.h"
#include "testing/recording_logger.h"
#include "testing/sqlite_file.h"
#include "testing/temp_folder.h"

#include <gmock/gmock.h>

namespace {

using qx::test::Dialect;
using qx::test::EmbeddedClient;
using qx::test::Record;
using qx::test::RecordingAddOn;
using qx::test::RecordingLogger;
using testing::ElementsAre;

constexpr char kFirstBox[] =
    "\"The database upgrade of the Halvex add-On to version 9.20.00.01.00 is either in progress or "
    "the upgrade process has been cancelled and the upgrade is incomplete. Do you want to restart "
    "the upgrade process?\" [Exit] [Upgrade] -> ";
constexpr char kSecondBox[] =
    "\"Do you really want to restart the DB upgrade?\" [Exit] [Upgrade] -> ";
constexpr long kExit = 1;
constexpr long kUpgrade = 2;

class InterruptedUpgrade : public testing::TestWithParam<Dialect> {
 protected:
  InterruptedUpgrade() {
    EmbeddedClient desk = client();
    EXPECT_EQ(RecordingAddOn(desk.connection(), record).Connect(1), 0);
    record.take();
    setStatus("Upgrading");
  }
  EmbeddedClient client() const { return EmbeddedClient(file, {GetParam().name, "", 0}); }
  std::string table() const { return "\"@" + GetParam().versionTable + "\""; }
  void setStatus(const std::string& status) const {
    qx::test::SqliteFile(file).execute("UPDATE " + table() + " SET U_Status = '" + status + "'");
  }
  std::vector<std::string> versions() const {
    return qx::test::rowsOf(file, "SELECT U_ExtID, U_Version, U_EFNum, U_Status FROM " + table());
  }
  /// Starts an add-on whose user gives these answers. Returns the last log record of CheckDatabase.
  std::u16string start(EmbeddedClient& desk, const std::vector<long>& answers) {
    for (const long answer : answers) desk.queueAnswer(answer);
    RecordingLogger log;
    RecordingAddOn addOn(desk.connection(), record);
    EXPECT_EQ(addOn.Connect(1), 0);
    std::u16string leaving;
    for (const auto& each : log.records) {
      if (each.function == u"CQXFrameworkUtil::CheckDatabase") leaving = each.message;
    }
    EXPECT_TRUE(log.has(u"Uncompleted update detected.\n"));
    return leaving;
  }

  qx::test::TempFolder folder;
  std::filesystem::path file = folder.path() / "company.db";
  Record record;
};

TEST_P(InterruptedUpgrade, IsNotRestartedAfterNoToTheFirstQuestion) {
  EmbeddedClient desk = client();
  EXPECT_EQ(start(desk, {kExit}), u"Leaving function [0x80040503]\n");
  EXPECT_EQ(desk.boxes(), kFirstBox + std::string("1\n"));
  EXPECT_THAT(versions(), ElementsAre("|9.20.00.01|00|Upgrading"));
  EXPECT_THAT(record.take(), ElementsAre("OnApplicationLoad"));
}

TEST_P(InterruptedUpgrade, IsNotRestartedAfterNoToTheSecondQuestion) {
  EmbeddedClient desk = client();
  EXPECT_EQ(start(desk, {kUpgrade, kExit}), u"Leaving function [0x80040503]\n");
  EXPECT_EQ(desk.boxes(), kFirstBox + std::string("2\n") + kSecondBox + "1\n");
  EXPECT_THAT(versions(), ElementsAre("|9.20.00.01|00|Upgrading"));
  EXPECT_THAT(record.take(), ElementsAre("OnApplicationLoad"));
}

TEST_P(InterruptedUpgrade, IsCompletedAfterYesToBothQuestions) {
  EmbeddedClient desk = client();
  EXPECT_EQ(start(desk, {kUpgrade, kUpgrade}), u"Leaving function [S_OK]\n");
  EXPECT_EQ(desk.boxes(), kFirstBox + std::string("2\n") + kSecondBox + "2\n");
  EXPECT_THAT(versions(), ElementsAre("|9.20.00.01|00|Installed"));
  EXPECT_THAT(record.take(), ElementsAre("OnApplicationLoad"));
}

TEST_P(InterruptedUpgrade, IsCompletedAfterYesToBothQuestionsIfItFailed) {
  setStatus("Upgrade failed");
  EmbeddedClient desk = client();
  EXPECT_EQ(start(desk, {kUpgrade, kUpgrade}), u"Leaving function [S_OK]\n");
  EXPECT_EQ(desk.boxes(), kFirstBox + std::string("2\n") + kSecondBox + "2\n");
  EXPECT_THAT(versions(), ElementsAre("|9.20.00.01|00|Installed"));
}

TEST_P(InterruptedUpgrade, IsNotRestartedWithoutAnAnswer) {
  EmbeddedClient desk = client();
  EXPECT_EQ(start(desk, {}), u"Leaving function [0x80040503]\n");
  EXPECT_THAT(versions(), ElementsAre("|9.20.00.01|00|Upgrading"));
}

TEST_P(InterruptedUpgrade, IsTheResultOfAChangeToItsCompany) {
  const auto other = folder.path() / "other.db";
  EmbeddedClient desk(other, {GetParam().name, "", 0});
  RecordingAddOn addOn(desk.connection(), record);
  EXPECT_EQ(addOn.Connect(1), 0);
  record.take();
  RecordingLogger log;
  desk.queueAnswer(kExit);
  desk.changeCompany(file);
  EXPECT_THAT(record.take(), testing::IsEmpty());
  EXPECT_EQ(desk.boxes(), kFirstBox + std::string("1\n"));
  EXPECT_TRUE(log.has(u"Company changed.\n"));
  EXPECT_EQ(log.records.back().message, u"Leaving function [0x80040503]\n");
}

INSTANTIATE_TEST_SUITE_P(Dialect, InterruptedUpgrade, qx::test::allDialects(),
                         qx::test::nameOf<Dialect>);

}  // namespace
