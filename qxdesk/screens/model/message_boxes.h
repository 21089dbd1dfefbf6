#pragma once

// The modal boxes of the host. No user sits in front of it, so answers come from a queue or from an
// answerer that plays the user. Without an answer, the default button is pressed and the text goes
// to the developer trace.

#include <array>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace qx::screens {

struct MessageBoxCall {
  std::u16string text;
  std::array<std::u16string, 3> buttons;  ///< an empty caption leaves the button out
  long defaultButton = 1;
  long answer = 0;          ///< the button that was pressed, from 1
  bool unattended = false;  ///< there was no answer
};

class MessageBoxes {
 public:
  /// Returns the button to press, or nothing if it has no answer to the box.
  using Answerer = std::function<std::optional<long>(const MessageBoxCall&)>;

  /// With `refuseUnattended`, a box without an answer fails instead of taking its default button.
  explicit MessageBoxes(bool refuseUnattended) : refuseUnattended_(refuseUnattended) {}

  /// Shows a box and returns the button that was pressed. A box without any caption gets "OK" as
  /// button 1; a default button that the box does not have becomes its first button. Throws
  /// kGeneralFailure if there is no answer and such boxes are refused.
  long show(MessageBoxCall box);
  /// Answers the next box with this button. If the box does not have it, the default is pressed.
  void queueAnswer(long button) { answers_.push_back(button); }
  /// Sets who is asked if no answer is queued; null for no answerer.
  void setAnswerer(Answerer answerer) { answerer_ = std::move(answerer); }
  /// Sets who is asked if neither the queue nor the answerer has an answer; null for no one.
  void setLastAnswerer(Answerer answerer) { lastAnswerer_ = std::move(answerer); }
  /// All boxes so far.
  const std::vector<MessageBoxCall>& history() const { return history_; }

 private:
  std::optional<long> nextAnswer(const MessageBoxCall& box);

  bool refuseUnattended_;
  std::deque<long> answers_;
  Answerer answerer_;
  Answerer lastAnswerer_;
  std::vector<MessageBoxCall> history_;
};

}  // namespace qx::screens
