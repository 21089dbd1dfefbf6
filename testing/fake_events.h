#pragma once

// The events of a client and the arguments with which a sink receives them.

#include "testing/host_stubs.h"

#include <string>

namespace qx::test {

class FakeItemEvent final : public StubItemEvent {
 public:
  FakeItemEvent(long type, bool before) : type_(type), before_(before) {}
  HRESULT raw_GetEventType(long* out) override { return *out = type_, refusal; }
  HRESULT raw_GetBeforeAction(VARIANT_BOOL* out) override {
    *out = before_ ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
  }
  HRESULT raw_GetFormTypeEx(BSTR* out) override { return giveText(u"TYPE", out); }

  HRESULT refusal = S_OK;  // of GetEventType

 private:
  long type_;
  bool before_;
};

class FakeMenuEvent final : public StubMenuEvent {
 public:
  FakeMenuEvent(std::u16string uid, bool before, bool inner = false)
      : uid_(std::move(uid)), before_(before), inner_(inner) {}
  HRESULT raw_GetMenuUID(BSTR* out) override { return giveText(uid_, out); }
  HRESULT raw_GetBeforeAction(VARIANT_BOOL* out) override {
    *out = before_ ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
  }
  HRESULT raw_GetInnerEvent(VARIANT_BOOL* out) override {
    *out = inner_ ? VARIANT_TRUE : VARIANT_FALSE;
    return refusal;
  }

  HRESULT refusal = S_OK;  // of GetInnerEvent

 private:
  std::u16string uid_;
  bool before_;
  bool inner_;
};

/// An object without any event interface.
class FakeObject final : public NoDispatch<ComObject<IDispatch>> {};

inline VARIANT textArg(BSTR text) {
  VARIANT arg;
  arg.vt = VT_BSTR;
  arg.bstrVal = text;
  return arg;
}
inline VARIANT numberArg(std::int32_t number) {
  VARIANT arg;
  arg.vt = VT_I4;
  arg.lVal = number;
  return arg;
}
inline VARIANT objectArg(IDispatch* object) {
  VARIANT arg;
  arg.vt = VT_DISPATCH;
  arg.pdispVal = object;
  return arg;
}
inline VARIANT vetoArg(VARIANT_BOOL* veto) {
  VARIANT arg;
  arg.vt = VT_BOOL | VT_BYREF;
  arg.pboolVal = veto;
  return arg;
}

}  // namespace qx::test
