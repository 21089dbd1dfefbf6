#include "qxdesk/screens/model/forms.h"

#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/events.h"

#include <algorithm>
#include <utility>

namespace qx::screens {
namespace {

/// Sets a flag or raises a count while it lives.
template <class T>
class Held {
 public:
  Held(T& place, T value) : place_(place), before_(std::exchange(place, value)) {}
  ~Held() { place_ = before_; }
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;

 private:
  T& place_;
  T before_;
};

}  // namespace

std::shared_ptr<FormModel> Forms::find(std::u16string_view uid) const {
  const auto at = std::find_if(forms_.begin(), forms_.end(),
                               [&](const auto& form) { return form->uid() == uid; });
  return at == forms_.end() ? nullptr : *at;
}

std::shared_ptr<FormModel> Forms::byTypeAndCount(std::u16string_view typeEx, long count) const {
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

std::u16string Forms::nextSystemUid() { return u"F_" + toUtf16(std::to_string(systemForms_++)); }

bool Forms::raise(const FormModel& form, long type, bool before) {
  return events_.raise(ItemEvent{type, form.uid(), form.typeEx(), {}, {}, 0, 0, before});
}

bool Forms::open(const std::shared_ptr<FormModel>& form) {
  if (!form->isSystem() && form->uid().starts_with(u"F_")) raiseError(kFormUidReserved);
  if (find(form->uid()) != nullptr) raiseError(kFormAlreadyExists);
  forms_.push_back(form);
  form->state_ = FormModel::State::kOpen;
  const bool visible = std::exchange(form->visible, false);
  return whileBusy(form, [&] {
    if (!raise(*form, kFormLoad, true)) {
      std::erase(forms_, form);
      form->state_ = FormModel::State::kClosed;
      form->closeAsked_ = false;
      return false;
    }
    if (form->isClosing()) return true;
    if (visible) show(form, true);
    raise(*form, kFormLoad, false);
    return true;
  });
}

bool Forms::close(const std::shared_ptr<FormModel>& form) {
  if (!form->isOpen()) raiseError(kInvalidForm);
  if (form->isSystem() && form->typeEx() == kMainMenuForm) raiseError(kFormFunctionNotSupported);
  if (form->closing_) return true;
  form->closeAsked_ = true;
  return form->busy_ > 0 || closeNow(form);
}

bool Forms::closeNow(const std::shared_ptr<FormModel>& form) {
  form->closeAsked_ = false;
  const Held closing(form->closing_, true);
  if (!raiseClosing(form)) return false;
  std::erase(forms_, form);
  form->state_ = FormModel::State::kClosed;
  form->visible = false;
  const bool wasSelected = std::exchange(form->selected_, false);
  raise(*form, kFormUnload, false);
  if (wasSelected && selected() == nullptr) selectTopmost();
  return true;
}

bool Forms::raiseClosing(const std::shared_ptr<FormModel>& form) {
  if (!raise(*form, kFormClose, true)) return false;
  raise(*form, kFormClose, false);
  return raise(*form, kFormUnload, true);
}

bool Forms::select(const std::shared_ptr<FormModel>& form) {
  if (!form->isOpen()) raiseError(kInvalidForm);
  const auto before = selected();
  if (before == form) return true;
  if (before == nullptr || selecting_) {
    putInFront(form);
    return true;
  }
  const Held selecting(selecting_, true);
  const long moment = selections_;
  const auto comeForward = [&] {
    const bool overtaken = selections_ != moment;
    if (!overtaken && form->isOpen()) putInFront(form);
  };
  ItemEvent event;
  event.type = kFormDeactivate;
  if (!perform(before, event, comeForward)) return false;
  if (!before->isOpen() && !form->isSelected()) comeForward();
  return true;
}

void Forms::putInFront(const std::shared_ptr<FormModel>& form) {
  for (const auto& other : forms_) other->selected_ = false;
  form->selected_ = true;
  form->selectedAt_ = ++selections_;
}

void Forms::selectTopmost() {
  std::shared_ptr<FormModel> topmost;
  for (const auto& form : forms_) {
    if (!form->visible) continue;
    if (topmost == nullptr || form->selectedAt_ > topmost->selectedAt_) topmost = form;
  }
  if (topmost != nullptr) putInFront(topmost);
}

void Forms::show(const std::shared_ptr<FormModel>& form, bool visible) {
  if (!form->isOpen()) raiseError(kInvalidForm);
  form->visible = visible;
  if (visible) {
    select(form);
  } else if (form->isSelected()) {
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
    if (!events_.raise(event)) return false;
    if (form->isClosing() || !form->isOpen()) return true;
    action();
    event.before = false;
    if (form->isOpen()) events_.raise(event);
    return true;
  });
}

bool Forms::whileBusy(const std::shared_ptr<FormModel>& form, const std::function<bool()>& body) {
  if (form == nullptr) return body();
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
  if (form->busy_ == 0 && form->closeAsked_ && form->isOpen()) closeNow(form);
}

}  // namespace qx::screens
