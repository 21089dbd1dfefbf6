#include "qxframework/host/dialect_names.h"
#include "qxframework/sql/convert_literal.h"
#include "qxframework/sql/dialects.h"

namespace qx {

// Names and dates are those of MSSQL. The server has no clause that limits a SELECT.
constinit const Dialect kSybaseDialect{
    .serverType = kSybase,
    .name = dialectName(kSybase),
    .classSuffix = u"Sybase",
    .quoting = Quoting::brackets,
    .userTable = {u"[", u"]"},
    .dateLiteral = convertLiteral,
    .rowLimit = {.statementBefore = u"SET ROWCOUNT %d ",
                 .statementAfter = u"SET ROWCOUNT 0",
                 .endIfUnsorted = u" "},
    .nationalRows = false,
};

}  // namespace qx
