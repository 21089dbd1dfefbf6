// Arbitrary connection strings. Each is read, with all required values, or refused with a position
// inside the text.

#include "qxdesk/session/connection_string.h"
#include "qxframework/automation/text.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::u16string text =
      qx::toUtf16(std::string_view(reinterpret_cast<const char*>(data), size));
  try {
    // The source itself as the password: no file or descriptor of the fuzzer is read.
    const qx::desk::ConnectionString read = qx::desk::parseConnectionString(
        text, [](std::string_view source) { return std::string(source); });
    if (read.database.empty() || read.language == 0 || read.appId < 0) std::abort();
  } catch (const qx::desk::ConnectionStringError& error) {
    if (error.position() > text.size()) std::abort();
  }
  return 0;
}
