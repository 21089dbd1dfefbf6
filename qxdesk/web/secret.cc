#include "qxdesk/web/secret.h"

#include <sys/random.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace qx::web {

std::string makeSecret() {
  std::array<unsigned char, 32> bytes{};
  // The kernel gives up to 256 bytes at once, or none.
  while (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
    if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "getrandom");
  }
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const unsigned char byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

bool isSecret(std::string_view secret, std::string_view claimed) {
  if (secret.empty() || secret.size() != claimed.size()) return false;
  // volatile keeps the compiler from leaving the loop at the first difference.
  volatile unsigned char difference = 0;
  for (std::size_t i = 0; i < secret.size(); ++i) {
    difference = static_cast<unsigned char>(difference | (secret[i] ^ claimed[i]));
  }
  return difference == 0;
}

}  // namespace qx::web
