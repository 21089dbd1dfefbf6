#pragma once

// The cache of one table: the rows of its last read, and the statements that wait to be sent.
//
// A load is answered from memory if its parameter equals that of the last read, the rows are not
// older than it allows, and its start key was in that read. Otherwise the rows are replaced as a
// whole. Writes change the rows in memory at once; their statements are sent together: when there
// are 100, before anything is read from the database, and before a transaction starts or is
// committed. docs/record-cache.md has the rules for authors.
//
// One thread uses all caches. Failures of the company are _com_error.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/ole_date_time.h"
#include "qxframework/cache/cache_counters.h"
#include "qxframework/cache/load_parameter.h"
#include "qxframework/foundation/qx_ptr.h"
#include "qxframework/host/company.h"
#include "qxframework/host/recordset.h"
#include "qxframework/query/field_values.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

template <class T>
class CReturnValue;

namespace Persistence {

class CQXSQLGenerator;

/// Rows by their key. A row stays valid for its holder when the cache drops it.
using TyRowsByKey = std::map<TyFieldValues, qx_ptr<TyRow>>;

class QX_API CDBRecordCache {
 public:
  /// Returns the cache of a table, a new one at its first use. If the company, or the name of its
  /// database, is not the one of the caches so far, the statements of all caches are sent to the
  /// earlier company and the caches are forgotten. If that fails, the earlier company stays:
  /// ClearAllCaches(false, true) gives the statements up.
  static qx_ptr<CDBRecordCache> GetInstance(const CComPtr<ICompany>& company,
                                            const CComBSTR& table);
  /// Forgets the rows and the caches of all tables. The statements are sent if `flush` is true, and
  /// dropped if it is false and `discardBuffered` is true. With neither, each cache sends them when
  /// its last holder releases it.
  static void ClearAllCaches(bool flush, bool discardBuffered);
  static void FlushAllCaches();
  /// Drops the rows of all tables. The caches stay, with what they have buffered.
  static void ClearAllRows();
  /// The caches of all tables and their company.
  struct Instances {
    std::map<CComBSTR, qx_ptr<CDBRecordCache>> caches;
    CComBSTR database;
    CComPtr<ICompany> company;
  };
  /// Return the caches, and make them the current ones again after a rollback has emptied and
  /// forgotten them. A collection that was made before writes to its cache of that time, which no
  /// commit would send otherwise. A company that has come into use meanwhile keeps its caches.
  static Instances CurrentInstances();
  static void RestoreInstances(const Instances& instances);
  /// Sends all statements and forgets the caches and the company, at the end of an add-on. What
  /// cannot be sent is written to the log as errors. Without caches nothing is logged.
  static void ReleaseAllCaches();
  /// Called by the transaction manager. The first two send all statements: those from before a
  /// transaction do not belong to it, those of a transaction do. The third drops the statements and
  /// forgets all caches. Any failure becomes a CQXPersistenceException "Failed in
  /// CDBRecordCache::BeforeTransaction_Start()", with the name of the operation.
  static void BeforeTransaction_Start();
  static void BeforeTransaction_Commit();
  static void BeforeTransaction_Rollback();

  /// Returns the counts of every table that had a cache in this process, in the order of the names.
  static std::vector<CacheCounters> AllCounters();
  /// Returns the same as text, one line for each table; empty without tables.
  static CComBSTR CountersText();
  /// Writes the same lines to the log at level Information.
  static void LogCounters();
  /// Starts all counts anew. Tables without a cache are left out from now on.
  static void ResetCounters();

  /// Sends what is buffered. Statements that cannot be sent are written to the log as errors.
  virtual ~CDBRecordCache();
  /// Sends the buffered statements in their order. If one fails, all of them stay buffered, so that
  /// those that ran before it run again with the next flush.
  virtual void FlushToDB();
  /// Drops the buffered statements.
  virtual void ClearBufferedSQL();
  /// Returns the row in memory; null if there is none. Throws the `OLECHAR*` "Not compatible
  /// TyFieldvalues for comparison" if the key has another number of fields than those in memory.
  virtual qx_ptr<TyRow> GetRowByKey(const TyFieldValues& key) const;
  /// Returns the number of keys in memory under a value of the prefetch fields.
  virtual long GetRecordCountByPrefetchedKey(const TyFieldValues& prefetch) const;
  /// Returns these keys in the order read; null if the value was not read.
  virtual qx_ptr<TyVector_KeyCollection> GetKeyCollection(const TyFieldValues& prefetch) const;
  /// Returns the record set of this cache, a new one from the company if none is open.
  virtual CComPtr<IRecordset> GetRecordSet();
  virtual void ReleaseRecordSet();
  /// Adds the rows of a record set, which is left after its last row.
  virtual void LoadRecordSetRowsToCache(const qx_ptr<TyLoadParameter_WithPrefetchKeys>& param,
                                        IRecordset* recordSet);
  /// Reads the current row. The first columns go into `key`, then as many as it has go into
  /// `prefetch`, both by position; the further ones into the other fields of `row` by their names.
  /// With `keysOnly` these are a copy of the key. `names` has the names of the columns; it is
  /// filled if its length is not the number of columns, so that a load reads them once.
  virtual void LoadRowFromRecordSet(IRecordset* recordSet, bool keysOnly, TyFieldValues& key,
                                    TyFieldValues& prefetch, std::vector<CComBSTR>& names,
                                    TyRow& row);
  virtual void _runBufferedSql();
  /// Buffers a statement, and sends all of them if the buffer has reached its size.
  virtual void RunSQL_AddUpdateRemove(const CComBSTR& sql);

  CDBRecordCache(const CDBRecordCache&) = delete;
  CDBRecordCache& operator=(const CDBRecordCache&) = delete;

  /// True if a load succeeded and its rows were not cleared since.
  bool IsLoaded() const { return m_bLoaded; }
  void ClearCache(bool clearRows, bool flushFirst);
  /// Puts the rows of the parameter into `returnRows` and returns their number, from memory if it
  /// can. A key whose row has gone counts and is passed over. Throws CQXPersistenceException if
  /// called while a load of this cache is reading rows.
  int Load(qx_ptr<TyLoadParameter_WithPrefetchKeys> param, TyRowsByKey& returnRows);
  /// Return one row, null if there is none, and whether the count of rows, which the parameter must
  /// ask for, is at least 1. Both send the buffered statements and read the database; the rows in
  /// memory stay as they are. The first throws CQXPersistenceException "Invalid key: found
  /// duplicate record based on one key" for several rows.
  qx_ptr<TyRow> GetByKey_DirectFromDB(qx_ptr<TyLoadParameter_WithPrefetchKeys> param);
  bool ExistsInDB(qx_ptr<TyLoadParameter_WithPrefetchKeys> param);

  /// Buffer the statement of a write and change the rows in memory alike. A row that is added gets
  /// the next code of the table if `addCode` is true, and its key is that of the last load. The
  /// first such code comes from the database, the further ones from memory; a company that is
  /// shared is asked whether they still follow, unless it keeps the codes for this program
  /// meanwhile. An update replaces the row in memory by `row`. DeleteByFieldValues drops all rows,
  /// since it cannot tell which ones are deleted.
  void Add(const CComBSTR& table, bool addCode, const TyRow& row);
  void Update(const CComBSTR& table, const TyRow& row);
  void DeleteByKey(const CComBSTR& table, const TyFieldValues& key);
  void DeleteByFieldValues(const CComBSTR& table, const TyFieldValues& values);
  /// Returns the generator of this cache's statements, which the cache owns.
  CQXSQLGenerator* GetSQLGenerator() const { return m_pSQLGenerator; }
  /// Returns a number that stays as long as no row in memory changes. No two caches have had the
  /// same number.
  unsigned long RowsVersion() const { return m_nRowsVersion; }
  /// Counts rows that a caller kept from a search by their keys.
  void CountFoundRows(std::size_t rows) { m_ptrCounters->rowsFound += static_cast<long>(rows); }
  /// Returns the counts of this cache's table, with what this cache holds.
  CacheCounters Counters() const;

 protected:
  explicit CDBRecordCache(const CComPtr<ICompany>& company);
  int GetMaxBufferedSqlSize() const { return m_nMaxBufferedSqlSize; }
  void SetMaxBufferedSqlSize(int size) { m_nMaxBufferedSqlSize = size; }
  void _getReturnRowsFromKeyCollection(const TyVector_KeyCollection& keys,
                                       TyRowsByKey& returnRows) const;
  void _getAllRowsAsReturnRows(TyRowsByKey& returnRows) const;

 private:
  using MissReason = long CacheMisses::*;
  using FlushReason = long CacheFlushes::*;
  /// The rows of a list of keys.
  struct FoundRows {
    std::size_t keyCount = 0;
    TyRowsByKey rows;
  };
  enum class Reading { Nothing, Rows, LostRows };
  class FlushingFor;
  class ReadingRows;
  class RecordSetAside;

  static std::vector<qx_ptr<CDBRecordCache>> instances();
  static void flushAll(FlushReason reason);
  static void clearAll(bool flush, bool discardBuffered, FlushReason reason);
  void flushForTheLastTime();
  void logLostStatements() const;
  bool isReadingRows() const { return m_reading != Reading::Nothing; }

  // The parts of Load.
  void refuseWhileReading(const TyLoadParameter& param) const;
  MissReason reasonToReload(const TyLoadParameter_WithPrefetchKeys& param,
                            const COleDateTime& now) const;
  void clearForLoad();
  int rowsFromMemory(const TyLoadParameter_WithPrefetchKeys& param, TyRowsByKey& returnRows) const;
  int loadFromDatabase(const qx_ptr<TyLoadParameter_WithPrefetchKeys>& param,
                       TyRowsByKey& returnRows, const COleDateTime& now, CReturnValue<void>& scope);
  int rowsOfLoad(const TyLoadParameter_WithPrefetchKeys& param, TyRowsByKey& returnRows);
  void addListedRows(const TyVector_KeyCollection& list, TyRowsByKey& returnRows) const;
  FoundRows findRows(const TyVector_KeyCollection& keys) const;
  static void addRows(const TyRowsByKey& rows, TyRowsByKey& returnRows);
  std::u16string reasonText(const TyLoadParameter_WithPrefetchKeys& param, MissReason reason,
                            const COleDateTime& now) const;
  void countLoad(const TyLoadParameter_WithPrefetchKeys& param, MissReason reason,
                 const COleDateTime& now);
  static void readNames(IFields& fields, long columns, std::vector<CComBSTR>& names);
  const TyFieldValues& emptyFields(const std::vector<CComBSTR>& names, long first);
  CComPtr<IRecordset> runSelect(const qx_ptr<TyLoadParameter_WithPrefetchKeys>& param,
                                const OLECHAR* logFormat, CReturnValue<void>& scope);

  void noteChangeOfRows();
  static unsigned long nextRowsVersion();

  // The parts of the writes.
  long takeCode(const CComBSTR& table, bool addCode);
  bool codesGoOn(const CComBSTR& table);
  void drawCode(const CComBSTR& table);
  TyRow rowToKeep(const TyRow& row, bool addCode, long code) const;
  void keepAdded(const TyRow& row);
  qx_ptr<TyVector_KeyCollection> listOf(const TyRow& row) const;
  void forget(const TyFieldValues& key);

  static std::map<CComBSTR, qx_ptr<CDBRecordCache>> sm_instanceMap;
  static CComBSTR sm_hvxCompanyDBName;
  static CComPtr<ICompany> sm_hvxCompany;

  TyRowsByKey m_mapRows;
  std::map<TyFieldValues, qx_ptr<TyVector_KeyCollection>> m_mapPrefetchedKeys;
  qx_ptr<TyLoadParameter_WithPrefetchKeys> m_ptrLastLoadParameter;
  CComPtr<ICompany> m_ptrCompany;
  CComQIPtr<IRecordset> m_ptrRecordSet;
  CQXSQLGenerator* m_pSQLGenerator;
  bool m_bLoaded = false;
  std::vector<CComBSTR> m_vecBufferedSQL;
  int m_nMaxBufferedSqlSize = 100;
  COleDateTime m_dtLastLoadTime;
  long m_lNextCode = -1;

  // Beyond the declared fields, which other modules may know by their places.
  qx_ptr<CacheCounters> m_ptrCounters;
  FlushReason m_flushReason = &CacheFlushes::request;
  Reading m_reading = Reading::Nothing;
  unsigned long m_nRowsVersion = nextRowsVersion();
  // By the lists that were returned since a row was last changed.
  mutable std::map<const TyVector_KeyCollection*, FoundRows> m_mapFoundRows;
  TyFieldValues m_EmptyFields;       // with the names of the rows that are being read
  std::size_t m_nStatementsRun = 0;  // of the buffered ones, by the last flush
  long m_lFirstUnsentCode = -1;      // of the rows whose statements are buffered; -1 for none
  // When the company was last asked for a code, if it still keeps the codes for this program.
  std::optional<std::chrono::steady_clock::time_point> m_codesKeptSince;
};

}  // namespace Persistence
