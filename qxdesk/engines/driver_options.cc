#include "qxdesk/engines/driver_options.h"

#include "qxdesk/engines/table_layout.h"

#include <algorithm>
#include <optional>

namespace qx::desk {

namespace {

struct Option {
  std::string_view name;
  std::string_view value;
  /// The value that the driver reports for an option that was not set, if it means the same.
  std::string_view unset = {};
  /// True if the driver reports the option only when it is set.
  bool quiet = false;
};

constexpr Option kOptions[] = {
    // Only the failed statement is undone. With the other values a failure either undoes the
    // whole transaction so far, silently, so that the rest is committed without its beginning, or
    // leaves a transaction in which nothing works any more.
    {"Protocol", "7.4-2", "7.4"},
    // Line feeds in texts are not rewritten to CR LF.
    {"LFConversion", "0"},
    // The types of columns, from which the types of their values follow.
    {"BI", "0"},
    {"D6", "-101"},  // NumericAs
    {"BoolsAsChar", "1"},
    {"TrueIsMinus1", "0"},
    {"TextAsLongVarchar", "1"},
    {"UnknownsAsLongVarchar", "0"},
    {"UnknownSizes", "0"},
    {"MaxVarcharSize", "255"},
    {"MaxLongVarcharSize", "8190"},
    // A function that returns a cursor returns the cursor and not its rows.
    {"FetchRefcursors", "0"},
    // The server alone parses statements; the driver keeps its hands off them.
    {"Parse", "0"},
    {"UseServerSidePrepare", "1"},
    // Otherwise the driver reports another product's name, or a short list of its options.
    {"AB", "0", {}, true},
};

constexpr Option kReadOnly{"ReadOnly", "0", {}, true};

// If a key occurs twice, the driver obeys the last one. A password may contain "=", so only the
// first one of a part separates key and value.
std::optional<std::string_view> valueOf(std::string_view connection, std::string_view name) {
  std::optional<std::string_view> value;
  while (!connection.empty()) {
    const std::size_t end = std::min(connection.find(';'), connection.size());
    const std::string_view part = connection.substr(0, end);
    const std::size_t equals = part.find('=');
    if (equals != std::string_view::npos && sameName(part.substr(0, equals), name)) {
      value = part.substr(equals + 1);
    }
    connection.remove_prefix(std::min(end + 1, connection.size()));
  }
  return value;
}

bool isRight(const Option& option, std::string_view completed) {
  const std::optional<std::string_view> value = valueOf(completed, option.name);
  // A short list lacks most options. What cannot be seen is set, which does no harm.
  if (!value) return option.quiet;
  return *value == option.value || (!option.unset.empty() && *value == option.unset);
}

}  // namespace

std::string correctedOptions(std::string_view completed) {
  std::string more;
  const auto correct = [&](const Option& option) {
    if (isRight(option, completed)) return;
    more += ';';
    more += option.name;
    more += '=';
    more += option.value;
  };
  for (const Option& option : kOptions) correct(option);
  correct(kReadOnly);
  return more;
}

bool asksForReadOnly(std::string_view completed) { return !isRight(kReadOnly, completed); }

}  // namespace qx::desk
