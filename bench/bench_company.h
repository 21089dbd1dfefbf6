#pragma once

// A company in a fresh SQLite file, opened as an add-on gets it: by Connect, through the client and
// the company library that class activation loads. In it user tables of eight columns: Code, Name
// and six fields of all kinds.

#include "bench/bench_addon.h"
#include "qxframework/host/company.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace qx::bench {

/// The columns of a user table made by makeTable, in their order.
extern const std::vector<const OLECHAR*> kColumns;

class BenchCompany {
 public:
  BenchCompany();
  ~BenchCompany();
  BenchCompany(const BenchCompany&) = delete;
  BenchCompany& operator=(const BenchCompany&) = delete;

  const CComPtr<ICompany>& company() const { return addOn_.handler->company; }
  const std::string& file() const { return file_; }

 private:
  std::filesystem::path folder_;
  std::string file_;
  BenchAddOn addOn_;
};

/// An empty user table.
void makeTable(const CComPtr<ICompany>& company, const std::u16string& name);
/// Its rows, written raw. Codes count up from 0 as the framework's do, so they are in order.
void fillTable(const std::string& file, const std::string& name, int rows);

/// The text that SQLite gets for a statement.
std::string translated(const std::string& file, std::string_view statement);

}  // namespace qx::bench
