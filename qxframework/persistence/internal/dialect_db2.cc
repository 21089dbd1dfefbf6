#include "qxframework/persistence/internal/dialect_db2.h"

#include "qxframework/automation/format.h"
#include "qxframework/foundation/date_time.h"
#include "qxframework/persistence/internal/sql_text.h"

#include <algorithm>

namespace qx {
namespace {

constexpr std::u16string_view kLiteral = u"TIMESTAMP_ISO";

// 2024-01-31 out of 20240131. A shorter text gets its dashes where it ends.
CComBSTR withDashes(std::u16string_view text) {
  std::u16string dashed(text);
  for (const std::size_t position : {std::size_t{6}, std::size_t{4}})
    dashed.insert(std::min(position, dashed.size()), u"-");
  return CComBSTR(dashed);
}

}  // namespace

void Db2Dialect::writeField(const Persistence::CQXPersistentBase&, CComBSTR& target,
                            std::u16string_view correlation, std::u16string_view field) {
  if (correlation.empty()) {
    target += field;
    return;
  }
  for (const std::u16string_view piece :
       {correlation, std::u16string_view(u"."), field, std::u16string_view(u" AS \""), correlation,
        std::u16string_view(u"."), field, std::u16string_view(u"\" ")})
    target += piece;
}

CComBSTR Db2Dialect::dateText(const CQXDateTime& date) { return date.GetDateAsBSTR_ISO8601(); }

CComBSTR Db2Dialect::dateLiteral(const Persistence::CQXPersistentBase& sql, CComBSTR text) {
  if (text.View().find(u'-') == std::u16string_view::npos) text = withDashes(text.View());
  if (text.Length() > kLiteral.size() && text.View().starts_with(kLiteral)) return text;
  return joined({kLiteral, u"(", sql.GetSQLString(std::move(text)).View(), u")"});
}

void Db2Dialect::writeTitle(CComBSTR& target, std::u16string_view title) {
  target += u" AS \"";
  target += title;
  target += u"\" ";
}

// The statement has a blank in front of its limit. The limit begins with one of its own, and no
// limit is a blank, too.
std::u16string Db2Dialect::limitBehind(std::int32_t maximum, bool) {
  return maximum == -1 ? u"  " : format(u"  FETCH FIRST %d ROWS ONLY", maximum);
}

}  // namespace qx
