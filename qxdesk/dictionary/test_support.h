#pragma once

// Shared by the tests of this folder: a new company on an SQLite file in a temporary folder.

#include "qxdesk/dictionary/company_schema.h"
#include "qxdesk/engines/company_error.h"
#include "qxdesk/engines/database.h"
#include "qxdesk/engines/open_database.h"
#include "qxdesk/engines/test_support.h"
#include "qxdesk/session/login_context.h"
#include "qxframework/host/company.h"
#include "testing/temp_folder.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace qx::desk {

/// The failure that `body` throws, code and English sentence: "-2107 The table ...". Empty if it
/// throws none; the words alone if it is the engine's.
template <class Body>
std::string failureOf(Body&& body) {
  try {
    body();
  } catch (const CompanyError& error) {
    return std::to_string(error.code()) + " " + error.what();
  } catch (const DatabaseError& error) {
    return error.what();
  }
  return {};
}

class DictionaryTest : public testing::Test {
 protected:
  DictionaryTest() { ensureCompany(*database, target, testEnvironment()); }

  /// All rows: cells joined by "|", rows by "/"; null reads as "-".
  std::string rowsOf(const std::string& sql) {
    std::string text;
    const auto rows = database->prepare(sql);
    while (rows->step()) {
      if (!text.empty()) text += '/';
      for (int i = 0; i < rows->columnCount(); ++i) {
        if (i > 0) text += '|';
        text += cellOf(*rows, i);
      }
    }
    return text;
  }

  test::TempFolder folder;
  const LoginTarget target{folder.file("company.db"), kMssql, ln_English, u"manager", u"Demo"};
  std::unique_ptr<Database> database = openDatabase(target.database, testEnvironment());

 private:
  static std::string cellOf(const Statement& row, int column) {
    if (row.storage(column) == Storage::Null) return "-";
    if (row.storage(column) == Storage::Integer) return std::to_string(row.integer(column));
    return std::string(row.text(column));
  }
};

}  // namespace qx::desk
