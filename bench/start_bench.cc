// Measures the time from Connect to OnApplicationLoad on a database that needs no update, against
// opening the same SQLite file and running the same statements directly.

#include "bench/bench_addon.h"
#include "bench/log_settings.h"
#include "bench/measure.h"
#include "qxframework/automation/text.h"
#include "qxframework/runtime/event_sink.h"

#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr int kRounds = 1000;

double startOurs(const std::string& connection) {
  qx::bench::BenchAddOn addOn(qx::toUtf16(connection), u"BENCH", u"");
  const auto begin = std::chrono::steady_clock::now();
  if (addOn.Connect(1) != 0 || addOn.handler == nullptr) return 1;
  const double took = std::chrono::duration<double>(addOn.handler->loaded - begin).count();
  // Stopped as by its user. Otherwise its menu would stay in the client, which lives as long as
  // this process, and the next start would fail to add the same menu and log that.
  addOn.GetEventSink()->UnloadApplication();
  return took;
}

// Runs the statements that the framework runs on a database that needs no update.
double startRaw(const std::string& file) {
  const auto begin = std::chrono::steady_clock::now();
  sqlite3* db = nullptr;
  sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr);
  sqlite3_busy_timeout(db, 5000);
  for (const char* sql :
       {"PRAGMA journal_mode=WAL",
        "select U_Version, U_Status from \"@QXEXTDBVERSION\" where U_ExtID = '' order by Code desc",
        "select (case when U_EFNum is null then '00' else U_EFNum end) as U_EFNum from "
        "\"@QXEXTDBVERSION\" where U_ExtID = '' order by Code desc"}) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v2(db, sql, -1, &statement, nullptr) != SQLITE_OK) {
      std::fprintf(stderr, "bench: %s\n", sqlite3_errmsg(db));
    }
    while (sqlite3_step(statement) == SQLITE_ROW)
      qx::bench::keep(sqlite3_column_text(statement, 0));
    sqlite3_finalize(statement);
  }
  // Closing is not measured on either side.
  const double took =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  sqlite3_close(db);
  return took;
}

}  // namespace

int main() {
  if (!qx::bench::recordUpTo(QXLoggerLib::sl_Error, 1)) return 1;
  const auto folder =
      std::filesystem::temp_directory_path() / ("qx_start_bench_" + std::to_string(getpid()));
  std::filesystem::create_directory(folder);
  const std::string file = (folder / "company.db").string();
  const std::string connection = "embedded:?db=" + file;
  startOurs(connection);  // creates the database
  double ours = 1;
  double raw = 1;
  for (int round = 0; round < kRounds; ++round) {
    ours = std::min(ours, startOurs(connection));
    raw = std::min(raw, startRaw(file));
  }
  std::printf("start: ours %.0f us, raw %.0f us\n", ours * 1e6, raw * 1e6);
  qx::bench::printRatio("start", ours / raw);
  std::filesystem::remove_all(folder);
  return 0;
}
