#pragma once

// The SQL of one database server type, as far as it differs from that of the others.
//
// A Dialect is plain data: the texts that enclose names, the forms of dates and literals, the way
// in which rows are limited. Code that writes a statement reads these pieces from the dialect, so
// the rest of the statement is written once, for all dialects. Each dialect is defined in a file of
// its own, dialect_<name>.cc; dialects.h lists them and finds the one of a company.

#include "qxframework/automation/bstr.h"
#include "qxframework/foundation/date_time.h"
#include "qxframework/host/company.h"

#include <string_view>

namespace qx {

/// The form of names in the framework's own statements, those that are kept as complete texts.
enum class Quoting { brackets, bareNames, doubleQuotes };

/// The texts before and after a name or a value.
struct Enclosure {
  std::u16string_view opening;
  std::u16string_view closing;
};

/// The ways to limit the rows of a SELECT. A dialect uses one of them and leaves the texts of the
/// others null. In a text for a limited SELECT "%d" is the number of rows.
struct RowLimit {
  const OLECHAR* beforeFields = nullptr;     ///< follows "SELECT "
  const OLECHAR* atEnd = nullptr;            ///< follows the whole statement
  const OLECHAR* statementBefore = nullptr;  ///< a statement that limits the connection
  const OLECHAR* statementAfter = nullptr;   ///< a statement that lifts that limit
  /// The end of a SELECT without a limit, and of one without ORDER BY; empty in most dialects.
  std::u16string_view endIfUnlimited = {};
  std::u16string_view endIfUnsorted = {};
};

/// The default of a member is the form that most dialects have.
struct Dialect {
  DbServerType serverType = kMssql;
  /// The name in connection strings: "mssql".
  std::string_view name = {};
  /// The end of the names of its classes in the log: "MSSQL".
  std::u16string_view classSuffix = {};
  Quoting quoting = Quoting::brackets;

  Enclosure userTable = {};  ///< of a table whose name begins with "@"
  Enclosure hostTable = {};  ///< of any other table
  Enclosure column = {};
  Enclosure alias = {u"'", u"'"};
  /// Follows a field that is read by a correlation name, and encloses both names: "T0.Code".
  Enclosure fieldAlias = {u" AS'", u"'"};
  /// Follows a column of a choose list, and encloses its title.
  Enclosure title = {u" AS '", u"' "};

  using DateForm = CComBSTR (CQXDateTime::*)() const;
  /// The text of a day in literals and in the look-ups of CQXUtil.
  DateForm dateText = &CQXDateTime::GetDateAsBSTR;
  /// The text of a row's date in a condition that is made from the row.
  DateForm rowDateText = &CQXDateTime::GetDateAsBSTR;
  /// Returns the literal of a date's text. A text that already is such a literal is returned
  /// unchanged. `national` as in sqlLiteral.
  CComBSTR (*dateLiteral)(CComBSTR text, bool national) = nullptr;

  RowLimit rowLimit = {};
  /// True if a text in an inserted row of a definition gets the prefix N.
  bool nationalRows = true;
  /// True if the server takes only short names of user tables, see definedTableName.
  bool shortTableNames = false;
};

/// Returns the text between the two parts of the enclosure.
CComBSTR enclosed(std::u16string_view text, const Enclosure& enclosure);

/// Returns the name of a table or a column as the dialect's statements write it.
CComBSTR tableName(const Dialect& dialect, std::u16string_view name);
CComBSTR columnName(const Dialect& dialect, CComBSTR name);

/// A statement's text for each form of quoting, a format for qx::format.
struct TextByQuoting {
  const OLECHAR* brackets;
  const OLECHAR* bare;
  const OLECHAR* doubleQuotes;

  const OLECHAR* of(const Dialect& dialect) const;
};

}  // namespace qx
