#include "qxdesk/company/company_schema.h"

#include "qxdesk/company/company_error.h"
#include "qxdesk/company/table_layout.h"
#include "qxframework/automation/text.h"

#include <algorithm>
#include <charconv>

namespace qx::desk {

namespace {

bool hasCompany(Database& database) {
  return database.queryInteger("SELECT COUNT(*) FROM sqlite_master WHERE name = 'OADM'") > 0;
}

bool isEmpty(Database& database) {
  return database.queryInteger("SELECT COUNT(*) FROM sqlite_master") == 0;
}

// A company that someone makes for trying things out has something in its look-up tables.
constexpr std::string_view kSampleRows[] = {
    "INSERT INTO OCRN VALUES ('EUR', 'Euro', -1), ('USD', 'US Dollar', -1), ('GBP', 'Pound', -1), "
    "('HUF', 'Forint', -1)",
    "INSERT INTO VTG1 VALUES ('A0', '2000-01-01 00:00:00', 0), ('A1', '2000-01-01 00:00:00', 7), "
    "('A2', '2000-01-01 00:00:00', 16), ('A2', '2007-01-01 00:00:00', 19)",
    "INSERT INTO OCRD (CardCode, CardName, CardType, Balance) VALUES "
    "('C1000', 'Northwind Tools', 'C', 0), ('C2000', 'Harbour Supplies', 'C', 0), "
    "('S1000', 'Steel and Sons', 'S', 0)",
    "INSERT INTO OITM (ItemCode, ItemName, OnHand, AvgPrice) VALUES "
    "('A1000', 'Hammer', 0, 12.5), ('A2000', 'Screwdriver', 0, 4.9)",
};

void addSettings(Database& database, const LoginTarget& target) {
  const auto row = database.prepare(
      "INSERT INTO OADM VALUES ('1', substr(?1, 1, 100), 'DE', 'EUR', 2, 2, 6, 2, 2, 2, '.', ',', "
      "1, '/', 'N')");
  row->bind(1, std::string_view(toUtf8(target.companyName)));
  row->step();
}

std::int64_t thisYear(const CompanyEnvironment& environment) {
  const std::string now = environment.now();
  std::int64_t year = 0;
  std::from_chars(now.data(), now.data() + std::min<std::size_t>(4, now.size()), year);
  return year;
}

// Monthly periods of the year before this one, this one and the next.
void addPeriods(Database& database, std::int64_t year) {
  const auto row = database.prepare(
      "WITH RECURSIVE m(n) AS (SELECT 0 UNION ALL SELECT n + 1 FROM m WHERE n < 35), "
      "p(n, y, s) AS (SELECT n, ?1 - 1 + n / 12, n % 12 + 1 FROM m), "
      "d(n, y, s, f) AS (SELECT n, y, s, printf('%04d-%02d-01 00:00:00', y, s) FROM p) "
      "INSERT INTO OFPR SELECT n + 1, printf('%04d-%02d', y, s), printf('%04d-%02d', y, s), "
      "printf('%04d', y), s, f, datetime(f, '+1 month', '-1 day') FROM d");
  row->bind(1, year);
  row->step();
}

// A rate is looked up by its day, so every day of this year and the next has the same ones.
void addRates(Database& database, std::int64_t year) {
  const auto row = database.prepare(
      "WITH RECURSIVE d(t) AS (SELECT printf('%04d-01-01 00:00:00', ?1) UNION ALL "
      "SELECT datetime(t, '+1 day') FROM d WHERE t < printf('%04d-12-31', ?1 + 1)), "
      "r(c, v) AS (VALUES ('USD', 0.92), ('GBP', 1.17), ('HUF', 0.0025)) "
      "INSERT INTO ORTT SELECT t, c, v FROM d, r");
  row->bind(1, year);
  row->step();
}

void createTables(Database& database) {
  for (const TableLayout& table : systemTables()) {
    database.execute(createTableSql(table, table.name));
  }
  database.execute("CREATE UNIQUE INDEX CUFD_ALIAS ON CUFD (TableID, AliasID COLLATE NOCASE)");
  database.execute("PRAGMA user_version = " + std::to_string(kSchemaVersion));
}

void createCompany(Database& database, const LoginTarget& target,
                   const CompanyEnvironment& environment) {
  AtomicChange change(database);
  if (hasCompany(database)) return;  // another process was quicker
  if (!isEmpty(database)) throw CompanyError(kOpenFailed, Text::ForeignDatabase, target.database);
  createTables(database);
  addSettings(database, target);
  addPeriods(database, thisYear(environment));
  addRates(database, thisYear(environment));
  for (const std::string_view sql : kSampleRows) database.execute(sql);
  change.commit();
}

}  // namespace

void ensureCompany(Database& database, const LoginTarget& target,
                   const CompanyEnvironment& environment) {
  if (!hasCompany(database)) createCompany(database, target, environment);
  if (database.queryInteger("PRAGMA user_version") > kSchemaVersion) {
    throw CompanyError(kOpenFailed, Text::NewerDatabase, target.database);
  }
}

}  // namespace qx::desk
