#pragma once

// The private half of a StackWalker: the debug-help library, its functions and the symbols.

#include "qxframework/diagnostics/internal/debug_library.h"
#include "qxframework/diagnostics/internal/loaded_modules.h"
#include "qxframework/diagnostics/internal/symbol_session.h"
#include "qxframework/diagnostics/stack_walker.h"

#include <memory>
#include <string>

namespace qx::diagnostics {

class StackWalkerHelper {
 public:
  StackWalkerHelper(StackWalker& owner, HANDLE process) : owner_(owner), process_(process) {}
  ~StackWalkerHelper() { unload(); }
  StackWalkerHelper(const StackWalkerHelper&) = delete;
  StackWalkerHelper& operator=(const StackWalkerHelper&) = delete;

  /// Loads the library, looks its functions up and starts with the symbols, whose search path is
  /// copied. Returns false if the library is missing or lacks a function.
  bool initialize(const char* searchPath);
  /// True once initialize() has worked.
  bool isReady() const { return session_ != nullptr; }

  /// Hands the modules of the process to the owner. Returns true if there is at least one.
  bool loadModules();

  const DebugHelp& functions() const { return functions_; }
  SymbolSession& session() { return *session_; }

 private:
  void unload();
  bool loadFromLoader();
  bool loadFromMappings();
  DWORD loadModule(const LoadedModule& module);

  StackWalker& owner_;
  const HANDLE process_;
  DebugLibrary library_;
  DebugHelp functions_{};
  std::string searchPath_;
  SessionPtr session_;
};

/// Returns the four numbers of a text such as "9.20.00.01", the first in the uppermost 16 bits. A
/// number that is missing or too large counts as 0.
std::uint64_t parseVersion(std::u16string_view text);

/// Returns the text of a symbol type. The two lists of names differ in the value of "DIA".
const char* symTypeOfModule(DWORD type);
const char* symTypeOfEntry(DWORD type);

}  // namespace qx::diagnostics
