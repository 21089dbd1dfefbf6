#pragma once

// What the SQL of one database engine has of its own. Each engine has a struct of its own in
// dialect_<engine>.h, which derives from CommonDialect, hides what its engine wants otherwise and
// adds what every engine has to say: kName, tableName, dateText, dateLiteral and writeTitle. The
// classes for one row and for many are made from it in dialect_classes.h, and the engine's number
// gets its case in withDialect there. Nothing else of this layer knows the engines.

#include "qxframework/automation/bstr.h"
#include "qxframework/persistence/internal/persistent_base.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace qx {

/// "T0.Code AS'T0.Code'", by the object's forms of a column's name and of an alias.
void writeField(const Persistence::CQXPersistentBase& sql, CComBSTR& target,
                std::u16string_view correlation, std::u16string_view field);

/// "TOP 5 ", or nothing when there is no limit.
std::u16string topRows(std::int32_t maximum);

/// What most engines have in common. A `maximum` of -1 is no limit.
struct CommonDialect {
  static constexpr FieldWriter kWriteField = &writeField;
  /// Whether the rows are limited by the connection and not by the statement.
  static constexpr bool kLimitsConnection = false;

  static CComBSTR columnName(CComBSTR name) { return name; }
  static CComBSTR alias(std::u16string_view name);
  /// A date in a condition that was made from a row.
  static CComBSTR dateString(const CQXDateTime& date);
  /// What stands in front of the field list, and behind everything.
  static std::u16string limitInFront(std::int32_t) { return {}; }
  static std::u16string limitBehind(std::int32_t, bool) { return {}; }
};

}  // namespace qx
