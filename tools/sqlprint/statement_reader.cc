#include "tools/sqlprint/statement_reader.h"

#include "qxframework/automation/text.h"

#include <limits>

namespace qx::sqlprint {
namespace {

// Returns the keys that a statement of the kind may have.
std::vector<std::string_view> keysOf(Kind kind) {
  switch (kind) {
    case Kind::select:
      return {"table",  "user-table", "as",   "keys",  "keys-only",
              "fields", "where",      "sort", "limit", "join"};
    case Kind::load:
      return {"table", "user-table", "as", "fields", "where", "join"};
    case Kind::insert:
      return {"table", "user-table", "next-code", "values"};
    case Kind::update:
      return {"table", "user-table", "as", "keys", "fields", "where", "key-values", "values"};
    case Kind::remove:
      return {"table", "user-table", "where"};
    case Kind::chooseList:
      return {"table", "user-table", "fields", "where"};
  }
  return {};
}

class StatementReader {
 public:
  StatementReader(const NodeReader& nodes, const toml::table& table, Kind kind)
      : nodes_(nodes), table_(table), what_("[" + std::string(nameOf(kind)) + "]") {
    statement_.kind = kind;
    statement_.place = nodes.at(table.source());
  }

  Statement read() {
    nodes_.checkKeys(table_, what_, keysOf(statement_.kind));
    readTable();
    if (statement_.kind == Kind::chooseList) {
      readChooseList();
    } else {
      readQuery();
      readValues();
    }
    return std::move(statement_);
  }

 private:
  const toml::node* find(std::string_view key) const { return table_.get(key); }
  const toml::node& need(std::string_view key, std::string_view example) const {
    return nodes_.need(table_, what_, key, example);
  }

  void readTable() {
    statement_.table = nodes_.nonEmptyText(need("table", "table = \"@ORDERS\""), "table");
    statement_.userTable = readUserTable(nodes_, table_, statement_.table);
  }

  // Reads all keys of queries: checkKeys has refused those that the kind does not have.
  void readQuery() {
    if (const toml::node* node = find("as")) statement_.as = nodes_.nonEmptyText(*node, "as");
    if (const toml::node* node = find("keys")) statement_.keys = nodes_.names(*node, "keys");
    if (const toml::node* node = find("keys-only"))
      statement_.keysOnly = nodes_.flag(*node, "keys-only");
    if (const toml::node* node = find("fields")) statement_.fields = nodes_.names(*node, "fields");
    if (const toml::node* node = find("where")) statement_.where = readConditions(nodes_, *node);
    if (const toml::node* node = find("sort")) readSort(*node);
    if (const toml::node* node = find("limit")) readLimit(*node);
    if (const toml::node* node = find("join")) statement_.joins = readJoins(nodes_, *node);
  }

  void readSort(const toml::node& node) {
    for (const toml::node& entry : nodes_.list(node, "sort"))
      statement_.sort.push_back(entry.is_string() ? shortSortField(entry) : longSortField(entry));
  }

  SortField shortSortField(const toml::node& entry) const {
    std::u16string name = nodes_.nonEmptyText(entry, "sort");
    const bool descending = name.front() == u'-';
    if (descending) name.erase(0, 1);
    if (name.empty())
      nodes_.refuse(entry.source(), "'sort' has a '-' without a name", "write \"-Code\"");
    return {std::move(name), descending};
  }

  SortField longSortField(const toml::node& entry) const {
    const char* const what = "a sort field";
    if (!entry.is_table())
      nodes_.refuse(entry.source(), "'sort' holds what is neither a text nor a table",
                    "write \"Code\", \"-Code\" or { field = \"Code\", descending = true }");
    const toml::table& table = *entry.as_table();
    nodes_.checkKeys(table, what, {"field", "descending"});
    SortField field;
    field.field =
        nodes_.nonEmptyText(nodes_.need(table, what, "field", "field = \"Code\""), "field");
    if (const toml::node* node = table.get("descending"))
      field.descending = nodes_.flag(*node, "descending");
    return field;
  }

  void readLimit(const toml::node& node) {
    using Limits = std::numeric_limits<std::int32_t>;
    // A limit of 0 is left to the layer, which has a text for its refusal.
    statement_.limit =
        Limit{nodes_.at(node.source()), nodes_.number(node, "limit", Limits::min(), Limits::max())};
  }

  void readValues() {
    if (statement_.kind != Kind::insert && statement_.kind != Kind::update) return;
    statement_.values = namedValues(need("values", "values = { U_Total = 12.5 }"), "values");
    if (statement_.kind == Kind::insert) return readNextCode();
    // An update has a key instead: by conditions or by values.
    const toml::node* const keyValues = find("key-values");
    if (keyValues == nullptr) return;
    if (statement_.where && !statement_.where->empty())
      nodes_.refuse(keyValues->source(), "[update] has both 'where' and 'key-values'",
                    "leave one of them out: with conditions the layer reads no key values");
    statement_.keyValues = namedValues(*keyValues, "key-values");
  }

  NamedValues namedValues(const toml::node& node, std::string_view name) const {
    NamedValues values;
    for (const auto& [key, value] : inOrder(nodes_.table(node, name)))
      values.emplace_back(nodes_.columnName(*key), nodes_.value(*value, key->str()));
    return values;
  }

  // The code must have the form of those that the layer generates.
  void readNextCode() {
    const toml::node* const node = find("next-code");
    if (!statement_.userTable) {
      if (node == nullptr) return;
      nodes_.refuse(node->source(), "'next-code' is for user tables only",
                    "leave it out or add user-table = true");
    }
    if (node == nullptr)
      nodes_.refuse(table_.source(), what_ + " of a user table has no 'next-code'",
                    "add next-code = \"00000001\": the layer asks the database for it");
    statement_.nextCode = nodes_.text(*node, "next-code");
    if (statement_.nextCode.size() != 8 ||
        statement_.nextCode.find_first_not_of(u"0123456789ABCDEF") != std::u16string::npos)
      nodes_.refuse(node->source(), "'next-code' is no code of a user table",
                    "write eight hexadecimal digits in upper case, like \"0000001F\"");
  }

  void readChooseList() {
    if (const toml::node* node = find("fields")) {
      for (const auto& [key, title] : inOrder(nodes_.table(*node, "fields")))
        statement_.titles.emplace_back(nodes_.columnName(*key), nodes_.text(*title, key->str()));
    }
    if (const toml::node* node = find("where")) statement_.whereText = nodes_.text(*node, "where");
  }

  const NodeReader& nodes_;
  const toml::table& table_;
  std::string what_;
  Statement statement_;
};

}  // namespace

Statement readStatement(const NodeReader& nodes, Kind kind, const toml::table& table) {
  return StatementReader(nodes, table, kind).read();
}

}  // namespace qx::sqlprint
