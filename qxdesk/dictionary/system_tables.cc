#include "qxdesk/dictionary/system_tables.h"

namespace qx::desk {

namespace {

constexpr const char* kTablesTable = "HVUTAB";
constexpr const char* kFieldsTable = "CUFD";
constexpr const char* kValuesTable = "HVUFVAL";
constexpr const char* kKeysTable = "HVUKEY";
constexpr const char* kKeyColumnsTable = "HVUKCOL";

// One row: the name of the company and the forms in which it shows amounts and dates.
TableLayout companyTable() {
  return {std::string(kSettingsTable),
          {textColumn("Code", 20), textColumn("CompanyName", 100), textColumn("Country", 3),
           textColumn("Currency", 3), smallIntegerColumn("SumPlaces"),
           smallIntegerColumn("PricePlaces"), smallIntegerColumn("RatePlaces"),
           smallIntegerColumn("QuantityPlaces"), smallIntegerColumn("PercentPlaces"),
           smallIntegerColumn("MeasurePlaces"), textColumn("DecimalSign", 1),
           textColumn("GroupSign", 1), smallIntegerColumn("DateFormat"), textColumn("DateSign", 1),
           textColumn("CurrencySide", 1)},
          {"Code"}};
}

// The tables that describe the user tables, fields and keys; dictionary_rows.cc reads and writes
// them.
std::vector<TableLayout> dictionaryTables() {
  return {
      {kTablesTable,
       {notNull(textColumn("TableName", 20)), textColumn("Description", 30),
        smallIntegerColumn("ObjectType")},
       {"TableName"}},
      {kFieldsTable,
       {notNull(textColumn("TableID", 20)), notNull(smallIntegerColumn("FieldID")),
        notNull(textColumn("AliasID", 50)), textColumn("Description", 30),
        smallIntegerColumn("FieldType"), smallIntegerColumn("FieldSubType"),
        smallIntegerColumn("FieldSize"), smallIntegerColumn("EditSize"),
        textColumn("DefaultValue", 254), textColumn("Mandatory", 1), textColumn("LinkedTable", 20)},
       {"TableID", "FieldID"}},
      {kValuesTable,
       {notNull(textColumn("TableID", 20)), notNull(smallIntegerColumn("FieldID")),
        notNull(smallIntegerColumn("ValueNo")), textColumn("FieldValue", 254),
        textColumn("Description", 254)},
       {"TableID", "FieldID", "ValueNo"}},
      {kKeysTable,
       {notNull(textColumn("TableName", 20)), notNull(smallIntegerColumn("KeyNo")),
        textColumn("KeyName", 10), textColumn("IsUnique", 1)},
       {"TableName", "KeyNo"}},
      {kKeyColumnsTable,
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

}  // namespace

const std::vector<TableLayout>& systemTables() {
  static const std::vector<TableLayout> tables = allSystemTables();
  return tables;
}

// Without the layouts, which nothing else at the start of an add-on needs.
std::vector<std::string> dictionaryTableNames() {
  return {kTablesTable, kFieldsTable, kValuesTable, kKeysTable, kKeyColumnsTable};
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
  // Rows of master data (1) and documents (3) are numbered as a whole; rows of their lines (2 and
  // 4) within their owner.
  if (type == 1 || type == 3) table.columns.push_back(integerColumn("DocEntry"));
  if (type == 2 || type == 4) table.columns.push_back(integerColumn("LineId"));
  return table;
}

}  // namespace qx::desk
