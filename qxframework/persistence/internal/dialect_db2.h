#pragma once

#include "qxframework/persistence/internal/dialect.h"

namespace qx {

struct Db2Dialect : CommonDialect {
  static constexpr const OLECHAR* kName = u"DB2";
  /// `T0.Code AS "T0.Code" `, whatever the form of a column's name.
  static void writeField(const Persistence::CQXPersistentBase& sql, CComBSTR& target,
                         std::u16string_view correlation, std::u16string_view field);
  static constexpr FieldWriter kWriteField = &writeField;

  static CComBSTR tableName(std::u16string_view name) { return CComBSTR(name); }
  static CComBSTR dateText(const CQXDateTime& date);
  /// A text without a dash gets its dashes first; one that then begins like a literal is one
  /// already. So a literal that has no dash anywhere is taken apart and wrapped again.
  static CComBSTR dateLiteral(const Persistence::CQXPersistentBase& sql, CComBSTR text);
  static void writeTitle(CComBSTR& target, std::u16string_view title);
  static std::u16string limitBehind(std::int32_t maximum, bool sorted);
};

}  // namespace qx
