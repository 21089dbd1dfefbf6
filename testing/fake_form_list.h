#pragma once

#include "testing/host_calls.h"
#include "testing/host_stubs.h"

#include <vector>

namespace qx::test {

/// The forms of a client in the order in which they were opened. Calls and list must outlive it.
template <class Form>
class FakeFormList : public StubForms {
 public:
  FakeFormList(HostCalls& calls, const std::vector<CComPtr<Form>>& forms)
      : calls_(calls), forms_(forms) {}

  HRESULT raw_Count(long* out) override {
    *out = static_cast<long>(forms_.size());
    return calls_.enter("Forms.Count");
  }
  HRESULT raw_Item(const VARIANT& index, IForm** out) override {
    const auto position = static_cast<std::size_t>(index.lVal);
    if (index.vt != VT_I4 || position >= forms_.size()) return E_INVALIDARG;
    return giveObject<IForm>(forms_[position].p, out);
  }

 private:
  HostCalls& calls_;
  const std::vector<CComPtr<Form>>& forms_;
};

}  // namespace qx::test
