// Rows with null in a column of their key. A null reads as the empty value of its column, so the
// key that a proxy builds from the row contains that value, which no row of the database has.

#include "qxframework/automation/text.h"
#include "tests/media/company_fixture.h"

#include <gmock/gmock.h>

namespace {

using Persistence::co_Equal;
using qx::test::Columns;
using qx::test::failureOf;
using qx::test::Record;
using qx::test::Rows;
using qx::test::values;
using testing::ElementsAre;

constexpr char kNoRow[] = "No record was found with the given conditions";

struct NullKey {
  const OLECHAR* column;
  CComVariant empty;  ///< the value as which null is read
};

class NullKeys : public qx::test::CompanyFixture {
 protected:
  /// Adds one row in which all columns but U_No are null.
  NullKeys() { add(u"@ORDERS", Record{{u"U_No", u"A"}}); }

  static std::vector<NullKey> keys() {
    return {{u"U_Who", u""}, {u"U_Total", 0.0}, {u"U_Count", 0L}};
  }
  static void load(Rows& rows, const OLECHAR* key, bool keysOnly) {
    rows.SetKeysOnly(keysOnly);
    rows.SetFields({u"U_No", u"U_Who", u"U_Day", u"U_Total", u"U_Count"});
    rows.Load({key}, {});
  }
  /// Returns the one row, or the number of rows if it is not one.
  std::string row() const {
    Rows rows(company(), u"@ORDERS");
    rows.SetFields({u"U_No", u"U_Who", u"U_Day", u"U_Total", u"U_Count"});
    rows.Load({u"Code"}, {});
    const auto all = rows.all();
    return all.size() == 1 ? all.front() : std::to_string(all.size()) + " rows";
  }
};

constexpr char kRow[] = "A||1899-12-30 00:00:00|0|0";

TEST_F(NullKeys, AreReadAndFoundByTheEmptyValueInWholeRows) {
  for (const NullKey& key : keys()) {
    Rows rows(company(), u"@ORDERS");
    load(rows, key.column, false);
    Record record;
    EXPECT_EQ(rows.First(record), 0);
    EXPECT_EQ(record.text(), kRow);
    EXPECT_TRUE(rows.Find(values({{key.column, key.empty}}), record)) << qx::toUtf8(key.column);
    record = {};
    rows.GetByKey(values({{key.column, key.empty}}), record);
    EXPECT_EQ(record.text(), kRow);
    record = {};
    rows.Refresh(record);
    EXPECT_EQ(record.text(), kRow);
  }
}

TEST_F(NullKeys, DoNotExistInTheDatabase) {
  for (const NullKey& key : keys()) {
    for (const bool keysOnly : {false, true}) {
      Rows rows(company(), u"@ORDERS");
      load(rows, key.column, keysOnly);
      EXPECT_FALSE(rows.Exists(values({{key.column, key.empty}}))) << qx::toUtf8(key.column);
    }
  }
}

TEST_F(NullKeys, UpdateAndRemoveNothingWithoutAFailureInWholeRows) {
  for (const NullKey& key : keys()) {
    Rows rows(company(), u"@ORDERS");
    load(rows, key.column, false);
    const auto emptyKey = values({{key.column, key.empty}});
    EXPECT_EQ(failureOf([&] {
                rows.Update(emptyKey, Record{{u"U_No", u"changed"}});
              }),
              "no failure");
    EXPECT_EQ(failureOf([&] { rows.Remove(emptyKey); }), "no failure");
    EXPECT_EQ(failureOf([&] { rows.RemoveRange(emptyKey, {}); }), "no failure");
    EXPECT_EQ(row(), kRow);
  }
}

TEST_F(NullKeys, AreRefusedByStepsAndNotFoundWithKeysOnly) {
  for (const NullKey& key : keys()) {
    Rows rows(company(), u"@ORDERS");
    load(rows, key.column, true);
    const auto emptyKey = values({{key.column, key.empty}});
    Record record{{u"kept", u"kept"}};
    EXPECT_EQ(rows.GetRecordCount(), 1);
    EXPECT_EQ(failureOf([&] { rows.First(record); }), kNoRow) << qx::toUtf8(key.column);
    EXPECT_EQ(failureOf([&] { rows.Last(record); }), kNoRow);
    EXPECT_EQ(failureOf([&] { rows.GetByKey(emptyKey, record); }), kNoRow);
    EXPECT_FALSE(rows.Find(emptyKey, record));
    EXPECT_EQ(failureOf([&] { rows.Refresh(record); }), kNoRow);
    EXPECT_EQ(failureOf([&] {
                rows.Update(emptyKey, Record{{u"U_No", u"changed"}});
              }),
              "Record not found in record set");
    EXPECT_EQ(failureOf([&] { rows.Remove(emptyKey); }), "Record not found in record set");
    EXPECT_EQ(record.text(), "kept");
    EXPECT_EQ(row(), kRow);
  }
}

// A null date reads as 1899-12-30, but a key with a date never matches in the cursor.
TEST_F(NullKeys, AreFoundByTheTextOfTheNullDateOnlyIfTheyAreDates) {
  Rows rows(company(), u"@ORDERS");
  load(rows, u"U_Day", false);
  Record record;
  const auto asText = values(
      {{u"U_Day",
        CComVariant(
            qx::toUtf16(byDialect("18991230", "18991230", "1899-12-30 00:00:00")).c_str())}});
  EXPECT_TRUE(rows.Find(asText, record));
  EXPECT_EQ(record.text(), kRow);
  EXPECT_FALSE(rows.Find(values({{u"U_Day", CComVariant(0.0, VT_DATE)}}), record));
  EXPECT_FALSE(rows.Exists(values({{u"U_Day", CComVariant(0.0, VT_DATE)}})));
  Rows byKey(company(), u"@ORDERS");
  load(byKey, u"U_Day", true);
  EXPECT_EQ(failureOf([&] { byKey.First(record); }), kNoRow);
}

TEST_F(NullKeys, HaveTheSameEffectInOneOfSeveralColumns) {
  Rows rows(company(), u"@ORDERS");
  rows.SetKeysOnly(true);
  rows.Load({u"U_No", u"U_Who"}, {});
  Record record;
  EXPECT_EQ(failureOf([&] { rows.First(record); }), kNoRow);
  EXPECT_FALSE(rows.Exists(values({{u"U_No", u"A"}, {u"U_Who", u""}})));
  Rows whole(company(), u"@ORDERS");
  whole.Load({u"U_No", u"U_Who"}, {});
  whole.Update(values({{u"U_No", u"A"}, {u"U_Who", u""}}), Record{{u"U_Count", 7L}});
  EXPECT_EQ(row(), kRow);
}

}  // namespace
