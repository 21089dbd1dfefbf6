#include "qxframework/query/field_values.h"

#include "qxframework/foundation/thrown_text.h"
#include "qxframework/query/variant_order.h"

#include <algorithm>

namespace Persistence {
namespace {

// A first reservation that fits most rows, so that a new row does not grow step by step.
constexpr std::size_t kUsualColumns = 8;
// So many names are compared one by one before they are searched by their order.
constexpr std::size_t kFewColumns = 32;

void checkComparable(const TyFieldValues& a, const TyFieldValues& b) {
  if (a.GetCount() != b.GetCount()) qx::throwText(u"Not compatible TyFieldvalues for comparison");
}

bool sameUnits(const OLECHAR* a, const OLECHAR* b) {
  if (a == nullptr || b == nullptr) return false;  // null is the empty name: the order knows that
  while (*a == *b && *a != 0) {
    ++a;
    ++b;
  }
  return *a == *b;
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
  if (other.hasValuesWithoutPosition()) {
    Clear();
    copyPositions(other);
  } else {
    m_Body = other.m_Body;
  }
  return *this;
}

TyFieldValues& TyFieldValues::operator=(TyFieldValues&& other) noexcept {
  if (this == &other) return *this;
  if (other.hasValuesWithoutPosition()) {
    *this = static_cast<const TyFieldValues&>(other);
  } else {
    m_Body = std::move(other.m_Body);
  }
  other.Clear();
  return *this;
}

// Most names are written as they were added, and among few names comparing their units is much
// faster than the order of the locale. The order finds the others: names with composed letters,
// those without a position, and those of a very wide row.
std::optional<std::size_t> TyFieldValues::slotNamed(const OLECHAR* name) const {
  const Names& names = allNames();
  const std::size_t few = std::min(names.byPosition.size(), kFewColumns);
  for (std::size_t i = 0; i < few; ++i)
    if (sameUnits(names.byPosition[i].m_str, name)) return names.slotByPosition[i];
  const auto found = names.slots.find(name);
  if (found == names.slots.end()) return std::nullopt;
  return found->second;
}

bool TyFieldValues::hasValuesWithoutPosition() const {
  if (m_Body == nullptr) return false;
  const std::vector<long>& positions = m_Body->names->firstPosition;
  return std::find(positions.begin(), positions.end(), -1) != positions.end();
}

void TyFieldValues::copyPositions(const TyFieldValues& other) {
  for (long i = 0; i < other.GetCount(); ++i) Add(other.keyAt(i), other.valueAt(i));
}

const TyFieldValues::Names& TyFieldValues::allNames() const {
  static const Names none;
  return m_Body == nullptr ? none : *m_Body->names;
}

TyFieldValues::Body& TyFieldValues::ownBody() {
  if (m_Body == nullptr) {
    m_Body = std::make_shared<Body>();
    m_Body->names = std::make_shared<Names>();
  } else if (m_Body.use_count() > 1) {
    m_Body = std::make_shared<Body>(*m_Body);
  }
  return *m_Body;
}

TyFieldValues::Names& TyFieldValues::ownNames() {
  Body& body = ownBody();
  if (body.names.use_count() > 1) body.names = std::make_shared<Names>(*body.names);
  return *body.names;
}

std::size_t TyFieldValues::slotOf(const CComBSTR& name) {
  if (m_Body != nullptr) {
    const auto found = m_Body->names->slots.find(name.m_str);
    if (found != m_Body->names->slots.end()) return found->second;
  }
  Names& names = ownNames();
  // Room first: after that nothing can fail, and the parts stay in step.
  makeRoom(m_Body->values);
  makeRoom(names.firstPosition);
  const std::size_t slot = m_Body->values.size();
  names.slots.emplace(name, slot);
  names.firstPosition.push_back(-1);
  m_Body->values.emplace_back();
  return slot;
}

void TyFieldValues::Add(CComBSTR name, CComVariant value) {
  Names& names = ownNames();
  makeRoom(names.byPosition);
  makeRoom(names.slotByPosition);
  const std::size_t slot = slotOf(name);
  m_Body->values[slot] = std::move(value);
  // A name that is added again keeps its first position, which FindIndex returns.
  if (names.firstPosition[slot] == -1) names.firstPosition[slot] = GetCount();
  names.byPosition.push_back(std::move(name));
  names.slotByPosition.push_back(slot);
}

void TyFieldValues::SetValue(CComBSTR name, CComVariant value) {
  const std::size_t slot = slotOf(name);
  ownBody().values[slot] = std::move(value);
}

long TyFieldValues::FindIndex(const OLECHAR* name) const {
  const std::optional<std::size_t> slot = slotNamed(name);
  if (!slot) return -1;
  const long position = allNames().firstPosition[*slot];
  if (position == -1) qx::throwText("internal unknown error");
  return position;
}

void TyFieldValues::Clear() { m_Body.reset(); }

const CComVariant* TyFieldValues::find(const OLECHAR* name) const {
  const std::optional<std::size_t> slot = slotNamed(name);
  return slot ? &m_Body->values[*slot] : nullptr;
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
