#include "bench/bench_company.h"

#include "qxdesk/sql/sqlite_guard.h"
#include "qxdesk/sql/translator.h"
#include "qxframework/automation/com_object.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/metadata.h"
#include "qxframework/host/recordset.h"

#include <sqlite3.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <stdexcept>

namespace qx::bench {

const std::vector<const OLECHAR*> kColumns = {u"Code",    u"Name",   u"U_Count", u"U_Price",
                                              u"U_Share", u"U_From", u"U_Until", u"U_Note"};

namespace {

class RecordingRecordset final : public NoDispatch<ComObject<IRecordset>> {
 public:
  RecordingRecordset(CComPtr<IRecordset> real, std::vector<std::u16string>& statements)
      : real_(std::move(real)), statements_(statements) {}

  HRESULT raw_GetFields(IFields** out) override { return real_->raw_GetFields(out); }
  HRESULT raw_MoveNext() override { return real_->raw_MoveNext(); }
  HRESULT raw_MovePrevious() override { return real_->raw_MovePrevious(); }
  HRESULT raw_GetBoF(VARIANT_BOOL* out) override { return real_->raw_GetBoF(out); }
  HRESULT raw_GetEoF(VARIANT_BOOL* out) override { return real_->raw_GetEoF(out); }
  HRESULT raw_DoQuery(BSTR sql) override {
    statements_.emplace_back(viewOfBstr(sql));
    return real_->raw_DoQuery(sql);
  }
  HRESULT raw_GetRecordCount(long* out) override { return real_->raw_GetRecordCount(out); }
  HRESULT raw_MoveFirst() override { return real_->raw_MoveFirst(); }
  HRESULT raw_MoveLast() override { return real_->raw_MoveLast(); }

 private:
  CComPtr<IRecordset> real_;
  std::vector<std::u16string>& statements_;
};

class RecordingCompany final : public NoDispatch<ComObject<ICompany>> {
 public:
  RecordingCompany(CComPtr<ICompany> real, std::vector<std::u16string>& statements)
      : real_(std::move(real)), statements_(statements) {}

  HRESULT raw_Connect(long* out) override { return real_->raw_Connect(out); }
  HRESULT raw_Disconnect() override { return real_->raw_Disconnect(); }
  HRESULT raw_PutLanguage(HvLanguages language) override {
    return real_->raw_PutLanguage(language);
  }
  HRESULT raw_GetLastError(long* code, BSTR* text) override {
    return real_->raw_GetLastError(code, text);
  }
  HRESULT raw_GetBusinessObject(long type, IDispatch** out) override {
    if (type != kRecordset) return real_->raw_GetBusinessObject(type, out);
    return guarded([&] {
      CComQIPtr<IRecordset> recordset(real_->GetBusinessObject(type));
      *out = makeObject<RecordingRecordset>(recordset, statements_).Detach();
    });
  }
  HRESULT raw_GetCompanyService(ICompanyService** out) override {
    return real_->raw_GetCompanyService(out);
  }
  HRESULT raw_GetContextCookie(BSTR* out) override { return real_->raw_GetContextCookie(out); }
  HRESULT raw_PutLoginContext(BSTR context) override { return real_->raw_PutLoginContext(context); }
  HRESULT raw_PutConnectionString(BSTR text) override {
    return real_->raw_PutConnectionString(text);
  }
  HRESULT raw_PutUiApplication(IDispatch* application) override {
    return real_->raw_PutUiApplication(application);
  }
  HRESULT raw_GetDbServerType(long* out) override { return real_->raw_GetDbServerType(out); }
  HRESULT raw_GetConnected(VARIANT_BOOL* out) override { return real_->raw_GetConnected(out); }
  HRESULT raw_GetInTransaction(VARIANT_BOOL* out) override {
    return real_->raw_GetInTransaction(out);
  }
  HRESULT raw_StartTransaction() override { return real_->raw_StartTransaction(); }
  HRESULT raw_EndTransaction(VARIANT_BOOL commit) override {
    return real_->raw_EndTransaction(commit);
  }

 private:
  CComPtr<ICompany> real_;
  std::vector<std::u16string>& statements_;
};

std::filesystem::path freshFolder() {
  auto folder = std::filesystem::temp_directory_path() / ("qx_bench_" + std::to_string(getpid()));
  std::filesystem::create_directory(folder);
  return folder;
}

void require(bool good, const char* what) {
  if (!good) throw std::runtime_error(what);
}

struct FieldSetup {
  const OLECHAR* name;
  long type;
  long size;
};

void addField(const CComPtr<ICompany>& company, const std::u16string& table,
              const FieldSetup& setup) {
  const CComQIPtr<IUserFieldsMD> field(company->GetBusinessObject(kUserFieldsMD));
  field->PutTableName(table);
  field->PutName(setup.name);
  field->PutType(setup.type);
  if (setup.size != 0) field->PutSize(setup.size);
  require(field->Add() == 0, "a user field cannot be added");
}

using Db = std::unique_ptr<sqlite3, decltype(&sqlite3_close)>;

Db openRaw(const std::string& file) {
  sqlite3* raw = nullptr;
  const int result = sqlite3_open_v2(file.c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr);
  Db db(raw, sqlite3_close);
  require(result == SQLITE_OK, "the company's file does not open");
  return db;
}

void run(sqlite3* db, const std::string& sql) {
  require(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK,
          sqlite3_errmsg(db));
}

std::string rowText(const std::string& table, int number) {
  std::array<char, 512> text{};
  // A note in ten holds letters beyond ASCII.
  std::snprintf(text.data(), text.size(),
                "INSERT INTO \"@%s\" VALUES ('%08X', 'Article %d', %d, %d.25, %d.5, "
                "'2024-%02d-%02d 00:00:00', '2025-%02d-%02d 00:00:00', 'A note on article %d%s')",
                table.c_str(), static_cast<unsigned>(number), number, number % 1000, number % 500,
                number % 90, number % 12 + 1, number % 28 + 1, number % 11 + 1, number % 27 + 1,
                number, number % 10 == 0 ? " in Größe L" : "");
  return text.data();
}

}  // namespace

BenchCompany::BenchCompany()
    : folder_(freshFolder()),
      file_((folder_ / "company.db").string()),
      addOn_(toUtf16("embedded:?db=" + file_), u"BENCH", u"") {
  require(addOn_.Connect(1) == 0 && company() != nullptr, "the company does not open");
}

BenchCompany::~BenchCompany() {
  std::error_code error;
  std::filesystem::remove_all(folder_, error);
}

void makeTable(const CComPtr<ICompany>& company, const std::u16string& name) {
  {  // one object of the dictionary at a time
    const CComQIPtr<IUserTablesMD> table(company->GetBusinessObject(kUserTablesMD));
    table->PutTableName(name);
    require(table->Add() == 0, "a user table cannot be added");
  }
  const FieldSetup fields[] = {{u"Count", 2, 0}, {u"Price", 4, 0}, {u"Share", 4, 0},
                               {u"From", 3, 0},  {u"Until", 3, 0}, {u"Note", 0, 100}};
  for (const FieldSetup& field : fields) addField(company, u"@" + name, field);
}

void fillTable(const std::string& file, const std::string& name, int rows) {
  const Db db = openRaw(file);
  run(db.get(), "BEGIN");
  for (int i = 0; i < rows; ++i) run(db.get(), rowText(name, i));
  run(db.get(), "COMMIT");
}

CComPtr<ICompany> recordStatements(const CComPtr<ICompany>& company,
                                   std::vector<std::u16string>& statements) {
  return CComPtr<ICompany>(makeObject<RecordingCompany>(company, statements).p);
}

std::string translated(const std::string& file, const std::u16string& statement) {
  const Db db = openRaw(file);
  const sql::SqliteCatalog catalog(db.get());
  return sql::Translator(sql::Dialect::Mssql, &catalog).translate(toUtf8(statement)).text;
}

}  // namespace qx::bench
