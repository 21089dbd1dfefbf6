// Writes, which change the cache and not the rows of the collection.

#include "qxframework/cache/cached_collection.h"
#include "qxframework/cache/testing/cached_collection_fixture.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace Persistence {
namespace {

using namespace qx::test;
using testing::ElementsAre;
using testing::IsEmpty;

class CachedCollectionWrites : public CachedCollectionFixture {
 protected:
  void setKeys(const std::vector<CComBSTR>& keys) {
    parts.GetLoadParameter()->SetKeyFields(&keys);
    wait(1);
  }
  std::string inMemory(const TyFieldValues& key) { return shown(cache()->GetRowByKey(key)); }
};

TEST_F(CachedCollectionWrites, AddInsertsTheFieldsOfTheRecord) {
  parts.Add(Part(u"N", 5));
  EXPECT_THAT(sent(), ElementsAre("INSERT INTO [@T] ([Code], [U_N]) \r\nVALUES (N'N', 5)"));
}

TEST_F(CachedCollectionWrites, AddStoresARowUnderItsKeyFieldsOnly) {
  parts.Load();
  parts.Add(Part(u"N", 5));
  EXPECT_EQ(inMemory(code(u"N")), "Code=N | Code=N U_N=5");
}

TEST_F(CachedCollectionWrites, AddTakesTheKeyInItsOwnOrder) {
  setKeys({u"U_N", u"Code"});
  company->otherwise = {{u"__kf__.U_N", u"__kf__.Code", u"Code", u"U_N"}, {{1, u"A", u"A", 1}}};
  parts.Load();
  parts.Add(Part(values({{u"Code", u"N"}, {u"U_X", u"x"}, {u"U_N", 5}})));
  EXPECT_EQ(inMemory(values({{u"U_N", 5}, {u"Code", u"N"}})), "U_N=5 Code=N | Code=N U_X=x U_N=5");
}

TEST_F(CachedCollectionWrites, AddGivesARowOfAUserTableItsCode) {
  setUp(parts, true);
  parts.Load();
  statements();
  company->answers[u"SELECT MAX(Code) FROM [@T]"] = {{u""}, {{u"000000FE"}}};
  parts.Add(Part(values({{u"U_N", 5}})));
  EXPECT_THAT(sent(), ElementsAre("SELECT MAX(Code) FROM [@T]",
                                  "INSERT INTO [@T] ([Code], [Name], [U_N]) \r\nVALUES "
                                  "(N'000000FF', N'000000FF', 5)"));
  EXPECT_EQ(inMemory(code(u"000000FF")), "Code=000000FF | U_N=5");
}

TEST_F(CachedCollectionWrites, AddRefusesARecordWithoutItsKey) {
  EXPECT_EQ(refusalOf([this] {
              parts.Add(Part(values({{u"U_N", 5}})));
            }),
            "-1: The record has no value for the key field Code of table @T");
  setUp(parts, true);
  setKeys({u"Code", u"U_N"});
  EXPECT_EQ(refusalOf([this] {
              parts.Add(Part(values({{u"U_X", 5}})));
            }),
            "-1: The record has no value for the key field U_N of table @T");
  EXPECT_THAT(sent(), IsEmpty());
}

TEST_F(CachedCollectionWrites, UpdateWritesTheFieldsToTheRowOfTheKey) {
  parts.Load();
  statements();
  parts.Update(code(u"B"), Part(values({{u"U_N", 77}})));
  EXPECT_THAT(sent(), ElementsAre("UPDATE [@T] SET [U_N]=77 WHERE [Code]=N'B'"));
  EXPECT_EQ(inMemory(code(u"B")), "Code=B | U_N=77");
}

TEST_F(CachedCollectionWrites, RemoveDeletesTheRowOfTheKey) {
  parts.Load();
  statements();
  parts.Remove(code(u"B"));
  EXPECT_THAT(sent(), ElementsAre("DELETE FROM [@T] WHERE [Code]=N'B'"));
  EXPECT_EQ(inMemory(code(u"B")), "null");
}

TEST_F(CachedCollectionWrites, RemoveByFieldValuesDeletesAllRowsWithThem) {
  parts.Load();
  statements();
  parts.RemoveByFieldValues(values({{u"U_N", 1}, {u"U_X", u"it's"}}));
  EXPECT_THAT(sent(), ElementsAre("DELETE FROM [@T] WHERE [U_N]=1 AND [U_X]=N'it''s'"));
  EXPECT_EQ(inMemory(code(u"B")), "null");
}

TEST_F(CachedCollectionWrites, DoNotLoad) {
  parts.Add(Part(u"N", 5));
  parts.Update(code(u"B"), Part(u"B", 6));
  parts.Remove(code(u"C"));
  parts.RemoveByFieldValues(code(u"D"));
  EXPECT_THAT(statements(), IsEmpty());
  EXPECT_EQ(sent().size(), 4u);
}

TEST_F(CachedCollectionWrites, LeaveCursorAndRowsUntilTheNextLoad) {
  parts.First(part);
  parts.Next(part);
  parts.Add(Part(u"Ab", 5));
  parts.Update(code(u"C"), Part(u"C", 6));
  parts.Remove(code(u"A"));
  EXPECT_EQ(parts.GetRecordCount(), 3);
  EXPECT_EQ(parts.Next(part), 0);
  EXPECT_EQ(part.text(), "Code=C U_N=1");
  EXPECT_EQ(parts.First(part), 0);
  EXPECT_EQ(part.text(), "Code=A U_N=1");
  parts.Load();
  EXPECT_EQ(parts.First(part), 0);
  EXPECT_EQ(part.text(), "Code=Ab U_N=5");
  EXPECT_EQ(parts.Last(part), 0);
  EXPECT_EQ(part.text(), "Code=C U_N=6");
}

TEST_F(CachedCollectionWrites, AreSeenByTheOtherCollectionsOfTheCache) {
  Parts other;
  setUp(other);
  parts.Load();
  parts.Remove(code(u"B"));
  EXPECT_EQ(codes(other), "AC");
  EXPECT_EQ(codes(parts), "ABC");
}

TEST_F(CachedCollectionWrites, AConversionThatThrowsWritesNothing) {
  parts.Load();
  statements();
  parts.writing = [] { throw std::runtime_error("no"); };
  EXPECT_THROW(parts.Add(Part(u"N", 5)), std::runtime_error);
  EXPECT_THROW(parts.Update(code(u"A"), Part(u"A", 5)), std::runtime_error);
  EXPECT_THAT(sent(), IsEmpty());
  EXPECT_EQ(inMemory(code(u"N")), "null");
  EXPECT_EQ(inMemory(code(u"A")), "Code=A | Code=A U_N=1");
}

}  // namespace
}  // namespace Persistence
