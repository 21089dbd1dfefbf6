#pragma once

#include "qxframework/persistence/internal/dialect_mssql.h"

namespace qx {

/// The names and dates of MSSQL, but rows are limited by "SET ROWCOUNT".
struct SybaseDialect : MssqlDialect {
  static constexpr const OLECHAR* kName = u"Sybase";
  static constexpr bool kLimitsConnection = true;

  static std::u16string limitInFront(std::int32_t) { return {}; }
  static std::u16string limitBehind(std::int32_t maximum, bool sorted);
};

}  // namespace qx
