#pragma once

#include "qxdesk/program/task.h"

namespace CLI {
class App;
}

namespace qx::desk {

/// Adds `qxdesk form`, which checks and draws a form document. It needs no connection.
void addFormCommand(CLI::App& program, Task& task);

}  // namespace qx::desk
