// The pieces of the statements; sql_generator_mssql.cc puts them together.

#include "qxframework/cache/sql_generator.h"

#include "qxframework/automation/format.h"
#include "qxframework/foundation/date_time.h"
#include "qxframework/query/persistence_exception.h"
#include "qxframework/sql/sql_text.h"

#include <algorithm>
#include <utility>

namespace Persistence {
namespace {

constexpr const OLECHAR* kKeyPrefix = u"__kf__";
constexpr const OLECHAR* kPrefetchPrefix = u"__pff__";
constexpr std::u16string_view kTextTag = u"VT_BSTR";
constexpr std::u16string_view kDateTag = u"VT_DATE";

const OLECHAR* tagOf(VARTYPE kind) {
  switch (kind) {
    case VT_BSTR:
      return u"VT_BSTR";
    case VT_R8:
      return u"VT_R8";
    case VT_DATE:
      return u"VT_DATE";
    default:
      return u"";
  }
}

void appendBrackets(CComBSTR& text, std::u16string_view bracket, long count) {
  for (long i = 0; i < count; ++i) text += bracket;
}

/// Appends the correlation name and a point; nothing if there is no correlation name.
void appendCorrelation(CComBSTR& text, std::u16string_view correlation) {
  if (!correlation.empty()) (text += correlation) += u".";
}

/// Returns true for N'it''s': a whole literal and nothing behind its end.
bool isTextLiteral(std::u16string_view text) {
  if (text.starts_with(u'N')) text.remove_prefix(1);
  if (text.size() < 2 || text.front() != u'\'' || text.back() != u'\'') return false;
  text = text.substr(1, text.size() - 2);
  for (std::size_t at = text.find(u'\''); at != text.npos; at = text.find(u'\'', at + 2))
    if (text.substr(at, 2) != u"''") return false;
  return true;
}

/// Appends columns to a list, with commas between them.
class ColumnList {
 public:
  ColumnList(const CQXSQLGenerator& generator, CComBSTR& text)
      : m_Generator(generator), m_Text(text) {}
  void add(const OLECHAR* correlation, const OLECHAR* name, const OLECHAR* aliasPrefix) {
    if (!std::exchange(m_bFirst, false)) m_Text += u", ";
    m_Generator.BuildColumn(m_Text, correlation, name, aliasPrefix);
  }
  /// Adds every column of the table if `names` is empty.
  template <class Names>
  void addOrAll(const OLECHAR* correlation, const Names& names) {
    if (names.empty()) add(correlation, nullptr, nullptr);
    for (const OLECHAR* name : names) add(correlation, name, nullptr);
  }

 private:
  const CQXSQLGenerator& m_Generator;
  CComBSTR& m_Text;
  bool m_bFirst = true;
};

template <class Names>
const Names& orNone(const qx_ptr<Names>& names) {
  static const Names none;
  return names == nullptr ? none : *names;
}

void addKeyColumns(ColumnList& list, const TyLoadParameter_WithPrefetchKeys& param) {
  const OLECHAR* const correlation = param.GetMajorTableCorrelationName();
  for (const CComBSTR& name : orNone(param.GetKeyFields())) list.add(correlation, name, kKeyPrefix);
  if (!param.HasPrefetchFields()) return;
  const TyFieldValues& prefetch = *param.GetPrefetchFields();
  for (long i = 0; i < prefetch.GetCount(); ++i)
    list.add(correlation, prefetch.keyAt(i), kPrefetchPrefix);
}

void addDataColumns(ColumnList& list, const TyLoadParameter& param) {
  const std::vector<CQXLinkTableCriteria>& links = orNone(param.GetLinkTableCriterias());
  const CComBSTR& correlation = param.GetMajorTableCorrelationName();
  if (!links.empty() && correlation.IsEmpty())
    throw CQXPersistenceException(u"Correlation name for master table is missing");
  list.addOrAll(correlation, orNone(param.GetFields()));
  for (const CQXLinkTableCriteria& link : links)
    list.addOrAll(link.GetCorrelationName(), link.GetFields());
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

CCondition* addCondition(const CQXSQLGenerator& generator, CConditions& conditions,
                         const TyFieldValues& values, long position,
                         HvConditionOperation operation) {
  CCondition* const condition = conditions.Add();
  CComVariant value = values.valueAt(position);
  condition->PutAlias(values.keyAt(position));
  condition->PutOperation(operation);
  condition->PutRelationship(cr_And);
  condition->PutComparedAlias(tagOf(value.vt));
  condition->PutCondVal(value.vt == VT_DATE ? generator.DateToLiteral(value)
                                            : qx::neutralTextOf(value));
  return condition;
}

// A condition that was made from a date has the literal as its value, and one of the add-on's own
// has the text of the date. Both become one literal.
CComBSTR dateLiteralOf(const CQXSQLGenerator& generator, const CCondition& condition) {
  CComBSTR text(qx::viewOfBstr(condition.GetCondVal()));
  if (isTextLiteral(text.View())) return text;
  CComVariant value = qx::textVariant(std::move(text));
  return generator.DateToLiteral(value);
}

CComBSTR valueOf(const CQXSQLGenerator& generator, const CCondition& condition) {
  const std::u16string_view tag = qx::viewOf(condition.GetComparedAlias());
  const std::u16string_view value = qx::viewOfBstr(condition.GetCondVal());
  if (tag == kTextTag) return generator.StringToLiteral(value);
  if (tag == kDateTag) return dateLiteralOf(generator, condition);
  return CComBSTR(value);
}

void appendCondition(const CQXSQLGenerator& generator, CComBSTR& text, const CCondition& condition,
                     const TyLoadParameter& param) {
  if (condition.GetCompareFields() != VARIANT_FALSE)
    throw CQXPersistenceException(u"Comparing of fields is not implemented");
  appendBrackets(text, u"(", condition.GetBracketOpenNum());
  appendCorrelation(text, param.GetMajorTableCorrelationName().View());
  text += generator.QuoteName(qx::viewOf(condition.GetAlias()));
  text += generator.OperationToSQL(condition.GetOperation());
  text += valueOf(generator, condition);
  appendBrackets(text, u")", condition.GetBracketCloseNum());
}

void appendLinkField(const CQXSQLGenerator& generator, CComBSTR& text,
                     const CQXLinkFieldCriteria& field, std::u16string_view linkCorrelation,
                     const TyLoadParameter& param) {
  const bool comparesColumns = !!field.GetSourceField();
  if (comparesColumns) {
    appendCorrelation(text, param.GetMajorTableCorrelationName().View());
    (text += generator.QuoteName(field.GetSourceField().View())) += u" = ";
  }
  (text += linkCorrelation) += u".";
  text += generator.QuoteName(field.GetDestField().View());
  if (comparesColumns) return;
  ((text += u" ") += generator.OperationToSQL(field.GetOperation())) += u" ";
  text += generator.VariantToLiteral(field.GetDestValue());
}

void appendAssignments(const CQXSQLGenerator& generator, CComBSTR& text,
                       const TyFieldValues& values, std::u16string_view separator) {
  for (long i = 0; i < values.GetCount(); ++i) {
    if (i > 0) text += separator;
    (text += generator.QuoteName(values.keyAt(i).View())) += u"=";
    text += generator.VariantToLiteral(values.valueAt(i));
  }
}

/// The two lists of an INSERT in step with each other.
class InsertLists {
 public:
  InsertLists(const CQXSQLGenerator& generator, CComBSTR& columns, CComBSTR& values)
      : m_Generator(generator), m_Columns(columns), m_Values(values) {}
  void add(std::u16string_view name, const CComBSTR& literal) {
    const std::u16string_view separator = std::exchange(m_bFirst, false) ? u"" : u", ";
    (m_Columns += separator) += m_Generator.QuoteName(name);
    (m_Values += separator) += literal;
  }

 private:
  const CQXSQLGenerator& m_Generator;
  CComBSTR& m_Columns;
  CComBSTR& m_Values;
  bool m_bFirst = true;
};

}  // namespace

CQXSQLGenerator::~CQXSQLGenerator() = default;

bool CQXSQLGenerator::quotesDouble() const {
  return m_ptrCompany != nullptr && m_ptrCompany->GetDbServerType() == qx::kKordb;
}

void CQXSQLGenerator::BuildFieldList(CComBSTR& text,
                                     const TyLoadParameter_WithPrefetchKeys& param) const {
  if (param.IsReturnRecordCount()) {
    text += u"COUNT(*)";
    return;
  }
  ColumnList list(*this, text);
  addKeyColumns(list, param);
  if (!param.IsKeyFieldsOnly()) addDataColumns(list, param);
}

void CQXSQLGenerator::AddPrefetchConditions(CConditions& conditions,
                                            const TyFieldValues* prefetch) const {
  if (prefetch == nullptr || prefetch->GetCount() < 1) return;
  if (const long count = conditions.GetCount(); count > 1) {
    CCondition& first = *conditions.Item(0L);
    CCondition& last = *conditions.Item(count - 1);
    first.PutBracketOpenNum(first.GetBracketOpenNum() + 1);
    last.PutBracketCloseNum(last.GetBracketCloseNum() + 1);
  }
  const qx_ptr<CConditions> added = GetConditionsFromFieldValues(*prefetch, co_GreaterOrEqual);
  std::vector<CCondition*> each;
  for (long i = 0; i < added->GetCount(); ++i) each.push_back(added->Item(i));
  added->Clear(false);  // the other list owns them from here
  for (CCondition* const condition : each) conditions.Add(condition);
}

qx_ptr<CConditions> CQXSQLGenerator::GetConditionsFromKeyFields(
    const TyFieldValues& values, const std::vector<HvConditionOperation>& operations) const {
  const long count = values.GetCount();
  if (!operations.empty() && operations.size() < static_cast<std::size_t>(count))
    throw CQXPersistenceException(u"Operations count is less than the count of key fields");
  qx_ptr<CConditions> conditions = CConditions::CreateNewInstance();
  for (long i = 0; i < count; ++i) {
    addCondition(*this, *conditions, values, i,
                 operations.empty() ? co_Equal : operations[static_cast<std::size_t>(i)]);
  }
  return conditions;
}

qx_ptr<CConditions> CQXSQLGenerator::GetConditionsFromKeyFields(const TyFieldValues& values) const {
  return GetConditionsFromKeyFields(values, {});
}

// Rows compare as (A, B, C) >= (a, b, c), which not every engine has. The same without it:
// (A = a AND B = b AND C >= c) OR (A = a AND B > b) OR (A > a).
qx_ptr<CConditions> CQXSQLGenerator::GetConditionsFromFieldValues(
    const TyFieldValues& values, HvConditionOperation operation) const {
  if (operation != co_GreaterOrEqual && operation != co_Equal && operation != co_Greater)
    throw CQXPersistenceException(u"Invalid Condition operator in GetConditionsFromFieldValues");
  qx_ptr<CConditions> conditions = CConditions::CreateNewInstance();
  const long count = values.GetCount();
  for (long length = count; length > 0; --length) {
    const bool isFirstGroup = length == count;
    const bool takesEqualRows = isFirstGroup && operation == co_GreaterOrEqual;
    for (long i = 0; i < length; ++i) {
      const bool isLast = i == length - 1;
      HvConditionOperation own = co_Equal;
      if (isLast && operation != co_Equal) own = takesEqualRows ? co_GreaterOrEqual : co_Greater;
      CCondition* const condition = addCondition(*this, *conditions, values, i, own);
      if (i == 0 && !isFirstGroup) condition->PutRelationship(cr_Or);
      condition->PutBracketOpenNum(i == 0 ? 1 : 0);
      condition->PutBracketCloseNum(isLast ? 1 : 0);
    }
    if (operation == co_Equal) break;
  }
  return conditions;
}

CComBSTR CQXSQLGenerator::DateToLiteral(CComVariant& value) const {
  const CComBSTR text =
      value.vt == VT_DATE ? CQXDateTime(value.date).GetDateAsBSTR() : qx::textOf(value);
  CComBSTR literal = StringToLiteral(text.View());
  value = qx::textVariant(literal);
  return literal;
}

CComBSTR CQXSQLGenerator::StringToLiteral(std::u16string_view text, bool unicode) const {
  std::u16string literal(unicode ? u"N'" : u"'");
  literal.reserve(literal.size() + text.size() + 1);
  for (const OLECHAR unit : text) literal.append(unit == u'\'' ? 2 : 1, unit);
  literal += u'\'';
  return CComBSTR(literal);
}

// A number is written by the English locale: SQL has a decimal point wherever the user is.
CComBSTR CQXSQLGenerator::VariantToLiteral(const CComVariant& value, bool unicode) const {
  if (value.vt == VT_DATE) {
    CComVariant date = value;
    return DateToLiteral(date);
  }
  if (value.vt == VT_BSTR) return StringToLiteral(qx::viewOfBstr(value.bstrVal), unicode);
  return qx::neutralTextOf(value);
}

CComBSTR CQXSQLGenerator::StringToLiteral(std::u16string_view text) const {
  return StringToLiteral(text, m_bUnicodeLiterals);
}

CComBSTR CQXSQLGenerator::VariantToLiteral(const CComVariant& value) const {
  return VariantToLiteral(value, m_bUnicodeLiterals);
}

void CQXSQLGenerator::BuildOrderBy(CComBSTR& text, const TyLoadParameter& param,
                                   const CQXPersistenceSortFieldCollection& fields) const {
  bool first = true;
  for (const CQXPersistenceSortField& field : fields) {
    if (!std::exchange(first, false)) text += u",";
    appendCorrelation(text, param.GetMajorTableCorrelationName().View());
    text += QuoteName(field.GetFieldName().View());
    text += field.GetSortOrderAsString();
  }
}

void CQXSQLGenerator::BuildWhere(CComBSTR& text, const CConditions& conditions,
                                 const TyLoadParameter& param) const {
  for (long i = 0; i < conditions.GetCount(); ++i) {
    const CCondition& condition = *conditions.Item(i);
    if (i > 0) text += RelationshipToSQL(condition.GetRelationship());
    appendCondition(*this, text, condition, param);
  }
}

const OLECHAR* CQXSQLGenerator::RelationshipToSQL(HvConditionRelationship relationship) const {
  return qx::relationshipText(relationship);
}

const OLECHAR* CQXSQLGenerator::OperationToSQL(HvConditionOperation operation) const {
  return qx::operationText(operation);
}

void CQXSQLGenerator::BuildJoins(CComBSTR& text, const TyLoadParameter& param) const {
  for (const CQXLinkTableCriteria& link : orNone(param.GetLinkTableCriterias())) {
    (text += joinWord(link.GetJoinMode())) += u" JOIN ";
    text += QuoteName(link.GetTableName().View());
    ((text += u" ") += link.GetCorrelationName()) += u" ON ";
    BuildJoinCondition(text, link, param);
  }
}

void CQXSQLGenerator::BuildFrom(CComBSTR& text, const TyLoadParameter& param) const {
  text += QuoteName(param.GetMajorTable().View());
  const CComBSTR& correlation = param.GetMajorTableCorrelationName();
  if (!correlation.IsEmpty()) (text += u" ") += correlation;
  if (param.GetLinkTableCriterias() == nullptr) return;
  text += u" ";
  BuildJoins(text, param);
}

void CQXSQLGenerator::BuildJoinCondition(CComBSTR& text, const CQXLinkTableCriteria& criteria,
                                         const TyLoadParameter& param) const {
  for (int i = 0; i < criteria.GetSize(); ++i) {
    if (i > 0) text += u" AND ";
    appendLinkField(*this, text, criteria.GetLinkFieldCriteriaAt(i),
                    criteria.GetCorrelationName().View(), param);
  }
}

void CQXSQLGenerator::BuildColumn(CComBSTR& text, const OLECHAR* correlation, const OLECHAR* name,
                                  const OLECHAR* aliasPrefix) const {
  appendCorrelation(text, qx::viewOf(correlation));
  if (name == nullptr) {
    text += u"*";
    return;
  }
  text += QuoteName(qx::viewOf(name));
  const std::u16string_view prefix =
      qx::viewOf(qx::viewOf(aliasPrefix).empty() ? correlation : aliasPrefix);
  if (prefix.empty()) return;
  const CComBSTR alias = qx::joined({prefix, u".", qx::viewOf(name)});
  text += u" AS ";
  text += quotesDouble() ? QuoteName(alias.View()) : StringToLiteral(alias.View());
}

void CQXSQLGenerator::BuildInsertLists(const TyRow& row, const CComBSTR& /*table*/, bool addCode,
                                       CComBSTR& columns, CComBSTR& values, long code) const {
  CComBSTR literals;
  columns += u"(";
  InsertLists lists(*this, columns, literals);
  if (addCode) {
    const CComBSTR digits = StringToLiteral(qx::format(u"%08X", code));
    for (const OLECHAR* name : {u"Code", u"Name"}) {
      const CComVariant* const own = row.m_Fields.find(name);
      lists.add(name, own != nullptr ? VariantToLiteral(*own) : digits);
    }
  }
  for (long i = 0; i < row.m_Fields.GetCount(); ++i)
    lists.add(row.m_Fields.keyAt(i).View(), VariantToLiteral(row.m_Fields.valueAt(i)));
  columns += u") ";
  ((values += u"VALUES (") += literals) += u")";
}

void CQXSQLGenerator::BuildUpdateLists(CComBSTR& set, CComBSTR& where, const TyFieldValues& keys,
                                       const TyRow& row) const {
  appendAssignments(*this, set, row.m_Fields, u", ");
  appendAssignments(*this, where, keys, u" AND ");
}

void CQXSQLGenerator::BuildDeleteCondition(CComBSTR& where, const TyFieldValues& keys) const {
  appendAssignments(*this, where, keys, u" AND ");
}

}  // namespace Persistence
