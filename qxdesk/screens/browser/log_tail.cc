#include "qxdesk/screens/browser/log_tail.h"

#include "qxframework/logging/function_log.h"
#include "qxlogger/log_paths.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace qx::screens {

LogTail::LogTail(std::string path) : path_(std::move(path)) {
  open();
  struct stat status {};
  if (file_ && fstat(file_.get(), &status) == 0) at_ = status.st_size;
}

void LogTail::open() {
  // Not blocking: the path could name a pipe.
  file_ = UniqueFd(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  at_ = 0;
}

// True if the path leads to another file than the one that is open.
bool LogTail::isReplaced() const {
  struct stat ours {};
  struct stat now {};
  if (stat(path_.c_str(), &now) != 0) return false;
  return fstat(file_.get(), &ours) != 0 || ours.st_ino != now.st_ino || ours.st_dev != now.st_dev;
}

void LogTail::readTo(std::string& out, std::size_t most) {
  const std::size_t before = out.size();
  out.resize(most);
  const ssize_t got = pread(file_.get(), out.data() + before, most - before, at_);
  out.resize(before + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
  // A text that is cut ends with a line, if it has one.
  const std::size_t end = out.size() == most ? out.rfind('\n') : std::string::npos;
  if (end != std::string::npos && end + 1 > before) out.resize(end + 1);
  at_ += static_cast<off_t>(out.size() - before);
}

std::string LogTail::read(std::size_t most) {
  std::string out;
  if (!file_) open();
  if (!file_) return out;
  // Asked before the rest is read: what is written in between goes to the old file or the new one.
  const bool replaced = isReplaced();
  readTo(out, most);
  if (!replaced || out.size() == most) return out;
  struct stat status {};
  if (fstat(file_.get(), &status) == 0 && at_ < status.st_size) return out;
  open();
  if (file_) readTo(out, most);
  return out;
}

std::string logFileOfThisProcess() {
  const std::string folder = logger::logFolder();
  if (folder.empty()) return {};
  return folder + "/" + logger::fileBaseName(logModuleName().View()) + ".log";
}

}  // namespace qx::screens
