#pragma once

// A company with the tables of the persistence tests. The tests reach it as an add-on does: by the
// libraries that the registry of this build names.
//
// @ORDERS: No, Who (texts), Day (date), Total (money), Count (whole number), Note (memo)
// @LINES: OrderNo, Item (texts), Qty (number)
//
// The company also has the framework's own tables.

#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/company.h"
#include "testing/embedded_client.h"
#include "testing/medium.h"
#include "testing/temp_folder.h"
#include "tests/media/record.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace qx::test {

/// A login to the company at `database` through a client of its own. Throws std::runtime_error if
/// the company cannot be opened.
class Login {
 public:
  /// `more` has further keys of the connection string, each preceded by "&".
  explicit Login(const std::string& database, const std::string& more = {});
  ~Login();
  Login(const Login&) = delete;
  Login& operator=(const Login&) = delete;

  const CComPtr<ICompany>& company() const { return company_; }
  /// Connects the same company object again, which must be disconnected.
  void reconnect();
  CComPtr<IApplication> application() const { return client_.application(); }
  /// Runs a statement of the dialect through a record set. Throws _com_error.
  CComPtr<IRecordset> query(const std::u16string& sql) const;
  /// Returns the rows of a query, one text each, cells joined by "|".
  std::vector<std::string> rows(const std::u16string& sql) const;
  /// Returns the text of the company's GetLastError().
  std::string lastError() const;

 private:
  mutable EmbeddedClient client_;
  CComPtr<ICompany> company_;
};

/// Gives each test a company of its own, a copy of one that the program prepares once.
class CompanyFixture : public testing::Test {
 protected:
  CompanyFixture();

  const CComPtr<ICompany>& company() const { return login->company(); }
  /// Adds a row to @ORDERS; the framework chooses Code and Name.
  void addOrder(const OLECHAR* no, const OLECHAR* who, const CComVariant& day, double total,
                long count);
  void addLine(const OLECHAR* order, const OLECHAR* item, double quantity);
  void add(const OLECHAR* table, const Record& record);
  /// Returns the text for the dialect of the medium: `mssql` for MSSQL and Sybase, `db2` for DB2,
  /// `kordb` for KORDB.
  static const char* byDialect(const char* mssql, const char* db2, const char* kordb);

  TempFolder folder;
  std::string database;
  std::unique_ptr<Login> login;
};

}  // namespace qx::test
