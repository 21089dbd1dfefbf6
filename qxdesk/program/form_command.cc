#include "qxdesk/program/form_command.h"

#include "qxdesk/program/form_sheet.h"
#include "qxdesk/program/input.h"
#include "qxdesk/web/page_files.h"
#include "qxframework/automation/text.h"
#include "qxframework/foundation/languages.h"
#include "tools/formcheck/form_check.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace qx::desk {
namespace {

constexpr int kFaulty = 1;
constexpr int kUnreadable = 2;
// Numbers of the client's languages end far below the smallest Windows language id in use.
constexpr std::int64_t kLowestWindowsId = 1024;
constexpr std::int64_t kHighestWindowsId = 0xFFFF;

constexpr const char* kFooter =
    "The symbol table of a form is declared in its class, so it cannot be read from the library.\n"
    "The check takes the rows of --map, and then those of the document's own <maptable>. The\n"
    "framework never reads a <maptable> and removes it before the client sees the document.\n"
    "\n"
    "Findings are printed on the standard error stream as FILE:LINE:COLUMN: error: what; what to "
    "do.\n"
    "A note reports something that is allowed. The exit code is 0 without errors, 1 with errors, "
    "and\n"
    "2 for a wrong command line or a file that cannot be read.\n"
    "\n"
    "  qxdesk form order.xml --module build/myaddon --map ORD_TITLE=1201 --language 9 --draw\n";

struct Options {
  std::string file;
  std::string module;
  std::int64_t language = ln_English;
  std::vector<std::string> map;
  bool draw = false;
  std::string sheet;
  bool longerMayBeCut = false;
};

std::optional<std::int64_t> wholeNumber(std::string_view text) {
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

bool isHostLanguage(std::int64_t language) {
  return language >= 0 && language < kLowestWindowsId &&
         languageName(static_cast<HvLanguages>(language)) !=
             languageName(static_cast<HvLanguages>(0));
}

std::uint32_t windowsId(std::int64_t language) {
  return isHostLanguage(language) ? windowsLanguageId(static_cast<HvLanguages>(language))
                                  : static_cast<std::uint32_t>(language);
}

// Returns the row of "TAG=ID"; nothing if it has no tag, or the id is no number of 32 bits.
std::optional<XMLMAP> rowOf(const std::string& text) {
  const std::size_t sign = text.rfind('=');
  if (sign == std::string::npos || sign == 0) return std::nullopt;
  const auto id = wholeNumber(std::string_view(text).substr(sign + 1));
  if (!id || *id < INT32_MIN || *id > UINT32_MAX) return std::nullopt;
  return XMLMAP(toUtf16(text.substr(0, sign)), static_cast<std::uint32_t>(*id), {});
}

// Writes the sheet. Without a form there is none; the check has said why.
int writeSheet(const Options& options, const SheetOrder& order) {
  const FormSheet sheet = makeFormSheet(order);
  std::cerr << sheet.messages;
  if (!sheet.html.empty()) write(options.sheet, sheet.html);
  return sheet.allFits ? 0 : kFaulty;
}

int check(const Options& options, const Input& input, const formcheck::Texts& texts) {
  formcheck::Setting setting{texts, windowsId(options.language), {}};
  for (const std::string& row : options.map) setting.symbols.push_back(*rowOf(row));
  const formcheck::Report report = formcheck::checkForm(input.content, setting);
  for (const formcheck::Finding& finding : report.findings)
    std::cerr << formcheck::messageOf(input.name, finding);
  if (options.draw) print(report.drawing);
  int code = report.hasErrors() ? kFaulty : 0;
  if (!options.sheet.empty()) {
    code = std::max(code, writeSheet(options, {input.name, input.content, texts, setting.symbols,
                                               web::embeddedPage(), options.longerMayBeCut}));
  }
  return code;
}

int run(const Options& options) {
  Input input;
  std::optional<formcheck::ModuleTexts> texts;
  try {
    input = readInput(options.file);
    texts.emplace(options.module);
  } catch (const std::runtime_error& error) {
    std::cerr << error.what() << '\n';
    return kUnreadable;
  }
  return check(options, input, *texts);
}

std::string refusalOfLanguage(const std::string& text) {
  const auto number = wholeNumber(text);
  const bool isWindowsId = number && *number >= kLowestWindowsId && *number <= kHighestWindowsId;
  if (isWindowsId || (number && isHostLanguage(*number))) return {};
  return text + " is no language; give the client's number, such as 9 for German, or a Windows " +
         "language id, such as 1031";
}

std::string refusalOfRow(const std::string& text) {
  if (rowOf(text)) return {};
  return text + " is no row; write TAG=ID with a decimal number, such as ORD_TITLE=1201";
}

}  // namespace

void addFormCommand(CLI::App& program, Task& task) {
  auto options = std::make_shared<Options>();
  CLI::App* const command = program.add_subcommand(
      "form", "Check a form document against the strings of its add-on; no connection");
  command->add_option("FILE", options->file, "The form document; - for the input")->required();
  command
      ->add_option("--module", options->module,
                   "The add-on's executable or shared object, for its string tables; not loaded")
      ->required();
  command
      ->add_option("--language", options->language,
                   "The client's number of a language, or a Windows language id (English)")
      ->check(CLI::Validator(refusalOfLanguage, "NUMBER"));
  command
      ->add_option("--map", options->map,
                   "A row of the form's symbol table; give the option once for each row")
      ->check(CLI::Validator(refusalOfRow, "TAG=ID"))
      ->allow_extra_args(false);
  command->add_flag("--draw", options->draw, "Print the form as a drawing in plain text");
  CLI::Option* const sheet =
      command->add_option("--sheet", options->sheet,
                          "Write an HTML file that shows the form in all languages and marks texts "
                          "that do not fit");
  command
      ->add_flag("--longer-may-be-cut", options->longerMayBeCut,
                 "With --sheet: report a text that does not fit only when it is 40 % longer as a "
                 "note")
      ->needs(sheet);
  command->footer(kFooter);
  command->callback([options, &task] { task = [options] { return run(*options); }; });
}

}  // namespace qx::desk
