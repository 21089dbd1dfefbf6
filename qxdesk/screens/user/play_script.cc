#include "qxdesk/screens/user/play_script.h"

#include "qxdesk/session/connection_string.h"
#include "qxframework/automation/decimal_number.h"
#include "qxframework/automation/text.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace qx::screens {
namespace {

// An action. `shape` has a letter for each argument: w a word, n a number from 0, l a language, t
// the rest of the line (may be empty), p a thing to print. The arguments after "?" are optional,
// but only together.
struct Command {
  std::string_view name;
  PlayVerb verb;
  std::string_view shape;
  std::string_view usage;
};

constexpr Command kCommands[] = {
    {"menu", PlayVerb::kMenu, "w", "menu UID"},
    {"open", PlayVerb::kOpen, "w", "open TYPE"},
    {"close", PlayVerb::kClose, "w", "close FORM"},
    {"select", PlayVerb::kSelect, "w", "select FORM"},
    {"press", PlayVerb::kPress, "ww", "press FORM ITEM"},
    {"click", PlayVerb::kClick, "ww?wn", "click FORM ITEM [COLUMN ROW]"},
    {"ctrlclick", PlayVerb::kCtrlClick, "wwwn", "ctrlclick FORM MATRIX COLUMN ROW"},
    {"shiftclick", PlayVerb::kShiftClick, "wwwn", "shiftclick FORM MATRIX COLUMN ROW"},
    {"doubleclick", PlayVerb::kDoubleClick, "ww?wn", "doubleclick FORM ITEM [COLUMN ROW]"},
    {"type", PlayVerb::kType, "wwt", "type FORM ITEM TEXT"},
    {"cell", PlayVerb::kCell, "wwwnt", "cell FORM MATRIX COLUMN ROW TEXT"},
    {"key", PlayVerb::kKey, "wwn", "key FORM ITEM CODE"},
    {"tab", PlayVerb::kTab, "w", "tab FORM"},
    {"backtab", PlayVerb::kBackTab, "w", "backtab FORM"},
    {"validate", PlayVerb::kValidate, "ww", "validate FORM ITEM"},
    {"choose", PlayVerb::kChoose, "wwt", "choose FORM ITEM KEY"},
    {"rightclick", PlayVerb::kRightClick, "w?w", "rightclick FORM [ITEM]"},
    {"formdata", PlayVerb::kFormData, "www", "formdata FORM TYPE KEY"},
    {"answer", PlayVerb::kAnswer, "n", "answer BUTTON"},
    {"language", PlayVerb::kLanguage, "l", "language LANGUAGE"},
    {"company", PlayVerb::kCompany, "t", "company FILE"},
    {"shutdown", PlayVerb::kShutDown, "", "shutdown"},
    {"terminate", PlayVerb::kTerminate, "", "terminate"},
    {"status", PlayVerb::kStatus, "t", "status TEXT"},
    {"progress", PlayVerb::kProgress, "", "progress"},
    {"printout", PlayVerb::kPrintOut, "w", "printout FORM"},
    {"report", PlayVerb::kReport, "w", "report FORM"},
    {"print", PlayVerb::kPrint, "p?w", "print menus|forms|form FORM|status|boxes"},
    {"draw", PlayVerb::kDraw, "w", "draw FORM"},
    {"say", PlayVerb::kSay, "t", "say TEXT"},
    {"start", PlayVerb::kStart, "", "start"},
};

constexpr std::string_view kPrintable[] = {"menus", "forms", "form", "status", "boxes"};

// A script is written by hand. A longer file is something else.
constexpr std::uintmax_t kLargestScript = std::uintmax_t{16} << 20;

// A carriage return counts, so that scripts with CR LF are read alike.
bool isBlank(char byte) { return byte == ' ' || byte == '\t' || byte == '\r'; }

// Takes a line apart from left to right.
class Line {
 public:
  Line(std::string_view text, int number, std::string_view file)
      : text_(text), number_(number), file_(file) {
    while (!text_.empty() && isBlank(text_.back())) text_.remove_suffix(1);
  }

  bool atEnd() {
    while (at_ < text_.size() && isBlank(text_[at_])) ++at_;
    return at_ == text_.size();
  }
  std::string_view word() {
    atEnd();  // skips blanks
    start_ = at_;
    while (at_ < text_.size() && !isBlank(text_[at_])) ++at_;
    return text_.substr(start_, at_ - start_);
  }
  std::string_view rest() {
    atEnd();
    start_ = at_;
    at_ = text_.size();
    return text_.substr(start_);
  }
  // Throws, with the column of the word that was taken last.
  [[noreturn]] void fail(const std::string& sentence) const {
    throw PlayScriptError(std::string(file_) + ":" + std::to_string(number_) + ":" +
                          std::to_string(start_ + 1) + ": " + sentence);
  }
  int number() const { return number_; }

 private:
  std::string_view text_;
  int number_;
  std::string_view file_;
  std::size_t at_ = 0;
  std::size_t start_ = 0;
};

const Command& commandOf(Line& line) {
  const std::string_view name = line.word();
  for (const Command& command : kCommands) {
    if (command.name == name) return command;
  }
  std::string known;
  for (const Command& command : kCommands) {
    known += (known.empty() ? "" : ", ") + std::string(command.name);
  }
  line.fail("unknown action \"" + std::string(name) + "\"; the actions are " + known);
}

long readNumber(const Line& line, std::string_view word) {
  const auto value = decimalNumber(toUtf16(word));
  if (!value || *value < 0) line.fail("\"" + std::string(word) + "\" is not a whole number from 0");
  return *value;
}

long readLanguage(const Line& line, std::string_view word) {
  const HvLanguages language = desk::languageFromText(toUtf16(word));
  if (language == 0) line.fail("unknown language \"" + std::string(word) + "\"");
  return language;
}

void checkPrintable(const Line& line, std::string_view word) {
  for (const std::string_view known : kPrintable) {
    if (known == word) return;
  }
  line.fail("cannot print \"" + std::string(word) +
            "\"; print menus, forms, form, status or boxes");
}

void readArgument(Line& line, char shape, const Command& command, PlayStep& step) {
  const std::string_view word = shape == 't' ? line.rest() : line.word();
  // A missing word is at the end of the line; the message names the whole command there.
  if (word.empty() && shape != 't') line.fail("write: " + std::string(command.usage));
  if (shape == 'n') {
    step.number = readNumber(line, word);
  } else if (shape == 'l') {
    step.number = readLanguage(line, word);
  } else {
    if (shape == 'p') checkPrintable(line, word);
    step.words.push_back(toUtf16(word));
  }
}

// Checks what the shapes cannot express.
void checkStep(const Line& line, const Command& command, const PlayStep& step) {
  const bool isAnswer = step.verb == PlayVerb::kAnswer;
  if (isAnswer && (step.number < 1 || step.number > 3)) line.fail("a box has buttons 1 to 3");
  const bool isKey = step.verb == PlayVerb::kKey;
  if (isKey && (step.number < 1 || step.number > 0xFFFF)) line.fail("a key is 1 to 65535");
  const bool needsText = step.verb == PlayVerb::kCompany || step.verb == PlayVerb::kChoose;
  const bool printsForm = step.verb == PlayVerb::kPrint && step.words[0] == u"form";
  if ((needsText && step.words.back().empty()) || (printsForm && step.words.size() < 2)) {
    line.fail("write: " + std::string(command.usage));
  }
}

PlayStep parseStep(Line& line) {
  const Command& command = commandOf(line);
  PlayStep step;
  // The first fault from the left is reported; a script is read as a whole before it is played.
  step.verb = command.verb;
  step.line = line.number();
  for (const char shape : command.shape) {
    if (shape == '?') {
      if (line.atEnd()) break;
      continue;
    }
    readArgument(line, shape, command, step);
  }
  checkStep(line, command, step);
  if (!line.atEnd()) {
    const std::string extra(line.word());
    line.fail("unexpected \"" + extra + "\"; write: " + std::string(command.usage));
  }
  return step;
}

}  // namespace

std::vector<PlayStep> parsePlayScript(std::string_view text, std::string_view file) {
  std::vector<PlayStep> steps;
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);  // a byte order mark
  for (int number = 1; !text.empty(); ++number) {
    const std::size_t end = text.find('\n');
    Line line(text.substr(0, end), number, file);
    Line ahead = line;  // a copy, so that the step is read from the beginning of the line
    if (!ahead.atEnd() && !ahead.word().starts_with('#')) steps.push_back(parseStep(line));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return steps;
}

// Looked at before it is opened: opening a pipe would wait for its other end.
std::vector<PlayStep> readPlayScript(const std::string& path) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    throw PlayScriptError(path + ": it is not a plain file; give a file with the script");
  }
  if (std::filesystem::file_size(path, error) > kLargestScript && !error) {
    throw PlayScriptError(path + ": the file is larger than 16 MiB; divide it");
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) throw PlayScriptError(path + ": the file cannot be read");
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  if (file.bad()) throw PlayScriptError(path + ": the file cannot be read");
  return parsePlayScript(text, path);
}

}  // namespace qx::screens
