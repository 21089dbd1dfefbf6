#pragma once

// The status bar: its messages and the progress bar, which one holder has at a time. When several
// embedded clients are told to share the progress bar, a lock of the machine stands behind it.

#include "qxframework/host/enums.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace qx::screens {

struct StatusMessage {
  std::u16string text;
  HvStatusBarMessageType type = smt_None;
  long displayTime = 0;
};

/// What keeps other processes from the progress bar while it is held.
class ProgressLock {
 public:
  virtual ~ProgressLock() = default;
  /// False while another process holds it.
  virtual bool tryAcquire() = 0;
  virtual void release() = 0;
};

class StatusBar;

/// The progress bar in the hands of its holder. It goes with stop() or with the object.
class Progress {
 public:
  Progress(std::weak_ptr<StatusBar*> bar, std::u16string text, long maximum, bool stoppable)
      : bar_(std::move(bar)), text_(std::move(text)), maximum_(maximum), stoppable_(stoppable) {}
  ~Progress() { stop(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void stop();
  /// Raise kGeneralFailure when the bar has been stopped; a value is kept within 0 and maximum.
  void setText(std::u16string text);
  void setValue(long value);
  long value() const { return value_; }
  const std::u16string& text() const { return text_; }
  long maximum() const { return maximum_; }
  bool stoppable() const { return stoppable_; }
  bool stopped() const { return stopped_; }

 private:
  friend class StatusBar;
  void checkHeld() const;

  std::weak_ptr<StatusBar*> bar_;
  std::u16string text_;
  long maximum_;
  bool stoppable_;
  long value_ = 0;
  bool stopped_ = false;
};

class StatusBar {
 public:
  /// `lock` may be null: then the bar is this client's alone.
  explicit StatusBar(std::unique_ptr<ProgressLock> lock);
  ~StatusBar();
  StatusBar(const StatusBar&) = delete;
  StatusBar& operator=(const StatusBar&) = delete;

  void show(StatusMessage message);
  const std::vector<StatusMessage>& history() const { return history_; }
  /// Raises kGeneralFailure while somebody else holds the bar.
  std::shared_ptr<Progress> createProgress(std::u16string text, long maximum, bool stoppable);
  /// Null when nobody holds the bar.
  std::shared_ptr<Progress> progress() const { return holder_.lock(); }

 private:
  friend class Progress;
  void free();

  std::unique_ptr<ProgressLock> lock_;
  std::shared_ptr<StatusBar*> self_;  // what the holder looks the bar up by; gone with the bar
  std::vector<StatusMessage> history_;
  std::weak_ptr<Progress> holder_;
  bool held_ = false;
};

}  // namespace qx::screens
