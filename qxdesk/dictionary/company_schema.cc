#include "qxdesk/dictionary/company_schema.h"

#include "qxdesk/dictionary/system_tables.h"
#include "qxdesk/engines/atomic_change.h"
#include "qxdesk/engines/company_error.h"
#include "qxdesk/engines/engine_tables.h"
#include "qxdesk/session/database_name.h"
#include "qxdesk/sql/stored_date.h"
#include "qxframework/automation/ole_date_time.h"
#include "qxframework/automation/text.h"

#include <algorithm>
#include <charconv>
#include <chrono>

namespace qx::desk {

namespace {

// A new company is for trying things out, so its look-up tables are not empty.
constexpr std::string_view kSampleRows[] = {
    "INSERT INTO [HVCURR] ([Currency], [CurrencyName], [Decimals]) VALUES ('EUR', 'Euro', -1)",
    "INSERT INTO [HVCURR] ([Currency], [CurrencyName], [Decimals]) VALUES ('USD', 'US Dollar', -1)",
    "INSERT INTO [HVCURR] ([Currency], [CurrencyName], [Decimals]) VALUES ('GBP', 'Pound', -1)",
    "INSERT INTO [HVCURR] ([Currency], [CurrencyName], [Decimals]) VALUES ('HUF', 'Forint', -1)",
    "INSERT INTO [HVPARTN] ([PartnerNo], [PartnerName], [PartnerKind], [Balance]) VALUES "
    "('C1000', 'Hillside Tools', 'C', 0)",
    "INSERT INTO [HVPARTN] ([PartnerNo], [PartnerName], [PartnerKind], [Balance]) VALUES "
    "('C2000', 'Harbour Supplies', 'C', 0)",
    "INSERT INTO [HVPARTN] ([PartnerNo], [PartnerName], [PartnerKind], [Balance]) VALUES "
    "('S1000', 'Steel and Sons', 'S', 0)",
    "INSERT INTO [HVITEM] ([ItemNo], [ItemText], [InStock], [Price]) VALUES "
    "('A1000', 'Hammer', 0, 12.5)",
    "INSERT INTO [HVITEM] ([ItemNo], [ItemText], [InStock], [Price]) VALUES "
    "('A2000', 'Screwdriver', 0, 4.9)",
};

struct TaxRate {
  std::string_view code, since;
  std::int64_t percent;
};

// A2 changed once, so that a look-up by date has something to choose from.
constexpr TaxRate kTaxRates[] = {{"A0", "2000-01-01 00:00:00", 0},
                                 {"A1", "2000-01-01 00:00:00", 7},
                                 {"A2", "2000-01-01 00:00:00", 16},
                                 {"A2", "2007-01-01 00:00:00", 19}};

constexpr std::size_t kCompanyNameSize = 100;

std::string insertInto(const char* table, const std::vector<std::string>& columns) {
  std::string marks;
  for (std::size_t i = 0; i < columns.size(); ++i) marks += i == 0 ? "?" : ", ?";
  return "INSERT INTO " + bracketed(table) + " (" + columnList(columns) + ") VALUES (" + marks +
         ")";
}

// Cuts the name to the length of its column, counted in UTF-16 units and never between the two
// units of one character.
std::string companyName(const LoginTarget& target) {
  std::u16string name = target.companyName.substr(0, kCompanyNameSize);
  if (!name.empty() && (name.back() & 0xFC00) == 0xD800) name.pop_back();
  return toUtf8(name);
}

void addSettings(Database& database, const LoginTarget& target) {
  const auto row = database.prepare(
      "INSERT INTO [HVCOMP] ([Code], [CompanyName], [Country], [Currency], [SumPlaces], "
      "[PricePlaces], [RatePlaces], [QuantityPlaces], [PercentPlaces], [MeasurePlaces], "
      "[DecimalSign], [GroupSign], [DateFormat], [DateSign], [CurrencySide]) "
      "VALUES ('1', ?, 'DE', 'EUR', 2, 2, 6, 2, 2, 2, '.', ',', 1, '/', 'N')");
  row->bind(1, std::string_view(companyName(target)));
  row->step();
}

// From the environment's clock, so that a test decides which periods and rates a company gets.
int currentYear(const CompanyEnvironment& environment) {
  const std::string now = environment.now();
  int year = 0;
  std::from_chars(now.data(), now.data() + std::min<std::size_t>(4, now.size()), year);
  return year;
}

void addTaxRates(Database& database) {
  const auto row = database.prepare(insertInto("VTG1", {"Code", "EffecDate", "Rate"}));
  for (const TaxRate& rate : kTaxRates) {
    row->bind(1, rate.code);
    row->bindDate(2, rate.since);
    row->bind(3, rate.percent);
    row->step();
    row->reset();
  }
}

std::string storedDay(int year, int month, int day) {
  return sql::storedOfDate(dateFromCivil({year, month, day}).value()).value();
}

// Adds the monthly periods of last year, this year and next year.
void addPeriods(Database& database, int thisYear) {
  constexpr int kMonths = 36;
  const auto row = database.prepare(insertInto(
      "OFPR", {"PeriodNo", "Code", "Name", "Category", "SubNum", "F_RefDate", "T_RefDate"}));
  for (int i = 0; i < kMonths; ++i) {
    const int year = thisYear - 1 + i / 12;
    const int month = 1 + i % 12;
    const DATE next =
        month == 12 ? *dateFromCivil({year + 1, 1, 1}) : *dateFromCivil({year, month + 1, 1});
    const std::string first = storedDay(year, month, 1);
    row->bind(1, std::int64_t{i + 1});
    row->bind(2, std::string_view(first).substr(0, 7));
    row->bind(3, std::string_view(first).substr(0, 7));
    row->bind(4, std::string_view(first).substr(0, 4));
    row->bind(5, std::int64_t{month});
    row->bindDate(6, first);
    row->bindDate(7, sql::storedOfDate(next - 1).value());
    row->step();
    row->reset();
  }
}

// Adds rates for every day of this year and the next: a rate is looked up by its day.
void addRates(Database& database, int year) {
  const auto row = database.prepare(insertInto("HVRATE", {"RateDate", "Currency", "Rate"}));
  const DATE end = *dateFromCivil({year + 2, 1, 1});
  for (DATE day = *dateFromCivil({year, 1, 1}); day < end; ++day) {
    row->bindDate(1, sql::storedOfDate(day).value());
    row->bind(2, std::string_view("USD"));
    row->bind(3, 0.92);
    row->step();
    row->reset();
  }
  // One statement for each further currency instead of 731: a server is slow row by row.
  for (const std::string_view other : {"'GBP', 1.17", "'HUF', 0.0025"}) {
    database.execute("INSERT INTO [HVRATE] ([RateDate], [Currency], [Rate]) SELECT [RateDate], " +
                     std::string(other) + " FROM [HVRATE] WHERE [Currency] = 'USD'");
  }
}

void createTables(Database& database) {
  const EngineTables& tables = database.tables();
  // The primary key of CUFD is the number of the field; names must differ without case as well.
  for (const TableLayout& table : systemTables()) tables.create(database, table, table.name);
  database.execute("CREATE UNIQUE INDEX [CUFD_ALIAS] ON [CUFD] ([TableID], " +
                   tables.caselessKey("AliasID") + ")");
  tables.setVersion(database, kSchemaVersion);
}

bool hasCompany(Database& database) { return database.tables().exists(database, "HVCOMP"); }

void createCompany(Database& database, const LoginTarget& target,
                   const CompanyEnvironment& environment) {
  AtomicChange change(database);
  // Asked again under the lock: another process may have made it in the meantime.
  database.noticeChanges();
  if (hasCompany(database)) return;
  // Only an empty database becomes a company; tables without HVCOMP belong to another program.
  if (database.tables().any(database))
    throw CompanyError(kOpenFailed, Text::ForeignDatabase, databaseName(target.database));
  createTables(database);
  addSettings(database, target);
  addPeriods(database, currentYear(environment));
  addTaxRates(database);
  addRates(database, currentYear(environment));
  for (const std::string_view sql : kSampleRows) database.execute(sql);
  change.commit();
}

/// Holds the lock of the tables while a company is made, if it is granted in time. All rows of a
/// new company take longer on a distant server than a statement waits for a lock.
class TurnToMakeTables {
 public:
  explicit TurnToMakeTables(Database& database)
      : database_(database), granted_(database.lockTables(std::chrono::minutes(1))) {}
  ~TurnToMakeTables() {
    if (granted_) giveBack();
  }
  TurnToMakeTables(const TurnToMakeTables&) = delete;
  TurnToMakeTables& operator=(const TurnToMakeTables&) = delete;

 private:
  // A connection that cannot give the lock back has lost it.
  void giveBack() noexcept {
    try {
      database_.unlockTables();
    } catch (const DatabaseError&) {
    }
  }

  Database& database_;
  bool granted_;
};

}  // namespace

void ensureCompany(Database& database, const LoginTarget& target,
                   const CompanyEnvironment& environment) {
  // The usual case first and without a lock, so that opening does not wait for a writer.
  if (!hasCompany(database)) {
    const TurnToMakeTables turn(database);
    createCompany(database, target, environment);
  }
  if (database.tables().version(database) > kSchemaVersion) {
    throw CompanyError(kOpenFailed, Text::NewerDatabase, databaseName(target.database));
  }
  database.share();
}

}  // namespace qx::desk
