#pragma once

// The file "COMPANY-lock" beside a company in a file, in which the connections to that company keep
// what they tell each other: who makes tables, and who writes next. The engine's own locks know no
// queue and no names.
//
// What counts is the locks on ranges of the file, which the system releases when a connection or
// its process ends in any way. The content only adds names and numbers to them and may be anything;
// a file that was left behind is used again. The file has the rights of the company's file, and the
// last connection removes it. Without it, for example in a folder that cannot be written, a company
// works as well, but its connections do not know of each other.
//
// The file is mapped, so a user who can shorten it can end the programs that use it. It is used
// only if all who can write it may write the company as well:
// - Its owner is this user, root, the owner of the company's file, or a user who may write that
//   file: any user if others may write it; if the group may, the owner of a lock file that has the
//   company's group and is in a folder that does not give this group to the files of all users.
// - Its rights let the group and others write only if those of the company's file do, and the group
//   only if it is the same one.

#include "qxdesk/engines/environment.h"
#include "qxframework/os/unique_fd.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

namespace qx::desk {

class LockFile {
 public:
  /// What one connection at a time may hold. The numbers are frozen: programs of different releases
  /// share the file.
  enum class Part : std::uint64_t { Tables = 0 };
  struct Holder {
    long process = 0;
    std::string program;
    friend bool operator==(const Holder&, const Holder&) = default;
  };
  struct Contents;
  /// What a connection does with its turn in the queue of writers, for those behind it.
  enum class Turn : std::uint32_t {
    Waiting = 0,
    Writing = 1,      ///< a statement; it may not have got the engine's lock yet
    Transaction = 2,  ///< it has the engine's lock until the transaction ends
    Drawn = 3,        ///< it has read a table's highest code and has not inserted a row yet
    Kept = 4,         ///< no statement; its next one may follow at once. Those behind may end it
    Ended = 5         ///< it was ended so
  };

  /// Opens the lock file of a company's file, which must exist and be no link; makes it if it is
  /// missing. Returns null if there can be none: the folder cannot be written, the disk is full, or
  /// the name belongs to something else, for example to a link, a folder or a user who may not
  /// write the company. The last is reported to the developer trace.
  static std::unique_ptr<LockFile> open(const std::filesystem::path& company,
                                        const CompanyEnvironment& environment);
  /// Releases everything, and removes the file if no other connection uses it.
  ~LockFile();
  LockFile(const LockFile&) = delete;
  LockFile& operator=(const LockFile&) = delete;

  /// Takes a part; true also if this connection has it already. Returns false if another connection
  /// still has it after `most`, which is measured by the environment's clock; 0 does not wait.
  bool take(Part part, std::chrono::milliseconds most);
  /// Releases a part; does nothing if this connection does not have it.
  void release(Part part);
  bool has(Part part) const;
  /// Returns the other connection that has a part, or nothing if none has it. The program is empty
  /// at the moment in which the part changes hands.
  std::optional<Holder> holder(Part part) const;

  // For the queue of writers.
  /// Takes the byte at `at` of the file's lock space alone; returns false if another connection has
  /// it.
  bool tryByte(std::uint64_t at) const;
  void releaseByte(std::uint64_t at) const;
  /// Returns the lowest byte in [first, end) that another connection has.
  std::optional<std::uint64_t> lowestTaken(std::uint64_t first, std::uint64_t end) const;
  Contents& contents() const { return *contents_; }

 private:
  LockFile(std::filesystem::path path, UniqueFd file, Contents* contents,
           const CompanyEnvironment& environment);

  std::filesystem::path path_;
  UniqueFd file_;
  Contents* contents_;
  CompanyEnvironment environment_;
  bool hasTables_ = false;
};

/// Returns the path of the lock file that belongs to a company's file. A link to that file would
/// lead to another one.
std::filesystem::path lockFileOf(const std::filesystem::path& company);

}  // namespace qx::desk
