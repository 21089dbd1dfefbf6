#include "qxdesk/sql/sql_error.h"

namespace qx::sql {

SqlError::SqlError(const std::string& message, Position at)
    : std::runtime_error(message + " (line " + std::to_string(at.line) + ", column " +
                         std::to_string(at.column) + ")"),
      line(at.line),
      column(at.column) {}

}  // namespace qx::sql
