#pragma once

// Shared ownership within one thread, as the persistence layer's interfaces have it.

#include "qxframework/foundation/thrown_text.h"

#include <concepts>
#include <cstddef>

/// The counted pointer of the persistence layer. A pointer and its copies share one control block,
/// which holds one object and, if it owns it, deletes it together with the last pointer. The count
/// is a plain integer: a pointer and its copies belong to one thread.
template <class T>
class qx_ptr {
 public:
  /// Takes `object`, and its ownership if `owner` is true; otherwise the caller keeps the object
  /// alive. Null makes a null pointer.
  qx_ptr(T* object, bool owner) {
    if (object != nullptr) m_pBlock = new Block{object, 1, owner};
  }
  qx_ptr() = default;
  qx_ptr(std::nullptr_t) {}
  qx_ptr(const qx_ptr& other) { share(other); }
  ~qx_ptr() { release(); }

  qx_ptr& operator=(const qx_ptr& other) {
    if (m_pBlock != other.m_pBlock) {
      const qx_ptr kept(other);  // `other` may be a member of the object that is released
      release();
      share(kept);
    }
    return *this;
  }
  /// Releases the object, for the idiom `p = NULL`. Throws a `char*` for any number but 0. A
  /// template, because compilers warn when NULL becomes an int, but not when its type is deduced.
  template <std::integral Number>
  qx_ptr& operator=(Number null) {
    if (null != 0) {
      qx::throwText(
          "miss usage of operator != overload, the first int parameter could only be NULL");
    }
    release();
    return *this;
  }

  /// Must not be called on a null pointer; this is not checked.
  T* operator->() const { return m_pBlock->m_pObject; }
  T& operator*() const { return *m_pBlock->m_pObject; }
  /// Returns the object, without ownership; null for a null pointer.
  T* get() const { return m_pBlock == nullptr ? nullptr : m_pBlock->m_pObject; }
  /// True if the pointer is not null.
  explicit operator bool() const { return get() != nullptr; }
  /// Compares with the address of the object.
  bool operator==(const T* object) const { return get() == object; }
  bool operator!=(const T* object) const { return get() != object; }

 private:
  struct Block {
    T* m_pObject;
    int m_nRefs;
    bool m_bOwner;
  };

  void share(const qx_ptr& other) {
    m_pBlock = other.m_pBlock;
    if (m_pBlock != nullptr) ++m_pBlock->m_nRefs;
  }
  void release() {
    Block* const block = m_pBlock;
    m_pBlock = nullptr;
    if (block == nullptr) return;
    if (block->m_nRefs > 0) --block->m_nRefs;
    if (block->m_nRefs < 1) destroy(block);
  }
  // Not inlined: a compiler that sees several releases in a row, but not the counts between them,
  // warns of a use after the last one.
  [[gnu::noinline]] static void destroy(Block* block) {
    if (block->m_bOwner) delete block->m_pObject;
    delete block;
  }

  Block* m_pBlock = nullptr;
};
