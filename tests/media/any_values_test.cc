// Random values on every medium: a value that was written is read back unchanged, and a condition
// or a key with the value finds its row. The seed is fixed per medium, so a failure repeats.

#include "qxframework/automation/text.h"
#include "qxframework/host/metadata.h"
#include "testing/cases.h"
#include "tests/media/company_fixture.h"
#include "tests/media/hostile_values.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace {

using Persistence::co_Equal;
using qx::test::asReadBack;
using qx::test::asWritten;
using qx::test::cases;
using qx::test::cellText;
using qx::test::Conditions;
using qx::test::failureOf;
using qx::test::HostileValues;
using qx::test::OneRow;
using qx::test::Record;
using qx::test::Rows;

// The numbers of the field types in IUserFieldsMD.
enum FieldKind : long { kText = 0, kMemo = 1, kWhole = 2, kDate = 3, kFloat = 4 };
constexpr long kMoney = 37;  // a sub-type of kFloat

struct Column {
  const OLECHAR* name;  // without the prefix "U_"
  FieldKind kind;
  long size = 0;
};

// Wide rows, because the time of a test depends on the number of statements: a row takes one or two
// of them for any number of columns.
constexpr std::array kColumns = {
    Column{u"T0", kText, 20},  Column{u"T1", kText, 30},  Column{u"T2", kText, 50},
    Column{u"T3", kText, 20},  Column{u"T4", kText, 30},  Column{u"T5", kText, 50},
    Column{u"M0", kMemo},      Column{u"M1", kMemo},      Column{u"F0", kFloat},
    Column{u"F1", kFloat},     Column{u"F2", kFloat},     Column{u"F3", kFloat},
    Column{u"F4", kFloat},     Column{u"F5", kFloat},     Column{u"F6", kFloat},
    Column{u"F7", kFloat},     Column{u"D0", kDate},      Column{u"D1", kDate},
    Column{u"D2", kDate},      Column{u"D3", kDate},      Column{u"D4", kDate},
    Column{u"D5", kDate},      Column{u"N0", kWhole, 11}, Column{u"N1", kWhole, 11},
    Column{u"N2", kWhole, 11}, Column{u"N3", kWhole, 11}, Column{u"N4", kWhole, 11},
    Column{u"N5", kWhole, 11}, Column{u"N6", kWhole, 11}, Column{u"N7", kWhole, 11}};

constexpr std::size_t kTextColumns = 8;  // U_T0 to U_T5, U_M0 and U_M1
constexpr std::size_t kRowsOfEdges = HostileValues::kEdgeTexts / kTextColumns + 1;
constexpr std::size_t kRowsPerUpdate = 8;
static_assert(kRowsOfEdges < kRowsPerUpdate, "no update may replace an edge value");

CComVariant drawValue(HostileValues& source, const Column& column) {
  constexpr std::size_t kMemoLength = 120;
  switch (column.kind) {
    case kText:
      return CComVariant(std::u16string_view(source.text(static_cast<std::size_t>(column.size))));
    case kMemo:
      return CComVariant(std::u16string_view(source.text(kMemoLength)));
    case kWhole:
      return CComVariant(source.wholeNumber());
    case kDate:
      return CComVariant(source.date(), VT_DATE);
    default:
      return CComVariant(source.amount());
  }
}

Record drawRecord(HostileValues& source) {
  Record record;
  for (const Column& column : kColumns)
    record.row.Add((std::u16string(u"U_") + column.name).c_str(), drawValue(source, column));
  return record;
}

/// Returns the value as a read returns it: a text with quotes for 0x7F, a number with the 15 digits
/// of its literal, a date without its time.
CComVariant expected(CComVariant value) {
  switch (value.vt) {
    case VT_BSTR:
      return CComVariant(
          std::u16string_view(asReadBack(std::u16string(qx::viewOfBstr(value.bstrVal)))));
    case VT_R8:
      return CComVariant(asReadBack(value.dblVal));
    case VT_DATE:
      return CComVariant(std::trunc(value.date), VT_DATE);
    default:
      return value;
  }
}

bool haveSameValue(const CComVariant& one, const CComVariant& other) {
  if (one.vt != other.vt) return false;
  return one.vt == VT_R8 ? one.dblVal == other.dblVal : cellText(one) == cellText(other);
}

class AnyValues : public qx::test::CompanyFixture {
 protected:
  AnyValues() {
    const CComQIPtr<IUserTablesMD> tables(company()->GetBusinessObject(qx::kUserTablesMD));
    tables->PutTableName(u"VALUES");
    EXPECT_EQ(tables->Add(), 0) << login->lastError();
    for (const Column& column : kColumns) addColumn(column);
  }
  void addColumn(const Column& column) {
    const CComQIPtr<IUserFieldsMD> fields(company()->GetBusinessObject(qx::kUserFieldsMD));
    fields->PutTableName(u"@VALUES");
    fields->PutName(column.name);
    fields->PutType(column.kind);
    if (column.kind == kFloat) fields->PutSubType(kMoney);
    if (column.size != 0) fields->PutSize(column.size);
    EXPECT_EQ(fields->Add(), 0) << login->lastError();
  }
  /// Adds a row; every kRowsPerUpdate-th row then gets new values by an update. Appends the final
  /// values to `written`.
  void write(Rows& rows) {
    Record record = drawRecord(source);
    EXPECT_EQ(failureOf([&] { rows.Add(record); }), "no failure") << record.named();
    const std::size_t number = written.size();
    if (number % kRowsPerUpdate == kRowsPerUpdate - 1) {
      record = drawRecord(source);
      EXPECT_EQ(failureOf([&] { update(number, record); }), "no failure") << record.named();
    }
    written.push_back(record);
  }
  void update(std::size_t number, const Record& record) {
    OneRow row;
    row.Connect(company(), u"@VALUES", true);
    row.Load(Conditions().add(u"Code", co_Equal, codeOf(number).c_str()).get());
    row.Update(record);
  }
  void writeRows(std::size_t count) {
    company()->StartTransaction();
    Rows rows(company(), u"@VALUES");
    while (written.size() < count && !HasFailure()) write(rows);
    company()->EndTransaction(et_Commit);
  }
  static std::u16string codeOf(std::size_t number) {
    std::array<char, 9> text{};
    std::snprintf(text.data(), text.size(), "%08X", static_cast<unsigned>(number));
    return qx::toUtf16(text.data());
  }
  /// Returns the number of rows with the code of row `number` and the value in the column `name`.
  long countRows(std::size_t number, const OLECHAR* name, const CComVariant& value) const {
    Rows rows(company(), u"@VALUES");
    rows.SetFields({u"Code"});
    Conditions conditions;
    conditions.add(u"Code", co_Equal, codeOf(number).c_str());
    addCondition(conditions, name, value);
    rows.Load({u"Code"}, conditions.get());
    return rows.GetRecordCount();
  }
  static void addCondition(Conditions& conditions, const OLECHAR* name, const CComVariant& value) {
    switch (value.vt) {
      case VT_R8:
        conditions.add(name, co_Equal, qx::toUtf16(asWritten(value.dblVal)).c_str(), u"VT_R8");
        return;
      case VT_DATE:
        conditions.add(name, co_Equal, qx::toUtf16(dayText(value)).c_str(), u"VT_DATE");
        return;
      case VT_BSTR:
        conditions.add(name, co_Equal, value.bstrVal);
        return;
      default:
        conditions.add(name, co_Equal, qx::toUtf16(cellText(value)).c_str(), u"");
    }
  }
  static std::string dayText(const CComVariant& value) {
    const std::string text = cellText(value);
    if (qx::test::medium().is(qx::kKordb)) return text;
    return text.substr(0, 4) + text.substr(5, 2) + text.substr(8, 2);
  }

  const std::uint32_t seed = qx::test::seedOfMedium();
  HostileValues source{seed};
  std::vector<Record> written;
};

// QX_TEST_CASES_FACTOR=20 writes 100,000 values. The edge values are in the first rows, which are
// written at any factor.
TEST_F(AnyValues, AreReadBackAsTheyWereWritten) {
  SCOPED_TRACE("seed " + std::to_string(seed));
  const std::size_t rowCount = std::max(cases(5'000) / kColumns.size() + 1, kRowsOfEdges);
  writeRows(rowCount);
  Rows rows(company(), u"@VALUES");
  rows.Load({u"Code"}, {});
  ASSERT_EQ(rows.GetRecordCount(), static_cast<long>(rowCount));
  Record record;
  long at = rows.First(record);
  for (const Record& row : written) {
    ASSERT_EQ(at, 0);
    for (long i = 0; i < row.row.GetCount(); ++i) {
      const CComVariant& value = record.row[row.row.keyAt(i)];
      ASSERT_TRUE(haveSameValue(value, expected(row.row.valueAt(i))))
          << row.named() << "\ncame back as\n"
          << record.named();
    }
    at = rows.Next(record);
  }
  EXPECT_EQ(at, 1) << "there are more rows than were written";
}

// QX_TEST_CASES_FACTOR=2 takes 40 rows.
TEST_F(AnyValues, FindTheirRowByAConditionOnOneColumn) {
  SCOPED_TRACE("seed " + std::to_string(seed));
  const std::size_t sample = std::max(cases(20), kRowsOfEdges);
  writeRows(sample);
  for (std::size_t i = 0; i < sample; ++i) {
    for (const OLECHAR* name : {u"U_T5", u"U_M0", u"U_F0", u"U_F1", u"U_D0", u"U_D1", u"U_N0"}) {
      const CComVariant value = expected(written[i].row[name]);
      EXPECT_EQ(countRows(i, name, value), 1) << qx::toUtf8(name) << " = " << cellText(value);
    }
  }
}

// QX_TEST_CASES_FACTOR=2 takes 60 rows.
TEST_F(AnyValues, ReadTheirRowsAsKeys) {
  SCOPED_TRACE("seed " + std::to_string(seed));
  const std::size_t sample = std::max(cases(30), kRowsOfEdges);
  writeRows(sample);
  Rows rows(company(), u"@VALUES");
  rows.SetKeysOnly(true);
  rows.Load({u"U_T5", u"U_M0", u"U_F0", u"U_F1", u"U_D0", u"U_N0"}, {});
  Record record;
  std::size_t rowsRead = 0;
  for (long at = rows.First(record); at == 0; at = rows.Next(record)) ++rowsRead;
  EXPECT_EQ(rowsRead, sample);
}

}  // namespace
