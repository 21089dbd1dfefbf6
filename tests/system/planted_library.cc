// A library that an attacker wants to be loaded. It says so.

#include <unistd.h>

namespace {

[[gnu::constructor]] void tellThatItIsLoaded() {
  constexpr char kText[] = "planted\n";
  // Without an output there is nobody to tell.
  if (write(STDOUT_FILENO, kText, sizeof kText - 1) < 0) return;
}

}  // namespace
