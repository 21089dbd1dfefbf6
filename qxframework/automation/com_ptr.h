#pragma once

// Counted interface pointers. Copying adds a reference, destruction releases one.

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/types.h"

#include <type_traits>
#include <utility>

/// Holds one reference to an object with the interface `T`, or null.
template <class T>
class QX_API CComPtr {
 public:
  CComPtr() = default;
  CComPtr(std::nullptr_t) {}
  CComPtr(T* object) : p(object) {
    if (p != nullptr) p->AddRef();
  }
  CComPtr(const CComPtr& other) : CComPtr(other.p) {}
  CComPtr(CComPtr&& other) noexcept : p(std::exchange(other.p, nullptr)) {}
  /// Copies a pointer to a derived interface.
  template <class Derived>
  requires std::is_convertible_v<Derived*, T*> CComPtr(const CComPtr<Derived>& other)
      : CComPtr(static_cast<T*>(other.p)) {}
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
  /// Throws E_POINTER for a null pointer, so that a missing object is an error and not a crash.
  T* operator->() const {
    if (p == nullptr) qx::raiseError(E_POINTER);
    return p;
  }
  /// Returns the address for an out parameter; releases the held object first.
  T** operator&() {
    Release();
    return &p;
  }
  bool operator!() const { return p == nullptr; }

  /// Releases the held object and makes the pointer null.
  void Release() { CComPtr().Swap(*this); }
  /// Releases the held object and takes over the caller's reference to `object`.
  void Attach(T* object) {
    Release();
    p = object;
  }
  /// Passes the reference to the caller and makes the pointer null.
  T* Detach() { return std::exchange(p, nullptr); }
  /// Asks the object for the interface `Q`. Returns E_POINTER if this pointer is null.
  template <class Q>
  HRESULT QueryInterface(Q** out) const {
    if (p == nullptr) return E_POINTER;
    return p->QueryInterface(Q::kIid, reinterpret_cast<void**>(out));
  }
  /// Stores the object with a new reference in `*out`. Returns E_POINTER if `out` is null.
  HRESULT CopyTo(T** out) const {
    if (out == nullptr) return E_POINTER;
    *out = p;
    if (p != nullptr) p->AddRef();
    return S_OK;
  }

  T* p = nullptr;
};

/// A CComPtr that queries for its interface when it is assigned an object of another one. It is
/// null if the object does not have the interface.
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
