#include "qxframework/diagnostics/internal/stack_walker_helper.h"

#include "qxframework/diagnostics/internal/process_memory.h"
#include "qxframework/os/version_info.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

namespace qx::diagnostics {
namespace {

// The size of the list of modules and of the texts of each, in bytes, and so of what is taken over.
constexpr std::size_t kModuleBuffer = 8096;

// Returns the name of the user who runs the process, or the number if it has no name.
std::string userName() {
  std::array<char, 4096> buffer{};
  passwd entry{};
  passwd* found = nullptr;
  if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
      found != nullptr) {
    return std::string(found->pw_name).substr(0, kTextSize - 1);
  }
  return std::to_string(geteuid());
}

std::uint64_t versionOf(const std::string& file) {
  const std::optional<VersionBlock> block = VersionBlock::ofFile(file);
  const auto text = block ? block->query(u"FileVersion") : std::nullopt;
  return text ? parseVersion(text->text) : 0;
}

}  // namespace

std::uint64_t parseVersion(std::u16string_view text) {
  std::uint64_t version = 0;
  for (int i = 0; i < 4; ++i) {
    std::uint64_t number = 0;
    std::size_t at = 0;
    for (; at < text.size() && text[at] >= u'0' && text[at] <= u'9'; ++at) {
      number = std::min<std::uint64_t>(number * 10 + (text[at] - u'0'), 0x10000);
    }
    version = version << 16 | (number > 0xFFFF ? 0 : number);
    text.remove_prefix(std::min(text.size(), at + 1));
  }
  return version;
}

bool StackWalkerHelper::initialize(const char* searchPath) {
  unload();
  if (!library_.load(walkedExecutable())) return false;
  if (!findFunctions(library_.functions(), functions_)) {
    unload();
    return false;
  }
  if (searchPath != nullptr) searchPath_ = searchPath;
  if (!functions_.SymInitialize(library_.functions(), process_, searchPath_.c_str(), session_)) {
    owner_.OnDbgHelpErr("SymInitialize", GetLastError(), 0);
  }
  const DWORD options = functions_.SymGetOptions(*session_) | kLoadLines | kFailCriticalErrors;
  functions_.SymSetOptions(*session_, options);
  char path[kTextSize] = {};
  if (!functions_.SymGetSearchPath(*session_, path, sizeof path)) {
    owner_.OnDbgHelpErr("SymGetSearchPath", GetLastError(), 0);
  }
  owner_.OnSymInit(path, functions_.SymGetOptions(*session_), userName().c_str());
  return true;
}

void StackWalkerHelper::unload() {
  if (session_ != nullptr) functions_.SymCleanup(std::move(session_));
  functions_ = {};
  library_.unload();
  searchPath_.clear();
}

bool StackWalkerHelper::loadModules() { return loadFromLoader() || loadFromMappings(); }

bool StackWalkerHelper::loadFromLoader() {
  const std::vector<LoadedModule> modules = modulesOfLoader(processIdOf(process_));
  for (const LoadedModule& module : modules) loadModule(module);
  return !modules.empty();
}

bool StackWalkerHelper::loadFromMappings() {
  const std::vector<LoadedModule> modules =
      modulesOfMappings(processIdOf(process_), kModuleBuffer / sizeof(HANDLE));
  for (const LoadedModule& module : modules) {
    const DWORD result = loadModule(module);
    if (result != ERROR_SUCCESS) owner_.OnDbgHelpErr("LoadModule", result, 0);
  }
  return !modules.empty();
}

DWORD StackWalkerHelper::loadModule(const LoadedModule& module) {
  const std::string image = module.image.substr(0, kModuleBuffer - 1);
  const std::string name = module.name.substr(0, kModuleBuffer - 1);
  DWORD result = ERROR_SUCCESS;
  SetLastError(ERROR_SUCCESS);
  if (functions_.SymLoadModule64(*session_, image.c_str(), name.c_str(), module.base,
                                 module.size) == 0) {
    result = GetLastError();
  }
  const bool wantsVersion = (owner_.m_options & StackWalker::RetrieveFileVersion) != 0;
  const std::uint64_t version = wantsVersion ? versionOf(image) : 0;
  ModuleInfo info{};
  const bool known = functions_.SymGetModuleInfo64(*session_, module.base, info);
  owner_.OnLoadModule(image.c_str(), name.c_str(), module.base, module.size, result,
                      symTypeOfModule(known ? DWORD{info.type} : ~DWORD{0}), info.loadedImage,
                      version);
  return result;
}

const char* symTypeOfModule(DWORD type) {
  constexpr const char* kNames[] = {"-nosymbols-", "COFF", "CV",        "PDB",     "-exported-",
                                    "-deferred-",  "SYM",  "-unknown-", "Virtual", "DIA"};
  return type < std::size(kNames) ? kNames[type] : "-unknown-";
}

const char* symTypeOfEntry(DWORD type) {
  if (type == 7) return "DIA";
  return type == 9 ? "-unknown-" : symTypeOfModule(type);
}

}  // namespace qx::diagnostics
