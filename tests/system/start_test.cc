// The start of an add-on on a company's file: the first start creates the framework's tables, the
// next ones find, upgrade or keep them.

#include "qxframework/automation/class_object.h"
#include "qxframework/dbdef/db_def.h"
#include "qxframework/foundation/version.h"
#include "testing/dialects.h"
#include "testing/embedded_client.h"
#include "testing/recording_addon.h"
#include "testing/recording_logger.h"
#include "testing/sqlite_file.h"
#include "testing/temp_folder.h"

#include <gmock/gmock.h>

namespace {

using qx::test::Dialect;
using qx::test::dumpOf;
using qx::test::EmbeddedClient;
using qx::test::Record;
using qx::test::RecordingAddOn;
using qx::test::RecordingLogger;
using qx::test::rowsOf;
using testing::ElementsAre;

constexpr unsigned kDefinition = 100;

constexpr char kMenusBefore[] =
    "100 \"File\" popup\n"
    "  101 \"Quit\"\n"
    "1280 \"Data\" popup\n"
    "  1281 \"Find\"\n"
    "  1282 \"Add\"\n"
    "  1283 \"Delete\"\n"
    "  1284 separator\n"
    "  1288 \"Next Record\"\n"
    "  1289 \"Previous Record\"\n"
    "  1290 \"First Record\"\n"
    "  1291 \"Last Record\"\n"
    "3000 \"Sales\" popup\n"
    "  3001 \"Sales Order\"\n"
    "  3002 \"Customer\"\n"
    "43523 \"Add-Ons\" popup\n";
constexpr char kCommonEntry[] = "  QX_551 \"Halvex Add-On Log Settings\"\n";

class Start : public testing::TestWithParam<Dialect> {
 protected:
  EmbeddedClient client() const { return EmbeddedClient(file, {GetParam().name, "", 0}); }
  std::string table() const { return "@" + GetParam().versionTable; }
  std::vector<std::string> versions() const {
    return rowsOf(file, "SELECT Code, Name, U_ExtID, U_Version, U_EFNum, U_Status FROM \"" +
                            table() + "\" ORDER BY Code");
  }

  qx::test::TempFolder folder;
  std::filesystem::path file = folder.path() / "company.db";
};

TEST_P(Start, CreatesTheFrameworksTablesInAFreshDatabase) {
  EmbeddedClient desk = client();
  Record record;
  RecordingAddOn addOn(desk.connection(), record);
  EXPECT_EQ(addOn.Connect(1), 0);
  EXPECT_THAT(record.lines, ElementsAre("OnApplicationLoad"));
  EXPECT_EQ(desk.boxes(), "");
  EXPECT_THAT(rowsOf(file, "SELECT * FROM HVUTAB"),
              ElementsAre(GetParam().versionTable + "|Extension DB versions|0"));
  const std::string head = table() + "|";
  EXPECT_THAT(rowsOf(file, "SELECT * FROM CUFD ORDER BY FieldID"),
              ElementsAre(head + "0|ExtID|Extension ID|0|0|5|5||N|",
                          head + "1|Version|Db tables version|0|0|15|15||N|",
                          head + "2|EFNum|Emergency Fix number|0|0|10|10||N|",
                          head + "3|Status|Db tables status|0|0|20|20||N|",
                          head + "4|Rdate|Record datetime|3|0|0|0|GETDATE()|N|"));
  EXPECT_THAT(versions(), ElementsAre("00000000|00000000||9.20.00.01|00|Installed"));
  EXPECT_THAT(rowsOf(file, "SELECT U_Rdate IS NULL FROM \"" + table() + "\""), ElementsAre("0"));
}

TEST_P(Start, FindsTheTablesTheSecondTimeAndChangesNothing) {
  Record record;
  EmbeddedClient first = client();
  { EXPECT_EQ(RecordingAddOn(first.connection(), record).Connect(1), 0); }
  const std::string before = dumpOf(file);
  RecordingLogger log;
  EmbeddedClient second = client();
  { EXPECT_EQ(RecordingAddOn(second.connection(), record).Connect(1), 0); }
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Debug0, u"Db is OK.\n"));
  EXPECT_EQ(log.messages(QXLoggerLib::sl_Warning), std::vector<std::u16string>());
  EXPECT_EQ(dumpOf(file), before);
}

TEST_P(Start, UpgradesTheTablesOfAnOlderRelease) {
  Record record;
  EmbeddedClient first = client();
  { EXPECT_EQ(RecordingAddOn(first.connection(), record).Connect(1), 0); }
  qx::test::SqliteFile(file).execute("UPDATE \"" + table() +
                                     "\" SET U_Version = '9.10.00.00', U_EFNum = NULL");
  RecordingLogger log;
  EmbeddedClient second = client();
  { EXPECT_EQ(RecordingAddOn(second.connection(), record).Connect(1), 0); }
  EXPECT_TRUE(
      log.has(u"Db tables are for version 9.10.00.00.00. Add-on version is 9.20.00.01.00. "
              u"Db is OK.\n"));
  EXPECT_THAT(versions(), ElementsAre("00000000|00000000||9.10.00.00|NULL|Installed",
                                      "00000001|00000001||9.20.00.01|00|Installed"));
}

TEST_P(Start, LeavesTheTablesOfANewerReleaseAlone) {
  Record record;
  EmbeddedClient first = client();
  { EXPECT_EQ(RecordingAddOn(first.connection(), record).Connect(1), 0); }
  qx::test::SqliteFile(file).execute("UPDATE \"" + table() +
                                     "\" SET U_Version = '10.00.00.00', U_Status = 'Upgrading'");
  const std::string before = dumpOf(file);
  RecordingLogger log;
  EmbeddedClient second = client();
  { EXPECT_EQ(RecordingAddOn(second.connection(), record).Connect(1), 0); }
  EXPECT_TRUE(log.has(u"Db tables are for a newer version.\n"));
  EXPECT_EQ(dumpOf(file), before);
}

TEST_P(Start, RunsADefinitionTwiceAndAddsOnlyRowsOfData) {
  Record record;
  CQXResourceLoader loader;
  std::vector<long> results;
  record.hooks["OnApplicationLoad"] = [&](short*) {
    CQXDbDef tables(record.application, record.company, loader, u"SYST", ln_English,
                    GetModuleHandleW(nullptr));
    CQXVersion version(u"0.00.00.00.00");
    results.push_back(tables.Create(kDefinition, false, version));
    return S_OK;
  };
  const auto start = [&] {
    EmbeddedClient desk = client();
    EXPECT_EQ(RecordingAddOn(desk.connection(), record).Connect(1), 0);
  };
  // Returns the rows of data and removes those of the second run, so that the rest of the file can
  // be compared.
  const auto takeData = [&] {
    const std::string removal = "DELETE FROM \"@SYSTDATA\" WHERE Code > '00000001'";
    const auto data = rowsOf(file, "SELECT Code, Name, U_Kind, U_Rate FROM \"@SYSTDATA\"");
    qx::test::SqliteFile(file).execute(removal);
    return data;
  };
  start();
  EXPECT_THAT(takeData(), ElementsAre("00000000|00000000|A|1.5", "00000001|00000001|B|2"));
  const std::string before = dumpOf(file);
  start();
  EXPECT_THAT(takeData(), ElementsAre("00000000|00000000|A|1.5", "00000001|00000001|B|2",
                                      "00000002|00000002|A|1.5", "00000003|00000003|B|2"));
  EXPECT_EQ(dumpOf(file), before);
  EXPECT_THAT(results, ElementsAre(0, 0));
  EXPECT_THAT(versions(), ElementsAre("00000000|00000000||9.20.00.01|00|Installed",
                                      "00000001|00000001|SYST|3.01.00.00|07|Installed"));
}

TEST_P(Start, AddsTheCommonMenuEntryAndRemovesItWhenTheLastAddOnStops) {
  EmbeddedClient desk = client();
  EXPECT_EQ(desk.menus(), kMenusBefore);
  Record record;
  RecordingAddOn addOn(desk.connection(), record);
  EXPECT_EQ(addOn.Connect(1), 0);
  EXPECT_EQ(desk.menus(), std::string(kMenusBefore) + kCommonEntry);
  desk.shutDown();
  EXPECT_EQ(desk.menus(), kMenusBefore);
}

INSTANTIATE_TEST_SUITE_P(Dialect, Start, qx::test::allDialects(), qx::test::nameOf<Dialect>);

}  // namespace
