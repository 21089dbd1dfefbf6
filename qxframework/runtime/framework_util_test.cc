#include "qxframework/runtime/framework_util.h"

#include "qxframework/automation/class_object.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/runtime/addon_fixture.h"
#include "qxframework/runtime/framework_host_fixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;

constexpr char kSelectVersion[] =
    "SQL(select U_Version, U_Status from [@QXEXTDBVERSION] where U_ExtID = '' order by Code desc)";
constexpr char kSelectFix[] =
    "SQL(select (case when U_EFNum is null then '00' else U_EFNum end) as U_EFNum from "
    "[@QXEXTDBVERSION] where U_ExtID = '' order by Code desc)";
const Strings kReadVersion{kSelectVersion, "Recordset.MoveFirst", kSelectFix,
                           "Recordset.MoveFirst"};
constexpr char kDeleteStamp[] =
    "SQL(delete from [@QXEXTDBVERSION] where U_ExtID = '' and U_Version = '9.20.00.01' and "
    "U_EFNum= '00')";
constexpr char kSelectCode[] = "SQL(SELECT MAX(Code) FROM [@QXEXTDBVERSION])";
constexpr char kInsertStamp[] =
    "SQL(insert into [@QXEXTDBVERSION] (Code, Name, U_ExtID, U_Version, U_EFNum, U_Status, "
    "U_Rdate)   values ('00000000', '00000000', '', '9.20.00.01', '00', 'Installed', getdate()))";
constexpr char kFirstQuestion[] =
    "App.MessageBox(The database upgrade of the Halvex add-On to version 9.20.00.01.00 is either "
    "in progress or the upgrade process has been cancelled and the upgrade is incomplete. Do you "
    "want to restart the upgrade process?, 1, Exit, Upgrade, )";
constexpr char kSecondQuestion[] =
    "App.MessageBox(Do you really want to restart the DB upgrade?, 1, Exit, Upgrade, )";

class FrameworkUtilTest : public testing::Test {
 protected:
  FrameworkUtilTest() {
    createInstance(CLSID_HalvexCompany, CLSCTX_SERVER, &company.p);
    map.emplace_back(u"QX_MNU_LOGGING", 551, u"");
    map.emplace_back();
  }
  long check() { return util.CheckDatabase(host.application.p, company); }
  Strings messages() const { return messagesOf(log, u"CQXFrameworkUtil::CheckDatabase"); }
  /// Returns the calls that change the host or find a field: without those that describe tables and
  /// fields, look at them, show the progress or move the cursor.
  Strings steps() const {
    Strings out = host.calls;
    std::erase_if(out, [](const std::string& call) {
      for (const char* head : {"Tables.Get", "Tables.Put", "Fields.GetName", "Fields.GetSize",
                               "Fields.Put", "StatusBar.", "Bar.", "Recordset."})
        if (call.starts_with(head)) return true;
      return false;
    });
    return out;
  }
  bool isCreated(const std::string& field) const {
    return host.called("Fields.Add(" + field + ")");
  }

  RecordingLogger log;
  FrameworkHost host;
  CComPtr<ICompany> company;
  CQXFrameworkUtil util;
  std::vector<XMLMAP> map;
};

TEST_F(FrameworkUtilTest, CheckDatabaseLeavesTablesOfThisVersionUnchanged) {
  EXPECT_EQ(check(), 0);
  EXPECT_EQ(host.calls, kReadVersion);
  EXPECT_THAT(messages(), ElementsAre("Db is OK.\n"));
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Debug0, u"Db is OK.\n"));
}

TEST_F(FrameworkUtilTest, CheckDatabaseCreatesTablesIfTheVersionCannotBeRead) {
  host.removeVersionTable();
  EXPECT_EQ(check(), 0);
  EXPECT_THAT(steps(),
              ElementsAre(kSelectVersion, "Tables.Add(QXEXTDBVERSION)", "Fields.Add(ExtID)",
                          "Fields.Add(Version)", "Fields.Add(EFNum)", "Fields.Add(Status)",
                          "Fields.Add(Rdate)", kDeleteStamp, kSelectCode, kInsertStamp));
  EXPECT_THAT(messages(), ElementsAre("Db tables do not exist yet.\n"));
}

TEST_F(FrameworkUtilTest, CheckDatabaseReadsTheVersionAndCreatesTablesUnderTheLockOfTheTables) {
  const FakeSharing& sharing = host.company->share();
  host.removeVersionTable();
  EXPECT_EQ(check(), 0);
  EXPECT_THAT(
      steps(),
      ElementsAre("Sharing.LockTables(2000)", kSelectVersion, "Sharing.LockTables(2000)",
                  "Tables.Add(QXEXTDBVERSION)", "Fields.Add(ExtID)", "Fields.Add(Version)",
                  "Fields.Add(EFNum)", "Fields.Add(Status)", "Fields.Add(Rdate)", kDeleteStamp,
                  kSelectCode, kInsertStamp, "Sharing.UnlockTables", "Sharing.UnlockTables"));
  EXPECT_THAT(messages(), ElementsAre("Db tables do not exist yet.\n"));
  EXPECT_EQ(sharing.locks, 0);
}

// While this machine waits for the lock, another one creates the tables.
TEST_F(FrameworkUtilTest, CheckDatabaseFindsTheTablesThatAnotherMachineHasCreatedMeanwhile) {
  FakeSharing& sharing = host.company->share();
  host.removeVersion();
  sharing.holders = {u"orders on desk-7"};
  sharing.whileWaiting = [this](long) { host.setVersion(u"9.20.00.01", u"Installed"); };
  EXPECT_EQ(check(), 0);
  EXPECT_THAT(messages(), ElementsAre("Db is OK.\n"));
  EXPECT_FALSE(isCreated("ExtID"));
}

TEST_F(FrameworkUtilTest, CheckDatabaseGivesTheLockBackIfItFails) {
  const FakeSharing& sharing = host.company->share();
  host.failures["Company.GetDbServerType"] = E_ACCESSDENIED;
  host.failures["create Company"] = E_FAIL;
  EXPECT_LT(util.CheckDatabase(host.application.p, company), 0);
  EXPECT_EQ(sharing.locks, 0);
  EXPECT_TRUE(host.called("Sharing.UnlockTables"));
}

TEST_F(FrameworkUtilTest, CheckDatabaseCreatesTablesIfThereIsNoVersion) {
  host.removeVersion();
  EXPECT_EQ(check(), 0);
  EXPECT_TRUE(isCreated("ExtID"));
  EXPECT_THAT(messages(), ElementsAre("Db tables do not exist yet.\n"));
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Information, u"Db tables do not exist yet.\n"));
}

TEST_F(FrameworkUtilTest, CheckDatabaseUpgradesOlderTables) {
  host.setVersion(u"9.10.00.00", u"Installed");
  EXPECT_EQ(check(), 0);
  EXPECT_THAT(steps(),
              ElementsAre(kSelectVersion, kSelectFix, "Fields.GetByKey(@QXEXTDBVERSION, 1)",
                          kSelectVersion, kSelectFix, "Fields.Add(EFNum)", kDeleteStamp,
                          kSelectCode, kInsertStamp, kDeleteStamp, kSelectCode, kInsertStamp));
  EXPECT_THAT(messages(), ElementsAre("Db tables are for version 9.10.00.00.00. Add-on version is "
                                      "9.20.00.01.00. Db is OK.\n"));
}

TEST_F(FrameworkUtilTest, CheckDatabaseWidensAVersionColumnBelowElevenCharacters) {
  host.setVersion(u"9.10.00.00", u"Installed");
  host.setSizeOfVersionField(10);
  EXPECT_EQ(check(), 0);
  const Strings all = host.of("Fields.");
  const Strings widening(all.begin(), all.begin() + 5);
  EXPECT_THAT(widening, ElementsAre("GetByKey(@QXEXTDBVERSION, 1)", "GetSize()", "PutSize(15)",
                                    "PutEditSize(15)", "Update(Version)"));
}

TEST_F(FrameworkUtilTest, CheckDatabaseKeepsAVersionColumnOfElevenCharacters) {
  host.setVersion(u"9.10.00.00", u"Installed");
  host.setSizeOfVersionField(11);
  EXPECT_EQ(check(), 0);
  EXPECT_FALSE(host.called("Fields.PutSize(15)"));
  EXPECT_THAT(host.of("Fields.Update"), IsEmpty());
}

TEST_F(FrameworkUtilTest, CheckDatabaseDoesNotWidenAMissingColumn) {
  host.setVersion(u"9.10.00.00", u"Installed");
  host.setSizeOfVersionField(1);
  host.removeVersionField();
  EXPECT_EQ(check(), 0);
  EXPECT_FALSE(host.called("Fields.PutSize(15)"));
}

TEST_F(FrameworkUtilTest, CheckDatabaseWritesNoStampIfTheUpgradeFails) {
  host.setVersion(u"9.10.00.00", u"Installed");
  host.failures["Fields.Add"] = E_FAIL;
  EXPECT_EQ(check(), E_FAIL);
  EXPECT_FALSE(host.called(kInsertStamp));
}

TEST_F(FrameworkUtilTest, CheckDatabaseAcceptsNewerTables) {
  host.setVersion(u"9.30.00.00", u"Installed");
  EXPECT_EQ(check(), 0);
  EXPECT_EQ(host.calls, kReadVersion);
  EXPECT_THAT(messages(), ElementsAre("Db tables are for a newer version.\n"));
}

TEST_F(FrameworkUtilTest, CheckDatabaseRestartsAnIncompleteUpgradeIfTheUserAgreesTwice) {
  host.setVersion(u"9.20.00.01", u"Upgrading");
  host.application->pressedButtons = {2, 2};
  EXPECT_EQ(check(), 0);
  EXPECT_THAT(messages(), ElementsAre("Uncompleted update detected.\n"));
  const Strings all = steps();
  const Strings begin(all.begin(), all.begin() + 7);
  EXPECT_THAT(begin, ElementsAre(kSelectVersion, kSelectFix, kSelectVersion, kSelectFix,
                                 kFirstQuestion, kSecondQuestion, "Fields.Add(ExtID)"));
  EXPECT_EQ(steps().back(), kInsertStamp);
}

TEST_F(FrameworkUtilTest, CheckDatabaseAsksOnceIfTheUserRefuses) {
  host.setVersion(u"9.20.00.01", u"Upgrade failed");
  host.application->pressedButtons = {1};
  EXPECT_EQ(check(), QX_E_UPGRADE_RUNNING);
  Strings expected = kReadVersion;
  expected.insert(expected.end(), kReadVersion.begin(), kReadVersion.end());
  expected.emplace_back(kFirstQuestion);
  EXPECT_EQ(host.calls, expected);
}

TEST_F(FrameworkUtilTest, CheckDatabaseDoesNothingIfTheUserRefusesTheSecondQuestion) {
  host.setVersion(u"9.20.00.01", u"Upgrading");
  host.application->pressedButtons = {2, 1};
  EXPECT_EQ(check(), QX_E_UPGRADE_RUNNING);
  EXPECT_EQ(host.calls.back(), kSecondQuestion);
}

TEST_F(FrameworkUtilTest, CheckDatabaseReturnsTheCodeOfAFailingHost) {
  host.failures["App.GetAppId"] = E_ACCESSDENIED;
  EXPECT_EQ(check(), E_ACCESSDENIED);
  EXPECT_THAT(messages(), ElementsAre("Exception caught when creating db tables.\n",
                                      "Failed to create/update framework db tables.\n"));
}

TEST_F(FrameworkUtilTest, CheckDatabaseLogsAFailureOfTheTablesOnce) {
  host.setVersion(u"9.10.00.00", u"Installed");
  host.hooks["Company.GetBusinessObject 152"] = [this] { host.removeVersionTable(); };
  EXPECT_EQ(check(), QX_E_DATABASE);
  EXPECT_THAT(messages(), ElementsAre("Failed to create/update framework db tables.\n"));
}

constexpr char kMenuBatch[] =
    "App.LoadBatchActions(<?xml version=\"1.0\"?>\n"
    "<Application>\n"
    "  <Menus>\n"
    "    <action type=\"add\">\n"
    "      <Menu Type=\"1\" UniqueID=\"QX_551\" String=\"Halvex Add-On Log Settings\" "
    "Checked=\"0\" Enabled=\"1\" FatherUID=\"43523\" Image=\"\" Position=\"2\"/>\n"
    "    </action>\n"
    "  </Menus>\n"
    "</Application>\n)";

std::string removalBatch() {
  std::string batch = kMenuBatch;
  return batch.replace(batch.find("\"add\""), 5, "\"remove\"");
}

TEST_F(FrameworkUtilTest, CreateMenuTreeAddsTheLogSettingsEntryUnderAFrozenMenuBar) {
  EXPECT_EQ(util.CreateMenuTree(host.application.p, &map), 0);
  EXPECT_THAT(host.calls,
              ElementsAre("Form.Freeze(-1)", kMenuBatch, "Form.Freeze(0)", "Form.Update"));
}

TEST_F(FrameworkUtilTest, CreateMenuTreeUnfreezesTheMenuBarIfTheBatchFails) {
  host.failures["App.LoadBatchActions"] = resultCode(-7043);
  EXPECT_EQ(util.CreateMenuTree(host.application.p, &map), -7043);
  EXPECT_THAT(host.calls,
              ElementsAre("Form.Freeze(-1)", kMenuBatch, "Form.Freeze(0)", "Form.Update"));
  EXPECT_THAT(messagesOf(log, u"CQXFrameworkUtil::CreateMenuTree"),
              ElementsAre("Exception caught: -7043"));
}

TEST_F(FrameworkUtilTest, CreateMenuTreeFailsWithoutAMenuBar) {
  host.failures["Forms.GetFormByTypeAndCount"] = resultCode(-7008);
  EXPECT_EQ(util.CreateMenuTree(host.application.p, &map), -7008);
  EXPECT_THAT(host.calls, ElementsAre());
}

TEST_F(FrameworkUtilTest, RemoveMenuTreeLoadsTheRemovingBatch) {
  EXPECT_EQ(util.RemoveMenuTree(host.application.p, &map), 0);
  EXPECT_THAT(host.calls, ElementsAre(removalBatch()));
  EXPECT_THAT(messagesOf(log, u"CQXFrameworkUtil::RemoveMenuTree"),
              ElementsAre("Removing common menu of Add-Ons"));
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Debug0, u"Removing common menu of Add-Ons"));
}

TEST_F(FrameworkUtilTest, RemoveMenuTreeWithoutAnApplicationFails) {
  EXPECT_EQ(util.RemoveMenuTree(nullptr, &map), E_POINTER);
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Error, u"Failed to remove menu: "));
}

TEST_F(FrameworkUtilTest, RemoveMenuTreeLogsTheHostsReportOnAFailure) {
  host.failures["App.LoadBatchActions"] = resultCode(-7043);
  EXPECT_EQ(util.RemoveMenuTree(host.application.p, &map), -7043);
  EXPECT_THAT(messagesOf(log, u"CQXFrameworkUtil::RemoveMenuTree"),
              ElementsAre("Removing common menu of Add-Ons", "Exception caught: -7043",
                          "Failed to remove menu: <result/>"));
}

TEST_F(FrameworkUtilTest, RemoveMenuTreeWorksIfTheHostHasNoReport) {
  host.failures["App.LoadBatchActions"] = resultCode(-7043);
  host.failures["App.GetLastBatchResults"] = E_FAIL;
  EXPECT_EQ(util.RemoveMenuTree(host.application.p, &map), -7043);
  EXPECT_TRUE(log.has(u"Failed to remove menu: "));
}

}  // namespace
}  // namespace qx::test
