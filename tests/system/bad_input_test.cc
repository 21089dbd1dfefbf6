// Mistakes of users and administrators in the company's file, the registry and the connection
// string: the result of Connect, and the message to the user or to the developer.

#include "qxframework/automation/registry.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/os/named_mutex.h"
#include "testing/embedded_client.h"
#include "testing/machine.h"
#include "testing/message_recorder.h"
#include "testing/param_name.h"
#include "testing/registry_in_use.h"
#include "testing/running_addon.h"
#include "testing/sqlite_file.h"

#include <gmock/gmock.h>

#include <fstream>

namespace {

using qx::test::EmbeddedClient;
using qx::test::MessageRecorder;
using qx::test::Record;
using qx::test::RecordingAddOn;
using qx::test::RecordingLogger;
using qx::test::RegistryInUse;
using qx::test::RunningAddOn;
using qx::test::SkippedPauses;
using qx::test::SqliteFile;
using qx::test::TempFolder;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr char kNotStarted[] = "\"Initialization failed\" [OK] -> 1\n";

/// Creates a company file on which an add-on has started once. Returns its path.
std::filesystem::path preparedCompany(const TempFolder& folder) {
  const auto file = folder.path() / "company.db";
  EmbeddedClient desk(file);
  Record record;
  RecordingAddOn addOn(desk.connection(), record);
  EXPECT_EQ(addOn.Connect(1), 0);
  return file;
}

void overwrite(const std::filesystem::path& file, std::streamoff from, std::size_t size) {
  std::fstream stream(file, std::ios::binary | std::ios::in | std::ios::out);
  stream.seekp(from);
  stream << std::string(size, '\xAB');
}

struct BadFile {
  std::string name;
  /// Creates the bad file in the folder and returns its path.
  std::filesystem::path (*make)(const TempFolder& folder);
  /// The text of the message box; "%" stands for the path.
  std::string text;
  friend std::ostream& operator<<(std::ostream& out, const BadFile& file) {
    return out << file.name;
  }
};

std::string replaced(std::string text, const std::string& path) {
  const std::size_t at = text.find('%');
  if (at != std::string::npos) text.replace(at, 1, path);
  return text;
}

const BadFile kBadFiles[] = {
    {"InAMissingFolder",
     [](const TempFolder& folder) { return folder.path() / "missing" / "company.db"; },
     "The folder of the company database '%' does not exist."},
    {"ThatIsAFolder", [](const TempFolder& folder) { return folder.path(); },
     "The company database '%' is a folder; a file is needed."},
    {"ThatIsAText",
     [](const TempFolder& folder) {
       return folder.write("letter.txt", "Dear Sir or Madam, " + std::string(2000, 'x'));
     },
     "'%' is not a database."},
    {"OfAnotherProgram",
     [](const TempFolder& folder) {
       auto file = folder.write("other.db", "");
       SqliteFile(file).execute("CREATE TABLE songs (title)");
       return file;
     },
     "The database '%' has tables, but no company in it."},
    {"OfANewerHost",
     [](const TempFolder& folder) {
       auto file = preparedCompany(folder);
       SqliteFile(file).execute("PRAGMA user_version = 1000");
       return file;
     },
     "The company database '%' was written by a newer version of this component."},
    {"WithADamagedSchema",
     [](const TempFolder& folder) {
       auto file = preparedCompany(folder);
       SqliteFile(file).execute("PRAGMA wal_checkpoint(TRUNCATE)");
       overwrite(file, 100, 1000);
       return file;
     },
     "The company database is damaged (database disk image is malformed). Restore it from a "
     "backup."},
    {"ThatMayNotBeRead",
     [](const TempFolder& folder) {
       auto file = preparedCompany(folder);
       std::filesystem::permissions(file, std::filesystem::perms::none);
       qx::test::obeyFilePermissions();
       return file;
     },
     "There is no permission to open the company database '%'."},
    {"InAFolderThatMayNotBeWritten",
     [](const TempFolder& folder) {
       const auto closed = folder.path() / "closed";
       std::filesystem::create_directory(closed);
       std::filesystem::permissions(
           closed, std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
       qx::test::obeyFilePermissions();
       return closed / "company.db";
     },
     "There is no permission to open the company database '%'."},
};

class CompanyFile : public testing::TestWithParam<BadFile> {};

TEST_P(CompanyFile, IsReportedToTheUserAndTheAddOnDoesNotStart) {
  const TempFolder folder;
  const std::filesystem::path file = GetParam().make(folder);
  EmbeddedClient desk(file);
  Record record;
  RecordingAddOn addOn(desk.connection(), record);
  EXPECT_EQ(addOn.Connect(1), QX_E_CONNECTION);
  EXPECT_EQ(desk.boxes(),
            "\"" + replaced(GetParam().text, file.string()) + "\" [OK] -> 1\n" + kNotStarted);
  EXPECT_THAT(record.lines, IsEmpty());
  EXPECT_EQ(desk.sinks(), 0);
}

INSTANTIATE_TEST_SUITE_P(Bad, CompanyFile, testing::ValuesIn(kBadFiles), qx::test::nameOf<BadFile>);

TEST(ReadOnlyCompany, LetsTheAddOnStartWithTheFrameworksTables) {
  const TempFolder folder;
  const auto file = preparedCompany(folder);
  SqliteFile(file).execute("PRAGMA wal_checkpoint(TRUNCATE)");
  std::filesystem::permissions(file, std::filesystem::perms::owner_read);
  qx::test::obeyFilePermissions();
  RecordingLogger log;
  EmbeddedClient desk(file);
  Record record;
  RecordingAddOn addOn(desk.connection(), record);
  EXPECT_EQ(addOn.Connect(1), 0);
  EXPECT_TRUE(log.has(u"Db is OK.\n"));
  EXPECT_EQ(desk.boxes(), "");
}

TEST(ReadOnlyCompany, LoadsTheAddOnWithoutTheFrameworksTables) {
  const TempFolder folder;
  const auto file = preparedCompany(folder);
  SqliteFile(file).execute("DELETE FROM \"@QXEXTDBVERSION\"; PRAGMA wal_checkpoint(TRUNCATE)");
  std::filesystem::permissions(file, std::filesystem::perms::owner_read);
  qx::test::obeyFilePermissions();
  RecordingLogger log;
  EmbeddedClient desk(file);
  Record record;
  RecordingAddOn addOn(desk.connection(), record);
  EXPECT_EQ(addOn.Connect(1), 0);
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Error, u"Exception occurred on creation of database"));
  EXPECT_THAT(record.lines, ElementsAre("OnApplicationLoad"));
}

TEST(LockedCompany, IsReportedToTheUserAfterAWait) {
  const TempFolder folder;
  const auto file = preparedCompany(folder);
  SqliteFile other(file);
  other.execute("PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE");
  const SkippedPauses pauses;
  EmbeddedClient desk(file);
  Record record;
  RecordingAddOn addOn(desk.connection(), record);
  EXPECT_EQ(addOn.Connect(1), QX_E_CONNECTION);
  EXPECT_EQ(desk.boxes(),
            std::string("\"The company database is locked by another program. Try again when it "
                        "has finished.\" [OK] -> 1\n") +
                kNotStarted);
  EXPECT_GE(SkippedPauses::milliseconds(), 10'000);
}

TEST(LockedCompany, LetsTheAddOnStartIfReleasedDuringTheWait) {
  const TempFolder folder;
  const auto file = preparedCompany(folder);
  auto other = std::make_unique<SqliteFile>(file);
  other->execute("PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE");
  const SkippedPauses pauses([&] { other.reset(); });
  EmbeddedClient desk(file);
  Record record;
  RecordingAddOn addOn(desk.connection(), record);
  EXPECT_EQ(addOn.Connect(1), 0);
  EXPECT_EQ(other, nullptr);
}

/// Runs a statement as an add-on does. Returns the text of GetLastError if it fails, else "".
std::string query(ICompany* company, const std::u16string& sql) {
  try {
    CComQIPtr<IRecordset>(company->GetBusinessObject(qx::kRecordset))->DoQuery(CComBSTR(sql));
    return "";
  } catch (const _com_error&) {
    long code = 0;
    CComBSTR text;
    company->raw_GetLastError(&code, &text);
    return qx::toUtf8(text.View());
  }
}

TEST(LockedCompany, RefusesAStatementOfARunningAddOnAndServesTheNext) {
  RunningAddOn run;
  const std::u16string insert = u"insert into HVCURR (Currency) values ('XXX')";
  {
    SqliteFile other(run.file);
    other.execute("BEGIN IMMEDIATE");
    const SkippedPauses pauses;
    EXPECT_EQ(query(run.record.company, insert),
              "The company database is locked by another program. Try again when it has finished.");
    other.execute("ROLLBACK");
  }
  EXPECT_EQ(query(run.record.company, insert), "");
}

TEST(VanishedCompany, FailsTheNextStatementAndTheClientContinues) {
  RunningAddOn run;
  EXPECT_EQ(query(run.record.company, u"select Currency from HVCURR"), "");
  std::filesystem::remove(run.file);
  EXPECT_EQ(query(run.record.company, u"select Currency from HVCURR"),
            "The company database '" + run.file.string() +
                "' was moved or deleted while it was open. Connect again.");
  run.desk.openForm("3101");
  EXPECT_THAT(run.record.take(), ElementsAre("OnFormLoad 3101", "Form.OnInitForm"));
  run.desk.changeCompany(run.file);
  EXPECT_EQ(query(run.record.company, u"select Currency from HVCURR"), "");
}

TEST(HeldProgressBar, DelaysTheStartByHalfAnHourAndTheAddOnLoadsWithoutTables) {
  const TempFolder folder;
  EmbeddedClient desk(folder.path() / "company.db", {"mssql", "&progress=shared", 0});
  qx::NamedMutex other(u"HalvexProgressBar" + qx::toUtf16(std::to_string(desk.appId())));
  other.lock();
  const SkippedPauses pauses;
  RecordingLogger log;
  Record record;
  RecordingAddOn addOn(desk.connection(), record);
  EXPECT_EQ(addOn.Connect(1), 0);
  EXPECT_TRUE(log.has(u"Timeout received while waiting for progress bar"));
  EXPECT_EQ(SkippedPauses::milliseconds(), 30 * 60 * 1000);
  EXPECT_THAT(record.lines, ElementsAre("OnApplicationLoad"));
  other.unlock();
}

/// Connects an add-on, possibly without a host, and keeps the result and the messages.
struct Attempt {
  explicit Attempt(const std::u16string& connection) {
    const MessageRecorder recorder;
    Record record;
    RecordingAddOn addOn(connection, record);
    result = addOn.Connect(1);
    hasSink = addOn.GetEventSink() != nullptr;
    boxes = MessageRecorder::boxes();
    trace = MessageRecorder::trace();
    lines = record.lines;
  }
  long result = -1;
  bool hasSink = true;
  std::vector<std::string> boxes;
  std::string trace;
  std::vector<std::string> lines;
};

TEST(Registry, MissingFileIsReportedAndConnectSucceedsWithoutASink) {
  const TempFolder folder;
  const auto file = folder.path() / "registry.toml";
  const RegistryInUse registry(file);
  EXPECT_EQ(qx::Registry::current().problem(),
            file.string() + ": there is no such file; create it or set QX_REGISTRY");
  const Attempt attempt(u"embedded:?db=company.db");
  EXPECT_EQ(attempt.result, 0);
  EXPECT_FALSE(attempt.hasSink);
  EXPECT_THAT(attempt.boxes,
              ElementsAre("Connection to UI-API Error: Class not registered (-2147221164, "
                          "0x80040154). Registry: " +
                          file.string() + ": there is no such file; create it or set QX_REGISTRY"));
}

TEST(Registry, SyntaxErrorIsReportedWithItsLine) {
  const TempFolder folder;
  const auto file = folder.write("registry.toml", "# classes\n[\"HKEY_CLASSES_ROOT\\\\CLSID\"\n");
  const RegistryInUse registry(file);
  EXPECT_THAT(qx::Registry::current().problem(), StartsWith(file.string() + ":2:"));
  EXPECT_THAT(qx::Registry::current().problem(), testing::EndsWith("; correct the TOML"));
  const Attempt attempt(u"embedded:?db=company.db");
  EXPECT_EQ(attempt.result, 0);
  EXPECT_THAT(attempt.boxes,
              ElementsAre("Connection to UI-API Error: Class not registered (-2147221164, "
                          "0x80040154). Registry: " +
                          qx::Registry::current().problem()));
}

TEST(Registry, InvalidValueIsReportedWithItsLineAndTheRestIsUsed) {
  const TempFolder folder;
  std::ifstream build(qx::test::buildRegistry());
  const std::string rest((std::istreambuf_iterator<char>(build)), {});
  std::string absolute = rest;
  for (std::size_t at = absolute.find("\"lib/"); at != std::string::npos;
       at = absolute.find("\"lib/", at)) {
    absolute.insert(at + 1, qx::test::buildRegistry().parent_path().string() + "/");
  }
  const auto file = folder.write("registry.toml", absolute + "\n[HKEY_CURRENT_USER]\nRate = 1.5\n");
  const auto line = 2 + std::count(absolute.begin(), absolute.end(), '\n') + 1;
  const RegistryInUse registry(file);
  EXPECT_EQ(qx::Registry::current().problem(),
            file.string() + ":" + std::to_string(line) +
                ":8: the value is neither a text nor a double word; write a text in quotes or an "
                "integer from 0 to 4294967295");
  EmbeddedClient desk(folder.path() / "company.db");
  Record record;
  RecordingAddOn addOn(desk.connection(), record);
  EXPECT_EQ(addOn.Connect(1), 0);
  EXPECT_THAT(record.lines, ElementsAre("OnApplicationLoad"));
}

TEST(Registry, LibraryThatDoesNotLoadIsTracedWithTheReason) {
  const TempFolder folder;
  folder.write("libbroken.so", "no library");
  const RegistryInUse registry(folder.write(
      "registry.toml",
      "['HKEY_CLASSES_ROOT\\CLSID\\{6D1F0A52-0001-4E5B-9C37-2B80D461EA15}\\InprocServer32']\n"
      "'' = 'libbroken.so'\n"));
  const Attempt attempt(u"embedded:?db=company.db");
  EXPECT_EQ(attempt.result, 0);
  EXPECT_THAT(attempt.boxes,
              ElementsAre("Connection to UI-API Error: The library of the class does not load "
                          "(-2147221000, 0x800401F8). Set QX_TRACE=1 to see the reason"));
  EXPECT_THAT(attempt.trace,
              HasSubstr("Class {6D1F0A52-0001-4E5B-9C37-2B80D461EA15} does not load: " +
                        (folder.path() / "libbroken.so").string()));
}

TEST(Registry, MissingClassOfTheCompanyIsReportedAsNoResponse) {
  const TempFolder folder;
  const RegistryInUse registry(folder.write(
      "registry.toml",
      "['HKEY_CLASSES_ROOT\\CLSID\\{6D1F0A52-0001-4E5B-9C37-2B80D461EA15}\\InprocServer32']\n"
      "'' = '" +
          (qx::test::buildRegistry().parent_path() / "lib/libqxdesk.so").string() + "'\n"));
  EmbeddedClient desk(folder.path() / "company.db");
  Record record;
  RecordingAddOn addOn(desk.connection(), record);
  EXPECT_EQ(addOn.Connect(1), QX_E_CONNECTION);
  EXPECT_EQ(desk.boxes(),
            std::string("\"No response from RX-API (RX-API may not be installed)\" [OK] -> 1\n") +
                kNotStarted);
}

struct BadString {
  std::string name;
  std::u16string connection;
  std::string traced;  // the end of the message to the developer
  friend std::ostream& operator<<(std::ostream& out, const BadString& string) {
    return out << string.name;
  }
};

const BadString kBadStrings[] = {
    {"Empty", u"", "1: unknown scheme \"\"; write embedded:?db=FILE"},
    {"OfAnotherScheme", u"http://x", "1: unknown scheme \"http\"; write embedded:?db=FILE"},
    {"WithoutQuestionMark", u"embedded:db=x",
     "10: a question mark must follow the scheme; write embedded:?db=FILE"},
    {"WithAnEmptyDatabase", u"embedded:?db=", "14: db is empty; name the company database's file"},
    {"WithAnUnknownKey", u"embedded:?db=x&colour=red",
     "16: unknown key \"colour\"; the keys are db, engine, accept, language, appid, user, "
     "password, "
     "company, play, web, boxes, progress, memory and statements"},
    {"WithAKeyTwice", u"embedded:?db=x&db=y", "16: the key \"db\" is given twice"},
    {"WithAnUnknownEngine", u"embedded:?db=x&engine=oldsql",
     "23: unknown engine \"oldsql\"; write mssql, sybase, db2 or kordb"},
    {"WithAHalfEscape", u"embedded:?db=x%2",
     "15: % is not followed by two hexadecimal digits; write %25 for %"},
    {"WithABadAppId", u"embedded:?db=x&appid=-1",
     "22: appid is no number from 0 to 999999999: \"-1\""},
};

class ConnectionText : public testing::TestWithParam<BadString> {};

TEST_P(ConnectionText, IsRefusedAndTracedWithItsPosition) {
  const Attempt attempt(GetParam().connection);
  EXPECT_EQ(attempt.result, -7200);
  EXPECT_FALSE(attempt.hasSink);
  EXPECT_THAT(attempt.boxes,
              ElementsAre("Connection to UI-API Error: Connection string not valid"));
  EXPECT_EQ(attempt.trace, "connection string, character " + GetParam().traced + "\n");
  EXPECT_THAT(attempt.lines, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Bad, ConnectionText, testing::ValuesIn(kBadStrings),
                         qx::test::nameOf<BadString>);

TEST(PlayScript, UnknownActionRefusesTheConnection) {
  const TempFolder folder;
  const auto script = folder.write("play.txt", "open 3101\njump high\n");
  const Attempt attempt(u"embedded:?db=" + qx::toUtf16((folder.path() / "company.db").string()) +
                        u"&appid=900&play=" + qx::toUtf16(script.string()));
  EXPECT_FALSE(attempt.hasSink);
  EXPECT_THAT(attempt.trace, StartsWith(script.string() + ":2:1: "));
}

}  // namespace
