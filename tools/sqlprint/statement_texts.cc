#include "tools/sqlprint/statement_texts.h"

#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"
#include "qxframework/sql/engine_sql.h"
#include "qxframework/persistence/internal/persistence_factory.h"
#include "qxframework/persistence/internal/persistent_collection.h"
#include "qxframework/persistence/internal/persistent_object.h"
#include "qxframework/query/persistence_exception.h"

#include <memory>

namespace qx::sqlprint {
namespace {

using Persistence::CCondition;
using Persistence::CConditions;
using Persistence::CQXPersistentBase;
using Persistence::CQXPersistentCollection;
using Persistence::CQXPersistentObject;

/// Does `work`; a refusal of the layer gets the place.
template <class Work>
auto refusedAt(const Location& place, Work work) {
  try {
    return work();
  } catch (const Persistence::CQXPersistenceException& exception) {
    throw Diagnostic(place, toUtf8(viewOf(exception.GetErrorString())),
                     "the persistence layer refuses this, so change it");
  }
}

Persistence::FieldNames pointersTo(const Names& names) {
  Persistence::FieldNames pointers;
  for (const std::u16string& name : names) pointers.push_back(name.c_str());
  return pointers;
}

Persistence::TyFieldValues fieldValuesOf(const NamedValues& values) {
  Persistence::TyFieldValues made;
  for (const auto& [name, value] : values) made.Add(CComBSTR(name), value);
  return made;
}

/// The layer makes the condition out of the value. One at a time, since values go by their names
/// and a column may have several conditions.
CCondition conditionOf(const CQXPersistentBase& sql, const Condition& given) {
  const qx_ptr<CConditions> made = sql.BuildConditionsFromValues(
      fieldValuesOf({{given.field, given.value}}), {given.operation}, false);
  CCondition condition = *made->Item(0);
  if (given.raw) condition.PutCondVal(*given.raw);
  condition.PutRelationship(given.relationship);
  condition.PutBracketOpenNum(given.open);
  condition.PutBracketCloseNum(given.close);
  return condition;
}

qx_ptr<CConditions> conditionsOf(const CQXPersistentBase& sql,
                                 const std::vector<Condition>& given) {
  qx_ptr<CConditions> made = CConditions::CreateNewInstance();
  for (const Condition& each : given) *made->Add() = conditionOf(sql, each);
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

void setUp(CQXPersistentBase& sql, const Statement& statement) {
  sql.SetMasterTable(statement.table.c_str());
  sql.SetUserTable(statement.userTable);
  if (!statement.as.empty()) sql.SetCorrelationName(statement.as.c_str());
  sql.SetKeyFields(pointersTo(statement.keys));
  sql.SetFields(pointersTo(statement.fields));
  if (statement.where) sql.SetConditions(conditionsOf(sql, *statement.where));
  for (const Join& join : statement.joins) sql.AddLinkTable(linkOf(join));
}

std::unique_ptr<CQXPersistentObject> objectFor(const Statement& statement, long serverType) {
  std::unique_ptr<CQXPersistentObject> object = persistentObjectFor(serverType);
  setUp(*object, statement);
  object->GetFieldValues() = fieldValuesOf(statement.values);
  return object;
}

using Texts = std::vector<CComBSTR>;

Texts selectTexts(const Statement& statement, long serverType) {
  const std::unique_ptr<CQXPersistentCollection> collection = persistentCollectionFor(serverType);
  setUp(*collection, statement);
  collection->SetKeysOnly(statement.keysOnly);
  Persistence::CQXPersistenceSortFieldCollection sort;
  for (const SortField& field : statement.sort)
    sort.emplace_back(field.field.c_str(),
                      field.descending ? Persistence::so_Descending : Persistence::so_Ascending);
  collection->SetSortFields(sort);
  if (statement.limit)
    refusedAt(statement.limit->place,
              [&] { collection->SetMaxRecordCount(statement.limit->count); });
  collection->PrepareSelect();
  return collection->SelectTexts();
}

/// On a user table the layer asks for the highest code first.
Texts insertTexts(const Statement& statement, long serverType) {
  Texts texts;
  if (statement.userTable)
    texts.push_back(
        CComBSTR(format(dbdef::kSelectMaxCode.of(serverType), CComBSTR(statement.table).View())));
  texts.push_back(objectFor(statement, serverType)->InsertText(CComBSTR(statement.nextCode)));
  return texts;
}

Texts removeTexts(const Statement& statement, long serverType) {
  const std::unique_ptr<CQXPersistentObject> object = objectFor(statement, serverType);
  try {
    return {object->RemoveText()};
  } catch (const Persistence::CQXPersistenceException&) {
    // Each condition alone, to find the one that is refused.
    for (const Condition& condition : *statement.where) {
      object->SetConditions(conditionsOf(*object, {condition}));
      refusedAt(condition.place, [&] { object->RemoveText(); });
    }
    throw;
  }
}

Texts chooseListTexts(const Statement& statement, long serverType) {
  CSimpleMap<CComBSTR, CComBSTR> titles;
  for (const auto& [field, title] : statement.titles) titles.Add(CComBSTR(field), CComBSTR(title));
  CComBSTR text;
  objectFor(statement, serverType)
      ->GetSQLforChooseList(titles, CComBSTR(statement.whereText), text);
  return {text};
}

Texts textsOf(const Statement& statement, long serverType) {
  switch (statement.kind) {
    case Kind::select:
      return selectTexts(statement, serverType);
    case Kind::load:
      return {objectFor(statement, serverType)->SelectText()};
    case Kind::insert:
      return insertTexts(statement, serverType);
    case Kind::update:
      return {objectFor(statement, serverType)->UpdateText(fieldValuesOf(statement.keyValues))};
    case Kind::remove:
      return removeTexts(statement, serverType);
    case Kind::chooseList:
      return chooseListTexts(statement, serverType);
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
  // The engine plays no part in it.
  const auto written = objectFor(statement, kMssql)->KeyColumns(fieldValuesOf(statement.keyValues));
  auto next = written.begin();
  for (std::size_t i = 0; i < statement.keyValues.size(); ++i) {
    if (next != written.end() && next->position == static_cast<long>(i)) {
      ++next;
    } else {
      skipped.push_back(i);
    }
  }
  return skipped;
}

}  // namespace qx::sqlprint
