// Writes a description as the text of a file.

#include "qxframework/automation/ole_date_time.h"
#include "qxframework/automation/text.h"
#include "tools/sqlprint/testing/random_statement.h"

#include <array>
#include <charconv>
#include <cstdio>

namespace qx::test {
namespace {

using sqlprint::Condition;
using sqlprint::Join;
using sqlprint::Kind;
using sqlprint::NamedValues;
using sqlprint::Names;
using sqlprint::Statement;

constexpr const char* kOperations[] = {"like", "=", ">", "<", ">=", "<=", "<>"};
constexpr const char* kJoinModes[] = {"inner", "left", "right", "full"};

std::string formatted(const char* format, auto... arguments) {
  std::array<char, 64> buffer{};
  std::snprintf(buffer.data(), buffer.size(), format, arguments...);
  return buffer.data();
}

std::string inQuotes(std::u16string_view text) {
  std::string made = "\"";
  for (const char unit : toUtf8(text)) {
    const auto code = static_cast<unsigned char>(unit);
    if (code < 0x20 || code == 0x7F || unit == '"' || unit == '\\') {
      made += formatted("\\u%04X", static_cast<unsigned>(code));
    } else {
      made += unit;
    }
  }
  return made + "\"";
}

std::string numberText(double number) {
  std::array<char, 64> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
  std::string made(buffer.data(), result.ptr);
  return made.find_first_of(".e") == std::string::npos ? made + ".0" : made;
}

std::string valueText(const CComVariant& value) {
  if (value.vt == VT_BSTR) return inQuotes(viewOfBstr(value.bstrVal));
  if (value.vt == VT_R8) return numberText(value.dblVal);
  if (value.vt == VT_I4) return std::to_string(value.lVal);
  const CivilTime time = *civilFromDate(value.date);
  const std::string day = formatted("%04d-%02d-%02d", time.year, time.month, time.day);
  if (time.hour + time.minute + time.second == 0) return day;
  return day + formatted("T%02d:%02d:%02d", time.hour, time.minute, time.second);
}

template <class List, class Write>
std::string listText(const List& list, Write write) {
  std::string made = "[";
  for (const auto& each : list) made += (made.size() > 1 ? ", " : "") + write(each);
  return made + "]";
}

std::string namesText(const Names& names) {
  return listText(names, [](const std::u16string& name) { return inQuotes(name); });
}

std::string namedText(const NamedValues& values) {
  std::string made;
  for (const auto& [name, value] : values)
    made += (made.empty() ? "" : ", ") + inQuotes(name) + " = " + valueText(value);
  return "{ " + made + " }";
}

std::string conditionText(const Condition& condition) {
  std::string made = "{ field = " + inQuotes(condition.field);
  made += std::string(", is = \"") + kOperations[condition.operation] + "\"";
  made += condition.raw ? ", raw = " + inQuotes(*condition.raw)
                        : ", value = " + valueText(condition.value);
  if (condition.relationship == Persistence::cr_Or) made += ", or = true";
  if (condition.open > 0) made += ", open = " + std::to_string(condition.open);
  if (condition.close > 0) made += ", close = " + std::to_string(condition.close);
  return made + " }";
}

std::string joinText(const Join& join) {
  std::string made = "{ table = " + inQuotes(join.table) + ", as = " + inQuotes(join.as);
  made += std::string(", user-table = ") + (join.userTable ? "true" : "false");
  made += std::string(", kind = \"") + kJoinModes[join.mode] + "\"";
  made += ", fields = " + namesText(join.fields);
  made += ", on = " + listText(join.on, [](const sqlprint::JoinField& field) {
            const std::string to = "{ to = " + inQuotes(field.to);
            if (field.from) return to + ", from = " + inQuotes(*field.from) + " }";
            return to + ", is = \"" + kOperations[field.operation] +
                   "\", value = " + valueText(field.value) + " }";
          });
  return made + " }";
}

std::string queryText(const Statement& statement) {
  std::string made;
  if (!statement.as.empty()) made += "as = " + inQuotes(statement.as) + "\n";
  if (!statement.keys.empty()) made += "keys = " + namesText(statement.keys) + "\n";
  if (!statement.keysOnly) made += "keys-only = false\n";
  if (!statement.fields.empty()) made += "fields = " + namesText(statement.fields) + "\n";
  if (statement.where) made += "where = " + listText(*statement.where, conditionText) + "\n";
  if (!statement.sort.empty())
    made += "sort = " +
            listText(statement.sort,
                     [](const sqlprint::SortField& field) {
                       if (field.descending) return inQuotes(u"-" + field.field);
                       return "{ field = " + inQuotes(field.field) + " }";
                     }) +
            "\n";
  if (statement.limit) made += "limit = " + std::to_string(statement.limit->count) + "\n";
  if (!statement.joins.empty()) made += "join = " + listText(statement.joins, joinText) + "\n";
  return made;
}

}  // namespace

std::string tomlOf(const Statement& statement) {
  std::string made = "[" + std::string(sqlprint::nameOf(statement.kind)) + "]\n";
  made += "table = " + inQuotes(statement.table) + "\n";
  if (statement.userTable != statement.table.starts_with(u'@'))
    made += std::string("user-table = ") + (statement.userTable ? "true" : "false") + "\n";
  made += queryText(statement);
  if (!statement.nextCode.empty()) made += "next-code = " + inQuotes(statement.nextCode) + "\n";
  if (statement.kind == Kind::insert || statement.kind == Kind::update)
    made += "values = " + namedText(statement.values) + "\n";
  if (!statement.keyValues.empty()) made += "key-values = " + namedText(statement.keyValues) + "\n";
  if (!statement.whereText.empty()) made += "where = " + inQuotes(statement.whereText) + "\n";
  std::string titles;
  for (const auto& [column, title] : statement.titles)
    titles += (titles.empty() ? "" : ", ") + inQuotes(column) + " = " + inQuotes(title);
  if (!titles.empty()) made += "fields = { " + titles + " }\n";
  return made;
}

}  // namespace qx::test
