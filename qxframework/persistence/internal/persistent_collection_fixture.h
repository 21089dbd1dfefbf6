#pragma once

#include "qxframework/logging/qx_logger.h"
#include "qxframework/persistence/internal/persistence_factory.h"
#include "qxframework/persistence/internal/persistent_collection.h"
#include "qxframework/persistence/internal/persistent_object.h"
#include "qxframework/query/testing/query_parts.h"
#include "qxframework/sql/testing/dialect_param.h"
#include "testing/recording_logger.h"
#include "testing/scripted_company.h"

#include <memory>
#include <string>
#include <vector>

namespace qx::test {

inline constexpr const OLECHAR* kDateOf31January[] = {u"20240131", u"2024-01-31 00:00:00"};

/// A collection of the dialect with three rows to give, and an object for them.
class CollectionFixture : public testing::TestWithParam<DialectParam> {
 protected:
  CollectionFixture() {
    company->serverType = GetParam().serverType;
    Persistence::CQXPersistenceFactory factory{CComPtr<ICompany>(company)};
    collection.reset(factory.CreatePersistentCollection());
    object.reset(factory.CreatePersistentObject());
    collection->SetMasterTable(u"OFPR");
    collection->SetKeyFields({u"Code"});
    collection->SetKeysOnly(false);
    company->otherwise = {{u"Code", u"U_N"}, {{u"A", 1.5}, {u"B", 2.5}, {u"C", 3.5}}};
  }
  void refresh() {
    collection->Refresh();
    company->calls.calls.clear();
    logger.records.clear();
  }
  std::u16string scope(std::u16string_view operation) const {
    return u"CQXPersistentCollection" + qx::toUtf16(GetParam().name) + u"::" +
           std::u16string(operation);
  }
  std::u16string table() const { return GetParam().name == "KORDB" ? u"\"OFPR\"" : u"OFPR"; }
  bool isSybase() const { return GetParam().name == "Sybase"; }
  const OLECHAR* dateInConditions() const {
    return kDateOf31January[GetParam().name == "KORDB" ? 1 : 0];
  }
  std::vector<LogRecord> log() const { return {logger.records.begin(), logger.records.end()}; }
  std::string code() const { return utf8(object->GetFieldValues().GetValue(u"Code")); }
  void setUpFailure(int later = 0) {
    company->failStatement = static_cast<int>(company->runs.size()) + 1 + later;
    company->errorCode = -2035;
    company->errorText = u"Not today";
  }

  CComPtr<ScriptedCompany> company = makeScriptedCompany();
  std::unique_ptr<Persistence::CQXPersistentCollection> collection;
  std::unique_ptr<Persistence::CQXPersistentObject> object;
  RecordingLogger logger;
};

}  // namespace qx::test
