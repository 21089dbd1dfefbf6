#include "qxframework/persistence/field_values.h"

#include "qxframework/automation/user_locale.h"
#include "qxframework/foundation/thrown_text.h"
#include "qxframework/persistence/variant_order.h"

#include <algorithm>
#include <utility>

namespace Persistence {
namespace {

constexpr std::size_t kUsualColumns = 8;

void checkComparable(const TyFieldValues& a, const TyFieldValues& b) {
  if (a.GetCount() != b.GetCount()) qx::throwText(u"Not compatible TyFieldvalues for comparison");
}

}  // namespace

TyFieldValues::TyFieldValues(TyFieldValues&& other) noexcept
    : m_Fields(std::move(other.m_Fields)), m_Unplaced(std::move(other.m_Unplaced)) {
  other.Clear();
}

TyFieldValues& TyFieldValues::operator=(const TyFieldValues& other) {
  if (this == &other) return *this;
  Clear();
  for (const Field& field : other.m_Fields) Add(field.name, other.m_Fields[field.first].value);
  return *this;
}

TyFieldValues& TyFieldValues::operator=(TyFieldValues&& other) noexcept {
  m_Fields.swap(other.m_Fields);
  m_Unplaced.swap(other.m_Unplaced);
  return *this;
}

TyFieldValues::Name::Name(const OLECHAR* name)
    : text(qx::viewOf(name)), plain(qx::isPlainText(text)) {}

// Equal texts are most often spelled the same, and of plain ones only those are.
bool TyFieldValues::Field::isCalled(const Name& other) const {
  const std::u16string_view own(name, length);
  if (plain && other.plain) return own == other.text;
  return qx::collate(own, other.text, LOCALE_USER_DEFAULT, false) == 0;
}

const TyFieldValues::Field* TyFieldValues::Find(const std::vector<Field>& fields,
                                                const Name& name) {
  const auto found = std::find_if(fields.begin(), fields.end(),
                                  [&](const Field& field) { return field.isCalled(name); });
  return found == fields.end() ? nullptr : &*found;
}

void TyFieldValues::Add(CComBSTR name, CComVariant value) {
  if (m_Fields.empty()) m_Fields.reserve(kUsualColumns);
  const Name read(name);
  const Field* const same = Find(m_Fields, read);
  const Field* const unplaced = Find(m_Unplaced, read);
  const std::size_t first = same == nullptr ? m_Fields.size() : same->first;
  m_Fields.emplace_back(std::move(name), read, first);
  m_Fields[first].value = std::move(value);
  if (unplaced != nullptr) m_Unplaced.erase(m_Unplaced.begin() + (unplaced - m_Unplaced.data()));
}

void TyFieldValues::SetValue(CComBSTR name, CComVariant value) {
  const Name read(name);
  if (const Field* const field = Find(m_Fields, read)) {
    m_Fields[field->first].value = std::move(value);
  } else if (const Field* const unplaced = Find(m_Unplaced, read)) {
    m_Unplaced[static_cast<std::size_t>(unplaced - m_Unplaced.data())].value = std::move(value);
  } else {
    m_Unplaced.emplace_back(std::move(name), read, m_Unplaced.size()).value = std::move(value);
  }
}

long TyFieldValues::FindIndex(const OLECHAR* name) const {
  const Name read(name);
  if (const Field* const field = Find(m_Fields, read)) return static_cast<long>(field->first);
  if (Find(m_Unplaced, read) != nullptr) qx::throwText("internal unknown error");
  return -1;
}

void TyFieldValues::Clear() {
  m_Fields.clear();
  m_Unplaced.clear();
}

const CComVariant* TyFieldValues::FindValue(const Name& name) const {
  if (const Field* const field = Find(m_Fields, name)) return &m_Fields[field->first].value;
  const Field* const unplaced = Find(m_Unplaced, name);
  return unplaced == nullptr ? nullptr : &unplaced->value;
}

const CComVariant& TyFieldValues::operator[](const OLECHAR* name) const {
  const CComVariant* const value = FindValue(Name(name));
  if (value == nullptr) qx::throwText("Can't find the key in CMyMap");
  return *value;
}

CComVariant TyFieldValues::GetValue(const OLECHAR* name) const {
  const CComVariant* const value = FindValue(Name(name));
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
