// The codes of new rows: drawn from the database, then counted in memory, and when a company that
// several programs share is asked whether they still follow.

#include "qxframework/cache/testing/cache_fixture.h"
#include "qxframework/query/persistence_exception.h"

namespace Persistence {
namespace {

using namespace qx::test;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr char kDraw[] = "SQL(SELECT MAX(Code) FROM [@T])";

std::string insertOf(const std::string& codeOfRow) {
  return "SQL(INSERT INTO [@T] ([Code], [Name]) \r\nVALUES (N'" + codeOfRow + "', N'" + codeOfRow +
         "'))";
}
std::string asked(long next) { return "Sharing.ContinueCodes(@T, " + std::to_string(next) + ")"; }

class CacheCodes : public CacheFixture {
 protected:
  CacheCodes() { setHighest(u"0000000A"); }
  void setHighest(const OLECHAR* highest) {
    company->answers[u"SELECT MAX(Code) FROM [@T]"] = {{u""}, {{highest}}};
  }
  void add(bool withCode = true) { cache()->Add(u"@T", withCode, TyRow()); }
  void flush() {
    cache()->FlushToDB();
    happened();
  }
  void waitFor(long milliseconds) { clock.advance(std::chrono::milliseconds(milliseconds)); }
  std::vector<std::string> happened() { return std::exchange(company->calls.calls, {}); }

  FakeSharing& sharing = company->share();
};

TEST_F(CacheCodes, AreCountedWithoutAQuestionWhileTheCompanyKeepsThem) {
  for (int i = 0; i < 3; ++i) add();
  EXPECT_THAT(happened(), ElementsAre(kDraw));
  cache()->FlushToDB();
  EXPECT_THAT(happened(),
              ElementsAre(insertOf("0000000B"), insertOf("0000000C"), insertOf("0000000D")));
}

TEST_F(CacheCodes, GoOnAfterAFlushIfTheCompanyAgrees) {
  add();
  flush();
  add();
  add();
  EXPECT_THAT(happened(), ElementsAre(asked(12)));
  cache()->FlushToDB();
  EXPECT_THAT(happened(), ElementsAre(insertOf("0000000C"), insertOf("0000000D")));
}

TEST_F(CacheCodes, AreDrawnAgainAfterAFlushIfAnotherProgramHasAddedRows) {
  add();
  flush();
  sharing.codesGoOn = false;
  setHighest(u"00000014");
  add();
  add();
  EXPECT_THAT(happened(), ElementsAre(asked(12), kDraw));
  cache()->FlushToDB();
  EXPECT_THAT(happened(), ElementsAre(insertOf("00000015"), insertOf("00000016")));
}

TEST_F(CacheCodes, AreAskedForAfterMoreThanASecond) {
  add();
  happened();
  waitFor(1000);
  add();
  EXPECT_THAT(happened(), IsEmpty());
  waitFor(1);
  add();
  add();
  EXPECT_THAT(happened(), ElementsAre(asked(11))) << "with the first code that was not sent";
}

TEST_F(CacheCodes, AreKeptAnewByAQuestion) {
  add();
  flush();
  add();
  waitFor(1000);
  add();
  EXPECT_THAT(happened(), ElementsAre(asked(12)));
}

TEST_F(CacheCodes, GoOnAfterThoseOfTheBufferedRowsIfTheyAreDrawnAgain) {
  for (int i = 0; i < 3; ++i) add();
  waitFor(1001);
  sharing.codesGoOn = false;
  setHighest(u"0000000B");
  add();
  happened();
  cache()->FlushToDB();
  EXPECT_EQ(happened().back(), insertOf("0000000E"));
}

TEST_F(CacheCodes, AreAskedForAfterACommitAndAfterARollback) {
  const auto held = cache();
  add();
  flush();
  for (const bool commits : {true, false}) {
    held->Add(u"@T", true, TyRow());
    happened();
    commits ? CDBRecordCache::BeforeTransaction_Commit()
            : CDBRecordCache::BeforeTransaction_Rollback();
    happened();
    held->Add(u"@T", true, TyRow());
    EXPECT_EQ(happened().size(), 1U) << commits;
  }
}

TEST_F(CacheCodes, AreAskedForAfterACommitWithoutBufferedRows) {
  add();
  flush();
  add();
  flush();
  CDBRecordCache::BeforeTransaction_Commit();
  add();
  EXPECT_THAT(happened(), ElementsAre(asked(13)));
}

TEST_F(CacheCodes, AreDrawnIfTheCompanyDoesNotAnswer) {
  add();
  flush();
  company->calls.failures["Sharing.ContinueCodes"] = qx::resultCode(-2105);
  add();
  EXPECT_THAT(happened(), ElementsAre(asked(12), kDraw));
}

TEST_F(CacheCodes, AreDrawnByTheNextAddIfADrawFails) {
  add();
  flush();
  sharing.codesGoOn = false;
  company->calls.failures["SQL SELECT"] = E_FAIL;
  EXPECT_THROW(add(), CQXPersistenceException);
  company->calls.failures.clear();
  setHighest(u"00000014");
  happened();
  add();
  EXPECT_THAT(happened(), ElementsAre(asked(12), kDraw));
}

TEST_F(CacheCodes, AreNotAskedForByAnAddWithoutACode) {
  add();
  flush();
  add(false);
  EXPECT_THAT(happened(), IsEmpty());
  add();
  EXPECT_THAT(happened(), ElementsAre(asked(13))) << "which has counted a code all the same";
}

TEST_F(CacheCodes, Above31BitsAreAskedForWithoutASign) {
  setHighest(u"7FFFFFFF");
  add();
  flush();
  add();
  EXPECT_THAT(happened(), ElementsAre(asked(0x80000001)));
}

TEST_F(CacheCodes, AreCountedWithoutAQuestionForACompanyThatIsNotShared) {
  company->sharing.Release();
  add();
  flush();
  waitFor(100000);
  add();
  EXPECT_THAT(happened(), IsEmpty());
  cache()->FlushToDB();
  EXPECT_THAT(happened(), ElementsAre(insertOf("0000000C")));
}

TEST_F(CacheCodes, AreAskedForOncePerFullBuffer) {
  for (int i = 0; i < 300; ++i) add();
  const auto calls = happened();
  EXPECT_EQ(
      std::ranges::count_if(calls, [](const auto& call) { return call.starts_with("Sharing."); }),
      2);
}

}  // namespace
}  // namespace Persistence
