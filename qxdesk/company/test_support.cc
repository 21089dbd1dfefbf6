#include "qxdesk/company/test_support.h"

#include "qxdesk/engines/open_database.h"
#include "qxdesk/sql/stored_date.h"
#include "qxframework/automation/text.h"
#include "testing/postgres_server.h"

#include <sys/wait.h>
#include <unistd.h>

#include <array>

namespace qx::desk {

OpenDatabase failingOpen(FaultPlan* plan) {
  return [plan](const std::string& path, const CompanyEnvironment& environment) {
    return failing(openDatabase(path, environment), plan);
  };
}

HRESULT FakeClient::GetLoginContext(BSTR cookie, BSTR* out) {
  if (refusal != S_OK) return refusal;
  if (!forcedContext.empty()) return giveText(forcedContext, out);
  return giveText(encodeLoginContext(target_, viewOfBstr(cookie)), out);
}

LastError lastError(const CComPtr<ICompany>& company) {
  LastError error{};
  CComBSTR text;
  company->GetLastError(error.code, text);
  error.text = text.View();
  return error;
}

CComPtr<ICompany> companyFor(const LoginTarget& target, const CompanyEnvironment& environment,
                             const OpenDatabase& open) {
  CComPtr<ICompany> company(makeObject<Company>(environment, open).p);
  const CComBSTR cookie = company->GetContextCookie();
  company->PutLoginContext(CComBSTR(encodeLoginContext(target, cookie.View())));
  return company;
}

CComPtr<ICompany> companyFor(const LoginTarget& target, const CompanyEnvironment& environment) {
  return companyFor(target, environment, openDatabase);
}

CComPtr<ICompany> connectTo(const LoginTarget& target, const CompanyEnvironment& environment) {
  CComPtr<ICompany> company = companyFor(target, environment);
  EXPECT_EQ(company->Connect(), 0) << toUtf8(lastError(company).text);
  return company;
}

CComPtr<ICompany> connectThrough(const OpenDatabase& open, const LoginTarget& target) {
  CComPtr<ICompany> company = companyFor(target, testEnvironment(), open);
  EXPECT_EQ(company->Connect(), 0) << toUtf8(lastError(company).text);
  return company;
}

CComPtr<IRecordset> query(const CComPtr<ICompany>& company, const std::u16string& sql) {
  CComPtr<IRecordset> rows = businessObject<IRecordset>(company, kRecordset);
  const HRESULT result = rows->raw_DoQuery(CComBSTR(sql));
  EXPECT_EQ(result, S_OK) << toUtf8(sql).substr(0, 500) << ": "
                          << toUtf8(lastError(company).text).substr(0, 500);
  return rows;
}

std::u16string cellText(const VARIANT& value) {
  if (value.vt == VT_DATE) return toUtf16(sql::storedOfDate(value.date).value_or("no date"));
  CComVariant text;
  EXPECT_EQ(VariantChangeTypeEx(&text, &value, 1033, 0, VT_BSTR), S_OK);
  return std::u16string(viewOfBstr(text.bstrVal));
}

std::u16string rowsOf(const CComPtr<ICompany>& company, const std::u16string& sql) {
  const CComPtr<IRecordset> rows = query(company, sql);
  const CComPtr<IFields> fields = rows->GetFields();
  std::u16string text;
  for (; rows->GetEoF() == VARIANT_FALSE; rows->MoveNext()) {
    if (!text.empty()) text += u"\n";
    for (long i = 0; i < fields->Count(); ++i) {
      if (i > 0) text += u"|";
      text += cellText(fields->Item(i)->GetValue());
    }
  }
  return text;
}

long addTable(const CComPtr<ICompany>& company, const std::u16string& name) {
  const auto tables = businessObject<IUserTablesMD>(company, kUserTablesMD);
  tables->PutTableName(CComBSTR(name));
  return tables->Add();
}

long addField(const CComPtr<ICompany>& company, const FieldSetup& setup) {
  const auto fields = businessObject<IUserFieldsMD>(company, kUserFieldsMD);
  fields->PutTableName(CComBSTR(setup.table));
  fields->PutName(CComBSTR(setup.name));
  fields->PutType(setup.type);
  fields->PutSubType(setup.subType);
  if (setup.size != 0) fields->PutSize(setup.size);
  if (setup.mandatory) fields->PutMandatory(1);
  if (!setup.defaultValue.empty()) fields->PutDefaultValue(CComBSTR(setup.defaultValue));
  return fields->Add();
}

long addKey(const CComPtr<ICompany>& company, const std::u16string& table,
            const std::u16string& name, bool unique, const std::vector<std::u16string>& columns) {
  const auto keys = businessObject<IUserKeysMD>(company, kUserKeysMD);
  keys->PutTableName(CComBSTR(table));
  keys->PutKeyName(CComBSTR(name));
  keys->PutUnique(unique ? 1 : 0);
  const CComPtr<IUserKeysMD_Elements> elements = keys->GetElements();
  for (const std::u16string& column : columns) {
    elements->PutColumnAlias(CComBSTR(column));
    elements->Add();
  }
  return keys->Add();
}

void expectCountryIsLocked(const CComPtr<ICompany>& company, std::u16string_view before) {
  EXPECT_EQ(rowsOf(company, u"SELECT Country FROM HVCOMP"), before);
  const auto rows = businessObject<IRecordset>(company, kRecordset);
  EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(u"UPDATE HVCOMP SET Country = 'IT'")); }),
            kSqlFailure);
  const std::u16string text = withoutNumbers(lastError(company).text);
  const bool onServer = company->GetCompanyDB().View().starts_with(u"odbc:");
  EXPECT_EQ(text, onServer
                      ? u"The table 'HVCOMP' or a row of it is locked by the program 'tester' "
                        u"(process #). Try again when it has finished."
                      : u"The company database is locked by another program. Try again when it has "
                        u"finished.");
}

std::u16string withoutNumbers(std::u16string_view text) {
  std::u16string result;
  for (const char16_t c : text) {
    const bool digit = c >= u'0' && c <= u'9';
    if (digit && result.ends_with(u'#')) continue;
    result += digit ? u'#' : c;
  }
  return result;
}

std::vector<int> atOnce(int processes, const std::function<int()>& body) {
  std::array<int, 2> start{};
  EXPECT_EQ(pipe(start.data()), 0);
  std::vector<pid_t> children;
  for (int i = 0; i < processes; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      close(start[1]);
      char go = 0;
      while (read(start[0], &go, 1) > 0) {
      }
      _exit(body());
    }
    children.push_back(child);
  }
  close(start[0]);
  close(start[1]);
  std::vector<int> codes;
  for (const pid_t child : children) {
    int status = 0;
    waitpid(child, &status, 0);
    codes.push_back(WIFEXITED(status) ? WEXITSTATUS(status) : -1);
  }
  return codes;
}

std::string TestPlace::database(const std::string& name) {
  if (engine_ == Engine::Sqlite) return folder.file(name);
  std::string& connection = servers_[name];
  if (connection.empty()) {
    test::PostgresServer& server = test::PostgresServer::shared();
    connection = "odbc:" + server.connection(server.createDatabase());
  }
  return connection;
}

std::string TestPlace::companyDatabase() {
  if (engine_ == Engine::Sqlite) return database("company.db");
  test::PostgresServer& server = test::PostgresServer::shared();
  static const std::string model = [&server] {
    std::string name = server.createDatabase();
    connectTo({"odbc:" + server.connection(name), kMssql, ln_English, u"manager", u"Demo"});
    return name;
  }();
  return "odbc:" + server.connection(server.createDatabase(model));
}

CompanyTest::CompanyTest()
    : place(GetParam()), database(place.companyDatabase()), company(connectTo(target())) {}

LoginTarget CompanyTest::target(long serverType) const {
  return LoginTarget{database, serverType, ln_English, u"manager", u"Demo"};
}

}  // namespace qx::desk
