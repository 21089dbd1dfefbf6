#include "qxlogger/settings_file.h"

#include "qxframework/automation/text.h"
#include "qxframework/automation/toml_depth.h"
#include "qxlogger/file_api.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <toml++/toml.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string_view>

namespace qx::logger {
namespace {

// The keys of the file. Frozen, because users write them too.
constexpr std::string_view kFileCount = "file_count";
constexpr std::string_view kFileSize = "file_size_mb";
constexpr std::string_view kLevel = "level";
constexpr std::string_view kModule = "module";

constexpr std::string_view kHead =
    "# Settings of the log. level: 1 Error, 2 Warning, 3 Information, 4 Debug, 5 Debug1, "
    "6 Debug2;\n# module: the only module to record, empty for all.\n";

// A settings file has some hundred bytes. The rest of a file of this size is not read.
constexpr std::size_t kLongestFile = 1 << 20;

// Links are followed: users keep their settings elsewhere. O_NONBLOCK, since opening a pipe would
// wait for its other end.
std::string readFile(FileApi& files, const std::string& path) {
  const OpenFile file(files, files.open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY));
  FileInfo info;
  if (!file.isOpen() || files.info(file.get(), info) < 0 || !info.plain) return {};
  std::string text;
  char part[4096];
  while (text.size() < kLongestFile) {
    const std::int64_t size =
        files.readAt(file.get(), part, sizeof part, static_cast<std::int64_t>(text.size()));
    if (size == -EINTR) continue;
    if (size <= 0) break;
    text.append(part, static_cast<std::size_t>(size));
  }
  return text;
}

// A broken file counts as an empty one: the log must work without valid settings.
toml::table parse(const std::string& text) {
  if (findDeepKey(text)) return {};
  try {
    return toml::parse(text);
  } catch (const toml::parse_error&) {
    return {};
  }
}

long number(const toml::table& table, std::string_view key, long fallback) {
  const auto* value = table.get_as<std::int64_t>(key);
  return value == nullptr ? fallback : static_cast<long>(value->get());
}

LogSettings fromTable(const toml::table& table) {
  const LogSettings fallback;
  const auto* module = table.get_as<std::string>(kModule);
  return {.fileCount = number(table, kFileCount, fallback.fileCount),
          .fileSize = number(table, kFileSize, fallback.fileSize),
          .level = number(table, kLevel, fallback.level),
          .module = module == nullptr ? fallback.module : toUtf16(module->get())};
}

std::string toText(toml::table table, const LogSettings& settings) {
  table.insert_or_assign(kFileCount, std::int64_t{settings.fileCount});
  table.insert_or_assign(kFileSize, std::int64_t{settings.fileSize});
  table.insert_or_assign(kLevel, std::int64_t{settings.level});
  table.insert_or_assign(kModule, toUtf8(settings.module));
  std::ostringstream text;
  text << kHead << table << '\n';
  return text.str();
}

StoreResult failure(std::string_view step, const std::string& path, int error) {
  return {.error = -error, .text = fmt::format("{} {}: {}", step, path, std::strerror(-error))};
}

int writeTemporary(FileApi& files, const std::string& path, const std::string& text) {
  // One that a killed process has left, or a link that someone else has put there.
  files.remove(path);
  const OpenFile file(files, files.open(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW));
  if (!file.isOpen()) return file.get();
  // Without the sync a power failure after the rename could leave an empty file under the name.
  const int written = writeAll(files, file.get(), text.data(), text.size());
  return written < 0 ? written : files.sync(file.get());
}

StoreResult replaceFile(FileApi& files, const std::string& path, const std::string& text) {
  const std::string temporary = path + ".new";
  if (const int error = writeTemporary(files, temporary, text); error < 0) {
    files.remove(temporary);
    return failure("cannot write", temporary, error);
  }
  if (const int error = files.rename(temporary, path); error < 0) {
    files.remove(temporary);
    return failure("cannot replace", path, error);
  }
  return {};
}

}  // namespace

LogSettings loadSettings(FileApi& files, const std::string& path) {
  return withinLimits(fromTable(parse(readFile(files, path))));
}

StoreResult storeSettings(FileApi& files, const std::string& path, const LogSettings& settings) {
  if (path.empty()) return {.error = ENOENT, .text = "the user has no configuration folder"};
  // The lock spans reading and replacing, so that of two processes none loses the other's keys. It
  // is on a file of its own, because the settings file itself is replaced.
  const std::string lockPath = path + ".lock";
  const OpenFile lock(files, openInFolder(files, lockPath, O_RDWR | O_CREAT));
  if (!lock.isOpen()) return failure("cannot open", lockPath, lock.get());
  if (const int error = lockFile(lock.get(), LOCK_EX); error < 0) {
    return failure("cannot lock", lockPath, error);
  }
  return replaceFile(files, path, toText(parse(readFile(files, path)), withinLimits(settings)));
}

}  // namespace qx::logger
