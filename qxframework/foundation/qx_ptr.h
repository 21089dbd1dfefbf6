#pragma once

#include "qxframework/foundation/thrown_text.h"

#include <cstddef>

/// The counted pointer of the persistence and cache layers. Many pointers share one control block,
/// which refers to one object and deletes it with the last pointer if it owns it. The count is a
/// plain integer: a pointer and its copies belong to one thread.
template <class T>
class qx_ptr {
 public:
  /// Null makes a null pointer. With `owner` false the object is never deleted.
  qx_ptr(T* object, bool owner) {
    if (object != nullptr) m_pBlock = new Block{object, 1, owner};
  }
  qx_ptr() = default;
  qx_ptr(std::nullptr_t) {}
  qx_ptr(const qx_ptr& other) { share(other); }
  ~qx_ptr() { release(); }

  qx_ptr& operator=(const qx_ptr& other) {
    if (m_pBlock != other.m_pBlock) {
      const qx_ptr kept(other);  // it may stand inside the object that is released
      release();
      share(kept);
    }
    return *this;
  }
  /// For the idiom `p = NULL`: 0 releases, any other number throws a `char*`.
  qx_ptr& operator=(int null) {
    if (null != 0) {
      qx::throwText(
          "miss usage of operator != overload, the first int parameter could only be NULL");
    }
    release();
    return *this;
  }

  /// Not tested for null.
  T* operator->() const { return m_pBlock->m_pObject; }
  T& operator*() const { return *m_pBlock->m_pObject; }
  /// The held object; null for a null pointer.
  T* get() const { return m_pBlock == nullptr ? nullptr : m_pBlock->m_pObject; }
  /// By the address of the held object.
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
  // would warn of a use after the last.
  [[gnu::noinline]] static void destroy(Block* block) {
    if (block->m_bOwner) delete block->m_pObject;
    delete block;
  }

  Block* m_pBlock = nullptr;
};
