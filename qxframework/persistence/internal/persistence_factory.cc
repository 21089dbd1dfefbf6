#include "qxframework/persistence/internal/persistence_factory.h"

#include "qxframework/persistence/internal/dialect_classes.h"
#include "qxframework/query/persistence_exception.h"

#include <new>

namespace Persistence {
namespace {

// Makes an instance of the class that belongs to `dialect` in the list.
template <class Made, template <const qx::Dialect&> class InDialect, const qx::Dialect&... kEach,
          class... Args>
std::unique_ptr<Made> makeFor(const qx::Dialect& dialect, qx::DialectList<kEach...>,
                              const Args&... args) {
  std::unique_ptr<Made> made;
  const auto makeIf = [&]<const qx::Dialect & kOne>() {
    if (&kOne == &dialect) made = std::make_unique<InDialect<kOne>>(args...);
  };
  (makeIf.template operator()<kEach>(), ...);
  return made;
}

template <class... Args>
std::unique_ptr<CQXPersistentObject> makeObject(const qx::Dialect& dialect, const Args&... args) {
  return makeFor<CQXPersistentObject, qx::ObjectInDialect>(dialect, qx::AllDialects(), args...);
}

template <class... Args>
std::unique_ptr<CQXPersistentCollection> makeCollection(const qx::Dialect& dialect,
                                                        const Args&... args) {
  return makeFor<CQXPersistentCollection, qx::CollectionInDialect>(dialect, qx::AllDialects(),
                                                                   args...);
}

// Returns the result of `make`, or null if memory is out. A host reports that by its result code.
template <class Make>
auto unlessOutOfMemory(Make make) -> decltype(make().release()) {
  try {
    return make().release();
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
  return unlessOutOfMemory(
      [this] { return makeObject(qx::dialectOf(m_ptrCompany->GetDbServerType()), m_ptrCompany); });
}

CQXPersistentCollection* CQXPersistenceFactory::CreatePersistentCollection() {
  return unlessOutOfMemory([this] {
    return makeCollection(qx::dialectOf(m_ptrCompany->GetDbServerType()), m_ptrCompany);
  });
}

}  // namespace Persistence

namespace qx {

std::unique_ptr<Persistence::CQXPersistentObject> persistentObjectFor(const Dialect& dialect) {
  return Persistence::makeObject(dialect);
}

std::unique_ptr<Persistence::CQXPersistentCollection> persistentCollectionFor(
    const Dialect& dialect) {
  return Persistence::makeCollection(dialect);
}

}  // namespace qx
