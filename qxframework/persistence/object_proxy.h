#pragma once

// What business code derives from for one row: it writes the two hooks between a row's values and
// its record, and deals in records and keys from then on. The company's engine decides behind it
// which SQL is written.

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

/// One row of a table: not connected until Connect, loaded once it has read or written a row.
///
/// What the state does not allow is refused with a CQXPersistenceException of code -1; those of the
/// statements pass through. Columns, joins and a correlation name are set before the row is read
/// for the first time. A copy shares the row with the original, so a proxy in use is not to be
/// copied.
class QX_API CQXPersistentObjectProxy {
 public:
  CQXPersistentObjectProxy();
  CQXPersistentObjectProxy(const CQXPersistentObjectProxy& other);
  CQXPersistentObjectProxy& operator=(const CQXPersistentObjectProxy& other);
  virtual ~CQXPersistentObjectProxy();

  /// From the values of the row to the record. A name may have a correlation name and a point in
  /// front.
  virtual void MapToContainer(const TyFieldValues& values, CQXValueContainer& container) = 0;
  /// From the record to the values, which are the ones that will be written. Add begins with an
  /// empty map, Update with the row as it was read: a name that is there wants SetValue, since
  /// adding it again writes it twice. Or clear the map first, so that nothing but the record's
  /// columns is written. Under a correlation name with a field list it must be cleared, and with
  /// joins: the map then has names such as "T0.Code" and the joined columns, which no UPDATE takes.
  virtual void ContainerToMap(const CQXValueContainer& container, TyFieldValues& values) = 0;

  bool IsConnected() const { return m_bConnected; }
  bool IsLoaded() const { return m_bLoaded; }
  /// As the form that takes conditions.
  void GetByKey(const TyFieldValues& keys, CQXValueContainer& container);
  /// The columns to select; the caller keeps the names alive.
  void SetFields(const std::vector<const OLECHAR*>& fields);
  void GetFields(CQXValueContainer& container);
  /// Writes a new row through a new object, which has no table of its own.
  void Add(const CQXValueContainer& container);
  /// Writes the values that ContainerToMap leaves. The columns of the row's conditions are its key
  /// and not written; the values from before are the key where there are no conditions.
  void Update(const CQXValueContainer& container);
  void Remove();
  /// Refreshes, and tells whether the statement ran: false when it failed. It does not look whether
  /// the row is still there, which a collection proxy's Exists does.
  bool Exists();
  /// Reads the row anew. A loaded proxy repeats the statement that read it, and does not look how
  /// many rows there are now: one that is gone reads as a row of empty values.
  void Refresh();
  /// A join with the constant of a text or a date wants a new proxy where a Load failed: the next
  /// statement would quote the constant again.
  void AddLinkTableCriteria(const CQXLinkTableCriteria& link);
  void SetCorrelationName(const OLECHAR* name);
  /// Connects, and writes the SELECT of a choose list into `result`: columns with their titles.
  void GetSQLforChooseList(CComPtr<ICompany> company, const CSimpleMap<CComBSTR, CComBSTR>& fields,
                           const CComBSTR& table, bool userTable, const CComBSTR& where,
                           CComBSTR& result);

 protected:
  /// Takes a new object. The former one, if there is one, lives on as long as the proxy. The
  /// factory stays with the company that it was made for. The table is named as for the Connect of
  /// a collection proxy.
  void Connect(CComPtr<ICompany> company, const OLECHAR* table, bool userTable);
  /// Reads the row of the conditions. A loaded proxy repeats the statement that read its row,
  /// whatever conditions it is given; these count for Update and Remove only.
  void Load(qx_ptr<CConditions> conditions);
  /// Looks through a new object, which knows the company and nothing else of the former one: no
  /// table, columns, correlation name or joins. The values that the record gets are its own, none.
  void GetByKey(qx_ptr<CConditions> conditions, CQXValueContainer& container);
  /// One condition for each value, by the operation at its position; EQUAL without operations.
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
