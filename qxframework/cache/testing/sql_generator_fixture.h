#pragma once

// A generator whose pieces are read as UTF-8, with a scripted company.

#include "qxframework/cache/sql_generator.h"
#include "qxframework/query/testing/query_parts.h"
#include "testing/scripted_company.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

namespace qx::test {

using Persistence::CConditions;
using Persistence::CQXLinkTableCriteria;
using Persistence::TyFieldValues;
using SortFields = Persistence::CQXPersistenceSortFieldCollection;

/// 31 January 2024.
inline const COleDateTime kDay(2024, 1, 31, 0, 0, 0);

template <class T>
qx_ptr<T> shared(T value) {
  return qx_ptr<T>(new T(std::move(value)), true);
}

class SqlGenerator : public testing::Test {
 protected:
  void use(long serverType) {
    company->serverType = serverType;
    generator.SetCompany(CComPtr<ICompany>(company.p));
  }
  std::string column(const OLECHAR* correlation, const OLECHAR* name, const OLECHAR* prefix) const {
    CComBSTR text;
    generator.BuildColumn(text, correlation, name, prefix);
    return utf8(text);
  }
  std::string fieldList() const {
    CComBSTR text;
    generator.BuildFieldList(text, param);
    return utf8(text);
  }
  std::string from() const {
    CComBSTR text;
    generator.BuildFrom(text, param);
    return utf8(text);
  }
  std::string joins() const {
    CComBSTR text;
    generator.BuildJoins(text, param);
    return utf8(text);
  }
  std::string orderBy(const SortFields& fields) const {
    CComBSTR text;
    generator.BuildOrderBy(text, param, fields);
    return utf8(text);
  }
  std::string where(const qx_ptr<CConditions>& list) const {
    CComBSTR text;
    generator.BuildWhere(text, *list, param);
    return utf8(text);
  }
  std::string literal(const CComVariant& value) const {
    return utf8(generator.VariantToLiteral(value));
  }
  /// Returns the two lists of an INSERT, separated by "| ".
  std::string insertLists(bool addCode, const TyFieldValues& fields, long code) const {
    CComBSTR columns;
    CComBSTR values;
    generator.BuildInsertLists({{{u"U_Key", u"k"}}, fields}, u"@T", addCode, columns, values, code);
    return utf8(columns) + "| " + utf8(values);
  }
  void setKeys(const std::vector<CComBSTR>& keys) { param.SetKeyFields(&keys); }
  void setFields(const std::vector<CComBSTR>& fields) { param.SetFields(&fields); }
  void setPrefetch(const TyFieldValues& fields) { param.SetPrefetchFields(&fields); }
  void setLinks(std::vector<CQXLinkTableCriteria> links) {
    param.SetLinkTableCriterias(shared(std::move(links)));
  }

  CComPtr<ScriptedCompany> company = makeScriptedCompany();
  Persistence::CQXSQLGenerator_MSSQL generator;
  Persistence::TyLoadParameter_WithPrefetchKeys param;
};

}  // namespace qx::test
