// Opening a company on a file: new and existing ones, files that are refused, and files that other
// programs lock, damage or delete.

#include "qxdesk/company/test_support.h"
#include "qxdesk/dictionary/system_tables.h"
#include "qxframework/automation/text.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>

namespace qx::desk {
namespace {

class OpenCompanyTest : public testing::Test {
 protected:
  LoginTarget target(const std::string& file = "company.db") const {
    return LoginTarget{folder.file(file), kMssql, ln_English, u"manager", u"Demo"};
  }
  void write(const std::string& file, const std::string& content) const {
    std::ofstream(folder.file(file), std::ios::binary) << content;
  }
  LastError failureOf(const LoginTarget& place) const {
    const CComPtr<ICompany> company = companyFor(place);
    EXPECT_EQ(company->Connect(), kOpenFailed);
    EXPECT_EQ(company->GetConnected(), VARIANT_FALSE);
    return lastError(company);
  }
  LastError openFailed(const std::u16string& text) const { return {kOpenFailed, text}; }

  test::TempFolder folder;
};

/// A connection of another program to the file.
class ForeignProgram {
 public:
  explicit ForeignProgram(const std::string& file) {
    EXPECT_EQ(sqlite3_open(file.c_str(), &db_), SQLITE_OK);
  }
  ~ForeignProgram() { sqlite3_close(db_); }
  ForeignProgram(const ForeignProgram&) = delete;
  ForeignProgram& operator=(const ForeignProgram&) = delete;
  void run(const char* sql) {
    EXPECT_EQ(sqlite3_exec(db_, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db_);
  }
  /// Returns the first cell of the answer.
  std::string ask(const char* sql) {
    std::string cell;
    const auto take = [](void* to, int, char** cells, char**) {
      *static_cast<std::string*>(to) = cells[0];
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(db_, sql, take, &cell, nullptr), SQLITE_OK) << sqlite3_errmsg(db_);
    return cell;
  }

 private:
  sqlite3* db_ = nullptr;
};

/// Runs `body` in its own process as a user without special rights and returns its result. `body`
/// must not use the connections of this process.
int runAsNobody(const std::function<int()>& body) {
  constexpr uid_t kNobody = 65534;
  const pid_t child = fork();
  if (child == 0) {
    if (geteuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0)) _exit(100);
    _exit(body());
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST_F(OpenCompanyTest, AMissingFileBecomesANewCompany) {
  const CComPtr<ICompany> company = connectTo(target());
  EXPECT_EQ(rowsOf(company, u"SELECT CompanyName, Currency FROM HVCOMP"), u"Demo|EUR");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM OFPR"), u"36");
  EXPECT_EQ(rowsOf(company,
                   u"SELECT Category, SubNum, F_RefDate, T_RefDate FROM OFPR "
                   u"WHERE Code = '2024-02'"),
            u"2024|2|2024-02-01 00:00:00|2024-02-29 00:00:00");
  EXPECT_EQ(rowsOf(company, u"SELECT Rate FROM VTG1 WHERE Code = 'A2' ORDER BY EffecDate DESC"),
            u"19\n16");
  EXPECT_EQ(rowsOf(company,
                   u"SELECT COUNT(*), MIN(RateDate), MAX(RateDate) FROM HVRATE WHERE Currency = "
                   u"'USD'"),
            u"731|2024-01-01 00:00:00|2025-12-31 00:00:00");
  EXPECT_EQ(rowsOf(company, u"SELECT Currency, Rate FROM HVRATE WHERE RateDate = '20240229'"),
            u"GBP|1.17\nHUF|0.0025\nUSD|0.92");
}

TEST_F(OpenCompanyTest, AnEmptyFileBecomesANewCompany) {
  write("company.db", "");
  const CComPtr<ICompany> company = connectTo(target());
  EXPECT_EQ(rowsOf(company, u"SELECT CompanyName, Currency FROM HVCOMP"), u"Demo|EUR");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM OFPR"), u"36");
  EXPECT_EQ(rowsOf(company, u"SELECT ItemText FROM HVITEM WHERE ItemNo = 'A1000'"), u"Hammer");
  company->Disconnect();
  EXPECT_EQ(ForeignProgram(folder.file("company.db"))
                .ask("SELECT COUNT(*) FROM sqlite_master WHERE type = 'table'"),
            std::to_string(systemTables().size()));
}

TEST_F(OpenCompanyTest, AnExistingCompanyStaysAsItIs) {
  addTable(connectTo(target()), u"QX");
  LoginTarget renamed = target();
  renamed.companyName = u"Other";
  const CComPtr<ICompany> company = connectTo(renamed);
  EXPECT_EQ(rowsOf(company, u"SELECT CompanyName FROM HVCOMP"), u"Demo");
  EXPECT_EQ(addTable(company, u"QX"), -2107);
}

TEST_F(OpenCompanyTest, StatementsReachEverySystemTable) {
  const CComPtr<ICompany> company = connectTo(target());
  ASSERT_FALSE(systemTables().empty());
  for (const TableLayout& table : systemTables()) {
    const auto fields = query(company, u"SELECT * FROM " + toUtf16(table.name))->GetFields();
    EXPECT_EQ(fields->Count(), static_cast<long>(table.columns.size())) << table.name;
  }
}

TEST_F(OpenCompanyTest, AMissingFolderIsReported) {
  EXPECT_EQ(failureOf(target("no/company.db")),
            openFailed(u"The folder of the company database '" +
                       toUtf16(folder.file("no/company.db")) + u"' does not exist."));
}

TEST_F(OpenCompanyTest, AFolderInsteadOfAFileIsReported) {
  LoginTarget place = target();
  place.database = folder.path().string();
  EXPECT_EQ(failureOf(place),
            openFailed(u"The company database '" + toUtf16(folder.path().string()) +
                       u"' is a folder; a file is needed."));
}

TEST_F(OpenCompanyTest, ADeviceInsteadOfAFileIsReported) {
  LoginTarget place = target();
  place.database = "/dev/null";
  EXPECT_EQ(failureOf(place), openFailed(u"'/dev/null' is not a database."));
  EXPECT_FALSE(std::filesystem::exists("/dev/null-journal"));
}

TEST_F(OpenCompanyTest, NamesWithAMeaningForTheEngineAreFilesHere) {
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(folder.path());
  for (const char* name : {":memory:", "file:company.db"}) {
    LoginTarget place = target();
    place.database = name;
    connectTo(place);
    EXPECT_TRUE(std::filesystem::is_regular_file(folder.file(name))) << name;
  }
  std::filesystem::current_path(before);
}

TEST_F(OpenCompanyTest, AFileThatIsNotADatabaseIsReported) {
  write("company.db", std::string(5000, 'x'));
  EXPECT_EQ(failureOf(target()),
            openFailed(u"'" + toUtf16(folder.file("company.db")) + u"' is not a database."));
}

TEST_F(OpenCompanyTest, ADatabaseOfAnotherProgramIsReportedAndLeftAlone) {
  {
    ForeignProgram other(folder.file("company.db"));
    other.run("CREATE TABLE theirs (x)");
  }
  EXPECT_EQ(failureOf(target()), openFailed(u"The database '" + toUtf16(folder.file("company.db")) +
                                            u"' has tables, but no company in it."));
  EXPECT_EQ(
      ForeignProgram(folder.file("company.db")).ask("SELECT group_concat(name) FROM sqlite_master"),
      "theirs");
}

TEST_F(OpenCompanyTest, ACompanyOfANewerVersionIsReported) {
  connectTo(target());
  ForeignProgram(folder.file("company.db")).run("PRAGMA user_version = 99");
  EXPECT_EQ(failureOf(target()),
            openFailed(u"The company database '" + toUtf16(folder.file("company.db")) +
                       u"' was written by a newer version of this component."));
}

TEST_F(OpenCompanyTest, ADamagedFileIsReported) {
  connectTo(target());
  std::fstream file(folder.file("company.db"), std::ios::in | std::ios::out | std::ios::binary);
  file.seekp(100);
  file << std::string(3000, '\x7F');
  file.close();
  const LastError error = failureOf(target());
  EXPECT_TRUE(error.text.starts_with(u"The company database is damaged (")) << toUtf8(error.text);
}

TEST_F(OpenCompanyTest, DamageThatAStatementFindsIsReported) {
  const CComPtr<ICompany> company = connectTo(target());
  company->Disconnect();
  std::uintmax_t size = std::filesystem::file_size(folder.file("company.db"));
  std::fstream file(folder.file("company.db"), std::ios::in | std::ios::out | std::ios::binary);
  for (std::uintmax_t page = 5 * 4096; page < size; page += 4096) {
    file.seekp(static_cast<std::streamoff>(page));
    file << std::string(64, '\x7F');
  }
  file.close();
  if (company->Connect() == 0) {
    const auto rows = businessObject<IRecordset>(company, kRecordset);
    EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT * FROM HVITEM ORDER BY ItemNo")); }),
              kSqlFailure);
  }
  const LastError error = lastError(company);
  EXPECT_TRUE(error.text.starts_with(u"The company database is damaged (")) << toUtf8(error.text);
}

TEST_F(OpenCompanyTest, AFileThatAnotherProgramLocksIsReportedAfterTheTimeout) {
  connectTo(target());
  ForeignProgram other(folder.file("company.db"));
  other.run("PRAGMA locking_mode = EXCLUSIVE");
  other.run("BEGIN EXCLUSIVE");
  other.run("UPDATE HVCOMP SET Country = 'FR'");
  CompanyEnvironment environment = testEnvironment();
  int slept = 0;
  environment.sleep = [&slept](int milliseconds) { slept += milliseconds; };
  environment.clock = [&slept] {
    return std::chrono::steady_clock::time_point(std::chrono::milliseconds(slept));
  };
  const CComPtr<ICompany> company = companyFor(target(), environment);
  EXPECT_EQ(company->Connect(), kOpenFailed);
  EXPECT_EQ(lastError(company).text,
            u"The company database is locked by another program. Try again when it has finished.");
  EXPECT_GE(slept, environment.busyTimeoutMs);
  EXPECT_LE(slept, 4 * environment.busyTimeoutMs);
  other.run("COMMIT");
}

TEST_F(OpenCompanyTest, ARowThatAnotherConnectionWritesIsLockedAndReadsAsBefore) {
  const CComPtr<ICompany> writer = connectTo(target());
  const CComPtr<ICompany> other = connectTo(target());
  writer->StartTransaction();
  query(writer, u"UPDATE HVCOMP SET Country = 'FR'");
  expectCountryIsLocked(other, u"DE");
  EXPECT_EQ(raisedBy([&] { other->StartTransaction(); }), kSqlFailure);
  EXPECT_EQ(other->GetInTransaction(), VARIANT_FALSE);
  writer->EndTransaction(et_Commit);
  EXPECT_EQ(rowsOf(other, u"SELECT Country FROM HVCOMP"), u"FR");
}

TEST_F(OpenCompanyTest, AConnectionOpensWithoutAWaitBesideATransactionOfAnother) {
  const CComPtr<ICompany> writer = connectTo(target());
  writer->StartTransaction();
  query(writer, u"UPDATE HVCOMP SET Country = 'AT'");
  CompanyEnvironment environment = testEnvironment();
  int waits = 0;
  environment.awaitChange = [&, wait = environment.awaitChange](const auto& word, auto value,
                                                                auto most) {
    ++waits;
    wait(word, value, most);
  };
  const CComPtr<ICompany> reader = connectTo(target(), environment);
  EXPECT_EQ(rowsOf(reader, u"SELECT Country FROM HVCOMP"), u"DE");
  EXPECT_EQ(waits, 0);
}

TEST_F(OpenCompanyTest, AWriterWaitsForAnother) {
  const CComPtr<ICompany> writer = connectTo(target());
  CompanyEnvironment environment = testEnvironment();
  environment.awaitChange = [&writer, done = false, wait = environment.awaitChange](
                                const auto& word, auto value, auto most) mutable {
    if (!std::exchange(done, true)) writer->EndTransaction(et_Commit);
    wait(word, value, most);
  };
  const CComPtr<ICompany> other = connectTo(target(), environment);
  writer->StartTransaction();
  query(writer, u"UPDATE HVCOMP SET Country = 'FR'");
  query(other, u"UPDATE HVCOMP SET Currency = 'USD'");
  EXPECT_EQ(rowsOf(other, u"SELECT Country, Currency FROM HVCOMP"), u"FR|USD");
}

TEST_F(OpenCompanyTest, AFileThatIsDeletedWhileOpenIsReported) {
  const CComPtr<ICompany> company = connectTo(target());
  std::filesystem::remove(folder.file("company.db"));
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"UPDATE HVCOMP SET Country = 'FR'")); }),
            kSqlFailure);
  EXPECT_EQ(lastError(company).text,
            u"The company database '" + toUtf16(folder.file("company.db")) +
                u"' was moved or deleted while it was open. Connect again.");
  EXPECT_EQ(raisedBy([&] { company->StartTransaction(); }), kSqlFailure);
  EXPECT_EQ(addTable(company, u"QX"), kSqlFailure);
}

// The file and its folder may only be read, and no process has the file open.
TEST_F(OpenCompanyTest, AReadOnlyFileIsReadAndRefusesWrites) {
  connectTo(target());
  std::filesystem::permissions(folder.file("company.db"), std::filesystem::perms(0444));
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0555));
  const int result = runAsNobody([&] {
    const CComPtr<ICompany> company = companyFor(target());
    if (company->Connect() != 0) return 1;
    if (rowsOf(company, u"SELECT CompanyName FROM HVCOMP") != u"Demo") return 2;
    const auto rows = businessObject<IRecordset>(company, kRecordset);
    if (raisedBy([&] { rows->DoQuery(CComBSTR(u"UPDATE HVCOMP SET Country = 'FR'")); }) !=
        kSqlFailure) {
      return 3;
    }
    if (lastError(company).text !=
        u"The company database can only be read; there is no permission to write to it.") {
      return 4;
    }
    if (addTable(company, u"QX") != kSqlFailure) return 5;
    return raisedBy([&] { company->StartTransaction(); }) == kSqlFailure ? 0 : 6;
  });
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
  EXPECT_EQ(result, 0);
}

TEST_F(OpenCompanyTest, AReadOnlyFileIsReadWhileItsOwnerWrites) {
  // A new company is for its user alone; its companions get the rights that the file has.
  connectTo(target())->Disconnect();
  std::filesystem::permissions(folder.file("company.db"), std::filesystem::perms(0644));
  const CComPtr<ICompany> owner = connectTo(target());
  query(owner, u"UPDATE HVCOMP SET Country = 'FR'");
  std::filesystem::permissions(folder.file("company.db"), std::filesystem::perms(0444));
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
  const int result = runAsNobody([&] {
    const CComPtr<ICompany> company = companyFor(target());
    if (company->Connect() != 0) return 1;
    return rowsOf(company, u"SELECT Country FROM HVCOMP") == u"FR" ? 0 : 2;
  });
  EXPECT_EQ(result, 0);
}

TEST_F(OpenCompanyTest, AFileWithoutPermissionIsReported) {
  connectTo(target());
  std::filesystem::permissions(folder.file("company.db"), std::filesystem::perms(0600));
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
  const int result = runAsNobody([&] {
    const CComPtr<ICompany> company = companyFor(target());
    if (company->Connect() != kOpenFailed) return 1;
    return lastError(company).text.starts_with(u"There is no permission to open") ? 0 : 2;
  });
  // Without special rights the tests run as the owner of the file, who may open it.
  EXPECT_EQ(result, geteuid() == 0 ? 0 : 1);
}

TEST_F(OpenCompanyTest, AFolderWithoutPermissionIsReported) {
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0555));
  const int result = runAsNobody([&] {
    const CComPtr<ICompany> company = companyFor(target());
    if (company->Connect() != kOpenFailed) return 1;
    return lastError(company).text.starts_with(u"There is no permission to open") ? 0 : 2;
  });
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
  EXPECT_EQ(result, 0);
}

TEST_F(OpenCompanyTest, AFailureAtAnyStatementLeavesNoCompanyOrAWholeOne) {
  const auto tables = [&] {
    return ForeignProgram(folder.file("company.db")).ask("SELECT COUNT(*) FROM sqlite_master");
  };
  FaultPlan plan{0, 1, Fault::Full};
  const CComPtr<ICompany> company = companyFor(target(), testEnvironment(), failingOpen(&plan));
  std::vector<std::string> left;
  for (; company->Connect() != 0; plan = {0, plan.refuse + 1, Fault::Full}) {
    ASSERT_EQ(lastError(company), openFailed(u"The disk of the company database is full."));
    left.push_back(tables());
  }
  EXPECT_GT(std::count(left.begin(), left.end(), "0"), 20);
  EXPECT_EQ(
      std::count(left.begin(), left.end(), "0") + std::count(left.begin(), left.end(), tables()),
      static_cast<std::ptrdiff_t>(left.size()));
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM HVCOMP"), u"1");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM OFPR"), u"36");
}

TEST_F(OpenCompanyTest, ProcessesThatMakeTheSameCompanyAtOnceAllConnect) {
  constexpr int kProcesses = 6;
  std::array<int, 2> start{};
  ASSERT_EQ(pipe(start.data()), 0);
  std::vector<pid_t> children;
  for (int i = 0; i < kProcesses; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      close(start[1]);
      char go = 0;
      while (read(start[0], &go, 1) > 0) {
      }
      const CComPtr<ICompany> company = companyFor(target(), systemEnvironment());
      _exit(company->Connect() == 0 && rowsOf(company, u"SELECT COUNT(*) FROM HVCOMP") == u"1" ? 0
                                                                                               : 1);
    }
    children.push_back(child);
  }
  close(start[0]);
  close(start[1]);
  for (const pid_t child : children) {
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  }
}

}  // namespace
}  // namespace qx::desk
