// The user fields of a definition.

#include "qxframework/automation/text.h"
#include "qxframework/dbdef/db_def_fixture.h"

namespace {

using namespace qx::test;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kGivenUp = "1 Exception occurred on creation of database";

class DbDefFields : public DbDefTest {
 protected:
  long field(std::string_view attributes, std::string_view content = "") {
    return create(userField("<userfield " + std::string(attributes) + ">" + std::string(content) +
                            "</userfield>"));
  }
};

TEST_F(DbDefFields, AFieldIsSetUpInOrderAndAdded) {
  EXPECT_EQ(field("Name=\"F\" Description=\"A field\" Type=\"CHAR\" Size=\"20\" DefaultValue=\"x\" "
                  "LinkedTable=\"L\" Mandatory=\"1\""),
            S_OK);
  EXPECT_THAT(calls.of("Fields."),
              ElementsAre("PutTableName(T)", "PutName(F)", "PutDescription(A field)", "PutType(0)",
                          "PutSubType(0)", "PutSize(20)", "GetSize()", "PutEditSize(20)",
                          "PutMandatory(1)", "PutDefaultValue(x)", "PutLinkedTable(L)", "Add(F)"));
  EXPECT_THAT(log(u"CQXDbDef::CreateField"),
              ElementsAre("3 Name='F' Desc='A field' Type='CHAR' Size='20' DefVal='x' LinkT='L'\n",
                          "3 Field 'F' in table 'T' created.\n"));
}

TEST_F(DbDefFields, MissingAttributesAreEmptyInTheLogAndNotSet) {
  EXPECT_EQ(field("Name=\"F\" Type=\"DATE\""), S_OK);
  EXPECT_THAT(calls.of("Fields."), ElementsAre("PutTableName(T)", "PutName(F)", "PutDescription()",
                                               "PutType(3)", "PutSubType(0)", "Add(F)"));
  EXPECT_EQ(log(u"CQXDbDef::CreateField").front(),
            "3 Name='F' Desc='' Type='DATE' Size='' DefVal='' LinkT=''\n");
}

TEST_F(DbDefFields, EveryTypeKeywordHasItsNumbersAndSize) {
  struct Expected {
    const char* keyword;
    long type;
    long subType;
    long size;
  };
  for (const Expected& each :
       {Expected{"ID", 2, 0, 9}, Expected{"INT", 2, 0, 9}, Expected{"NUMC", 2, 0, 17},
        Expected{"CHAR", 0, 0, 17}, Expected{"CURR", 4, 80, 0}, Expected{"FLOAT", 4, 81, 0},
        Expected{"PERC", 4, 37, 0}, Expected{"FLAG", 0, 0, 1}, Expected{"DATE", 3, 0, 0},
        Expected{"TIME", 3, 84, 0}, Expected{"MEMO", 1, 0, 0}}) {
    company->fields.clear();
    calls.calls.clear();
    field(std::string("Name=\"F\" Size=\"17\" Type=\"") + each.keyword + "\"");
    const FakeUserField* made = company->field(u"F");
    ASSERT_NE(made, nullptr) << each.keyword;
    EXPECT_EQ(made->type, each.type) << each.keyword;
    EXPECT_EQ(made->subType, each.subType) << each.keyword;
    EXPECT_EQ(made->size, each.size) << each.keyword;
    EXPECT_EQ(made->editSize, each.size) << each.keyword;
    EXPECT_EQ(calls.of("Fields.PutSize").size(), each.size == 0 ? 0U : 1U) << each.keyword;
  }
}

TEST_F(DbDefFields, TheEditSizeIsTheSizeReadBack) {
  company->largestSize = 254;
  field("Name=\"F\" Type=\"CHAR\" Size=\"300\"");
  EXPECT_EQ(company->field(u"F")->size, 254);
  EXPECT_EQ(company->field(u"F")->editSize, 254);
}

TEST_F(DbDefFields, ASizeIsReadUpToTheFirstCharacterThatIsNoDigit) {
  field("Name=\"F\" Type=\"CHAR\" Size=\" 12 characters\"");
  EXPECT_EQ(company->field(u"F")->size, 12);
}

TEST_F(DbDefFields, ASizeThatIsNoNumberIsZero) {
  EXPECT_EQ(field("Name=\"F\" Type=\"CHAR\" Size=\"many\""), S_OK);
  EXPECT_THAT(calls.of("Fields.PutSize"), ElementsAre("(0)"));
}

TEST_F(DbDefFields, ACharFieldWithoutASizeEndsTheRun) {
  for (const char* attributes : {"Name=\"F\" Type=\"CHAR\"", "Name=\"F\" Type=\"NUMC\"",
                                 "Name=\"F\" Type=\"CHAR\" Size=\"\""}) {
    calls.calls.clear();
    logger.records.clear();
    EXPECT_EQ(field(attributes), E_FAIL);
    EXPECT_THAT(complaints(), ElementsAre("1 Size not provided for 'F'.\n", kGivenUp));
    EXPECT_EQ(calls.of("Fields.").back(), "GetName()");
    EXPECT_THAT(stamps(), IsEmpty());
  }
}

TEST_F(DbDefFields, AFieldWithoutANameEndsTheRun) {
  for (const char* attributes : {"Type=\"INT\"", "Name=\"\" Type=\"INT\""}) {
    logger.records.clear();
    EXPECT_EQ(field(attributes), E_FAIL);
    EXPECT_THAT(complaints(), ElementsAre("1 Field name not provided for table: 'T'.\n", kGivenUp));
  }
}

TEST_F(DbDefFields, AFieldWithoutATypeEndsTheRun) {
  for (const char* attributes : {"Name=\"F\"", "Name=\"F\" Type=\"\""}) {
    logger.records.clear();
    EXPECT_EQ(field(attributes), E_FAIL);
    EXPECT_THAT(complaints(), ElementsAre("1 Field type not provided for table: 'T'.\n", kGivenUp));
  }
}

TEST_F(DbDefFields, AnUnknownTypeEndsTheRunBeforeTheHostIsCalled) {
  for (const char* type : {"STRING", "char", "INT "}) {
    logger.records.clear();
    EXPECT_EQ(field(std::string("Name=\"F\" Type=\"") + type + "\""), E_FAIL);
    EXPECT_THAT(complaints(), ElementsAre(std::string("1 Unknown type '") + type +
                                              "' of field 'F' in table 'T'.\n",
                                          kGivenUp));
  }
  EXPECT_EQ(company->mostMetadata, 1);  // the table
  EXPECT_THAT(calls.of("Fields."), IsEmpty());
}

TEST_F(DbDefFields, OnlyTheExactTextOneMakesAFieldMandatory) {
  for (const char* value : {"0", "01", "true", "", "1 "}) {
    company->fields.clear();
    field(std::string("Name=\"F\" Type=\"INT\" Mandatory=\"") + value + "\"");
    EXPECT_EQ(company->field(u"F")->mandatory, 0) << value;
  }
  EXPECT_THAT(calls.of("Fields.PutMandatory"), IsEmpty());
}

TEST_F(DbDefFields, AnEmptyDefaultIsSetAndAnEmptyLinkedTableIsNot) {
  field("Name=\"F\" Type=\"INT\" DefaultValue=\"\" LinkedTable=\"\"");
  EXPECT_THAT(calls.of("Fields.PutDefaultValue"), ElementsAre("()"));
  EXPECT_THAT(calls.of("Fields.PutLinkedTable"), IsEmpty());
}

TEST_F(DbDefFields, ADescriptionIsCutToTwentyNineCharacters) {
  field("Name=\"F\" Type=\"INT\" Description=\"1234567890123456789012345678901234567890\"");
  EXPECT_EQ(company->field(u"F")->description, u"12345678901234567890123456789");
}

TEST_F(DbDefFields, TheCutAppliesToTheLocalisedText) {
  CSimpleMap<CString, int> map;
  map.Add(u"LONG", 1001);
  def().SetResourceMap(&map);
  field("Name=\"F\" Type=\"INT\" Description=\"*RES*LONG\"");
  EXPECT_EQ(company->field(u"F")->description, u"A localised description of fo");
}

TEST_F(DbDefFields, AnExistingFieldDoesNotEndTheRun) {
  company->fields.push_back({.table = u"T", .name = u"F"});
  EXPECT_EQ(create(userField("<userfield Name=\"F\" Type=\"INT\"/>"
                             "<userfield Name=\"G\" Type=\"INT\"/>")),
            S_OK);
  EXPECT_THAT(statements(),
              ElementsAre("SELECT FieldID FROM CUFD WHERE TableID = '@T' AND AliasID = 'F'"));
  EXPECT_THAT(log(u"CQXDbDef::CreateField"),
              ElementsAre("3 Name='F' Desc='' Type='INT' Size='' DefVal='' LinkT=''\n",
                          "3 Field 'F' in table 'T' aleady exists.\n",
                          "3 Name='G' Desc='' Type='INT' Size='' DefVal='' LinkT=''\n",
                          "3 Field 'G' in table 'T' created.\n"));
  EXPECT_THAT(log(u"CQXDbDef::UserFieldExists"),
              ElementsAre("1 SQL: \"SELECT FieldID FROM CUFD WHERE TableID = '@T' AND AliasID = "
                          "'F'\"\n"));
}

TEST_F(DbDefFields, TheFieldsObjectIsReleasedBeforeTheDictionaryIsQueried) {
  company->fields.push_back({.table = u"T", .name = u"F"});
  EXPECT_EQ(field("Name=\"F\" Type=\"INT\""), S_OK);
  EXPECT_EQ(statements().size(), 1U);
  EXPECT_EQ(company->mostMetadata, 1);
  EXPECT_EQ(company->mostMetadataAtStatement, 0);
}

TEST_F(DbDefFields, ARefusedFieldEndsTheRunWithTheHostsText) {
  calls.answers["Fields.Add"] = -1;
  EXPECT_EQ(field("Name=\"F\" Type=\"INT\""), E_FAIL);
  EXPECT_THAT(
      complaints(),
      ElementsAre("1 Failed to create field 'F' in table 'T': The host refuses.\n", kGivenUp));
}

TEST_F(DbDefFields, TheDictionaryIsQueriedInTheDialect) {
  const std::map<long, std::string> expected{
      {1, "SELECT FieldID FROM CUFD WHERE TableID = '@T' AND AliasID = 'F'"},
      {2, "SELECT FieldID FROM CUFD WHERE TableID = '@T' AND AliasID = 'F'"},
      {3, "SELECT FieldID FROM CUFD WHERE TableID = '@T' AND AliasID = 'F'"},
      {4, "SELECT FieldID FROM CUFD WHERE TableID = '@T' AND AliasID = 'F'"},
      {9, "SELECT \"FieldID\" FROM CUFD WHERE \"TableID\" = '@T' AND \"AliasID\" = 'F'"}};
  company->fields.push_back({.table = u"T", .name = u"F"});
  for (const auto& [serverType, sql] : expected) {
    company->serverType = serverType;
    calls.calls.clear();
    EXPECT_EQ(field("Name=\"F\" Type=\"INT\""), S_OK) << serverType;
    EXPECT_THAT(statements(), ElementsAre(sql)) << serverType;
  }
}

TEST_F(DbDefFields, InATablesGroupTheDictionaryIsQueriedWithTheNameAsGiven) {
  const std::string definition =
      "<database><tables><usertable TableName=\"HVITEM\"><userfields>"
      "<userfield Name=\"F\" Type=\"INT\"/></userfields></usertable></tables></database>";
  company->fields.push_back({.table = u"HVITEM", .name = u"F"});
  EXPECT_EQ(create(definition), S_OK);
  EXPECT_THAT(calls.of("Tables."), IsEmpty());
  EXPECT_THAT(statements(),
              ElementsAre("SELECT FieldID FROM CUFD WHERE TableID = 'HVITEM' AND AliasID = 'F'"));
  calls.calls.clear();
  company->serverType = 9;
  create(definition);
  EXPECT_THAT(statements(), ElementsAre("SELECT \"FieldID\" FROM CUFD WHERE \"TableID\" = 'HVITEM' "
                                        "AND \"AliasID\" = 'F'"));
}

TEST_F(DbDefFields, AFailedQueryOfTheDictionaryEndsTheRun) {
  calls.answers["Fields.Add"] = -1;
  company->failStatement = 1;
  EXPECT_EQ(field("Name=\"F\" Type=\"INT\""), E_FAIL);
  EXPECT_THAT(complaints(),
              ElementsAre("1 Error code from RX-API: -1 / The host refuses\n",
                          "1 FFailed to check existence of user defined field: RX API SQL failure",
                          kGivenUp));
}

TEST_F(DbDefFields, ValidValuesAreSetAndThenAdded) {
  EXPECT_EQ(field("Name=\"F\" Type=\"FLAG\"",
                  "<ValidValues><ValidValue Value=\"Y\" Description=\"Yes\"/>"
                  "<ValidValue Value=\"N\" Description=\"No\"/></ValidValues>"),
            S_OK);
  EXPECT_THAT(calls.of("ValidValues."), ElementsAre("PutValue(Y)", "PutDescription(Yes)", "Add()",
                                                    "PutValue(N)", "PutDescription(No)", "Add()"));
  EXPECT_THAT(company->field(u"F")->validValues,
              ElementsAre(std::pair(u"Y", u"Yes"), std::pair(u"N", u"No")));
  EXPECT_THAT(log(u"CQXDbDef::SetValidValues"),
              ElementsAre("3 Added Valid Value 'Y' = 'Yes'\n", "3 Added Valid Value 'N' = 'No'\n"));
}

TEST_F(DbDefFields, ValidValuesAreLocalised) {
  CSimpleMap<CString, int> map;
  map.Add(u"KEY", 1000);
  def().SetResourceMap(&map);
  field("Name=\"F\" Type=\"FLAG\"",
        "<ValidValues><ValidValue Value=\"*RES*KEY\" Description=\"*RES*KEY\"/></ValidValues>");
  EXPECT_THAT(log(u"CQXDbDef::SetValidValues"),
              ElementsAre("3 Added Valid Value 'Localised' = 'Localised'\n"));
}

TEST_F(DbDefFields, AValidValueMayLackItsAttributes) {
  EXPECT_EQ(field("Name=\"F\" Type=\"FLAG\"", "<ValidValues><ValidValue/></ValidValues>"), S_OK);
  EXPECT_THAT(log(u"CQXDbDef::SetValidValues"), ElementsAre("3 Added Valid Value '' = ''\n"));
}

TEST_F(DbDefFields, AnEmptyListOfValidValuesIsOnlyLogged) {
  EXPECT_EQ(field("Name=\"F\" Type=\"FLAG\"", "<ValidValues/>"), S_OK);
  EXPECT_THAT(complaints(), ElementsAre("1 Nothing found under '<ValidValues>'.\n"));
  EXPECT_NE(company->field(u"F"), nullptr);
}

TEST_F(DbDefFields, CommentsAndUnknownElementsAreSkippedEverywhere) {
  EXPECT_EQ(create(userField("<!--1--><field/><userfield Name=\"F\" Type=\"FLAG\"><!--2--><values/>"
                             "<ValidValues><!--3--><value/><ValidValue Value=\"Y\"/></ValidValues>"
                             "</userfield>")),
            S_OK);
  EXPECT_THAT(complaints(),
              ElementsAre("1 Skipping comment node.\n", "2 Not know what to do with '<field>'.\n",
                          "1 Skipping comment node.\n", "2 Not know what to do with '<values>'.\n",
                          "1 Skipping comment node.\n", "2 Not know what to do with '<value>'.\n"));
  EXPECT_EQ(company->field(u"F")->validValues.size(), 1U);
}

TEST_F(DbDefFields, OnlyOneMetadataObjectExistsAtATime) {
  create(
      userField("<userfield Name=\"F\" Type=\"FLAG\"><ValidValues><ValidValue Value=\"Y\"/>"
                "</ValidValues></userfield><userfield Name=\"F\" Type=\"INT\"/>"));
  EXPECT_EQ(company->mostMetadata, 1);
  EXPECT_EQ(company->liveMetadata, 0);
}

}  // namespace
