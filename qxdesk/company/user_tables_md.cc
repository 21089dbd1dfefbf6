#include "qxdesk/company/user_tables_md.h"

#include "qxframework/automation/text.h"

namespace qx::desk {

HRESULT UserTablesMD::raw_GetByKey(BSTR name, VARIANT_BOOL* out) {
  if (out == nullptr) return E_POINTER;
  *out = VARIANT_FALSE;
  return companyCall(*session_, [&] {
    std::optional<UserTable> found = dictionary().findTable(toUtf8(viewOfBstr(name)));
    loaded_ = found.has_value();
    if (loaded_) table_ = *std::move(found);
    *out = variantBool(loaded_);
  });
}

HRESULT UserTablesMD::raw_GetTableName(BSTR* out) {
  return hostCall([&] { return giveText(toUtf16(table_.name), out); });
}

HRESULT UserTablesMD::raw_PutTableName(BSTR name) {
  return hostCall([&] { table_.name = toUtf8(viewOfBstr(name)); });
}

HRESULT UserTablesMD::raw_GetTableDescription(BSTR* out) {
  return hostCall([&] { return giveText(toUtf16(table_.description), out); });
}

HRESULT UserTablesMD::raw_PutTableDescription(BSTR text) {
  return hostCall([&] { table_.description = toUtf8(viewOfBstr(text)); });
}

HRESULT UserTablesMD::raw_GetTableType(long* out) {
  return hostCall([&] { return giveValue(table_.type, out); });
}

HRESULT UserTablesMD::raw_PutTableType(long type) {
  return hostCall([&] { table_.type = type; });
}

HRESULT UserTablesMD::raw_Add(long* out) {
  return companyCallWithCode(*session_, out, [&] {
    dictionary().addTable(table_);
    table_ = {};
    loaded_ = false;
  });
}

HRESULT UserTablesMD::raw_Remove(long* out) {
  return companyCallWithCode(*session_, out, [&] {
    if (!loaded_) throw CompanyError(kNotFound, Text::NothingLoaded);
    dictionary().removeTable(table_.name);
    table_ = {};
    loaded_ = false;
  });
}

}  // namespace qx::desk
