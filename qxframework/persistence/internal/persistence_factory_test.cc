#include "qxframework/persistence/internal/persistence_factory.h"

#include "qxframework/persistence/internal/dialect_classes.h"
#include "qxframework/query/testing/query_parts.h"
#include "testing/scripted_company.h"

#include <new>

namespace Persistence {
namespace {

using namespace qx::test;

template <class Object, class Collection>
void expectClasses(CQXPersistenceFactory& factory) {
  const std::unique_ptr<CQXPersistentObject> object(factory.CreatePersistentObject());
  EXPECT_NE(dynamic_cast<Object*>(object.get()), nullptr);
  const std::unique_ptr<CQXPersistentCollection> collection(factory.CreatePersistentCollection());
  EXPECT_NE(dynamic_cast<Collection*>(collection.get()), nullptr);
}

class CompanyWithoutMemory final : public StubCompany {
  HRESULT raw_GetDbServerType(long* out) override { return *out = 1, S_OK; }
  HRESULT raw_GetBusinessObject(long, IDispatch**) override { throw std::bad_alloc(); }
};

struct PersistenceFactory : testing::Test {
  CComPtr<ScriptedCompany> company = makeScriptedCompany();
  CQXPersistenceFactory factory{CComPtr<ICompany>(company)};
};

TEST_F(PersistenceFactory, TheServerTypeDecides) {
  company->serverType = 2;
  expectClasses<CQXPersistentObjectDB2, CQXPersistentCollectionDB2>(factory);
  company->serverType = 3;
  expectClasses<CQXPersistentObjectSybase, CQXPersistentCollectionSybase>(factory);
  company->serverType = 9;
  expectClasses<CQXPersistentObjectKORDB, CQXPersistentCollectionKORDB>(factory);
}

TEST_F(PersistenceFactory, AnyOtherServerTypeIsMssql) {
  for (const long serverType : {1L, 0L, -1L, 4L, 8L, 10L, 2000000000L}) {
    company->serverType = serverType;
    expectClasses<CQXPersistentObjectMSSQL, CQXPersistentCollectionMSSQL>(factory);
  }
}

TEST_F(PersistenceFactory, AChangedServerTypeYieldsAnotherDialect) {
  company->serverType = 9;
  const std::unique_ptr<CQXPersistentObject> first(factory.CreatePersistentObject());
  company->serverType = 2;
  const std::unique_ptr<CQXPersistentObject> second(factory.CreatePersistentObject());
  EXPECT_EQ(utf8(first->GetSQLTableName(u"@T")), "\"@T\"");
  EXPECT_EQ(utf8(second->GetSQLTableName(u"@T")), "@T");
}

TEST_F(PersistenceFactory, EachObjectHasARecordSetOfItsOwn) {
  const std::unique_ptr<CQXPersistentObject> first(factory.CreatePersistentObject());
  const std::unique_ptr<CQXPersistentCollection> second(factory.CreatePersistentCollection());
  EXPECT_EQ(company->recordsets, 2);
  EXPECT_NE(first->GetRecordSet().p, second->GetRecordSet().p);
  EXPECT_EQ(first->GetCompany().p, company.p);
}

TEST_F(PersistenceFactory, AnObjectOutlivesTheFactory) {
  std::unique_ptr<CQXPersistentObject> object;
  {
    CQXPersistenceFactory brief{CComPtr<ICompany>(company)};
    object.reset(brief.CreatePersistentObject());
  }
  EXPECT_EQ(object->GetCompany().p, company.p);
}

TEST_F(PersistenceFactory, RefusesASecondCompanyAndReleasesIt) {
  const auto other = makeScriptedCompany();
  EXPECT_EQ(refusalOf([&] { factory.SetCompany(CComPtr<ICompany>(other)); }),
            "-1: Factory is already linked to a company");
  EXPECT_EQ(other->AddRef(), 2U);
  other->Release();
  const std::unique_ptr<CQXPersistentObject> object(factory.CreatePersistentObject());
  EXPECT_EQ(object->GetCompany().p, company.p);
}

TEST_F(PersistenceFactory, TakesACompanyLater) {
  CQXPersistenceFactory late;
  late.SetCompany(CComPtr<ICompany>(company));
  company->serverType = 2;
  expectClasses<CQXPersistentObjectDB2, CQXPersistentCollectionDB2>(late);
}

TEST_F(PersistenceFactory, WithoutACompanyThrows) {
  CQXPersistenceFactory none;
  EXPECT_THROW(none.CreatePersistentObject(), _com_error);
  EXPECT_THROW(none.CreatePersistentCollection(), _com_error);
}

TEST_F(PersistenceFactory, ThrowsIfTheCompanyFails) {
  company->calls.failures["Company.GetDbServerType"] = E_FAIL;
  EXPECT_THROW(factory.CreatePersistentObject(), _com_error);
  company->calls.failures.clear();
  company->calls.failures["Company.GetBusinessObject 300"] = E_FAIL;
  EXPECT_THROW(factory.CreatePersistentCollection(), _com_error);
}

TEST_F(PersistenceFactory, WithoutMemoryReturnsNull) {
  company->calls.failures["Company.GetBusinessObject 300"] = E_OUTOFMEMORY;
  EXPECT_EQ(factory.CreatePersistentObject(), nullptr);
  EXPECT_EQ(factory.CreatePersistentCollection(), nullptr);

  CQXPersistenceFactory starved{CComPtr<ICompany>(qx::makeObject<CompanyWithoutMemory>().p)};
  EXPECT_EQ(starved.CreatePersistentObject(), nullptr);
  EXPECT_EQ(starved.CreatePersistentCollection(), nullptr);
}

}  // namespace
}  // namespace Persistence
