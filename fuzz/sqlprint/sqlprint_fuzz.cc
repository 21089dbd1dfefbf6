// Arbitrary descriptions of statements. Each is printed, with the same result every time, or
// refused with a position inside the file and a text without zero characters.

#include "tools/sqlprint/printer.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

namespace {

void require(bool condition) {
  if (!condition) std::abort();
}

// Aborts unless the refusal has the form "f:LINE:COLUMN: error: TEXT" and the line is in the file.
void checkRefusal(const std::string& refusal, const std::string& content) {
  require(refusal.starts_with("f:"));
  char* end = nullptr;
  const unsigned long line = std::strtoul(refusal.c_str() + 2, &end, 10);
  require(*end == ':' && line >= 1);
  require(line <= static_cast<unsigned long>(std::count(content.begin(), content.end(), '\n')) + 2);
  const unsigned long column = std::strtoul(end + 1, &end, 10);
  require(std::string(end).starts_with(": error: ") && column >= 1);
  require(refusal.find('\0') == std::string::npos);
}

std::optional<std::string> printed(const std::string& content) {
  try {
    const qx::sqlprint::Description read = qx::sqlprint::readDescription("f", content);
    require(!read.statements.empty());
    return qx::sqlprint::sideBySide(read.statements);
  } catch (const qx::sqlprint::Diagnostic& refusal) {
    checkRefusal(refusal.what(), content);
    return std::nullopt;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string content(reinterpret_cast<const char*>(data), size);
  const std::optional<std::string> first = printed(content);
  require(printed(content) == first);
  return 0;
}
