#include "qxframework/persistence/statement_writer.h"

#include "qxframework/persistence/internal/persistence_factory.h"
#include "qxframework/persistence/internal/persistent_collection.h"
#include "qxframework/persistence/internal/persistent_object.h"
#include "qxframework/sql/dialects.h"
#include "qxframework/util/next_code.h"

namespace qx {
namespace {

// As an add-on's proxies set up their objects.
void setUp(Persistence::CQXPersistentBase& sql, const StatementQuery& query) {
  sql.SetMasterTable(query.table);
  sql.SetUserTable(query.userTable);
  sql.SetCorrelationName(query.correlation);
  sql.SetKeyFields(query.keys);
  sql.SetFields(query.fields);
  sql.SetConditions(query.conditions);
  for (const Persistence::CQXLinkTableCriteria& join : query.joins) sql.AddLinkTable(join);
}

}  // namespace

StatementWriter::StatementWriter(DbServerType serverType, const StatementQuery& query)
    : serverType_(serverType),
      object_(persistentObjectFor(dialectOf(serverType))),
      collection_(persistentCollectionFor(dialectOf(serverType))) {
  setUp(*object_, query);
  setUp(*collection_, query);
  collection_->SetKeysOnly(query.keysOnly);
  collection_->SetSortFields(query.sortFields);
}

StatementWriter::~StatementWriter() = default;

qx_ptr<Persistence::CConditions> StatementWriter::conditionsFromValues(
    DbServerType serverType, const Persistence::TyFieldValues& values,
    const std::vector<Persistence::HvConditionOperation>& operations) {
  return persistentObjectFor(dialectOf(serverType))
      ->BuildConditionsFromValues(values, operations, false);
}

void StatementWriter::setMaximum(long rows) { collection_->SetMaxRecordCount(rows); }

std::vector<CComBSTR> StatementWriter::select() {
  collection_->PrepareSelect();  // as Refresh does
  return collection_->SelectTexts();
}

CComBSTR StatementWriter::load() { return object_->SelectText(); }

std::vector<CComBSTR> StatementWriter::insert(const Persistence::TyFieldValues& values,
                                              const CComBSTR& nextCode) {
  std::vector<CComBSTR> texts;
  if (object_->IsUserTable())
    texts.emplace_back(highestCodeQuery(dialectOf(serverType_), object_->GetMasterTable().View()));
  object_->GetFieldValues() = values;
  texts.push_back(object_->InsertText(nextCode));
  return texts;
}

CComBSTR StatementWriter::update(const Persistence::TyFieldValues& values,
                                 const Persistence::TyFieldValues& keyValues) {
  object_->GetFieldValues() = values;
  return object_->UpdateText(keyValues);
}

std::vector<std::size_t> StatementWriter::comparedKeyValues(
    const Persistence::TyFieldValues& values, const Persistence::TyFieldValues& keyValues) {
  object_->GetFieldValues() = values;
  std::vector<std::size_t> positions;
  for (const auto& column : object_->KeyColumns(keyValues))
    positions.push_back(static_cast<std::size_t>(column.position));
  return positions;
}

CComBSTR StatementWriter::remove() const { return object_->RemoveText(); }

CComBSTR StatementWriter::chooseList(const CSimpleMap<CComBSTR, CComBSTR>& titles,
                                     const CComBSTR& where) {
  CComBSTR text;
  object_->GetSQLforChooseList(titles, where, text);
  return text;
}

}  // namespace qx
