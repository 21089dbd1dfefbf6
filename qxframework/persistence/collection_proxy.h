#pragma once

// What business code derives from for a set of rows: it writes the two hooks between a row's values
// and its record, and from then on steps through records and finds, adds, changes and removes them
// by their keys. The company's engine decides behind it which SQL is written.

#include "qxframework/query/browser_collection.h"
#include "qxframework/query/field_values.h"
#include "qxframework/query/sort_field.h"

#include <memory>

namespace Persistence {

class CQXLinkTableCriteria;
class CQXPersistenceFactory;
class CQXPersistentCollection;
class CQXPersistentObject;

/// The rows of one SELECT: not connected until Connect, loaded by Load.
///
/// What the state does not allow is refused with a CQXPersistenceException of code -1; those of the
/// statements pass through.
///
/// The query stands as it is from the first Load on: conditions, fields, sort fields, joins and the
/// correlation name have no effect on it until SetMaxRecordCount with a new value, and Load after
/// that, write another.
///
/// The rows are under one cursor. The steps, GetByKey, Find, Update, Remove and Refresh move it:
/// those that look for a row start at the first, stay on the one that they find, and end behind the
/// last without one. Exists, Add and RemoveRange leave it. Which rows there are is as the query
/// found it until a Refresh.
///
/// GetByKey, Find, Update and Remove compare texts: a key's date is the literal of the engine and
/// its number has a decimal point, while the row's value reads as a plain text by the user's
/// locale. So a VT_DATE never matches (a text may, in the engine's form: "20240131", of KORDB
/// "2024-01-31 00:00:00"), nor does a number with decimals where the locale has a decimal comma.
///
/// A copy shares the rows with the original, so a proxy in use is not to be copied.
class QX_API CQXPersistentCollectionProxy : public IQXObjCollectionForBrowser {
 public:
  CQXPersistentCollectionProxy(const CQXPersistentCollectionProxy& other);
  CQXPersistentCollectionProxy& operator=(const CQXPersistentCollectionProxy& other);
  ~CQXPersistentCollectionProxy() override;

  /// Once only. `table` is the name that the database has, with the "@" of a user table. With
  /// `userTable` new rows get a generated Code and Name.
  void Connect(CComPtr<ICompany> company, const OLECHAR* table, bool userTable);
  bool IsConnected() const { return m_bConnected; }
  bool IsLoaded() const { return m_bLoaded; }
  /// Runs the query. The caller keeps the names alive; null conditions select all rows.
  void Load(const std::vector<const OLECHAR*>& keyFields, qx_ptr<CConditions> conditions);

  /// The first row of a whole key, searched for in the cursor. A missing one is the refusal "No
  /// match found". The key fields are those of Load, so ahead of it no key is whole; the same holds
  /// for Exists, Update and Remove.
  void GetByKey(const TyFieldValues& keys, CQXValueContainer& container);
  /// The first row with these values of any columns; false, with the container as it was, if there
  /// is none, as ahead of Load.
  bool Find(const TyFieldValues& keys, CQXValueContainer& container);
  /// Asks the database, not the cursor. True for one row: false for several as for none, and when
  /// the statement fails.
  bool Exists(const TyFieldValues& keys);
  /// -1 for no limit. The next step is Load, which writes a new query only if the value is new.
  void SetMaxRecordCount(long maximum);
  /// Writes every row that the table has of a whole key; one must be among the rows of the query.
  /// The key columns are left out of what is written, and with no other the statement is refused.
  void Update(const TyFieldValues& keys, const CQXValueContainer& container);
  /// Deletes every row that the table has of a whole key; one must be among the rows of the query.
  void Remove(const TyFieldValues& keys);
  /// One DELETE for all rows with these values. It knows EQUAL only, which is what it takes if
  /// there are no operations.
  void RemoveRange(const TyFieldValues& values,
                   const std::vector<HvConditionOperation>& operations);

  long First(CQXValueContainer& container) override;
  long Last(CQXValueContainer& container) override;
  long Next(CQXValueContainer& container) override;
  long Previous(CQXValueContainer& container) override;
  bool Eof() const override;
  bool Bof() const override;
  void Add(const CQXValueContainer& container) override;
  /// Runs the query again and gives the same row, or the first one if that is gone. Without any row
  /// it is the refusal "Record set is empty".
  void Refresh(CQXValueContainer& container) override;
  long GetRecordCount() const override;

  /// Whether the query selects keys only and each row is read by another SELECT, as it is at first.
  /// To be set before Load.
  bool GetKeysOnly() const;
  void SetKeysOnly(bool keysOnly);
  /// The columns to select; the caller keeps the names alive. Unless keys only are read, the key
  /// fields must be among them: what searches by a column that the rows lack, and
  /// BuildPrimaryKeyConditions, raises a _com_error of DISP_E_BADINDEX.
  void SetFields(const std::vector<const OLECHAR*>& fields);
  void SetSortFields(const CQXPersistenceSortFieldCollection& fields);
  /// The value of the name, else of the name with its small letters made capital, else a VT_I4 of
  /// 0.
  CComVariant GetValue(const TyFieldValues& values, const OLECHAR* name) const;
  /// The key of the current row. Behind the last row, and without any, it is the refusal
  /// "No valid current record found".
  qx_ptr<CConditions> BuildPrimaryKeyConditions();
  /// Conditions and sort fields are columns of the proxy's own table. The fields of the join must
  /// not be the same list as SetFields has: the comma between the two would be missing.
  ///
  /// A join with the constant of a text or a date is good for one query: Load quotes the constant
  /// again when it writes another, which then matches nothing. Take a new proxy for that.
  void AddLinkTableCriteria(const CQXLinkTableCriteria& link);
  void SetCorrelationName(const OLECHAR* name);

 protected:
  CQXPersistentCollectionProxy();
  /// One condition for each value, by the operation at its position; EQUAL without operations.
  qx_ptr<CConditions> GetConditionsFromKeyFields(
      const TyFieldValues& values, const std::vector<HvConditionOperation>& operations);

 private:
  struct Step;
  /// With the number of the statement that it came from.
  struct Row {
    TyFieldValues values;
    long statement = 0;
  };
  /// With `check` the values must be those of the key fields in their order.
  qx_ptr<CConditions> EqualConditions(const TyFieldValues& values, bool check) const;
  std::unique_ptr<CQXPersistentObject> NewObject() const;
  long Navigate(const Step& step, CQXValueContainer& container);
  qx_ptr<CConditions> CurrentRow() const;
  /// The object on the row of a key, found in the cursor.
  std::unique_ptr<CQXPersistentObject> FoundObject(const qx_ptr<CConditions>& conditions);
  CQXPersistentCollection& Connected() const;
  CQXPersistentCollection& Loaded() const;

  std::shared_ptr<CQXPersistentCollection> m_pCollection;
  bool m_bConnected = false;
  bool m_bLoaded = false;
  std::shared_ptr<CQXPersistenceFactory> m_pFactory;
  Row m_Row;  // the last one, whose names the next one takes over
};

}  // namespace Persistence
