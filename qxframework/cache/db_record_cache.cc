// The caches of all tables, the buffered statements and the transactions; db_record_cache_load.cc
// reads rows and db_record_cache_write.cc changes them.

#include "qxframework/cache/db_record_cache.h"

#include "qxframework/cache/internal/cache_parts.h"
#include "qxframework/cache/internal/row_bytes.h"
#include "qxframework/cache/sql_generator.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/query/persistence_exception.h"

#include <utility>

namespace Persistence {
namespace {

using Totals = std::map<CComBSTR, qx_ptr<CacheCounters>>;

// The counts of the tables outlive their caches, which each rollback forgets.
Totals& totals() {
  // Never destroyed, because the last caches are destroyed when the process ends.
  static auto* all = new Totals;
  return *all;
}

qx_ptr<CacheCounters> countersOf(const CComBSTR& table) {
  qx_ptr<CacheCounters>& counters = totals()[table];
  if (counters == nullptr) {
    counters = qx_ptr<CacheCounters>(new CacheCounters, true);
    counters->table = table;
  }
  return counters;
}

/// Does the work of a transaction's hook. The manager reports one text for every failure.
template <class Work>
void beforeTransaction(const OLECHAR* function, const OLECHAR* what, const OLECHAR* failure,
                       Work&& work) {
  CReturnValue<void> scope(function, qx::kCacheLogId);
  scope.LogInfo(what);
  try {
    work();
  } catch (...) {
    throw CQXPersistenceException(failure);
  }
}

}  // namespace

std::map<CComBSTR, qx_ptr<CDBRecordCache>> CDBRecordCache::sm_instanceMap;
CComBSTR CDBRecordCache::sm_hvxCompanyDBName;
CComPtr<ICompany> CDBRecordCache::sm_hvxCompany;

qx_ptr<CDBRecordCache> CDBRecordCache::GetInstance(const CComPtr<ICompany>& company,
                                                   const CComBSTR& table) {
  const CComBSTR name = company->GetCompanyDB();
  if (name != sm_hvxCompanyDBName || company.p != sm_hvxCompany.p) {
    clearAll(true, false, &CacheFlushes::companyChange);
    sm_hvxCompanyDBName = name;
    sm_hvxCompany = company;
  }
  qx_ptr<CDBRecordCache>& cache = sm_instanceMap[table];
  if (cache == nullptr) {
    cache = qx_ptr<CDBRecordCache>(new CDBRecordCache(company), true);
    cache->m_ptrCounters = countersOf(table);
  }
  return cache;
}

// A copy of the pointers, because a flush of one cache may change the map.
std::vector<qx_ptr<CDBRecordCache>> CDBRecordCache::instances() {
  std::vector<qx_ptr<CDBRecordCache>> caches;
  for (const auto& [table, cache] : sm_instanceMap) caches.push_back(cache);
  return caches;
}

void CDBRecordCache::ClearAllCaches(bool flush, bool discardBuffered) {
  clearAll(flush, discardBuffered, &CacheFlushes::request);
}

void CDBRecordCache::clearAll(bool flush, bool discardBuffered, FlushReason reason) {
  CReturnValue<void> scope(u"CDBRecordCache::ClearAllCaches", qx::kCacheLogId);
  for (const qx_ptr<CDBRecordCache>& cache : instances()) {
    const FlushingFor because(*cache, reason);
    cache->ClearCache(true, flush);
    if (!flush && discardBuffered) cache->ClearBufferedSQL();
  }
  sm_instanceMap.clear();
  sm_hvxCompanyDBName.Empty();
  sm_hvxCompany.Release();
}

void CDBRecordCache::ReleaseAllCaches() {
  if (sm_instanceMap.empty()) return;
  // Each for itself: one that fails must not keep the others from being sent.
  for (const qx_ptr<CDBRecordCache>& cache : instances()) cache->flushForTheLastTime();
  clearAll(false, true, &CacheFlushes::lastUse);
}

void CDBRecordCache::ClearAllRows() {
  for (const qx_ptr<CDBRecordCache>& cache : instances()) cache->ClearCache(true, false);
}

CDBRecordCache::Instances CDBRecordCache::CurrentInstances() {
  return {sm_instanceMap, sm_hvxCompanyDBName, sm_hvxCompany};
}

void CDBRecordCache::RestoreInstances(const Instances& instances) {
  if (sm_hvxCompany != nullptr && sm_hvxCompany.p != instances.company.p) return;
  sm_hvxCompanyDBName = instances.database;
  sm_hvxCompany = instances.company;
  sm_instanceMap.insert(instances.caches.begin(), instances.caches.end());
}

void CDBRecordCache::FlushAllCaches() { flushAll(&CacheFlushes::request); }

void CDBRecordCache::flushAll(FlushReason reason) {
  for (const qx_ptr<CDBRecordCache>& cache : instances()) {
    const FlushingFor because(*cache, reason);
    cache->FlushToDB();
  }
}

void CDBRecordCache::BeforeTransaction_Start() {
  beforeTransaction(u"CDBRecordCache::BeforeTransaction_Start", u"Start",
                    u"Failed in CDBRecordCache::BeforeTransaction_Start()",
                    [] { flushAll(&CacheFlushes::transactionStart); });
}

void CDBRecordCache::BeforeTransaction_Commit() {
  beforeTransaction(u"CDBRecordCache::BeforeTransaction_Commit", u"Commit",
                    u"Failed in CDBRecordCache::BeforeTransaction_Commit()",
                    [] { flushAll(&CacheFlushes::commit); });
}

void CDBRecordCache::BeforeTransaction_Rollback() {
  beforeTransaction(u"CDBRecordCache::BeforeTransaction_Rollback", u"Rollback",
                    u"Failed in CDBRecordCache::BeforeTransaction_Rollback()",
                    [] { ClearAllCaches(false, true); });
}

CDBRecordCache::CDBRecordCache(const CComPtr<ICompany>& company)
    : m_ptrCompany(company),
      m_pSQLGenerator(new CQXSQLGenerator_MSSQL),
      m_ptrCounters(new CacheCounters, true) {
  m_pSQLGenerator->SetCompany(company);
}

CDBRecordCache::~CDBRecordCache() {
  flushForTheLastTime();
  ClearCache(true, false);
  m_ptrLastLoadParameter = 0;
  delete m_pSQLGenerator;
}

void CDBRecordCache::flushForTheLastTime() {
  try {
    const FlushingFor because(*this, &CacheFlushes::lastUse);
    FlushToDB();
  } catch (...) {
    logLostStatements();
  }
}

void CDBRecordCache::logLostStatements() const {
  CReturnValue<void> scope(u"CDBRecordCache::~CDBRecordCache", qx::kCacheLogId, true);
  for (std::size_t i = m_nStatementsRun; i < m_vecBufferedSQL.size(); ++i)
    scope.LogError(u"Lost statement: %s", m_vecBufferedSQL[i]);
}

void CDBRecordCache::ClearCache(bool clearRows, bool flushFirst) {
  if (flushFirst) FlushToDB();
  if (!clearRows) return;
  noteChangeOfRows();
  m_mapRows.clear();
  m_mapPrefetchedKeys.clear();
  m_bLoaded = false;
  // The load that is reading rows has lost those that it has read so far.
  if (m_reading == Reading::Rows) m_reading = Reading::LostRows;
}

void CDBRecordCache::noteChangeOfRows() {
  m_mapFoundRows.clear();
  m_nRowsVersion = nextRowsVersion();
}

// Starts at 1, so that 0 is the version of no rows.
unsigned long CDBRecordCache::nextRowsVersion() {
  static unsigned long last = 0;
  return ++last;
}

void CDBRecordCache::FlushToDB() { _runBufferedSql(); }

void CDBRecordCache::ClearBufferedSQL() {
  m_ptrCounters->statementsDiscarded += static_cast<long>(m_vecBufferedSQL.size());
  m_vecBufferedSQL.clear();
  m_lFirstUnsentCode = -1;
  m_codesKeptSince.reset();  // a rollback
}

CComPtr<IRecordset> CDBRecordCache::GetRecordSet() {
  if (m_ptrRecordSet == nullptr) m_ptrRecordSet = m_ptrCompany->GetBusinessObject(qx::kRecordset);
  return m_ptrRecordSet;
}

void CDBRecordCache::ReleaseRecordSet() { m_ptrRecordSet.Release(); }

void CDBRecordCache::_runBufferedSql() {
  m_nStatementsRun = 0;
  // The first row that is inserted ends the keeping of codes, and so does a transaction's end,
  // ahead of which all caches are flushed.
  m_codesKeptSince.reset();
  if (m_vecBufferedSQL.empty()) return;
  const RecordSetAside aside(*this);
  const CComPtr<IRecordset> recordSet = GetRecordSet();
  for (; m_nStatementsRun < m_vecBufferedSQL.size(); ++m_nStatementsRun) {
    recordSet->DoQuery(m_vecBufferedSQL[m_nStatementsRun]);
    ++m_ptrCounters->statementsSent;
  }
  m_vecBufferedSQL.clear();
  m_lFirstUnsentCode = -1;
  ++(m_ptrCounters->flushes.*m_flushReason);
  ReleaseRecordSet();
}

void CDBRecordCache::RunSQL_AddUpdateRemove(const CComBSTR& sql) {
  m_vecBufferedSQL.push_back(sql);
  if (std::cmp_less(m_vecBufferedSQL.size(), m_nMaxBufferedSqlSize)) return;
  const FlushingFor because(*this, &CacheFlushes::full);
  _runBufferedSql();
}

CacheCounters CDBRecordCache::Counters() const {
  CacheCounters counters = *m_ptrCounters;
  counters.rows = static_cast<long>(m_mapRows.size());
  counters.bytes = qx::bytesOf(m_mapRows) + qx::bytesOf(m_mapPrefetchedKeys);
  counters.bufferedStatements = static_cast<long>(m_vecBufferedSQL.size());
  return counters;
}

std::vector<CacheCounters> CDBRecordCache::AllCounters() {
  std::vector<CacheCounters> all;
  for (const auto& [table, counters] : totals()) {
    const auto cache = sm_instanceMap.find(table);
    all.push_back(cache == sm_instanceMap.end() ? *counters : cache->second->Counters());
  }
  return all;
}

void CDBRecordCache::ResetCounters() {
  std::erase_if(totals(), [](const auto& each) { return !sm_instanceMap.contains(each.first); });
  for (const auto& [table, counters] : totals()) {
    *counters = {};
    counters->table = table;
  }
}

CComBSTR CDBRecordCache::CountersText() {
  CComBSTR text;
  for (const CacheCounters& counters : AllCounters()) {
    text += counters.Text();
    text += u"\n";
  }
  return text;
}

void CDBRecordCache::LogCounters() {
  CReturnValue<void> scope(u"CDBRecordCache::LogCounters", qx::kCacheLogId, true);
  for (const CacheCounters& counters : AllCounters()) scope.LogInfo(u"%s", counters.Text());
}

}  // namespace Persistence
