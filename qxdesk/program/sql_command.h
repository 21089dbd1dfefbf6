#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace qx::desk {

/// What a subcommand does once the command line is read: its result is the exit code. A failure is
/// an exception whose text is told.
using Task = std::function<int()>;

/// `qxdesk sql`: prints the statements of a description in the dialects. It needs no connection.
void addSqlCommand(CLI::App& program, Task& task);

}  // namespace qx::desk
