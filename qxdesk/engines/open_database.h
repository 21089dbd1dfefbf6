#pragma once

// Opens a company database on the engine that its name selects.

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/environment.h"

#include <memory>
#include <string>

namespace qx::desk {

/// Opens a file or an ODBC source, named as in qxdesk/session/database_name.h. Throws CompanyError
/// with kOpenFailed, and DatabaseError.
std::unique_ptr<Database> openDatabase(const std::string& database,
                                       const CompanyEnvironment& environment);

}  // namespace qx::desk
