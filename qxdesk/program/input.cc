#include "qxdesk/program/input.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <system_error>

namespace qx::desk {
namespace {

// A description is written by hand. A longer input is something else, or has no end.
constexpr std::size_t kLargestInput = std::size_t{16} << 20;

std::string readAll(std::istream& stream, const std::string& name) {
  std::string content;
  std::array<char, 65536> chunk{};
  while (stream.read(chunk.data(), chunk.size()) || stream.gcount() > 0) {
    content.append(chunk.data(), static_cast<std::size_t>(stream.gcount()));
    if (content.size() > kLargestInput)
      throw std::runtime_error(name + ": error: the file is larger than 16 MiB; divide it");
  }
  if (stream.bad())
    throw std::runtime_error(name + ": error: the file cannot be read; check the disk");
  return content;
}

}  // namespace

Input readInput(const std::string& file) {
  if (file == "-") return {"<stdin>", readAll(std::cin, "<stdin>")};
  std::error_code ignored;
  std::ifstream stream(file, std::ios::binary);
  if (!stream || std::filesystem::is_directory(file, ignored))
    throw std::runtime_error(file +
                             ": error: the file cannot be read; check the path and its rights");
  return {file, readAll(stream, file)};
}

void print(std::string_view text) {
  std::cout.write(text.data(), static_cast<std::streamsize>(text.size()));
  std::cout.flush();
  if (!std::cout)
    throw std::runtime_error("<stdout>: error: the output cannot be written; check where it goes");
}

void write(const std::string& file, std::string_view text) {
  std::ofstream stream(file, std::ios::binary | std::ios::trunc);
  stream.write(text.data(), static_cast<std::streamsize>(text.size()));
  stream.close();
  if (!stream)
    throw std::runtime_error(file +
                             ": error: the file cannot be written; check the path and its rights");
}

}  // namespace qx::desk
