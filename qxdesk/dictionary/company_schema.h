#pragma once

// Makes a company out of an empty database, once, also when several processes open it at the same
// time.

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/environment.h"
#include "qxdesk/session/login_context.h"

namespace qx::desk {

/// The version of the system tables; kept in the file.
inline constexpr long kSchemaVersion = 1;

/// Makes the company's tables when the database has none. Raises CompanyError with kOpenFailed for
/// a database of something else or of a newer version, and DatabaseError.
void ensureCompany(Database& database, const LoginTarget& target,
                   const CompanyEnvironment& environment);

}  // namespace qx::desk
