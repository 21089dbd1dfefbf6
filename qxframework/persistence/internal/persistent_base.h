#pragma once

// What one row and a set of rows have in common: the table they address, through whose company, and
// every piece of SQL that is the same for both. The pieces that engines disagree on are virtual.
//
// Values are always written into the statement's text, never bound. A statement's text can be had
// without a company; only running it needs one.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/automation/variant.h"
#include "qxframework/foundation/qx_bstr.h"
#include "qxframework/foundation/qx_ptr.h"
#include "qxframework/host/company.h"
#include "qxframework/query/condition.h"
#include "qxframework/query/link_criteria.h"

#include <string_view>
#include <vector>

class CQXDateTime;
template <class T>
class CReturnValue;

namespace qx {
struct Dialect;
struct Enclosure;
}  // namespace qx

namespace Persistence {

class CQXPersistenceException;
struct TyFieldValues;

/// Names that the caller keeps alive.
using FieldNames = std::vector<const OLECHAR*>;

/// All refusals are a CQXPersistenceException of code -1. A failure of the company's objects is a
/// _com_error unless an operation says otherwise.
class CQXPersistentBase {
 public:
  /// With no company: texts only.
  CQXPersistentBase();
  /// Gets a record set of its own from the company.
  explicit CQXPersistentBase(CComPtr<ICompany> company);
  CQXPersistentBase(const CQXPersistentBase&) = delete;
  CQXPersistentBase& operator=(const CQXPersistentBase&) = delete;
  virtual ~CQXPersistentBase();

  /// The literal of a text. Every text passes through here on its way into a statement.
  virtual CComBSTR GetSQLString(CComBSTR text) const;
  virtual CComBSTR GetSQLTableName(const OLECHAR* name) const = 0;
  /// Replaces a date, or the text of one, by its literal.
  virtual void GetSQLDate(CComVariant& value) const;
  /// A join's constant is replaced by its literal, so that writing a join again quotes it again.
  virtual void AppendJoins(CComBSTR& target);
  virtual void AppendJoinConditions(CComBSTR& target, CQXLinkTableCriteria& link);
  /// The fields behind what the target has; all columns if there are none. A list that equals the
  /// object's own gets no comma in front.
  virtual void AppendFieldList(CComBSTR& target, const FieldNames& fields,
                               const OLECHAR* correlation) const;
  virtual CComBSTR GetSQLColumnName(CComBSTR name) const;
  /// The form in which a date of a row is put into a condition.
  virtual CComBSTR GetDateString(CQXDateTime date) const;
  virtual CComBSTR GetSQLAlias(CComBSTR name) const;

  /// The operator with a blank on either side.
  static const OLECHAR* GetOperationString(HvConditionOperation operation);
  static const OLECHAR* GetRelationshipString(HvConditionRelationship relationship);
  /// The literal of a value. A date or a text is replaced by it in `value` too. VT_NULL, a number
  /// that is not finite and whatever else has no text is refused: "A value of type 1 has no text
  /// form".
  CComBSTR GetSQLValue(CComVariant& value) const;
  void BuildSelectFieldList(CComBSTR& target) const;
  /// The WHERE of a DELETE; null conditions count as none.
  void BuildRemoveWhereClause(CComBSTR& target, const qx_ptr<CConditions>& conditions) const;
  /// One condition for each value: by the operation at its position, EQUAL if `operations` is
  /// empty. With `check` the names must be the key fields in their order. A value is refused as by
  /// GetSQLValue.
  qx_ptr<CConditions> BuildConditionsFromValues(const TyFieldValues& values,
                                                const std::vector<HvConditionOperation>& operations,
                                                bool check) const;
  /// Gives the conditions of `object` the values of `given`, whose columns must be the same.
  /// Raises std::out_of_range when `given` has fewer.
  static void CopyConditionValues(CQXPersistentBase* object, const qx_ptr<CConditions>& given);
  /// Takes the columns of the conditions as key fields. The names live until the next call.
  void FillKeyFieldsFromConditions();
  /// Puts the company's last error into the exception, as far as the company has one.
  void FillExceptionFromCompany(CQXPersistenceException& exception) const;

  /// Keeps a copy; null for none.
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
  /// Takes the key fields of another, and with them a share in the conditions that have the names.
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
                    const qx::Enclosure* alias) const;
  /// Appends a field, or with a correlation name "T0.Code" and its alias. `alias` encloses both
  /// names; if it is null, " AS" and GetSQLAlias of both names follow.
  void AppendField(CComBSTR& target, std::u16string_view correlation, std::u16string_view field,
                   const qx::Enclosure* alias) const;
  /// The correlation name and a point; nothing without one.
  void AppendCorrelation(CComBSTR& target) const;
  /// How a WHERE has its conditions.
  struct WhereForm {
    bool withCorrelation = false;  ///< in front of the columns
    bool withBrackets = false;
  };
  /// The conditions of a WHERE of all but a DELETE. Refuses those that compare two columns.
  void AppendComparisons(CComBSTR& target, WhereForm form) const;

  /// The table as a statement names it, in a SELECT with its correlation name.
  CComBSTR TableText() const;
  CComBSTR SelectTableText() const;
  /// A SELECT up to its WHERE clause, which may begin with a blank as the joins may.
  static CComBSTR AssembleSelect(std::u16string_view limit, const CComBSTR& fields,
                                 const CComBSTR& table, const CComBSTR& joins,
                                 const CComBSTR& where);
  CComBSTR DeleteText(const qx_ptr<CConditions>& conditions) const;

  /// The name under which a key field stands in the record set and in the row.
  CComBSTR KeyColumnName(std::u16string_view key) const;
  static CCondition* AddCondition(CConditions& conditions, const OLECHAR* column,
                                  HvConditionOperation operation);
  /// Adds an EQUAL condition with the value as text by the user's locale. `kind` is what the value
  /// was before a date became a text.
  static void AddKeyCondition(CConditions& conditions, const OLECHAR* column, VARTYPE kind,
                              const CComVariant& value);

  /// The scope of a dialect's operation in the log: "CQXPersistentObjectDB2::Add".
  static _bstr_t ScopeName(std::u16string_view className, std::u16string_view dialect,
                           std::u16string_view operation);
  /// Logs the text and runs it; a _com_error becomes the exception of Fail.
  void RunText(CReturnValue<long>& hr, const CComBSTR& text, const OLECHAR* failure,
               const CComBSTR& table);
  /// Runs a statement on the record set: all of them come through here. The host's result.
  long Query(const CComBSTR& text);
  /// Of the last statement, from 1.
  long GetStatementNumber() const { return m_lStatementNumber; }
  /// Logs `failure`, which takes the table, and raises what the company has to say.
  [[noreturn]] void Fail(CReturnValue<long>& hr, const _com_error& error, const OLECHAR* failure,
                         const CComBSTR& table) const;
  /// Adds each column of the current row.
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
  /// The value of a condition as the literal of a date, and as that of a text.
  CComBSTR DateLiteral(const CCondition& condition) const;
  CComBSTR TextLiteral(const CCondition& condition) const;
  void AddValueCondition(CConditions& conditions, const CComBSTR& name, CComVariant value,
                         HvConditionOperation operation) const;

  long m_lStatementNumber = 0;
  // The conditions that key fields were last taken from. They are kept even when other key fields
  // are set, since these may be the same names.
  qx_ptr<CConditions> m_ptrKeyNames;
};

}  // namespace Persistence
