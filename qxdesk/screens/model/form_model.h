#pragma once

// A form with its items and its data sources. It raises no events: class Forms opens, closes and
// selects forms.

#include "qxdesk/screens/model/data_source.h"
#include "qxdesk/screens/model/item_model.h"
#include "qxdesk/screens/model/uid.h"

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace qx::screens {

enum FormMode : long { kFindMode = 0, kOkMode = 1, kUpdateMode = 2, kAddMode = 3 };

/// The part of a form's height and width that its frame takes.
inline constexpr long kFrameHeight = 26;
inline constexpr long kFrameWidth = 8;

class FormModel {
 public:
  /// `system` marks the host's own forms. Throws kFormSettingUid for an empty UID, and
  /// kStringTooLong10.
  FormModel(std::u16string uid, std::u16string typeEx, bool system);
  FormModel(const FormModel&) = delete;
  FormModel& operator=(const FormModel&) = delete;

  const std::u16string& uid() const { return uid_; }
  const std::u16string& typeEx() const { return typeEx_; }
  bool isSystem() const { return system_; }
  /// False before opening and after closing.
  bool isOpen() const { return state_ == State::kOpen; }
  bool isSelected() const { return selected_; }
  /// True while the closing events are raised, and if the form closes after the current event.
  bool isClosing() const { return closeAsked_ || closing_; }

  const std::vector<std::shared_ptr<ItemModel>>& items() const { return items_; }
  /// Returns the item, or null.
  std::shared_ptr<ItemModel> findItem(std::u16string_view uid) const {
    const auto found = byUid_.find(uid);
    return found == byUid_.end() ? nullptr : found->second;
  }
  /// Returns the item. Throws kInvalidItem if there is none.
  ItemModel& item(std::u16string_view uid) const;
  /// Adds an item and, if its type needs one, an empty combo or matrix. Throws kItemAttributes for
  /// an empty UID, kStringTooLong10 and kItemAlreadyExists.
  ItemModel& addItem(ItemModel item);
  /// Removes an item. If it was the default item or had the focus, no item is or has it afterwards.
  /// Throws kInvalidItem.
  void removeItem(std::u16string_view uid);

  /// True if a user can act on the item: it is visible, enabled and on the form's pane.
  bool isUsable(const ItemModel& item) const {
    return item.visible && item.enabled && item.isOnPane(pane);
  }
  /// Returns the items through which the tab key goes, in its order: the usable ones that take the
  /// focus, in the order of items().
  std::vector<std::shared_ptr<ItemModel>> tabOrder() const;
  /// Returns the UID of the item that gets the focus from `uid` by the tab key: the next one of the
  /// tab order, the first after the last. Also for an item that is not usable or is missing; then
  /// the order begins at its place or anew. Returns an empty text if no item takes the focus.
  std::u16string nextFocus(std::u16string_view uid) const;
  /// Does the same for Shift and the tab key: the previous one, the last before the first.
  std::u16string previousFocus(std::u16string_view uid) const;

  const std::vector<std::shared_ptr<UserDataSource>>& sources() const { return sources_; }
  /// Returns the data source, or null.
  std::shared_ptr<UserDataSource> findSource(std::u16string_view uid) const {
    return findByUid(sources_, uid);
  }
  /// Throws kNotAUserDataSource for an empty UID or one that is taken, kStringTooLong10, and
  /// kUnknownFieldType for a negative size.
  void addSource(std::u16string uid, long type, long size);

  /// Sets the button that enter presses; an empty UID sets none. Throws kFormSettingDefaultButton
  /// if the form has no such item.
  void setDefaultItem(std::u16string_view uid);
  const std::u16string& defaultItem() const { return defaultItem_; }
  /// Throws kFormSettingMode for a value outside of FormMode.
  void setMode(long mode);
  long mode() const { return mode_; }
  /// Set the size, frame included. Throw kFormSettingRect for a negative value and for one beyond
  /// 32 bits.
  void setHeight(long height);
  void setWidth(long width);
  /// Set the size by what is inside the frame. Throw as setHeight() does.
  void setClientHeight(long height);
  void setClientWidth(long width);
  long clientHeight() const { return rect.height - kFrameHeight; }
  long clientWidth() const { return rect.width - kFrameWidth; }
  /// Counts up or, if the count is not 0, down. The form is drawn again at 0.
  void freeze(bool on);
  int freezeCount() const { return freezeCount_; }

  Rect rect{0, 0, 400, 300};
  std::u16string title;
  long borderStyle = 0;
  long color = 0;
  long pane = 0;
  bool visible = false;
  long updates = 0;                    ///< the number of calls of Update
  std::u16string focus;                ///< UID of the item with the focus, or empty
  std::u16string objectType;           ///< the object that OK saves; empty if the form shows none
  std::vector<std::u16string> tables;  ///< the tables of its database data sources

 private:
  friend class Forms;
  /// Returns the next item of a direction that takes the focus, or else the first one.
  template <class Iterator>
  std::u16string focusBehind(Iterator begin, Iterator end, std::u16string_view uid) const;
  bool takesFocus(const ItemModel& item) const {
    return item.type != kStaticText && isUsable(item);
  }
  enum class State { kNew, kOpen, kClosed };

  std::u16string uid_;
  std::u16string typeEx_;
  bool system_;
  State state_ = State::kNew;
  bool selected_ = false;
  long selectedAt_ = 0;      // the number of its last selection; a later one is higher
  int busy_ = 0;             // the number of events on it that are being handled
  bool closeAsked_ = false;  // it closes when it is no longer busy
  bool closing_ = false;     // its closing events are being raised
  std::vector<std::shared_ptr<ItemModel>> items_;
  // The keys are the UIDs in the items, which do not change.
  std::unordered_map<std::u16string_view, std::shared_ptr<ItemModel>> byUid_;
  std::vector<std::shared_ptr<UserDataSource>> sources_;
  std::u16string defaultItem_;
  long mode_ = kOkMode;
  int freezeCount_ = 0;
};

}  // namespace qx::screens
