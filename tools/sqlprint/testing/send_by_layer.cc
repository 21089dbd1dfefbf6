// The calls of the layer's classes that run a statement.

#include "qxframework/host/company.h"
#include "qxframework/persistence/internal/persistence_factory.h"
#include "qxframework/persistence/internal/persistent_collection.h"
#include "qxframework/persistence/internal/persistent_object.h"
#include "tools/sqlprint/testing/random_statement.h"

#include <memory>

namespace qx::test {
namespace {

using Persistence::CQXPersistentBase;
using Persistence::CQXPersistentCollection;
using Persistence::CQXPersistentObject;
using sqlprint::Condition;
using sqlprint::Kind;
using sqlprint::Statement;

Persistence::FieldNames pointers(const sqlprint::Names& names) {
  Persistence::FieldNames made;
  for (const std::u16string& name : names) made.push_back(name.c_str());
  return made;
}

Persistence::TyFieldValues fieldValues(const sqlprint::NamedValues& values) {
  Persistence::TyFieldValues made;
  for (const auto& [name, value] : values) made.Add(name, value);
  return made;
}

void putValue(Persistence::CCondition& condition, const CQXPersistentBase& sql, CComVariant value) {
  if (value.vt == VT_BSTR) {
    condition.PutComparedAlias(u"VT_BSTR");
  } else if (value.vt == VT_DATE) {
    condition.PutComparedAlias(u"VT_DATE");
    sql.GetSQLDate(value);
  } else {
    if (value.vt == VT_R8) condition.PutComparedAlias(u"VT_R8");
    VariantChangeTypeEx(&value, &value, 1033, 4, VT_BSTR);
  }
  condition.PutCondVal(viewOfBstr(value.bstrVal));
}

qx_ptr<Persistence::CConditions> conditionsOf(const std::vector<Condition>& given,
                                              const CQXPersistentBase& sql) {
  auto made = Persistence::CConditions::CreateNewInstance();
  for (const Condition& each : given) {
    Persistence::CCondition& condition = *made->Add();
    condition.PutAlias(each.field);
    condition.PutOperation(each.operation);
    condition.PutRelationship(each.relationship);
    condition.PutBracketOpenNum(each.open);
    condition.PutBracketCloseNum(each.close);
    if (each.raw) {
      condition.PutCondVal(*each.raw);
    } else {
      putValue(condition, sql, each.value);
    }
  }
  return made;
}

qx_ptr<Persistence::CConditions> whereOf(const Statement& statement, const CQXPersistentBase& sql) {
  if (!statement.where) return {};
  return conditionsOf(*statement.where, sql);
}

void addJoins(CQXPersistentBase& sql, const Statement& statement) {
  for (const sqlprint::Join& join : statement.joins) {
    Persistence::CQXLinkTableCriteria link(join.table.c_str(), join.as.c_str(), join.mode,
                                           join.userTable);
    link.SetFields(pointers(join.fields));
    for (const sqlprint::JoinField& field : join.on) {
      if (field.from) {
        link.AddLinkFieldCriteria({field.from->c_str(), field.to.c_str()});
      } else {
        link.AddLinkFieldCriteria({field.to.c_str(), field.value, field.operation});
      }
    }
    sql.AddLinkTable(link);
  }
}

void setUp(CQXPersistentBase& sql, const Statement& statement) {
  sql.SetMasterTable(statement.table.c_str());
  sql.SetUserTable(statement.userTable);
  sql.SetCorrelationName(statement.as.empty() ? nullptr : statement.as.c_str());
  sql.SetKeyFields(pointers(statement.keys));
  sql.SetFields(pointers(statement.fields));
  addJoins(sql, statement);
}

void refresh(CQXPersistentCollection& collection, const Statement& statement) {
  collection.SetConditions(whereOf(statement, collection));
  collection.SetKeysOnly(statement.keysOnly);
  Persistence::CQXPersistenceSortFieldCollection sort;
  for (const sqlprint::SortField& field : statement.sort) {
    if (field.descending) {
      sort.emplace_back(field.field.c_str(), Persistence::so_Descending);
    } else {
      sort.emplace_back(field.field.c_str());
    }
  }
  collection.SetSortFields(sort);
  if (statement.limit) collection.SetMaxRecordCount(statement.limit->count);
  collection.Refresh();
}

void sendByObject(CQXPersistentObject& object, const Statement& statement) {
  object.GetFieldValues() = fieldValues(statement.values);
  if (statement.kind == Kind::load) return object.Load(whereOf(statement, object));
  if (statement.kind == Kind::insert) return object.Add();
  object.SetConditions(whereOf(statement, object));
  if (statement.kind == Kind::update) return object.Update(fieldValues(statement.keyValues));
  object.Remove({});
}

/// Runs the text of a choose list, as the form does that gets it.
void chooseList(CQXPersistentObject& object, const Statement& statement) {
  CSimpleMap<CComBSTR, CComBSTR> titles;
  for (const auto& [column, title] : statement.titles) titles.Add(column, title);
  CComBSTR text;
  object.GetSQLforChooseList(titles, CComBSTR(statement.whereText), text);
  object.GetRecordSet()->DoQuery(text);
}

}  // namespace

void sendByLayer(const Statement& statement, ICompany* company, bool removeByCollection) {
  Persistence::CQXPersistenceFactory factory{CComPtr<ICompany>(company)};
  const std::unique_ptr<CQXPersistentCollection> collection(factory.CreatePersistentCollection());
  const std::unique_ptr<CQXPersistentObject> object(factory.CreatePersistentObject());
  setUp(*collection, statement);
  setUp(*object, statement);
  if (statement.kind == Kind::select) return refresh(*collection, statement);
  if (statement.kind == Kind::chooseList) return chooseList(*object, statement);
  if (statement.kind == Kind::remove && removeByCollection)
    return collection->Remove(whereOf(statement, *collection));
  sendByObject(*object, statement);
}

}  // namespace qx::test
