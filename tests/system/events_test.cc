// The events of a running client: each kind calls its hooks, the form's before the add-on's, and a
// veto of a hook keeps the client from the action.

#include "qxframework/cache/db_record_cache.h"
#include "qxframework/os/message_loop.h"
#include "testing/param_name.h"
#include "testing/running_addon.h"
#include "testing/sqlite_file.h"

#include <gmock/gmock.h>

namespace {

using qx::test::RunningAddOn;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr char kOrder[] = "3101";
constexpr char kOkButton[] = "1";
constexpr char kCustomer[] = "4";
constexpr char kCommonEntry[] = "QX_551";

long veto(short* bubble) {
  *bubble = VARIANT_FALSE;
  return S_OK;
}

class Events : public testing::Test, protected RunningAddOn {
 protected:
  Events() { EXPECT_EQ(result, S_OK); }
  /// Opens an order form, to which the add-on attaches. Returns its UID.
  std::string openOrder() {
    std::string uid = desk.openForm(kOrder);
    record.take();
    return uid;
  }
};

TEST_F(Events, FormLoadReachesTheAddOnAfterTheActionOnly) {
  desk.openForm(kOrder);
  EXPECT_THAT(record.take(), ElementsAre("OnFormLoad 3101", "Form.OnInitForm"));
}

TEST_F(Events, ItemEventReachesItsFormBeforeAndAfterTheAction) {
  const std::string form = openOrder();
  EXPECT_TRUE(desk.type(form, kCustomer, "C"));
  EXPECT_THAT(record.take(),
              ElementsAre("Form.OnItemEvent 2 '4' before", "Form.OnItemEvent 2 '4' after"));
  EXPECT_TRUE(desk.validate(form, kCustomer));
  EXPECT_THAT(record.take(),
              ElementsAre("Form.OnItemEvent 10 '4' before", "Form.OnItemEvent 10 '4' after"));
}

TEST_F(Events, VetoPreventsTheActionAndTheEventAfterIt) {
  const std::string form = openOrder();
  record.hooks["Form.OnItemEvent"] = veto;
  EXPECT_FALSE(desk.press(form, kOkButton));
  EXPECT_THAT(record.take(), ElementsAre("Form.OnItemEvent 6 '1' before"));
  EXPECT_THAT(desk.forms(), HasSubstr(form + " 3101"));
}

TEST_F(Events, FormIsDeletedAfterTheClientHasUnloadedIt) {
  const std::string form = openOrder();
  EXPECT_TRUE(desk.closeForm(form));
  const auto lines = record.take();
  ASSERT_GE(lines.size(), 2U);
  EXPECT_EQ(lines.back(), "~Form");
  EXPECT_EQ(lines[lines.size() - 2], "Form.OnUnloadForm");
  EXPECT_THAT(desk.forms(), Not(HasSubstr(form)));
}

TEST_F(Events, MenuEventReachesTheSelectedFormAndThenTheAddOn) {
  const std::string form = openOrder();
  EXPECT_TRUE(desk.pickMenu("1282"));
  EXPECT_THAT(record.take(), ElementsAre("Form.OnMenuEvent 1282 before", "OnMenuEvent 1282 before",
                                         "Form.OnMenuEvent 1282 after", "OnMenuEvent 1282 after"));
}

TEST_F(Events, MenuEventWithAVetoOfTheFormDoesNotReachTheAddOn) {
  const std::string form = openOrder();
  record.hooks["Form.OnMenuEvent"] = veto;
  EXPECT_FALSE(desk.pickMenu("1282"));
  EXPECT_THAT(record.take(), ElementsAre("Form.OnMenuEvent 1282 before"));
}

// This program registers no form for the log settings, so the framework's handler logs a failure.
TEST_F(Events, LogSettingsEntryOpensTheDialogAndReachesNoHandler) {
  EXPECT_FALSE(desk.pickMenu(kCommonEntry)) << "the client is to do nothing more";
  EXPECT_THAT(desk.forms(), HasSubstr("\"Halvex Add-On Log Settings\" selected"));
  // The add-on of these tests attaches to every form that opens.
  EXPECT_THAT(record.take(), ElementsAre("OnFormLoad -1", "Form.OnInitForm"));
}

TEST_F(Events, StatusBarMessageReachesTheAddOnWithItsType) {
  desk.status("Posted", smt_Warning);
  EXPECT_THAT(record.take(), ElementsAre("OnStatusBarEvent 1 'Posted'"));
}

TEST_F(Events, ProgressBarEventReachesTheAddOnWithANullMenuEvent) {
  EXPECT_TRUE(desk.progressBar());
  EXPECT_THAT(record.take(), ElementsAre("OnProgressBarEvent null", "OnProgressBarEvent null"));
}

TEST_F(Events, PrintEventReachesTheAddOnWhichMayVetoIt) {
  const std::string form = openOrder();
  EXPECT_TRUE(desk.print(form));
  EXPECT_THAT(record.take(), ElementsAre("OnPrintEvent", "OnPrintEvent"));
  record.hooks["OnPrintEvent"] = veto;
  EXPECT_FALSE(desk.print(form));
  EXPECT_THAT(record.take(), ElementsAre("OnPrintEvent"));
}

TEST_F(Events, ReportDataEventReachesTheAddOnWhichMayVetoIt) {
  const std::string form = openOrder();
  EXPECT_TRUE(desk.reportData(form));
  EXPECT_THAT(record.take(), ElementsAre("OnReportDataEvent", "OnReportDataEvent"));
  record.hooks["OnReportDataEvent"] = veto;
  EXPECT_FALSE(desk.reportData(form));
  EXPECT_THAT(record.take(), ElementsAre("OnReportDataEvent"));
}

TEST_F(Events, RightClickReachesTheSelectedFormAndThenTheAddOn) {
  const std::string form = openOrder();
  EXPECT_TRUE(desk.rightClick(form, kCustomer));
  EXPECT_THAT(record.take(),
              ElementsAre("Form.OnRightClickEvent 4 before", "OnRightClickEvent 4 before",
                          "Form.OnRightClickEvent 4 after", "OnRightClickEvent 4 after"));
}

TEST_F(Events, FormDataEventReachesTheFormAndNotTheAddOn) {
  const std::string form = openOrder();
  EXPECT_TRUE(desk.formData(form, "17", "KEY"));
  EXPECT_THAT(record.take(), ElementsAre("Form.OnFormDataEvent 17 KEY before",
                                         "Form.OnFormDataEvent 17 KEY after"));
  record.hooks["Form.OnFormDataEvent"] = veto;
  EXPECT_FALSE(desk.formData(form, "17", "KEY"));
}

TEST_F(Events, LanguageChangeReachesTheAddOnAndRebuildsTheCommonMenu) {
  const std::string menus = desk.menus();
  desk.changeLanguage(ln_German);
  EXPECT_THAT(record.take(), ElementsAre("OnChangeLanguage"));
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Information, u"Language changed to 'ln_German'\n"));
  EXPECT_THAT(desk.menus(), testing::EndsWith("43523 \"Add-ons\" popup\n"
                                              "  QX_551 \"Protokolleinstellungen des "
                                              "Halvex-Add-Ons\"\n"));
  desk.changeLanguage(ln_English);
  EXPECT_EQ(desk.menus(), menus);
  EXPECT_FALSE(log.has(u"Failed to create add-on menu tree!"));
}

TEST_F(Events, CompanyChangeConnectsAndPreparesTheNewCompany) {
  const std::string menus = desk.menus();
  const std::string before = qx::test::dumpOf(file);
  const auto other = folder.path() / "other.db";
  desk.changeCompany(other);
  EXPECT_THAT(record.take(), ElementsAre("OnChangeCompany"));
  EXPECT_EQ(record.company->GetConnected(), VARIANT_TRUE);
  EXPECT_EQ(qx::toUtf8(desk.application()->GetCompanyInfo()->GetDatabaseName().View()), "other");
  EXPECT_THAT(qx::test::rowsOf(other, "SELECT U_ExtID, U_Status FROM \"@QXEXTDBVERSION\""),
              ElementsAre("|Installed"));
  EXPECT_EQ(qx::test::dumpOf(file), before);
  EXPECT_EQ(desk.menus(), menus);
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Information, u"Company changed.\n"));
}

TEST_F(Events, CompanyThatCannotBeOpenedIsReportedAndTheNextChangeWorks) {
  desk.changeCompany(folder.path() / "missing" / "company.db");
  EXPECT_THAT(record.take(), IsEmpty());
  EXPECT_THAT(desk.boxes(), HasSubstr("The folder of the company database"));
  desk.changeCompany(file);
  EXPECT_THAT(record.take(), ElementsAre("OnChangeCompany"));
}

/// A way in which the client ends an add-on.
struct Stop {
  std::string name;
  void (qx::test::EmbeddedClient::*act)();
  friend std::ostream& operator<<(std::ostream& out, const Stop& stop) { return out << stop.name; }
};

class Stopping : public testing::TestWithParam<Stop>, protected RunningAddOn {};

TEST_P(Stopping, EndsTheMenuTheEventsAndTheMessageLoopOfTheAddOn) {
  addOn.SetWndHandle(CreateMessageWindow({}));
  const std::string form = desk.openForm(kOrder);
  record.take();
  (desk.*GetParam().act)();
  EXPECT_EQ(RunMessageLoop(), 0);
  EXPECT_THAT(record.take(),
              ElementsAre("Form.OnItemEvent 20 '' before", "Form.OnItemEvent 20 '' after",
                          "Form.OnItemEvent 17 '' before", "Form.OnUnloadForm", "~Form",
                          "OnApplicationUnload"));
  EXPECT_TRUE(log.has(QXLoggerLib::sl_Error, u"Add-on stopped."));
  EXPECT_THAT(desk.menus(), Not(HasSubstr(kCommonEntry)));
  EXPECT_EQ(desk.sinks(), 0);
  EXPECT_THAT(desk.forms(), Not(HasSubstr(form)));
  desk.openForm(kOrder);
  desk.status("After the end", smt_None);
  EXPECT_THAT(record.take(), IsEmpty());
}

// The form object holds the company, as every form of an add-on may.
TEST_P(Stopping, ClosesTheCompanySoThatItIsOneFile) {
  desk.openForm(kOrder);
  (desk.*GetParam().act)();
  EXPECT_FALSE(std::filesystem::exists(file.string() + "-wal"));
  EXPECT_FALSE(std::filesystem::exists(file.string() + "-shm"));
  EXPECT_THAT(qx::test::rowsOf(file, "SELECT U_Status FROM \"@QXEXTDBVERSION\""),
              ElementsAre("Installed"));
}

TEST_P(Stopping, SendsWhatTheRecordCacheHoldsBack) {
  const CComBSTR table(u"@QXEXTDBVERSION");
  Persistence::TyRow row;
  row.m_Fields = {{u"Code", u"T1"}, {u"Name", u"T1"}, {u"U_ExtID", u"T"}};
  Persistence::CDBRecordCache::GetInstance(record.company, table)->Add(table, false, row);
  (desk.*GetParam().act)();
  EXPECT_FALSE(std::filesystem::exists(file.string() + "-wal"));
  EXPECT_THAT(qx::test::rowsOf(file, "SELECT Code FROM \"@QXEXTDBVERSION\" WHERE U_ExtID = 'T'"),
              ElementsAre("T1"));
}

TEST_P(Stopping, AFormThatVetoesItsCloseDoesNotKeepTheCompanyOpen) {
  record.hooks["Form.OnItemEvent"] = veto;
  desk.openForm(kOrder);
  (desk.*GetParam().act)();
  EXPECT_EQ(record.take().back(), "OnApplicationUnload");
  EXPECT_FALSE(std::filesystem::exists(file.string() + "-wal"));
}

INSTANTIATE_TEST_SUITE_P(By, Stopping,
                         testing::Values(Stop{"Shutdown", &qx::test::EmbeddedClient::shutDown},
                                         Stop{"ServerTermination",
                                              &qx::test::EmbeddedClient::terminate}),
                         qx::test::nameOf<Stop>);

}  // namespace
