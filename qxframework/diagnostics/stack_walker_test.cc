#include "qxframework/diagnostics/stack_walker.h"

#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/text.h"
#include "qxframework/diagnostics/internal/debug_library.h"
#include "qxframework/diagnostics/internal/process_memory.h"
#include "qxframework/diagnostics/internal/stack_walker_helper.h"
#include "qxframework/diagnostics/walker_fixture.h"
#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"

#include <gmock/gmock.h>
#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <climits>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <string_view>

namespace {

// False while allocations that may return null do so.
bool g_memory = true;

template <class Allocate>
void* allocateOrNull(Allocate allocate) noexcept {
  try {
    return g_memory ? allocate() : nullptr;
  } catch (...) {
    return nullptr;
  }
}

}  // namespace

// In place of those of the library, for this program.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocateOrNull([&] { return ::operator new(size); });
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return allocateOrNull([&] { return ::operator new[](size); });
}

namespace {

using qx::test::RecordingWalker;
using qx::test::ScopedVariable;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

// The layout, on which derived classes in add-ons rely

// Returns the slot of a virtual function, which its pointer holds, in bytes and plus 1 on x86-64.
template <class Function>
std::size_t slotOf(Function function) {
  std::size_t words[2];
  static_assert(sizeof function == sizeof words);
  std::memcpy(words, &function, sizeof words);
#if defined(__x86_64__)
  return (words[0] - 1) / sizeof(void*);
#else
  return words[0] / sizeof(void*);
#endif
}

// The destructor takes the slots 0 and 1.
TEST(StackWalkerLayout, HasTheOperationsInTheirSlots) {
  struct Slots : StackWalker {
    static void check() {
      EXPECT_EQ(slotOf(&Slots::OnSymInit), 2U);
      EXPECT_EQ(slotOf(&Slots::OnLoadModule), 3U);
      EXPECT_EQ(slotOf(&Slots::OnCallstackEntry), 4U);
      EXPECT_EQ(slotOf(&Slots::OnDbgHelpErr), 5U);
      EXPECT_EQ(slotOf(&Slots::OnOutput), 6U);
    }
  };
  Slots::check();
}

TEST(StackWalkerLayout, HasTheFieldsInTheirOrder) {
  const RecordingWalker walker(5, "/symbols", 77, qx::processHandle(88));
  const auto at = [&]<class T>(std::size_t offset, T value) {
    std::memcpy(&value,
                reinterpret_cast<const char*>(static_cast<const StackWalker*>(&walker)) + offset,
                sizeof value);
    return value;
  };
  EXPECT_EQ(sizeof(StackWalker), 48U);
  EXPECT_NE(at(8, std::uint64_t{}), 0U);                                // m_sw
  EXPECT_EQ(at(16, std::uint64_t{}), 88U);                              // m_hProcess
  EXPECT_EQ(at(24, DWORD{}), 77U);                                      // m_dwProcessId
  EXPECT_FALSE(at(28, false));                                          // m_modulesLoaded
  EXPECT_STREQ(at(32, static_cast<const char*>(nullptr)), "/symbols");  // m_szSymPath
  EXPECT_EQ(at(40, 0), 5 | 16);                                         // m_options
}

TEST(StackWalkerLayout, HasTheOptionsAsBitsAndAllOfThemByDefault) {
  const std::vector<int> bits{StackWalker::RetrieveSymbol,     StackWalker::RetrieveLine,
                              StackWalker::RetrieveModuleInfo, StackWalker::RetrieveFileVersion,
                              StackWalker::SymBuildPath,       StackWalker::SymUseSymSrv,
                              StackWalker::OptionsAll};
  EXPECT_THAT(bits, ElementsAre(1, 2, 4, 8, 16, 32, 63));
  const StackWalker walker;
  int options = 0;
  std::memcpy(&options, reinterpret_cast<const char*>(&walker) + 40, sizeof options);
  EXPECT_EQ(options, 63);
}

TEST(StackWalkerLayout, HasTheFieldsOfAnEntryInTheirOrder) {
  using Entry = RecordingWalker::CallstackEntry;
  EXPECT_EQ(offsetof(Entry, offset), 0U);
  EXPECT_EQ(offsetof(Entry, name), 8U);
  EXPECT_EQ(offsetof(Entry, undName), 1032U);
  EXPECT_EQ(offsetof(Entry, undFullName), 2056U);
  EXPECT_EQ(offsetof(Entry, offsetFromSymbol), 3080U);
  EXPECT_EQ(offsetof(Entry, offsetFromLine), 3088U);
  EXPECT_EQ(offsetof(Entry, lineNumber), 3092U);
  EXPECT_EQ(offsetof(Entry, lineFileName), 3096U);
  EXPECT_EQ(offsetof(Entry, symType), 4120U);
  EXPECT_EQ(offsetof(Entry, symTypeString), 4128U);
  EXPECT_EQ(offsetof(Entry, moduleName), 4136U);
  EXPECT_EQ(offsetof(Entry, baseOfImage), 5160U);
  EXPECT_EQ(offsetof(Entry, loadedImageName), 5168U);
}

// The lines

TEST(StackWalkerLines, OfTheStartNamePathOptionsUserAndSystem) {
  RecordingWalker walker;
  walker.OnSymInit(".;/tmp;", 528, "paul");
  utsname system{};
  uname(&system);
  int number[3] = {};
  ASSERT_GE(std::sscanf(system.release, "%d.%d.%d", number, number + 1, number + 2), 2);
  const std::string version =
      std::to_string(number[0]) + "." + std::to_string(number[1]) + "." + std::to_string(number[2]);
  EXPECT_THAT(
      walker.lines,
      ElementsAre("SymInit: Symbol-SearchPath: '.;/tmp;', symOptions: 528, UserName: 'paul'\n",
                  "OS-Version: " + version + " (" + system.version + ") 0x0-0x0\n"));
}

TEST(StackWalkerLines, OfAModuleNameItsVersionIfItHasOne) {
  RecordingWalker walker;
  walker.OnLoadModule("/lib/a.so", "a.so", 0x7F00AB, 4096, 0, "-deferred-", "/lib/a.so",
                      0x0009'0014'0000'0001);
  walker.OnLoadModule("/lib/b.so", "b.so", 0x10, 1, 487, "PDB", "", 0);
  EXPECT_THAT(
      walker.lines,
      ElementsAre("/lib/a.so:a.so (0x7f00ab), size: 4096 (result: 0), SymType: "
                  "'-deferred-', PDB: '/lib/a.so', fileVersion: 9.20.0.1\n",
                  "/lib/b.so:b.so (0x10), size: 1 (result: 487), SymType: 'PDB', PDB: ''\n"));
}

TEST(StackWalkerLines, OfAnErrorNameStepErrorAndAddress) {
  RecordingWalker walker;
  walker.OnDbgHelpErr("StackWalk64", 487, 0xABC);
  walker.OnDbgHelpErr("Error while initializing dbghelp.dll", 0, 0);
  EXPECT_THAT(
      walker.lines,
      ElementsAre("ERROR: StackWalk64, GetLastError: 487 (Address: 0xabc)\n",
                  "ERROR: Error while initializing dbghelp.dll, GetLastError: 0 (Address: 0x0)\n"));
}

RecordingWalker::CallstackEntry entryAt(std::uint64_t address) {
  RecordingWalker::CallstackEntry entry{};
  entry.symTypeString = "";
  entry.offset = address;
  return entry;
}

template <std::size_t N>
void put(char (&to)[N], const char* text) {
  std::snprintf(to, N, "%s", text);
}

// Returns what the walker writes for the entry.
std::vector<std::string> linesOf(RecordingWalker::CallstackEntry entry, int type = 1) {
  RecordingWalker walker;
  walker.OnCallstackEntry(static_cast<RecordingWalker::CallstackEntryType>(type), entry);
  return walker.lines;
}

TEST(StackWalkerLines, OfAnEntryWithAFileNameFileLineAndFunction) {
  auto entry = entryAt(0x10);
  put(entry.lineFileName, "/src/a.cc");
  entry.lineNumber = 7;
  EXPECT_THAT(linesOf(entry, 0), ElementsAre("/src/a.cc (7): (function-name not available)\n"));
  put(entry.name, "_Z1fi");
  EXPECT_THAT(linesOf(entry), ElementsAre("/src/a.cc (7): _Z1fi\n"));
  put(entry.undName, "f");
  EXPECT_THAT(linesOf(entry), ElementsAre("/src/a.cc (7): f\n"));
  put(entry.undFullName, "f(int)");
  EXPECT_THAT(linesOf(entry), ElementsAre("/src/a.cc (7): f(int)\n"));
}

TEST(StackWalkerLines, OfAnEntryMayHaveTextsOfOneCharacter) {
  auto entry = entryAt(0x10);
  put(entry.name, "n");
  EXPECT_THAT(linesOf(entry),
              ElementsAre("0x10 ((module-name not available)): (filename not available): n\n"));
  put(entry.moduleName, "m");
  put(entry.undFullName, "f");
  EXPECT_THAT(linesOf(entry), ElementsAre("0x10 (m): (filename not available): f\n"));
  put(entry.lineFileName, "a");
  EXPECT_THAT(linesOf(entry), ElementsAre("a (0): f\n"));
}

TEST(StackWalkerLines, OfAnEntryWithoutAFileNameAddressAndModule) {
  auto entry = entryAt(0xFFFFFFFFFF600ABC);
  EXPECT_THAT(linesOf(entry),
              ElementsAre("0xffffffffff600abc ((module-name not available)): (filename not "
                          "available): (function-name not available)\n"));
  put(entry.moduleName, "a.so");
  put(entry.undName, "f");
  EXPECT_THAT(linesOf(entry),
              ElementsAre("0xffffffffff600abc (a.so): (filename not available): f\n"));
}

TEST(StackWalkerLines, AreNotWrittenForTheLastEntryAndAddressZero) {
  EXPECT_THAT(linesOf(entryAt(0x10), 2), IsEmpty());
  EXPECT_THAT(linesOf(entryAt(0)), IsEmpty());
}

TEST(StackWalkerLines, AreCutTo1023Characters) {
  auto entry = entryAt(0x10);
  put(entry.lineFileName, std::string(1023, 'f').c_str());
  EXPECT_THAT(linesOf(entry), ElementsAre(std::string(1023, 'f')));
}

std::vector<std::u16string> g_trace;

// The text is a format without arguments: a conversion in a path must not read foreign memory.
TEST(StackWalkerLines, GoToTheStandardOutputAndTheDeveloperTrace) {
  class Walker : public MyStackWalker {
   public:
    using MyStackWalker::OnOutput;
  };
  g_trace.clear();
  qx::setDeveloperTraceSink([](std::u16string_view text) { g_trace.emplace_back(text); });
  testing::internal::CaptureStdout();
  {
    Walker walker;
    walker.OnOutput("plain\n");
    walker.OnOutput("/tmp/%n%s 50%%\n");
  }
  qx::setDeveloperTraceSink(nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "plain\n/tmp/%n? 50%\n");
  EXPECT_THAT(g_trace, ElementsAre(u"plain\n", u"/tmp/%n%s 50%%\n"));
}

TEST(StackWalkerLines, NameTheSymbolTypes) {
  const auto names = [](auto name) {
    std::vector<std::string> all;
    for (DWORD type = 0; type < 11; ++type) all.emplace_back(name(type));
    return all;
  };
  EXPECT_THAT(names(qx::diagnostics::symTypeOfModule),
              ElementsAre("-nosymbols-", "COFF", "CV", "PDB", "-exported-", "-deferred-", "SYM",
                          "-unknown-", "Virtual", "DIA", "-unknown-"));
  EXPECT_THAT(names(qx::diagnostics::symTypeOfEntry),
              ElementsAre("-nosymbols-", "COFF", "CV", "PDB", "-exported-", "-deferred-", "SYM",
                          "DIA", "Virtual", "-unknown-", "-unknown-"));
}

// The search path

class SearchPath : public testing::Test {
 protected:
  static std::string of(int options, const char* given = nullptr) {
    RecordingWalker walker(options, given);
    EXPECT_TRUE(walker.LoadModules());
    return walker.searchPath;
  }
  static std::string executableFolder() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
  }

  std::string here = std::filesystem::current_path().string();
  std::string start = ".;" + here + ";" + executableFolder() + ";";
  ScopedVariable symbols{"_NT_SYMBOL_PATH", nullptr};
  ScopedVariable alternate{"_NT_ALTERNATE_SYMBOL_PATH", nullptr};
  ScopedVariable root{"SYSTEMROOT", nullptr};
  ScopedVariable drive{"SYSTEMDRIVE", nullptr};
};

TEST_F(SearchPath, HasTheFoldersAndTheServer) {
  EXPECT_EQ(of(63), start + "SRV*c:\\websymbols*https://debuginfod.elfutils.org/;");
}

TEST_F(SearchPath, HasAllThatIsSetInOrder) {
  const ScopedVariable a("_NT_SYMBOL_PATH", "/symbols");
  const ScopedVariable b("_NT_ALTERNATE_SYMBOL_PATH", "/more");
  const ScopedVariable c("SYSTEMROOT", "C:\\Windows");
  const ScopedVariable d("SYSTEMDRIVE", "D:");
  EXPECT_EQ(of(16, "/given"), "/given;" + start +
                                  "/symbols;/more;C:\\Windows;C:\\Windows\\system32;"
                                  "SRV*D:\\websymbols*https://debuginfod.elfutils.org/;");
}

TEST_F(SearchPath, IsEmptyWithoutItsOption) {
  EXPECT_EQ(of(63 & ~16), "");
  EXPECT_EQ(of(0), "");
}

TEST_F(SearchPath, IsBuiltForAGivenPathWithoutTheOption) {
  EXPECT_THAT(of(0, "/given"), StartsWith("/given;.;"));
}

TEST_F(SearchPath, IsReportedUpTo1023Characters) {
  const std::string given(2000, 'p');
  EXPECT_EQ(of(16, given.c_str()), std::string(1023, 'p'));
  EXPECT_EQ(of(16, std::string(9000, 'p').c_str()), std::string(1023, 'p'));
}

TEST_F(SearchPath, LeavesOutACurrentFolderOfMoreThan1023Characters) {
  const qx::test::TempFolder folder;
  const std::string part(200, 'd');
  for (int depth = 0; depth < 6; ++depth) {
    std::filesystem::current_path(depth == 0 ? folder.path() : std::filesystem::path(part));
    std::filesystem::create_directory(part);
  }
  const std::string path = of(63);
  std::filesystem::current_path(here);
  EXPECT_EQ(path,
            ".;" + executableFolder() + ";SRV*c:\\websymbols*https://debuginfod.elfutils.org/;");
}

TEST_F(SearchPath, LeavesOutTheFolderOfAnUnknownExecutable) {
  qx::diagnostics::walkProcess(INT_MAX);
  RecordingWalker walker;
  EXPECT_FALSE(walker.LoadModules());
  qx::diagnostics::walkProcess(0);
  EXPECT_EQ(walker.searchPath,
            ".;" + here + ";SRV*c:\\websymbols*https://debuginfod.elfutils.org/;");
}

// The start

std::string firstLine() {
  RecordingWalker walker(0);
  return walker.LoadModules() ? walker.lines.front() : "";
}

TEST(StackWalkerStart, NamesTheUser) {
  const passwd* user = getpwuid(geteuid());
  ASSERT_NE(user, nullptr);
  EXPECT_EQ(firstLine(), "SymInit: Symbol-SearchPath: '', symOptions: 528, UserName: '" +
                             std::string(user->pw_name) + "'\n");
}

// Writes the line as a user whom the system does not know. Only root can become one.
[[noreturn]] void writeFirstLineAs(uid_t user) {
  if (geteuid() == 0 && seteuid(user) != 0) _exit(1);
  std::fputs(firstLine().c_str(), stderr);
  _exit(0);
}

TEST(StackWalkerStartDeathTest, NamesTheNumberOfAUserWithoutAName) {
  // Only root can become a user that nobody has; any other user keeps the own name.
  const char* const expected = geteuid() == 0 ? "UserName: '3999999'" : "UserName: '.+'";
  EXPECT_EXIT(writeFirstLineAs(3999999), testing::ExitedWithCode(0), expected);
}

class ThrowingStart : public RecordingWalker {
 public:
  using RecordingWalker::RecordingWalker;
  void OnSymInit(const char*, DWORD, const char*) override { throw std::runtime_error("no"); }
};

TEST(StackWalkerStart, DoesNotThrowWhatAnOverrideThrows) {
  ThrowingStart walker;
  SetLastError(0);
  EXPECT_NO_THROW(EXPECT_FALSE(walker.LoadModules()));
  EXPECT_EQ(GetLastError(), 8U);
}

// Without memory

TEST(StackWalkerMemory, WithoutAHelperEachStepFails) {
  g_memory = false;
  RecordingWalker walker;
  g_memory = true;
  SetLastError(0);
  EXPECT_FALSE(walker.LoadModules());
  EXPECT_EQ(GetLastError(), 1114U);
  SetLastError(0);
  EXPECT_FALSE(walker.ShowCallstack());
  EXPECT_EQ(GetLastError(), 1114U);
  EXPECT_THAT(walker.lines, IsEmpty());
}

TEST(StackWalkerMemory, WithoutRoomForThePathTheStartFails) {
  RecordingWalker walker;
  SetLastError(0);
  g_memory = false;
  EXPECT_FALSE(walker.LoadModules());
  g_memory = true;
  EXPECT_EQ(GetLastError(), 8U);
  EXPECT_THAT(walker.lines, IsEmpty());
  EXPECT_TRUE(walker.LoadModules());
}

// Without the library

class WithoutLibrary : public testing::Test {
 protected:
  WithoutLibrary() {
    qx::diagnostics::setFunctionFinder([](void*, const char*) -> void* { return nullptr; });
  }
  ~WithoutLibrary() override { qx::diagnostics::setFunctionFinder(nullptr); }
};

constexpr char kNoLibrary[] =
    "ERROR: Error while initializing dbghelp.dll, GetLastError: 0 (Address: 0x0)\n";

TEST_F(WithoutLibrary, WalkWritesTheErrorAndFails) {
  RecordingWalker walker;
  EXPECT_FALSE(walker.LoadModules());
  EXPECT_EQ(GetLastError(), 1114U);
  SetLastError(0);
  EXPECT_FALSE(walker.ShowCallstack());
  EXPECT_EQ(GetLastError(), 1114U);
  EXPECT_THAT(walker.lines, ElementsAre(kNoLibrary, kNoLibrary));
}

TEST_F(WithoutLibrary, FilterWritesTheErrorAndReturnsOne) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(ExpFilter(nullptr, 5), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), kNoLibrary);
}

TEST(Filter, WritesTheStackOfTheContextAndReturnsOne) {
  ucontext_t registers;
  getcontext(&registers);
  CONTEXT context = qx::contextOf(registers);
  EXCEPTION_RECORD record{11, nullptr};
  EXCEPTION_POINTERS pointers{&record, &context};
  testing::internal::CaptureStdout();
  EXPECT_EQ(ExpFilter(&pointers, 11), 1);
  const std::string text = testing::internal::GetCapturedStdout();
  EXPECT_THAT(text, StartsWith("SymInit: Symbol-SearchPath: '.;"));
  EXPECT_THAT(text, HasSubstr("stack_walker_test.cc ("));
  EXPECT_THAT(text, testing::Not(HasSubstr("ExpFilter")));
  EXPECT_THAT(text, HasSubstr("): main\n"));
}

}  // namespace
