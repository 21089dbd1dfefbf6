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
  if (hasButton(box, box.defaultButton)) return;
  box.defaultButton = std::find_if(buttons.begin(), buttons.end(), shown) - buttons.begin() + 1;
}

}  // namespace

long MessageBoxes::show(MessageBoxCall box) {
  completeButtons(box);
  const std::optional<long> answer = nextAnswer(box);
  box.unattended = !answer.has_value();
  box.answer = answer && hasButton(box, *answer) ? *answer : box.defaultButton;
  if (box.unattended) developerTrace(u"Message box that nobody answers: " + box.text + u"\n");
  if (answer && *answer != box.answer) {
    developerTrace(u"Message box without the button of the answer: " + box.text + u"\n");
  }
  history_.push_back(box);
  if (box.unattended && refuseUnattended_) raiseError(kGeneralFailure);
  return box.answer;
}

std::optional<long> MessageBoxes::nextAnswer(const MessageBoxCall& box) {
  if (!answers_.empty()) {
    const long answer = answers_.front();
    answers_.pop_front();
    return answer;
  }
  return answerer_ ? answerer_(box) : std::nullopt;
}

}  // namespace qx::screens
