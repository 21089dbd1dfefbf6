#include "qxframework/host/dialect_names.h"
#include "qxframework/sql/dialects.h"
#include "qxframework/sql/sql_text.h"

#include <algorithm>
#include <string>

namespace qx {
namespace {

constexpr std::u16string_view kFunction = u"TIMESTAMP_ISO";

// Returns 2024-01-31 for 20240131. A shorter text gets its dashes at its end.
CComBSTR withDashes(std::u16string_view text) {
  std::u16string dashed(text);
  // The later position first: an insertion at 4 would shift position 6.
  for (const std::size_t position : {std::size_t{6}, std::size_t{4}})
    dashed.insert(std::min(position, dashed.size()), u"-");
  return CComBSTR(dashed);
}

// The dashes come before the look at the function's name. A literal without any dash is therefore
// split by dashes and enclosed once more.
CComBSTR timestampLiteral(CComBSTR text, bool national) {
  if (text.View().find(u'-') == std::u16string_view::npos) text = withDashes(text.View());
  if (text.Length() > kFunction.size() && text.View().starts_with(kFunction)) return text;
  return joined({kFunction, u"(", sqlLiteral(text.View(), national).View(), u")"});
}

}  // namespace

// Names are bare, also those of user tables. An alias with a correlation name has double quotes and
// a blank at its end, although other aliases have single quotes.
constinit const Dialect kDb2Dialect{
    .serverType = kDb2,
    .name = dialectName(kDb2),
    .classSuffix = u"DB2",
    .quoting = Quoting::bareNames,
    .fieldAlias = {u" AS \"", u"\" "},
    .title = {u" AS \"", u"\" "},
    .dateText = &CQXDateTime::GetDateAsBSTR_ISO8601,
    .dateLiteral = timestampLiteral,
    // The statement's format has a blank before its last part, and that part begins with another
    // one; without a limit it is a blank alone.
    .rowLimit = {.atEnd = u"  FETCH FIRST %d ROWS ONLY", .endIfUnlimited = u"  "},
    .nationalRows = false,
    .shortTableNames = true,
};

}  // namespace qx
