#include "qxlogger/log_paths.h"

#include "qxframework/automation/ascii.h"
#include "qxframework/automation/text.h"
#include "qxframework/automation/trusted_file.h"

#include <fmt/format.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>

namespace qx::logger {
namespace {

constexpr std::string_view kNoModule = "nomodule";
// A file name has at most 255 bytes, which leaves room for a hash and an ending such as ".10.log".
constexpr std::size_t kLongestName = 200;

// True if the folder, or the one in which it would be made, is another user's. Root keeps the HOME
// of the user who became root in some ways, and must not work in that user's folders, whose links
// lead anywhere.
bool isOfAnotherUser(std::filesystem::path folder) {
  struct stat status {};
  while (stat(folder.c_str(), &status) != 0 && folder.has_relative_path()) {
    folder = folder.parent_path();
  }
  return status.st_uid != geteuid() && status.st_uid != 0;
}

// By the XDG rules for base directories a relative path in these variables is ignored.
std::string folderFrom(const char* variable) {
  std::string folder = trustedVariable(variable);
  return folder.starts_with('/') && !isOfAnotherUser(folder) ? folder : std::string();
}

// A service may run without HOME; the user database then names the folder.
std::string homeFolder() {
  if (std::string home = folderFrom("HOME"); !home.empty()) return home;
  passwd entry{};
  passwd* found = nullptr;
  char text[4096];
  if (getpwuid_r(geteuid(), &entry, text, sizeof text, &found) != 0 || found == nullptr) return {};
  return found->pw_dir;
}

std::string userFolder(const char* name, std::string_view belowHome) {
  if (std::string folder = folderFrom(name); !folder.empty()) return folder;
  const std::string home = homeFolder();
  return home.empty() ? std::string() : fmt::format("{}/{}", home, belowHome);
}

std::string place(const char* override, const char* base, std::string_view belowHome,
                  std::string_view name) {
  if (std::string path = trustedVariable(override); !path.empty()) return path;
  const std::string folder = userFolder(base, belowHome);
  return folder.empty() ? std::string() : fmt::format("{}/qxframework/{}", folder, name);
}

bool isPlain(char c) {
  return isLetterOrDigit(c) || c == '-' || c == '_' || c == '.' ||
         static_cast<unsigned char>(c) >= 0x80;
}

// Returns the place of the dot in a name such as "Billing.12", which looks like a rotated file.
std::size_t dotBeforeNumber(std::string_view name) {
  const std::size_t last = name.find_last_not_of("0123456789");
  const bool found = last != std::string_view::npos && last + 1 < name.size() && name[last] == '.';
  return found ? last : std::string_view::npos;
}

// FNV-1a, 64 bits (Fowler, Noll, Vo). std::hash may differ between builds, and all processes must
// agree on the file.
std::uint64_t hash(std::string_view text) {
  std::uint64_t value = 0xcbf29ce484222325U;
  for (const char c : text) value = (value ^ static_cast<unsigned char>(c)) * 0x100000001b3U;
  return value;
}

std::string shortened(const std::string& name) {
  if (name.size() <= kLongestName) return name;
  // Moves the cut to the start of a UTF-8 sequence, so that the name remains valid.
  std::size_t cut = kLongestName;
  while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80) --cut;
  return fmt::format("{}-{:016x}", name.substr(0, cut), hash(name));
}

}  // namespace

std::string settingsPath() {
  return place("QX_LOG_SETTINGS", "XDG_CONFIG_HOME", ".config", "log.toml");
}

std::string logFolder() { return place("QX_LOG_DIR", "XDG_STATE_HOME", ".local/state", "log"); }

std::string fileBaseName(std::u16string_view module) {
  const std::string name = toUtf8(module);
  if (name.empty()) return std::string(kNoModule);
  const std::size_t risky = dotBeforeNumber(name);
  std::string result;
  for (std::size_t i = 0; i < name.size(); ++i) {
    // A leading dot would hide the file, and ".." would leave the folder.
    const bool keep = isPlain(name[i]) && i != risky && !(i == 0 && name[i] == '.');
    if (keep) {
      result += name[i];
    } else {
      result += fmt::format("%{:02X}", static_cast<unsigned char>(name[i]));
    }
  }
  return shortened(result);
}

}  // namespace qx::logger
