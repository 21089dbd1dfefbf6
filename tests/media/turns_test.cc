// The turns to a server that the operations of proxies take, counted between the driver and the
// server. Business code runs them in loops, so that each turn is time of every user.

#include "testing/turn_counter.h"
#include "tests/media/company_fixture.h"

namespace {

using Persistence::co_Equal;
using qx::test::Conditions;
using qx::test::dateValue;
using qx::test::Login;
using qx::test::OneRow;
using qx::test::Record;
using qx::test::Rows;
using qx::test::TurnCounter;
using qx::test::values;

constexpr std::string_view kOdbc = "odbc:";

class Turns : public qx::test::CompanyFixture {
 protected:
  Turns() {
    addOrder(u"A", u"Ann", dateValue(2024, 1, 31), 12.5, 3);
    addOrder(u"B", u"Ben", dateValue(2024, 2, 1), -0.25, 2);
    addOrder(u"C", u"Cid", dateValue(2023, 12, 31), 1234.5, 2);
    login = std::make_unique<Login>(std::string(kOdbc) + counter_.connection());
  }
  /// Runs the work a few times, so that its statements are known, and returns the turns of one more
  /// run. The driver and the server may take some runs to settle.
  template <class Work>
  int turnsOf(Work work) {
    constexpr int kRuns = 3;
    for (int i = 0; i < kRuns; ++i) work();
    const int before = counter_.turns();
    work();
    return counter_.turns() - before;
  }
  /// The same within a transaction.
  template <class Work>
  int turnsInTransaction(Work work) {
    company()->StartTransaction();
    const int turns = turnsOf(work);
    company()->EndTransaction(et_RollBack);
    return turns;
  }
  void addOne() { addOrder(u"D", u"Don", dateValue(2024, 3, 1), 1.5, next_++); }
  void loadOne(bool fields) {
    OneRow row;
    row.Connect(company(), u"@ORDERS", true);
    if (fields) row.SetFields({u"Code", u"U_No", u"U_Day"});
    row.Load(Conditions().add(u"U_No", co_Equal, u"B").get());
    Record record;
    row.GetFields(record);
    EXPECT_EQ(record.of(u"U_No"), "B");
  }

 private:
  TurnCounter counter_{database.substr(kOdbc.size())};
  long next_ = 10;
};

TEST_F(Turns, AnAddTakesTwo) {
  EXPECT_EQ(turnsOf([&] { addOne(); }), 2);
}

TEST_F(Turns, ALoadTakesOne) {
  EXPECT_EQ(turnsOf([&] { loadOne(true); }), 1);
}

TEST_F(Turns, ALoadOfAllColumnsTakesOne) {
  EXPECT_EQ(turnsOf([&] { loadOne(false); }), 1);
}

TEST_F(Turns, AnUpdateTakesOne) {
  OneRow row;
  row.Connect(company(), u"@ORDERS", true);
  row.SetFields({u"U_No", u"U_Count"});
  row.Load(Conditions().add(u"U_No", co_Equal, u"B").get());
  EXPECT_EQ(turnsOf([&] { row.Update(Record{{u"U_Count", 7L}}); }), 1);
}

TEST_F(Turns, ExistsTakesOne) {
  Rows rows(company(), u"@ORDERS");
  rows.Load({u"U_No"}, {});
  EXPECT_EQ(turnsOf([&] { EXPECT_TRUE(rows.Exists(values({{u"U_No", u"B"}}))); }), 1);
}

TEST_F(Turns, AStepWithKeysOnlyTakesOne) {
  Rows rows(company(), u"@ORDERS");
  rows.SetKeysOnly(true);
  rows.Load({u"Code"}, {});
  Record record;
  EXPECT_EQ(turnsOf([&] { EXPECT_EQ(rows.First(record), 0); }), 1);
}

TEST_F(Turns, AQueryOfManyRowsTakesOne) {
  EXPECT_EQ(turnsOf([&] {
              Rows rows(company(), u"@ORDERS");
              rows.SetKeysOnly(false);
              rows.SetFields({u"Code", u"U_No"});
              rows.Load({u"Code"}, {});
            }),
            1);
}

TEST_F(Turns, AChangeByAnotherProgramIsNoticedWithoutATurnOfItsOwn) {
  EXPECT_EQ(turnsOf([&] { loadOne(false); }), 1);
  qx::test::CompanyStore::run(database, "ALTER TABLE \"@orders\" ADD COLUMN u_more int");
  loadOne(false);
  EXPECT_EQ(turnsOf([&] { loadOne(false); }), 1);
}

// The driver sets a point of return before each statement of a transaction and releases it after.
TEST_F(Turns, AnAddInATransactionTakesTwo) {
  EXPECT_EQ(turnsInTransaction([&] { addOne(); }), 2);
}

TEST_F(Turns, ALoadInATransactionTakesOne) {
  EXPECT_EQ(turnsInTransaction([&] { loadOne(true); }), 1);
}

}  // namespace
