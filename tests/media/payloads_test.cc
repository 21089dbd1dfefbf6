// Hostile statements, sent as an add-on sends them. For each one the tables say if it is accepted,
// refused or stopped at a limit. Whatever becomes of it, what a statement must not reach is as it
// was, and the company still answers.

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/text.h"
#include "tests/media/company_fixture.h"
#include "tests/media/payload_table.h"
#include "tests/media/record.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iostream>
#include <map>
#include <numeric>
#include <set>

namespace {

using qx::test::CompanyStore;
using qx::test::Login;
using qx::test::medium;
using qx::test::Outcome;
using qx::test::Payload;

// A statement cannot know it; a cell that contains it comes from the file.
constexpr std::string_view kSecret = "what the file keeps to itself";

// The tables that no payload may change, and the columns of the settings that none may.
constexpr const char16_t* kUntouched[] = {
    u"SELECT * FROM HVCURR ORDER BY Currency",
    u"SELECT * FROM HVITEM ORDER BY ItemNo",
    u"SELECT * FROM HVUTAB ORDER BY TableName",
    u"SELECT * FROM CUFD ORDER BY TableID, FieldID",
    u"SELECT * FROM HVUKEY ORDER BY TableName, KeyNo",
    u"SELECT * FROM HVUKCOL ORDER BY TableName, KeyNo, ColumnNo",
    u"SELECT COUNT(*) FROM HVUFVAL",
    u"SELECT Code, CompanyName FROM HVCOMP",
    u"SELECT COUNT(*) FROM OFPR"};

constexpr const char* kSqliteObjects =
    "SELECT group_concat(type || name || coalesce(sql, '')) FROM sqlite_master";
constexpr const char* kPostgresObjects =
    "SELECT concat_ws(',', (SELECT count(*) FROM pg_class), (SELECT count(*) FROM pg_proc), "
    "(SELECT md5(string_agg(pg_roles::text, ',' ORDER BY oid)) FROM pg_roles), "
    "(SELECT count(*) FROM pg_database), (SELECT count(*) FROM pg_extension), "
    "(SELECT count(*) FROM pg_trigger), (SELECT count(*) FROM pg_rewrite), "
    "(SELECT count(*) FROM pg_largeobject_metadata), (SELECT count(*) FROM pg_namespace), "
    "(SELECT version FROM qxvr))";

// Statements that run for minutes must not delay the test. A server has a setting of its own.
constexpr const char* kShortTimeLimit =
    "DO $$ BEGIN EXECUTE format('ALTER DATABASE %I SET statement_timeout = ''1s''', "
    "current_database()); END $$";

/// Returns the kilobytes of a line of this process's status, such as "VmHWM:".
long statusOf(const std::string& line) {
  std::ifstream file("/proc/self/status");
  for (std::string read; std::getline(file, read);) {
    if (read.starts_with(line)) return std::stol(read.substr(line.size()));
  }
  return 0;
}

/// The most memory that this process has taken since the object was made, beyond what it had then.
class Peak {
 public:
  Peak() {
    // The system counts the highest value anew from here.
    std::ofstream("/proc/self/clear_refs") << "5";
    before_ = statusOf("VmRSS:");
  }
  long megabytes() const { return std::max(0L, statusOf("VmHWM:") - before_) / 1024; }

 private:
  long before_ = 0;
};

struct Worst {
  long value = 0;
  int line = 0;
  void note(long found, int where) {
    if (found > value || line == 0) *this = {found, where};
  }
};

class Payloads : public qx::test::CompanyFixture, public testing::WithParamInterface<const char*> {
 protected:
  Payloads() {
    secrets.write("secret.txt", kSecret);
    if (medium().postgres) CompanyStore::run(database, kShortTimeLimit);
    login.reset();
    login = std::make_unique<Login>(database, "&memory=16");
    before = state();
  }

  /// Everything that a statement must leave as it is.
  std::vector<std::string> state() const {
    std::vector<std::string> found;
    for (const char16_t* query : kUntouched) {
      const std::vector<std::string> rows = login->rows(query);
      found.push_back(std::accumulate(rows.begin(), rows.end(), qx::toUtf8(query)));
    }
    const char* const objects = medium().postgres ? kPostgresObjects : kSqliteObjects;
    found.push_back(CompanyStore::ask(database, objects));
    std::set<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(secrets.path())) {
      files.insert(entry.path().filename());
    }
    found.push_back(std::accumulate(files.begin(), files.end(), std::string("files ")));
    return found;
  }

  /// Returns true if one of the first rows contains the content of the file.
  static bool showsSecret(const CComPtr<IRecordset>& rows) {
    constexpr int kRows = 20;
    const CComPtr<IFields> fields = rows->GetFields();
    for (int i = 0; i < kRows && rows->GetEoF() == VARIANT_FALSE; ++i, rows->MoveNext()) {
      for (long column = 0; column < fields->Count(); ++column) {
        const CComVariant cell = fields->Item(CComVariant(column))->GetValue();
        if (qx::test::cellText(cell).find(kSecret) != std::string::npos) {
          return true;
        }
      }
    }
    return false;
  }

  Outcome outcomeOf(const std::u16string& statement) {
    refusal.clear();
    try {
      EXPECT_FALSE(showsSecret(login->query(statement)));
      return Outcome::Accepted;
    } catch (const _com_error&) {
      refusal = login->lastError();
      return refusal.starts_with("The statement was stopped before its end") ? Outcome::Stopped
                                                                             : Outcome::Refused;
    }
  }

  void send(const Payload& payload) {
    const Outcome wanted = medium().postgres ? payload.onPostgres : payload.onSqlite;
    if (wanted == Outcome::NotRun) return;
    const Peak peak;
    const auto start = std::chrono::steady_clock::now();
    const Outcome found = outcomeOf(payload.statement);
    const auto time = std::chrono::steady_clock::now() - start;
    slowest.note(std::chrono::duration_cast<std::chrono::milliseconds>(time).count(), payload.line);
    largest.note(peak.megabytes(), payload.line);
    ++counts[found];
    EXPECT_EQ(static_cast<char>(found), static_cast<char>(wanted))
        << GetParam() << ".txt:" << payload.line << ": " << refusal.substr(0, 300);
    // A message of a megabyte would be a way to fill the log.
    EXPECT_LT(refusal.size(), 2000U) << GetParam() << ".txt:" << payload.line;
  }

  void report(std::size_t all) {
    std::cout << "payloads " << GetParam() << ": " << all << ", accepted "
              << counts[Outcome::Accepted] << ", refused " << counts[Outcome::Refused]
              << ", stopped " << counts[Outcome::Stopped] << ", worst time " << slowest.value
              << " ms (line " << slowest.line << "), worst memory " << largest.value << " MB (line "
              << largest.line << ")\n";
  }

  qx::test::TempFolder secrets;
  std::vector<std::string> before;
  std::string refusal;
  std::map<Outcome, int> counts;
  Worst slowest;
  Worst largest;
};

TEST_P(Payloads, ReachNothingBeyondTheRowsOfTheAddOn) {
  const std::string file = std::string(QX_TEST_DATA) + "/payloads/" + GetParam() + ".txt";
  const std::vector<Payload> payloads = qx::test::readPayloads(file, secrets.path().string());
  for (const Payload& payload : payloads) send(payload);
  EXPECT_EQ(state(), before);
  report(payloads.size());
}

INSTANTIATE_TEST_SUITE_P(Classes, Payloads,
                         testing::Values("stacked", "comments", "quotes", "unicode", "patterns",
                                         "common_tables", "size", "numbers", "system_tables",
                                         "functions", "commands", "names", "dictionary", "joins"),
                         [](const auto& each) { return std::string(each.param); });

TEST(PayloadTable, WritesItsAbbreviationsOut) {
  using qx::test::writtenOut;
  EXPECT_EQ(writtenOut("a@{3|x}b", ""), u"axxxb");
  EXPECT_EQ(writtenOut("c0@{2|, c# ##}", ""), u"c0, c1 0, c2 1");
  EXPECT_EQ(writtenOut("@u{41}@u{0}@{2|@u{301}}", ""), std::u16string(u"A\0\u0301\u0301", 4));
  EXPECT_EQ(writtenOut("[@T] @dir/x", "/tmp"), u"[@T] /tmp/x");
}

TEST(PayloadTable, HasAtLeastThreeHundredPayloads) {
  std::size_t count = 0;
  for (const auto& entry :
       std::filesystem::directory_iterator(std::string(QX_TEST_DATA) + "/payloads")) {
    std::ifstream file(entry.path());
    for (std::string line; std::getline(file, line);) ++count;
  }
  EXPECT_GE(count, 300U);
}

}  // namespace
