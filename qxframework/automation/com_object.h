#pragma once

// The implementing side of the interfaces: reference counting, interface look-up, the guard that
// keeps exceptions inside a component, and class factories.

#include "qxframework/automation/class_object.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/types.h"

#include <atomic>
#include <new>
#include <utility>

namespace qx {

/// Runs `body` and turns every exception into a result code. Every operation at the edge of a
/// component runs inside it. `body` returns a result code or nothing, which counts as S_OK.
template <class Body>
HRESULT guarded(Body&& body) noexcept {
  try {
    if constexpr (std::is_void_v<decltype(body())>) {
      body();
      return S_OK;
    } else {
      return body();
    }
  } catch (const _com_error& error) {
    return error.Error();
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_FAIL;
  }
}

/// Stores `object` with a new reference in an out parameter. Returns E_POINTER if `out` is null.
template <class T>
HRESULT giveObject(T* object, T** out) {
  if (out == nullptr) return E_POINTER;
  *out = object;
  if (object != nullptr) object->AddRef();
  return S_OK;
}

/// Implements counting and interface look-up for an object with `Interfaces`. The first interface
/// also represents IUnknown, so that the object has one identity; an interface that derives from
/// IDispatch also represents that. The object is made with makeObject and deletes itself with the
/// last reference.
template <class... Interfaces>
class ComObject : public Interfaces... {
 public:
  ComObject() = default;
  ComObject(const ComObject&) = delete;
  ComObject& operator=(const ComObject&) = delete;
  virtual ~ComObject() = default;

  HRESULT QueryInterface(REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    (answer<Interfaces>(iid, object) || ...);
    if (*object == nullptr && iid == IUnknown::kIid) *object = first();
    if (*object == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  ULONG AddRef() override { return count_.fetch_add(1, std::memory_order_relaxed) + 1; }
  ULONG Release() override {
    const ULONG left = count_.fetch_sub(1, std::memory_order_acq_rel) - 1;
    if (left == 0) delete this;
    return left;
  }

 private:
  template <class First, class...>
  struct FirstOf {
    using Type = First;
  };
  using FirstInterface = typename FirstOf<Interfaces...>::Type;

  IUnknown* first() { return static_cast<FirstInterface*>(this); }
  /// True once `*object` is set, which ends the fold in QueryInterface at the first match.
  template <class I>
  bool answer(REFIID iid, void** object) {
    bool has = iid == I::kIid;
    if constexpr (std::is_base_of_v<IDispatch, I>) has = has || iid == IDispatch::kIid;
    if (has && *object == nullptr) *object = static_cast<I*>(this);
    return *object != nullptr;
  }

  std::atomic<ULONG> count_{0};
};

/// Implements the four IDispatch operations for an object that is not called by id.
template <class Base>
class NoDispatch : public Base {
 public:
  HRESULT GetTypeInfoCount(UINT* count) override {
    if (count != nullptr) *count = 0;
    return E_NOTIMPL;
  }
  HRESULT GetTypeInfo(UINT, LCID, ITypeInfo** info) override {
    if (info != nullptr) *info = nullptr;
    return E_NOTIMPL;
  }
  HRESULT GetIDsOfNames(REFIID, OLECHAR**, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  HRESULT Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
    return E_NOTIMPL;
  }
};

/// Returns a new object; the result holds its only reference.
template <class T, class... Args>
CComPtr<T> makeObject(Args&&... args) {
  return CComPtr<T>(new T(std::forward<Args>(args)...));
}

/// A factory that makes the objects of its class with `Make`, a callable that returns a CComPtr.
template <class Make>
class ClassFactory final : public ComObject<IClassFactory> {
 public:
  explicit ClassFactory(Make make) : make_(std::move(make)) {}
  HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    if (object == nullptr) return E_POINTER;
    *object = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    return guarded([&] { return make_()->QueryInterface(iid, object); });
  }
  HRESULT LockServer(int) override { return S_OK; }

 private:
  Make make_;
};

/// Returns a factory that makes objects with `make`.
template <class Make>
CComPtr<IClassFactory> makeFactory(Make make) {
  return CComPtr<IClassFactory>(new ClassFactory<Make>(std::move(make)));
}

}  // namespace qx
