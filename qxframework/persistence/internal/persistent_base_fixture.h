#pragma once

#include "qxframework/persistence/internal/persistent_base.h"
#include "qxframework/query/testing/query_parts.h"
#include "qxframework/sql/sql_text.h"

namespace qx::test {

/// The base with its own forms: names as they are, dates as literals of text.
class Plain : public Persistence::CQXPersistentBase {
 public:
  using CQXPersistentBase::CQXPersistentBase;
  using CQXPersistentBase::m_bNationalStrings;
  CComBSTR GetSQLTableName(const OLECHAR* name) const override {
    return qx::joined({u"<", qx::viewOf(name), u">"});
  }

  std::string selectFields() const {
    CComBSTR text;
    BuildSelectFieldList(text);
    return utf8(text);
  }
  std::string joins() {
    CComBSTR text;
    AppendJoins(text);
    return utf8(text);
  }
  std::string removeWhere(const qx_ptr<Persistence::CConditions>& list) const {
    CComBSTR text;
    BuildRemoveWhereClause(text, list);
    return utf8(text);
  }
  std::string value(CComVariant given) const { return utf8(GetSQLValue(given)); }
};

inline Persistence::CQXLinkTableCriteria link(
    const OLECHAR* table, const OLECHAR* correlation,
    Persistence::etTABLE_JOIN_MODE mode = Persistence::jm_Inner, bool userTable = false) {
  return Persistence::CQXLinkTableCriteria(table, correlation, mode, userTable);
}

}  // namespace qx::test
