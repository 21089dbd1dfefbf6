#pragma once

// A set of rotating log files that many processes write.

#include "qxlogger/file_api.h"
#include "qxlogger/log_clock.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qx::logger {

/// The number and the size of the files of one set.
struct LogLimits {
  long fileCount = 2;
  std::int64_t fileBytes = 1 << 20;
};

/// One formatted record on its way into a file.
struct LogLine {
  std::string_view text;  ///< with its line end
  std::int64_t time = 0;  ///< of the record, wall clock
  long processId = 0;     ///< of the writer
  bool mayWait = false;   ///< may remain pending until the caller's flush(), a moment later
};

/// The result of appending a record: it is in the file, in the shared memory, or lost.
enum class Appended { kWritten, kPending, kDropped };

/// A set of rotating log files that any number of threads and processes write at once:
/// "name.log" is the current one, "name.1.log" the one before, and so on.
///
/// A record is safe once it is in the shared memory of the set. From there it goes into the file,
/// in order, with one `write` for one or many records. A killed process therefore neither loses nor
/// tears a record: the next process completes the write. Records are written at once, unless they
/// come within microseconds of each other: such a flood is written in pieces of some kilobytes,
/// because a system call per record takes longer than all other work. (Mapping the log file itself
/// would avoid the call, but its readers would see a file that ends in zeros; the rotating file of
/// spdlog keeps its records in a buffer that dies with the process, and its rotation ignores other
/// processes.)
///
/// While the disk refuses writes, or the process has reached its limit for files, records wait in
/// the shared memory. When that is full, they are dropped and counted, and a record of the log
/// itself reports the number before the next record. The developer trace tells the first failure.
/// The same happens to records for which a file that cannot be rotated has no room: what is in the
/// files is never given up for them. Such a file grows by 64 KB beyond its limit, so that a
/// rotation that fails once or twice costs no record.
class SharedLog {
 public:
  /// The function name in the records that the log writes about itself.
  static constexpr std::u16string_view kOwnName = u"QXLogger";

  /// Opens no file yet. `longestWait`, in nanoseconds, limits the wait for a process that holds the
  /// set but is stopped.
  SharedLog(FileApi& files, LogClock& clock, std::string folder, std::string name,
            std::int64_t longestWait = 2 * kNanosecondsPerSecond);
  ~SharedLog();
  SharedLog(const SharedLog&) = delete;
  SharedLog& operator=(const SharedLog&) = delete;

  const std::string& name() const { return name_; }

  /// Appends a record, or drops it if it cannot be kept. Never waits for the disk to recover.
  Appended append(const LogLine& line, const LogLimits& limits);

  /// Writes the pending records if this object has appended before. Returns false if that failed.
  bool flush();

 private:
  struct Attachment;

  std::string path(long number) const;
  std::string regionPath() const;
  Attachment* attach();
  void detach(Attachment* attachment);
  Appended dropHere(int error);
  void tellFailure(int error);

  bool makeReady(Attachment& a, std::int64_t now);
  bool reopen(Attachment& a);
  bool recover(Attachment& a);
  bool closeTail(Attachment& a, std::int64_t size, std::uint32_t start);
  bool verify(Attachment& a);

  Appended store(Attachment& a, const LogLine& line, const LogLimits& limits);
  bool makeRoom(Attachment& a, const LogLine& line, const LogLimits& limits);
  void put(Attachment& a, std::string_view text, std::int64_t time);
  bool writePending(Attachment& a);
  Appended writeLong(Attachment& a, std::string_view text);
  void putOwn(Attachment& a, const LogLine& line, const std::string& message);
  bool noteDropped(Attachment& a, const LogLine& line);
  void noteUnrotated(Attachment& a, const LogLine& line);
  Appended drop(Attachment& a);
  bool mayRotate(const Attachment& a, std::int64_t now) const;
  void rotate(Attachment& a, std::int64_t now, const LogLimits& limits);
  int shiftFiles(long fileCount);

  FileApi& files_;
  LogClock& clock_;
  const std::string folder_;
  const std::string name_;
  const std::int64_t longestWait_;
  std::atomic<Attachment*> current_{nullptr};
  std::atomic<Attachment*> retired_{nullptr};
  std::atomic<std::uint64_t> droppedHere_{0};  // while the shared state was inaccessible
  std::atomic<int> dropErrorHere_{0};
  std::atomic_flag told_;  // that the log cannot be written
};

}  // namespace qx::logger
