#include "tools/formcheck/finding.h"

#include "qxframework/automation/text.h"
#include "tools/input/shown.h"

#include <algorithm>

namespace qx::formcheck {
namespace {

// A longer text would hide the sentence around it.
constexpr std::size_t kLongestQuote = 60;

bool isHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit < 0xDC00; }

std::string shortened(std::u16string_view text) {
  if (text.size() <= kLongestQuote) return input::shown(toUtf8(text));
  const std::size_t end = kLongestQuote - (isHighSurrogate(text[kLongestQuote - 1]) ? 1 : 0);
  return input::shown(toUtf8(text.substr(0, end))) + "…";
}

}  // namespace

std::vector<Finding> Findings::sorted() const {
  std::vector<Finding> out = all_;
  std::stable_sort(out.begin(), out.end(),
                   [](const Finding& a, const Finding& b) { return a.place < b.place; });
  return out;
}

std::string messageOf(const std::string& file, const Finding& finding) {
  return file + ":" + std::to_string(finding.place.line) + ":" +
         std::to_string(finding.place.column) +
         (finding.severity == Severity::error ? ": error: " : ": note: ") + finding.text + "\n";
}

std::string quoted(std::u16string_view text) { return "'" + shortened(text) + "'"; }

std::string bracketed(std::u16string_view name) { return "<" + shortened(name) + ">"; }

}  // namespace qx::formcheck
