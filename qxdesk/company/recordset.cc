#include "qxdesk/company/recordset.h"

#include "qxdesk/company/company_error.h"
#include "qxdesk/sql/sql_error.h"
#include "qxdesk/sql/statement_text.h"

#include <algorithm>

namespace qx::desk {

namespace {

class Field final : public HostObject<IField> {
 public:
  Field(CComPtr<Recordset> recordset, std::size_t column)
      : recordset_(std::move(recordset)), column_(column) {}

  HRESULT raw_GetName(BSTR* out) override {
    return hostCall([&]() -> HRESULT {
      if (!isThere()) return DISP_E_BADINDEX;
      return giveText(recordset_->rows().name(column_), out);
    });
  }
  HRESULT raw_GetValue(VARIANT* out) override {
    return hostCall([&]() -> HRESULT {
      if (out == nullptr) return E_POINTER;
      if (!isThere()) return DISP_E_BADINDEX;
      return recordset_->value(column_).Detach(out);
    });
  }

 private:
  // Another query may have fewer columns.
  bool isThere() const { return column_ < recordset_->rows().columnCount(); }

  CComPtr<Recordset> recordset_;
  std::size_t column_;
};

std::string utf8Of(std::u16string_view statement) {
  try {
    return sql::statementText(statement);
  } catch (const sql::SqlError& error) {
    throw CompanyError(kSqlFailure, Text::EngineMessage, error.what());
  }
}

class Fields final : public HostObject<IFields> {
 public:
  explicit Fields(CComPtr<Recordset> recordset) : recordset_(std::move(recordset)) {}

  HRESULT raw_Count(long* out) override {
    return hostCall([&] { return giveValue(static_cast<long>(columnCount()), out); });
  }
  HRESULT raw_Item(const VARIANT& index, IField** out) override {
    return hostCall([&]() -> HRESULT {
      if (out == nullptr) return E_POINTER;
      *out = nullptr;
      const std::size_t column = columnAt(index);
      if (column >= columnCount()) return noColumn(index);
      *out = makeObject<Field>(recordset_, column).Detach();
      return S_OK;
    });
  }

 private:
  std::size_t columnCount() const { return recordset_->rows().columnCount(); }

  std::size_t columnAt(const VARIANT& index) const {
    if (index.vt == VT_BSTR) return recordset_->rows().find(viewOfBstr(index.bstrVal));
    VARIANT number;
    if (VariantChangeType(&number, &index, 0, VT_I4) < 0 || number.lVal < 0) return columnCount();
    return static_cast<std::size_t>(number.lVal);
  }

  HRESULT noColumn(const VARIANT& index) {
    CComVariant text;
    if (text.ChangeType(VT_BSTR, &index) < 0) text = CComVariant(u"");
    return recordset_->session().attempt([&] {
      throw CompanyError(DISP_E_BADINDEX, Text::UnknownColumn,
                         std::vector{std::u16string(viewOfBstr(text.bstrVal))});
    });
  }

  CComPtr<Recordset> recordset_;
};

}  // namespace

HRESULT Recordset::raw_GetFields(IFields** out) {
  return hostCall([&]() -> HRESULT {
    if (out == nullptr) return E_POINTER;
    *out = makeObject<Fields>(CComPtr<Recordset>(this)).Detach();
    return S_OK;
  });
}

HRESULT Recordset::raw_MoveNext() {
  return hostCall([&] { position_ = std::min(position_ + 1, count()); });
}

HRESULT Recordset::raw_MovePrevious() {
  return hostCall([&] { position_ = std::max(position_ - 1, -1L); });
}

HRESULT Recordset::raw_GetBoF(VARIANT_BOOL* out) {
  return hostCall([&] { return giveValue(variantBool(position_ < 0 || count() == 0), out); });
}

HRESULT Recordset::raw_GetEoF(VARIANT_BOOL* out) {
  return hostCall(
      [&] { return giveValue(variantBool(position_ >= count() || count() == 0), out); });
}

HRESULT Recordset::raw_DoQuery(BSTR sql) {
  return companyCall(*session_, [&] {
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
