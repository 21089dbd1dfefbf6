// The rows of a definition.

#include "qxframework/automation/text.h"
#include "qxframework/dbdef/db_def_fixture.h"

namespace {

using namespace qx::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DbDefData : public DbDefTest {
 protected:
  long insert(std::string_view rows) {
    return create(userTable("<data>" + std::string(rows) + "</data>"));
  }
};

TEST_F(DbDefData, ARowIsInsertedWithTheNextCode) {
  company->answer(u"SELECT MAX(Code) FROM [@T]", {{CComVariant(u"00000009")}});
  EXPECT_EQ(insert("<row Name=\"'O'Brien'\" Born=\"GETDATE()\" Size=\"12\"/>"), S_OK);
  EXPECT_THAT(statements(),
              ElementsAre("SELECT MAX(Code) FROM [@T]",
                          "insert into [@T] (Code, Name, U_Name, U_Born, U_Size) values "
                          "('0000000A', '0000000A', N'O''Brien', GETDATE(), 12)"));
  EXPECT_THAT(log(u"CQXDbDef::InsertData"),
              ElementsAre("1 SQL: \"insert into [@T] (Code, Name, U_Name, U_Born, U_Size) values "
                          "('0000000A', '0000000A', N'O''Brien', GETDATE(), 12)\"\n"));
}

TEST_F(DbDefData, EachDialectHasItsForm) {
  const std::string bracket = "insert into [@T] (Code, Name, U_N) values ('00000000', '00000000', ";
  const std::map<long, std::string> expected{
      {1, bracket + "N'O''Brien')"},
      {2, "insert into @T (Code, Name, U_N) values ('00000000', '00000000', 'O''Brien')"},
      {3, bracket + "'O''Brien')"},
      {4, bracket + "N'O''Brien')"},
      {9,
       "insert into \"@T\"(\"Code\", \"Name\", \"U_N\") values ('00000000', '00000000', "
       "N'O''Brien')"}};
  for (const auto& [serverType, sql] : expected) {
    company->serverType = serverType;
    calls.calls.clear();
    insert("<row N=\"'O'Brien'\"/>");
    ASSERT_EQ(statements().size(), 2U) << serverType;
    EXPECT_EQ(statements()[1], sql) << serverType;
  }
}

TEST_F(DbDefData, Db2InsertsIntoTheTableWithTheCutName) {
  company->serverType = 2;
  create(
      "<database><tables><table TableName=\"ABCDEFGHIJ\"><data><row A=\"1\"/></data></table>"
      "</tables></database>");
  EXPECT_THAT(statements(),
              ElementsAre("SELECT MAX(Code) FROM @ABCDEFGH",
                          "insert into @ABCDEFGH (Code, Name, U_A) values ('00000000', '00000000', "
                          "1)"));
}

TEST_F(DbDefData, ARowWithoutAttributesIsSkipped) {
  EXPECT_EQ(insert("<row/><row A=\"1\"/>"), S_OK);
  EXPECT_THAT(statements(),
              ElementsAre("SELECT MAX(Code) FROM [@T]", "SELECT MAX(Code) FROM [@T]",
                          "insert into [@T] (Code, Name, U_A) values ('00000000', '00000000', 1)"));
}

TEST_F(DbDefData, CommentsAndUnknownElementsAreSkipped) {
  insert("<!-- one --><line A=\"1\"/><row A=\"2\"/>");
  EXPECT_EQ(statements().size(), 2U);
  EXPECT_THAT(complaints(),
              ElementsAre("1 Skipping comment node.\n", "2 Not know what to do with '<line>'.\n"));
}

TEST_F(DbDefData, AFailedRowEndsItsElementAndKeepsTheRowsBeforeIt) {
  company->failStatement = 4;  // the second row's insert
  EXPECT_EQ(create(userTable("<data><row A=\"1\"/><row A=\"2\"/><row A=\"3\"/></data>"
                             "<data><row A=\"4\"/></data>")),
            S_OK);
  EXPECT_THAT(statements(),
              ElementsAre("SELECT MAX(Code) FROM [@T]",
                          "insert into [@T] (Code, Name, U_A) values ('00000000', '00000000', 1)",
                          "SELECT MAX(Code) FROM [@T]",
                          "insert into [@T] (Code, Name, U_A) values ('00000000', '00000000', 2)",
                          "SELECT MAX(Code) FROM [@T]",
                          "insert into [@T] (Code, Name, U_A) values ('00000000', '00000000', 4)"));
  EXPECT_THAT(complaints(),
              ElementsAre("1 SQL failed: RX API SQL failure", "1 Unable to insert data into T"));
  EXPECT_THAT(stamps(), ElementsAre("Installed"));
}

TEST_F(DbDefData, WithoutARecordsetTheRunGoesOnWithTheNextElement) {
  calls.failures["Company.GetBusinessObject 300"] = E_FAIL;
  EXPECT_EQ(insert("<row A=\"1\"/>"), E_FAIL);  // the stamp needs one too
  EXPECT_THAT(complaints(), testing::Contains("1 Unable to insert data into T"));
}

TEST_F(DbDefData, EveryRunInsertsTheRowsAgain) {
  const char* const row = "insert into [@T] (Code, Name, U_A) values ('00000000', '00000000', 1)";
  insert("<row A=\"1\"/>");
  insert("<row A=\"1\"/>");
  EXPECT_EQ(std::ranges::count(statements(), std::string(row)), 2);
}

TEST_F(DbDefData, ADataElementWithoutRowsDoesNothing) {
  EXPECT_EQ(insert(""), S_OK);
  EXPECT_THAT(statements(), IsEmpty());
  EXPECT_THAT(complaints(), IsEmpty());
}

}  // namespace
