#pragma once

// What the tests of this folder share: a company in a fresh temporary folder, a client that hands
// it over, and a database that fails on demand.

#include "qxdesk/company/company.h"
#include "qxdesk/dictionary/field_type.h"
#include "qxdesk/engines/environment.h"
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

/// What a company is kept in.
enum class Medium { Sqlite, Postgres };

/// Where the companies of one test are kept: files of a fresh folder, or fresh databases of the
/// test program's server.
class TestPlace {
 public:
  explicit TestPlace(Medium medium) : medium_(medium) {}
  /// The same for the same name; missing or empty at first.
  std::string database(const std::string& name);
  /// One with a new company in it, where that is quicker than making it.
  std::string companyDatabase();

  test::TempFolder folder;

 private:
  Medium medium_;
  std::map<std::string, std::string> servers_;
};

/// Clocks that stand, sleeps that only count, random bytes that count up.
CompanyEnvironment testEnvironment();

/// Counts the statements that are prepared and refuses one of them, and those with certain words.
struct FaultPlan {
  int prepared = 0;
  int refuse = 0;  // number of the statement from 1; 0 refuses none
  Fault fault = Fault::InputOutput;
  std::vector<std::string> refusedWords = {};
};

/// Opens the real database behind one that follows `plan`, which must outlive it.
OpenDatabase failingOpen(FaultPlan* plan);

/// The client's application object, as far as a company object asks it.
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

/// A company object that is connected by the cookie hand-shake; the test fails when it does not
/// connect.
CComPtr<ICompany> connectTo(const LoginTarget& target,
                            const CompanyEnvironment& environment = testEnvironment());
CComPtr<ICompany> connectThrough(const OpenDatabase& open, const LoginTarget& target);
/// Only the hand-shake: Connect is left to the test.
CComPtr<ICompany> companyFor(const LoginTarget& target, const CompanyEnvironment& environment,
                             const OpenDatabase& open);
CComPtr<ICompany> companyFor(const LoginTarget& target,
                             const CompanyEnvironment& environment = testEnvironment());

template <class Interface>
CComPtr<Interface> businessObject(const CComPtr<ICompany>& company, long type) {
  return CComQIPtr<Interface>(company->GetBusinessObject(type));
}

CComPtr<IRecordset> query(const CComPtr<ICompany>& company, const std::u16string& sql);
/// All rows as text: cells joined by "|", rows by "\n"; a date as "YYYY-MM-DD HH:MM:SS".
std::u16string rowsOf(const CComPtr<ICompany>& company, const std::u16string& sql);
std::u16string cellText(const VARIANT& value);

/// 0 or the code of the failure.
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

/// The company's country, which another connection is writing, reads as `before` and is told to be
/// locked when it is written.
void expectCountryIsLocked(const CComPtr<ICompany>& company, std::u16string_view before);

/// Tests with one connected company in a fresh file or database.
class CompanyTest : public testing::TestWithParam<Medium> {
 protected:
  CompanyTest();
  LoginTarget target(long serverType = 1) const;
  /// A second connection to the same company.
  CComPtr<ICompany> another(long serverType = 1) const { return connectTo(target(serverType)); }
  /// What the medium of this test says.
  std::u16string words(std::u16string_view sqlite, std::u16string_view postgres) const {
    return std::u16string(GetParam() == Medium::Sqlite ? sqlite : postgres);
  }

  TestPlace place;
  std::string database;
  CComPtr<ICompany> company;
};

/// One line in CTest for all tests on the server, one for each of the others.
#define QX_TEST_ON_ALL_MEDIA(Suite)                                         \
  INSTANTIATE_TEST_SUITE_P(Sqlite, Suite, testing::Values(Medium::Sqlite)); \
  INSTANTIATE_TEST_SUITE_P(Postgres, Suite, testing::Values(Medium::Postgres))

}  // namespace qx::desk
