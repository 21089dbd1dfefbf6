// The user keys of a definition.

#include "qxframework/automation/text.h"
#include "qxframework/dbdef/db_def_fixture.h"

namespace {

using namespace qx::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DbDefKeys : public DbDefTest {
 protected:
  long keys(std::string_view definition) {
    return create(userTable("<userkeys>" + std::string(definition) + "</userkeys>"));
  }
};

TEST_F(DbDefKeys, AKeyIsAddedWithItsColumns) {
  EXPECT_EQ(keys("<userkey Name=\"K1\" Unique=\"1\"><column Name=\"A\"/><c Name=\"B\"/></userkey>"),
            S_OK);
  EXPECT_THAT(calls.of("Keys."),
              ElementsAre("PutTableName(T)", "PutKeyName(K1)", "PutUnique(1)", "Add(K1)"));
  EXPECT_THAT(calls.of("Elements."),
              ElementsAre("PutColumnAlias(A)", "Add()", "PutColumnAlias(B)", "Add()"));
  ASSERT_NE(company->key(u"K1"), nullptr);
  EXPECT_THAT(company->key(u"K1")->columns, ElementsAre(u"A", u"B"));
  EXPECT_THAT(log(u"CQXDbDef::AddOrRemoveUserIndex"),
              ElementsAre("3 User key 'K1' was successfully added to 'T'"));
  EXPECT_THAT(log(u"CQXDbDef::CreateUserIndexes"),
              ElementsAre("3 All user indexes for 'T' successfully created.\n"));
}

TEST_F(DbDefKeys, OnlyTheExactTextOneMakesAKeyUnique) {
  keys(
      "<k Name=\"A\" Unique=\"0\"><c Name=\"F\"/></k><k Name=\"B\"><c Name=\"F\"/></k>"
      "<k Name=\"C\" Unique=\"true\"><c Name=\"F\"/></k>"
      "<k Name=\"D\" Unique=\" 1\"><c Name=\"F\"/></k>");
  EXPECT_THAT(calls.of("Keys.PutUnique"), ElementsAre("(0)", "(0)", "(0)", "(0)"));
}

TEST_F(DbDefKeys, ANameOfElevenCharactersIsCutToTenWithAWarning) {
  EXPECT_EQ(keys("<k Name=\"ABCDEFGHIJ\"><c Name=\"F\"/></k>"
                 "<k Name=\"BCDEFGHIJKL\"><c Name=\"F\"/></k>"),
            S_OK);
  EXPECT_THAT(calls.of("Keys.Add"), ElementsAre("(ABCDEFGHIJ)", "(BCDEFGHIJK)"));
  EXPECT_THAT(complaints(), ElementsAre("2 Key name for table '<T>' is longer than 10 characters: "
                                        "'<BCDEFGHIJKL>'.\n"));
}

TEST_F(DbDefKeys, ARefusedKeyIsLoggedAndEndsTheList) {
  calls.answers["Keys.Add"] = -1;
  EXPECT_EQ(keys("<k Name=\"A\"><c Name=\"F\"/></k><k Name=\"B\"><c Name=\"F\"/></k>"), S_OK);
  EXPECT_THAT(calls.of("Keys.Add"), ElementsAre("(A)"));
  EXPECT_THAT(complaints(), ElementsAre("1 Failed to add user key 'A' to 'T'",
                                        "1 Not all user indexes for 'T' were created.\n"));
  EXPECT_THAT(stamps(), ElementsAre("Installed"));
}

// The run ends as "Installed", so that no later run makes the key.
TEST_F(DbDefKeys, TheUserSeesWhichKeyWasNotMadeAndWhy) {
  calls.answers["Keys.Add"] = -1;
  company->keys = {{u"T", u"OTHER", 0, {u"F"}}};
  EXPECT_EQ(keys("<k Name=\"A\"><c Name=\"F\"/></k>"), S_OK);
  EXPECT_THAT(calls.of("StatusBar.SetText"),
              ElementsAre("(The key A of the table T could not be created: The host refuses, 20, "
                          "2)"));
  EXPECT_THAT(stamps(), ElementsAre("Installed"));
}

TEST_F(DbDefKeys, TheMessageIsInTheLanguageOfTheApplication) {
  application->language = ln_German;
  calls.answers["Keys.Add"] = -1;
  EXPECT_EQ(keys("<k Name=\"A\"><c Name=\"F\"/></k>"), S_OK);
  EXPECT_THAT(calls.of("StatusBar.SetText"),
              ElementsAre("(Der Schlüssel A der Tabelle T konnte nicht angelegt werden: The host "
                          "refuses, 20, 2)"));
}

TEST_F(DbDefKeys, AClientThatCannotShowTheMessageDoesNotEndTheRun) {
  calls.answers["Keys.Add"] = -1;
  for (const char* call : {"Company.GetLastError", "Keys.GetByKey", "StatusBar.SetText"}) {
    calls.failures[call] = E_FAIL;
    EXPECT_EQ(keys("<k Name=\"A\"><c Name=\"F\"/></k>"), S_OK) << call;
    calls.failures.erase(call);
  }
  EXPECT_THAT(stamps(), ElementsAre("Installed", "Installed", "Installed"));
  EXPECT_EQ(calls.of("StatusBar.SetText").size(), 3U);
}

TEST_F(DbDefKeys, AnExistingKeyIsOnlyLogged) {
  company->keys.push_back({u"T", u"A", 0, {u"F"}});
  EXPECT_EQ(keys("<k Name=\"A\"><c Name=\"F\"/></k>"), S_OK);
  EXPECT_THAT(calls.of("StatusBar.SetText"), IsEmpty());
  EXPECT_EQ(company->keys.size(), 1U);
  EXPECT_THAT(complaints(), ElementsAre("1 Failed to add user key 'A' to 'T'",
                                        "1 Not all user indexes for 'T' were created.\n"));
}

TEST_F(DbDefKeys, AKeyWithoutColumnsIsNotAdded) {
  EXPECT_EQ(keys("<k Name=\"A\"/>"), S_OK);
  EXPECT_THAT(calls.of("Keys.Add"), IsEmpty());
  EXPECT_THAT(complaints(), ElementsAre("1 No elements found for user key under '<k>'.\n",
                                        "1 Failed to add user key 'A' to 'T'",
                                        "1 Not all user indexes for 'T' were created.\n"));
}

TEST_F(DbDefKeys, AColumnWithoutANameIsSkipped) {
  keys("<k Name=\"A\"><c/><c Name=\"F\"/></k>");
  EXPECT_THAT(calls.of("Elements."), ElementsAre("PutColumnAlias(F)", "Add()"));
}

TEST_F(DbDefKeys, AnEmptyColumnNameIsAName) {
  keys("<k Name=\"A\"><c Name=\"\"/></k>");
  EXPECT_THAT(calls.of("Elements."), ElementsAre("PutColumnAlias()", "Add()"));
}

TEST_F(DbDefKeys, AKeyWithoutANameHasAnEmptyName) {
  EXPECT_EQ(keys("<k><c Name=\"F\"/></k>"), S_OK);
  EXPECT_THAT(calls.of("Keys.Add"), ElementsAre("()"));
}

TEST_F(DbDefKeys, CommentsAreSkippedAmongKeysAndAmongColumns) {
  EXPECT_EQ(keys("<!-- k --><k Name=\"A\"><!-- c --><c Name=\"F\"/></k>"), S_OK);
  EXPECT_THAT(calls.of("Keys.Add"), ElementsAre("(A)"));
  EXPECT_THAT(complaints(),
              ElementsAre("1 Skipping comment node.\n", "1 Skipping comment node.\n"));
}

TEST_F(DbDefKeys, TextBetweenKeysAndColumnsIsIgnored) {
  EXPECT_EQ(keys("text<k Name=\"A\">text<c Name=\"F\"/></k>"), S_OK);
  EXPECT_THAT(calls.of("Keys.Add"), ElementsAre("(A)"));
  EXPECT_THAT(calls.of("Elements."), ElementsAre("PutColumnAlias(F)", "Add()"));
}

TEST_F(DbDefKeys, ALeadingMinusRemovesTheKey) {
  company->keys = {{u"T", u"K0", 0, {}}, {u"T", u"K1", 0, {}}, {u"X", u"K1", 0, {}}};
  EXPECT_EQ(keys("<k Name=\"-K1\"/>"), S_OK);
  EXPECT_THAT(calls.of("Keys."), ElementsAre("GetByKey(@T, 0)", "GetByKey(@T, 1)", "Remove(K1)"));
  EXPECT_EQ(company->keys.size(), 2U);
  EXPECT_EQ(company->keys[1].table, u"X");
  EXPECT_THAT(log(u"CQXDbDef::AddOrRemoveUserIndex"),
              ElementsAre("3 Trying to remove the key K1 in table T.\n",
                          "3 Key has been removed successfully"));
}

TEST_F(DbDefKeys, RemovingAMissingKeyIsLoggedAndTheNextKeyFollows) {
  company->keys = {{u"T", u"K0", 0, {}}};
  EXPECT_EQ(keys("<k Name=\"-K1\"/><k Name=\"K2\"><c Name=\"F\"/></k>"), S_OK);
  EXPECT_THAT(calls.of("Keys."),
              ElementsAre("GetByKey(@T, 0)", "GetByKey(@T, 1)", "PutTableName(T)", "PutKeyName(K2)",
                          "PutUnique(0)", "Add(K2)"));
  EXPECT_THAT(complaints(),
              ElementsAre("1 Failed to remove the key K1 in table T(can't find it).\n"));
  EXPECT_THAT(log(u"CQXDbDef::CreateUserIndexes"),
              ElementsAre("3 All user indexes for 'T' successfully created.\n"));
}

TEST_F(DbDefKeys, AFailedRemovalIsLoggedAndTheNextKeyFollows) {
  company->keys = {{u"T", u"K1", 0, {}}};
  calls.answers["Keys.Remove"] = -5;
  EXPECT_EQ(keys("<k Name=\"-K1\"/><k Name=\"K2\"><c Name=\"F\"/></k>"), S_OK);
  EXPECT_THAT(complaints(),
              ElementsAre("1 Failed to remove the key K1 in table T(Remove() failed).\n"));
  EXPECT_NE(company->key(u"K2"), nullptr);
}

TEST_F(DbDefKeys, AKeyCanBeRemovedAndAddedAgain) {
  company->keys = {{u"T", u"K1", 0, {u"OLD"}}};
  EXPECT_EQ(keys("<k Name=\"-K1\"/><k Name=\"K1\"><c Name=\"NEW\"/></k>"), S_OK);
  ASSERT_NE(company->key(u"K1"), nullptr);
  EXPECT_THAT(company->key(u"K1")->columns, ElementsAre(u"NEW"));
}

TEST_F(DbDefKeys, AnEmptyListOfKeysIsLogged) {
  EXPECT_EQ(keys(""), S_OK);
  EXPECT_THAT(log(u"CQXDbDef::CreateUserIndexes"),
              ElementsAre("3 No user keys found under '<userkeys>'.\n"));
}

TEST_F(DbDefKeys, AHostWithoutAKeysObjectEndsTheRun) {
  calls.failures["Company.GetBusinessObject 193"] = -2000;
  EXPECT_EQ(keys("<k Name=\"A\"><c Name=\"F\"/></k>"), E_FAIL);
  EXPECT_THAT(complaints(),
              ElementsAre("1 Failed to get user keys object for T from db: RX API SQL failure",
                          "1 Exception occurred on creation of database"));
  EXPECT_THAT(stamps(), IsEmpty());
}

TEST_F(DbDefKeys, OnlyOneMetadataObjectExistsAtATime) {
  keys("<k Name=\"-X\"/><k Name=\"A\"><c Name=\"F\"/></k><k Name=\"B\"><c Name=\"F\"/></k>");
  EXPECT_EQ(company->mostMetadata, 1);
  EXPECT_EQ(company->liveMetadata, 0);
}

}  // namespace
