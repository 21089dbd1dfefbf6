#pragma once

// The work with the factory that both proxies share.

#include "qxframework/automation/com_error.h"
#include "qxframework/persistence/internal/persistence_factory.h"

#include <memory>

namespace qx {

/// Takes ownership of an object of the factory. Throws a _com_error of E_OUTOFMEMORY for null.
template <class Made>
std::unique_ptr<Made> ownedUnlessNull(Made* made) {
  if (made == nullptr) raiseError(E_OUTOFMEMORY);
  return std::unique_ptr<Made>(made);
}

/// Makes an object for a table by the factory's operation `create`. Makes the factory for the
/// company if there is none yet.
template <class Made>
std::unique_ptr<Made> connectedTo(std::shared_ptr<Persistence::CQXPersistenceFactory>& factory,
                                  const CComPtr<ICompany>& company,
                                  Made* (Persistence::CQXPersistenceFactory::*create)(),
                                  const OLECHAR* table, bool userTable) {
  if (factory == nullptr) factory = std::make_shared<Persistence::CQXPersistenceFactory>(company);
  std::unique_ptr<Made> made = ownedUnlessNull(((*factory).*create)());
  made->SetMasterTable(table);
  made->SetUserTable(userTable);
  return made;
}

}  // namespace qx
