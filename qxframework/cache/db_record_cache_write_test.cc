// Writes: the rows in memory after each, and the statements that wait.

#include "qxframework/cache/db_operation.h"
#include "qxframework/cache/sql_generator.h"
#include "qxframework/cache/testing/cache_fixture.h"

namespace Persistence {
namespace {

using namespace qx::test;
using testing::ElementsAre;
using testing::IsEmpty;

std::string insertOf(const std::string& codeOfRow, int groupOfRow, int number) {
  return "INSERT INTO [@T] ([Code], [U_G], [U_N]) \r\nVALUES (N'" + codeOfRow + "', " +
         std::to_string(groupOfRow) + ", " + std::to_string(number) + ")";
}
std::string insertWithCode(const std::string& codeOfRow, int number) {
  return "INSERT INTO [@T] ([Code], [Name], [U_N]) \r\nVALUES (N'" + codeOfRow + "', N'" +
         codeOfRow + "', " + std::to_string(number) + ")";
}
TyRow rowWithoutCode(int number) { return {{}, values({{u"U_N", number}})}; }

class CacheWrite : public CacheFixture {
 protected:
  CacheWrite() {
    answerGroups({{u"A", 1, 10}, {u"B", 1, 20}, {u"C", 2, 30}});
    company->answers[u"SELECT MAX(Code) FROM [@T]"] = {{u""}, {{u"000000FE"}}};
  }
  std::string inMemory(const OLECHAR* codeOfRow) const {
    return shown(cache()->GetRowByKey(code(codeOfRow)));
  }
  std::vector<std::string> keysOf(int groupOfRows) const {
    return shown(cache()->GetKeyCollection(group(groupOfRows)));
  }
  std::vector<std::string> flushed() {
    statements();
    cache()->FlushToDB();
    return statements();
  }
};

TEST_F(CacheWrite, AnAddBeforeAnyLoadIsOnlyBuffered) {
  cache()->Add(u"@T", false, rowOf(u"X", 1, 1));
  EXPECT_THAT(statements(), IsEmpty());
  EXPECT_EQ(inMemory(u"X"), "null");
  EXPECT_THAT(flushed(), ElementsAre(insertOf("X", 1, 1)));
}

TEST_F(CacheWrite, AnAddAfterALoadIsInMemory) {
  load(from(1));
  cache()->Add(u"@T", false, rowOf(u"X", 1, 1));
  EXPECT_EQ(inMemory(u"X"), "Code=X | Code=X U_G=1 U_N=1");
  EXPECT_THAT(keysOf(1), ElementsAre("Code=A", "Code=B", "Code=X"));
  EXPECT_EQ(load(from(1)), 3);
  EXPECT_THAT(shown(rows),
              ElementsAre("Code=A | Code=A U_G=1 U_N=10", "Code=B | Code=B U_G=1 U_N=20",
                          "Code=X | Code=X U_G=1 U_N=1"));
}

TEST_F(CacheWrite, TheRowInMemoryIsACopy) {
  load(from(1));
  TyRow row = rowOf(u"X", 1, 1);
  cache()->Add(u"@T", false, row);
  row.m_Fields.SetValue(u"U_N", 2);
  EXPECT_EQ(inMemory(u"X"), "Code=X | Code=X U_G=1 U_N=1");
}

TEST_F(CacheWrite, AnAddOfAValueThatWasNotReadStartsNoList) {
  load(from(1));
  cache()->Add(u"@T", false, rowOf(u"X", 9, 1));
  EXPECT_EQ(inMemory(u"X"), "Code=X | Code=X U_G=9 U_N=1");
  EXPECT_THAT(keysOf(9), ElementsAre("null"));
}

TEST_F(CacheWrite, AnAddJoinsTheEmptyListOfAStartKey) {
  answerGroups({});
  load(from(5));
  cache()->Add(u"@T", false, rowOf(u"X", 5, 1));
  EXPECT_EQ(load(from(5)), 1);
  EXPECT_THAT(shown(rows), ElementsAre("Code=X | Code=X U_G=5 U_N=1"));
}

TEST_F(CacheWrite, AnAddWithoutThePrefetchFieldJoinsNoList) {
  load(from(1));
  cache()->Add(u"@T", false, {code(u"X"), values({{u"Code", u"X"}})});
  EXPECT_EQ(inMemory(u"X"), "Code=X | Code=X");
  EXPECT_THAT(keysOf(1), ElementsAre("Code=A", "Code=B"));
}

TEST_F(CacheWrite, ThePrefetchValueMayBeInTheKey) {
  answerGroups({{u"A", 1, 10}});
  wait(1);
  const qx_ptr<Param> byCode = param(pb_FirstRowsFrom, code(u"A"));
  company->otherwise = {{u"__kf__.Code", u"__pff__.Code"}, {{u"A", u"A"}}};
  byCode->SetKeyFieldsOnly(true);
  load(byCode);
  cache()->DeleteByKey(u"@T", code(u"A"));
  EXPECT_THAT(shown(cache()->GetKeyCollection(code(u"A"))), IsEmpty());
  cache()->Add(u"@T", false, {code(u"A"), values({{u"U_N", 1}})});
  EXPECT_THAT(shown(cache()->GetKeyCollection(code(u"A"))), ElementsAre("Code=A"));
}

TEST_F(CacheWrite, AnAddedRowHasTheKeyFieldsOfTheLoadAsItsKey) {
  load(from(1));
  const TyFieldValues all = values({{u"U_N", 5}, {u"Code", u"X"}, {u"U_G", 1}});
  cache()->Add(u"@T", false, {all, all});
  EXPECT_EQ(inMemory(u"X"), "Code=X | U_N=5 Code=X U_G=1");
  cache()->Add(u"@T", false, {{}, values({{u"Code", u"Y"}, {u"U_G", 1}})});
  EXPECT_EQ(inMemory(u"Y"), "Code=Y | Code=Y U_G=1");
  EXPECT_THAT(keysOf(1), ElementsAre("Code=A", "Code=B", "Code=X", "Code=Y"));
}

TEST_F(CacheWrite, AnAddWithoutItsKeyIsRefusedAndBuffersNothing) {
  load(from(1));
  try {
    cache()->Add(u"@T", false, rowWithoutCode(1));
    ADD_FAILURE();
  } catch (const char* text) {
    EXPECT_STREQ(text, "Can't find the key in CMyMap");
  }
  EXPECT_THAT(flushed(), IsEmpty());
}

TEST_F(CacheWrite, AddingAKeyTwiceReplacesTheRow) {
  load(from(1));
  cache()->Add(u"@T", false, rowOf(u"A", 1, 99));
  EXPECT_EQ(inMemory(u"A"), "Code=A | Code=A U_G=1 U_N=99");
  EXPECT_THAT(keysOf(1), ElementsAre("Code=A", "Code=B", "Code=A"));
  EXPECT_EQ(load(from(1)), 3);
  EXPECT_EQ(rows.size(), 2U);
}

// Codes.

TEST_F(CacheWrite, TheFirstCodeComesFromTheDatabaseAndTheFollowingFromMemory) {
  for (int i = 1; i <= 3; ++i) cache()->Add(u"@T", true, rowWithoutCode(i));
  EXPECT_THAT(statements(), ElementsAre("SELECT MAX(Code) FROM [@T]"));
  EXPECT_THAT(flushed(), ElementsAre(insertWithCode("000000FF", 1), insertWithCode("00000100", 2),
                                     insertWithCode("00000101", 3)));
}

TEST_F(CacheWrite, AnAddWithoutACodeAdvancesTheNextOne) {
  cache()->Add(u"@T", true, rowWithoutCode(1));
  cache()->Add(u"@T", false, rowOf(u"X", 1, 2));
  cache()->Add(u"@T", true, rowWithoutCode(3));
  EXPECT_THAT(flushed(), ElementsAre(insertWithCode("000000FF", 1), insertOf("X", 1, 2),
                                     insertWithCode("00000101", 3)));
}

TEST_F(CacheWrite, ACodeThatWasNeverReadStaysUnread) {
  for (int i = 0; i < 3; ++i) cache()->Add(u"@T", false, rowOf(u"X", 1, i));
  EXPECT_THAT(statements(), IsEmpty());
  cache()->Add(u"@T", true, rowWithoutCode(1));
  EXPECT_THAT(statements(), ElementsAre("SELECT MAX(Code) FROM [@T]"));
  EXPECT_EQ(flushed().back(), insertWithCode("000000FF", 1));
}

TEST_F(CacheWrite, ARowsOwnCodeWinsOverTheGeneratedOne) {
  cache()->Add(u"@T", true, {{}, values({{u"U_N", 1}})});
  load(from(1));
  cache()->Add(u"@T", true, {code(u"MINE"), values({{u"Code", u"MINE"}, {u"U_G", 1}})});
  EXPECT_EQ(inMemory(u"MINE"), "Code=MINE | Code=MINE U_G=1");
}

TEST_F(CacheWrite, AGeneratedCodeIsTheKeyInMemory) {
  load(from(1));
  cache()->Add(u"@T", true, {{}, values({{u"U_G", 1}, {u"U_N", 1}})});
  EXPECT_EQ(inMemory(u"000000FF"), "Code=000000FF | U_G=1 U_N=1");
  EXPECT_THAT(keysOf(1), ElementsAre("Code=A", "Code=B", "Code=000000FF"));
}

TEST_F(CacheWrite, CodesAbove31BitsCountOnFromMemoryToo) {
  company->answers[u"SELECT MAX(Code) FROM [@T]"] = {{u""}, {{u"7FFFFFFE"}}};
  for (int i = 1; i <= 4; ++i) cache()->Add(u"@T", true, rowWithoutCode(i));
  EXPECT_THAT(statements(), ElementsAre("SELECT MAX(Code) FROM [@T]"));
  EXPECT_THAT(flushed(), ElementsAre(insertWithCode("7FFFFFFF", 1), insertWithCode("80000000", 2),
                                     insertWithCode("80000001", 3), insertWithCode("80000002", 4)));
}

TEST_F(CacheWrite, ACodeAbove31BitsIsReadOnce) {
  company->answers[u"SELECT MAX(Code) FROM [@T]"] = {{u""}, {{u"7FFFFFFF"}}};
  for (int i = 1; i <= 2; ++i) cache()->Add(u"@T", true, rowWithoutCode(i));
  EXPECT_THAT(statements(), ElementsAre("SELECT MAX(Code) FROM [@T]"));
  EXPECT_THAT(flushed(), ElementsAre(insertWithCode("80000000", 1), insertWithCode("80000001", 2)));
}

TEST_F(CacheWrite, ACodeThatCannotBeReadIsAFailureAndNothingIsBuffered) {
  company->failStatement = 1;
  EXPECT_EQ(refusalOf([&] { cache()->Add(u"@T", true, rowWithoutCode(1)); }),
            "-1: Failed to get max. Code value for table '@T'.");
  EXPECT_THAT(flushed(), IsEmpty());
  cache()->Add(u"@T", true, rowWithoutCode(1));
  EXPECT_THAT(flushed(), ElementsAre(insertWithCode("000000FF", 1)));
}

// Updates.

TEST_F(CacheWrite, AnUpdateReplacesTheRowInMemory) {
  load(from(1));
  cache()->Update(u"@T", {code(u"A"), values({{u"U_G", 2}, {u"U_N", 11}})});
  EXPECT_EQ(inMemory(u"A"), "Code=A | U_G=2 U_N=11");
  EXPECT_THAT(flushed(), ElementsAre("UPDATE [@T] SET [U_G]=2, [U_N]=11 WHERE [Code]=N'A'"));
}

TEST_F(CacheWrite, AnUpdateLeavesTheListsOfKeys) {
  load(from(1));
  cache()->Update(u"@T", {code(u"A"), values({{u"U_G", 2}})});
  EXPECT_THAT(keysOf(1), ElementsAre("Code=A", "Code=B"));
  EXPECT_THAT(keysOf(2), ElementsAre("Code=C"));
}

TEST_F(CacheWrite, AnUpdateOfARowThatIsNotInMemoryOnlyBuffers) {
  load(from(1));
  cache()->Update(u"@T", {code(u"X"), values({{u"U_N", 1}})});
  EXPECT_EQ(inMemory(u"X"), "null");
  EXPECT_THAT(flushed(), ElementsAre("UPDATE [@T] SET [U_N]=1 WHERE [Code]=N'X'"));
}

TEST_F(CacheWrite, AnUpdateBeforeAnyLoadOnlyBuffers) {
  cache()->Update(u"@T", {code(u"A"), values({{u"U_N", 1}})});
  EXPECT_EQ(inMemory(u"A"), "null");
  EXPECT_THAT(flushed(), ElementsAre("UPDATE [@T] SET [U_N]=1 WHERE [Code]=N'A'"));
}

TEST_F(CacheWrite, ARowThatWasHandedOutKeepsItsValues) {
  load(from(1));
  cache()->Update(u"@T", {code(u"A"), values({{u"U_N", 11}})});
  EXPECT_EQ(shown(rows).front(), "Code=A | Code=A U_G=1 U_N=10");
}

TEST_F(CacheWrite, AnUpdateByAnotherKindOfKeyIsRefusedAndBuffersNothing) {
  load(from(1));
  const TyFieldValues key = values({{u"Code", u"A"}, {u"U_N", 1}});
  EXPECT_THROW(cache()->Update(u"@T", {key, values({{u"U_N", 1}})}), OLECHAR*);
  EXPECT_THAT(flushed(), IsEmpty());
}

// Deletes.

TEST_F(CacheWrite, ADeleteByKeyRemovesTheRowAndItsKey) {
  load(from(1));
  cache()->DeleteByKey(u"@T", code(u"A"));
  EXPECT_EQ(inMemory(u"A"), "null");
  EXPECT_THAT(keysOf(1), ElementsAre("Code=B"));
  EXPECT_EQ(load(from(1)), 1);
  EXPECT_THAT(flushed(), ElementsAre("DELETE FROM [@T] WHERE [Code]=N'A'"));
}

TEST_F(CacheWrite, ADeleteByKeyRemovesEveryMentionOfTheKey) {
  answerGroups({{u"A", 1, 1}, {u"A", 1, 2}, {u"B", 1, 3}});
  load(from(1));
  cache()->DeleteByKey(u"@T", code(u"A"));
  EXPECT_THAT(keysOf(1), ElementsAre("Code=B"));
}

TEST_F(CacheWrite, ADeleteMayNameItsKeyByAnElementOfTheList) {
  load(from(1));
  const auto keys = cache()->GetKeyCollection(group(1));
  cache()->DeleteByKey(u"@T", keys->front());
  EXPECT_THAT(shown(keys), ElementsAre("Code=B"));
  cache()->DeleteByKey(u"@T", keys->front());
  EXPECT_THAT(shown(keys), IsEmpty());
}

TEST_F(CacheWrite, AKeyWhoseRowHasGoneCountsAndIsPassedOver) {
  load(from(1));
  // The row moves to group 2 in memory, so that its deletion does not find it in the list of 1.
  cache()->Update(u"@T", {code(u"A"), values({{u"U_G", 2}})});
  cache()->DeleteByKey(u"@T", code(u"A"));
  EXPECT_EQ(load(from(1)), 2);
  EXPECT_THAT(shown(rows), ElementsAre("Code=B | Code=B U_G=1 U_N=20"));
}

TEST_F(CacheWrite, ADeleteOfARowThatIsNotInMemoryOnlyBuffers) {
  load(from(1));
  cache()->DeleteByKey(u"@T", code(u"X"));
  EXPECT_EQ(load(from(1)), 2);
  EXPECT_THAT(flushed(), ElementsAre("DELETE FROM [@T] WHERE [Code]=N'X'"));
}

TEST_F(CacheWrite, ADeleteWithoutPrefetchFieldsRemovesTheRow) {
  answerRows({{u"A", 1}, {u"B", 2}});
  load(param());
  cache()->DeleteByKey(u"@T", code(u"A"));
  EXPECT_EQ(load(param()), 1);
  EXPECT_THAT(shown(rows), ElementsAre("Code=B | Code=B U_N=2"));
}

TEST_F(CacheWrite, ADeleteOfAKeyWithoutALiteralLeavesTheRow) {
  load(from(1));
  CComVariant null;
  null.vt = VT_NULL;
  EXPECT_THROW(cache()->DeleteByKey(u"@T", values({{u"Code", null}})), CQXPersistenceException);
  EXPECT_EQ(load(from(1)), 2);
  EXPECT_THAT(flushed(), IsEmpty());
}

TEST_F(CacheWrite, ADeleteByFieldValuesDropsAllRowsAndIsBuffered) {
  load(from(1));
  statements();
  cache()->DeleteByFieldValues(u"@T", values({{u"U_G", 1}, {u"U_N", 10}}));
  EXPECT_THAT(statements(), IsEmpty());
  EXPECT_FALSE(cache()->IsLoaded());
  EXPECT_EQ(inMemory(u"C"), "null");
  EXPECT_EQ(cache()->GetRecordCountByPrefetchedKey(group(1)), 0);
  load(from(1));
  EXPECT_THAT(statements(),
              ElementsAre("DELETE FROM [@T] WHERE [U_G]=1 AND [U_N]=10", selectFrom(1)));
}

TEST_F(CacheWrite, APageThatWasServedFollowsEveryWrite) {
  const auto served = [this] {
    load(from(1));
    return shown(rows);
  };
  EXPECT_EQ(served().size(), 2U);
  EXPECT_EQ(served().size(), 2U);
  cache()->Update(u"@T", {code(u"A"), values({{u"U_G", 2}})});
  EXPECT_THAT(served(), ElementsAre("Code=A | U_G=2", "Code=B | Code=B U_G=1 U_N=20"));
  cache()->DeleteByKey(u"@T", code(u"A"));  // its key stays in the list
  EXPECT_THAT(served(), ElementsAre("Code=B | Code=B U_G=1 U_N=20"));
  cache()->Add(u"@T", false, rowOf(u"A", 7, 1));  // back under the key in the list
  EXPECT_THAT(served(), ElementsAre("Code=A | Code=A U_G=7 U_N=1", "Code=B | Code=B U_G=1 U_N=20"));
  cache()->DeleteByKey(u"@T", code(u"B"));
  cache()->Add(u"@T", false, rowOf(u"X", 1, 2));
  EXPECT_THAT(served(), ElementsAre("Code=A | Code=A U_G=7 U_N=1", "Code=X | Code=X U_G=1 U_N=2"));
}

TEST_F(CacheWrite, APageThatWasServedFollowsRowsOfARecordSet) {
  load(from(1));
  load(from(1));
  answerGroups({{u"A", 1, 99}});
  const CComPtr<IRecordset> recordSet = cache()->GetRecordSet();
  recordSet->DoQuery(u"SELECT");
  cache()->LoadRecordSetRowsToCache(from(1), recordSet);
  load(from(1));
  EXPECT_THAT(shown(rows),
              ElementsAre("Code=A | Code=A U_G=1 U_N=99", "Code=B | Code=B U_G=1 U_N=20"));
}

TEST_F(CacheWrite, APageThatWasServedFollowsAListThatItsReaderExtends) {
  load(from(1));
  cache()->GetKeyCollection(group(1))->push_back(code(u"C"));
  EXPECT_EQ(load(from(1)), 3);
  EXPECT_EQ(rows.size(), 3U);
}

TEST_F(CacheWrite, AClassOfAnAddOnFillsRowsByItself) {
  struct Open : CDBRecordCache {
    using CDBRecordCache::_getAllRowsAsReturnRows;
    using CDBRecordCache::_getReturnRowsFromKeyCollection;
    explicit Open(const CComPtr<ICompany>& of) : CDBRecordCache(of) {}
  };
  Open open(host());
  open.Load(from(1), rows);
  rows.clear();
  const TyVector_KeyCollection keys{code(u"C"), code(u"Z"), code(u"A")};
  open._getReturnRowsFromKeyCollection(keys, rows);
  EXPECT_THAT(shown(rows),
              ElementsAre("Code=A | Code=A U_G=1 U_N=10", "Code=C | Code=C U_G=2 U_N=30"));
  open._getAllRowsAsReturnRows(rows);
  EXPECT_EQ(rows.size(), 3U);
}

// The time in which rows were dropped and the parameter kept.

TEST_F(CacheWrite, AWriteAfterTheRowsWereDroppedIsInMemoryUntilTheNextLoad) {
  load(from(1));
  cache()->ClearCache(true, false);
  cache()->Add(u"@T", false, rowOf(u"X", 1, 1));
  EXPECT_EQ(inMemory(u"X"), "Code=X | Code=X U_G=1 U_N=1");
  EXPECT_EQ(load(from(1)), 2);
  EXPECT_EQ(inMemory(u"X"), "null");
}

// The write side as a class of its own.

TEST_F(CacheWrite, AnOperationForwardsToTheCacheOfItsTable) {
  CDBOperation original(host(), u"@T");
  const CDBOperation operation = original;
  EXPECT_EQ(operation.GetSQLGenerator(), cache()->GetSQLGenerator());
  load(from(1));
  statements();
  operation.Add(u"@T", false, rowOf(u"X", 1, 1));
  operation.Update(u"@T", {code(u"B"), values({{u"U_N", 2}})});
  operation.DeleteByKey(u"@T", code(u"A"));
  EXPECT_EQ(inMemory(u"X"), "Code=X | Code=X U_G=1 U_N=1");
  EXPECT_EQ(inMemory(u"B"), "Code=B | U_N=2");
  EXPECT_EQ(inMemory(u"A"), "null");
  operation.DeleteByFieldValues(u"@T", values({{u"U_G", 2}}));
  EXPECT_EQ(inMemory(u"X"), "null");
  answerRows({{u"B", 2}});
  EXPECT_EQ(shown(operation.GetByKey_DirectFromDB(param(pb_NoPrefetch))), "Code=B | Code=B U_N=2");
  company->otherwise = {{u""}, {{1}}};
  const qx_ptr<Param> count = param(pb_NoPrefetch);
  count->SetReturnRecordCountOnly(true);
  EXPECT_TRUE(operation.ExistsInDB(count));
  EXPECT_THAT(statements(),
              ElementsAre(insertOf("X", 1, 1), "UPDATE [@T] SET [U_N]=2 WHERE [Code]=N'B'",
                          "DELETE FROM [@T] WHERE [Code]=N'A'", "DELETE FROM [@T] WHERE [U_G]=2",
                          kSelectAll, "SELECT COUNT(*)\r\nFROM [@T]\r\n"));
}

}  // namespace
}  // namespace Persistence
