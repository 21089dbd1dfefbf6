#pragma once

// Choosing the classes of a company's dialect.

#include "qxframework/automation/com_ptr.h"

#include <memory>

class ICompany;

namespace qx {
struct Dialect;
}  // namespace qx

namespace Persistence {

class CQXPersistentCollection;
class CQXPersistentObject;

/// Makes the objects of a company's dialect. Each call reads the company's server type anew.
class CQXPersistenceFactory {
 public:
  CQXPersistenceFactory();
  explicit CQXPersistenceFactory(CComPtr<ICompany> company);
  virtual ~CQXPersistenceFactory();

  /// Throws CQXPersistenceException if the factory already has a company.
  void SetCompany(CComPtr<ICompany> company);
  /// Returns a new object with a record set of its own, which the caller deletes; null if memory is
  /// out. Throws _com_error without a company, and if the company refuses.
  CQXPersistentObject* CreatePersistentObject();
  CQXPersistentCollection* CreatePersistentCollection();

 private:
  CComPtr<ICompany> m_ptrCompany;
};

}  // namespace Persistence

namespace qx {

/// Returns an object of the dialect without a company. It writes the texts of statements and runs
/// none of them.
std::unique_ptr<Persistence::CQXPersistentObject> persistentObjectFor(const Dialect& dialect);
std::unique_ptr<Persistence::CQXPersistentCollection> persistentCollectionFor(
    const Dialect& dialect);

}  // namespace qx
