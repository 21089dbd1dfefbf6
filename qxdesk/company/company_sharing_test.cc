#include "qxframework/host/company_sharing.h"

#include "qxdesk/company/test_support.h"
#include "qxframework/automation/text.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace qx::desk {

namespace {

constexpr long kPatient = 10'000;  // milliseconds; far more than any of the waits here take

CComPtr<ICompanySharing> sharingOf(const CComPtr<ICompany>& company) {
  CComPtr<ICompanySharing> sharing(CComQIPtr<ICompanySharing>(company).p);
  EXPECT_NE(sharing.p, nullptr);
  return sharing;
}

class CompanySharingTest : public CompanyTest {
 protected:
  CompanySharingTest() : sharing(sharingOf(company)) {}
  /// Returns the holder if the tables cannot be locked, else "granted".
  static std::u16string lockOf(const CComPtr<ICompanySharing>& one, long milliseconds = 0) {
    CComBSTR holder;
    if (one->LockTables(milliseconds, holder)) return u"granted";
    return withoutNumbers(holder.View());
  }
  std::u16string byThisProgram() const {
    return words(u"the program 'qxdesk_company_test' (process #)",
                 u"the program 'tester' (process #)");
  }
  /// Starts a process that takes the lock of the tables, and returns once it has it.
  pid_t startHolder() const;

  CComPtr<ICompanySharing> sharing;
};

pid_t CompanySharingTest::startHolder() const {
  std::array<int, 2> ready{};
  EXPECT_EQ(pipe(ready.data()), 0);
  const pid_t child = fork();
  if (child == 0) {
    const CComPtr<ICompany> own = another();
    CComBSTR holder;
    const char report = sharingOf(own)->LockTables(0, holder) ? 'y' : 'n';
    static_cast<void>(!write(ready[1], &report, 1));
    for (;;) pause();
  }
  char report = 0;
  EXPECT_EQ(read(ready[0], &report, 1), 1);
  EXPECT_EQ(report, 'y');
  close(ready[0]);
  close(ready[1]);
  return child;
}

TEST_P(CompanySharingTest, CodesContinueBehindTheHighestOne) {
  ASSERT_EQ(addTable(company, u"T"), 0);
  EXPECT_TRUE(sharing->ContinueCodes(CComBSTR(u"@T"), 0));
  query(company, u"INSERT INTO [@T] (Code, Name) VALUES ('0000000A', 'x')");
  EXPECT_TRUE(sharing->ContinueCodes(CComBSTR(u"@T"), 11));
  EXPECT_FALSE(sharing->ContinueCodes(CComBSTR(u"@T"), 10));
}

TEST_P(CompanySharingTest, AMissingTableHasNoCodes) {
  EXPECT_EQ(raisedBy([&] { sharing->ContinueCodes(CComBSTR(u"@NONE"), 1); }), kNotFound);
  EXPECT_EQ(lastError(company), (LastError{kNotFound, u"There is no table '@NONE'."}));
}

TEST_P(CompanySharingTest, TheFaultBelongsToTheLastOperation) {
  ASSERT_EQ(addTable(company, u"T"), 0);
  EXPECT_EQ(sharing->GetLastFault(), kNoFault);
  query(company, u"INSERT INTO [@T] (Code, Name) VALUES ('A', 'x')");
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  const CComBSTR again(u"INSERT INTO [@T] (Code, Name) VALUES ('A', 'y')");
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(again); }), kSqlFailure);
  EXPECT_EQ(sharing->GetLastFault(), kDuplicateFault);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT * FROM [@NONE]")); }), kSqlFailure);
  EXPECT_EQ(sharing->GetLastFault(), kOtherFault);
  rows->DoQuery(CComBSTR(u"SELECT Code FROM [@T]"));
  EXPECT_EQ(sharing->GetLastFault(), kNoFault);
}

TEST_P(CompanySharingTest, ALockedRowIsALockedFaultAndTheTransactionStaysOpen) {
  const CComPtr<ICompany> writer = another();
  writer->StartTransaction();
  query(writer, u"UPDATE HVCOMP SET Country = 'FR'");
  // The embedded file has one writer: there already the second transaction finds it locked.
  const auto change = [&] {
    company->StartTransaction();
    query(company, u"UPDATE HVITEM SET InStock = 3 WHERE ItemNo = 'A1000'");
    businessObject<IRecordset>(company, kRecordset)
        ->DoQuery(CComBSTR(u"UPDATE HVCOMP SET Country = 'IT'"));
  };
  EXPECT_EQ(raisedBy(change), kSqlFailure);
  EXPECT_EQ(sharing->GetLastFault(), kLockedFault);
  const bool onServer = GetParam() == Engine::Postgres;
  EXPECT_EQ(company->GetInTransaction(), onServer ? VARIANT_TRUE : VARIANT_FALSE);
  writer->EndTransaction(et_RollBack);
  if (onServer) company->EndTransaction(et_Commit);
  EXPECT_EQ(rowsOf(company, u"SELECT InStock FROM HVITEM WHERE ItemNo = 'A1000'"),
            onServer ? u"3" : u"0");
}

TEST_P(CompanySharingTest, TablesAreLockedForOthersUntilTheyAreUnlocked) {
  const CComPtr<ICompany> other = another();
  EXPECT_EQ(lockOf(sharing), u"granted");
  EXPECT_EQ(lockOf(sharingOf(other)), byThisProgram());
  sharing->UnlockTables();
  EXPECT_EQ(lockOf(sharingOf(other)), u"granted");
  EXPECT_EQ(lockOf(sharing), byThisProgram());
}

TEST_P(CompanySharingTest, TheHolderIsNamedInTheLanguageOfTheUser) {
  const CComPtr<ICompany> other = another();
  EXPECT_EQ(lockOf(sharingOf(other)), u"granted");
  company->PutLanguage(ln_German);
  EXPECT_EQ(lockOf(sharing), words(u"das Programm 'qxdesk_company_test' (Prozess #)",
                                   u"das Programm 'tester' (Prozess #)"));
}

TEST_P(CompanySharingTest, UnlockingKeepsTheErrorOfTheWorkBeforeIt) {
  EXPECT_EQ(lockOf(sharing), u"granted");
  EXPECT_EQ(addTable(company, u""), kInvalidValue);
  const LastError before = lastError(company);
  sharing->UnlockTables();
  EXPECT_EQ(lastError(company), before);
  EXPECT_EQ(sharing->GetLastFault(), kOtherFault);
  EXPECT_EQ(raisedBy([&] { sharing->UnlockTables(); }), kWrongTransactionState);
  EXPECT_EQ(lastError(company).code, kWrongTransactionState);
}

TEST_P(CompanySharingTest, TablesAreUnlockedAsOftenAsTheyWereLocked) {
  const CComPtr<ICompany> other = another();
  EXPECT_EQ(lockOf(sharing), u"granted");
  EXPECT_EQ(lockOf(sharing), u"granted");
  sharing->UnlockTables();
  EXPECT_EQ(lockOf(sharingOf(other)), byThisProgram());
  sharing->UnlockTables();
  EXPECT_EQ(lockOf(sharingOf(other)), u"granted");
}

TEST_P(CompanySharingTest, TablesThatAreNotLockedCannotBeUnlocked) {
  EXPECT_EQ(raisedBy([&] { sharing->UnlockTables(); }), kWrongTransactionState);
  EXPECT_EQ(lastError(company), (LastError{kWrongTransactionState,
                                           u"This connection does not hold the lock of the "
                                           u"tables."}));
}

TEST_P(CompanySharingTest, WithoutAConnectionThereIsNoLock) {
  EXPECT_EQ(lockOf(sharing), u"granted");
  company->Disconnect();
  CComBSTR holder;
  EXPECT_EQ(raisedBy([&] { sharing->LockTables(0, holder); }), kNotConnected);
  EXPECT_EQ(raisedBy([&] { sharing->UnlockTables(); }), kNotConnected);
  EXPECT_EQ(raisedBy([&] { sharing->ContinueCodes(CComBSTR(u"@T"), 1); }), kNotConnected);
  EXPECT_EQ(lockOf(sharingOf(another())), u"granted");
}

TEST_P(CompanySharingTest, TheLockOutlastsATransaction) {
  const CComPtr<ICompany> other = another();
  company->StartTransaction();
  EXPECT_EQ(lockOf(sharing), u"granted");
  company->EndTransaction(et_RollBack);
  EXPECT_EQ(lockOf(sharingOf(other)), byThisProgram());
}

TEST_P(CompanySharingTest, TheLockOfAStoppedProgramIsKeptUntilItIsKilled) {
  const pid_t child = startHolder();
  kill(child, SIGSTOP);
  EXPECT_EQ(lockOf(sharing), byThisProgram());
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  // A server notices the end of a program a moment later.
  const CComPtr<ICompany> patient = connectTo(target(), systemEnvironment());
  EXPECT_EQ(lockOf(sharingOf(patient), kPatient), u"granted");
}

TEST_P(CompanySharingTest, TablesAreMadeUnderTheLockAndMayBeMadeWithoutIt) {
  const CComPtr<ICompany> other = another();
  EXPECT_EQ(lockOf(sharing), u"granted");
  EXPECT_EQ(addTable(company, u"A"), 0);
  EXPECT_EQ(addField(company, {u"A", u"F", kNumericField}), 0);
  sharing->UnlockTables();
  EXPECT_EQ(addTable(other, u"B"), 0);
}

QX_TEST_ON_ALL_ENGINES(CompanySharingTest);

}  // namespace

}  // namespace qx::desk
