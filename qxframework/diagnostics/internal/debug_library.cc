#include "qxframework/diagnostics/internal/debug_library.h"

#include "qxframework/automation/trusted_file.h"

#include <dlfcn.h>
#include <sys/stat.h>

#include <atomic>

namespace qx::diagnostics {
namespace {

constexpr char kLibrary[] = "libdw.so.1";

std::atomic<FunctionFinder> g_finder{nullptr};

bool exists(const std::string& path) {
  struct stat found;
  return stat(path.c_str(), &found) == 0;
}

// Loads the library from one of the folders of the debugging tools. A machine has such folders only
// if an administrator names their parent in the variable; it is not set on a usual Linux. A library
// that others can replace is passed over, as for every class.
void* loadFromTools(const char* folder) {
  const std::string programs = trustedVariable("ProgramFiles");
  if (programs.empty()) return nullptr;
  const std::string file = programs + folder + kLibrary;
  const bool loads = exists(file) && distrust(file).empty();
  return loads ? dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL) : nullptr;
}

void* loadLibrary(const std::string& executable) {
  void* library = nullptr;
  // The file says that the program brings a copy of its own. The plain name finds it where the
  // program's run path or LD_LIBRARY_PATH leads; the tools' folders must not come before it.
  if (!exists(executable + ".local")) {
    library = loadFromTools("/Debugging Tools for Windows/");
    if (library == nullptr) library = loadFromTools("/Debugging Tools for Windows 64-Bit/");
  }
  return library != nullptr ? library : dlopen(kLibrary, RTLD_NOW | RTLD_LOCAL);
}

template <class Function>
void find(void* library, const char* name, Function& function) {
  const FunctionFinder finder = g_finder.load(std::memory_order_acquire);
  function =
      reinterpret_cast<Function>(finder != nullptr ? finder(library, name) : dlsym(library, name));
}

DwarfFunctions functionsOf(void* library) {
  DwarfFunctions found{};
  find(library, "dwfl_begin", found.begin);
  find(library, "dwfl_end", found.end);
  find(library, "dwfl_report_begin_add", found.reportBegin);
  find(library, "dwfl_report_module", found.reportModule);
  find(library, "dwfl_report_end", found.reportEnd);
  find(library, "dwfl_standard_find_debuginfo", found.findDebugInfo);
  find(library, "dwfl_addrmodule", found.moduleAt);
  find(library, "dwfl_module_info", found.moduleInfo);
  find(library, "dwfl_module_getelf", found.moduleElf);
  find(library, "dwfl_module_getdwarf", found.moduleDwarf);
  find(library, "dwfl_module_getsymtab", found.moduleSymbols);
  find(library, "dwfl_module_addrinfo", found.symbolAt);
  find(library, "dwfl_attach_state", found.attach);
  find(library, "dwfl_thread_state_registers", found.setRegisters);
  find(library, "dwfl_thread_state_register_pc", found.setPc);
  find(library, "dwfl_getthread_frames", found.frames);
  find(library, "dwfl_frame_pc", found.framePc);
  find(library, "dwfl_module_addrdie", found.unitAt);
  find(library, "dwfl_module_nextcu", found.nextUnit);
  find(library, "dwarf_haspc", found.unitHas);
  find(library, "dwarf_getsrc_die", found.lineAt);
  find(library, "dwarf_lineaddr", found.lineAddress);
  find(library, "dwarf_lineno", found.lineNumber);
  find(library, "dwarf_linesrc", found.lineFile);
  return found;
}

}  // namespace

FunctionFinder setFunctionFinder(FunctionFinder finder) {
  return g_finder.exchange(finder, std::memory_order_acq_rel);
}

bool DebugLibrary::load(const std::string& executable) {
  unload();
  handle_ = loadLibrary(executable);
  if (handle_ != nullptr) functions_ = functionsOf(handle_);
  return handle_ != nullptr;
}

void DebugLibrary::unload() {
  functions_ = {};
  if (handle_ != nullptr) dlclose(handle_);
  handle_ = nullptr;
}

}  // namespace qx::diagnostics
