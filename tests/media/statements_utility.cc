// The statements of look-ups, of the version table and of tables that a definition creates.

#include "qxframework/automation/text.h"
#include "qxframework/dbdef/db_def.h"
#include "qxframework/foundation/currency.h"
#include "qxframework/foundation/date_time.h"
#include "qxframework/foundation/version.h"
#include "qxframework/host/application.h"
#include "qxframework/resources/resource_loader.h"
#include "qxframework/runtime/framework_util.h"
#include "qxframework/util/qx_util.h"
#include "testing/medium.h"
#include "tests/media/statement_cases.h"

#include <cmath>

namespace qx::test {
namespace {

std::string nextCode(const StatementContext& context) {
  long number = 0;
  const CComBSTR code = CQXUtil::GetNextCodeValue(-1, context.company, u"@ORDERS", &number);
  return toUtf8(code.View()) + " " + std::to_string(number);
}

std::string tax(const StatementContext& context) {
  CQXCurrency amount;
  const long hr =
      CQXUtil::CalculateTaxFromNet(-1, context.company, CQXCurrency(100), u"A2", amount);
  return std::to_string(hr) + " " + toUtf8(amount.ToString().View());
}

std::string postingPeriod(const StatementContext& context) {
  CComBSTR category;
  long subNumber = 0;
  long found = 0;
  double first = 0;
  CQXUtil::GetPostingPeriod(-1, context.company, CQXDateTime(2024, 2, 29, 18, 30, 0), category,
                            subNumber, found, first);
  return toUtf8(category.View()) + " " + std::to_string(subNumber) + " " + std::to_string(found) +
         " " + cellText(CComVariant(first, VT_DATE));
}

std::string stateOf(CQXDbDef& tables) {
  CQXDbDef::_DBCHECK state = CQXDbDef::dbc_NoVersion;
  tables.CheckVersion(state);
  return std::to_string(state);
}

struct Definition {
  explicit Definition(const StatementContext& context)
      : tables(context.application, context.company, loader, u"ST", ln_English,
               GetModuleHandleW(nullptr)) {}

  CQXResourceLoader loader;
  CQXDbDef tables;
  CQXVersion version{u"0.00.00.00.00"};
};

std::string frameworkVersion(const StatementContext& context) {
  CQXFrameworkUtil framework;
  return std::to_string(framework.CheckDatabase(context.application, context.company));
}

std::string versionStore(const StatementContext& context) {
  Definition definition(context);
  std::string states = stateOf(definition.tables);
  definition.tables.SetInstalled(definition.version);
  states += stateOf(definition.tables);
  definition.tables.SetInitFailed(definition.version);
  return states + stateOf(definition.tables);
}

/// Reads a row of the version table that an old release wrote, inside a transaction which must go
/// on afterwards. Returns the version, the state from CheckVersion, the next code and the number of
/// lines after the commit.
std::string storedBeforeEmergencyFixes(const StatementContext& context,
                                       std::string (*change)(const std::string& table)) {
  Definition definition(context);
  definition.tables.SetInstalled(definition.version);
  CompanyStore::run(context.database,
                    change(medium().is(kDb2) ? R"("@qxextdbv")" : R"("@qxextdbversion")"));
  context.company->StartTransaction();
  Rows(context.company, u"@LINES").RemoveRange(values({{u"U_Item", u"I3"}}), {});
  CQXVersion version(u"0.00.00.00.00");
  definition.tables.GetDBVersion(version);
  std::string result = toUtf8(version.GetVersionAsBSTR().View()) + " " + stateOf(definition.tables);
  result += "|" + nextCode(context);
  context.company->EndTransaction(et_Commit);
  return result + "|" + CompanyStore::ask(context.database, R"(SELECT COUNT(*) FROM "@lines")");
}

std::string withoutEmergencyFix(const StatementContext& context) {
  return storedBeforeEmergencyFixes(
      context, [](const std::string& table) { return "UPDATE " + table + " SET u_efnum = NULL"; });
}

std::string withoutEmergencyFixColumn(const StatementContext& context) {
  return storedBeforeEmergencyFixes(context, [](const std::string& table) {
    return "ALTER TABLE " + table + " DROP COLUMN u_efnum";
  });
}

// DB2 and KORDB have no GETDATE() and refuse the second row. The first row stays, and the rest of
// the definition is run.
std::string definedTableWithTime(const StatementContext& context) {
  Definition definition(context);
  std::string result = std::to_string(definition.tables.Create(101, true, definition.version));
  Rows rows(context.company, u"@DATED");
  rows.SetFields({u"Code", u"U_Day"});
  rows.Load({u"Code"}, {});
  const double now = CQXDateTime(dv_Today);
  Record record;
  for (long at = rows.First(record); at == 0; at = rows.Next(record)) {
    const double day = rows.GetValue(record.row, u"U_Day").date;
    result += "\n" + record.of(u"Code") + (std::abs(day - now) < 2 ? " now" : " at another time");
  }
  return result;
}

std::string definedTable(const StatementContext& context) {
  Definition definition(context);
  std::string result = std::to_string(definition.tables.Create(100, true, definition.version));
  Rows rows(context.company, u"@STMT");
  rows.SetFields({u"Code", u"U_Who", u"U_Num"});
  rows.Load({u"Code"}, {});
  for (const std::string& row : rows.all()) result += "\n" + row;
  return result;
}

/// Returns the statement that reads the newest row of an extension.
Golden versionOf(const std::string& extension) {
  return {"select U_Version, U_Status from [@QXEXTDBVERSION] where U_ExtID = '" + extension +
              "' order by Code desc",
          "select U_Version, U_Status  from @QXEXTDBV where U_ExtID = '" + extension +
              "' order by Code desc",
          R"(select "U_Version", "U_Status" from "@QXEXTDBVERSION" where "U_ExtID" = ')" +
              extension + R"(' order by "Code" desc)"};
}

Golden emergencyFixOf(const std::string& extension) {
  return {
      "select (case when U_EFNum is null then '00' else U_EFNum end) as U_EFNum from "
      "[@QXEXTDBVERSION] where U_ExtID = '" +
          extension + "' order by Code desc",
      "select (case when U_EFNum is null then '00' else U_EFNum end) as U_EFNum from @QXEXTDBV "
      "where U_ExtID = '" +
          extension + "' order by Code desc",
      R"(select (case when "U_EFNum" is null then '00' else "U_EFNum" end) as "U_EFNum" from )"
      R"("@QXEXTDBVERSION" where "U_ExtID" = ')" +
          extension + R"(' order by "Code" desc)"};
}

const Golden kDeleteStamp = {
    "delete from [@QXEXTDBVERSION] where U_ExtID = 'ST' and U_Version = '3.01.00.00' and U_EFNum= "
    "'07'",
    "delete from @QXEXTDBV where U_ExtID = 'ST' and U_Version = '3.01.00.00' and U_EFNum= '07'",
    R"(delete from "@QXEXTDBVERSION" where "U_ExtID" = 'ST' and "U_Version" = '3.01.00.00' and )"
    R"("U_EFNum"= '07')"};

const Golden kNextOrder = {"SELECT MAX(Code) FROM [@ORDERS]", "SELECT MAX(Code) FROM @ORDERS",
                           R"(SELECT MAX("Code") FROM "@ORDERS")"};

const Golden kNextStamp = {"SELECT MAX(Code) FROM [@QXEXTDBVERSION]",
                           "SELECT MAX(Code) FROM @QXEXTDBV",
                           R"(SELECT MAX("Code") FROM "@QXEXTDBVERSION")"};

Golden insertStamp(const std::string& status) {
  const std::string values =
      "values ('00000001', '00000001', 'ST', '3.01.00.00', '07', '" + status + "', ";
  return {
      "insert into [@QXEXTDBVERSION] (Code, Name, U_ExtID, U_Version, U_EFNum, U_Status, "
      "U_Rdate)   " +
          values + "getdate())",
      "insert into @QXEXTDBV (Code, Name, U_ExtID, U_Version,  U_EFNum, U_Status, U_Rdate)   " +
          values + "CURRENT TIMESTAMP)",
      R"(insert into "@QXEXTDBVERSION" ("Code", "Name", "U_ExtID", "U_Version", "U_EFNum", )"
      R"("U_Status", "U_Rdate")   )" +
          values + "CURRENT_TIMESTAMP)"};
}

Golden fieldLookUp(const std::string& table, const std::string& field) {
  const std::string plain =
      "SELECT FieldID FROM CUFD WHERE TableID = '" + table + "' AND AliasID = '" + field + "'";
  return {plain, plain,
          R"(SELECT "FieldID" FROM CUFD WHERE "TableID" = ')" + table + R"(' AND "AliasID" = ')" +
              field + "'"};
}

const std::vector<Golden> kStoredBeforeEmergencyFixes = {
    kDeleteStamp,
    kNextStamp,
    insertStamp("Installed"),
    {"DELETE FROM [@LINES]  WHERE U_Item = N'I3'", "DELETE FROM @LINES  WHERE U_Item = N'I3'",
     R"(DELETE FROM "@LINES"  WHERE "U_Item" = N'I3')"},
    versionOf("ST"),
    emergencyFixOf("ST"),
    versionOf("ST"),
    emergencyFixOf("ST"),
    kNextOrder};

const Golden kNextRow = {"SELECT MAX(Code) FROM [@STMT]", "SELECT MAX(Code) FROM @STMT",
                         R"(SELECT MAX("Code") FROM "@STMT")"};

}  // namespace

std::vector<StatementCase> utilityStatements() {
  return {
      {"NextCode", &nextCode, {kNextOrder}, "00000003 3"},
      {"Tax",
       &tax,
       {{"SELECT Code, Rate, EffecDate FROM VTG1 WHERE (Code = 'A2') AND (EffecDate<=GetDate()) "
         "ORDER BY EffecDate DESC",
         "SELECT Code, Rate, EffecDate FROM VTG1 WHERE (Code = 'A2') AND (EffecDate<= "
         "TIMESTAMP_ISO(CURRENT DATE)) ORDER BY EffecDate DESC",
         R"(SELECT "Code", "Rate", "EffecDate" FROM VTG1 WHERE ("Code" = 'A2') AND )"
         R"(("EffecDate"<=CURRENT_TIMESTAMP) ORDER BY "EffecDate" DESC)"}},
       "0 19.000000"},
      {"PostingPeriod",
       &postingPeriod,
       {{"SELECT Category, SubNum, F_RefDate FROM OFPR WHERE "
         "(F_RefDate<=CONVERT(datetime,'20240229',112)) AND "
         "CONVERT(datetime,'20240229',112)<=(DATEADD(day,1,T_RefDate))",
         "SELECT Category, SubNum,  F_RefDate FROM OFPR WHERE "
         "(F_RefDate<=TIMESTAMP_ISO('2024-02-29')) AND TIMESTAMP_ISO('2024-02-29')<=(T_RefDate + "
         "1 DAYS)",
         R"(SELECT "Category", "SubNum", "F_RefDate" FROM OFPR WHERE )"
         R"(("F_RefDate"<='2024-02-29 00:00:00') AND '2024-02-29 00:00:00' )"
         R"(<=(ADDDATE("T_RefDate", 1)))"}},
       "2024 2 -1 2024-02-01 00:00:00"},
      {"FrameworkVersion", &frameworkVersion, {versionOf(""), emergencyFixOf("")}, "0"},
      {"VersionStore",
       &versionStore,
       {versionOf("ST"), kDeleteStamp, kNextStamp, insertStamp("Installed"), versionOf("ST"),
        emergencyFixOf("ST"), versionOf("ST"), emergencyFixOf("ST"), kDeleteStamp, kNextStamp,
        insertStamp("Upgrade failed"), versionOf("ST"), emergencyFixOf("ST")},
       "104"},
      {"VersionStoreWithoutEmergencyFix", &withoutEmergencyFix, kStoredBeforeEmergencyFixes,
       "3.01.00.00.00 2|00000003 3|2"},
      {"VersionStoreWithoutEmergencyFixColumn", &withoutEmergencyFixColumn,
       kStoredBeforeEmergencyFixes, "3.01.00.00.00 2|00000003 3|2"},
      {"DefinedTableWithTime",
       &definedTableWithTime,
       {{"SELECT MAX(Code) FROM [@DATED]", "SELECT MAX(Code) FROM @DATED",
         R"(SELECT MAX("Code") FROM "@DATED")"},
        {"insert into [@DATED] (Code, Name, U_Who) values ('00000000', '00000000', N'Ann')",
         "insert into @DATED (Code, Name, U_Who) values ('00000000', '00000000', 'Ann')",
         R"(insert into "@DATED"("Code", "Name", "U_Who") values ('00000000', '00000000', N'Ann'))",
         "insert into [@DATED] (Code, Name, U_Who) values ('00000000', '00000000', 'Ann')"},
        {"SELECT MAX(Code) FROM [@DATED]", "SELECT MAX(Code) FROM @DATED",
         R"(SELECT MAX("Code") FROM "@DATED")"},
        {"insert into [@DATED] (Code, Name, U_Day) values ('00000001', '00000001', GETDATE())",
         "insert into @DATED (Code, Name, U_Day) values ('00000001', '00000001', GETDATE())",
         R"(insert into "@DATED"("Code", "Name", "U_Day") values ('00000001', '00000001', )"
         "GETDATE())"},
        kDeleteStamp,
        kNextStamp,
        insertStamp("Installed"),
        {"SELECT Code,U_Day FROM [@DATED]     ORDER BY Code",
         "SELECT Code,U_Day FROM @DATED     ORDER BY Code  ",
         R"(SELECT "Code","U_Day" FROM "@DATED"     ORDER BY "Code")"}},
       "0\n00000000 at another time\n00000001 now",
       {{"db2", "0\n00000000 at another time"}, {"kordb", "0\n00000000 at another time"}}},
      {"DefinedTable",
       &definedTable,
       {fieldLookUp("@STMT", "Who"),
        kNextRow,
        {"insert into [@STMT] (Code, Name, U_Who, U_Num) values ('00000000', '00000000', "
         "N'O''Brien', 7)",
         "insert into @STMT (Code, Name, U_Who, U_Num) values ('00000000', '00000000', "
         "'O''Brien', 7)",
         R"(insert into "@STMT"("Code", "Name", "U_Who", "U_Num") values ('00000000', )"
         "'00000000', N'O''Brien', 7)",
         "insert into [@STMT] (Code, Name, U_Who, U_Num) values ('00000000', '00000000', "
         "'O''Brien', 7)"},
        kNextRow,
        {"insert into [@STMT] (Code, Name, U_Num) values ('00000001', '00000001', 8)",
         "insert into @STMT (Code, Name, U_Num) values ('00000001', '00000001', 8)",
         R"(insert into "@STMT"("Code", "Name", "U_Num") values ('00000001', '00000001', 8))"},
        fieldLookUp("HVPARTN", "Stmt"),
        kDeleteStamp,
        kNextStamp,
        insertStamp("Installed"),
        {"SELECT Code,U_Who,U_Num FROM [@STMT]     ORDER BY Code",
         "SELECT Code,U_Who,U_Num FROM @STMT     ORDER BY Code  ",
         R"(SELECT "Code","U_Who","U_Num" FROM "@STMT"     ORDER BY "Code")"}},
       "0\n00000000|O'Brien|7\n00000001||8"},
  };
}

}  // namespace qx::test
