#pragma once

// The statements of the version table, the dictionary and the user tables, as each engine wants
// them. The engine is the company's database server type; every value that has no form of its own
// takes the bracket form.

#include "qxframework/automation/types.h"
#include "qxframework/automation/variant.h"

#include <string>
#include <string_view>
#include <vector>

class IRecordset;

namespace qx::dbdef {

/// A statement's text in the three quoting forms.
struct EngineText {
  const OLECHAR* kordb;  // names in double quotes
  const OLECHAR* db2;    // bare names, tables of at most 8 letters
  const OLECHAR* other;  // names in square brackets

  const OLECHAR* of(long engine) const;
};

extern const EngineText kSelectVersion;       // extension id
extern const EngineText kSelectEmergencyFix;  // extension id
extern const EngineText kDeleteStamp;         // extension id, version, emergency fix
extern const EngineText kInsertStamp;  // code, code, extension id, version, emergency fix, status
extern const EngineText kVersionTable;
extern const EngineText kSelectMaxCode;     // table
extern const EngineText kSelectUserField;   // table without "@", field
extern const EngineText kSelectTableField;  // table, field
extern const EngineText kSelectTaxRate;     // tax code; the newest rate in force comes first
/// The day twice, in the engine's own form; the last day of a period lasts to the end of the next.
extern const EngineText kSelectPostingPeriod;

/// The name that the engine takes for a table of a definition: DB2 has 8 letters of a name that is
/// longer than 9.
std::u16string tableNameOn(long engine, std::u16string_view name);

/// The INSERT of one row of a definition. A value is a token of SQL: a quoted text gets its inner
/// quotes doubled and, where the engine wants it, the prefix N; anything else goes in as it stands.
class RowInsert {
 public:
  RowInsert(long engine, std::u16string_view table, std::u16string_view code);
  void add(std::u16string_view field, std::u16string_view token);
  bool hasFields() const { return hasFields_; }
  std::u16string text() const;

 private:
  long engine_;
  std::u16string table_;
  std::u16string columns_;
  std::u16string values_;
  bool hasFields_ = false;
};

/// Field `index` of the current row as text; empty for null and when there is no row.
std::u16string fieldText(IRecordset* recordset, long index);
/// The same as a value of `type`: 0 in place of an empty text.
CComVariant fieldValue(IRecordset* recordset, long index, VARTYPE type);

}  // namespace qx::dbdef
