#include "qxframework/diagnostics/internal/debug_library.h"

#include "qxframework/diagnostics/internal/symbol_session.h"
#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

using qx::diagnostics::DebugHelp;
using qx::diagnostics::DebugLibrary;
using qx::diagnostics::findFunctions;

constexpr char kTools[] = "Debugging Tools for Windows";
constexpr char kTools64[] = "Debugging Tools for Windows 64-Bit";

std::string g_missing;

// Makes the library lack one function while it lives.
class Missing {
 public:
  explicit Missing(const std::string& name) {
    g_missing = name;
    qx::diagnostics::setFunctionFinder([](void* library, const char* wanted) -> void* {
      return g_missing == wanted ? nullptr : dlsym(library, wanted);
    });
  }
  ~Missing() { qx::diagnostics::setFunctionFinder(nullptr); }
};

// True if the library that was loaded from the folders has libdw's functions.
bool loadsWith(const qx::test::TempFolder& folder, const std::string& executable = "/none") {
  const qx::test::ScopedVariable programs("ProgramFiles", folder.path().string());
  DebugLibrary library;
  return library.load(executable) && library.functions().begin != nullptr;
}

void copyTo(const qx::test::TempFolder& folder, const std::string& tools, const char* file) {
  std::filesystem::create_directories(folder.path() / tools);
  std::filesystem::copy_file(file, folder.path() / tools / "libdw.so.1");
}

TEST(DebugLibrary, IsFoundByItsPlainName) {
  DebugLibrary library;
  ASSERT_TRUE(library.load("/none"));
  DebugHelp table{};
  EXPECT_TRUE(findFunctions(library.functions(), table));
  EXPECT_NE(table.SymGetLineFromAddr64, nullptr);
  library.unload();
  EXPECT_EQ(library.functions().begin, nullptr);
}

bool isLoaded() {
  void* library = dlopen("libdw.so.1", RTLD_NOW | RTLD_NOLOAD);
  if (library != nullptr) dlclose(library);
  return library != nullptr;
}

TEST(DebugLibrary, IsUnloadedAlsoIfItWasLoadedTwice) {
  ASSERT_FALSE(isLoaded());
  {
    DebugLibrary library;
    ASSERT_TRUE(library.load("/none"));
    ASSERT_TRUE(library.load("/none"));
    EXPECT_TRUE(isLoaded());
  }
  EXPECT_FALSE(isLoaded());
}

TEST(DebugLibrary, FinderOfItsFunctionsIsReplacedAndReturned) {
  constexpr auto kNothing = [](void*, const char*) -> void* { return nullptr; };
  const qx::diagnostics::FunctionFinder finder = kNothing;
  EXPECT_EQ(qx::diagnostics::setFunctionFinder(finder), nullptr);
  EXPECT_EQ(qx::diagnostics::setFunctionFinder(nullptr), finder);
  EXPECT_EQ(qx::diagnostics::setFunctionFinder(nullptr), nullptr);
}

// The fixture is a library without the functions, so that its choice shows.
TEST(DebugLibrary, ToolsComeBeforeThePlainName) {
  const qx::test::TempFolder folder;
  EXPECT_TRUE(loadsWith(folder));
  copyTo(folder, kTools64, QX_WALK_FIXTURE);
  EXPECT_FALSE(loadsWith(folder));
}

TEST(DebugLibrary, FirstToolsComeBeforeTheSecond) {
  const qx::test::TempFolder folder;
  copyTo(folder, kTools, QX_WALK_FIXTURE);
  folder.write(std::string(kTools64) + "/libdw.so.1", "no library");
  EXPECT_FALSE(loadsWith(folder));
}

TEST(DebugLibrary, ToolsThatDoNotLoadAreSkipped) {
  const qx::test::TempFolder folder;
  folder.write(std::string(kTools) + "/libdw.so.1", "no library");
  EXPECT_TRUE(loadsWith(folder));
  copyTo(folder, kTools64, QX_WALK_FIXTURE);
  EXPECT_FALSE(loadsWith(folder));
}

TEST(DebugLibrary, ToolsThatOthersCanReplaceAreSkipped) {
  const qx::test::TempFolder folder;
  copyTo(folder, kTools, QX_WALK_FIXTURE);
  std::filesystem::permissions(folder.path() / kTools / "libdw.so.1",
                               std::filesystem::perms::others_write,
                               std::filesystem::perm_options::add);
  EXPECT_TRUE(loadsWith(folder));
}

TEST(DebugLibrary, ProgramWithALocalCopyUsesNoTools) {
  const qx::test::TempFolder folder;
  copyTo(folder, kTools, QX_WALK_FIXTURE);
  copyTo(folder, kTools64, QX_WALK_FIXTURE);
  const std::string executable = folder.write("program.local", "").string();
  EXPECT_TRUE(loadsWith(folder, executable.substr(0, executable.rfind('.'))));
}

class MissingFunction : public testing::TestWithParam<const char*> {};

TEST_P(MissingFunction, MakesTheTableUseless) {
  const Missing missing(GetParam());
  DebugLibrary library;
  ASSERT_TRUE(library.load("/none"));
  DebugHelp table{};
  EXPECT_FALSE(findFunctions(library.functions(), table));
}

INSTANTIATE_TEST_SUITE_P(
    Each, MissingFunction,
    testing::Values("dwfl_begin", "dwfl_end", "dwfl_report_begin_add", "dwfl_report_module",
                    "dwfl_report_end", "dwfl_standard_find_debuginfo", "dwfl_addrmodule",
                    "dwfl_module_info", "dwfl_module_getelf", "dwfl_module_getdwarf",
                    "dwfl_module_getsymtab", "dwfl_module_addrinfo", "dwfl_attach_state",
                    "dwfl_thread_state_registers", "dwfl_thread_state_register_pc",
                    "dwfl_getthread_frames", "dwfl_frame_pc"),
    [](const auto& each) { return std::string(each.param); });

class MissingLineFunction : public testing::TestWithParam<const char*> {};

TEST_P(MissingLineFunction, LeavesOutTheLinesOnly) {
  const Missing missing(GetParam());
  DebugLibrary library;
  ASSERT_TRUE(library.load("/none"));
  DebugHelp table{};
  EXPECT_TRUE(findFunctions(library.functions(), table));
  EXPECT_EQ(table.SymGetLineFromAddr64, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Each, MissingLineFunction,
                         testing::Values("dwfl_module_addrdie", "dwfl_module_nextcu", "dwarf_haspc",
                                         "dwarf_getsrc_die", "dwarf_lineaddr", "dwarf_lineno",
                                         "dwarf_linesrc"),
                         [](const auto& each) { return std::string(each.param); });

}  // namespace
