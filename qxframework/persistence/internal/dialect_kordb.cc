#include "qxframework/persistence/internal/dialect_kordb.h"

#include "qxframework/foundation/date_time.h"
#include "qxframework/persistence/internal/sql_text.h"

namespace qx {
namespace {

CComBSTR inDoubleQuotes(std::u16string_view name) { return joined({u"\"", name, u"\""}); }

}  // namespace

CComBSTR KordbDialect::tableName(std::u16string_view name) { return inDoubleQuotes(name); }

CComBSTR KordbDialect::columnName(const CComBSTR& name) { return inDoubleQuotes(name.View()); }

CComBSTR KordbDialect::alias(std::u16string_view name) { return inDoubleQuotes(name); }

CComBSTR KordbDialect::dateText(const CQXDateTime& date) {
  return date.GetDateASBSTR_ISO_WithTime();
}

CComBSTR KordbDialect::dateLiteral(const Persistence::CQXPersistentBase&, CComBSTR text) {
  if (text.View().starts_with(u'\'')) return text;
  return joined({u"'", text.View(), u"'"});
}

void KordbDialect::writeTitle(CComBSTR& target, std::u16string_view title) {
  target += u" AS ";
  target += alias(title).View();
  target += u" ";
}

}  // namespace qx
