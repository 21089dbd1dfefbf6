#pragma once

// The open forms: opening, selecting and closing them, with the events of each. If an add-on closes
// a form while an event on that form is being handled, the form closes after the handling, so that
// a handler never loses its form in the middle of a call.

#include "qxdesk/screens/model/event_source.h"
#include "qxdesk/screens/model/form_model.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qx::screens {

class Forms {
 public:
  explicit Forms(EventSource& events) : events_(events) {}
  Forms(const Forms&) = delete;
  Forms& operator=(const Forms&) = delete;

  /// All open forms in the order of opening.
  const std::vector<std::shared_ptr<FormModel>>& all() const { return forms_; }
  /// Returns the open form with that UID, or null.
  std::shared_ptr<FormModel> find(std::u16string_view uid) const { return findByUid(forms_, uid); }
  /// Returns the `count`-th open form of that type, from 1, or null.
  std::shared_ptr<FormModel> byTypeAndCount(std::u16string_view typeEx, long count) const;
  /// Returns the selected form, or null.
  std::shared_ptr<FormModel> selected() const;
  /// Returns all open forms in the order of their last selection, the selected one at the end.
  std::vector<std::shared_ptr<FormModel>> bySelection() const;
  /// Returns a UID for one of the host's own forms: "F_" and a number that was not used before.
  std::u16string nextSystemUid();

  /// Opens the form with the events of type 16; shows and selects it if its `visible` is set.
  /// Returns false if a sink vetoes; then the form is not opened. Throws kFormAlreadyExists, and
  /// kFormUidReserved for an add-on's form whose UID begins with "F_".
  bool open(const std::shared_ptr<FormModel>& form);
  /// Closes the form with the events of types 20 and 17, at once or after the event on this form
  /// that is being handled. Returns false if a sink vetoes. Throws kInvalidForm for a form that is
  /// not open and kFormFunctionNotSupported for the main menu.
  bool close(const std::shared_ptr<FormModel>& form);
  /// Closes all forms but the main menu, the latest first, with the same events at once. No sink
  /// can keep a form open, and a form whose event is being handled closes, too. A form that a
  /// handler opens meanwhile stays open.
  void closeAll();
  /// Selects the form, with the events of type 19 for the form that was selected. Returns false if
  /// a sink vetoes. A selection from within these events raises no further ones. Throws
  /// kInvalidForm.
  bool select(const std::shared_ptr<FormModel>& form);
  /// Shows or hides the form. Showing selects it; hiding the selected form selects the visible form
  /// that was selected last. Throws kInvalidForm.
  void show(const std::shared_ptr<FormModel>& form, bool visible);

  /// Raises the event before, runs `action` and raises the event after; fills in the form's UID and
  /// type. Returns false if a sink vetoes. If a handler closes the form in the event before,
  /// `action` does not run, and the result is true.
  bool perform(const std::shared_ptr<FormModel>& form, ItemEvent event,
               const std::function<void()>& action);
  /// Runs `body` as the handling of an event on the form: a call of close() takes effect after it.
  /// `form` may be null. Returns the result of `body` and passes its exceptions on.
  bool whileBusy(const std::shared_ptr<FormModel>& form, const std::function<bool()>& body);

 private:
  bool raise(const FormModel& form, long type, bool before);
  void closeIfAsked(const std::shared_ptr<FormModel>& form);
  enum class Veto { Counts, Ignored };
  bool closeNow(const std::shared_ptr<FormModel>& form, Veto veto = Veto::Counts);
  bool raiseClosing(const FormModel& form, Veto veto);
  void putInFront(const std::shared_ptr<FormModel>& form);
  void selectTopmost();

  EventSource& events_;
  std::vector<std::shared_ptr<FormModel>> forms_;
  long selections_ = 0;
  long systemForms_ = 0;
  bool selecting_ = false;
};

/// The type of the main menu, the form that owns the menu bar.
inline constexpr char16_t kMainMenuForm[] = u"169";

}  // namespace qx::screens
