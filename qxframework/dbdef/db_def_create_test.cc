// A run over a definition, and its tables.

#include "qxframework/automation/text.h"
#include "qxframework/dbdef/db_def_fixture.h"

namespace {

using namespace qx::test;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kGivenUp = "1 Exception occurred on creation of database";

class DbDefCreate : public DbDefTest {
 protected:
  long table(std::string_view attributes) {
    return create("<database><usertables><usertable " + std::string(attributes) +
                  "><userkeys/></usertable></usertables></database>");
  }
  bool barIsUp() const {
    return !calls.of("StatusBar.Create").empty() && calls.of("Bar.Stop").empty();
  }
};

TEST_F(DbDefCreate, StampsUpgradingFirstAndInstalledAtTheEnd) {
  EXPECT_EQ(create(userTable("<userkeys/>"), false), S_OK);
  EXPECT_THAT(stamps(), ElementsAre("Upgrading", "Installed"));
  const auto at = [this](std::string_view part) {
    return std::ranges::find_if(calls.calls, [part](const std::string& call) {
      return call.find(part) != std::string::npos;
    });
  };
  EXPECT_LT(at("Bar.PutValue(0)"), at("'Upgrading'"));
  EXPECT_LT(at("'Upgrading'"), at("Tables.Add(T)"));
  EXPECT_LT(at("Tables.Add(T)"), at("'Installed'"));
  EXPECT_LT(at("'Installed'"), at("Bar.Stop()"));
}

TEST_F(DbDefCreate, WithoutTheUpgradeStampOnlyInstalledIsStamped) {
  EXPECT_EQ(create(userTable("<userkeys/>"), true), S_OK);
  EXPECT_THAT(stamps(), ElementsAre("Installed"));
}

TEST_F(DbDefCreate, TheZeroVersionIsReplacedByTheFileVersion) {
  create(userTable("<userkeys/>"));
  EXPECT_EQ(version.GetVersionAsBSTR().View(), u"9.20.00.01.00");
}

TEST_F(DbDefCreate, AnotherVersionIsStampedAsGiven) {
  version.SetVersion(u"8.01.02.03.04");
  create(userTable("<userkeys/>"));
  EXPECT_EQ(company->statements().back(),
            "insert into [@QXEXTDBVERSION] (Code, Name, U_ExtID, U_Version, U_EFNum, U_Status, "
            "U_Rdate)   values ('00000000', '00000000', 'QX', '8.01.02.03', '04', 'Installed', "
            "getdate())");
  EXPECT_EQ(version.GetVersionAsBSTR().View(), u"8.01.02.03.04");
}

TEST_F(DbDefCreate, WithoutADatabaseElementTheLastStampIsMissingAndTheBarStays) {
  EXPECT_EQ(create("<tables/>", false), S_OK);
  EXPECT_THAT(log(u"CQXDbDef::Create"),
              ElementsAre("2 <database> XML tag not found - no DB tables will be created."));
  EXPECT_THAT(stamps(), ElementsAre("Upgrading"));
  EXPECT_TRUE(barIsUp());
}

TEST_F(DbDefCreate, AnEmptyDatabaseElementHasTheSameEffect) {
  EXPECT_EQ(create("<database/>", false), S_OK);
  EXPECT_THAT(log(u"CQXDbDef::Create"), ElementsAre("2 No DB tables found under <database>."));
  EXPECT_THAT(stamps(), ElementsAre("Upgrading"));
  EXPECT_TRUE(barIsUp());
}

TEST_F(DbDefCreate, TheDatabaseElementIsFoundAnywhere) {
  EXPECT_EQ(create("<addon><x>" + userTable("<userkeys/>") + "</x></addon>"), S_OK);
  EXPECT_THAT(calls.of("Tables.Add"), ElementsAre("(T)"));
}

TEST_F(DbDefCreate, AMalformedDefinitionFailsAndTheBarIsStopped) {
  EXPECT_EQ(createResource(901, false), E_FAIL);
  EXPECT_THAT(complaints(), Contains(kGivenUp));
  EXPECT_THAT(stamps(), ElementsAre("Upgrading"));
  EXPECT_FALSE(barIsUp());
}

TEST_F(DbDefCreate, AnEmptyResourceFails) {
  EXPECT_EQ(createResource(902), E_FAIL);
  EXPECT_THAT(complaints(),
              ElementsAre("1 Could not get the size of resource (ID=902)!\n", kGivenUp));
  EXPECT_THAT(stamps(), IsEmpty());
}

TEST_F(DbDefCreate, AMissingResourceFails) {
  EXPECT_EQ(createResource(999), E_FAIL);
  EXPECT_THAT(complaints(), ElementsAre("1 Could not locate resource (ID=999)!\n", kGivenUp));
}

TEST_F(DbDefCreate, AWideDefinitionIsRead) {
  EXPECT_EQ(createResource(903), S_OK);
  EXPECT_THAT(company->tables, ElementsAre(FakeTable{u"WIDE", u"\u4e2d\u6587", 0}));
}

TEST_F(DbDefCreate, ANarrowDefinitionOfAnotherCodePageIsRead) {
  EXPECT_EQ(createResource(904), S_OK);
  EXPECT_THAT(company->tables, ElementsAre(FakeTable{u"NARROW", u"Stra\u00DFe", 0}));
}

TEST_F(DbDefCreate, TheVersionTableIsCreatedByItsOwnDefinitions) {
  EXPECT_EQ(createResource(400), S_OK);
  EXPECT_THAT(company->tables, ElementsAre(FakeTable{u"QXEXTDBVERSION", u"Extension DB versions"}));
  std::vector<std::string> fields;
  for (const FakeUserField& each : company->fields)
    fields.push_back(qx::toUtf8(each.name + u" " + each.description + u" " + each.defaultValue) +
                     " " + std::to_string(each.type) + " " + std::to_string(each.size));
  EXPECT_THAT(fields,
              ElementsAre("ExtID Extension ID  0 5", "Version Db tables version  0 15",
                          "EFNum Emergency Fix number  0 10", "Status Db tables status  0 20",
                          "Rdate Record datetime GETDATE() 3 0"));
  EXPECT_EQ(createResource(401), S_OK);
  EXPECT_EQ(company->fields.size(), 5U);
}

TEST_F(DbDefCreate, TheUpgradeOfTheVersionTableAddsTheEmergencyFix) {
  EXPECT_EQ(createResource(401), S_OK);
  ASSERT_NE(company->field(u"EFNum"), nullptr);
  EXPECT_EQ(company->field(u"EFNum")->defaultValue, u"00");
}

TEST_F(DbDefCreate, TheVersionTableIsCutToEightLettersOnDb2) {
  company->serverType = 2;
  EXPECT_EQ(createResource(400), S_OK);
  EXPECT_EQ(company->tables.front().name, u"QXEXTDBV");
  EXPECT_EQ(company->fields.front().table, u"QXEXTDBV");
}

TEST_F(DbDefCreate, ATableIsSetUpInOrderAndAdded) {
  EXPECT_EQ(table("TableName=\"T\" TableDescription=\"A table\" TableType=\"Document\""), S_OK);
  EXPECT_THAT(calls.of("Tables."),
              ElementsAre("GetByKey(T)", "PutTableName(T)", "PutTableDescription(A table)",
                          "PutTableType(3)", "Add(T)"));
  EXPECT_THAT(log(u"CQXDbDef::CreateTable"), ElementsAre("3 Table 'T' created.\n"));
}

TEST_F(DbDefCreate, ATableThatExistsIsLeftAsItIs) {
  company->tables.push_back({u"T", u"old", 0});
  EXPECT_EQ(table("TableName=\"T\" TableDescription=\"new\""), S_OK);
  EXPECT_THAT(calls.of("Tables."), ElementsAre("GetByKey(T)"));
  EXPECT_THAT(log(u"CQXDbDef::CreateTable"), ElementsAre("3 Table 'T' already exists\n"));
}

TEST_F(DbDefCreate, AMissingDescriptionIsNotSet) {
  table("TableName=\"T\"");
  EXPECT_THAT(calls.of("Tables."), ElementsAre("GetByKey(T)", "PutTableName(T)", "Add(T)"));
}

TEST_F(DbDefCreate, AnEmptyDescriptionIsSet) {
  table("TableName=\"T\" TableDescription=\"\"");
  EXPECT_THAT(calls.of("Tables.PutTableDescription"), ElementsAre("()"));
}

TEST_F(DbDefCreate, ADescriptionIsCutToTwentyNineCharacters) {
  table("TableName=\"T\" TableDescription=\"1234567890123456789012345678901234567890\"");
  EXPECT_THAT(calls.of("Tables.PutTableDescription"),
              ElementsAre("(12345678901234567890123456789)"));
}

TEST_F(DbDefCreate, TheCutAppliesToTheLocalisedDescription) {
  CSimpleMap<CString, int> map;
  map.Add(u"LONG", 1001);
  def().SetResourceMap(&map);
  table("TableName=\"T\" TableDescription=\"*RES*LONG\"");
  EXPECT_THAT(calls.of("Tables.PutTableDescription"),
              ElementsAre("(A localised description of fo)"));
}

TEST_F(DbDefCreate, EveryTableTypeHasItsNumber) {
  for (const char* type : {"MasterData", "MasterDataLines", "Document", "DocumentLines"}) {
    company->tables.clear();
    table(std::string("TableName=\"T\" TableType=\"") + type + "\"");
  }
  EXPECT_THAT(calls.of("Tables.PutTableType"), ElementsAre("(1)", "(2)", "(3)", "(4)"));
}

TEST_F(DbDefCreate, AnyOtherTableTypeLeavesTheHostsDefault) {
  for (const char* type : {"masterdata", "Other", ""}) {
    company->tables.clear();
    EXPECT_EQ(table(std::string("TableName=\"T\" TableType=\"") + type + "\""), S_OK);
  }
  EXPECT_THAT(calls.of("Tables.PutTableType"), IsEmpty());
}

TEST_F(DbDefCreate, ATableWithoutANameEndsTheRun) {
  for (const char* attributes : {"TableDescription=\"x\"", "TableName=\"\""}) {
    logger.records.clear();
    EXPECT_EQ(table(attributes), E_FAIL);
    EXPECT_THAT(complaints(), ElementsAre("1 Table name not provided.\n", kGivenUp));
    EXPECT_THAT(stamps(), IsEmpty());
    EXPECT_FALSE(barIsUp());
  }
}

TEST_F(DbDefCreate, ARefusedTableEndsTheRunWithTheHostsText) {
  calls.answers["Tables.Add"] = -1120;
  EXPECT_EQ(table("TableName=\"T\""), E_FAIL);
  EXPECT_THAT(complaints(),
              ElementsAre("1 Failed to create table 'T': The host refuses.\n", kGivenUp));
  EXPECT_EQ(company->liveMetadata, 0);
}

TEST_F(DbDefCreate, AnExceptionOfTheHostEndsTheRun) {
  calls.failures["Tables.Add"] = E_ACCESSDENIED;
  EXPECT_EQ(table("TableName=\"T\""), E_FAIL);
  EXPECT_THAT(complaints(), ElementsAre(kGivenUp));
}

TEST_F(DbDefCreate, AHostWithoutATablesObjectEndsTheRun) {
  calls.failures["Company.GetBusinessObject 153"] = E_FAIL;
  EXPECT_EQ(table("TableName=\"T\""), E_FAIL);
  EXPECT_THAT(complaints(), ElementsAre(kGivenUp));
}

TEST_F(DbDefCreate, Db2KeepsNamesOfNineCharactersAndCutsTenToEight) {
  company->serverType = 2;
  create(
      "<database><usertables><usertable TableName=\"ABCDEFGHI\"><userkeys/></usertable>"
      "<table TableName=\"BCDEFGHIJK\"><userfields><userfield Name=\"F\" Type=\"INT\"/>"
      "</userfields></table></usertables></database>");
  EXPECT_THAT(calls.of("Tables.Add"), ElementsAre("(ABCDEFGHI)", "(BCDEFGHI)"));
  EXPECT_EQ(company->field(u"F")->table, u"BCDEFGHI");
}

TEST_F(DbDefCreate, OtherDialectsKeepLongNames) {
  for (const long serverType : {1L, 3L, 4L, 9L}) {
    company->serverType = serverType;
    company->tables.clear();
    table("TableName=\"ABCDEFGHIJKLMN\"");
  }
  EXPECT_THAT(calls.of("Tables.Add"), ElementsAre("(ABCDEFGHIJKLMN)", "(ABCDEFGHIJKLMN)",
                                                  "(ABCDEFGHIJKLMN)", "(ABCDEFGHIJKLMN)"));
}

TEST_F(DbDefCreate, ATablesGroupCreatesNoTable) {
  EXPECT_EQ(create("<database><tables><table TableName=\"HVITEM\"><userfields>"
                   "<userfield Name=\"F\" Type=\"INT\"/></userfields></table></tables></database>"),
            S_OK);
  EXPECT_THAT(calls.of("Tables."), IsEmpty());
  EXPECT_EQ(company->field(u"F")->table, u"HVITEM");
}

TEST_F(DbDefCreate, GroupsAndTablesAreHandledInTheirOrder) {
  create(
      "<database><tables><table TableName=\"A\"><userkeys/></table></tables>"
      "<usertables><table TableName=\"B\"><userkeys/></table>"
      "<usertable TableName=\"C\"><userkeys/></usertable></usertables></database>");
  EXPECT_THAT(calls.of("Tables.Add"), ElementsAre("(B)", "(C)"));
}

TEST_F(DbDefCreate, TheChildrenOfATableAreHandledInTheirOrder) {
  create(
      userTable("<userkeys><k Name=\"K\"><c Name=\"F\"/></k></userkeys>"
                "<data><row F=\"1\"/></data>"
                "<userfields><userfield Name=\"F\" Type=\"INT\"/></userfields>"));
  const auto key = std::ranges::find(calls.calls, "Keys.Add(K)");
  const auto row = std::ranges::find(
      calls.calls, "SQL(insert into [@T] (Code, Name, U_F) values ('00000000', '00000000', 1))");
  const auto field = std::ranges::find(calls.calls, "Fields.Add(F)");
  ASSERT_NE(field, calls.calls.end());
  EXPECT_LT(key, row);
  EXPECT_LT(row, field);
}

TEST_F(DbDefCreate, AnEmptyGroupIsOnlyLogged) {
  EXPECT_EQ(create("<database><usertables/><tables/></database>"), S_OK);
  EXPECT_THAT(complaints(), ElementsAre("1 Nothing found under '<usertables>'.\n",
                                        "1 Nothing found under '<tables>'.\n"));
  EXPECT_THAT(stamps(), ElementsAre("Installed"));
}

TEST_F(DbDefCreate, AnEmptyTableIsCreatedAndLogged) {
  EXPECT_EQ(create("<database><usertables><table TableName=\"A\"/><usertable TableName=\"B\"/>"
                   "</usertables></database>"),
            S_OK);
  EXPECT_THAT(calls.of("Tables.Add"), ElementsAre("(A)", "(B)"));
  EXPECT_THAT(complaints(), ElementsAre("1 Nothing found under '<table>'.\n",
                                        "1 Nothing found under '<usertable>'.\n"));
}

TEST_F(DbDefCreate, AnEmptyListOfFieldsIsAccepted) {
  EXPECT_EQ(create(userTable("<userfields/>")), S_OK);
  EXPECT_THAT(complaints(), IsEmpty());
}

TEST_F(DbDefCreate, CommentsAndUnknownElementsAreSkippedEverywhere) {
  EXPECT_EQ(create("<!--0--><database><!--1--><views/><usertables><!--2--><view/>"
                   "<usertable TableName=\"T\"><!--3--><fields/></usertable></usertables>"
                   "</database>"),
            S_OK);
  EXPECT_THAT(
      complaints(),
      ElementsAre("1 Skipping comment node.\n", "2 Not know what to do with '<views>'.\n",
                  "1 Skipping comment node.\n", "2 Not know what to do with '<view>'.\n",
                  "1 Skipping comment node.\n", "2 Not know what to do with '<fields>'.\n"));
  EXPECT_THAT(stamps(), ElementsAre("Installed"));
}

TEST_F(DbDefCreate, TextBetweenElementsIsIgnored) {
  EXPECT_EQ(create("<database>x<usertables>x<table TableName=\"T\">x<userfields>x"
                   "<userfield Name=\"F\" Type=\"FLAG\">x<ValidValues>x<ValidValue Value=\"v\"/>"
                   "</ValidValues></userfield></userfields><data>x<row A=\"1\">x</row></data>"
                   "</table></usertables></database>"),
            S_OK);
  EXPECT_EQ(company->tables.size(), 1U);
  EXPECT_EQ(company->field(u"F")->validValues.size(), 1U);
  EXPECT_EQ(statements().size(), 2U);
}

TEST_F(DbDefCreate, NamesAreCaseSensitive) {
  EXPECT_EQ(create("<database><UserTables/><usertables><UserTable/></usertables></database>"),
            S_OK);
  EXPECT_THAT(complaints(), ElementsAre("2 Not know what to do with '<UserTables>'.\n",
                                        "2 Not know what to do with '<UserTable>'.\n"));
}

TEST_F(DbDefCreate, AFailedUpgradingStampEndsTheRunBeforeTheDefinition) {
  company->failStatement = 1;
  EXPECT_EQ(create(userTable("<userkeys/>"), false), E_FAIL);
  EXPECT_THAT(complaints(), ElementsAre("1 SQL failed: RX API SQL failure", kGivenUp));
  EXPECT_THAT(calls.of("Tables."), IsEmpty());
  EXPECT_FALSE(barIsUp());
}

TEST_F(DbDefCreate, AFailedInstalledStampFailsTheRun) {
  company->failStatement = 3;
  EXPECT_EQ(create(userTable("<userkeys/>")), E_FAIL);
  EXPECT_THAT(calls.of("Tables.Add"), ElementsAre("(T)"));
}

TEST_F(DbDefCreate, ReplaceByResourceNeedsAMap) {
  CComBSTR text(u"*RES*KEY");
  EXPECT_EQ(def().ReplaceByResource(text), S_OK);
  EXPECT_EQ(text.View(), u"*RES*KEY");
}

TEST_F(DbDefCreate, ReplaceByResourceLoadsTheMappedStringInTheObjectsLanguage) {
  CSimpleMap<CString, int> map;
  map.Add(u"KEY", 1000);
  CQXDbDef german(application, company, loader, u"QX", ln_German, nullptr);
  EXPECT_EQ(def().SetResourceMap(&map), S_OK);
  german.SetResourceMap(&map);
  CComBSTR text(u"*RES*KEY");
  EXPECT_EQ(def().ReplaceByResource(text), S_OK);
  EXPECT_EQ(text.View(), u"Localised");
  text = u"*RES*KEY";
  EXPECT_EQ(german.ReplaceByResource(text), S_OK);
  EXPECT_EQ(text.View(), u"\u00DCbersetzt");
}

TEST_F(DbDefCreate, ReplaceByResourceLeavesAKeyThatTheMapLacks) {
  CSimpleMap<CString, int> map;
  map.Add(u"KEY", 1000);
  map.Add(u"NOTEXT", 4711);
  def().SetResourceMap(&map);
  for (const char16_t* same : {u"*RES*OTHER", u"*RES*key", u"*RES*", u"*RES*NOTEXT", u"KEY",
                               u"*res*KEY", u"x*RES*KEY", u""}) {
    CComBSTR text(same);
    EXPECT_EQ(def().ReplaceByResource(text), S_OK);
    EXPECT_EQ(text.View(), qx::viewOf(same));
  }
}

TEST_F(DbDefCreate, TenMegabytesAreHandled) {
  std::string definition = "<database><usertables>";
  std::size_t tables = 0;
  for (; definition.size() < 10'000'000; ++tables) {
    definition += "<usertable TableName=\"T" + std::to_string(tables) + "\"><!-- " +
                  std::string(10'000, 'x') +
                  " --><userfields><userfield Name=\"F\" Type=\"INT\"/></userfields></usertable>";
  }
  definition += "</usertables></database>";
  EXPECT_EQ(create(definition), S_OK);
  EXPECT_EQ(company->tables.size(), tables);
  EXPECT_EQ(company->fields.size(), tables);
}

}  // namespace
