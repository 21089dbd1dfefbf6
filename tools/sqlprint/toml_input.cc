#include "tools/sqlprint/toml_input.h"

#include "qxframework/automation/ole_date_time.h"
#include "qxframework/automation/text.h"
#include "tools/input/utf8.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

namespace qx::sqlprint {
namespace {

using input::Diagnostic;

constexpr int kMostKeyParts = 16;

// Throws a Diagnostic with the place of the first character that is no UTF-8.
void checkUtf8(const std::string& file, std::string_view content) {
  std::size_t line = 1;
  for (std::size_t start = 0; start <= content.size(); ++line) {
    const std::size_t end = std::min(content.find('\n', start), content.size());
    input::convertUtf8(content.substr(start, end - start), {file, line, 1});
    start = end + 1;
  }
}

// Searches a document for keys of very many parts: the parser would nest a table for each part and
// overflow the stack. Skips strings and comments.
class KeyDepthCheck {
 public:
  KeyDepthCheck(const std::string& file, std::string_view content)
      : file_(file), content_(content) {}

  void run() {
    while (position_ < content_.size()) step();
  }

 private:
  void step() {
    const char unit = content_[position_];
    if (unit == '#') return skipTo(content_.find('\n', position_));
    if (unit == '"' || unit == '\'') return skipString(unit);
    if (unit == '.') countPoint();
    // These end a key. The point of a number is counted, too, which does no harm.
    if (std::string_view("=,[]{}\n").find(unit) != std::string_view::npos) points_ = 0;
    ++position_;
  }

  void countPoint() {
    if (++points_ < kMostKeyParts) return;
    const std::size_t start = content_.rfind('\n', position_) + 1;  // 0 on the first line
    const auto line = static_cast<std::size_t>(
        std::count(content_.begin(), content_.begin() + static_cast<std::ptrdiff_t>(start), '\n'));
    const std::size_t column = input::codePointCount(content_.substr(start, position_ - start)) + 1;
    throw Diagnostic({file_, line + 1, column},
                     "a key has more than " + std::to_string(kMostKeyParts) + " parts",
                     "put a name that holds points in double quotes");
  }

  void skipString(char quote) {
    const std::string three(3, quote);
    const bool isLong = content_.substr(position_, 3) == three;
    const std::string_view end = std::string_view(three).substr(0, isLong ? 3 : 1);
    for (position_ += end.size(); position_ < content_.size(); ++position_) {
      if (content_.substr(position_, end.size()) == end) {
        // A long string may have quotes of its own directly before its end.
        const std::size_t last = content_.find_first_not_of(quote, position_);
        return skipTo(isLong ? std::min(last, position_ + 5) : position_ + 1);
      }
      // An unfinished string: the parser refuses it with its place.
      if (!isLong && content_[position_] == '\n') return;
      if (quote == '"' && content_[position_] == '\\') ++position_;
    }
  }

  void skipTo(std::size_t position) { position_ = std::min(position, content_.size()); }

  const std::string& file_;
  std::string_view content_;
  std::size_t position_ = 0;
  int points_ = 0;
};

const char* kindOf(const toml::node& node) {
  switch (node.type()) {
    case toml::node_type::table:
      return "a table";
    case toml::node_type::array:
      return "a list";
    case toml::node_type::string:
      return "a text";
    case toml::node_type::integer:
      return "a whole number";
    case toml::node_type::floating_point:
      return "a number with a point";
    case toml::node_type::boolean:
      return "true or false";
    case toml::node_type::date:
      return "a date";
    case toml::node_type::time:
      return "a time of day";
    default:
      return "a date and time";
  }
}

std::string joinedNames(const std::vector<std::string_view>& names) {
  std::string all;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) all += i + 1 == names.size() ? " or " : ", ";
    all += names[i];
  }
  return all;
}

}  // namespace

toml::table parseToml(const std::string& file, const std::string& content) {
  checkUtf8(file, content);
  KeyDepthCheck(file, content).run();
  try {
    return toml::parse(std::string_view(content), std::string_view(file));
  } catch (const toml::parse_error& error) {
    const toml::source_position& begin = error.source().begin;
    throw Diagnostic({file, begin.line, begin.column}, std::string(error.description()),
                     "correct the TOML; texts are in double quotes, a table { … } on one line");
  }
}

std::vector<std::pair<const toml::key*, const toml::node*>> inOrder(const toml::table& table) {
  std::vector<std::pair<const toml::key*, const toml::node*>> entries;
  for (const auto& [key, node] : table) entries.emplace_back(&key, &node);
  std::stable_sort(entries.begin(), entries.end(), [](const auto& a, const auto& b) {
    return a.first->source().begin < b.first->source().begin;
  });
  return entries;
}

std::string quoted(std::string_view name) { return "'" + shown(name) + "'"; }

void NodeReader::refuseType(const toml::node& node, std::string_view name,
                            const std::string& remedy) const {
  refuse(node.source(), quoted(name) + " is " + kindOf(node), remedy);
}

const toml::table& NodeReader::table(const toml::node& node, std::string_view name) const {
  if (const toml::table* found = node.as_table()) return *found;
  refuseType(node, name, "write a table: { key = value, … }");
}

const toml::array& NodeReader::list(const toml::node& node, std::string_view name) const {
  if (const toml::array* found = node.as_array()) return *found;
  refuseType(node, name, "write a list: [ …, … ]");
}

std::u16string NodeReader::utf16(std::string_view text, const toml::source_region& source,
                                 std::string_view name) const {
  if (text.find('\0') != std::string_view::npos)
    refuse(source, quoted(name) + " holds the character zero", "leave it out");
  return toUtf16(text);
}

std::u16string NodeReader::text(const toml::node& node, std::string_view name) const {
  // Exact reads throughout: the parser would convert 1 into true, and 1.0 into 1.
  const auto found = node.value_exact<std::string>();
  if (!found) refuseType(node, name, "write a text in double quotes");
  return utf16(*found, node.source(), name);
}

std::u16string NodeReader::nonEmptyText(const toml::node& node, std::string_view name) const {
  std::u16string found = text(node, name);
  if (found.empty())
    refuse(node.source(), quoted(name) + " is empty", "write a name or leave it out");
  return found;
}

std::vector<std::u16string> NodeReader::names(const toml::node& node, std::string_view name) const {
  std::vector<std::u16string> found;
  for (const toml::node& entry : list(node, name)) found.push_back(nonEmptyText(entry, name));
  return found;
}

bool NodeReader::flag(const toml::node& node, std::string_view name) const {
  if (const auto found = node.value_exact<bool>()) return *found;
  refuseType(node, name, "write true or false without quotes");
}

long NodeReader::number(const toml::node& node, std::string_view name, long least,
                        long most) const {
  const std::string remedy =
      "write a whole number from " + std::to_string(least) + " to " + std::to_string(most);
  const auto found = node.value_exact<std::int64_t>();
  if (!found) refuseType(node, name, remedy);
  if (*found < least || *found > most)
    refuse(node.source(), quoted(name) + " is out of range", remedy);
  return static_cast<long>(*found);
}

CComVariant NodeReader::value(const toml::node& node, std::string_view name) const {
  using Limits = std::numeric_limits<std::int32_t>;
  if (node.is_string()) return CComVariant(std::u16string_view(text(node, name)));
  // A VT_I4, the whole number of the layer.
  if (node.is_integer()) return CComVariant(number(node, name, Limits::min(), Limits::max()));
  if (const auto found = node.value_exact<double>()) {
    if (!std::isfinite(*found))
      refuse(node.source(), quoted(name) + " is not a finite number", "write a number like 12.5");
    return CComVariant(*found);
  }
  if (node.is_date() || node.is_date_time()) return date(node, name);
  refuseType(node, name, "write a text, a number or a date");
}

CComVariant NodeReader::date(const toml::node& node, std::string_view name) const {
  toml::date day{};
  toml::time time{};
  if (const auto only = node.value_exact<toml::date>()) day = *only;
  if (const auto both = node.value_exact<toml::date_time>()) {
    if (both->offset)
      refuse(node.source(), quoted(name) + " has a time zone",
             "leave it out: dates here have none");
    day = both->date;
    time = both->time;
  }
  // The layer's texts of dates have whole seconds at most.
  if (time.nanosecond != 0)
    refuse(node.source(), quoted(name) + " has a fraction of a second", "write whole seconds");
  const std::optional<DATE> found =
      dateFromCivil({day.year, day.month, day.day, time.hour, time.minute, time.second});
  if (!found)
    refuse(node.source(), quoted(name) + " is no date", "write one of the years 100 to 9999");
  return CComVariant(*found, VT_DATE);
}

std::u16string NodeReader::columnName(const toml::key& key) const {
  if (key.str().empty()) refuse(key.source(), "a column has no name", "write its name");
  return utf16(key.str(), key.source(), key.str());
}

void NodeReader::checkKeys(const toml::table& table, std::string_view what,
                           const std::vector<std::string_view>& known) const {
  for (const auto& [key, node] : inOrder(table))
    if (std::find(known.begin(), known.end(), key->str()) == known.end())
      refuse(key->source(), "unknown key " + quoted(key->str()) + " in " + std::string(what),
             "use " + joinedNames(known));
}

const toml::node& NodeReader::need(const toml::table& table, std::string_view what,
                                   std::string_view key, std::string_view example) const {
  if (const toml::node* found = table.get(key)) return *found;
  refuse(table.source(), std::string(what) + " has no " + quoted(key),
         "add " + std::string(example));
}

}  // namespace qx::sqlprint
