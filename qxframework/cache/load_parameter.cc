#include "qxframework/cache/load_parameter.h"

#include "qxframework/os/clock.h"
#include "qxframework/query/persistence_exception.h"

#include <chrono>
#include <cmath>

namespace Persistence {
namespace {

// The numbers of rows that stand for a behaviour without a number of its own. 100000 is the last
// one that reads back as a number of rows.
constexpr long kNoPrefetchCount = -1;
constexpr long kHighestCount = 100000;
constexpr long kAllRowsCount = kHighestCount + 1;

template <class T>
qx_ptr<T> copyOf(const T* object) {
  return object == nullptr ? qx_ptr<T>() : qx_ptr<T>(new T(*object), true);
}

/// Two null pointers are equal; one is not equal to any object, not even to an empty one.
template <class T>
bool sameContents(const qx_ptr<T>& a, const qx_ptr<T>& b) {
  if (a.get() == b.get()) return true;
  return a != nullptr && b != nullptr && *a == *b;
}

void addNames(const std::vector<CComBSTR>& names, TyFieldValues& values) {
  for (const CComBSTR& name : names) values.Add(name, CComVariant());
}

bool beginsWith(const TyFieldValues& values, const std::vector<CComBSTR>& names) {
  for (std::size_t i = 0; i < names.size(); ++i)
    if (values.FindIndex(names[i]) != static_cast<long>(i)) return false;
  return true;
}

bool sameSpan(const COleDateTimeSpan& a, const COleDateTimeSpan& b) {
  constexpr double kHalfASecond = 0.5 / (24 * 60 * 60);
  return a.GetStatus() == b.GetStatus() && std::abs(a.m_span - b.m_span) < kHalfASecond;
}

bool sameNames(const qx_ptr<TyFieldValues>& a, const qx_ptr<TyFieldValues>& b) {
  if (a.get() == b.get()) return true;
  if (a == nullptr || b == nullptr || a->GetCount() != b->GetCount()) return false;
  for (long i = 0; i < a->GetCount(); ++i)
    if (a->keyAt(i) != b->keyAt(i)) return false;
  return true;
}

}  // namespace

// Here a call of Init would reach this class's own anyway, so it is named.
TyLoadParameter::TyLoadParameter() { TyLoadParameter::Init(); }

TyLoadParameter::TyLoadParameter(const TyLoadParameter& other) {
  TyLoadParameter::Init();
  m_bKeyFieldsOnly = other.m_bKeyFieldsOnly;
  m_bstrMajorTable = other.m_bstrMajorTable;
  m_bstrMajorTableCorrelationName = other.m_bstrMajorTableCorrelationName;
  m_bIsUserTable = other.m_bIsUserTable;
  SetKeyFields(other.m_ptrKeyFields.get());
  SetFields(other.m_ptrFields.get());
  if (other.m_ptrConditions != nullptr) SetConditions(other.m_ptrConditions->Clone());
  SetSortFields(copyOf(other.m_ptrSortFields.get()));
  SetLinkTableCriterias(copyOf(other.m_ptrLinkTableCriterias.get()));
}

// The time stamp says when this object was last changed by an operation of its own.
TyLoadParameter& TyLoadParameter::operator=(const TyLoadParameter& other) {
  m_ptrKeyFields = other.m_ptrKeyFields;
  m_ptrFields = other.m_ptrFields;
  m_bKeyFieldsOnly = other.m_bKeyFieldsOnly;
  m_bstrMajorTable = other.m_bstrMajorTable;
  m_bstrMajorTableCorrelationName = other.m_bstrMajorTableCorrelationName;
  m_ptrConditions = other.m_ptrConditions;
  m_ptrSortFields = other.m_ptrSortFields;
  m_bIsUserTable = other.m_bIsUserTable;
  m_bReturnRecordCount = other.m_bReturnRecordCount;
  m_ptrLinkTableCriterias = other.m_ptrLinkTableCriterias;
  return *this;
}

TyLoadParameter::~TyLoadParameter() = default;

void TyLoadParameter::Init() {
  m_ptrConditions = 0;
  m_bIsUserTable = false;
  m_bstrMajorTable.Empty();
  m_bstrMajorTableCorrelationName.Empty();
  m_ptrKeyFields = 0;
  m_ptrFields = 0;
  m_ptrSortFields = 0;
  m_ptrLinkTableCriterias = 0;
  m_bReturnRecordCount = false;
  _updateTimeStamp();
}

void TyLoadParameter::Clear() {
  if (m_ptrConditions != nullptr) CConditions::Remove(m_ptrConditions);
  m_ptrConditions = 0;
  m_ptrKeyFields = 0;
  m_ptrFields = 0;
  m_ptrSortFields = 0;
  m_ptrLinkTableCriterias = 0;
  m_bReturnRecordCount = false;
  Init();
}

// Rounded down, so that two moments of one second have one stamp.
void TyLoadParameter::_updateTimeStamp() {
  const auto now = qx::currentClock().now();
  const auto seconds = std::chrono::floor<std::chrono::seconds>(now.time_since_epoch());
  m_dtTimeStamp = COleDateTime::FromUnixTime(seconds.count());
}

bool TyLoadParameter::operator==(const TyLoadParameter& other) const {
  if (m_dtTimeStamp == other.m_dtTimeStamp) return true;
  return m_bKeyFieldsOnly == other.m_bKeyFieldsOnly &&
         m_bReturnRecordCount == other.m_bReturnRecordCount &&
         m_bstrMajorTable == other.m_bstrMajorTable &&
         m_bstrMajorTableCorrelationName == other.m_bstrMajorTableCorrelationName &&
         m_bIsUserTable == other.m_bIsUserTable && hasListsOf(other);
}

bool TyLoadParameter::hasListsOf(const TyLoadParameter& other) const {
  return sameContents(m_ptrKeyFields, other.m_ptrKeyFields) &&
         sameContents(m_ptrFields, other.m_ptrFields) &&
         sameContents(m_ptrConditions, other.m_ptrConditions) &&
         sameContents(m_ptrSortFields, other.m_ptrSortFields) &&
         sameContents(m_ptrLinkTableCriterias, other.m_ptrLinkTableCriterias);
}

void TyLoadParameter::SetKeyFields(const std::vector<CComBSTR>* fields) {
  SetKeyFields(copyOf(fields));
}

void TyLoadParameter::SetKeyFields(qx_ptr<std::vector<CComBSTR>> fields) {
  m_ptrKeyFields = fields;
  _updateTimeStamp();
}

void TyLoadParameter::SetFields(const std::vector<CComBSTR>* fields) {
  m_ptrFields = copyOf(fields);
  _updateTimeStamp();
}

void TyLoadParameter::SetConditions(qx_ptr<CConditions> conditions) {
  m_ptrConditions = conditions;
  _updateTimeStamp();
}

void TyLoadParameter::SetSortFields(qx_ptr<CQXPersistenceSortFieldCollection> fields) {
  m_ptrSortFields = fields;
  _updateTimeStamp();
}

void TyLoadParameter::SetLinkTableCriterias(qx_ptr<std::vector<CQXLinkTableCriteria>> criterias) {
  m_ptrLinkTableCriterias = criterias;
  _updateTimeStamp();
}

void TyLoadParameter::SetKeyFieldsOnly(bool keyFieldsOnly) {
  m_bKeyFieldsOnly = keyFieldsOnly;
  _updateTimeStamp();
}

void TyLoadParameter::SetIsUserTable(bool userTable) {
  m_bIsUserTable = userTable;
  _updateTimeStamp();
}

void TyLoadParameter::SetMajorTable(const CComBSTR& table) {
  m_bstrMajorTable = table;
  _updateTimeStamp();
}

void TyLoadParameter::SetMajorTableCorrelationName(const CComBSTR& name) {
  m_bstrMajorTableCorrelationName = name;
  _updateTimeStamp();
}

void TyLoadParameter::FillKeyFieldsInfo(TyFieldValues& values) const {
  if (m_ptrKeyFields != nullptr) addNames(*m_ptrKeyFields, values);
}

qx_ptr<TyFieldValues> TyLoadParameter::GetKeyFromNameValueMap(TyFieldValues& values) const {
  static const std::vector<CComBSTR> none;
  const std::vector<CComBSTR>& fields = m_ptrKeyFields == nullptr ? none : *m_ptrKeyFields;
  if (beginsWith(values, fields)) return qx_ptr<TyFieldValues>(&values, false);
  qx_ptr<TyFieldValues> key(new TyFieldValues, true);
  for (const CComBSTR& field : fields) key->Add(field, values[field]);
  return key;
}

TyLoadParameter_WithPrefetchKeys::TyLoadParameter_WithPrefetchKeys() { initPrefetch(); }

TyLoadParameter_WithPrefetchKeys::TyLoadParameter_WithPrefetchKeys(
    const TyLoadParameter_WithPrefetchKeys& other)
    : TyLoadParameter(other),
      m_ptrPrefetchFields(copyOf(other.m_ptrPrefetchFields.get())),
      m_nPrefetchComparison(other.m_nPrefetchComparison),
      m_lPrefetchCount(other.m_lPrefetchCount),
      m_spanMaxCacheTime(other.m_spanMaxCacheTime) {}

TyLoadParameter_WithPrefetchKeys& TyLoadParameter_WithPrefetchKeys::operator=(
    const TyLoadParameter_WithPrefetchKeys& other) = default;

TyLoadParameter_WithPrefetchKeys::~TyLoadParameter_WithPrefetchKeys() = default;

void TyLoadParameter_WithPrefetchKeys::Init() {
  TyLoadParameter::Init();
  initPrefetch();
}

void TyLoadParameter_WithPrefetchKeys::initPrefetch() {
  m_ptrPrefetchFields = 0;
  m_nPrefetchComparison = co_GreaterOrEqual;
  m_lPrefetchCount = 100;
  m_spanMaxCacheTime = COleDateTimeSpan(0, 0, 5, 0);
}

void TyLoadParameter_WithPrefetchKeys::Clear() {
  m_ptrPrefetchFields = 0;
  TyLoadParameter::Clear();
}

bool TyLoadParameter_WithPrefetchKeys::operator==(
    const TyLoadParameter_WithPrefetchKeys& other) const {
  return TyLoadParameter::operator==(other) && m_lPrefetchCount == other.m_lPrefetchCount &&
         m_nPrefetchComparison == other.m_nPrefetchComparison &&
         sameSpan(m_spanMaxCacheTime, other.m_spanMaxCacheTime) &&
         sameNames(m_ptrPrefetchFields, other.m_ptrPrefetchFields);
}

bool TyLoadParameter_WithPrefetchKeys::HasPrefetchFields() const {
  return m_ptrPrefetchFields != nullptr && m_ptrPrefetchFields->GetCount() > 0;
}

void TyLoadParameter_WithPrefetchKeys::FillPrefetchFieldsInfo(TyFieldValues& values) const {
  if (m_ptrPrefetchFields == nullptr) return;
  for (long i = 0; i < m_ptrPrefetchFields->GetCount(); ++i)
    values.Add(m_ptrPrefetchFields->keyAt(i), CComVariant());
}

void TyLoadParameter_WithPrefetchKeys::SetPrefetchFields(const TyFieldValues* fields) {
  m_ptrPrefetchFields = copyOf(fields);
}

_TyPrefetchBehavior TyLoadParameter_WithPrefetchKeys::GetPrefetchBehavior() const {
  if (m_lPrefetchCount < 1) return pb_NoPrefetch;
  if (m_lPrefetchCount > kHighestCount) return HasPrefetchFields() ? pb_AllRowsFrom : pb_AllRows;
  return HasPrefetchFields() ? pb_FirstRowsFrom : pb_FirstRows;
}

void TyLoadParameter_WithPrefetchKeys::SetPrefetchBehavior(_TyPrefetchBehavior behavior,
                                                           const TyFieldValues* fields,
                                                           long count) {
  const auto store = [this](const TyFieldValues* startKey, long rows) {
    SetPrefetchFields(startKey);
    m_lPrefetchCount = rows;
  };
  switch (behavior) {
    case pb_NoPrefetch:
      return store(nullptr, kNoPrefetchCount);
    case pb_FirstRows:
      return store(nullptr, count);
    case pb_AllRows:
      return store(nullptr, kAllRowsCount);
    case pb_FirstRowsFrom:
      return store(fields, count);
    case pb_AllRowsFrom:
      return store(fields, kHighestCount);
  }
  throw CQXPersistenceException(u"Should not be reachable code");
}

}  // namespace Persistence
