#pragma once

// The record cache over a scripted company, with a clock that the test sets.

#include "qxframework/cache/db_record_cache.h"
#include "qxframework/os/clock.h"
#include "qxframework/query/testing/query_parts.h"
#include "testing/recording_logger.h"
#include "testing/scripted_company.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

namespace qx::test {

using Persistence::CDBRecordCache;
using Persistence::TyFieldValues;
using Persistence::TyRow;
using Persistence::TyRowsByKey;
using Param = Persistence::TyLoadParameter_WithPrefetchKeys;

inline std::string shown(CComVariant value) {
  return value.ChangeType(VT_BSTR) < 0 ? "?" : toUtf8(viewOfBstr(value.bstrVal));
}
/// Returns "Code=A U_N=1".
inline std::string shown(const TyFieldValues& values) {
  std::string text;
  for (long i = 0; i < values.GetCount(); ++i) {
    if (i > 0) text += " ";
    text += utf8(values.keyAt(i)) + "=" + shown(values.valueAt(i));
  }
  return text;
}
/// Returns the key and the other fields of the row, "null" for none.
inline std::string shown(const qx_ptr<TyRow>& row) {
  return row == nullptr ? "null" : shown(row->m_KeyFields) + " | " + shown(row->m_Fields);
}
inline std::vector<std::string> shown(const TyRowsByKey& rows) {
  std::vector<std::string> texts;
  for (const auto& [key, row] : rows) texts.push_back(shown(row));
  return texts;
}
inline std::vector<std::string> shown(const qx_ptr<Persistence::TyVector_KeyCollection>& keys) {
  if (keys == nullptr) return {"null"};
  std::vector<std::string> texts;
  for (const TyFieldValues& key : *keys) texts.push_back(shown(key));
  return texts;
}

inline TyFieldValues code(const OLECHAR* value) { return values({{u"Code", value}}); }
inline TyFieldValues group(const CComVariant& value) { return values({{u"U_G", value}}); }

/// A row of @T as it is written: with its key, its group and a number.
inline TyRow rowOf(const OLECHAR* codeOfRow, int groupOfRow, int number) {
  return {code(codeOfRow), values({{u"Code", codeOfRow}, {u"U_G", groupOfRow}, {u"U_N", number}})};
}

/// The statements of the tests, for a load of all rows and one of three rows from a start key.
inline constexpr char kSelectAll[] =
    "SELECT [Code] AS N'__kf__.Code', *\r\nFROM [@T]\r\nORDER BY [Code] ASC\r\n";
inline std::string selectFrom(int group) {
  return "WITH [__tempCTE*&^()132] AS \r\n(\r\nSELECT top 3 WITH TIES [Code] AS N'__kf__.Code', "
         "[U_G] AS N'__pff__.U_G', * \r\nFROM [@T]\r\nWHERE ([U_G] >= " +
         std::to_string(group) +
         ")\r\nORDER BY [U_G] ASC\r\n)\r\n\r\nSELECT * \r\nFROM [__tempCTE*&^()132] \r\n"
         "ORDER BY [__pff__.U_G] ASC,[__kf__.Code] ASC";
}

class CacheFixture : public testing::Test {
 protected:
  CacheFixture() { CDBRecordCache::ResetCounters(); }
  ~CacheFixture() override { CDBRecordCache::ClearAllCaches(false, true); }

  CComPtr<ICompany> host() const { return CComPtr<ICompany>(company.p); }
  qx_ptr<CDBRecordCache> cache(const OLECHAR* table = u"@T") const {
    return CDBRecordCache::GetInstance(host(), table);
  }
  void wait(long seconds) { clock.advance(std::chrono::seconds(seconds)); }
  /// Returns a new parameter that was made in a second of its own, so that its content counts when
  /// it is compared.
  qx_ptr<Param> param(Persistence::_TyPrefetchBehavior behavior = Persistence::pb_AllRows,
                      const TyFieldValues& start = {}, const OLECHAR* table = u"@T") {
    wait(1);
    qx_ptr<Param> made(new Param, true);
    const std::vector<CComBSTR> keys{u"Code"};
    made->SetKeyFields(&keys);
    made->SetMajorTable(table);
    made->SetPrefetchBehavior(behavior, &start, 3);
    wait(1);
    return made;
  }
  /// Returns a parameter for the rows of a group and of those that follow.
  qx_ptr<Param> from(int startGroup) {
    return param(Persistence::pb_FirstRowsFrom, group(startGroup));
  }
  /// Loads into `rows` and returns the number that the cache returns.
  int load(const qx_ptr<Param>& what) {
    rows.clear();
    return cache()->Load(what, rows);
  }
  /// Makes the company answer queries with rows of Code and number.
  void answerRows(const std::vector<std::pair<const OLECHAR*, int>>& list) {
    company->otherwise = {{u"__kf__.Code", u"Code", u"U_N"}, {}};
    for (const auto& [codeOfRow, number] : list)
      company->otherwise.rows.push_back({codeOfRow, codeOfRow, number});
  }
  struct Grouped {
    const OLECHAR* code;
    int group;
    int number;
  };
  /// Makes the company answer queries with rows that have a prefetch column.
  void answerGroups(const std::vector<Grouped>& list) {
    company->otherwise = {{u"__kf__.Code", u"__pff__.U_G", u"Code", u"U_G", u"U_N"}, {}};
    for (const Grouped& each : list)
      company->otherwise.rows.push_back(
          {each.code, each.group, each.code, each.group, each.number});
  }
  /// Returns the statements that reached the company since the last call.
  std::vector<std::string> statements() {
    std::vector<std::string> all = company->statements();
    const std::vector<std::string> fresh(all.begin() + static_cast<std::ptrdiff_t>(seen_),
                                         all.end());
    seen_ = all.size();
    return fresh;
  }

  ManualClock clock{std::chrono::sys_days(std::chrono::year{2026} / 3 / 1)};
  ScopedClock scopedClock{clock};
  RecordingLogger logger;
  CComPtr<ScriptedCompany> company = makeScriptedCompany();
  TyRowsByKey rows;

 private:
  std::size_t seen_ = 0;
};

}  // namespace qx::test
