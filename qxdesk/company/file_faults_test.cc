// What becomes of a company's file when a process is killed, the disk is full or the file or its
// log is damaged: a company stays the company that it was, or is refused with the reason.

#include "qxdesk/company/test_support.h"
#include "qxdesk/dictionary/company_schema.h"
#include "qxdesk/engines/open_database.h"
#include "qxdesk/engines/write_ahead_log.h"
#include "qxframework/automation/text.h"
#include "testing/cases.h"
#include "testing/faulty_disk.h"
#include "testing/file_content.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <fstream>
#include <random>

namespace qx::desk {
namespace {

namespace fs = std::filesystem;

/// The place, in bits, of the checksum of the first frame of a log. No open connection reads it.
constexpr std::uintmax_t kSumOfTheFirstFrame = 8 * (32 + 16);

/// A file that was closed in the regular way has no companions.
bool isOneFile(const fs::path& file) {
  return !fs::exists(logOf(file)) && !fs::exists(file.string() + "-shm") &&
         !fs::exists(file.string() + "-journal");
}

/// Runs `body` in a process of its own, which ends without closing anything. Returns its exit code,
/// or minus the signal that ended it.
int runAndEnd(const std::function<void()>& body) {
  const pid_t child = fork();
  if (child == 0) {
    body();
    _exit(0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

class FileFaults : public testing::Test {
 protected:
  LoginTarget target(const std::u16string& name = u"Demo") const {
    return {file.string(), kMssql, ln_English, u"manager", name};
  }
  /// Starts with the name of another company, which the file has if it has become a new one.
  CComPtr<ICompany> reopened() const { return companyFor(target(u"New")); }

  /// Makes a company with a table, and leaves as a kill does: rows, and more, are in the log.
  void leaveKilledCompany(int rows) const {
    ASSERT_EQ(runAndEnd([&] {
                const CComPtr<ICompany> company = connectTo(target());
                if (addTable(company, u"QX") != 0) _exit(1);
                for (int i = 0; i < rows; ++i) insert(company, i);
                kill(getpid(), SIGKILL);
              }),
              -SIGKILL);
  }
  static void insert(const CComPtr<ICompany>& company, int code) {
    const std::u16string text = toUtf16(std::to_string(code));
    query(company, u"INSERT INTO [@QX] (Code, Name) VALUES ('" + text + u"', '" + text + u"')");
  }
  static void flipBit(const fs::path& path, std::uintmax_t bit) {
    std::fstream bytes(path, std::ios::in | std::ios::out | std::ios::binary);
    bytes.seekg(static_cast<std::streamoff>(bit / 8));
    const int flipped = bytes.get() ^ (1 << (bit % 8));
    bytes.seekp(static_cast<std::streamoff>(bit / 8));
    bytes.put(static_cast<char>(flipped));
  }
  void removeAll() const {
    for (const char* end : {"", "-wal", "-shm", "-journal"}) fs::remove(file.string() + end);
  }
  std::u16string lost() const {
    return u"The database '" + file.u16string() +
           u"' has held a company, but its tables are not in the file, and the log '" +
           logOf(file).u16string() +
           u"' does not bring them back. Restore both files from a backup, or delete both to begin "
           u"a new company.";
  }
  std::u16string logDamaged() const {
    return u"The company database '" + file.u16string() + u"' is damaged: the log '" +
           logOf(file).u16string() +
           u"' has a damaged place, and the changes behind it cannot be read. Restore both files "
           u"from a backup. Without a backup, delete the log; the changes in it are then lost.";
  }

  test::TempFolder folder;
  fs::path file = folder.path() / "company.db";
};

// ---- the regular end

TEST_F(FileFaults, ADisconnectedCompanyIsOneFile) {
  const CComPtr<ICompany> company = connectTo(target());
  EXPECT_EQ(addTable(company, u"QX"), 0);
  company->Disconnect();
  EXPECT_TRUE(isOneFile(file));
}

TEST_F(FileFaults, TheEndOfTheProcessClosesACompanyThatIsStillHeld) {
  EXPECT_EQ(runAndEnd([&] {
              const CComPtr<ICompany> company = connectTo(target());
              if (addTable(company, u"QX") != 0) _exit(1);
              company.p->AddRef();
              std::exit(0);
            }),
            0);
  EXPECT_TRUE(isOneFile(file));
  EXPECT_EQ(rowsOf(connectTo(target()), u"SELECT TableName FROM HVUTAB"), u"QX");
}

// ---- kills

TEST_F(FileFaults, ANewCompanyIsInItsFileBeforeItIsConnected) {
  leaveKilledCompany(0);
  fs::remove(logOf(file));
  EXPECT_EQ(rowsOf(connectTo(target(u"New")), u"SELECT CompanyName FROM HVCOMP"), u"Demo");
}

TEST_F(FileFaults, AKilledProcessLeavesItsRowsToTheNext) {
  leaveKilledCompany(20);
  EXPECT_FALSE(isOneFile(file));
  const CComPtr<ICompany> company = connectTo(target(u"New"));
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM [@QX]"), u"20");
  company->Disconnect();
  EXPECT_TRUE(isOneFile(file));
}

/// Kills a process that makes a company and writes to it, first at each change of a file, later at
/// fewer and fewer, and opens the company after each kill.
TEST_F(FileFaults, AKillAtAnyChangeOfAFileKeepsWhatWasAcknowledged) {
  int kills = 0;
  for (int at = 1;; at += 1 + kills / 12, ++kills) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    const int result = runAndEnd([&] {
      test::FaultyDisk disk;
      disk.beforeChange = [&](int number) {
        if (number == at) kill(getpid(), SIGKILL);
      };
      const CComPtr<ICompany> company = connectTo(target());
      if (addTable(company, u"QX") != 0) _exit(1);
      for (int i = 0; i < 5; ++i) {
        insert(company, i);
        if (write(ends[1], "x", 1) != 1) _exit(2);
      }
    });
    close(ends[1]);
    std::array<char, 8> acknowledged{};
    const ssize_t rows = read(ends[0], acknowledged.data(), acknowledged.size());
    close(ends[0]);
    const CComPtr<ICompany> company = connectTo(target());
    EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM OFPR"), u"36") << at;
    if (rows > 0) {
      EXPECT_GE(std::stol(toUtf8(rowsOf(company, u"SELECT COUNT(*) FROM [@QX]"))), rows) << at;
    }
    company->Disconnect();
    EXPECT_TRUE(isOneFile(file)) << at;
    removeAll();
    if (result == 0) break;
    ASSERT_EQ(result, -SIGKILL) << at;
  }
  EXPECT_GT(kills, 20);
}

// ---- full disks

TEST_F(FileFaults, AFullDiskAtAnyWriteIsReportedAndTheNextConnectSucceeds) {
  test::FaultyDisk disk;
  int refused = 0;
  for (int at = 1;; at += 1 + refused / 12, ++refused) {
    disk.changes = 0;
    disk.beforeChange = [&](int number) { disk.full = number >= at; };
    CComPtr<ICompany> company = companyFor(target());
    const long result = company->Connect();
    disk.beforeChange = nullptr;
    disk.full = false;
    if (result == 0) break;
    EXPECT_EQ(lastError(company), (LastError{kOpenFailed,
                                             u"The disk of the company database is "
                                             u"full."}))
        << at;
    EXPECT_EQ(company->Connect(), 0) << at << ": " << toUtf8(lastError(company).text);
    EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM OFPR"), u"36") << at;
    company->Disconnect();
    EXPECT_TRUE(isOneFile(file)) << at;
    removeAll();
  }
  EXPECT_GT(refused, 15);
}

// ---- damage

/// Returns the number of rows that the company has, -1 if it was refused for a damage that the
/// message names, and -2 for anything else.
long rowsAfterDamage(const CComPtr<ICompany>& company,
                     const std::vector<std::u16string>& refusals) {
  const auto refused = [&] {
    return std::any_of(refusals.begin(), refusals.end(), [&](const std::u16string& text) {
      return lastError(company).text.starts_with(text);
    });
  };
  if (company->Connect() != 0) return refused() ? -1 : -2;
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  if (rows->raw_DoQuery(CComBSTR(u"SELECT COUNT(*), (SELECT CompanyName FROM HVCOMP) FROM [@QX]")) <
      0) {
    return refused() ? -1 : -2;
  }
  if (cellText(rows->GetFields()->Item(1)->GetValue()) == u"New") return -2;
  return std::stol(toUtf8(cellText(rows->GetFields()->Item(0)->GetValue())));
}

/// Flips each time one bit of the log that a kill has left.
TEST_F(FileFaults, AFlippedBitInTheLogIsReportedOrLosesTheLastTransactionAtMost) {
  constexpr int kRows = 12;
  const std::size_t flips = test::cases(80);
  leaveKilledCompany(kRows);
  const std::string content = test::contentOf(file);
  const std::string log = test::contentOf(logOf(file));
  std::mt19937 random(20261122);
  std::uniform_int_distribution<std::uintmax_t> bits(0, 8 * log.size() - 1);
  std::size_t reported = 0;
  for (std::size_t i = 0; i < flips; ++i) {
    removeAll();
    folder.write("company.db", content);
    folder.write("company.db-wal", log);
    const std::uintmax_t bit = bits(random);
    flipBit(logOf(file), bit);
    const std::string damaged = test::contentOf(logOf(file));
    const long rows = rowsAfterDamage(reopened(), {logDamaged()});
    EXPECT_TRUE(rows == -1 || rows >= kRows - 1) << "bit " << bit << ": " << rows;
    if (rows != -1) continue;
    ++reported;
    // The refusal changes nothing: the next start reports the same.
    EXPECT_EQ(test::contentOf(file), content) << "bit " << bit;
    EXPECT_EQ(test::contentOf(logOf(file)), damaged) << "bit " << bit;
  }
  EXPECT_GT(reported, flips / 2);
}

TEST_F(FileFaults, ADamagedLogIsRefusedUntilItIsDeleted) {
  leaveKilledCompany(3);
  flipBit(logOf(file), kSumOfTheFirstFrame);
  for (int start = 0; start < 2; ++start) {
    const CComPtr<ICompany> company = reopened();
    EXPECT_EQ(company->Connect(), kOpenFailed);
    EXPECT_EQ(lastError(company), (LastError{kOpenFailed, logDamaged()}));
  }
  fs::remove(logOf(file));
  EXPECT_EQ(rowsOf(connectTo(target(u"New")), u"SELECT CompanyName FROM HVCOMP"), u"Demo");
}

TEST_F(FileFaults, TheLogOfAFileIsFoundThroughALink) {
  leaveKilledCompany(3);
  flipBit(logOf(file), kSumOfTheFirstFrame);
  fs::create_directory(folder.path() / "links");
  LoginTarget linked = target();
  linked.database = (folder.path() / "links" / "link.db").string();
  fs::create_symlink(file, linked.database);
  const CComPtr<ICompany> company = companyFor(linked);
  EXPECT_EQ(company->Connect(), kOpenFailed);
  EXPECT_TRUE(lastError(company).text.starts_with(
      u"The company database '" + toUtf16(linked.database) + u"' is damaged: the log '" +
      logOf(file).u16string() + u"' has"))
      << toUtf8(lastError(company).text);
}

// A process that has the file open has read all of the log; what the log's file then looks like is
// of no interest.
TEST_F(FileFaults, ALogThatIsInUseIsNotTakenForADamagedOne) {
  const CComPtr<ICompany> writer = connectTo(target());
  addTable(writer, u"QX");
  writer->StartTransaction();
  insert(writer, 1);
  flipBit(logOf(file), kSumOfTheFirstFrame);
  const CComPtr<ICompany> other = companyFor(target());
  EXPECT_EQ(other->Connect(), 0);
  flipBit(logOf(file), kSumOfTheFirstFrame);
  writer->EndTransaction(et_Commit);
}

TEST_F(FileFaults, AFlippedBitInTheFileNeverMakesANewCompany) {
  const std::size_t flips = test::cases(240);
  {
    const CComPtr<ICompany> company = connectTo(target());
    addTable(company, u"QX");
    insert(company, 1);
  }
  const std::string content = test::contentOf(file);
  std::mt19937 random(20261122);
  std::uniform_int_distribution<std::uintmax_t> bits(0, 8 * content.size() - 1);
  std::uniform_int_distribution<std::uintmax_t> headBits(0, 8 * 4096 - 1);
  std::size_t reported = 0;
  for (std::size_t i = 0; i < flips; ++i) {
    removeAll();
    folder.write("company.db", content);
    // Half of them in the first page, which decides what the file is.
    const std::uintmax_t bit = i % 2 == 0 ? headBits(random) : bits(random);
    flipBit(file, bit);
    const long rows = rowsAfterDamage(reopened(), {u""});  // whatever the reason
    EXPECT_NE(rows, -2) << "bit " << bit;
    if (rows == -1) ++reported;
  }
  EXPECT_GT(reported, 0U);
}

TEST_F(FileFaults, AFileThatWasCutOffIsRefused) {
  connectTo(target());
  const std::string content = test::contentOf(file);
  for (const std::size_t size : {std::size_t{2}, std::size_t{99}, std::size_t{4096},
                                 std::size_t{8192}, content.size() - 4096}) {
    removeAll();
    folder.write("company.db", std::string_view(content).substr(0, size));
    const CComPtr<ICompany> company = reopened();
    EXPECT_EQ(company->Connect(), kOpenFailed) << size;
    EXPECT_FALSE(lastError(company).text.empty()) << size;
    EXPECT_EQ(fs::file_size(file), size);
  }
}

// ---- files that have had a company

TEST_F(FileFaults, AnEmptyFileBesideALogIsRefusedAndTheLogIsKept) {
  leaveKilledCompany(1);
  const std::string log = test::contentOf(logOf(file));
  for (const char* content : {"", "x"}) {
    removeAll();
    folder.write("company.db", content);
    folder.write("company.db-wal", log);
    const CComPtr<ICompany> company = reopened();
    EXPECT_EQ(company->Connect(), kOpenFailed);
    EXPECT_EQ(lastError(company), (LastError{kOpenFailed, lost()}));
    EXPECT_EQ(test::contentOf(logOf(file)), log);
    EXPECT_EQ(test::contentOf(file), content);
  }
}

TEST_F(FileFaults, ALogWhoseFileIsGoneIsSetAside) {
  leaveKilledCompany(1);
  const std::string log = test::contentOf(logOf(file));
  fs::remove(file);
  EXPECT_EQ(rowsOf(connectTo(target(u"New")), u"SELECT CompanyName FROM HVCOMP"), u"New");
  EXPECT_EQ(test::contentOf(logOf(file).string() + ".lost"), log);
}

// Earlier versions made the company in the log, beside a file of one empty page.
class OldFile : public FileFaults {
 protected:
  OldFile() {
    EXPECT_EQ(runAndEnd([&] {
                std::ofstream(file.string());
                const auto database = openDatabase(file.string(), testEnvironment());
                database->share();
                ensureCompany(*database, target(), testEnvironment());
                kill(getpid(), SIGKILL);
              }),
              -SIGKILL);
    EXPECT_EQ(fs::file_size(file), 4096U);
  }
};

TEST_F(OldFile, IsReadWithItsLog) {
  const CComPtr<ICompany> company = connectTo(target(u"New"));
  EXPECT_EQ(rowsOf(company, u"SELECT CompanyName FROM HVCOMP"), u"Demo");
  company->Disconnect();
  EXPECT_TRUE(isOneFile(file));
}

TEST_F(OldFile, IsRefusedWithADamagedLogAndWithout) {
  flipBit(logOf(file), kSumOfTheFirstFrame);
  const std::string log = test::contentOf(logOf(file));
  for (int start = 0; start < 2; ++start) {
    const CComPtr<ICompany> company = reopened();
    EXPECT_EQ(company->Connect(), kOpenFailed);
    EXPECT_EQ(lastError(company), (LastError{kOpenFailed, lost()}));
    EXPECT_EQ(test::contentOf(logOf(file)), log);
  }
  fs::remove(logOf(file));
  const CComPtr<ICompany> company = reopened();
  EXPECT_EQ(company->Connect(), kOpenFailed);
  EXPECT_EQ(lastError(company), (LastError{kOpenFailed, lost()}));
}

}  // namespace
}  // namespace qx::desk
