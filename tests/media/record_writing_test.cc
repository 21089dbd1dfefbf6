// Changing rows through the proxies: adding, updating and removing, by the collection and by the
// single object, and the same in transactions.

#include "qxframework/automation/text.h"
#include "tests/media/company_fixture.h"

#include <gmock/gmock.h>

namespace {

using Persistence::co_Equal;
using Persistence::co_Greater;
using qx::test::Conditions;
using qx::test::dateValue;
using qx::test::failureOf;
using qx::test::OneRow;
using qx::test::Record;
using qx::test::Rows;
using qx::test::values;
using testing::AnyOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class RecordWriting : public qx::test::CompanyFixture {
 protected:
  RecordWriting() {
    addOrder(u"A", u"Ann", dateValue(2024, 1, 31), 12.5, 3);
    addOrder(u"B", u"Ben", dateValue(2024, 2, 1), -0.25, 2);
    addOrder(u"C", u"Cid", dateValue(2023, 12, 31), 1234.5, 2);
  }
  std::vector<std::string> orders() const {
    Rows rows(company(), u"@ORDERS");
    rows.SetFields({u"Code", u"Name", u"U_No", u"U_Who", u"U_Day", u"U_Total", u"U_Count"});
    rows.Load({u"Code"}, {});
    return rows.all();
  }
  std::vector<std::string> partners() const {
    Rows rows(company(), u"HVPARTN");
    rows.SetFields({u"PartnerNo", u"PartnerName", u"PartnerKind", u"Balance"});
    rows.Load({u"PartnerNo"}, {});
    return rows.all();
  }
};

constexpr char kA[] = "00000000|00000000|A|Ann|2024-01-31 00:00:00|12.5|3";
constexpr char kB[] = "00000001|00000001|B|Ben|2024-02-01 00:00:00|-0.25|2";
constexpr char kC[] = "00000002|00000002|C|Cid|2023-12-31 00:00:00|1234.5|2";
constexpr char kHillside[] = "C1000|Hillside Tools|C|0";
constexpr char kHarbour[] = "C2000|Harbour Supplies|C|0";
constexpr char kSteel[] = "S1000|Steel and Sons|S|0";

TEST_F(RecordWriting, NewRowsOfUserTablesGetTheNextCode) {
  Rows rows(company(), u"@ORDERS");
  rows.Add(Record{{u"Code", u"mine"}, {u"Name", u"also mine"}, {u"U_No", u"D"}});
  rows.Add(Record{{u"U_No", u"E"}, {u"Name", u"mine"}});
  login->query(qx::toUtf16(byDialect("UPDATE [@ORDERS] SET Code = '000000FF' WHERE U_No = 'E'",
                                     "UPDATE @ORDERS SET Code = '000000FF' WHERE U_No = 'E'",
                                     "UPDATE \"@ORDERS\" SET \"Code\" = '000000FF' WHERE \"U_No\" "
                                     "= 'E'")));
  rows.Add(Record{{u"U_No", u"F"}});
  EXPECT_THAT(orders(), ElementsAre(kA, kB, kC, "00000003|00000003|D||1899-12-30 00:00:00|0|0",
                                    "000000FF|00000004|E||1899-12-30 00:00:00|0|0",
                                    "00000100|00000100|F||1899-12-30 00:00:00|0|0"));
}

TEST_F(RecordWriting, NewRowsOfHostTablesKeepTheGivenKey) {
  Rows rows(company(), u"HVPARTN");
  rows.Add(
      Record{{u"PartnerNo", u"B1"}, {u"PartnerName", u"O'Brien & Söhne"}, {u"Balance", -1.25}});
  EXPECT_THAT(partners(), ElementsAre("B1|O'Brien & Söhne||-1.25", kHillside, kHarbour, kSteel));
  EXPECT_THAT(failureOf([&] {
                rows.Add(Record{{u"PartnerNo", u"B1"}});
              }),
              AnyOf(HasSubstr("PartnerNo"), HasSubstr("partnerno")));
  EXPECT_THAT(partners(), testing::SizeIs(4));
}

TEST_F(RecordWriting, UpdateChangesTheRowOfTheKeyAndNothingElse) {
  for (const bool keysOnly : {false, true}) {
    const std::u16string who = keysOnly ? u"Bea" : u"Bee";
    Rows rows(company(), u"@ORDERS");
    rows.SetKeysOnly(keysOnly);
    rows.Load({u"Code"}, {});
    rows.Update(values({{u"Code", u"00000001"}}), Record{{u"Code", u"not written"},
                                                         {u"U_Who", who.c_str()},
                                                         {u"U_Day", dateValue(2024, 2, 29)},
                                                         {u"U_Total", 0.1}});
    const std::string b = "00000001|00000001|B|" + qx::toUtf8(who) + "|2024-02-29 00:00:00|0.1|2";
    EXPECT_THAT(orders(), ElementsAre(kA, b, kC));
  }
}

TEST_F(RecordWriting, UpdateAndRemoveRefuseARowThatIsNotInTheCursor) {
  Rows rows(company(), u"@ORDERS");
  rows.Load({u"Code"}, {});
  addOrder(u"D", u"Dan", dateValue(2024, 3, 1), 1, 1);
  const auto key = values({{u"Code", u"00000003"}});
  EXPECT_EQ(failureOf([&] {
              rows.Update(key, Record{{u"U_Who", u"x"}});
            }),
            "Record not found in record set");
  EXPECT_EQ(failureOf([&] { rows.Remove(key); }), "Record not found in record set");
  EXPECT_THAT(orders(), ElementsAre(kA, kB, kC, "00000003|00000003|D|Dan|2024-03-01 00:00:00|1|1"));
}

TEST_F(RecordWriting, UpdateOfNothingButTheKeyIsRefused) {
  Rows rows(company(), u"@ORDERS");
  rows.Load({u"Code"}, {});
  EXPECT_EQ(failureOf([&] {
              rows.Update(values({{u"Code", u"00000001"}}), Record{{u"Code", u"1"}});
            }).substr(0, 7),
            "-2000: ");
  EXPECT_THAT(orders(), ElementsAre(kA, kB, kC));
}

TEST_F(RecordWriting, UpdateDoesNotChangeTheKey) {
  Rows rows(company(), u"@ORDERS");
  rows.Load({u"U_No"}, {});
  rows.Update(values({{u"U_No", u"A"}}), Record{{u"U_No", u"Z"}, {u"U_Count", 9}});
  EXPECT_THAT(orders(), ElementsAre("00000000|00000000|A|Ann|2024-01-31 00:00:00|12.5|9", kB, kC));
}

TEST_F(RecordWriting, UpdateAndRemoveChangeAllRowsOfTheirKey) {
  Rows rows(company(), u"@ORDERS");
  rows.Load({u"U_Count"}, {});
  const auto key = values({{u"U_Count", 2L}});
  rows.Update(key, Record{{u"U_Who", u"Dan"}});
  EXPECT_THAT(orders(), ElementsAre(kA, "00000001|00000001|B|Dan|2024-02-01 00:00:00|-0.25|2",
                                    "00000002|00000002|C|Dan|2023-12-31 00:00:00|1234.5|2"));
  rows.Remove(key);
  EXPECT_THAT(orders(), ElementsAre(kA));
}

TEST_F(RecordWriting, ValuesThatDoNotFitTheirColumnAreConvertedSilently) {
  const auto written = [&](const OLECHAR* column, const CComVariant& value) {
    Rows rows(company(), u"@ORDERS");
    rows.Add(Record{{column, value}});
    rows.SetFields({column});
    rows.Load({u"Code"}, {});
    Record record;
    rows.Last(record);
    return record.text();
  };
  EXPECT_EQ(written(u"U_Count", 1.5), "1");
  EXPECT_EQ(written(u"U_Count", -1.9), "-1");
  EXPECT_EQ(written(u"U_Count", true), "-1");
  EXPECT_EQ(written(u"U_Who", true), "-1");
  EXPECT_EQ(written(u"U_Day", CComVariant(2958466.0, VT_DATE)), "1899-12-30 00:00:00")
      << "the first day of the year 10000";
  EXPECT_EQ(written(u"U_Day", CComVariant(-657435.0, VT_DATE)), "1899-12-30 00:00:00")
      << "the last day of the year 99";
}

TEST_F(RecordWriting, KeysOfSeveralColumnsAndKindsUpdateTheirRow) {
  Rows rows(company(), u"@ORDERS");
  rows.SetFields({u"U_Count", u"U_No", u"U_Total"});
  rows.Load({u"U_Count", u"U_No", u"U_Total"}, {});
  rows.Update(values({{u"U_Count", 2L}, {u"U_No", u"C"}, {u"U_Total", 1234.5}}),
              Record{{u"U_Who", u"changed"}});
  EXPECT_THAT(orders(),
              ElementsAre(kA, kB, "00000002|00000002|C|changed|2023-12-31 00:00:00|1234.5|2"));
}

TEST_F(RecordWriting, RemoveDeletesTheRowOfTheKey) {
  for (const bool keysOnly : {false, true}) {
    Rows rows(company(), u"@ORDERS");
    rows.SetKeysOnly(keysOnly);
    rows.Load({u"U_No"}, {});
    rows.Remove(values({{u"U_No", keysOnly ? u"B" : u"A"}}));
  }
  EXPECT_THAT(orders(), ElementsAre(kC));
}

TEST_F(RecordWriting, RemoveRangeDeletesAllRowsWithTheValues) {
  Rows rows(company(), u"@ORDERS");
  rows.RemoveRange(values({{u"U_Count", 2L}}), {});
  EXPECT_THAT(orders(), ElementsAre(kA));
  rows.RemoveRange(values({{u"U_Count", 3L}, {u"U_Who", u"Ben"}}), {co_Equal, co_Equal});
  EXPECT_THAT(orders(), ElementsAre(kA));
  rows.RemoveRange(values({{u"U_Day", dateValue(2024, 1, 31)}}), {co_Equal});
  EXPECT_THAT(orders(), IsEmpty());
}

TEST_F(RecordWriting, RemoveRangeFindsAnAmountAlthoughItIsWrittenAsAText) {
  Rows rows(company(), u"@ORDERS");
  rows.RemoveRange(values({{u"U_Total", 12.5}}), {});
  EXPECT_THAT(orders(), ElementsAre(kB, kC));
}

TEST_F(RecordWriting, ObjectReadsItsRowByConditions) {
  OneRow row;
  row.Connect(company(), u"@ORDERS", true);
  row.SetFields({u"U_No", u"U_Total"});
  row.Load(Conditions().add(u"U_Who", co_Equal, u"Ben").get());
  Record record;
  row.GetFields(record);
  EXPECT_EQ(record.named(), "U_No=B|U_Total=-0.25");
  EXPECT_TRUE(row.Exists());
  login->query(qx::toUtf16(byDialect("UPDATE [@ORDERS] SET U_Total = 7.5",
                                     "UPDATE @ORDERS SET U_Total = 7.5",
                                     "UPDATE \"@ORDERS\" SET \"U_Total\" = 7.5")));
  row.Refresh();
  row.GetFields(record);
  EXPECT_EQ(record.named(), "U_No=B|U_Total=7.5");
}

TEST_F(RecordWriting, ObjectRefusesConditionsOfNoRowAndOfSeveralRows) {
  OneRow row;
  row.Connect(company(), u"@ORDERS", true);
  EXPECT_EQ(failureOf([&] { row.Load(Conditions().add(u"U_No", co_Equal, u"Z").get()); }),
            "No record was found with the given conditions");
  EXPECT_FALSE(row.IsLoaded());
  EXPECT_EQ(failureOf([&] { row.Load(Conditions().add(u"U_Count", co_Equal, u"2", u"").get()); }),
            "The given key is not unique");
  row.Load(Conditions().add(u"U_Count", co_Greater, u"2", u"").get());
  EXPECT_TRUE(row.IsLoaded());
}

TEST_F(RecordWriting, ObjectUpdatesAndRemovesItsRow) {
  OneRow row;
  row.Connect(company(), u"@ORDERS", true);
  row.SetFields({u"Code", u"U_No", u"U_Who"});
  row.Load(Conditions().add(u"Code", co_Equal, u"00000001").get());
  row.Update(Record{{u"U_Who", u"Bea"}});
  EXPECT_THAT(orders(), ElementsAre(kA, "00000001|00000001|B|Bea|2024-02-01 00:00:00|-0.25|2", kC));
  row.Remove();
  EXPECT_THAT(orders(), ElementsAre(kA, kC));
  EXPECT_TRUE(row.IsLoaded());
}

// The object repeats its statement and does not check the number of rows; an empty result reads as
// a row of empty values.
TEST_F(RecordWriting, ObjectWhoseRowWasRemovedStillExistsAndReadsAsEmpty) {
  OneRow row;
  row.Connect(company(), u"@ORDERS", true);
  row.SetFields({u"Code", u"U_No", u"U_Day", u"U_Total", u"U_Count"});
  row.Load(Conditions().add(u"U_No", co_Equal, u"B").get());
  Rows rows(company(), u"@ORDERS");
  rows.RemoveRange(values({{u"U_No", u"B"}}), {});
  EXPECT_TRUE(row.Exists());
  row.Refresh();
  EXPECT_TRUE(row.IsLoaded());
  Record record;
  row.GetFields(record);
  EXPECT_EQ(record.named(), "Code=|U_No=|U_Day=1899-12-30 00:00:00|U_Total=0|U_Count=0");
  EXPECT_THAT(orders(), ElementsAre(kA, kC));
}

/// A proxy whose ContainerToMap clears the row first, so that an update writes the columns of the
/// record and no others.
class ClearingRow final : public Persistence::CQXPersistentObjectProxy {
 public:
  void MapToContainer(const Persistence::TyFieldValues& row,
                      Persistence::CQXValueContainer& container) override {
    dynamic_cast<Record&>(container).row = row;
  }
  void ContainerToMap(const Persistence::CQXValueContainer& container,
                      Persistence::TyFieldValues& row) override {
    row = dynamic_cast<const Record&>(container).row;
  }
  using CQXPersistentObjectProxy::Connect;
  using CQXPersistentObjectProxy::Load;
};

/// Loads an order under the correlation name T0 and updates it. Returns the row as it was read and
/// the failure of the update.
template <class Proxy>
std::string updatedUnderACorrelationName(const CComPtr<ICompany>& company) {
  Proxy row;
  row.Connect(company, u"@ORDERS", true);
  row.SetCorrelationName(u"T0");
  row.SetFields({u"Code", u"U_Who"});
  row.Load(Conditions().add(u"U_No", co_Equal, u"B").get());
  Record record;
  row.GetFields(record);
  const std::string failure = failureOf([&] { row.Update(Record{{u"U_Who", u"Bea"}}); });
  return record.named() + " " + failure;
}

// The columns that were read have names such as "T0.Code", which an UPDATE cannot contain.
TEST_F(RecordWriting, ObjectUnderACorrelationNameIsUpdatedOnlyIfItsHookClearsTheRow) {
  EXPECT_THAT(updatedUnderACorrelationName<OneRow>(company()),
              StartsWith("T0.Code=00000001|T0.U_Who=Ben -2000: "));
  EXPECT_THAT(orders(), ElementsAre(kA, kB, kC));
  EXPECT_EQ(updatedUnderACorrelationName<ClearingRow>(company()),
            "T0.Code=00000001|T0.U_Who=Ben no failure");
  EXPECT_THAT(orders(), ElementsAre(kA, "00000001|00000001|B|Bea|2024-02-01 00:00:00|-0.25|2", kC));
}

// Both operations work on a new inner object, which is not connected to the table.
TEST_F(RecordWriting, ObjectRefusesAddAndGetByKey) {
  OneRow row;
  row.Connect(company(), u"@ORDERS", true);
  EXPECT_THAT(failureOf([&] { row.Add(Record{{u"U_No", u"X"}}); }), HasSubstr("-2000: "));
  Record record;
  EXPECT_THAT(failureOf([&] {
                row.GetByKey(values({{u"Code", u"00000001"}}), record);
              }),
              HasSubstr("-2000: "));
  EXPECT_THAT(orders(), ElementsAre(kA, kB, kC));
}

TEST_F(RecordWriting, HostTablesAreWrittenLikeUserTables) {
  Rows rows(company(), u"HVPARTN");
  rows.Load({u"PartnerNo"}, {});
  rows.Update(values({{u"PartnerNo", u"C2000"}}), Record{{u"PartnerName", u"Harbour"}});
  rows.Remove(values({{u"PartnerNo", u"S1000"}}));
  EXPECT_THAT(partners(), ElementsAre(kHillside, "C2000|Harbour|C|0"));
  OneRow row;
  row.Connect(company(), u"HVPARTN", false);
  row.Load(Conditions().add(u"PartnerNo", co_Equal, u"C1000").get());
  row.Update(Record{{u"Balance", 3.75}});
  EXPECT_THAT(partners(), ElementsAre("C1000|Hillside Tools|C|3.75", "C2000|Harbour|C|0"));
}

TEST_F(RecordWriting, TransactionIsCommittedOrRolledBackAsAWhole) {
  for (const HvEndTransaction end : {et_RollBack, et_Commit}) {
    company()->StartTransaction();
    addOrder(u"D", u"Dan", dateValue(2024, 3, 1), 1, 1);
    Rows rows(company(), u"@ORDERS");
    rows.Load({u"U_No"}, {});
    rows.Remove(values({{u"U_No", u"A"}}));
    rows.Update(values({{u"U_No", u"B"}}), Record{{u"U_Count", 9L}});
    EXPECT_THAT(orders(), testing::SizeIs(3)) << "the transaction reads its own changes";
    company()->EndTransaction(end);
    if (end == et_RollBack) {
      EXPECT_THAT(orders(), ElementsAre(kA, kB, kC));
    }
  }
  EXPECT_THAT(orders(), ElementsAre("00000001|00000001|B|Ben|2024-02-01 00:00:00|-0.25|9", kC,
                                    "00000003|00000003|D|Dan|2024-03-01 00:00:00|1|1"));
}

TEST_F(RecordWriting, AnotherUserSeesCommittedRowsOnly) {
  const qx::test::Login other(database);
  Rows rows(other.company(), u"@ORDERS");
  rows.SetFields({u"U_No"});
  rows.Load({u"Code"}, {});
  company()->StartTransaction();
  addOrder(u"D", u"Dan", dateValue(2024, 3, 1), 1, 1);
  Record record;
  rows.Refresh(record);
  EXPECT_THAT(rows.all(), ElementsAre("A", "B", "C"));
  company()->EndTransaction(et_Commit);
  rows.Refresh(record);
  EXPECT_THAT(rows.all(), ElementsAre("A", "B", "C", "D"));
}

}  // namespace
