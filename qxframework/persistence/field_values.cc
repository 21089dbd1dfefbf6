#include "qxframework/persistence/field_values.h"

#include "qxframework/foundation/thrown_text.h"
#include "qxframework/persistence/variant_order.h"

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
    : m_Values(std::move(other.m_Values)),
      m_Names(std::move(other.m_Names)),
      m_bMayHaveUnplaced(other.m_bMayHaveUnplaced) {
  other.Clear();
}

TyFieldValues& TyFieldValues::operator=(const TyFieldValues& other) {
  if (this == &other) return *this;
  Clear();
  for (const CComBSTR& name : other.m_Names) Add(name, other[name]);
  return *this;
}

TyFieldValues& TyFieldValues::operator=(TyFieldValues&& other) noexcept {
  if (this == &other) return *this;
  m_Values = std::move(other.m_Values);
  m_Names = std::move(other.m_Names);
  m_bMayHaveUnplaced = other.m_bMayHaveUnplaced;
  other.Clear();
  dropUnplaced();
  return *this;
}

/// Leaves only the names that have a position. Nothing is copied.
void TyFieldValues::dropUnplaced() noexcept {
  if (!m_bMayHaveUnplaced) return;
  std::map<CComBSTR, CComVariant, NameOrder> placed;
  for (const CComBSTR& name : m_Names) placed.insert(m_Values.extract(name));
  m_Values = std::move(placed);
  m_bMayHaveUnplaced = false;
}

void TyFieldValues::Add(CComBSTR name, CComVariant value) {
  // Room first, so that nothing can fail between the two parts.
  if (m_Names.size() == m_Names.capacity())
    m_Names.reserve(m_Names.empty() ? kUsualColumns : 2 * m_Names.size());
  m_Values.insert_or_assign(name, std::move(value));
  m_Names.push_back(std::move(name));
}

void TyFieldValues::SetValue(CComBSTR name, CComVariant value) {
  const bool isNew = m_Values.insert_or_assign(std::move(name), std::move(value)).second;
  m_bMayHaveUnplaced = m_bMayHaveUnplaced || isNew;
}

long TyFieldValues::FindIndex(const OLECHAR* name) const {
  if (!contains(name)) return -1;
  for (std::size_t i = 0; i < m_Names.size(); ++i)
    if (VarBstrCmp(m_Names[i], name, LOCALE_USER_DEFAULT, 0) == VARCMP_EQ)
      return static_cast<long>(i);
  qx::throwText("internal unknown error");
}

void TyFieldValues::Clear() {
  m_Values.clear();
  m_Names.clear();
  m_bMayHaveUnplaced = false;
}

const CComVariant* TyFieldValues::find(const OLECHAR* name) const {
  const auto found = m_Values.find(name);
  return found == m_Values.end() ? nullptr : &found->second;
}

const CComVariant& TyFieldValues::operator[](const OLECHAR* name) const {
  const CComVariant* const value = find(name);
  if (value == nullptr) qx::throwText("Can't find the key in CMyMap");
  return *value;
}

CComVariant TyFieldValues::GetValue(const OLECHAR* name) const {
  const CComVariant* const value = find(name);
  return value == nullptr ? CComVariant(0) : *value;
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
