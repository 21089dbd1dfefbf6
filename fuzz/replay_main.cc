// Runs a fuzz target once with each file of the command line. Without a file it fails: a test of
// seeds that were not found must not pass.

#include "fuzz/replay.h"

#include <iostream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  const qx::fuzz::CommandLine command =
      qx::fuzz::readCommandLine(std::vector<std::string>(argv + 1, argv + argc));
  if (command.files.empty()) {
    std::cerr << "usage: " << argv[0]
              << " [-timeout=SECONDS] [-rss_limit_mb=MEGABYTES] FILE...\nno file was given\n";
    return 2;
  }
  return qx::fuzz::replay(command, LLVMFuzzerTestOneInput, qx::fuzz::thisMachine(), std::cerr);
}
