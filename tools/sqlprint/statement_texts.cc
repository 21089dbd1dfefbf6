#include "tools/sqlprint/statement_texts.h"

#include "qxframework/automation/text.h"
#include "qxframework/persistence/statement_writer.h"
#include "qxframework/query/persistence_exception.h"

#include <algorithm>

namespace qx::sqlprint {
namespace {

using Persistence::CCondition;
using Persistence::CConditions;

// Does `work`. If the layer refuses, the refusal is reported with the place in the file.
template <class Work>
auto refusedAt(const Location& place, Work work) {
  try {
    return work();
  } catch (const Persistence::CQXPersistenceException& exception) {
    throw Diagnostic(place, toUtf8(viewOf(exception.GetErrorString())),
                     "the persistence layer refuses this, so change it");
  }
}

std::vector<const OLECHAR*> pointersTo(const Names& names) {
  std::vector<const OLECHAR*> pointers;
  for (const std::u16string& name : names) pointers.push_back(name.c_str());
  return pointers;
}

Persistence::TyFieldValues fieldValuesOf(const NamedValues& values) {
  Persistence::TyFieldValues made;
  for (const auto& [name, value] : values) made.Add(CComBSTR(name), value);
  return made;
}

// The layer makes the condition of the value. One condition at a time, since a list of values has a
// name once only and a column may have several conditions.
CCondition conditionOf(const Condition& given, DbServerType serverType) {
  const qx_ptr<CConditions> made = StatementWriter::conditionsFromValues(
      serverType, fieldValuesOf({{given.field, given.value}}), {given.operation});
  CCondition condition = *made->Item(0);
  if (given.raw) condition.PutCondVal(*given.raw);
  condition.PutRelationship(given.relationship);
  condition.PutBracketOpenNum(given.open);
  condition.PutBracketCloseNum(given.close);
  return condition;
}

qx_ptr<CConditions> conditionsOf(const std::vector<Condition>& given, DbServerType serverType) {
  qx_ptr<CConditions> made = CConditions::CreateNewInstance();
  for (const Condition& each : given) *made->Add() = conditionOf(each, serverType);
  return made;
}

Persistence::CQXLinkTableCriteria linkOf(const Join& join) {
  Persistence::CQXLinkTableCriteria link(join.table.c_str(), join.as.c_str(), join.mode,
                                         join.userTable);
  link.SetFields(pointersTo(join.fields));
  for (const JoinField& field : join.on) {
    link.AddLinkFieldCriteria(
        field.from
            ? Persistence::CQXLinkFieldCriteria(field.from->c_str(), field.to.c_str())
            : Persistence::CQXLinkFieldCriteria(field.to.c_str(), field.value, field.operation));
  }
  return link;
}

StatementQuery queryOf(const Statement& statement, DbServerType serverType) {
  StatementQuery query;
  query.table = statement.table.c_str();
  query.userTable = statement.userTable;
  if (!statement.as.empty()) query.correlation = statement.as.c_str();
  query.keys = pointersTo(statement.keys);
  query.fields = pointersTo(statement.fields);
  if (statement.where) query.conditions = conditionsOf(*statement.where, serverType);
  for (const Join& join : statement.joins) query.joins.push_back(linkOf(join));
  query.keysOnly = statement.keysOnly;
  for (const SortField& field : statement.sort)
    query.sortFields.emplace_back(field.field.c_str(), field.descending
                                                           ? Persistence::so_Descending
                                                           : Persistence::so_Ascending);
  return query;
}

using Texts = std::vector<CComBSTR>;

Texts selectTexts(const Statement& statement, StatementWriter& writer) {
  if (statement.limit)
    refusedAt(statement.limit->place, [&] { writer.setMaximum(statement.limit->count); });
  return writer.select();
}

Texts removeTexts(const Statement& statement, DbServerType serverType) {
  StatementQuery query = queryOf(statement, serverType);
  try {
    return {StatementWriter(serverType, query).remove()};
  } catch (const Persistence::CQXPersistenceException&) {
    // Each condition alone, to find the one that is refused.
    for (const Condition& condition : *statement.where) {
      query.conditions = conditionsOf({condition}, serverType);
      refusedAt(condition.place, [&] { StatementWriter(serverType, query).remove(); });
    }
    throw;
  }
}

CComBSTR chooseListText(const Statement& statement, StatementWriter& writer) {
  CSimpleMap<CComBSTR, CComBSTR> titles;
  for (const auto& [field, title] : statement.titles) titles.Add(CComBSTR(field), CComBSTR(title));
  return writer.chooseList(titles, CComBSTR(statement.whereText));
}

Texts textsOf(const Statement& statement, DbServerType serverType) {
  if (statement.kind == Kind::remove) return removeTexts(statement, serverType);
  StatementWriter writer(serverType, queryOf(statement, serverType));
  switch (statement.kind) {
    case Kind::select:
      return selectTexts(statement, writer);
    case Kind::load:
      return {writer.load()};
    case Kind::insert:
      return writer.insert(fieldValuesOf(statement.values), CComBSTR(statement.nextCode));
    case Kind::update:
      return {writer.update(fieldValuesOf(statement.values), fieldValuesOf(statement.keyValues))};
    case Kind::chooseList:
      return {chooseListText(statement, writer)};
    case Kind::remove:
      break;  // above: a refusal needs further writers
  }
  return {};
}

}  // namespace

std::vector<std::u16string> statementTexts(const Statement& statement, DbServerType serverType) {
  return refusedAt(statement.place, [&] {
    std::vector<std::u16string> texts;
    for (const CComBSTR& text : textsOf(statement, serverType)) texts.emplace_back(text.View());
    return texts;
  });
}

std::vector<std::size_t> skippedKeyValues(const Statement& statement) {
  std::vector<std::size_t> skipped;
  if (statement.keyValues.empty()) return skipped;
  // Any dialect will do: the names of key values do not depend on it.
  StatementWriter writer(kMssql, queryOf(statement, kMssql));
  const std::vector<std::size_t> compared =
      writer.comparedKeyValues(fieldValuesOf(statement.values), fieldValuesOf(statement.keyValues));
  for (std::size_t i = 0; i < statement.keyValues.size(); ++i)
    if (!std::binary_search(compared.begin(), compared.end(), i)) skipped.push_back(i);
  return skipped;
}

}  // namespace qx::sqlprint
