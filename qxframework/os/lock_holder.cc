#include "qxframework/os/lock_holder.h"

#include "qxframework/automation/text.h"
#include "qxframework/os/module.h"
#include "qxframework/os/unique_fd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <limits>
#include <sstream>
#include <string_view>

namespace qx {
namespace {

constexpr std::size_t kLongestProgram = 255;

// Returns the kernel's line on a process; empty if there is no such process.
std::string statusLine(long processId) {
  const UniqueFd file(
      open(("/proc/" + std::to_string(processId) + "/stat").c_str(), O_RDONLY | O_CLOEXEC));
  // The kernel makes the line at the first read, and all of it fits: 52 numbers and a short name.
  std::array<char, 2048> buffer;
  const ssize_t length = file ? read(file.get(), buffer.data(), buffer.size()) : ssize_t{0};
  return {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
}

// Returns the time at which a process has started, in the kernel's ticks; empty if there is no such
// process. With it the number of a process that has ended is not taken for the one that has the
// number now.
std::string startTimeOf(long processId) {
  const std::string line = statusLine(processId);
  // The second field is the program in round brackets, and may itself contain blanks and brackets.
  std::size_t at = line.rfind(')');
  constexpr int kFieldsUpToTheStart = 20;  // from the third, the state, to the 22nd
  for (int i = 0; i < kFieldsUpToTheStart && at != line.npos; ++i) at = line.find(' ', at + 1);
  if (at == line.npos) return {};
  return line.substr(at + 1, line.find(' ', at + 1) - at - 1);
}

// Returns the name as one line that a message can show.
std::u16string shownName(std::u16string_view name) {
  std::u16string shown(name.substr(0, kLongestProgram));
  std::replace_if(
      shown.begin(), shown.end(), [](char16_t letter) { return letter < u' ' || letter == 0x7F; },
      u'?');
  return shown;
}

off_t sizeOf(int fd) {
  struct stat status {};
  return fstat(fd, &status) == 0 ? status.st_size : std::numeric_limits<off_t>::max();
}

std::string ownLine() {
  const std::u16string path = modulePath(nullptr);
  const std::u16string program = shownName(path.substr(path.rfind(u'/') + 1));
  const long processId = getpid();
  return std::to_string(processId) + " " + startTimeOf(processId) + " " + toUtf8(program) + "\n";
}

}  // namespace

// The format of the line, "PROCESS START PROGRAM" and a line end, is frozen: programs of several
// releases share the file.
void writeLockHolder(int fd) noexcept {
  try {
    const std::string line = ownLine();
    // In one call and before the file is cut, so that a reader finds the line as a whole.
    const auto size = static_cast<off_t>(line.size());
    if (pwrite(fd, line.data(), line.size(), 0) != size) return clearLockHolder(fd);
    // The former holder has emptied the file, unless it was killed.
    [[maybe_unused]] const int cut = sizeOf(fd) > size ? ftruncate(fd, size) : 0;
  } catch (...) {
    clearLockHolder(fd);
  }
}

void clearLockHolder(int fd) noexcept { [[maybe_unused]] const int cut = ftruncate(fd, 0); }

std::optional<LockHolder> readLockHolder(int fd) {
  std::array<char, 2048> buffer{};
  const ssize_t length = pread(fd, buffer.data(), buffer.size(), 0);
  const std::string_view text(buffer.data(),
                              static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
  const std::size_t end = text.find('\n');
  if (end == std::string_view::npos) return {};
  std::istringstream line{std::string(text.substr(0, end))};
  LockHolder holder;
  std::string start;
  std::string program;
  if (!(line >> holder.processId >> start) || line.get() != ' ' || !std::getline(line, program)) {
    return {};
  }
  if (holder.processId <= 0 || startTimeOf(holder.processId) != start) return {};
  holder.program = shownName(toUtf16(program));
  return holder;
}

}  // namespace qx
