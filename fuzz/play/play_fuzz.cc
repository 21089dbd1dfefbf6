// Arbitrary scripts that play a user. Each is read, or refused with the file and the line.

#include "qxdesk/screens/user/play_script.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view text;
  if (size > 0) text = {reinterpret_cast<const char*>(data), size};
  try {
    const auto steps = qx::screens::parsePlayScript(text, "script");
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    if (steps.size() > lines + 1) std::abort();
  } catch (const qx::screens::PlayScriptError& error) {
    if (!std::string_view(error.what()).starts_with("script:")) std::abort();
  }
  return 0;
}
