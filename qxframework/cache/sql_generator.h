#pragma once

// The statements of the record cache as texts, written from a load parameter or from a row. One
// class serves every server type: only the quoting of a name and the form of a column's alias
// differ, by the server type of the company. Nothing is run here.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/variant.h"
#include "qxframework/cache/load_parameter.h"
#include "qxframework/foundation/qx_ptr.h"
#include "qxframework/host/company.h"
#include "qxframework/query/condition.h"
#include "qxframework/query/link_criteria.h"
#include "qxframework/query/sort_field.h"

#include <string_view>
#include <vector>

namespace Persistence {

/// The pieces of the statements, which are appended to the text of the caller. What is refused
/// throws CQXPersistenceException; so does a value without a text form, such as VT_NULL.
///
/// The class is not exported. An add-on calls the virtual operations of the generator that the
/// cached collection returns; it cannot derive from this class.
class CQXSQLGenerator {
 public:
  virtual CComBSTR BuildSQL_Select(qx_ptr<TyLoadParameter_WithPrefetchKeys> param) const = 0;
  /// Returns the INSERT of the row's other fields. With `addCode` the columns Code and Name precede
  /// them, with the row's own values or else the eight hexadecimal digits of `code`; a row that has
  /// a Code or Name then names that column twice.
  virtual CComBSTR BuildSQL_Insert(const CComBSTR& table, bool addCode, const TyRow& row,
                                   long code) const = 0;
  virtual CComBSTR BuildSQL_Update(const CComBSTR& table, const TyRow& row) const = 0;
  virtual CComBSTR BuildSQL_Delete(const CComBSTR& table, const TyFieldValues& keys) const = 0;
  /// Returns the name as an identifier: in double quotes for kordb, else in square brackets.
  virtual CComBSTR QuoteName(std::u16string_view name) const = 0;

  /// Appends the columns: the key fields, the prefetch fields and, unless the parameter reads key
  /// fields only, the other fields and those of the joined tables.
  virtual void BuildFieldList(CComBSTR& text, const TyLoadParameter_WithPrefetchKeys& param) const;
  /// Adds the conditions of all rows from the start key onward. What was in the list before is put
  /// in brackets if it has several conditions. Null adds nothing.
  virtual void AddPrefetchConditions(CConditions& conditions, const TyFieldValues* prefetch) const;
  /// Returns one condition for each value with the operation at the same position; all conditions
  /// are EQUAL if `operations` is empty.
  virtual qx_ptr<CConditions> GetConditionsFromKeyFields(
      const TyFieldValues& values, const std::vector<HvConditionOperation>& operations) const;
  virtual qx_ptr<CConditions> GetConditionsFromKeyFields(const TyFieldValues& values) const;
  /// Returns the comparison of a row with the values, field after field: the rows equal to the
  /// values for co_Equal, after them for co_Greater, both for co_GreaterOrEqual. Refuses other
  /// operations.
  virtual qx_ptr<CConditions> GetConditionsFromFieldValues(const TyFieldValues& values,
                                                           HvConditionOperation operation) const;

  /// Replaces a date, or the text of a date, by its literal and returns the literal.
  virtual CComBSTR DateToLiteral(CComVariant& value) const;
  /// Returns the text in single quotes with its own quotes doubled; with `unicode` the prefix N
  /// precedes it.
  virtual CComBSTR StringToLiteral(std::u16string_view text, bool unicode) const;
  virtual CComBSTR VariantToLiteral(const CComVariant& value, bool unicode) const;
  /// Write the literals in the form of this generator.
  virtual CComBSTR StringToLiteral(std::u16string_view text) const;
  virtual CComBSTR VariantToLiteral(const CComVariant& value) const;

  virtual void BuildOrderBy(CComBSTR& text, const TyLoadParameter& param,
                            const CQXPersistenceSortFieldCollection& fields) const;
  /// Appends the conditions without the word WHERE. Refuses a comparison of two columns.
  virtual void BuildWhere(CComBSTR& text, const CConditions& conditions,
                          const TyLoadParameter& param) const;
  /// Return the word or the operator with a blank on either side.
  virtual const OLECHAR* RelationshipToSQL(HvConditionRelationship relationship) const;
  virtual const OLECHAR* OperationToSQL(HvConditionOperation operation) const;
  virtual void BuildJoins(CComBSTR& text, const TyLoadParameter& param) const;
  virtual void BuildFrom(CComBSTR& text, const TyLoadParameter& param) const;
  virtual void BuildJoinCondition(CComBSTR& text, const CQXLinkTableCriteria& criteria,
                                  const TyLoadParameter& param) const;
  /// Appends "T0.[Code] AS N'__kf__.Code'": a column with its correlation name and an alias of the
  /// prefix or, without one, of the correlation name. Each may be null or empty. A null name is
  /// every column.
  virtual void BuildColumn(CComBSTR& text, const OLECHAR* correlation, const OLECHAR* name,
                           const OLECHAR* aliasPrefix) const;
  /// Append the two lists of an INSERT, "(columns) " and "VALUES (values)", the two of an UPDATE,
  /// and the condition of a DELETE.
  virtual void BuildInsertLists(const TyRow& row, const CComBSTR& table, bool addCode,
                                CComBSTR& columns, CComBSTR& values, long code) const;
  virtual void BuildUpdateLists(CComBSTR& set, CComBSTR& where, const TyFieldValues& keys,
                                const TyRow& row) const;
  virtual void BuildDeleteCondition(CComBSTR& where, const TyFieldValues& keys) const;
  // Follows the operations, whose slots are a contract.
  virtual ~CQXSQLGenerator();

  CQXSQLGenerator(const CQXSQLGenerator&) = delete;
  CQXSQLGenerator& operator=(const CQXSQLGenerator&) = delete;

  /// Sets the company whose server type decides the form of names; null counts as mssql.
  void SetCompany(const CComPtr<ICompany>& company) { m_ptrCompany = company; }

 protected:
  explicit CQXSQLGenerator(bool unicodeLiterals) : m_bUnicodeLiterals(unicodeLiterals) {}
  /// Returns true for the server type whose names are in double quotes.
  bool quotesDouble() const;

 private:
  bool m_bUnicodeLiterals;
  CComPtr<ICompany> m_ptrCompany;
};

/// Writes the statements, for every server type.
class CQXSQLGenerator_MSSQL : public CQXSQLGenerator {
 public:
  CQXSQLGenerator_MSSQL();
  CComBSTR BuildSQL_Select(qx_ptr<TyLoadParameter_WithPrefetchKeys> param) const override;
  CComBSTR BuildSQL_Insert(const CComBSTR& table, bool addCode, const TyRow& row,
                           long code) const override;
  CComBSTR BuildSQL_Update(const CComBSTR& table, const TyRow& row) const override;
  CComBSTR BuildSQL_Delete(const CComBSTR& table, const TyFieldValues& keys) const override;
  CComBSTR QuoteName(std::u16string_view name) const override;
  ~CQXSQLGenerator_MSSQL() override;
};

}  // namespace Persistence
