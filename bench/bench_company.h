#pragma once

// A company in a new SQLite file, opened as in an add-on: by Connect, through the client and the
// company library that class activation loads. Its user tables have eight columns: Code, Name and
// six fields of all types.

#include "bench/bench_addon.h"
#include "qxframework/host/company.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace qx::bench {

/// The columns of a user table that makeTable() creates, in their order.
extern const std::vector<const OLECHAR*> kColumns;

/// A company and its add-on, in a temporary folder that is removed at the end.
class BenchCompany {
 public:
  /// Throws std::runtime_error if the company cannot be opened.
  BenchCompany();
  /// Opens a company on a server; `database` is "odbc:" and an ODBC connection string. Every object
  /// is a client of its own.
  explicit BenchCompany(const std::string& database);
  ~BenchCompany();
  BenchCompany(const BenchCompany&) = delete;
  BenchCompany& operator=(const BenchCompany&) = delete;

  const CComPtr<ICompany>& company() const { return addOn_.handler->company; }
  /// Returns the path of the SQLite file.
  const std::string& file() const { return file_; }

 private:
  std::filesystem::path folder_;
  std::string file_;
  BenchAddOn addOn_;
};

/// Creates an empty user table.
void makeTable(const CComPtr<ICompany>& company, const std::u16string& name);
/// Writes rows into a user table directly. Codes count up from 0 like those of the framework, so
/// they are in ascending order.
void fillTable(const std::string& file, const std::string& name, int rows);

/// Returns the text that SQLite receives for a statement.
std::string translated(const std::string& file, std::string_view statement);

}  // namespace qx::bench
