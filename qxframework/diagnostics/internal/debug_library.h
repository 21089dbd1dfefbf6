#pragma once

// The debug-help library: libdw of elfutils, which reads the symbols and lines of ELF files and
// unwinds stacks. It is loaded by name when a walk needs it, so that an add-on also runs without.

#include <elfutils/libdw.h>
#include <elfutils/libdwfl.h>

#include <string>

namespace qx::diagnostics {

/// The functions of libdw that this folder calls, null where the library lacks one.
struct DwarfFunctions {
  decltype(&::dwfl_begin) begin;
  decltype(&::dwfl_end) end;
  decltype(&::dwfl_report_begin_add) reportBegin;
  decltype(&::dwfl_report_module) reportModule;
  decltype(&::dwfl_report_end) reportEnd;
  decltype(&::dwfl_standard_find_debuginfo) findDebugInfo;
  decltype(&::dwfl_addrmodule) moduleAt;
  decltype(&::dwfl_module_info) moduleInfo;
  decltype(&::dwfl_module_getelf) moduleElf;
  decltype(&::dwfl_module_getdwarf) moduleDwarf;
  decltype(&::dwfl_module_getsymtab) moduleSymbols;
  decltype(&::dwfl_module_addrinfo) symbolAt;
  decltype(&::dwfl_attach_state) attach;
  decltype(&::dwfl_thread_state_registers) setRegisters;
  decltype(&::dwfl_thread_state_register_pc) setPc;
  decltype(&::dwfl_getthread_frames) frames;
  decltype(&::dwfl_frame_pc) framePc;
  decltype(&::dwfl_module_addrdie) unitAt;
  decltype(&::dwfl_module_nextcu) nextUnit;
  decltype(&::dwarf_haspc) unitHas;
  decltype(&::dwarf_getsrc_die) lineAt;
  decltype(&::dwarf_lineaddr) lineAddress;
  decltype(&::dwarf_lineno) lineNumber;
  decltype(&::dwarf_linesrc) lineFile;
};

/// Returns the address of a function in a loaded library, null if the library lacks it.
using FunctionFinder = void* (*)(void* library, const char* name);
/// Sets how functions are found in the library and returns the previous way; null restores the
/// dynamic linker's. For tests of a library that lacks some.
FunctionFinder setFunctionFinder(FunctionFinder finder);

/// Owns the loaded library.
class DebugLibrary {
 public:
  DebugLibrary() = default;
  ~DebugLibrary() { unload(); }
  DebugLibrary(const DebugLibrary&) = delete;
  DebugLibrary& operator=(const DebugLibrary&) = delete;

  /// Loads the library and looks its functions up. `executable` is the path of the program; where
  /// the library is looked for depends on it. Returns false if there is no library.
  bool load(const std::string& executable);
  void unload();

  const DwarfFunctions& functions() const { return functions_; }

 private:
  void* handle_ = nullptr;
  DwarfFunctions functions_{};
};

}  // namespace qx::diagnostics
