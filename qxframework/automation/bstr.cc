#include "qxframework/automation/bstr.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/guid.h"
#include "qxframework/automation/user_locale.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>

namespace {

// The head that precedes the units of a string. Every reader of a BSTR expects the length directly
// before the first unit. The capacity before it is private to this file; it also keeps the units
// aligned to 8 bytes.
struct Head {
  std::uint32_t room;   // the capacity in units, without the terminator
  std::uint32_t bytes;  // the length, without the terminator
};
static_assert(sizeof(Head) == 8);

Head* headOf(BSTR text) { return reinterpret_cast<Head*>(text) - 1; }

void setLength(BSTR text, std::size_t length) {
  headOf(text)->bytes = static_cast<std::uint32_t>(length * sizeof(OLECHAR));
  text[length] = 0;
}

// Returns the string, or a new one for null, in a block with room for `room` units. Returns null if
// memory is out; the old block is still valid then.
BSTR reallocate(BSTR text, std::size_t room) {
  Head* const head = text == nullptr ? nullptr : headOf(text);
  void* const block = std::realloc(head, sizeof(Head) + (room + 1) * sizeof(OLECHAR));
  if (block == nullptr) return nullptr;
  auto* const moved = static_cast<Head*>(block);
  moved->room = static_cast<std::uint32_t>(room);
  return reinterpret_cast<BSTR>(moved + 1);
}

// Returns a new string of `length` units with undefined content; null if memory is out or the
// length exceeds kLongestText.
BSTR fresh(std::size_t length) {
  if (length > qx::kLongestText) return nullptr;
  const BSTR units = reallocate(nullptr, length);
  if (units != nullptr) setLength(units, length);
  return units;
}

BSTR copyOf(std::u16string_view text) {
  const BSTR units = fresh(text.size());
  if (units != nullptr && !text.empty()) {
    std::memcpy(units, text.data(), text.size() * sizeof(OLECHAR));
  }
  return units;
}

// As std::char_traits does, but four units at a time: nearly every function of the framework makes
// a string of its name.
std::u16string_view viewOfText(const OLECHAR* text) {
  std::size_t length = 0;
  while (true) {
    if (text[length] == 0) return {text, length};
    if (text[length + 1] == 0) return {text, length + 1};
    if (text[length + 2] == 0) return {text, length + 2};
    if (text[length + 3] == 0) return {text, length + 3};
    length += 4;
  }
}

BSTR raiseIfNull(BSTR text) {
  if (text == nullptr) qx::raiseError(E_OUTOFMEMORY);
  return text;
}

BSTR allocate(std::u16string_view text) { return raiseIfNull(copyOf(text)); }

// Returns the string, or a new one for null, in a block with room for `length` units. A block that
// must grow at least doubles, so that many appends copy each unit a constant number of times. The
// string is unchanged if this throws.
BSTR withRoom(BSTR text, std::size_t length) {
  const std::size_t room = text == nullptr ? 0 : headOf(text)->room;
  // A null string gets a block even for a length of 0: after an append it is empty and not null.
  if (text != nullptr && length <= room) return text;
  if (length > qx::kLongestText) qx::raiseError(E_OUTOFMEMORY);
  return raiseIfNull(reallocate(text, std::max(length, std::min(2 * room, qx::kLongestText))));
}

CComBSTR joined(std::u16string_view a, std::u16string_view b) {
  CComBSTR text;
  text.m_str = raiseIfNull(qx::newBstr(a.size() + b.size()));
  std::copy(b.begin(), b.end(), std::copy(a.begin(), a.end(), text.m_str));
  return text;
}

}  // namespace

BSTR qx::newBstr(std::size_t length) { return fresh(length); }

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
  if (text != nullptr) return copyOf({text, length});
  const BSTR units = fresh(length);
  if (units != nullptr) std::memset(units, 0, length * sizeof(OLECHAR));
  return units;
}

BSTR SysAllocString(const OLECHAR* text) {
  return text == nullptr ? nullptr : qx::newText(qx::viewOf(text));
}

void SysFreeString(BSTR text) {
  if (text != nullptr) std::free(headOf(text));
}

BSTR qx::newText(std::u16string_view text) { return copyOf(text); }

CComBSTR::CComBSTR(const OLECHAR* text)
    : m_str(text == nullptr ? nullptr : allocate(viewOfText(text))) {}

CComBSTR::CComBSTR(std::u16string_view text) : m_str(allocate(text)) {}

CComBSTR::CComBSTR(int length, const OLECHAR* text) {
  if (length < 0) qx::raiseError(E_INVALIDARG);
  if (length == 0) return;
  m_str = raiseIfNull(SysAllocStringLen(text, static_cast<UINT>(length)));
}

CComBSTR::CComBSTR(const GUID& guid) : m_str(allocate(qx::guidText(guid))) {}

CComBSTR::CComBSTR(const CComBSTR& other)
    : m_str(other.m_str == nullptr ? nullptr : allocate(other.View())) {}

// The copy is made before the old text is freed, so `text` may also point into this string.
CComBSTR& CComBSTR::operator=(const OLECHAR* text) {
  if (text != m_str) *this = CComBSTR(text);
  return *this;
}

CComBSTR& CComBSTR::operator=(const CComBSTR& other) {
  if (this != &other) *this = CComBSTR(other);
  return *this;
}

CComBSTR& CComBSTR::operator=(CComBSTR&& other) noexcept {
  // The destructor of `other` frees the old text.
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
  // The block may move when it grows, and a part of this string moves with it; only its offset
  // stays true. std::greater_equal and std::less_equal order unrelated pointers too, the operators
  // do not.
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

CComBSTR operator+(const CComBSTR& a, const CComBSTR& b) { return joined(a.View(), b.View()); }

CComBSTR operator+(const CComBSTR& a, const OLECHAR* b) { return joined(a.View(), qx::viewOf(b)); }

CComBSTR operator+(const OLECHAR* a, const CComBSTR& b) { return joined(qx::viewOf(a), b.View()); }

bool operator==(const CComBSTR& a, const CComBSTR& b) {
  return qx::collate(a.View(), b.View(), LOCALE_USER_DEFAULT, false) == 0;
}

bool operator==(const CComBSTR& a, const OLECHAR* b) {
  return qx::collate(a.View(), qx::viewOf(b), LOCALE_USER_DEFAULT, false) == 0;
}

bool operator<(const CComBSTR& a, const CComBSTR& b) {
  return qx::collate(a.View(), b.View(), LOCALE_USER_DEFAULT, false) < 0;
}
