#pragma once

// One row of one table: its values, and its INSERT, UPDATE, DELETE and SELECT. The class of a
// dialect completes it (see dialect_classes.h).

#include "qxframework/automation/simple_map.h"
#include "qxframework/persistence/internal/persistent_base.h"
#include "qxframework/query/field_values.h"

namespace qx {
struct Enclosure;
}  // namespace qx

namespace Persistence {

class CQXPersistentObject : public CQXPersistentBase {
 public:
  using CQXPersistentBase::CQXPersistentBase;

  /// Return the values of the row that was read, or those to write.
  TyFieldValues& GetFieldValues() { return m_FieldValues; }
  const TyFieldValues& GetFieldValues() const { return m_FieldValues; }

  /// Returns true if Reload succeeds: false for no row and for several rows.
  virtual bool Exists() = 0;
  virtual void Add() = 0;
  /// Deletes by the object's conditions; the argument is ignored.
  virtual void Remove(const TyFieldValues& keyValues) = 0;
  /// Updates by the object's conditions, or by `keyValues` if it has none. Refuses a value without
  /// a text form as GetSQLValue does, so a column cannot be set to NULL.
  virtual void Update(const TyFieldValues& keyValues) = 0;
  /// Sets the conditions and runs Select. The row stays in the record set.
  virtual void Load(qx_ptr<CConditions> conditions) = 0;
  /// Writes the SELECT of a choose list: columns with their titles, all columns if `fields` is
  /// empty.
  virtual void GetSQLforChooseList(const CSimpleMap<CComBSTR, CComBSTR>& fields,
                                   const CComBSTR& where, CComBSTR& result) = 0;
  /// Writes both lists. On a user table "Code" and "Name" get the next code from the company.
  virtual void BuildInsertLists(CComBSTR& columns, CComBSTR& values);
  virtual void BuildSetClause(CComBSTR& target);
  virtual void BuildUpdateWhereClause(CComBSTR& target, const TyFieldValues& keyValues);
  virtual void BuildSelectWhereClause(CComBSTR& target);
  /// Runs the SELECT. Refuses unless there is exactly one row.
  virtual void Select() = 0;

  /// Reads the row: by Select the first time, later by the same text.
  void Reload();
  void LoadFieldsFromRecordSet();
  void LoadFieldsFromFields(CComPtr<IFields> fields);
  /// Returns the position of the name, or of a field whose name in capitals equals it; -1 if none.
  long FindFieldIndex(const OLECHAR* name) const;
  struct KeyColumn {
    CComBSTR name;  ///< without the correlation name that a key value may have
    long position;  ///< of its key value
  };
  /// Returns the columns that an Update by key values compares: those that FindFieldIndex finds.
  /// The others are skipped.
  std::vector<KeyColumn> KeyColumns(const TyFieldValues& keyValues) const;
  /// Returns the key of the row in the field values; a missing value counts as 0. Refuses a value
  /// without a text form as GetSQLValue does.
  qx_ptr<CConditions> GetConditionsFromOwnFields() const;

  /// Return the statements that Add, Update, Remove and Select run; no company is needed. On a user
  /// table `nextCode` replaces the values of "Code" and "Name".
  CComBSTR InsertText(const CComBSTR& nextCode);
  CComBSTR UpdateText(const TyFieldValues& keyValues);
  CComBSTR RemoveText() const;
  /// Quotes the constants of joins anew with each call.
  CComBSTR SelectText();

 protected:
  // The operations of a dialect's class. Its name is the scope in the log.
  bool RunExists();
  void RunAdd(const qx::Dialect& dialect);
  void RunRemove(const qx::Dialect& dialect);
  void RunUpdate(const qx::Dialect& dialect, const TyFieldValues& keyValues);
  void RunSelect(const qx::Dialect& dialect);
  /// Returns the SELECT of a choose list; `title` encloses each column's title.
  CComBSTR ChooseListText(const CSimpleMap<CComBSTR, CComBSTR>& fields, const CComBSTR& where,
                          const qx::Enclosure& title) const;

  TyFieldValues m_FieldValues;

 private:
  void AppendInsertLists(const CComBSTR& nextCode, CComBSTR& columns, CComBSTR& values);
  void AppendCode(const OLECHAR* name, const CComBSTR& code, CComBSTR& columns, CComBSTR& values);
  CComBSTR AssembleInsert(const CComBSTR& columns, const CComBSTR& values) const;
  void AppendKeyValues(CComBSTR& target, const TyFieldValues& keyValues) const;
  bool IsKeyField(const CComBSTR& name) const;
  std::u16string_view KeyNameOf(std::u16string_view column) const;
  void RequireSelectable() const;
  void QueryOneRow(CReturnValue<long>& hr, CComBSTR text);
};

}  // namespace Persistence
