#pragma once

// The named values of a form, and the texts of the controls that are bound to them.

#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/com_error.h"

#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace qx::screens {

/// A named value of a form. Controls can be bound to it.
class UserDataSource {
 public:
  /// `size` is the limit of the value in UTF-16 units; 0 means no limit.
  UserDataSource(std::u16string uid, long type, long size)
      : uid_(std::move(uid)), type_(type), size_(size) {}

  const std::u16string& uid() const { return uid_; }
  long type() const { return type_; }
  long size() const { return size_; }
  const std::u16string& value() const { return value_; }
  /// Throws kInvalidFieldValue if the value is longer than the limit.
  void setValue(std::u16string_view value) {
    if (size_ > 0 && value.size() > static_cast<std::size_t>(size_)) raiseError(kInvalidFieldValue);
    value_ = value;
  }

 private:
  std::u16string uid_;
  long type_;
  long size_;
  std::u16string value_;
};

/// The text of a control: a text of its own or, if the control is bound, the value of the source.
class BoundText {
 public:
  const std::u16string& get() const { return source_ == nullptr ? own_ : source_->value(); }
  /// Throws kInvalidFieldValue if the source refuses the text.
  void set(std::u16string_view text) {
    if (source_ == nullptr) {
      own_ = text;
    } else {
      source_->setValue(text);
    }
  }
  void bind(std::shared_ptr<UserDataSource> source) { source_ = std::move(source); }
  /// Null if the control is not bound.
  const std::shared_ptr<UserDataSource>& source() const { return source_; }

 private:
  std::u16string own_;
  std::shared_ptr<UserDataSource> source_;
};

}  // namespace qx::screens
