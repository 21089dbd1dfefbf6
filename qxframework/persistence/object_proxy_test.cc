#include "qxframework/persistence/object_proxy.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/persistence/choose_list_helper.h"
#include "qxframework/persistence/testing/proxy_records.h"
#include "qxframework/query/link_criteria.h"
#include "qxframework/query/testing/query_parts.h"
#include "qxframework/query/testing/vtable_slot.h"
#include "testing/param_name.h"
#include "testing/recording_logger.h"
#include "testing/scripted_company.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace Persistence {
namespace {

using qx::test::codeIs;
using qx::test::Item;
using qx::test::items;
using qx::test::refusalOf;
using qx::test::values;
using Texts = std::vector<std::u16string>;
using Titles = CSimpleMap<CComBSTR, CComBSTR>;

const OLECHAR* const kCode = u"Code";
const OLECHAR* const kName = u"Name";

class ItemProxy final : public CQXPersistentObjectProxy {
 public:
  using CQXPersistentObjectProxy::Connect;
  using CQXPersistentObjectProxy::GetByKey;
  using CQXPersistentObjectProxy::GetConditionsFromKeyFields;
  using CQXPersistentObjectProxy::Load;
  void MapToContainer(const TyFieldValues& row, CQXValueContainer& container) override {
    mapped = row.GetCount();
    qx::test::fill(row, container);
  }
  void ContainerToMap(const CQXValueContainer& container, TyFieldValues& row) override {
    if (replacing) row.Clear();
    qx::test::write(container, row);
  }
  long mapped = -1;       // the number of values that the record was last filled from
  bool replacing = true;  // what was in the row goes before the record's values come in
};

class ObjectProxy : public testing::Test {
 protected:
  ObjectProxy() { company->otherwise = items({{u"A", u"Nail"}}); }

  void connect() { proxy.Connect(company.p, u"HVITEM", false); }
  void load() {
    connect();
    proxy.Load(codeIs(u"A"));
    company->runs.clear();
  }
  Texts statements() { return company->statementTexts(); }
  ULONG references() { return qx::test::referencesTo(company); }

  qx::test::RecordingLogger logger;
  CComPtr<qx::test::ScriptedCompany> company = qx::test::makeScriptedCompany();
  ItemProxy proxy;
  Item item;
};

// Add-ons are built against this order. The destructor is first and takes two slots.
TEST(ObjectProxyInterface, KeepsTheOrderOfItsVirtualOperations) {
  EXPECT_EQ(qx::test::slotOf(&CQXPersistentObjectProxy::MapToContainer), 2);
  EXPECT_EQ(qx::test::slotOf(&CQXPersistentObjectProxy::ContainerToMap), 3);
}

TEST_F(ObjectProxy, StartsNeitherConnectedNorLoaded) {
  EXPECT_FALSE(proxy.IsConnected());
  EXPECT_FALSE(proxy.IsLoaded());
}

TEST_F(ObjectProxy, RefusesOperationsThatNeedAConnection) {
  const TyFieldValues key = values({{kCode, u"A"}});
  const std::function<void()> operations[] = {
      [&] { proxy.Load(codeIs(u"A")); }, [&] { proxy.SetFields({kCode}); },
      [&] { proxy.GetFields(item); }, [&] { (void)proxy.GetConditionsFromKeyFields(key, {}); },
      [&] { proxy.Refresh(); }, [&] { proxy.AddLinkTableCriteria({}); },
      [&] { proxy.SetCorrelationName(u"T0"); }, [&] { proxy.GetByKey(key, item); },
      // These two do not check the state; the missing company makes them fail.
      [&] { proxy.GetByKey(codeIs(u"A"), item); }, [&] { proxy.Add(item); }};
  for (std::size_t i = 0; i < std::size(operations); ++i)
    EXPECT_EQ(refusalOf(operations[i]), "-1: Proxy is not connected to a persistent object") << i;
}

TEST_F(ObjectProxy, RefusesOperationsThatNeedALoadedRow) {
  const std::function<void()> operations[] = {[&] { proxy.Update(item); }, [&] { proxy.Remove(); },
                                              [&] { (void)proxy.Exists(); }};
  for (const bool connected : {false, true}) {
    if (connected) connect();
    for (const auto& operation : operations)
      EXPECT_EQ(refusalOf(operation),
                "-1: Proxy is not connected to a initialized persistent object");
  }
  EXPECT_TRUE(statements().empty());
}

TEST_F(ObjectProxy, LoadReadsTheRowOfTheConditions) {
  connect();
  EXPECT_TRUE(proxy.IsConnected());
  proxy.Load(codeIs(u"A"));
  EXPECT_TRUE(proxy.IsLoaded());
  EXPECT_EQ(statements(), (Texts{u"SELECT * FROM HVITEM     WHERE Code = N'A'"}));
  proxy.GetFields(item);
  EXPECT_EQ(item.code, u"A");
  EXPECT_EQ(item.name, u"Nail");
}

TEST_F(ObjectProxy, AFailedLoadLeavesItUnloaded) {
  company->otherwise = items({});
  connect();
  EXPECT_EQ(refusalOf([&] { proxy.Load(codeIs(u"X")); }),
            "-1: No record was found with the given conditions");
  EXPECT_FALSE(proxy.IsLoaded());
  EXPECT_TRUE(proxy.IsConnected());
}

TEST_F(ObjectProxy, WritesTheCompanysDialectAndTheFormOfAUserTable) {
  company->serverType = 3;
  proxy.Connect(company.p, u"@T", true);
  proxy.SetFields({kCode, kName});
  proxy.SetCorrelationName(u"T0");
  CQXLinkTableCriteria link(u"OITB", u"T1", jm_Inner, false);
  link.AddLinkFieldCriteria({kCode, u"Item"});
  proxy.AddLinkTableCriteria(link);
  proxy.Load(codeIs(u"A"));
  EXPECT_EQ(statements(), (Texts{u"SELECT T0.Code AS'T0.Code',T0.Name AS'T0.Name',T1.* FROM [@T] T0"
                                 u"   INNER JOIN OITB T1 ON T0.Code = T1.Item   WHERE T0.Code = "
                                 u"N'A'"}));
}

TEST_F(ObjectProxy, ALoadedOneRepeatsItsStatementAndWritesByNewConditions) {
  load();
  proxy.Load(codeIs(u"B"));
  proxy.Refresh();
  const OLECHAR* const first = u"SELECT * FROM HVITEM     WHERE Code = N'A'";
  EXPECT_EQ(statements(), (Texts{first, first}));
  proxy.Remove();
  EXPECT_EQ(statements().back(), u"DELETE FROM HVITEM  WHERE Code = N'B'");
}

TEST_F(ObjectProxy, RefreshReadsTheRowAgain) {
  load();
  company->otherwise = items({{u"A", u"Changed"}});
  proxy.Refresh();
  proxy.GetFields(item);
  EXPECT_EQ(item.name, u"Changed");
  EXPECT_EQ(statements(), (Texts{u"SELECT * FROM HVITEM     WHERE Code = N'A'"}));
}

TEST_F(ObjectProxy, RefreshBeforeLoadNeedsConditions) {
  connect();
  EXPECT_EQ(refusalOf([&] { proxy.Refresh(); }),
            "-1: Persistent Object is not properly initialized, neither conditions nor key fields "
            "are set");
  EXPECT_FALSE(proxy.IsLoaded());
}

TEST_F(ObjectProxy, UpdateWritesTheRecordByTheConditionsOfTheRow) {
  load();
  item.code = u"A";
  item.name = u"Bolt";
  proxy.Update(item);
  EXPECT_EQ(statements(), (Texts{u"UPDATE HVITEM  SET Name = N'Bolt'  WHERE Code = N'A'"}));
}

TEST_F(ObjectProxy, UpdateWithoutConditionsComparesTheFormerValues) {
  connect();
  item.code = u"A";
  item.name = u"Nail";
  proxy.Add(item);
  company->runs.clear();
  item.name = u"Bolt";
  proxy.Update(item);
  EXPECT_EQ(statements(), (Texts{u"UPDATE   SET Code = N'A', Name = N'Bolt'  WHERE Code = N'A' AND "
                                 u"Name = N'Nail'"}));
}

TEST_F(ObjectProxy, RemoveDeletesByTheConditionsOfTheRow) {
  load();
  proxy.Remove();
  EXPECT_EQ(statements(), (Texts{u"DELETE FROM HVITEM  WHERE Code = N'A'"}));
  EXPECT_TRUE(proxy.IsLoaded());
}

TEST_F(ObjectProxy, ExistsReadsTheRowAgain) {
  load();
  EXPECT_TRUE(proxy.Exists());
  EXPECT_EQ(statements(), (Texts{u"SELECT * FROM HVITEM     WHERE Code = N'A'"}));
}

TEST_F(ObjectProxy, AddWritesThroughANewObjectThatHasNoTable) {
  connect();
  item.code = u"A";
  item.name = u"Nail";
  proxy.Add(item);
  EXPECT_TRUE(proxy.IsLoaded());
  EXPECT_EQ(company->recordsets, 2);
  EXPECT_EQ(statements(), (Texts{u"INSERT INTO  ( Code, Name)  VALUES ( N'A', N'Nail') "}));
}

TEST_F(ObjectProxy, AFailedAddLeavesItConnectedAndUnloaded) {
  load();
  company->failStatement = 1;
  EXPECT_EQ(refusalOf([&] { proxy.Add(item); }), "-1: Unknown error");
  EXPECT_TRUE(proxy.IsConnected());
  EXPECT_FALSE(proxy.IsLoaded());
}

TEST_F(ObjectProxy, AddWithoutANewObjectLeavesItUnconnected) {
  load();
  company->calls.failures["Company.GetBusinessObject 300"] = E_FAIL;
  EXPECT_THROW(proxy.Add(item), _com_error);
  EXPECT_FALSE(proxy.IsConnected());
  EXPECT_FALSE(proxy.IsLoaded());
  EXPECT_EQ(refusalOf([&] { proxy.GetFields(item); }),
            "-1: Proxy is not connected to a persistent object");
}

TEST_F(ObjectProxy, GetByKeySearchesThroughANewObjectThatHasNoTable) {
  load();
  proxy.SetFields({kCode});
  proxy.GetByKey(codeIs(u"B"), item);
  EXPECT_TRUE(proxy.IsConnected());
  EXPECT_TRUE(proxy.IsLoaded());
  EXPECT_EQ(statements(), (Texts{u"SELECT * FROM      WHERE Code = N'B'"}));
  EXPECT_EQ(proxy.mapped, 0);
}

TEST_F(ObjectProxy, GetByKeyComparesTheValuesOfAKey) {
  connect();
  proxy.GetByKey(values({{kCode, u"B"}, {u"Line", 7}}), item);
  EXPECT_EQ(statements(), (Texts{u"SELECT * FROM      WHERE Code = N'B' AND Line = 7"}));
}

TEST_F(ObjectProxy, GetByKeyOfAMissingRowLeavesItConnectedAndUnloaded) {
  load();
  company->otherwise = items({});
  EXPECT_EQ(refusalOf([&] {
              proxy.GetByKey(values({{kCode, u"X"}}), item);
            }),
            "-1: No record was found with the given conditions");
  EXPECT_TRUE(proxy.IsConnected());
  EXPECT_FALSE(proxy.IsLoaded());
}

TEST_F(ObjectProxy, ConditionsHaveTheGivenOperations) {
  connect();
  EXPECT_EQ(qx::test::shown(proxy.GetConditionsFromKeyFields(values({{kName, u"A"}, {u"Qty", 7}}),
                                                             {co_Like, co_Less})),
            "Name|0|98|VT_BSTR|A; Qty|3|98||7");
}

TEST_F(ObjectProxy, ASecondConnectKeepsTheFormerObjectAlive) {
  const ULONG before = references();
  {
    ItemProxy other;
    other.Connect(company.p, u"HVITEM", false);
    const ULONG once = references();
    other.Connect(company.p, u"OINV", false);
    EXPECT_GT(references(), once);
    other.Load(codeIs(u"A"));
    EXPECT_EQ(statements(), (Texts{u"SELECT * FROM OINV     WHERE Code = N'A'"}));
  }
  EXPECT_EQ(references(), before);
}

TEST_F(ObjectProxy, ACopySharesTheRowAndEitherMayBeDestroyedFirst) {
  auto original = std::make_unique<ItemProxy>();
  original->Connect(company.p, u"HVITEM", false);
  original->Load(codeIs(u"A"));
  ItemProxy copy(*original);
  ItemProxy assigned;
  assigned = *original;
  original.reset();
  copy.GetFields(item);
  EXPECT_EQ(item.name, u"Nail");
  EXPECT_TRUE(assigned.Exists());
}

struct ChooseListParam {
  std::string name;
  long serverType;
  std::u16string expected;
  friend std::ostream& operator<<(std::ostream& out, const ChooseListParam& param) {
    return out << param.name;
  }
};

class ChooseListSql : public testing::TestWithParam<ChooseListParam> {
 protected:
  CComBSTR sqlOf(const Titles& titles, const CComBSTR& where) {
    company->serverType = GetParam().serverType;
    CComBSTR result(u"what was there before");
    CQXChooseListHelper::GetSQL(company.p, titles, u"@T", true, where, result);
    return result;
  }

  CComPtr<qx::test::ScriptedCompany> company = qx::test::makeScriptedCompany();
};

INSTANTIATE_TEST_SUITE_P(
    Dialects, ChooseListSql,
    testing::Values(
        ChooseListParam{"DB2", 2,
                        u"SELECT Code AS \"Code\" ,Name AS \"The name\" FROM @T WHERE Code > 'A'"},
        ChooseListParam{
            "KORDB", 9,
            u"SELECT \"Code\" AS \"Code\" ,\"Name\" AS \"The name\" FROM \"@T\" WHERE Code > 'A'"},
        ChooseListParam{"MSSQL", 1,
                        u"SELECT Code AS 'Code' ,Name AS 'The name' FROM [@T] WHERE Code > 'A'"},
        ChooseListParam{"Sybase", 3,
                        u"SELECT Code AS 'Code' ,Name AS 'The name' FROM [@T] WHERE Code > 'A'"}),
    qx::test::nameOf<ChooseListParam>);

TEST_P(ChooseListSql, HasColumnsWithTitlesAndRunsNothing) {
  Titles titles;
  titles.Add(kCode, u"Code");
  titles.Add(kName, u"The name");
  EXPECT_EQ(sqlOf(titles, u"Code > 'A'").View(), GetParam().expected);
  EXPECT_TRUE(company->runs.empty());
}

TEST_P(ChooseListSql, HasAllColumnsAndNoConditionByDefault) {
  const std::u16string_view table = GetParam().name == "DB2"     ? u"@T"
                                    : GetParam().name == "KORDB" ? u"\"@T\""
                                                                 : u"[@T]";
  EXPECT_EQ(sqlOf({}, u"").View(), u"SELECT * FROM " + std::u16string(table));
}

TEST(ChooseListHelper, ItsMappingsDoNothing) {
  CQXChooseListHelper helper;
  Item item;
  item.code = u"untouched";
  TyFieldValues row = values({{kCode, u"A"}});
  helper.MapToContainer(row, item);
  helper.ContainerToMap(item, row);
  EXPECT_EQ(item.code, u"untouched");
  EXPECT_EQ(row.GetCount(), 1);
  CQXChooseListHelper copy(helper);
  copy = helper;
}

TEST_F(ObjectProxy, GetSQLforChooseListWritesTheStatementAndConnects) {
  Titles titles;
  titles.Add(kCode, u"Code");
  CComBSTR result;
  proxy.GetSQLforChooseList(company.p, titles, u"HVITEM", false, u"", result);
  EXPECT_EQ(result.View(), u"SELECT Code AS 'Code' FROM HVITEM");
  EXPECT_TRUE(proxy.IsConnected());
  EXPECT_TRUE(statements().empty());
}

}  // namespace
}  // namespace Persistence
