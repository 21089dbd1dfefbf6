// The statements, put together from the pieces of the generator.

#include "qxframework/automation/format.h"
#include "qxframework/cache/sql_generator.h"
#include "qxframework/logging/function_log.h"
#include "qxframework/query/persistence_exception.h"
#include "qxframework/sql/sql_text.h"

namespace Persistence {
namespace {

// The name is part of the statements' contract. It stays in square brackets for kordb, too.
constexpr std::u16string_view kCommonTable = u"[__tempCTE*&^()132]";

using SortFields = CQXPersistenceSortFieldCollection;

/// The pieces of a SELECT that do not depend on its behaviour.
struct Pieces {
  CComBSTR fields;
  CComBSTR from;
  CComBSTR where;
};

void addPrefetchFields(SortFields& order, const TyLoadParameter_WithPrefetchKeys& param,
                       std::u16string_view prefix = {}) {
  if (!param.HasPrefetchFields()) return;
  const TyFieldValues& prefetch = *param.GetPrefetchFields();
  for (long i = 0; i < prefetch.GetCount(); ++i)
    order.emplace_back(CComBSTR(prefix) + prefetch.keyAt(i));
}

void addKeyFields(SortFields& order, const TyLoadParameter& param,
                  std::u16string_view prefix = {}) {
  for (const CComBSTR& name : *param.GetKeyFields()) order.emplace_back(CComBSTR(prefix) + name);
}

bool hasSortFields(const TyLoadParameter& param) {
  const qx_ptr<SortFields> fields = param.GetSortFields();
  return fields != nullptr && !fields->empty();
}

/// Adds the sort fields of the parameter or, without any, its key fields.
void addOwnOrder(SortFields& order, const TyLoadParameter& param) {
  if (!hasSortFields(param)) return addKeyFields(order, param);
  order.insert(order.end(), param.GetSortFields()->begin(), param.GetSortFields()->end());
}

/// The order of the whole statement around the common table, whose columns have the names that the
/// field list gave them.
SortFields orderOfCommonTable(const TyLoadParameter_WithPrefetchKeys& param) {
  SortFields order;
  addPrefetchFields(order, param, u"__pff__.");
  if (hasSortFields(param) && !param.IsKeyFieldsOnly()) {
    addOwnOrder(order, param);
  } else {
    addKeyFields(order, param, u"__kf__.");
  }
  return order;
}

CComBSTR orderText(const CQXSQLGenerator& generator, const TyLoadParameter& param,
                   const SortFields& fields) {
  CComBSTR text;
  generator.BuildOrderBy(text, param, fields);
  return text;
}

/// Rows are stored by their keys and ordered by them, so a SELECT of rows needs key fields. A count
/// needs them only for its order.
void requireKeyFields(const TyLoadParameter& param) {
  const qx_ptr<std::vector<CComBSTR>> keys = param.GetKeyFields();
  if (keys != nullptr && !keys->empty()) return;
  if (param.IsReturnRecordCount() && hasSortFields(param)) return;
  throw CQXPersistenceException(
      qx::format(u"The load of table %s has no key fields: call SetKeyFields before it",
                 param.GetMajorTable().View())
          .c_str());
}

/// Returns the SELECT of the rows that the conditions select.
CComBSTR selectedRows(const CQXSQLGenerator& generator, const TyLoadParameter& param,
                      const Pieces& pieces, bool ordered) {
  CComBSTR text =
      qx::joined({u"SELECT ", pieces.fields.View(), u"\r\nFROM ", pieces.from.View(), u"\r\n"});
  if (!pieces.where.IsEmpty()) ((text += u"WHERE ") += pieces.where) += u"\r\n";
  if (!ordered) return text;
  requireKeyFields(param);
  SortFields order;
  addOwnOrder(order, param);
  ((text += u"ORDER BY ") += orderText(generator, param, order)) += u"\r\n";
  return text;
}

/// Returns the SELECT of all rows from the start key onward.
CComBSTR allRowsFrom(const CQXSQLGenerator& generator,
                     const TyLoadParameter_WithPrefetchKeys& param, const Pieces& pieces) {
  requireKeyFields(param);
  SortFields order;
  addPrefetchFields(order, param);
  addOwnOrder(order, param);
  return qx::joined({u"SELECT ", pieces.fields.View(), u" \r\nFROM ", pieces.from.View(),
                     u"\r\nWHERE ", pieces.where.View(), u"\r\nORDER BY ",
                     orderText(generator, param, order).View()});
}

/// Returns the same for the first rows. WITH TIES completes the last group of rows with equal
/// prefetch fields, because the cache answers a start key from its group.
CComBSTR firstRowsFrom(const CQXSQLGenerator& generator,
                       const TyLoadParameter_WithPrefetchKeys& param, const Pieces& pieces) {
  requireKeyFields(param);
  SortFields order;
  addPrefetchFields(order, param);
  const std::u16string limit = qx::format(u"top %d WITH TIES ", param.GetPrefetchCount());
  return qx::joined({u"WITH ", kCommonTable, u" AS \r\n(\r\nSELECT ", limit, pieces.fields.View(),
                     u" \r\nFROM ", pieces.from.View(), u"\r\nWHERE ", pieces.where.View(),
                     u"\r\nORDER BY ", orderText(generator, param, order).View(),
                     u"\r\n)\r\n\r\nSELECT * \r\nFROM ", kCommonTable, u" ",
                     param.GetMajorTableCorrelationName().View(), u"\r\nORDER BY ",
                     orderText(generator, param, orderOfCommonTable(param)).View()});
}

bool startsAtAKey(_TyPrefetchBehavior behavior) {
  return behavior == pb_FirstRowsFrom || behavior == pb_AllRowsFrom;
}

CComBSTR selectText(const CQXSQLGenerator& generator, const TyLoadParameter_WithPrefetchKeys& param,
                    CConditions& conditions) {
  const _TyPrefetchBehavior behavior = param.GetPrefetchBehavior();
  Pieces pieces;
  generator.BuildFieldList(pieces.fields, param);
  generator.BuildFrom(pieces.from, param);
  if (startsAtAKey(behavior))
    generator.AddPrefetchConditions(conditions, param.GetPrefetchFields().get());
  generator.BuildWhere(pieces.where, conditions, param);
  switch (behavior) {
    case pb_NoPrefetch:
      return selectedRows(generator, param, pieces, !param.IsReturnRecordCount());
    case pb_FirstRows:
      throw CQXPersistenceException(u"not support yet, not make sense in reality");
    case pb_AllRows:
      return selectedRows(generator, param, pieces, true);
    case pb_FirstRowsFrom:
      return firstRowsFrom(generator, param, pieces);
    case pb_AllRowsFrom:
      return allRowsFrom(generator, param, pieces);
  }
  throw CQXPersistenceException(u"Invalid/NotSupported Prefetch behavior");
}

}  // namespace

CQXSQLGenerator_MSSQL::CQXSQLGenerator_MSSQL() : CQXSQLGenerator(true) {}

CQXSQLGenerator_MSSQL::~CQXSQLGenerator_MSSQL() = default;

CComBSTR CQXSQLGenerator_MSSQL::BuildSQL_Select(
    qx_ptr<TyLoadParameter_WithPrefetchKeys> param) const {
  CReturnValue<CComBSTR> sql(u"CQXPersistentCollectionMSSQL::BuildSQL_Select", CComBSTR(), 0);
  if (param == nullptr) throw CQXPersistenceException(u"BuildSQL_Select needs a load parameter");
  // The start key is added to a copy: the parameter is compared with those of later loads.
  const qx_ptr<CConditions> given = param->GetConditions();
  const qx_ptr<CConditions> conditions =
      given == nullptr ? CConditions::CreateNewInstance() : given->Clone();
  sql = selectText(*this, *param, *conditions);
  CConditions::Remove(conditions);
  return sql;
}

CComBSTR CQXSQLGenerator_MSSQL::BuildSQL_Insert(const CComBSTR& table, bool addCode,
                                                const TyRow& row, long code) const {
  CReturnValue<CComBSTR> sql(u"CQXSQLGenerator_MSSQL::BuildSQL_Insert", CComBSTR(), 0);
  CComBSTR columns;
  CComBSTR values;
  BuildInsertLists(row, table, addCode, columns, values, code);
  sql = qx::joined({u"INSERT INTO ", QuoteName(table.View()).View(), u" ", columns.View(), u"\r\n",
                    values.View()});
  sql.LogInfo(u"%s", static_cast<const CComBSTR&>(sql));
  return sql;
}

CComBSTR CQXSQLGenerator_MSSQL::BuildSQL_Update(const CComBSTR& table, const TyRow& row) const {
  CReturnValue<CComBSTR> sql(u"CQXSQLGenerator_MSSQL::BuildSQL_Update", CComBSTR(), 0);
  CComBSTR set;
  CComBSTR where;
  BuildUpdateLists(set, where, row.m_KeyFields, row);
  sql = qx::joined(
      {u"UPDATE ", QuoteName(table.View()).View(), u" SET ", set.View(), u" WHERE ", where.View()});
  return sql;
}

CComBSTR CQXSQLGenerator_MSSQL::BuildSQL_Delete(const CComBSTR& table,
                                                const TyFieldValues& keys) const {
  CReturnValue<CComBSTR> sql(u"CQXSQLGenerator_MSSQL::BuildSQL_Delete", CComBSTR(), 0);
  CComBSTR where;
  BuildDeleteCondition(where, keys);
  sql = qx::joined({u"DELETE FROM ", QuoteName(table.View()).View(), u" WHERE ", where.View()});
  return sql;
}

CComBSTR CQXSQLGenerator_MSSQL::QuoteName(std::u16string_view name) const {
  if (quotesDouble()) return qx::joined({u"\"", name, u"\""});
  std::u16string quoted(u"[");
  for (const OLECHAR unit : name) quoted.append(unit == u']' ? 2 : 1, unit);
  quoted += u']';
  return CComBSTR(quoted);
}

}  // namespace Persistence
