#pragma once

// One form of the client, what stands on it and the values behind it. It knows nothing of events;
// opening, closing and selecting forms is the business of Forms.

#include "qxdesk/screens/model/data_source.h"
#include "qxdesk/screens/model/item_model.h"
#include "qxdesk/screens/model/uid.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace qx::screens {

enum FormMode : long { kFindMode = 0, kOkMode = 1, kUpdateMode = 2, kAddMode = 3 };

/// What the frame takes of a form's height and width.
inline constexpr long kFrameHeight = 26;
inline constexpr long kFrameWidth = 8;

class FormModel {
 public:
  /// Raises kFormSettingUid for an empty UID and kStringTooLong10.
  FormModel(std::u16string uid, std::u16string typeEx, bool system);
  FormModel(const FormModel&) = delete;
  FormModel& operator=(const FormModel&) = delete;

  const std::u16string& uid() const { return uid_; }
  const std::u16string& typeEx() const { return typeEx_; }
  bool isSystem() const { return system_; }
  /// False before it is opened and after it is closed.
  bool isOpen() const { return state_ == State::kOpen; }
  bool isSelected() const { return selected_; }
  bool isClosing() const { return closeAsked_ || closing_; }

  const std::vector<std::shared_ptr<ItemModel>>& items() const { return items_; }
  std::shared_ptr<ItemModel> findItem(std::u16string_view uid) const;
  /// Raises kInvalidItem when there is none.
  ItemModel& item(std::u16string_view uid) const;
  /// Raises kItemAttributes for an empty UID, kStringTooLong10, kItemAlreadyExists.
  ItemModel& addItem(ItemModel item);
  /// Raises kInvalidItem.
  void removeItem(std::u16string_view uid);

  const std::vector<std::shared_ptr<UserDataSource>>& sources() const { return sources_; }
  std::shared_ptr<UserDataSource> findSource(std::u16string_view uid) const;
  /// Raises kNotAUserDataSource for an empty UID or one that is taken, kStringTooLong10.
  void addSource(std::u16string uid, long type, long size);

  /// Raises kFormSettingDefaultButton for an item that is not there; empty sets none.
  void setDefaultItem(std::u16string_view uid);
  const std::u16string& defaultItem() const { return defaultItem_; }
  /// Raises kFormSettingMode outside 0 to 3.
  void setMode(long mode);
  long mode() const { return mode_; }
  void setHeight(long height);
  void setWidth(long width);
  long clientHeight() const { return rect.height - kFrameHeight; }
  long clientWidth() const { return rect.width - kFrameWidth; }
  /// Counted: the form draws again when every freeze has been taken back.
  void freeze(bool on);
  int freezeCount() const { return freezeCount_; }

  Rect rect{0, 0, 400, 300};
  std::u16string title;
  long borderStyle = 0;
  long color = 0;
  long pane = 0;
  bool visible = false;
  long updates = 0;                    ///< calls of Update
  std::u16string focus;                ///< UID of the item that has it
  std::u16string objectType;           ///< of a form that shows records: what OK saves
  std::vector<std::u16string> tables;  ///< its database data sources

 private:
  friend class Forms;
  enum class State { kNew, kOpen, kClosed };

  std::u16string uid_;
  std::u16string typeEx_;
  bool system_;
  State state_ = State::kNew;
  bool selected_ = false;
  long selectedAt_ = 0;      // the higher, the later
  int busy_ = 0;             // events on it that are being handled
  bool closeAsked_ = false;  // to be closed when no longer busy
  bool closing_ = false;
  std::vector<std::shared_ptr<ItemModel>> items_;
  std::vector<std::shared_ptr<UserDataSource>> sources_;
  std::u16string defaultItem_;
  long mode_ = kOkMode;
  int freezeCount_ = 0;
};

}  // namespace qx::screens
