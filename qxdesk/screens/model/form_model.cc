#include "qxdesk/screens/model/form_model.h"

#include "qxdesk/screens/model/ui_codes.h"
#include "qxframework/automation/com_error.h"

#include <algorithm>
#include <utility>

namespace qx::screens {
namespace {

template <class Entries>
typename Entries::value_type findUid(const Entries& entries, std::u16string_view uid) {
  const auto at = std::find_if(entries.begin(), entries.end(), [&](const auto& entry) {
    if constexpr (requires { entry->uid(); }) {
      return entry->uid() == uid;
    } else {
      return entry->uid == uid;
    }
  });
  return at == entries.end() ? nullptr : *at;
}

}  // namespace

FormModel::FormModel(std::u16string uid, std::u16string typeEx, bool system)
    : uid_(std::move(uid)), typeEx_(std::move(typeEx)), system_(system) {
  checkUid(uid_, kFormSettingUid);
}

std::shared_ptr<ItemModel> FormModel::findItem(std::u16string_view uid) const {
  return findUid(items_, uid);
}

ItemModel& FormModel::item(std::u16string_view uid) const {
  const auto found = findItem(uid);
  if (found == nullptr) raiseError(kInvalidItem);
  return *found;
}

ItemModel& FormModel::addItem(ItemModel item) {
  checkUid(item.uid, kItemAttributes);
  if (findItem(item.uid) != nullptr) raiseError(kItemAlreadyExists);
  if (item.type == kComboBox && item.combo == nullptr) item.combo = std::make_unique<ComboModel>();
  if (item.type == kMatrix && item.matrix == nullptr) item.matrix = std::make_unique<MatrixModel>();
  items_.push_back(std::make_shared<ItemModel>(std::move(item)));
  return *items_.back();
}

void FormModel::removeItem(std::u16string_view uid) {
  const auto gone = findItem(uid);
  if (gone == nullptr) raiseError(kInvalidItem);
  std::erase(items_, gone);
  if (defaultItem_ == uid) defaultItem_.clear();
  if (focus == uid) focus.clear();
}

std::shared_ptr<UserDataSource> FormModel::findSource(std::u16string_view uid) const {
  return findUid(sources_, uid);
}

void FormModel::addSource(std::u16string uid, long type, long size) {
  checkUid(uid, kNotAUserDataSource);
  if (findSource(uid) != nullptr) raiseError(kNotAUserDataSource);
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

void FormModel::setHeight(long height) {
  if (height < 0) raiseError(kFormSettingRect);
  rect.height = height;
}

void FormModel::setWidth(long width) {
  if (width < 0) raiseError(kFormSettingRect);
  rect.width = width;
}

void FormModel::freeze(bool on) {
  if (on) {
    ++freezeCount_;
  } else if (freezeCount_ > 0) {
    --freezeCount_;
  }
}

}  // namespace qx::screens
