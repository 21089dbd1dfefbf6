#include "qxframework/diagnostics/internal/symbol_session.h"

#include "qxframework/diagnostics/internal/loaded_modules.h"
#include "qxframework/diagnostics/internal/registers.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

extern "C" void _start();

namespace {

using qx::diagnostics::DebugHelp;
using qx::diagnostics::DebugLibrary;
using qx::diagnostics::DwarfFunctions;
using qx::diagnostics::Line;
using qx::diagnostics::LoadedModule;
using qx::diagnostics::ModuleInfo;
using qx::diagnostics::SessionPtr;
using qx::diagnostics::StackFrame;
using qx::diagnostics::Symbol;

constexpr int kFunctionLine = __LINE__ + 1;
[[gnu::noinline]] int someFunction(int value) { return value + 1; }

template <class Function>
std::uint64_t addressOf(Function* function) {
  return reinterpret_cast<std::uint64_t>(function);
}

bool readNothing(HANDLE, std::uint64_t, void*, DWORD, DWORD*) { return false; }

int g_ends = 0;
std::string g_calls;
DwarfFunctions g_real;

// A session for the modules of this program. A test may replace functions of the library before.
class SymbolSessionTest : public testing::Test {
 protected:
  SymbolSessionTest() {
    EXPECT_TRUE(library.load("/none"));
    dw = g_real = library.functions();
  }
  ~SymbolSessionTest() override {
    if (session != nullptr) help.SymCleanup(std::move(session));
  }

  void start(const char* path = "") {
    ASSERT_TRUE(qx::diagnostics::findFunctions(dw, help));
    ASSERT_TRUE(help.SymInitialize(dw, GetCurrentProcess(), path, session));
    help.SymSetOptions(*session, qx::diagnostics::kLoadLines);
    for (const LoadedModule& each : qx::diagnostics::modulesOfLoader(getpid())) {
      ASSERT_EQ(load(each), each.base) << each.image;
    }
  }
  std::uint64_t load(const LoadedModule& module) {
    return help.SymLoadModule64(*session, module.image.c_str(), module.name.c_str(), module.base,
                                module.size);
  }
  static LoadedModule executable() { return qx::diagnostics::modulesOfLoader(getpid()).front(); }
  DWORD typeAt(std::uint64_t address) {
    EXPECT_TRUE(help.SymGetModuleInfo64(*session, address, info));
    return info.type;
  }
  bool findLine(std::uint64_t address) {
    SetLastError(0);
    return help.SymGetLineFromAddr64(*session, address, &displacement, line);
  }
  std::string nameAt(std::uint64_t address) {
    return help.SymGetSymFromAddr64(*session, address, &fromSymbol, symbol) ? symbol.name : "";
  }

  DebugLibrary library;
  DwarfFunctions dw{};
  DebugHelp help{};
  SessionPtr session;
  ModuleInfo info{};
  Line line{};
  Symbol symbol{};
  DWORD displacement = 0;
  std::uint64_t fromSymbol = 0;
};

TEST_F(SymbolSessionTest, HasOptionsWhichAreZeroAtItsStart) {
  ASSERT_TRUE(qx::diagnostics::findFunctions(dw, help));
  ASSERT_TRUE(help.SymInitialize(dw, GetCurrentProcess(), nullptr, session));
  EXPECT_EQ(help.SymGetOptions(*session), 0U);
  help.SymSetOptions(*session, 528);
  EXPECT_EQ(help.SymGetOptions(*session), 528U);
}

TEST_F(SymbolSessionTest, ReturnsItsSearchPathAsFarAsThereIsRoom) {
  start("abcdef");
  char path[8] = "1234567";
  EXPECT_TRUE(help.SymGetSearchPath(*session, path, 4));
  EXPECT_STREQ(path, "abc");
  EXPECT_STREQ(path + 4, "567");
  EXPECT_TRUE(help.SymGetSearchPath(*session, path, 7));
  EXPECT_STREQ(path, "abcdef");
}

TEST_F(SymbolSessionTest, HasAnEmptySearchPathWithoutAnArgument) {
  start(nullptr);
  char path[2] = "x";
  EXPECT_TRUE(help.SymGetSearchPath(*session, path, sizeof path));
  EXPECT_STREQ(path, "");
}

TEST_F(SymbolSessionTest, ReportsAModuleBetweenABeginAndAnEnd) {
  g_calls.clear();
  dw.reportBegin = [](Dwfl* dwfl) {
    g_calls += "begin ";
    g_real.reportBegin(dwfl);
  };
  dw.reportModule = [](Dwfl* dwfl, const char* name, Dwarf_Addr start, Dwarf_Addr end) {
    g_calls += "module ";
    return g_real.reportModule(dwfl, name, start, end);
  };
  dw.reportEnd = [](Dwfl* dwfl, int (*removed)(Dwfl_Module*, void*, const char*, Dwarf_Addr, void*),
                    void* data) {
    g_calls += "end ";
    return g_real.reportEnd(dwfl, removed, data);
  };
  ASSERT_TRUE(qx::diagnostics::findFunctions(dw, help));
  ASSERT_TRUE(help.SymInitialize(dw, GetCurrentProcess(), "", session));
  EXPECT_EQ(load(executable()), executable().base);
  EXPECT_EQ(g_calls, "begin module end ");
}

TEST_F(SymbolSessionTest, EndsTheLibrarysSessionOnce) {
  g_ends = 0;
  dw.end = [](Dwfl* dwfl) {
    ++g_ends;
    g_real.end(dwfl);
  };
  start();
  EXPECT_EQ(g_ends, 0);
  help.SymCleanup(std::move(session));
  EXPECT_EQ(g_ends, 1);
}

TEST_F(SymbolSessionTest, ThatTheLibraryRefusesFailsInEachStep) {
  g_ends = 0;
  dw.begin = [](const Dwfl_Callbacks*) -> Dwfl* { return nullptr; };
  dw.end = [](Dwfl*) { ++g_ends; };
  ASSERT_TRUE(qx::diagnostics::findFunctions(dw, help));
  EXPECT_FALSE(help.SymInitialize(dw, GetCurrentProcess(), "path", session));
  EXPECT_EQ(GetLastError(), 8U);
  SetLastError(0);
  EXPECT_EQ(load(executable()), 0U);
  EXPECT_EQ(GetLastError(), 8U);
  EXPECT_EQ(nameAt(addressOf(&someFunction)), "");
  EXPECT_EQ(GetLastError(), 126U);
  StackFrame frame;
  EXPECT_FALSE(
      help.StackWalk64(*session, qx::diagnostics::kMachine, frame, CONTEXT{}, readNothing));
  EXPECT_EQ(GetLastError(), 1114U);
  help.SymCleanup(std::move(session));
  EXPECT_EQ(g_ends, 0);
}

TEST_F(SymbolSessionTest, FindsTheModuleOfAnAddress) {
  start();
  EXPECT_EQ(help.SymGetModuleBase64(*session, addressOf(&someFunction)), executable().base);
  EXPECT_NE(help.SymFunctionTableAccess64(*session, addressOf(&someFunction)), nullptr);
}

TEST_F(SymbolSessionTest, FindsNoModuleOutsideOfAll) {
  start();
  EXPECT_EQ(help.SymGetModuleBase64(*session, 16), 0U);
  EXPECT_EQ(GetLastError(), 487U);
  EXPECT_EQ(help.SymFunctionTableAccess64(*session, 16), nullptr);
  EXPECT_FALSE(help.SymGetModuleInfo64(*session, 16, info));
  EXPECT_EQ(GetLastError(), 126U);
  SetLastError(0);
  EXPECT_EQ(nameAt(16), "");
  EXPECT_EQ(GetLastError(), 126U);
  EXPECT_FALSE(findLine(16));
  EXPECT_EQ(GetLastError(), 126U);
}

TEST_F(SymbolSessionTest, OpensAModuleWhenASymbolOfItIsNeeded) {
  start();
  const std::uint64_t address = addressOf(&someFunction);
  EXPECT_EQ(typeAt(address), 5U);
  EXPECT_EQ(nameAt(address), "_ZN12_GLOBAL__N_112someFunctionEi");
  EXPECT_EQ(typeAt(address), 3U);
  EXPECT_EQ(info.base, executable().base);
  EXPECT_EQ(std::string(info.name), executable().name);
  EXPECT_EQ(std::string(info.loadedImage), executable().image);
}

TEST_F(SymbolSessionTest, HasTheTypeOfTheSymbolsThatAModuleHas) {
  static int count = 0;
  dw.moduleDwarf = [](Dwfl_Module*, Dwarf_Addr*) -> Dwarf* { return nullptr; };
  dw.moduleSymbols = [](Dwfl_Module*) { return count; };
  start();
  const std::uint64_t address = addressOf(&someFunction);
  nameAt(address);
  count = 1;
  EXPECT_EQ(typeAt(address), 4U);
  count = 0;
  EXPECT_EQ(typeAt(address), 0U);
  count = -1;
  EXPECT_EQ(typeAt(address), 0U);
}

TEST_F(SymbolSessionTest, HasNoSymbolsOfAModuleThatCannotBeOpened) {
  dw.moduleElf = [](Dwfl_Module*, GElf_Addr*) -> Elf* { return nullptr; };
  start();
  nameAt(addressOf(&someFunction));
  EXPECT_EQ(typeAt(addressOf(&someFunction)), 0U);
}

TEST_F(SymbolSessionTest, FindsASymbolAndTheDistanceFromIt) {
  start();
  EXPECT_EQ(nameAt(addressOf(&someFunction) + 3), "_ZN12_GLOBAL__N_112someFunctionEi");
  EXPECT_EQ(fromSymbol, 3U);
  EXPECT_EQ(symbol.address, addressOf(&someFunction));
}

TEST_F(SymbolSessionTest, LeavesOutTheVersionOfASymbol) {
  dw.symbolAt = [](Dwfl_Module*, GElf_Addr, GElf_Off* offset, GElf_Sym*, GElf_Word*, Elf**,
                   Dwarf_Addr*) -> const char* {
    *offset = 2;
    return "malloc@@GLIBC_2.2.5";
  };
  start();
  EXPECT_EQ(nameAt(addressOf(&someFunction)), "malloc");
  EXPECT_EQ(fromSymbol, 2U);
}

TEST_F(SymbolSessionTest, FailsWithoutASymbol) {
  dw.symbolAt = [](Dwfl_Module*, GElf_Addr, GElf_Off*, GElf_Sym*, GElf_Word*, Elf**,
                   Dwarf_Addr*) -> const char* { return nullptr; };
  start();
  EXPECT_EQ(nameAt(addressOf(&someFunction)), "");
  EXPECT_EQ(GetLastError(), 487U);
}

TEST_F(SymbolSessionTest, FindsALineAndTheDistanceFromIt) {
  start();
  EXPECT_TRUE(findLine(addressOf(&someFunction) + 1));
  EXPECT_EQ(line.number, static_cast<DWORD>(kFunctionLine));
  EXPECT_EQ(std::filesystem::path(line.file).filename().string(), "symbol_session_test.cc");
  EXPECT_EQ(displacement, 1U);
}

// Some compilers write no table of the units' addresses.
TEST_F(SymbolSessionTest, FindsALineWithoutATableOfUnits) {
  dw.unitAt = [](Dwfl_Module*, Dwarf_Addr, Dwarf_Addr*) -> Dwarf_Die* { return nullptr; };
  start();
  EXPECT_TRUE(findLine(addressOf(&someFunction)));
  EXPECT_EQ(line.number, static_cast<DWORD>(kFunctionLine));
  EXPECT_EQ(displacement, 0U);
}

// The start files of the C library have no debug information.
TEST_F(SymbolSessionTest, FindsNoLineOutsideOfTheUnits) {
  start();
  EXPECT_FALSE(findLine(addressOf(&_start)));
  EXPECT_EQ(GetLastError(), 487U);
}

TEST_F(SymbolSessionTest, FindsNoLineWithoutItsOption) {
  start();
  help.SymSetOptions(*session, ~qx::diagnostics::kLoadLines);
  EXPECT_FALSE(findLine(addressOf(&someFunction)));
  EXPECT_EQ(GetLastError(), 487U);
}

class IncompleteLine : public SymbolSessionTest {
 protected:
  void TearDown() override {
    start();
    EXPECT_FALSE(findLine(addressOf(&someFunction)));
    EXPECT_EQ(GetLastError(), 487U);
  }
};

TEST_F(IncompleteLine, FailsWithoutAFile) {
  dw.lineFile = [](Dwarf_Line*, Dwarf_Word*, Dwarf_Word*) -> const char* { return nullptr; };
}

TEST_F(IncompleteLine, FailsWithoutANumber) {
  dw.lineNumber = [](Dwarf_Line*, int*) { return -1; };
}

TEST_F(IncompleteLine, FailsWithoutAnAddress) {
  dw.lineAddress = [](Dwarf_Line*, Dwarf_Addr*) { return -1; };
}

TEST_F(SymbolSessionTest, UndecoratesAsFarAsThereIsRoom) {
  start();
  char text[16] = {};
  const auto undecorate = [&](DWORD size, DWORD form) {
    return help.UnDecorateSymbolName(*session, "_Z4sellic", text, size, form);
  };
  EXPECT_EQ(undecorate(sizeof text, qx::diagnostics::kCompleteName), 15U);
  EXPECT_STREQ(text, "sell(int, char)");
  EXPECT_EQ(undecorate(sizeof text, qx::diagnostics::kNameOnly), 4U);
  EXPECT_STREQ(text, "sell");
  EXPECT_EQ(undecorate(4, qx::diagnostics::kNameOnly), 3U);
  EXPECT_STREQ(text, "sel");
}

TEST_F(SymbolSessionTest, RefusesToWalkOnAnotherMachine) {
  start();
  StackFrame frame;
  EXPECT_FALSE(help.StackWalk64(*session, 1, frame, CONTEXT{}, readNothing));
  EXPECT_EQ(GetLastError(), 6U);
}

TEST_F(SymbolSessionTest, WalksNothingWithoutModules) {
  ASSERT_TRUE(qx::diagnostics::findFunctions(dw, help));
  ASSERT_TRUE(help.SymInitialize(dw, GetCurrentProcess(), "", session));
  StackFrame frame;
  EXPECT_FALSE(
      help.StackWalk64(*session, qx::diagnostics::kMachine, frame, CONTEXT{}, readNothing));
  EXPECT_EQ(GetLastError(), 1114U);
}

}  // namespace
