// The messages when a PostgreSQL server refuses a statement.

#include "qxdesk/company/test_support.h"
#include "qxframework/automation/text.h"
#include "testing/odbc_program.h"

namespace qx::desk {
namespace {

class PostgresFaultsTest : public CompanyTest {
 protected:
  /// Makes every change of an item fail with that state and message.
  void failWith(const std::string& state, const std::string& message) {
    test::OdbcProgram other(database.substr(std::string("odbc:").size()));
    other.run(
        "CREATE OR REPLACE FUNCTION refuse() RETURNS trigger AS $$ BEGIN RAISE EXCEPTION "
        "USING ERRCODE = '" +
        state + "', MESSAGE = E'" + message + "'; END $$ LANGUAGE plpgsql");
    other.run(
        "CREATE OR REPLACE TRIGGER refuse BEFORE UPDATE ON hvitem FOR EACH ROW EXECUTE "
        "FUNCTION refuse()");
  }
  std::u16string failureOf(const std::u16string& sql = u"UPDATE HVITEM SET InStock = 1") {
    const auto rows = businessObject<IRecordset>(company, kRecordset);
    EXPECT_EQ(raisedBy([&] { rows->DoQuery(CComBSTR(sql)); }), kSqlFailure);
    return lastError(company).text;
  }
};

TEST_P(PostgresFaultsTest, ATextThatIsNotANumberIsReported) {
  EXPECT_EQ(
      failureOf(u"SELECT CAST(ItemText AS int) FROM HVITEM WHERE ItemNo = 'A1000'"),
      u"A text is not the number or the date that is needed in its place (invalid input syntax "
      u"for type bigint: \"not a whole number: Hammer\"). Correct the value.");
  EXPECT_EQ(
      failureOf(u"SELECT CAST(ItemText AS float) FROM HVITEM WHERE ItemNo = 'A1000'"),
      u"A text is not the number or the date that is needed in its place (invalid input syntax "
      u"for type numeric: \"not a number: Hammer\"). Correct the value.");
}

TEST_P(PostgresFaultsTest, AStatementThatTheServerStopsIsReported) {
  failWith("57014", "canceling statement due to statement timeout");
  EXPECT_EQ(failureOf(),
            u"The statement was stopped before its end, by its time limit or by an administrator "
            u"(canceling statement due to statement timeout). Try again; if it happens again, ask "
            u"for fewer rows at a time or have the limit raised.");
}

TEST_P(PostgresFaultsTest, AnAbortedTransactionIsReportedAndRolledBack) {
  failWith("25P02", "current transaction is aborted");
  company->StartTransaction();
  query(company, u"UPDATE HVCOMP SET Country = 'FR'");
  EXPECT_EQ(failureOf(),
            u"An earlier statement of the transaction failed, and the database accepts no more of "
            u"it (current transaction is aborted). The transaction was rolled back; nothing of it "
            u"was kept. Start it again from its beginning.");
  EXPECT_EQ(raisedBy([&] { company->EndTransaction(et_Commit); }), kWrongTransactionState);
  EXPECT_EQ(rowsOf(company, u"SELECT Country FROM HVCOMP"), u"DE");
}

TEST_P(PostgresFaultsTest, AMessageOfSeveralLinesBecomesOneLine) {
  failWith("P0001", "one\\n  two\\r\\n\\nthree");
  EXPECT_EQ(failureOf(), u"one two three");
}

INSTANTIATE_TEST_SUITE_P(Postgres, PostgresFaultsTest, testing::Values(Engine::Postgres));

}  // namespace
}  // namespace qx::desk
