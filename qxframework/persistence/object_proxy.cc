#include "qxframework/persistence/object_proxy.h"

#include "qxframework/persistence/internal/persistent_object.h"
#include "qxframework/persistence/internal/proxy_parts.h"
#include "qxframework/query/persistence_exception.h"

namespace Persistence {

CQXPersistentObjectProxy::CQXPersistentObjectProxy() = default;
CQXPersistentObjectProxy::CQXPersistentObjectProxy(const CQXPersistentObjectProxy&) = default;
CQXPersistentObjectProxy& CQXPersistentObjectProxy::operator=(const CQXPersistentObjectProxy&) =
    default;

CQXPersistentObjectProxy::~CQXPersistentObjectProxy() {
  m_pObject.reset();
  m_pFactory.reset();
}

void CQXPersistentObjectProxy::Connect(CComPtr<ICompany> company, const OLECHAR* table,
                                       bool userTable) {
  std::shared_ptr<CQXPersistentObject> object = qx::connectedTo(
      m_pFactory, company, &CQXPersistenceFactory::CreatePersistentObject, table, userTable);
  // The former object stays alive as long as the proxy, by contract.
  if (m_pObject != nullptr) m_vecReplaced.push_back(m_pObject);
  m_pObject = std::move(object);
  m_bConnected = true;
}

void CQXPersistentObjectProxy::Load(qx_ptr<CConditions> conditions) {
  CQXPersistentObject& object = Connected();
  object.SetConditions(conditions);
  object.Reload();
  m_bLoaded = true;
}

void CQXPersistentObjectProxy::GetByKey(qx_ptr<CConditions> conditions,
                                        CQXValueContainer& container) {
  TakeNewObject();
  m_pObject->Load(conditions);
  // Load leaves the row in the record set, so the object's values are still empty.
  MapToContainer(m_pObject->GetFieldValues(), container);
  m_bLoaded = true;
}

void CQXPersistentObjectProxy::GetByKey(const TyFieldValues& keys, CQXValueContainer& container) {
  GetByKey(GetConditionsFromKeyFields(keys, {}), container);
}

void CQXPersistentObjectProxy::SetFields(const std::vector<const OLECHAR*>& fields) {
  Connected().SetFields(fields);
}

void CQXPersistentObjectProxy::GetFields(CQXValueContainer& container) {
  MapToContainer(Connected().GetFieldValues(), container);
}

qx_ptr<CConditions> CQXPersistentObjectProxy::GetConditionsFromKeyFields(
    const TyFieldValues& values, const std::vector<HvConditionOperation>& operations) {
  return Connected().BuildConditionsFromValues(values, operations, false);
}

void CQXPersistentObjectProxy::Add(const CQXValueContainer& container) {
  TakeNewObject();
  ContainerToMap(container, m_pObject->GetFieldValues());
  m_pObject->Add();
  m_bLoaded = true;
}

void CQXPersistentObjectProxy::Update(const CQXValueContainer& container) {
  CQXPersistentObject& object = Loaded();
  // The former values are the key if there are no conditions, so they are copied before the
  // mapping.
  const TyFieldValues before = object.GetFieldValues();
  ContainerToMap(container, object.GetFieldValues());
  object.Update(before);
}

void CQXPersistentObjectProxy::Remove() {
  CQXPersistentObject& object = Loaded();
  object.Remove(object.GetFieldValues());  // the values are ignored: the conditions decide
}

bool CQXPersistentObjectProxy::Exists() { return Loaded().Exists(); }

void CQXPersistentObjectProxy::Refresh() {
  Connected().Reload();
  m_bLoaded = true;
}

void CQXPersistentObjectProxy::AddLinkTableCriteria(const CQXLinkTableCriteria& link) {
  Connected().AddLinkTable(link);
}

void CQXPersistentObjectProxy::SetCorrelationName(const OLECHAR* name) {
  Connected().SetCorrelationName(name);
}

void CQXPersistentObjectProxy::GetSQLforChooseList(CComPtr<ICompany> company,
                                                   const CSimpleMap<CComBSTR, CComBSTR>& fields,
                                                   const CComBSTR& table, bool userTable,
                                                   const CComBSTR& where, CComBSTR& result) {
  Connect(company, table, userTable);
  m_pObject->GetSQLforChooseList(fields, where, result);
}

// Replaces the connected object, which is destroyed first. If making the new one fails, the proxy
// is unconnected.
void CQXPersistentObjectProxy::TakeNewObject() {
  if (m_bConnected) {
    m_pObject.reset();
    m_bConnected = false;
    m_bLoaded = false;
  }
  if (m_pFactory == nullptr)
    throw CQXPersistenceException(u"Proxy is not connected to a persistent object");
  m_pObject = qx::ownedUnlessNull(m_pFactory->CreatePersistentObject());
  m_bConnected = true;
}

CQXPersistentObject& CQXPersistentObjectProxy::Connected() const {
  if (!m_bConnected)
    throw CQXPersistenceException(u"Proxy is not connected to a persistent object");
  return *m_pObject;
}

CQXPersistentObject& CQXPersistentObjectProxy::Loaded() const {
  if (!m_bLoaded)
    throw CQXPersistenceException(u"Proxy is not connected to a initialized persistent object");
  return *m_pObject;
}

}  // namespace Persistence
