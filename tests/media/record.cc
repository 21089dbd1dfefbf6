#include "tests/media/record.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/ole_date_time.h"
#include "qxframework/automation/text.h"
#include "qxframework/query/persistence_exception.h"

#include <array>
#include <charconv>
#include <cstdio>

namespace qx::test {
namespace {

using Persistence::CQXValueContainer;
using Persistence::TyFieldValues;

std::string dateText(DATE date) {
  const auto time = civilFromDate(date);
  if (!time) return "no date";
  std::array<char, 40> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d", time->year, time->month,
                time->day, time->hour, time->minute, time->second);
  return text.data();
}

std::string numberText(double number) {
  std::array<char, 40> text{};
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

void readInto(const TyFieldValues& from, CQXValueContainer& container) {
  dynamic_cast<Record&>(container).row = from;
}

void addTo(const CQXValueContainer& container, TyFieldValues& to) {
  const TyFieldValues& from = dynamic_cast<const Record&>(container).row;
  for (long i = 0; i < from.GetCount(); ++i) {
    if (to.contains(from.keyAt(i))) {
      to.SetValue(from.keyAt(i), from.valueAt(i));
    } else {
      to.Add(from.keyAt(i), from.valueAt(i));
    }
  }
}

}  // namespace

TyFieldValues values(std::initializer_list<std::pair<const OLECHAR*, CComVariant>> fields) {
  TyFieldValues result;
  for (const auto& [name, value] : fields) result.Add(name, value);
  return result;
}

CComVariant dateValue(int year, int month, int day, int hour, int minute, int second) {
  return CComVariant(dateFromCivil({year, month, day, hour, minute, second}).value(), VT_DATE);
}

std::string cellText(const CComVariant& value) {
  switch (value.vt) {
    case VT_BSTR:
      return toUtf8(viewOfBstr(value.bstrVal));
    case VT_DATE:
      return dateText(value.date);
    case VT_R8:
      return numberText(value.dblVal);
    case VT_I4:
      return std::to_string(value.lVal);
    default:
      return "kind " + std::to_string(value.vt);
  }
}

std::string Record::text() const {
  std::string text;
  for (long i = 0; i < row.GetCount(); ++i) text += (i == 0 ? "" : "|") + cellText(row.valueAt(i));
  return text;
}

std::string Record::named() const {
  std::string text;
  for (long i = 0; i < row.GetCount(); ++i) {
    text += (i == 0 ? "" : "|") + toUtf8(row.keyAt(i).View()) + "=" + cellText(row.valueAt(i));
  }
  return text;
}

std::string Record::of(std::u16string_view name) const {
  for (long i = 0; i < row.GetCount(); ++i)
    if (equalsIgnoreCase(row.keyAt(i).View(), name)) return cellText(row.valueAt(i));
  return "no such column";
}

Rows::Rows(const CComPtr<ICompany>& company, const OLECHAR* table) {
  Connect(company, table, *table == u'@');
  SetKeysOnly(false);
}

void Rows::MapToContainer(const TyFieldValues& row, CQXValueContainer& container) {
  readInto(row, container);
}

void Rows::ContainerToMap(const CQXValueContainer& container, TyFieldValues& row) {
  addTo(container, row);
}

std::vector<std::string> Rows::all() {
  std::vector<std::string> texts;
  Record record;
  for (long at = First(record); at == 0; at = Next(record)) texts.push_back(record.text());
  return texts;
}

std::vector<std::string> Rows::allBackwards() {
  std::vector<std::string> texts;
  Record record;
  for (long at = Last(record); at == 0 && !Bof(); at = Previous(record)) {
    texts.push_back(record.text());
    // A test must end even if Bof() is never true.
    if (texts.size() == static_cast<std::size_t>(GetRecordCount())) break;
  }
  return texts;
}

void OneRow::MapToContainer(const TyFieldValues& row, CQXValueContainer& container) {
  readInto(row, container);
}

void OneRow::ContainerToMap(const CQXValueContainer& container, TyFieldValues& row) {
  addTo(container, row);
}

Conditions& Conditions::add(const OLECHAR* column, Persistence::HvConditionOperation operation,
                            const OLECHAR* value, const OLECHAR* kind) {
  last_ = list_->Add();
  last_->PutAlias(column);
  last_->PutOperation(operation);
  last_->PutRelationship(Persistence::cr_And);
  last_->PutCondVal(value);
  last_->PutComparedAlias(kind);
  return *this;
}

Conditions& Conditions::orElse() {
  last_->PutRelationship(Persistence::cr_Or);
  return *this;
}

Conditions& Conditions::brackets(long open, long close) {
  last_->PutBracketOpenNum(open);
  last_->PutBracketCloseNum(close);
  return *this;
}

std::string failureText() {
  try {
    throw;
  } catch (const Persistence::CQXPersistenceException& failure) {
    const std::string text = toUtf8(viewOf(failure.GetErrorString()));
    if (failure.GetErrorCode() == -1) return text;
    return std::to_string(failure.GetErrorCode()) + ": " + text;
  } catch (const _com_error& failure) {
    return "_com_error " + std::to_string(failure.Error());
  }
}

}  // namespace qx::test
