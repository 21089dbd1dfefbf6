// Business code that keeps records, with nothing but the header that holds them all.

#include "qxframework/qxframework.h"

namespace {

struct Customer : Persistence::CQXValueContainer {
  CComBSTR code;
};

class Customers : public Persistence::CQXPersistentCollectionProxy {
 public:
  Customers() = default;
  void MapToContainer(const Persistence::TyFieldValues& row,
                      Persistence::CQXValueContainer& container) override {
    dynamic_cast<Customer&>(container).code = row.GetKeyAt(0);
  }
  void ContainerToMap(const Persistence::CQXValueContainer& container,
                      Persistence::TyFieldValues& row) override {
    row.Add(u"Code", dynamic_cast<const Customer&>(container).code);
  }
};

}  // namespace

/// Without a company the records refuse, in words that go through the library.
bool recordsRefuseWithoutACompany() {
  Customers customers;
  Persistence::IQXObjCollectionForBrowser& rows = customers;
  Customer customer;
  try {
    rows.First(customer);
    return false;
  } catch (const Persistence::CQXPersistenceException& refusal) {
    return refusal.GetErrorCode() == -1;
  }
}
