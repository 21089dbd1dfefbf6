#include "qxframework/cache/cached_collection.h"

#include "qxframework/automation/format.h"
#include "qxframework/cache/sql_generator.h"
#include "qxframework/query/persistence_exception.h"
#include "qxframework/query/value_container.h"

#include <iterator>

namespace Persistence {
namespace {

constexpr long kRow = 0;
constexpr long kNoRow = 1;
constexpr const OLECHAR* kNoKeyInDatabase = u"Failed to find the key in database";

[[noreturn]] void refuse(const std::u16string& text) {
  throw CQXPersistenceException(text.c_str());
}

/// Returns the value that a row has for a field of an index.
const CComVariant& indexedValue(const TyRow& row, const CComBSTR& field, const CComBSTR& index) {
  const CComVariant* value = row.m_Fields.find(field);
  if (value == nullptr) value = row.m_KeyFields.find(field);
  if (value == nullptr) {
    refuse(qx::format(u"The rows have no field %s for the index %s: load it, or remove the index",
                      field, index));
  }
  return *value;
}

TyFieldValues indexKeyOf(const TyRow& row, const CRowIndex& index) {
  TyFieldValues values;
  for (const CComBSTR& field : index.GetFields())
    values.Add(field, indexedValue(row, field, index.GetName()));
  return values;
}

/// Returns true for the columns that a user table gets from the cache.
bool isGenerated(const CComBSTR& field) {
  return field.View() == u"Code" || field.View() == u"Name";
}

}  // namespace

CQXPersistentCollection_CacheBased::CQXPersistentCollection_CacheBased() = default;

CQXPersistentCollection_CacheBased::CQXPersistentCollection_CacheBased(
    const CQXPersistentCollection_CacheBased& other)
    : IQXPersistentCollection(other), m_LoadParameter(other.m_LoadParameter) {
  copyAllButTheParameter(other);
}

CQXPersistentCollection_CacheBased& CQXPersistentCollection_CacheBased::operator=(
    const CQXPersistentCollection_CacheBased& other) {
  if (this == &other) return *this;
  m_LoadParameter = other.m_LoadParameter;
  copyAllButTheParameter(other);
  return *this;
}

// The rows are copied, too: a load of one collection must not invalidate the iterator of the other.
void CQXPersistentCollection_CacheBased::copyAllButTheParameter(
    const CQXPersistentCollection_CacheBased& other) {
  m_ptrRows = 0;
  if (other.m_ptrRows != nullptr)
    m_ptrRows = qx_ptr<CRowsInCache>(new CRowsInCache(*other.m_ptrRows), true);
  m_ptrOperation = other.m_ptrOperation;
  m_bstrTable = other.m_bstrTable;
  m_bIsUserTable = other.m_bIsUserTable;
  m_mapIndexes.clear();
  for (const auto& [name, index] : other.m_mapIndexes)
    m_mapIndexes[name] = qx_ptr<CRowIndex>(new CRowIndex(*index), true);
  m_bLoaded = other.m_bLoaded;
  m_lPosition = other.m_lPosition;
  if (m_ptrRows == nullptr) return;
  m_Iterator = m_ptrRows->GetFirstIterator();
  const CRowsInCache::const_iterator end = m_ptrRows->GetEndIterator();
  for (long i = 0; i < m_lPosition && m_Iterator != end; ++i) ++m_Iterator;
}

CQXPersistentCollection_CacheBased::~CQXPersistentCollection_CacheBased() = default;

CRowsInCache& CQXPersistentCollection_CacheBased::connectedRows() const {
  if (m_ptrRows == nullptr) refuse(u"The collection has no table: call Connect before it is used");
  return *m_ptrRows;
}

CDBOperation& CQXPersistentCollection_CacheBased::connectedOperation() const {
  connectedRows();  // Connect makes both
  return *m_ptrOperation;
}

CQXSQLGenerator* CQXPersistentCollection_CacheBased::GetSQLGenerator() const {
  return connectedOperation().GetSQLGenerator();
}

TyLoadParameter_WithPrefetchKeys* CQXPersistentCollection_CacheBased::GetLoadParameter() {
  return &m_LoadParameter;
}

void CQXPersistentCollection_CacheBased::SetCorrelationName(const OLECHAR* name) {
  m_LoadParameter.SetMajorTableCorrelationName(name);
}

void CQXPersistentCollection_CacheBased::SetKeysOnly(bool keysOnly) {
  m_LoadParameter.SetKeyFieldsOnly(keysOnly);
}

void CQXPersistentCollection_CacheBased::Connect(const CComPtr<ICompany>& company,
                                                 const OLECHAR* table, bool userTable,
                                                 const OLECHAR* cacheTable) {
  if (table == nullptr) refuse(u"Connect needs the name of a table");
  const CComBSTR cache(cacheTable != nullptr ? cacheTable : table);
  // Made first, so that a failure leaves the collection as it was.
  const qx_ptr<CRowsInCache> rows(new CRowsInCache(company, cache), true);
  m_ptrOperation = qx_ptr<CDBOperation>(new CDBOperation(company, cache), true);
  m_ptrRows = rows;
  m_bstrTable = table;
  m_bIsUserTable = userTable;
  m_LoadParameter.SetMajorTable(m_bstrTable);
  m_LoadParameter.SetIsUserTable(userTable);
  m_ptrRows->Clear();
  m_lPosition = -1;
  m_Iterator = m_ptrRows->GetEndIterator();
  m_bLoaded = false;
}

// Loading on the first use is no change that a caller sees, hence const.
void CQXPersistentCollection_CacheBased::_checkAndLoad() const {
  if (m_bLoaded) return;
  auto& self = const_cast<CQXPersistentCollection_CacheBased&>(*this);
  self.Load();
  self.m_bLoaded = true;
}

void CQXPersistentCollection_CacheBased::Load() {
  CRowsInCache& rows = connectedRows();
  ClearIndexContent();
  // What a failing load leaves: the rows are gone, so the cursor must not point to one.
  m_bLoaded = false;
  m_lPosition = -1;
  m_Iterator = rows.GetEndIterator();
  rows.Load(qx_ptr<TyLoadParameter_WithPrefetchKeys>(&m_LoadParameter, false));
  m_bLoaded = true;
  if (rows.GetRecordCount() > 0) First(nullptr);
}

void CQXPersistentCollection_CacheBased::Refresh(CQXValueContainer& container) {
  Load();
  m_bLoaded = true;
  if (GetRecordCount() < 1) throw CQXPersistenceException(kNoKeyInDatabase);
  First(container);
}

long CQXPersistentCollection_CacheBased::GetRecordCount() const {
  _checkAndLoad();
  return connectedRows().GetRecordCount();
}

bool CQXPersistentCollection_CacheBased::Eof() const {
  return m_lPosition >= GetRecordCount() || m_Iterator == connectedRows().GetEndIterator();
}

bool CQXPersistentCollection_CacheBased::Bof() const {
  _checkAndLoad();
  return m_lPosition < 0;
}

long CQXPersistentCollection_CacheBased::First(CQXValueContainer& container) {
  return First(&container);
}

long CQXPersistentCollection_CacheBased::Last(CQXValueContainer& container) {
  return Last(&container);
}

long CQXPersistentCollection_CacheBased::Next(CQXValueContainer& container) {
  return Next(&container);
}

long CQXPersistentCollection_CacheBased::Previous(CQXValueContainer& container) {
  return Previous(&container);
}

long CQXPersistentCollection_CacheBased::First(CQXValueContainer* container) {
  if (GetRecordCount() < 1) return kNoRow;
  m_lPosition = 0;
  m_Iterator = connectedRows().GetFirstIterator();
  return readCurrent(container);
}

long CQXPersistentCollection_CacheBased::Last(CQXValueContainer* container) {
  const long count = GetRecordCount();
  if (count < 1) return kNoRow;
  m_lPosition = count - 1;
  m_Iterator = connectedRows().GetLastIterator();
  return readCurrent(container);
}

long CQXPersistentCollection_CacheBased::Next(CQXValueContainer* container) {
  requireRow();
  ++m_lPosition;
  ++m_Iterator;
  return Eof() ? kNoRow : readCurrent(container);
}

long CQXPersistentCollection_CacheBased::Previous(CQXValueContainer* container) {
  requireRow();
  --m_lPosition;
  if (Bof()) return kNoRow;  // the iterator stays: there is nothing in front of the first row
  --m_Iterator;
  return readCurrent(container);
}

void CQXPersistentCollection_CacheBased::requireRow() const {
  if (Eof() || Bof())  // without rows, both
    throw CQXPersistenceException(u"Can't move next, EOF or BOF met");
}

long CQXPersistentCollection_CacheBased::readCurrent(CQXValueContainer* container) {
  if (container != nullptr) _loadToContainer(*container);
  return kRow;
}

// The row is held, because the add-on's conversion may load the collection anew.
void CQXPersistentCollection_CacheBased::_loadToContainer(CQXValueContainer& container) {
  qx_ptr<TyRow> row = m_Iterator->second;
  if (m_LoadParameter.IsKeyFieldsOnly()) {
    row = connectedOperation().GetByKey_DirectFromDB(GetLoadParaFromKey(m_Iterator->first));
    if (row == nullptr) throw CQXPersistenceException(kNoKeyInDatabase);
  }
  MapToContainer(row->m_Fields, container);
}

qx_ptr<TyLoadParameter_WithPrefetchKeys> CQXPersistentCollection_CacheBased::GetLoadParaFromKey(
    const TyFieldValues& keys) {
  qx_ptr<TyLoadParameter_WithPrefetchKeys> param(
      new TyLoadParameter_WithPrefetchKeys(m_LoadParameter), true);
  param->SetKeyFieldsOnly(false);
  param->SetPrefetchBehavior(pb_NoPrefetch, nullptr, -1);
  param->SetConditions(GetConditionsFromKeyFields(keys, {}));
  return param;
}

qx_ptr<CConditions> CQXPersistentCollection_CacheBased::GetConditionsFromKeyFields(
    const TyFieldValues& values, const std::vector<HvConditionOperation>& operations) {
  return GetSQLGenerator()->GetConditionsFromKeyFields(values, operations);
}

void CQXPersistentCollection_CacheBased::Add(const CQXValueContainer& container) {
  CDBOperation& operation = connectedOperation();
  TyFieldValues values;
  ContainerToMap(container, values);
  operation.Add(m_LoadParameter.GetMajorTable(), m_LoadParameter.GetIsUserTable(),
                rowToAdd(std::move(values)));
}

// The key has the key fields only. Those that the table generates come from the cache.
TyRow CQXPersistentCollection_CacheBased::rowToAdd(TyFieldValues values) const {
  TyFieldValues names;
  m_LoadParameter.FillKeyFieldsInfo(names);
  TyFieldValues key;
  for (long i = 0; i < names.GetCount(); ++i) {
    const CComBSTR& name = names.keyAt(i);
    if (const CComVariant* const value = values.find(name)) {
      key.Add(name, *value);
    } else if (!m_LoadParameter.GetIsUserTable() || !isGenerated(name)) {
      refuse(qx::format(u"The record has no value for the key field %s of table %s", name,
                        m_LoadParameter.GetMajorTable()));
    }
  }
  return TyRow{std::move(key), std::move(values)};
}

void CQXPersistentCollection_CacheBased::Update(const TyFieldValues& keys,
                                                const CQXValueContainer& container) {
  CDBOperation& operation = connectedOperation();
  TyRow row{keys, {}};
  ContainerToMap(container, row.m_Fields);
  operation.Update(m_LoadParameter.GetMajorTable(), row);
}

void CQXPersistentCollection_CacheBased::Remove(const TyFieldValues& keys) {
  connectedOperation().DeleteByKey(m_LoadParameter.GetMajorTable(), keys);
}

void CQXPersistentCollection_CacheBased::RemoveByFieldValues(const TyFieldValues& values) {
  connectedOperation().DeleteByFieldValues(m_LoadParameter.GetMajorTable(), values);
}

bool CQXPersistentCollection_CacheBased::Exists(const TyFieldValues& keys) {
  const qx_ptr<TyLoadParameter_WithPrefetchKeys> param = GetLoadParaFromKey(keys);
  param->SetReturnRecordCountOnly(true);
  param->SetSortFields({});
  return connectedOperation().ExistsInDB(param);
}

bool CQXPersistentCollection_CacheBased::ExistsInCache(TyFieldValues& keys) {
  _checkAndLoad();
  return connectedRows().GetByKey(keys) != nullptr;
}

bool CQXPersistentCollection_CacheBased::FindByKey(const TyFieldValues& keys,
                                                   CQXValueContainer* container) {
  _checkAndLoad();
  const qx_ptr<TyRow> row = connectedRows().GetByKey(keys);
  if (row == nullptr) return false;
  moveTo(keys);
  if (container != nullptr) MapToContainer(row->m_Fields, *container);
  return true;
}

// Moves to the row of a key, or to the last row if there is none.
void CQXPersistentCollection_CacheBased::moveTo(const TyFieldValues& keys) {
  if (First(nullptr) == kNoRow) return;
  const CRowsInCache::const_iterator last = connectedRows().GetLastIterator();
  while (m_Iterator != last && m_Iterator->first != keys) {
    ++m_Iterator;
    ++m_lPosition;
  }
}

void CQXPersistentCollection_CacheBased::AddIndex(const CComBSTR& name,
                                                  const std::vector<CComBSTR>& fields) {
  m_mapIndexes[name] = qx_ptr<CRowIndex>(new CRowIndex(name, fields), true);
}

void CQXPersistentCollection_CacheBased::RemoveIndex(const CComBSTR& name) {
  m_mapIndexes.erase(name);
}

void CQXPersistentCollection_CacheBased::ClearAllIndexes() { m_mapIndexes.clear(); }

void CQXPersistentCollection_CacheBased::ClearIndexContent() {
  for (const auto& [name, index] : m_mapIndexes) index->SetKeys();
}

void CQXPersistentCollection_CacheBased::BuildIndex(qx_ptr<CRowIndex> index,
                                                    qx_ptr<TyVector_KeyCollection> keys) {
  const CRowsInCache& rows = connectedRows();
  if (index == nullptr) refuse(u"BuildIndex needs an index");
  if (keys == nullptr) keys = rows.GetKeyCollection();
  // Filled beside it, so that a row that is refused does not leave a part of an index behind.
  TyKeysByValues content;
  for (const TyFieldValues& key : *keys) {
    const qx_ptr<TyRow> row = rows.GetByKey(key);
    if (row == nullptr) continue;
    qx_ptr<TyVector_KeyCollection>& found = content[indexKeyOf(*row, *index)];
    if (found == nullptr) found = qx_ptr<TyVector_KeyCollection>(new TyVector_KeyCollection, true);
    found->push_back(key);
  }
  index->SetKeys(std::move(content));
}

void CQXPersistentCollection_CacheBased::RebuildIndexes() {
  if (m_mapIndexes.empty()) return;
  const qx_ptr<TyVector_KeyCollection> keys = connectedRows().GetKeyCollection();
  for (const auto& [name, index] : m_mapIndexes) BuildIndex(index, keys);
}

void CQXPersistentCollection_CacheBased::GetRowsByIndex(std::vector<qx_ptr<TyRow>>& result,
                                                        const CComBSTR& name,
                                                        const TyFieldValues& values) {
  if (GetRecordCount() < 1) return;
  const qx_ptr<CRowIndex> index = indexNamed(name);
  if (index->GetKeys().empty()) BuildIndex(index, {});
  index->AppendRows(values, connectedRows(), result);
}

qx_ptr<CRowIndex> CQXPersistentCollection_CacheBased::indexNamed(const CComBSTR& name) const {
  const auto place = m_mapIndexes.find(name);
  if (place == m_mapIndexes.end())
    refuse(qx::format(u"The collection has no index %s: call AddIndex before a search", name));
  return place->second;
}

bool CQXPersistentCollection_CacheBased::FindInIndex(const CComBSTR& name,
                                                     const TyFieldValues& values,
                                                     CQXValueContainer* container) {
  std::vector<qx_ptr<TyRow>> rows;
  GetRowsByIndex(rows, name, values);
  if (rows.empty()) return false;
  if (container != nullptr) MapToContainer(rows.front()->m_Fields, *container);
  return true;
}

}  // namespace Persistence
