#pragma once

// A company database that ODBC reaches. PostgreSQL is recognised by the name that its driver
// reports; statements of add-ons for it are translated. Any other source gets them unchanged.

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/environment.h"

#include <memory>
#include <string_view>

namespace qx::desk {

/// Connects with an ODBC connection string. Throws DatabaseError.
std::unique_ptr<Database> openOdbcDatabase(std::string_view connection,
                                           const CompanyEnvironment& environment);

}  // namespace qx::desk
