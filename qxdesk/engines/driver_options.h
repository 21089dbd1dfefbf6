#pragma once

// The options by which users can make the PostgreSQL driver change values, types or the meaning of
// transactions. One list holds those that must be as the company needs them, and what becomes of a
// connection string that says otherwise.

#include <string>
#include <string_view>

namespace qx::desk {

/// What must stand behind a connection string so that the driver is set as it must be; empty when
/// it is. `completed` is the driver's account of its options; one that it does not tell is set,
/// too.
std::string correctedOptions(std::string_view completed);

/// Whether the user asks for a connection that only reads. The driver would then refuse the
/// settings of a session as well, so that this is corrected and asked of the server instead.
bool asksForReadOnly(std::string_view completed);

}  // namespace qx::desk
