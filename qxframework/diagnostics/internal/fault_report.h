#pragma once

// What a dying process hands to the program that writes its dump.

#include "qxframework/diagnostics/exception_context.h"
#include "qxframework/logging/module_name.h"

#include <sys/types.h>

#include <cstdint>
#include <type_traits>

namespace qx::diagnostics {

/// The descriptor from which the program reads the report.
inline constexpr int kReportFd = 3;
/// The exit code by which the program says that it cannot write the dump. After any but 0 a copy of
/// the dying process writes it.
inline constexpr int kDumpFailed = 3;

struct FaultReport {
  std::uint32_t size;  ///< of this struct, so that a program of another version refuses it
  std::uint64_t self;  ///< the address of this report in the dying process
  pid_t process;
  int signal;
  std::uint64_t address;  ///< what the fault is about, as the signal reports it
  CONTEXT context;
  char16_t module[kMaxKeptModuleName + 1];  ///< the kept module name of the log, terminated
};
static_assert(std::is_trivially_copyable_v<FaultReport>);

/// Writes a record of level 1 into the log. Such a record is written at once, and with it the
/// records of the trace before it that still wait in the memory of the log. Does nothing without a
/// logging component.
void noteInLog(const FaultReport& report);
/// Writes the stack of the report through ExpFilter().
void writeDump(const FaultReport& report);

}  // namespace qx::diagnostics
