#pragma once

#include <functional>

namespace qx::desk {

/// The work of a subcommand after the command line is read. Its result is the exit code. A failure
/// is an exception, whose text is printed.
using Task = std::function<int()>;

}  // namespace qx::desk
