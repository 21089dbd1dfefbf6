// The statements of collections: SELECT with conditions, sort fields and limits, the SELECT of one
// row per step, and the DELETE of a range.

#include "qxframework/query/sort_field.h"
#include "tests/media/statement_cases.h"

namespace qx::test {
namespace {

using Persistence::co_Equal;
using Persistence::co_Greater;
using Persistence::co_GreaterOrEqual;
using Persistence::co_Less;
using Persistence::co_LessOrEqual;
using Persistence::co_Like;
using Persistence::co_NotEqual;
using Persistence::so_Ascending;
using Persistence::so_Descending;

std::string wholeRows(const StatementContext& context) {
  Rows rows(context.company, u"@ORDERS");
  rows.SetFields({u"U_No", u"U_Who"});
  rows.Load({u"Code"}, {});
  return textOfAll(rows);
}

std::string keysOnly(const StatementContext& context) {
  Rows rows(context.company, u"@ORDERS");
  rows.SetKeysOnly(true);
  rows.SetFields({u"U_Who"});
  rows.Load({u"U_Count", u"U_Total"}, Conditions().add(u"U_Count", co_Less, u"3", u"").get());
  return textOfAll(rows);
}

std::string keysOnlyUnderAlias(const StatementContext& context) {
  Rows rows(context.company, u"@ORDERS");
  rows.SetKeysOnly(true);
  rows.SetCorrelationName(u"T0");
  rows.SetFields({u"U_No", u"U_Who"});
  rows.Load({u"U_No", u"U_Day"}, Conditions().add(u"U_No", co_Equal, u"B").get());
  return textOfAll(rows);
}

std::string everyOperation(const StatementContext& context) {
  Rows rows(context.company, u"@ORDERS");
  rows.SetFields({u"U_No"});
  rows.Load({u"Code"}, Conditions()
                           .add(u"U_Who", co_Like, u"%n%")
                           .brackets(1, 0)
                           .add(u"U_Total", co_Greater, u"-1.5", u"VT_R8")
                           .add(u"U_Total", co_Less, u"100", u"VT_R8")
                           .brackets(0, 1)
                           .add(u"U_Count", co_GreaterOrEqual, u"5", u"")
                           .orElse()
                           .brackets(2, 0)
                           .add(u"U_Count", co_LessOrEqual, u"1", u"")
                           .brackets(0, 1)
                           .add(u"U_No", co_NotEqual, u"it's")
                           .brackets(0, 1)
                           .get());
  return textOfAll(rows);
}

std::string byDate(const StatementContext& context) {
  Rows rows(context.company, u"@ORDERS");
  rows.SetFields({u"U_No"});
  OneRow writer;
  writer.Connect(context.company, u"@ORDERS", true);
  rows.Load({u"Code"}, writer.GetConditionsFromKeyFields(
                           values({{u"U_Day", dateValue(2024, 1, 31)}}), {co_LessOrEqual}));
  return textOfAll(rows);
}

std::string sorted(const StatementContext& context) {
  Rows rows(context.company, u"@ORDERS");
  rows.SetFields({u"U_No"});
  rows.SetSortFields({{u"U_Count", so_Ascending}, {u"U_Day", so_Descending}});
  rows.Load({u"Code"}, {});
  return textOfAll(rows);
}

std::string limited(const StatementContext& context) {
  Rows rows(context.company, u"@ORDERS");
  rows.SetCorrelationName(u"T0");
  rows.SetFields({u"Code"});
  rows.SetMaxRecordCount(2);
  rows.Load({u"Code"}, {});
  std::string text = textOfAll(rows);
  rows.SetMaxRecordCount(-1);
  rows.Load({u"Code"}, {});
  return text + "\n-\n" + textOfAll(rows);
}

std::string repeated(const StatementContext& context) {
  Rows rows(context.company, u"HVCURR");
  rows.SetFields({u"Currency"});
  rows.SetMaxRecordCount(1);
  rows.Load({u"Currency"}, {});
  Record record;
  rows.Refresh(record);
  rows.SetMaxRecordCount(1);
  rows.Load({u"CurrencyName"}, {});
  return textOfAll(rows);
}

std::string exists(const StatementContext& context) {
  Rows rows(context.company, u"@ORDERS");
  rows.SetFields({u"U_No"});
  rows.Load({u"Code"}, Conditions().add(u"U_No", co_Equal, u"A").get());
  return rows.Exists(values({{u"Code", u"00000002"}})) ? "there" : "not there";
}

std::string removeRange(const StatementContext& context) {
  Rows rows(context.company, u"@ORDERS");
  rows.RemoveRange(values({{u"U_Who", u"O'Brien"}, {u"U_Count", 2}, {u"U_Total", -0.25}}), {});
  rows.RemoveRange(values({{u"U_Day", dateValue(2023, 12, 31)}}), {co_Equal});
  rows.SetFields({u"U_No"});
  rows.Load({u"Code"}, {});
  return textOfAll(rows);
}

const Golden kNumbersByCode = {"SELECT U_No FROM [@ORDERS]     ORDER BY Code",
                               "SELECT U_No FROM @ORDERS     ORDER BY Code  ",
                               R"(SELECT "U_No" FROM "@ORDERS"     ORDER BY "Code")"};

Golden limitOn(const char* text) { return {"-", "-", "-", text}; }

Golden rowOfKey(const std::string& total) {
  return {"SELECT U_Who FROM [@ORDERS]     WHERE U_Count = 2 AND U_Total = " + total,
          "SELECT U_Who FROM @ORDERS     WHERE U_Count = 2 AND U_Total = " + total,
          R"(SELECT "U_Who" FROM "@ORDERS"     WHERE "U_Count" = 2 AND "U_Total" = )" + total};
}

const Golden kOneCurrency = {
    "SELECT TOP 1 Currency FROM HVCURR     ORDER BY Currency",
    "SELECT Currency FROM HVCURR     ORDER BY Currency  FETCH FIRST 1 ROWS "
    "ONLY",
    R"(SELECT TOP 1 "Currency" FROM "HVCURR"     ORDER BY "Currency")",
    "SELECT Currency FROM HVCURR     ORDER BY Currency"};

}  // namespace

std::vector<StatementCase> collectionStatements() {
  return {
      {"WholeRows",
       &wholeRows,
       {{"SELECT U_No,U_Who FROM [@ORDERS]     ORDER BY Code",
         "SELECT U_No,U_Who FROM @ORDERS     ORDER BY Code  ",
         R"(SELECT "U_No","U_Who" FROM "@ORDERS"     ORDER BY "Code")"}},
       "A|Ann\nB|O'Brien\nC|Cid"},
      {"KeysOnly",
       &keysOnly,
       {{"SELECT U_Count,U_Total FROM [@ORDERS]     WHERE U_Count < 3 ORDER BY U_Count,U_Total",
         "SELECT U_Count,U_Total FROM @ORDERS     WHERE U_Count < 3 ORDER BY U_Count,U_Total  ",
         R"(SELECT "U_Count","U_Total" FROM "@ORDERS"     WHERE "U_Count" < 3 ORDER BY )"
         R"("U_Count","U_Total")"},
        rowOfKey("-0.25"),
        rowOfKey("1234.5")},
       "O'Brien\nCid"},
      {"KeysOnlyUnderAlias",
       &keysOnlyUnderAlias,
       {{"SELECT T0.U_No AS'T0.U_No',T0.U_Day AS'T0.U_Day' FROM [@ORDERS] T0     WHERE T0.U_No = "
         "N'B' ORDER BY T0.U_No,T0.U_Day",
         "SELECT T0.U_No AS \"T0.U_No\" ,T0.U_Day AS \"T0.U_Day\"  FROM @ORDERS T0     WHERE "
         "T0.U_No = N'B' ORDER BY T0.U_No,T0.U_Day  ",
         R"(SELECT T0."U_No" AS"T0.U_No",T0."U_Day" AS"T0.U_Day" FROM "@ORDERS" T0     WHERE )"
         R"(T0."U_No" = N'B' ORDER BY T0."U_No",T0."U_Day")"},
        {"SELECT T0.U_No AS'T0.U_No',T0.U_Who AS'T0.U_Who' FROM [@ORDERS] T0     WHERE T0.U_No = "
         "N'B' AND T0.U_Day = CONVERT(datetime,N'20240201',112)",
         "SELECT T0.U_No AS \"T0.U_No\" ,T0.U_Who AS \"T0.U_Who\"  FROM @ORDERS T0     WHERE "
         "T0.U_No = N'B' AND T0.U_Day = TIMESTAMP_ISO(N'2024-02-01')",
         R"(SELECT T0."U_No" AS"T0.U_No",T0."U_Who" AS"T0.U_Who" FROM "@ORDERS" T0     WHERE )"
         R"(T0."U_No" = N'B' AND T0."U_Day" = '2024-02-01 00:00:00')"}},
       "B|O'Brien"},
      {"EveryOperation",
       &everyOperation,
       {{"SELECT U_No FROM [@ORDERS]     WHERE (U_Who LIKE N'%n%' AND U_Total > -1.5 AND U_Total < "
         "100) OR ((U_Count >= 5 AND U_Count <= 1) AND U_No <> N'it''s') ORDER BY Code",
         "SELECT U_No FROM @ORDERS     WHERE (U_Who LIKE N'%n%' AND U_Total > -1.5 AND U_Total < "
         "100) OR ((U_Count >= 5 AND U_Count <= 1) AND U_No <> N'it''s') ORDER BY Code  ",
         R"(SELECT "U_No" FROM "@ORDERS"     WHERE ("U_Who" LIKE N'%n%' AND "U_Total" > -1.5 AND )"
         R"("U_Total" < 100) OR (("U_Count" >= 5 AND "U_Count" <= 1) AND "U_No" <> N'it''s') )"
         R"(ORDER BY "Code")"}},
       "A\nB"},
      {"ByDate",
       &byDate,
       {{"SELECT U_No FROM [@ORDERS]     WHERE U_Day <= CONVERT(datetime,N'20240131',112) ORDER BY "
         "Code",
         "SELECT U_No FROM @ORDERS     WHERE U_Day <= TIMESTAMP_ISO(N'2024-01-31') ORDER BY Code  ",
         R"(SELECT "U_No" FROM "@ORDERS"     WHERE "U_Day" <= '2024-01-31 00:00:00' ORDER BY )"
         R"("Code")"}},
       "A\nC"},
      {"Sorted",
       &sorted,
       {{"SELECT U_No FROM [@ORDERS]     ORDER BY U_Count ASC,U_Day DESC",
         "SELECT U_No FROM @ORDERS     ORDER BY U_Count ASC,U_Day DESC  ",
         R"(SELECT "U_No" FROM "@ORDERS"     ORDER BY "U_Count" ASC,"U_Day" DESC)"}},
       "B\nC\nA"},
      {"Limited",
       &limited,
       {limitOn("SET ROWCOUNT 2 "),
        {"SELECT TOP 2 T0.Code AS'T0.Code' FROM [@ORDERS] T0     ORDER BY T0.Code",
         "SELECT T0.Code AS \"T0.Code\"  FROM @ORDERS T0     ORDER BY T0.Code  FETCH FIRST 2 ROWS "
         "ONLY",
         R"(SELECT TOP 2 T0."Code" AS"T0.Code" FROM "@ORDERS" T0     ORDER BY T0."Code")",
         "SELECT T0.Code AS'T0.Code' FROM [@ORDERS] T0     ORDER BY T0.Code"},
        limitOn("SET ROWCOUNT 0"),
        {"SELECT T0.Code AS'T0.Code' FROM [@ORDERS] T0     ORDER BY T0.Code",
         "SELECT T0.Code AS \"T0.Code\"  FROM @ORDERS T0     ORDER BY T0.Code  ",
         R"(SELECT T0."Code" AS"T0.Code" FROM "@ORDERS" T0     ORDER BY T0."Code")"}},
       "00000000\n00000001\n-\n00000000\n00000001\n00000002"},
      // A repeated statement is run again without its "SET ROWCOUNT", so Sybase applies the limit
      // to the first run only.
      {"RepeatedWordForWord",
       &repeated,
       {limitOn("SET ROWCOUNT 1 "), kOneCurrency, limitOn("SET ROWCOUNT 0"), kOneCurrency,
        kOneCurrency},
       "EUR",
       {{"sybase", "EUR\nGBP\nHUF\nUSD"}}},
      {"Exists",
       &exists,
       {{"SELECT U_No FROM [@ORDERS]     WHERE U_No = N'A' ORDER BY Code",
         "SELECT U_No FROM @ORDERS     WHERE U_No = N'A' ORDER BY Code  ",
         R"(SELECT "U_No" FROM "@ORDERS"     WHERE "U_No" = N'A' ORDER BY "Code")"},
        {"SELECT U_No FROM [@ORDERS]     WHERE Code = N'00000002'",
         "SELECT U_No FROM @ORDERS     WHERE Code = N'00000002'",
         R"(SELECT "U_No" FROM "@ORDERS"     WHERE "Code" = N'00000002')"}},
       "there"},
      {"RemoveRange",
       &removeRange,
       {{"DELETE FROM [@ORDERS]  WHERE U_Who = N'O''Brien' AND U_Count = 2 AND U_Total = N'-0.25'",
         "DELETE FROM @ORDERS  WHERE U_Who = N'O''Brien' AND U_Count = 2 AND U_Total = N'-0.25'",
         R"(DELETE FROM "@ORDERS"  WHERE "U_Who" = N'O''Brien' AND "U_Count" = 2 AND "U_Total" )"
         "= N'-0.25'"},
        {"DELETE FROM [@ORDERS]  WHERE U_Day = CONVERT(datetime,N'20231231',112)",
         "DELETE FROM @ORDERS  WHERE U_Day = TIMESTAMP_ISO(N'2023-12-31')",
         R"(DELETE FROM "@ORDERS"  WHERE "U_Day" = '2023-12-31 00:00:00')"},
        kNumbersByCode},
       "A"},
  };
}

}  // namespace qx::test
