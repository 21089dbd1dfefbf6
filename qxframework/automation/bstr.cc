#include "qxframework/automation/bstr.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/guid.h"
#include "qxframework/automation/user_locale.h"
#include "qxframework/automation/variant.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>

namespace {

// The block: 4 bytes of padding, 4 bytes of length in bytes, the units, a terminator. The padding
// keeps the units aligned to 8 bytes.
constexpr std::size_t kHead = 8;

/// The bytes of a block for `length` units.
std::size_t blockSize(std::size_t length) {
  if (length > std::numeric_limits<std::uint32_t>::max() / 2 - 8) qx::raiseError(E_OUTOFMEMORY);
  return kHead + (length + 1) * sizeof(OLECHAR);
}

void setLength(BSTR text, std::size_t length) {
  reinterpret_cast<std::uint32_t*>(text)[-1] = static_cast<std::uint32_t>(length * sizeof(OLECHAR));
  text[length] = 0;
}

BSTR allocate(std::u16string_view text) {
  blockSize(text.size());  // raises if it is too long
  const BSTR copy = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
  if (copy == nullptr) qx::raiseError(E_OUTOFMEMORY);
  return copy;
}

/// The string, or a new one for null, in a block with room for `length` units. A block that must
/// grow at least doubles. Nothing has changed when this raises.
BSTR withRoom(BSTR text, std::size_t length) {
  auto* block = text == nullptr ? nullptr : reinterpret_cast<unsigned char*>(text) - kHead;
  const std::size_t room = malloc_usable_size(block);
  const std::size_t needed = blockSize(length);
  if (needed <= room) return text;
  block = static_cast<unsigned char*>(std::realloc(block, std::max(needed, 2 * room)));
  if (block == nullptr) qx::raiseError(E_OUTOFMEMORY);
  return reinterpret_cast<BSTR>(block + kHead);
}

}  // namespace

BSTR qx::newBstr(std::size_t length) {
  auto* block = static_cast<unsigned char*>(std::malloc(kHead + (length + 1) * sizeof(OLECHAR)));
  if (block == nullptr) return nullptr;
  auto* units = reinterpret_cast<BSTR>(block + kHead);
  setLength(units, length);
  return units;
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
  const std::size_t bytes = std::size_t{length} * sizeof(OLECHAR);
  const BSTR units = qx::newBstr(length);
  if (units == nullptr) return nullptr;
  if (text != nullptr) {
    std::memcpy(units, text, bytes);
  } else {
    std::memset(units, 0, bytes);
  }
  return units;
}

BSTR SysAllocString(const OLECHAR* text) {
  if (text == nullptr) return nullptr;
  return SysAllocStringLen(text, static_cast<UINT>(qx::viewOf(text).size()));
}

void SysFreeString(BSTR text) {
  if (text != nullptr) std::free(reinterpret_cast<unsigned char*>(text) - kHead);
}

CComBSTR::CComBSTR(const OLECHAR* text)
    : m_str(text == nullptr ? nullptr : allocate(qx::viewOf(text))) {}

CComBSTR::CComBSTR(std::u16string_view text) : m_str(allocate(text)) {}

CComBSTR::CComBSTR(int length, const OLECHAR* text) {
  if (length < 0) qx::raiseError(E_INVALIDARG);
  if (length == 0) return;
  m_str = SysAllocStringLen(text, static_cast<UINT>(length));
  if (m_str == nullptr) qx::raiseError(E_OUTOFMEMORY);
}

CComBSTR::CComBSTR(const GUID& guid) : m_str(allocate(qx::guidText(guid))) {}

CComBSTR::CComBSTR(const CComBSTR& other)
    : m_str(other.m_str == nullptr ? nullptr : allocate(other.View())) {}

CComBSTR& CComBSTR::operator=(const OLECHAR* text) {
  if (text != m_str) *this = CComBSTR(text);
  return *this;
}

CComBSTR& CComBSTR::operator=(const CComBSTR& other) {
  if (this != &other) *this = CComBSTR(other);
  return *this;
}

CComBSTR& CComBSTR::operator=(CComBSTR&& other) noexcept {
  std::swap(m_str, other.m_str);
  return *this;
}

void CComBSTR::Empty() { Attach(nullptr); }

void CComBSTR::Attach(BSTR text) {
  if (text == m_str) return;
  SysFreeString(m_str);
  m_str = text;
}

BSTR CComBSTR::Copy() const { return m_str == nullptr ? nullptr : allocate(View()); }

HRESULT CComBSTR::CopyTo(BSTR* out) const {
  if (out == nullptr) return E_POINTER;
  *out = Copy();
  return S_OK;
}

HRESULT CComBSTR::Append(std::u16string_view text) {
  const std::size_t length = Length();
  // A part of this string moves along with it.
  const bool inside = m_str != nullptr && std::greater_equal<>()(text.data(), m_str) &&
                      std::less_equal<>()(text.data(), m_str + length);
  const auto offset = inside ? text.data() - m_str : 0;
  m_str = withRoom(m_str, length + text.size());
  if (!text.empty()) {
    std::memmove(m_str + length, inside ? m_str + offset : text.data(),
                 text.size() * sizeof(OLECHAR));
  }
  setLength(m_str, length + text.size());
  return S_OK;
}

CComBSTR& CComBSTR::operator+=(std::u16string_view text) {
  Append(text);
  return *this;
}

bool operator==(const CComBSTR& a, const CComBSTR& b) {
  return qx::collate(a.View(), b.View(), LOCALE_USER_DEFAULT, false) == 0;
}

bool operator==(const CComBSTR& a, const OLECHAR* b) {
  return qx::collate(a.View(), qx::viewOf(b), LOCALE_USER_DEFAULT, false) == 0;
}

bool operator<(const CComBSTR& a, const CComBSTR& b) {
  return qx::collate(a.View(), b.View(), LOCALE_USER_DEFAULT, false) < 0;
}
