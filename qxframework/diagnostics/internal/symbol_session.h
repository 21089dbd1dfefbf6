#pragma once

// The functions by which a walk asks the debug-help library, under the names it looks them up by.
// Each is a few calls of libdw. A session holds the symbols of one process; where a function fails,
// it returns false or 0 and sets the last error.

#include "qxframework/diagnostics/exception_context.h"
#include "qxframework/diagnostics/internal/debug_library.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace qx::diagnostics {

/// The size of each text of an entry, in characters with the terminator.
inline constexpr std::size_t kTextSize = 1024;

/// Options of a session. Lines are found only with kLoadLines.
inline constexpr DWORD kLoadLines = 0x10, kFailCriticalErrors = 0x200;
/// Forms of a readable name: with the whole signature, or the name alone.
inline constexpr DWORD kCompleteName = 0, kNameOnly = 4096;

/// The machine types of a walk.
inline constexpr DWORD kMachineX64 = 34404, kMachineArm64 = 43620;

/// The kinds of symbols that a module has.
enum SymType : DWORD { kNoSymbols = 0, kDebugInfo = 3, kExported = 4, kDeferred = 5 };

struct Symbol {
  std::uint64_t address;
  char name[kTextSize];
};

struct Line {
  DWORD number;
  char file[kTextSize];
};

struct ModuleInfo {
  std::uint64_t base;
  SymType type;
  char name[kTextSize];
  char loadedImage[kTextSize];
};

/// Reads memory of the walked process; returns false if not all of it can be read.
using MemoryReader = bool (*)(HANDLE process, std::uint64_t address, void* buffer, DWORD size,
                              DWORD* count);

/// The place of a walk. It is prepared with the registers of the context.
struct StackFrame {
  std::uint64_t pc = 0;
  /// The address at which the caller continues; 0 in the outermost frame.
  std::uint64_t returnAddress = 0;
  bool started = false;
};

/// Where the frame of a walk came from, if libdw cannot unwind it: its return address is unknown.
inline constexpr std::uint64_t kUnknownReturn = ~std::uint64_t{0};
/// The number of frames after which a walk fails with ERROR_STACK_OVERFLOW.
inline constexpr std::size_t kMostFrames = 1000;

class SymbolSession;
struct SessionDeleter {
  void operator()(SymbolSession* session) const;
};
using SessionPtr = std::unique_ptr<SymbolSession, SessionDeleter>;

/// The function table of the library. SymGetLineFromAddr64 may be null.
struct DebugHelp {
  /// Stores a session also if it fails; every look-up of that session fails.
  bool (*SymInitialize)(const DwarfFunctions& library, HANDLE process, const char* searchPath,
                        SessionPtr& session);
  void (*SymCleanup)(SessionPtr session);
  /// Steps `frame` to the next frame, the first time to the first one.
  bool (*StackWalk64)(SymbolSession& session, DWORD machine, StackFrame& frame,
                      const CONTEXT& context, MemoryReader read);
  DWORD (*SymGetOptions)(const SymbolSession& session);
  void (*SymSetOptions)(SymbolSession& session, DWORD options);
  /// Returns the module whose table of functions covers an address, null if there is none.
  const void* (*SymFunctionTableAccess64)(SymbolSession& session, std::uint64_t address);
  bool (*SymGetLineFromAddr64)(SymbolSession& session, std::uint64_t address, DWORD* displacement,
                               Line& line);
  std::uint64_t (*SymGetModuleBase64)(SymbolSession& session, std::uint64_t address);
  bool (*SymGetModuleInfo64)(SymbolSession& session, std::uint64_t address, ModuleInfo& info);
  bool (*SymGetSymFromAddr64)(SymbolSession& session, std::uint64_t address,
                              std::uint64_t* displacement, Symbol& symbol);
  DWORD(*UnDecorateSymbolName)
  (const SymbolSession& session, const char* name, char* text, DWORD size, DWORD form);
  /// Adds a module and returns its base, or 0. Its file is opened when a symbol of it is needed.
  std::uint64_t (*SymLoadModule64)(SymbolSession& session, const char* image, const char* module,
                                   std::uint64_t base, DWORD size);
  bool (*SymGetSearchPath)(const SymbolSession& session, char* path, DWORD size);
};

/// Fills the table with the functions whose parts the library has. Returns false if one is missing
/// that a walk cannot do without.
bool findFunctions(const DwarfFunctions& library, DebugHelp& table);

}  // namespace qx::diagnostics
