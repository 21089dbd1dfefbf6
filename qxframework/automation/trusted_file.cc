#include "qxframework/automation/trusted_file.h"

#include "qxframework/automation/input_file.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace qx {
namespace {

std::string systemReason(int error) { return std::generic_category().message(error); }

// A group with the user's own number is, by the custom of the system's tools, the group of this
// user alone.
bool othersMayWrite(const struct stat& status) {
  const bool ownGroup = status.st_gid == getegid() && getegid() == geteuid();
  return (status.st_mode & S_IWOTH) != 0 || ((status.st_mode & S_IWGRP) != 0 && !ownGroup);
}

std::string ownerProblem(const struct stat& status, const std::string& what) {
  if (status.st_uid == 0 || status.st_uid == geteuid()) return "";
  return what + " belongs to user " + std::to_string(status.st_uid) +
         "; only files of this user or of root are used";
}

std::string fileProblem(const struct stat& status) {
  if (!S_ISREG(status.st_mode)) return "it is not a plain file; replace it by one";
  if (std::string problem = ownerProblem(status, "it"); !problem.empty()) return problem;
  return othersMayWrite(status)
             ? "other users can write to it; take the right from them (chmod go-w)"
             : "";
}

// In a sticky folder nobody can replace another user's file.
std::string folderProblem(const std::filesystem::path& folder) {
  struct stat status {};
  if (stat(folder.c_str(), &status) != 0) return "";
  const std::string what = "its folder " + folder.string();
  if (std::string problem = ownerProblem(status, what); !problem.empty()) return problem;
  const bool open = othersMayWrite(status) && (status.st_mode & S_ISVTX) == 0;
  return open ? "other users can write to " + what + "; take the right from them (chmod go-w)" : "";
}

// Of a link both the folder of the link and that of its target count.
std::string foldersProblem(const std::filesystem::path& file) {
  const std::filesystem::path folder = file.has_parent_path() ? file.parent_path() : ".";
  if (std::string problem = folderProblem(folder); !problem.empty()) return problem;
  std::error_code error;
  if (!std::filesystem::is_symlink(file, error)) return "";
  const std::filesystem::path target = std::filesystem::canonical(file, error);
  return error ? "" : folderProblem(target.parent_path());
}

std::string problemOf(const struct stat& status, const std::filesystem::path& file) {
  std::string problem = fileProblem(status);
  return problem.empty() ? foldersProblem(file) : problem;
}

std::string longer(std::size_t limit) {
  return "it is longer than " + std::to_string(limit) + " bytes; shorten it";
}

// Whatever the size of the file was before, one byte more than allowed shows that there is too
// much.
void readInto(TrustedText& result, int file, std::size_t limit) {
  char part[4096];
  while (result.text.size() <= limit) {
    const ssize_t got = read(file, part, sizeof part);
    if (got == 0) return;
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      result = {"", "it cannot be read (" + systemReason(errno) + ")"};
      return;
    }
    result.text.append(part, static_cast<std::size_t>(got));
  }
  result = {"", longer(limit)};
}

}  // namespace

std::string trustedVariable(const char* name) {
  const char* value = secure_getenv(name);
  return value != nullptr ? value : "";
}

std::string distrust(const std::filesystem::path& file) {
  struct stat status {};
  return stat(file.c_str(), &status) == 0 ? problemOf(status, file) : "";
}

TrustedText readTrusted(const std::filesystem::path& path, std::size_t limit) {
  const InputFile file(path);
  struct stat status {};
  if (file.get() < 0 || fstat(file.get(), &status) != 0) {
    return {"", "it cannot be read (" + systemReason(errno) + ")"};
  }
  TrustedText result{"", problemOf(status, path)};
  if (result.problem.empty()) readInto(result, file.get(), limit);
  return result;
}

}  // namespace qx
