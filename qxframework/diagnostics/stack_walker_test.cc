#include "qxframework/diagnostics/stack_walker.h"

#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/text.h"
#include "qxframework/diagnostics/internal/debug_library.h"
#include "qxframework/diagnostics/internal/stack_walker_helper.h"
#include "qxframework/diagnostics/walker_fixture.h"
#include "testing/scoped_variable.h"
#include "testing/temp_folder.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace {

using qx::test::RecordingWalker;
using qx::test::ScopedVariable;
using testing::ElementsAre;
using testing::EndsWith;
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

// The modules

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

TEST(StackWalkerModules, OfAnotherProcessComeFromItsMappings) {
  RecordingWalker walker(63, nullptr, static_cast<unsigned long>(getppid()),
                         qx::processHandle(getppid()));
  EXPECT_TRUE(walker.LoadModules());
  EXPECT_THAT(walker.modules, testing::Contains(HasSubstr("/libc.so.6")));
}

TEST(StackWalkerModules, OfAProcessThatHasEndedAreNone) {
  RecordingWalker walker(63, nullptr, 0, qx::processHandle(INT_MAX));
  EXPECT_FALSE(walker.LoadModules());
}

// The walk

std::uint64_t g_address = 0;

[[gnu::noinline]] void walkInside(StackWalker& walker, int, const char*) {
  g_address = reinterpret_cast<std::uint64_t>(__builtin_return_address(0));
  EXPECT_TRUE(walker.ShowCallstack());
}

constexpr int kWalkLine = __LINE__ + 2;
[[gnu::noinline]] void callWalk(StackWalker& walker) {
  walkInside(walker, 1, "text");
  g_address = g_address + 0;
}

TEST(StackWalk, NamesFunctionsWithFilesAndLines) {
  RecordingWalker walker;
  SetLastError(7);
  callWalk(walker);
  EXPECT_EQ(GetLastError(), 0U);
  ASSERT_GT(walker.entries.size(), 4U);
  EXPECT_EQ(walker.entries[0].type, 0);
  EXPECT_EQ(walker.entries[0].undName, "StackWalker::ShowCallstack");
  const RecordingWalker::Entry inside = walker.entries[1];
  EXPECT_EQ(inside.type, 1);
  EXPECT_THAT(inside.name, StartsWith("_ZN"));
  EXPECT_EQ(inside.undName, "(anonymous namespace)::walkInside");
  EXPECT_EQ(inside.undFullName,
            "(anonymous namespace)::walkInside(StackWalker&, int, char const*)");
  EXPECT_EQ(inside.symType, "PDB");
  const RecordingWalker::Entry caller = walker.entries[2];
  EXPECT_EQ(caller.offset, g_address);
  EXPECT_EQ(caller.undName, "(anonymous namespace)::callWalk");
  EXPECT_EQ(caller.line, static_cast<unsigned>(kWalkLine));
  EXPECT_THAT(caller.file, EndsWith("qxframework/diagnostics/stack_walker_test.cc"));
  EXPECT_EQ(caller.fromSymbol, g_address - reinterpret_cast<std::uint64_t>(&callWalk));
  // The line of the call is not the function's first one.
  EXPECT_GT(caller.fromLine, 0U);
  EXPECT_LT(caller.fromLine, caller.fromSymbol);
  EXPECT_EQ(caller.image, std::filesystem::read_symlink("/proc/self/exe").string());
  Dl_info info;
  ASSERT_NE(dladdr(reinterpret_cast<void*>(&callWalk), &info), 0);
  EXPECT_EQ(caller.base, reinterpret_cast<std::uint64_t>(info.dli_fbase));
  EXPECT_EQ(walker.find("main").type, 1);
  EXPECT_EQ(walker.entries.back().type, 2);
}

TEST(StackWalk, CanBeRepeated) {
  RecordingWalker walker;
  callWalk(walker);
  const std::size_t count = walker.entries.size();
  const std::size_t modules = walker.modules.size();
  callWalk(walker);
  EXPECT_EQ(walker.entries.size(), 2 * count);
  EXPECT_EQ(walker.modules.size(), modules);
}

TEST(StackWalk, StartsAtAGivenContext) {
  ucontext_t registers;
  getcontext(&registers);
  const CONTEXT context = qx::contextOf(registers);
  RecordingWalker walker;
  EXPECT_TRUE(walker.ShowCallstack(nullptr, &context));
  ASSERT_FALSE(walker.entries.empty());
  EXPECT_EQ(walker.entries[0].undName,
            "(anonymous namespace)::StackWalk_StartsAtAGivenContext_Test"
            "::TestBody");
}

// The contexts below are of this machine.
CONTEXT contextAt(std::uint64_t pc, const void* stack) {
  ucontext_t registers;
  getcontext(&registers);
  CONTEXT context = qx::contextOf(registers);
#if defined(__x86_64__)
  context.Machine.gregs[REG_RIP] = static_cast<greg_t>(pc);
  context.Machine.gregs[REG_RSP] = reinterpret_cast<greg_t>(stack);
  context.Machine.gregs[REG_RBP] = 0;
#else
  context.Machine.pc = pc;
  context.Machine.sp = reinterpret_cast<std::uint64_t>(stack);
  context.Machine.regs[29] = 0;
#endif
  return context;
}

// Stands for every word of memory.
bool readSame(HANDLE, std::uint64_t, void* buffer, DWORD size, DWORD* count, void* word) {
  std::memcpy(buffer, word, std::min<std::size_t>(size, sizeof(std::uint64_t)));
  *count = size;
  return true;
}

TEST(StackWalk, EndsAtAFrameThatReturnsToItself) {
  RecordingWalker walker;
  std::uint64_t self = reinterpret_cast<std::uint64_t>(&contextAt) + 1;
  const CONTEXT context = contextAt(self, nullptr);
  EXPECT_TRUE(walker.ShowCallstack(nullptr, &context, readSame, &self));
  char line[200];
  std::snprintf(line, sizeof line,
                "ERROR: StackWalk64-Endless-Callstack!, GetLastError: 0 (Address: 0x%lx)\n", self);
  EXPECT_EQ(walker.lines.back(), line);
  EXPECT_THAT(walker.entries, IsEmpty());
}

TEST(StackWalk, EndsAtAFrameThatCannotBeRead) {
  RecordingWalker walker;
  const CONTEXT context =
      contextAt(reinterpret_cast<std::uint64_t>(&contextAt) + 1, reinterpret_cast<void*>(0x10));
  EXPECT_TRUE(walker.ShowCallstack(nullptr, &context));
  ASSERT_EQ(walker.entries.size(), 1U);
  EXPECT_EQ(walker.entries[0].undName, "(anonymous namespace)::contextAt");
  char line[200];
  std::snprintf(line, sizeof line, "ERROR: StackWalk64, GetLastError: 487 (Address: 0x%lx)\n",
                reinterpret_cast<std::uint64_t>(&contextAt) + 1);
  EXPECT_EQ(walker.lines.back(), line);
}

// Lets two words be read: the frame pointer that a function has saved, and its return address.
bool readTwice(HANDLE process, std::uint64_t address, void* buffer, DWORD size, DWORD* count,
               void* word) {
  auto& left = *static_cast<std::pair<std::uint64_t, int>*>(word);
  return left.second-- > 0 && readSame(process, address, buffer, size, count, &left.first);
}

TEST(StackWalk, EndsWhereTheChainOfFramesIsCorrupt) {
  RecordingWalker walker;
  constexpr std::uint64_t kWild = 0x4141414141414141;
  std::pair<std::uint64_t, int> words(kWild, 2);
  const CONTEXT context = contextAt(reinterpret_cast<std::uint64_t>(&contextAt) + 1, nullptr);
  EXPECT_TRUE(walker.ShowCallstack(nullptr, &context, readTwice, &words));
  ASSERT_EQ(walker.entries.size(), 2U);
  EXPECT_EQ(walker.entries[0].undName, "(anonymous namespace)::contextAt");
  EXPECT_EQ(walker.entries[1].offset, kWild);
  EXPECT_THAT(walker.errors, ElementsAre("SymGetSymFromAddr64", "SymGetLineFromAddr64",
                                         "SymGetModuleInfo64", "StackWalk64"));
  EXPECT_EQ(walker.lines.back(),
            "ERROR: StackWalk64, GetLastError: 487 (Address: 0x4141414141414141)\n");
}

TEST(StackWalk, GoesOnBehindACallOfANullPointer) {
  RecordingWalker walker;
  callWalk(walker);
  RecordingWalker wild;
  std::uint64_t back = g_address;
  const CONTEXT context = contextAt(0, &back);
  EXPECT_TRUE(wild.ShowCallstack(nullptr, &context));
  ASSERT_GE(wild.entries.size(), 2U);
  EXPECT_EQ(wild.entries[0].offset, 0U);
  EXPECT_EQ(wild.entries[1].undName, "(anonymous namespace)::callWalk");
  EXPECT_EQ(wild.entries[1].line, static_cast<unsigned>(kWalkLine));
}

// Claims that all is read, and stores nothing.
bool readNothing(HANDLE, std::uint64_t, void*, DWORD, DWORD* count, void*) {
  *count = 0;
  return true;
}

TEST(StackWalk, EndsWhereTheCallbackReadsTooLittle) {
  RecordingWalker walker;
  const CONTEXT context = contextAt(reinterpret_cast<std::uint64_t>(&contextAt) + 1, nullptr);
  EXPECT_TRUE(walker.ShowCallstack(nullptr, &context, readNothing));
  ASSERT_EQ(walker.entries.size(), 1U);
  EXPECT_EQ(walker.entries[0].undName, "(anonymous namespace)::contextAt");
  EXPECT_THAT(walker.errors, ElementsAre("StackWalk64"));
}

int g_reads = 0;

bool countReads(HANDLE, std::uint64_t address, void* buffer, DWORD size, DWORD* count, void* data) {
  ++g_reads;
  EXPECT_EQ(data, &g_reads);
  std::memcpy(buffer, reinterpret_cast<const void*>(address), size);
  *count = size;
  return true;
}

TEST(StackWalk, ReadsMemoryThroughTheCallback) {
  g_reads = 0;
  RecordingWalker walker;
  EXPECT_TRUE(walker.ShowCallstack(GetCurrentThread(), nullptr, countReads, &g_reads));
  EXPECT_GT(g_reads, 0);
  EXPECT_NE(walker.find("main").offset, 0U);
  const int before = g_reads;
  EXPECT_TRUE(walker.ShowCallstack());
  EXPECT_EQ(g_reads, before);
}

// Two functions in turn, since a function that calls itself returns to its own address.
int deepAgain(StackWalker& walker, int depth);
[[gnu::noinline]] int deep(StackWalker& walker, int depth) {
  if (depth == 0) return walker.ShowCallstack() ? 1 : 0;
  return deepAgain(walker, depth - 1) + 1;
}
[[gnu::noinline]] int deepAgain(StackWalker& walker, int depth) { return deep(walker, depth) + 1; }

TEST(StackWalk, EndsAfterAThousandFrames) {
  RecordingWalker walker;
  deep(walker, 2000);
  EXPECT_EQ(walker.entries.size(), 1000U);
  EXPECT_THAT(walker.lines.back(), StartsWith("ERROR: StackWalk64, GetLastError: 1001 (Address: "));
}

// Functions with long names in the symbol table. The first is the mangled form of A::f(A, A),
// where A has 900 letters. The second is longer than any name that can be demangled.
[[gnu::noinline]] int callWithLongSignature(StackWalker& walker) asm(
    "_ZN900"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "1fES_S_");
int callWithLongSignature(StackWalker& walker) { return walker.ShowCallstack() ? 1 : 0; }
[[gnu::noinline]] int callWithLongName(StackWalker& walker) asm(
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi"
    "abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghijklmnopqrstuvwxyz_abcdefghi");
int callWithLongName(StackWalker& walker) { return walker.ShowCallstack() ? 1 : 0; }

// Returns the longest line.
std::string longest(const RecordingWalker& walker) {
  return *std::max_element(
      walker.lines.begin(), walker.lines.end(),
      [](const std::string& a, const std::string& b) { return a.size() < b.size(); });
}

TEST(StackWalk, CutsLongSignatures) {
  RecordingWalker walker;
  EXPECT_EQ(callWithLongSignature(walker), 1);
  ASSERT_GT(walker.entries.size(), 2U);
  const RecordingWalker::Entry& entry = walker.entries[1];
  EXPECT_EQ(entry.name.size(), 913U);
  EXPECT_EQ(entry.undName.size(), 903U);
  EXPECT_THAT(entry.undName, StartsWith("abcdef"));
  EXPECT_EQ(entry.undFullName.size(), 1023U);
  EXPECT_THAT(entry.undFullName, StartsWith("abcdef"));
  EXPECT_EQ(longest(walker).size(), 1023U);
  EXPECT_THAT(longest(walker), HasSubstr("): abcdef"));
}

TEST(StackWalk, CutsLongNames) {
  RecordingWalker walker;
  EXPECT_EQ(callWithLongName(walker), 1);
  ASSERT_GT(walker.entries.size(), 2U);
  const RecordingWalker::Entry& entry = walker.entries[1];
  EXPECT_EQ(entry.name.size(), 1023U);
  EXPECT_THAT(entry.name, StartsWith("abcdef"));
  EXPECT_EQ(entry.undName, entry.name);
  EXPECT_EQ(entry.undFullName, entry.name);
  EXPECT_EQ(longest(walker).size(), 1023U);
}

class ThrowingWalker : public RecordingWalker {
 protected:
  void OnCallstackEntry(CallstackEntryType, CallstackEntry&) override {
    throw std::runtime_error("no");
  }
};

TEST(StackWalk, DoesNotThrowWhatAnOverrideThrows) {
  ThrowingWalker walker;
  EXPECT_NO_THROW(EXPECT_FALSE(walker.ShowCallstack()));
  EXPECT_EQ(GetLastError(), 8U);
}

// Modules on disk

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
