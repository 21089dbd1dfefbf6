// Adding rows to a user table through a proxy, in one transaction, beside running the same
// statements without the layer: by a recordset of the company, and by SQLite's C interface.

#include "bench/bench_company.h"
#include "bench/measure.h"
#include "bench/run_bench.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/recordset.h"
#include "qxframework/persistence/collection_proxy.h"
#include "qxframework/persistence/condition.h"
#include "qxframework/persistence/field_values.h"
#include "qxframework/persistence/value_container.h"
#include "tests/support/spying_company.h"

#include <sqlite3.h>

#include <stdexcept>

namespace {

using Persistence::CConditions;

constexpr int kRounds = 5;
constexpr int kAdds = 10'000;

struct Record : Persistence::CQXValueContainer {
  int number = 0;
};

class Rows : public Persistence::CQXPersistentCollectionProxy {
 public:
  void MapToContainer(const Persistence::TyFieldValues&, Persistence::CQXValueContainer&) override {
  }
  void ContainerToMap(const Persistence::CQXValueContainer& container,
                      Persistence::TyFieldValues& values) override {
    const int number = static_cast<const Record&>(container).number;
    values.Add(u"U_Count", number);
    values.Add(u"U_Price", number % 500 + 0.25);
    values.Add(u"U_Share", number % 90 + 0.5);
    values.Add(u"U_From", CComVariant(45000.0 + number % 365, VT_DATE));
    values.Add(u"U_Until", CComVariant(45400.0 + number % 365, VT_DATE));
    values.Add(u"U_Note", u"A note on an article, e.g. O'Brien's");
  }
};

void addOurs(const CComPtr<ICompany>& company) {
  Rows rows;
  rows.Connect(company, u"@ADDED", true);
  Record record;
  for (record.number = 0; record.number < kAdds; ++record.number) rows.Add(record);
}

void runTexts(const CComPtr<ICompany>& company, const std::vector<CComBSTR>& statements) {
  const CComQIPtr<IRecordset> recordset(company->GetBusinessObject(qx::kRecordset));
  for (const CComBSTR& statement : statements) recordset->DoQuery(statement);
}

void check(sqlite3* db, int result) {
  if (result != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(db));
}

void runRaw(const std::string& file, const std::vector<std::string>& statements) {
  sqlite3* db = nullptr;
  check(db, sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr));
  check(db, sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
  for (const std::string& statement : statements)
    check(db, sqlite3_exec(db, statement.c_str(), nullptr, nullptr, nullptr));
  check(db, sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr));
  sqlite3_close(db);
}

/// The work in a transaction of its own, which leaves the table empty for the next one.
template <class Work>
void inTransaction(const CComPtr<ICompany>& company, Work&& work) {
  company->StartTransaction();
  work();
  company->EndTransaction(VARIANT_FALSE);
}

std::vector<std::string> statementsOfAdds(const CComPtr<ICompany>& company) {
  qx::test::StatementLog log;
  const CComPtr<ICompany> recorder = qx::test::spyOn(company, &log);
  inTransaction(company, [&] { addOurs(recorder); });
  if (log.texts.size() != 2 * kAdds) throw std::runtime_error("an Add is two statements");
  std::printf("%s\n%s\n", log.texts[2].c_str(), log.texts[3].c_str());
  return log.texts;
}

void print(const char* what, double seconds) {
  std::printf("%s: %.1f ms, %.1f us an Add\n", what, seconds * 1e3, seconds / kAdds * 1e6);
}

void measure() {
  const qx::bench::BenchCompany bench;
  const CComPtr<ICompany> company = bench.company();
  qx::bench::makeTable(company, u"ADDED");
  const std::vector<std::string> statements = statementsOfAdds(company);
  std::vector<CComBSTR> texts;
  std::vector<std::string> rawTexts;
  for (const std::string& statement : statements) {
    texts.emplace_back(qx::toUtf16(statement));
    rawTexts.push_back(qx::bench::translated(bench.file(), statement));
  }

  const auto ours = [&] { inTransaction(company, [&] { addOurs(company); }); };
  const auto besideTexts = qx::bench::compare(
      kRounds, ours, [&] { inTransaction(company, [&] { runTexts(company, texts); }); });
  const auto besideRaw = qx::bench::compare(kRounds, ours, [&] { runRaw(bench.file(), rawTexts); });
  print("ours", std::min(besideTexts.ours, besideRaw.ours));
  print("the same texts by DoQuery", besideTexts.peer);
  print("the same texts, translated before, by sqlite3_exec", besideRaw.peer);
  std::printf("ours over sqlite3_exec: %.2f\n", besideRaw.ratio());
  qx::bench::printRatio("proxy-add", besideTexts.ratio());
}

}  // namespace

int main() { return qx::bench::run(measure); }
