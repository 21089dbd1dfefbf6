#pragma once

#include "qxframework/persistence/internal/dialect.h"

namespace qx {

/// All names stand in double quotes.
struct KordbDialect : CommonDialect {
  static constexpr const OLECHAR* kName = u"KORDB";

  static CComBSTR tableName(std::u16string_view name);
  static CComBSTR columnName(const CComBSTR& name);
  static CComBSTR alias(std::u16string_view name);
  static CComBSTR dateString(const CQXDateTime& date) { return dateText(date); }
  static CComBSTR dateText(const CQXDateTime& date);
  /// A text that begins with a quote is a literal already.
  static CComBSTR dateLiteral(const Persistence::CQXPersistentBase& sql, CComBSTR text);
  static void writeTitle(CComBSTR& target, std::u16string_view title);
  static std::u16string limitInFront(std::int32_t maximum) { return topRows(maximum); }
};

}  // namespace qx
