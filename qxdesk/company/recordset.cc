#include "qxdesk/company/recordset.h"

#include "qxdesk/engines/company_error.h"
#include "qxdesk/sql/sql_error.h"
#include "qxdesk/sql/statement_text.h"

#include <algorithm>

namespace qx::desk {

namespace {

std::string utf8Of(std::u16string_view statement) {
  try {
    return sql::statementText(statement);
  } catch (const sql::SqlError& error) {
    throw CompanyError(kSqlFailure, Text::EngineMessage, error.what());
  }
}

}  // namespace

Field::Field(Fields& fields, Recordset& recordset, std::size_t column)
    : HostPart(fields), recordset_(recordset), column_(column) {}

// Another query on the same recordset may have fewer columns.
bool Field::isThere() const { return column_ < recordset_.rows().columnCount(); }

HRESULT Field::raw_GetName(BSTR* out) {
  return hostCall([&]() -> HRESULT {
    if (!isThere()) return DISP_E_BADINDEX;
    return giveText(recordset_.rows().name(column_), out);
  });
}

HRESULT Field::raw_GetValue(VARIANT* out) {
  return hostCall([&]() -> HRESULT {
    if (out == nullptr) return E_POINTER;
    if (!isThere()) return DISP_E_BADINDEX;
    return recordset_.value(column_).Detach(out);
  });
}

HRESULT Field::raw_GetType(long* out) {
  return hostCall([&]() -> HRESULT {
    if (!isThere()) return DISP_E_BADINDEX;
    // A null has the empty value of its column's kind, so a value of any row shows the kind.
    switch (recordset_.value(column_).vt) {
      case VT_BSTR:
        return giveValue<long>(kTextField, out);
      case VT_DATE:
        return giveValue<long>(kDateField, out);
      default:
        return giveValue<long>(kNumberField, out);
    }
  });
}

Fields::Fields(Recordset& recordset) : HostPart(recordset), recordset_(recordset) {}

std::size_t Fields::columnCount() const { return recordset_.rows().columnCount(); }

HRESULT Fields::raw_Count(long* out) {
  return hostCall([&] { return giveValue(static_cast<long>(columnCount()), out); });
}

HRESULT Fields::raw_Item(const VARIANT& index, IField** out) {
  return hostCall([&]() -> HRESULT {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    const std::size_t column = columnAt(index);
    if (column >= columnCount()) return noColumn(index);
    return giveObject<IField>(&field(column), out);
  });
}

// Makes a field object for every column up to this one, so that its place is its column.
Field& Fields::field(std::size_t column) {
  if (!fields_) fields_.emplace();
  while (fields_->size() <= column) fields_->emplace_back(*this, recordset_, fields_->size());
  return (*fields_)[column];
}

std::size_t Fields::columnAt(const VARIANT& index) const {
  // The two usual kinds without a conversion, since loops over rows ask here for every cell.
  if (index.vt == VT_BSTR) return recordset_.rows().find(viewOfBstr(index.bstrVal));
  if (index.vt == VT_I4) return static_cast<std::size_t>(index.lVal);  // below 0 becomes huge
  VARIANT number;
  if (VariantChangeType(&number, &index, 0, VT_I4) < 0) return columnCount();
  return static_cast<std::size_t>(number.lVal);
}

HRESULT Fields::noColumn(const VARIANT& index) {
  CComVariant text;
  // An object has no text; the message then names no column.
  if (text.ChangeType(VT_BSTR, &index) < 0) text = CComVariant(u"");
  return recordset_.session().attempt([&] {
    throw CompanyError(DISP_E_BADINDEX, Text::UnknownColumn,
                       std::vector{std::u16string(viewOfBstr(text.bstrVal))});
  });
}

HRESULT Recordset::raw_GetFields(IFields** out) {
  return hostCall([&] { return giveObject<IFields>(&fields_, out); });
}

HRESULT Recordset::raw_MoveNext() {
  return hostCall([&] { position_ = std::min(position_ + 1, count()); });
}

HRESULT Recordset::raw_MovePrevious() {
  return hostCall([&] { position_ = std::max(position_ - 1, -1L); });
}

// An empty result is at both ends at once.
HRESULT Recordset::raw_GetBoF(VARIANT_BOOL* out) {
  return hostCall([&] { return giveValue(variantBool(position_ < 0 || count() == 0), out); });
}

HRESULT Recordset::raw_GetEoF(VARIANT_BOOL* out) {
  return hostCall(
      [&] { return giveValue(variantBool(position_ >= count() || count() == 0), out); });
}

HRESULT Recordset::raw_DoQuery(BSTR sql) {
  return companyCall(*session_, [&] {
    // Cleared first: after a failure no rows of the query before may be read.
    rows_ = {};
    position_ = 0;
    rows_ = session_->query(utf8Of(viewOfBstr(sql)));
  });
}

HRESULT Recordset::raw_GetRecordCount(long* out) {
  return hostCall([&] { return giveValue(count(), out); });
}

HRESULT Recordset::raw_MoveFirst() {
  return hostCall([&] { position_ = 0; });
}

HRESULT Recordset::raw_MoveLast() {
  return hostCall([&] { position_ = std::max(count() - 1, 0L); });
}

CComVariant Recordset::value(std::size_t column) const {
  if (position_ < 0 || position_ >= count()) return rows_.emptyValue(column);
  return rows_.value(static_cast<std::size_t>(position_), column);
}

}  // namespace qx::desk
