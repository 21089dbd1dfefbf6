// A database that refuses one statement, each in turn: the add-on receives the failure, earlier
// steps keep their effect, and the step that failed writes nothing.

#include "qxframework/automation/text.h"
#include "qxframework/query/link_criteria.h"
#include "testing/param_name.h"
#include "testing/spying_company.h"
#include "tests/media/company_fixture.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <ostream>

namespace {

using Persistence::co_Equal;
using Persistence::CQXLinkFieldCriteria;
using Persistence::CQXLinkTableCriteria;
using qx::test::Conditions;
using qx::test::dateValue;
using qx::test::failureOf;
using qx::test::kRefusal;
using qx::test::medium;
using qx::test::OneRow;
using qx::test::Record;
using qx::test::Rows;
using qx::test::values;
using testing::ElementsAre;
using testing::ElementsAreArray;

using Steps = std::vector<std::function<void()>>;

/// The work of an add-on, in steps of one change each. The steps own the proxies that they use.
struct Work {
  std::string name;
  Steps (*steps)(const CComPtr<ICompany>& company);
};

void PrintTo(const Work& each, std::ostream* out) { *out << each.name; }

struct Proxies {
  explicit Proxies(const CComPtr<ICompany>& company, const OLECHAR* table) : rows(company, table) {
    row.Connect(company, table, *table == u'@');
  }
  void load(const OLECHAR* key, bool keysOnly) {
    rows.SetKeysOnly(keysOnly);
    rows.SetMaxRecordCount(keysOnly ? 3 : -1);
    rows.Load({key}, {});
  }
  void walk() {
    for (long at = rows.First(record); at == 0; at = rows.Next(record)) continue;
  }

  Rows rows;
  OneRow row;
  Record record;
};

Steps hostTable(const CComPtr<ICompany>& company) {
  const auto at = std::make_shared<Proxies>(company, u"HVCURR");
  const auto key = [](const OLECHAR* currency) { return values({{u"Currency", currency}}); };
  return {[=] {
            at->rows.Add(Record{{u"Currency", u"PLN"}, {u"CurrencyName", u"Zloty"}});
          },
          [=] { at->load(u"Currency", true); },
          [=] { at->walk(); },
          [=] { at->load(u"Currency", false); },
          [=] {
            at->rows.Update(key(u"PLN"), Record{{u"CurrencyName", u"New zloty"}});
          },
          [=] { at->rows.Remove(key(u"HUF")); },
          [=] { at->rows.Refresh(at->record); },
          [=] { at->row.Load(Conditions().add(u"Currency", co_Equal, u"USD").get()); },
          [=] {
            at->row.Update(Record{{u"CurrencyName", u"Dollar"}});
          },
          [=] { at->row.Refresh(); },
          [=] { at->rows.RemoveRange(key(u"EUR"), {}); }};
}

Steps userTable(const CComPtr<ICompany>& company) {
  const auto at = std::make_shared<Proxies>(company, u"@ORDERS");
  const auto key = [](const OLECHAR* number) { return values({{u"U_No", number}}); };
  return {[=] {
            at->rows.Add(Record{{u"U_No", u"C"}, {u"U_Who", u"Cid"}});
          },
          [=] { at->load(u"U_No", true); },
          [=] { at->walk(); },
          [=] { at->load(u"U_No", false); },
          [=] {
            at->rows.Update(key(u"C"), Record{{u"U_Who", u"Cyd"}, {u"U_Total", 1.5}});
          },
          [=] { at->rows.Remove(key(u"A")); },
          [=] { at->rows.Refresh(at->record); },
          [=] { at->rows.RemoveRange(key(u"B"), {}); },
          [=] {
            at->rows.Add(Record{{u"U_No", u"D"}, {u"U_Who", u"Dan"}});
          }};
}

Steps object(const CComPtr<ICompany>& company) {
  const auto at = std::make_shared<Proxies>(company, u"@ORDERS");
  return {[=] { at->row.Load(Conditions().add(u"U_No", co_Equal, u"B").get()); },
          [=] {
            at->row.Update(Record{{u"U_Who", u"Bea"}});
          },
          [=] { at->row.Refresh(); }, [=] { at->row.Remove(); }};
}

/// Creates new proxies in each step: a proxy quotes the constant of a join again in each statement,
/// so it cannot repeat one.
Steps join(const CComPtr<ICompany>& company) {
  const auto joined = [](auto& proxy, const OLECHAR* item) {
    CQXLinkTableCriteria lines(u"@LINES", u"T1", Persistence::jm_Inner, true);
    lines.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_No", u"U_OrderNo"));
    lines.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Item", CComVariant(item), co_Equal));
    lines.SetFields({u"U_Qty"});
    proxy.SetCorrelationName(u"T0");
    proxy.SetFields({u"Code", u"U_No"});
    proxy.AddLinkTableCriteria(lines);
  };
  return {[=] {
            Rows rows(company, u"@ORDERS");
            joined(rows, u"I1");
            rows.SetMaxRecordCount(2);
            rows.Load({u"Code"}, {});
            EXPECT_THAT(rows.all(), ElementsAre("00000000|A|1.5"));
          },
          [=] {
            OneRow row;
            row.Connect(company, u"@ORDERS", true);
            joined(row, u"I2");
            row.Load(Conditions().add(u"U_No", co_Equal, u"B").get());
            row.Remove();
          }};
}

class FailingDatabase : public qx::test::CompanyFixture, public testing::WithParamInterface<Work> {
 protected:
  FailingDatabase() { begin(); }

  /// Starts with a new company and its rows.
  void begin() {
    if (used) {
      login.reset();
      database = qx::test::CompanyStore::fresh(folder.path());
      login = std::make_unique<qx::test::Login>(database);
    }
    used = true;
    addOrder(u"A", u"Ann", dateValue(2024, 1, 31), 12.5, 3);
    addOrder(u"B", u"Ben", dateValue(2024, 2, 1), -0.25, 2);
    addLine(u"A", u"I1", 1.5);
    addLine(u"B", u"I2", 2);
    log = {};
    steps = GetParam().steps(qx::test::spyOn(company(), &log));
  }
  /// Returns all rows that the steps could change.
  std::vector<std::string> rows() const {
    std::vector<std::string> all = rowsOf(u"HVCURR", u"Currency", {u"Currency", u"CurrencyName"});
    for (const auto& row : rowsOf(u"@ORDERS", u"Code", {u"Code", u"U_No", u"U_Who", u"U_Total"}))
      all.push_back(row);
    for (const auto& row : rowsOf(u"@LINES", u"Code", {u"Code", u"U_OrderNo", u"U_Item"}))
      all.push_back(row);
    return all;
  }
  std::vector<std::string> rowsOf(const OLECHAR* table, const OLECHAR* key,
                                  const qx::test::Columns& columns) const {
    Rows rows(company(), table);
    rows.SetFields(columns);
    rows.Load({key}, {});
    return rows.all();
  }
  /// Runs all steps without a refusal. Returns the rows before the first step and after each step,
  /// and counts the statements.
  std::vector<std::vector<std::string>> rowsOfAllSteps() {
    std::vector<std::vector<std::string>> all{rows()};
    for (const auto& step : steps) {
      EXPECT_EQ(failureOf(step), "no failure") << "step " << all.size();
      all.push_back(rows());
    }
    statements = log.texts.size();
    return all;
  }
  /// Runs the steps up to the refused statement. Returns the index of its step.
  std::size_t runIntoRefusal() {
    for (std::size_t step = 0; step < steps.size(); ++step) {
      const std::string outcome = failureOf(steps[step]);
      if (log.texts.size() < log.refuse) {
        EXPECT_EQ(outcome, "no failure");
        continue;
      }
      EXPECT_EQ(log.texts.size(), log.refuse) << "a statement was run after the refused one";
      EXPECT_EQ(outcome, refusalOfLast());
      return step;
    }
    ADD_FAILURE() << "nothing was refused";
    return 0;
  }
  /// Returns the expected failure of the last statement. The failure of a statement that is
  /// repeated is not wrapped into a CQXPersistenceException.
  std::string refusalOfLast() const {
    const auto times = std::count(log.texts.begin(), log.texts.end(), log.texts.back());
    return times == 1 ? kRefusal : "_com_error " + std::to_string(E_FAIL);
  }
  /// True if the refused statement reads the next code: its failure is not reported, and the code
  /// stays empty (see FailingSearch).
  bool refusesANewCode(const std::vector<std::string>& texts) const {
    return texts[log.refuse - 1].starts_with("SELECT MAX(");
  }
  /// Resets the row limit of Sybase, which remains set if the statement after it is refused.
  void resetLimit() const {
    if (medium().is(qx::kSybase)) login->query(u"SET ROWCOUNT 0");
  }

  bool used = false;  ///< true once the company of the base class has been worked on
  qx::test::StatementLog log;
  Steps steps;
  std::size_t statements = 0;
};

TEST_P(FailingDatabase, RefusedStatementIsReportedAndItsStepWritesNothing) {
  const auto after = rowsOfAllSteps();
  const std::vector<std::string> texts = log.texts;
  EXPECT_NE(after.front(), after.back());
  std::size_t tried = 0;
  for (std::size_t refused = 1; refused <= statements; ++refused) {
    SCOPED_TRACE(texts[refused - 1]);
    begin();
    log.refuse = refused;
    if (refusesANewCode(texts)) continue;
    const std::size_t step = runIntoRefusal();
    ++tried;
    log.refuse = 0;
    resetLimit();
    EXPECT_THAT(rows(), ElementsAreArray(after[step]));
    for (std::size_t i = step; i < steps.size(); ++i)
      EXPECT_EQ(failureOf(steps[i]), "no failure") << "the work continues at step " << i;
    EXPECT_THAT(rows(), ElementsAreArray(after.back()));
  }
  EXPECT_GE(tried, steps.size()) << "every step runs at least one statement";
}

TEST_P(FailingDatabase, RollbackAfterARefusedStatementLeavesNothing) {
  const auto before = rowsOfAllSteps().front();
  const std::vector<std::string> texts = log.texts;
  begin();
  std::size_t tried = 0;
  for (std::size_t refused = 1; refused <= statements; ++refused) {
    SCOPED_TRACE(texts[refused - 1]);
    steps = GetParam().steps(qx::test::spyOn(company(), &log));
    log = {.texts = {}, .refuse = refused, .onStatement = {}};
    if (refusesANewCode(texts)) continue;
    company()->StartTransaction();
    runIntoRefusal();
    ++tried;
    EXPECT_EQ(company()->GetInTransaction(), VARIANT_TRUE) << "the add-on must end the transaction";
    company()->EndTransaction(et_RollBack);
    log.refuse = 0;
    resetLimit();
    EXPECT_THAT(rows(), ElementsAreArray(before));
  }
  EXPECT_GE(tried, steps.size()) << "every step runs at least one statement";
}

INSTANTIATE_TEST_SUITE_P(Work, FailingDatabase,
                         testing::Values(Work{"HostTable", &hostTable},
                                         Work{"UserTable", &userTable}, Work{"Object", &object},
                                         Work{"Join", &join}),
                         qx::test::nameOf<Work>);

// ---- failures that are not reported

class FailingSearch : public qx::test::CompanyFixture {
 protected:
  qx::test::StatementLog log;
  CComPtr<ICompany> spied = qx::test::spyOn(company(), &log);
};

TEST_F(FailingSearch, ReturnsNotFound) {
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
  for (const bool update : {true, false}) {
    log.refuse = log.texts.size() + 1;
    EXPECT_EQ(failureOf([&] {
                if (!update) return currencies.Remove(key);
                currencies.Update(key, Record{{u"CurrencyName", u"x"}});
              }),
              "Record not found in record set");
  }
  log.refuse = 0;
  EXPECT_TRUE(currencies.Find(key, record));
  EXPECT_EQ(record.of(u"CurrencyName"), "Pound");
  EXPECT_TRUE(currencies.Exists(key));
}

TEST_F(FailingSearch, LeavesANewCodeEmpty) {
  log.refuse = 1;
  Rows orders(spied, u"@ORDERS");
  EXPECT_EQ(failureOf([&] { orders.Add(Record{{u"U_No", u"C"}}); }), "no failure");
  Rows fresh(company(), u"@ORDERS");
  fresh.SetFields({u"Code", u"Name", u"U_No"});
  fresh.Load({u"Code"}, {});
  EXPECT_THAT(fresh.all(), ElementsAre("||C"));
}

}  // namespace
