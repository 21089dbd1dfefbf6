#pragma once

// Shared by the tests of this folder: a company in a fresh temporary folder or database, and a
// client that hands it over.

#include "qxdesk/company/company.h"
#include "qxdesk/dictionary/field_type.h"
#include "qxdesk/engines/test_support.h"
#include "qxdesk/session/login_context.h"
#include "qxdesk/session/ui_session.h"
#include "qxframework/host/company.h"
#include "qxframework/host/metadata.h"
#include "testing/raised_by.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qx::desk {

using test::raisedBy;

/// The engine on which a test keeps its companies.
enum class Engine { Sqlite, Postgres };

/// The place for the companies of one test: a fresh folder for files, or fresh databases of the
/// test program's server.
class TestPlace {
 public:
  explicit TestPlace(Engine engine) : engine_(engine) {}
  /// Returns the same database for the same name; it is missing or empty at first.
  std::string database(const std::string& name);
  /// Returns a database for a company; on a server it contains one already, since a copy is quicker
  /// than a new one.
  std::string companyDatabase();

  test::TempFolder folder;

 private:
  Engine engine_;
  std::map<std::string, std::string> servers_;
};

/// Opens databases that fail by `plan`, which must outlive them.
OpenDatabase failingOpen(FaultPlan* plan);

/// The part of the client's application object that a company object uses.
class FakeClient final : public NoDispatch<ComObject<IDispatch, IUiSession>> {
 public:
  explicit FakeClient(LoginTarget target) : target_(std::move(target)) {}
  HRESULT GetLoginContext(BSTR cookie, BSTR* out) override;

  HRESULT refusal = S_OK;
  std::u16string forcedContext;

 private:
  LoginTarget target_;
};

struct LastError {
  long code;
  std::u16string text;
  friend bool operator==(const LastError&, const LastError&) = default;
};

LastError lastError(const CComPtr<ICompany>& company);

/// Return a company object that is connected by the exchange of the cookie; the test fails if it
/// does not connect.
CComPtr<ICompany> connectTo(const LoginTarget& target,
                            const CompanyEnvironment& environment = testEnvironment());
CComPtr<ICompany> connectThrough(const OpenDatabase& open, const LoginTarget& target);
/// Return a company object after the exchange of the cookie; Connect is left to the test.
CComPtr<ICompany> companyFor(const LoginTarget& target, const CompanyEnvironment& environment,
                             const OpenDatabase& open);
CComPtr<ICompany> companyFor(const LoginTarget& target,
                             const CompanyEnvironment& environment = testEnvironment());

template <class Interface>
CComPtr<Interface> businessObject(const CComPtr<ICompany>& company, long type) {
  return CComQIPtr<Interface>(company->GetBusinessObject(type));
}

CComPtr<IRecordset> query(const CComPtr<ICompany>& company, const std::u16string& sql);
/// Returns all rows as text: cells joined by "|", rows by "\n"; a date as "YYYY-MM-DD HH:MM:SS".
std::u16string rowsOf(const CComPtr<ICompany>& company, const std::u16string& sql);
std::u16string cellText(const VARIANT& value);

/// Return 0 or the code of the failure.
long addTable(const CComPtr<ICompany>& company, const std::u16string& name);
struct FieldSetup {
  std::u16string table;
  std::u16string name;
  long type = 0;
  long subType = 0;
  long size = 0;
  std::u16string defaultValue = u"";
  bool mandatory = false;
};
long addField(const CComPtr<ICompany>& company, const FieldSetup& setup);
long addKey(const CComPtr<ICompany>& company, const std::u16string& table,
            const std::u16string& name, bool unique, const std::vector<std::u16string>& columns);

/// Expects that the company's country, which another connection is writing, reads as `before` and
/// is reported as locked if it is written.
void expectCountryIsLocked(const CComPtr<ICompany>& company, std::u16string_view before);

/// Returns a text with "#" in the place of each number, for texts that name a process.
std::u16string withoutNumbers(std::u16string_view text);

/// Runs `body` in many processes at the same moment and returns their exit codes.
std::vector<int> atOnce(int processes, const std::function<int()>& body);

/// Tests with one connected company in a fresh file or database.
class CompanyTest : public testing::TestWithParam<Engine> {
 protected:
  CompanyTest();
  LoginTarget target(long serverType = 1) const;
  /// A second connection to the same company.
  CComPtr<ICompany> another(long serverType = 1) const { return connectTo(target(serverType)); }
  /// Returns the words of the engine of this test.
  std::u16string words(std::u16string_view sqlite, std::u16string_view postgres) const {
    return std::u16string(GetParam() == Engine::Sqlite ? sqlite : postgres);
  }

  TestPlace place;
  std::string database;
  CComPtr<ICompany> company;
};

/// Runs a suite on both engines: one line in CTest for all tests on the server, one for each of the
/// others.
#define QX_TEST_ON_ALL_ENGINES(Suite)                                       \
  INSTANTIATE_TEST_SUITE_P(Sqlite, Suite, testing::Values(Engine::Sqlite)); \
  INSTANTIATE_TEST_SUITE_P(Postgres, Suite, testing::Values(Engine::Postgres))

}  // namespace qx::desk
