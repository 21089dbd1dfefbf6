// The statements of a set of rows.

#include "qxframework/automation/format.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/persistence/internal/dialect.h"
#include "qxframework/persistence/internal/persistent_collection.h"
#include "qxframework/persistence/internal/sql_text.h"
#include "qxframework/query/persistence_exception.h"

namespace Persistence {
namespace {

constexpr std::u16string_view kClass = u"CQXPersistentCollection";

}  // namespace

/// A SELECT with what limits it on the connection, where its dialect does that: null texts if not.
struct CQXPersistentCollection::Statements {
  CComBSTR before;
  CComBSTR select;
  CComBSTR behind;
};

CQXPersistentCollection::Statements CQXPersistentCollection::BuildStatements() {
  const Limit limit = GetLimit();
  Statements statements;
  statements.select = BuildSelectText(limit);
  if (limit.ofConnection) {
    statements.before = qx::format(u"SET ROWCOUNT %d ", m_lMaxRecordCount);
    statements.behind = u"SET ROWCOUNT 0";
  }
  return statements;
}

CComBSTR CQXPersistentCollection::BuildSelectText(const Limit& limit) {
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
  CComBSTR text = AssembleSelect(limit.inFront, fields, SelectTableText(), joins, where);
  if (m_bSorted) {
    text += u" ORDER BY ";
    AppendOrder(text);
  }
  text += limit.behind;
  return text;
}

std::vector<CComBSTR> CQXPersistentCollection::SelectTexts() {
  Statements statements = BuildStatements();
  std::vector<CComBSTR> texts;
  if (statements.before.m_str != nullptr) texts.push_back(std::move(statements.before));
  texts.push_back(std::move(statements.select));
  if (statements.behind.m_str != nullptr) texts.push_back(std::move(statements.behind));
  return texts;
}

void CQXPersistentCollection::RunSelect(const OLECHAR* dialect) {
  CReturnValue<long> hr(ScopeName(kClass, dialect, u"Select"), 0, 0);
  const Statements statements = BuildStatements();
  try {
    RunStatements(hr, statements);
  } catch (const _com_error& error) {
    Fail(hr, error, u"Failed to select from %s", SelectTableText());
  }
}

// The connection's limit is lifted only behind a query that went well.
void CQXPersistentCollection::RunStatements(CReturnValue<long>& hr, const Statements& statements) {
  CComQIPtr<IRecordset> limiter;
  if (statements.before.m_str != nullptr)
    limiter = CComQIPtr<IRecordset>(m_ptrCompany->GetBusinessObject(qx::kRecordset));
  hr.LogInfo(u"%s", statements.select);
  SetLastQuery(statements.select);
  if (statements.before.m_str != nullptr) hr = limiter->DoQuery(statements.before);
  hr = Query(statements.select);
  if (statements.behind.m_str != nullptr) hr = limiter->DoQuery(statements.behind);
}

void CQXPersistentCollection::BuildKeyFieldList(CComBSTR& target) {
  AppendKeys(target, qx::CommonDialect::kWriteField);
}

void CQXPersistentCollection::AppendKeys(CComBSTR& target, qx::FieldWriter write) const {
  for (std::size_t i = 0; i < m_vecKeyFields.size(); ++i) {
    if (i > 0) target += u",";
    write(*this, target, m_bstrCorrelationName.View(), qx::viewOf(m_vecKeyFields[i]));
  }
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

void CQXPersistentCollection::RunRemove(const OLECHAR* dialect,
                                        const qx_ptr<CConditions>& conditions) {
  CReturnValue<long> hr(ScopeName(kClass, dialect, u"Remove"), 0, 0);
  RunText(hr, RemoveText(conditions), u"Failed to delete from %s", TableText());
}

}  // namespace Persistence
