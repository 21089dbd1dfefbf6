#include "tools/sqlprint/example.h"

namespace qx::sqlprint {

const char* const kExample =
    R"toml(# Statements for `qxdesk sql FILE`. Each kind may appear once, [select], or often, [[select]].

# A collection's SELECT. Without keys-only = false it fetches the keys only, as the layer does.
[[select]]
table = "@ORDERS"               # a user table, since it begins with "@"
as = "T0"
keys = ["Code"]
keys-only = false
fields = ["Code", "U_Total"]
where = [
  { field = "U_Total", is = ">", value = 12.5 },
  { or = true, field = "U_Date", is = "<=", value = 2024-01-31, open = 1 },
  { field = "U_Name", is = "like", value = "O'B%", close = 1 },
]
sort = ["U_Date", "-Code"]      # "-" for descending, or { field = "Code", descending = true }
limit = 5

[[select.join]]
table = "@LINES"
as = "T1"
kind = "left"                   # inner, left, right or full
fields = ["U_Item"]
on = [
  { from = "Code", to = "U_Order" },
  { to = "U_Kind", is = "=", value = "A" },
]

# A host's table by its key, and no more than that.
[[select]]
table = "OFPR"
keys = ["PeriodNo"]

# One object's SELECT.
[load]
table = "@ORDERS"
where = [{ field = "Code", value = "00000001" }]

# The columns come in the order of the file. A user table's Code and Name are the next code.
[insert]
table = "@ORDERS"
next-code = "00000001"

[insert.values]
U_Name = "O'Brien"
U_Total = 12.5
U_Date = 2024-01-31
U_Count = 3

# By conditions, or by key-values that match columns of the object.
[update]
table = "@ORDERS"
keys = ["Code"]
key-values = { Code = "00000001" }
values = { Code = "00000001", U_Total = 13.0 }

[delete]
table = "@ORDERS"
where = [{ field = "Code", value = "00000001" }]

# The columns with their titles; the condition is text of SQL.
[choose-list]
table = "@ORDERS"
fields = { Code = "Number", U_Name = "Customer" }
where = "U_Total > 0"
)toml";

const char* const kForm =
    R"(The file is TOML. Its tables are the statements, in the order of the file:
  [select]       table, as, keys, keys-only, fields, where, sort, limit, join
  [load]         table, as, fields, where, join
  [insert]       table, next-code (user tables), values
  [update]       table, as, keys, fields, where or key-values, values
  [delete]       table, where
  [choose-list]  table, fields = { column = "title" }, where = "text of SQL"
Several of a kind: [[select]]. A table that begins with "@" is a user table; user-table = true or
false says otherwise. where = [{ field, is, value, or, open, close }]: `is` is =, <>, >, <, >=, <=
or like; raw = "…" in place of value is written unchanged. values = { column = value }: a text,
a number with a point, a whole number or a date give VT_BSTR, VT_R8, VT_I4 and VT_DATE.
join = [{ table, as, kind, fields, on = [{ from, to }, { to, is, value }] }].

For example:
  [select]
  table = "@ORDERS"
  keys = ["Code"]
  where = [{ field = "U_Date", is = ">=", value = 2024-01-31 }]

qxdesk sql --example prints a whole file.)";

}  // namespace qx::sqlprint
