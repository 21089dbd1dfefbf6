#pragma once

// The records and proxies of the persistence tests. A record is any row: its values as they came or
// as they are to be written, so that one class serves every table and join.

#include "qxframework/host/company.h"
#include "qxframework/persistence/collection_proxy.h"
#include "qxframework/persistence/object_proxy.h"
#include "qxframework/query/field_values.h"
#include "qxframework/query/value_container.h"

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

namespace qx::test {

using Columns = std::vector<const OLECHAR*>;

/// {{u"Code", u"1"}, {u"U_Total", 12.5}}
Persistence::TyFieldValues values(
    std::initializer_list<std::pair<const OLECHAR*, CComVariant>> fields);
CComVariant dateValue(int year, int month, int day, int hour = 0, int minute = 0, int second = 0);

/// A date as "YYYY-MM-DD HH:MM:SS", a number with all its digits and a point.
std::string cellText(const CComVariant& value);

struct Record final : Persistence::CQXValueContainer {
  Record() = default;
  explicit Record(Persistence::TyFieldValues fields) : row(std::move(fields)) {}
  Record(std::initializer_list<std::pair<const OLECHAR*, CComVariant>> fields)
      : row(values(fields)) {}

  /// The cells joined by "|".
  std::string text() const;
  /// "Name=cell" for each, joined by "|".
  std::string named() const;
  /// The cell of a name, in any case of its letters.
  std::string of(std::u16string_view name) const;

  Persistence::TyFieldValues row;
};

class Rows final : public Persistence::CQXPersistentCollectionProxy {
 public:
  Rows() = default;
  /// Connected, and with everything selected.
  Rows(const CComPtr<ICompany>& company, const OLECHAR* table);
  void MapToContainer(const Persistence::TyFieldValues& row,
                      Persistence::CQXValueContainer& container) override;
  void ContainerToMap(const Persistence::CQXValueContainer& container,
                      Persistence::TyFieldValues& row) override;
  /// All rows by First and Next, one text each.
  std::vector<std::string> all();
  std::vector<std::string> allBackwards();
};

class OneRow final : public Persistence::CQXPersistentObjectProxy {
 public:
  void MapToContainer(const Persistence::TyFieldValues& row,
                      Persistence::CQXValueContainer& container) override;
  void ContainerToMap(const Persistence::CQXValueContainer& container,
                      Persistence::TyFieldValues& row) override;
  using CQXPersistentObjectProxy::Connect;
  using CQXPersistentObjectProxy::GetByKey;
  using CQXPersistentObjectProxy::GetConditionsFromKeyFields;
  using CQXPersistentObjectProxy::Load;
};

/// Collects conditions; each is joined by AND unless told otherwise.
class Conditions {
 public:
  Conditions& add(const OLECHAR* column, Persistence::HvConditionOperation operation,
                  const OLECHAR* value, const OLECHAR* kind = u"VT_BSTR");
  /// Of the last one.
  Conditions& orElse();
  Conditions& brackets(long open, long close);
  qx_ptr<Persistence::CConditions> get() const { return list_; }

 private:
  qx_ptr<Persistence::CConditions> list_ = Persistence::CConditions::CreateNewInstance();
  Persistence::CCondition* last_ = nullptr;
};

/// The text of the CQXPersistenceException that `work` must raise, "code: text" where the code is
/// not -1; "no failure" if it raises none, "_com_error" and the code for one of those.
template <class Work>
std::string failureOf(Work work);

std::string failureText();

template <class Work>
std::string failureOf(Work work) {
  try {
    work();
    return "no failure";
  } catch (...) {
    return failureText();
  }
}

}  // namespace qx::test
