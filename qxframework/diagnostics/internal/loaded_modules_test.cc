#include "qxframework/diagnostics/internal/loaded_modules.h"

#include <gmock/gmock.h>
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

TEST(LoadedModules, MappingsEndAtTheLimit) {
  EXPECT_EQ(modulesOfMappings(getpid(), 2).size(), 2U);
  EXPECT_THAT(modulesOfMappings(-1, 100), testing::IsEmpty());
}

}  // namespace
