#include "qxframework/persistence/internal/dialect_mssql.h"

#include "qxframework/persistence/internal/sql_text.h"

namespace qx {
namespace {

constexpr std::u16string_view kLiteral = u"CONVERT";

}  // namespace

CComBSTR MssqlDialect::tableName(std::u16string_view name) {
  return name.starts_with(u'@') ? joined({u"[", name, u"]"}) : CComBSTR(name);
}

CComBSTR MssqlDialect::dateLiteral(const Persistence::CQXPersistentBase& sql, CComBSTR text) {
  if (text.Length() > kLiteral.size() && text.View().starts_with(kLiteral)) return text;
  return joined({kLiteral, u"(datetime,", sql.GetSQLString(std::move(text)).View(), u",112)"});
}

void MssqlDialect::writeTitle(CComBSTR& target, std::u16string_view title) {
  target += u" AS '";
  target += title;
  target += u"' ";
}

}  // namespace qx
