#pragma once

// A collection proxy of items, connected to a scripted company.

#include "qxframework/persistence/collection_proxy.h"
#include "qxframework/persistence/testing/proxy_records.h"
#include "qxframework/query/testing/query_parts.h"
#include "testing/recording_logger.h"
#include "testing/scripted_company.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Persistence::test {

using Texts = std::vector<std::u16string>;

inline const OLECHAR* const kCode = u"Code";
inline const OLECHAR* const kName = u"Name";
inline const OLECHAR* const kAllRows = u"SELECT * FROM HVITEM     ORDER BY Code";

class Items final : public CQXPersistentCollectionProxy {
 public:
  Items() = default;
  void MapToContainer(const TyFieldValues& row, CQXValueContainer& container) override {
    if (throwing) throw std::runtime_error("the record cannot be filled");
    qx::test::fill(row, container);
  }
  void ContainerToMap(const CQXValueContainer& container, TyFieldValues& row) override {
    if (writing) writing();
    qx::test::write(container, row);
  }
  qx_ptr<CConditions> conditionsOf(const TyFieldValues& fields,
                                   const std::vector<HvConditionOperation>& operations) {
    return GetConditionsFromKeyFields(fields, operations);
  }
  qx_ptr<CConditions> equalConditionsOf(const TyFieldValues& fields) {
    return GetConditionsFromKeyFields(fields, {});
  }
  bool throwing = false;
  std::function<void()> writing;  // runs first when a record is written
};

class CollectionProxy : public testing::Test {
 protected:
  CollectionProxy() {
    company->otherwise = qx::test::items({{u"A", u"Nail"}, {u"B", u"Screw"}, {u"C", u""}});
  }

  void connect() { proxy.Connect(company.p, u"HVITEM", false); }
  void load() {
    connect();
    proxy.SetKeysOnly(false);
    proxy.Load({kCode}, {});
    company->runs.clear();
  }
  /// Sets keys only: the query reads the keys, and each row is read by a statement of its own.
  void loadKeys() {
    company->otherwise = {{u"Code"}, {{u"A"}, {u"B"}}};
    company->answers[u"SELECT * FROM HVITEM     WHERE Code = N'A'"] =
        qx::test::items({{u"A", u"Nail"}});
    company->answers[u"SELECT * FROM HVITEM     WHERE Code = N'B'"] =
        qx::test::items({{u"B", u"Screw"}});
    connect();
    proxy.Load({kCode}, {});
    company->runs.clear();
  }
  Texts statements() { return company->statementTexts(); }
  ULONG references() { return qx::test::referencesTo(company); }

  qx::test::RecordingLogger logger;
  CComPtr<qx::test::ScriptedCompany> company = qx::test::makeScriptedCompany();
  Items proxy;
  qx::test::Item item;
};

}  // namespace Persistence::test
