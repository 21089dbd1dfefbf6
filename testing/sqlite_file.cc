#include "testing/sqlite_file.h"

#include <sqlite3.h>

#include <stdexcept>

namespace qx::test {
namespace {

struct Finalizer {
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

std::string rowText(sqlite3_stmt* statement) {
  std::string text;
  for (int i = 0; i < sqlite3_column_count(statement); ++i) {
    const auto* value = reinterpret_cast<const char*>(sqlite3_column_text(statement, i));
    if (i > 0) text += "|";
    text += value == nullptr ? "NULL" : value;
  }
  return text;
}

}  // namespace

SqliteFile::SqliteFile(const std::filesystem::path& path) {
  if (sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK) return;
  const std::string reason = sqlite3_errmsg(db_);
  sqlite3_close(db_);
  throw std::runtime_error(path.string() + ": " + reason);
}

SqliteFile::~SqliteFile() { sqlite3_close(db_); }

void SqliteFile::execute(const std::string& sql) {
  if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK) return;
  throw std::runtime_error(sql + ": " + sqlite3_errmsg(db_));
}

std::vector<std::string> SqliteFile::rows(const std::string& sql) {
  sqlite3_stmt* raw = nullptr;
  if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &raw, nullptr) != SQLITE_OK) {
    throw std::runtime_error(sql + ": " + sqlite3_errmsg(db_));
  }
  const std::unique_ptr<sqlite3_stmt, Finalizer> statement(raw);
  std::vector<std::string> out;
  while (sqlite3_step(raw) == SQLITE_ROW) out.push_back(rowText(raw));
  return out;
}

std::string SqliteFile::dump() {
  std::string out;
  for (const std::string& name :
       rows("SELECT name FROM sqlite_master WHERE sql IS NOT NULL ORDER BY type, name")) {
    const std::string quoted = "'" + name + "'";
    out += rows("SELECT sql FROM sqlite_master WHERE name = " + quoted).front() + "\n";
    const auto columns =
        rows("SELECT group_concat('\"' || name || '\"') FROM (SELECT name FROM pragma_table_info(" +
             quoted + ") WHERE name <> 'U_Rdate' ORDER BY cid)");
    if (columns.front() == "NULL") continue;
    for (const std::string& row : rows("SELECT " + columns.front() + " FROM \"" + name + "\"")) {
      out += "  " + row + "\n";
    }
  }
  return out;
}

std::vector<std::string> rowsOf(const std::filesystem::path& path, const std::string& sql) {
  return SqliteFile(path).rows(sql);
}

std::string dumpOf(const std::filesystem::path& path) { return SqliteFile(path).dump(); }

}  // namespace qx::test
