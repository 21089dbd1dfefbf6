#include "qxdesk/company/company_session.h"
#include "qxdesk/company/test_support.h"
#include "qxdesk/engines/sqlite_tables.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace qx::desk {
namespace {

class TransactionTest : public CompanyTest {
 protected:
  TransactionTest() { EXPECT_EQ(addTable(company, u"QX"), 0); }
  void insert(const CComPtr<ICompany>& by, const std::u16string& code) {
    query(by, u"INSERT INTO [@QX] (Code, Name) VALUES ('" + code + u"', 'n')");
  }
  std::u16string codes(const CComPtr<ICompany>& by) {
    return rowsOf(by, u"SELECT Code FROM [@QX] ORDER BY Code");
  }
};

TEST_P(TransactionTest, ACommitKeepsTheRows) {
  EXPECT_EQ(company->GetInTransaction(), VARIANT_FALSE);
  company->StartTransaction();
  EXPECT_EQ(company->GetInTransaction(), VARIANT_TRUE);
  insert(company, u"1");
  EXPECT_EQ(codes(another()), u"");
  company->EndTransaction(et_Commit);
  EXPECT_EQ(company->GetInTransaction(), VARIANT_FALSE);
  EXPECT_EQ(codes(another()), u"1");
}

TEST_P(TransactionTest, ARollbackForgetsThem) {
  insert(company, u"0");
  company->StartTransaction();
  insert(company, u"1");
  EXPECT_EQ(codes(company), u"0\n1");
  company->EndTransaction(et_RollBack);
  EXPECT_EQ(codes(company), u"0");
}

TEST_P(TransactionTest, AnUnknownEndRollsBack) {
  company->StartTransaction();
  insert(company, u"1");
  company->EndTransaction(static_cast<HvEndTransaction>(-1));
  EXPECT_EQ(codes(another()), u"");
}

TEST_P(TransactionTest, ASecondStartIsRefused) {
  company->StartTransaction();
  EXPECT_EQ(raisedBy([&] { company->StartTransaction(); }), kWrongTransactionState);
  EXPECT_EQ(lastError(company).text, u"A transaction is already open.");
  EXPECT_EQ(company->GetInTransaction(), VARIANT_TRUE);
}

class FileTransactionTest : public TransactionTest {};

TEST_P(FileTransactionTest, ACommitIntoADeletedFileFails) {
  company->StartTransaction();
  insert(company, u"1");
  std::filesystem::remove(database);
  EXPECT_EQ(raisedBy([&] { company->EndTransaction(et_Commit); }), kSqlFailure);
  EXPECT_NE(lastError(company).text.find(u"company.db"), std::u16string::npos);
  EXPECT_EQ(company->GetInTransaction(), VARIANT_FALSE);
}

TEST_P(TransactionTest, EndingWithoutATransactionFails) {
  EXPECT_EQ(raisedBy([&] { company->EndTransaction(et_Commit); }), kWrongTransactionState);
  EXPECT_EQ(lastError(company).text, u"No transaction is open.");
}

TEST_P(TransactionTest, AFailedStatementLeavesItOpen) {
  company->StartTransaction();
  insert(company, u"1");
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] {
              rows->DoQuery(CComBSTR(u"INSERT INTO [@QX] (Code, Name) VALUES ('1', 'n')"));
            }),
            kSqlFailure);
  EXPECT_EQ(company->GetInTransaction(), VARIANT_TRUE);
  insert(company, u"2");
  company->EndTransaction(et_Commit);
  EXPECT_EQ(codes(company), u"1\n2");
}

TEST_P(TransactionTest, AFailedChangeOfTablesLeavesTheRestOfTheTransaction) {
  company->StartTransaction();
  insert(company, u"1");
  EXPECT_EQ(addField(company, {u"QX", u"A", kNumericField}), 0);
  EXPECT_EQ(addField(company, {u"QX", u"B", kAlphaField, 0, 5, u"", true}), kInvalidValue);
  EXPECT_EQ(addKey(company, u"QX", u"K", true, {u"A"}), 0);
  EXPECT_EQ(addKey(company, u"QX", u"K2", true, {u"A", u"Nope"}), kNotFound);
  insert(company, u"2");
  EXPECT_EQ(addKey(company, u"QX", u"K3", true, {u"A"}), 0);
  EXPECT_EQ(company->GetInTransaction(), VARIANT_TRUE);
  company->EndTransaction(et_Commit);
  EXPECT_EQ(codes(another()), u"1\n2");
  EXPECT_EQ(rowsOf(another(), u"SELECT KeyName FROM HVUKEY ORDER BY KeyName"), u"K\nK3");
  EXPECT_EQ(rowsOf(another(), u"SELECT AliasID FROM CUFD"), u"A");
}

// Half of a change must not be committed with the rest of the transaction.
TEST_P(TransactionTest, AChangeOfTablesThatCannotBeUndoneRollsBackTheWholeTransaction) {
  for (const char* first : {"INSERT INTO [HVUFVAL]", "RELEASE SAVEPOINT"}) {
    FaultPlan plan;
    const CComPtr<ICompany> failing = connectThrough(failingOpen(&plan), target());
    failing->StartTransaction();
    insert(failing, u"1");
    const auto field = businessObject<IUserFieldsMD>(failing, kUserFieldsMD);
    field->PutTableName(CComBSTR(u"QX"));
    field->PutName(CComBSTR(u"A"));
    field->PutSize(5);
    const auto values = field->GetValidValues();
    values->PutValue(CComBSTR(u"x"));
    values->Add();
    plan.refusedWords = {first, "ROLLBACK TO"};
    EXPECT_EQ(field->Add(), kSqlFailure);
    EXPECT_EQ(lastError(failing).text,
              u"Reading or writing the company database failed (refused by the test).");
    plan.refusedWords.clear();
    EXPECT_EQ(addTable(failing, u"QY"), kSqlFailure);
    EXPECT_EQ(lastError(failing).text,
              u"The database has rolled back the transaction after a failure; nothing of it was "
              u"kept.");
    EXPECT_EQ(raisedBy([&] { failing->EndTransaction(et_Commit); }), kWrongTransactionState);
    EXPECT_EQ(codes(failing), u"");
    EXPECT_EQ(rowsOf(failing, u"SELECT AliasID FROM CUFD"), u"");
  }
}

TEST_P(TransactionTest, DisconnectRollsBack) {
  company->StartTransaction();
  insert(company, u"1");
  company->Disconnect();
  EXPECT_EQ(company->GetInTransaction(), VARIANT_FALSE);
  EXPECT_EQ(codes(another()), u"");
}

TEST_P(TransactionTest, TheDeathOfTheProcessRollsBack) {
  std::array<int, 2> ready{};
  ASSERT_EQ(pipe(ready.data()), 0);
  const pid_t child = fork();
  if (child == 0) {
    const CComPtr<ICompany> own = another();
    own->StartTransaction();
    insert(own, u"1");
    if (write(ready[1], "x", 1) != 1) _exit(1);
    pause();
  }
  char mark = 0;
  ASSERT_EQ(read(ready[0], &mark, 1), 1);
  EXPECT_EQ(codes(company), u"");
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  // Its rows are locked on a server; on a file everything is locked.
  EXPECT_EQ(raisedBy([&] {
              rows->DoQuery(CComBSTR(u"INSERT INTO [@QX] (Code, Name) VALUES ('1', 'n')"));
            }),
            kSqlFailure);
  EXPECT_EQ(withoutNumbers(lastError(company).text),
            words(u"The company database is locked by another program. Try again when it has "
                  u"finished.",
                  u"The table '@QX' or a row of it is locked by the program 'tester' (process #). "
                  u"Try again when it has finished."));
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  close(ready[0]);
  close(ready[1]);
  insert(company, u"1");
  EXPECT_EQ(codes(company), u"1");
}

/// An engine that rolls back by itself, as an engine does when its disk is full.
class LosingDatabase final : public Database {
 public:
  Route route() const override { return Route::ToSqlite; }
  const EngineTables& tables() const override { return sqliteTables(); }
  std::unique_ptr<Statement> prepare(std::string_view) override {
    return std::make_unique<CompanyThere>();
  }
  void begin() override { open = true; }
  void commit() override {
    if (failCommit) throw DatabaseError(Fault::Full, "full");
    open = false;
  }
  void rollback() override { open = false; }
  std::unique_ptr<Statement> prepareGuarded(std::string_view sql) override { return prepare(sql); }
  sql::ColumnType probe(std::string_view) override { return sql::ColumnType::Unknown; }
  const sql::Catalog& catalog() override { return catalog_; }
  void noticeChanges() override {}
  bool isReadOnly() const override { return false; }
  bool inTransaction() const override { return open; }
  std::optional<DatabaseError> lost() const override { return std::nullopt; }

  bool open = false;
  bool failCommit = false;

 private:
  struct NoCatalog final : sql::Catalog {
    sql::ColumnType columnType(std::string_view, std::string_view) const override {
      return sql::ColumnType::Unknown;
    }
  };
  /// Answers 1 to every question, so that the company seems to exist.
  struct CompanyThere final : Statement {
    void bind(int, std::int64_t) override {}
    void bind(int, double) override {}
    void bind(int, std::string_view) override {}
    void bindDate(int, std::string_view) override {}
    bool step() override { return true; }
    void reset() override {}
    int columnCount() const override { return 0; }
    std::string columnName(int) const override { return {}; }
    sql::ColumnType declaredType(int) const override { return sql::ColumnType::Unknown; }
    Storage storage(int) const override { return Storage::Null; }
    std::int64_t integer(int) const override { return 1; }
    double real(int) const override { return 0; }
    std::string_view text(int) const override { return {}; }
  };
  NoCatalog catalog_;
};

class LostTransactionTest : public testing::Test {
 protected:
  LostTransactionTest() {
    const OpenDatabase open = [this](const std::string&, const CompanyEnvironment&) {
      auto made = std::make_unique<LosingDatabase>();
      database = made.get();
      return std::unique_ptr<Database>(std::move(made));
    };
    company = connectThrough(open, {"x", kMssql, ln_English, u"", u""});
  }
  LosingDatabase* database = nullptr;
  CComPtr<ICompany> company;
};

TEST_F(LostTransactionTest, RefusesFurtherStatementsUntilItIsEnded) {
  company->StartTransaction();
  database->open = false;
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"DELETE FROM HVCOMP")); }), kSqlFailure);
  EXPECT_EQ(lastError(company).text,
            u"The database has rolled back the transaction after a failure; nothing of it was "
            u"kept.");
  EXPECT_EQ(addTable(company, u"QX"), kSqlFailure);
  EXPECT_EQ(raisedBy([&] { company->EndTransaction(et_Commit); }), kWrongTransactionState);
  EXPECT_EQ(company->GetInTransaction(), VARIANT_FALSE);
}

TEST_F(LostTransactionTest, CanBeRolledBackWithoutFailure) {
  company->StartTransaction();
  database->open = false;
  EXPECT_EQ(company->EndTransaction(et_RollBack), S_OK);
  EXPECT_EQ(company->GetInTransaction(), VARIANT_FALSE);
}

TEST_F(LostTransactionTest, AFailedCommitLeavesNoTransactionOpen) {
  company->StartTransaction();
  database->failCommit = true;
  EXPECT_EQ(raisedBy([&] { company->EndTransaction(et_Commit); }), kSqlFailure);
  EXPECT_EQ(company->GetInTransaction(), VARIANT_FALSE);
  EXPECT_FALSE(database->open);
  database->failCommit = false;
  EXPECT_EQ(company->StartTransaction(), S_OK);
}

// The engine cannot undo alone a change that it has begun.
TEST_P(FileTransactionTest, AChangeThatExceedsItsTimeEndsTheTransaction) {
  using namespace std::chrono_literals;
  std::chrono::steady_clock::time_point now;
  std::chrono::seconds pace = 0s;
  CompanyEnvironment environment = testEnvironment();
  environment.clock = [&] { return now += pace; };
  environment.statementTimeoutSeconds = 600;
  const CComPtr<ICompany> limited = connectTo(target(), environment);
  limited->StartTransaction();
  insert(limited, u"1");
  pace = 100s;
  const auto rows = businessObject<IRecordset>(limited, kRecordset);
  EXPECT_EQ(raisedBy([&] {
              rows->DoQuery(CComBSTR(
                  u"UPDATE HVITEM SET InStock = (SELECT COUNT(*) FROM OFPR A, OFPR B, OFPR C, OFPR "
                  u"D, OFPR E, OFPR F)"));
            }),
            kSqlFailure);
  EXPECT_EQ(lastError(limited).text,
            u"The statement was stopped before its end, by its time limit or by an administrator "
            u"(it ran for 600 seconds). Try again; if it happens again, ask for fewer rows at a "
            u"time or have the limit raised.");
  pace = 0s;
  EXPECT_EQ(raisedBy([&] { limited->EndTransaction(et_Commit); }), kWrongTransactionState);
  EXPECT_EQ(codes(limited), u"");
}

QX_TEST_ON_ALL_ENGINES(TransactionTest);
INSTANTIATE_TEST_SUITE_P(Sqlite, FileTransactionTest, testing::Values(Engine::Sqlite));

}  // namespace
}  // namespace qx::desk
