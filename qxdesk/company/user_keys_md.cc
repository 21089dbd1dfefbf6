#include "qxdesk/company/user_keys_md.h"

#include "qxframework/automation/text.h"

namespace qx::desk {

namespace {

/// The columns of a key object.
class Elements final : public HostObjectBase<IUserKeysMD_Elements> {
 public:
  explicit Elements(CComPtr<UserKeysMD> key) : key_(std::move(key)) {}

  HRESULT raw_Count(long* out) override {
    return give(out, [&] { return key_->columns().size(); });
  }
  HRESULT raw_PutColumnAlias(BSTR alias) override {
    return run([&] { next_ = toUtf8(viewOfBstr(alias)); });
  }
  HRESULT raw_Add() override {
    return companyCall(key_->session(), [&] {
      if (next_.empty()) throw CompanyError(kInvalidValue, Text::KeyColumnNotSet);
      // Emptied, so that the same column is not added twice by mistake.
      key_->columns().push_back(std::exchange(next_, {}));
    });
  }

 private:
  CComPtr<UserKeysMD> key_;
  std::string next_;
};

}  // namespace

HRESULT UserKeysMD::raw_GetByKey(BSTR table, long index, VARIANT_BOOL* out) {
  if (out == nullptr) return E_POINTER;
  *out = VARIANT_FALSE;
  return companyCall(*session_, [&] {
    std::optional<UserKey> found = dictionary().find(toUtf8(viewOfBstr(table)), index);
    loaded_ = found.has_value();
    if (loaded_) key_ = *std::move(found);
    *out = variantBool(loaded_);
  });
}

HRESULT UserKeysMD::raw_GetKeyName(BSTR* out) {
  return giveString(out, [&] { return toUtf16(key_.name); });
}

HRESULT UserKeysMD::raw_PutKeyName(BSTR name) {
  return run([&] { key_.name = toUtf8(viewOfBstr(name)); });
}

HRESULT UserKeysMD::raw_PutTableName(BSTR name) {
  return run([&] { key_.table = toUtf8(viewOfBstr(name)); });
}

HRESULT UserKeysMD::raw_PutUnique(long unique) {
  return run([&] { key_.unique = unique != 0; });
}

HRESULT UserKeysMD::raw_GetElements(IUserKeysMD_Elements** out) {
  return giveNew(out, [&] { return makeObject<Elements>(CComPtr<UserKeysMD>(this)); });
}

HRESULT UserKeysMD::raw_Add(long* out) {
  return companyCallWithCode(*session_, out, [&] {
    dictionary().add(key_);
    key_ = {};
    loaded_ = false;
  });
}

HRESULT UserKeysMD::raw_Remove(long* out) {
  return companyCallWithCode(*session_, out, [&] {
    if (!loaded_) throw CompanyError(kNotFound, Text::NothingLoaded);
    dictionary().remove(key_.table, key_.name);
    key_ = {};
    loaded_ = false;
  });
}

}  // namespace qx::desk
