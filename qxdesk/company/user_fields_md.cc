#include "qxdesk/company/user_fields_md.h"

#include "qxframework/automation/text.h"

namespace qx::desk {

namespace {

/// The valid values of the field object that it was taken from.
class ValidValuesMD final : public HostObject<IValidValuesMD> {
 public:
  explicit ValidValuesMD(CComPtr<UserFieldsMD> field) : field_(std::move(field)) {}

  HRESULT raw_Count(long* out) override {
    return hostCall(
        [&] { return giveValue(static_cast<long>(field_->validValues().size()), out); });
  }
  HRESULT raw_PutValue(BSTR value) override {
    return hostCall([&] {
      next_.value = toUtf8(viewOfBstr(value));
      valueSet_ = true;
    });
  }
  HRESULT raw_PutDescription(BSTR text) override {
    return hostCall([&] { next_.description = toUtf8(viewOfBstr(text)); });
  }
  HRESULT raw_Add() override {
    return companyCall(field_->session(), [&] {
      if (!valueSet_) throw CompanyError(kInvalidValue, Text::ValidValueNotSet);
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
    std::optional<UserField> found = dictionary().findField(toUtf8(viewOfBstr(table)), index);
    loaded_ = found.has_value();
    if (loaded_) field_ = *std::move(found);
    *out = variantBool(loaded_);
  });
}

HRESULT UserFieldsMD::raw_PutTableName(BSTR name) {
  return hostCall([&] {
    field_.table = toUtf8(viewOfBstr(name));
    loaded_ = false;
  });
}

HRESULT UserFieldsMD::raw_GetName(BSTR* out) {
  return hostCall([&] { return giveText(toUtf16(field_.shape.name), out); });
}

HRESULT UserFieldsMD::raw_PutName(BSTR name) {
  return hostCall([&] { field_.shape.name = toUtf8(viewOfBstr(name)); });
}

HRESULT UserFieldsMD::raw_GetDescription(BSTR* out) {
  return hostCall([&] { return giveText(toUtf16(field_.description), out); });
}

HRESULT UserFieldsMD::raw_PutDescription(BSTR text) {
  return hostCall([&] { field_.description = toUtf8(viewOfBstr(text)); });
}

HRESULT UserFieldsMD::raw_GetType(long* out) {
  return hostCall([&] { return giveValue(field_.shape.type, out); });
}

HRESULT UserFieldsMD::raw_PutType(long type) {
  return hostCall([&] { field_.shape.type = type; });
}

HRESULT UserFieldsMD::raw_GetSubType(long* out) {
  return hostCall([&] { return giveValue(field_.shape.subType, out); });
}

HRESULT UserFieldsMD::raw_PutSubType(long type) {
  return hostCall([&] { field_.shape.subType = type; });
}

HRESULT UserFieldsMD::raw_GetSize(long* out) {
  return hostCall([&] { return giveValue(field_.shape.size, out); });
}

HRESULT UserFieldsMD::raw_PutSize(long size) {
  return hostCall([&] { field_.shape.size = size; });
}

HRESULT UserFieldsMD::raw_GetEditSize(long* out) {
  return hostCall(
      [&] { return giveValue(field_.editSize == 0 ? field_.shape.size : field_.editSize, out); });
}

HRESULT UserFieldsMD::raw_PutEditSize(long size) {
  return hostCall([&] { field_.editSize = size; });
}

HRESULT UserFieldsMD::raw_PutMandatory(long mandatory) {
  return hostCall([&] { field_.shape.mandatory = mandatory != 0; });
}

HRESULT UserFieldsMD::raw_GetDefaultValue(BSTR* out) {
  return hostCall([&] { return giveText(toUtf16(field_.shape.defaultValue), out); });
}

HRESULT UserFieldsMD::raw_PutDefaultValue(BSTR value) {
  return hostCall([&] { field_.shape.defaultValue = toUtf8(viewOfBstr(value)); });
}

HRESULT UserFieldsMD::raw_GetLinkedTable(BSTR* out) {
  return hostCall([&] { return giveText(toUtf16(field_.linkedTable), out); });
}

HRESULT UserFieldsMD::raw_PutLinkedTable(BSTR table) {
  return hostCall([&] { field_.linkedTable = toUtf8(viewOfBstr(table)); });
}

HRESULT UserFieldsMD::raw_GetValidValues(IValidValuesMD** out) {
  return hostCall([&]() -> HRESULT {
    if (out == nullptr) return E_POINTER;
    *out = makeObject<ValidValuesMD>(CComPtr<UserFieldsMD>(this)).Detach();
    return S_OK;
  });
}

HRESULT UserFieldsMD::raw_Add(long* out) {
  return companyCallWithCode(*session_, out, [&] {
    dictionary().addField(field_);
    field_ = {};
    loaded_ = false;
  });
}

HRESULT UserFieldsMD::raw_Update(long* out) {
  return companyCallWithCode(*session_, out, [&] {
    if (!loaded_) throw CompanyError(kNotFound, Text::NothingLoaded);
    dictionary().updateField(field_);
  });
}

}  // namespace qx::desk
