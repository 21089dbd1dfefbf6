#include "qxframework/persistence/internal/persistence_factory.h"

#include "qxframework/persistence/internal/dialect_classes.h"
#include "qxframework/query/persistence_exception.h"

#include <new>

namespace Persistence {
namespace {

/// What `make` makes; null if memory is out.
template <class Make>
auto unlessOutOfMemory(Make make) -> decltype(make()) {
  try {
    return make();
  } catch (const std::bad_alloc&) {
    return nullptr;
  } catch (const _com_error& error) {
    if (error.Error() != E_OUTOFMEMORY) throw;
    return nullptr;
  }
}

}  // namespace

CQXPersistenceFactory::CQXPersistenceFactory() = default;

CQXPersistenceFactory::CQXPersistenceFactory(CComPtr<ICompany> company)
    : m_ptrCompany(std::move(company)) {}

CQXPersistenceFactory::~CQXPersistenceFactory() = default;

void CQXPersistenceFactory::SetCompany(CComPtr<ICompany> company) {
  if (m_ptrCompany != nullptr)
    throw CQXPersistenceException(u"Factory is already linked to a company");
  m_ptrCompany = std::move(company);
}

CQXPersistentObject* CQXPersistenceFactory::CreatePersistentObject() {
  return unlessOutOfMemory([this] {
    return qx::withDialect(m_ptrCompany->GetDbServerType(),
                           [this]<class Dialect>(Dialect) -> CQXPersistentObject* {
                             return new qx::ObjectInDialect<Dialect>(m_ptrCompany);
                           });
  });
}

CQXPersistentCollection* CQXPersistenceFactory::CreatePersistentCollection() {
  return unlessOutOfMemory([this] {
    return qx::withDialect(m_ptrCompany->GetDbServerType(),
                           [this]<class Dialect>(Dialect) -> CQXPersistentCollection* {
                             return new qx::CollectionInDialect<Dialect>(m_ptrCompany);
                           });
  });
}

}  // namespace Persistence

namespace qx {

std::unique_ptr<Persistence::CQXPersistentObject> persistentObjectFor(long serverType) {
  return withDialect(serverType, []<class Dialect>(Dialect) {
    return std::unique_ptr<Persistence::CQXPersistentObject>(
        std::make_unique<ObjectInDialect<Dialect>>());
  });
}

std::unique_ptr<Persistence::CQXPersistentCollection> persistentCollectionFor(long serverType) {
  return withDialect(serverType, []<class Dialect>(Dialect) {
    return std::unique_ptr<Persistence::CQXPersistentCollection>(
        std::make_unique<CollectionInDialect<Dialect>>());
  });
}

}  // namespace qx
