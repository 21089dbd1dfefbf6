// The modules that a walk lists, and the names that it finds in their files.

#include "qxframework/diagnostics/internal/debug_library.h"
#include "qxframework/diagnostics/walker_fixture.h"
#include "testing/temp_folder.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <string_view>

namespace {

using qx::test::RecordingWalker;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(StackWalkerModules, AreListedOnceWithTheExecutableFirst) {
  RecordingWalker walker;
  ASSERT_TRUE(walker.LoadModules());
  ASSERT_GT(walker.modules.size(), 2U);
  EXPECT_EQ(walker.modules.front(), std::filesystem::read_symlink("/proc/self/exe").string());
  const std::size_t count = walker.modules.size();
  EXPECT_TRUE(walker.LoadModules());
  EXPECT_EQ(walker.modules.size(), count);
  EXPECT_THAT(walker.errors, IsEmpty());
}

// The program of this test has the version block of testdata/program.toml.
TEST(StackWalkerModules, HaveTheirVersionWithItsOption) {
  const auto executableLine = [](int options) {
    RecordingWalker walker(options);
    walker.LoadModules();
    return walker.lines[2];
  };
  EXPECT_THAT(executableLine(8), EndsWith("', fileVersion: 3.20.1.65535\n"));
  EXPECT_THAT(executableLine(63 & ~8), testing::Not(HasSubstr("fileVersion")));
}

extern "C" const char __executable_start;
extern "C" const char _end;

// The lines before it are those of the start.
TEST(StackWalkerModules, AreWrittenWithTheirMemoryAndTheirSymbols) {
  const std::string image = std::filesystem::read_symlink("/proc/self/exe").string();
  const long page = getpagesize();
  char text[1024];
  std::snprintf(text, sizeof text,
                "%s:%s (%p), size: %ld (result: 0), SymType: '-deferred-', PDB: '%s', "
                "fileVersion: 3.20.1.65535\n",
                image.c_str(), image.substr(image.rfind('/') + 1).c_str(),
                static_cast<const void*>(&__executable_start),
                (&_end - &__executable_start + page - 1) / page * page, image.c_str());
  RecordingWalker walker;
  ASSERT_TRUE(walker.LoadModules());
  ASSERT_GT(walker.lines.size(), 2U);
  EXPECT_EQ(walker.lines[2], text);
}

TEST(StackWalkerModules, WithoutAVersionBlockHaveNoVersion) {
  RecordingWalker walker;
  walker.LoadModules();
  EXPECT_THAT(walker.lines,
              testing::Contains(testing::AllOf(HasSubstr("/libc.so.6:libc.so.6 ("),
                                               testing::Not(HasSubstr("fileVersion")))));
}

TEST(StackWalkerModules, ThatTheLibraryRefusesHaveItsErrorAsTheirResult) {
  qx::diagnostics::setFunctionFinder([](void* library, const char* name) -> void* {
    constexpr auto kRefuse = [](Dwfl*, const char*, Dwarf_Addr, Dwarf_Addr) -> Dwfl_Module* {
      return nullptr;
    };
    if (std::string_view(name) != "dwfl_report_module") return dlsym(library, name);
    return reinterpret_cast<void*>(+kRefuse);
  });
  RecordingWalker walker;
  EXPECT_TRUE(walker.LoadModules());
  qx::diagnostics::setFunctionFinder(nullptr);
  ASSERT_GT(walker.lines.size(), 2U);
  EXPECT_THAT(walker.lines[2], HasSubstr("(result: 487), SymType: '-unknown-', PDB: ''"));
}

TEST(StackWalkerModules, OfAnotherProcessThatTheLibraryRefusesAreErrors) {
  qx::diagnostics::setFunctionFinder([](void* library, const char* name) -> void* {
    constexpr auto kRefuse = [](Dwfl*, const char*, Dwarf_Addr, Dwarf_Addr) -> Dwfl_Module* {
      return nullptr;
    };
    if (std::string_view(name) != "dwfl_report_module") return dlsym(library, name);
    return reinterpret_cast<void*>(+kRefuse);
  });
  RecordingWalker walker(63, nullptr, 0, qx::processHandle(getppid()));
  EXPECT_TRUE(walker.LoadModules());
  qx::diagnostics::setFunctionFinder(nullptr);
  EXPECT_THAT(walker.lines,
              testing::Contains("ERROR: LoadModule, GetLastError: 487 (Address: 0x0)\n"));
}

TEST(StackWalkerModules, OfAnotherProcessComeFromItsMappings) {
  RecordingWalker walker(63, nullptr, static_cast<unsigned long>(getppid()),
                         qx::processHandle(getppid()));
  EXPECT_TRUE(walker.LoadModules());
  EXPECT_THAT(walker.modules, testing::Contains(HasSubstr("/libc.so.6")));
  EXPECT_THAT(walker.errors, IsEmpty());
}

TEST(StackWalkerModules, OfAProcessThatHasEndedAreNone) {
  RecordingWalker walker(63, nullptr, 0, qx::processHandle(INT_MAX));
  EXPECT_FALSE(walker.LoadModules());
}

// Names from files on disk

struct Module {
  explicit Module(const std::string& file) : handle(dlopen(file.c_str(), RTLD_NOW)) {
    call = reinterpret_cast<decltype(call)>(dlsym(handle, "fixtureCall"));
  }
  ~Module() { dlclose(handle); }
  void* handle;
  int (*call)(int (*callback)(void*), void* data);
};

int walkCallback(void* walker) {
  return static_cast<StackWalker*>(walker)->ShowCallstack() ? 1 : 0;
}

std::vector<std::string> namesWithFiles(const RecordingWalker& walker, std::size_t from,
                                        std::size_t count) {
  std::vector<std::string> names;
  for (std::size_t i = from; i < from + count && i < walker.entries.size(); ++i) {
    const auto& entry = walker.entries[i];
    names.push_back(entry.undName + "|" + entry.module + "|" +
                    entry.file.substr(entry.file.rfind('/') + 1));
  }
  return names;
}

TEST(StackWalkModules, WithDebugInformationHaveNamesAndLines) {
  const Module module(QX_WALK_FIXTURE);
  RecordingWalker walker;
  EXPECT_EQ(module.call(walkCallback, &walker), 1);
  EXPECT_THAT(namesWithFiles(walker, 2, 2),
              ElementsAre("(anonymous namespace)::innerCall|libqx_walk_fixture.so|fixture.cc",
                          "fixtureCall|libqx_walk_fixture.so|fixture.cc"));
}

TEST(StackWalkModules, StrippedOnesHaveTheirExportedNamesOnly) {
  const Module module(QX_WALK_STRIPPED_FIXTURE);
  RecordingWalker walker;
  EXPECT_EQ(module.call(walkCallback, &walker), 1);
  ASSERT_GT(walker.entries.size(), 4U);
  EXPECT_THAT(namesWithFiles(walker, 2, 2),
              ElementsAre("|libqx_walk_stripped_fixture.so|",
                          "fixtureCall|libqx_walk_stripped_fixture.so|"));
  EXPECT_EQ(walker.entries[3].symType, "-exported-");
  EXPECT_EQ(walker.find("main").undName, "main");
}

TEST(StackWalkModules, ReplacedOnesHaveNoNames) {
  const qx::test::TempFolder folder;
  const std::filesystem::path file = folder.path() / "module.so";
  std::filesystem::copy_file(QX_WALK_FIXTURE, file);
  const Module module(file.string());
  std::filesystem::remove(file);
  // Another module with other functions at the same places.
  std::filesystem::copy_file(QX_OTHER_FIXTURE, file);
  RecordingWalker walker;
  EXPECT_EQ(module.call(walkCallback, &walker), 1);
  EXPECT_THAT(namesWithFiles(walker, 2, 2), testing::Each("|module.so|"));
  // The file was looked at and closed.
  for (const auto& each : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    EXPECT_NE(std::filesystem::read_symlink(each.path(), gone), file);
  }
}

TEST(StackWalkModules, RemovedOnesHaveNoNames) {
  const qx::test::TempFolder folder;
  const std::filesystem::path file = folder.path() / "module.so";
  std::filesystem::copy_file(QX_WALK_FIXTURE, file);
  const Module module(file.string());
  std::filesystem::remove(file);
  RecordingWalker walker;
  EXPECT_EQ(module.call(walkCallback, &walker), 1);
  ASSERT_GT(walker.entries.size(), 4U);
  EXPECT_EQ(walker.entries[2].undName, "");
  EXPECT_EQ(walker.entries[2].module, "module.so");
}

}  // namespace
