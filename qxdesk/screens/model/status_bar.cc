#include "qxdesk/screens/model/status_bar.h"

#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/com_error.h"

#include <algorithm>
#include <utility>

namespace qx::screens {

void Progress::stop() {
  // Only the first call frees the bar: by the second it may have another holder.
  if (std::exchange(stopped_, true)) return;
  if (const auto bar = bar_.lock()) (*bar)->free();
}

void Progress::checkHeld() const {
  if (stopped_ || bar_.expired()) raiseError(kGeneralFailure);
}

void Progress::changed() const {
  if (const auto bar = bar_.lock()) (*bar)->changed();
}

void Progress::setText(std::u16string text) {
  checkHeld();
  text_ = std::move(text);
  changed();
}

void Progress::setValue(long value) {
  checkHeld();
  value_ = std::clamp(value, 0L, std::max(0L, maximum_));  // a maximum may be negative
  changed();
}

StatusBar::StatusBar(std::unique_ptr<ProgressLock> lock)
    : lock_(std::move(lock)), self_(std::make_shared<StatusBar*>(this)) {}

StatusBar::~StatusBar() {
  // A holder may outlive the bar and then frees nothing, so the lock is released here.
  observer_ = nullptr;
  if (held_) free();
}

void StatusBar::show(StatusMessage message) {
  history_.push_back(std::move(message));
  changed();
}

std::shared_ptr<Progress> StatusBar::createProgress(std::u16string text, long maximum,
                                                    bool stoppable) {
  // The lock is optional, so the bar knows its holder itself.
  if (held_) raiseError(kGeneralFailure);
  auto progress =
      std::make_shared<Progress>(self_, ++progressBars_, std::move(text), maximum, stoppable);
  if (lock_ != nullptr && !lock_->tryAcquire()) {
    progress->stopped_ = true;  // or its end would free the bar of the other process
    raiseError(kGeneralFailure);
  }
  held_ = true;
  holder_ = progress;
  changed();
  return progress;
}

void StatusBar::free() {
  held_ = false;
  holder_.reset();
  if (lock_ != nullptr) lock_->release();
  changed();
}

}  // namespace qx::screens
