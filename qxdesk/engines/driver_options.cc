#include "qxdesk/engines/driver_options.h"

#include <algorithm>
#include <optional>

namespace qx::desk {

namespace {

struct Option {
  std::string_view name;
  std::string_view value;
  /// What the driver tells when the option is not given and that means the same.
  std::string_view unset = {};
  /// An option of which the driver tells only when it is set.
  bool quiet = false;
};

constexpr Option kOptions[] = {
    // A statement that fails is undone alone. Otherwise it would undo what stands before it in
    // the transaction, unseen, so that the rest is committed without its beginning; or nothing.
    {"Protocol", "7.4-2", "7.4"},
    // Line feeds of texts stay what they are.
    {"LFConversion", "0"},
    // The types of columns, by which their values are told.
    {"BI", "0"},
    {"D6", "-101"},  // NumericAs
    {"BoolsAsChar", "1"},
    {"TrueIsMinus1", "0"},
    {"TextAsLongVarchar", "1"},
    {"UnknownsAsLongVarchar", "0"},
    {"UnknownSizes", "0"},
    {"MaxVarcharSize", "255"},
    {"MaxLongVarcharSize", "8190"},
    // The rows of a statement are those that the server sends for it.
    {"FetchRefcursors", "0"},
    // Statements are understood by the server alone.
    {"Parse", "0"},
    {"UseServerSidePrepare", "1"},
    // Neither the name of another server nor a shortened account.
    {"AB", "0", {}, true},
};

constexpr Option kReadOnly{"ReadOnly", "0", {}, true};

bool sameKey(std::string_view one, std::string_view other) {
  const auto lower = [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  };
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [&](char a, char b) { return lower(a) == lower(b); });
}

// The last one, as the driver reads it.
std::optional<std::string_view> valueOf(std::string_view connection, std::string_view name) {
  std::optional<std::string_view> value;
  while (!connection.empty()) {
    const std::size_t end = std::min(connection.find(';'), connection.size());
    const std::string_view part = connection.substr(0, end);
    const std::size_t equals = part.find('=');
    if (equals != std::string_view::npos && sameKey(part.substr(0, equals), name)) {
      value = part.substr(equals + 1);
    }
    connection.remove_prefix(std::min(end + 1, connection.size()));
  }
  return value;
}

bool isRight(const Option& option, std::string_view completed) {
  const std::optional<std::string_view> value = valueOf(completed, option.name);
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
