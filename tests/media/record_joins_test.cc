// Joins of every kind through the proxies, and the queries of choose lists.

#include "qxframework/automation/text.h"
#include "qxframework/persistence/choose_list_helper.h"
#include "qxframework/query/link_criteria.h"
#include "qxframework/query/sort_field.h"
#include "tests/media/company_fixture.h"

#include <gmock/gmock.h>

namespace {

using Persistence::co_Equal;
using Persistence::co_Greater;
using Persistence::co_Like;
using Persistence::CQXChooseListHelper;
using Persistence::CQXLinkFieldCriteria;
using Persistence::CQXLinkTableCriteria;
using Persistence::etTABLE_JOIN_MODE;
using Persistence::jm_FullOuter;
using Persistence::jm_Inner;
using Persistence::jm_LeftOuter;
using Persistence::jm_RightOuter;
using Persistence::so_Ascending;
using qx::test::Conditions;
using qx::test::dateValue;
using qx::test::failureOf;
using qx::test::OneRow;
using qx::test::Record;
using qx::test::Rows;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
using testing::UnorderedElementsAre;

using Titles = CSimpleMap<CComBSTR, CComBSTR>;

CQXLinkTableCriteria linesJoined(etTABLE_JOIN_MODE mode) {
  CQXLinkTableCriteria link(u"@LINES", u"T1", mode, true);
  link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_No", u"U_OrderNo"));
  link.SetFields({u"U_Item", u"U_Qty"});
  return link;
}

class RecordJoins : public qx::test::CompanyFixture {
 protected:
  RecordJoins() {
    addOrder(u"A", u"C1000", dateValue(2024, 1, 31), 12.5, 3);
    addOrder(u"B", u"C2000", dateValue(2024, 2, 1), -0.25, 2);
    addLine(u"A", u"A1000", 1.5);
    addLine(u"A", u"A2000", 2);
    addLine(u"Z", u"A9999", 3);
  }
  /// Returns the orders, under the correlation name T0, with a joined table.
  std::vector<std::string> joined(const CQXLinkTableCriteria& link,
                                  const qx_ptr<Persistence::CConditions>& conditions = {}) const {
    Rows rows(company(), u"@ORDERS");
    rows.SetCorrelationName(u"T0");
    rows.SetFields({u"Code", u"U_No"});
    rows.AddLinkTableCriteria(link);
    rows.Load({u"Code"}, conditions);
    return rows.all();
  }
};

TEST_F(RecordJoins, InnerReturnsMatchingRowsOnly) {
  EXPECT_THAT(joined(linesJoined(jm_Inner)),
              UnorderedElementsAre("00000000|A|A1000|1.5", "00000000|A|A2000|2"));
}

TEST_F(RecordJoins, LeftKeepsTheOrdersWithoutLines) {
  EXPECT_THAT(joined(linesJoined(jm_LeftOuter)),
              UnorderedElementsAre("00000000|A|A1000|1.5", "00000000|A|A2000|2", "00000001|B||0"));
}

TEST_F(RecordJoins, RightKeepsTheLinesWithoutOrders) {
  EXPECT_THAT(joined(linesJoined(jm_RightOuter)),
              UnorderedElementsAre("00000000|A|A1000|1.5", "00000000|A|A2000|2", "||A9999|3"));
}

TEST_F(RecordJoins, FullKeepsBoth) {
  EXPECT_THAT(joined(linesJoined(jm_FullOuter)),
              UnorderedElementsAre("00000000|A|A1000|1.5", "00000000|A|A2000|2", "00000001|B||0",
                                   "||A9999|3"));
}

TEST_F(RecordJoins, ConstantRestrictsTheJoinedRowsOfALeftJoin) {
  CQXLinkTableCriteria link = linesJoined(jm_LeftOuter);
  link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Qty", CComVariant(1.75), co_Greater));
  link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Item", CComVariant(u"A2000"), co_Equal));
  EXPECT_THAT(joined(link), UnorderedElementsAre("00000000|A|A2000|2", "00000001|B||0"));
}

TEST_F(RecordJoins, ConstantOfAnInnerJoinSelectsRowsByTheJoinedColumn) {
  CQXLinkTableCriteria link = linesJoined(jm_Inner);
  link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Item", CComVariant(u"A2%"), co_Like));
  EXPECT_THAT(joined(link), ElementsAre("00000000|A|A2000|2"));
}

TEST_F(RecordJoins, ConditionsApplyToTheMasterTable) {
  EXPECT_THAT(joined(linesJoined(jm_LeftOuter), Conditions().add(u"U_No", co_Equal, u"B").get()),
              ElementsAre("00000001|B||0"));
}

TEST_F(RecordJoins, ConditionsOnAJoinedColumnAreRefused) {
  for (const OLECHAR* column : {u"U_Item", u"T1.U_Item"}) {
    EXPECT_THAT(failureOf([&] {
                  joined(linesJoined(jm_Inner), Conditions().add(column, co_Equal, u"A2000").get());
                }),
                StartsWith("-2000: "));
  }
}

TEST_F(RecordJoins, SameListOfFieldsForBothTablesIsRefusedButNotInAnotherOrder) {
  const auto linked = [&](const qx::test::Columns& fields) {
    Rows rows(company(), u"@ORDERS");
    rows.SetCorrelationName(u"T0");
    rows.SetFields({u"Code", u"Name"});
    CQXLinkTableCriteria link = linesJoined(jm_Inner);
    link.SetFields(fields);
    rows.AddLinkTableCriteria(link);
    return failureOf([&] { rows.Load({u"Code"}, {}); });
  };
  EXPECT_THAT(linked({u"Code", u"Name"}), HasSubstr(" near 'T1"));
  EXPECT_EQ(linked({u"Name", u"Code"}), "no failure");
}

TEST_F(RecordJoins, HostTablesJoinToUserTables) {
  Rows rows(company(), u"@ORDERS");
  rows.SetCorrelationName(u"T0");
  rows.SetFields({u"Code", u"U_No"});
  CQXLinkTableCriteria partner(u"HVPARTN", u"T1", jm_Inner, false);
  partner.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Who", u"PartnerNo"));
  partner.SetFields({u"PartnerName"});
  rows.AddLinkTableCriteria(partner);
  rows.AddLinkTableCriteria([] {
    CQXLinkTableCriteria lines(u"@LINES", u"T2", jm_LeftOuter, true);
    lines.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_No", u"U_OrderNo"));
    lines.SetFields({u"U_Item"});
    return lines;
  }());
  rows.Load({u"Code"}, {});
  EXPECT_THAT(rows.all(), UnorderedElementsAre("00000000|A|Hillside Tools|A1000",
                                               "00000000|A|Hillside Tools|A2000",
                                               "00000001|B|Harbour Supplies|"));
}

TEST_F(RecordJoins, ColumnsHaveTheCorrelationNameOfTheirTable) {
  Rows rows(company(), u"@ORDERS");
  rows.SetCorrelationName(u"T0");
  rows.SetFields({u"Code", u"U_No"});
  rows.AddLinkTableCriteria(linesJoined(jm_RightOuter));
  rows.Load({u"Code"}, Conditions().add(u"U_No", co_Equal, u"A").get());
  Record record;
  ASSERT_EQ(rows.First(record), 0);
  EXPECT_EQ(record.named().substr(0, 34), "T0.Code=00000000|T0.U_No=A|T1.U_It");
  EXPECT_EQ(record.of(u"T1.U_Item").substr(0, 1), "A");
}

TEST_F(RecordJoins, SortFieldsAndLimitsApplyToTheJoin) {
  Rows rows(company(), u"@ORDERS");
  rows.SetCorrelationName(u"T0");
  rows.SetFields({u"Code", u"U_No"});
  rows.AddLinkTableCriteria(linesJoined(jm_LeftOuter));
  rows.SetSortFields({{u"U_Total", so_Ascending}});
  rows.SetMaxRecordCount(2);
  rows.Load({u"Code"}, {});
  EXPECT_EQ(rows.GetRecordCount(), 2);
  EXPECT_EQ(rows.all().front(), "00000001|B||0");
}

// Each step reads its row by the key, from the master table only.
TEST_F(RecordJoins, WithKeysOnlyStepsReadTheMasterTableOnly) {
  Rows rows(company(), u"@ORDERS");
  rows.SetKeysOnly(true);
  rows.SetCorrelationName(u"T0");
  rows.SetFields({u"Code", u"U_No"});
  rows.AddLinkTableCriteria(linesJoined(jm_Inner));
  rows.Load({u"Code"}, {});
  EXPECT_THAT(rows.all(), ElementsAre("00000000|A", "00000000|A"));
  Record record;
  rows.First(record);
  EXPECT_EQ(record.named(), "T0.Code=00000000|T0.U_No=A");
}

TEST_F(RecordJoins, RowUnderACorrelationNameIsFoundUpdatedAndRemoved) {
  for (const bool keysOnly : {true, false}) {
    Rows rows(company(), u"@ORDERS");
    rows.SetKeysOnly(keysOnly);
    rows.SetCorrelationName(u"T0");
    rows.SetFields({u"Code", u"U_No", u"U_Who"});
    rows.Load({u"Code"}, {});
    const auto key = qx::test::values({{u"Code", keysOnly ? u"00000000" : u"00000001"}});
    Record record;
    rows.GetByKey(key, record);
    EXPECT_EQ(record.text(), keysOnly ? "00000000|A|C1000" : "00000001|B|C2000");
    rows.Update(key, Record{{u"U_Who", u"S1000"}});
    rows.Refresh(record);
    EXPECT_EQ(record.text(), keysOnly ? "00000000|A|S1000" : "00000001|B|S1000");
    rows.Remove(key);
    EXPECT_FALSE(rows.Exists(key));
  }
}

TEST_F(RecordJoins, ObjectReadsItsRowWithTheJoinedRow) {
  OneRow row;
  row.Connect(company(), u"@ORDERS", true);
  row.SetCorrelationName(u"T0");
  row.SetFields({u"Code", u"U_No"});
  CQXLinkTableCriteria link = linesJoined(jm_LeftOuter);
  link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Item", CComVariant(u"A2000"), co_Equal));
  row.AddLinkTableCriteria(link);
  row.Load(Conditions().add(u"U_No", co_Equal, u"A").get());
  Record record;
  row.GetFields(record);
  EXPECT_EQ(record.named(), "T0.Code=00000000|T0.U_No=A|T1.U_Item=A2000|T1.U_Qty=2");
  row.Refresh();
  row.GetFields(record);
  EXPECT_EQ(record.text(), "00000000|A|A2000|2");
}

TEST_F(RecordJoins, JoinWithoutACorrelationNameIsRefused) {
  Rows rows(company(), u"@ORDERS");
  rows.AddLinkTableCriteria(linesJoined(jm_Inner));
  EXPECT_EQ(failureOf([&] { rows.Load({u"Code"}, {}); }),
            "Correlation name for master table is missing");
}

// ---- choose lists

class ChooseLists : public RecordJoins {
 protected:
  /// Returns the query of a choose list with these columns and titles.
  std::u16string sql(const Titles& titles, const OLECHAR* table, const OLECHAR* where) const {
    CComBSTR text;
    CQXChooseListHelper::GetSQL(company(), titles, table, *table == u'@', where, text);
    return std::u16string(text.View());
  }
};

TEST_F(ChooseLists, AreWrittenInTheDialectAndRun) {
  Titles titles;
  titles.Add(u"Code", u"Key");
  titles.Add(u"U_No", u"Order number");
  const std::u16string text =
      sql(titles, u"@ORDERS",
          qx::toUtf16(byDialect("U_No <> N'B'", "U_No <> N'B'", "\"U_No\" <> N'B'")).c_str());
  EXPECT_EQ(qx::toUtf8(text),
            byDialect("SELECT Code AS 'Key' ,U_No AS 'Order number' FROM [@ORDERS] WHERE U_No <> "
                      "N'B'",
                      "SELECT Code AS \"Key\" ,U_No AS \"Order number\" FROM @ORDERS WHERE U_No <> "
                      "N'B'",
                      "SELECT \"Code\" AS \"Key\" ,\"U_No\" AS \"Order number\" FROM \"@ORDERS\" "
                      "WHERE \"U_No\" <> N'B'"));
  EXPECT_THAT(login->rows(text), ElementsAre("00000000|A"));
  const CComPtr<IRecordset> rows = login->query(text);
  EXPECT_EQ(rows->GetFields()->Item(CComVariant(1L))->GetName().View(), u"Order number");
}

TEST_F(ChooseLists, RunOnHostTablesWithAndWithoutColumns) {
  Titles titles;
  titles.Add(u"PartnerName", u"Who");
  EXPECT_THAT(login->rows(sql(titles, u"HVPARTN", u"")),
              UnorderedElementsAre("Hillside Tools", "Harbour Supplies", "Steel and Sons"));
  EXPECT_EQ(
      qx::toUtf8(sql({}, u"@LINES", u"")),
      byDialect("SELECT * FROM [@LINES]", "SELECT * FROM @LINES", "SELECT * FROM \"@LINES\""));
  EXPECT_EQ(login->rows(sql({}, u"@LINES", u"")).size(), 3U);
}

}  // namespace
