#pragma once

// The records and proxies of the persistence tests. A record holds any row, as it was read or as it
// will be written, so one class serves every table and join.

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

/// Builds a list of values: values({{u"Code", u"1"}, {u"U_Total", 12.5}}).
Persistence::TyFieldValues values(
    std::initializer_list<std::pair<const OLECHAR*, CComVariant>> fields);
CComVariant dateValue(int year, int month, int day, int hour = 0, int minute = 0, int second = 0);

/// Returns a cell as text: a date as "YYYY-MM-DD HH:MM:SS", a number with all its digits and a
/// point.
std::string cellText(const CComVariant& value);

struct Record final : Persistence::CQXValueContainer {
  Record() = default;
  explicit Record(Persistence::TyFieldValues fields) : row(std::move(fields)) {}
  Record(std::initializer_list<std::pair<const OLECHAR*, CComVariant>> fields)
      : row(values(fields)) {}

  /// Returns the cells joined by "|".
  std::string text() const;
  /// Returns "Name=cell" for each cell, joined by "|".
  std::string named() const;
  /// Returns the cell of a column, whose name is compared without regard to case; "no such column"
  /// if there is none.
  std::string of(std::u16string_view name) const;

  Persistence::TyFieldValues row;
};

class Rows final : public Persistence::CQXPersistentCollectionProxy {
 public:
  Rows() = default;
  /// Connects to the table and selects whole rows.
  Rows(const CComPtr<ICompany>& company, const OLECHAR* table);
  void MapToContainer(const Persistence::TyFieldValues& row,
                      Persistence::CQXValueContainer& container) override;
  void ContainerToMap(const Persistence::CQXValueContainer& container,
                      Persistence::TyFieldValues& row) override;
  /// Returns all rows, one text each, read by First and Next.
  std::vector<std::string> all();
  /// Returns all rows from the last to the first, read by Last and Previous.
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

/// Builds a list of conditions, joined by AND unless orElse() follows.
class Conditions {
 public:
  Conditions& add(const OLECHAR* column, Persistence::HvConditionOperation operation,
                  const OLECHAR* value, const OLECHAR* kind = u"VT_BSTR");
  /// Joins the last condition to the one before it by OR.
  Conditions& orElse();
  /// Sets the number of brackets around the last condition.
  Conditions& brackets(long open, long close);
  qx_ptr<Persistence::CConditions> get() const { return list_; }

 private:
  qx_ptr<Persistence::CConditions> list_ = Persistence::CConditions::CreateNewInstance();
  Persistence::CCondition* last_ = nullptr;
};

/// Runs `work` and returns how it fails: the text of a CQXPersistenceException, as "code: text"
/// unless the code is -1, or "_com_error" and the code of a _com_error. Returns "no failure" if
/// nothing is thrown. Other exceptions pass through.
template <class Work>
std::string failureOf(Work work);

/// Returns the text of failureOf() for the exception that is being handled.
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
