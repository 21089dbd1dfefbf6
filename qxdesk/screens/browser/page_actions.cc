#include "qxdesk/screens/browser/page_actions.h"

#include "qxdesk/screens/browser/desk_state.h"
#include "qxdesk/screens/browser/page_texts.h"
#include "qxdesk/screens/model/ui_codes.h"
#include "qxdesk/screens/user/user_actions.h"
#include "qxdesk/session/connection_string.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/text.h"
#include "qxframework/logging/result_names.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <limits>

namespace qx::screens {
namespace {

// Typed key by key, each with its events; far more than any field holds.
constexpr std::size_t kMostTyped = 10'000;
// The place of a form's upper left corner that any page can scroll to.
constexpr long kFarthest = 4000;
// The part of a title bar that stays on the left edge.
constexpr long kReachable = 60;

// Throws E_INVALIDARG for a number outside.
long checked(std::int64_t value, std::int64_t least, std::int64_t most) {
  if (value < least || value > most) raiseError(E_INVALIDARG);
  return value;
}

// The model throws for a row outside of a matrix; here only what it cannot hold is kept away.
long rowOf(const PageMessage& message) {
  return checked(message.row, 0, std::numeric_limits<std::int32_t>::max());
}

std::shared_ptr<FormModel> visibleForm(const Desk& desk, const std::u16string& uid) {
  auto form = desk.forms.find(uid);
  if (form == nullptr) raiseError(kInvalidForm);
  if (!form->visible) raiseError(kNotValidTarget);
  return form;
}

// A right click needs an item that is seen; it may be disabled.
void checkSeen(const Desk& desk, const PageMessage& message) {
  const auto form = visibleForm(desk, message.form);
  if (message.item.empty()) return;
  const ItemModel& item = form->item(message.item);
  if (!item.visible || !item.isOnPane(form->pane)) raiseError(kNotValidTarget);
}

bool moveForm(Desk& desk, const PageMessage& message) {
  const auto form = visibleForm(desk, message.form);
  Rect& rect = form->rect;
  const long least = std::min(0L, kReachable - rect.width);
  rect.left = std::clamp<std::int64_t>(message.left, least, kFarthest);
  rect.top = std::clamp<std::int64_t>(message.top, 0, kFarthest);
  return true;
}

bool changeLanguage(UserActions& user, const PageMessage& message) {
  // The numbers of the languages have gaps, so a cast would accept what is none.
  const HvLanguages known = desk::languageFromText(toUtf16(std::to_string(message.language)));
  if (known == 0) raiseError(E_INVALIDARG);
  user.changeLanguage(known);
  return true;
}

bool typeText(UserActions& user, const Spot& spot, const PageMessage& message) {
  if (message.text.size() > kMostTyped) raiseError(E_INVALIDARG);
  return user.type(spot, message.text);
}

// The add-on may have ended that bar and begun another one since the page has shown it.
bool stopProgress(const Desk& desk, UserActions& user, const PageMessage& message) {
  const auto progress = desk.statusBar.progress();
  const bool isShown = progress != nullptr && progress->number() == message.progress;
  if (!isShown || !progress->stoppable()) raiseError(kNotValidTarget);
  return user.progressBar();
}

bool actOnForm(Desk& desk, UserActions& user, const PageMessage& message) {
  visibleForm(desk, message.form);
  switch (message.verb) {
    case PageVerb::kTab:
      return message.shift ? user.backTab(message.form) : user.tab(message.form);
    case PageVerb::kSelect:
      return user.selectForm(message.form);
    case PageVerb::kClose:
      return user.closeForm(message.form);
    case PageVerb::kPrint:
      return user.print(message.form);
    default:
      return user.reportData(message.form);
  }
}

// Returns false if an add-on vetoes.
bool perform(Desk& desk, const PageMessage& message) {
  UserActions user(desk);
  const Spot spot{message.form, message.item, message.column, rowOf(message)};
  switch (message.verb) {
    case PageVerb::kMenu:
      return user.pickMenu(message.uid);
    case PageVerb::kPress:
      return user.click(spot, {.ctrl = message.ctrl, .shift = message.shift});
    case PageVerb::kDouble:
      return user.doubleClick(spot);
    case PageVerb::kKey:
      return user.key(spot, static_cast<char16_t>(checked(message.key, 1, 0xFFFF)));
    case PageVerb::kType:
      return typeText(user, spot, message);
    case PageVerb::kValidate:
      return user.validate(spot);
    case PageVerb::kChoose:
      return user.choose(spot, message.text);
    case PageVerb::kRight:
      checkSeen(desk, message);
      return user.rightClick(spot);
    case PageVerb::kMove:
      return moveForm(desk, message);
    case PageVerb::kLanguage:
      return changeLanguage(user, message);
    case PageVerb::kStop:
      return stopProgress(desk, user, message);
    case PageVerb::kShutDown:
      user.shutDown();
      return true;
    default:
      return actOnForm(desk, user, message);
  }
}

const MatrixModel& matrixOf(const Desk& desk, const PageMessage& message) {
  const auto form = desk.forms.find(message.form);
  if (form == nullptr) raiseError(kInvalidForm);
  const ItemModel& item = form->item(message.item);
  if (item.matrix == nullptr) raiseError(kNotValidTarget);
  return *item.matrix;
}

}  // namespace

PageOutcome refusal(long code) {
  // Only sentences that are the same for every desk: others name files and statements.
  const std::u16string_view sentence = resultSentence(static_cast<HRESULT>(code));
  std::string why = toUtf8(sentence);
  if (why.empty()) {
    why = code == E_INVALIDARG ? "A number or a text of the action is outside of its range."
                               : "The action has failed.";
  }
  return {PageOutcome::Result::kRefused, code, std::move(why)};
}

PageOutcome performPageAction(Desk& desk, const PageMessage& message) {
  try {
    if (perform(desk, message)) return {};
    return {PageOutcome::Result::kVetoed, 0, {}};
  } catch (const _com_error& error) {
    return refusal(error.Error());
  } catch (const std::exception&) {
    return refusal(kGeneralFailure);
  }
}

std::string answerRows(const Desk& desk, const PageMessage& message) {
  try {
    const MatrixModel& matrix = matrixOf(desk, message);
    const long from = checked(message.from, 1, std::numeric_limits<std::int32_t>::max());
    const long count = checked(message.count, 1, kMostPageRows);
    return rowsText(message, matrix.revision(), rowsOf(matrix, from, count));
  } catch (const _com_error& error) {
    const PageOutcome refused = refusal(error.Error());
    return message.id ? refusedText(*message.id, refused.code, refused.why) : std::string();
  }
}

}  // namespace qx::screens
