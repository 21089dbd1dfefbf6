#include "qxdesk/session/password_source.h"

#include "qxframework/automation/trusted_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <map>
#include <mutex>
#include <system_error>

namespace qx::desk {
namespace {

constexpr std::size_t kLongestPassword = 1024;

[[noreturn]] void fail(const std::string& clause) { throw PasswordSourceError(clause); }

std::string firstLine(std::string text) {
  text.resize(std::min(text.find('\n'), text.size()));
  if (text.ends_with('\r')) text.pop_back();
  return text;
}

std::string fromFile(const std::filesystem::path& file) {
  const TrustedText content = readTrusted(file, kLongestPassword);
  if (!content.problem.empty()) fail("of the file " + file.string() + ": " + content.problem);
  // Whoever could read it has had the time to.
  struct stat status {};
  if (stat(file.c_str(), &status) == 0 && (status.st_mode & (S_IRGRP | S_IROTH)) != 0) {
    fail("of the file " + file.string() +
         ": other users can read it; take the right from them (chmod 600) and change the password");
  }
  return content.text;
}

std::string fromDescriptor(std::string_view digits) {
  int number = -1;
  const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (end.ec != std::errc() || end.ptr != digits.data() + digits.size() || number < 0) {
    fail("has no number after fd:; write fd:3 for the descriptor 3");
  }
  // A pipe can be read only once, but an add-on may start several clients.
  static std::mutex mutex;
  static std::map<int, std::string> known;
  const std::lock_guard lock(mutex);
  if (const auto found = known.find(number); found != known.end()) return found->second;
  std::string text(kLongestPassword, '\0');
  std::size_t size = 0;
  while (size < text.size()) {
    const ssize_t got = read(number, text.data() + size, text.size() - size);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) fail("of the descriptor " + std::string(digits) + " cannot be read");
    if (got == 0) break;
    size += static_cast<std::size_t>(got);
    if (std::string_view(text).substr(0, size).find('\n') != std::string_view::npos) break;
  }
  text.resize(size);
  return known.emplace(number, text).first->second;
}

}  // namespace

std::string readPassword(std::string_view source) {
  const std::string rest(source.substr(std::min(source.find(':') + 1, source.size())));
  std::string password;
  if (source.starts_with("file:")) {
    password = firstLine(fromFile(rest));
  } else if (source.starts_with("env:")) {
    password = firstLine(trustedVariable(rest.c_str()));
  } else if (source.starts_with("fd:")) {
    password = firstLine(fromDescriptor(rest));
  } else {
    fail(
        "is neither file:PATH nor env:NAME nor fd:NUMBER; the password itself does not belong "
        "here");
  }
  if (password.empty()) fail("is empty; put it into the first line of the place that is named");
  return password;
}

}  // namespace qx::desk
