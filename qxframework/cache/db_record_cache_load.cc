// Answering a load from memory or from the database, and the reads past the cache.

#include "qxframework/automation/format.h"
#include "qxframework/cache/db_record_cache.h"
#include "qxframework/cache/internal/cache_parts.h"
#include "qxframework/cache/sql_generator.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/os/clock.h"
#include "qxframework/query/persistence_exception.h"
#include "qxframework/sql/recordset_cell.h"

#include <algorithm>
#include <chrono>

namespace Persistence {
namespace {

/// Returns the time in whole seconds. It is UTC: when local time is set back an hour in autumn,
/// rows must not be kept an hour longer.
COleDateTime currentTime() {
  constexpr double kUnixEpoch = 25569;  // 1970-01-01
  const auto seconds = std::chrono::floor<std::chrono::seconds>(qx::currentClock().now());
  const std::chrono::duration<double, std::ratio<86400>> days = seconds.time_since_epoch();
  return COleDateTime(kUnixEpoch + days.count());
}

/// Adds the values of the current prefetch fields to the keys of their rows. The order of the
/// statement makes equal values adjacent, so the list is looked up only when the value changes.
class PrefetchedKeys {
 public:
  using Lists = std::map<TyFieldValues, qx_ptr<TyVector_KeyCollection>>;
  explicit PrefetchedKeys(Lists& lists) : lists_(lists) {}

  void add(const TyFieldValues& prefetch, const TyFieldValues& key) {
    if (current_ == nullptr || prefetch != value_) {
      qx_ptr<TyVector_KeyCollection>& list = lists_[prefetch];
      if (list == nullptr) list = qx_ptr<TyVector_KeyCollection>(new TyVector_KeyCollection, true);
      current_ = list;
      value_ = prefetch;
    }
    current_->push_back(key);
  }

 private:
  Lists& lists_;
  TyFieldValues value_;
  qx_ptr<TyVector_KeyCollection> current_;
};

}  // namespace

int CDBRecordCache::Load(qx_ptr<TyLoadParameter_WithPrefetchKeys> param, TyRowsByKey& returnRows) {
  CReturnValue<void> scope(u"CDBRecordCache::Load", qx::kCacheLogId);
  refuseWhileReading(*param);
  const COleDateTime now = currentTime();
  MissReason reason = reasonToReload(*param, now);
  int count = -1;
  if (reason == nullptr) {
    count = rowsFromMemory(*param, returnRows);
    if (count == -1) reason = &CacheMisses::keyNotSeen;
  }
  countLoad(*param, reason, now);
  if (reason == nullptr) return count;
  clearForLoad();
  // For a start key that was not seen the parameter stays until the rows are there.
  if (reason != &CacheMisses::keyNotSeen) m_ptrLastLoadParameter = 0;
  return loadFromDatabase(param, returnRows, now, scope);
}

void CDBRecordCache::refuseWhileReading(const TyLoadParameter& param) const {
  if (!isReadingRows()) return;
  throw CQXPersistenceException(
      qx::format(u"The cache is loading rows of '%s'; load again when that load has ended",
                 param.GetMajorTable())
          .c_str());
}

CDBRecordCache::MissReason CDBRecordCache::reasonToReload(
    const TyLoadParameter_WithPrefetchKeys& param, const COleDateTime& now) const {
  // The first reason that applies. All of them lead to the same steps, so that the order only
  // decides what an author is told.
  if (param.GetPrefetchBehavior() == pb_NoPrefetch) return &CacheMisses::noReadAhead;
  if (m_ptrLastLoadParameter != nullptr && !(*m_ptrLastLoadParameter == param))
    return &CacheMisses::otherParameter;
  if (!m_bLoaded) return &CacheMisses::notLoaded;
  // In whole seconds, as differences of dates are not exact to the last digit. The clock may have
  // been set back: the span is then below 0, and the rows stay valid.
  const COleDateTimeSpan elapsed = now - m_dtLastLoadTime;
  if (elapsed.GetTotalSeconds() > param.GetMaxCacheTimeSpan().GetTotalSeconds())
    return &CacheMisses::expired;
  return nullptr;
}

std::u16string CDBRecordCache::reasonText(const TyLoadParameter_WithPrefetchKeys& param,
                                          MissReason reason, const COleDateTime& now) const {
  if (reason == &CacheMisses::noReadAhead) return u"its behaviour reads no rows ahead";
  if (reason == &CacheMisses::otherParameter) return u"the rows were read with another parameter";
  if (reason == &CacheMisses::notLoaded) return u"there are no rows in memory";
  if (reason == &CacheMisses::keyNotSeen) return u"the start key is not among the rows";
  return qx::format(u"the rows are %d s old, and %d s are allowed",
                    static_cast<long>((now - m_dtLastLoadTime).GetTotalSeconds()),
                    static_cast<long>(param.GetMaxCacheTimeSpan().GetTotalSeconds()));
}

void CDBRecordCache::countLoad(const TyLoadParameter_WithPrefetchKeys& param, MissReason reason,
                               const COleDateTime& now) {
  // A name of its own, so that these lines can be found, and left out, by it.
  CReturnValue<void> scope(u"CDBRecordCache::LoadReason", qx::kCacheLogId, true);
  if (reason == nullptr) {
    ++m_ptrCounters->hits;
    scope.LogDbg0(u"'%s' from memory", param.GetMajorTable());
  } else {
    ++(m_ptrCounters->misses.*reason);
    scope.LogDbg0(u"'%s' from the database: %s", param.GetMajorTable(),
                  reasonText(param, reason, now));
  }
}

void CDBRecordCache::clearForLoad() {
  const FlushingFor because(*this, &CacheFlushes::load);
  ClearCache(true, true);
}

int CDBRecordCache::rowsFromMemory(const TyLoadParameter_WithPrefetchKeys& param,
                                   TyRowsByKey& returnRows) const {
  if (param.HasPrefetchFields()) {
    const auto found = m_mapPrefetchedKeys.find(*param.GetPrefetchFields());
    if (found == m_mapPrefetchedKeys.end()) return -1;
    addListedRows(*found->second, returnRows);
    return static_cast<int>(found->second->size());
  }
  if (m_ptrLastLoadParameter == nullptr) return -1;
  _getAllRowsAsReturnRows(returnRows);
  return static_cast<int>(m_mapRows.size());
}

int CDBRecordCache::loadFromDatabase(const qx_ptr<TyLoadParameter_WithPrefetchKeys>& param,
                                     TyRowsByKey& returnRows, const COleDateTime& now,
                                     CReturnValue<void>& scope) {
  const CComPtr<IRecordset> recordSet = runSelect(param, u"'%s'", scope);
  {
    ReadingRows reading(*this);
    LoadRecordSetRowsToCache(param, recordSet);
    if (m_reading == Reading::LostRows) {
      throw CQXPersistenceException(
          qx::format(u"The rows of '%s' were cleared while they were loaded; load them again",
                     param->GetMajorTable())
              .c_str());
    }
    reading.done();
  }
  scope.LogInfo(u"'%s' Loaded", param->GetMajorTable());
  const int count = rowsOfLoad(*param, returnRows);
  m_dtLastLoadTime = now;
  m_ptrLastLoadParameter =
      qx_ptr<TyLoadParameter_WithPrefetchKeys>(new TyLoadParameter_WithPrefetchKeys(*param), true);
  m_bLoaded = true;
  ReleaseRecordSet();
  return count;
}

int CDBRecordCache::rowsOfLoad(const TyLoadParameter_WithPrefetchKeys& param,
                               TyRowsByKey& returnRows) {
  if (!param.HasPrefetchFields()) {
    _getAllRowsAsReturnRows(returnRows);
    return static_cast<int>(m_mapRows.size());
  }
  // A start key without rows is kept too, so that the next load of it needs no query.
  qx_ptr<TyVector_KeyCollection>& keys = m_mapPrefetchedKeys[*param.GetPrefetchFields()];
  if (keys == nullptr) keys = qx_ptr<TyVector_KeyCollection>(new TyVector_KeyCollection, true);
  addListedRows(*keys, returnRows);
  return static_cast<int>(keys->size());
}

void CDBRecordCache::_getReturnRowsFromKeyCollection(const TyVector_KeyCollection& keys,
                                                     TyRowsByKey& returnRows) const {
  addRows(findRows(keys).rows, returnRows);
}

// One of the cache's own lists needs no look-ups when it is asked for again, so that a page takes
// no longer among many rows than among few.
void CDBRecordCache::addListedRows(const TyVector_KeyCollection& list,
                                   TyRowsByKey& returnRows) const {
  FoundRows& found = m_mapFoundRows[&list];
  if (found.keyCount != list.size()) found = findRows(list);
  addRows(found.rows, returnRows);
}

CDBRecordCache::FoundRows CDBRecordCache::findRows(const TyVector_KeyCollection& keys) const {
  FoundRows found{keys.size(), {}};
  for (const TyFieldValues& key : keys) {
    const auto row = m_mapRows.find(key);
    if (row != m_mapRows.end()) found.rows.insert_or_assign(found.rows.end(), key, row->second);
  }
  return found;
}

void CDBRecordCache::addRows(const TyRowsByKey& rows, TyRowsByKey& returnRows) {
  if (returnRows.empty()) {
    returnRows = rows;  // without comparisons
    return;
  }
  for (const auto& [key, row] : rows) returnRows.insert_or_assign(returnRows.end(), key, row);
}

void CDBRecordCache::_getAllRowsAsReturnRows(TyRowsByKey& returnRows) const {
  addRows(m_mapRows, returnRows);
}

CComPtr<IRecordset> CDBRecordCache::runSelect(const qx_ptr<TyLoadParameter_WithPrefetchKeys>& param,
                                              const OLECHAR* logFormat, CReturnValue<void>& scope) {
  const CComBSTR sql = m_pSQLGenerator->BuildSQL_Select(param);
  scope.LogInfo(logFormat, sql);
  CComPtr<IRecordset> recordSet = GetRecordSet();
  recordSet->DoQuery(sql);
  return recordSet;
}

void CDBRecordCache::LoadRecordSetRowsToCache(const qx_ptr<TyLoadParameter_WithPrefetchKeys>& param,
                                              IRecordset* recordSet) {
  CReturnValue<void> scope(u"CDBRecordCache::LoadRecordSetRowsToCache", qx::kCacheLogId);
  if (recordSet->GetRecordCount() > 0) recordSet->MoveFirst();
  std::vector<CComBSTR> names;
  TyFieldValues key;
  TyFieldValues prefetch;
  param->FillKeyFieldsInfo(key);
  param->FillPrefetchFieldsInfo(prefetch);
  PrefetchedKeys prefetched(m_mapPrefetchedKeys);
  while (recordSet->GetEoF() == VARIANT_FALSE) {
    qx_ptr<TyRow> row(new TyRow, true);
    LoadRowFromRecordSet(recordSet, param->IsKeyFieldsOnly(), key, prefetch, names, *row);
    noteChangeOfRows();
    // Rows often come in the order of their keys, which makes the end the right place.
    m_mapRows.insert_or_assign(m_mapRows.end(), key, row);
    if (param->HasPrefetchFields()) prefetched.add(prefetch, key);
    recordSet->MoveNext();
  }
}

void CDBRecordCache::LoadRowFromRecordSet(IRecordset* recordSet, bool keysOnly, TyFieldValues& key,
                                          TyFieldValues& prefetch, std::vector<CComBSTR>& names,
                                          TyRow& row) {
  CReturnValue<void> scope(u"CDBRecordCache::LoadRowFromRecordSet", qx::kCacheLogId);
  const CComPtr<IFields> fields = recordSet->GetFields();
  const long columns = fields->Count();
  if (!std::cmp_equal(names.size(), columns)) readNames(*fields.p, columns, names);
  const long firstOther = key.GetCount() + prefetch.GetCount();
  row.m_Fields = emptyFields(names, firstOther);
  for (long i = 0; i < columns; ++i) {
    CComVariant value = fields->Item(CComVariant(i))->GetValue();
    if (i < key.GetCount()) {
      key.SetValueAt(i, std::move(value));
    } else if (i < firstOther) {
      prefetch.SetValueAt(i - key.GetCount(), std::move(value));
    } else {
      row.m_Fields.SetValueAt(i - firstOther, std::move(value));
    }
  }
  row.m_KeyFields = key;
  if (keysOnly) row.m_Fields = key;
}

void CDBRecordCache::readNames(IFields& fields, long columns, std::vector<CComBSTR>& names) {
  names.clear();
  for (long i = 0; i < columns; ++i) names.push_back(fields.Item(CComVariant(i))->GetName());
}

// The rows of a load share their names with this one.
const TyFieldValues& CDBRecordCache::emptyFields(const std::vector<CComBSTR>& names, long first) {
  const auto begin = names.begin() + std::min(first, static_cast<long>(names.size()));
  const auto isKnown = [&] {
    if (m_EmptyFields.GetCount() != names.end() - begin) return false;
    for (long i = 0; i < m_EmptyFields.GetCount(); ++i)
      if (m_EmptyFields.keyAt(i).View() != begin[i].View()) return false;
    return true;
  };
  if (!isKnown()) {
    m_EmptyFields.Clear();
    for (auto name = begin; name != names.end(); ++name) m_EmptyFields.Add(*name, CComVariant());
  }
  return m_EmptyFields;
}

qx_ptr<TyRow> CDBRecordCache::GetByKey_DirectFromDB(
    qx_ptr<TyLoadParameter_WithPrefetchKeys> param) {
  CReturnValue<void> scope(u"CDBRecordCache::GetByKey_DirectFromDB", qx::kCacheLogId);
  const RecordSetAside aside(*this);
  const FlushingFor because(*this, &CacheFlushes::directRead);
  FlushToDB();
  const CComPtr<IRecordset> recordSet = runSelect(param, u"RunSQL:%s", scope);
  const long count = recordSet->GetRecordCount();
  if (count > 1)
    throw CQXPersistenceException(u"Invalid key: found duplicate record based on one key");
  if (count < 1) return {};
  TyFieldValues key;
  TyFieldValues prefetch;
  param->FillKeyFieldsInfo(key);
  param->FillPrefetchFieldsInfo(prefetch);
  std::vector<CComBSTR> names;
  qx_ptr<TyRow> row(new TyRow, true);
  LoadRowFromRecordSet(recordSet, param->IsKeyFieldsOnly(), key, prefetch, names, *row);
  ReleaseRecordSet();
  return row;
}

bool CDBRecordCache::ExistsInDB(qx_ptr<TyLoadParameter_WithPrefetchKeys> param) {
  CReturnValue<void> scope(u"CDBRecordCache::ExistsInDB", qx::kCacheLogId);
  const RecordSetAside aside(*this);
  const FlushingFor because(*this, &CacheFlushes::directRead);
  FlushToDB();
  const CComPtr<IRecordset> recordSet = runSelect(param, u"RunSQL:%s", scope);
  const bool exists = qx::cellValue(recordSet, 0, VT_I4).lVal >= 1;
  ReleaseRecordSet();
  return exists;
}

}  // namespace Persistence
