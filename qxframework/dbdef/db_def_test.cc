// The table of versions: reading, comparing and stamping the versions of extensions.

#include "qxframework/dbdef/db_def.h"

#include "qxframework/automation/text.h"
#include "qxframework/dbdef/db_def_fixture.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/os/test_support.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace qx::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr char16_t kSelect[] =
    u"select U_Version, U_Status from [@QXEXTDBVERSION] where U_ExtID = 'QX' order by Code desc";
constexpr char16_t kSelectFix[] =
    u"select (case when U_EFNum is null then '00' else U_EFNum end) as U_EFNum from "
    u"[@QXEXTDBVERSION] where U_ExtID = 'QX' order by Code desc";

class DbDefVersion : public DbDefTest {
 protected:
  void storeRow(std::u16string_view versionText, std::u16string_view status,
                std::u16string_view fix = u"00") {
    company->answer(kSelect, {{CComVariant(versionText), CComVariant(status)}});
    company->answer(kSelectFix, {{CComVariant(fix)}});
  }
  CQXDbDef::_DBCHECK check() {
    CQXDbDef::_DBCHECK result{};
    EXPECT_EQ(def().CheckVersion(result), S_OK);
    return result;
  }
  std::string stored(const CQXVersion& of) const {
    return qx::toUtf8(of.GetVersionAsBSTR().View()) + " " + qx::toUtf8(of.GetStatus().View());
  }
};

TEST_F(DbDefVersion, StatusWordsAreExact) {
  EXPECT_EQ(CQXDbDef::STATUS_UPGRADING.View(), u"Upgrading");
  EXPECT_EQ(CQXDbDef::STATUS_FAILED.View(), u"Upgrade failed");
  EXPECT_EQ(CQXDbDef::STATUS_INSTALLED.View(), u"Installed");
}

TEST_F(DbDefVersion, CheckResultsHaveTheirValues) {
  EXPECT_EQ(static_cast<int>(CQXDbDef::dbc_Ok), 0);
  EXPECT_EQ(static_cast<int>(CQXDbDef::dbc_NoVersion), 1);
  EXPECT_EQ(static_cast<int>(CQXDbDef::dbc_Older), 2);
  EXPECT_EQ(static_cast<int>(CQXDbDef::dbc_Newer), 3);
  EXPECT_EQ(static_cast<int>(CQXDbDef::dbc_Incomplete), 4);
}

TEST_F(DbDefVersion, TheConstructorIsAScopeOfTheApplicationAndTouchesNoDatabase) {
  def();
  bool entered = false;
  for (const LogRecord& record : logger.records) {
    EXPECT_EQ(record.appId, 7);
    entered = entered || (record.function == u"CQXDbDef::CQXDbDef" && record.level == 6 &&
                          record.message == u"Entering function\n");
  }
  EXPECT_TRUE(entered);
  EXPECT_THAT(calls.calls, IsEmpty());
}

TEST_F(DbDefVersion, TheDestructorTouchesNoDatabase) {
  { CQXDbDef gone(application, company, loader, u"QX", ln_English, nullptr); }
  EXPECT_THAT(calls.calls, IsEmpty());
}

TEST_F(DbDefVersion, WithoutAModuleTheFileVersionIsTheFrameworks) {
  EXPECT_EQ(def().GetFileVersion(version), S_OK);
  EXPECT_EQ(stored(version), "9.20.00.01.00 ");
}

TEST_F(DbDefVersion, TheFileVersionIsThatOfTheModule) {
  const qx::LoadedModule loaded(QX_DBDEF_FIX7);
  module = GetModuleHandleW(u"QXFix7.dll");
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(def().GetFileVersion(version), S_OK);
  EXPECT_EQ(stored(version), "9.20.00.01.07 ");
}

TEST_F(DbDefVersion, AModuleWithoutAVersionHasTheZeroVersion) {
  const qx::LoadedModule loaded(QX_DBDEF_NO_VERSION);
  module = GetModuleHandleW(u"QXNoVersion.dll");
  ASSERT_NE(module, nullptr);
  def().GetFileVersion(version);
  EXPECT_EQ(stored(version), "0.00.00.00.00 ");
}

TEST_F(DbDefVersion, GetFileVersionKeepsTheStatusOfItsArgument) {
  version.SetStatus(u"Installed");
  def().GetFileVersion(version);
  EXPECT_EQ(stored(version), "9.20.00.01.00 Installed");
}

TEST_F(DbDefVersion, ReadsVersionStatusAndEmergencyFix) {
  storeRow(u"9.10.00.05", u"Installed", u"07");
  EXPECT_EQ(def().GetDBVersion(version), S_OK);
  EXPECT_EQ(stored(version), "9.10.00.05.07 Installed");
}

TEST_F(DbDefVersion, OnlyTheFirstRowCounts) {
  company->answer(kSelect, {{CComVariant(u"9.10"), CComVariant(u"Upgrading")},
                            {CComVariant(u"9.20"), CComVariant(u"Installed")}});
  def().GetDBVersion(version);
  EXPECT_EQ(stored(version), "9.10.00.00.00 Upgrading");
}

TEST_F(DbDefVersion, WithoutRowsTheStatusIsEmptyAndTheEmergencyFixIsNotRead) {
  EXPECT_EQ(def().GetDBVersion(version), S_OK);
  EXPECT_EQ(stored(version), "0.00.00.00.00 ");
  EXPECT_THAT(company->statements(), ElementsAre(qx::toUtf8(kSelect)));
}

TEST_F(DbDefVersion, ANullStatusReadsAsEmpty) {
  company->answer(kSelect, {{CComVariant(u"9.10"), CComVariant()}});
  def().GetDBVersion(version);
  EXPECT_EQ(stored(version), "9.10.00.00.00 ");
  EXPECT_EQ(company->statements().size(), 1U);
}

TEST_F(DbDefVersion, ANullEmergencyFixReadsAsZero) {
  storeRow(u"9.10", u"Installed");
  company->answer(kSelectFix, {{CComVariant()}});
  def().GetDBVersion(version);
  EXPECT_EQ(version.GetEF(), 0);
}

TEST_F(DbDefVersion, AMissingEmergencyFixColumnReadsAsZeroAndIsNotLogged) {
  storeRow(u"9.10", u"Installed", u"07");
  company->failStatement = 2;
  EXPECT_EQ(def().GetDBVersion(version), S_OK);
  EXPECT_EQ(stored(version), "9.10.00.00.00 Installed");
  EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(DbDefVersion, TheSecondStatementIsNotRunWithAnEmptyStatus) {
  storeRow(u"9.10", u"");
  def().GetDBVersion(version);
  EXPECT_THAT(company->statements(), ElementsAre(qx::toUtf8(kSelect)));
}

TEST_F(DbDefVersion, StatementsAreLoggedAtDebugLevelZeroBeforeTheyRun) {
  storeRow(u"9.10", u"Installed");
  def().GetDBVersion(version);
  EXPECT_THAT(log(u"CQXDbDef::GetDBVersion"),
              ElementsAre("4 SQL: \"" + qx::toUtf8(kSelect) + "\"\n",
                          "4 SQL: \"" + qx::toUtf8(kSelectFix) + "\"\n"));
}

TEST_F(DbDefVersion, AMissingTableIsLoggedAndThrownAsTheDatabaseCode) {
  company->failStatement = 1;
  company->errorCode = -2000;
  company->errorText = u"no such table";
  EXPECT_EQ(raisedBy([this] { def().GetDBVersion(version); }), QX_E_DATABASE);
  EXPECT_THAT(log(u"CQXDbDef::GetDBVersion"),
              ElementsAre("4 SQL: \"" + qx::toUtf8(kSelect) + "\"\n",
                          "1 Error code from RX-API: -2000 / no such table\n",
                          "1 Failed to get version for QX from db: RX API SQL failure"));
}

TEST_F(DbDefVersion, ACompanyWithoutARecordsetThrowsTheDatabaseCode) {
  calls.failures["Company.GetBusinessObject 300"] = E_FAIL;
  EXPECT_EQ(raisedBy([this] { def().GetDBVersion(version); }), QX_E_DATABASE);
}

TEST_F(DbDefVersion, CheckVersionLetsTheExceptionOfAMissingTableThrough) {
  company->failStatement = 1;
  auto result = CQXDbDef::dbc_Newer;
  EXPECT_EQ(raisedBy([&] { def().CheckVersion(result); }), QX_E_DATABASE);
  EXPECT_EQ(result, CQXDbDef::dbc_Newer);
}

TEST_F(DbDefVersion, WithoutARowThereIsNoVersion) { EXPECT_EQ(check(), CQXDbDef::dbc_NoVersion); }

TEST_F(DbDefVersion, AnEmptyStatusIsNoVersionForAllNumbers) {
  storeRow(u"9.99", u"");
  EXPECT_EQ(check(), CQXDbDef::dbc_NoVersion);
}

TEST_F(DbDefVersion, TheSameVersionInstalledIsOk) {
  storeRow(u"9.20.00.01", u"Installed");
  EXPECT_EQ(check(), CQXDbDef::dbc_Ok);
}

TEST_F(DbDefVersion, TheSameVersionUpgradingIsIncomplete) {
  storeRow(u"9.20.00.01", u"Upgrading");
  EXPECT_EQ(check(), CQXDbDef::dbc_Incomplete);
}

TEST_F(DbDefVersion, TheSameVersionFailedIsIncomplete) {
  storeRow(u"9.20.00.01", u"Upgrade failed");
  EXPECT_EQ(check(), CQXDbDef::dbc_Incomplete);
}

TEST_F(DbDefVersion, AStatusWordInAnotherCaseIsIncomplete) {
  storeRow(u"9.20.00.01", u"INSTALLED");
  EXPECT_EQ(check(), CQXDbDef::dbc_Incomplete);
}

TEST_F(DbDefVersion, ANewerDatabaseIsNewerWithEveryStatus) {
  for (const char16_t* status : {u"Installed", u"Upgrading", u"Upgrade failed"}) {
    storeRow(u"9.20.00.02", status);
    EXPECT_EQ(check(), CQXDbDef::dbc_Newer);
  }
}

TEST_F(DbDefVersion, AnOlderDatabaseIsOlderIfItsRunWasComplete) {
  storeRow(u"9.20.00.00", u"Installed");
  EXPECT_EQ(check(), CQXDbDef::dbc_Older);
  storeRow(u"9.20.00.00", u"Upgrading");
  EXPECT_EQ(check(), CQXDbDef::dbc_Incomplete);
  storeRow(u"9.20.00.00", u"Upgrade failed");
  EXPECT_EQ(check(), CQXDbDef::dbc_Incomplete);
}

TEST_F(DbDefVersion, TheEmergencyFixCountsInTheComparison) {
  storeRow(u"9.20.00.01", u"Installed", u"01");
  EXPECT_EQ(check(), CQXDbDef::dbc_Newer);
}

TEST_F(DbDefVersion, SetInstalledStampsTheVersionGiven) {
  CQXVersion older(u"9.10.00.03.07");
  EXPECT_EQ(def().SetInstalled(older), S_OK);
  EXPECT_THAT(
      company->statements(),
      ElementsAre("delete from [@QXEXTDBVERSION] where U_ExtID = 'QX' and U_Version = '9.20.00.01' "
                  "and U_EFNum= '00'",
                  "SELECT MAX(Code) FROM [@QXEXTDBVERSION]",
                  "insert into [@QXEXTDBVERSION] (Code, Name, U_ExtID, U_Version, U_EFNum, "
                  "U_Status, U_Rdate)   values ('00000000', '00000000', 'QX', '9.10.00.03', '07', "
                  "'Installed', getdate())"));
}

TEST_F(DbDefVersion, TheZeroVersionStampsTheFileVersion) {
  def().SetInstalled(version);
  EXPECT_EQ(company->statements().back(),
            "insert into [@QXEXTDBVERSION] (Code, Name, U_ExtID, U_Version, U_EFNum, U_Status, "
            "U_Rdate)   values ('00000000', '00000000', 'QX', '9.20.00.01', '00', 'Installed', "
            "getdate())");
}

TEST_F(DbDefVersion, AStampHasTheNextCode) {
  company->answer(u"SELECT MAX(Code) FROM [@QXEXTDBVERSION]", {{CComVariant(u"0000000f")}});
  def().SetInstalled(version);
  EXPECT_EQ(company->statements().back(),
            "insert into [@QXEXTDBVERSION] (Code, Name, U_ExtID, U_Version, U_EFNum, U_Status, "
            "U_Rdate)   values ('00000010', '00000010', 'QX', '9.20.00.01', '00', 'Installed', "
            "getdate())");
}

TEST_F(DbDefVersion, AnEmergencyFixOfSevenIsWrittenWithTwoDigitsInBothStatements) {
  const qx::LoadedModule loaded(QX_DBDEF_FIX7);
  module = GetModuleHandleW(u"QXFix7.dll");
  def().SetInstalled(version);
  EXPECT_THAT(
      company->statements(),
      ElementsAre("delete from [@QXEXTDBVERSION] where U_ExtID = 'QX' and U_Version = '9.20.00.01' "
                  "and U_EFNum= '07'",
                  "SELECT MAX(Code) FROM [@QXEXTDBVERSION]",
                  "insert into [@QXEXTDBVERSION] (Code, Name, U_ExtID, U_Version, U_EFNum, "
                  "U_Status, U_Rdate)   values ('00000000', '00000000', 'QX', '9.20.00.01', '07', "
                  "'Installed', getdate())"));
}

TEST_F(DbDefVersion, SetDBStatusStampsTheStatusOfTheVersion) {
  version.SetStatus(u"Anything");
  EXPECT_EQ(def().SetDBStatus(version), S_OK);
  EXPECT_EQ(company->statements().back(),
            "insert into [@QXEXTDBVERSION] (Code, Name, U_ExtID, U_Version, U_EFNum, U_Status, "
            "U_Rdate)   values ('00000000', '00000000', 'QX', '9.20.00.01', '00', 'Anything', "
            "getdate())");
}

TEST_F(DbDefVersion, AFailedDeleteIsThrownBeforeACodeIsRead) {
  company->failStatement = 1;
  EXPECT_EQ(raisedBy([this] { def().SetInstalled(version); }), QX_E_DATABASE);
  EXPECT_EQ(company->statements().size(), 1U);
  EXPECT_THAT(complaints(), ElementsAre("1 SQL failed: RX API SQL failure"));
}

TEST_F(DbDefVersion, AFailedInsertLeavesTheRowDeleted) {
  company->failStatement = 3;
  EXPECT_EQ(raisedBy([this] { def().SetInstalled(version); }), QX_E_DATABASE);
  EXPECT_EQ(company->statements().size(), 3U);
  EXPECT_THAT(log(u"CQXDbDef::WriteStamp"),
              ElementsAre("4 SQL: \"" + company->statements()[0] + "\"\n",
                          "4 SQL: \"" + company->statements()[2] + "\"\n",
                          "1 SQL failed: RX API SQL failure"));
}

TEST_F(DbDefVersion, AFailureIsStampedOnlyOverInstalled) {
  storeRow(u"9.20.00.01", u"Installed");
  EXPECT_EQ(def().SetInitFailed(version), S_OK);
  EXPECT_THAT(stamps(), ElementsAre("Upgrade failed"));
}

TEST_F(DbDefVersion, AFailureIsNotStampedOverUpgrading) {
  storeRow(u"9.20.00.01", u"Upgrading");
  EXPECT_EQ(def().SetInitFailed(version), E_FAIL);
  EXPECT_THAT(stamps(), IsEmpty());
  EXPECT_THAT(log(u"CQXDbDef::SetInitFailed"),
              ElementsAre("1 Current status is Upgrading, not changed!"));
}

TEST_F(DbDefVersion, AFailureIsNotStampedWithoutARow) {
  EXPECT_EQ(def().SetInitFailed(version), E_FAIL);
  EXPECT_THAT(log(u"CQXDbDef::SetInitFailed"), ElementsAre("1 Current status is , not changed!"));
}

TEST_F(DbDefVersion, SetInitFailedLetsTheExceptionOfAMissingTableThrough) {
  company->failStatement = 1;
  EXPECT_EQ(raisedBy([this] { def().SetInitFailed(version); }), QX_E_DATABASE);
}

// The five statements of the version table for a server type.
struct VersionStatements {
  long serverType;
  const char* select;
  const char* selectFix;
  const char* erase;
  const char* maxCode;
  const char* insert;
};

constexpr const char* kBracketSelect =
    "select U_Version, U_Status from [@QXEXTDBVERSION] where U_ExtID = 'QX' order by Code desc";
constexpr const char* kBracketSelectFix =
    "select (case when U_EFNum is null then '00' else U_EFNum end) as U_EFNum from "
    "[@QXEXTDBVERSION] where U_ExtID = 'QX' order by Code desc";
constexpr const char* kBracketErase =
    "delete from [@QXEXTDBVERSION] where U_ExtID = 'QX' and U_Version = '9.20.00.01' and U_EFNum= "
    "'00'";
constexpr const char* kBracketMaxCode = "SELECT MAX(Code) FROM [@QXEXTDBVERSION]";
constexpr const char* kBracketInsert =
    "insert into [@QXEXTDBVERSION] (Code, Name, U_ExtID, U_Version, U_EFNum, U_Status, U_Rdate)   "
    "values ('00000000', '00000000', 'QX', '9.20.00.01', '00', 'Installed', getdate())";

constexpr VersionStatements bracketForm(long serverType) {
  return {serverType,    kBracketSelect,  kBracketSelectFix,
          kBracketErase, kBracketMaxCode, kBracketInsert};
}

constexpr VersionStatements kStatements[] = {
    bracketForm(1),
    bracketForm(3),
    bracketForm(4),
    bracketForm(0),
    bracketForm(-1),
    {2, "select U_Version, U_Status  from @QXEXTDBV where U_ExtID = 'QX' order by Code desc",
     "select (case when U_EFNum is null then '00' else U_EFNum end) as U_EFNum from @QXEXTDBV "
     "where U_ExtID = 'QX' order by Code desc",
     "delete from @QXEXTDBV where U_ExtID = 'QX' and U_Version = '9.20.00.01' and U_EFNum= '00'",
     "SELECT MAX(Code) FROM @QXEXTDBV",
     "insert into @QXEXTDBV (Code, Name, U_ExtID, U_Version,  U_EFNum, U_Status, U_Rdate)   "
     "values ('00000000', '00000000', 'QX', '9.20.00.01', '00', 'Installed', CURRENT TIMESTAMP)"},
    {9,
     "select \"U_Version\", \"U_Status\" from \"@QXEXTDBVERSION\" where \"U_ExtID\" = 'QX' order "
     "by \"Code\" desc",
     "select (case when \"U_EFNum\" is null then '00' else \"U_EFNum\" end) as \"U_EFNum\" from "
     "\"@QXEXTDBVERSION\" where \"U_ExtID\" = 'QX' order by \"Code\" desc",
     "delete from \"@QXEXTDBVERSION\" where \"U_ExtID\" = 'QX' and \"U_Version\" = '9.20.00.01' "
     "and \"U_EFNum\"= '00'",
     "SELECT MAX(\"Code\") FROM \"@QXEXTDBVERSION\"",
     "insert into \"@QXEXTDBVERSION\" (\"Code\", \"Name\", \"U_ExtID\", \"U_Version\", "
     "\"U_EFNum\", \"U_Status\", \"U_Rdate\")   values ('00000000', '00000000', 'QX', "
     "'9.20.00.01', '00', 'Installed', CURRENT_TIMESTAMP)"},
};

class DbDefDialect : public DbDefTest, public ::testing::WithParamInterface<VersionStatements> {
 protected:
  DbDefDialect() { company->serverType = GetParam().serverType; }
};

TEST_P(DbDefDialect, ReadsTheVersionInItsOwnForm) {
  company->answer(qx::toUtf16(GetParam().select),
                  {{CComVariant(u"9.10"), CComVariant(u"Installed")}});
  company->answer(qx::toUtf16(GetParam().selectFix), {{CComVariant(u"03")}});
  def().GetDBVersion(version);
  EXPECT_THAT(company->statements(), ElementsAre(GetParam().select, GetParam().selectFix));
  EXPECT_EQ(version.GetVersionAsBSTR().View(), u"9.10.00.00.03");
}

TEST_P(DbDefDialect, StampsInItsOwnForm) {
  def().SetInstalled(version);
  EXPECT_THAT(company->statements(),
              ElementsAre(GetParam().erase, GetParam().maxCode, GetParam().insert));
}

INSTANTIATE_TEST_SUITE_P(AllServerTypes, DbDefDialect, ::testing::ValuesIn(kStatements),
                         [](const auto& each) {
                           const long type = each.param.serverType;
                           return type < 0 ? std::string("Negative")
                                           : "ServerType" + std::to_string(type);
                         });

}  // namespace
