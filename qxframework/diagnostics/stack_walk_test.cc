// Walks of the calling thread, from here and from given registers.

#include "qxframework/diagnostics/internal/debug_library.h"
#include "qxframework/diagnostics/walker_fixture.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <utility>

extern "C" void _start();
extern "C" void qxTrap();

namespace {

using qx::test::RecordingWalker;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

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
  ASSERT_TRUE(walker.LoadModules());
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
  EXPECT_THAT(caller.file, EndsWith("qxframework/diagnostics/stack_walk_test.cc"));
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

// The address behind this call is the first one of the next function.
[[noreturn, gnu::noinline]] void walkAndThrow(StackWalker& walker) {
  walker.ShowCallstack();
  throw 0;
}
constexpr int kLastCallLine = __LINE__ + 1;
[[noreturn, gnu::noinline]] void endsWithACall(StackWalker& walker) { walkAndThrow(walker); }

TEST(StackWalk, NamesTheFunctionAndLineOfACallThatEndsIt) {
  RecordingWalker walker;
  EXPECT_THROW(endsWithACall(walker), int);
  ASSERT_GT(walker.entries.size(), 3U);
  EXPECT_EQ(walker.entries[2].undName, "(anonymous namespace)::endsWithACall");
  EXPECT_EQ(walker.entries[2].line, static_cast<unsigned>(kLastCallLine));
}

// A function whose first instruction faults, directly behind another one.
asm(R"(
.text
.type qxBeforeTrap, @function
qxBeforeTrap:
  nop
.size qxBeforeTrap, . - qxBeforeTrap
.type qxTrap, @function
qxTrap:
  .cfi_startproc
)"
#if defined(__x86_64__)
    "  ud2\n  ret\n"
#else
    "  udf #0\n  ret\n"
#endif
    R"(
  .cfi_endproc
.size qxTrap, . - qxTrap
)");

RecordingWalker* g_walker = nullptr;

void walkInHandler(int, siginfo_t*, void* data) {
  g_walker->ShowCallstack();
  auto* registers = static_cast<ucontext_t*>(data);
#if defined(__x86_64__)
  registers->uc_mcontext.gregs[REG_RIP] += 2;
#else
  registers->uc_mcontext.pc += 4;
#endif
}

TEST(StackWalk, NamesTheFunctionThatASignalInterrupted) {
  RecordingWalker walker;
  g_walker = &walker;
  struct sigaction action {};
  struct sigaction before {};
  action.sa_flags = SA_SIGINFO;
  action.sa_sigaction = walkInHandler;
  ASSERT_EQ(sigaction(SIGILL, &action, &before), 0);
  qxTrap();
  sigaction(SIGILL, &before, nullptr);
  ASSERT_GT(walker.entries.size(), 4U);
  EXPECT_EQ(walker.entries[1].undName, "(anonymous namespace)::walkInHandler");
  EXPECT_EQ(walker.entries[3].undName, "qxTrap");
  EXPECT_EQ(walker.entries[3].fromSymbol, 0U);
  EXPECT_EQ(walker.find("main").type, 1);
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

TEST(StackWalk, NamesTheFunctionWhoseFirstByteTheContextIsAt) {
  RecordingWalker walker;
  const auto start = reinterpret_cast<std::uint64_t>(&contextAt);
  const CONTEXT context = contextAt(start, reinterpret_cast<void*>(0x10));
  EXPECT_TRUE(walker.ShowCallstack(nullptr, &context));
  ASSERT_EQ(walker.entries.size(), 1U);
  EXPECT_EQ(walker.entries[0].undName, "(anonymous namespace)::contextAt");
  EXPECT_EQ(walker.entries[0].fromSymbol, 0U);
}

TEST(StackWalk, EndsWithTheOutermostFunction) {
  RecordingWalker walker;
  std::uint64_t stack[64] = {};
  const CONTEXT context = contextAt(reinterpret_cast<std::uint64_t>(&_start), stack);
  EXPECT_TRUE(walker.ShowCallstack(nullptr, &context));
  ASSERT_EQ(walker.entries.size(), 2U);
  EXPECT_EQ(walker.entries[0].undName, "_start");
  EXPECT_EQ(walker.entries[0].type, 0);
  EXPECT_EQ(walker.entries[1].type, 2);
}

TEST(StackWalk, EndsAtAWildAddressThatNoFunctionHasCalled) {
  RecordingWalker walker;
  std::uint64_t caller = 0x4242;
  const CONTEXT context = contextAt(0x4141, &caller);
  EXPECT_TRUE(walker.ShowCallstack(nullptr, &context));
  ASSERT_EQ(walker.entries.size(), 1U);
  EXPECT_EQ(walker.entries[0].offset, 0x4141U);
  EXPECT_EQ(walker.lines.back(), "ERROR: StackWalk64, GetLastError: 487 (Address: 0x4141)\n");
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
  const std::vector<std::string> end(walker.lines.end() - 5, walker.lines.end());
  EXPECT_THAT(
      end,
      ElementsAre("ERROR: SymGetSymFromAddr64, GetLastError: 126 (Address: 0x4141414141414141)\n",
                  "ERROR: SymGetLineFromAddr64, GetLastError: 126 (Address: 0x4141414141414141)\n",
                  "ERROR: SymGetModuleInfo64, GetLastError: 126 (Address: 0x4141414141414141)\n",
                  "0x4141414141414141 ((module-name not available)): (filename not available): "
                  "(function-name not available)\n",
                  "ERROR: StackWalk64, GetLastError: 487 (Address: 0x4141414141414141)\n"));
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
  EXPECT_THAT(wild.errors, testing::Not(testing::Contains("SymGetSymFromAddr64")));
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

TEST(StackWalk, HasNoLinesIfTheLibraryLacksTheirFunctions) {
  qx::diagnostics::setFunctionFinder([](void* library, const char* name) -> void* {
    return std::string_view(name) == "dwarf_lineno" ? nullptr : dlsym(library, name);
  });
  RecordingWalker walker;
  callWalk(walker);
  qx::diagnostics::setFunctionFinder(nullptr);
  EXPECT_THAT(walker.errors, IsEmpty());
  const RecordingWalker::Entry caller = walker.find("(anonymous namespace)::callWalk");
  EXPECT_EQ(caller.offset, g_address);
  EXPECT_EQ(caller.file, "");
  EXPECT_EQ(caller.line, 0U);
}

// A function of the library that does nothing, so that the first step of each walk fails.
TEST(StackWalk, ThatFailsAtItsFirstStepNamesTheAddressOfTheContext) {
  qx::diagnostics::setFunctionFinder([](void* library, const char* name) -> void* {
    constexpr auto kRefuse = [](const Dwfl_Callbacks*) -> Dwfl* { return nullptr; };
    if (std::string_view(name) != "dwfl_begin") return dlsym(library, name);
    return reinterpret_cast<void*>(+kRefuse);
  });
  RecordingWalker walker(0);
  const CONTEXT context = contextAt(0x4141, nullptr);
  const bool walked = walker.ShowCallstack(nullptr, &context);
  qx::diagnostics::setFunctionFinder(nullptr);
  EXPECT_TRUE(walked);
  ASSERT_GT(walker.lines.size(), 4U);
  EXPECT_EQ(walker.lines.front(), "ERROR: SymInitialize, GetLastError: 8 (Address: 0x0)\n");
  EXPECT_THAT(walker.lines[1], StartsWith("SymInit: Symbol-SearchPath: '', symOptions: 528, "));
  EXPECT_THAT(walker.lines[3], HasSubstr(" (result: 8), SymType: '-unknown-', PDB: ''\n"));
  EXPECT_EQ(walker.lines.back(), "ERROR: StackWalk64, GetLastError: 1114 (Address: 0x4141)\n");
}

TEST(StackWalk, DoesNotThrowWhatAnOverrideThrows) {
  ThrowingWalker walker;
  EXPECT_NO_THROW(EXPECT_FALSE(walker.ShowCallstack()));
  EXPECT_EQ(GetLastError(), 8U);
}

}  // namespace
