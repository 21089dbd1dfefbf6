#include "qxdesk/screens/model/combo_model.h"

#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/com_error.h"

#include <algorithm>
#include <utility>

namespace qx::screens {

void ComboModel::add(std::u16string value, std::u16string key) {
  values_.push_back({std::move(value), std::move(key)});
}

std::optional<std::size_t> ComboModel::find(std::u16string_view key) const {
  // A key of one entry may be the text of another, and the key wins.
  for (const auto member : {&ValidValue::description, &ValidValue::value}) {
    const auto at = std::find_if(values_.begin(), values_.end(),
                                 [&](const ValidValue& entry) { return entry.*member == key; });
    if (at != values_.end()) return static_cast<std::size_t>(at - values_.begin());
  }
  return std::nullopt;
}

void ComboModel::select(std::size_t position) {
  if (position >= values_.size()) raiseError(kInvalidFieldValue);
  // The data source may refuse the key; then the old selection stays.
  key_.set(values_[position].description);
  selected_ = position;
}

void ComboModel::remove(std::size_t position) {
  if (position >= values_.size()) raiseError(kInvalidFieldValue);
  values_.erase(values_.begin() + static_cast<std::ptrdiff_t>(position));
  if (selected_ == position) {
    selected_.reset();
    key_.set(u"");
  } else if (selected_ && *selected_ > position) {
    --*selected_;
  }
}

std::optional<std::size_t> ComboModel::selected() const {
  if (key_.source() == nullptr) return selected_;
  // An add-on may write to the source at any time, so its value decides. Keys may repeat: the entry
  // that was selected wins as long as its key fits.
  if (selected_ && values_[*selected_].description == key_.get()) return selected_;
  const auto at = std::find_if(values_.begin(), values_.end(), [&](const ValidValue& entry) {
    return entry.description == key_.get();
  });
  if (at == values_.end()) return std::nullopt;
  return static_cast<std::size_t>(at - values_.begin());
}

}  // namespace qx::screens
