#include "qxdesk/engines/lock_file.h"

#include "qxdesk/engines/lock_file_contents.h"
#include "qxframework/automation/developer_trace.h"
#include "qxframework/automation/text.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

namespace qx::desk {

namespace {

using std::chrono::milliseconds;

// The first bytes of a lock file. A file without them belongs to another program.
constexpr std::string_view kKind("qxdesk locks 1\n", 16);

// Locks on bytes far behind the content, which need not exist.
constexpr std::uint64_t kUse = std::uint64_t{1} << 40;  // shared by all who have the file open
constexpr std::uint64_t kMaking = kUse + 1;             // while the content is made
constexpr std::uint64_t kParts = kUse + 16;             // one for each Part
constexpr milliseconds kLongestPause{50};

std::uint64_t placeOf(LockFile::Part part) { return kParts + static_cast<std::uint64_t>(part); }

struct flock range(short kind, std::uint64_t first, std::uint64_t count) {
  struct flock lock {};
  lock.l_type = kind;
  lock.l_whence = SEEK_SET;
  lock.l_start = static_cast<off_t>(first);
  lock.l_len = static_cast<off_t>(count);  // 0: all that follows
  return lock;
}

// Locks of an open file and not of the process, so that two connections of one process exclude each
// other, and none loses its locks if the process opens and closes the file once more.
bool setLock(int file, short kind, std::uint64_t first, std::uint64_t count = 1) {
  struct flock lock = range(kind, first, count);
  return fcntl(file, F_OFD_SETLK, &lock) == 0;
}

// Tells a taken lock from a file system without locks.
bool isTaken() { return errno == EAGAIN || errno == EACCES; }

bool isSameFile(const struct stat& mine, const std::filesystem::path& path) {
  struct stat there {};
  return lstat(path.c_str(), &there) == 0 && mine.st_dev == there.st_dev &&
         mine.st_ino == there.st_ino;
}

// All who may write the company need its lock file. A process of the administrator must not be the
// owner of a file that the others cannot open. Most files have the rights already, and each call
// that sets them is a change for the file system's journal.
void takeRightsOf(const struct stat& company, const struct stat& lock, int file) {
  const uid_t owner = geteuid() == 0 ? company.st_uid : lock.st_uid;
  const bool given = (owner == lock.st_uid && company.st_gid == lock.st_gid) ||
                     fchown(file, owner, company.st_gid) == 0;
  // The maker's own group may be one of many users who have nothing to do with the company.
  const mode_t mode = company.st_mode & (given ? 0777 : 0707);
  // Not all file systems have rights; without them the others go on without the lock file.
  if ((lock.st_mode & 07777) != mode) static_cast<void>(fchmod(file, mode));
}

// A folder that all can write may give its group to the files of users who are not in the group.
bool givesGroupToAll(const std::filesystem::path& folder, gid_t group) {
  struct stat state {};
  return stat(folder.c_str(), &state) != 0 ||
         ((state.st_mode & S_IWOTH) != 0 && state.st_gid == group);
}

// Returns true if all who can write a lock file may write the company as well. The owner of a file
// can give it to a group only if that user is in the group.
bool isSharedFairly(const struct stat& lock, const struct stat& company,
                    const std::filesystem::path& path) {
  if ((company.st_mode & S_IWOTH) != 0) return true;
  const bool sameGroup = (company.st_mode & S_IWGRP) != 0 && lock.st_gid == company.st_gid;
  const bool owner = lock.st_uid == geteuid() || lock.st_uid == 0 ||
                     lock.st_uid == company.st_uid ||
                     (sameGroup && !givesGroupToAll(path.parent_path(), lock.st_gid));
  const bool group = (lock.st_mode & S_IWGRP) == 0 || sameGroup;
  return owner && group && (lock.st_mode & S_IWOTH) == 0;
}

// Reported once for each file, however often the program connects.
void reportUnfair(const std::filesystem::path& path) {
  static std::mutex mutex;
  static std::set<std::filesystem::path> reported;
  const std::lock_guard lock(mutex);
  if (!reported.insert(path).second) return;
  developerTrace(toUtf16("The lock file " + path.string() +
                         " is not used: users who may not write the company can write it. Its "
                         "owner or root can delete it; until then the connections to the company "
                         "do not know of each other.\n"));
}

enum class Kind { Ours, Blank, Foreign };

// Blank is an empty file, and one of which the maker has ended before it wrote the first bytes.
Kind kindOf(int file, const struct stat& state) {
  std::array<char, kKind.size()> first{};
  if (!S_ISREG(state.st_mode)) return Kind::Foreign;
  if (state.st_size == 0) return Kind::Blank;
  const bool whole =
      static_cast<std::size_t>(state.st_size) == LockFile::Contents::kBytes &&
      pread(file, first.data(), first.size(), 0) == static_cast<ssize_t>(first.size());
  if (!whole) return Kind::Foreign;
  if (std::string_view(first.data(), first.size()) == kKind) return Kind::Ours;
  return std::all_of(first.begin(), first.end(), [](char c) { return c == 0; }) ? Kind::Blank
                                                                                : Kind::Foreign;
}

// Written as a whole before the file is mapped: a process that writes into a mapped hole while the
// disk is full ends. A write fails if there is no room for its bytes, also where the file system
// chooses their place later, so nothing has to be allocated beside it.
bool writeContents(int file) {
  std::array<char, LockFile::Contents::kBytes> bytes{};
  std::copy(kKind.begin(), kKind.end(), bytes.begin());
  if (pwrite(file, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size())) {
    return true;
  }
  // What there was room for would look like a file of another program, for ever.
  [[maybe_unused]] const int emptied = ftruncate(file, 0);
  return false;
}

// Called by one process at a time. Another one may have been quicker.
Kind makeContents(int file, const struct stat& company) {
  struct stat lock {};
  if (fstat(file, &lock) != 0) return Kind::Foreign;
  const Kind kind = kindOf(file, lock);
  if (kind != Kind::Blank) return kind;
  takeRightsOf(company, lock, file);
  return writeContents(file) ? Kind::Ours : Kind::Blank;
}

enum class Opened { Yes, Never, TryAgain };

Opened prepare(int file, const std::filesystem::path& path, const std::filesystem::path& company) {
  struct stat lock {};
  struct stat rights {};
  const bool known = fstat(file, &lock) == 0 && stat(company.c_str(), &rights) == 0;
  // First of all: an empty file that the administrator gave to the company's owner could still be
  // open in the program of the user who made it.
  if (!known || !isSharedFairly(lock, rights, path)) {
    reportUnfair(path);
    return Opened::Never;
  }
  // The last user removes the file under this lock; then the next one has to make it anew.
  if (!setLock(file, F_RDLCK, kUse)) return isTaken() ? Opened::TryAgain : Opened::Never;
  if (!isSameFile(lock, path)) return Opened::TryAgain;
  // By the size from before the lock: it changes once, from that of a blank file, and blank ones
  // are looked at again.
  Kind kind = kindOf(file, lock);
  if (kind == Kind::Blank) {
    if (!setLock(file, F_WRLCK, kMaking)) return isTaken() ? Opened::TryAgain : Opened::Never;
    kind = makeContents(file, rights);
    setLock(file, F_UNLCK, kMaking);
  }
  return kind == Kind::Ours ? Opened::Yes : Opened::Never;
}

// Returns no file if there can be none.
UniqueFd openFile(const std::filesystem::path& path, const std::filesystem::path& company,
                  const std::function<void(int)>& sleep) {
  constexpr int kAttempts = 1000;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    // No link is followed, and no device opened that would wait for something.
    UniqueFd file(::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                         S_IRUSR | S_IWUSR));
    if (!file) return file;
    const Opened opened = prepare(file.get(), path, company);
    if (opened == Opened::Yes) return file;
    if (opened == Opened::Never) break;
    sleep(1);
  }
  return UniqueFd();
}

void writeName(LockFileName& place) {
  const std::string_view name = program_invocation_short_name;
  place.fill(0);
  std::copy_n(name.begin(), std::min(name.size(), place.size()), place.begin());
}

// Another process writes it, so it may be anything. Bytes outside of ASCII stay, since programs
// have names in all scripts.
std::string readName(const LockFileName& place) {
  std::string name(place.begin(), std::find(place.begin(), place.end(), '\0'));
  for (char& c : name) {
    if (static_cast<unsigned char>(c) < ' ' || c == '\x7F') c = '?';
  }
  return name;
}

}  // namespace

std::filesystem::path lockFileOf(const std::filesystem::path& company) {
  std::filesystem::path path = company;
  return path += "-lock";
}

std::unique_ptr<LockFile> LockFile::open(const std::filesystem::path& company,
                                         const CompanyEnvironment& environment) {
  std::filesystem::path path = lockFileOf(company);
  UniqueFd file = openFile(path, company, environment.sleep);
  if (!file) return nullptr;
  void* const memory =
      mmap(nullptr, Contents::kBytes, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
  if (memory == MAP_FAILED) return nullptr;
  return std::unique_ptr<LockFile>(
      new LockFile(std::move(path), std::move(file), static_cast<Contents*>(memory), environment));
}

LockFile::LockFile(std::filesystem::path path, UniqueFd file, Contents* contents,
                   const CompanyEnvironment& environment)
    : path_(std::move(path)),
      file_(std::move(file)),
      contents_(contents),
      environment_(environment) {}

// Given back before it is asked for alone: of two that end at the same moment, one is alone.
LockFile::~LockFile() {
  munmap(contents_, Contents::kBytes);
  setLock(file_.get(), F_UNLCK, 0, 0);
  struct stat mine {};
  if (setLock(file_.get(), F_WRLCK, kUse) && fstat(file_.get(), &mine) == 0 &&
      isSameFile(mine, path_)) {
    unlink(path_.c_str());
  }
}

bool LockFile::take(Part part, milliseconds most) {
  const auto end = environment_.clock() + most;
  for (milliseconds pause{1}; !tryByte(placeOf(part)); pause = std::min(2 * pause, kLongestPause)) {
    const auto left = std::chrono::ceil<milliseconds>(end - environment_.clock());
    if (left <= milliseconds(0)) return false;
    environment_.sleep(static_cast<int>(std::min(pause, left).count()));
  }
  writeName(contents_->tables.program);
  contents_->tables.process = getpid();
  hasTables_ = true;
  return true;
}

void LockFile::release(Part part) {
  if (!std::exchange(hasTables_, false)) return;
  contents_->tables.process = 0;
  contents_->tables.program.fill(0);
  releaseByte(placeOf(part));
}

bool LockFile::has(Part) const { return hasTables_; }

std::optional<LockFile::Holder> LockFile::holder(Part part) const {
  if (!lowestTaken(placeOf(part), placeOf(part) + 1)) return std::nullopt;
  return Holder{static_cast<long>(contents_->tables.process.load()),
                readName(contents_->tables.program)};
}

bool LockFile::tryByte(std::uint64_t at) const { return setLock(file_.get(), F_WRLCK, at); }

void LockFile::releaseByte(std::uint64_t at) const { setLock(file_.get(), F_UNLCK, at); }

std::optional<std::uint64_t> LockFile::lowestTaken(std::uint64_t first, std::uint64_t end) const {
  std::optional<std::uint64_t> lowest;
  // The system reports any lock in the range and not the lowest one.
  while (first < end) {
    struct flock lock = range(F_WRLCK, first, end - first);
    if (fcntl(file_.get(), F_OFD_GETLK, &lock) != 0 || lock.l_type == F_UNLCK) break;
    end = std::max(first, static_cast<std::uint64_t>(lock.l_start));
    lowest = end;
  }
  return lowest;
}

}  // namespace qx::desk
