#pragma once

#include "qxframework/persistence/internal/dialect.h"

namespace qx {

struct MssqlDialect : CommonDialect {
  static constexpr const OLECHAR* kName = u"MSSQL";

  /// A user table, which begins with "@", stands in square brackets.
  static CComBSTR tableName(std::u16string_view name);
  static CComBSTR dateText(const CQXDateTime& date) { return dateString(date); }
  /// A text that begins like a literal is one already.
  static CComBSTR dateLiteral(const Persistence::CQXPersistentBase& sql, CComBSTR text);
  static void writeTitle(CComBSTR& target, std::u16string_view title);
  static std::u16string limitInFront(std::int32_t maximum) { return topRows(maximum); }
};

}  // namespace qx
