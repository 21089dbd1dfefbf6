#pragma once

// A company database behind ODBC. PostgreSQL is recognised by what its driver calls it; statements
// of add-ons for it go through the front end. Any other source gets them as they stand.

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/environment.h"

#include <memory>
#include <string_view>

namespace qx::desk {

/// Raises DatabaseError.
std::unique_ptr<Database> openOdbcDatabase(std::string_view connection,
                                           const CompanyEnvironment& environment);

}  // namespace qx::desk
