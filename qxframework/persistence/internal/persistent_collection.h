#pragma once

// The rows of one SELECT, with the host's record set as the cursor. A CQXPersistentObject does the
// work on single rows. The class of a dialect completes it (see dialect_classes.h).

#include "qxframework/persistence/internal/persistent_base.h"
#include "qxframework/query/sort_field.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace Persistence {

class CQXPersistentObject;

class CQXPersistentCollection : public CQXPersistentBase {
 public:
  using CQXPersistentBase::CQXPersistentBase;

  /// Deletes rows. The cursor and its rows do not change.
  virtual void Remove(qx_ptr<CConditions> conditions) = 0;
  virtual void BuildKeyFieldList(CComBSTR& target);
  virtual void BuildWhereClause(CComBSTR& target);
  virtual void Select() = 0;

  /// Move the cursor. Return 0 with the row in the object, or 1 if there is no row.
  long First(CQXPersistentObject* object);
  long Last(CQXPersistentObject* object);
  long Next(CQXPersistentObject* object);
  /// Before the first row it still tries to load a row.
  long Previous(CQXPersistentObject* object);
  /// Move the cursor without reading the row.
  long First();
  long Last();
  long Next();
  long Previous();
  bool Eof() const;
  bool Bof() const;
  long GetRecordCount() const;
  /// Runs the query; after the first time it repeats the same text.
  void Refresh();

  void CurrentRowToMap(TyFieldValues& values) const;
  /// Does the same faster for row after row. Pass the map and `statement` of the last call, or an
  /// empty map and 0: the names are not read again unless another statement has been run.
  void CurrentRowToMap(TyFieldValues& values, long& statement) const;
  /// Returns the key of the current row. Refuses a value without a text form, such as VT_NULL, as
  /// GetSQLValue does. All operations that give an object the key of the row do so, too.
  qx_ptr<CConditions> GetConditionsFromCurrentRow() const;
  /// Loads the row from the cursor, or with keys only by the object's own SELECT. An object that
  /// has run a SELECT repeats it, so with keys only each row needs a new object.
  void LoadObjectFromCurrentRow(CQXPersistentObject* object);
  /// Copies all settings except the joins. The object's conditions become the key of its own values
  /// or of the current row; with `skipConditions` they do not change.
  void CopySettingsToObject(CQXPersistentObject* object, bool useOwnFields,
                            bool skipConditions) const;

  void Add(CQXPersistentObject* object);
  bool Exists(qx_ptr<CConditions> conditions, CQXPersistentObject* object);
  void Update(qx_ptr<CConditions> conditions, CQXPersistentObject* object,
              const TyFieldValues& keyValues);
  void Remove(qx_ptr<CConditions> conditions, CQXPersistentObject* object,
              const TyFieldValues& keyValues);
  /// Loads the row of a key, searched as by FindInRecordSet.
  void GetByKey(qx_ptr<CConditions> conditions, CQXPersistentObject* object);
  /// Searches the rows from the first one. The cursor stays on the row that is found; if there is
  /// none, it ends after the last row and the search throws. A value without a text form matches
  /// nothing.
  void FindInRecordSet(qx_ptr<CConditions> conditions, CQXPersistentObject* object);
  /// Returns false for any std::exception of FindInRecordSet.
  bool FindInRecordSetNoThrow(qx_ptr<CConditions> conditions, CQXPersistentObject* object);

  /// Sets the limit on the rows, -1 for none. A new value makes the next Refresh write a new
  /// statement. Only the low 32 bits count, because the servers take no more.
  void SetMaxRecordCount(long maximum);
  long GetMaxRecordCount() const { return m_lMaxRecordCount; }
  bool GetKeysOnly() const { return m_bKeysOnly; }
  void SetKeysOnly(bool keysOnly) { m_bKeysOnly = keysOnly; }
  void SetSortFields(const CQXPersistenceSortFieldCollection& fields) { m_SortFields = fields; }
  const CQXPersistenceSortFieldCollection& GetSortFields() const { return m_SortFields; }

  /// Checks the settings before Select, and takes the key fields from the conditions if there are
  /// none. Needs no company.
  void PrepareSelect();
  /// Returns the statements that Select runs, in their order; no company is needed. The constants
  /// of joins are quoted anew with each call.
  std::vector<CComBSTR> SelectTexts();
  CComBSTR RemoveText(const qx_ptr<CConditions>& conditions) const;

 protected:
  virtual const qx::Dialect& GetDialect() const = 0;

  // The operations of a dialect's class. Its name is the scope in the log.
  void RunRemove(const qx_ptr<CConditions>& conditions);
  void RunSelect();
  /// Appends the key fields, each as AppendField does.
  void AppendKeys(CComBSTR& target, const qx::Dialect* dialect) const;

  bool m_bKeysOnly = true;
  bool m_bSorted = true;
  std::int32_t m_lMaxRecordCount = -1;
  CQXPersistenceSortFieldCollection m_SortFields;

 private:
  struct Statements;
  Statements BuildStatements();
  CComBSTR BuildSelectText();
  /// Returns the text with the limit in it; an empty text without a limit or for null.
  std::u16string LimitText(const OLECHAR* format) const;
  void AppendOrder(CComBSTR& target) const;
  void RunStatements(CReturnValue<long>& hr, const Statements& statements);
  /// Moves the cursor in a scope of the log, and loads the row unless the object is null.
  long Step(std::u16string_view scope, long (CQXPersistentCollection::*move)(),
            CQXPersistentObject* object);
  long ToFirst();
  long ToLast();
  long ToNext();
  long ToPrevious();
  /// Replaces a date by its text for conditions.
  void WriteDate(CComVariant& value) const;
  struct SoughtColumn;
  std::vector<SoughtColumn> SoughtColumns(const qx_ptr<CConditions>& conditions) const;
  bool IsMatch(const std::vector<SoughtColumn>& sought) const;
};

}  // namespace Persistence
