// Queries that make no sense are refused with a text that says why, and change nothing.

#include "qxframework/automation/text.h"
#include "tests/persistence/company_fixture.h"
#include "tests/support/spying_company.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace {

using Persistence::co_Equal;
using Persistence::co_Greater;
using Persistence::co_Like;
using Persistence::co_NotEqual;
using Persistence::HvConditionOperation;
using qx::test::Conditions;
using qx::test::dateValue;
using qx::test::failureOf;
using qx::test::kRefusal;
using qx::test::medium;
using qx::test::Record;
using qx::test::Rows;
using qx::test::values;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

class BadQueries : public qx::test::CompanyFixture {
 protected:
  BadQueries() {
    addOrder(u"A", u"Ann", dateValue(2024, 1, 31), 12.5, 3);
    addOrder(u"B", u"Ben", dateValue(2024, 2, 1), -0.25, 2);
  }
  void TearDown() override {
    Rows orders(company(), u"@ORDERS");
    orders.SetFields({u"U_No", u"U_Who"});
    orders.Load({u"Code"}, {});
    EXPECT_THAT(orders.all(), ElementsAre("A|Ann", "B|Ben")) << "nothing was changed";
    EXPECT_EQ(login->rows(u"SELECT * FROM HVPARTN").size(), 3U);
  }
  std::string loading(const OLECHAR* table, const qx::test::Columns& fields,
                      const qx_ptr<Persistence::CConditions>& conditions = {}) const {
    Rows rows(company(), table);
    rows.SetFields(fields);
    return failureOf([&] { rows.Load({u"Code"}, conditions); });
  }
};

constexpr char kNoMatch[] =
    "The given map of key fields does not match the key field list of this obejct";

TEST_F(BadQueries, KeyMapsMustBeTheKey) {
  Rows orders(company(), u"@ORDERS");
  orders.Load({u"U_No", u"U_Who"}, {});
  Record record;
  const auto tooShort = values({{u"U_No", u"A"}});
  const auto tooLong = values({{u"U_No", u"A"}, {u"U_Who", u"Ann"}, {u"Code", u"0"}});
  const auto misordered = values({{u"U_Who", u"Ann"}, {u"U_No", u"A"}});
  const auto otherCase = values({{u"U_NO", u"A"}, {u"U_Who", u"Ann"}});
  for (const auto& keys : {tooShort, tooLong, misordered, otherCase, values({})}) {
    EXPECT_EQ(failureOf([&] { orders.GetByKey(keys, record); }), kNoMatch);
    EXPECT_EQ(failureOf([&] { orders.Exists(keys); }), kNoMatch);
    EXPECT_EQ(failureOf([&] { orders.Update(keys, Record{{u"U_Count", 9}}); }), kNoMatch);
    EXPECT_EQ(failureOf([&] { orders.Remove(keys); }), kNoMatch);
  }
}

TEST_F(BadQueries, ValuesThatMatchNoRowFindNothing) {
  Rows orders(company(), u"@ORDERS");
  orders.Load({u"U_No"}, {});
  Record record;
  EXPECT_EQ(failureOf([&] {
              orders.Find(values({{u"U_Nowhere", u"A"}}), record);
            }),
            "_com_error " + std::to_string(DISP_E_BADINDEX));
  EXPECT_THAT(login->lastError(), HasSubstr("U_Nowhere"));
  EXPECT_FALSE(orders.Find(values({{u"U_No", 7}}), record));
  EXPECT_EQ(failureOf([&] {
              orders.GetByKey(values({{u"U_No", u"a"}}), record);
            }),
            "No match found");
}

TEST_F(BadQueries, RemoveRangeKnowsEqualOnly) {
  Rows orders(company(), u"@ORDERS");
  for (const HvConditionOperation operation : {co_Like, co_Greater, co_NotEqual}) {
    EXPECT_EQ(
        failureOf([&] {
          orders.RemoveRange(values({{u"U_No", u"A"}, {u"U_Count", 3}}), {co_Equal, operation});
        }),
        "Only EQUAL is allowed as operation in the conditions");
  }
  EXPECT_EQ(failureOf([&] {
              orders.RemoveRange(values({{u"U_No", u"A"}, {u"U_Count", 3}}), {co_Equal});
            }),
            "Operations count is less than the count of key fields");
}

TEST_F(BadQueries, RemoveRangeOfNothingIsRefused) {
  Rows orders(company(), u"@ORDERS");
  EXPECT_THAT(failureOf([&] { orders.RemoveRange({}, {}); }), StartsWith("-2000: "));
}

TEST_F(BadQueries, BracketsThatDoNotPairAreRefusedWithTheirPlace) {
  const auto bracketed = [](long open, long close) {
    return Conditions().add(u"U_No", co_Equal, u"A").brackets(open, close).get();
  };
  EXPECT_THAT(loading(u"@ORDERS", {u"U_No"}, bracketed(1, 0)),
              MatchesRegex("-2000: '\\)' is expected near 'ORDER' \\(line 1, column [0-9]+\\)"));
  EXPECT_THAT(loading(u"@ORDERS", {u"U_No"}, bracketed(0, 1)),
              MatchesRegex("-2000: one statement per call; unexpected text near '\\)' "
                           "\\(line 1, column [0-9]+\\)"));
  EXPECT_THAT(loading(u"@ORDERS", {u"U_No"}, bracketed(3, 2)),
              MatchesRegex("-2000: '\\)' is expected near 'ORDER' \\(line 1, column [0-9]+\\)"));
  EXPECT_THAT(loading(u"@ORDERS", {u"U_No"}, bracketed(10000, 10000)),
              HasSubstr("nested too deeply"));
}

TEST_F(BadQueries, NoConditionsAreNotTheSameAsNone) {
  EXPECT_THAT(loading(u"@ORDERS", {u"U_No"}, Conditions().get()), StartsWith("-2000: "));
}

TEST_F(BadQueries, NamesThatAreNoneAreRefused) {
  for (const OLECHAR* name :
       {u"U_N]o", u"U_N[o", u"[U_No]]", u"U_N\"o", u"\"U_No", u"U_N'o", u"'", u"U No", u"",
        u"U_No; DELETE FROM HVPARTN", u"U_No FROM HVPARTN; DELETE FROM HVPARTN --", u"U_No--",
        u"U_No/*", u"nowhere", u"\xD83D"}) {
    EXPECT_THAT(loading(u"@ORDERS", {name}), StartsWith("-2000: ")) << qx::toUtf8(name);
    EXPECT_THAT(loading(u"@ORDERS", {u"U_No"}, Conditions().add(name, co_Equal, u"A").get()),
                StartsWith("-2000: "))
        << qx::toUtf8(name);
    Rows orders(company(), u"@ORDERS");
    EXPECT_THAT(failureOf([&] {
                  orders.Add(Record{{name, u"A"}});
                }),
                StartsWith("-2000: "))
        << qx::toUtf8(name);
    EXPECT_THAT(failureOf([&] {
                  orders.RemoveRange(values({{name, u"A"}}), {});
                }),
                StartsWith("-2000: "))
        << qx::toUtf8(name);
  }
}

TEST_F(BadQueries, TablesThatAreNoneAreRefused) {
  for (const OLECHAR* name :
       {u"@ORD]ERS", u"@ORDERS]", u"@ORD\"ERS", u"@ORDERS; DELETE FROM HVPARTN", u"@", u"@NOWHERE",
        u"NOWHERE", u"OR DERS", u"@ORDERS] T0 WHERE 1 = 1; DELETE FROM [HVPARTN", u"sqlite_master",
        u"pg_class", u"HVPARTN'"}) {
    EXPECT_THAT(loading(name, {u"Code"}), StartsWith("-2000: ")) << qx::toUtf8(name);
    Rows rows(company(), name);
    EXPECT_THAT(failureOf([&] {
                  rows.RemoveRange(values({{u"Code", u"A"}}), {});
                }),
                StartsWith("-2000: "))
        << qx::toUtf8(name);
  }
  EXPECT_EQ(loading(u"", {u"Code"}),
            "Collection is not properly initialized, master table name is not set");
}

TEST_F(BadQueries, AQueryWithoutKeyAndConditionsIsRefused) {
  Rows orders(company(), u"@ORDERS");
  EXPECT_EQ(failureOf([&] { orders.Load({}, {}); }),
            "Collection is not properly initialized, neither conditions nor key fields are set");
  EXPECT_FALSE(orders.IsLoaded());
  Rows twice(company(), u"@ORDERS");
  twice.Load({u"Code"}, {});
  EXPECT_EQ(failureOf([&] { twice.Load({u"Code"}, {}); }),
            "Proxy is already connected to a initialized persistent collection");
}

// ---- a database that fails

class FailingDatabase : public BadQueries {
 protected:
  FailingDatabase() : spied(qx::test::spyOn(company(), &log)) {}

  /// Reads and writes of all kinds, in a transaction that is kept if all went well. What became of
  /// it.
  std::string run() {
    log.texts.clear();
    company()->StartTransaction();
    const std::string failure = failureOf([&] { change(); });
    company()->EndTransaction(failure == "no failure" ? VARIANT_TRUE : VARIANT_FALSE);
    return failure;
  }
  void change() {
    Rows currencies(spied, u"HVCURR");
    currencies.Add(Record{{u"Currency", u"PLN"}, {u"CurrencyName", u"Zloty"}});
    currencies.SetKeysOnly(true);
    currencies.SetMaxRecordCount(3);
    currencies.Load({u"Currency"}, {});
    Record record;
    for (long at = currencies.First(record); at == 0; at = currencies.Next(record)) continue;
    currencies.SetMaxRecordCount(-1);
    currencies.SetKeysOnly(false);
    currencies.Load({u"Currency"}, {});
    currencies.Update(values({{u"Currency", u"PLN"}}), Record{{u"CurrencyName", u"New zloty"}});
    currencies.Remove(values({{u"Currency", u"HUF"}}));
    currencies.Refresh(record);
    qx::test::OneRow row;
    row.Connect(spied, u"HVCURR", false);
    row.Load(Conditions().add(u"Currency", co_Equal, u"USD").get());
    row.Update(Record{{u"CurrencyName", u"Dollar"}});
    row.Refresh();
    currencies.RemoveRange(values({{u"Currency", u"EUR"}}), {});
  }
  std::vector<std::string> currencies() const {
    Rows rows(company(), u"HVCURR");
    rows.SetFields({u"Currency", u"CurrencyName"});
    rows.Load({u"Currency"}, {});
    return rows.all();
  }

  qx::test::StatementLog log;
  CComPtr<ICompany> spied;
};

TEST_F(FailingDatabase, EveryStatementThatFailsIsToldAndNothingIsHalfWritten) {
  const auto before = currencies();
  for (log.refuse = 1;; ++log.refuse) {
    const std::string outcome = run();
    if (log.texts.size() < log.refuse) {
      EXPECT_EQ(outcome, "no failure");
      break;
    }
    // A text that is run again is not wrapped up.
    const auto times = std::count(log.texts.begin(), log.texts.end(), log.texts.back());
    EXPECT_EQ(outcome, times == 1 ? kRefusal : "_com_error " + std::to_string(E_FAIL))
        << log.texts.back();
    EXPECT_EQ(log.texts.size(), log.refuse) << "nothing more was tried";
    if (medium().is(qx::kSybase)) login->query(u"SET ROWCOUNT 0");  // the limit may be left behind
    EXPECT_EQ(currencies(), before);
  }
  EXPECT_GT(log.refuse, 12U);
  EXPECT_THAT(currencies(), ElementsAre("GBP|Pound", "PLN|New zloty", "USD|Dollar"));
}

TEST_F(FailingDatabase, EveryStatementOfASearchThatFailsCountsAsNotFound) {
  Rows currencies(spied, u"HVCURR");
  currencies.SetKeysOnly(true);
  currencies.Load({u"Currency"}, {});
  const auto key = values({{u"Currency", u"GBP"}});
  Record record{{u"kept", u"kept"}};
  log.refuse = log.texts.size() + 1;
  EXPECT_FALSE(currencies.Find(key, record));
  EXPECT_EQ(record.text(), "kept");
  log.refuse = log.texts.size() + 1;
  EXPECT_FALSE(currencies.Exists(key));
  log.refuse = log.texts.size() + 1;
  EXPECT_EQ(failureOf([&] {
              currencies.Update(key, Record{{u"CurrencyName", u"x"}});
            }),
            "Record not found in record set");
  log.refuse = 0;
  EXPECT_TRUE(currencies.Find(key, record));
  EXPECT_TRUE(currencies.Exists(key));
}

TEST_F(FailingDatabase, ANewCodeThatCannotBeReadIsEmpty) {
  company()->StartTransaction();
  log.refuse = 1;
  Rows orders(spied, u"@ORDERS");
  EXPECT_EQ(failureOf([&] { orders.Add(Record{{u"U_No", u"C"}}); }), "no failure");
  Rows fresh(company(), u"@ORDERS");
  fresh.SetFields({u"Code", u"Name", u"U_No"});
  fresh.Load({u"Code"}, Conditions().add(u"U_No", co_Equal, u"C").get());
  EXPECT_THAT(fresh.all(), ElementsAre("||C"));
  company()->EndTransaction(VARIANT_FALSE);
}

}  // namespace
