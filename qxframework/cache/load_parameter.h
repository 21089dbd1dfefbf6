#pragma once

// A load parameter describes one read from the database: the table, the columns, the conditions,
// the order and, in the derived class, how many rows to read ahead. The generator of SQL writes a
// statement from it, and the record cache compares it with the parameter of its last read, to
// decide whether the rows in memory answer the next one. Equality is therefore part of the cache's
// logic: read the comments of the two operator== before using them for anything else.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/ole_date_time.h"
#include "qxframework/foundation/qx_ptr.h"
#include "qxframework/query/condition.h"
#include "qxframework/query/field_values.h"
#include "qxframework/query/link_criteria.h"
#include "qxframework/query/sort_field.h"

#include <vector>

namespace qx {
struct LoadParameterAccess;  // tests reach by it what no operation sets
}

namespace Persistence {

/// The read of a table. The lists are shared pointers, each null until it is set.
class QX_API TyLoadParameter {
 public:
  TyLoadParameter();
  /// Makes copies of the lists. The copy has a time stamp of its own and selects rows, even if
  /// `other` selects their count.
  TyLoadParameter(const TyLoadParameter& other);
  /// Shares the lists with `other` and copies the texts and flags. The time stamp stays.
  TyLoadParameter& operator=(const TyLoadParameter& other);

  /// Clears everything but the flag of key fields only, and updates the time stamp.
  virtual void Init();
  /// True if both were last changed in the same second, whatever they hold: the fast path for a
  /// parameter and its copy. Otherwise true if texts, flags and the contents of the lists are
  /// equal; a null list differs from an empty one.
  virtual bool operator==(const TyLoadParameter& other) const;
  /// Releases the lists and calls Init.
  virtual void Clear();
  virtual ~TyLoadParameter();

  /// Sets the names of the columns that form the key of a row. The first form makes a copy; null
  /// leaves none.
  void SetKeyFields(const std::vector<CComBSTR>* fields);
  void SetKeyFields(qx_ptr<std::vector<CComBSTR>> fields);
  qx_ptr<std::vector<CComBSTR>> GetKeyFields() const { return m_ptrKeyFields; }
  /// Sets further columns to read, by a copy. All columns are read if there are none.
  void SetFields(const std::vector<CComBSTR>* fields);
  qx_ptr<std::vector<CComBSTR>> GetFields() const { return m_ptrFields; }
  void SetConditions(qx_ptr<CConditions> conditions);
  qx_ptr<CConditions> GetConditions() const { return m_ptrConditions; }
  void SetSortFields(qx_ptr<CQXPersistenceSortFieldCollection> fields);
  qx_ptr<CQXPersistenceSortFieldCollection> GetSortFields() const { return m_ptrSortFields; }
  void SetLinkTableCriterias(qx_ptr<std::vector<CQXLinkTableCriteria>> criterias);
  qx_ptr<std::vector<CQXLinkTableCriteria>> GetLinkTableCriterias() const {
    return m_ptrLinkTableCriterias;
  }

  /// Reads the key fields only, and the prefetch fields of the derived class.
  void SetKeyFieldsOnly(bool keyFieldsOnly);
  bool IsKeyFieldsOnly() const { return m_bKeyFieldsOnly; }
  void SetIsUserTable(bool userTable);
  bool GetIsUserTable() const { return m_bIsUserTable; }
  /// Sets the table's name as the database has it, with the "@" of a user table.
  void SetMajorTable(const CComBSTR& table);
  const CComBSTR& GetMajorTable() const { return m_bstrMajorTable; }
  /// Sets the name that stands for the table in the statement; an empty one counts as none.
  void SetMajorTableCorrelationName(const CComBSTR& name);
  const CComBSTR& GetMajorTableCorrelationName() const { return m_bstrMajorTableCorrelationName; }
  /// Selects the number of rows instead of the rows. Does not update the time stamp.
  void SetReturnRecordCountOnly(bool countOnly) { m_bReturnRecordCount = countOnly; }
  bool IsReturnRecordCount() const { return m_bReturnRecordCount; }

  /// Adds each key field with an empty value, which makes `values` a template of the key.
  void FillKeyFieldsInfo(TyFieldValues& values) const;
  /// Returns the key in `values`. If `values` begins with the key fields in their order, the result
  /// is `values` itself, with any further fields, and lives as long as the caller keeps it.
  /// Otherwise it is a new map of the key fields alone. Throws the `char*` "Can't find the key in
  /// CMyMap" for a key field without a value.
  qx_ptr<TyFieldValues> GetKeyFromNameValueMap(TyFieldValues& values) const;

 private:
  friend struct qx::LoadParameterAccess;
  void _updateTimeStamp();
  bool hasListsOf(const TyLoadParameter& other) const;

  COleDateTime m_dtTimeStamp;  // of the last change, in whole seconds
  qx_ptr<std::vector<CComBSTR>> m_ptrKeyFields;
  qx_ptr<std::vector<CComBSTR>> m_ptrFields;
  bool m_bKeyFieldsOnly = false;
  CComBSTR m_bstrMajorTable;
  CComBSTR m_bstrMajorTableCorrelationName;
  qx_ptr<CConditions> m_ptrConditions;
  qx_ptr<CQXPersistenceSortFieldCollection> m_ptrSortFields;
  bool m_bIsUserTable = false;
  bool m_bReturnRecordCount = false;
  qx_ptr<std::vector<CQXLinkTableCriteria>> m_ptrLinkTableCriterias;
};

/// How many rows are read.
enum _TyPrefetchBehavior : int {
  pb_NoPrefetch = 0,     ///< the rows that the conditions select, never from the cache
  pb_FirstRows = 1,      ///< the first rows; the generator of SQL refuses it
  pb_AllRows = 2,        ///< the rows that the conditions select
  pb_FirstRowsFrom = 3,  ///< the first rows from a start key onward
  pb_AllRowsFrom = 4     ///< all rows from a start key onward
};

/// A read with a read-ahead: the prefetch fields are the columns and values of a start key.
///
/// A new one has the behaviour pb_FirstRows, which the generator of SQL refuses: call
/// SetPrefetchBehavior before a load.
class QX_API TyLoadParameter_WithPrefetchKeys : public TyLoadParameter {
 public:
  TyLoadParameter_WithPrefetchKeys();
  /// Copies as the base does, the prefetch fields too.
  TyLoadParameter_WithPrefetchKeys(const TyLoadParameter_WithPrefetchKeys& other);
  /// Shares the prefetch fields with `other`.
  TyLoadParameter_WithPrefetchKeys& operator=(const TyLoadParameter_WithPrefetchKeys& other);

  /// Sets no prefetch fields, 100 rows and a time span of 5 minutes, and calls the base's Init.
  void Init() override;
  using TyLoadParameter::operator==;
  void Clear() override;
  ~TyLoadParameter_WithPrefetchKeys() override;
  /// True if the bases are equal, and the numbers of rows, the time spans and the names of the
  /// prefetch fields. The values of the prefetch fields may differ: rows that were read for one
  /// start key can answer another.
  virtual bool operator==(const TyLoadParameter_WithPrefetchKeys& other) const;
  /// Returns the behaviour by the number of rows and the prefetch fields, the only record of it:
  /// pb_AllRowsFrom reads back as pb_FirstRowsFrom with 100000 rows, and pb_AllRowsFrom comes from
  /// pb_FirstRowsFrom with more rows than that.
  virtual _TyPrefetchBehavior GetPrefetchBehavior() const;
  /// Sets the behaviour. `fields` is read for the last two behaviours and `count` for pb_FirstRows
  /// and pb_FirstRowsFrom. Throws CQXPersistenceException "Should not be reachable code" for
  /// another number.
  virtual void SetPrefetchBehavior(_TyPrefetchBehavior behavior, const TyFieldValues* fields,
                                   long count);

  /// Returns the names and values of the start key; null if there is none.
  qx_ptr<TyFieldValues> GetPrefetchFields() const { return m_ptrPrefetchFields; }
  bool HasPrefetchFields() const;
  /// Adds each prefetch field with an empty value.
  void FillPrefetchFieldsInfo(TyFieldValues& values) const;
  /// Sets a copy of the start key; null leaves none.
  void SetPrefetchFields(const TyFieldValues* fields);
  /// Returns the number of rows to read ahead as SetPrefetchBehavior stored it.
  long GetPrefetchCount() const { return m_lPrefetchCount; }
  /// Sets how long the rows in memory answer a load. Does not update the time stamp.
  void SetMaxCacheTimeSpan(const COleDateTimeSpan& span) { m_spanMaxCacheTime = span; }
  const COleDateTimeSpan& GetMaxCacheTimeSpan() const { return m_spanMaxCacheTime; }

 private:
  friend struct qx::LoadParameterAccess;
  void initPrefetch();

  qx_ptr<TyFieldValues> m_ptrPrefetchFields;
  int m_nPrefetchComparison = co_GreaterOrEqual;  // takes part in equality only
  long m_lPrefetchCount = 100;
  COleDateTimeSpan m_spanMaxCacheTime{0, 0, 5, 0};
};

}  // namespace Persistence
