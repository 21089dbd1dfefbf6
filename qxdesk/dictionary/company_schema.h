#pragma once

// Makes a company in an empty database, once, even if several processes open it at the same time.

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/environment.h"
#include "qxdesk/session/login_context.h"

namespace qx::desk {

/// The version of the system tables; stored in the database.
inline constexpr long kSchemaVersion = 1;

/// Makes the company's tables if the database has none, then shares the database, see
/// Database::share(). Throws CompanyError with kOpenFailed for a database of another program or of
/// a newer version, which it leaves as it is, and DatabaseError.
void ensureCompany(Database& database, const LoginTarget& target,
                   const CompanyEnvironment& environment);

}  // namespace qx::desk
