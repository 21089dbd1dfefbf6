#pragma once

// Counted interface pointers. Copying adds a reference, destruction releases one.

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/types.h"

#include <type_traits>
#include <utility>

template <class T>
class CComPtr {
 public:
  CComPtr() = default;
  CComPtr(std::nullptr_t) {}
  CComPtr(T* object) : p(object) {
    if (p != nullptr) p->AddRef();
  }
  CComPtr(const CComPtr& other) : CComPtr(other.p) {}
  CComPtr(CComPtr&& other) noexcept : p(std::exchange(other.p, nullptr)) {}
  /// From a pointer to a derived interface.
  template <class Derived>
    requires std::is_convertible_v<Derived*, T*>
  CComPtr(const CComPtr<Derived>& other) : CComPtr(static_cast<T*>(other.p)) {}
  ~CComPtr() {
    if (p != nullptr) p->Release();
  }
  CComPtr& operator=(std::nullptr_t) {
    Release();
    return *this;
  }
  CComPtr& operator=(T* object) {
    CComPtr(object).Swap(*this);
    return *this;
  }
  CComPtr& operator=(const CComPtr& other) { return *this = other.p; }
  CComPtr& operator=(CComPtr&& other) noexcept {
    CComPtr(std::move(other)).Swap(*this);
    return *this;
  }
  void Swap(CComPtr& other) noexcept { std::swap(p, other.p); }

  operator T*() const { return p; }
  T& operator*() const { return *p; }
  /// Raises E_POINTER for a null pointer, so that a missing object is an error and not a crash.
  T* operator->() const {
    if (p == nullptr) qx::raiseError(E_POINTER);
    return p;
  }
  /// For out parameters; releases what was held.
  T** operator&() {
    Release();
    return &p;
  }
  bool operator!() const { return p == nullptr; }

  void Release() { CComPtr().Swap(*this); }
  /// Takes over one reference.
  void Attach(T* object) {
    Release();
    p = object;
  }
  T* Detach() { return std::exchange(p, nullptr); }
  template <class Q>
  HRESULT QueryInterface(Q** out) const {
    if (p == nullptr) return E_POINTER;
    return p->QueryInterface(Q::kIid, reinterpret_cast<void**>(out));
  }
  HRESULT CopyTo(T** out) const {
    if (out == nullptr) return E_POINTER;
    *out = p;
    if (p != nullptr) p->AddRef();
    return S_OK;
  }

  T* p = nullptr;
};

/// A CComPtr that asks for its interface when it is given an object of another one; null when the
/// object does not have it.
template <class T>
class CComQIPtr : public CComPtr<T> {
 public:
  CComQIPtr() = default;
  CComQIPtr(T* object) : CComPtr<T>(object) {}
  CComQIPtr(const CComPtr<T>& other) : CComPtr<T>(other) {}
  CComQIPtr(IUnknown* object) { query(object); }
  template <class Q>
  CComQIPtr(const CComPtr<Q>& other) {
    query(other.p);
  }
  using CComPtr<T>::operator=;
  CComQIPtr& operator=(IUnknown* object) {
    CComQIPtr(object).Swap(*this);
    return *this;
  }
  template <class Q>
  CComQIPtr& operator=(const CComPtr<Q>& other) {
    CComQIPtr(other).Swap(*this);
    return *this;
  }

 private:
  template <class Q>
  void query(Q* object) {
    if (object == nullptr) return;
    if (object->QueryInterface(T::kIid, reinterpret_cast<void**>(&this->p)) < 0) this->p = nullptr;
  }
};
