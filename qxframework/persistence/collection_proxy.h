#pragma once

// The base of an add-on's class for a set of rows. The derived class maps the values of a row to
// its record and back. The proxy then steps through records, and finds, adds, changes and removes
// them by their keys. It writes the SQL of the company's dialect.

#include "qxframework/query/browser_collection.h"
#include "qxframework/query/field_values.h"
#include "qxframework/query/sort_field.h"

#include <memory>

namespace Persistence {

class CQXLinkTableCriteria;
class CQXPersistenceFactory;
class CQXPersistentCollection;
class CQXPersistentObject;

/// The rows of one SELECT. The proxy is unconnected until Connect, and loaded after Load.
///
/// An operation that the state does not allow throws CQXPersistenceException with code -1.
/// Exceptions of failed statements pass through.
///
/// The first Load fixes the query. Conditions, fields, sort fields, joins and the correlation name
/// that are set later take effect only with SetMaxRecordCount to a new value and another Load.
///
/// The rows have one cursor. The steps, GetByKey, Find, Update, Remove and Refresh move it: an
/// operation that searches for a row starts at the first row, stays on the row that it finds, and
/// ends after the last row if it finds none. Exists, Add and RemoveRange do not move it. The rows
/// are those that the query found, until Refresh.
///
/// GetByKey, Find, Update and Remove compare texts. A key's date becomes the dialect's literal and
/// its number has a decimal point, but the row's value becomes a plain text in the user's locale.
/// Therefore a VT_DATE never matches, and neither does a number with decimals in a locale with a
/// decimal comma. Give a date as a text in the dialect's form instead: "20240131", for kordb
/// "2024-01-31 00:00:00".
///
/// A copy shares the rows with the original: do not copy a proxy in use.
class QX_API CQXPersistentCollectionProxy : public IQXObjCollectionForBrowser {
 public:
  CQXPersistentCollectionProxy(const CQXPersistentCollectionProxy& other);
  CQXPersistentCollectionProxy& operator=(const CQXPersistentCollectionProxy& other);
  ~CQXPersistentCollectionProxy() override;

  /// Connects the proxy, once only. `table` is the name in the database, with the "@" of a user
  /// table. With `userTable` new rows get a generated Code and Name.
  void Connect(CComPtr<ICompany> company, const OLECHAR* table, bool userTable);
  bool IsConnected() const { return m_bConnected; }
  bool IsLoaded() const { return m_bLoaded; }
  /// Runs the query. Null conditions select all rows. The caller keeps the names alive.
  void Load(const std::vector<const OLECHAR*>& keyFields, qx_ptr<CConditions> conditions);

  /// Reads the first row with a complete key, searched among the rows of the query. Throws "No
  /// match found" if there is none. A key is complete if it has all key fields of Load, so Load
  /// comes first; this also holds for Exists, Update and Remove.
  void GetByKey(const TyFieldValues& keys, CQXValueContainer& container);
  /// Reads the first row with these values, of any columns. Returns false and leaves the container
  /// unchanged if there is none or Load has not run.
  bool Find(const TyFieldValues& keys, CQXValueContainer& container);
  /// Returns true if the database has exactly one row with the key; false for none, for several and
  /// if the statement fails. Does not look at the rows of the query.
  bool Exists(const TyFieldValues& keys);
  /// Sets the limit on the rows, -1 for none, and unloads the proxy: Load comes next. It writes a
  /// new query only if the value is new.
  void SetMaxRecordCount(long maximum);
  /// Updates all rows of the table with a complete key; one of them must be among the rows of the
  /// query. Key columns are not written. The database refuses a record without other columns.
  void Update(const TyFieldValues& keys, const CQXValueContainer& container);
  /// Deletes all rows of the table with a complete key; one of them must be among the rows of the
  /// query.
  void Remove(const TyFieldValues& keys);
  /// Deletes all rows with these values by one statement. All operations must be EQUAL; an empty
  /// list means that.
  void RemoveRange(const TyFieldValues& values,
                   const std::vector<HvConditionOperation>& operations);

  long First(CQXValueContainer& container) override;
  long Last(CQXValueContainer& container) override;
  long Next(CQXValueContainer& container) override;
  long Previous(CQXValueContainer& container) override;
  bool Eof() const override;
  bool Bof() const override;
  void Add(const CQXValueContainer& container) override;
  /// Runs the query again and reads the same row, or the first one if that row is gone. Throws
  /// "Record set is empty" if there is no row.
  void Refresh(CQXValueContainer& container) override;
  long GetRecordCount() const override;

  /// True, which is the default, if the query selects keys only and each row is read by a SELECT of
  /// its own. Set it before Load.
  bool GetKeysOnly() const;
  void SetKeysOnly(bool keysOnly);
  /// Sets the columns to select; the caller keeps the names alive. Without keys only, the key
  /// fields must be among them: a search by a column that the rows lack, and
  /// BuildPrimaryKeyConditions, throw a _com_error of DISP_E_BADINDEX.
  void SetFields(const std::vector<const OLECHAR*>& fields);
  void SetSortFields(const CQXPersistenceSortFieldCollection& fields);
  /// Returns the value of the name or, if there is none, of the name with its small letters made
  /// capital; a VT_I4 of 0 if neither has a value.
  CComVariant GetValue(const TyFieldValues& values, const OLECHAR* name) const;
  /// Returns the key of the current row. Throws "No valid current record found" after the last row
  /// and if there is no row.
  qx_ptr<CConditions> BuildPrimaryKeyConditions();
  /// Adds a join. Conditions and sort fields remain columns of the proxy's own table. The fields of
  /// the join must not equal those of SetFields: the statement would lack the comma between the two
  /// lists.
  ///
  /// A join with a constant text or date serves one query only: when Load writes another, it quotes
  /// the constant again, and the query matches nothing. Use a new proxy for that.
  void AddLinkTableCriteria(const CQXLinkTableCriteria& link);
  void SetCorrelationName(const OLECHAR* name);

 protected:
  CQXPersistentCollectionProxy();
  /// Returns one condition for each value with the operation at the same position; all conditions
  /// are EQUAL if `operations` is empty.
  qx_ptr<CConditions> GetConditionsFromKeyFields(
      const TyFieldValues& values, const std::vector<HvConditionOperation>& operations);

 private:
  struct Step;
  /// The values of a row, and the number of the statement that read it.
  struct Row {
    TyFieldValues values;
    long statement = 0;
  };
  /// Returns one EQUAL condition for each value. With `check` the names must be the key fields in
  /// their order.
  qx_ptr<CConditions> EqualConditions(const TyFieldValues& values, bool check) const;
  std::unique_ptr<CQXPersistentObject> NewObject() const;
  long Navigate(const Step& step, CQXValueContainer& container);
  qx_ptr<CConditions> CurrentRow() const;
  /// Returns an object with the row of a key, searched among the rows of the query.
  std::unique_ptr<CQXPersistentObject> FoundObject(const qx_ptr<CConditions>& conditions);
  CQXPersistentCollection& Connected() const;
  CQXPersistentCollection& Loaded() const;

  std::shared_ptr<CQXPersistentCollection> m_pCollection;
  bool m_bConnected = false;
  bool m_bLoaded = false;
  std::shared_ptr<CQXPersistenceFactory> m_pFactory;
  Row m_Row;  // the last row; the next one reuses its names
};

}  // namespace Persistence
