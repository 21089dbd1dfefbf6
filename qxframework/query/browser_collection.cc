#include "qxframework/query/browser_collection.h"

#include "qxframework/query/value_lookup.h"

namespace Persistence {

IQXObjCollectionForBrowser::~IQXObjCollectionForBrowser() = default;

CComVariant IQXPersistentCollection::GetValue(const TyFieldValues& values, const OLECHAR* name) {
  return qx::valueByNameOrCapitals(values, name);
}

IQXPersistentCollection::~IQXPersistentCollection() = default;

}  // namespace Persistence
