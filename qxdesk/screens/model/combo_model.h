#pragma once

// The choices of a combo box. The box is known by the key of its selected entry. If the box is
// bound to a data source, the key is the value of that source.

#include "qxdesk/screens/model/data_source.h"

#include <optional>
#include <string>
#include <vector>

namespace qx::screens {

/// An entry: `value` is the text on the screen, `description` the key.
struct ValidValue {
  std::u16string value;
  std::u16string description;
};

/// The two ways in which IComboBox::Select and IValidValues::Remove name an entry.
enum SelectMode : long { kByKey = 1, kByIndex = 2 };

class ComboModel {
 public:
  const std::vector<ValidValue>& values() const { return values_; }
  void add(std::u16string value, std::u16string key);
  /// Returns the position of the first entry with that key or, if there is none, of the first entry
  /// that shows that text.
  std::optional<std::size_t> find(std::u16string_view key) const;
  /// Selects an entry and writes its key. Throws kInvalidFieldValue for a position outside.
  void select(std::size_t position);
  /// Removes an entry; the selected one leaves an empty key. Throws as select() does.
  void remove(std::size_t position);
  /// Returns the position of the selected entry: with a data source, the one whose key the source
  /// holds.
  std::optional<std::size_t> selected() const;
  BoundText& key() { return key_; }

 private:
  std::vector<ValidValue> values_;
  std::optional<std::size_t> selected_;
  BoundText key_;
};

}  // namespace qx::screens
