// Faults inside an event handler of the smallest example: each leaves its call stack on the
// standard output and the last lines of the trace in the log, and ends the process with its signal.

#include "testing/child_process.h"
#include "testing/file_content.h"
#include "testing/machine.h"
#include "testing/temp_folder.h"

#include <gmock/gmock.h>

#include <csignal>
#include <fstream>
#include <string>
#include <vector>

namespace {

using qx::test::ChildProcess;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr char kLastWords[] = "CQXUtil::SetStatusBarErrorMessage\tthe last words";

// Returns the number of the first line of a source of this tree that has `text` in it.
std::string lineWith(const std::string& source, const std::string& text) {
  std::ifstream file(QX_SOURCE_FOLDER "/" + source);
  int number = 1;
  for (std::string line; std::getline(file, line); ++number) {
    if (line.find(text) != std::string::npos) return std::to_string(number);
  }
  return "no such line";
}

// What the dump says of the fault: a function, and the text of the line in it.
struct Fault {
  const char* name;
  int signal;
  const char* description;
  const char* function;
  const char* line;
};

std::ostream& operator<<(std::ostream& out, const Fault& fault) { return out << fault.name; }

class FaultInAnEventHandler : public testing::TestWithParam<Fault> {
 protected:
  /// Runs the add-on up to its end by the fault and returns its output. A variable ("NAME=VALUE")
  /// is added to its environment.
  std::string run(const std::string& level = "6", const std::string& variable = "QX_TEST=") {
    const std::filesystem::path play = folder.write("fault.play", "start\nopen 3101\npress * 1\n");
    const std::filesystem::path settings = folder.write("log.toml", "level = " + level + "\n");
    ChildProcess hello(
        {qx::test::buildProgram("fault_hello").string(),
         "embedded:?db=" + folder.file("company.db") + "&engine=mssql&play=" + play.string()},
        {"QX_TEST_FAULT=" + std::string(GetParam().name), "QX_TEST_LAST_WORDS=" + level,
         "QX_RUNTIME_DIR=" + folder.file("run"), "QX_LOG_DIR=" + folder.file("log"),
         "QX_LOG_SETTINGS=" + settings.string(), variable});
    const std::string text = hello.rest();
    EXPECT_EQ(hello.wait(), -GetParam().signal);
    process = hello.pid();
    return text;
  }
  /// Returns the last lines of the log, each from its function on.
  std::vector<std::string> logEnd(std::size_t count) const {
    std::ifstream file(folder.path() / "log" / "HELLO.log");
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
      std::size_t at = 0;
      for (int tab = 0; tab < 4; ++tab) at = line.find('\t', at) + 1;
      lines.push_back(line.substr(at));
    }
    if (lines.size() > count) lines.erase(lines.begin(), lines.end() - static_cast<long>(count));
    return lines;
  }
  std::string note() const {
    return "qx::installFaultGuard\tProcess " + std::to_string(process) + " ends by signal " +
           std::to_string(GetParam().signal) + " (" + GetParam().description + "), address ";
  }

  qx::test::TempFolder folder;
  int process = 0;
};

TEST_P(FaultInAnEventHandler, LeavesTheStackTheTraceAndTheSignal) {
  const std::string dump = run();
  EXPECT_THAT(dump, HasSubstr("SymInit: Symbol-SearchPath: '.;"));
  EXPECT_THAT(dump, HasSubstr("tests/system/fault_hello.cc (" +
                              lineWith("tests/system/fault_hello.cc", GetParam().line) +
                              "): (anonymous namespace)::" + GetParam().function + "\n"));
  const std::vector<std::string> end = logEnd(2);
  ASSERT_EQ(end.size(), 2U);
  EXPECT_EQ(end[0], kLastWords);
  EXPECT_THAT(end[1], testing::StartsWith(note()));
}

// Faults whose dumps reach the outermost frame of the main thread.
using FaultOnTheMainThread = FaultInAnEventHandler;

TEST_P(FaultOnTheMainThread, LeavesTheStackUpToMain) {
  const std::string dump = run();
  EXPECT_THAT(dump, HasSubstr("tests/system/fault_hello.cc (" +
                              lineWith("tests/system/fault_hello.cc", "provoke(fault ==") +
                              "): CQXUtil::SetStatusBarErrorMessage(CComPtr<IApplication>, "
                              "CComBSTR)\n"));
  EXPECT_THAT(dump,
              HasSubstr("examples/hello/hello.cc (" +
                        lineWith("examples/hello/hello.cc", "SetStatusBarErrorMessage") +
                        "): (anonymous namespace)::OrderForm::OnItemEvent(CComPtr<IItemEvent>,"
                        " short*)\n"));
  EXPECT_THAT(dump, HasSubstr("CQXEventSink::Invoke("));
  EXPECT_THAT(dump,
              HasSubstr("examples/hello/hello.cc (" +
                        lineWith("examples/hello/hello.cc", "RunMessageLoop()") + "): main\n"));
}

TEST_P(FaultInAnEventHandler, LeavesTheLastRecordOfEachLevel) {
  for (const char* level : {"1", "2", "3", "4", "5", "6"}) {
    run(level);
    EXPECT_THAT(logEnd(2), ElementsAre(kLastWords, testing::StartsWith(note()))) << level;
    std::filesystem::remove_all(folder.path() / "log");
  }
}

// The log records all levels, and the last record is of a lower one.
using FaultAtTheHighestSetting = FaultInAnEventHandler;

TEST_P(FaultAtTheHighestSetting, LeavesTheLastRecordOfEachLevel) {
  for (const char* level : {"1", "2", "3", "4", "5"}) {
    run("6", "QX_TEST_LAST_WORDS=" + std::string(level));
    EXPECT_THAT(logEnd(2), ElementsAre(kLastWords, testing::StartsWith(note()))) << level;
    std::filesystem::remove_all(folder.path() / "log");
  }
}

// Here a copy of the process writes the dump.
using FaultWithoutTheProgram = FaultInAnEventHandler;

TEST_P(FaultWithoutTheProgram, LeavesTheStackTheTraceAndTheSignal) {
  // The program is looked for beside the library.
  const std::filesystem::path library = folder.path() / "alone/lib" / QX_FRAMEWORK_SONAME;
  std::filesystem::create_directories(library.parent_path());
  std::filesystem::copy_file(QX_FRAMEWORK_FILE, library);
  const std::string dump = run("6", "LD_LIBRARY_PATH=" + library.parent_path().string());
  EXPECT_THAT(dump, HasSubstr(library.string() + ":"));
  EXPECT_THAT(dump, HasSubstr("): (anonymous namespace)::" + std::string(GetParam().function)));
  EXPECT_THAT(logEnd(2), ElementsAre(kLastWords, testing::StartsWith(note())));
}

std::string nameOf(const testing::TestParamInfo<Fault>& each) { return each.param.name; }

constexpr Fault kSegv{"segv", SIGSEGV, "Segmentation fault", "writeToNowhere()", "*nowhere = 1"};

const auto kOnTheMainThread = testing::Values(
    kSegv,
    Fault{"abort", SIGABRT, "Aborted",
          "provoke(std::basic_string_view<char, std::char_traits<char> >)", "std::abort();"},
    Fault{"throw", SIGABRT, "Aborted", "throwUncaught()", "noexcept { throwError();"},
    Fault{"null", SIGSEGV, "Segmentation fault", "callNull()", "nothing();"});

INSTANTIATE_TEST_SUITE_P(Each, FaultInAnEventHandler, kOnTheMainThread, nameOf);
INSTANTIATE_TEST_SUITE_P(Each, FaultOnTheMainThread, kOnTheMainThread, nameOf);
INSTANTIATE_TEST_SUITE_P(Each, FaultAtTheHighestSetting, testing::Values(kSegv), nameOf);
INSTANTIATE_TEST_SUITE_P(Each, FaultWithoutTheProgram, testing::Values(kSegv), nameOf);
INSTANTIATE_TEST_SUITE_P(Elsewhere, FaultInAnEventHandler,
                         testing::Values(
                             // An overflow has more frames than a dump.
                             Fault{"overflow", SIGSEGV, "Segmentation fault", "overflow(int)",
                                   "overflowAgain(depth + space"},
                             Fault{"thread", SIGABRT, "Aborted", "throwError()",
                                   "throw std::runtime_error"}),
                         nameOf);

#ifndef QX_SANITIZED
// The sanitizer has an allocator of its own, which notices other things.
const auto kInTheHeap = testing::Values(
    Fault{"heap", SIGABRT, "Aborted", "corruptHeap()", "std::free(block);"},
    Fault{"malloc", SIGABRT, "Aborted", "abortInsideMalloc()", "std::malloc(2000)"});
INSTANTIATE_TEST_SUITE_P(Heap, FaultInAnEventHandler, kInTheHeap, nameOf);
INSTANTIATE_TEST_SUITE_P(Heap, FaultOnTheMainThread, kInTheHeap, nameOf);
#endif

}  // namespace
