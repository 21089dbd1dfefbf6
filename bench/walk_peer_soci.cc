#include "bench/walk_peers.h"
#include "qxframework/automation/ole_date_time.h"
#include "qxframework/automation/text.h"

// SOCI declares SQLite's names in a namespace of its own, so this file must not include sqlite3.h.
#include "bench/measure.h"

#include <soci/soci.h>
#include <soci/sqlite3/soci-sqlite3.h>

namespace qx::bench {
namespace {

// The framework has dates as OLE dates, so a fair comparison includes their conversion.
CComVariant dateOf(const std::tm& date) {
  return CComVariant(*dateFromCivil({date.tm_year + 1900, date.tm_mon + 1, date.tm_mday,
                                     date.tm_hour, date.tm_min, date.tm_sec}),
                     VT_DATE);
}

// Passes the cell to `take` as the type that SOCI assigns to its column.
template <class Take>
void readCell(const soci::row& row, std::size_t column, Take&& take) {
  switch (row.get_properties(column).get_data_type()) {
    case soci::dt_string:
      return take(row.get<std::string>(column));
    case soci::dt_double:
      return take(row.get<double>(column));
    case soci::dt_integer:
      return take(row.get<int>(column));
    case soci::dt_date:
      return take(row.get<std::tm>(column));
    case soci::dt_long_long:
      return take(row.get<long long>(column));
    default:
      return take(row.get<unsigned long long>(column));
  }
}

template <class Value>
CComVariant variantOf(const Value& value) {
  if constexpr (std::is_same_v<Value, std::string>) {
    return CComVariant(std::u16string_view(toUtf16(value)));
  } else if constexpr (std::is_same_v<Value, std::tm>) {
    return dateOf(value);
  } else if constexpr (std::is_same_v<Value, double>) {
    return CComVariant(value);
  } else {
    return CComVariant(static_cast<long>(value));
  }
}

}  // namespace

long walkSoci(const std::string& file, const std::string& sql) {
  soci::session session(soci::sqlite3, file);
  const soci::rowset<soci::row> rows = session.prepare << sql;
  constexpr std::size_t kCount = 2;  // the place of U_Count in the SELECT
  long sum = 0;
  for (const soci::row& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      readCell(row, i, [](const auto& value) { keep(value); });
    }
    sum += row.get<int>(kCount);
  }
  return sum;
}

long walkSociIntoMap(const std::string& file, const std::string& sql) {
  soci::session session(soci::sqlite3, file);
  const soci::rowset<soci::row> rows = session.prepare << sql;
  std::vector<CComBSTR> names;
  long sum = 0;
  for (const soci::row& row : rows) {
    // Only in the first row: the names are the same for all.
    for (std::size_t i = names.size(); i < row.size(); ++i)
      names.emplace_back(toUtf16(row.get_properties(i).get_name()));
    Persistence::TyFieldValues values;
    for (std::size_t i = 0; i < row.size(); ++i) {
      readCell(row, i, [&](const auto& value) { values.Add(names[i], variantOf(value)); });
    }
    sum += small(values);
  }
  return sum;
}

}  // namespace qx::bench
