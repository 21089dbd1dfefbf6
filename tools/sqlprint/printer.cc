#include "tools/sqlprint/printer.h"

#include "qxframework/automation/text.h"
#include "qxframework/host/dialect_names.h"
#include "tools/sqlprint/toml_input.h"

namespace qx::sqlprint {
namespace {

constexpr std::size_t kTextColumn = 8;

void appendDialect(std::string& out, const Statement& statement, const DialectName& dialect) {
  std::string label(dialect.name);
  for (const std::u16string& text : statementTexts(statement, dialect.serverType)) {
    label.resize(kTextColumn, ' ');
    out += label + toUtf8(text) + "\n";
    label.clear();
  }
}

// A single line for every name: text after a line end would read as a statement.
std::string heading(const Statement& statement) {
  return "-- " + std::string(nameOf(statement.kind)) + " " + shown(toUtf8(statement.table)) +
         ", line " + std::to_string(statement.place.line) + "\n";
}

}  // namespace

std::string sideBySide(const std::vector<Statement>& statements) {
  std::string out;
  for (const Statement& statement : statements) {
    if (!out.empty()) out += "\n";
    if (statements.size() > 1) out += heading(statement);
    for (const DialectName& dialect : kDialectNames) appendDialect(out, statement, dialect);
  }
  return out;
}

std::string bare(const std::vector<Statement>& statements, DbServerType serverType, char end) {
  std::string out;
  for (const Statement& statement : statements)
    for (const std::u16string& text : statementTexts(statement, serverType))
      (out += toUtf8(text)) += end;
  return out;
}

}  // namespace qx::sqlprint
