#include "tests/media/payload_table.h"

#include "qxframework/automation/text.h"

#include <fstream>
#include <stdexcept>

namespace qx::test {

namespace {

constexpr std::string_view kOutcomes = "art-";

// Takes what precedes `end` from the text, and `end` itself.
std::string_view take(std::string_view& text, char end) {
  const std::size_t length = text.find(end);
  if (length == std::string_view::npos) throw std::runtime_error("an abbreviation does not end");
  const std::string_view part = text.substr(0, length);
  text.remove_prefix(length + 1);
  return part;
}

// Appends `text` with the numbers of its copy.
void appendNumbered(std::string& all, std::string_view text, int number) {
  for (std::size_t sign = text.find('#'); sign != std::string_view::npos; sign = text.find('#')) {
    const bool before = text.substr(sign).starts_with("##");
    all.append(text.substr(0, sign)).append(std::to_string(before ? number - 1 : number));
    text.remove_prefix(sign + (before ? 2 : 1));
  }
  all.append(text);
}

// The copied text may have characters by number in it, whose braces are closed before its own.
std::string_view takeCopied(std::string_view& text) {
  int open = 1;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '{') ++open;
    if (text[i] != '}' || --open > 0) continue;
    const std::string_view part = text.substr(0, i);
    text.remove_prefix(i + 1);
    return part;
  }
  throw std::runtime_error("a repetition does not end");
}

std::u16string repeated(std::string_view& text, std::string_view folder) {
  const int count = std::stoi(std::string(take(text, '|')));
  const std::string_view copied = takeCopied(text);
  std::string all;
  for (int i = 1; i <= count; ++i) appendNumbered(all, copied, i);
  return writtenOut(all, folder);
}

// Any unit, also half of a character and zero, which no file of text can hold.
char16_t unit(std::string_view hexadecimal) {
  return static_cast<char16_t>(std::stoi(std::string(hexadecimal), nullptr, 16));
}

bool skip(std::string_view& text, std::string_view start) {
  if (!text.starts_with(start)) return false;
  text.remove_prefix(start.size());
  return true;
}

}  // namespace

std::u16string writtenOut(std::string_view line, std::string_view folder) {
  std::u16string result;
  while (!line.empty()) {
    const std::size_t plain = std::min(line.find('@'), line.size());
    result += toUtf16(line.substr(0, plain));
    line.remove_prefix(plain);
    if (skip(line, "@{")) {
      result += repeated(line, folder);
    } else if (skip(line, "@u{")) {
      result += unit(take(line, '}'));
    } else if (skip(line, "@dir")) {
      result += toUtf16(folder);
    } else if (skip(line, "@")) {
      result += u'@';
    }
  }
  return result;
}

std::vector<Payload> readPayloads(const std::filesystem::path& file, std::string_view folder) {
  std::ifstream stream(file);
  if (!stream) throw std::runtime_error(file.string() + " cannot be read");
  std::vector<Payload> payloads;
  int number = 0;
  for (std::string line; std::getline(stream, line);) {
    ++number;
    const bool known = line.size() > 3 && line[2] == ' ' &&
                       kOutcomes.find(line[0]) != std::string_view::npos &&
                       kOutcomes.find(line[1]) != std::string_view::npos;
    if (!known) {
      throw std::runtime_error(file.string() + ":" + std::to_string(number) +
                               ": two outcomes, a blank and a statement are expected");
    }
    payloads.push_back({number, Outcome{line[0]}, Outcome{line[1]},
                        writtenOut(std::string_view(line).substr(3), folder)});
  }
  return payloads;
}

}  // namespace qx::test
