#include "qxframework/query/field_values.h"

#include "qxframework/foundation/thrown_text.h"
#include "qxframework/query/variant_order.h"

#include <algorithm>

namespace Persistence {
namespace {

// A first reservation that fits most rows, so that a new row does not grow step by step.
constexpr std::size_t kUsualColumns = 8;

void checkComparable(const TyFieldValues& a, const TyFieldValues& b) {
  if (a.GetCount() != b.GetCount()) qx::throwText(u"Not compatible TyFieldvalues for comparison");
}

template <class T>
void makeRoom(std::vector<T>& list) {
  if (list.size() == list.capacity()) list.reserve(std::max(kUsualColumns, 2 * list.size()));
}

}  // namespace

bool TyFieldValues::NameOrder::operator()(const OLECHAR* a, const OLECHAR* b) const {
  return VarBstrCmp(a, b, LOCALE_USER_DEFAULT, 0) == VARCMP_LT;
}

TyFieldValues::TyFieldValues(std::initializer_list<std::pair<CComBSTR, CComVariant>> fields) {
  for (const auto& [name, value] : fields) Add(name, value);
}

TyFieldValues::TyFieldValues(const TyFieldValues& other) { *this = other; }

TyFieldValues::TyFieldValues(TyFieldValues&& other) noexcept { *this = std::move(other); }

TyFieldValues& TyFieldValues::operator=(const TyFieldValues& other) {
  if (this == &other) return *this;
  Clear();
  for (const CComBSTR& name : other.m_Names) Add(name, other[name]);
  return *this;
}

TyFieldValues& TyFieldValues::operator=(TyFieldValues&& other) noexcept {
  if (this == &other) return *this;
  // The entries of a map stay in place when the map moves, so the pointers to them stay valid.
  m_Values = std::move(other.m_Values);
  m_Names = std::move(other.m_Names);
  m_Places = std::move(other.m_Places);
  other.Clear();
  std::erase_if(m_Values, [](const auto& entry) { return entry.second.position == -1; });
  return *this;
}

void TyFieldValues::Add(CComBSTR name, CComVariant value) {
  // Room first: after that nothing can fail, and the three members stay in step.
  makeRoom(m_Names);
  makeRoom(m_Places);
  Entry& entry = m_Values[name];
  entry.value = std::move(value);
  // A name that is added again keeps its first position, which FindIndex returns.
  if (entry.position == -1) entry.position = GetCount();
  m_Names.push_back(std::move(name));
  m_Places.push_back(&entry);
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
  m_Places.clear();
}

const CComVariant* TyFieldValues::find(const OLECHAR* name) const {
  const auto found = m_Values.find(name);
  return found == m_Values.end() ? nullptr : &found->second.value;
}

const CComVariant& TyFieldValues::operator[](const OLECHAR* name) const {
  const CComVariant* const value = find(name);
  if (value == nullptr) qx::throwText("Can't find the key in CMyMap");
  return *value;
}

CComVariant TyFieldValues::GetValue(const OLECHAR* name) const {
  const CComVariant* const value = find(name);
  // 0 instead of a failure: code that maps a row reads columns that a query may have left out.
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
    const int order = qx::valueOrder(a.valueAt(i), b.valueAt(i));
    if (order != 0) return order < 0;
  }
  return false;
}

}  // namespace Persistence
