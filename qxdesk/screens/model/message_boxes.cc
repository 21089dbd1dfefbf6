#include "qxdesk/screens/model/message_boxes.h"

#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/developer_trace.h"

#include <algorithm>
#include <utility>

namespace qx::screens {
namespace {

bool hasButton(const MessageBoxCall& box, long button) {
  return button >= 1 && button <= 3 && !box.buttons[static_cast<std::size_t>(button - 1)].empty();
}

void completeButtons(MessageBoxCall& box) {
  auto& buttons = box.buttons;
  const auto shown = [](const std::u16string& caption) { return !caption.empty(); };
  if (std::none_of(buttons.begin(), buttons.end(), shown)) buttons[0] = u"OK";
  // An add-on may name a default that has no caption, or a number outside of 1 to 3.
  if (hasButton(box, box.defaultButton)) return;
  box.defaultButton = std::find_if(buttons.begin(), buttons.end(), shown) - buttons.begin() + 1;
}

}  // namespace

long MessageBoxes::show(MessageBoxCall box) {
  completeButtons(box);
  const std::optional<long> answer = nextAnswer(box);
  // An answer with a button that the box lacks is still an answer: the box is not refused.
  box.unattended = !answer.has_value();
  box.answer = answer && hasButton(box, *answer) ? *answer : box.defaultButton;
  if (box.unattended) developerTrace(u"Message box without an answer: " + box.text + u"\n");
  if (answer && *answer != box.answer) {
    developerTrace(u"Message box that lacks the button of its answer: " + box.text + u"\n");
  }
  // A refused box is kept as well, so that a test sees which one it was.
  history_.push_back(box);
  if (box.unattended && refuseUnattended_) raiseError(kGeneralFailure);
  return box.answer;
}

std::optional<long> MessageBoxes::nextAnswer(const MessageBoxCall& box) {
  // A queued answer was meant for this box; the answerer replies to any box.
  if (!answers_.empty()) {
    const long answer = answers_.front();
    answers_.pop_front();
    return answer;
  }
  const std::optional<long> answer = answerer_ ? answerer_(box) : std::nullopt;
  return answer || !lastAnswerer_ ? answer : lastAnswerer_(box);
}

}  // namespace qx::screens
