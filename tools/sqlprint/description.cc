#include "tools/sqlprint/description.h"

#include "tools/sqlprint/statement_reader.h"
#include "tools/sqlprint/statement_warnings.h"

#include <algorithm>

namespace qx::sqlprint {
namespace {

struct NamedKind {
  const char* name;
  Kind kind;
};

constexpr NamedKind kKinds[] = {{"select", Kind::select}, {"load", Kind::load},
                                {"insert", Kind::insert}, {"update", Kind::update},
                                {"delete", Kind::remove}, {"choose-list", Kind::chooseList}};

// The table of a statement. Its only name is that of the kind.
struct Entry {
  Kind kind;
  const toml::table* table;
};

class DescriptionReader {
 public:
  explicit DescriptionReader(const std::string& file) : nodes_(file) {}

  Description read(const toml::table& root) {
    std::vector<std::string_view> known;
    for (const NamedKind& each : kKinds) known.emplace_back(each.name);
    nodes_.checkKeys(root, "the file", known);
    Description description;
    for (const Entry& entry : entriesOf(root)) {
      Statement statement = readStatement(nodes_, entry.kind, *entry.table);
      for (std::string& warning : warningsOf(nodes_, *entry.table, statement))
        description.warnings.push_back(std::move(warning));
      description.statements.push_back(std::move(statement));
    }
    if (description.statements.empty())
      nodes_.refuse(root.source(), "the file has no statement",
                    "write one, like [select]; qxdesk sql --example prints a whole file");
    return description;
  }

 private:
  // Returns the tables of all statements in the order of the file. A kind has one table or a list.
  std::vector<Entry> entriesOf(const toml::table& root) const {
    std::vector<Entry> entries;
    for (const NamedKind& each : kKinds) {
      const toml::node* const node = root.get(each.name);
      if (node == nullptr) continue;
      if (const toml::array* const list = node->as_array()) {
        for (const toml::node& entry : *list)
          entries.push_back({each.kind, &nodes_.table(entry, each.name)});
      } else {
        entries.push_back({each.kind, &nodes_.table(*node, each.name)});
      }
    }
    // The parser keeps tables by name; their places give back the order.
    std::stable_sort(entries.begin(), entries.end(), [](const Entry& a, const Entry& b) {
      return a.table->source().begin < b.table->source().begin;
    });
    return entries;
  }

  NodeReader nodes_;
};

}  // namespace

const char* nameOf(Kind kind) {
  for (const NamedKind& each : kKinds)
    if (each.kind == kind) return each.name;
  return "";
}

Description readDescription(const std::string& file, const std::string& content) {
  return DescriptionReader(file).read(parseToml(file, content));
}

}  // namespace qx::sqlprint
