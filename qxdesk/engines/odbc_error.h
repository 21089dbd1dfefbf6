#pragma once

// The meaning of an SQLSTATE, and the engine's own message without what drivers add to it.

#include "qxdesk/engines/database.h"

#include <string>
#include <string_view>

namespace qx::desk {

/// Begins the value that fails in the check of a statement for unchanged tables.
constexpr std::string_view kTablesChangedWords = "the tables have changed: ";

struct OdbcDiagnosis {
  std::string state = "HY000";
  std::string message;
};

/// Reads the first diagnostic record of a handle; `wide` is false for a driver that takes UTF-8.
OdbcDiagnosis diagnose(short kind, void* handle, bool wide);

/// Returns the fault of an SQLSTATE; Fault::Statement for a state that says nothing of use.
Fault faultOfState(std::string_view state);
/// Returns why a statement or the end of a transaction failed. The message decides if the state
/// says nothing.
Fault faultOfStatement(const OdbcDiagnosis& diagnosis);
/// Returns why a connection could not be made. The message decides first, since drivers give one
/// state for most of these failures.
Fault faultOfConnect(const OdbcDiagnosis& diagnosis);

/// Returns the message on one line, without the leading "[driver]" and "ERROR: " and without the
/// driver's own sentence at the end.
std::string engineWords(std::string message);

}  // namespace qx::desk
