#pragma once

// The open forms and their life: opening, selecting and closing them with the events that go with
// it. A form that an add-on closes while an event on that form is being handled closes when the
// handling is over, so that no handler finds its form gone under its feet.

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

  /// In the order of opening.
  const std::vector<std::shared_ptr<FormModel>>& all() const { return forms_; }
  /// Null when there is none, as for the two below.
  std::shared_ptr<FormModel> find(std::u16string_view uid) const;
  /// The `count`-th open form of that type, from 1.
  std::shared_ptr<FormModel> byTypeAndCount(std::u16string_view typeEx, long count) const;
  std::shared_ptr<FormModel> selected() const;
  /// A UID for a form of the client itself: "F_" and a number that was not used before.
  std::u16string nextSystemUid();

  /// Opens the form with the events of type 16, and shows and selects it if it is to be visible.
  /// False when a sink objects: the form is not opened. Raises kFormAlreadyExists, and
  /// kFormUidReserved for an add-on's form with a UID of the client's.
  bool open(const std::shared_ptr<FormModel>& form);
  /// Closes with the events of type 20 and 17, now or when the form's event is done. False when a
  /// sink objects. Raises kFormFunctionNotSupported for the form that owns the menu bar.
  bool close(const std::shared_ptr<FormModel>& form);
  /// Brings to the front, with the events of type 19 for the form that was there. False when a
  /// sink objects. A selection from within those events happens without further ones.
  bool select(const std::shared_ptr<FormModel>& form);
  /// Showing selects; hiding the selected form selects the one before.
  void show(const std::shared_ptr<FormModel>& form, bool visible);

  /// Raises the event before, acts if nobody objects, and raises it after; the form's names are
  /// filled in. False when a sink objects. A handler that has asked for the form to close has left
  /// nothing to act on.
  bool perform(const std::shared_ptr<FormModel>& form, ItemEvent event,
               const std::function<void()>& action);
  /// Runs `body` as an event on the form: a close is held back until it is over. `form` may be
  /// null.
  bool whileBusy(const std::shared_ptr<FormModel>& form, const std::function<bool()>& body);

 private:
  bool raise(const FormModel& form, long type, bool before);
  void closeIfAsked(const std::shared_ptr<FormModel>& form);
  bool closeNow(const std::shared_ptr<FormModel>& form);
  bool raiseClosing(const std::shared_ptr<FormModel>& form);
  void putInFront(const std::shared_ptr<FormModel>& form);
  void selectTopmost();

  EventSource& events_;
  std::vector<std::shared_ptr<FormModel>> forms_;
  long selections_ = 0;
  long systemForms_ = 0;
  bool selecting_ = false;
};

/// The form that owns the menu bar.
inline constexpr char16_t kMainMenuForm[] = u"169";

}  // namespace qx::screens
