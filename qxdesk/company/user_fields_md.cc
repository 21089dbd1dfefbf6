#include "qxdesk/company/user_fields_md.h"

#include "qxframework/automation/text.h"

namespace qx::desk {

namespace {

/// The valid values of a field object.
class ValidValuesMD final : public HostObjectBase<IValidValuesMD> {
 public:
  explicit ValidValuesMD(CComPtr<UserFieldsMD> field) : field_(std::move(field)) {}

  HRESULT raw_Count(long* out) override {
    return give(out, [&] { return field_->validValues().size(); });
  }
  HRESULT raw_PutValue(BSTR value) override {
    return run([&] {
      next_.value = toUtf8(viewOfBstr(value));
      valueSet_ = true;
    });
  }
  HRESULT raw_PutDescription(BSTR text) override {
    return run([&] { next_.description = toUtf8(viewOfBstr(text)); });
  }
  HRESULT raw_Add() override {
    return companyCall(field_->session(), [&] {
      if (!valueSet_) throw CompanyError(kInvalidValue, Text::ValidValueNotSet);
      // The next value starts without the description of this one.
      field_->validValues().push_back(std::exchange(next_, {}));
      valueSet_ = false;
    });
  }

 private:
  CComPtr<UserFieldsMD> field_;
  ValidValue next_;
  bool valueSet_ = false;
};

}  // namespace

HRESULT UserFieldsMD::raw_GetByKey(BSTR table, long index, VARIANT_BOOL* out) {
  if (out == nullptr) return E_POINTER;
  *out = VARIANT_FALSE;
  return companyCall(*session_, [&] {
    std::optional<UserField> found = dictionary().find(toUtf8(viewOfBstr(table)), index);
    loaded_ = found.has_value();
    if (loaded_) field_ = *std::move(found);
    *out = variantBool(loaded_);
  });
}

HRESULT UserFieldsMD::raw_PutTableName(BSTR name) {
  return run([&] {
    field_.table = toUtf8(viewOfBstr(name));
    // The object no longer describes the field that was loaded, so Update must not find it.
    loaded_ = false;
  });
}

HRESULT UserFieldsMD::raw_GetName(BSTR* out) {
  return giveString(out, [&] { return toUtf16(field_.shape.name); });
}

HRESULT UserFieldsMD::raw_PutName(BSTR name) {
  return run([&] { field_.shape.name = toUtf8(viewOfBstr(name)); });
}

HRESULT UserFieldsMD::raw_GetDescription(BSTR* out) {
  return giveString(out, [&] { return toUtf16(field_.description); });
}

HRESULT UserFieldsMD::raw_PutDescription(BSTR text) {
  return run([&] { field_.description = toUtf8(viewOfBstr(text)); });
}

HRESULT UserFieldsMD::raw_GetType(long* out) {
  return give(out, [&] { return field_.shape.type; });
}

HRESULT UserFieldsMD::raw_PutType(long type) {
  return run([&] { field_.shape.type = type; });
}

HRESULT UserFieldsMD::raw_GetSubType(long* out) {
  return give(out, [&] { return field_.shape.subType; });
}

HRESULT UserFieldsMD::raw_PutSubType(long type) {
  return run([&] { field_.shape.subType = type; });
}

HRESULT UserFieldsMD::raw_GetSize(long* out) {
  return give(out, [&] { return field_.shape.size; });
}

HRESULT UserFieldsMD::raw_PutSize(long size) {
  return run([&] { field_.shape.size = size; });
}

HRESULT UserFieldsMD::raw_GetEditSize(long* out) {
  return give(out, [&] { return field_.editSize == 0 ? field_.shape.size : field_.editSize; });
}

HRESULT UserFieldsMD::raw_PutEditSize(long size) {
  return run([&] { field_.editSize = size; });
}

HRESULT UserFieldsMD::raw_PutMandatory(long mandatory) {
  return run([&] { field_.shape.mandatory = mandatory != 0; });
}

HRESULT UserFieldsMD::raw_GetDefaultValue(BSTR* out) {
  return giveString(out, [&] { return toUtf16(field_.shape.defaultValue); });
}

HRESULT UserFieldsMD::raw_PutDefaultValue(BSTR value) {
  return run([&] { field_.shape.defaultValue = toUtf8(viewOfBstr(value)); });
}

HRESULT UserFieldsMD::raw_GetLinkedTable(BSTR* out) {
  return giveString(out, [&] { return toUtf16(field_.linkedTable); });
}

HRESULT UserFieldsMD::raw_PutLinkedTable(BSTR table) {
  return run([&] { field_.linkedTable = toUtf8(viewOfBstr(table)); });
}

HRESULT UserFieldsMD::raw_GetValidValues(IValidValuesMD** out) {
  return giveNew(out, [&] { return makeObject<ValidValuesMD>(CComPtr<UserFieldsMD>(this)); });
}

HRESULT UserFieldsMD::raw_Add(long* out) {
  return companyCallWithCode(*session_, out, [&] {
    dictionary().add(field_);
    // Cleared after success only, so that a refused field can be corrected and added again.
    field_ = {};
    loaded_ = false;
  });
}

HRESULT UserFieldsMD::raw_Update(long* out) {
  return companyCallWithCode(*session_, out, [&] {
    if (!loaded_) throw CompanyError(kNotFound, Text::NothingLoaded);
    dictionary().update(field_);
  });
}

}  // namespace qx::desk
