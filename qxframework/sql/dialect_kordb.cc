#include "qxframework/host/dialect_names.h"
#include "qxframework/sql/dialects.h"
#include "qxframework/sql/sql_text.h"

namespace qx {
namespace {

constexpr Enclosure kDoubleQuotes = {u"\"", u"\""};

// A text that begins with a quote is a literal already. Quotes within the text are not doubled, and
// the literal has no prefix.
CComBSTR quotedDate(CComBSTR text, bool) {
  if (text.View().starts_with(u'\'')) return text;
  return enclosed(text.View(), {u"'", u"'"});
}

}  // namespace

constinit const Dialect kKordbDialect{
    .serverType = kKordb,
    .name = dialectName(kKordb),
    .classSuffix = u"KORDB",
    .quoting = Quoting::doubleQuotes,
    .userTable = kDoubleQuotes,
    .hostTable = kDoubleQuotes,
    .column = kDoubleQuotes,
    .alias = kDoubleQuotes,
    .fieldAlias = {u" AS\"", u"\""},
    .title = {u" AS \"", u"\" "},
    .dateText = &CQXDateTime::GetDateASBSTR_ISO_WithTime,
    .rowDateText = &CQXDateTime::GetDateASBSTR_ISO_WithTime,
    .dateLiteral = quotedDate,
    .rowLimit = {.beforeFields = u"TOP %d "},
};

}  // namespace qx
