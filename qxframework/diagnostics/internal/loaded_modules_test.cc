#include "qxframework/diagnostics/internal/loaded_modules.h"

#include "qxframework/os/unique_fd.h"
#include "testing/temp_folder.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <unistd.h>

#include <filesystem>
#include <map>

namespace {

using qx::diagnostics::LoadedModule;
using qx::diagnostics::modulesOfLoader;
using qx::diagnostics::modulesOfMappings;

std::map<std::uint64_t, LoadedModule> byBase(const std::vector<LoadedModule>& modules) {
  std::map<std::uint64_t, LoadedModule> sorted;
  for (const LoadedModule& each : modules) sorted[each.base] = each;
  return sorted;
}

TEST(LoadedModules, LoaderListsTheExecutableFirst) {
  const std::vector<LoadedModule> modules = modulesOfLoader(getpid());
  ASSERT_GT(modules.size(), 2U);
  const std::filesystem::path executable = std::filesystem::read_symlink("/proc/self/exe");
  EXPECT_EQ(modules.front().image, executable.string());
  EXPECT_EQ(modules.front().name, executable.filename().string());
}

TEST(LoadedModules, LoaderKnowsNoOtherProcess) {
  EXPECT_THAT(modulesOfLoader(getppid()), testing::IsEmpty());
}

TEST(LoadedModules, BothWaysAgree) {
  const auto loaded = byBase(modulesOfLoader(getpid()));
  const auto mapped = byBase(modulesOfMappings(getpid(), 1000));
  for (const auto& [base, module] : loaded) {
    const auto found = mapped.find(base);
    ASSERT_NE(found, mapped.end()) << module.image;
    EXPECT_TRUE(std::filesystem::equivalent(found->second.image, module.image)) << module.image;
    // The loader counts zeroed memory behind the file, which the kernel lists without a path.
    EXPECT_LE(found->second.size, module.size) << module.image;
    EXPECT_GT(found->second.size, 0U) << module.image;
  }
}

// The linker defines these at both ends of the executable.
extern "C" const char __executable_start;
extern "C" const char _end;

TEST(LoadedModules, HaveTheMemoryFromTheirFirstSegmentToTheirLast) {
  const LoadedModule executable = modulesOfLoader(getpid()).front();
  const auto begin = reinterpret_cast<std::uint64_t>(&__executable_start);
  const auto end = reinterpret_cast<std::uint64_t>(&_end);
  const auto page = static_cast<std::uint64_t>(getpagesize());
  EXPECT_EQ(executable.base, begin);
  EXPECT_EQ(executable.size, (end - begin + page - 1) / page * page);
}

TEST(LoadedModules, AreFiles) {
  for (const LoadedModule& each : modulesOfLoader(getpid())) {
    EXPECT_TRUE(std::filesystem::exists(each.image)) << each.image;
  }
}

// Loads a module while it lives.
struct Loaded {
  explicit Loaded(const std::string& file) : handle(dlopen(file.c_str(), RTLD_NOW)) {}
  ~Loaded() { dlclose(handle); }
  void* handle;
};

LoadedModule named(const std::vector<LoadedModule>& modules, const std::string& name) {
  for (const LoadedModule& each : modules) {
    if (each.name == name) return each;
  }
  return {};
}

TEST(LoadedModules, HaveAbsolutePathsAndTheSameSizeBothWays) {
  const Loaded module(std::filesystem::relative(QX_WALK_FIXTURE).string());
  const LoadedModule loaded = named(modulesOfLoader(getpid()), "libqx_walk_fixture.so");
  EXPECT_TRUE(std::filesystem::path(loaded.image).is_absolute()) << loaded.image;
  EXPECT_TRUE(std::filesystem::equivalent(loaded.image, QX_WALK_FIXTURE));
  const LoadedModule mapped = named(modulesOfMappings(getpid(), 1000), "libqx_walk_fixture.so");
  EXPECT_EQ(mapped.image, std::filesystem::canonical(QX_WALK_FIXTURE).string());
  EXPECT_EQ(mapped.base, loaded.base);
  EXPECT_EQ(mapped.size, loaded.size);
}

TEST(LoadedModules, OfAFileThatWasDeletedKeepItsPath) {
  const qx::test::TempFolder folder;
  const std::filesystem::path file = folder.path() / "module.so";
  std::filesystem::copy_file(QX_WALK_FIXTURE, file);
  const Loaded module(file.string());
  std::filesystem::remove(file);
  EXPECT_EQ(named(modulesOfMappings(getpid(), 1000), "module.so").image, file.string());
}

TEST(LoadedModules, AreNoOtherFilesInMemory) {
  const qx::test::TempFolder folder;
  const qx::UniqueFd file(open(folder.write("text", "no module").c_str(), O_RDONLY));
  void* mapped = mmap(nullptr, 9, PROT_READ, MAP_PRIVATE, file.get(), 0);
  ASSERT_NE(mapped, MAP_FAILED);
  EXPECT_EQ(named(modulesOfMappings(getpid(), 1000), "text").image, "");
  munmap(mapped, 9);
}

TEST(LoadedModules, MappingsEndAtTheLimit) {
  EXPECT_EQ(modulesOfMappings(getpid(), 2).size(), 2U);
  EXPECT_THAT(modulesOfMappings(-1, 100), testing::IsEmpty());
}

}  // namespace
