#include "qxframework/diagnostics/internal/loaded_modules.h"

#include "qxframework/diagnostics/internal/process_memory.h"

#include <elf.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <span>
#include <sstream>
#include <string_view>

namespace qx::diagnostics {
namespace {

LoadedModule moduleAt(std::string image, std::uint64_t begin, std::uint64_t end) {
  LoadedModule module;
  module.name = image.substr(image.rfind('/') + 1);
  module.image = std::move(image);
  module.base = begin;
  module.size = static_cast<std::uint32_t>(end - begin);
  return module;
}

// The loader reports the executable without a name, and a module by the path it was loaded with.
std::string pathOf(const dl_phdr_info& info) {
  if (*info.dlpi_name == 0) return walkedExecutable();
  std::error_code ignored;
  return std::filesystem::absolute(info.dlpi_name, ignored).string();
}

int addModule(dl_phdr_info* info, std::size_t, void* data) {
  const auto page = static_cast<std::uint64_t>(getpagesize());
  std::uint64_t begin = ~std::uint64_t{0};
  std::uint64_t end = 0;
  for (const ElfW(Phdr) & segment : std::span(info->dlpi_phdr, info->dlpi_phnum)) {
    if (segment.p_type != PT_LOAD) continue;
    begin = std::min<std::uint64_t>(begin, (info->dlpi_addr + segment.p_vaddr) & ~(page - 1));
    end = std::max<std::uint64_t>(end, info->dlpi_addr + segment.p_vaddr + segment.p_memsz);
  }
  // The kernel's vDSO has a name without a folder and no file.
  const bool hasFile = *info->dlpi_name == 0 || std::strchr(info->dlpi_name, '/') != nullptr;
  if (end > begin && hasFile) {
    static_cast<std::vector<LoadedModule>*>(data)->push_back(
        moduleAt(pathOf(*info), begin, (end + page - 1) & ~(page - 1)));
  }
  return 0;
}

struct Mapping {
  std::uint64_t begin = 0;
  std::uint64_t end = 0;
  std::uint64_t offset = 0;
  std::string path;  // empty for memory without a file
};

// Reads a line such as "7f00-7f10 r-xp 00001000 08:01 1234    /lib/libc.so.6".
Mapping parseMapping(const std::string& line) {
  std::istringstream fields(line);
  Mapping mapping;
  char dash = 0;
  std::string permissions;
  fields >> std::hex >> mapping.begin >> dash >> mapping.end >> permissions >> mapping.offset;
  const std::size_t slash = line.find('/');
  if (slash == std::string::npos) return mapping;
  mapping.path = line.substr(slash);
  // The file at this path, if any, is another one now. Symbols are taken from it only if it has the
  // same content, so that the mark is of no further use.
  constexpr std::string_view kDeleted = " (deleted)";
  if (mapping.path.ends_with(kDeleted)) mapping.path.resize(mapping.path.size() - kDeleted.size());
  return mapping;
}

bool isElf(pid_t process, std::uint64_t address) {
  char magic[SELFMAG];
  return readMemory(process, address, magic, sizeof magic) == sizeof magic &&
         std::memcmp(magic, ELFMAG, SELFMAG) == 0;
}

}  // namespace

std::vector<LoadedModule> modulesOfLoader(pid_t process) {
  std::vector<LoadedModule> modules;
  if (process == getpid()) dl_iterate_phdr(addModule, &modules);
  return modules;
}

std::vector<LoadedModule> modulesOfMappings(pid_t process, std::size_t limit) {
  std::vector<LoadedModule> modules;
  std::ifstream maps("/proc/" + std::to_string(process) + "/maps");
  bool inModule = false;
  for (std::string line; std::getline(maps, line);) {
    const Mapping mapping = parseMapping(line);
    if (mapping.path.empty()) continue;
    if (inModule && modules.back().image == mapping.path && mapping.offset != 0) {
      modules.back().size = static_cast<std::uint32_t>(mapping.end - modules.back().base);
      continue;
    }
    inModule = mapping.offset == 0 && isElf(process, mapping.begin);
    if (inModule && modules.size() == limit) break;
    if (inModule) modules.push_back(moduleAt(mapping.path, mapping.begin, mapping.end));
  }
  return modules;
}

}  // namespace qx::diagnostics
