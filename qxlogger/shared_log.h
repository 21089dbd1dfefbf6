#pragma once

#include "qxlogger/file_api.h"
#include "qxlogger/log_clock.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace qx::logger {

/// How much of one file set is kept.
struct LogLimits {
  long fileCount = 2;
  std::int64_t fileBytes = 1 << 20;
};

/// One formatted record on its way into a file.
struct LogLine {
  std::string_view text;  ///< with its line end
  std::int64_t time = 0;  ///< of the record, wall clock
  long processId = 0;     ///< of the writer
  bool mayWait = false;   ///< may stay pending for a moment; somebody will call flush()
};

enum class Appended { kWritten, kPending, kDropped };

/// A set of rotating log files that any number of threads and processes write at once:
/// "name.log" is the current one, "name.1.log" the one before, and so on.
///
/// Each record becomes part of the set when it stands in the shared memory of the set, and from
/// there it goes into the file, in order, with one `write` for one or many records. So a process
/// that is killed loses and tears nothing: whoever comes next finishes what it has begun. Records
/// are written at once, unless they come within microseconds of each other: a flood is written in
/// pieces of some kilobytes, since a system call for each record takes longer than all the rest.
/// (Mapping the log file itself would spare the call, but shows its readers a file that ends in
/// zeros; the rotating file of spdlog keeps its records in a buffer that dies with the process,
/// and rotates without knowing of other processes.)
///
/// While the disk refuses, records wait in the shared memory. When that is full, they are dropped
/// and counted, and one record of the log itself says how many, ahead of the next one written.
class SharedLog {
 public:
  /// The name of the lines that the log writes about itself.
  static constexpr std::u16string_view kOwnName = u"QXLogger";

  /// `longestWait`, in nanoseconds, is for a process that holds the set and does not run.
  SharedLog(FileApi& files, LogClock& clock, std::string folder, std::string name,
            std::int64_t longestWait = 2 * kNanosecondsPerSecond);
  ~SharedLog();
  SharedLog(const SharedLog&) = delete;
  SharedLog& operator=(const SharedLog&) = delete;

  const std::string& name() const { return name_; }

  /// Never waits for the disk to get better, and never fails: what cannot be kept is dropped.
  Appended append(const LogLine& line, const LogLimits& limits);

  /// Writes what is pending, if this process has written here before. False if that failed.
  bool flush();

 private:
  struct Attachment;

  std::string path(long number) const;
  std::string regionPath() const;
  Attachment* attach();
  void detach(Attachment* attachment);
  Appended dropHere(int error);

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
  bool noteDropped(Attachment& a, const LogLine& line);
  Appended drop(Attachment& a);
  void rotate(Attachment& a, long fileCount);
  int shiftFiles(long fileCount);

  FileApi& files_;
  LogClock& clock_;
  const std::string folder_;
  const std::string name_;
  const std::int64_t longestWait_;
  std::atomic<Attachment*> current_{nullptr};
  std::atomic<Attachment*> retired_{nullptr};
  std::atomic<std::uint64_t> droppedHere_{0};  // without access to the shared state
  std::atomic<int> dropErrorHere_{0};
};

}  // namespace qx::logger
