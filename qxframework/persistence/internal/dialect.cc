#include "qxframework/persistence/internal/dialect.h"

#include "qxframework/automation/format.h"
#include "qxframework/foundation/date_time.h"
#include "qxframework/persistence/internal/sql_text.h"

namespace qx {

void writeField(const Persistence::CQXPersistentBase& sql, CComBSTR& target,
                std::u16string_view correlation, std::u16string_view field) {
  if (!correlation.empty()) {
    target += correlation;
    target += u".";
  }
  target += sql.GetSQLColumnName(CComBSTR(field)).View();
  if (correlation.empty()) return;
  target += u" AS";
  target += sql.GetSQLAlias(joined({correlation, u".", field})).View();
}

std::u16string topRows(std::int32_t maximum) {
  return maximum == -1 ? u"" : format(u"TOP %d ", maximum);
}

CComBSTR CommonDialect::alias(std::u16string_view name) { return joined({u"'", name, u"'"}); }

CComBSTR CommonDialect::dateString(const CQXDateTime& date) { return date.GetDateAsBSTR(); }

}  // namespace qx
