#pragma once

// The TOML of a description: parsing, with checks that the parser lacks, and typed reads of nodes.
// Wrong input throws a Diagnostic with its place.

#include "qxframework/automation/variant.h"
#include "tools/input/diagnostic.h"
#include "tools/input/shown.h"

#include <toml++/toml.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx::sqlprint {

/// Parses a description. `file` is its name in messages.
toml::table parseToml(const std::string& file, const std::string& content);

/// Returns the entries of a table in the order of the file; the table itself sorts them by name.
std::vector<std::pair<const toml::key*, const toml::node*>> inOrder(const toml::table& table);

/// A quoted name may contain control characters, which must not reach the terminal.
using input::shown;
/// Returns a name in the file for a message, shown in single quotes.
std::string quoted(std::string_view name);

/// Typed reads of nodes. `name` is the name of the value in the file.
class NodeReader {
 public:
  explicit NodeReader(std::string file) : file_(std::move(file)) {}

  input::Location at(const toml::source_region& source) const {
    return {file_, source.begin.line, source.begin.column};
  }
  [[noreturn]] void refuse(const toml::source_region& source, const std::string& problem,
                           const std::string& remedy) const {
    throw input::Diagnostic(at(source), problem, remedy);
  }

  const toml::table& table(const toml::node& node, std::string_view name) const;
  const toml::array& list(const toml::node& node, std::string_view name) const;
  /// Refuses a text with a zero: names end there, and so do statements on their way to a server.
  std::u16string text(const toml::node& node, std::string_view name) const;
  std::u16string nonEmptyText(const toml::node& node, std::string_view name) const;
  std::vector<std::u16string> names(const toml::node& node, std::string_view name) const;
  bool flag(const toml::node& node, std::string_view name) const;
  long number(const toml::node& node, std::string_view name, long least, long most) const;
  /// Returns a text, a number or a date as the layer's type.
  CComVariant value(const toml::node& node, std::string_view name) const;
  /// Returns a key as the name of a column.
  std::u16string columnName(const toml::key& key) const;

  /// Refuses keys other than `known`. `what` is the table's name in messages.
  void checkKeys(const toml::table& table, std::string_view what,
                 const std::vector<std::string_view>& known) const;
  /// Refuses a table without `key`; `example` is the line to add.
  const toml::node& need(const toml::table& table, std::string_view what, std::string_view key,
                         std::string_view example) const;

 private:
  [[noreturn]] void refuseType(const toml::node& node, std::string_view name,
                               const std::string& remedy) const;
  std::u16string utf16(std::string_view text, const toml::source_region& source,
                       std::string_view name) const;
  CComVariant date(const toml::node& node, std::string_view name) const;

  std::string file_;
};

}  // namespace qx::sqlprint
