// A program that opens a company without being an add-on, reads from it, catches both kinds of
// exceptions and plays the user.

#include "qxdesk/screens/user/user.h"
#include "qxframework/qxframework.h"

#include <iostream>

namespace {

using namespace Persistence;

struct Table : CQXValueContainer {
  CComBSTR name;
};

class Tables : public CQXPersistentCollectionProxy {
 public:
  void MapToContainer(const TyFieldValues& row, CQXValueContainer& container) override {
    static_cast<Table&>(container).name = GetValue(row, u"TableName").bstrVal;
  }
  void ContainerToMap(const CQXValueContainer&, TyFieldValues&) override {}
};

CComPtr<IApplication> openClient(const CComBSTR& connection) {
  CComPtr<IHalvexGuiApi> api;
  qx::raiseIfFailed(qx::createInstance(CLSID_HalvexGuiApi, CLSCTX_ALL, &api.p));
  if (const long refusal = api->Connect(connection); refusal != 0) {
    qx::raiseError(refusal < 0 ? refusal : E_FAIL);
  }
  return api->GetApplication(-1);
}

CComPtr<ICompany> openCompany(const CComPtr<IApplication>& app) {
  CComPtr<ICompany> company;
  qx::raiseIfFailed(qx::createInstance(CLSID_HalvexCompany, CLSCTX_ALL, &company.p));
  company->PutUiApplication(app);
  if (const long refusal = company->Connect(); refusal != 0) qx::raiseError(refusal);
  return company;
}

// Returns the way in which the operation fails.
template <class Operation>
std::u16string failureOf(Operation operation) {
  try {
    operation();
    return u"none";
  } catch (const CQXPersistenceException& failure) {
    return qx::format(u"%d %s", failure.GetErrorCode(), failure.GetErrorString());
  } catch (const _com_error& failure) {
    return failure.Error() == 0x80004003 ? u"a null pointer" : failure.ErrorMessage();
  }
}

// Opens the order form of the client as its user does; returns true if the client shows it.
bool openOrder(const CComPtr<IApplication>& app) {
  CComPtr<qx::desk::IDeskUser> user;
  qx::raiseIfFailed(app.QueryInterface(&user));
  CComBSTR form;
  qx::raiseIfFailed(user->OpenForm(CComBSTR(u"3101"), &form.m_str));
  return app->GetForms()->GetFormByUID(form) != nullptr;
}

}  // namespace

int main(int, char** argv) {
  const CComPtr<IApplication> app = openClient(qx::toUtf16(argv[1]));
  const CComPtr<ICompany> company = openCompany(app);
  Tables tables;
  Table table;
  const std::u16string unconnected = failureOf([&] { tables.First(table); });
  tables.Connect(company, u"HVUTAB", false);
  tables.SetKeysOnly(false);
  tables.Load({u"TableName"}, {});
  const std::u16string null = failureOf([] { CComPtr<ICompany>()->GetConnected(); });
  std::cout << tables.GetRecordCount() << " tables\n"
            << qx::toUtf8(unconnected) << "\n"
            << qx::toUtf8(null) << "\n"
            << (openOrder(app) ? "order open" : "no order") << std::endl;
  company->Disconnect();
}
