#pragma once

// Shared by the tests of the engines and of everything above them: a world that stands still, and a
// database that fails on demand.

#include "qxdesk/engines/database.h"
#include "qxdesk/engines/environment.h"

#include <memory>
#include <string>
#include <vector>

namespace qx::desk {

/// A clock that only waiting moves, waiting that takes no time, random bytes that count up.
CompanyEnvironment testEnvironment();

/// Counts the statements that are prepared and refuses one of them, and those with certain words.
struct FaultPlan {
  int prepared = 0;
  int refuse = 0;  // number of the statement from 1; 0 refuses none
  Fault fault = Fault::InputOutput;
  std::vector<std::string> refusedWords = {};
  bool noMemory = false;         // the refusal is the failure of an allocation, and not `fault`
  bool keepsStatements = false;  // with it, the statements of add-ons are kept
};

/// Returns a database that passes everything on to `real`, except for the statements that `plan`
/// refuses. The plan must outlive it.
std::unique_ptr<Database> failing(std::unique_ptr<Database> real, FaultPlan* plan);

}  // namespace qx::desk
