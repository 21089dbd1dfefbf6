#pragma once

// A company with the tables of the persistence tests, reached as an add-on reaches it: by the
// libraries that the registry of this build names.
//
// @ORDERS: No, Who (texts), Day (date), Total (money), Count (whole number), Note (memo)
// @LINES: OrderNo, Item (texts), Qty (number)
//
// The framework's own tables are there, too.

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

/// A user of the company at `database`, logged in through a client of his own.
class Login {
 public:
  explicit Login(const std::string& database);
  ~Login();
  Login(const Login&) = delete;
  Login& operator=(const Login&) = delete;

  const CComPtr<ICompany>& company() const { return company_; }
  /// With the same company object, which must be disconnected.
  void reconnect();
  CComPtr<IApplication> application() const { return client_.application(); }
  /// Runs a statement of the dialect through a record set. Raises _com_error.
  CComPtr<IRecordset> query(const std::u16string& sql) const;
  /// The rows of a query, cells joined by "|".
  std::vector<std::string> rows(const std::u16string& sql) const;
  /// What the company says of the last failure.
  std::string lastError() const;

 private:
  mutable EmbeddedClient client_;
  CComPtr<ICompany> company_;
};

class CompanyFixture : public testing::Test {
 protected:
  CompanyFixture();

  const CComPtr<ICompany>& company() const { return login->company(); }
  /// One row of @ORDERS; Code and Name are drawn.
  void addOrder(const OLECHAR* no, const OLECHAR* who, const CComVariant& day, double total,
                long count);
  void addLine(const OLECHAR* order, const OLECHAR* item, double quantity);
  void add(const OLECHAR* table, const Record& record);
  /// The text of the dialect among texts that differ by it: one for MSSQL and Sybase, one for DB2,
  /// one for KORDB.
  static const char* byDialect(const char* mssql, const char* db2, const char* kordb);

  TempFolder folder;
  std::string database;
  std::unique_ptr<Login> login;
};

}  // namespace qx::test
