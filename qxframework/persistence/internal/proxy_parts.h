#pragma once

// What both proxies do alike with their factory: take what it makes, and give a new one its table.

#include "qxframework/automation/com_error.h"
#include "qxframework/persistence/internal/persistence_factory.h"

#include <memory>

namespace qx {

/// Owns what the factory made; E_OUTOFMEMORY is raised if that is null.
template <class Made>
std::unique_ptr<Made> ownedUnlessNull(Made* made) {
  if (made == nullptr) raiseError(E_OUTOFMEMORY);
  return std::unique_ptr<Made>(made);
}

/// What `create` makes for a table, out of the factory, which is made for the company the first
/// time.
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
