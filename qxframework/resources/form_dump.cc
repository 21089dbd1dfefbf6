#include "qxframework/resources/form_dump.h"

#include "qxframework/automation/format.h"
#include "qxframework/automation/text.h"
#include "qxframework/os/unique_fd.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

namespace qx {
namespace {

bool writeAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t taken = write(file, bytes.data(), bytes.size());
    if (taken < 0 && errno == EINTR) continue;
    if (taken <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(taken));
  }
  return true;
}

// The name is the same for all users and in a folder that all can write. So the file is always made
// anew, for this user alone: whatever another user has put there, a link, a pipe or a file, is
// either removed or keeps the dump from being written.
bool writeAnew(const std::string& path, std::string_view bytes) {
  unlink(path.c_str());
  UniqueFd file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600));
  return file && writeAll(file.get(), bytes);
}

}  // namespace

FormDump dumpForm(std::u16string_view text) {
  std::error_code failed;
  // A dump is a courtesy to developers: it must not replace the failure that it documents.
  std::string folder = std::filesystem::temp_directory_path(failed).string();
  if (failed) folder = "/tmp";
  if (!folder.ends_with('/')) folder += '/';
  FormDump dump{format(u"%sHVX_%s.xml", folder, u"Form"), false};
  dump.written = writeAnew(toUtf8(dump.name), toUtf8(text));
  return dump;
}

}  // namespace qx
