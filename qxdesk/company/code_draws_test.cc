// Programs that draw codes from one table: at once, killed or idle in the middle, inside and
// outside of transactions.

#include "qxdesk/engines/code_draws.h"

#include "qxdesk/company/test_support.h"
#include "qxdesk/engines/lock_file.h"
#include "qxdesk/engines/open_database.h"
#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/company_sharing.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>

namespace qx::desk {
namespace {

namespace fs = std::filesystem;

/// Returns the code that follows the highest one, as the framework draws it.
std::u16string draw(const CComPtr<ICompany>& company) {
  const CComPtr<IRecordset> rows = query(company, u"SELECT MAX(Code) FROM [@T]");
  CComVariant highest = rows->GetFields()->Item(0L)->GetValue();
  const std::u16string code = cellText(highest);
  const long next = code.empty() ? 0 : std::stol(toUtf8(code), nullptr, 16) + 1;
  return format(u"%08X", next);
}

bool insert(const CComPtr<ICompany>& company, const std::u16string& code) {
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  return rows->raw_DoQuery(CComBSTR(u"INSERT INTO [@T] (Code, Name) VALUES (N'" + code + u"', N'" +
                                    code + u"')")) == S_OK;
}

bool add(const CComPtr<ICompany>& company) { return insert(company, draw(company)); }

bool addInTransaction(const CComPtr<ICompany>& company) {
  if (company->raw_StartTransaction() != S_OK) return false;
  const bool added = add(company);
  return company->raw_EndTransaction(added ? et_Commit : et_RollBack) == S_OK && added;
}

std::u16string allCodes(int count) { return toUtf16(std::to_string(count)); }

class CodeDrawsTest : public CompanyTest {
 protected:
  CodeDrawsTest() { EXPECT_EQ(addTable(company, u"T"), 0); }

  /// Runs the work in as many processes at once, and returns the sum of what they return.
  int inProcesses(int count, const std::function<int(const CComPtr<ICompany>&)>& work) const {
    std::array<int, 2> start{};
    EXPECT_EQ(pipe(start.data()), 0);
    std::vector<pid_t> children;
    for (int i = 0; i < count; ++i) {
      children.push_back(fork());
      if (children.back() == 0) {
        const CComPtr<ICompany> own = connectTo(target(), systemEnvironment());
        close(start[1]);
        char none = 0;
        const bool go = read(start[0], &none, 1) == 0;  // until the parent closes its end
        _exit(go ? work(own) : 255);
      }
    }
    close(start[1]);
    close(start[0]);
    int sum = 0;
    for (const pid_t child : children) {
      int status = 0;
      waitpid(child, &status, 0);
      sum += WIFEXITED(status) ? WEXITSTATUS(status) : 1000;
    }
    return sum;
  }
  /// Expects so many rows, with the codes from 0 on.
  void expectRows(int count) {
    EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*), MIN(Code), MAX(Code) FROM [@T]"),
              format(u"%d|00000000|%08X", count, count - 1));
  }
};

constexpr int kAdds = 20;

TEST_P(CodeDrawsTest, AddsOfProcessesAtOnceAllSucceed) {
  int rows = 0;
  for (const int processes : {2, 4, 8, 16}) {
    const int failed = inProcesses(processes, [](const CComPtr<ICompany>& own) {
      int bad = 0;
      for (int i = 0; i < kAdds; ++i) bad += add(own) ? 0 : 1;
      return bad;
    });
    EXPECT_EQ(failed, 0) << processes;
    rows += processes * kAdds;
  }
  expectRows(rows);
}

TEST_P(CodeDrawsTest, AddsInTransactionsAtOnceAllSucceed) {
  const int failed = inProcesses(8, [](const CComPtr<ICompany>& own) {
    int bad = 0;
    for (int i = 0; i < kAdds; ++i) bad += addInTransaction(own) ? 0 : 1;
    return bad;
  });
  EXPECT_EQ(failed, 0);
  expectRows(8 * kAdds);
}

TEST_P(CodeDrawsTest, AddsInsideAndOutsideOfTransactionsAtOnceAllSucceed) {
  const int failed = inProcesses(6, [](const CComPtr<ICompany>& own) {
    int bad = 0;
    for (int i = 0; i < kAdds; ++i) {
      bad += (i + getpid()) % 2 == 0 ? !addInTransaction(own) : !add(own);
    }
    return bad;
  });
  EXPECT_EQ(failed, 0);
  expectRows(6 * kAdds);
}

// The second one waits until the first one has shown to do nothing, and only once.
TEST_P(CodeDrawsTest, ADrawWithoutAnInsertStopsOthersForAShortTimeOnly) {
  EXPECT_EQ(draw(company), u"00000000");
  const CComPtr<ICompany> other = another();
  EXPECT_TRUE(add(other));
  EXPECT_TRUE(add(other));
  expectRows(2);
}

TEST_P(CodeDrawsTest, AProcessThatIsStoppedAfterTheDrawStopsOthersForAShortTimeOnly) {
  std::array<int, 2> ready{};
  ASSERT_EQ(pipe(ready.data()), 0);
  const pid_t child = fork();
  if (child == 0) {
    const CComPtr<ICompany> own = connectTo(target(), systemEnvironment());
    draw(own);
    if (write(ready[1], "d", 1) == 1) pause();
    _exit(1);
  }
  char drawn = 0;
  ASSERT_EQ(read(ready[0], &drawn, 1), 1);
  kill(child, SIGSTOP);
  EXPECT_TRUE(add(company));
  EXPECT_TRUE(addInTransaction(company));
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_TRUE(add(company));
  expectRows(3);
}

TEST_P(CodeDrawsTest, OthersStayProtectedFromEachOtherBesideAnIdleDraw) {
  draw(company);
  const CComPtr<ICompany> other = another();
  EXPECT_TRUE(add(other));
  const int failed = inProcesses(4, [](const CComPtr<ICompany>& own) {
    int bad = 0;
    for (int i = 0; i < kAdds; ++i) bad += add(own) ? 0 : 1;
    return bad;
  });
  EXPECT_EQ(failed, 0);
  expectRows(1 + 4 * kAdds);
}

TEST_P(CodeDrawsTest, AProcessThatIsKilledAfterTheDrawStopsNoOne) {
  std::array<int, 2> ready{};
  ASSERT_EQ(pipe(ready.data()), 0);
  const pid_t child = fork();
  if (child == 0) {
    draw(connectTo(target(), systemEnvironment()));
    if (write(ready[1], "d", 1) == 1) pause();
    _exit(1);
  }
  char drawn = 0;
  ASSERT_EQ(read(ready[0], &drawn, 1), 1);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  EXPECT_TRUE(add(company));
  expectRows(1);
}

TEST_P(CodeDrawsTest, AnInsertThatFailsEndsTheDraw) {
  EXPECT_TRUE(add(company));
  draw(company);
  EXPECT_FALSE(insert(company, u"00000000"));
  EXPECT_EQ(CComPtr<ICompanySharing>(CComQIPtr<ICompanySharing>(company).p)->GetLastFault(),
            kDuplicateFault);
  CompanyEnvironment patient = testEnvironment();
  patient.drawTimeoutMs = 600'000;
  EXPECT_TRUE(add(connectTo(target(), patient)));
  expectRows(2);
}

TEST_P(CodeDrawsTest, ADrawAndAnInsertMayBeginAndEndInATransaction) {
  const std::u16string code = draw(company);
  company->StartTransaction();
  EXPECT_TRUE(insert(company, code));
  EXPECT_TRUE(add(company));
  company->EndTransaction(et_Commit);
  EXPECT_TRUE(add(another()));
  expectRows(3);
}

TEST_P(CodeDrawsTest, ARolledBackRowLeavesItsCodeToTheNextOne) {
  company->StartTransaction();
  EXPECT_TRUE(add(company));
  company->EndTransaction(et_RollBack);
  EXPECT_TRUE(add(another()));
  expectRows(1);
}

TEST_P(CodeDrawsTest, ATableThatTheTransactionHasMadeGivesItsOwnCodes) {
  company->StartTransaction();
  EXPECT_EQ(addTable(company, u"NEW"), 0);
  EXPECT_EQ(rowsOf(company, u"SELECT MAX(Code) FROM [@NEW]"), u"");
  query(company, u"INSERT INTO [@NEW] (Code, Name) VALUES ('00000000', 'x')");
  EXPECT_EQ(rowsOf(company, u"SELECT MAX(Code) FROM [@NEW]"), u"00000000");
  company->EndTransaction(et_Commit);
}

TEST_P(CodeDrawsTest, AWrongDrawHoldsNothing) {
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_NE(rows->raw_DoQuery(CComBSTR(u"SELECT MAX(Code) FROM [@NONE]")), S_OK);
  EXPECT_TRUE(add(another()));
}

TEST_P(CodeDrawsTest, ContinuedCodesAreDrawnToo) {
  EXPECT_TRUE(add(company));
  const CComQIPtr<ICompanySharing> sharing(company.p);
  EXPECT_TRUE(sharing->ContinueCodes(CComBSTR(u"@T"), 1));
  EXPECT_TRUE(insert(company, u"00000001"));
  EXPECT_TRUE(add(another()));
  EXPECT_FALSE(sharing->ContinueCodes(CComBSTR(u"@T"), 2));
  EXPECT_TRUE(sharing->ContinueCodes(CComBSTR(u"@T"), 3));
}

QX_TEST_ON_ALL_ENGINES(CodeDrawsTest);

// ---- on a server only

using ServerDraws = CodeDrawsTest;

TEST_P(ServerDraws, ATransactionDrawsAfterTheRowsThatOthersHaveAddedSinceItBegan) {
  const auto own = openDatabase(database, testEnvironment());
  own->begin();
  own->execute("SET TRANSACTION ISOLATION LEVEL REPEATABLE READ");
  EXPECT_EQ(own->queryInteger("SELECT COUNT(*) FROM [@T]"), 0);
  EXPECT_TRUE(add(company));
  EXPECT_EQ(own->codeDraws()->highest(*own, "@T"), "00000000");
  own->execute("INSERT INTO [@T] ([Code], [Name]) VALUES ('00000001', 'x')");
  EXPECT_EQ(own->codeDraws()->highest(*own, "@T"), "00000001");
  own->commit();
  expectRows(2);
}

TEST_P(ServerDraws, ADrawInATransactionIsWaitedForUntilTheTimeIsOver) {
  company->StartTransaction();
  EXPECT_TRUE(add(company));
  const CComPtr<ICompany> other = another();
  const auto rows = businessObject<IRecordset>(other, kRecordset);
  EXPECT_EQ(rows->raw_DoQuery(CComBSTR(u"SELECT MAX(Code) FROM [@T]")), kSqlFailure);
  EXPECT_EQ(CComQIPtr<ICompanySharing>(other.p)->GetLastFault(), kLockedFault);
  company->EndTransaction(et_Commit);
  EXPECT_TRUE(add(other));
  expectRows(2);
}

INSTANTIATE_TEST_SUITE_P(Postgres, ServerDraws, testing::Values(Engine::Postgres));

// ---- on a file only

class FileDraws : public CodeDrawsTest {
 protected:
  /// Connects anew, after `change` of the lock file's place.
  template <class Change>
  bool addsAfter(Change change) {
    company->Disconnect();
    change(lockFileOf(database));
    company = connectTo(target());
    const bool good = add(company) && addInTransaction(company);
    company->Disconnect();
    return good;
  }
};

TEST_P(FileDraws, ACompanyWithoutALockFileWorks) {
  EXPECT_TRUE(addsAfter([](const fs::path& file) { fs::create_directory(file); }));
  EXPECT_TRUE(addsAfter([](const fs::path& file) {
    fs::remove(file);
    fs::create_symlink("/nowhere/else", file);
  }));
  EXPECT_TRUE(addsAfter([](const fs::path& file) {
    fs::remove(file);
    std::ofstream(file) << "something else";
  }));
}

TEST_P(FileDraws, AStopLeavesNoLockFile) {
  EXPECT_TRUE(fs::exists(lockFileOf(database)));
  EXPECT_TRUE(addsAfter([](const fs::path&) {}));
  EXPECT_FALSE(fs::exists(lockFileOf(database)));
}

TEST_P(FileDraws, TwoCompaniesInOneProcessDoNotWaitForEachOther) {
  CompanyEnvironment patient = testEnvironment();
  patient.drawTimeoutMs = 600'000;
  const LoginTarget elsewhere{place.folder.file("second.db"), kMssql, ln_English, u"manager", u"B"};
  const CComPtr<ICompany> second = connectTo(elsewhere, patient);
  ASSERT_EQ(addTable(second, u"T"), 0);
  draw(company);
  EXPECT_TRUE(add(second));
  EXPECT_EQ(rowsOf(second, u"SELECT COUNT(*) FROM [@T]"), allCodes(1));
}

INSTANTIATE_TEST_SUITE_P(Sqlite, FileDraws, testing::Values(Engine::Sqlite));

}  // namespace
}  // namespace qx::desk
