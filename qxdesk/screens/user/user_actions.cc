#include "qxdesk/screens/user/user_actions.h"

#include "qxdesk/screens/model/system_forms.h"
#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/host/item_types.h"

#include <algorithm>
#include <utility>

namespace qx::screens {
namespace {

constexpr char16_t kBackspaceKey = 8;
constexpr char16_t kTabKey = 9;
constexpr char16_t kEnterKey = 13;
constexpr char16_t kFirstPrintableKey = 32;

// A user opens the popups from the menu bar down, so one that is disabled hides its entries.
bool isReachable(const MenuEntry& entry) {
  for (const MenuEntry* at = &entry; at != nullptr; at = at->father()) {
    if (!at->properties().enabled) return false;
  }
  return true;
}

// The head of a column (row 0) takes none.
bool takesText(const ItemModel& item, const std::shared_ptr<MatrixColumn>& column, long row) {
  if (item.type == kEditText) return true;
  return column != nullptr && row > 0 && column->editable;
}

bool isFull(const std::u16string& text, const std::shared_ptr<UserDataSource>& source) {
  return source != nullptr && source->size() > 0 &&
         text.size() >= static_cast<std::size_t>(source->size());
}

// A change takes a form from OK to update mode. In find and add mode typing is the normal case.
void markChanged(FormModel& form, ItemModel& item) {
  item.changed = true;
  if (item.affectsFormMode && form.mode() == kOkMode) form.setMode(kUpdateMode);
}

}  // namespace

bool UserActions::pickMenu(std::u16string_view uid) {
  const auto entry = desk_.menus.find(uid);
  // The root has no father and cannot be picked. A popup can: add-ons get events for it, too.
  if (entry == nullptr || entry->father() == nullptr || entry->properties().type == mt_Separator) {
    raiseError(kInvalidMenuItem);
  }
  if (!isReachable(*entry)) raiseError(kNotValidTarget);
  const bool inner = desk_.events.depth() > 0;
  // The events of a menu belong to the form that is selected now: if a handler closes it, it stays
  // until both events are over. The entry is kept by its pointer, since a handler may remove it.
  return desk_.forms.whileBusy(desk_.forms.selected(), [&] {
    if (!desk_.events.raise(MenuEvent{entry->uid(), inner, true})) return false;
    desk_.runMenuCommand(entry->uid());
    desk_.events.raise(MenuEvent{entry->uid(), inner, false});
    return true;
  });
}

std::shared_ptr<FormModel> UserActions::openForm(std::u16string_view typeEx) {
  return desk_.openSystemForm(typeEx);
}

bool UserActions::closeForm(std::u16string_view uid) { return desk_.forms.close(formOf(uid)); }

bool UserActions::selectForm(std::u16string_view uid) {
  const auto form = formOf(uid);
  if (!form->visible) raiseError(kNotValidTarget);
  return desk_.forms.select(form);
}

std::shared_ptr<FormModel> UserActions::formOf(std::u16string_view uid) const {
  auto form = desk_.forms.find(uid);
  if (form == nullptr) raiseError(kInvalidForm);
  return form;
}

UserActions::Target UserActions::reach(const Spot& spot) const {
  Target target;
  // Ids are resolved anew for each action: a handler of the action before may have closed the form
  // or removed the item. A missing target gets its own code even if the form is hidden.
  target.form = formOf(spot.form);
  target.item = target.form->findItem(spot.item);
  if (target.item == nullptr) raiseError(kInvalidItem);
  if (target.item->matrix != nullptr) findCell(spot, target);
  // An add-on may fill a form before showing it, but a disabled item refuses an add-on as well.
  const bool onScreen = target.form->visible || actor_ == Actor::kAddOn;
  if (!onScreen || !target.form->isUsable(*target.item)) raiseError(kNotValidTarget);
  const bool hidesColumn = target.column != nullptr && !target.column->visible;
  if (hidesColumn && actor_ == Actor::kUser) raiseError(kNotValidTarget);
  return target;
}

void UserActions::findCell(const Spot& spot, Target& target) const {
  // The row is checked even without a column: a click may name the row alone.
  const MatrixModel& matrix = *target.item->matrix;
  target.row = spot.row;
  if (spot.row < 0 || spot.row > matrix.rowCount()) raiseError(kIllegalOffset);
  if (spot.column.empty()) return;
  target.column = findByUid(matrix.columns(), spot.column);
  if (target.column == nullptr) raiseError(kInvalidColumn);
}

bool UserActions::perform(const Target& target, long type, const std::function<void()>& action,
                          long charPressed) {
  ItemEvent event;
  event.type = type;
  event.itemUid = target.item->uid;
  if (target.column != nullptr) event.colUid = target.column->uid;
  event.row = target.row;
  event.charPressed = charPressed;
  return desk_.forms.perform(target.form, event, action);
}

bool UserActions::moveFocus(const Target& target) {
  if (actor_ == Actor::kUser) {
    // Without a veto, a handler may still have selected another form, as a modal dialog does. Then
    // the user's click reaches nothing.
    const bool selected = desk_.forms.select(target.form);
    if (!selected || !target.form->isSelected()) return false;
  }
  // A label takes no focus, so the item that has it is not left.
  if (target.item->type == kStaticText || target.form->focus == target.item->uid) return true;
  return leave(target.form, target.item->uid);
}

bool UserActions::leave(const std::shared_ptr<FormModel>& form, std::u16string_view next) {
  // Looked up by its UID, since the item with the focus may have been removed.
  const auto old = form->findItem(form->focus);
  if (old != nullptr && old->changed) {
    if (!perform(Target{form, old, nullptr, 0}, kValidate, [&] { old->changed = false; })) {
      return false;  // a vetoed validation keeps the focus where it is
    }
  }
  form->focus = next;
  return true;
}

bool UserActions::click(const Spot& spot, ClickKeys keys) {
  const Target target = reach(spot);
  // One click is several events. The form must live through all of them, so they count as one.
  return desk_.forms.whileBusy(target.form,
                               [&] { return moveFocus(target) && clickItem(target, keys); });
}

bool UserActions::clickItem(const Target& target, ClickKeys keys) {
  const auto selectRow = [&] {
    // A handler of the event before may have removed rows, so the row is checked again.
    MatrixModel* matrix = target.item->matrix.get();
    if (matrix == nullptr || target.row < 1 || target.row > matrix->rowCount()) return;
    matrix->clickRow(target.row, keys);
  };
  if (!perform(target, kClick, selectRow)) return false;
  // The press follows the click's event after. It comes to nothing if a handler closes the form.
  if (target.item->type != kButton || target.form->isClosing() || !target.form->isOpen()) {
    return true;
  }
  return perform(target, kItemPressed, [&] { runButton(target.form, target.item->uid); });
}

bool UserActions::doubleClick(const Spot& spot) {
  const Target target = reach(spot);
  return desk_.forms.whileBusy(target.form, [&] {
    // The first of two clicks is an ordinary one; if it closes the form, the second finds none.
    if (!moveFocus(target) || !clickItem(target)) return false;
    if (target.form->isClosing()) return true;
    return perform(target, kDoubleClick, [] {});
  });
}

void UserActions::runButton(const std::shared_ptr<FormModel>& form, std::u16string_view uid) {
  // The veto of a close cannot be returned from here: the form is busy and closes later.
  if (uid == kCancelButton || (uid == kOkButton && form->mode() == kOkMode)) {
    desk_.forms.close(form);
  } else if (uid == kOkButton) {
    save(form);
  }
}

bool UserActions::save(const std::shared_ptr<FormModel>& form) {
  // The mode changes between the two events, so a veto leaves it as it is. A form without records,
  // and a form in find mode, saves nothing and raises no events of data.
  const auto done = [&] { form->setMode(kOkMode); };
  if (form->objectType.empty() || form->mode() == kFindMode) {
    done();
    return true;
  }
  return raiseFormData(form, form->objectType, u"", done);
}

bool UserActions::raiseFormData(const std::shared_ptr<FormModel>& form,
                                std::u16string_view objectType, std::u16string_view objectKey,
                                const std::function<void()>& action) {
  FormDataEvent event;
  event.formUid = form->uid();
  event.objectType = objectType;
  event.objectKey = objectKey;
  return desk_.forms.whileBusy(form, [&] {
    if (!desk_.events.raise(event)) return false;
    action();
    event.before = false;
    desk_.events.raise(event);
    return true;
  });
}

bool UserActions::pressKey(const Spot& spot, char16_t pressed, TabStep step) {
  const Target target = reach(spot);
  return desk_.forms.whileBusy(target.form, [&] {
    if (!moveFocus(target)) return false;
    // The key takes effect between its events, as the press of a default button does, whose own
    // events are nested in those of the key.
    bool done = true;
    const auto effect = [&] { done = enter(target, pressed, step); };
    return perform(target, kKeyDown, effect, pressed) && done;
  });
}

std::u16string UserActions::tabFrom(const FormModel& form, std::u16string_view uid, TabStep step) {
  return step == TabStep::kNext ? form.nextFocus(uid) : form.previousFocus(uid);
}

bool UserActions::moveByTab(std::u16string_view uid, TabStep step) {
  const auto form = formOf(uid);
  if (!form->visible) raiseError(kNotValidTarget);
  const auto item = form->findItem(form->focus);
  if (item != nullptr && form->isUsable(*item)) {
    return pressKey({form->uid(), item->uid}, kTabKey, step);
  }
  return desk_.forms.whileBusy(form, [&] {
    if (!desk_.forms.select(form) || !form->isSelected()) return false;
    return leave(form, tabFrom(*form, form->focus, step));
  });
}

bool UserActions::enter(const Target& target, char16_t pressed, TabStep step) {
  if (pressed == kTabKey) {
    return leave(target.form, tabFrom(*target.form, target.item->uid, step));
  }
  if (pressed == kEnterKey) {
    // The outcome is that of the key; the veto of the button does not undo the key.
    pressDefaultButton(target.form);
  } else {
    enterText(target, pressed);
  }
  return true;
}

void UserActions::enterText(const Target& target, char16_t pressed) {
  if (!takesText(*target.item, target.column, target.row)) return;
  // Other control keys have events but no effect.
  if (pressed < kFirstPrintableKey && pressed != kBackspaceKey) return;
  const bool isCell = target.column != nullptr;
  MatrixModel* matrix = target.item->matrix.get();
  if (isCell && target.row > matrix->rowCount()) return;  // a handler has removed the row
  const auto source = isCell ? target.column->source : target.item->text.source();
  std::u16string text = isCell ? matrix->cell(target.row, *target.column) : target.item->text.get();
  // A text that has the size of its source takes no more keys, as a text field on a screen. Without
  // this check, the source would throw in the middle of the events.
  if (pressed == kBackspaceKey) {
    text.clear();
  } else if (!isFull(text, source)) {
    text += pressed;
  }
  if (isCell) {
    matrix->setCell(target.row, *target.column, text);
  } else {
    target.item->text.set(text);
  }
  markChanged(*target.form, *target.item);
}

void UserActions::pressDefaultButton(const std::shared_ptr<FormModel>& form) {
  const auto button = form->findItem(form->defaultItem());
  if (button == nullptr || button->type != kButton || !form->isUsable(*button)) return;
  click(Spot{form->uid(), button->uid});
}

bool UserActions::type(const Spot& spot, std::u16string_view text) {
  const Target target = reach(spot);
  if (!takesText(*target.item, target.column, target.row)) raiseError(kNotValidTarget);
  const bool isCell = target.column != nullptr;
  return desk_.forms.whileBusy(target.form, [&] {
    const std::u16string now =
        isCell ? target.item->matrix->cell(target.row, *target.column) : target.item->text.get();
    // Key by key, and each key by its ids: a handler may disable or remove the item in between, and
    // then the next key throws. A vetoed key is left out, and the rest is typed.
    bool all = now.empty() || key(spot, kBackspaceKey);
    for (const char16_t unit : text) {
      if (target.form->isClosing() || !target.form->isOpen()) break;
      all = key(spot, unit) && all;
    }
    return all;
  });
}

bool UserActions::validate(const Spot& spot) {
  const Target target = reach(spot);
  return perform(target, kValidate, [&] { target.item->changed = false; });
}

bool UserActions::choose(const Spot& spot, std::u16string_view key) {
  const Target target = reach(spot);
  if (target.item->combo == nullptr) raiseError(kNotValidTarget);
  // Looked up before any event: an entry that does not exist cannot be clicked.
  const auto position = target.item->combo->find(key);
  if (!position) raiseError(kInvalidFieldValue);
  return desk_.forms.whileBusy(target.form, [&] {
    if (!moveFocus(target)) return false;
    return perform(target, kClick, [&] {
      target.item->combo->select(*position);
      markChanged(*target.form, *target.item);
    });
  });
}

bool UserActions::rightClick(const Spot& spot) {
  const auto form = formOf(spot.form);
  if (!spot.item.empty()) form->item(spot.item);  // throws if there is none
  RightClickEvent event;
  event.formUid = spot.form;
  event.itemUid = spot.item;
  return announce(event, form);
}

bool UserActions::formData(std::u16string_view form, std::u16string_view objectType,
                           std::u16string_view objectKey) {
  return raiseFormData(formOf(form), objectType, objectKey, [] {});
}

void UserActions::changeLanguage(HvLanguages language) {
  desk_.setLanguage(language);
  // The host builds its menu bar anew, without the entries of add-ons; they add them again when
  // they get the event.
  desk_.menus.removeAddOnEntries();
  desk_.events.raise(AppEvent{kLanguageChanged});
}

void UserActions::changeCompany(std::string database) {
  desk_.setDatabase(std::move(database));
  desk_.menus.removeAddOnEntries();
  desk_.events.raise(AppEvent{kCompanyChanged});
}

void UserActions::shutDown() { desk_.stop({kShutDown}); }

void UserActions::serverTermination() { desk_.stop({kServerTermination}); }

void UserActions::statusMessage(std::u16string text, HvStatusBarMessageType type) {
  desk_.statusBar.show({text, type, 0});
  desk_.events.raise(StatusBarEvent{std::move(text), type});
}

template <class E>
bool UserActions::announce(E event, const std::shared_ptr<FormModel>& form,
                           const std::function<void()>& action) {
  return desk_.forms.whileBusy(form, [&] {
    event.before = true;
    if (!desk_.events.raise(event)) return false;
    action();
    event.before = false;
    desk_.events.raise(event);
    return true;
  });
}

bool UserActions::progressBar() {
  // Weakly: a handler may free the bar by releasing it, and begin another one.
  const std::weak_ptr<Progress> asked = desk_.statusBar.progress();
  return announce(ProgressBarEvent{}, nullptr, [&] {
    const auto progress = asked.lock();
    if (progress != nullptr && progress->stoppable()) progress->stop();
  });
}

bool UserActions::print(std::u16string_view form) {
  return announce(PrintEvent{std::u16string(form)}, formOf(form));
}

bool UserActions::reportData(std::u16string_view form) {
  return announce(ReportDataEvent{std::u16string(form)}, formOf(form));
}

}  // namespace qx::screens
