#pragma once

// A collection whose rows come from the record cache of a table: the add-on's class maps the values
// of a row to its record and back. The collection steps through the rows of its last load, writes
// through the cache, and finds rows by indexes that it builds in memory.
//
// The load parameter says what is loaded. It has to be set up before the first operation that
// reads; docs/record-cache.md has the rules.

#include "qxframework/cache/db_operation.h"
#include "qxframework/cache/load_parameter.h"
#include "qxframework/cache/row_index.h"
#include "qxframework/cache/rows_in_cache.h"
#include "qxframework/query/browser_collection.h"

#include <map>
#include <vector>

namespace Persistence {

class CQXSQLGenerator;

/// Rows from a cache. The first operation that reads loads them; Load reads them again. Rows and
/// cursor stay as they are until then, whatever is written, by this collection too. The cache,
/// which all collections of the table share, has the change at once.
///
/// Before Connect an operation that needs the cache throws CQXPersistenceException. Failures of the
/// cache pass through, and so does what the add-on's conversions throw: a step has then moved the
/// cursor, and a write has changed nothing.
class QX_API CQXPersistentCollection_CacheBased : public IQXPersistentCollection {
 public:
  CQXPersistentCollection_CacheBased();
  /// The copy has the same rows, cursor and indexes, and goes on by itself. Both share the cache.
  /// An assigned collection also shares the lists of the load parameter.
  CQXPersistentCollection_CacheBased(const CQXPersistentCollection_CacheBased& other);
  CQXPersistentCollection_CacheBased& operator=(const CQXPersistentCollection_CacheBased& other);
  ~CQXPersistentCollection_CacheBased() override;

  long First(CQXValueContainer& container) override;
  long Last(CQXValueContainer& container) override;
  long Next(CQXValueContainer& container) override;
  long Previous(CQXValueContainer& container) override;
  /// True after the last row and without rows.
  bool Eof() const override;
  /// True before the first row and without rows.
  bool Bof() const override;
  /// Adds the record, with a generated Code and Name if the table is a user table. Throws
  /// CQXPersistenceException if the record lacks a key field that is not generated.
  void Add(const CQXValueContainer& container) override;
  /// Loads and reads the first row. Throws CQXPersistenceException "Failed to find the key in
  /// database" without rows.
  void Refresh(CQXValueContainer& container) override;
  long GetRecordCount() const override;

  /// Chooses the table, with the "@" of a user table. Collections with equal names of a cache share
  /// it; without `cacheTable` the table's name is that of the cache. A second Connect leaves the
  /// rows of the first.
  void Connect(const CComPtr<ICompany>& company, const OLECHAR* table, bool userTable,
               const OLECHAR* cacheTable) override;
  /// Asks the database, not the cache.
  bool Exists(const TyFieldValues& keys) override;
  /// Reads the rows of the load parameter and moves to the first. If that fails, the collection has
  /// no rows, and the next operation that reads loads again.
  void Load() override;
  void Remove(const TyFieldValues& keys) override;
  /// Writes all fields of the record to the row with the key.
  void Update(const TyFieldValues& keys, const CQXValueContainer& container) override;
  qx_ptr<CConditions> GetConditionsFromKeyFields(
      const TyFieldValues& values, const std::vector<HvConditionOperation>& operations) override;
  void SetCorrelationName(const OLECHAR* name) override;
  /// With true a load reads keys only, and a step reads its row by a statement of its own. The step
  /// throws CQXPersistenceException "Failed to find the key in database" if the row is gone.
  void SetKeysOnly(bool keysOnly) override;

  /// Step to a row and read it into the record, if there is one. Return 0 for a row and 1 for none.
  /// The last two throw CQXPersistenceException "Can't move next, EOF or BOF met" before the first
  /// and after the last row.
  virtual long First(CQXValueContainer* container);
  virtual long Last(CQXValueContainer* container);
  virtual long Next(CQXValueContainer* container);
  virtual long Previous(CQXValueContainer* container);
  /// Returns true if the cache has the row, whichever load read it.
  virtual bool ExistsInCache(TyFieldValues& keys);
  /// Reads the row that the cache has under a key and moves to it; to the last row if the row came
  /// from another load. Returns false if the cache has none.
  virtual bool FindByKey(const TyFieldValues& keys, CQXValueContainer* container);
  /// Deletes all rows with these values.
  virtual void RemoveByFieldValues(const TyFieldValues& values);
  /// Reads the first row with these values of an index, in the order of keys. Returns false if
  /// there is none. Does not move the cursor.
  virtual bool FindInIndex(const CComBSTR& name, const TyFieldValues& values,
                           CQXValueContainer* container);
  /// Returns the parameter of Load, which belongs to the collection. Connect sets its table.
  virtual TyLoadParameter_WithPrefetchKeys* GetLoadParameter();
  /// Adds an index over fields of the rows, named as the rows have them, or replaces one.
  virtual void AddIndex(const CComBSTR& name, const std::vector<CComBSTR>& fields);
  virtual void RemoveIndex(const CComBSTR& name);
  virtual void ClearAllIndexes();
  /// Empties the indexes, which stay; the next search fills the one that it uses.
  virtual void ClearIndexContent();
  /// Appends the rows with these values of an index. A row that the cache no longer has is passed
  /// over. Throws CQXPersistenceException for an unknown index if there are rows.
  virtual void GetRowsByIndex(std::vector<qx_ptr<TyRow>>& result, const CComBSTR& name,
                              const TyFieldValues& values);
  virtual void RebuildIndexes();
  /// Fills the index anew from the rows of the keys; null for all rows. Throws
  /// CQXPersistenceException if a row lacks a field of the index.
  virtual void BuildIndex(qx_ptr<CRowIndex> index, qx_ptr<TyVector_KeyCollection> keys);

  /// Returns the generator of the cache's statements, which lives as long as the cache.
  CQXSQLGenerator* GetSQLGenerator() const;

 protected:
  /// Loads if no load has run since Connect.
  void _checkAndLoad() const;
  /// Returns a copy of the load parameter that reads the row of a key.
  qx_ptr<TyLoadParameter_WithPrefetchKeys> GetLoadParaFromKey(const TyFieldValues& keys);

 private:
  void _loadToContainer(CQXValueContainer& container);
  long readCurrent(CQXValueContainer* container);
  void requireRow() const;
  CRowsInCache& connectedRows() const;
  CDBOperation& connectedOperation() const;
  TyRow rowToAdd(TyFieldValues values) const;
  qx_ptr<CRowIndex> indexNamed(const CComBSTR& name) const;
  void moveTo(const TyFieldValues& keys);
  void copyAllButTheParameter(const CQXPersistentCollection_CacheBased& other);

  qx_ptr<CRowsInCache> m_ptrRows;
  qx_ptr<CDBOperation> m_ptrOperation;
  CComBSTR m_bstrTable;
  bool m_bIsUserTable = false;
  TyLoadParameter_WithPrefetchKeys m_LoadParameter;
  long m_lPosition = -1;
  CRowsInCache::const_iterator m_Iterator{};
  std::map<CComBSTR, qx_ptr<CRowIndex>> m_mapIndexes;
  bool m_bLoaded = false;
};

}  // namespace Persistence
