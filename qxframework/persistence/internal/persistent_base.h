#pragma once

// The common base of a row and a set of rows: their table and company, and the pieces of SQL that
// are the same for both. The pieces that differ from dialect to dialect are virtual.
//
// Values are always written into a statement's text, never bound. Writing a statement needs no
// company; running it does.
//
// persistent_base.cc has settings, conditions, running and failures; persistent_base_sql.cc writes
// the pieces of SQL. persistent_object and persistent_collection are divided in the same way.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/variant.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/foundation/qx_ptr.h"
#include "qxframework/host/company.h"
#include "qxframework/query/condition.h"
#include "qxframework/query/link_criteria.h"

#include <string>
#include <string_view>
#include <vector>

class CQXDateTime;
template <class T>
class CReturnValue;

namespace qx {
struct Dialect;
}  // namespace qx

namespace Persistence {

class CQXPersistenceException;
struct TyFieldValues;

/// Names that the caller keeps alive.
using FieldNames = std::vector<const OLECHAR*>;

/// An operation that refuses throws CQXPersistenceException with code -1. A failure of the
/// company's objects is a _com_error unless an operation says otherwise.
class CQXPersistentBase {
 public:
  /// Without a company: for texts of statements only.
  CQXPersistentBase();
  /// Gets a record set of its own from the company.
  explicit CQXPersistentBase(CComPtr<ICompany> company);
  CQXPersistentBase(const CQXPersistentBase&) = delete;
  CQXPersistentBase& operator=(const CQXPersistentBase&) = delete;
  virtual ~CQXPersistentBase();

  /// Returns the literal of a text.
  virtual CComBSTR GetSQLString(CComBSTR text) const;
  virtual CComBSTR GetSQLTableName(const OLECHAR* name) const = 0;
  /// Replaces a date, or the text of a date, by its literal.
  virtual void GetSQLDate(CComVariant& value) const;
  /// Appends the joins. Replaces a join's constant by its literal, so a second call quotes it
  /// again.
  virtual void AppendJoins(CComBSTR& target);
  virtual void AppendJoinConditions(CComBSTR& target, CQXLinkTableCriteria& link);
  /// Appends the fields, or "*" for an empty list. A comma precedes the first field unless the list
  /// equals the object's own field list.
  virtual void AppendFieldList(CComBSTR& target, const FieldNames& fields,
                               const OLECHAR* correlation) const;
  virtual CComBSTR GetSQLColumnName(CComBSTR name) const;
  /// Returns the text of a row's date for a condition.
  virtual CComBSTR GetDateString(CQXDateTime date) const;
  virtual CComBSTR GetSQLAlias(CComBSTR name) const;

  /// Return the operator or the word with a blank on either side.
  static const OLECHAR* GetOperationString(HvConditionOperation operation);
  static const OLECHAR* GetRelationshipString(HvConditionRelationship relationship);
  /// Returns the literal of a value. A date or a text is also replaced by it in `value`. Refuses
  /// VT_NULL, a number that is not finite, and other values without a text: "A value of type 1 has
  /// no text form".
  CComBSTR GetSQLValue(CComVariant& value) const;
  void BuildSelectFieldList(CComBSTR& target) const;
  /// Appends the WHERE of a DELETE; null conditions count as none.
  void BuildRemoveWhereClause(CComBSTR& target, const qx_ptr<CConditions>& conditions) const;
  /// Returns one condition for each value with the operation at the same position, EQUAL if
  /// `operations` is empty. With `check` the names must be the key fields in their order. Refuses
  /// values as GetSQLValue does.
  qx_ptr<CConditions> BuildConditionsFromValues(const TyFieldValues& values,
                                                const std::vector<HvConditionOperation>& operations,
                                                bool check) const;
  /// Copies the values of `given` into the conditions of `object`; the columns must be the same.
  /// Throws std::out_of_range if `given` has fewer conditions.
  static void CopyConditionValues(CQXPersistentBase* object, const qx_ptr<CConditions>& given);
  /// Makes the columns of the conditions the key fields. The names are valid until the next call.
  void FillKeyFieldsFromConditions();
  /// Copies the company's last error into the exception, if the company has one.
  void FillExceptionFromCompany(CQXPersistenceException& exception) const;

  /// Stores a copy; null for no conditions.
  void SetConditions(qx_ptr<CConditions> conditions);
  qx_ptr<CConditions> GetConditions() const { return m_ptrConditions; }
  CComPtr<ICompany> GetCompany() const { return m_ptrCompany; }
  CComPtr<IRecordset> GetRecordSet() const { return m_ptrRecordSet; }
  void SetMasterTable(const OLECHAR* table) { m_bstrMasterTable = table; }
  const CQXBSTR& GetMasterTable() const { return m_bstrMasterTable; }
  const CQXBSTR& GetCorrelationName() const { return m_bstrCorrelationName; }
  void SetCorrelationName(const OLECHAR* name) { m_bstrCorrelationName = name; }
  const FieldNames& GetKeyFields() const { return m_vecKeyFields; }
  void SetKeyFields(const FieldNames& fields) { m_vecKeyFields = fields; }
  /// Copies the key fields of another object and shares the conditions that own their names.
  void TakeKeyFieldsOf(const CQXPersistentBase& other);
  const FieldNames& GetFields() const { return m_vecFields; }
  void SetFields(const FieldNames& fields) { m_vecFields = fields; }
  bool HasLinkTables() const { return !m_vecLinkTables.empty(); }
  void AddLinkTable(const CQXLinkTableCriteria& link) { m_vecLinkTables.push_back(link); }
  bool IsUserTable() const { return m_bUserTable; }
  void SetUserTable(bool userTable) { m_bUserTable = userTable; }
  bool IsSelected() const { return m_bSelected; }
  void SetSelected(bool selected) { m_bSelected = selected; }
  const CQXBSTR& GetLastQuery() const { return m_bstrLastQuery; }
  void SetLastQuery(CComBSTR text) { m_bstrLastQuery.Attach(text.Detach()); }

 protected:
  static long CountOf(const qx_ptr<CConditions>& conditions) {
    return conditions.get() == nullptr ? 0 : conditions->GetCount();
  }
  /// Appends a field list; see AppendField.
  void AppendFields(CComBSTR& target, const FieldNames& fields, const OLECHAR* correlation,
                    const qx::Dialect* dialect) const;
  /// Appends a field, or with a correlation name "T0.Code" and its alias, in the dialect's
  /// enclosures. Without a dialect it asks GetSQLColumnName and, after " AS", GetSQLAlias.
  void AppendField(std::u16string& target, std::u16string_view correlation,
                   std::u16string_view field, const qx::Dialect* dialect) const;
  /// Appends the correlation name and a point; nothing if there is no correlation name.
  void AppendCorrelation(CComBSTR& target) const;
  /// The form of the conditions in a WHERE.
  struct WhereForm {
    bool withCorrelation = false;  ///< before each column
    bool withBrackets = false;
  };
  /// Appends the conditions of a WHERE, except that of a DELETE. Refuses a comparison of two
  /// columns.
  void AppendComparisons(CComBSTR& target, WhereForm form) const;

  /// Return the table as statements name it; a SELECT adds its correlation name.
  CComBSTR TableText() const;
  CComBSTR SelectTableText() const;
  /// Returns a SELECT up to the end of its WHERE clause.
  static CComBSTR AssembleSelect(std::u16string_view limit, const CComBSTR& fields,
                                 const CComBSTR& table, const CComBSTR& joins,
                                 const CComBSTR& where);
  CComBSTR DeleteText(const qx_ptr<CConditions>& conditions) const;

  /// Returns the name that a key field has in the record set and in the row.
  CComBSTR KeyColumnName(std::u16string_view key) const;
  static CCondition* AddCondition(CConditions& conditions, const OLECHAR* column,
                                  HvConditionOperation operation);
  /// Adds an EQUAL condition with the value as a text in the user's locale. `kind` is the type that
  /// the value had before a date became a text.
  static void AddKeyCondition(CConditions& conditions, const OLECHAR* column, VARTYPE kind,
                              const CComVariant& value);

  /// Returns the scope of a dialect's operation in the log: "CQXPersistentObjectDB2::Add".
  static _bstr_t ScopeName(std::u16string_view className, std::u16string_view dialect,
                           std::u16string_view operation);
  /// Logs the text and runs it. Throws the exception of Fail for a _com_error.
  void RunText(CReturnValue<long>& hr, const CComBSTR& text, const OLECHAR* failure,
               const CComBSTR& table);
  /// Runs a statement on the record set and returns the host's result. All statements pass through
  /// here, so that they are counted.
  long Query(const CComBSTR& text);
  /// Returns the number of the last statement, from 1.
  long GetStatementNumber() const { return m_lStatementNumber; }
  /// Logs `failure`, a format for the table, and throws the company's last error.
  [[noreturn]] void Fail(CReturnValue<long>& hr, const _com_error& error, const OLECHAR* failure,
                         const CComBSTR& table) const;
  /// Replaces the values by the columns of the current row.
  static void ReadFields(IFields* fields, TyFieldValues& values);

  bool m_bNationalStrings = true;
  CComPtr<ICompany> m_ptrCompany;
  qx_ptr<CConditions> m_ptrConditions;
  CQXBSTR m_bstrMasterTable{ln_English};
  CComPtr<IRecordset> m_ptrRecordSet;
  FieldNames m_vecKeyFields;
  FieldNames m_vecFields;
  bool m_bSelected = false;
  CQXBSTR m_bstrLastQuery{ln_English};
  bool m_bUserTable = false;
  CQXBSTR m_bstrCorrelationName{ln_English};
  std::vector<CQXLinkTableCriteria> m_vecLinkTables;

 private:
  void AppendLinkField(CComBSTR& target, const CQXLinkTableCriteria& link,
                       CQXLinkFieldCriteria& field) const;
  void AppendRemoveCondition(CComBSTR& target, const CCondition& condition) const;
  void AppendComparison(CComBSTR& target, const CCondition& condition, WhereForm form) const;
  void AppendConditionValue(CComBSTR& target, const CCondition& condition) const;
  /// Return the value of a condition as the literal of a date, and as that of a text.
  CComBSTR DateLiteral(const CCondition& condition) const;
  CComBSTR TextLiteral(const CCondition& condition) const;
  void AddValueCondition(CConditions& conditions, const CComBSTR& name, CComVariant value,
                         HvConditionOperation operation) const;

  long m_lStatementNumber = 0;
  // The conditions that own the names of the key fields. They are kept when other key fields are
  // set, because those may point to the same names.
  qx_ptr<CConditions> m_ptrKeyNames;
};

}  // namespace Persistence
