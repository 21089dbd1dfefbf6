#include "bench/bench_company.h"

#include "qxdesk/sql/sqlite_guard.h"
#include "qxdesk/sql/translator.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/metadata.h"

#include <sqlite3.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace qx::bench {

// The order of the columns is that of rowText().
const std::vector<const OLECHAR*> kColumns = {u"Code",    u"Name",   u"U_Count", u"U_Price",
                                              u"U_Share", u"U_From", u"U_Until", u"U_Note"};

namespace {

std::filesystem::path freshFolder() {
  auto folder = std::filesystem::temp_directory_path() / ("qx_bench_" + std::to_string(getpid()));
  std::filesystem::create_directory(folder);
  return folder;
}

// QX_BENCH_STATEMENTS=fresh shows what keeping statements is worth.
std::string statementsMode() {
  const char* mode = std::getenv("QX_BENCH_STATEMENTS");
  return mode == nullptr ? "kept" : mode;
}

// The clients of one process differ by their application ids.
std::u16string connectionTo(const std::string& database) {
  static int next = 1;
  std::string encoded;
  for (const char c : database) encoded += c == '&' ? "%26" : c == '%' ? "%25" : std::string(1, c);
  return toUtf16("embedded:?db=" + encoded + "&appid=" + std::to_string(next++) +
                 "&statements=" + statementsMode());
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

// Bypasses the company, because filling a table through it would take long.
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
  // One note in ten has letters beyond ASCII.
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
      addOn_(toUtf16("embedded:?db=" + file_ + "&statements=" + statementsMode()), u"BENCH", u"") {
  require(addOn_.Connect(1) == 0 && company() != nullptr, "the company does not open");
}

BenchCompany::BenchCompany(const std::string& database)
    : addOn_(connectionTo(database), u"BENCH", u"") {
  require(addOn_.Connect(1) == 0 && company() != nullptr, "the company does not open");
}

BenchCompany::~BenchCompany() {
  if (folder_.empty()) return;
  std::error_code error;
  std::filesystem::remove_all(folder_, error);
}

void makeTable(const CComPtr<ICompany>& company, const std::u16string& name) {
  {  // released before the fields are added: the host allows one metadata object at a time
    const CComQIPtr<IUserTablesMD> table(company->GetBusinessObject(kUserTablesMD));
    table->PutTableName(name);
    require(table->Add() == 0, "a user table cannot be added");
  }
  const FieldSetup fields[] = {{u"Count", 2, 0}, {u"Price", 4, 0}, {u"Share", 4, 0},
                               {u"From", 3, 0},  {u"Until", 3, 0}, {u"Note", 0, 100}};
  for (const FieldSetup& field : fields) addField(company, u"@" + name, field);
}

void fillTable(const std::string& file, const std::string& name, int rows) {
  // In one transaction, as SQLite waits for the disk at the end of each.
  const Db db = openRaw(file);
  run(db.get(), "BEGIN");
  for (int i = 0; i < rows; ++i) run(db.get(), rowText(name, i));
  run(db.get(), "COMMIT");
}

std::string translated(const std::string& file, std::string_view statement) {
  const Db db = openRaw(file);
  const sql::SqliteCatalog catalog(db.get());
  return sql::Translator(sql::Dialect::Mssql, &catalog).translate(statement).text;
}

}  // namespace qx::bench
