#pragma once

// The guard against faults: when an add-on crashes, it writes the call stack before the process
// dies.
//
// The dying process does next to nothing itself, because its heap, its locks and its stack may be
// broken. The handler stores the registers, starts the program qxdump and waits. That program reads
// the memory of the dying process, writes the stack through ExpFilter() to the same standard
// output, and notes the fault in the log, which also brings the last records of the trace into the
// file. If the program is not installed, a copy of the process (a fork) writes the stack instead,
// which works as long as the heap does. After the dump, or after five seconds, or at a second fault
// meanwhile, the process dies by the signal of the first fault, and the kernel writes its core dump
// as ever.

#include "qxframework/automation/export.h"

namespace qx {

/// Guards this process: handles the signals SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGSYS and
/// SIGTRAP, and std::terminate, whose previous handler is called after the dump. Handlers that
/// these signals had before are replaced and not called. Also calls guardThisThread(). Call it at
/// the start of main(); further calls have no effect. The dump has the environment of this moment.
/// Returns false if the system refuses a handler or the memory for it.
QX_API bool installFaultGuard();

/// Gives the calling thread a stack of its own for the handler until the thread ends, so that an
/// overflow of the thread's stack leaves a dump, too. Every other fault does so in any thread. Call
/// it at the start of a thread's function. Returns false if there is no memory for it.
QX_API bool guardThisThread();

}  // namespace qx
