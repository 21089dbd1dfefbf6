#pragma once

// Writes the call stack of a thread: of this one, of another one, or of the place of a fault.
//
// An add-on puts ExpFilter() into its own handler of faults, or installs the guard of
// fault_guard.h, which does so for the whole process. A class derived from StackWalker can take the
// entries of a stack apart or send the lines elsewhere.
//
// The symbols come from libdw of elfutils, which is loaded at run time. Without it a walk writes
// one line and fails.

#include "qxframework/automation/export.h"
#include "qxframework/diagnostics/exception_context.h"

#include <cstddef>
#include <cstdint>

namespace qx::diagnostics {
class StackWalkerHelper;
}

/// Reads memory of the walked process for a walk. Stores the number of bytes that it has read and
/// returns true if these are all.
using ReadMemoryCallback = bool (*)(HANDLE process, std::uint64_t address, void* buffer, DWORD size,
                                    DWORD* count, void* userData);

/// Walks stacks of one process and writes what it finds as lines. A walk never throws. Walks of
/// several threads take turns.
class QX_API StackWalker {
 public:
  /// What to find. Only RetrieveFileVersion and SymBuildPath have an effect.
  enum StackWalkOptions : int {
    RetrieveSymbol = 1,
    RetrieveLine = 2,
    RetrieveModuleInfo = 4,
    RetrieveFileVersion = 8,
    SymBuildPath = 16,
    SymUseSymSrv = 32,
    OptionsAll = 63,
  };

  /// Symbols are of `process`. A `symPath`, which is copied, also sets SymBuildPath.
  StackWalker(int options = OptionsAll, const char* symPath = nullptr, unsigned long processId = 0,
              HANDLE process = GetCurrentProcess());
  virtual ~StackWalker();
  StackWalker(const StackWalker&) = delete;
  StackWalker& operator=(const StackWalker&) = delete;

  /// Loads the debug-help library and lists the modules of the process, once. Returns false if that
  /// fails; the last error then says why: 1114 if there is no usable library, 8 if memory is out.
  bool LoadModules();

  /// Writes the stack of `thread` from `context` on, or, without one, of the thread as it is.
  /// Another thread is stopped for the walk. Memory is read through `readMemory`, if given. Returns
  /// false if there is no usable library (last error 1114) or the thread cannot be stopped.
  bool ShowCallstack(HANDLE thread = GetCurrentThread(), const CONTEXT* context = nullptr,
                     ReadMemoryCallback readMemory = nullptr, void* userData = nullptr);

 protected:
  static constexpr int STACKWALK_MAX_NAMELEN = 1024;

  enum CallstackEntryType : int { firstEntry = 0, nextEntry = 1, lastEntry = 2 };

  /// One function on the stack. A text that is not known is empty; a longer one is cut.
  struct CallstackEntry {
    std::uint64_t offset;  ///< the address at which it stands or continues; 0: no valid entry
    char name[STACKWALK_MAX_NAMELEN];
    char undName[STACKWALK_MAX_NAMELEN];
    char undFullName[STACKWALK_MAX_NAMELEN];
    std::uint64_t offsetFromSymbol;  ///< in bytes
    DWORD offsetFromLine;            ///< in bytes
    DWORD lineNumber;
    char lineFileName[STACKWALK_MAX_NAMELEN];
    DWORD symType;
    const char* symTypeString;
    char moduleName[STACKWALK_MAX_NAMELEN];
    std::uint64_t baseOfImage;
    char loadedImageName[STACKWALK_MAX_NAMELEN];
  };

  /// Called once the library is ready.
  virtual void OnSymInit(const char* searchPath, DWORD symOptions, const char* userName);
  /// Called for each module. `fileVersion` has four numbers of 16 bits, or is 0 without a version;
  /// `result` is 0 or the error of the module.
  virtual void OnLoadModule(const char* image, const char* module, std::uint64_t base, DWORD size,
                            DWORD result, const char* symType, const char* pdbName,
                            std::uint64_t fileVersion);
  /// Called for each function, the innermost one first, and at last once more with lastEntry.
  virtual void OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry);
  /// Called for each step that fails.
  virtual void OnDbgHelpErr(const char* function, DWORD error, std::uint64_t address);
  /// Called with each line of the others. Writes it to the developer trace.
  virtual void OnOutput(const char* text);

 private:
  friend class qx::diagnostics::StackWalkerHelper;

  void BuildSearchPath(char* path, std::size_t size) const;
  void FillEntry(CallstackEntry& entry, std::uint64_t address);
  void WalkFrames(const CONTEXT& context);

  qx::diagnostics::StackWalkerHelper* m_sw;
  HANDLE m_hProcess;
  DWORD m_dwProcessId;
  bool m_modulesLoaded;
  char* m_szSymPath;
  int m_options;
};

/// Writes the lines to the standard output as well.
class QX_API MyStackWalker : public StackWalker {
 public:
  using StackWalker::StackWalker;
  ~MyStackWalker() override;

 protected:
  void OnOutput(const char* text) override;
};

/// Writes the call stack of a fault to the standard output and the developer trace. Returns 1,
/// which means that the handler of the fault is to run; `code` has no effect.
QX_API long ExpFilter(EXCEPTION_POINTERS* pointers, unsigned long code);
