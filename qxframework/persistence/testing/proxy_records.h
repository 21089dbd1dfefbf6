#pragma once

// The record of the proxies' tests, and the rows of its table.

#include "qxframework/query/field_values.h"
#include "qxframework/query/value_container.h"
#include "testing/scripted_company.h"

#include <string>
#include <utility>
#include <vector>

namespace qx::test {

struct Item : Persistence::CQXValueContainer {
  std::u16string code = {};
  std::u16string name = {};
};

inline std::u16string textIn(const Persistence::TyFieldValues& row, const OLECHAR* name) {
  const CComVariant value = row.GetValue(name);
  return value.vt == VT_BSTR ? std::u16string(viewOfBstr(value.bstrVal)) : u"(none)";
}

inline void fill(const Persistence::TyFieldValues& row, Persistence::CQXValueContainer& container) {
  auto& item = dynamic_cast<Item&>(container);
  item.code = textIn(row, u"Code");
  item.name = textIn(row, u"Name");
}

inline void write(const Persistence::CQXValueContainer& container,
                  Persistence::TyFieldValues& row) {
  const auto& item = dynamic_cast<const Item&>(container);
  row.Add(u"Code", std::u16string_view(item.code));
  row.Add(u"Name", std::u16string_view(item.name));
}

/// Returns rows with a code and a name.
inline ScriptedRows items(const std::vector<std::pair<const OLECHAR*, const OLECHAR*>>& list) {
  ScriptedRows rows{{u"Code", u"Name"}, {}};
  for (const auto& [code, name] : list) rows.rows.push_back({CComVariant(code), CComVariant(name)});
  return rows;
}

}  // namespace qx::test
