#pragma once

// A company with transactions and buffered writes, and a second connection that shows what is
// committed.

#include "qxframework/business/transaction.h"
#include "qxframework/cache/db_record_cache.h"
#include "tests/media/company_fixture.h"

#include <string>
#include <vector>

namespace qx::test {

/// Returns how `work` fails: the text that a transaction throws, or else as failureOf().
template <class Work>
std::string failureOfTransaction(Work work) {
  try {
    return failureOf(work);
  } catch (const char* text) {
    return text;
  }
}

/// Lets the stand-in accept the record cache's statements in db2, too.
inline constexpr char kAcceptBrackets[] = "&accept=brackets";

class TransactionFixture : public CompanyFixture {
 public:
  /// Buffers the INSERT of an order in the record cache.
  static void bufferIn(const CComPtr<ICompany>& company, const OLECHAR* number) {
    Persistence::TyRow row;
    row.m_KeyFields.Add(u"U_No", number);
    row.m_Fields.Add(u"U_No", number);
    Persistence::CDBRecordCache::GetInstance(company, u"@ORDERS")->Add(u"@ORDERS", true, row);
  }

 protected:
  ~TransactionFixture() override {
    // The depth and the caches belong to the process, and the next test has another company.
    Persistence::CDBRecordCache::ClearAllCaches(false, true);
    if (login == nullptr) return;
    CComPtr<ICompany> own(company());
    CQXTransactionManager::Rollback(own);
  }

  qx_ptr<CQXTransaction> start() {
    CComPtr<ICompany> own(company());
    return CQXTransactionManager::Start(own);
  }
  void buffer(const OLECHAR* number) { bufferIn(company(), number); }
  /// Returns the numbers of the orders, as this connection sees them.
  std::vector<std::string> numbers() const { return numbersOf(*login); }
  /// Returns the numbers of the orders, as another connection sees them.
  std::vector<std::string> numbersOfAnother() const { return numbersOf(Login(database)); }

 private:
  static std::vector<std::string> numbersOf(const Login& by) {
    Rows rows(by.company(), u"@ORDERS");
    rows.SetFields({u"U_No"});
    rows.SetSortFields({{u"U_No"}});
    rows.Load({u"Code"}, {});
    return rows.all();
  }
};

}  // namespace qx::test
