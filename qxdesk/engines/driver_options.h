#pragma once

// The options by which users can make the PostgreSQL driver change values, types or the meaning of
// transactions. One list holds the options that the company relies on; a connection string that
// sets them otherwise is corrected.

#include <string>
#include <string_view>

namespace qx::desk {

/// Returns what must be appended to a connection string so that the driver is set as the company
/// needs it; empty if it already is. `completed` is the driver's own list of its options; an option
/// that the list lacks is set as well.
std::string correctedOptions(std::string_view completed);

/// True if the user asks for a connection that only reads. The driver would then refuse the
/// settings of a session as well, so the option is corrected and the server is asked for it
/// instead.
bool asksForReadOnly(std::string_view completed);

}  // namespace qx::desk
