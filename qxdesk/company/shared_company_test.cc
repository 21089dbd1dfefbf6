// One company that many processes use at once: no change of one is lost by another, and all can
// make the same tables at their start.

#include "qxdesk/company/test_support.h"
#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/company_sharing.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <tuple>

namespace qx::desk {
namespace {

constexpr int kFailed = 100;  // the exit code of a process that met another failure

CComPtr<ICompanySharing> sharingOf(const CComPtr<ICompany>& company) {
  return CComPtr<ICompanySharing>(CComQIPtr<ICompanySharing>(company).p);
}

class SharedCompanyTest : public testing::TestWithParam<std::tuple<Engine, int>> {
 protected:
  static Engine engine() { return std::get<Engine>(GetParam()); }
  static int processes() { return std::get<int>(GetParam()); }
  static const char* engineName() { return engine() == Engine::Sqlite ? "SQLite" : "PostgreSQL"; }
  LoginTarget target() const { return {database, kMssql, ln_English, u"manager", u"Demo"}; }
  CComPtr<ICompany> connected() const {
    CComPtr<ICompany> company = companyFor(target(), systemEnvironment());
    return company->Connect() == 0 ? company : nullptr;
  }

  TestPlace place{engine()};
  std::string database = place.database("shared.db");
};

/// Adds one to an amount by reading, calculating and writing it, as add-ons do. Returns the number
/// of attempts that met a conflict, or -1 after another failure.
int addOne(const CComPtr<ICompany>& company) {
  for (int conflicts = 0;; ++conflicts) {
    const HRESULT result = raisedBy([&] {
      company->StartTransaction();
      const auto rows = businessObject<IRecordset>(company, kRecordset);
      rows->DoQuery(CComBSTR(u"SELECT InStock FROM HVITEM WHERE ItemNo = 'A1000'"));
      const double next = rows->GetFields()->Item(CComVariant(0L))->GetValue().dblVal + 1;
      rows->DoQuery(
          CComBSTR(qx::format(u"UPDATE HVITEM SET InStock = %.0f WHERE ItemNo = 'A1000'", next)));
      company->EndTransaction(et_Commit);
    });
    if (result == S_OK) return conflicts;
    const bool conflict = sharingOf(company)->GetLastFault() == kConflictFault;
    if (company->GetInTransaction() != VARIANT_FALSE) {
      raisedBy([&] { company->EndTransaction(et_RollBack); });
    }
    if (!conflict) return -1;
  }
}

TEST_P(SharedCompanyTest, NoChangeOfAnAmountIsLost) {
  const int times = 48 / processes();
  ASSERT_NE(connected().p, nullptr);
  const std::vector<int> codes = atOnce(processes(), [&] {
    const CComPtr<ICompany> company = connected();
    if (company.p == nullptr) return kFailed;
    int conflicts = 0;
    for (int i = 0; i < times; ++i) {
      const int met = addOne(company);
      if (met < 0) return kFailed;
      conflicts += met;
    }
    return std::min(conflicts, kFailed - 1);
  });
  int conflicts = 0;
  for (const int code : codes) {
    EXPECT_LT(code, kFailed);
    conflicts += code;
  }
  const std::u16string sum =
      rowsOf(connected(), u"SELECT InStock FROM HVITEM WHERE ItemNo = 'A1000'");
  EXPECT_EQ(sum, toUtf16(std::to_string(times * processes())));
  std::cout << engineName() << ", " << processes() << " processes x " << times << ": sum "
            << toUtf8(sum) << " of " << times * processes() << ", " << conflicts
            << " conflicts run again\n";
}

/// Makes what an add-on needs, if it is missing, as add-ons do at their start. Returns 0 or a code.
long makeTables(const CComPtr<ICompany>& company) {
  constexpr long kWait = 60'000;
  CComBSTR holder;
  if (!sharingOf(company)->LockTables(kWait, holder)) return kFailed;
  const auto tables = businessObject<IUserTablesMD>(company, kUserTablesMD);
  long code = 0;
  for (const std::u16string name : {u"ORDERS", u"LINES"}) {
    if (code != 0 || tables->GetByKey(CComBSTR(name)) != VARIANT_FALSE) continue;
    code = addTable(company, name);
    if (code == 0) code = addField(company, {name, u"No", kAlphaField, 0, 20});
    if (code == 0) code = addField(company, {name, u"Total", kFloatField, 83});
    if (code == 0) code = addKey(company, name, u"NO", true, {u"No"});
  }
  if (code == 0) {
    const long own = getpid();
    query(company, qx::format(u"INSERT INTO [@LINES] (Code, Name, U_No) VALUES ('%d', 'n', '%d')",
                              own, own));
  }
  sharingOf(company)->UnlockTables();
  return code;
}

TEST_P(SharedCompanyTest, AllThatStartAtOnceOnANewCompanyMakeTheTablesOnce) {
  const std::vector<int> codes = atOnce(processes(), [&] {
    const CComPtr<ICompany> company = connected();
    if (company.p == nullptr) return kFailed;
    return makeTables(company) == 0 ? 0 : 1;
  });
  const auto failed = std::count_if(codes.begin(), codes.end(), [](int code) { return code != 0; });
  EXPECT_EQ(failed, 0);
  const CComPtr<ICompany> company = connected();
  const std::u16string companies = rowsOf(company, u"SELECT COUNT(*) FROM HVCOMP");
  EXPECT_EQ(companies, u"1");
  EXPECT_EQ(rowsOf(company, u"SELECT TableName FROM HVUTAB ORDER BY TableName"), u"LINES\nORDERS");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM CUFD"), u"4");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM HVUKEY"), u"2");
  EXPECT_EQ(rowsOf(company, u"SELECT COUNT(*) FROM [@LINES]"),
            toUtf16(std::to_string(processes())));
  std::cout << engineName() << ", " << processes() << " starts at once: failed starts " << failed
            << ", companies " << toUtf8(companies) << "\n";
}

std::string nameOf(const testing::TestParamInfo<SharedCompanyTest::ParamType>& info) {
  const bool sqlite = std::get<Engine>(info.param) == Engine::Sqlite;
  return (sqlite ? "Sqlite" : "Postgres") + std::to_string(std::get<int>(info.param));
}

INSTANTIATE_TEST_SUITE_P(Sqlite, SharedCompanyTest,
                         testing::Combine(testing::Values(Engine::Sqlite),
                                          testing::Values(2, 4, 8, 16)),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Postgres, SharedCompanyTest,
                         testing::Combine(testing::Values(Engine::Postgres),
                                          testing::Values(2, 4, 8, 16)),
                         nameOf);

}  // namespace
}  // namespace qx::desk
