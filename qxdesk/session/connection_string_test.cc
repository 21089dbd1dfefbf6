#include "qxdesk/session/connection_string.h"

#include "qxframework/automation/text.h"
#include "testing/scoped_variable.h"

#include <gtest/gtest.h>

namespace qx::desk {
namespace {

std::string refusal(std::u16string_view text) {
  try {
    parseConnectionString(text);
  } catch (const ConnectionStringError& error) {
    return error.what();
  }
  return "accepted";
}

TEST(ConnectionString, NeedsOnlyTheDatabase) {
  const ConnectionString read = parseConnectionString(u"embedded:?db=company.db");
  EXPECT_EQ(read.database, "company.db");
  EXPECT_EQ(read.dbServerType, 1);
  EXPECT_EQ(read.language, ln_English);
  EXPECT_EQ(read.appId, 1);
  EXPECT_EQ(read.userName, u"manager");
  EXPECT_EQ(read.companyName, u"");
  EXPECT_EQ(read.playFile, "");
  EXPECT_FALSE(read.acceptBrackets);
  EXPECT_FALSE(read.refuseUnattendedBoxes);
  EXPECT_FALSE(read.sharedProgressBar);
}

TEST(ConnectionString, ReadsEveryKeyInAnyOrder) {
  const ConnectionString read = parseConnectionString(
      u"embedded:?accept=brackets&progress=shared&boxes=refuse&play=demo.txt&company=Acme%20%26%"
      u"20Sons&user=anna"
      u"&appid=7&language=9&engine=kordb&statements=fresh&memory=64&db=/tmp/c%C3%A4.db");
  EXPECT_EQ(read.database, "/tmp/c\xC3\xA4.db");
  EXPECT_EQ(read.dbServerType, 9);
  EXPECT_EQ(read.language, ln_German);
  EXPECT_EQ(read.appId, 7);
  EXPECT_EQ(read.userName, u"anna");
  EXPECT_EQ(read.companyName, u"Acme & Sons");
  EXPECT_EQ(read.playFile, "demo.txt");
  EXPECT_TRUE(read.acceptBrackets);
  EXPECT_TRUE(read.refuseUnattendedBoxes);
  EXPECT_TRUE(read.sharedProgressBar);
  EXPECT_FALSE(read.keepsStatements);
  EXPECT_EQ(read.memoryMegabytes, 64);
}

TEST(ConnectionString, KeepsTheAddressOfTheScreensInABrowserAsItIs) {
  EXPECT_EQ(parseConnectionString(u"embedded:?db=a").webAddress, "");
  EXPECT_EQ(parseConnectionString(u"embedded:?db=a&web=127.0.0.1:0").webAddress, "127.0.0.1:0");
  EXPECT_EQ(parseConnectionString(u"embedded:?db=a&web=%5B::1%5D:80").webAddress, "[::1]:80");
  EXPECT_EQ(refusal(u"embedded:?db=a&web="),
            "connection string, character 20: web is empty; write an address such as 127.0.0.1:0 "
            "or leave the key out");
}

TEST(ConnectionString, NamesALanguage) {
  EXPECT_EQ(languageTag(ln_English), u"en");
  EXPECT_EQ(languageTag(ln_Portuguese_Br), u"pt-br");
  EXPECT_EQ(languageTag(static_cast<HvLanguages>(4)), u"en");
}

TEST(ConnectionString, IsShownAsGivenButForPasswords) {
  const auto shown = [](std::u16string_view text) { return parseConnectionString(text).shown; };
  EXPECT_EQ(shown(u"embedded:?db=c%C3%A4.db&user=anna"), u"embedded:?db=c%C3%A4.db&user=anna");
  EXPECT_EQ(shown(u"embedded:?appid=2&db=odbc:DSN=a%26b;PWD=x%23y&user=anna"),
            u"embedded:?appid=2&db=odbc:DSN=a%26b;PWD=***&user=anna");
}

TEST(ConnectionString, RefusesALimitOfMemoryThatIsNone) {
  for (const char16_t* value : {u"", u"x", u"15", u"1000001", u"-64"}) {
    EXPECT_EQ(refusal(std::u16string(u"embedded:?db=a&memory=") + value),
              "connection string, character 23: memory is no number of megabytes from 16 to "
              "1000000: \"" +
                  toUtf8(value) + "\"");
  }
  EXPECT_EQ(parseConnectionString(u"embedded:?db=a&memory=16").memoryMegabytes, 16);
  EXPECT_EQ(parseConnectionString(u"embedded:?db=a&memory=1000000").memoryMegabytes, 1'000'000);
}

TEST(ConnectionString, APasswordMayComeFromElsewhere) {
  const test::ScopedVariable variable("QX_TEST_WORD", "se;cret}");
  const ConnectionString read =
      parseConnectionString(u"embedded:?password=env:QX_TEST_WORD&db=odbc:DSN=a");
  EXPECT_EQ(read.database, "odbc:DSN=a;Pwd={se;cret}}}");
  EXPECT_EQ(read.shown, u"embedded:?password=env:QX_TEST_WORD&db=odbc:DSN=a");
}

TEST(ConnectionString, RefusesAPasswordThatHasNoUseOrIsGivenTwice) {
  const test::ScopedVariable variable("QX_TEST_WORD", "secret");
  EXPECT_EQ(refusal(u"embedded:?db=a&password=env:QX_TEST_WORD"),
            "connection string, character 25: db is a file and has no password; leave the key out, "
            "or write db=odbc:");
  EXPECT_EQ(refusal(u"embedded:?db=odbc:Pwd=x&password=env:QX_TEST_WORD"),
            "connection string, character 34: db gives a password, too; leave that out");
  EXPECT_EQ(refusal(u"embedded:?password=secret&db=odbc:DSN=a"),
            "connection string, character 20: the password is neither file:PATH nor env:NAME nor "
            "fd:NUMBER; the password itself does not belong here");
}

TEST(ConnectionString, ShowsNoPartOfAPasswordThatIsNotEncoded) {
  const char* const expected =
      "connection string, character 31: this is no key; in a password write %26 for &, or name "
      "the place of the password";
  EXPECT_EQ(refusal(u"embedded:?db=odbc:DSN=a;Pwd=a&rest"), expected);
  EXPECT_EQ(refusal(u"embedded:?db=odbc:DSN=a;Pwd=a&rest=x"), expected);
}

TEST(ConnectionString, RefusesAMisspelledOdbcInsteadOfTakingItForAFile) {
  for (const char16_t* db : {u"odbc :DSN=a;Pwd=x", u"odbc;DSN=a;Pwd=x", u" odbc:DSN=a;Pwd=x",
                             u"OD BC:Pwd=x", u"odbc=DSN"}) {
    EXPECT_EQ(refusal(std::u16string(u"embedded:?db=") + db),
              "connection string, character 14: db begins nearly like an ODBC connection; write "
              "odbc: without blanks");
  }
  EXPECT_EQ(parseConnectionString(u"embedded:?db=odbcompany.db").database, "odbcompany.db");
}

TEST(ConnectionString, ReadsTheServerTypeFromTheEngine) {
  EXPECT_EQ(parseConnectionString(u"embedded:?db=a&engine=mssql").dbServerType, 1);
  EXPECT_EQ(parseConnectionString(u"embedded:?db=a&engine=db2").dbServerType, 2);
  EXPECT_EQ(parseConnectionString(u"embedded:?db=a&engine=sybase").dbServerType, 3);
  EXPECT_EQ(parseConnectionString(u"embedded:?db=a&engine=kordb").dbServerType, 9);
}

TEST(ConnectionString, AcceptsALanguageByNumberOrByNameInAnyCase) {
  EXPECT_EQ(languageFromText(u"35"), ln_TrdtnlChinese_Hk);
  EXPECT_EQ(languageFromText(u"pt-BR"), ln_Portuguese_Br);
  EXPECT_EQ(languageFromText(u"DE"), ln_German);
  EXPECT_EQ(languageFromText(u"en"), ln_English);
  EXPECT_EQ(languageFromText(u"en-US"), ln_English);
  EXPECT_EQ(languageFromText(u"4"), 0);
  EXPECT_EQ(languageFromText(u"xx"), 0);
  EXPECT_EQ(languageFromText(u""), 0);
}

TEST(ConnectionString, KeepsCharactersBeyondAsciiThatAreNotEncoded) {
  EXPECT_EQ(parseConnectionString(u"embedded:?db=\u00E4\U0001F600").database,
            "\xC3\xA4\xF0\x9F\x98\x80");
}

TEST(ConnectionString, AcceptsASeparatorAfterTheLastValue) {
  EXPECT_EQ(parseConnectionString(u"embedded:?db=a&").database, "a");
}

TEST(ConnectionString, NamesThePositionOfAFaultAndTheRemedy) {
  EXPECT_EQ(refusal(u""),
            "connection string, character 1: unknown scheme \"\"; write embedded:?db=FILE");
  EXPECT_EQ(refusal(u"attached:?db=a"),
            "connection string, character 1: unknown scheme \"attached\"; write embedded:?db=FILE");
  EXPECT_EQ(refusal(u"embedded:db=a"),
            "connection string, character 10: a question mark must follow the scheme; write "
            "embedded:?db=FILE");
  EXPECT_EQ(refusal(u"embedded:?engine=db2"),
            "connection string, character 21: the key db is missing; write embedded:?db=FILE");
  EXPECT_EQ(refusal(u"embedded:?db="),
            "connection string, character 14: db is empty; name the company database's file");
  EXPECT_EQ(
      refusal(u"embedded:?db=a&dbb=c"),
      "connection string, character 16: unknown key \"dbb\"; the keys are db, engine, "
      "accept, language, appid, user, password, company, play, web, boxes, progress, memory and "
      "statements");
  EXPECT_EQ(refusal(u"embedded:?db=a&db=b"),
            "connection string, character 16: the key \"db\" is given twice");
  EXPECT_EQ(refusal(u"embedded:?db"),
            "connection string, character 11: the key \"db\" has no value; write key=value");
}

TEST(ConnectionString, RefusesInvalidValues) {
  EXPECT_EQ(refusal(u"embedded:?db=a&engine=other"),
            "connection string, character 23: unknown engine \"other\"; write mssql, sybase, db2 "
            "or kordb");
  EXPECT_EQ(refusal(u"embedded:?db=a&language=4"),
            "connection string, character 25: unknown language \"4\"; write a number of the client "
            "such as 3, or a name such as en or pt-BR");
  EXPECT_EQ(refusal(u"embedded:?db=a&appid=-1"),
            "connection string, character 22: appid is no number from 0 to 999999999: \"-1\"");
  EXPECT_EQ(refusal(u"embedded:?db=a&boxes=maybe"),
            "connection string, character 22: boxes is neither default nor refuse: \"maybe\"");
  EXPECT_EQ(refusal(u"embedded:?db=a%2"),
            "connection string, character 15: % is not followed by two hexadecimal digits; write "
            "%25 for %");
  EXPECT_EQ(refusal(u"embedded:?db=a%00"),
            "connection string, character 15: %00 is not allowed in a value");
  EXPECT_EQ(refusal(u"embedded:?db=a%zz"),
            "connection string, character 15: % is not followed by two hexadecimal digits; write "
            "%25 for %");
  EXPECT_EQ(refusal(u"embedded:?db=a&appid=1234567890"),
            "connection string, character 22: appid is no number from 0 to 999999999: "
            "\"1234567890\"");
  EXPECT_EQ(refusal(u"embedded:?db=a&accept=all"),
            "connection string, character 23: accept is neither own nor brackets: \"all\"");
  EXPECT_EQ(refusal(u"embedded:?db=a&statements=old"),
            "connection string, character 27: statements is neither kept nor fresh: \"old\"");
  EXPECT_EQ(refusal(u"embedded:?db=a&progress=all"),
            "connection string, character 25: progress is neither own nor shared: \"all\"");
  EXPECT_EQ(refusal(u"embedded:?db=%FF.db"),
            "connection string, character 14: the value is not UTF-8; write every byte of a "
            "character as %XX");
  EXPECT_EQ(refusal(u"embedded:?db=a&play="),
            "connection string, character 21: play is empty; name a file or leave the key out");
}

TEST(ConnectionString, ReportsThePositionInUtf16UnitsFromZero) {
  try {
    parseConnectionString(u"embedded:?db=\U0001F600&x=1");
    FAIL() << "accepted";
  } catch (const ConnectionStringError& error) {
    EXPECT_EQ(error.position(), 16U);
  }
}

}  // namespace
}  // namespace qx::desk
