// A collection over the record cache, on each medium.

#include "qxframework/cache/cached_collection.h"

#include "qxframework/automation/text.h"
#include "qxframework/query/sort_field.h"
#include "tests/media/company_fixture.h"

#include <gmock/gmock.h>

namespace {

using namespace Persistence;
using namespace qx::test;
using testing::ElementsAre;
using testing::IsEmpty;

class CachedRows final : public CQXPersistentCollection_CacheBased {
 public:
  void MapToContainer(const TyFieldValues& row, CQXValueContainer& container) override {
    dynamic_cast<Record&>(container).row = row;
  }
  void ContainerToMap(const CQXValueContainer& container, TyFieldValues& row) override {
    row = dynamic_cast<const Record&>(container).row;
  }
  /// Returns all rows, one text each, read by First and Next.
  std::vector<std::string> all() {
    std::vector<std::string> texts;
    Record each;
    for (long row = First(each); row == 0; row = Next(each)) texts.push_back(each.text());
    return texts;
  }
};

class CachedCollection : public CompanyFixture {
 protected:
  CachedCollection() {
    addOrder(u"A", u"Ann", dateValue(2024, 1, 31), 12.5, 3);
    addOrder(u"B", u"O'Brien", dateValue(2024, 2, 1), -0.25, 2);
    addOrder(u"C", u"Cid", dateValue(2023, 12, 31), 1234.5, 2);
    addOrder(u"D", u"Cid", dateValue(2024, 1, 31), 1, 1);
    setUp(rows);
  }
  // The caches outlive the test and would keep its company.
  ~CachedCollection() override { CDBRecordCache::ClearAllCaches(false, true); }

  /// Connects a collection to the orders and lets it load them all.
  void setUp(CachedRows& collection) {
    collection.Connect(cached.company(), u"@ORDERS", true, nullptr);
    setKeys(collection, {u"U_No"});
    setFields(collection, {u"U_No", u"U_Who", u"U_Count"});
    collection.GetLoadParameter()->SetPrefetchBehavior(pb_AllRows, nullptr, 0);
  }
  static void setKeys(CachedRows& collection, const std::vector<CComBSTR>& keys) {
    collection.GetLoadParameter()->SetKeyFields(&keys);
  }
  static void setFields(CachedRows& collection, const std::vector<CComBSTR>& fields) {
    collection.GetLoadParameter()->SetFields(&fields);
  }
  /// Loads the rows of a customer, reads ahead from there and returns the rows.
  std::vector<std::string> from(const OLECHAR* who, long count) {
    const TyFieldValues start{{u"U_Who", who}};
    rows.GetLoadParameter()->SetPrefetchBehavior(pb_FirstRowsFrom, &start, count);
    rows.Load();
    return rows.all();
  }
  /// Sets U_Count of the order B to 9 through another connection.
  void raiseCountOfB() const {
    login->query(
        qx::toUtf16(byDialect("UPDATE [@ORDERS] SET U_Count = 9 WHERE U_No = 'B'",
                              "UPDATE @ORDERS SET U_Count = 9 WHERE U_No = 'B'",
                              R"(UPDATE "@ORDERS" SET "U_Count" = 9 WHERE "U_No" = 'B')")));
  }
  /// Returns the orders that another connection sees, with their codes.
  std::vector<std::string> inDatabase() const {
    Rows other(company(), u"@ORDERS");
    other.SetFields({u"Code", u"U_No", u"U_Who", u"U_Count"});
    other.Load({u"U_No"}, {});
    return other.all();
  }

  Login cached{database, "&accept=brackets"};
  CachedRows rows;
  Record record;
};

TEST_F(CachedCollection, StepsThroughTheRowsInTheOrderOfTheirKeys) {
  EXPECT_THAT(rows.all(), ElementsAre("A|Ann|3", "B|O'Brien|2", "C|Cid|2", "D|Cid|1"));
  EXPECT_EQ(rows.Last(record), 0);
  EXPECT_EQ(rows.Previous(record), 0);
  EXPECT_EQ(record.text(), "C|Cid|2");
  EXPECT_EQ(rows.GetRecordCount(), 4);
}

TEST_F(CachedCollection, ReadsKeysFirstAndThenRowByRow) {
  rows.SetKeysOnly(true);
  EXPECT_EQ(rows.First(record), 0);
  EXPECT_EQ(record.text(), "A|Ann|3");
  raiseCountOfB();
  EXPECT_EQ(rows.Next(record), 0);
  EXPECT_EQ(record.text(), "B|O'Brien|9");
}

TEST_F(CachedCollection, LoadsAllRowsOfAStartKeyAndReadsAhead) {
  EXPECT_THAT(from(u"Cid", 1), ElementsAre("C|Cid|2", "D|Cid|1"));
  EXPECT_THAT(from(u"Cid", 3), ElementsAre("C|Cid|2", "D|Cid|1"));
  raiseCountOfB();
  // The third row was of this key, so the load is answered from memory.
  EXPECT_THAT(from(u"O'Brien", 3), ElementsAre("B|O'Brien|2"));
  EXPECT_THAT(from(u"B", 3), IsEmpty());
  EXPECT_THAT(from(u"O'Brien", 3), ElementsAre("B|O'Brien|9"));
}

TEST_F(CachedCollection, WritesReachTheDatabaseWithTheNextReadOfIt) {
  rows.Load();
  rows.Add(Record{{u"U_No", u"E"}, {u"U_Who", u"it's"}, {u"U_Count", 5}});
  rows.Update(values({{u"U_No", u"A"}}), Record{{u"U_Who", u"Zoe"}, {u"U_Count", 6}});
  rows.Remove(values({{u"U_No", u"B"}}));
  rows.RemoveByFieldValues(values({{u"U_Who", u"Cid"}, {u"U_Count", 1}}));
  EXPECT_THAT(inDatabase(), ElementsAre("00000000|A|Ann|3", "00000001|B|O'Brien|2",
                                        "00000002|C|Cid|2", "00000003|D|Cid|1"));
  EXPECT_TRUE(rows.Exists(values({{u"U_No", u"E"}})));
  EXPECT_FALSE(rows.Exists(values({{u"U_No", u"B"}})));
  EXPECT_THAT(inDatabase(),
              ElementsAre("00000000|A|Zoe|6", "00000002|C|Cid|2", "00000004|E|it's|5"));
  rows.Load();
  EXPECT_THAT(rows.all(), ElementsAre("A|Zoe|6", "C|Cid|2", "E|it's|5"));
}

TEST_F(CachedCollection, FindsRowsByIndexes) {
  setFields(rows, {u"U_No", u"U_Who", u"U_Count", u"U_Day"});
  rows.AddIndex(u"who", {u"U_Who"});
  rows.AddIndex(u"day", {u"U_Day", u"U_Count"});
  std::vector<qx_ptr<TyRow>> found;
  rows.GetRowsByIndex(found, u"who", values({{u"U_Who", u"Cid"}}));
  EXPECT_EQ(found.size(), 2u);
  EXPECT_TRUE(rows.FindInIndex(
      u"day", values({{u"U_Day", dateValue(2024, 1, 31)}, {u"U_Count", 1}}), &record));
  EXPECT_EQ(record.text(), "D|Cid|1|2024-01-31 00:00:00");
  EXPECT_FALSE(rows.FindInIndex(
      u"day", values({{u"U_Day", dateValue(2024, 1, 31)}, {u"U_Count", 2}}), &record));
}

TEST_F(CachedCollection, FindsARowByAKeyWithADate) {
  setKeys(rows, {u"U_Day", u"U_Who"});
  setFields(rows, {u"U_No"});
  TyFieldValues key = values({{u"U_Day", dateValue(2024, 1, 31)}, {u"U_Who", u"Cid"}});
  EXPECT_TRUE(rows.ExistsInCache(key));
  EXPECT_TRUE(rows.FindByKey(key, &record));
  EXPECT_EQ(record.text(), "D");
  EXPECT_TRUE(rows.Exists(key));
  EXPECT_FALSE(rows.Exists(values({{u"U_Day", dateValue(2024, 1, 31)}, {u"U_Who", u"x"}})));
}

TEST_F(CachedCollection, TwoRowsOfOneKeyAreRefusedWhenTheyAreReadByIt) {
  setKeys(rows, {u"U_Who"});
  rows.SetKeysOnly(true);
  EXPECT_EQ(rows.First(record), 0);
  EXPECT_EQ(record.text(), "A|Ann|3");
  EXPECT_EQ(failureOf([this] { rows.Next(record); }),
            "Invalid key: found duplicate record based on one key");
}

TEST_F(CachedCollection, NamesTheValuesByTheCorrelationIfFieldsAreListed) {
  rows.SetCorrelationName(u"T0");
  rows.First(record);
  EXPECT_EQ(record.named(), "T0.U_No=A|T0.U_Who=Ann|T0.U_Count=3");
}

}  // namespace
