#pragma once

// The actions of a user, each with its events. An action returns false if an add-on vetoes it; then
// it does not happen. A target that does not exist is refused by an exception with the host's code:
// kInvalidMenuItem, kInvalidForm, kInvalidItem, kInvalidColumn or kIllegalOffset (a row); a target
// that is hidden or disabled with kNotValidTarget.

#include "qxdesk/screens/model/desk.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace qx::screens {

/// A place on a form: an item or, in a matrix, a cell. Row 0 is the head of the column.
struct Spot {
  std::u16string form;
  std::u16string item;
  std::u16string column{};
  long row = 0;
};

/// The one who acts. The user reaches visible forms only, and the action selects the form. An
/// add-on may also act on a form that it has not shown yet, and no form is selected.
enum class Actor { kUser, kAddOn };

class UserActions {
 public:
  explicit UserActions(Desk& desk, Actor actor = Actor::kUser) : desk_(desk), actor_(actor) {}

  bool pickMenu(std::u16string_view uid);
  /// Returns null if an add-on vetoes.
  std::shared_ptr<FormModel> openForm(std::u16string_view typeEx);
  bool closeForm(std::u16string_view uid);
  bool selectForm(std::u16string_view uid);

  /// Clicks an item. The item gets the focus, after the item that had it is validated. A click on a
  /// button also presses it: Cancel, and OK in OK mode, close the form; OK in another mode saves.
  /// `keys` matter to the rows of a matrix; the events do not say them.
  bool click(const Spot& spot, ClickKeys keys = {});
  bool doubleClick(const Spot& spot);
  /// Presses one key in an item or a cell: 8 clears the text, 13 presses the default button, 9
  /// moves the focus to the next item of the form, after the item that had it is validated. Returns
  /// false as well if an add-on vetoes this validation.
  bool key(const Spot& spot, char16_t pressed) { return pressKey(spot, pressed, TabStep::kNext); }
  /// Presses the tab key in the item with the focus. If no usable item has it, moves the focus to
  /// the next one without the events of a key.
  bool tab(std::u16string_view form) { return moveByTab(form, TabStep::kNext); }
  /// Does the same with Shift held down: the focus moves to the item before. The events are those
  /// of the tab key; they do not tell the two apart.
  bool backTab(std::u16string_view form) { return moveByTab(form, TabStep::kPrevious); }
  /// Replaces the text, key by key. Returns false if an add-on vetoes a key; the other keys are
  /// entered. Throws kNotValidTarget for an item that takes no text.
  bool type(const Spot& spot, std::u16string_view text);
  /// Leaves an edit, which validates it. The focus does not move.
  bool validate(const Spot& spot);
  /// Chooses an entry of a combo box by its key or its text. Throws kInvalidFieldValue if there is
  /// no such entry and kNotValidTarget for an item of another type.
  bool choose(const Spot& spot, std::u16string_view key);
  bool rightClick(const Spot& spot);
  bool formData(std::u16string_view form, std::u16string_view objectType,
                std::u16string_view objectKey);

  /// Changes the language and removes the add-ons' menu entries, as changeCompany() does.
  void changeLanguage(HvLanguages language);
  void changeCompany(std::string database);
  /// End the client, see Desk::stop().
  void shutDown();
  void serverTermination();
  /// Shows a message of the host itself.
  void statusMessage(std::u16string text, HvStatusBarMessageType type);
  /// Stops the progress bar, between the two events, if it can be stopped. The events come also
  /// without a progress bar.
  bool progressBar();
  bool print(std::u16string_view form);
  bool reportData(std::u16string_view form);

 private:
  /// A spot with its ids resolved. It keeps the parts alive if a handler removes them meanwhile.
  struct Target {
    std::shared_ptr<FormModel> form;
    std::shared_ptr<ItemModel> item;
    std::shared_ptr<MatrixColumn> column;  // null outside of a matrix
    long row = 0;
  };
  enum class TabStep { kNext, kPrevious };
  bool moveByTab(std::u16string_view form, TabStep step);
  bool pressKey(const Spot& spot, char16_t pressed, TabStep step);
  static std::u16string tabFrom(const FormModel& form, std::u16string_view uid, TabStep step);
  std::shared_ptr<FormModel> formOf(std::u16string_view uid) const;
  /// Resolves the ids. Throws if the actor cannot reach the spot.
  Target reach(const Spot& spot) const;
  void findCell(const Spot& spot, Target& target) const;
  bool perform(const Target& target, long type, const std::function<void()>& action,
               long charPressed = 0);
  bool moveFocus(const Target& target);
  /// Validates the item with the focus if the user has changed it, and moves the focus to `next`.
  bool leave(const std::shared_ptr<FormModel>& form, std::u16string_view next);
  bool clickItem(const Target& target, ClickKeys keys = {});
  void pressDefaultButton(const std::shared_ptr<FormModel>& form);
  void runButton(const std::shared_ptr<FormModel>& form, std::u16string_view uid);
  bool save(const std::shared_ptr<FormModel>& form);
  bool raiseFormData(const std::shared_ptr<FormModel>& form, std::u16string_view objectType,
                     std::u16string_view objectKey, const std::function<void()>& action);
  /// Returns false if an add-on keeps the focus where it is.
  bool enter(const Target& target, char16_t pressed, TabStep step);
  void enterText(const Target& target, char16_t pressed);
  /// Raises an event before and after, with the action in between. `form` may be null.
  template <class E>
  bool announce(
      E event, const std::shared_ptr<FormModel>& form, const std::function<void()>& action = [] {});

  Desk& desk_;
  Actor actor_;
};

}  // namespace qx::screens
