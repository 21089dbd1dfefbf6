#pragma once

// Where the database engine of a company turns into a class.

#include "qxframework/automation/com_ptr.h"

#include <memory>

class ICompany;

namespace Persistence {

class CQXPersistentCollection;
class CQXPersistentObject;

/// Makes the objects of a company's dialect. The server type is read anew for each of them.
class CQXPersistenceFactory {
 public:
  CQXPersistenceFactory();
  explicit CQXPersistenceFactory(CComPtr<ICompany> company);
  virtual ~CQXPersistenceFactory();

  /// Refused with a CQXPersistenceException once there is a company.
  void SetCompany(CComPtr<ICompany> company);
  /// A new object with a record set of its own, for the caller to delete; null if memory is out.
  /// Without a company, and when it refuses, a _com_error is raised.
  CQXPersistentObject* CreatePersistentObject();
  CQXPersistentCollection* CreatePersistentCollection();

 private:
  CComPtr<ICompany> m_ptrCompany;
};

}  // namespace Persistence

namespace qx {

/// An object of the dialect that goes with a database server type, with no company: it has the
/// statements' texts and runs none.
std::unique_ptr<Persistence::CQXPersistentObject> persistentObjectFor(long serverType);
std::unique_ptr<Persistence::CQXPersistentCollection> persistentCollectionFor(long serverType);

}  // namespace qx
