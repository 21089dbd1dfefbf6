#include "qxdesk/program/sql_command.h"

#include "qxdesk/program/input.h"
#include "qxframework/host/dialect_names.h"
#include "tools/sqlprint/example.h"
#include "tools/sqlprint/printer.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace qx::desk {
namespace {

struct Options {
  std::string file;
  std::string engine;
  bool example = false;
  bool nul = false;
};

std::string output(const Options& options, const std::vector<sqlprint::Statement>& statements) {
  if (const auto serverType = serverTypeNamed(options.engine))
    return sqlprint::bare(statements, *serverType, options.nul ? '\0' : '\n');
  return sqlprint::sideBySide(statements);
}

// Prints nothing before everything is read and written, so that a refusal leaves no half output.
int run(const Options& options) {
  if (options.example) {
    print(sqlprint::kExample);
    return 0;
  }
  const Input input = readInput(options.file);
  const sqlprint::Description description = sqlprint::readDescription(input.name, input.content);
  const std::string text = output(options, description.statements);
  for (const std::string& warning : description.warnings) std::cerr << warning << '\n';
  print(text);
  return 0;
}

}  // namespace

void addSqlCommand(CLI::App& program, Task& task) {
  auto options = std::make_shared<Options>();
  CLI::App* const command = program.add_subcommand(
      "sql", "Print the SQL that the persistence layer sends, in all dialects; no connection");
  auto* const file =
      command->add_option("FILE", options->file, "The statements, a TOML file; - for the input");
  auto* const example = command->add_flag("--example", options->example,
                                          "Print a file with a statement of each kind");
  auto* const engine = command->add_option("--engine", options->engine,
                                           "Print that dialect's statements only, one per line");
  std::vector<std::string> names;
  for (const DialectName& each : kDialectNames) names.emplace_back(each.name);
  engine->check(CLI::IsMember(names));
  command->add_flag("-0,--null", options->nul, "End each statement with a zero, not a line end")
      ->needs(engine);
  example->excludes(file)->excludes(engine);
  command->footer(sqlprint::kForm);
  command->callback([options, &task] {
    if (options->file.empty() && !options->example) throw CLI::RequiredError("FILE");
    task = [options] { return run(*options); };
  });
}

}  // namespace qx::desk
