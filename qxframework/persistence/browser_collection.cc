#include "qxframework/persistence/browser_collection.h"

#include "qxframework/persistence/internal/value_lookup.h"

namespace Persistence {

IQXObjCollectionForBrowser::~IQXObjCollectionForBrowser() = default;

CComVariant IQXPersistentCollection::GetValue(const TyFieldValues& values, const OLECHAR* name) {
  return qx::valueByNameOrCapitals(values, name);
}

IQXPersistentCollection::~IQXPersistentCollection() = default;

}  // namespace Persistence
