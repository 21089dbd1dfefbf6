// The pieces of SQL that a row and a set of rows have in common.

#include "qxframework/foundation/date_time.h"
#include "qxframework/persistence/internal/persistent_base.h"
#include "qxframework/query/field_names.h"
#include "qxframework/query/persistence_exception.h"
#include "qxframework/sql/dialect.h"
#include "qxframework/sql/sql_text.h"

namespace Persistence {
namespace {

constexpr std::u16string_view kTextTag = u"VT_BSTR";
constexpr std::u16string_view kDateTag = u"VT_DATE";

void appendBrackets(CComBSTR& target, std::u16string_view bracket, long count) {
  for (long i = 0; i < count; ++i) target += bracket;
}

std::u16string_view joinWord(etTABLE_JOIN_MODE mode) {
  switch (mode) {
    case jm_Inner:
      return u" INNER";
    case jm_LeftOuter:
      return u" LEFT OUTER";
    case jm_RightOuter:
      return u" RIGHT OUTER";
    case jm_FullOuter:
      return u" FULL OUTER";
  }
  return {};  // a number from outside of the enumeration: only the word JOIN follows
}

}  // namespace

CComBSTR CQXPersistentBase::GetSQLString(CComBSTR text) const {
  return qx::sqlLiteral(text.View(), m_bNationalStrings);
}

void CQXPersistentBase::GetSQLDate(CComVariant& value) const {
  CComBSTR text = value.vt == VT_DATE ? CQXDateTime(value.date).GetDateAsBSTR() : qx::textOf(value);
  value = qx::textVariant(GetSQLString(std::move(text)));
}

CComBSTR CQXPersistentBase::GetSQLColumnName(CComBSTR name) const { return name; }

CComBSTR CQXPersistentBase::GetDateString(CQXDateTime date) const { return date.GetDateAsBSTR(); }

CComBSTR CQXPersistentBase::GetSQLAlias(CComBSTR name) const {
  return qx::joined({u"'", name.View(), u"'"});
}

const OLECHAR* CQXPersistentBase::GetOperationString(HvConditionOperation operation) {
  return qx::operationText(operation);
}

const OLECHAR* CQXPersistentBase::GetRelationshipString(HvConditionRelationship relationship) {
  return qx::relationshipText(relationship);
}

// A number is written by the English locale: SQL has a decimal point wherever the user is.
CComBSTR CQXPersistentBase::GetSQLValue(CComVariant& value) const {
  if (value.vt == VT_DATE) {
    GetSQLDate(value);
  } else if (value.vt == VT_BSTR) {
    value = qx::textVariant(GetSQLString(qx::textOf(value)));
  }
  return qx::neutralTextOf(value);
}

void CQXPersistentBase::BuildSelectFieldList(CComBSTR& target) const {
  if (HasLinkTables() && m_bstrCorrelationName.IsEmpty())
    throw CQXPersistenceException(u"Correlation name for master table is missing");
  AppendFieldList(target, m_vecFields, m_bstrCorrelationName);
  for (const CQXLinkTableCriteria& link : m_vecLinkTables)
    AppendFieldList(target, link.GetFields(), link.GetCorrelationName());
}

void CQXPersistentBase::AppendFieldList(CComBSTR& target, const FieldNames& fields,
                                        const OLECHAR* correlation) const {
  AppendFields(target, fields, correlation, nullptr);
}

void CQXPersistentBase::AppendFields(CComBSTR& target, const FieldNames& fields,
                                     const OLECHAR* correlation, const qx::Dialect* dialect) const {
  const std::u16string_view of = qx::viewOf(correlation);
  if (fields.empty()) {
    // Here the comma depends on the target's text, with fields on their list.
    if (!target.IsEmpty()) target += u",";
    if (!of.empty()) (target += of) += u".";
    target += u"*";
    return;
  }
  // Decided by content: the list of a join that equals the table's own list lacks its comma.
  const bool isOwnList = qx::sameNames(fields, m_vecFields);
  // Written in one piece of memory, since a list has many short names.
  constexpr std::size_t kUsualField = 16;
  std::u16string list;
  list.reserve(fields.size() * (of.empty() ? kUsualField : 3 * kUsualField));
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (i > 0 || !isOwnList) list += u',';
    AppendField(list, of, qx::viewOf(fields[i]), dialect);
  }
  target += list;
}

void CQXPersistentBase::AppendField(std::u16string& target, std::u16string_view correlation,
                                    std::u16string_view field, const qx::Dialect* dialect) const {
  if (!correlation.empty()) (target += correlation) += u'.';
  if (dialect == nullptr) {
    target += GetSQLColumnName(CComBSTR(field)).View();
    if (correlation.empty()) return;
    target += u" AS";
    target += GetSQLAlias(qx::joined({correlation, u".", field})).View();
    return;
  }
  const qx::Enclosure& column = dialect->column;
  ((target += column.opening) += field) += column.closing;
  if (correlation.empty()) return;
  const qx::Enclosure& alias = dialect->fieldAlias;
  for (const std::u16string_view piece :
       {alias.opening, correlation, std::u16string_view(u"."), field, alias.closing})
    target += piece;
}

void CQXPersistentBase::AppendJoins(CComBSTR& target) {
  for (CQXLinkTableCriteria& link : m_vecLinkTables) {
    target += joinWord(link.GetJoinMode());
    target += u" JOIN ";
    // A host's table is bare here in every dialect, unlike the master table.
    target += link.IsUserTable() ? GetSQLTableName(link.GetTableName()).View()
                                 : link.GetTableName().View();
    target += u" ";
    target += link.GetCorrelationName().View();
    target += u" ON ";
    AppendJoinConditions(target, link);
  }
}

void CQXPersistentBase::AppendJoinConditions(CComBSTR& target, CQXLinkTableCriteria& link) {
  for (int i = 0; i < link.GetSize(); ++i) {
    if (i > 0) target += u" AND ";
    AppendLinkField(target, link, link.GetLinkFieldCriteriaAt(i));
  }
}

void CQXPersistentBase::AppendLinkField(CComBSTR& target, const CQXLinkTableCriteria& link,
                                        CQXLinkFieldCriteria& field) const {
  const bool isConstant = field.GetSourceField().m_str == nullptr;
  if (!isConstant) {
    target += m_bstrCorrelationName.View();
    target += u".";
    target += GetSQLColumnName(field.GetSourceField()).View();
    target += u" = ";
  }
  target += link.GetCorrelationName().View();
  target += u".";
  target += GetSQLColumnName(field.GetDestField()).View();
  if (!isConstant) return;
  // The operator has blanks of its own, so there are two on either side.
  target += u" ";
  target += GetOperationString(field.GetOperation());
  target += u" ";
  target += GetSQLValue(field.GetDestValue()).View();  // replaces the constant by its literal
}

// Stricter than the other WHERE clauses, and different in its text: the opening brackets precede
// the AND or OR, there is no correlation name, and a number becomes a quoted text.
void CQXPersistentBase::BuildRemoveWhereClause(CComBSTR& target,
                                               const qx_ptr<CConditions>& conditions) const {
  target += u" WHERE ";
  for (long i = 0; i < CountOf(conditions); ++i) {
    const CCondition& condition = *conditions->Item(i);
    appendBrackets(target, u"(", condition.GetBracketOpenNum());
    if (i > 0) target += GetRelationshipString(condition.GetRelationship());
    AppendRemoveCondition(target, condition);
    appendBrackets(target, u")", condition.GetBracketCloseNum());
  }
}

void CQXPersistentBase::AppendRemoveCondition(CComBSTR& target, const CCondition& condition) const {
  target += GetSQLColumnName(condition.GetAlias()).View();
  if (condition.GetOperation() != co_Equal)
    throw CQXPersistenceException(u"Only EQUAL is allowed as operation in the conditions");
  target += u" = ";
  if (condition.GetCompareFields() != VARIANT_FALSE)
    throw CQXPersistenceException(u"Only constants are allowed as values in the conditions");
  const std::u16string_view tag = qx::viewOf(condition.GetComparedAlias());
  if (tag.empty()) {
    target += qx::viewOfBstr(condition.GetCondVal());
  } else {
    target += (tag == kDateTag ? DateLiteral(condition) : TextLiteral(condition)).View();
  }
}

void CQXPersistentBase::AppendComparisons(CComBSTR& target, WhereForm form) const {
  for (long i = 0; i < CountOf(m_ptrConditions); ++i) {
    const CCondition& condition = *m_ptrConditions->Item(i);
    if (i > 0) target += GetRelationshipString(condition.GetRelationship());
    AppendComparison(target, condition, form);
  }
}

void CQXPersistentBase::AppendComparison(CComBSTR& target, const CCondition& condition,
                                         WhereForm form) const {
  // Only -1 counts; a DELETE refuses every value but 0.
  if (condition.GetCompareFields() == VARIANT_TRUE)
    throw CQXPersistenceException(u"Comparing of fields is not implemented");
  if (form.withBrackets) appendBrackets(target, u"(", condition.GetBracketOpenNum());
  if (form.withCorrelation) AppendCorrelation(target);
  target += GetSQLColumnName(condition.GetAlias()).View();
  target += GetOperationString(condition.GetOperation());
  AppendConditionValue(target, condition);
  if (form.withBrackets) appendBrackets(target, u")", condition.GetBracketCloseNum());
}

void CQXPersistentBase::AppendConditionValue(CComBSTR& target, const CCondition& condition) const {
  const std::u16string_view tag = qx::viewOf(condition.GetComparedAlias());
  if (tag == kTextTag) {
    target += TextLiteral(condition).View();
  } else if (tag == kDateTag) {
    target += DateLiteral(condition).View();
  } else {
    target += qx::viewOfBstr(condition.GetCondVal());
  }
}

CComBSTR CQXPersistentBase::DateLiteral(const CCondition& condition) const {
  // The value is a text, in the form that GetDateString or GetSQLDate has given it.
  CComVariant date(qx::viewOfBstr(condition.GetCondVal()));
  GetSQLDate(date);
  return CComBSTR(qx::viewOfBstr(date.bstrVal));
}

CComBSTR CQXPersistentBase::TextLiteral(const CCondition& condition) const {
  return GetSQLString(CComBSTR(qx::viewOfBstr(condition.GetCondVal())));
}

void CQXPersistentBase::AppendCorrelation(CComBSTR& target) const {
  if (m_bstrCorrelationName.IsEmpty()) return;
  target += m_bstrCorrelationName.View();
  target += u".";
}

CComBSTR CQXPersistentBase::TableText() const { return GetSQLTableName(m_bstrMasterTable); }

CComBSTR CQXPersistentBase::SelectTableText() const {
  CComBSTR table = TableText();
  if (!m_bstrCorrelationName.IsEmpty()) {
    table += u" ";
    table += m_bstrCorrelationName.View();
  }
  return table;
}

CComBSTR CQXPersistentBase::AssembleSelect(std::u16string_view limit, const CComBSTR& fields,
                                           const CComBSTR& table, const CComBSTR& joins,
                                           const CComBSTR& where) {
  // The joins and the WHERE begin with a blank of their own, so several blanks may follow the
  // table.
  return qx::joined({u"SELECT ", limit, fields.View(), u" FROM ", table.View(), u" ", joins.View(),
                     u" ", where.View()});
}

CComBSTR CQXPersistentBase::DeleteText(const qx_ptr<CConditions>& conditions) const {
  CComBSTR text = qx::joined({u"DELETE FROM ", TableText().View(), u" "});
  BuildRemoveWhereClause(text, conditions);
  return text;
}

}  // namespace Persistence
