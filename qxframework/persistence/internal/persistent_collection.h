#pragma once

// The rows of one SELECT, with the host's record set as a cursor over them. Row work is handed to a
// CQXPersistentObject. The class of an engine's dialect completes it (see dialect_classes.h).

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

  /// Deletes rows without touching the cursor.
  virtual void Remove(qx_ptr<CConditions> conditions) = 0;
  virtual void BuildKeyFieldList(CComBSTR& target);
  virtual void BuildWhereClause(CComBSTR& target);
  virtual void Select() = 0;

  /// 0 and the row in the object, or 1 if there is no row.
  long First(CQXPersistentObject* object);
  long Last(CQXPersistentObject* object);
  long Next(CQXPersistentObject* object);
  /// In front of the first row it still tries to load one.
  long Previous(CQXPersistentObject* object);
  /// The same without reading the row.
  long First();
  long Last();
  long Next();
  long Previous();
  bool Eof() const;
  bool Bof() const;
  long GetRecordCount() const;
  /// Runs the query, or the same text again once it has been run.
  void Refresh();

  void CurrentRowToMap(TyFieldValues& values) const;
  /// The same where the map and `statement` are as an earlier call left them, or empty and 0: as
  /// long as no other statement was run, the names are not read again.
  void CurrentRowToMap(TyFieldValues& values, long& statement) const;
  /// The key of the current row. A value that has no text form, such as VT_NULL, is refused as by
  /// GetSQLValue; so it is wherever an object is loaded from the row or gets the row's key.
  qx_ptr<CConditions> GetConditionsFromCurrentRow() const;
  /// With keys only by a SELECT of its own, otherwise from the cursor. The SELECT is the one that
  /// the object has run before, if it has: with keys only each row wants a fresh object.
  void LoadObjectFromCurrentRow(CQXPersistentObject* object);
  /// All settings but the joins. The object's conditions are the key of its own values or of the
  /// current row, or stay as they are with `skipConditions`.
  void CopySettingsToObject(CQXPersistentObject* object, bool useOwnFields,
                            bool skipConditions) const;

  void Add(CQXPersistentObject* object);
  bool Exists(qx_ptr<CConditions> conditions, CQXPersistentObject* object);
  void Update(qx_ptr<CConditions> conditions, CQXPersistentObject* object,
              const TyFieldValues& keyValues);
  void Remove(qx_ptr<CConditions> conditions, CQXPersistentObject* object,
              const TyFieldValues& keyValues);
  /// The row of a key, searched for in the cursor.
  void GetByKey(qx_ptr<CConditions> conditions, CQXPersistentObject* object);
  /// Scans the rows from the first one. The cursor stays on the row that is found, else behind the
  /// last. A value that has no text form matches nothing.
  void FindInRecordSet(qx_ptr<CConditions> conditions, CQXPersistentObject* object);
  /// False for any std::exception.
  bool FindInRecordSetNoThrow(qx_ptr<CConditions> conditions, CQXPersistentObject* object);

  /// -1 for no limit. A new value makes the next Refresh write a new statement. The engines take 32
  /// bits, so higher ones are dropped first.
  void SetMaxRecordCount(long maximum);
  long GetMaxRecordCount() const { return m_lMaxRecordCount; }
  bool GetKeysOnly() const { return m_bKeysOnly; }
  void SetKeysOnly(bool keysOnly) { m_bKeysOnly = keysOnly; }
  void SetSortFields(const CQXPersistenceSortFieldCollection& fields) { m_SortFields = fields; }
  const CQXPersistenceSortFieldCollection& GetSortFields() const { return m_SortFields; }

  /// What Refresh does ahead of Select: refuses what cannot be selected from, and takes the key
  /// fields from the conditions if there are none. It needs no company.
  void PrepareSelect();
  /// The statements that Select runs, in order. They need no company. The constants of joins are
  /// quoted anew with each call.
  std::vector<CComBSTR> SelectTexts();
  CComBSTR RemoveText(const qx_ptr<CConditions>& conditions) const;

 protected:
  virtual const qx::Dialect& GetDialect() const = 0;

  // The operations of a dialect's class. Its name is the scope in the log.
  void RunRemove(const qx_ptr<CConditions>& conditions);
  void RunSelect();
  /// Appends the key fields, each as AppendField does.
  void AppendKeys(CComBSTR& target, const qx::Enclosure* alias) const;

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
  /// The move in a scope of the log, and the row into the object unless that is null.
  long Step(std::u16string_view scope, long (CQXPersistentCollection::*move)(),
            CQXPersistentObject* object);
  long ToFirst();
  long ToLast();
  long ToNext();
  long ToPrevious();
  /// A date as a text, in the form for conditions.
  void WriteDate(CComVariant& value) const;
  struct SoughtColumn;
  std::vector<SoughtColumn> SoughtColumns(const qx_ptr<CConditions>& conditions) const;
  bool IsMatch(const std::vector<SoughtColumn>& sought) const;
};

}  // namespace Persistence
