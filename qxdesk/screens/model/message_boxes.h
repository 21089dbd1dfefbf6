#pragma once

// The modal boxes of the client. Nobody sits in front of it, so the answers come from a queue, or
// from whoever plays the user; without an answer the default button is pressed and the text goes to
// the developer trace.

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
  bool unattended = false;  ///< nobody had an answer
};

class MessageBoxes {
 public:
  using Answerer = std::function<std::optional<long>(const MessageBoxCall&)>;

  /// A box that nobody answers fails instead of taking its default button.
  explicit MessageBoxes(bool refuseUnattended) : refuseUnattended_(refuseUnattended) {}

  /// Shows a box and gives the button pressed. A box without any caption gets "OK" as button 1; a
  /// default button that is not there counts as the first. Raises kGeneralFailure when boxes
  /// nobody answers are refused.
  long show(MessageBoxCall box);
  /// The next box is answered with this button. One that the box does not have presses the default.
  void queueAnswer(long button) { answers_.push_back(button); }
  /// Asked when no answer is queued; null for nobody.
  void setAnswerer(Answerer answerer) { answerer_ = std::move(answerer); }
  /// Every box so far.
  const std::vector<MessageBoxCall>& history() const { return history_; }

 private:
  std::optional<long> nextAnswer(const MessageBoxCall& box);

  bool refuseUnattended_;
  std::deque<long> answers_;
  Answerer answerer_;
  std::vector<MessageBoxCall> history_;
};

}  // namespace qx::screens
