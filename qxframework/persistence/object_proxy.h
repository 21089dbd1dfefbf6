#pragma once

// The base of an add-on's class for one row. The derived class maps the values of the row to its
// record and back, and works with records and keys. The proxy writes the SQL of the company's
// dialect.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/simple_map.h"
#include "qxframework/foundation/qx_ptr.h"
#include "qxframework/query/condition.h"

#include <memory>
#include <vector>

class ICompany;

namespace Persistence {

class CQXLinkTableCriteria;
class CQXPersistenceFactory;
class CQXPersistentObject;
class CQXValueContainer;
struct TyFieldValues;

/// One row of a table. The proxy is unconnected until Connect, and loaded after it has read or
/// written a row.
///
/// An operation that the state does not allow throws CQXPersistenceException with code -1.
/// Exceptions of failed statements pass through. Set columns, joins and a correlation name before
/// the row is read for the first time. A copy shares the row with the original: do not copy a proxy
/// in use.
class QX_API CQXPersistentObjectProxy {
 public:
  CQXPersistentObjectProxy();
  CQXPersistentObjectProxy(const CQXPersistentObjectProxy& other);
  CQXPersistentObjectProxy& operator=(const CQXPersistentObjectProxy& other);
  virtual ~CQXPersistentObjectProxy();

  /// Copies the values of the row into the record. A name may begin with a correlation name and a
  /// point.
  virtual void MapToContainer(const TyFieldValues& values, CQXValueContainer& container) = 0;
  /// Copies the record into the values that are then written. For Add the map is empty. For Update
  /// it holds the row that was read: set present names by SetValue, since a name that is added
  /// again is written twice, or clear the map first to write the record's columns only. Always
  /// clear it with joins, and under a correlation name with a field list: the map then has names
  /// such as "T0.Code", which an UPDATE cannot take.
  virtual void ContainerToMap(const CQXValueContainer& container, TyFieldValues& values) = 0;

  bool IsConnected() const { return m_bConnected; }
  bool IsLoaded() const { return m_bLoaded; }
  /// Reads the row with this key, as the overload with conditions does.
  void GetByKey(const TyFieldValues& keys, CQXValueContainer& container);
  /// Sets the columns to select; the caller keeps the names alive.
  void SetFields(const std::vector<const OLECHAR*>& fields);
  /// Copies the values that were read last into the record.
  void GetFields(CQXValueContainer& container);
  /// Inserts a row through a new object, which has no table: see GetByKey with conditions.
  void Add(const CQXValueContainer& container);
  /// Updates the row with the values that ContainerToMap leaves. The columns of the row's
  /// conditions are its key and are not written. Without conditions the former values are the key.
  void Update(const CQXValueContainer& container);
  /// Deletes the rows of the conditions.
  void Remove();
  /// Refreshes and returns true if the statement succeeded. It does not check that the row still
  /// exists; a collection proxy's Exists does.
  bool Exists();
  /// Reads the row again. A loaded proxy repeats its statement without counting the rows: a row
  /// that is gone reads as a row of empty values.
  void Refresh();
  /// Adds a join. If it has a constant text or date and Load fails, use a new proxy: the next
  /// statement would quote the constant again.
  void AddLinkTableCriteria(const CQXLinkTableCriteria& link);
  void SetCorrelationName(const OLECHAR* name);
  /// Connects and puts the SELECT of a choose list into `result`: columns with their titles.
  void GetSQLforChooseList(CComPtr<ICompany> company, const CSimpleMap<CComBSTR, CComBSTR>& fields,
                           const CComBSTR& table, bool userTable, const CComBSTR& where,
                           CComBSTR& result);

 protected:
  /// Connects the proxy to a table by a new object. A former object stays alive as long as the
  /// proxy, and the factory keeps the company of the first call. `table` as in Connect of a
  /// collection proxy.
  void Connect(CComPtr<ICompany> company, const OLECHAR* table, bool userTable);
  /// Reads the row of the conditions. A loaded proxy repeats its statement instead; the conditions
  /// then affect Update and Remove only.
  void Load(qx_ptr<CConditions> conditions);
  /// Searches through a new object, which takes the company of the former one but not its table,
  /// columns, correlation name or joins. The record keeps its current values; nothing is read into
  /// it.
  void GetByKey(qx_ptr<CConditions> conditions, CQXValueContainer& container);
  /// Returns one condition for each value with the operation at the same position; all conditions
  /// are EQUAL if `operations` is empty.
  qx_ptr<CConditions> GetConditionsFromKeyFields(
      const TyFieldValues& values, const std::vector<HvConditionOperation>& operations);

 private:
  void TakeNewObject();
  CQXPersistentObject& Connected() const;
  CQXPersistentObject& Loaded() const;

  std::shared_ptr<CQXPersistentObject> m_pObject;
  bool m_bConnected = false;
  bool m_bLoaded = false;
  std::shared_ptr<CQXPersistenceFactory> m_pFactory;
  std::vector<std::shared_ptr<CQXPersistentObject>> m_vecReplaced;
};

}  // namespace Persistence
