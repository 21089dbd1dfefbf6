#include "tests/media/company_fixture.h"

#include "qxframework/automation/class_object.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/application.h"
#include "qxframework/host/metadata.h"
#include "qxframework/runtime/framework_util.h"

#include <stdexcept>

namespace qx::test {
namespace {

// The numbers of the field types in IUserFieldsMD.
enum FieldKind : long { kText = 0, kMemo = 1, kWhole = 2, kDate = 3, kFloat = 4 };
constexpr long kMoney = 37;  // a sub-type of kFloat

struct Field {
  const OLECHAR* table;
  const OLECHAR* name;
  FieldKind kind;
  long subType = 0;
  long size = 0;
};

constexpr Field kFields[] = {{u"@ORDERS", u"No", kText, 0, 20},
                             {u"@ORDERS", u"Who", kText, 0, 50},
                             {u"@ORDERS", u"Day", kDate},
                             {u"@ORDERS", u"Total", kFloat, kMoney},
                             {u"@ORDERS", u"Count", kWhole, 0, 11},
                             {u"@ORDERS", u"Note", kMemo},
                             {u"@LINES", u"OrderNo", kText, 0, 20},
                             {u"@LINES", u"Item", kText, 0, 20},
                             {u"@LINES", u"Qty", kFloat}};

void require(long code, const Login& login, const char* what) {
  if (code != 0) throw std::runtime_error(std::string(what) + ": " + login.lastError());
}

void makeTables(const Login& login) {
  CQXFrameworkUtil framework;
  require(framework.CheckDatabase(login.application(), login.company()), login, "framework");
  for (const OLECHAR* name : {u"ORDERS", u"LINES"}) {
    const CComQIPtr<IUserTablesMD> tables(login.company()->GetBusinessObject(kUserTablesMD));
    tables->PutTableName(name);
    require(tables->Add(), login, "table");
  }
  for (const Field& field : kFields) {
    const CComQIPtr<IUserFieldsMD> fields(login.company()->GetBusinessObject(kUserFieldsMD));
    fields->PutTableName(field.table);
    fields->PutName(field.name);
    fields->PutType(field.kind);
    fields->PutSubType(field.subType);
    if (field.size != 0) fields->PutSize(field.size);
    require(fields->Add(), login, "field");
  }
}

const TempFolder& modelFolder() {
  static const TempFolder folder;
  return folder;
}

// Every test gets a copy of this model: making the tables takes longer than most tests.
void prepareModel() {
  if (CompanyStore::hasModel()) return;
  const std::string database = CompanyStore::fresh(modelFolder().path());
  makeTables(Login(database));
  CompanyStore::keepAsModel(database);
}

CComPtr<ICompany> newCompany() {
  CComPtr<ICompany> company;
  raiseIfFailed(createInstance(CLSID_HalvexCompany, CLSCTX_ALL, &company.p));
  return company;
}

}  // namespace

Login::Login(const std::string& database, const std::string& more)
    : client_(database, {medium().dialect, more, 0}), company_(newCompany()) {
  reconnect();
}

void Login::reconnect() {
  const CComBSTR cookie = company_->GetContextCookie();
  company_->PutLoginContext(client_.application()->GetCompanyInfo()->GetConnectionContext(cookie));
  if (company_->Connect() != 0) throw std::runtime_error("no company: " + lastError());
}

Login::~Login() { company_->raw_Disconnect(); }

CComPtr<IRecordset> Login::query(const std::u16string& sql) const {
  CComPtr<IRecordset> rows = CComQIPtr<IRecordset>(company_->GetBusinessObject(kRecordset));
  rows->DoQuery(CComBSTR(sql));
  return rows;
}

std::vector<std::string> Login::rows(const std::u16string& sql) const {
  const CComPtr<IRecordset> rows = query(sql);
  const CComPtr<IFields> fields = rows->GetFields();
  std::vector<std::string> texts;
  for (; rows->GetEoF() == VARIANT_FALSE; rows->MoveNext()) {
    std::string text;
    for (long i = 0; i < fields->Count(); ++i)
      text += (i == 0 ? "" : "|") + cellText(fields->Item(CComVariant(i))->GetValue());
    texts.push_back(std::move(text));
  }
  return texts;
}

std::string Login::lastError() const {
  long code = 0;
  CComBSTR text;
  company_->GetLastError(code, text);
  return toUtf8(text.View());
}

CompanyFixture::CompanyFixture() {
  prepareModel();
  database = CompanyStore::fresh(folder.path());
  login = std::make_unique<Login>(database);
}

void CompanyFixture::addOrder(const OLECHAR* no, const OLECHAR* who, const CComVariant& day,
                              double total, long count) {
  add(u"@ORDERS", Record{{u"U_No", no},
                         {u"U_Who", who},
                         {u"U_Day", day},
                         {u"U_Total", total},
                         {u"U_Count", count}});
}

void CompanyFixture::addLine(const OLECHAR* order, const OLECHAR* item, double quantity) {
  add(u"@LINES", Record{{u"U_OrderNo", order}, {u"U_Item", item}, {u"U_Qty", quantity}});
}

void CompanyFixture::add(const OLECHAR* table, const Record& record) {
  Rows rows(company(), table);
  EXPECT_EQ(failureOf([&] { rows.Add(record); }), "no failure") << record.named();
}

const char* CompanyFixture::byDialect(const char* mssql, const char* db2, const char* kordb) {
  if (medium().is(kDb2)) return db2;
  return medium().is(kKordb) ? kordb : mssql;
}

}  // namespace qx::test
