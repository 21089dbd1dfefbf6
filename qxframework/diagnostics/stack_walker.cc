#include "qxframework/diagnostics/stack_walker.h"

#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"
#include "qxframework/automation/trusted_file.h"
#include "qxframework/diagnostics/internal/process_memory.h"
#include "qxframework/diagnostics/internal/registers.h"
#include "qxframework/diagnostics/internal/stack_walker_helper.h"
#include "qxframework/diagnostics/internal/thread_suspension.h"
#include "qxframework/os/debug_trace.h"

#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>

using qx::diagnostics::DebugHelp;
using qx::diagnostics::Line;
using qx::diagnostics::ModuleInfo;
using qx::diagnostics::StackFrame;
using qx::diagnostics::StackWalkerHelper;
using qx::diagnostics::Symbol;
using qx::diagnostics::ThreadSuspension;

namespace {

constexpr std::size_t kPathSize = 4096;
constexpr std::size_t kLineSize = 1024;

// The server of the elfutils project, which knows the debug information of the large distributions.
// It is what their packages set DEBUGINFOD_URLS to; libdw itself asks only the servers in that
// variable, so that this text is for the reader of the search path.
constexpr char kSymbolServer[] = "*https://debuginfod.elfutils.org/";

// The callback of the walk in progress. One walk runs at a time.
ReadMemoryCallback s_readMemFunction = nullptr;
void* s_userData = nullptr;

// Never destroyed, because a fault in a destructor of a static is walked, too. Recursive, because
// an override may walk a stack itself.
std::recursive_mutex& walkMutex() {
  static auto* mutex = new std::recursive_mutex;
  return *mutex;
}

bool readProcessMemory(HANDLE process, std::uint64_t address, void* buffer, DWORD size,
                       DWORD* count) {
  if (s_readMemFunction != nullptr) {
    return s_readMemFunction(process, address, buffer, size, count, s_userData);
  }
  *count = static_cast<DWORD>(
      qx::diagnostics::readMemory(qx::diagnostics::processIdOf(process), address, buffer, size));
  return *count == size;
}

// Appends a piece and its separator, as far as there is room.
void append(char* path, std::size_t size, const std::string& piece) {
  const std::size_t length = std::strlen(path);
  std::snprintf(path + length, size - length, "%s;", piece.c_str());
}

// Formats into the line and cuts what does not fit, the line's end with it.
[[gnu::format(printf, 2, 3)]] void formatLine(char (&line)[kLineSize], const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(line, sizeof line, format, arguments);
  va_end(arguments);
}

template <std::size_t N>
void copyText(char (&to)[N], const char* from) {
  std::snprintf(to, N, "%s", from);
}

}  // namespace

StackWalker::StackWalker(int options, const char* symPath, unsigned long processId, HANDLE process)
    : m_sw(new (std::nothrow) StackWalkerHelper(*this, process)),
      m_hProcess(process),
      m_dwProcessId(static_cast<DWORD>(processId)),
      m_modulesLoaded(false),
      m_szSymPath(symPath != nullptr ? strdup(symPath) : nullptr),
      m_options(symPath != nullptr ? options | SymBuildPath : options) {}

StackWalker::~StackWalker() {
  std::free(m_szSymPath);
  delete m_sw;
}

bool StackWalker::LoadModules() try {
  const std::lock_guard lock(walkMutex());
  if (m_sw == nullptr) return SetLastError(ERROR_DLL_INIT_FAILED), false;
  if (m_modulesLoaded) return true;
  std::unique_ptr<char[]> path;
  if ((m_options & SymBuildPath) != 0) {
    path.reset(new (std::nothrow) char[kPathSize]);
    if (path == nullptr) return SetLastError(ERROR_NOT_ENOUGH_MEMORY), false;
    BuildSearchPath(path.get(), kPathSize);
  }
  if (!m_sw->initialize(path.get())) {
    OnDbgHelpErr("Error while initializing dbghelp.dll", 0, 0);
    SetLastError(ERROR_DLL_INIT_FAILED);
    return false;
  }
  m_modulesLoaded = m_sw->loadModules();
  return m_modulesLoaded;
} catch (...) {
  // A walk runs where an exception would end the process: memory is out, or an override has thrown.
  SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return false;
}

// The pieces in the order in which the symbols are looked for. The last ones are places of another
// platform: they are in the path if their variables are set, and the server always is.
void StackWalker::BuildSearchPath(char* path, std::size_t size) const {
  path[0] = 0;
  if (m_szSymPath != nullptr) append(path, size, m_szSymPath);
  append(path, size, ".");
  char folder[qx::diagnostics::kTextSize];
  if (getcwd(folder, sizeof folder) != nullptr) append(path, size, folder);
  const std::string executable = qx::diagnostics::walkedExecutable();
  const std::size_t cut = executable.find_last_of("\\/:");
  if (cut != std::string::npos && cut != 0) append(path, size, executable.substr(0, cut));
  for (const char* name : {"_NT_SYMBOL_PATH", "_NT_ALTERNATE_SYMBOL_PATH", "SYSTEMROOT"}) {
    if (const std::string value = qx::trustedVariable(name); !value.empty())
      append(path, size, value);
  }
  const std::string root = qx::trustedVariable("SYSTEMROOT");
  if (!root.empty()) append(path, size, root + "\\system32");
  const std::string drive = qx::trustedVariable("SYSTEMDRIVE");
  append(path, size, "SRV*" + (drive.empty() ? "c:" : drive) + "\\websymbols" + kSymbolServer);
}

bool StackWalker::ShowCallstack(HANDLE thread, const CONTEXT* context,
                                ReadMemoryCallback readMemory, void* userData) try {
  const std::lock_guard lock(walkMutex());
  if (!m_modulesLoaded) LoadModules();
  if (m_sw == nullptr || !m_sw->isReady()) return SetLastError(ERROR_DLL_INIT_FAILED), false;
  s_readMemFunction = readMemory;
  s_userData = userData;

  CONTEXT start{};
  ThreadSuspension suspension;
  if (context != nullptr) {
    start = *context;
  } else if (qx::diagnostics::threadIdOf(thread) == gettid()) {
    // Here, since the walk begins in the function that calls this, and it must not have returned.
    ucontext_t registers;
    getcontext(&registers);
    start = qx::contextOf(registers);
  } else if (qx::diagnostics::processIdOf(m_hProcess) != getpid() ||
             !suspension.suspend(qx::diagnostics::threadIdOf(thread), start)) {
    return false;
  }
  WalkFrames(start);
  SetLastError(ERROR_SUCCESS);
  return true;
} catch (...) {
  SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return false;
}

void StackWalker::WalkFrames(const CONTEXT& context) {
  const DebugHelp& help = m_sw->functions();
  StackFrame frame;
  frame.pc = qx::diagnostics::registersOf(context).pc;
  const auto entry = std::make_unique<CallstackEntry>();
  for (CallstackEntryType type = firstEntry;; type = nextEntry) {
    if (!help.StackWalk64(m_sw->session(), qx::diagnostics::kMachine, frame, context,
                          readProcessMemory)) {
      return OnDbgHelpErr("StackWalk64", GetLastError(), frame.pc);
    }
    *entry = {};
    entry->symTypeString = "";
    entry->offset = frame.pc;
    if (frame.pc == frame.returnAddress) {
      return OnDbgHelpErr("StackWalk64-Endless-Callstack!", 0, frame.pc);
    }
    if (frame.pc != 0) FillEntry(*entry, frame.pc);
    OnCallstackEntry(type, *entry);
    if (frame.returnAddress == 0) break;
  }
  OnCallstackEntry(lastEntry, *entry);
}

void StackWalker::FillEntry(CallstackEntry& entry, std::uint64_t address) {
  const DebugHelp& help = m_sw->functions();
  qx::diagnostics::SymbolSession& session = m_sw->session();
  const auto symbol = std::make_unique<Symbol>();
  if (help.SymGetSymFromAddr64(session, address, &entry.offsetFromSymbol, *symbol)) {
    copyText(entry.name, symbol->name);
    help.UnDecorateSymbolName(session, symbol->name, entry.undName, sizeof entry.undName,
                              qx::diagnostics::kNameOnly);
    help.UnDecorateSymbolName(session, symbol->name, entry.undFullName, sizeof entry.undFullName,
                              qx::diagnostics::kCompleteName);
  } else {
    OnDbgHelpErr("SymGetSymFromAddr64", GetLastError(), address);
  }
  if (help.SymGetLineFromAddr64 != nullptr) {
    const auto line = std::make_unique<Line>();
    if (help.SymGetLineFromAddr64(session, address, &entry.offsetFromLine, *line)) {
      entry.lineNumber = line->number;
      copyText(entry.lineFileName, line->file);
    } else {
      OnDbgHelpErr("SymGetLineFromAddr64", GetLastError(), address);
    }
  }
  const auto module = std::make_unique<ModuleInfo>();
  if (help.SymGetModuleInfo64(session, address, *module)) {
    entry.symType = module->type;
    entry.symTypeString = qx::diagnostics::symTypeOfEntry(entry.symType);
    copyText(entry.moduleName, module->name);
    entry.baseOfImage = module->base;
    copyText(entry.loadedImageName, module->loadedImage);
  } else {
    OnDbgHelpErr("SymGetModuleInfo64", GetLastError(), address);
  }
}

void StackWalker::OnSymInit(const char* searchPath, DWORD symOptions, const char* userName) {
  char line[kLineSize];
  formatLine(line, "SymInit: Symbol-SearchPath: '%s', symOptions: %d, UserName: '%s'\n", searchPath,
             static_cast<int>(symOptions), userName);
  OnOutput(line);
  // The kernel has a number and a text. The last two numbers are those of a suite and a kind of
  // product, which it lacks.
  utsname system{};
  uname(&system);
  int version[3] = {};
  std::sscanf(system.release, "%d.%d.%d", &version[0], &version[1], &version[2]);
  formatLine(line, "OS-Version: %d.%d.%d (%s) 0x%x-0x%x\n", version[0], version[1], version[2],
             system.version, 0U, 0U);
  OnOutput(line);
}

void StackWalker::OnLoadModule(const char* image, const char* module, std::uint64_t base,
                               DWORD size, DWORD result, const char* symType, const char* pdbName,
                               std::uint64_t fileVersion) {
  char line[kLineSize];
  const auto number = [&](int shift) { return static_cast<int>(fileVersion >> shift & 0xFFFF); };
  if (fileVersion == 0) {
    formatLine(line, "%s:%s (0x%" PRIx64 "), size: %d (result: %d), SymType: '%s', PDB: '%s'\n",
               image, module, base, static_cast<int>(size), static_cast<int>(result), symType,
               pdbName);
  } else {
    formatLine(line,
               "%s:%s (0x%" PRIx64
               "), size: %d (result: %d), SymType: '%s', PDB: '%s', fileVersion: %d.%d.%d.%d\n",
               image, module, base, static_cast<int>(size), static_cast<int>(result), symType,
               pdbName, number(48), number(32), number(16), number(0));
  }
  OnOutput(line);
}

void StackWalker::OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry) {
  if (type == lastEntry || entry.offset == 0) return;
  if (entry.name[0] == 0) copyText(entry.name, "(function-name not available)");
  if (entry.undName[0] != 0) copyText(entry.name, entry.undName);
  if (entry.undFullName[0] != 0) copyText(entry.name, entry.undFullName);
  char line[kLineSize];
  if (entry.lineFileName[0] != 0) {
    formatLine(line, "%s (%d): %s\n", entry.lineFileName, static_cast<int>(entry.lineNumber),
               entry.name);
  } else {
    copyText(entry.lineFileName, "(filename not available)");
    if (entry.moduleName[0] == 0) copyText(entry.moduleName, "(module-name not available)");
    formatLine(line, "0x%" PRIx64 " (%s): %s: %s\n", entry.offset, entry.moduleName,
               entry.lineFileName, entry.name);
  }
  OnOutput(line);
}

void StackWalker::OnDbgHelpErr(const char* function, DWORD error, std::uint64_t address) {
  char line[kLineSize];
  formatLine(line, "ERROR: %s, GetLastError: %d (Address: 0x%" PRIx64 ")\n", function,
             static_cast<int>(error), address);
  OnOutput(line);
}

void StackWalker::OnOutput(const char* text) { OutputDebugStringW(qx::toUtf16(text).c_str()); }

// A line that is cut in the middle of the program's end would be no use, and the buffer of the
// stream does not survive the fault.
MyStackWalker::~MyStackWalker() { std::fflush(stdout); }

void MyStackWalker::OnOutput(const char* text) {
  // The text is a format without arguments. The formatter of this library reads no memory for a
  // conversion in it, unlike the one of the C library: a path may hold any sign.
  const std::string printed = qx::toUtf8(qx::formatText(qx::toUtf16(text), {}));
  std::fwrite(printed.data(), 1, printed.size(), stdout);
  StackWalker::OnOutput(text);
}

long ExpFilter(EXCEPTION_POINTERS* pointers, unsigned long) {
  MyStackWalker walker(StackWalker::OptionsAll, nullptr,
                       static_cast<unsigned long>(qx::diagnostics::walkedProcess()),
                       GetCurrentProcess());
  walker.ShowCallstack(GetCurrentThread(), pointers != nullptr ? pointers->ContextRecord : nullptr);
  return 1;
}
