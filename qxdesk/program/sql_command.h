#pragma once

#include "qxdesk/program/task.h"

namespace CLI {
class App;
}

namespace qx::desk {

/// Adds `qxdesk sql`, which prints the statements of a description in the dialects. It needs no
/// connection.
void addSqlCommand(CLI::App& program, Task& task);

}  // namespace qx::desk
