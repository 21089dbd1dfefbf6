#include "qxframework/persistence/collection_proxy.h"

#include "qxframework/logging/function_log.h"
#include "qxframework/persistence/internal/persistent_collection.h"
#include "qxframework/persistence/internal/persistent_object.h"
#include "qxframework/persistence/internal/proxy_parts.h"
#include "qxframework/query/persistence_exception.h"
#include "qxframework/query/value_lookup.h"

#include <utility>

namespace Persistence {
namespace {

// The names of a row help to find the one that a record misspells.
void LogNames(CReturnValue<long>& hr, const TyFieldValues& values) {
  hr.LogDbg2(u"keys in map:");
  for (long i = 0; i < values.GetCount(); ++i) hr.LogDbg2(u"%s", values.keyAt(i));
}

}  // namespace

// A step of the cursor in its two forms: with the row read into an object and without.
struct CQXPersistentCollectionProxy::Step {
  std::u16string_view scope;
  long (CQXPersistentCollection::*move)();
  long (CQXPersistentCollection::*load)(CQXPersistentObject* object);
  bool logsNames = false;
};

CQXPersistentCollectionProxy::CQXPersistentCollectionProxy() = default;
CQXPersistentCollectionProxy::CQXPersistentCollectionProxy(const CQXPersistentCollectionProxy&) =
    default;
CQXPersistentCollectionProxy& CQXPersistentCollectionProxy::operator=(
    const CQXPersistentCollectionProxy&) = default;

CQXPersistentCollectionProxy::~CQXPersistentCollectionProxy() {
  // The collection before the factory that made it.
  m_pCollection.reset();
  m_pFactory.reset();
}

void CQXPersistentCollectionProxy::Connect(CComPtr<ICompany> company, const OLECHAR* table,
                                           bool userTable) {
  if (m_bConnected)
    throw CQXPersistenceException(u"Proxy is already connected to a persistent collection");
  m_pCollection = qx::connectedTo(
      m_pFactory, company, &CQXPersistenceFactory::CreatePersistentCollection, table, userTable);
  m_bConnected = true;
}

void CQXPersistentCollectionProxy::Load(const std::vector<const OLECHAR*>& keyFields,
                                        qx_ptr<CConditions> conditions) {
  CQXPersistentCollection& collection = Connected();
  if (m_bLoaded) {
    throw CQXPersistenceException(
        u"Proxy is already connected to a initialized persistent collection");
  }
  collection.SetConditions(conditions);
  collection.SetKeyFields(keyFields);
  collection.Refresh();
  m_bLoaded = true;
}

void CQXPersistentCollectionProxy::GetByKey(const TyFieldValues& keys,
                                            CQXValueContainer& container) {
  const qx_ptr<CConditions> conditions = EqualConditions(keys, true);
  // A new object each time: one that has run a SELECT would repeat it.
  const auto object = NewObject();
  m_pCollection->GetByKey(conditions, object.get());
  MapToContainer(object->GetFieldValues(), container);
}

bool CQXPersistentCollectionProxy::Find(const TyFieldValues& keys, CQXValueContainer& container) {
  const qx_ptr<CConditions> conditions = EqualConditions(keys, false);
  const auto object = NewObject();
  const bool found = m_pCollection->FindInRecordSetNoThrow(conditions, object.get());
  if (found) MapToContainer(object->GetFieldValues(), container);
  return found;
}

bool CQXPersistentCollectionProxy::Exists(const TyFieldValues& keys) {
  const qx_ptr<CConditions> conditions = EqualConditions(keys, true);
  // Not the rows of the query: another user may have added the row.
  const auto object = NewObject();
  return m_pCollection->Exists(conditions, object.get());
}

void CQXPersistentCollectionProxy::SetMaxRecordCount(long maximum) {
  Connected().SetMaxRecordCount(maximum);
  m_bLoaded = false;  // even for the same limit; a refused one does not come here
}

void CQXPersistentCollectionProxy::Add(const CQXValueContainer& container) {
  CQXPersistentCollection& collection = Connected();
  const auto object = NewObject();
  ContainerToMap(container, object->GetFieldValues());
  collection.Add(object.get());
}

void CQXPersistentCollectionProxy::Update(const TyFieldValues& keys,
                                          const CQXValueContainer& container) {
  const qx_ptr<CConditions> conditions = EqualConditions(keys, true);
  const auto object = NewObject();
  // Mapped before the search: a record that cannot be written moves no cursor.
  ContainerToMap(container, object->GetFieldValues());
  const auto found = FoundObject(conditions);
  m_pCollection->Update(conditions, object.get(), found->GetFieldValues());
}

void CQXPersistentCollectionProxy::Remove(const TyFieldValues& keys) {
  const qx_ptr<CConditions> conditions = EqualConditions(keys, true);
  const auto object = NewObject();
  const auto found = FoundObject(conditions);
  m_pCollection->Remove(conditions, object.get(), found->GetFieldValues());
}

void CQXPersistentCollectionProxy::RemoveRange(
    const TyFieldValues& values, const std::vector<HvConditionOperation>& operations) {
  const qx_ptr<CConditions> conditions = GetConditionsFromKeyFields(values, operations);
  m_pCollection->Remove(conditions);
}

long CQXPersistentCollectionProxy::First(CQXValueContainer& container) {
  using Collection = CQXPersistentCollection;
  return Navigate(
      {u"CQXPersistentCollectionProxy::First", &Collection::First, &Collection::First, true},
      container);
}

long CQXPersistentCollectionProxy::Last(CQXValueContainer& container) {
  using Collection = CQXPersistentCollection;
  return Navigate({u"CQXPersistentCollectionProxy::Last", &Collection::Last, &Collection::Last},
                  container);
}

long CQXPersistentCollectionProxy::Next(CQXValueContainer& container) {
  using Collection = CQXPersistentCollection;
  return Navigate({u"CQXPersistentCollectionProxy::Next", &Collection::Next, &Collection::Next},
                  container);
}

long CQXPersistentCollectionProxy::Previous(CQXValueContainer& container) {
  using Collection = CQXPersistentCollection;
  return Navigate(
      {u"CQXPersistentCollectionProxy::Previous", &Collection::Previous, &Collection::Previous},
      container);
}

long CQXPersistentCollectionProxy::Navigate(const Step& step, CQXValueContainer& container) {
  CReturnValue<long> hr(step.scope, 0, 0);
  CQXPersistentCollection& collection = Loaded();
  if (collection.GetKeysOnly()) {
    // The cursor has the key; the object reads the row by a SELECT of its own.
    const auto object = NewObject();
    hr = (collection.*step.load)(object.get());
    if (hr == 0) MapToContainer(object->GetFieldValues(), container);
    return hr;
  }
  hr = (collection.*step.move)();
  if (hr != 0) return hr;
  // Taken out of the proxy: the record's code may move the cursor while it reads the row. After an
  // exception the next step begins with an empty row, and reads its names.
  Row row = std::exchange(m_Row, {});
  collection.CurrentRowToMap(row.values, row.statement);
  if (step.logsNames) LogNames(hr, row.values);
  MapToContainer(row.values, container);
  m_Row = std::move(row);
  return hr;
}

bool CQXPersistentCollectionProxy::Eof() const { return Loaded().Eof(); }

bool CQXPersistentCollectionProxy::Bof() const { return Loaded().Bof(); }

long CQXPersistentCollectionProxy::GetRecordCount() const { return Loaded().GetRecordCount(); }

void CQXPersistentCollectionProxy::Refresh(CQXValueContainer& container) {
  CQXPersistentCollection& collection = Loaded();
  // The key comes first, since Refresh replaces the rows.
  const qx_ptr<CConditions> key = CurrentRow();
  collection.Refresh();
  const auto object = NewObject();
  if (key != nullptr && collection.FindInRecordSetNoThrow(key, object.get())) {
    MapToContainer(object->GetFieldValues(), container);
  } else if (First(container) != 0) {
    throw CQXPersistenceException(u"Record set is empty");
  }
}

bool CQXPersistentCollectionProxy::GetKeysOnly() const { return Connected().GetKeysOnly(); }

void CQXPersistentCollectionProxy::SetKeysOnly(bool keysOnly) { Connected().SetKeysOnly(keysOnly); }

void CQXPersistentCollectionProxy::SetFields(const std::vector<const OLECHAR*>& fields) {
  Connected().SetFields(fields);
}

void CQXPersistentCollectionProxy::SetSortFields(const CQXPersistenceSortFieldCollection& fields) {
  Connected().SetSortFields(fields);
}

CComVariant CQXPersistentCollectionProxy::GetValue(const TyFieldValues& values,
                                                   const OLECHAR* name) const {
  return qx::valueByNameOrCapitals(values, name);
}

qx_ptr<CConditions> CQXPersistentCollectionProxy::BuildPrimaryKeyConditions() {
  return Loaded().GetConditionsFromCurrentRow();
}

void CQXPersistentCollectionProxy::AddLinkTableCriteria(const CQXLinkTableCriteria& link) {
  Connected().AddLinkTable(link);
}

void CQXPersistentCollectionProxy::SetCorrelationName(const OLECHAR* name) {
  Connected().SetCorrelationName(name);
}

qx_ptr<CConditions> CQXPersistentCollectionProxy::GetConditionsFromKeyFields(
    const TyFieldValues& values, const std::vector<HvConditionOperation>& operations) {
  return Connected().BuildConditionsFromValues(values, operations, false);
}

qx_ptr<CConditions> CQXPersistentCollectionProxy::EqualConditions(const TyFieldValues& values,
                                                                  bool check) const {
  return Connected().BuildConditionsFromValues(values, {}, check);
}

std::unique_ptr<CQXPersistentObject> CQXPersistentCollectionProxy::NewObject() const {
  return qx::ownedUnlessNull(m_pFactory->CreatePersistentObject());
}

// Returns the key of the current row; null if there is no row or its key cannot be read.
qx_ptr<CConditions> CQXPersistentCollectionProxy::CurrentRow() const {
  try {
    return m_pCollection->GetConditionsFromCurrentRow();
  } catch (...) {
    return qx_ptr<CConditions>();
  }
}

std::unique_ptr<CQXPersistentObject> CQXPersistentCollectionProxy::FoundObject(
    const qx_ptr<CConditions>& conditions) {
  auto object = NewObject();
  if (!m_pCollection->FindInRecordSetNoThrow(conditions, object.get()))
    throw CQXPersistenceException(u"Record not found in record set");
  return object;
}

CQXPersistentCollection& CQXPersistentCollectionProxy::Connected() const {
  if (!m_bConnected)
    throw CQXPersistenceException(u"Proxy is not connected to a persistent collection");
  return *m_pCollection;
}

CQXPersistentCollection& CQXPersistentCollectionProxy::Loaded() const {
  if (!m_bLoaded) {
    throw CQXPersistenceException(u"Proxy is not connected to a initialized persistent collection");
  }
  return *m_pCollection;
}

}  // namespace Persistence
