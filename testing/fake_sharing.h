#pragma once

// The ICompanySharing of a scripted company. A test sets it as the company's `sharing`; without it
// the company has no such interface.

#include "qxframework/automation/com_object.h"
#include "qxframework/host/company_sharing.h"
#include "testing/host_calls.h"

#include <deque>
#include <functional>
#include <string>

namespace qx::test {

/// Records its calls among those of the company.
class FakeSharing final : public ComObject<ICompanySharing> {
 public:
  explicit FakeSharing(HostCalls& calls) : calls_(calls) {}

  HRESULT raw_GetLastFault(long* out) override {
    *out = fault;
    return calls_.enter("Sharing.GetLastFault");
  }
  HRESULT raw_LockTables(long milliseconds, VARIANT_BOOL* locked, BSTR* holder) override {
    *locked = VARIANT_FALSE;
    const HRESULT hr = calls_.record("Sharing.LockTables", std::to_string(milliseconds));
    if (hr < 0) return hr;
    if (!holders.empty()) {
      const std::u16string other = holders.front();
      holders.pop_front();
      if (whileWaiting) whileWaiting(milliseconds);
      return giveText(other, holder);
    }
    ++locks;
    *locked = VARIANT_TRUE;
    return S_OK;
  }
  HRESULT raw_UnlockTables() override {
    --locks;
    return calls_.record("Sharing.UnlockTables");
  }
  HRESULT raw_ContinueCodes(BSTR table, long next, VARIANT_BOOL* out) override {
    *out = codesGoOn ? VARIANT_TRUE : VARIANT_FALSE;
    return calls_.record("Sharing.ContinueCodes", narrow(table) + ", " + std::to_string(next));
  }

  long fault = qx::kNoFault;
  std::deque<std::u16string> holders;  ///< of the calls of LockTables to come that do not succeed
  std::function<void(long milliseconds)> whileWaiting;  ///< called by each of these
  long locks = 0;                                       ///< taken and not yet given back
  bool codesGoOn = true;

 private:
  HostCalls& calls_;
};

}  // namespace qx::test
