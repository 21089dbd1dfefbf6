#pragma once

// The embedded engine: one SQLite file that several processes share by write-ahead logging.

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/environment.h"

#include <memory>
#include <string>

namespace qx::desk {

/// Opens the file, or makes an empty one if the folder exists. A file that cannot be written is
/// opened for reading. Throws CompanyError with kOpenFailed and the reason.
std::unique_ptr<Database> openSqliteDatabase(const std::string& path,
                                             const CompanyEnvironment& environment);

}  // namespace qx::desk
