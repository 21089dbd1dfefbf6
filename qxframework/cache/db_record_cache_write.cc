// The rows in memory by their keys, and the writes: each changes the rows and buffers a statement.

#include "qxframework/automation/format.h"
#include "qxframework/cache/db_record_cache.h"
#include "qxframework/cache/internal/cache_parts.h"
#include "qxframework/cache/sql_generator.h"
#include "qxframework/foundation/thrown_text.h"
#include "qxframework/host/company_sharing.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/os/clock.h"
#include "qxframework/query/persistence_exception.h"
#include "qxframework/util/qx_util.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <vector>

namespace Persistence {
namespace {

// A company keeps codes for a short time only. This is less, so that the company is asked too often
// rather than too late.
constexpr std::chrono::seconds kKeptFor{1};

/// Returns the number after the highest code of the table.
long nextCodeOf(const CComPtr<ICompany>& company, const CComBSTR& table) {
  constexpr long kNoAppId = -1;
  long number = 0;
  const CComBSTR code = CQXUtil::GetNextCodeValue(kNoAppId, company, table, &number);
  if (code.IsEmpty()) {
    throw CQXPersistenceException(
        qx::format(u"Failed to get max. Code value for table '%s'.", table).c_str());
  }
  return number;
}

/// Returns the value of a field, from the row's other fields or from its key; null if it has none.
const CComVariant* valueOf(const TyRow& row, const CComBSTR& name) {
  const CComVariant* const value = row.m_Fields.find(name);
  return value != nullptr ? value : row.m_KeyFields.find(name);
}

/// Returns true and the values that a row has for the fields of `names`; false if it lacks one.
bool valuesOf(const TyRow& row, const TyFieldValues& names, TyFieldValues& values) {
  for (long i = 0; i < names.GetCount(); ++i) {
    const CComVariant* const value = valueOf(row, names.keyAt(i));
    if (value == nullptr) return false;
    values.Add(names.keyAt(i), *value);
  }
  return true;
}

}  // namespace

qx_ptr<TyRow> CDBRecordCache::GetRowByKey(const TyFieldValues& key) const {
  const auto found = m_mapRows.find(key);
  if (found == m_mapRows.end()) return {};
  ++m_ptrCounters->rowsFound;
  return found->second;
}

long CDBRecordCache::GetRecordCountByPrefetchedKey(const TyFieldValues& prefetch) const {
  const auto found = m_mapPrefetchedKeys.find(prefetch);
  return found == m_mapPrefetchedKeys.end() ? 0 : static_cast<long>(found->second->size());
}

qx_ptr<TyVector_KeyCollection> CDBRecordCache::GetKeyCollection(
    const TyFieldValues& prefetch) const {
  CReturnValue<void> scope(u"CDBRecordCache::GetKeyCollection", qx::kCacheLogId);
  const auto found = m_mapPrefetchedKeys.find(prefetch);
  return found == m_mapPrefetchedKeys.end() ? qx_ptr<TyVector_KeyCollection>() : found->second;
}

long CDBRecordCache::takeCode(const CComBSTR& table, bool addCode) {
  if (addCode && (m_lNextCode < 0 || !codesGoOn(table))) drawCode(table);
  const long code = m_lNextCode;
  if (code >= 0) m_lNextCode = code + 1;
  if (addCode && m_lFirstUnsentCode < 0) m_lFirstUnsentCode = code;
  return code;
}

// Rows that wait here are not in the database, so it is the first of them that has to follow the
// highest code there. A company that does not answer is asked by the statement instead.
bool CDBRecordCache::codesGoOn(const CComBSTR& table) {
  const auto now = qx::currentClock().monotonic();
  if (m_codesKeptSince && now - *m_codesKeptSince <= kKeptFor) return true;
  const CComQIPtr<ICompanySharing> sharing(m_ptrCompany);
  if (sharing == nullptr) return true;
  const long first = m_lFirstUnsentCode >= 0 ? m_lFirstUnsentCode : m_lNextCode;
  VARIANT_BOOL goesOn = VARIANT_FALSE;
  if (sharing->raw_ContinueCodes(table.m_str, first, &goesOn) < 0 || goesOn == VARIANT_FALSE) {
    m_codesKeptSince.reset();
    return false;
  }
  m_codesKeptSince = now;
  return true;
}

// Codes have 32 bits. The number is kept without a sign, so that a code above 7FFFFFFF does not
// read as one that is still unknown.
void CDBRecordCache::drawCode(const CComBSTR& table) {
  constexpr long kAllBits = 0xFFFFFFFF;
  const auto now = qx::currentClock().monotonic();
  const long drawn = nextCodeOf(m_ptrCompany, table) & kAllBits;
  m_codesKeptSince = now;
  // Beyond the rows that wait here, whose codes the database does not know.
  m_lNextCode = m_lFirstUnsentCode < 0 ? drawn : std::max(drawn, m_lNextCode);
}

void CDBRecordCache::Add(const CComBSTR& table, bool addCode, const TyRow& row) {
  const long code = takeCode(table, addCode);
  const CComBSTR sql = m_pSQLGenerator->BuildSQL_Insert(table, addCode, row, code);
  std::optional<TyRow> kept;
  // Before the statement is buffered: a row without its key is refused as a whole.
  if (m_ptrLastLoadParameter != nullptr) kept = rowToKeep(row, addCode, code);
  RunSQL_AddUpdateRemove(sql);
  if (kept && m_ptrLastLoadParameter != nullptr) keepAdded(*kept);
}

TyRow CDBRecordCache::rowToKeep(const TyRow& row, bool addCode, long code) const {
  TyRow kept{{}, row.m_Fields};
  TyFieldValues names;
  m_ptrLastLoadParameter->FillKeyFieldsInfo(names);
  for (long i = 0; i < names.GetCount(); ++i) {
    const CComBSTR& name = names.keyAt(i);
    const CComVariant* value = row.m_KeyFields.find(name);
    if (value == nullptr) value = row.m_Fields.find(name);
    // The statement gives these two columns the code.
    if (value == nullptr && addCode && (name == u"Code" || name == u"Name")) {
      kept.m_KeyFields.Add(name, CComVariant(qx::format(u"%08X", code)));
    } else {
      kept.m_KeyFields.Add(name, value == nullptr ? row.m_KeyFields[name] : *value);
    }
  }
  return kept;
}

void CDBRecordCache::keepAdded(const TyRow& row) {
  noteChangeOfRows();
  m_mapRows.insert_or_assign(row.m_KeyFields, qx_ptr<TyRow>(new TyRow(row), true));
  // A value that was not read starts no list: the list would lack the rows of the database.
  const auto list = listOf(row);
  if (list != nullptr) list->push_back(row.m_KeyFields);
}

qx_ptr<TyVector_KeyCollection> CDBRecordCache::listOf(const TyRow& row) const {
  TyFieldValues names;
  TyFieldValues values;
  m_ptrLastLoadParameter->FillPrefetchFieldsInfo(names);
  if (m_mapPrefetchedKeys.empty() || !valuesOf(row, names, values)) return {};
  const auto found = m_mapPrefetchedKeys.find(values);
  return found == m_mapPrefetchedKeys.end() ? qx_ptr<TyVector_KeyCollection>() : found->second;
}

void CDBRecordCache::Update(const CComBSTR& table, const TyRow& row) {
  const CComBSTR sql = m_pSQLGenerator->BuildSQL_Update(table, row);
  // Before the statement is buffered: this throws for a key that is not one of the cache.
  if (m_ptrLastLoadParameter != nullptr) m_mapRows.contains(row.m_KeyFields);
  RunSQL_AddUpdateRemove(sql);
  if (m_ptrLastLoadParameter == nullptr) return;
  const auto found = m_mapRows.find(row.m_KeyFields);
  if (found == m_mapRows.end()) return;
  noteChangeOfRows();
  found->second = qx_ptr<TyRow>(new TyRow(row), true);
}

void CDBRecordCache::DeleteByKey(const CComBSTR& table, const TyFieldValues& key) {
  // Written first, because a key without a literal must not remove the row from memory alone.
  const CComBSTR sql = m_pSQLGenerator->BuildSQL_Delete(table, key);
  forget(key);
  RunSQL_AddUpdateRemove(sql);
}

void CDBRecordCache::forget(const TyFieldValues& key) {
  if (m_ptrLastLoadParameter == nullptr) return;
  const auto found = m_mapRows.find(key);
  if (found == m_mapRows.end()) return;
  const auto list = listOf(*found->second);
  // By the key in memory: the caller's may be an element of this list.
  if (list != nullptr) std::erase(*list, found->first);
  noteChangeOfRows();
  m_mapRows.erase(found);
}

void CDBRecordCache::DeleteByFieldValues(const CComBSTR& table, const TyFieldValues& values) {
  RunSQL_AddUpdateRemove(m_pSQLGenerator->BuildSQL_Delete(table, values));
  ClearCache(true, false);
}

}  // namespace Persistence
