// The statements of single rows: INSERT with the literals of every kind, UPDATE, DELETE and the
// SELECT of one row.

#include "tests/media/statement_cases.h"

namespace qx::test {
namespace {

using Persistence::co_Equal;

std::string orders(const StatementContext& context) {
  Rows rows(context.company, u"@ORDERS");
  rows.SetFields({u"Code", u"Name", u"U_No", u"U_Who", u"U_Day", u"U_Total", u"U_Count"});
  rows.Load({u"Code"}, {});
  return textOfAll(rows);
}

const Golden kAllOrders = {
    "SELECT Code,Name,U_No,U_Who,U_Day,U_Total,U_Count FROM [@ORDERS]     ORDER BY Code",
    "SELECT Code,Name,U_No,U_Who,U_Day,U_Total,U_Count FROM @ORDERS     ORDER BY Code  ",
    R"(SELECT "Code","Name","U_No","U_Who","U_Day","U_Total","U_Count" FROM "@ORDERS"     )"
    R"(ORDER BY "Code")"};
const Golden kNextCode = {"SELECT MAX(Code) FROM [@ORDERS]", "SELECT MAX(Code) FROM @ORDERS",
                          R"(SELECT MAX("Code") FROM "@ORDERS")"};
const Golden kNoCursorLoad = {"SELECT Code FROM [@ORDERS]     ORDER BY Code",
                              "SELECT Code FROM @ORDERS     ORDER BY Code  ",
                              R"(SELECT "Code" FROM "@ORDERS"     ORDER BY "Code")"};

constexpr char kA[] = "00000000|00000000|A|Ann|2024-01-31 00:00:00|12.5|3";
constexpr char kAOfEight[] = "00000000|00000000|A|Ann|2024-01-31 00:00:00|12.5|8";
constexpr char kB[] = "00000001|00000001|B|O'Brien|2024-02-01 00:00:00|-0.25|2";
constexpr char kC[] = "00000002|00000002|C|Cid|2023-12-31 00:00:00|1234.5|2";

std::string lines(std::initializer_list<std::string> texts) {
  std::string text;
  for (const std::string& each : texts) text += (text.empty() ? "" : "\n") + each;
  return text;
}

std::string addToUserTable(const StatementContext& context) {
  Rows rows(context.company, u"@ORDERS");
  rows.Add(Record{{u"U_No", u"O'Brien"},
                  {u"U_Day", dateValue(2024, 1, 31)},
                  {u"U_Total", 12.5},
                  {u"U_Count", 7}});
  return orders(context);
}

std::string addWithCodeAndName(const StatementContext& context) {
  Rows rows(context.company, u"@ORDERS");
  rows.Add(Record{{u"U_No", u"D"}, {u"Name", u"x"}, {u"Code", u"y"}});
  return orders(context);
}

std::string addToHostTable(const StatementContext& context) {
  Rows rows(context.company, u"HVCURR");
  rows.Add(Record{{u"Currency", u"PLN"}, {u"CurrencyName", u"Zloty"}, {u"Decimals", 2}});
  OneRow row;
  row.Connect(context.company, u"HVCURR", false);
  row.Load(Conditions().add(u"Currency", co_Equal, u"PLN").get());
  Record record;
  row.GetFields(record);
  return record.of(u"Currency") + "|" + record.of(u"CurrencyName") + "|" + record.of(u"Decimals");
}

std::string updateByKey(const StatementContext& context) {
  Rows rows(context.company, u"@ORDERS");
  rows.SetFields({u"Code"});
  rows.Load({u"Code"}, {});
  rows.Update(values({{u"Code", u"00000001"}}),
              Record{{u"U_Who", u"O'Hara"}, {u"U_Day", dateValue(2024, 2, 29)}, {u"U_Total", 0.1}});
  return orders(context);
}

std::string updateByConditions(const StatementContext& context) {
  OneRow row;
  row.Connect(context.company, u"@ORDERS", true);
  row.SetFields({u"Code", u"U_Count"});
  row.Load(
      Conditions().add(u"U_Total", co_Equal, u"12.5", u"VT_R8").add(u"U_No", co_Equal, u"A").get());
  row.Update(Record{{u"U_Count", 8}});
  row.Remove();
  return orders(context);
}

std::string removeByKey(const StatementContext& context) {
  Rows rows(context.company, u"@ORDERS");
  rows.SetFields({u"Code"});
  rows.Load({u"Code"}, {});
  rows.Remove(values({{u"Code", u"00000001"}}));
  return orders(context);
}

std::string updateNothingButTheKey(const StatementContext& context) {
  Rows rows(context.company, u"@ORDERS");
  rows.SetFields({u"Code"});
  rows.Load({u"Code"}, {});
  return failureOf([&] {
           rows.Update(values({{u"Code", u"00000001"}}), Record{{u"Code", u"00000009"}});
         })
      .substr(0, 7);
}

/// Sets the count of the row of the conditions to 8, then removes the row by the same conditions.
/// Returns the first `length` letters of the failure of the removal, and all rows.
std::string updatedAndRemoved(const StatementContext& context, const Conditions& conditions,
                              std::size_t length) {
  OneRow row;
  row.Connect(context.company, u"@ORDERS", true);
  row.SetFields({u"U_Count"});
  row.Load(conditions.get());
  row.Update(Record{{u"U_Count", 8}});
  const std::string removed = failureOf([&] { row.Remove(); }).substr(0, length);
  return removed + "\n" + orders(context);
}

// The SELECT omits the brackets and finds the row. The DELETE has them, and with them the condition
// is not true of the row: it is changed but not removed.
std::string brackets(const StatementContext& context) {
  Conditions conditions;
  conditions.add(u"U_No", co_Equal, u"A").brackets(1, 0);
  conditions.add(u"U_No", co_Equal, u"Z").orElse().brackets(0, 1);
  conditions.add(u"U_Who", co_Equal, u"Cid");
  return updatedAndRemoved(context, conditions, 10);
}

std::string bracketsOnALaterCondition(const StatementContext& context) {
  Conditions conditions;
  conditions.add(u"U_No", co_Equal, u"A");
  conditions.add(u"U_Who", co_Equal, u"Zoe").orElse().brackets(1, 1);
  return updatedAndRemoved(context, conditions, 7);
}

std::string selectUnderAlias(const StatementContext& context) {
  OneRow row;
  row.Connect(context.company, u"@ORDERS", true);
  row.SetCorrelationName(u"T0");
  row.SetFields({u"Code"});
  row.Load(Conditions().add(u"Code", co_Equal, u"00000002").get());
  Record record;
  row.GetFields(record);
  row.Refresh();
  return record.named();
}

std::string selectAllUnderAlias(const StatementContext& context) {
  OneRow row;
  row.Connect(context.company, u"@ORDERS", true);
  row.SetCorrelationName(u"T0");
  row.Load(Conditions().add(u"U_No", co_Equal, u"B").brackets(2, 1).get());
  Record record;
  row.GetFields(record);
  return record.of(u"U_Who");
}

std::string selectByDate(const StatementContext& context) {
  OneRow row;
  row.Connect(context.company, u"@ORDERS", true);
  row.SetFields({u"U_No"});
  row.Load(row.GetConditionsFromKeyFields(
      values({{u"U_Day", dateValue(2024, 2, 1)}, {u"U_Total", -0.25}, {u"U_Count", 2}}), {}));
  Record record;
  row.GetFields(record);
  return record.named();
}

}  // namespace

std::vector<StatementCase> oneRowStatements() {
  return {
      {"AddToUserTable",
       &addToUserTable,
       {kNextCode,
        {"INSERT INTO [@ORDERS] ( Code, Name, U_No, U_Day, U_Total, U_Count)  VALUES ( "
         "N'00000003', N'00000003', N'O''Brien', CONVERT(datetime,N'20240131',112), 12.5, 7) ",
         "INSERT INTO @ORDERS ( Code, Name, U_No, U_Day, U_Total, U_Count)  VALUES ( "
         "N'00000003', N'00000003', N'O''Brien', TIMESTAMP_ISO(N'2024-01-31'), 12.5, 7) ",
         R"(INSERT INTO "@ORDERS" ( "Code", "Name", "U_No", "U_Day", "U_Total", "U_Count")  )"
         "VALUES ( N'00000003', N'00000003', N'O''Brien', '2024-01-31 00:00:00', 12.5, 7) "},
        kAllOrders},
       lines({kA, kB, kC, "00000003|00000003|O'Brien||2024-01-31 00:00:00|12.5|7"})},
      {"AddWithCodeAndName",
       &addWithCodeAndName,
       {kNextCode,
        {"INSERT INTO [@ORDERS] ( U_No, Name, Code)  VALUES ( N'D', N'00000003', N'00000003') ",
         "INSERT INTO @ORDERS ( U_No, Name, Code)  VALUES ( N'D', N'00000003', N'00000003') ",
         R"(INSERT INTO "@ORDERS" ( "U_No", "Name", "Code")  VALUES ( N'D', N'00000003', )"
         "N'00000003') "},
        kAllOrders},
       lines({kA, kB, kC, "00000003|00000003|D||1899-12-30 00:00:00|0|0"})},
      {"AddToHostTable",
       &addToHostTable,
       {{"INSERT INTO HVCURR ( Currency, CurrencyName, Decimals)  VALUES ( N'PLN', N'Zloty', 2) ",
         "INSERT INTO HVCURR ( Currency, CurrencyName, Decimals)  VALUES ( N'PLN', N'Zloty', 2) ",
         R"(INSERT INTO "HVCURR" ( "Currency", "CurrencyName", "Decimals")  VALUES ( N'PLN', )"
         "N'Zloty', 2) "},
        {"SELECT * FROM HVCURR     WHERE Currency = N'PLN'",
         "SELECT * FROM HVCURR     WHERE Currency = N'PLN'",
         R"(SELECT * FROM "HVCURR"     WHERE "Currency" = N'PLN')"}},
       "PLN|Zloty|2"},
      {"UpdateByKey",
       &updateByKey,
       {kNoCursorLoad,
        {"UPDATE [@ORDERS]  SET U_Who = N'O''Hara', U_Day = CONVERT(datetime,N'20240229',112), "
         "U_Total = 0.1  WHERE Code = N'00000001'",
         "UPDATE @ORDERS  SET U_Who = N'O''Hara', U_Day = TIMESTAMP_ISO(N'2024-02-29'), U_Total = "
         "0.1  WHERE Code = N'00000001'",
         R"(UPDATE "@ORDERS"  SET "U_Who" = N'O''Hara', "U_Day" = '2024-02-29 00:00:00', )"
         R"("U_Total" = 0.1  WHERE "Code" = N'00000001')"},
        kAllOrders},
       lines({kA, "00000001|00000001|B|O'Hara|2024-02-29 00:00:00|0.1|2", kC})},
      {"UpdateAndRemoveByConditions",
       &updateByConditions,
       {{"SELECT Code,U_Count FROM [@ORDERS]     WHERE U_Total = 12.5 AND U_No = N'A'",
         "SELECT Code,U_Count FROM @ORDERS     WHERE U_Total = 12.5 AND U_No = N'A'",
         R"(SELECT "Code","U_Count" FROM "@ORDERS"     WHERE "U_Total" = 12.5 AND "U_No" = )"
         "N'A'"},
        {"UPDATE [@ORDERS]  SET Code = N'00000000', U_Count = 8  WHERE U_Total = 12.5 AND U_No = "
         "N'A'",
         "UPDATE @ORDERS  SET Code = N'00000000', U_Count = 8  WHERE U_Total = 12.5 AND U_No = "
         "N'A'",
         R"(UPDATE "@ORDERS"  SET "Code" = N'00000000', "U_Count" = 8  WHERE "U_Total" = )"
         R"(12.5 AND "U_No" = N'A')"},
        {"DELETE FROM [@ORDERS]  WHERE U_Total = N'12.5' AND U_No = N'A'",
         "DELETE FROM @ORDERS  WHERE U_Total = N'12.5' AND U_No = N'A'",
         R"(DELETE FROM "@ORDERS"  WHERE "U_Total" = N'12.5' AND "U_No" = N'A')"},
        kAllOrders},
       lines({kB, kC})},
      {"UpdateOfNothingButTheKey",
       &updateNothingButTheKey,
       {kNoCursorLoad,
        {"UPDATE [@ORDERS]  SET   WHERE Code = N'00000001'",
         "UPDATE @ORDERS  SET   WHERE Code = N'00000001'",
         R"(UPDATE "@ORDERS"  SET   WHERE "Code" = N'00000001')"}},
       "-2000: "},
      {"BracketsInDeleteOnly",
       &brackets,
       {{"SELECT U_Count FROM [@ORDERS]     WHERE U_No = N'A' OR U_No = N'Z' AND U_Who = N'Cid'",
         "SELECT U_Count FROM @ORDERS     WHERE U_No = N'A' OR U_No = N'Z' AND U_Who = N'Cid'",
         R"(SELECT "U_Count" FROM "@ORDERS"     WHERE "U_No" = N'A' OR "U_No" = N'Z' AND "U_Who" )"
         "= N'Cid'"},
        {"UPDATE [@ORDERS]  SET U_Count = 8  WHERE U_No = N'A' OR U_No = N'Z' AND U_Who = N'Cid'",
         "UPDATE @ORDERS  SET U_Count = 8  WHERE U_No = N'A' OR U_No = N'Z' AND U_Who = N'Cid'",
         R"(UPDATE "@ORDERS"  SET "U_Count" = 8  WHERE "U_No" = N'A' OR "U_No" = N'Z' AND )"
         R"("U_Who" = N'Cid')"},
        {"DELETE FROM [@ORDERS]  WHERE (U_No = N'A' OR U_No = N'Z') AND U_Who = N'Cid'",
         "DELETE FROM @ORDERS  WHERE (U_No = N'A' OR U_No = N'Z') AND U_Who = N'Cid'",
         R"(DELETE FROM "@ORDERS"  WHERE ("U_No" = N'A' OR "U_No" = N'Z') AND "U_Who" = N'Cid')"},
        kAllOrders},
       lines({"no failure", kAOfEight, kB, kC})},
      // The DELETE writes the bracket before the word OR, which every engine refuses.
      {"BracketsOnALaterCondition",
       &bracketsOnALaterCondition,
       {{"SELECT U_Count FROM [@ORDERS]     WHERE U_No = N'A' OR U_Who = N'Zoe'",
         "SELECT U_Count FROM @ORDERS     WHERE U_No = N'A' OR U_Who = N'Zoe'",
         R"(SELECT "U_Count" FROM "@ORDERS"     WHERE "U_No" = N'A' OR "U_Who" = N'Zoe')"},
        {"UPDATE [@ORDERS]  SET U_Count = 8  WHERE U_No = N'A' OR U_Who = N'Zoe'",
         "UPDATE @ORDERS  SET U_Count = 8  WHERE U_No = N'A' OR U_Who = N'Zoe'",
         R"(UPDATE "@ORDERS"  SET "U_Count" = 8  WHERE "U_No" = N'A' OR "U_Who" = N'Zoe')"},
        {"DELETE FROM [@ORDERS]  WHERE U_No = N'A'( OR U_Who = N'Zoe')",
         "DELETE FROM @ORDERS  WHERE U_No = N'A'( OR U_Who = N'Zoe')",
         R"(DELETE FROM "@ORDERS"  WHERE "U_No" = N'A'( OR "U_Who" = N'Zoe'))"},
        kAllOrders},
       lines({"-2000: ", kAOfEight, kB, kC})},
      {"RemoveByKey",
       &removeByKey,
       {kNoCursorLoad,
        {"DELETE FROM [@ORDERS]  WHERE Code = N'00000001'",
         "DELETE FROM @ORDERS  WHERE Code = N'00000001'",
         R"(DELETE FROM "@ORDERS"  WHERE "Code" = N'00000001')"},
        kAllOrders},
       lines({kA, kC})},
      {"SelectUnderAlias",
       &selectUnderAlias,
       {{"SELECT T0.Code AS'T0.Code' FROM [@ORDERS] T0     WHERE T0.Code = N'00000002'",
         "SELECT T0.Code AS \"T0.Code\"  FROM @ORDERS T0     WHERE T0.Code = N'00000002'",
         R"(SELECT T0."Code" AS"T0.Code" FROM "@ORDERS" T0     WHERE T0."Code" = N'00000002')"},
        {"SELECT T0.Code AS'T0.Code' FROM [@ORDERS] T0     WHERE T0.Code = N'00000002'",
         "SELECT T0.Code AS \"T0.Code\"  FROM @ORDERS T0     WHERE T0.Code = N'00000002'",
         R"(SELECT T0."Code" AS"T0.Code" FROM "@ORDERS" T0     WHERE T0."Code" = N'00000002')"}},
       "T0.Code=00000002"},
      {"SelectAllUnderAlias",
       &selectAllUnderAlias,
       {{"SELECT T0.* FROM [@ORDERS] T0     WHERE T0.U_No = N'B'",
         "SELECT T0.* FROM @ORDERS T0     WHERE T0.U_No = N'B'",
         R"(SELECT T0.* FROM "@ORDERS" T0     WHERE T0."U_No" = N'B')"}},
       "O'Brien"},
      {"SelectByDateAndNumbers",
       &selectByDate,
       {{"SELECT U_No FROM [@ORDERS]     WHERE U_Day = CONVERT(datetime,N'20240201',112) AND "
         "U_Total = -0.25 AND U_Count = 2",
         "SELECT U_No FROM @ORDERS     WHERE U_Day = TIMESTAMP_ISO(N'2024-02-01') AND U_Total = "
         "-0.25 AND U_Count = 2",
         R"(SELECT "U_No" FROM "@ORDERS"     WHERE "U_Day" = '2024-02-01 00:00:00' AND "U_Total" )"
         R"(= -0.25 AND "U_Count" = 2)"}},
       "U_No=B"},
  };
}

}  // namespace qx::test
