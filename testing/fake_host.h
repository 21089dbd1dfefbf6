#pragma once

// The one host of the tests: the entry object, the client and the company. All of it records its
// calls in one list.

#include "qxframework/host/gui_api.h"
#include "testing/fake_application.h"
#include "testing/fake_money.h"
#include "testing/fake_type_library.h"
#include "testing/host_calls.h"
#include "testing/scripted_company.h"

#include <string>
#include <vector>

namespace qx::test {

class FakeHost : public HostCalls {
 public:
  /// Registers the classes of the entry object and of the company; the destructor revokes both.
  FakeHost();
  ~FakeHost();
  FakeHost(const FakeHost&) = delete;
  FakeHost& operator=(const FakeHost&) = delete;

  bool called(const std::string& call) const { return has(call); }
  FakeForm& addForm(std::u16string uid, bool selected = false) {
    return application->addForm(std::move(uid), selected);
  }
  /// Delivers one event to the advised sink; `args` in the order of the call.
  HRESULT fire(DISPID id, std::vector<VARIANT> args);

  // The entry object.
  long connectAnswer = 0;
  bool givesApplication = true;
  FakeLibrary library;

  CComPtr<FakeApplication> application;

  /// The state of every company object that the class factory creates.
  CComPtr<ScriptedCompany> company;
  CComPtr<FakeDataHelper> helper;
  int liveCompanies = 0;  // company objects from the class factory that exist

 private:
  DWORD guiCookie_ = 0;
  DWORD companyCookie_ = 0;
};

}  // namespace qx::test
