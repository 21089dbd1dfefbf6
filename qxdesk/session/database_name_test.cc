#include "qxdesk/session/database_name.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace qx::desk {
namespace {

TEST(DatabaseName, AFileIsShownUnchanged) {
  EXPECT_EQ(databaseName("/data/Shop.db"), "/data/Shop.db");
  EXPECT_EQ(databaseTitle("/data/Shop.db"), "Shop");
  EXPECT_EQ(odbcConnection("/data/odbc:x"), std::nullopt);
}

TEST(DatabaseName, AConnectionIsShownWithoutItsPasswords) {
  EXPECT_EQ(databaseName("odbc:DSN=shop"), "odbc:DSN=shop");
  EXPECT_EQ(databaseName("odbc:Driver={A;B};PWD=se;Uid=me"), "odbc:Driver={A;B};PWD=***;Uid=me");
  EXPECT_EQ(databaseName("odbc:Password={a}};b;c=d};Uid=me"), "odbc:Password=***;Uid=me");
  EXPECT_EQ(databaseName("odbc:Uid=me; pwd =x"), "odbc:Uid=me; pwd =***");
  EXPECT_EQ(databaseName("odbc:Password={never closed;Uid=me"), "odbc:Password=***");
  EXPECT_EQ(databaseName("odbc:"), "odbc:");
}

TEST(DatabaseName, TheTitleIsThatOfTheDatabaseOrTheDataSource) {
  EXPECT_EQ(databaseTitle("odbc:DSN=till;Database=shop"), "shop");
  EXPECT_EQ(databaseTitle("odbc:dsn={My shop}"), "My shop");
  EXPECT_EQ(databaseTitle("odbc:Driver=SQLite3;Database=/data/Shop.db"), "Shop");
  EXPECT_EQ(databaseTitle("odbc:Driver=SQLite3"), "ODBC");
}

TEST(DatabaseName, TheConnectionStringFollowsTheScheme) {
  EXPECT_EQ(odbcConnection("odbc:DSN=shop"), "DSN=shop");
}

TEST(DatabaseName, TheSchemeIsAcceptedInAnyCase) {
  EXPECT_EQ(odbcConnection("ODBC:DSN=shop"), "DSN=shop");
  EXPECT_EQ(databaseName("Odbc:DSN=shop;Pwd=x"), "odbc:DSN=shop;Pwd=***");
}

TEST(DatabaseName, PasswordsUnderOtherKeysAreHiddenToo) {
  EXPECT_EQ(databaseName("odbc:SSLPassword=x;Uid=me"), "odbc:SSLPassword=***;Uid=me");
  EXPECT_EQ(databaseName("odbc:Access Token=x"), "odbc:Access Token=***");
  EXPECT_EQ(databaseName("odbc:ClientSecret=x"), "odbc:ClientSecret=***");
  EXPECT_EQ(databaseName("odbc:pqopt={password=x};Uid=me"), "odbc:pqopt=***;Uid=me");
}

TEST(DatabaseName, MoreKeysAreSecret) {
  for (const char* key : {"Pass", "passphrase", "Credentials", "ApiKey", "Api Key", "token"}) {
    EXPECT_EQ(databaseName("odbc:DSN=a;" + std::string(key) + "=x"),
              "odbc:DSN=a;" + std::string(key) + "=***");
  }
}

TEST(DatabaseName, APasswordIsHiddenAlsoWhereTheSchemeIsMisspelled) {
  EXPECT_EQ(databaseName("odbc;DSN=a;Pwd=x;Uid=me"), "odbc;DSN=a;Pwd=***;Uid=me");
  EXPECT_EQ(databaseName("obdc:Pwd=x;DSN=a"), "obdc:Pwd=***;DSN=a");
  EXPECT_EQ(databaseName("DSN=a;Pwd={x;y}"), "DSN=a;Pwd=***");
  EXPECT_EQ(databaseName("/data/a;b=c.db"), "/data/a;b=c.db");
}

TEST(DatabaseName, APartWithoutAValueIsShownAsItIs) {
  EXPECT_EQ(databaseName("odbc:DSN=a;rest"), "odbc:DSN=a;rest");
}

TEST(DatabaseName, ASecretIsNamedByItsKeyWithAValue) {
  EXPECT_TRUE(namesSecret("DSN=a;Pwd=x"));
  EXPECT_TRUE(namesSecret("odbc :Pwd=x"));
  EXPECT_FALSE(namesSecret("DSN=pwd"));
  EXPECT_FALSE(namesSecret("/home/pwd/company.db"));
}

TEST(DatabaseName, AConnectionThatDriversCannotHoldHasAProblem) {
  const auto values = [](std::size_t count, std::size_t length) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) text += "A=" + std::string(length, 'x') + ";";
    return text;
  };
  EXPECT_EQ(lengthProblem(values(1, 1000)), "");
  EXPECT_EQ(lengthProblem("A=x;" + values(1, 1001)),
            "a value of the ODBC connection string is longer than 1000 bytes; shorten it");
  EXPECT_EQ(lengthProblem(values(4, 997)), "");
  EXPECT_EQ(lengthProblem(values(4, 997) + ";"),
            "the ODBC connection string is longer than 4000 bytes; shorten it, or put a part of it "
            "into a data source");
}

TEST(DatabaseName, AnAddedPasswordMayHaveAnyCharacter) {
  EXPECT_EQ(withPassword("odbc:DSN=a", "x;y}z"), "odbc:DSN=a;Pwd={x;y}}z}");
  EXPECT_EQ(withPassword("odbc:DSN=a;", "x"), "odbc:DSN=a;Pwd={x}");
  EXPECT_EQ(databaseName(withPassword("odbc:DSN=a", "x;y}z")), "odbc:DSN=a;Pwd=***");
}

TEST(DatabaseName, AFileIsTheSameByWhateverPath) {
  const std::string here = std::filesystem::current_path().string();
  EXPECT_TRUE(sameDatabase("a.db", here + "/a.db"));
  EXPECT_TRUE(sameDatabase("./missing/../a.db", "a.db"));
  EXPECT_FALSE(sameDatabase("a.db", "b.db"));
  EXPECT_FALSE(sameDatabase("a.db", "A.db"));
  EXPECT_FALSE(sameDatabase("odbc:DSN=a", here + "/odbc:DSN=a"));
}

TEST(DatabaseName, AnOdbcSourceIsTheSameByItsWholeText) {
  EXPECT_TRUE(sameDatabase("odbc:DSN=a;Pwd=x", "odbc:DSN=a;Pwd=x"));
  EXPECT_FALSE(sameDatabase("odbc:DSN=a;Pwd=x", "odbc:DSN=a;Pwd=y"));
}

}  // namespace
}  // namespace qx::desk
