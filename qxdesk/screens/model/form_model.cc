#include "qxdesk/screens/model/form_model.h"

#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/com_error.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace qx::screens {
namespace {

constexpr long kMostPixels = 0x7FFF'FFFF;

long checkedSize(long size) {
  if (size < 0 || size > kMostPixels) raiseError(kFormSettingRect);
  return size;
}

}  // namespace

FormModel::FormModel(std::u16string uid, std::u16string typeEx, bool system)
    : uid_(std::move(uid)), typeEx_(std::move(typeEx)), system_(system) {
  checkUid(uid_, kFormSettingUid);
}

ItemModel& FormModel::item(std::u16string_view uid) const {
  const auto found = findItem(uid);
  if (found == nullptr) raiseError(kInvalidItem);
  return *found;
}

ItemModel& FormModel::addItem(ItemModel item) {
  checkUid(item.uid, kItemAttributes);
  if (findItem(item.uid) != nullptr) raiseError(kItemAlreadyExists);
  // A control must be there before the item is visible to an add-on: the objects over the model
  // follow the two pointers without a test.
  if (item.type == kComboBox && item.combo == nullptr) item.combo = std::make_unique<ComboModel>();
  if (item.type == kMatrix && item.matrix == nullptr) item.matrix = std::make_unique<MatrixModel>();
  // Objects of an add-on hold an item weakly, so each one is an allocation of its own.
  const auto added = std::make_shared<ItemModel>(std::move(item));
  byUid_.emplace(added->uid, added);
  items_.push_back(added);
  return *added;
}

void FormModel::removeItem(std::u16string_view uid) {
  const auto gone = findItem(uid);
  if (gone == nullptr) raiseError(kInvalidItem);
  // `gone` keeps the item: `uid` may be a view into it.
  byUid_.erase(gone->uid);
  std::erase(items_, gone);
  if (defaultItem_ == uid) defaultItem_.clear();
  if (focus == uid) focus.clear();
}

std::vector<std::shared_ptr<ItemModel>> FormModel::tabOrder() const {
  std::vector<std::shared_ptr<ItemModel>> out;
  for (const auto& item : items_) {
    if (takesFocus(*item)) out.push_back(item);
  }
  return out;
}

std::u16string FormModel::nextFocus(std::u16string_view uid) const {
  return focusBehind(items_.begin(), items_.end(), uid);
}

std::u16string FormModel::previousFocus(std::u16string_view uid) const {
  return focusBehind(items_.rbegin(), items_.rend(), uid);
}

// Counted among all items: the one that has the focus may have become unusable.
template <class Iterator>
std::u16string FormModel::focusBehind(Iterator begin, Iterator end, std::u16string_view uid) const {
  const auto takes = [this](const auto& item) { return takesFocus(*item); };
  const auto from = std::find_if(begin, end, [&](const auto& item) { return item->uid == uid; });
  auto found = from == end ? end : std::find_if(std::next(from), end, takes);
  if (found == end) found = std::find_if(begin, end, takes);
  return found == end ? std::u16string() : (*found)->uid;
}

void FormModel::addSource(std::u16string uid, long type, long size) {
  checkUid(uid, kNotAUserDataSource);
  if (findSource(uid) != nullptr) raiseError(kNotAUserDataSource);
  if (size < 0) raiseError(kUnknownFieldType);
  sources_.push_back(std::make_shared<UserDataSource>(std::move(uid), type, size));
}

void FormModel::setDefaultItem(std::u16string_view uid) {
  if (!uid.empty() && findItem(uid) == nullptr) raiseError(kFormSettingDefaultButton);
  defaultItem_ = uid;
}

void FormModel::setMode(long mode) {
  if (mode < kFindMode || mode > kAddMode) raiseError(kFormSettingMode);
  mode_ = mode;
}

void FormModel::setHeight(long height) { rect.height = checkedSize(height); }

void FormModel::setWidth(long width) { rect.width = checkedSize(width); }

// The argument is checked before the sum, which could overflow, and the sum once more.
void FormModel::setClientHeight(long height) { setHeight(checkedSize(height) + kFrameHeight); }

void FormModel::setClientWidth(long width) { setWidth(checkedSize(width) + kFrameWidth); }

void FormModel::freeze(bool on) {
  // A thaw without a freeze does nothing, so that a later freeze still counts.
  if (on) {
    ++freezeCount_;
  } else if (freezeCount_ > 0) {
    --freezeCount_;
  }
}

}  // namespace qx::screens
