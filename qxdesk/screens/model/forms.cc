#include "qxdesk/screens/model/forms.h"

#include "qxdesk/screens/model/held.h"
#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/item_types.h"

#include <algorithm>
#include <utility>

namespace qx::screens {
namespace {

bool isMainMenu(const FormModel& form) { return form.isSystem() && form.typeEx() == kMainMenuForm; }

}  // namespace

std::shared_ptr<FormModel> Forms::byTypeAndCount(std::u16string_view typeEx, long count) const {
  if (count < 1) return nullptr;  // counting down from there would never end at 0
  for (const auto& form : forms_) {
    if (form->typeEx() == typeEx && --count == 0) return form;
  }
  return nullptr;
}

std::shared_ptr<FormModel> Forms::selected() const {
  const auto at = std::find_if(forms_.begin(), forms_.end(),
                               [](const auto& form) { return form->isSelected(); });
  return at == forms_.end() ? nullptr : *at;
}

std::vector<std::shared_ptr<FormModel>> Forms::bySelection() const {
  auto out = forms_;
  // Stable: forms that were never selected stay in the order of opening.
  std::stable_sort(out.begin(), out.end(),
                   [](const auto& a, const auto& b) { return a->selectedAt_ < b->selectedAt_; });
  return out;
}

std::u16string Forms::nextSystemUid() { return u"F_" + toUtf16(std::to_string(systemForms_++)); }

bool Forms::raise(const FormModel& form, long type, bool before) {
  return events_.raise(ItemEvent{type, form.uid(), form.typeEx(), {}, {}, 0, 0, before});
}

bool Forms::open(const std::shared_ptr<FormModel>& form) {
  if (!form->isSystem() && form->uid().starts_with(u"F_")) raiseError(kFormUidReserved);
  if (find(form->uid()) != nullptr) raiseError(kFormAlreadyExists);
  // The form is in the list before its load event, since the handlers look it up there. It is shown
  // only after the event before, so a vetoed form never appears.
  forms_.push_back(form);
  form->state_ = FormModel::State::kOpen;
  const bool visible = std::exchange(form->visible, false);
  return whileBusy(form, [&] {
    if (!raise(*form, kFormLoad, true)) {
      // A vetoed form counts as never opened and goes without closing events, even if a handler has
      // asked for its close as well.
      std::erase(forms_, form);
      form->state_ = FormModel::State::kClosed;
      form->closeAsked_ = false;
      return false;
    }
    // A handler has asked for the close: whileBusy raises the closing events, and nothing is shown.
    // Or it has ended the client, and the form is closed already.
    if (form->isClosing() || !form->isOpen()) return true;
    if (visible) show(form, true);
    raise(*form, kFormLoad, false);
    return true;
  });
}

bool Forms::close(const std::shared_ptr<FormModel>& form) {
  if (!form->isOpen()) raiseError(kInvalidForm);
  if (isMainMenu(*form)) raiseError(kFormFunctionNotSupported);
  // A handler of the closing events may close the form once more; the first call goes on.
  if (form->closing_) return true;
  // During an event the answer is true, since the veto is not known before the event is over.
  form->closeAsked_ = true;
  return form->busy_ > 0 || closeNow(form);
}

void Forms::closeAll() {
  // A copy, since the list changes. The order is that of a stack: a form that another one has
  // opened goes before it.
  const std::vector<std::shared_ptr<FormModel>> open = forms_;
  for (auto form = open.rbegin(); form != open.rend(); ++form) {
    // A handler may have closed it in the events of another one.
    if ((*form)->isOpen() && !isMainMenu(**form)) closeNow(*form, Veto::Ignored);
  }
}

bool Forms::closeNow(const std::shared_ptr<FormModel>& form, Veto veto) {
  form->closeAsked_ = false;  // after a veto the form is open as before
  const Held closing(form->closing_, true);
  if (!raiseClosing(*form, veto)) return false;
  // A handler of these events may have ended the client, and that has closed the form.
  if (!form->isOpen()) return true;
  // The last event finds the form closed: its objects refuse every call with kInvalidForm.
  std::erase(forms_, form);
  form->state_ = FormModel::State::kClosed;
  form->visible = false;
  const bool wasSelected = std::exchange(form->selected_, false);
  raise(*form, kFormUnload, false);
  // A handler of that event may have selected another form already.
  if (wasSelected && selected() == nullptr) selectTopmost();
  return true;
}

bool Forms::raiseClosing(const FormModel& form, Veto veto) {
  // The user's wish to close comes first, with both of its events, and the unload follows. A veto
  // of either keeps the form open. Once it is closed, none of them comes any more.
  const auto goesOn = [&](long type, bool before) {
    return !form.isOpen() || raise(form, type, before) || veto == Veto::Ignored;
  };
  if (!goesOn(kFormClose, true)) return false;
  goesOn(kFormClose, false);
  return goesOn(kFormUnload, true);
}

bool Forms::select(const std::shared_ptr<FormModel>& form) {
  if (!form->isOpen()) raiseError(kInvalidForm);
  const auto before = selected();
  if (before == form) return true;
  // Without a selected form there is nothing to deactivate. Within a deactivation a selection
  // raises no events: two dialogs that each insist on the front would call each other without end.
  if (before == nullptr || selecting_) {
    putInFront(form);
    return true;
  }
  const Held selecting(selecting_, true);
  // If a handler selects a form in the meantime, its selection is the later one and stays.
  const long moment = selections_;
  const auto comeForward = [&] {
    const bool overtaken = selections_ != moment;
    if (!overtaken && form->isOpen()) putInFront(form);
  };
  ItemEvent event;
  event.type = kFormDeactivate;
  if (!perform(before, event, comeForward)) return false;
  // perform skips its action if a handler closes the old form. The new one is selected all the
  // same.
  if (!before->isOpen() && !form->isSelected()) comeForward();
  return true;
}

void Forms::putInFront(const std::shared_ptr<FormModel>& form) {
  for (const auto& other : forms_) other->selected_ = false;
  form->selected_ = true;
  form->selectedAt_ = ++selections_;
}

void Forms::selectTopmost() {
  // The order of selection and not of opening decides, as it does for windows on a screen.
  std::shared_ptr<FormModel> topmost;
  for (const auto& form : forms_) {
    if (!form->visible) continue;
    if (topmost == nullptr || form->selectedAt_ > topmost->selectedAt_) topmost = form;
  }
  if (topmost != nullptr) putInFront(topmost);
}

void Forms::show(const std::shared_ptr<FormModel>& form, bool visible) {
  if (!form->isOpen()) raiseError(kInvalidForm);
  // A veto of the selection leaves the form visible but not in front.
  form->visible = visible;
  if (visible) {
    select(form);
  } else if (form->isSelected()) {
    // The add-on hides the form itself, so no deactivation that it could veto is raised.
    form->selected_ = false;
    selectTopmost();
  }
}

bool Forms::perform(const std::shared_ptr<FormModel>& form, ItemEvent event,
                    const std::function<void()>& action) {
  return whileBusy(form, [&] {
    event.formUid = form->uid();
    event.formType = form->typeEx();
    event.before = true;
    // A veto ends it here: neither the action nor the event after happens.
    if (!events_.raise(event)) return false;
    if (form->isClosing() || !form->isOpen()) return true;
    action();
    event.before = false;
    // The event after cannot veto; its answer is ignored.
    if (form->isOpen()) events_.raise(event);
    return true;
  });
}

bool Forms::whileBusy(const std::shared_ptr<FormModel>& form, const std::function<bool()>& body) {
  if (form == nullptr) return body();
  // Handlings nest, for a handler may act on the form again. Only the outermost one closes the
  // form. It does so after an exception, too: close() has already returned true.
  try {
    const bool result = [&] {
      const Held busy(form->busy_, form->busy_ + 1);
      return body();
    }();
    closeIfAsked(form);
    return result;
  } catch (...) {
    closeIfAsked(form);
    throw;
  }
}

void Forms::closeIfAsked(const std::shared_ptr<FormModel>& form) {
  // The answer of closeNow is dropped: a veto leaves the form open, and the call that asked for the
  // close has returned long ago.
  if (form->busy_ == 0 && form->closeAsked_ && form->isOpen()) closeNow(form);
}

}  // namespace qx::screens
