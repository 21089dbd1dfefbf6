#pragma once

// What the five characters of an SQLSTATE mean, and the engine's words without the additions of
// drivers.

#include "qxdesk/engines/database.h"

#include <string>
#include <string_view>

namespace qx::desk {

struct OdbcDiagnosis {
  std::string state = "HY000";
  std::string message;
};

/// The first record of a handle, of a driver with wide texts or with UTF-8.
OdbcDiagnosis diagnose(short kind, void* handle, bool wide);

/// Fault::Statement for a state that says nothing of use.
Fault faultOfState(std::string_view state);
/// Why a statement or the end of a transaction failed; by the words where the state says nothing.
Fault faultOfStatement(const OdbcDiagnosis& diagnosis);
/// Why a connection did not come about; tells from the message what the state leaves open.
Fault faultOfConnect(const OdbcDiagnosis& diagnosis);

/// Without "[driver]" in front, "ERROR: " and what the driver adds behind; one line.
std::string engineWords(std::string message);

}  // namespace qx::desk
