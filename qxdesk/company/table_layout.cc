#include "qxdesk/company/table_layout.h"

#include <algorithm>

namespace qx::desk {

namespace {

TableLayout companyTable() {
  return {"OADM",
          {textColumn("Code", 20), textColumn("CompnyName", 100), textColumn("Country", 3),
           textColumn("MainCurncy", 3), smallIntegerColumn("SumDec"),
           smallIntegerColumn("PriceDec"), smallIntegerColumn("RateDec"),
           smallIntegerColumn("QtyDec"), smallIntegerColumn("PercentDec"),
           smallIntegerColumn("MeasureDec"), textColumn("DecSep", 1), textColumn("ThousSep", 1),
           smallIntegerColumn("DateFormat"), textColumn("DateSep", 1), textColumn("CurrPos", 1)},
          {"Code"}};
}

std::vector<TableLayout> dictionaryTables() {
  return {
      {"OUTB",
       {notNull(textColumn("TableName", 20)), textColumn("Descr", 30),
        smallIntegerColumn("ObjectType")},
       {"TableName"}},
      {"CUFD",
       {notNull(textColumn("TableID", 20)), notNull(smallIntegerColumn("FieldID")),
        notNull(textColumn("AliasID", 50)), textColumn("Descr", 30), smallIntegerColumn("TypeID"),
        smallIntegerColumn("EditType"), smallIntegerColumn("SizeID"),
        smallIntegerColumn("EditSize"), textColumn("Dflt", 254), textColumn("NotNull", 1),
        textColumn("RTable", 20)},
       {"TableID", "FieldID"}},
      {"UFD1",
       {notNull(textColumn("TableID", 20)), notNull(smallIntegerColumn("FieldID")),
        notNull(smallIntegerColumn("IndexID")), textColumn("FldValue", 254),
        textColumn("Descr", 254)},
       {"TableID", "FieldID", "IndexID"}},
      {"OUKD",
       {notNull(textColumn("TableName", 20)), notNull(smallIntegerColumn("KeyId")),
        textColumn("KeyName", 10), textColumn("UniqueKey", 1)},
       {"TableName", "KeyId"}},
      {"UKD1",
       {notNull(textColumn("TableName", 20)), notNull(smallIntegerColumn("KeyId")),
        notNull(smallIntegerColumn("SubKeyId")), textColumn("ColAlias", 52)},
       {"TableName", "KeyId", "SubKeyId"}},
  };
}

std::vector<TableLayout> businessTables() {
  return {
      {"OCRN",
       {notNull(textColumn("CurrCode", 3)), textColumn("CurrName", 20),
        smallIntegerColumn("Decimals")},
       {"CurrCode"}},
      {"ORTT",
       {notNull(dateColumn("RateDate")), notNull(textColumn("Currency", 3)), decimalColumn("Rate")},
       {"RateDate", "Currency"}},
      {"OFPR",
       {notNull(integerColumn("AbsEntry")), textColumn("Code", 20), textColumn("Name", 20),
        textColumn("Category", 10), smallIntegerColumn("SubNum"), dateColumn("F_RefDate"),
        dateColumn("T_RefDate")},
       {"AbsEntry"}},
      {"VTG1",
       {notNull(textColumn("Code", 8)), notNull(dateColumn("EffecDate")), decimalColumn("Rate")},
       {"Code", "EffecDate"}},
      {"OCRD",
       {notNull(textColumn("CardCode", 15)), textColumn("CardName", 100), textColumn("CardType", 1),
        decimalColumn("Balance"), dateColumn("CreateDate"), memoColumn("Notes")},
       {"CardCode"}},
      {"OITM",
       {notNull(textColumn("ItemCode", 20)), textColumn("ItemName", 100), decimalColumn("OnHand"),
        decimalColumn("AvgPrice"), dateColumn("CreateDate")},
       {"ItemCode"}},
  };
}

std::vector<TableLayout> allSystemTables() {
  std::vector<TableLayout> tables = dictionaryTables();
  tables.push_back(companyTable());
  for (TableLayout& table : businessTables()) tables.push_back(std::move(table));
  return tables;
}

char lowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
char upperAscii(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

std::string mapped(std::string_view name, char (*map)(char)) {
  std::string result(name);
  std::transform(result.begin(), result.end(), result.begin(), map);
  return result;
}

ColumnLayout columnOfKind(std::string_view name, ColumnKind kind, long size = 0) {
  return {std::string(name), kind, size, false, {}};
}

}  // namespace

ColumnLayout textColumn(std::string_view name, long size) {
  return columnOfKind(name, ColumnKind::Text, size);
}

ColumnLayout memoColumn(std::string_view name) { return columnOfKind(name, ColumnKind::Memo); }

ColumnLayout integerColumn(std::string_view name) {
  return columnOfKind(name, ColumnKind::Integer);
}

ColumnLayout smallIntegerColumn(std::string_view name) {
  return columnOfKind(name, ColumnKind::SmallInteger);
}

ColumnLayout decimalColumn(std::string_view name) {
  return columnOfKind(name, ColumnKind::Decimal);
}

ColumnLayout dateColumn(std::string_view name) { return columnOfKind(name, ColumnKind::Date); }

ColumnLayout notNull(ColumnLayout column) {
  column.mandatory = true;
  return column;
}

const std::vector<TableLayout>& systemTables() {
  static const std::vector<TableLayout> tables = allSystemTables();
  return tables;
}

const TableLayout* findSystemTable(std::string_view name) {
  for (const TableLayout& table : systemTables()) {
    if (sameName(table.name, name)) return &table;
  }
  return nullptr;
}

std::string userTableName(std::string_view name) { return std::string(1, '@').append(name); }

TableLayout userTable(std::string_view name, long type) {
  constexpr long kCodeSize = 50;
  constexpr long kNameSize = 100;
  TableLayout table{userTableName(name),
                    {notNull(textColumn("Code", kCodeSize)), textColumn("Name", kNameSize)},
                    {"Code"}};
  // Master data and documents count themselves, their lines count within their owner.
  if (type == 1 || type == 3) table.columns.push_back(integerColumn("DocEntry"));
  if (type == 2 || type == 4) table.columns.push_back(integerColumn("LineId"));
  return table;
}

bool sameName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lowerAscii(x) == lowerAscii(y); });
}

std::string upperName(std::string_view name) { return mapped(name, upperAscii); }
std::string lowerName(std::string_view name) { return mapped(name, lowerAscii); }

}  // namespace qx::desk
