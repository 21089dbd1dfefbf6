#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace qx::desk {

/// The work of a subcommand after the command line is read. Its result is the exit code. A failure
/// is an exception, whose text is printed.
using Task = std::function<int()>;

/// Adds `qxdesk sql`, which prints the statements of a description in the dialects. It needs no
/// connection.
void addSqlCommand(CLI::App& program, Task& task);

}  // namespace qx::desk
