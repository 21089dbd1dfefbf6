#pragma once

// The statements of CQXDbDef in all dialects: the table of installed versions, the look-up of a
// field in the host's dictionary, and the rows of a definition.

#include "qxframework/sql/dialect.h"

#include <string>
#include <string_view>

namespace qx::dbdef {

// The table of installed versions. The comments name the arguments of each format.
extern const TextByQuoting kVersionTable;        // no arguments: the table's name
extern const TextByQuoting kSelectVersion;       // extension id
extern const TextByQuoting kSelectEmergencyFix;  // extension id
extern const TextByQuoting kDeleteStamp;         // extension id, version, emergency fix
extern const TextByQuoting kInsertStamp;         // code, code, extension id, version, fix, status

// The host's dictionary of fields.
extern const TextByQuoting kSelectUserField;   // user table without "@", field
extern const TextByQuoting kSelectTableField;  // table of the host, field

/// Returns the name under which the server keeps a user table of a definition: DB2 cuts a name of
/// more than 9 characters to its first 8.
std::u16string definedTableName(const Dialect& dialect, std::u16string_view name);

/// The INSERT of one row of a definition. The row's code is its Name, too.
class RowInsert {
 public:
  RowInsert(const Dialect& dialect, std::u16string_view table, std::u16string_view code);

  /// Adds a field by its name without "U_". The value is a token of SQL. In a token that begins
  /// with a quote the quotes between the first and the last character are doubled, and the
  /// dialect's prefix precedes it; any other token is written unchanged.
  void add(std::u16string_view field, std::u16string_view token);
  bool hasFields() const { return hasFields_; }
  std::u16string text() const;

 private:
  const Dialect& dialect_;
  std::u16string table_;
  std::u16string columns_;
  std::u16string values_;
  bool hasFields_ = false;
};

}  // namespace qx::dbdef
