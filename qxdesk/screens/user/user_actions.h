#pragma once

// What the user of the client can do, with the events that each action brings. False everywhere
// means that an add-on objected and the action did not happen. What is not there is refused with
// the codes of the client: kInvalidMenuItem, kInvalidForm, kInvalidItem, kInvalidColumn and
// kIllegalOffset; what cannot be reached, because it is hidden or disabled, with kNotValidTarget.

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

/// Who acts: the user reaches only what is on the screen and brings the form to the front by it; an
/// add-on may also act on a form that it has not shown yet.
enum class Hand { kUser, kAddOn };

class UserActions {
 public:
  explicit UserActions(Desk& desk, Hand hand = Hand::kUser) : desk_(desk), hand_(hand) {}

  bool pickMenu(std::u16string_view uid);
  /// Null when an add-on objected.
  std::shared_ptr<FormModel> openForm(std::u16string_view typeEx);
  bool closeForm(std::u16string_view uid);
  bool selectForm(std::u16string_view uid);

  /// A click on the item: it gets the focus, which the item that had it leaves validated. A button
  /// is pressed: OK in OK mode and Cancel close the form, OK in another mode saves.
  bool click(const Spot& spot);
  bool doubleClick(const Spot& spot);
  /// One key into an edit or a cell, with its events; 8 clears the text, 13 presses the default
  /// button, 9 leaves the item.
  bool key(const Spot& spot, char16_t pressed);
  /// Replaces the text, key by key. False when an add-on objected to a key; the other keys are
  /// entered. Raises kNotValidTarget for an item that takes no text.
  bool type(const Spot& spot, std::u16string_view text);
  /// Leaves an edit.
  bool validate(const Spot& spot);
  /// Chooses the entry of a combo box by key or shown text. Raises kInvalidFieldValue.
  bool choose(const Spot& spot, std::u16string_view key);
  bool rightClick(const Spot& spot);
  bool formData(std::u16string_view form, std::u16string_view objectType,
                std::u16string_view objectKey);

  void changeLanguage(HvLanguages language);
  void changeCompany(std::string database);
  void shutDown();
  void serverTermination();
  /// A message of the client itself.
  void statusMessage(std::u16string text, HvStatusBarMessageType type);
  bool progressBar();
  bool print(std::u16string_view form);
  bool reportData(std::u16string_view form);

 private:
  struct Target {
    std::shared_ptr<FormModel> form;
    std::shared_ptr<ItemModel> item;
    std::shared_ptr<MatrixColumn> column;  // null outside a matrix
    long row = 0;
  };
  std::shared_ptr<FormModel> formOf(std::u16string_view uid) const;
  Target reach(const Spot& spot) const;
  void findCell(const Spot& spot, Target& target) const;
  bool perform(const Target& target, long type, const std::function<void()>& action,
               long charPressed = 0);
  bool moveFocus(const Target& target);
  bool leave(const std::shared_ptr<FormModel>& form, std::u16string_view next);
  bool clickItem(const Target& target);
  void pressDefaultButton(const std::shared_ptr<FormModel>& form);
  void runButton(const std::shared_ptr<FormModel>& form, std::u16string_view uid);
  bool save(const std::shared_ptr<FormModel>& form);
  bool raiseFormData(const std::shared_ptr<FormModel>& form, std::u16string_view objectType,
                     std::u16string_view objectKey, const std::function<void()>& action);
  void enter(const Target& target, char16_t pressed);
  /// Raises an event without form twice, around nothing.
  template <class E>
  bool announce(E event, const std::shared_ptr<FormModel>& form);

  Desk& desk_;
  Hand hand_;
};

}  // namespace qx::screens
