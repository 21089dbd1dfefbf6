#include "qxframework/os/module.h"

#include "qxframework/automation/text.h"
#include "qxframework/os/elf_resources.h"

#include <link.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <sstream>
#include <string_view>
#include <vector>

// One record per module. Records are never freed, because callers keep handles of unloaded modules.
struct HINSTANCE__ {
  struct Range {
    std::uintptr_t begin;
    std::uintptr_t end;
  };

  std::uintptr_t base = 0;
  std::u16string path;
  std::u16string fileName;
  std::u16string internalName;  // empty without a version block
  std::vector<Range> ranges;    // of the loaded segments
  std::optional<qx::ResourceImage> resources;
  bool loaded = false;
};

namespace qx {
namespace {

using Module = HINSTANCE__;

// Returns the path of the file that is mapped at `address`, empty if no file is.
std::filesystem::path mappedFile(std::uintptr_t address) {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    std::istringstream fields(line);
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    char dash = 0;
    fields >> std::hex >> begin >> dash >> end;
    if (!fields || address < begin || address >= end) continue;
    const std::size_t slash = line.find('/');
    if (slash == std::string::npos) return {};
    return line.substr(slash);
  }
  return {};
}

std::filesystem::path pathOf(const dl_phdr_info& info, std::uintptr_t address) {
  const std::filesystem::path name = info.dlpi_name;
  if (name.is_absolute()) return name;
  std::error_code ignored;
  // The loader reports the executable without a name, the kernel's vDSO without a folder, and a
  // module by the path it was loaded with. A relative one says nothing once the working folder has
  // changed, so the kernel's list of mappings is used instead.
  if (name.empty()) return std::filesystem::read_symlink("/proc/self/exe", ignored);
  return name.has_parent_path() ? mappedFile(address) : std::filesystem::path();
}

std::vector<Module::Range> loadedRanges(const dl_phdr_info& info) {
  std::vector<Module::Range> ranges;
  for (const ElfW(Phdr) & segment : std::span(info.dlpi_phdr, info.dlpi_phnum)) {
    if (segment.p_type != PT_LOAD) continue;
    const std::uintptr_t begin = info.dlpi_addr + segment.p_vaddr;
    ranges.push_back({begin, begin + segment.p_memsz});
  }
  return ranges;
}

// Compares by subtraction, because a damaged note's address plus size may overflow.
bool contains(const std::vector<Module::Range>& ranges, std::uintptr_t address,
              std::uint64_t size) {
  return std::ranges::any_of(ranges, [&](const Module::Range& range) {
    return address >= range.begin && address < range.end && size <= range.end - address;
  });
}

std::optional<ResourceImage> findResources(const dl_phdr_info& info,
                                           const std::vector<Module::Range>& ranges) {
  for (const ElfW(Phdr) & segment : std::span(info.dlpi_phdr, info.dlpi_phnum)) {
    if (segment.p_type != PT_NOTE) continue;
    const std::uintptr_t start = info.dlpi_addr + segment.p_vaddr;
    // The loader maps PT_LOAD segments only; notes outside them are not in memory.
    if (!contains(ranges, start, segment.p_memsz)) continue;
    const std::span notes(reinterpret_cast<const std::byte*>(start), segment.p_memsz);
    const std::optional<ResourceNote> note = findResourceNote(notes, segment.p_align);
    if (!note) continue;
    const std::uintptr_t image =
        start + note->bodyOffset + static_cast<std::uintptr_t>(note->relative);
    if (!contains(ranges, image, note->size)) return std::nullopt;
    return ResourceImage::open({reinterpret_cast<const std::byte*>(image), note->size});
  }
  return std::nullopt;
}

std::u16string internalNameIn(const std::optional<ResourceImage>& resources) {
  if (!resources) return {};
  for (std::uint32_t index = 0; index < resources->header().versionCount; ++index) {
    const auto entry = resources->versionString(index);
    if (entry && equalsIgnoreCase(entry->key, u"InternalName")) return std::u16string(entry->value);
  }
  return {};
}

// All modules that were ever loaded, the executable first.
class ModuleTable {
 public:
  static ModuleTable& instance() {
    // Never destroyed, because destructors of statics still look modules up.
    static auto* table = new ModuleTable;
    return *table;
  }

  // Calls `use` with the loaded module `module` (null: the executable), or with null if it is not
  // loaded, and returns its result. The handle is only dereferenced once it is known to be one.
  template <typename Use>
  auto with(const Module* module, Use use) {
    const std::lock_guard lock(mutex_);
    refresh();
    if (module == nullptr && !modules_.empty()) module = modules_.front().get();
    const bool known = module != nullptr && isKnown(module) && module->loaded;
    return use(known ? module : nullptr);
  }

  // Returns the first loaded module for which `matches` is true, or null.
  template <typename Matches>
  Module* find(Matches matches) {
    const std::lock_guard lock(mutex_);
    refresh();
    for (const auto& module : modules_) {
      if (module->loaded && matches(*module)) return module.get();
    }
    return nullptr;
  }

 private:
  bool isKnown(const Module* module) const {
    return std::ranges::any_of(modules_, [&](const auto& each) { return each.get() == module; });
  }

  // Scans the modules again if the loader's counters show that one was loaded or unloaded.
  void refresh() {
    struct Scan {
      ModuleTable* table;
      bool started;
    } scan{this, false};
    dl_iterate_phdr(
        [](dl_phdr_info* info, std::size_t, void* data) {
          auto& self = *static_cast<Scan*>(data);
          return self.table->visit(*info, self.started);
        },
        &scan);
  }

  int visit(const dl_phdr_info& info, bool& started) {
    if (!started) {
      // The counters are the same in every call of one iteration; a result other than 0 ends it.
      if (info.dlpi_adds == adds_ && info.dlpi_subs == subs_) return 1;
      adds_ = info.dlpi_adds;
      subs_ = info.dlpi_subs;
      for (const auto& module : modules_) module->loaded = false;
      started = true;
    }
    add(info);
    return 0;
  }

  void add(const dl_phdr_info& info) {
    std::vector<Module::Range> ranges = loadedRanges(info);
    const std::uintptr_t base = ranges.empty() ? 0 : ranges.front().begin;
    const std::filesystem::path path = pathOf(info, base);
    if (base == 0 || path.empty()) return;
    Module& module = record(base, toUtf16(path.string()));
    module.ranges = std::move(ranges);
    module.resources = findResources(info, module.ranges);
    module.internalName = internalNameIn(module.resources);
    module.loaded = true;
  }

  // Returns the record of the module at `base`. A module that is loaded again at the same place
  // keeps its record, so that its old handles are valid again.
  Module& record(std::uintptr_t base, const std::u16string& path) {
    for (const auto& module : modules_) {
      if (module->base == base && module->path == path) return *module;
    }
    Module& module = *modules_.emplace_back(std::make_unique<Module>());
    module.base = base;
    module.path = path;
    module.fileName = path.substr(path.rfind(u'/') + 1);
    return module;
  }

  std::mutex mutex_;
  std::vector<std::unique_ptr<Module>> modules_;
  unsigned long long adds_ = 0;
  unsigned long long subs_ = 0;
};

}  // namespace

HINSTANCE moduleOf(const void* address) {
  const auto wanted = reinterpret_cast<std::uintptr_t>(address);
  return ModuleTable::instance().find(
      [&](const Module& module) { return contains(module.ranges, wanted, 1); });
}

HINSTANCE moduleAt(std::u16string_view path) {
  return ModuleTable::instance().find([&](const Module& module) { return module.path == path; });
}

std::u16string modulePath(HINSTANCE module) {
  return ModuleTable::instance().with(
      module, [](const Module* found) { return found ? found->path : std::u16string(); });
}

std::optional<ResourceImage> moduleResources(HINSTANCE module) {
  return ModuleTable::instance().with(
      module, [](const Module* found) { return found ? found->resources : std::nullopt; });
}

}  // namespace qx

HINSTANCE GetModuleHandleW(const OLECHAR* name) {
  qx::ModuleTable& table = qx::ModuleTable::instance();
  if (name == nullptr) return table.find([](const HINSTANCE__&) { return true; });
  const std::u16string_view wanted = name;
  if (wanted.empty()) return nullptr;
  // A search of its own, because any module's internal name takes precedence over all file names.
  HINSTANCE byName = table.find(
      [&](const HINSTANCE__& module) { return qx::equalsIgnoreCase(module.internalName, wanted); });
  if (byName != nullptr) return byName;
  return table.find([&](const HINSTANCE__& module) {
    return module.path == wanted || module.fileName == wanted;
  });
}

DWORD GetModuleFileNameW(HINSTANCE module, OLECHAR* buffer, DWORD size) {
  if (buffer == nullptr || size == 0) return 0;
  const std::u16string path = qx::modulePath(module);
  if (path.empty()) return 0;
  const std::size_t copied = std::min<std::size_t>(path.size(), size - 1);
  path.copy(buffer, copied);
  buffer[copied] = 0;
  return path.size() < size ? static_cast<DWORD>(path.size()) : size;
}
