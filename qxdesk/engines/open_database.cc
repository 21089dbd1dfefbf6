#include "qxdesk/engines/open_database.h"

#include "qxdesk/engines/odbc_database.h"
#include "qxdesk/engines/sqlite_database.h"
#include "qxdesk/session/database_name.h"

namespace qx::desk {

std::unique_ptr<Database> openDatabase(const std::string& database,
                                       const CompanyEnvironment& environment) {
  const std::optional<std::string_view> connection = odbcConnection(database);
  if (!connection) return openSqliteDatabase(database, environment);
  if (const std::string problem = lengthProblem(*connection); !problem.empty()) {
    throw DatabaseError(Fault::Statement, problem);
  }
  return openOdbcDatabase(*connection, environment);
}

}  // namespace qx::desk
