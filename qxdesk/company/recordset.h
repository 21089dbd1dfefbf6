#pragma once

// The object 300: runs statements and keeps the rows of the last query. The cursor is on a row,
// before the first one or after the last one. If it is on no row, which includes an empty result,
// fields read as the empty value of their column, as a null does.

#include "qxdesk/company/company_session.h"
#include "qxdesk/company/host_part.h"
#include "qxdesk/engines/row_store.h"
#include "qxdesk/session/host_object_base.h"
#include "qxframework/host/recordset.h"

#include <deque>
#include <optional>

namespace qx::desk {

class Fields;
class Recordset;

/// A column of the current row of a recordset.
class Field final : public HostPart<IField> {
 public:
  Field(Fields& fields, Recordset& recordset, std::size_t column);
  HRESULT raw_GetName(BSTR* out) override;
  HRESULT raw_GetValue(VARIANT* out) override;
  HRESULT raw_GetType(long* out) override;

 private:
  bool isThere() const;

  Recordset& recordset_;
  std::size_t column_;
};

/// The columns of a recordset. A field object, once made, is kept, since an add-on may still hold
/// it.
class Fields final : public HostPart<IFields> {
 public:
  explicit Fields(Recordset& recordset);
  HRESULT raw_Count(long* out) override;
  HRESULT raw_Item(const VARIANT& index, IField** out) override;

 private:
  std::size_t columnCount() const;
  std::size_t columnAt(const VARIANT& index) const;
  HRESULT noColumn(const VARIANT& index);

  Field& field(std::size_t column);

  Recordset& recordset_;
  // A deque, since field objects do not move; made with the first of them, because an empty one
  // takes memory too.
  std::optional<std::deque<Field>> fields_;
};

class Recordset final : public HostObjectBase<IRecordset> {
 public:
  explicit Recordset(SessionPtr session) : session_(std::move(session)) {}
  /// Makes a recordset that already has rows.
  Recordset(SessionPtr session, RowStore rows)
      : session_(std::move(session)), rows_(std::move(rows)) {}

  HRESULT raw_GetFields(IFields** out) override;
  HRESULT raw_MoveNext() override;
  HRESULT raw_MovePrevious() override;
  HRESULT raw_GetBoF(VARIANT_BOOL* out) override;
  HRESULT raw_GetEoF(VARIANT_BOOL* out) override;
  HRESULT raw_DoQuery(BSTR sql) override;
  HRESULT raw_GetRecordCount(long* out) override;
  HRESULT raw_MoveFirst() override;
  HRESULT raw_MoveLast() override;

  CompanySession& session() { return *session_; }
  const RowStore& rows() const { return rows_; }
  /// Returns the value in the current row, or the empty value if there is none.
  CComVariant value(std::size_t column) const;

 private:
  long count() const { return static_cast<long>(rows_.rowCount()); }

  SessionPtr session_;
  RowStore rows_;
  long position_ = 0;  // -1 before the first row, count() after the last
  Fields fields_{*this};
};

}  // namespace qx::desk
