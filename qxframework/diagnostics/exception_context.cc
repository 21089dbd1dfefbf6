#include "qxframework/diagnostics/exception_context.h"

#include "qxframework/diagnostics/internal/process_memory.h"

namespace {

constinit thread_local DWORD g_lastError = ERROR_SUCCESS;

}  // namespace

// Ids are positive, so these two cannot be the handle of another thread or process.
HANDLE GetCurrentProcess() { return reinterpret_cast<HANDLE>(std::intptr_t{-1}); }
HANDLE GetCurrentThread() { return reinterpret_cast<HANDLE>(std::intptr_t{-2}); }

DWORD GetLastError() { return g_lastError; }
void SetLastError(DWORD error) { g_lastError = error; }

namespace qx {

HANDLE threadHandle(pid_t thread) { return reinterpret_cast<HANDLE>(std::intptr_t{thread}); }
HANDLE processHandle(pid_t process) { return reinterpret_cast<HANDLE>(std::intptr_t{process}); }

}  // namespace qx
