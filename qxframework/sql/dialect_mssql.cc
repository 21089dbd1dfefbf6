#include "qxframework/host/dialect_names.h"
#include "qxframework/sql/convert_literal.h"
#include "qxframework/sql/dialects.h"

namespace qx {

constinit const Dialect kMssqlDialect{
    .serverType = kMssql,
    .name = dialectName(kMssql),
    .classSuffix = u"MSSQL",
    .quoting = Quoting::brackets,
    .userTable = {u"[", u"]"},
    .dateLiteral = convertLiteral,
    .rowLimit = {.beforeFields = u"TOP %d "},
};

}  // namespace qx
