#include "qxdesk/company/company.h"

#include "qxdesk/company/test_support.h"
#include "qxframework/automation/text.h"
#include "qxframework/automation/type_info.h"

#include <set>

namespace qx::desk {
namespace {

class ConnectTest : public testing::Test {
 protected:
  LoginTarget target() const {
    return LoginTarget{folder.file("company.db"), kSybase, ln_German, u"manager", u"Demo"};
  }
  CComPtr<ICompany> fresh() const {
    return CComPtr<ICompany>(makeObject<Company>(testEnvironment(), noDatabase).p);
  }
  static std::unique_ptr<Database> noDatabase(const std::string&, const CompanyEnvironment&) {
    throw DatabaseError(Fault::InputOutput, "not to be opened");
  }

  test::TempFolder folder;
};

TEST_F(ConnectTest, ConnectsThroughTheClient) {
  const CComPtr<ICompany> company = makeCompany();
  const auto client = makeObject<FakeClient>(target());
  company->PutUiApplication(static_cast<IDispatch*>(client.p));
  EXPECT_EQ(company->Connect(), 0);
  EXPECT_EQ(company->GetConnected(), VARIANT_TRUE);
  EXPECT_EQ(company->GetDbServerType(), kSybase);
}

TEST_F(ConnectTest, ConnectsByTheCookie) {
  const CComPtr<ICompany> company = makeCompany();
  company->PutUiApplication(nullptr);
  const CComBSTR cookie = company->GetContextCookie();
  EXPECT_EQ(cookie.Length(), 32U);
  company->PutLoginContext(CComBSTR(encodeLoginContext(target(), cookie.View())));
  company->PutConnectionString(CComBSTR(u"anything"));
  EXPECT_EQ(company->Connect(), 0);
  EXPECT_EQ(company->GetConnected(), VARIANT_TRUE);
}

TEST_F(ConnectTest, NamesTheDatabaseOfTheConnection) {
  const CComPtr<ICompany> company = makeCompany();
  EXPECT_EQ(raisedBy([&] { company->GetCompanyDB(); }), kNotConnected);
  const auto client = makeObject<FakeClient>(target());
  company->PutUiApplication(static_cast<IDispatch*>(client.p));
  company->Connect();
  EXPECT_EQ(company->GetCompanyDB().View(), toUtf16(folder.file("company.db")));
}

TEST_F(ConnectTest, DrawsAnotherCookieEachTime) {
  const CComPtr<ICompany> company = makeCompany();
  std::set<std::u16string> cookies;
  for (int i = 0; i < 100; ++i) cookies.emplace(company->GetContextCookie().View());
  EXPECT_EQ(cookies.size(), 100U);
}

TEST_F(ConnectTest, TakesTheCookieFromTheRandomSource) {
  EXPECT_EQ(fresh()->GetContextCookie().View(), u"000102030405060708090A0B0C0D0E0F");
}

TEST_F(ConnectTest, WithoutACompanyTheErrorSaysWhatToDo) {
  const CComPtr<ICompany> company = fresh();
  EXPECT_EQ(company->Connect(), kNoCompanyGiven);
  EXPECT_EQ(lastError(company).code, kNoCompanyGiven);
  EXPECT_EQ(lastError(company).text,
            u"There is no company to connect to. Attach this object to the running client with "
            u"PutUiApplication, or give the client's answer to GetContextCookie to "
            u"PutLoginContext.");
  EXPECT_EQ(company->GetConnected(), VARIANT_FALSE);
}

TEST_F(ConnectTest, ReportsInTheLanguageThatWasPut) {
  const CComPtr<ICompany> company = fresh();
  company->PutLanguage(ln_German);
  company->Connect();
  EXPECT_TRUE(lastError(company).text.starts_with(u"Es ist keine Firma"));
  company->PutLanguage(ln_Spanish_Ar);
  company->Connect();
  EXPECT_TRUE(lastError(company).text.starts_with(u"No hay ninguna compa\u00F1\u00EDa"));
  company->PutLanguage(ln_Serbian);
  company->Connect();
  EXPECT_TRUE(lastError(company).text.starts_with(u"There is no company"));
}

TEST_F(ConnectTest, RefusesAContextForAnotherCookie) {
  const CComPtr<ICompany> company = fresh();
  company->GetContextCookie();
  EXPECT_EQ(raisedBy([&] {
              company->PutLoginContext(CComBSTR(encodeLoginContext(target(), u"another")));
            }),
            kContextRefused);
  EXPECT_EQ(lastError(company).code, kContextRefused);
  EXPECT_EQ(company->Connect(), kNoCompanyGiven);
}

TEST_F(ConnectTest, TakesAContextOnce) {
  const CComPtr<ICompany> company = fresh();
  const CComBSTR context(encodeLoginContext(target(), company->GetContextCookie().View()));
  company->PutLoginContext(context);
  EXPECT_EQ(raisedBy([&] { company->PutLoginContext(context); }), kContextRefused);
}

TEST_F(ConnectTest, RefusesAnApplicationThatIsNoClient) {
  const CComPtr<ICompany> company = fresh();
  const CComPtr<ICompany> other = fresh();
  company->PutUiApplication(other.p);
  EXPECT_EQ(company->Connect(), kNoCompanyGiven);
  EXPECT_TRUE(lastError(company).text.starts_with(u"The given application does not name"));
}

TEST_F(ConnectTest, ReportsThatTheClientRefuses) {
  const CComPtr<ICompany> company = fresh();
  const auto client = makeObject<FakeClient>(target());
  client->refusal = E_FAIL;
  company->PutUiApplication(static_cast<IDispatch*>(client.p));
  EXPECT_EQ(company->Connect(), kNoCompanyGiven);
  EXPECT_EQ(lastError(company).text,
            u"The client did not name its company (0x80004005). Check that a company is open in "
            u"it.");
}

TEST_F(ConnectTest, RefusesAClientsOldContext) {
  const CComPtr<ICompany> company = fresh();
  const auto client = makeObject<FakeClient>(target());
  client->forcedContext = encodeLoginContext(target(), u"old cookie");
  company->PutUiApplication(static_cast<IDispatch*>(client.p));
  EXPECT_EQ(company->Connect(), kContextRefused);
}

TEST_F(ConnectTest, FallsBackToTheCookieWhenTheApplicationIsTakenAway) {
  const CComPtr<ICompany> company = makeCompany();
  const auto client = makeObject<FakeClient>(target());
  client->refusal = E_FAIL;
  company->PutUiApplication(static_cast<IDispatch*>(client.p));
  EXPECT_NE(company->Connect(), 0);
  company->PutUiApplication(nullptr);
  const CComBSTR cookie = company->GetContextCookie();
  company->PutLoginContext(CComBSTR(encodeLoginContext(target(), cookie.View())));
  EXPECT_EQ(company->Connect(), 0);
  EXPECT_EQ(lastError(company).code, 0);
  EXPECT_EQ(lastError(company).text, u"");
}

TEST_F(ConnectTest, ASecondConnectIsRefusedUntilDisconnect) {
  const CComPtr<ICompany> company = connectTo(target());
  EXPECT_EQ(company->Connect(), kOpenFailed);
  company->Disconnect();
  EXPECT_EQ(company->GetConnected(), VARIANT_FALSE);
  EXPECT_EQ(company->Connect(), 0);
}

TEST_F(ConnectTest, ARecordsetWorksOnAfterItsCompanyObjectIsReleased) {
  CComPtr<ICompany> company = connectTo(target());
  const CComPtr<IRecordset> rows = query(company, u"SELECT CompanyName FROM HVCOMP");
  company.Release();
  rows->DoQuery(CComBSTR(u"SELECT CompanyName FROM HVCOMP"));
  EXPECT_EQ(cellText(rows->GetFields()->Item(0)->GetValue()), u"Demo");
}

TEST_F(ConnectTest, ObjectsReportNotConnectedAfterDisconnect) {
  const CComPtr<ICompany> company = connectTo(target());
  company->PutLanguage(ln_English);
  const CComPtr<IRecordset> rows = query(company, u"SELECT CompanyName FROM HVCOMP");
  const auto tables = businessObject<IUserTablesMD>(company, kUserTablesMD);
  company->Disconnect();
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"SELECT Code FROM HVCOMP")); }), kNotConnected);
  EXPECT_EQ(lastError(company),
            (LastError{kNotConnected, u"The company is not connected. Call Connect first."}));
  EXPECT_EQ(tables->Add(), kNotConnected);
  EXPECT_EQ(raisedBy([&] { company->GetBusinessObject(kRecordset); }), kNotConnected);
  EXPECT_EQ(raisedBy([&] { company->GetCompanyService(); }), kNotConnected);
  EXPECT_EQ(raisedBy([&] { company->StartTransaction(); }), kNotConnected);
}

TEST_F(ConnectTest, AnUnknownBusinessObjectIsRefused) {
  const CComPtr<ICompany> company = connectTo(target());
  company->PutLanguage(ln_English);
  EXPECT_EQ(raisedBy([&] { company->GetBusinessObject(4711); }), kNotFound);
  EXPECT_EQ(lastError(company).text, u"There is no business object with the number 4711.");
}

TEST_F(ConnectTest, ReportsTheVersionOfItsLibrary) {
  const CComPtr<ICompany> company = fresh();
  CComPtr<ITypeInfo> info;
  ASSERT_EQ(company->GetTypeInfo(0, LOCALE_USER_DEFAULT, &info), S_OK);
  CComPtr<ITypeLib> library;
  ASSERT_EQ(info->GetContainingTypeLib(&library, nullptr), S_OK);
  TLIBATTR* attributes = nullptr;
  ASSERT_EQ(library->GetLibAttr(&attributes), S_OK);
  EXPECT_EQ(attributes->wMajorVerNum, 9);
  EXPECT_EQ(attributes->wMinorVerNum, 20);
  library->ReleaseTLibAttr(attributes);
}

TEST_F(ConnectTest, EveryOperationPassesTheCallGate) {
  const CComPtr<ICompany> company = connectTo(target());
  CallGate::instance().refuse(2, E_ABORT);
  EXPECT_EQ(company->raw_Disconnect(), S_OK);
  EXPECT_EQ(company->raw_Disconnect(), E_ABORT);
  EXPECT_EQ(CallGate::instance().count(), 2);
  CallGate::instance().refuse(0, S_OK);
}

TEST_F(ConnectTest, OutParametersMustBeGiven) {
  const CComPtr<ICompany> company = connectTo(target());
  EXPECT_EQ(company->raw_Connect(nullptr), E_POINTER);
  EXPECT_EQ(company->raw_GetLastError(nullptr, nullptr), E_POINTER);
  EXPECT_EQ(company->raw_GetBusinessObject(300, nullptr), E_POINTER);
  EXPECT_EQ(company->raw_GetContextCookie(nullptr), E_POINTER);
  EXPECT_EQ(company->raw_GetConnected(nullptr), E_POINTER);
}

}  // namespace
}  // namespace qx::desk
