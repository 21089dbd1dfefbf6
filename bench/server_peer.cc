#include "bench/server_peer.h"

#include "qxframework/automation/text.h"

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <array>
#include <stdexcept>

namespace qx::bench {
namespace {

constexpr std::size_t kUnits = 256;

void check(SQLRETURN result, const char* what) {
  if (!SQL_SUCCEEDED(result)) throw std::runtime_error(what);
}

struct Text {
  std::array<char16_t, kUnits> units;
  SQLLEN length;
  std::u16string_view view() const {
    return {units.data(), static_cast<std::size_t>(length) / sizeof(char16_t)};
  }
};

CivilTime civil(const SQL_TIMESTAMP_STRUCT& date) {
  return {date.year, date.month, date.day, date.hour, date.minute, date.second};
}

}  // namespace

// As an application of the driver reads rows: each column is bound once, in the type that the map
// gets.
struct ServerPeer::Parts {
  SQLHENV environment = nullptr;
  SQLHDBC connection = nullptr;
  SQLHSTMT statement = nullptr;
  Text code, name, note;
  SQLBIGINT count = 0;
  double price = 0, share = 0;
  SQL_TIMESTAMP_STRUCT from{}, until{};
  SQLLEN length = 0;
  ServerRow row;

  void bind(SQLUSMALLINT column, Text& text) {
    SQLBindCol(statement, column, SQL_C_WCHAR, text.units.data(), sizeof text.units, &text.length);
  }
  template <class Value>
  void bind(SQLUSMALLINT column, SQLSMALLINT type, Value& value) {
    SQLBindCol(statement, column, type, &value, sizeof value, &length);
  }
};

ServerPeer::ServerPeer(const std::string& connection) : parts_(std::make_unique<Parts>()) {
  Parts& my = *parts_;
  SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &my.environment);
  SQLSetEnvAttr(my.environment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3),
                0);
  SQLAllocHandle(SQL_HANDLE_DBC, my.environment, &my.connection);
  std::u16string text = toUtf16(connection + ";UseServerSidePrepare=1;Protocol=7.4-2");
  check(SQLDriverConnectW(my.connection, nullptr, reinterpret_cast<SQLWCHAR*>(text.data()), SQL_NTS,
                          nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT),
        "the peer does not connect");
  SQLAllocHandle(SQL_HANDLE_STMT, my.connection, &my.statement);
  std::u16string sql =
      u"SELECT code, name, u_count, u_price, u_share, u_from, u_until, u_note FROM \"@few\" "
      u"WHERE code = ?";
  check(SQLPrepareW(my.statement, reinterpret_cast<SQLWCHAR*>(sql.data()), SQL_NTS),
        "the peer does not prepare");
  my.bind(1, my.code);
  my.bind(2, my.name);
  my.bind(3, SQL_C_SBIGINT, my.count);
  my.bind(4, SQL_C_DOUBLE, my.price);
  my.bind(5, SQL_C_DOUBLE, my.share);
  my.bind(6, SQL_C_TYPE_TIMESTAMP, my.from);
  my.bind(7, SQL_C_TYPE_TIMESTAMP, my.until);
  my.bind(8, my.note);
}

ServerPeer::~ServerPeer() {
  SQLFreeHandle(SQL_HANDLE_STMT, parts_->statement);
  SQLDisconnect(parts_->connection);
  SQLFreeHandle(SQL_HANDLE_DBC, parts_->connection);
  SQLFreeHandle(SQL_HANDLE_ENV, parts_->environment);
}

const ServerRow& ServerPeer::read(std::u16string code) {
  Parts& my = *parts_;
  SQLLEN length = static_cast<SQLLEN>(code.size() * sizeof(char16_t));
  SQLBindParameter(my.statement, 1, SQL_PARAM_INPUT, SQL_C_WCHAR, SQL_WVARCHAR, code.size(), 0,
                   code.data(), length, &length);
  check(SQLExecute(my.statement), "the peer's statement fails");
  check(SQLFetch(my.statement), "the peer finds no row");
  my.row = {my.code.view(),  my.name.view(), static_cast<long>(my.count),
            my.price,        my.share,       civil(my.from),
            civil(my.until), my.note.view()};
  SQLFreeStmt(my.statement, SQL_CLOSE);
  return my.row;
}

}  // namespace qx::bench
