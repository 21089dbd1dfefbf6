// Reading rows through the proxies: steps in both directions, searches, sorting, limits and nulls.

#include "qxframework/foundation/currency.h"
#include "qxframework/query/persistence_exception.h"
#include "qxframework/query/sort_field.h"
#include "tests/media/company_fixture.h"

#include <gmock/gmock.h>

namespace {

using Persistence::co_Equal;
using Persistence::co_Greater;
using Persistence::co_GreaterOrEqual;
using Persistence::co_Less;
using Persistence::co_LessOrEqual;
using Persistence::co_Like;
using Persistence::co_NotEqual;
using Persistence::CQXPersistenceSortField;
using Persistence::so_Ascending;
using Persistence::so_Descending;
using qx::test::Conditions;
using qx::test::dateValue;
using qx::test::failureOf;
using qx::test::Record;
using qx::test::Rows;
using qx::test::values;
using testing::ElementsAre;
using testing::IsEmpty;

class RecordReading : public qx::test::CompanyFixture {
 protected:
  RecordReading() {
    addOrder(u"A", u"Ann", dateValue(2024, 1, 31), 12.5, 3);
    addOrder(u"B", u"Ben", dateValue(2024, 2, 1), -0.25, 2);
    addOrder(u"C", u"O'Brien", dateValue(2023, 12, 31), 1234.5, 2);
  }
  /// Loads the orders in the order of Code, with the columns of kA, kB and kC.
  void load(Rows& orders, const qx_ptr<Persistence::CConditions>& conditions = {}) const {
    orders.SetFields({u"Code", u"U_No", u"U_Who", u"U_Day", u"U_Total", u"U_Count"});
    orders.Load({u"Code"}, conditions);
  }
  std::vector<std::string> numbers(const Conditions& conditions) const {
    Rows orders(company(), u"@ORDERS");
    orders.SetFields({u"U_No"});
    orders.Load({u"Code"}, conditions.get());
    return orders.all();
  }
};

constexpr char kA[] = "00000000|A|Ann|2024-01-31 00:00:00|12.5|3";
constexpr char kB[] = "00000001|B|Ben|2024-02-01 00:00:00|-0.25|2";
constexpr char kC[] = "00000002|C|O'Brien|2023-12-31 00:00:00|1234.5|2";

TEST_F(RecordReading, StepsForwardAndBackwardOverWholeRows) {
  Rows orders(company(), u"@ORDERS");
  load(orders);
  EXPECT_EQ(orders.GetRecordCount(), 3);
  EXPECT_THAT(orders.all(), ElementsAre(kA, kB, kC));
  EXPECT_TRUE(orders.Eof());
  EXPECT_THAT(orders.allBackwards(), ElementsAre(kC, kB, kA));
}

TEST_F(RecordReading, StepsForwardAndBackwardOverKeysOnly) {
  Rows orders(company(), u"@ORDERS");
  EXPECT_FALSE(orders.GetKeysOnly());
  orders.SetKeysOnly(true);
  EXPECT_TRUE(orders.GetKeysOnly());
  load(orders);
  EXPECT_THAT(orders.all(), ElementsAre(kA, kB, kC));
  EXPECT_TRUE(orders.Eof());
  EXPECT_THAT(orders.allBackwards(), ElementsAre(kC, kB, kA));
}

TEST_F(RecordReading, WithKeysOnlyEachStepReadsTheRowAsItIsNow) {
  Rows orders(company(), u"@ORDERS");
  orders.SetKeysOnly(true);
  load(orders);
  Rows others(company(), u"@ORDERS");
  others.Load({u"Code"}, {});
  others.Update(values({{u"Code", u"00000001"}}), Record{{u"U_Who", u"Bea"}});
  Record record;
  orders.First(record);
  EXPECT_EQ(orders.Next(record), 0);
  EXPECT_EQ(record.of(u"U_Who"), "Bea");
  others.Remove(values({{u"Code", u"00000002"}}));
  EXPECT_EQ(failureOf([&] { orders.Next(record); }),
            "No record was found with the given conditions");
}

TEST_F(RecordReading, StepsBeyondTheEndsReportThatThereIsNoRow) {
  Rows orders(company(), u"@ORDERS");
  load(orders);
  Record record;
  EXPECT_EQ(orders.Last(record), 0);
  EXPECT_EQ(record.text(), kC);
  EXPECT_EQ(orders.Next(record), 1);
  EXPECT_TRUE(orders.Eof());
  EXPECT_EQ(orders.Next(record), 1);
  EXPECT_EQ(orders.Previous(record), 0);
  EXPECT_EQ(record.text(), kC);
  EXPECT_EQ(orders.First(record), 0);
  EXPECT_EQ(orders.Previous(record), 0) << "one step before the first row returns an empty row";
  EXPECT_EQ(record.text(),
            "||"
            "|1899-12-30 00:00:00|0|0");
  EXPECT_TRUE(orders.Bof());
  EXPECT_EQ(orders.Previous(record), 1);
  EXPECT_EQ(orders.Next(record), 0);
  EXPECT_EQ(record.text(), kA);
}

TEST_F(RecordReading, BackwardWalkWithoutACheckOfBofReadsOneEmptyRow) {
  Rows orders(company(), u"@ORDERS");
  load(orders);
  std::vector<std::string> texts;
  Record record;
  for (long at = orders.Last(record); at == 0; at = orders.Previous(record))
    texts.push_back(record.text());
  EXPECT_THAT(texts, ElementsAre(kC, kB, kA, "|||1899-12-30 00:00:00|0|0"));
  texts.clear();
  for (long at = orders.Last(record); at == 0 && !orders.Bof(); at = orders.Previous(record))
    texts.push_back(record.text());
  EXPECT_THAT(texts, ElementsAre(kC, kB, kA));
}

TEST_F(RecordReading, WithKeysOnlyTheStepBeforeTheFirstRowFails) {
  Rows orders(company(), u"@ORDERS");
  orders.SetKeysOnly(true);
  load(orders);
  Record record;
  ASSERT_EQ(orders.First(record), 0);
  EXPECT_EQ(failureOf([&] { orders.Previous(record); }),
            "No record was found with the given conditions");
  EXPECT_EQ(record.text(), kA);
  EXPECT_TRUE(orders.Bof());
  EXPECT_EQ(orders.Previous(record), 1);
  EXPECT_EQ(orders.Next(record), 0);
  EXPECT_EQ(record.text(), kA);
}

TEST_F(RecordReading, WithKeysOnlyARemovedRowFailsOnceAndIsThenPassed) {
  Rows orders(company(), u"@ORDERS");
  orders.SetKeysOnly(true);
  load(orders);
  Rows others(company(), u"@ORDERS");
  others.Load({u"Code"}, {});
  others.Remove(values({{u"Code", u"00000001"}}));
  Record record;
  ASSERT_EQ(orders.First(record), 0);
  EXPECT_EQ(failureOf([&] { orders.Next(record); }),
            "No record was found with the given conditions");
  EXPECT_EQ(orders.Next(record), 0);
  EXPECT_EQ(record.text(), kC);
}

TEST_F(RecordReading, EmptyResultHasNoRowAndKeepsTheRecord) {
  Rows orders(company(), u"@ORDERS");
  load(orders, Conditions().add(u"U_No", co_Equal, u"none").get());
  Record record{{u"Kept", u"as it was"}};
  EXPECT_EQ(orders.GetRecordCount(), 0);
  EXPECT_EQ(orders.First(record), 1);
  EXPECT_EQ(orders.Last(record), 1);
  EXPECT_EQ(orders.Next(record), 1);
  EXPECT_EQ(orders.Previous(record), 1);
  EXPECT_EQ(record.text(), "as it was");
  EXPECT_EQ(failureOf([&] { orders.Refresh(record); }), "Record set is empty");
  EXPECT_TRUE(orders.IsLoaded());
}

TEST_F(RecordReading, FindsTheFirstRowWithTheValues) {
  for (const bool keysOnly : {false, true}) {
    Rows orders(company(), u"@ORDERS");
    orders.SetKeysOnly(keysOnly);
    load(orders);
    Record record;
    EXPECT_TRUE(orders.Find(values({{u"Code", u"00000001"}}), record));
    EXPECT_EQ(record.text(), kB);
    EXPECT_EQ(orders.Next(record), 0);
    EXPECT_EQ(record.text(), kC);
    EXPECT_FALSE(orders.Find(values({{u"Code", u"0000000F"}}), record));
    EXPECT_EQ(record.text(), kC);
    EXPECT_TRUE(orders.Eof());
  }
}

TEST_F(RecordReading, FindsByAnyColumnOfWholeRows) {
  Rows orders(company(), u"@ORDERS");
  load(orders);
  Record record;
  EXPECT_TRUE(orders.Find(values({{u"U_Count", 2L}}), record));
  EXPECT_EQ(record.text(), kB);
  EXPECT_TRUE(orders.Find(values({{u"U_Count", 2L}, {u"U_Who", u"O'Brien"}}), record));
  EXPECT_EQ(record.text(), kC);
  EXPECT_TRUE(orders.Find(values({{u"U_Total", -0.25}}), record));
  EXPECT_EQ(record.text(), kB);
  EXPECT_FALSE(orders.Find(values({{u"U_Who", u"ann"}}), record)) << "case counts";
  EXPECT_FALSE(orders.Find({}, record)) << "nothing is asked for";
}

TEST_F(RecordReading, FindsADateByTheTextOfTheDialectOnly) {
  Rows orders(company(), u"@ORDERS");
  load(orders);
  Record record;
  const char* text = byDialect("20240201", "20240201", "2024-02-01 00:00:00");
  const std::u16string wide(text, text + std::char_traits<char>::length(text));
  EXPECT_TRUE(orders.Find(values({{u"U_Day", wide.c_str()}}), record));
  EXPECT_EQ(record.text(), kB);
  EXPECT_FALSE(orders.Find(values({{u"U_Day", dateValue(2024, 2, 1)}}), record))
      << "a date is compared as a literal of the dialect, which no cell is read as";
}

TEST_F(RecordReading, ReturnsARowByItsWholeKeyOnly) {
  Rows orders(company(), u"@ORDERS");
  orders.SetFields({u"Code", u"U_No", u"U_Who", u"U_Day", u"U_Total", u"U_Count"});
  orders.Load({u"U_No", u"U_Who"}, {});
  Record record;
  orders.GetByKey(values({{u"U_No", u"C"}, {u"U_Who", u"O'Brien"}}), record);
  EXPECT_EQ(record.text(), kC);
  EXPECT_EQ(failureOf([&] {
              orders.GetByKey(values({{u"U_No", u"C"}, {u"U_Who", u"Ann"}}), record);
            }),
            "No match found");
  EXPECT_EQ(record.text(), kC);
}

TEST_F(RecordReading, KeyThatIsNotAmongTheFieldsThrowsBadIndex) {
  Rows orders(company(), u"@ORDERS");
  orders.SetFields({u"U_Who"});
  orders.Load({u"U_No"}, {});
  const std::string badIndex = "_com_error " + std::to_string(DISP_E_BADINDEX);
  const auto key = values({{u"U_No", u"A"}});
  Record record;
  EXPECT_EQ(failureOf([&] { orders.GetByKey(key, record); }), badIndex);
  EXPECT_EQ(failureOf([&] { orders.Update(key, Record{{u"U_Who", u"Bea"}}); }), badIndex);
  EXPECT_EQ(failureOf([&] { orders.Remove(key); }), badIndex);
  ASSERT_EQ(orders.First(record), 0);
  EXPECT_EQ(failureOf([&] { orders.BuildPrimaryKeyConditions(); }), badIndex);
  EXPECT_TRUE(orders.Exists(key)) << "Exists asks the database, which has the column";
}

TEST_F(RecordReading, BeforeLoadNothingIsFoundAndEveryKeyIsRefused) {
  Rows orders(company(), u"@ORDERS");
  const auto key = values({{u"Code", u"00000000"}});
  Record record;
  EXPECT_FALSE(orders.Find(key, record));
  EXPECT_EQ(failureOf([&] { orders.Exists(key); }),
            "The given map of key fields does not match the key field list of this obejct");
}

TEST_F(RecordReading, ExistsAsksTheDatabaseAndNotTheCursor) {
  Rows orders(company(), u"@ORDERS");
  load(orders);
  EXPECT_TRUE(orders.Exists(values({{u"Code", u"00000002"}})));
  EXPECT_FALSE(orders.Exists(values({{u"Code", u"00000003"}})));
  addOrder(u"D", u"Dan", dateValue(2024, 3, 1), 1, 1);
  EXPECT_TRUE(orders.Exists(values({{u"Code", u"00000003"}})));
  EXPECT_EQ(orders.GetRecordCount(), 3) << "the cursor was read before";
}

TEST_F(RecordReading, ExistsIsFalseForAKeyOfTwoRows) {
  Rows orders(company(), u"@ORDERS");
  orders.Load({u"U_Count"}, {});
  EXPECT_TRUE(orders.Exists(values({{u"U_Count", 3L}})));
  EXPECT_FALSE(orders.Exists(values({{u"U_Count", 2L}})));
}

TEST_F(RecordReading, RefreshStaysOnTheRowAndAfterTheLastGoesToTheFirst) {
  for (const bool keysOnly : {false, true}) {
    Rows orders(company(), u"@ORDERS");
    orders.SetKeysOnly(keysOnly);
    load(orders);
    Record record;
    orders.First(record);
    orders.Next(record);
    Rows others(company(), u"@ORDERS");
    others.Load({u"Code"}, {});
    others.Update(values({{u"Code", u"00000001"}}), Record{{u"U_Who", u"Bea"}});
    orders.Refresh(record);
    EXPECT_EQ(record.of(u"U_Who"), "Bea");
    EXPECT_EQ(orders.Next(record), 0);
    EXPECT_EQ(record.text(), kC);
    orders.Next(record);
    orders.Refresh(record);
    EXPECT_EQ(record.text(), kA) << "after the last row there is no row to stay on";
  }
}

TEST_F(RecordReading, LimitsTheRows) {
  Rows orders(company(), u"@ORDERS");
  orders.SetMaxRecordCount(2);
  load(orders);
  EXPECT_THAT(orders.all(), ElementsAre(kA, kB));
  EXPECT_EQ(failureOf([&] { orders.SetMaxRecordCount(0); }),
            "Maximum record count must be greater than zero");
  Rows whole(company(), u"@ORDERS");
  load(whole);
  EXPECT_EQ(whole.GetRecordCount(), 3) << "another collection has no limit";
  orders.SetMaxRecordCount(-1);
  EXPECT_FALSE(orders.IsLoaded());
  load(orders);
  EXPECT_THAT(orders.all(), ElementsAre(kA, kB, kC));
}

TEST_F(RecordReading, LimitsTheSortedRows) {
  Rows orders(company(), u"@ORDERS");
  orders.SetMaxRecordCount(1);
  orders.SetSortFields({{u"U_Total", so_Descending}});
  load(orders);
  EXPECT_THAT(orders.all(), ElementsAre(kC));
}

TEST_F(RecordReading, SortsBySeveralFields) {
  Rows orders(company(), u"@ORDERS");
  orders.SetSortFields({{u"U_Count", so_Ascending}, {u"U_Day", so_Descending}});
  load(orders);
  EXPECT_THAT(orders.all(), ElementsAre(kB, kC, kA));
  Rows byText(company(), u"@ORDERS");
  byText.SetSortFields({{u"U_Who", so_Descending}});
  load(byText);
  EXPECT_THAT(byText.all(), ElementsAre(kC, kB, kA));
}

TEST_F(RecordReading, SelectsByEveryOperation) {
  EXPECT_THAT(numbers(Conditions().add(u"U_Who", co_Like, u"%e%")), ElementsAre("B", "C"));
  EXPECT_THAT(numbers(Conditions().add(u"U_Who", co_Equal, u"O'Brien")), ElementsAre("C"));
  EXPECT_THAT(numbers(Conditions().add(u"U_Total", co_Greater, u"-0.25", u"VT_R8")),
              ElementsAre("A", "C"));
  EXPECT_THAT(numbers(Conditions().add(u"U_Total", co_Less, u"12.5", u"VT_R8")), ElementsAre("B"));
  EXPECT_THAT(numbers(Conditions().add(u"U_Count", co_GreaterOrEqual, u"3", u"")),
              ElementsAre("A"));
  EXPECT_THAT(
      numbers(Conditions().add(
          u"U_Day", co_LessOrEqual,
          qx::test::medium().is(qx::kKordb) ? u"2024-01-31 00:00:00" : u"20240131", u"VT_DATE")),
      ElementsAre("A", "C"));
  EXPECT_THAT(numbers(Conditions().add(u"U_No", co_NotEqual, u"B")), ElementsAre("A", "C"));
}

TEST_F(RecordReading, JoinsConditionsByBracketsAndWords) {
  const auto either = [](long open, long close) {
    Conditions conditions;
    conditions.add(u"U_No", co_Equal, u"A").brackets(open, 0);
    conditions.add(u"U_No", co_Equal, u"B").orElse().brackets(0, close);
    conditions.add(u"U_Count", co_Equal, u"2", u"");
    return conditions;
  };
  EXPECT_THAT(numbers(either(1, 1)), ElementsAre("B"));
  EXPECT_THAT(numbers(either(0, 0)), ElementsAre("A", "B"));
  EXPECT_THAT(numbers(either(2, 2)), ElementsAre("B"));
}

TEST_F(RecordReading, NullsReadAsTheEmptyValueOfTheirColumn) {
  Rows writer(company(), u"@ORDERS");
  writer.Add(Record{{u"U_No", u"E"}});
  for (const bool keysOnly : {false, true}) {
    Rows orders(company(), u"@ORDERS");
    orders.SetKeysOnly(keysOnly);
    orders.SetFields({u"U_No", u"U_Who", u"U_Day", u"U_Total", u"U_Count", u"U_Note"});
    orders.Load({u"Code"}, Conditions().add(u"U_No", co_Equal, u"E").get());
    Record record;
    ASSERT_EQ(orders.First(record), 0);
    EXPECT_EQ(record.text(), "E||1899-12-30 00:00:00|0|0|");
    EXPECT_EQ(record.row.GetValue(u"U_Day").vt, VT_DATE);
    EXPECT_EQ(record.row.GetValue(u"U_Total").vt, VT_R8);
    EXPECT_EQ(record.row.GetValue(u"U_Count").vt, VT_I4);
    EXPECT_EQ(record.row.GetValue(u"U_Note").vt, VT_BSTR);
  }
}

TEST_F(RecordReading, AllColumnsAreReadIfNoneAreNamed) {
  Rows orders(company(), u"@ORDERS");
  orders.Load({u"Code"}, {});
  Record record;
  ASSERT_EQ(orders.First(record), 0);
  EXPECT_EQ(record.named(),
            "Code=00000000|Name=00000000|U_No=A|U_Who=Ann|U_Day=2024-01-31 00:00:00|U_Total=12.5|"
            "U_Count=3|U_Note=");
  EXPECT_EQ(qx::test::cellText(orders.GetValue(record.row, u"U_No")), "A");
  EXPECT_EQ(qx::test::cellText(orders.GetValue(record.row, u"nothing")), "0");
}

TEST_F(RecordReading, HostTablesReadLikeUserTables) {
  Rows partners(company(), u"HVPARTN");
  partners.SetFields({u"PartnerNo", u"PartnerName"});
  partners.Load({u"PartnerNo"}, Conditions().add(u"PartnerNo", co_Less, u"D").get());
  EXPECT_THAT(partners.all(), ElementsAre("C1000|Hillside Tools", "C2000|Harbour Supplies"));
  partners.SetMaxRecordCount(1);
  partners.SetKeysOnly(true);
  partners.Load({u"PartnerNo"}, {});
  EXPECT_THAT(partners.all(), ElementsAre("C1000|Hillside Tools"));
}

}  // namespace
