#pragma once

// The status bar: its messages, and the progress bar, which has one holder at a time. If processes
// share the progress bar, a lock of the machine keeps the others from it.

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

/// Keeps other processes from the progress bar while it is held.
class ProgressLock {
 public:
  virtual ~ProgressLock() = default;
  /// Returns false while another process holds it.
  virtual bool tryAcquire() = 0;
  virtual void release() = 0;
};

class StatusBar;

/// The progress bar as its holder sees it. It is freed by stop() or with this object.
class Progress {
 public:
  Progress(std::weak_ptr<StatusBar*> bar, long number, std::u16string text, long maximum,
           bool stoppable)
      : bar_(std::move(bar)),
        number_(number),
        text_(std::move(text)),
        maximum_(maximum),
        stoppable_(stoppable) {}
  ~Progress() { stop(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Frees the bar; a second call does nothing.
  void stop();
  /// Throws kGeneralFailure if the bar has been stopped.
  void setText(std::u16string text);
  /// Keeps the value within 0 and maximum(). Throws as setText() does.
  void setValue(long value);
  /// A number from 1 that no other progress bar of the desk has.
  long number() const { return number_; }
  long value() const { return value_; }
  const std::u16string& text() const { return text_; }
  long maximum() const { return maximum_; }
  bool stoppable() const { return stoppable_; }
  bool stopped() const { return stopped_; }

 private:
  friend class StatusBar;
  void checkHeld() const;
  void changed() const;

  std::weak_ptr<StatusBar*> bar_;
  long number_;
  std::u16string text_;
  long maximum_;
  bool stoppable_;
  long value_ = 0;
  bool stopped_ = false;
};

class StatusBar {
 public:
  /// `lock` may be null: then no other process shares the bar.
  explicit StatusBar(std::unique_ptr<ProgressLock> lock);
  ~StatusBar();
  StatusBar(const StatusBar&) = delete;
  StatusBar& operator=(const StatusBar&) = delete;

  void show(StatusMessage message);
  /// All messages so far.
  const std::vector<StatusMessage>& history() const { return history_; }
  /// Returns the progress bar to its new holder. Throws kGeneralFailure while it is held.
  std::shared_ptr<Progress> createProgress(std::u16string text, long maximum, bool stoppable);
  /// Sets what is called after each change of the messages and the progress bar; null for nothing.
  void setObserver(std::function<void()> observer) { observer_ = std::move(observer); }
  /// Returns the progress bar, or null if it is free.
  std::shared_ptr<Progress> progress() const { return holder_.lock(); }

 private:
  friend class Progress;
  void free();
  void changed() const {
    if (observer_) observer_();
  }

  std::unique_ptr<ProgressLock> lock_;
  std::shared_ptr<StatusBar*> self_;  // how a holder finds the bar; it ends with the bar
  std::vector<StatusMessage> history_;
  std::weak_ptr<Progress> holder_;
  long progressBars_ = 0;  // made so far
  bool held_ = false;
  std::function<void()> observer_;
};

}  // namespace qx::screens
