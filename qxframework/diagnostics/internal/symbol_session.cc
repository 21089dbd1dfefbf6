#include "qxframework/diagnostics/internal/symbol_session.h"

#include "qxframework/diagnostics/internal/process_memory.h"
#include "qxframework/diagnostics/internal/registers.h"
#include "qxframework/diagnostics/internal/same_file.h"
#include "qxframework/diagnostics/internal/undecorate.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string_view>

namespace qx::diagnostics {

class SymbolSession {
 public:
  SymbolSession(const DwarfFunctions& functions, HANDLE handle, const char* searchPath)
      : dw(functions), process(handle), path(searchPath == nullptr ? "" : searchPath) {
    dwfl = dw.begin(&callbacks);
  }
  ~SymbolSession() {
    if (dwfl != nullptr) dw.end(dwfl);
  }
  SymbolSession(const SymbolSession&) = delete;
  SymbolSession& operator=(const SymbolSession&) = delete;

  // One frame that libdw has found. The pc of a call is the address behind the call.
  struct Frame {
    std::uint64_t pc;
    bool isCall;
  };

  const DwarfFunctions& dw;
  const HANDLE process;
  const std::string path;
  Dwfl* dwfl = nullptr;
  DWORD options = 0;
  bool attached = false;

  // A walk. libdw finds all frames in one call; StackWalk64 hands them out.
  struct Walk {
    const CONTEXT* context = nullptr;
    MemoryReader reader = nullptr;
    std::vector<Frame> frames{};
    std::size_t next = 0;
    bool startsWild = false;          // the first frame is an address without a function
    std::size_t unreadableAfter = 0;  // the number of frames when memory was last unreadable
    DWORD end = ERROR_SUCCESS;      // the error behind the last frame; 0 if it is the outermost one
    std::uint64_t callAddress = 0;  // the pc of the frame handed out last, if it is a call
  };
  Walk walk;  // in progress

  static const Dwfl_Callbacks callbacks;
};

namespace {

// The name of a module in libdw is its path, so that its file can be opened when it is needed.
int openModule(Dwfl_Module*, void** userData, const char* image, Dwarf_Addr base, char** path,
               Elf**) {
  const auto* session = static_cast<const SymbolSession*>(*userData);
  const int file = open(image, O_RDONLY | O_CLOEXEC);
  if (file < 0) return -1;
  // A file that was replaced after the process had loaded it would give wrong names.
  if (!isSameFile(file, processIdOf(session->process), base)) {
    close(file);
    return -1;
  }
  *path = strdup(image);
  return file;
}

// libdw calls this without a way back to the session, so that the function stands in a global. All
// sessions load the same library.
decltype(&::dwfl_standard_find_debuginfo) g_findDebugInfo = nullptr;

int findDebugInfo(Dwfl_Module* module, void** userData, const char* name, Dwarf_Addr base,
                  const char* file, const char* link, GElf_Word crc, char** found) {
  return g_findDebugInfo(module, userData, name, base, file, link, crc, found);
}

bool fails(DWORD error) {
  SetLastError(error);
  return false;
}

void copyText(std::string_view text, char* buffer, std::size_t size) {
  const std::size_t count = std::min(text.size(), size - 1);
  text.copy(buffer, count);
  buffer[count] = 0;
}

// Returns the address by which symbols and lines are looked up. A call may be the last instruction
// of its function; the address behind it is then in the next one.
std::uint64_t lookUpAddress(const SymbolSession& session, std::uint64_t address) {
  return address != 0 && address == session.walk.callAddress ? address - 1 : address;
}

Dwfl_Module* moduleAt(SymbolSession& session, std::uint64_t address) {
  if (session.dwfl == nullptr) return nullptr;
  return session.dw.moduleAt(session.dwfl, lookUpAddress(session, address));
}

bool initialize(const DwarfFunctions& library, HANDLE process, const char* searchPath,
                SessionPtr& session) {
  g_findDebugInfo = library.findDebugInfo;
  session.reset(new SymbolSession(library, process, searchPath));
  return session->dwfl != nullptr || fails(ERROR_NOT_ENOUGH_MEMORY);
}

void cleanUp(SessionPtr session) { session.reset(); }

DWORD getOptions(const SymbolSession& session) { return session.options; }
void setOptions(SymbolSession& session, DWORD options) { session.options = options; }

bool getSearchPath(const SymbolSession& session, char* path, DWORD size) {
  copyText(session.path, path, size);
  return true;
}

std::uint64_t loadModule(SymbolSession& session, const char* image, const char*, std::uint64_t base,
                         DWORD size) {
  const DwarfFunctions& dw = session.dw;
  if (session.dwfl == nullptr) return fails(ERROR_NOT_ENOUGH_MEMORY);
  dw.reportBegin(session.dwfl);
  Dwfl_Module* module = dw.reportModule(session.dwfl, image, base, base + size);
  if (module != nullptr) {
    void** userData = nullptr;
    dw.moduleInfo(module, &userData, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    *userData = &session;
  }
  dw.reportEnd(session.dwfl, nullptr, nullptr);
  return module != nullptr ? base : (SetLastError(ERROR_INVALID_ADDRESS), 0);
}

const void* functionTable(SymbolSession& session, std::uint64_t address) {
  return moduleAt(session, address);
}

std::uint64_t moduleBase(SymbolSession& session, std::uint64_t address) {
  Dwarf_Addr base = 0;
  Dwfl_Module* module = moduleAt(session, address);
  if (module == nullptr) return fails(ERROR_INVALID_ADDRESS), 0;
  session.dw.moduleInfo(module, nullptr, &base, nullptr, nullptr, nullptr, nullptr, nullptr);
  return base;
}

// A module of which nothing was needed yet is not opened for this.
SymType symbolsOf(SymbolSession& session, Dwfl_Module* module, bool opened) {
  GElf_Addr bias = 0;
  if (!opened) return kDeferred;
  if (session.dw.moduleElf(module, &bias) == nullptr) return kNoSymbols;
  if (session.dw.moduleDwarf(module, &bias) != nullptr) return kDebugInfo;
  return session.dw.moduleSymbols(module) > 0 ? kExported : kNoSymbols;
}

bool moduleInfo(SymbolSession& session, std::uint64_t address, ModuleInfo& info) {
  Dwfl_Module* module = moduleAt(session, address);
  if (module == nullptr) return fails(ERROR_MOD_NOT_FOUND);
  Dwarf_Addr base = 0;
  const char* file = nullptr;
  const std::string_view image =
      session.dw.moduleInfo(module, nullptr, &base, nullptr, nullptr, nullptr, &file, nullptr);
  info.base = base;
  info.type = symbolsOf(session, module, file != nullptr);
  copyText(image.substr(image.rfind('/') + 1), info.name, sizeof info.name);
  copyText(image, info.loadedImage, sizeof info.loadedImage);
  return true;
}

bool symbolAt(SymbolSession& session, std::uint64_t address, std::uint64_t* displacement,
              Symbol& symbol) {
  Dwfl_Module* module = moduleAt(session, address);
  if (module == nullptr) return fails(ERROR_MOD_NOT_FOUND);
  const std::uint64_t wanted = lookUpAddress(session, address);
  GElf_Off offset = 0;
  GElf_Sym found{};
  const char* name =
      session.dw.symbolAt(module, wanted, &offset, &found, nullptr, nullptr, nullptr);
  if (name == nullptr) return fails(ERROR_INVALID_ADDRESS);
  symbol.address = wanted - offset;
  *displacement = address - symbol.address;
  // Symbols of the C library bear their version: "malloc@@GLIBC_2.2.5".
  const std::string_view whole = name;
  copyText(whole.substr(0, whole.find('@')), symbol.name, sizeof symbol.name);
  return true;
}

// Returns the compilation unit of an address. Some compilers write no table of the units'
// addresses, and then each unit is asked.
Dwarf_Die* unitAt(const DwarfFunctions& dw, Dwfl_Module* module, std::uint64_t address,
                  Dwarf_Addr* bias) {
  if (Dwarf_Die* unit = dw.unitAt(module, address, bias)) return unit;
  for (Dwarf_Die* unit = dw.nextUnit(module, nullptr, bias); unit != nullptr;
       unit = dw.nextUnit(module, unit, bias)) {
    if (dw.unitHas(unit, address - *bias) == 1) return unit;
  }
  return nullptr;
}

bool lineAt(SymbolSession& session, std::uint64_t address, DWORD* displacement, Line& line) {
  Dwfl_Module* module = moduleAt(session, address);
  if (module == nullptr) return fails(ERROR_MOD_NOT_FOUND);
  const DwarfFunctions& dw = session.dw;
  const std::uint64_t wanted = lookUpAddress(session, address);
  Dwarf_Addr bias = 0;
  Dwarf_Die* unit =
      (session.options & kLoadLines) != 0 ? unitAt(dw, module, wanted, &bias) : nullptr;
  Dwarf_Line* found = unit != nullptr ? dw.lineAt(unit, wanted - bias) : nullptr;
  int number = 0;
  const char* file = found != nullptr ? dw.lineFile(found, nullptr, nullptr) : nullptr;
  Dwarf_Addr start = 0;
  if (file == nullptr || dw.lineNumber(found, &number) != 0 || dw.lineAddress(found, &start) != 0) {
    return fails(ERROR_INVALID_ADDRESS);
  }
  line.number = static_cast<DWORD>(number);
  *displacement = static_cast<DWORD>(address - bias - start);
  copyText(file, line.file, sizeof line.file);
  return true;
}

DWORD undecorate(const SymbolSession&, const char* name, char* text, DWORD size, DWORD form) {
  const std::string signature = fullSignature(name);
  const std::string readable = form == kNameOnly ? nameOnly(signature) : signature;
  copyText(readable, text, size);
  return static_cast<DWORD>(std::min<std::size_t>(readable.size(), size - 1));
}

bool readWord(Dwfl*, Dwarf_Addr address, Dwarf_Word* word, void* data) {
  auto* session = static_cast<SymbolSession*>(data);
  DWORD count = 0;
  const bool complete =
      session->walk.reader(session->process, address, word, sizeof *word, &count) &&
      count == sizeof *word;
  // libdw takes a return address that it cannot read for the end of the stack.
  if (!complete) session->walk.unreadableAfter = session->walk.frames.size();
  return complete;
}

// A call of a null or wild pointer leads to an address without a function. The caller's frame is
// complete then but for the return address, which is the last thing on the stack.
void leaveWildFunction(SymbolSession& session, Registers& registers) {
  if (session.dw.moduleAt(session.dwfl, registers.pc) != nullptr) return;
  std::uint64_t caller = 0;
  DWORD count = 0;
  if (!returnAddressOfCall(
          registers,
          [&](std::uint64_t address, std::uint64_t* word) {
            return session.walk.reader(session.process, address, word, sizeof *word, &count);
          },
          &caller)) {
    return;
  }
  if (session.dw.moduleAt(session.dwfl, caller) == nullptr) return;
  session.walk.frames.push_back({registers.pc, false});
  session.walk.startsWild = true;
  leaveCall(registers, caller);
}

bool setRegisters(Dwfl_Thread* thread, void* data) {
  auto* session = static_cast<SymbolSession*>(data);
  Registers registers = registersOf(*session->walk.context);
  leaveWildFunction(*session, registers);
  session->dw.setPc(thread, registers.pc);
  return session->dw.setRegisters(thread, 0, Registers::kCount, registers.numbered);
}

pid_t nextThread(Dwfl*, void*, void**) { return 0; }

bool getThread(Dwfl*, pid_t, void* data, void** threadData) {
  *threadData = data;
  return true;
}

constexpr Dwfl_Thread_Callbacks kThreadCallbacks{.next_thread = nextThread,
                                                 .get_thread = getThread,
                                                 .memory_read = readWord,
                                                 .set_initial_registers = setRegisters,
                                                 .detach = nullptr,
                                                 .thread_detach = nullptr};

int addFrame(Dwfl_Frame* state, void* data) {
  auto* session = static_cast<SymbolSession*>(data);
  Dwarf_Addr pc = 0;
  bool isActivation = false;
  if (!session->dw.framePc(state, &pc, &isActivation)) return DWARF_CB_ABORT;
  SymbolSession::Walk& walk = session->walk;
  // The frame that called a wild address looks like an interrupted one to libdw, as it is the first
  // one there, but it is at a call.
  const bool calledWild = walk.startsWild && walk.frames.size() == 1;
  walk.frames.push_back({pc, calledWild || !isActivation});
  if (walk.frames.size() < kMostFrames) return DWARF_CB_OK;
  walk.end = ERROR_STACK_OVERFLOW;
  return DWARF_CB_ABORT;
}

// The first step finds all frames. The last one has no return address, or an unknown one if libdw
// could not unwind it.
bool startWalk(SymbolSession& session, const CONTEXT& context, MemoryReader read) {
  SymbolSession::Walk& walk = session.walk;
  walk = {.context = &context, .reader = read};
  const DwarfFunctions& dw = session.dw;
  const pid_t process = processIdOf(session.process);
  // The session is attached with its first walk, when it knows the modules and so the machine.
  if (!session.attached && session.dwfl != nullptr) {
    session.attached = dw.attach(session.dwfl, nullptr, process, &kThreadCallbacks, &session);
  }
  if (!session.attached) return fails(ERROR_DLL_INIT_FAILED);
  const int result = dw.frames(session.dwfl, process, addFrame, &session);
  const bool cutOff = !walk.frames.empty() && walk.unreadableAfter == walk.frames.size();
  if ((result != 0 || cutOff) && walk.end == ERROR_SUCCESS) walk.end = ERROR_INVALID_ADDRESS;
  return true;
}

bool stackWalk(SymbolSession& session, DWORD machine, StackFrame& frame, const CONTEXT& context,
               MemoryReader read) {
  if (machine != kMachine) return fails(ERROR_INVALID_HANDLE);
  if (!frame.started && !startWalk(session, context, read)) return false;
  frame.started = true;
  SymbolSession::Walk& walk = session.walk;
  if (walk.next == walk.frames.size()) return fails(walk.end);
  const SymbolSession::Frame& found = walk.frames[walk.next++];
  frame.pc = found.pc;
  walk.callAddress = found.isCall ? found.pc : 0;
  if (walk.next < walk.frames.size()) {
    frame.returnAddress = walk.frames[walk.next].pc;
  } else {
    frame.returnAddress = walk.end == ERROR_SUCCESS ? 0 : kUnknownReturn;
  }
  return true;
}

// True if the library has all of the functions.
template <class... Functions>
bool has(Functions... functions) {
  return (... && (functions != nullptr));
}

}  // namespace

const Dwfl_Callbacks SymbolSession::callbacks{.find_elf = openModule,
                                              .find_debuginfo = findDebugInfo,
                                              .section_address = nullptr,
                                              .debuginfo_path = nullptr};

void SessionDeleter::operator()(SymbolSession* session) const { delete session; }

bool findFunctions(const DwarfFunctions& dw, DebugHelp& table) {
  table = {};
  if (has(dw.begin, dw.findDebugInfo)) table.SymInitialize = initialize;
  if (has(dw.end)) table.SymCleanup = cleanUp;
  if (has(dw.attach, dw.setRegisters, dw.setPc, dw.frames, dw.framePc, dw.moduleAt)) {
    table.StackWalk64 = stackWalk;
  }
  table.SymGetOptions = getOptions;
  table.SymSetOptions = setOptions;
  if (has(dw.moduleAt)) table.SymFunctionTableAccess64 = functionTable;
  if (has(dw.unitAt, dw.nextUnit, dw.unitHas, dw.lineAt, dw.lineAddress, dw.lineNumber,
          dw.lineFile)) {
    table.SymGetLineFromAddr64 = lineAt;
  }
  if (has(dw.moduleAt, dw.moduleInfo)) table.SymGetModuleBase64 = moduleBase;
  if (has(dw.moduleAt, dw.moduleInfo, dw.moduleElf, dw.moduleDwarf, dw.moduleSymbols)) {
    table.SymGetModuleInfo64 = moduleInfo;
  }
  if (has(dw.moduleAt, dw.symbolAt)) table.SymGetSymFromAddr64 = symbolAt;
  table.UnDecorateSymbolName = undecorate;
  if (has(dw.reportBegin, dw.reportModule, dw.reportEnd, dw.moduleInfo)) {
    table.SymLoadModule64 = loadModule;
  }
  table.SymGetSearchPath = getSearchPath;
  return has(table.SymInitialize, table.SymCleanup, table.StackWalk64,
             table.SymFunctionTableAccess64, table.SymGetModuleBase64, table.SymGetModuleInfo64,
             table.SymGetSymFromAddr64, table.SymLoadModule64);
}

}  // namespace qx::diagnostics
