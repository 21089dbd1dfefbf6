// Measures the dump of a stack of 50 frames, functions, files and lines, against backward-cpp,
// which finds frames by the compiler's unwinder and names by the same libdw: cold, with nothing
// read of the modules yet, and warm, with everything read. Both sides write to the null device.

#include "bench/measure.h"
#include "qxframework/diagnostics/stack_walker.h"

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>

#define BACKWARD_HAS_DW 1
#define BACKWARD_HAS_UNWIND 1
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wpedantic"
#include <backward.hpp>
#pragma GCC diagnostic pop

namespace {

// With the frames of main and of the measurement, 50 entries.
constexpr int kDepth = 43;
constexpr int kColdRounds = 5;
constexpr int kWarmRounds = 50;

// Writes what MyStackWalker writes, but to the null device.
class NullWalker : public StackWalker {
 public:
  explicit NullWalker(std::FILE* out) : out_(out) {}
  int entries = 0;

 protected:
  void OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry) override {
    ++entries;
    StackWalker::OnCallstackEntry(type, entry);
  }
  void OnOutput(const char* text) override {
    std::fputs(text, out_);
    StackWalker::OnOutput(text);
  }

 private:
  std::FILE* out_;
};

// Two functions in turn, since a walk ends at a frame that returns to its own address.
int downAgain(int depth, const std::function<void()>& work);
[[gnu::noinline]] int down(int depth, const std::function<void()>& work) {
  if (depth <= 0) return work(), 1;
  const int result = downAgain(depth - 1, work);
  qx::bench::keep(result);
  return result + 1;
}
[[gnu::noinline]] int downAgain(int depth, const std::function<void()>& work) {
  const int result = down(depth - 1, work);
  qx::bench::keep(result);
  return result + 1;
}

void print(const char* name, const qx::bench::Best& best) {
  std::printf("%s: ours %.3f ms, backward-cpp %.3f ms\n", name, best.ours * 1e3, best.peer * 1e3);
  qx::bench::printRatio(name, best.ratio());
}

// Loads as many frames as ours has entries, and prints names, files and lines without the text of
// the sources, which ours does not print.
void dumpByPeer(backward::Printer& printer, std::FILE* out) {
  backward::StackTrace trace;
  trace.load_here(1000);
  printer.snippet = false;
  printer.print(trace, out);
}

void compareAll(std::FILE* out) {
  NullWalker warm(out);
  backward::Printer warmPeer;
  warm.ShowCallstack();
  dumpByPeer(warmPeer, out);
  std::printf("%d entries\n", warm.entries - 1);
  print("dump-warm",
        qx::bench::compare(
            kWarmRounds, [&] { warm.ShowCallstack(); }, [&] { dumpByPeer(warmPeer, out); }));
  print("dump-cold", qx::bench::compare(
                         kColdRounds,
                         [&] {
                           NullWalker cold(out);
                           cold.ShowCallstack();
                         },
                         [&] {
                           backward::Printer cold;
                           dumpByPeer(cold, out);
                         }));
}

}  // namespace

int main() {
  std::FILE* out = std::fopen("/dev/null", "w");
  if (out == nullptr) return 1;
  down(kDepth, [&] { compareAll(out); });
  std::fclose(out);
  return 0;
}
