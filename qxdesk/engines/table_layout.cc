#include "qxdesk/engines/table_layout.h"

#include <algorithm>

namespace qx::desk {

namespace {

TableLayout companyTable() {
  return {"HVCOMP",
          {textColumn("Code", 20), textColumn("CompanyName", 100), textColumn("Country", 3),
           textColumn("Currency", 3), smallIntegerColumn("SumPlaces"),
           smallIntegerColumn("PricePlaces"), smallIntegerColumn("RatePlaces"),
           smallIntegerColumn("QuantityPlaces"), smallIntegerColumn("PercentPlaces"),
           smallIntegerColumn("MeasurePlaces"), textColumn("DecimalSign", 1),
           textColumn("GroupSign", 1), smallIntegerColumn("DateFormat"), textColumn("DateSign", 1),
           textColumn("CurrencySide", 1)},
          {"Code"}};
}

std::vector<TableLayout> dictionaryTables() {
  return {
      {"HVUTAB",
       {notNull(textColumn("TableName", 20)), textColumn("Description", 30),
        smallIntegerColumn("ObjectType")},
       {"TableName"}},
      {"CUFD",
       {notNull(textColumn("TableID", 20)), notNull(smallIntegerColumn("FieldID")),
        notNull(textColumn("AliasID", 50)), textColumn("Description", 30),
        smallIntegerColumn("FieldType"), smallIntegerColumn("FieldSubType"),
        smallIntegerColumn("FieldSize"), smallIntegerColumn("EditSize"),
        textColumn("DefaultValue", 254), textColumn("Mandatory", 1), textColumn("LinkedTable", 20)},
       {"TableID", "FieldID"}},
      {"HVUFVAL",
       {notNull(textColumn("TableID", 20)), notNull(smallIntegerColumn("FieldID")),
        notNull(smallIntegerColumn("ValueNo")), textColumn("FieldValue", 254),
        textColumn("Description", 254)},
       {"TableID", "FieldID", "ValueNo"}},
      {"HVUKEY",
       {notNull(textColumn("TableName", 20)), notNull(smallIntegerColumn("KeyNo")),
        textColumn("KeyName", 10), textColumn("IsUnique", 1)},
       {"TableName", "KeyNo"}},
      {"HVUKCOL",
       {notNull(textColumn("TableName", 20)), notNull(smallIntegerColumn("KeyNo")),
        notNull(smallIntegerColumn("ColumnNo")), textColumn("ColumnAlias", 52)},
       {"TableName", "KeyNo", "ColumnNo"}},
  };
}

std::vector<TableLayout> businessTables() {
  return {
      {"HVCURR",
       {notNull(textColumn("Currency", 3)), textColumn("CurrencyName", 20),
        smallIntegerColumn("Decimals")},
       {"Currency"}},
      {"HVRATE",
       {notNull(dateColumn("RateDate")), notNull(textColumn("Currency", 3)), decimalColumn("Rate")},
       {"RateDate", "Currency"}},
      {"OFPR",
       {notNull(integerColumn("PeriodNo")), textColumn("Code", 20), textColumn("Name", 20),
        textColumn("Category", 10), smallIntegerColumn("SubNum"), dateColumn("F_RefDate"),
        dateColumn("T_RefDate")},
       {"PeriodNo"}},
      {"VTG1",
       {notNull(textColumn("Code", 8)), notNull(dateColumn("EffecDate")), decimalColumn("Rate")},
       {"Code", "EffecDate"}},
      {"HVPARTN",
       {notNull(textColumn("PartnerNo", 15)), textColumn("PartnerName", 100),
        textColumn("PartnerKind", 1), decimalColumn("Balance"), dateColumn("CreateDate"),
        memoColumn("Notes")},
       {"PartnerNo"}},
      {"HVITEM",
       {notNull(textColumn("ItemNo", 20)), textColumn("ItemText", 100), decimalColumn("InStock"),
        decimalColumn("Price"), dateColumn("CreateDate")},
       {"ItemNo"}},
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
