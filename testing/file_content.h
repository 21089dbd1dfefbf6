#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace qx::test {

/// Returns the whole content of a file, an empty text if it cannot be opened.
inline std::string contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// Returns the whole content of a file. Throws std::runtime_error if it cannot be opened.
inline std::string contentOfExisting(const std::filesystem::path& file) {
  if (!std::ifstream(file)) throw std::runtime_error("cannot open " + file.string());
  return contentOf(file);
}

}  // namespace qx::test
