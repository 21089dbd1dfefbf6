#include "qxdesk/engines/test_support.h"

#include <algorithm>
#include <new>

namespace qx::desk {

namespace {

/// Passes everything on, except for the statements that the plan refuses.
class FailingDatabase final : public Database {
 public:
  FailingDatabase(std::unique_ptr<Database> real, FaultPlan* plan)
      : real_(std::move(real)), plan_(plan) {}

  Route route() const override { return real_->route(); }
  const EngineTables& tables() const override { return real_->tables(); }
  std::unique_ptr<Statement> prepare(std::string_view sql) override {
    count(sql);
    return real_->prepare(sql);
  }
  std::unique_ptr<Statement> prepareGuarded(std::string_view sql) override {
    count(sql);
    return real_->prepareGuarded(sql);
  }
  bool keepsStatements() const override { return plan_->keepsStatements; }
  std::unique_ptr<Statement> prepareRepeated(std::string_view sql, int parameters) override {
    count(sql);
    return real_->prepareRepeated(sql, parameters);
  }
  sql::ColumnType probe(std::string_view sql) override { return real_->probe(sql); }
  const sql::Catalog& catalog() override { return real_->catalog(); }
  void noticeChanges() override { real_->noticeChanges(); }
  void share() override { real_->share(); }
  bool isReadOnly() const override { return real_->isReadOnly(); }
  bool inTransaction() const override { return real_->inTransaction(); }
  void begin() override {
    count("BEGIN");
    real_->begin();
  }
  void beginChangeOfTables() override {
    count("BEGIN");
    real_->beginChangeOfTables();
  }
  bool lockTables(std::chrono::milliseconds most) override { return real_->lockTables(most); }
  void unlockTables() override { real_->unlockTables(); }
  std::optional<LockHolder> tablesHolder() override { return real_->tablesHolder(); }
  void alterTable(std::string_view sql) override {
    count(sql);
    real_->alterTable(sql);
  }
  void commit() override {
    count("COMMIT");
    real_->commit();
  }
  void rollback() override { real_->rollback(); }
  std::optional<DatabaseError> lost() const override { return real_->lost(); }

 private:
  void count(std::string_view sql) {
    const bool hasWords =
        std::any_of(plan_->refusedWords.begin(), plan_->refusedWords.end(),
                    [&](const std::string& words) { return sql.find(words) != sql.npos; });
    if (++plan_->prepared != plan_->refuse && !hasWords) return;
    if (plan_->noMemory) throw std::bad_alloc();
    throw DatabaseError(plan_->fault, "refused by the test");
  }

  std::unique_ptr<Database> real_;
  FaultPlan* plan_;
};

}  // namespace

CompanyEnvironment testEnvironment() {
  CompanyEnvironment environment;
  environment.now = [] { return std::string("2024-01-31 12:30:15"); };
  const auto now = std::make_shared<std::chrono::steady_clock::time_point>();
  environment.sleep = [now](int ms) { *now += std::chrono::milliseconds(ms); };
  environment.awaitChange = [now](const auto&, std::uint32_t, std::chrono::milliseconds most) {
    *now += most;
  };
  environment.clock = [now] { return *now; };
  environment.fillRandom = [next = std::uint8_t{0}](std::span<std::uint8_t> bytes) mutable {
    for (std::uint8_t& byte : bytes) byte = next++;
  };
  environment.busyTimeoutMs = 50;
  environment.program = "tester";
  environment.drawTimeoutMs = 20;
  return environment;
}

std::unique_ptr<Database> failing(std::unique_ptr<Database> real, FaultPlan* plan) {
  return std::make_unique<FailingDatabase>(std::move(real), plan);
}

}  // namespace qx::desk
