#pragma once

// A company whose transactions a test watches: every call of the host and every record of the
// transaction's hooks is in one list, in order.

#include "qxframework/automation/com_error.h"
#include "qxframework/business/transaction.h"
#include "qxframework/cache/db_record_cache.h"
#include "qxframework/query/persistence_exception.h"
#include "testing/recording_logger.h"
#include "testing/scripted_company.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Persistence::test {

inline constexpr const OLECHAR* kTable = u"@ORDERS";
inline constexpr char kFirstInsert[] = "SQL(INSERT INTO [@ORDERS] ([U_No]) \r\nVALUES (N'A-1'))";
inline constexpr char kSecondInsert[] = "SQL(INSERT INTO [@ORDERS] ([U_No]) \r\nVALUES (N'A-2'))";

/// Returns how `work` fails: the text that it throws, "_com_error CODE", or "CODE: TEXT" of a
/// CQXPersistenceException; "no failure" if nothing is thrown.
template <class Work>
std::string failureOf(Work work) {
  try {
    work();
    return "no failure";
  } catch (const char* text) {
    return text;
  } catch (const _com_error& error) {
    return "_com_error " + std::to_string(static_cast<HRESULT>(error.Error()));
  } catch (const CQXPersistenceException& failure) {
    return std::to_string(failure.GetErrorCode()) + ": " +
           qx::test::narrow(failure.GetErrorString());
  }
}

/// Gives access to the depth, which no sequence of calls makes negative.
struct Depth : CQXTransactionManager {
  static void set(int depth) { sm_nCurrentCount = depth; }
};

class BusinessTest : public testing::Test {
 protected:
  BusinessTest() {
    logger.onRecord = [this](const qx::test::LogRecord& record) {
      if (record.function.starts_with(u"CDBRecordCache::BeforeTransaction_") &&
          record.level == QXLoggerLib::sl_Information) {
        host->calls.calls.push_back("log " + qx::toUtf8(record.message));
      }
    };
  }
  ~BusinessTest() override {
    // What is shared by all tests of the process.
    Depth::set(0);
    CDBRecordCache::ClearAllCaches(false, true);
  }

  qx_ptr<CQXTransaction> start() { return CQXTransactionManager::Start(company); }
  /// Buffers the INSERT of an order in the record cache.
  void buffer(const OLECHAR* number) {
    TyRow row;
    row.m_KeyFields.Add(u"U_No", number);
    row.m_Fields.Add(u"U_No", number);
    CDBRecordCache::GetInstance(company, kTable)->Add(kTable, false, row);
  }
  /// Returns what has happened at the host and in the hooks since the last call.
  std::vector<std::string> happened() { return std::exchange(host->calls.calls, {}); }
  /// Makes the company unable to say whether it is in a transaction.
  void loseCompany() { host->calls.failures["Company.GetInTransaction"] = E_FAIL; }

  qx::test::RecordingLogger logger;
  CComPtr<qx::test::ScriptedCompany> host = qx::test::makeScriptedCompany();
  CComPtr<ICompany> company{host.p};
};

}  // namespace Persistence::test
