#pragma once

// Short ways to write the parts of a query in a test, and to show what a query holds.

#include "qxframework/automation/text.h"
#include "qxframework/query/condition.h"
#include "qxframework/query/field_values.h"
#include "qxframework/query/persistence_exception.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace qx::test {

inline std::string utf8(const CComBSTR& text) { return toUtf8(text.View()); }
inline std::string utf8(const CComVariant& value) {
  return value.vt == VT_BSTR ? toUtf8(viewOfBstr(value.bstrVal)) : "not a text";
}

/// 31 January 2024.
inline CComVariant someDate() { return CComVariant(45322.0, VT_DATE); }

struct Tested {
  const OLECHAR* column;
  Persistence::HvConditionOperation operation;
  const OLECHAR* value;
  const OLECHAR* tag = u"VT_BSTR";
  Persistence::HvConditionRelationship relationship = Persistence::cr_And;
  long open = 0;
  long close = 0;
};

inline qx_ptr<Persistence::CConditions> conditions(const std::vector<Tested>& list) {
  auto made = Persistence::CConditions::CreateNewInstance();
  for (const Tested& each : list) {
    Persistence::CCondition* const condition = made->Add();
    condition->PutAlias(each.column);
    condition->PutOperation(each.operation);
    condition->PutCondVal(each.value);
    condition->PutComparedAlias(each.tag);
    condition->PutRelationship(each.relationship);
    condition->PutBracketOpenNum(each.open);
    condition->PutBracketCloseNum(each.close);
  }
  return made;
}

inline qx_ptr<Persistence::CConditions> codeIs(const OLECHAR* value) {
  return conditions({{u"Code", Persistence::co_Equal, value}});
}

inline Persistence::TyFieldValues values(
    const std::vector<std::pair<const OLECHAR*, CComVariant>>& list) {
  Persistence::TyFieldValues made;
  for (const auto& [name, value] : list) made.Add(name, value);
  return made;
}

/// Returns conditions as "alias|operation|relationship|tag|value", separated by "; ".
inline std::string shown(const qx_ptr<Persistence::CConditions>& list) {
  if (list.get() == nullptr) return "null";
  std::string text;
  for (long i = 0; i < list->GetCount(); ++i) {
    const Persistence::CCondition& each = *list->Item(i);
    if (i > 0) text += "; ";
    text += toUtf8(viewOf(each.GetAlias())) + "|" + std::to_string(each.GetOperation()) + "|" +
            std::to_string(each.GetRelationship()) + "|" + toUtf8(viewOf(each.GetComparedAlias())) +
            "|" + toUtf8(viewOfBstr(each.GetCondVal()));
  }
  return text;
}

/// Returns "code: text" of the refusal of `work`; an empty text if it succeeds.
template <class Work>
std::string refusalOf(Work work) {
  try {
    work();
    return {};
  } catch (const Persistence::CQXPersistenceException& refusal) {
    return std::to_string(refusal.GetErrorCode()) + ": " + toUtf8(viewOf(refusal.GetErrorString()));
  }
}

}  // namespace qx::test
