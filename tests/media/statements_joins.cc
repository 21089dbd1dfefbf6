// The statements with joined tables.

#include "qxframework/query/link_criteria.h"
#include "qxframework/query/sort_field.h"
#include "tests/media/statement_cases.h"

#include <algorithm>

namespace qx::test {
namespace {

using Persistence::co_Equal;
using Persistence::co_Greater;
using Persistence::CQXLinkFieldCriteria;
using Persistence::CQXLinkTableCriteria;
using Persistence::etTABLE_JOIN_MODE;
using Persistence::jm_FullOuter;
using Persistence::jm_Inner;
using Persistence::jm_LeftOuter;
using Persistence::jm_RightOuter;

CQXLinkTableCriteria lines(etTABLE_JOIN_MODE mode) {
  CQXLinkTableCriteria link(u"@LINES", u"T1", mode, true);
  link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_No", u"U_OrderNo"));
  link.SetFields({u"U_Item"});
  return link;
}

std::string joined(const StatementContext& context, const CQXLinkTableCriteria& link) {
  Rows rows(context.company, u"@ORDERS");
  rows.SetCorrelationName(u"T0");
  rows.SetFields({u"U_No"});
  rows.AddLinkTableCriteria(link);
  rows.SetSortFields({Persistence::CQXPersistenceSortField(u"U_No")});
  rows.Load({u"Code"}, {});
  std::vector<std::string> all = rows.all();
  std::sort(all.begin(), all.end());
  std::string text;
  for (const std::string& row : all) text += (text.empty() ? "" : "\n") + row;
  return text;
}

template <etTABLE_JOIN_MODE kMode>
std::string joinedBy(const StatementContext& context) {
  return joined(context, lines(kMode));
}

std::string joinedWithConstants(const StatementContext& context) {
  CQXLinkTableCriteria link = lines(jm_LeftOuter);
  link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Item", CComVariant(u"I'2"), co_Equal));
  link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Qty", CComVariant(1.5), co_Greater));
  return joined(context, link);
}

// A proxy quotes the constant in its stored criteria, so the next statement quotes it a second
// time.
std::string joinedTwiceWithAConstant(const StatementContext& context) {
  CQXLinkTableCriteria link = lines(jm_Inner);
  link.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_Item", CComVariant(u"I1"), co_Equal));
  Rows rows(context.company, u"@ORDERS");
  rows.SetCorrelationName(u"T0");
  rows.SetFields({u"U_No"});
  rows.AddLinkTableCriteria(link);
  rows.Load({u"Code"}, {});
  const std::string text = textOfAll(rows);
  rows.SetMaxRecordCount(5);
  rows.Load({u"Code"}, {});
  return text + "\n-\n" + textOfAll(rows);
}

std::string joinedToHostTable(const StatementContext& context) {
  CQXLinkTableCriteria link(u"OFPR", u"T1", jm_Inner, false);
  link.AddLinkFieldCriteria(
      CQXLinkFieldCriteria(u"F_RefDate", dateValue(2024, 2, 1), Persistence::co_GreaterOrEqual));
  link.SetFields({u"Category"});
  return joined(context, link);
}

std::string oneRowJoined(const StatementContext& context) {
  OneRow row;
  row.Connect(context.company, u"@ORDERS", true);
  row.SetCorrelationName(u"T0");
  row.SetFields({u"U_No"});
  row.AddLinkTableCriteria(lines(jm_LeftOuter));
  CQXLinkTableCriteria more(u"@LINES", u"T2", jm_LeftOuter, true);
  more.AddLinkFieldCriteria(CQXLinkFieldCriteria(u"U_No", u"U_OrderNo"));
  row.AddLinkTableCriteria(more);
  row.Load(Conditions().add(u"U_No", co_Equal, u"B").get());
  Record record;
  row.GetFields(record);
  return record.of(u"T0.U_No") + "|" + record.of(u"T1.U_Item");
}

// If both tables select the same list of columns, the comma between the lists is missing, and every
// engine refuses the statement.
std::string joinedByTheSameColumns(const StatementContext& context) {
  CQXLinkTableCriteria link = lines(jm_Inner);
  link.SetFields({u"U_No"});
  return failureOf([&] { joined(context, link); }).substr(0, 7);
}

/// Returns the statement of a join of the given kind.
Golden kind(const std::string& word) {
  return {"SELECT T0.U_No AS'T0.U_No',T1.U_Item AS'T1.U_Item' FROM [@ORDERS] T0   " + word +
              " JOIN [@LINES] T1 ON T0.U_No = T1.U_OrderNo   ORDER BY T0.U_No ASC",
          "SELECT T0.U_No AS \"T0.U_No\" ,T1.U_Item AS \"T1.U_Item\"  FROM @ORDERS T0   " + word +
              " JOIN @LINES T1 ON T0.U_No = T1.U_OrderNo   ORDER BY T0.U_No ASC  ",
          R"(SELECT T0."U_No" AS"T0.U_No",T1."U_Item" AS"T1.U_Item" FROM "@ORDERS" T0   )" + word +
              R"( JOIN "@LINES" T1 ON T0."U_No" = T1."U_OrderNo"   ORDER BY T0."U_No" ASC)"};
}

// An unknown kind of join has no word of its own: three blanks precede JOIN.
const Golden kUnknownKind = {
    "SELECT T0.U_No AS'T0.U_No',T1.U_Item AS'T1.U_Item' FROM [@ORDERS] T0   JOIN [@LINES] T1 ON "
    "T0.U_No = T1.U_OrderNo   ORDER BY T0.U_No ASC",
    "SELECT T0.U_No AS \"T0.U_No\" ,T1.U_Item AS \"T1.U_Item\"  FROM @ORDERS T0   JOIN @LINES T1 "
    "ON "
    "T0.U_No = T1.U_OrderNo   ORDER BY T0.U_No ASC  ",
    R"(SELECT T0."U_No" AS"T0.U_No",T1."U_Item" AS"T1.U_Item" FROM "@ORDERS" T0   JOIN "@LINES" T1 )"
    R"(ON T0."U_No" = T1."U_OrderNo"   ORDER BY T0."U_No" ASC)"};

const Golden kConstantQuotedOnce = {
    "SELECT T0.U_No AS'T0.U_No',T1.U_Item AS'T1.U_Item' FROM [@ORDERS] T0   INNER JOIN [@LINES] T1 "
    "ON T0.U_No = T1.U_OrderNo AND T1.U_Item  =  N'I1'   ORDER BY T0.Code",
    "SELECT T0.U_No AS \"T0.U_No\" ,T1.U_Item AS \"T1.U_Item\"  FROM @ORDERS T0   INNER JOIN "
    "@LINES "
    "T1 ON T0.U_No = T1.U_OrderNo AND T1.U_Item  =  N'I1'   ORDER BY T0.Code  ",
    R"(SELECT T0."U_No" AS"T0.U_No",T1."U_Item" AS"T1.U_Item" FROM "@ORDERS" T0   INNER JOIN )"
    R"("@LINES" T1 ON T0."U_No" = T1."U_OrderNo" AND T1."U_Item"  =  N'I1'   ORDER BY T0."Code")"};

const Golden kConstantQuotedTwice = {
    "SELECT TOP 5 T0.U_No AS'T0.U_No',T1.U_Item AS'T1.U_Item' FROM [@ORDERS] T0   INNER JOIN "
    "[@LINES] T1 ON T0.U_No = T1.U_OrderNo AND T1.U_Item  =  N'N''I1'''   ORDER BY T0.Code",
    "SELECT T0.U_No AS \"T0.U_No\" ,T1.U_Item AS \"T1.U_Item\"  FROM @ORDERS T0   INNER JOIN "
    "@LINES "
    "T1 ON T0.U_No = T1.U_OrderNo AND T1.U_Item  =  N'N''I1'''   ORDER BY T0.Code  FETCH FIRST 5 "
    "ROWS ONLY",
    R"(SELECT TOP 5 T0."U_No" AS"T0.U_No",T1."U_Item" AS"T1.U_Item" FROM "@ORDERS" T0   INNER JOIN )"
    R"("@LINES" T1 ON T0."U_No" = T1."U_OrderNo" AND T1."U_Item"  =  N'N''I1'''   ORDER BY )"
    R"(T0."Code")",
    "SELECT T0.U_No AS'T0.U_No',T1.U_Item AS'T1.U_Item' FROM [@ORDERS] T0   INNER JOIN [@LINES] T1 "
    "ON T0.U_No = T1.U_OrderNo AND T1.U_Item  =  N'N''I1'''   ORDER BY T0.Code"};

}  // namespace

std::vector<StatementCase> joinStatements() {
  return {
      {"Inner", &joinedBy<jm_Inner>, {kind("INNER")}, "A|I1\nA|I2"},
      {"LeftOuter", &joinedBy<jm_LeftOuter>, {kind("LEFT OUTER")}, "A|I1\nA|I2\nB|\nC|"},
      {"RightOuter", &joinedBy<jm_RightOuter>, {kind("RIGHT OUTER")}, "A|I1\nA|I2\n|I3"},
      {"FullOuter", &joinedBy<jm_FullOuter>, {kind("FULL OUTER")}, "A|I1\nA|I2\nB|\nC|\n|I3"},
      {"OfUnknownKind", &joinedBy<etTABLE_JOIN_MODE(4)>, {kUnknownKind}, "A|I1\nA|I2"},
      {"WrittenTwiceWithAConstant",
       &joinedTwiceWithAConstant,
       {kConstantQuotedOnce,
        {"-", "-", "-", "SET ROWCOUNT 5 "},
        kConstantQuotedTwice,
        {"-", "-", "-", "SET ROWCOUNT 0"}},
       "A|I1\n-\n"},
      {"WithConstants",
       &joinedWithConstants,
       {{"SELECT T0.U_No AS'T0.U_No',T1.U_Item AS'T1.U_Item' FROM [@ORDERS] T0   LEFT OUTER JOIN "
         "[@LINES] T1 ON T0.U_No = T1.U_OrderNo AND T1.U_Item  =  N'I''2' AND T1.U_Qty  >  1.5   "
         "ORDER BY T0.U_No ASC",
         "SELECT T0.U_No AS \"T0.U_No\" ,T1.U_Item AS \"T1.U_Item\"  FROM @ORDERS T0   LEFT OUTER "
         "JOIN @LINES T1 ON T0.U_No = T1.U_OrderNo AND T1.U_Item  =  N'I''2' AND T1.U_Qty  >  1.5 "
         "  ORDER BY T0.U_No ASC  ",
         R"(SELECT T0."U_No" AS"T0.U_No",T1."U_Item" AS"T1.U_Item" FROM "@ORDERS" T0   LEFT OUTER )"
         R"(JOIN "@LINES" T1 ON T0."U_No" = T1."U_OrderNo" AND T1."U_Item"  =  N'I''2' AND )"
         R"(T1."U_Qty"  >  1.5   ORDER BY T0."U_No" ASC)"}},
       "A|\nB|\nC|"},
      {"ToHostTable",
       &joinedToHostTable,
       {{"SELECT T0.U_No AS'T0.U_No',T1.Category AS'T1.Category' FROM [@ORDERS] T0   INNER JOIN "
         "OFPR T1 ON T1.F_RefDate  >=  CONVERT(datetime,N'20240201',112)   ORDER BY T0.U_No ASC",
         "SELECT T0.U_No AS \"T0.U_No\" ,T1.Category AS \"T1.Category\"  FROM @ORDERS T0   INNER "
         "JOIN OFPR T1 ON T1.F_RefDate  >=  TIMESTAMP_ISO(N'2024-02-01')   ORDER BY T0.U_No ASC  ",
         R"(SELECT T0."U_No" AS"T0.U_No",T1."Category" AS"T1.Category" FROM "@ORDERS" T0   INNER )"
         R"(JOIN OFPR T1 ON T1."F_RefDate"  >=  '2024-02-01 00:00:00'   ORDER BY T0."U_No" ASC)"}},
       "A|2024\nB|2024\nC|2024"},
      {"OneRow",
       &oneRowJoined,
       {{"SELECT T0.U_No AS'T0.U_No',T1.U_Item AS'T1.U_Item',T2.* FROM [@ORDERS] T0   LEFT OUTER "
         "JOIN [@LINES] T1 ON T0.U_No = T1.U_OrderNo LEFT OUTER JOIN [@LINES] T2 ON T0.U_No = "
         "T2.U_OrderNo   WHERE T0.U_No = N'B'",
         "SELECT T0.U_No AS \"T0.U_No\" ,T1.U_Item AS \"T1.U_Item\" ,T2.* FROM @ORDERS T0   LEFT "
         "OUTER JOIN @LINES T1 ON T0.U_No = T1.U_OrderNo LEFT OUTER JOIN @LINES T2 ON T0.U_No = "
         "T2.U_OrderNo   WHERE T0.U_No = N'B'",
         R"(SELECT T0."U_No" AS"T0.U_No",T1."U_Item" AS"T1.U_Item",T2.* FROM "@ORDERS" T0   LEFT )"
         R"(OUTER JOIN "@LINES" T1 ON T0."U_No" = T1."U_OrderNo" LEFT OUTER JOIN "@LINES" T2 ON )"
         R"(T0."U_No" = T2."U_OrderNo"   WHERE T0."U_No" = N'B')"}},
       "B|"},
      {"ByTheSameColumns",
       &joinedByTheSameColumns,
       {{"SELECT T0.U_No AS'T0.U_No'T1.U_No AS'T1.U_No' FROM [@ORDERS] T0   INNER JOIN [@LINES] T1 "
         "ON T0.U_No = T1.U_OrderNo   ORDER BY T0.U_No ASC",
         "SELECT T0.U_No AS \"T0.U_No\" T1.U_No AS \"T1.U_No\"  FROM @ORDERS T0   INNER JOIN "
         "@LINES T1 ON T0.U_No = T1.U_OrderNo   ORDER BY T0.U_No ASC  ",
         R"(SELECT T0."U_No" AS"T0.U_No"T1."U_No" AS"T1.U_No" FROM "@ORDERS" T0   INNER JOIN )"
         R"("@LINES" T1 ON T0."U_No" = T1."U_OrderNo"   ORDER BY T0."U_No" ASC)"}},
       "-2000: "},
  };
}

}  // namespace qx::test
