#include "qxframework/automation/wide_string.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/text.h"

#include <unicode/uchar.h>

#include <algorithm>

namespace {

// The white space of Unicode, unlike qx::isSpace. It lies wholly in the basic plane, so that a
// single unit is a whole code point here.
bool isUnicodeSpace(OLECHAR unit) { return u_isUWhiteSpace(unit) != 0; }

// Returns the position or count, limited to 0..limit.
std::size_t clamped(int position, std::size_t limit) {
  return position <= 0 ? 0 : std::min(static_cast<std::size_t>(position), limit);
}

int positionOf(std::size_t found) {
  return found == std::u16string_view::npos ? -1 : static_cast<int>(found);
}

}  // namespace

OLECHAR CString::GetAt(int position) const {
  const auto index = static_cast<std::size_t>(position);
  return position < 0 || index >= m_text.size() ? OLECHAR{0} : m_text[index];
}

void CString::SetAt(int position, OLECHAR unit) {
  const auto index = static_cast<std::size_t>(position);
  if (position < 0 || index >= m_text.size()) qx::raiseError(E_INVALIDARG);
  m_text[index] = unit;
}

CString CString::Left(int count) const { return Mid(0, count); }

CString CString::Right(int count) const {
  const std::size_t length = clamped(count, m_text.size());
  return CString(View().substr(m_text.size() - length));
}

CString CString::Mid(int first) const {
  return CString(View().substr(clamped(first, m_text.size())));
}

CString CString::Mid(int first, int count) const {
  const std::size_t start = clamped(first, m_text.size());
  return CString(View().substr(start, clamped(count, m_text.size())));
}

int CString::Find(std::u16string_view text, int start) const {
  return positionOf(m_text.find(text, start < 0 ? 0 : static_cast<std::size_t>(start)));
}

int CString::Find(OLECHAR unit, int start) const {
  return Find(std::u16string_view(&unit, 1), start);
}

int CString::ReverseFind(OLECHAR unit) const { return positionOf(m_text.rfind(unit)); }

int CString::Replace(std::u16string_view from, std::u16string_view to) {
  if (from.empty()) return 0;
  int count = 0;
  // Built beside the string: `to` may be a part of it, and replaced text is not searched again.
  std::u16string replaced;
  std::size_t start = 0;
  for (std::size_t found = 0; (found = m_text.find(from, start)) != std::u16string::npos; ++count) {
    replaced.append(m_text, start, found - start).append(to);
    start = found + from.size();
  }
  // Without a match the string keeps its buffer.
  if (count > 0) m_text = replaced.append(m_text, start);
  return count;
}

int CString::Delete(int first, int count) {
  const std::size_t start = clamped(first, m_text.size());
  m_text.erase(start, clamped(count, m_text.size()));
  return GetLength();
}

int CString::Insert(int position, std::u16string_view text) {
  const std::size_t start = clamped(position, m_text.size());
  m_text.insert(start, std::u16string(text));  // a copy: `text` may be a part of this string
  return GetLength();
}

// The right end first, so that fewer units move to the front.
CString& CString::Trim() { return TrimRight().TrimLeft(); }

CString& CString::TrimRight() {
  while (!m_text.empty() && isUnicodeSpace(m_text.back())) m_text.pop_back();
  return *this;
}

CString& CString::TrimLeft() {
  m_text.erase(m_text.begin(), std::find_if_not(m_text.begin(), m_text.end(), isUnicodeSpace));
  return *this;
}

CString& CString::MakeLower() {
  m_text = qx::toLower(m_text);
  return *this;
}

CString& CString::MakeUpper() {
  m_text = qx::toUpper(m_text);
  return *this;
}

int CString::CompareNoCase(std::u16string_view other) const {
  const int order = qx::compareIgnoreCase(m_text, other);
  return order < 0 ? -1 : order > 0 ? 1 : 0;
}
