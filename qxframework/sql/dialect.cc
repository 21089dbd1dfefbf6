#include "qxframework/sql/dialect.h"

#include "qxframework/sql/sql_text.h"

namespace qx {

CComBSTR enclosed(std::u16string_view text, const Enclosure& enclosure) {
  return joined({enclosure.opening, text, enclosure.closing});
}

CComBSTR tableName(const Dialect& dialect, std::u16string_view name) {
  return enclosed(name, name.starts_with(u'@') ? dialect.userTable : dialect.hostTable);
}

CComBSTR columnName(const Dialect& dialect, CComBSTR name) {
  // Most dialects have bare columns, and a statement has many: the name is not copied then.
  if (dialect.column.opening.empty()) return name;
  return enclosed(name.View(), dialect.column);
}

const OLECHAR* TextByQuoting::of(const Dialect& dialect) const {
  switch (dialect.quoting) {
    case Quoting::bareNames:
      return bare;
    case Quoting::doubleQuotes:
      return doubleQuotes;
    case Quoting::brackets:
      break;
  }
  return brackets;
}

}  // namespace qx
