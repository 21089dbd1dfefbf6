#include "qxdesk/company/user_tables_md.h"

#include "qxframework/automation/text.h"

namespace qx::desk {

HRESULT UserTablesMD::raw_GetByKey(BSTR name, VARIANT_BOOL* out) {
  if (out == nullptr) return E_POINTER;
  *out = VARIANT_FALSE;
  return companyCall(*session_, [&] {
    std::optional<UserTable> found = dictionary().find(toUtf8(viewOfBstr(name)));
    loaded_ = found.has_value();
    if (loaded_) table_ = *std::move(found);
    *out = variantBool(loaded_);
  });
}

HRESULT UserTablesMD::raw_GetTableName(BSTR* out) {
  return giveString(out, [&] { return toUtf16(table_.name); });
}

HRESULT UserTablesMD::raw_PutTableName(BSTR name) {
  return run([&] { table_.name = toUtf8(viewOfBstr(name)); });
}

HRESULT UserTablesMD::raw_GetTableDescription(BSTR* out) {
  return giveString(out, [&] { return toUtf16(table_.description); });
}

HRESULT UserTablesMD::raw_PutTableDescription(BSTR text) {
  return run([&] { table_.description = toUtf8(viewOfBstr(text)); });
}

HRESULT UserTablesMD::raw_GetTableType(long* out) {
  return give(out, [&] { return table_.type; });
}

HRESULT UserTablesMD::raw_PutTableType(long type) {
  return run([&] { table_.type = type; });
}

HRESULT UserTablesMD::raw_Add(long* out) {
  return companyCallWithCode(*session_, out, [&] {
    dictionary().add(table_);
    table_ = {};
    loaded_ = false;
  });
}

HRESULT UserTablesMD::raw_Remove(long* out) {
  return companyCallWithCode(*session_, out, [&] {
    if (!loaded_) throw CompanyError(kNotFound, Text::NothingLoaded);
    dictionary().remove(table_.name);
    table_ = {};
    loaded_ = false;
  });
}

}  // namespace qx::desk
