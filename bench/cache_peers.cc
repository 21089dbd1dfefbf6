#include "bench/cache_peers.h"

#include <stdexcept>

namespace qx::bench {
namespace {

void check(sqlite3* db, int result) {
  if (result != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(db));
}

sqlite3* openFile(const std::string& file) {
  sqlite3* db = nullptr;
  check(db,
        sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr));
  return db;
}

PeerValue valueOf(sqlite3_stmt* statement, int column) {
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER:
      return sqlite3_column_int64(statement, column);
    case SQLITE_FLOAT:
      return sqlite3_column_double(statement, column);
    default: {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
      return std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
    }
  }
}

PeerRows rowsOf(sqlite3* db, sqlite3_stmt* statement) {
  std::vector<std::string> names;
  for (int i = 0; i < sqlite3_column_count(statement); ++i)
    names.emplace_back(sqlite3_column_name(statement, i));
  PeerRows rows;
  int result = sqlite3_step(statement);
  for (; result == SQLITE_ROW; result = sqlite3_step(statement)) {
    PeerRow row;
    for (int i = 1; i < static_cast<int>(names.size()); ++i)
      row.emplace(names[static_cast<std::size_t>(i)], valueOf(statement, i));
    rows.emplace_hint(rows.end(), std::get<std::string>(valueOf(statement, 0)), std::move(row));
  }
  if (result != SQLITE_DONE) throw std::runtime_error(sqlite3_errmsg(db));
  return rows;
}

}  // namespace

PeerRows loadSqlite(const std::string& file, const std::string& select) {
  sqlite3* const db = openFile(file);
  sqlite3_stmt* statement = nullptr;
  check(db, sqlite3_prepare_v2(db, select.c_str(), -1, &statement, nullptr));
  PeerRows rows = rowsOf(db, statement);
  sqlite3_finalize(statement);
  sqlite3_close(db);
  return rows;
}

PagePeer::PagePeer(const std::string& file, const std::string& select, const std::string& column)
    : db_(openFile(file)) {
  const std::size_t order = select.find(" ORDER BY");
  if (order == std::string::npos) throw std::runtime_error("no order in " + select);
  const std::string page =
      select.substr(0, order) + " WHERE \"" + column + "\" = ?1" + select.substr(order);
  const std::string index = "CREATE INDEX bench_page ON \"@FEW\" (\"" + column + "\", \"Code\")";
  check(db_, sqlite3_exec(db_, index.c_str(), nullptr, nullptr, nullptr));
  check(db_, sqlite3_prepare_v2(db_, page.c_str(), -1, &statement_, nullptr));
}

PagePeer::~PagePeer() {
  sqlite3_finalize(statement_);
  sqlite3_exec(db_, "DROP INDEX bench_page", nullptr, nullptr, nullptr);
  sqlite3_close(db_);
}

PeerRows PagePeer::page(int value) {
  check(db_, sqlite3_bind_int(statement_, 1, value));
  PeerRows rows = rowsOf(db_, statement_);
  check(db_, sqlite3_reset(statement_));
  return rows;
}

void runSqlite(const std::string& file, const std::vector<std::string>& statements) {
  sqlite3* const db = openFile(file);
  check(db, sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
  for (const std::string& statement : statements)
    check(db, sqlite3_exec(db, statement.c_str(), nullptr, nullptr, nullptr));
  check(db, sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr));
  sqlite3_close(db);
}

}  // namespace qx::bench
