#pragma once

// The state of a thread at a fault, and the handles by which a walk names threads and processes.
//
// A handle is a plain value that needs no closing. It stays valid after its thread or process has
// ended; operations on it then fail.

#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"

#include <sys/types.h>
#include <ucontext.h>

#include <cstdint>

/// Names a thread or a process. Null names none.
using HANDLE = void*;

/// The registers of a thread at one moment.
struct CONTEXT {
  /// The kinds of registers that are filled in.
  DWORD ContextFlags;
  mcontext_t Machine;
};

/// All kinds of registers: control, integer and floating point.
inline constexpr DWORD CONTEXT_FULL = 0x10000B;

/// The kind and the place of a fault.
struct EXCEPTION_RECORD {
  /// The number of the signal.
  DWORD ExceptionCode;
  /// The address that the fault is about, as the signal reports it.
  void* ExceptionAddress;
};

/// All that a filter gets to know of a fault.
struct EXCEPTION_POINTERS {
  EXCEPTION_RECORD* ExceptionRecord;
  CONTEXT* ContextRecord;
};

/// Return the handles that always mean the calling process and the calling thread.
QX_API HANDLE GetCurrentProcess();
QX_API HANDLE GetCurrentThread();

/// Returns the calling thread's last error, 0 at its start. An operation that sets it says so.
QX_API DWORD GetLastError();
QX_API void SetLastError(DWORD error);

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
inline constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_INVALID_ADDRESS = 487;
inline constexpr DWORD ERROR_STACK_OVERFLOW = 1001;
inline constexpr DWORD ERROR_DLL_INIT_FAILED = 1114;

namespace qx {

/// Returns the handle of a thread of this process by the id that gettid() returns in it.
QX_API HANDLE threadHandle(pid_t thread);
/// Returns the handle of any process that this user may read.
QX_API HANDLE processHandle(pid_t process);

/// Returns the registers that a signal handler got, or that getcontext() has stored.
inline CONTEXT contextOf(const ucontext_t& registers) {
  return {CONTEXT_FULL, registers.uc_mcontext};
}

}  // namespace qx
