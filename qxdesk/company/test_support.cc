#include "qxdesk/company/test_support.h"

#include "qxdesk/engines/open_database.h"
#include "qxdesk/engines/row_store.h"
#include "qxframework/automation/text.h"
#include "testing/postgres_server.h"

#include <algorithm>

namespace qx::desk {

namespace {

/// Passes everything on, but for the statement that the plan refuses.
class FailingDatabase final : public Database {
 public:
  FailingDatabase(std::unique_ptr<Database> real, FaultPlan* plan)
      : real_(std::move(real)), plan_(plan) {}

  Route route() const override { return real_->route(); }
  const EngineTables& tables() const override { return real_->tables(); }
  std::unique_ptr<Statement> prepare(std::string_view sql) override {
    count(sql);
    return real_->prepare(sql);
  }
  std::unique_ptr<Statement> prepareGuarded(std::string_view sql) override {
    count(sql);
    return real_->prepareGuarded(sql);
  }
  sql::ColumnType probe(std::string_view sql) override { return real_->probe(sql); }
  const sql::Catalog& catalog() override { return real_->catalog(); }
  void noticeChanges() override { real_->noticeChanges(); }
  bool isReadOnly() const override { return real_->isReadOnly(); }
  bool inTransaction() const override { return real_->inTransaction(); }
  void begin() override {
    count("BEGIN");
    real_->begin();
  }
  void commit() override {
    count("COMMIT");
    real_->commit();
  }
  void rollback() override { real_->rollback(); }
  std::optional<DatabaseError> lost() const override { return real_->lost(); }

 private:
  void count(std::string_view sql) {
    const bool hasWords =
        std::any_of(plan_->refusedWords.begin(), plan_->refusedWords.end(),
                    [&](const std::string& words) { return sql.find(words) != sql.npos; });
    if (++plan_->prepared == plan_->refuse || hasWords)
      throw DatabaseError(plan_->fault, "refused by the test");
  }

  std::unique_ptr<Database> real_;
  FaultPlan* plan_;
};

}  // namespace

CompanyEnvironment testEnvironment() {
  CompanyEnvironment environment;
  environment.now = [] { return std::string("2024-01-31 12:30:15"); };
  environment.sleep = [](int) {};
  environment.clock = [] { return std::chrono::steady_clock::time_point(); };
  environment.fillRandom = [next = std::uint8_t{0}](std::span<std::uint8_t> bytes) mutable {
    for (std::uint8_t& byte : bytes) byte = next++;
  };
  environment.busyTimeoutMs = 50;
  return environment;
}

OpenDatabase failingOpen(FaultPlan* plan) {
  return [plan](const std::string& path, const CompanyEnvironment& environment) {
    return std::unique_ptr<Database>(
        std::make_unique<FailingDatabase>(openDatabase(path, environment), plan));
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
  if (value.vt == VT_DATE) return toUtf16(storedOfDate(value.date).value_or("no date"));
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
  EXPECT_EQ(lastError(company).text,
            u"The company database is locked by another program. Try again when it has finished.");
}

std::string TestPlace::database(const std::string& name) {
  if (medium_ == Medium::Sqlite) return folder.file(name);
  std::string& connection = servers_[name];
  if (connection.empty()) {
    test::PostgresServer& server = test::PostgresServer::shared();
    connection = "odbc:" + server.connection(server.createDatabase());
  }
  return connection;
}

std::string TestPlace::companyDatabase() {
  if (medium_ == Medium::Sqlite) return database("company.db");
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
