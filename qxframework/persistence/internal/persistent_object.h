#pragma once

// One row of one table: its INSERT, UPDATE, DELETE and SELECT, and its values. The class of an
// engine's dialect completes it (see dialect_classes.h).

#include "qxframework/automation/simple_map.h"
#include "qxframework/persistence/internal/persistent_base.h"
#include "qxframework/query/field_values.h"

namespace Persistence {

class CQXPersistentObject : public CQXPersistentBase {
 public:
  using CQXPersistentBase::CQXPersistentBase;

  /// The row after a read, or the values to write.
  TyFieldValues& GetFieldValues() { return m_FieldValues; }
  const TyFieldValues& GetFieldValues() const { return m_FieldValues; }

  /// Whether Reload works: false for several rows as well as for none.
  virtual bool Exists() = 0;
  virtual void Add() = 0;
  /// By the object's conditions; the argument is not read.
  virtual void Remove(const TyFieldValues& keyValues) = 0;
  /// By the object's conditions, or by `keyValues` if it has none. A value that is written and has
  /// no text form is refused as by GetSQLValue, so that a column cannot be set to NULL.
  virtual void Update(const TyFieldValues& keyValues) = 0;
  /// Sets the conditions and runs Select; the row stays in the record set.
  virtual void Load(qx_ptr<CConditions> conditions) = 0;
  /// The SELECT of a choose list: columns with their titles, all columns if there are none.
  virtual void GetSQLforChooseList(const CSimpleMap<CComBSTR, CComBSTR>& fields,
                                   const CComBSTR& where, CComBSTR& result) = 0;
  /// On a user table "Code" and "Name" get the next code from the company.
  virtual void BuildInsertLists(CComBSTR& columns, CComBSTR& values);
  virtual void BuildSetClause(CComBSTR& target);
  virtual void BuildUpdateWhereClause(CComBSTR& target, const TyFieldValues& keyValues);
  virtual void BuildSelectWhereClause(CComBSTR& target);
  /// Refuses unless there is exactly one row.
  virtual void Select() = 0;

  /// Reads the row: by Select the first time, by the same text afterwards.
  void Reload();
  void LoadFieldsFromRecordSet();
  void LoadFieldsFromFields(CComPtr<IFields> fields);
  /// The position of a name, or of one that is the name in upper case; -1 if there is none.
  long FindFieldIndex(const OLECHAR* name) const;
  struct KeyColumn {
    CComBSTR name;  ///< without the correlation name that a key value may have
    long position;  ///< of its key value
  };
  /// What Update compares where it goes by key values: those whose names are found as by
  /// FindFieldIndex. The others are skipped.
  std::vector<KeyColumn> KeyColumns(const TyFieldValues& keyValues) const;
  /// The key of the row in the field values; a value that is missing counts as 0. One that has no
  /// text form is refused as by GetSQLValue.
  qx_ptr<CConditions> GetConditionsFromOwnFields() const;

  /// The statements that Add, Update, Remove and Select run. They need no company. The code is for
  /// user tables, where it replaces the values of "Code" and "Name".
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
