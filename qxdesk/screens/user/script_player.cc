#include "qxdesk/screens/user/script_player.h"

#include "qxdesk/screens/model/desk_printer.h"
#include "qxdesk/screens/user/form_drawing.h"
#include "qxdesk/session/call_gate.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/text.h"
#include "qxframework/logging/result_names.h"

#include <algorithm>
#include <utility>

namespace qx::screens {
namespace {

std::string outcome(bool done) { return done ? "" : ": vetoed by the add-on"; }

std::string spotText(const Spot& spot) {
  std::string text = "item " + toUtf8(spot.item);
  if (!spot.column.empty()) {
    text += ", column " + toUtf8(spot.column) + ", row " + std::to_string(spot.row);
  }
  return text + " of form " + toUtf8(spot.form);
}

// The words of a step are its arguments in order: form, item, then a column or a text.
Spot spotOf(const PlayStep& step, const std::u16string& form) {
  Spot spot;
  spot.form = form;
  if (step.words.size() > 1) spot.item = step.words[1];
  const bool hasCell = step.verb == PlayVerb::kClick || step.verb == PlayVerb::kCtrlClick ||
                       step.verb == PlayVerb::kShiftClick || step.verb == PlayVerb::kDoubleClick ||
                       step.verb == PlayVerb::kCell;
  if (hasCell && step.words.size() > 2) {
    spot.column = step.words[2];
    spot.row = step.number;
  }
  return spot;
}

}  // namespace

ScriptPlayer::ScriptPlayer(Desk& desk, std::vector<PlayStep> steps, Post post, Print print)
    : desk_(desk),
      user_(desk),
      steps_(std::move(steps)),
      post_(std::move(post)),
      print_(std::move(print)) {
  desk_.boxes.setAnswerer([this](const MessageBoxCall& box) { return answer(box); });
}

// The desk outlives the player and must not call into it afterwards.
ScriptPlayer::~ScriptPlayer() { desk_.boxes.setAnswerer(nullptr); }

void ScriptPlayer::start() {
  if (std::exchange(started_, true)) return;
  postNext();
}

// Posts one task at a time, so that tasks of the add-on run between two steps.
void ScriptPlayer::postNext() {
  if (finished()) return;
  post_([this] { playNext(); });
}

void ScriptPlayer::playAhead() {
  const bool hasStart = std::any_of(steps_.begin(), steps_.end(), [](const PlayStep& step) {
    return step.verb == PlayVerb::kStart;
  });
  while (hasStart && playOne() != PlayVerb::kStart) {
  }
}

void ScriptPlayer::playNext() {
  if (finished()) return;
  const PlayVerb verb = playOne();
  if (verb == PlayVerb::kShutDown || verb == PlayVerb::kTerminate) {
    // The add-on leaves its message loop, which would have run the next task.
    while (!finished()) playOne();
  }
  postNext();
}

PlayVerb ScriptPlayer::playOne() {
  // Counted first: a box that opens during the step looks at the step that follows.
  const PlayStep step = steps_[next_++];
  std::string line;
  try {
    line = play(step);
  } catch (const _com_error& error) {
    // A refused step does not end the script: a demonstration shows refusals, too.
    line = "line " + std::to_string(step.line) + " refused: " + toUtf8(errorText(error.Error())) +
           " (" + std::to_string(error.Error()) + ")\n";
  }
  desk::CallGate::instance().leave();  // the step is as good as a call that has changed something
  if (!line.empty()) print_(line);
  return step.verb;
}

std::optional<long> ScriptPlayer::answer(const MessageBoxCall& box) {
  std::string text = "box \"" + toUtf8(box.text) + "\"";
  // The box asks here only if no answer is queued, that is, if no `answer` step came earlier.
  if (finished() || steps_[next_].verb != PlayVerb::kAnswer) {
    print_(text + ": no answer\n");
    return std::nullopt;
  }
  const long button = steps_[next_++].number;
  print_(text + ": answered with button " + std::to_string(button) + "\n");
  return button;
}

std::u16string ScriptPlayer::formName(const std::u16string& word) const {
  if (word != u"*") return word;
  // Resolved when the step runs: the selected form may be one that an earlier step has opened.
  const auto form = desk_.forms.selected();
  return form == nullptr ? word : form->uid();
}

std::string ScriptPlayer::play(const PlayStep& step) {
  switch (step.verb) {
    case PlayVerb::kMenu:
      return "picked menu " + toUtf8(step.words[0]) + outcome(user_.pickMenu(step.words[0])) + "\n";
    case PlayVerb::kOpen:
      return openForm(step);
    case PlayVerb::kPrint:
      return toUtf8(print(step));
    case PlayVerb::kDraw:
      return draw(formName(step.words[0]));
    case PlayVerb::kSay:
      return toUtf8(step.words[0]) + "\n";
    case PlayVerb::kStart:
      return "";
    case PlayVerb::kAnswer:
      desk_.boxes.queueAnswer(step.number);
      return "will answer the next box with button " + std::to_string(step.number) + "\n";
    case PlayVerb::kLanguage:
    case PlayVerb::kCompany:
    case PlayVerb::kShutDown:
    case PlayVerb::kTerminate:
    case PlayVerb::kStatus:
    case PlayVerb::kProgress:
      return playClient(step) + "\n";
    default:
      return playOnForm(step) + "\n";
  }
}

std::string ScriptPlayer::openForm(const PlayStep& step) {
  const std::string what = "opened form of type " + toUtf8(step.words[0]);
  const auto form = user_.openForm(step.words[0]);
  return what + (form == nullptr ? outcome(false) : ": " + toUtf8(form->uid())) + "\n";
}

std::string ScriptPlayer::playOnForm(const PlayStep& step) {
  const std::u16string form = formName(step.words[0]);
  const Spot spot = spotOf(step, form);
  const std::string onForm = " form " + toUtf8(form);
  switch (step.verb) {
    case PlayVerb::kClose:
      return "closed" + onForm + outcome(user_.closeForm(form));
    case PlayVerb::kSelect:
      return "selected" + onForm + outcome(user_.selectForm(form));
    case PlayVerb::kPress:
      return "pressed " + spotText(spot) + outcome(user_.click(spot));
    case PlayVerb::kClick:
      return "clicked " + spotText(spot) + outcome(user_.click(spot));
    case PlayVerb::kCtrlClick:
      return "clicked with Ctrl " + spotText(spot) + outcome(user_.click(spot, {.ctrl = true}));
    case PlayVerb::kShiftClick:
      return "clicked with Shift " + spotText(spot) + outcome(user_.click(spot, {.shift = true}));
    case PlayVerb::kDoubleClick:
      return "double-clicked " + spotText(spot) + outcome(user_.doubleClick(spot));
    case PlayVerb::kTab:
      return "tab key in" + onForm + outcome(user_.tab(form));
    case PlayVerb::kBackTab:
      return "tab key with Shift in" + onForm + outcome(user_.backTab(form));
    case PlayVerb::kRightClick:
      return "right-clicked " + spotText(spot) + outcome(user_.rightClick(spot));
    case PlayVerb::kFormData:
      return "form data " + toUtf8(step.words[1]) + " " + toUtf8(step.words[2]) + " on" + onForm +
             outcome(user_.formData(form, step.words[1], step.words[2]));
    case PlayVerb::kPrintOut:
      return "printed" + onForm + outcome(user_.print(form));
    case PlayVerb::kReport:
      return "asked for report data of" + onForm + outcome(user_.reportData(form));
    default:
      return playEdit(step, spot);
  }
}

std::string ScriptPlayer::playEdit(const PlayStep& step, const Spot& spot) {
  const std::string where = spotText(spot);
  const std::u16string& text = step.words.back();
  switch (step.verb) {
    case PlayVerb::kKey:
      return "key " + std::to_string(step.number) + " in " + where +
             outcome(user_.key(spot, static_cast<char16_t>(step.number)));
    case PlayVerb::kValidate:
      return "left " + where + outcome(user_.validate(spot));
    case PlayVerb::kChoose:
      return "chose \"" + toUtf8(text) + "\" in " + where + outcome(user_.choose(spot, text));
    default:
      return "typed \"" + toUtf8(text) + "\" into " + where + outcome(user_.type(spot, text));
  }
}

std::string ScriptPlayer::playClient(const PlayStep& step) {
  switch (step.verb) {
    case PlayVerb::kLanguage:
      user_.changeLanguage(static_cast<HvLanguages>(step.number));
      return "changed the language to " + std::to_string(step.number);
    case PlayVerb::kCompany:
      user_.changeCompany(toUtf8(step.words[0]));
      return "changed the company to " + toUtf8(step.words[0]);
    case PlayVerb::kShutDown:
      user_.shutDown();
      return "shut the client down";
    case PlayVerb::kTerminate:
      user_.serverTermination();
      return "terminated the server";
    case PlayVerb::kStatus:
      user_.statusMessage(step.words[0], smt_None);
      return "the client's status bar says \"" + toUtf8(step.words[0]) + "\"";
    default:
      return "progress bar event" + outcome(user_.progressBar());
  }
}

std::u16string ScriptPlayer::print(const PlayStep& step) const {
  const std::u16string& what = step.words[0];
  if (what == u"menus") return desk_.menus.tree();
  if (what == u"forms") return printForms(desk_.forms);
  if (what == u"status") return printStatus(desk_.statusBar);
  if (what == u"boxes") return printBoxes(desk_.boxes);
  const auto form = desk_.forms.find(formName(step.words[1]));
  return form == nullptr ? u"there is no form " + step.words[1] + u"\n" : printForm(*form);
}

std::string ScriptPlayer::draw(const std::u16string& uid) const {
  const auto form = desk_.forms.find(uid);
  if (form == nullptr) return "there is no form " + toUtf8(uid) + "\n";
  const std::u16string drawing = drawForm(*form, desk_.statusBar);
  return drawing.empty() ? "form " + toUtf8(uid) + " is hidden\n" : toUtf8(drawing);
}

}  // namespace qx::screens
