// The statements of a set of rows.

#include "qxframework/automation/format.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/persistence/internal/persistent_collection.h"
#include "qxframework/query/persistence_exception.h"
#include "qxframework/sql/dialect.h"
#include "qxframework/sql/sql_text.h"

namespace Persistence {
namespace {

constexpr std::u16string_view kClass = u"CQXPersistentCollection";

}  // namespace

// A SELECT with the statements that limit the connection's rows. Their texts are null if there is
// no limit or the dialect limits rows within the SELECT.
struct CQXPersistentCollection::Statements {
  CComBSTR before;
  CComBSTR select;
  CComBSTR after;
};

CQXPersistentCollection::Statements CQXPersistentCollection::BuildStatements() {
  const qx::RowLimit& limit = GetDialect().rowLimit;
  Statements statements;
  statements.select = BuildSelectText();
  if (m_lMaxRecordCount != -1 && limit.statementBefore != nullptr) {
    statements.before = LimitText(limit.statementBefore);
    statements.after = limit.statementAfter;
  }
  return statements;
}

std::u16string CQXPersistentCollection::LimitText(const OLECHAR* format) const {
  if (m_lMaxRecordCount == -1 || format == nullptr) return {};
  return qx::format(format, m_lMaxRecordCount);
}

CComBSTR CQXPersistentCollection::BuildSelectText() {
  const qx::RowLimit& limit = GetDialect().rowLimit;
  CComBSTR fields;
  if (m_bKeysOnly) {
    BuildKeyFieldList(fields);
  } else {
    BuildSelectFieldList(fields);
  }
  CComBSTR where(u" ");
  BuildWhereClause(where);
  CComBSTR joins(u" ");
  if (HasLinkTables()) AppendJoins(joins);
  CComBSTR text =
      AssembleSelect(LimitText(limit.beforeFields), fields, SelectTableText(), joins, where);
  if (m_bSorted) {
    text += u" ORDER BY ";
    AppendOrder(text);
  }
  text += LimitText(limit.atEnd);
  if (m_lMaxRecordCount == -1) text += limit.endIfUnlimited;
  if (!m_bSorted) text += limit.endIfUnsorted;
  return text;
}

std::vector<CComBSTR> CQXPersistentCollection::SelectTexts() {
  Statements statements = BuildStatements();
  std::vector<CComBSTR> texts;
  if (statements.before.m_str != nullptr) texts.push_back(std::move(statements.before));
  texts.push_back(std::move(statements.select));
  if (statements.after.m_str != nullptr) texts.push_back(std::move(statements.after));
  return texts;
}

void CQXPersistentCollection::RunSelect() {
  CReturnValue<long> hr(ScopeName(kClass, GetDialect().classSuffix, u"Select"), 0, 0);
  const Statements statements = BuildStatements();
  try {
    RunStatements(hr, statements);
  } catch (const _com_error& error) {
    Fail(hr, error, u"Failed to select from %s", SelectTableText());
  }
}

// A failed query leaves the limit on the connection: the statement that lifts it runs only after a
// successful one.
void CQXPersistentCollection::RunStatements(CReturnValue<long>& hr, const Statements& statements) {
  CComQIPtr<IRecordset> limiter;
  if (statements.before.m_str != nullptr)
    // A record set of its own, since a query on the collection's would replace the rows.
    limiter = CComQIPtr<IRecordset>(m_ptrCompany->GetBusinessObject(qx::kRecordset));
  hr.LogInfo(u"%s", statements.select);
  SetLastQuery(statements.select);  // before it runs: a failed query is kept, too
  if (statements.before.m_str != nullptr) hr = limiter->DoQuery(statements.before);
  hr = Query(statements.select);
  if (statements.after.m_str != nullptr) hr = limiter->DoQuery(statements.after);
}

void CQXPersistentCollection::BuildKeyFieldList(CComBSTR& target) { AppendKeys(target, nullptr); }

void CQXPersistentCollection::AppendKeys(CComBSTR& target, const qx::Dialect* dialect) const {
  std::u16string list;
  for (std::size_t i = 0; i < m_vecKeyFields.size(); ++i) {
    if (i > 0) list += u',';
    AppendField(list, m_bstrCorrelationName.View(), qx::viewOf(m_vecKeyFields[i]), dialect);
  }
  target += list;
}

void CQXPersistentCollection::AppendOrder(CComBSTR& target) const {
  const auto append = [&](bool isFirst, const CComBSTR& field, const OLECHAR* order) {
    if (!isFirst) target += u",";
    AppendCorrelation(target);
    target += GetSQLColumnName(field).View();
    target += order;
  };
  if (m_SortFields.empty()) {
    for (std::size_t i = 0; i < m_vecKeyFields.size(); ++i) append(i == 0, m_vecKeyFields[i], u"");
    return;
  }
  for (std::size_t i = 0; i < m_SortFields.size(); ++i)
    append(i == 0, m_SortFields[i].GetFieldName(), m_SortFields[i].GetSortOrderAsString());
}

void CQXPersistentCollection::BuildWhereClause(CComBSTR& target) {
  if (m_ptrConditions.get() == nullptr) return;
  target += u" WHERE ";
  AppendComparisons(target, {.withCorrelation = true, .withBrackets = true});
}

CComBSTR CQXPersistentCollection::RemoveText(const qx_ptr<CConditions>& conditions) const {
  return DeleteText(conditions);
}

void CQXPersistentCollection::RunRemove(const qx_ptr<CConditions>& conditions) {
  CReturnValue<long> hr(ScopeName(kClass, GetDialect().classSuffix, u"Remove"), 0, 0);
  RunText(hr, RemoveText(conditions), u"Failed to delete from %s", TableText());
}

}  // namespace Persistence
