#include "qxframework/runtime/internal/company_connection.h"

#include "qxframework/automation/class_object.h"
#include "qxframework/logging/result_names.h"
#include "qxframework/os/module.h"
#include "qxframework/runtime/addon_fixture.h"
#include "qxframework/runtime/event_sink.h"
#include "qxframework/runtime/framework_host_fixture.h"
#include "testing/registry_in_use.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx::test {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using Strings = std::vector<std::string>;

const Strings kThroughTheClient{"Company.PutLanguage(3)", "Company.PutUiApplication(app)",
                                "Company.Connect"};
const Strings kHandShake{
    "Company.PutUiApplication(null)",           "Company.GetContextCookie",
    "HostCompany.GetConnectionContext(COOKIE)", "Company.PutLoginContext(CONTEXT)",
    "Company.PutConnectionString(IDENT)",       "Company.Connect"};

Strings operator+(Strings left, const Strings& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

class CompanyConnectionTest : public testing::Test {
 protected:
  CompanyConnectionTest()
      : addOn(host), dispatch(host, hooks), sink(host.application.p, &dispatch, &addOn) {
    CComBSTR identifier(u"IDENT");
    sink.AdviseEvents(host.application.p, identifier);
    sink.DbDisconnect();
    host.calls.clear();
    log.records.clear();
  }
  Strings messages() const { return messagesOf(log, u"CQXEventSink::DbConnect"); }
  /// Returns what is logged after the report of the versions.
  Strings messagesAfterReport() const {
    Strings all = messages();
    all.erase(all.begin(), all.begin() + std::min<std::ptrdiff_t>(std::ssize(all), 10));
    return all;
  }
  static Strings box(const std::string& text) {
    return {"App.MessageBox(" + text + ", 1, OK, , )"};
  }

  RecordingLogger log;
  FrameworkHost host;
  Hooks hooks;
  TestAddOn addOn;
  TestDispatch dispatch;
  CQXEventSink sink;
};

TEST_F(CompanyConnectionTest, ConnectsThroughTheClientInItsLanguage) {
  host.application->language = ln_German;
  EXPECT_EQ(sink.DbConnect(), 0);
  EXPECT_THAT(host.calls, ElementsAre("Company.PutLanguage(9)", "Company.PutUiApplication(app)",
                                      "Company.Connect"));
  EXPECT_THAT(messagesAfterReport(), IsEmpty());
}

TEST_F(CompanyConnectionTest, ShakesHandsIfTheClientDoesNotConnect) {
  host.company->connectAnswers = {-5, 0};
  EXPECT_EQ(sink.DbConnect(), 0);
  EXPECT_THAT(host.calls, ElementsAreArray(kThroughTheClient + kHandShake));
}

TEST_F(CompanyConnectionTest, ShakesHandsAtOnceIfTheConnectionIsNotThroughTheClient) {
  sink.SetConnectionViaUI(false);
  EXPECT_EQ(sink.DbConnect(), 0);
  EXPECT_THAT(host.calls, ElementsAreArray(Strings{"Company.PutLanguage(3)"} + kHandShake));
}

TEST_F(CompanyConnectionTest, ShowsWhyTheHandShakeFailed) {
  host.company->connectAnswers = {-5, -111};
  host.company->errorText = u"Wrong password";
  EXPECT_EQ(sink.DbConnect(), QX_E_CONNECTION);
  EXPECT_THAT(host.calls, ElementsAreArray(kThroughTheClient + kHandShake + box("Wrong password")));
  EXPECT_THAT(messagesAfterReport(),
              ElementsAre("Error connecting to the company db: Wrong password\n"));
}

TEST_F(CompanyConnectionTest, PositiveResultOfTheHandShakeIsAFailure) {
  host.company->connectAnswers = {1, 1};
  host.company->errorText = u"Busy";
  EXPECT_EQ(sink.DbConnect(), QX_E_CONNECTION);
  EXPECT_EQ(host.calls.back(), box("Busy")[0]);
}

TEST_F(CompanyConnectionTest, ErrorOfTheClientIsNotFollowedByAHandShake) {
  host.failures["Company.Connect"] = E_ACCESSDENIED;
  host.company->errorText = u"Gone";
  EXPECT_EQ(sink.DbConnect(), QX_E_CONNECTION);
  EXPECT_THAT(host.calls, ElementsAreArray(kThroughTheClient + box("Gone")));
}

TEST_F(CompanyConnectionTest, FailureWithoutAReasonIsShownAsNoResponse) {
  host.failures["Company.Connect"] = E_ACCESSDENIED;
  EXPECT_EQ(sink.DbConnect(), QX_E_CONNECTION);
  EXPECT_EQ(host.calls.back(), box("No response from RX-API (RX-API may not be installed)")[0]);
  EXPECT_THAT(messagesAfterReport(),
              ElementsAre("Error connecting to the company db: No response from RX-API (RX-API may "
                          "not be installed)\n"));
}

TEST_F(CompanyConnectionTest, CompanyThatCannotBeCreatedIsShownAsNoResponse) {
  host.failures["create Company"] = E_FAIL;
  EXPECT_EQ(sink.DbConnect(), QX_E_CONNECTION);
  EXPECT_THAT(host.calls,
              ElementsAreArray(box("No response from RX-API (RX-API may not be installed)")));
}

TEST_F(CompanyConnectionTest, ResultIsTheSameIfTheBoxCannotBeShown) {
  host.failures["Company.Connect"] = E_ACCESSDENIED;
  host.failures["App.MessageBox"] = E_FAIL;
  EXPECT_EQ(sink.DbConnect(), QX_E_CONNECTION);
}

TEST_F(CompanyConnectionTest, OtherExceptionIsLoggedAsNoResponse) {
  host.hooks["Company.Connect"] = [] { throw ForeignThing(); };
  EXPECT_EQ(sink.DbConnect(), E_FAIL);
  EXPECT_THAT(host.calls, ElementsAreArray(kThroughTheClient));
  EXPECT_THAT(messagesAfterReport(),
              ElementsAre("No response from RX-API (RX-API may not be installed)"));
}

TEST_F(CompanyConnectionTest, DisconnectDisconnectsAndReleasesTheCompany) {
  sink.DbConnect();
  host.calls.clear();
  EXPECT_EQ(sink.DbDisconnect(), 0);
  EXPECT_THAT(host.calls, ElementsAre("Company.Disconnect"));
  EXPECT_EQ(host.liveCompanies, 0);
}

TEST_F(CompanyConnectionTest, DisconnectReleasesTheCompanyEvenIfItFails) {
  sink.DbConnect();
  host.failures["Company.Disconnect"] = E_FAIL;
  EXPECT_EQ(sink.DbDisconnect(), 0);
  EXPECT_EQ(host.liveCompanies, 0);
  sink.DbConnect();
  host.hooks["Company.Disconnect"] = [] { throw 42; };
  EXPECT_EQ(sink.DbDisconnect(), 0);
  EXPECT_EQ(host.liveCompanies, 0);
}

TEST_F(CompanyConnectionTest, DisconnectWithoutACompanyReturnsZero) {
  EXPECT_EQ(sink.DbDisconnect(), 0);
  EXPECT_THAT(host.calls, IsEmpty());
}

// The report of the versions. The registry of the tests names this program for every class.

std::string thisProgram() { return toUtf8(modulePath(nullptr)); }
constexpr char kThisVersion[] =
    "Version='9.20.00.01';InternalName=QXFramework.dll;ProductVersion=9.20";

TEST_F(CompanyConnectionTest, ReportsVersionAndPathOfEveryLibrary) {
  sink.DbConnect();
  const std::string version = kThisVersion;
  EXPECT_THAT(messages(),
              ElementsAre("Current version of RX API is 9.20",
                          "Current version of RX API is located at " + thisProgram(),
                          "Current version of RX API (from resource) is " + version,
                          "Current version of UI API is 9.20",
                          "Current version of UI API(HalvexGuiApi) is located at " + thisProgram(),
                          "Current version of UI API (HalvexGuiApi -from resource) is " + version,
                          "Current version of UI API(Application) is located at " + thisProgram(),
                          "Current version of UI API (Application -from resource) is " + version,
                          "Current version of Framework (from resource) is " + version,
                          "Current version of addon (from resource) is " + version));
  EXPECT_THAT(log.messages(QXLoggerLib::sl_Error), IsEmpty());
}

TEST_F(CompanyConnectionTest, ReportsMissingLibrariesAsErrors) {
  const RegistryInUse none("/nonexistent/registry.toml");
  host.library.hasTypeInfo = false;
  EXPECT_EQ(sink.DbConnect(), 0);
  EXPECT_THAT(
      messages(),
      ElementsAre("Failed to detect current version of RX API", "Current version of RX API is ",
                  "Failed to get location for RX API",
                  "Failed to get version info from resource for RX API",
                  "Failed to get version info for UI API",
                  "Failed to get location for UI API(Application)",
                  "Failed to get version info from resource for UI API(HalvexGuiApi",
                  "Failed to get location for UI API(Application)",
                  "Failed to get version info from resource for UI API(Application",
                  std::string("Current version of Framework (from resource) is ") + kThisVersion,
                  std::string("Current version of addon (from resource) is ") + kThisVersion));
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Error, u"Failed to get location for RX API"));
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Information, u"Current version of RX API is "));
}

}  // namespace
}  // namespace qx::test
