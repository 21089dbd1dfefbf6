// All warnings, each with its place.

#include "tools/sqlprint/statement_warnings.h"

#include <gtest/gtest.h>

namespace qx::sqlprint {
namespace {

const std::string kSelect = "[select]\ntable = \"T\"\nkeys = [\"K\"]\n";
const std::string kInsert = "[insert]\ntable = \"T\"\n";
const std::string kUpdate = "[update]\ntable = \"T\"\nvalues = { A = 1 }\n";

std::vector<std::string> warningsOf(const std::string& toml) {
  return readDescription("f", toml).warnings;
}

TEST(Warnings, ReportFieldsThatAreNotSelected) {
  EXPECT_EQ(warningsOf(kSelect + "fields = [\"A\"]\n"),
            std::vector<std::string>{"f:4:10: warning: the fields are not selected, since a "
                                     "collection fetches keys only by default; add "
                                     "keys-only = false"});
  EXPECT_TRUE(warningsOf(kSelect + "fields = [\"A\"]\nkeys-only = false\n").empty());
}

TEST(Warnings, ReportBracketsThatAreNotWritten) {
  const std::string bracketed = "where = [{ field = \"A\", value = 1, open = 1, close = 1 }]\n";
  EXPECT_EQ(warningsOf("[load]\ntable = \"T\"\n" + bracketed),
            std::vector<std::string>{"f:3:10: warning: the layer writes no brackets in [load]; "
                                     "give the conditions an order that needs none"});
  EXPECT_EQ(warningsOf(kUpdate + bracketed),
            std::vector<std::string>{"f:4:10: warning: the layer writes no brackets in [update]; "
                                     "give the conditions an order that needs none"});
  EXPECT_TRUE(warningsOf(kSelect + bracketed).empty());
}

TEST(Warnings, ReportABracketOnTheWrongSideOfAnd) {
  EXPECT_EQ(warningsOf("[delete]\ntable = \"T\"\nwhere = [{ field = \"A\", value = 1, open = 1, "
                       "close = 1 },\n{ field = \"B\", value = 1, open = 1, close = 1 }]\n"),
            std::vector<std::string>{
                "f:4:1: warning: in [delete] the layer writes the bracket before AND and OR, "
                "which no server accepts; give the conditions an order that needs none"});
}

TEST(Warnings, ReportFieldsOfAJoinThatAreNotSelected) {
  const std::string joined = kSelect +
                             "as = \"T0\"\njoin = [{ table = \"B\", as = \"T1\", fields = [\"A\"], "
                             "on = [{ from = \"A\", to = "
                             "\"A\" }] }]\n";
  EXPECT_EQ(warningsOf(joined),
            std::vector<std::string>{"f:5:44: warning: the fields of the join are not selected, "
                                     "since a collection fetches keys only by default; "
                                     "add keys-only = false"});
  EXPECT_TRUE(warningsOf(joined + "keys-only = false\n").empty());
}

TEST(Warnings, ReportAJoinWhoseFieldsAreThoseOfTheTable) {
  const auto joined = [](const std::string& head, const std::string& fields) {
    return warningsOf(head +
                      "as = \"T0\"\nfields = [\"A\", \"B\"]\njoin = [\n{ table = \"C\", as "
                      "= \"T1\", fields = " +
                      fields + ", on = [{ from = \"A\", to = \"A\" }] }]\n");
  };
  const std::string warning =
      ": warning: the fields of the join are those of the table, and then the layer writes no "
      "comma before them, which no server accepts; change their order or their number";
  EXPECT_EQ(joined(kSelect + "keys-only = false\n", "[\"A\", \"B\"]"),
            std::vector<std::string>{"f:8:36" + warning});
  EXPECT_EQ(
      joined("[load]\ntable = \"T\"\nwhere = [{ field = \"A\", value = 1 }]\n", "[\"A\", \"B\"]"),
      std::vector<std::string>{"f:7:36" + warning});
  EXPECT_TRUE(joined(kSelect + "keys-only = false\n", "[\"B\", \"A\"]").empty());
  EXPECT_TRUE(joined(kSelect + "keys-only = false\n", "[]").empty());
}

TEST(Warnings, ReportAJoinToATableWithoutAName) {
  const auto joined = [](const std::string& on) {
    return warningsOf(kSelect + "join = [{ table = \"B\", as = \"T1\", on = [" + on + "] }]\n");
  };
  EXPECT_EQ(joined("{ to = \"K\", value = 1 }, { from = \"A\", to = \"A\" }"),
            std::vector<std::string>{
                "f:4:40: warning: the columns compare with those of a table without a name, which "
                "no server accepts; add as = \"T0\" to [select]"});
  EXPECT_TRUE(joined("{ to = \"K\", value = 1 }").empty());
}

TEST(Warnings, ReportKeyValuesThatMatchNoColumn) {
  EXPECT_EQ(warningsOf("[update]\ntable = \"T\"\nvalues = { Code = 1, A = 1 }\nkey-values = { "
                       "Code = 1, \"T0.A\" = 1, A = 1, \"b\\u0007\" = 1, CODE = 1 }\n"),
            (std::vector<std::string>{
                "f:4:26: warning: the layer leaves 'T0.A' out of the WHERE, since no column in "
                "'values' has that name; add it there or correct the name",
                "f:4:45: warning: the layer leaves 'b?' out of the WHERE, since no column in "
                "'values' has that name; add it there or correct the name"}));
  // With a correlation name and fields, the part of the name after its point is looked up.
  EXPECT_TRUE(warningsOf(kUpdate + "as = \"T0\"\nfields = [\"A\"]\nkey-values = { \"T0.A\" = 1 }\n")
                  .empty());
}

TEST(Warnings, ReportAnEmptyWhere) {
  const std::string warning =
      "warning: nothing follows WHERE, which no server accepts; add a condition to 'where'";
  const auto ofOne = [&](const std::string& place) {
    return std::vector<std::string>{place + ": " + warning};
  };
  EXPECT_EQ(warningsOf("[delete]\ntable = \"T\"\n"), ofOne("f:1:1"));
  EXPECT_EQ(warningsOf("[delete]\ntable = \"T\"\nwhere = []\n"), ofOne("f:3:9"));
  EXPECT_EQ(warningsOf(kUpdate), ofOne("f:1:1"));
  EXPECT_EQ(warningsOf(kUpdate + "where = []\n"), ofOne("f:4:9"));
  EXPECT_EQ(warningsOf(kUpdate + "key-values = { B = 1 }\n").back(), "f:1:1: " + warning);
  EXPECT_TRUE(warningsOf(kUpdate + "key-values = { A = 1 }\n").empty());
  EXPECT_TRUE(warningsOf(kUpdate + "where = [{ field = \"B\", value = 1 }]\n").empty());
  EXPECT_EQ(warningsOf(kSelect + "where = []\n"), ofOne("f:4:9"));
  EXPECT_TRUE(warningsOf(kSelect).empty());
}

TEST(Warnings, ReportAnEmptyRawText) {
  const auto raw = [](const std::string& text) {
    return warningsOf(kUpdate + "where = [{ field = \"B\", value = 1 },\n{ field = \"B\", raw = " +
                      text + " }]\n");
  };
  const std::vector<std::string> warning{
      "f:5:22: warning: nothing follows the operator, which no server accepts; write what the "
      "column compares with"};
  EXPECT_EQ(raw("\"\""), warning);
  EXPECT_EQ(raw("\" \\t\\n\""), warning);
  EXPECT_TRUE(raw("\"''\"").empty());
}

TEST(Warnings, ReportATimeOfDayThatIsNotWritten) {
  const auto warning = [](const std::string& place) {
    return place +
           ": warning: the layer writes a date without its time of day; leave the time out, or in "
           "a condition write the text of it as 'raw'";
  };
  const std::string moment = "9999-12-31T23:59:59";
  EXPECT_EQ(warningsOf("[load]\ntable = \"T\"\nwhere = [{ field = \"A\", value = " + moment +
                       " }]\njoin = [{ table = \"B\", as = \"T1\", on = [{ to = \"K\", value = " +
                       moment + " }] }]\n"),
            (std::vector<std::string>{warning("f:3:33"), warning("f:4:61")}));
  EXPECT_EQ(warningsOf("[update]\ntable = \"T\"\nkey-values = { B = " + moment +
                       " }\nvalues = { B = 1, A = " + moment + " }\n"),
            (std::vector<std::string>{warning("f:3:20"), warning("f:4:23")}));
  EXPECT_EQ(warningsOf(kInsert + "values = { A = 2024-01-31 00:00:01 }\n"),
            std::vector<std::string>{warning("f:3:16")});
  EXPECT_TRUE(
      warningsOf(kInsert + "values = { A = 2024-01-31, B = 2024-01-31T00:00:00 }\n").empty());
}

TEST(Warnings, ReportAnInsertWithoutValues) {
  const std::string warning =
      "warning: the insert has no values, and then the layer writes lists that no server accepts; "
      "add a column to 'values'";
  EXPECT_EQ(warningsOf(kInsert + "values = {}\n"), std::vector<std::string>{"f:3:10: " + warning});
  EXPECT_EQ(warningsOf("[insert]\ntable = \"@T\"\nnext-code = \"00000001\"\n[insert.values]\n"),
            std::vector<std::string>{"f:4:1: " + warning});
  EXPECT_TRUE(warningsOf(kInsert + "values = { A = 1 }\n").empty());
}

TEST(Warnings, ReportAnUpdateThatSetsNothing) {
  const std::string where = "where = [{ field = \"A\", value = 1 }]\n";
  EXPECT_EQ(warningsOf(kUpdate + "keys = [\"A\"]\n" + where),
            std::vector<std::string>{
                "f:3:10: warning: nothing follows SET, which no server accepts; add a column "
                "that is none of 'keys' to 'values'"});
  EXPECT_TRUE(warningsOf(kUpdate + "keys = [\"a\"]\n" + where).empty());
}

TEST(Warnings, ReportQuotesInTheTitlesOfAChooseList) {
  const std::string list = "[choose-list]\ntable = \"T\"\n";
  const std::vector<std::string> warning{
      "f:3:10: warning: the layer writes the quotes of a title as they are, and servers take them "
      "for its end; write \u2019 or leave them out"};
  EXPECT_EQ(warningsOf(list + "fields = { A = \"it's\" }\n"), warning);
  EXPECT_EQ(warningsOf(list + "fields = { A = 'a \"b\"' }\n"), warning);
  EXPECT_TRUE(warningsOf(list + "fields = { A = \"it\u2019s\" }\n").empty());
}

}  // namespace
}  // namespace qx::sqlprint
