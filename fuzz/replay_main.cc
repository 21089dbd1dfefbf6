// Runs a fuzz target once with each file of the command line. Without a file it fails: a test of
// seeds that were not found must not pass.

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <iterator>
#include <span>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "usage: " << (argc > 0 ? argv[0] : "replay") << " FILE...\nno file was given\n";
    return 2;
  }
  for (const char* file : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
      std::cerr << file << ": cannot be read\n";
      return 1;
    }
    const std::string content(std::istreambuf_iterator<char>(stream), {});
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
  }
  return 0;
}
