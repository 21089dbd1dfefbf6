#pragma once

// The choices of a combo box. What is chosen is told by the key, which stands in the data source
// when the box is bound to one.

#include "qxdesk/screens/model/data_source.h"

#include <optional>
#include <string>
#include <vector>

namespace qx::screens {

/// `value` is the text that is shown, `description` the key.
struct ValidValue {
  std::u16string value;
  std::u16string description;
};

/// How Select and Remove name an entry.
enum SelectMode : long { kByKey = 1, kByIndex = 2 };

class ComboModel {
 public:
  const std::vector<ValidValue>& values() const { return values_; }
  void add(std::u16string value, std::u16string key);
  /// The first entry with that key, else the first that shows that text.
  std::optional<std::size_t> find(std::u16string_view key) const;
  /// Raises kInvalidFieldValue for a position outside.
  void select(std::size_t position);
  void remove(std::size_t position);
  std::optional<std::size_t> selected() const;
  BoundText& key() { return key_; }

 private:
  std::vector<ValidValue> values_;
  std::optional<std::size_t> selected_;
  BoundText key_;
};

}  // namespace qx::screens
