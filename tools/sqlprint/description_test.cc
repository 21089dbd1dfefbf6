// Descriptions that are refused, each with its place.

#include "tools/sqlprint/description.h"

#include "testing/param_name.h"
#include "tools/sqlprint/printer.h"

#include <gtest/gtest.h>

namespace qx::sqlprint {
namespace {

/// Returns the text of the refusal; the printed text if there is none.
std::string refusalOf(const std::string& toml) {
  try {
    return "printed: " + sideBySide(readDescription("f", toml).statements);
  } catch (const Diagnostic& refusal) {
    return refusal.what();
  }
}

struct Refused {
  std::string name;
  std::string toml;
  std::string text;
  friend std::ostream& operator<<(std::ostream& out, const Refused& each) {
    return out << each.name;
  }
};

class RefusedDescription : public testing::TestWithParam<Refused> {};

TEST_P(RefusedDescription, IsReportedWithItsPlaceAndARemedy) {
  EXPECT_EQ(refusalOf(GetParam().toml), GetParam().text);
}

const std::string kSelect = "[select]\ntable = \"T\"\nkeys = [\"K\"]\n";
const std::string kInsert = "[insert]\ntable = \"T\"\n";
const std::string kUpdate = "[update]\ntable = \"T\"\nvalues = { A = 1 }\n";

std::string where(const std::string& conditions) {
  return kSelect + "where = [" + conditions + "]\n";
}
std::string join(const std::string& entries) {
  return kSelect + "as = \"T0\"\njoin = [{ " + entries + " }]\n";
}
std::string value(const std::string& text) { return kInsert + "values = { A = " + text + " }\n"; }

const Refused kFiles[] = {
    {"BadUtf8", "[select]\n# caf\xC3\xA9 \xFF\n",
     "f:2:8: error: the text is not valid UTF-8; save the file as UTF-8"},
    {"CutUtf8", "x = \"\xC3\n\"",
     "f:1:6: error: the text is not valid UTF-8; save the file as UTF-8"},
    {"Surrogate", "x = \"\xED\xA0\x80\"",
     "f:1:6: error: the text is not valid UTF-8; save the file as UTF-8"},
    {"NoToml", "[select\n",
     "f:1:8: error: Error while parsing table header: expected ']', saw '\\n'; correct the TOML; "
     "texts are in double quotes, a table { … } on one line"},
    {"Empty", "",
     "f:1:1: error: the file has no statement; write one, like [select]; qxdesk sql "
     "--example prints a whole file"},
    {"UnknownKind", "[selct]\ntable = \"T\"\n",
     "f:1:2: error: unknown key 'selct' in the file; use select, load, insert, update, delete or "
     "choose-list"},
    {"KindIsNoTable", "select = 1\n",
     "f:1:10: error: 'select' is a whole number; write a table: { key = value, … }"},
    {"KindListHoldsNoTable", "select = [1]\n",
     "f:1:11: error: 'select' is a whole number; write a table: { key = value, … }"},
    {"VeryDeepKey", "[select]\na.b.c.d.e.f.g.h.i.j.k.l.m.n.o.p.q = 1\n",
     "f:2:32: error: a key has more than 16 parts; put a name that holds points in double quotes"},
    {"VeryDeepKeyAfterStrings",
     "a = \"\"\"x\\\"\"\"\"\"\nb = '''y''''\nc = \"\\\"\"\nd = 'e' # \"\n"
     "\"a\".'b'.c.d.e.f.g.h.i.j.k.l.m.n.o.p.q = 1\n",
     "f:5:36: error: a key has more than 16 parts; put a name that holds points in double quotes"}};
INSTANTIATE_TEST_SUITE_P(Files, RefusedDescription, testing::ValuesIn(kFiles),
                         test::nameOf<Refused>);

const Refused kStatements[] = {
    {"NoTable", "[select]\nkeys = [\"K\"]\n",
     "f:1:1: error: [select] has no 'table'; add table = \"@ORDERS\""},
    {"EmptyTable", "[select]\ntable = \"\"\n",
     "f:2:9: error: 'table' is empty; write a name or leave it out"},
    {"TableIsANumber", "[load]\ntable = 1.5\n",
     "f:2:9: error: 'table' is a number with a point; write a text in double quotes"},
    {"ZeroInAName", "[load]\ntable = \"A\\u0000B\"\n",
     "f:2:9: error: 'table' holds the character zero; leave it out"},
    {"UnknownKey", kSelect + "feilds = []\n",
     "f:4:1: error: unknown key 'feilds' in [select]; use table, user-table, as, keys, keys-only, "
     "fields, where, sort, limit or join"},
    {"FirstUnknownKeyOfTheFile", kSelect + "z = 1\na = 1\n",
     "f:4:1: error: unknown key 'z' in [select]; use table, user-table, as, keys, keys-only, "
     "fields, where, sort, limit or join"},
    {"UnknownKeyWithControlCharacters", kSelect + "\"a\\u001b\" = 1\n",
     "f:4:1: error: unknown key 'a?' in [select]; use table, user-table, as, keys, keys-only, "
     "fields, where, sort, limit or join"},
    {"KeyOfAnotherKind", "[load]\ntable = \"T\"\nlimit = 1\n",
     "f:3:1: error: unknown key 'limit' in [load]; use table, user-table, as, fields, where or "
     "join"},
    {"UserTableIsAText", "[load]\ntable = \"T\"\nuser-table = \"yes\"\n",
     "f:3:14: error: 'user-table' is a text; write true or false without quotes"},
    {"KeysAreAText", "[select]\ntable = \"T\"\nkeys = \"K\"\n",
     "f:3:8: error: 'keys' is a text; write a list: [ …, … ]"},
    {"AKeyIsEmpty", "[select]\ntable = \"T\"\nkeys = [\"K\", \"\"]\n",
     "f:3:14: error: 'keys' is empty; write a name or leave it out"},
    {"AFieldIsFalse", kSelect + "fields = [false]\n",
     "f:4:11: error: 'fields' is true or false; write a text in double quotes"},
    {"KeysOnlyIsANumber", kSelect + "keys-only = 0\n",
     "f:4:13: error: 'keys-only' is a whole number; write true or false without quotes"},
    {"AsIsEmpty", kSelect + "as = \"\"\n",
     "f:4:6: error: 'as' is empty; write a name or leave it out"},
    {"SortIsNoList", kSelect + "sort = \"K\"\n",
     "f:4:8: error: 'sort' is a text; write a list: [ …, … ]"},
    {"SortFieldIsANumber", kSelect + "sort = [1]\n",
     "f:4:9: error: 'sort' holds what is neither a text nor a table; write \"Code\", \"-Code\" or "
     "{ field = \"Code\", descending = true }"},
    {"SortFieldIsAMinus", kSelect + "sort = [\"-\"]\n",
     "f:4:9: error: 'sort' has a '-' without a name; write \"-Code\""},
    {"SortFieldWithoutAName", kSelect + "sort = [{ descending = true }]\n",
     "f:4:9: error: a sort field has no 'field'; add field = \"Code\""},
    {"SortFieldWithAnUnknownKey", kSelect + "sort = [{ field = \"K\", desc = true }]\n",
     "f:4:24: error: unknown key 'desc' in a sort field; use field or descending"},
    {"LimitIsAText", kSelect + "limit = \"5\"\n",
     "f:4:9: error: 'limit' is a text; write a whole number from -2147483648 to 2147483647"},
    {"LimitIsTooLarge", kSelect + "limit = 2147483648\n",
     "f:4:9: error: 'limit' is out of range; write a whole number from -2147483648 to "
     "2147483647"}};
INSTANTIATE_TEST_SUITE_P(Statements, RefusedDescription, testing::ValuesIn(kStatements),
                         test::nameOf<Refused>);

const Refused kConditions[] = {
    {"WhereIsAText", kSelect + "where = \"K = 1\"\n",
     "f:4:9: error: 'where' is a text; write a list: [ …, … ]"},
    {"ConditionIsAText", where("\"K = 1\""),
     "f:4:10: error: 'where' is a text; write a table: { key = value, … }"},
    {"ConditionWithoutAField", where("{ value = 1 }"),
     "f:4:10: error: a condition has no 'field'; add field = \"Code\""},
    {"ConditionWithoutAValue", where("{ field = \"A\" }"),
     "f:4:10: error: a condition has neither 'value' nor 'raw'; add value = \"…\", or the other"},
    {"ConditionWithTwoValues", where("{ field = \"A\", value = 1, raw = \"2\" }"),
     "f:4:10: error: a condition has both 'value' and 'raw'; leave one of them out"},
    {"ConditionWithAnUnknownKey", where("{ field = \"A\", value = 1, and = true }"),
     "f:4:36: error: unknown key 'and' in a condition; use field, is, value, raw, or, open or "
     "close"},
    {"UnknownOperator", where("{ field = \"A\", is = \"==\", value = 1 }"),
     "f:4:30: error: 'is' is none of its words; use \"=\", \"<>\", \">\", \"<\", \">=\", \"<=\", "
     "\"like\""},
    {"OrIsAText", where("{ field = \"A\", or = \"yes\", value = 1 }"),
     "f:4:30: error: 'or' is a text; write true or false without quotes"},
    {"ValueIsTrue", where("{ field = \"A\", value = true }"),
     "f:4:33: error: 'value' is true or false; write a text, a number or a date"},
    {"NegativeBrackets", where("{ field = \"A\", value = 1, open = -1 }"),
     "f:4:43: error: 'open' is out of range; write a whole number from 0 to 100"},
    {"TooManyBrackets", where("{ field = \"A\", value = 1, open = 101 }"),
     "f:4:43: error: 'open' is out of range; write a whole number from 0 to 100"},
    {"BracketNeverClosed",
     where("{ field = \"A\", value = 1, open = 2 },\n{ field = \"B\", value = 1, close = 1 }"),
     "f:4:10: error: condition 1, on 'A', opens a bracket that is never closed; lower its 'open' "
     "or raise a 'close' after it"},
    {"BracketNeverOpened",
     where("{ field = \"A\", value = 1 },\n{ field = \"B\", value = 1, close = 1 }"),
     "f:5:1: error: condition 2, on 'B', closes a bracket that is not open; lower its 'close' or "
     "raise an 'open' before it"},
    {"BracketOfAFieldWithControlCharacters",
     where("{ field = \"A\\u001b[2J\", value = 1, open = 1 }"),
     "f:4:10: error: condition 1, on 'A?[2J', opens a bracket that is never closed; lower its "
     "'open' or raise a 'close' after it"},
    {"BracketClosedAheadOfItsOpening",
     where("{ field = \"A\", value = 1, close = 1 }, { field = \"B\", value = 1, open = 1 }"),
     "f:4:10: error: condition 1, on 'A', closes a bracket that is not open; lower its 'close' or "
     "raise an 'open' before it"}};
INSTANTIATE_TEST_SUITE_P(Conditions, RefusedDescription, testing::ValuesIn(kConditions),
                         test::nameOf<Refused>);

const Refused kJoins[] = {
    {"JoinIsNoList", kSelect + "join = 1\n",
     "f:4:8: error: 'join' is a whole number; write a list: [ …, … ]"},
    {"JoinWithoutATable", join("as = \"T1\", on = []"),
     "f:5:9: error: a join has no 'table'; add table = \"@LINES\""},
    {"JoinWithoutAs", join("table = \"B\", on = []"),
     "f:5:9: error: a join has no 'as'; add as = \"T1\""},
    {"JoinWithoutOn", join("table = \"B\", as = \"T1\""),
     "f:5:9: error: a join has no 'on'; add on = [ { from = \"Code\", to = \"U_Order\" } ]"},
    {"JoinWithAnEmptyOn", join("table = \"B\", as = \"T1\", on = []"),
     "f:5:40: error: 'on' is empty; write what the two tables have in common"},
    {"JoinOfAnUnknownKind", join("table = \"B\", as = \"T1\", kind = \"outer\", on = []"),
     "f:5:42: error: 'kind' is none of its words; use \"inner\", \"left\", \"right\", \"full\""},
    {"JoinWithAnUnknownKey", join("table = \"B\", alias = \"T1\""),
     "f:5:24: error: unknown key 'alias' in a join; use table, user-table, as, kind, fields or on"},
    {"ComparisonWithoutTo", join("table = \"B\", as = \"T1\", on = [{ from = \"A\" }]"),
     "f:5:41: error: a comparison of a join has no 'to'; add to = \"U_Order\""},
    {"ComparisonWithNothing", join("table = \"B\", as = \"T1\", on = [{ to = \"A\" }]"),
     "f:5:41: error: a comparison of a join has neither 'value' nor 'from'; add value = \"…\", or "
     "the other"},
    {"ComparisonOfColumnsByMore",
     join("table = \"B\", as = \"T1\", on = [{ from = \"A\", to = \"A\", is = \">\" }]"),
     "f:5:70: error: two columns of a join compare by \"=\" only; leave 'is' out or compare with a "
     "value"}};
INSTANTIATE_TEST_SUITE_P(Joins, RefusedDescription, testing::ValuesIn(kJoins),
                         test::nameOf<Refused>);

const Refused kValues[] = {
    {"NoValues", kInsert,
     "f:1:1: error: [insert] has no 'values'; add values = { U_Total = 12.5 }"},
    {"ValuesAreAList", kInsert + "values = []\n",
     "f:3:10: error: 'values' is a list; write a table: { key = value, … }"},
    {"PointInAColumnWithoutQuotes", kInsert + "values = { T0.A = 1 }\n",
     "f:3:12: error: 'T0' is a table; write a text, a number or a date"},
    {"ColumnWithoutAName", kInsert + "values = { \"\" = 1 }\n",
     "f:3:12: error: a column has no name; write its name"},
    {"ZeroInAColumn", kInsert + "values = { \"A\\u0000\" = 1 }\n",
     "f:3:12: error: 'A?' holds the character zero; leave it out"},
    {"NumberTooLarge", value("2147483648"),
     "f:3:16: error: 'A' is out of range; write a whole number from -2147483648 to 2147483647"},
    {"NoNumber", value("nan"),
     "f:3:16: error: 'A' is not a finite number; write a number like 12.5"},
    {"Infinite", value("-inf"),
     "f:3:16: error: 'A' is not a finite number; write a number like 12.5"},
    {"TimeOfDay", value("10:00:00"),
     "f:3:16: error: 'A' is a time of day; write a text, a number or a date"},
    {"TimeZone", value("2024-01-31T10:00:00Z"),
     "f:3:16: error: 'A' has a time zone; leave it out: dates here have none"},
    {"FractionOfASecond", value("2024-01-31T10:00:00.5"),
     "f:3:16: error: 'A' has a fraction of a second; write whole seconds"},
    {"YearTooSmall", value("0099-12-31"),
     "f:3:16: error: 'A' is no date; write one of the years 100 to 9999"},
    {"NoNextCode", "[insert]\ntable = \"@T\"\nvalues = {}\n",
     "f:1:1: error: [insert] of a user table has no 'next-code'; add next-code = \"00000001\": the "
     "layer asks the database for it"},
    {"NextCodeOfAHostTable", kInsert + "values = {}\nnext-code = \"00000001\"\n",
     "f:4:13: error: 'next-code' is for user tables only; leave it out or add user-table = true"},
    {"NextCodeTooShort", "[insert]\ntable = \"@T\"\nvalues = {}\nnext-code = \"1\"\n",
     "f:4:13: error: 'next-code' is no code of a user table; write eight hexadecimal digits in "
     "upper case, like \"0000001F\""},
    {"NextCodeInLowerCase", "[insert]\ntable = \"@T\"\nvalues = {}\nnext-code = \"0000001f\"\n",
     "f:4:13: error: 'next-code' is no code of a user table; write eight hexadecimal digits in "
     "upper case, like \"0000001F\""},
    {"WhereAndKeyValues",
     kUpdate + "where = [{ field = \"A\", value = 1 }]\nkey-values = { A = 1 }\n",
     "f:5:14: error: [update] has both 'where' and 'key-values'; leave one of them out: with "
     "conditions the layer reads no key values"},
    {"ChooseListFieldsAreAList", "[choose-list]\ntable = \"T\"\nfields = [\"A\"]\n",
     "f:3:10: error: 'fields' is a list; write a table: { key = value, … }"},
    {"ChooseListTitleIsANumber", "[choose-list]\ntable = \"T\"\nfields = { A = 1 }\n",
     "f:3:16: error: 'A' is a whole number; write a text in double quotes"},
    {"ChooseListWhereIsAList", "[choose-list]\ntable = \"T\"\nwhere = []\n",
     "f:3:9: error: 'where' is a list; write a text in double quotes"}};
INSTANTIATE_TEST_SUITE_P(Values, RefusedDescription, testing::ValuesIn(kValues),
                         test::nameOf<Refused>);

const Refused kByTheLayer[] = {
    {"LimitOfZero", kSelect + "limit = 0\n",
     "f:4:9: error: Maximum record count must be greater than zero; the persistence layer refuses "
     "this, so change it"},
    {"SelectOfNothing", "\n[select]\ntable = \"T\"\n",
     "f:2:1: error: Collection is not properly initialized, neither conditions nor key fields are "
     "set; the persistence layer refuses this, so change it"},
    {"JoinWithoutACorrelationName",
     kSelect +
         "keys-only = false\njoin = [{ table = \"B\", as = \"T1\", on = [{ from = \"A\", to = "
         "\"A\" }] }]\n",
     "f:1:1: error: Correlation name for master table is missing; the persistence layer refuses "
     "this, so change it"},
    {"LoadWithoutConditions", "[load]\ntable = \"T\"\n",
     "f:1:1: error: No conditions are set for select; the persistence layer refuses this, so "
     "change it"},
    {"DeleteByMoreThanEqual",
     "[delete]\ntable = \"T\"\nwhere = [{ field = \"A\", value = 1 },\n"
     " { field = \"B\", is = \">\", value = 1 }]\n",
     "f:4:2: error: Only EQUAL is allowed as operation in the conditions; the persistence layer "
     "refuses this, so change it"}};
INSTANTIATE_TEST_SUITE_P(ByTheLayer, RefusedDescription, testing::ValuesIn(kByTheLayer),
                         test::nameOf<Refused>);

TEST(Description, KeepsStatementsAndKeysInTheOrderOfTheFile) {
  const Description read = readDescription("f", R"(
update = [ { table = "A", values = {} }, { table = "B", values = { z = 1, "a.b" = 2, m = 3 } } ]
[insert]
table = "C"
[insert.values]
z = "1"
"a" = 2.0
[[delete]]
table = "D"
[choose-list]
table = "E"
[choose-list.fields]
y = "Y"
x = "X"
[[delete]]
table = "F"
)");
  std::u16string tables;
  for (const Statement& statement : read.statements) tables += statement.table;
  EXPECT_EQ(tables, u"ABCDEF");
  const auto columns = [](const auto& pairs) {
    std::u16string all;
    for (const auto& [name, value] : pairs) all += name + u";";
    return all;
  };
  EXPECT_EQ(columns(read.statements[1].values), u"z;a.b;m;");
  EXPECT_EQ(columns(read.statements[2].values), u"z;a;");
  EXPECT_EQ(columns(read.statements[4].titles), u"y;x;");
}

TEST(Description, ReadsValuesWithTheLayersTypes) {
  const Description read = readDescription("f", R"(
[update]
table = "T"
values = { a = "1", b = 1.0, c = 1, d = 2024-01-31, e = 2024-01-31T12:00:00, f = 2024-01-31 06:00:00 }
)");
  std::vector<VARTYPE> kinds;
  for (const auto& [name, value] : read.statements[0].values) kinds.push_back(value.vt);
  EXPECT_EQ(kinds, (std::vector<VARTYPE>{VT_BSTR, VT_R8, VT_I4, VT_DATE, VT_DATE, VT_DATE}));
  EXPECT_EQ(read.statements[0].values[3].second.date, 45322.0);
  EXPECT_EQ(read.statements[0].values[4].second.date, 45322.5);
  EXPECT_EQ(read.statements[0].values[5].second.date, 45322.25);
}

TEST(Description, DistinguishesAnEmptyListOfConditionsFromNone) {
  EXPECT_FALSE(readDescription("f", kSelect).statements[0].where.has_value());
  EXPECT_TRUE(readDescription("f", where("")).statements[0].where.has_value());
  EXPECT_EQ(refusalOf(where("")).substr(0, 57),
            "printed: mssql   SELECT K FROM T     WHERE  ORDER BY K\nsy");
}

TEST(Description, AcceptsAByteOrderMarkAndLineEndsOfWindows) {
  EXPECT_EQ(readDescription("f", "\xEF\xBB\xBF[delete]\r\ntable = \"T\"\r\n").statements.size(),
            1U);
}

TEST(Description, TextsWithManyPointsAreNoDeepKeys) {
  const std::string points(1000, '.');
  EXPECT_EQ(readDescription("f", "# " + points + "\n[choose-list]\ntable = \"T\"\nwhere = '''\n" +
                                     points + "''" + points + "'''\n")
                .statements[0]
                .whereText.size(),
            2002U);
}

}  // namespace
}  // namespace qx::sqlprint
