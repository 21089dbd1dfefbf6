#include "qxframework/persistence/field_values.h"

#include "qxframework/foundation/thrown_text.h"
#include "qxframework/persistence/internal/variant_order.h"

#include <utility>

namespace Persistence {
namespace {

constexpr std::size_t kUsualColumns = 8;

void checkComparable(const TyFieldValues& a, const TyFieldValues& b) {
  if (a.GetCount() != b.GetCount()) qx::throwText(u"Not compatible TyFieldvalues for comparison");
}

}  // namespace

bool TyFieldValues::NameOrder::operator()(const OLECHAR* a, const OLECHAR* b) const {
  return VarBstrCmp(a, b, LOCALE_USER_DEFAULT, 0) == VARCMP_LT;
}

TyFieldValues::TyFieldValues(TyFieldValues&& other) noexcept
    : m_Values(std::move(other.m_Values)), m_Names(std::move(other.m_Names)) {
  other.Clear();
}

TyFieldValues& TyFieldValues::operator=(const TyFieldValues& other) {
  if (this == &other) return *this;
  Clear();
  for (const CComBSTR& name : other.m_Names) Add(name, other[name]);
  return *this;
}

TyFieldValues& TyFieldValues::operator=(TyFieldValues&& other) noexcept {
  m_Values.swap(other.m_Values);
  m_Names.swap(other.m_Names);
  return *this;
}

void TyFieldValues::Add(CComBSTR name, CComVariant value) {
  // Room first, so that nothing can fail between the two parts.
  if (m_Names.size() == m_Names.capacity())
    m_Names.reserve(m_Names.empty() ? kUsualColumns : 2 * m_Names.size());
  Value& entry = m_Values[name];
  entry.value = std::move(value);
  if (entry.position == -1) entry.position = GetCount();
  m_Names.push_back(std::move(name));
}

void TyFieldValues::SetValue(CComBSTR name, CComVariant value) {
  m_Values[std::move(name)].value = std::move(value);
}

long TyFieldValues::FindIndex(const OLECHAR* name) const {
  const auto found = m_Values.find(name);
  if (found == m_Values.end()) return -1;
  if (found->second.position == -1) qx::throwText("internal unknown error");
  return found->second.position;
}

void TyFieldValues::Clear() {
  m_Values.clear();
  m_Names.clear();
}

const CComVariant& TyFieldValues::operator[](const OLECHAR* name) const {
  const auto found = m_Values.find(name);
  if (found == m_Values.end()) qx::throwText("Can't find the key in CMyMap");
  return found->second.value;
}

CComVariant TyFieldValues::GetValue(const OLECHAR* name) const {
  const auto found = m_Values.find(name);
  return found == m_Values.end() ? CComVariant(0) : found->second.value;
}

bool operator==(const TyFieldValues& a, const TyFieldValues& b) {
  checkComparable(a, b);
  for (long i = 0; i < a.GetCount(); ++i)
    if (!qx::sameValue(a.valueAt(i), b.valueAt(i))) return false;
  return true;
}

bool operator<(const TyFieldValues& a, const TyFieldValues& b) {
  checkComparable(a, b);
  for (long i = 0; i < a.GetCount(); ++i) {
    if (qx::valueBelow(a.valueAt(i), b.valueAt(i))) return true;
    if (qx::valueBelow(b.valueAt(i), a.valueAt(i))) return false;
  }
  return false;
}

}  // namespace Persistence
