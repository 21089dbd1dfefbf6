// The statements of the record cache, run on each medium. Their texts are compared word for word in
// qxframework/cache.

#include "qxframework/automation/com_error.h"
#include "qxframework/automation/text.h"
#include "qxframework/cache/sql_generator.h"
#include "qxframework/host/recordset.h"
#include "qxframework/query/sort_field.h"
#include "tests/media/company_fixture.h"

#include <gmock/gmock.h>

namespace {

using namespace Persistence;
using namespace qx::test;
using testing::ElementsAre;
using testing::IsEmpty;
using Param = TyLoadParameter_WithPrefetchKeys;

class CacheStatements : public CompanyFixture {
 protected:
  CacheStatements() {
    generator.SetCompany(cached.company());
    addOrder(u"A", u"Ann", dateValue(2024, 1, 31), 12.5, 3);
    addOrder(u"B", u"O'Brien", dateValue(2024, 2, 1), -0.25, 2);
    addOrder(u"C", u"Cid", dateValue(2023, 12, 31), 1234.5, 2);
    addOrder(u"D", u"Cid", dateValue(2024, 1, 31), 1, 1);
    addOrder(u"E", u"Cid", dateValue(2024, 3, 1), 2, 9);
    addOrder(u"F", u"Zoe", dateValue(2024, 3, 1), 3, 9);
    param->SetMajorTable(u"@ORDERS");
    setKeys({u"U_No"});
    setFields({u"U_Count"});
  }
  void setKeys(const std::vector<CComBSTR>& keys) { param->SetKeyFields(&keys); }
  void setFields(const std::vector<CComBSTR>& fields) { param->SetFields(&fields); }
  void sortBy(CQXPersistenceSortFieldCollection fields) {
    param->SetSortFields(qx_ptr<CQXPersistenceSortFieldCollection>(
        new CQXPersistenceSortFieldCollection(std::move(fields)), true));
  }
  void behave(_TyPrefetchBehavior behavior, const TyFieldValues& start = {}, long count = 0) {
    param->SetPrefetchBehavior(behavior, &start, count);
  }
  std::vector<std::string> select() const { return run(generator.BuildSQL_Select(param)); }
  std::vector<std::string> run(const CComBSTR& text) const {
    return cached.rows(std::u16string(text.View()));
  }
  /// Returns the names of the columns that the statement of the parameter reads.
  std::vector<std::string> columns() const {
    const CComPtr<IFields> fields =
        cached.query(std::u16string(generator.BuildSQL_Select(param).View()))->GetFields();
    std::vector<std::string> names;
    for (long i = 0; i < fields->Count(); ++i)
      names.push_back(qx::toUtf8(CComBSTR(fields->Item(CComVariant(i))->GetName()).View()));
    return names;
  }

  // A real server of db2 refuses the statements, and so does the stand-in without this key.
  Login cached{database, "&accept=brackets"};
  CQXSQLGenerator_MSSQL generator;
  qx_ptr<Param> param{new Param, true};
};

TEST_F(CacheStatements, AllRowsComeInTheOrderOfTheKey) {
  for (const _TyPrefetchBehavior behavior : {pb_NoPrefetch, pb_AllRows}) {
    behave(behavior);
    EXPECT_THAT(select(), ElementsAre("A|3", "B|2", "C|2", "D|1", "E|9", "F|9"));
  }
}

TEST_F(CacheStatements, RowsComeByConditionsAndSortFields) {
  param->SetConditions(Conditions()
                           .add(u"U_Who", co_Like, u"%i%")
                           .brackets(1, 0)
                           .add(u"U_Total", co_Greater, u"-1.5", u"VT_R8")
                           .brackets(0, 1)
                           .add(u"U_No", co_Equal, u"A")
                           .orElse()
                           .get());
  sortBy({CQXPersistenceSortField(u"U_Count", so_Descending), CQXPersistenceSortField(u"U_No")});
  param->SetMajorTableCorrelationName(u"T0");
  behave(pb_NoPrefetch);
  EXPECT_THAT(select(), ElementsAre("E|9", "A|3", "B|2", "C|2", "D|1"));
}

TEST_F(CacheStatements, ColumnsHaveTheNamesByWhichTheCacheFindsThem) {
  param->SetMajorTableCorrelationName(u"T0");
  behave(pb_FirstRowsFrom, {{u"U_Who", u"Ann"}}, 1);
  EXPECT_THAT(columns(), ElementsAre("__kf__.U_No", "__pff__.U_Who", "T0.U_Count"));
  param->SetMajorTableCorrelationName(u"");
  EXPECT_THAT(columns(), ElementsAre("__kf__.U_No", "__pff__.U_Who", "U_Count"));
  behave(pb_NoPrefetch);
  EXPECT_THAT(columns(), ElementsAre("__kf__.U_No", "U_Count"));
  setFields({});
  EXPECT_THAT(columns(), ElementsAre("__kf__.U_No", "Code", "Name", "U_No", "U_Who", "U_Day",
                                     "U_Total", "U_Count", "U_Note"));
}

TEST_F(CacheStatements, ACountCountsTheRows) {
  param->SetReturnRecordCountOnly(true);
  param->SetConditions(Conditions().add(u"U_Who", co_Equal, u"Cid").get());
  behave(pb_NoPrefetch);
  EXPECT_THAT(select(), ElementsAre("3"));
}

TEST_F(CacheStatements, TheFirstRowsFromAKeyComeWithAllTies) {
  const TyFieldValues start{{u"U_Who", u"B"}};
  behave(pb_FirstRowsFrom, start, 1);
  EXPECT_THAT(select(), ElementsAre("C|Cid|2", "D|Cid|1", "E|Cid|9"));
  behave(pb_FirstRowsFrom, start, 3);
  EXPECT_THAT(select(), ElementsAre("C|Cid|2", "D|Cid|1", "E|Cid|9"));
  behave(pb_FirstRowsFrom, start, 4);
  EXPECT_THAT(select(), ElementsAre("C|Cid|2", "D|Cid|1", "E|Cid|9", "B|O'Brien|2"));
  behave(pb_FirstRowsFrom, {{u"U_Who", u"zz"}}, 4);
  EXPECT_THAT(select(), IsEmpty());
}

TEST_F(CacheStatements, TheFirstRowsFromAKeyComeByTheSortFieldsUnlessOnlyKeysAreRead) {
  sortBy({CQXPersistenceSortField(u"U_Count", so_Descending)});
  behave(pb_FirstRowsFrom, {{u"U_Who", u"Cid"}}, 1);
  EXPECT_THAT(select(), ElementsAre("E|Cid|9", "C|Cid|2", "D|Cid|1"));
  param->SetKeyFieldsOnly(true);
  EXPECT_THAT(select(), ElementsAre("C|Cid", "D|Cid", "E|Cid"));
}

TEST_F(CacheStatements, TheFirstRowsFromAKeyOfSeveralFieldsComeInTheOrderOfItsFields) {
  param->SetMajorTableCorrelationName(u"T0");
  behave(pb_FirstRowsFrom, {{u"U_Who", u"Cid"}, {u"U_Day", dateValue(2024, 1, 31)}}, 3);
  EXPECT_THAT(select(), ElementsAre("D|Cid|2024-01-31 00:00:00|1", "E|Cid|2024-03-01 00:00:00|9",
                                    "B|O'Brien|2024-02-01 00:00:00|2"));
  param->SetConditions(Conditions()
                           .add(u"U_Count", co_Greater, u"1", u"VT_R8")
                           .add(u"U_No", co_NotEqual, u"E")
                           .get());
  behave(pb_FirstRowsFrom, {{u"U_Who", u"O'Brien"}}, 1);
  EXPECT_THAT(select(), ElementsAre("B|O'Brien|2"));
}

// As the guide warns: the groups after the first do not repeat the conditions.
TEST_F(CacheStatements, RowsAfterTheFirstFieldOfAKeyComeWhateverTheConditions) {
  param->SetConditions(Conditions().add(u"U_Count", co_Equal, u"1", u"VT_R8").get());
  behave(pb_FirstRowsFrom, {{u"U_Who", u"Cid"}}, 9);
  EXPECT_THAT(select(), ElementsAre("D|Cid|1"));
  behave(pb_FirstRowsFrom, {{u"U_Who", u"Cid"}, {u"U_No", u"A"}}, 9);
  EXPECT_THAT(select(), ElementsAre("D|Cid|D|1", "B|O'Brien|B|2", "F|Zoe|F|9"));
}

TEST_F(CacheStatements, SortFieldsOfACommonTableAreRefusedBesideACorrelationAndFields) {
  param->SetMajorTableCorrelationName(u"T0");
  sortBy({CQXPersistenceSortField(u"U_Count")});
  behave(pb_FirstRowsFrom, {{u"U_Who", u"Cid"}}, 1);
  EXPECT_EQ(failureOf([this] { select(); }), "_com_error -2000");
  setFields({});
  EXPECT_EQ(failureOf([this] { select(); }), "no failure");
}

TEST_F(CacheStatements, AllRowsFromAKeyCome) {
  behave(pb_FirstRowsFrom, {{u"U_Who", u"Cid"}}, 100001);
  EXPECT_THAT(select(), ElementsAre("C|Cid|2", "D|Cid|1", "E|Cid|9", "B|O'Brien|2", "F|Zoe|9"));
  sortBy({CQXPersistenceSortField(u"U_Count")});
  EXPECT_THAT(select(), ElementsAre("D|Cid|1", "C|Cid|2", "E|Cid|9", "B|O'Brien|2", "F|Zoe|9"));
}

TEST_F(CacheStatements, ADateInAKeyFindsItsRows) {
  param->SetConditions(generator.GetConditionsFromKeyFields({{u"U_Day", dateValue(2024, 1, 31)}}));
  behave(pb_NoPrefetch);
  EXPECT_THAT(select(), ElementsAre("A|3", "D|1"));
  param->SetConditions({});
  setKeys({u"U_Day", u"U_No"});
  setFields({u"U_Who"});
  behave(pb_FirstRowsFrom, {{u"U_Day", dateValue(2024, 2, 2)}}, 1);
  EXPECT_THAT(select(), ElementsAre("2024-03-01 00:00:00|E|2024-03-01 00:00:00|Cid",
                                    "2024-03-01 00:00:00|F|2024-03-01 00:00:00|Zoe"));
}

TEST_F(CacheStatements, EachJoinReadsItsRows) {
  addLine(u"A", u"I1", 1.5);
  addLine(u"A", u"I2", 2);
  addLine(u"X", u"I3", 3);
  param->SetMajorTableCorrelationName(u"T0");
  param->SetConditions(Conditions().add(u"U_No", co_LessOrEqual, u"B").get());
  behave(pb_NoPrefetch);
  const auto joined = [this](etTABLE_JOIN_MODE mode) {
    CQXLinkTableCriteria link(u"@LINES", u"T1", mode, true);
    link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_No", u"U_OrderNo"));
    link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Item", CComVariant(u"I1"), co_Equal));
    link.SetFields({u"U_Qty"});
    param->SetLinkTableCriterias(
        qx_ptr<std::vector<CQXLinkTableCriteria>>(new std::vector{link}, true));
    return select();
  };
  EXPECT_THAT(joined(jm_Inner), ElementsAre("A|3|1.5"));
  EXPECT_THAT(joined(jm_LeftOuter), ElementsAre("A|3|1.5", "B|2|0"));
}

TEST_F(CacheStatements, AnInsertAddsTheRowWithItsCode) {
  const TyRow row{{{u"U_No", u"G"}},
                  {{u"U_No", u"G"},
                   {u"U_Who", u"it's"},
                   {u"U_Day", dateValue(2024, 2, 29)},
                   {u"U_Total", -0.25},
                   {u"U_Count", 7}}};
  run(generator.BuildSQL_Insert(u"@ORDERS", true, row, 255));
  setKeys({u"U_No"});
  setFields({u"Code", u"Name", u"U_Who", u"U_Day", u"U_Total", u"U_Count"});
  param->SetConditions(generator.GetConditionsFromKeyFields(row.m_KeyFields));
  behave(pb_NoPrefetch);
  EXPECT_THAT(select(), ElementsAre("G|000000FF|000000FF|it's|2024-02-29 00:00:00|-0.25|7"));
}

TEST_F(CacheStatements, AnUpdateAndADeleteTouchTheRowsOfTheKeyOnly) {
  run(generator.BuildSQL_Update(u"@ORDERS",
                                {{{u"U_Who", u"Cid"}, {u"U_Day", dateValue(2024, 1, 31)}},
                                 {{u"U_Count", 77}, {u"U_Day", dateValue(2025, 1, 1)}}}));
  setFields({u"U_Count", u"U_Day"});
  param->SetConditions(Conditions().add(u"U_Who", co_Equal, u"Cid").get());
  behave(pb_NoPrefetch);
  EXPECT_THAT(select(), ElementsAre("C|2|2023-12-31 00:00:00", "D|77|2025-01-01 00:00:00",
                                    "E|9|2024-03-01 00:00:00"));
  run(generator.BuildSQL_Delete(u"@ORDERS", {{u"U_Who", u"Cid"}, {u"U_Count", 77}}));
  EXPECT_THAT(select(), ElementsAre("C|2|2023-12-31 00:00:00", "E|9|2024-03-01 00:00:00"));
}

TEST_F(CacheStatements, OnlyThoseOfDb2NeedTheKeyOfTheConnectionString) {
  behave(pb_NoPrefetch);
  const bool isDb2 = medium().is(qx::kDb2);
  EXPECT_EQ(failureOf([this] { login->query(generator.BuildSQL_Select(param).m_str); }),
            isDb2 ? "_com_error -2000" : "no failure");
  EXPECT_EQ(
      login->lastError(),
      isDb2 ? "the name [U_No] is not written as DB2 has it; write U_No (line 1, column 8)" : "");
}

}  // namespace
