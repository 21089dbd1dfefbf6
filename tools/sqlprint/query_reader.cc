// The parts of a query: conditions and joins.

#include "qxframework/automation/text.h"
#include "tools/sqlprint/statement_reader.h"

namespace qx::sqlprint {
namespace {

// Far above any need. A number like 10^9 would make a statement of gigabytes.
constexpr long kMostBrackets = 100;

template <class Value>
struct Word {
  const char* word;
  Value value;
};

constexpr Word<Persistence::HvConditionOperation> kOperations[] = {
    {"=", Persistence::co_Equal},           {"<>", Persistence::co_NotEqual},
    {">", Persistence::co_Greater},         {"<", Persistence::co_Less},
    {">=", Persistence::co_GreaterOrEqual}, {"<=", Persistence::co_LessOrEqual},
    {"like", Persistence::co_Like}};

constexpr Word<Persistence::etTABLE_JOIN_MODE> kJoinModes[] = {
    {"inner", Persistence::jm_Inner},
    {"left", Persistence::jm_LeftOuter},
    {"right", Persistence::jm_RightOuter},
    {"full", Persistence::jm_FullOuter}};

// Returns the value of the word under `key`; the first value if the key is missing.
template <class Value, std::size_t count>
Value readWord(const NodeReader& nodes, const toml::table& table, const char* key,
               const Word<Value> (&words)[count]) {
  const toml::node* const node = table.get(key);
  if (node == nullptr) return words[0].value;
  const std::string given = toUtf8(nodes.text(*node, key));
  std::string all;
  for (const Word<Value>& each : words) {
    if (given == each.word) return each.value;
    all += (all.empty() ? "\"" : ", \"") + std::string(each.word) + "\"";
  }
  nodes.refuse(node->source(), "'" + std::string(key) + "' is none of its words", "use " + all);
}

long readBrackets(const NodeReader& nodes, const toml::table& table, const char* key) {
  const toml::node* const node = table.get(key);
  return node == nullptr ? 0 : nodes.number(*node, key, 0, kMostBrackets);
}

// Refuses a comparison that has both 'value' and the key `other`, or neither of them.
void checkOneOf(const NodeReader& nodes, const toml::table& table, const std::string& what,
                const char* other) {
  const bool hasValue = table.contains("value");
  const bool hasOther = table.contains(other);
  if (hasValue != hasOther) return;
  const std::string second = "'" + std::string(other) + "'";
  if (hasValue)
    nodes.refuse(table.source(), what + " has both 'value' and " + second, "leave one of them out");
  nodes.refuse(table.source(), what + " has neither 'value' nor " + second,
               "add value = \"…\", or the other");
}

Condition readCondition(const NodeReader& nodes, const toml::table& table) {
  const char* const what = "a condition";
  nodes.checkKeys(table, what, {"field", "is", "value", "raw", "or", "open", "close"});
  Condition condition;
  condition.place = nodes.at(table.source());
  condition.field =
      nodes.nonEmptyText(nodes.need(table, what, "field", "field = \"Code\""), "field");
  condition.operation = readOperation(nodes, table);
  checkOneOf(nodes, table, what, "raw");
  if (const toml::node* const value = table.get("value"))
    condition.value = nodes.value(*value, "value");
  if (const toml::node* const raw = table.get("raw")) condition.raw = nodes.text(*raw, "raw");
  if (const toml::node* const isOr = table.get("or"); isOr != nullptr && nodes.flag(*isOr, "or"))
    condition.relationship = Persistence::cr_Or;
  condition.open = readBrackets(nodes, table, "open");
  condition.close = readBrackets(nodes, table, "close");
  return condition;
}

[[noreturn]] void refuseBracket(const std::vector<Condition>& conditions, std::size_t index,
                                const std::string& problem, const std::string& remedy) {
  const Condition& condition = conditions[index];
  throw Diagnostic(condition.place,
                   "condition " + std::to_string(index + 1) + ", on " +
                       quoted(toUtf8(condition.field)) + ", " + problem,
                   remedy);
}

// The layer writes brackets unchecked, and a server reports a missing one without its place.
void checkBrackets(const std::vector<Condition>& conditions) {
  std::vector<std::size_t> open;  // for each open bracket the condition that opened it
  for (std::size_t i = 0; i < conditions.size(); ++i) {
    const auto closing = static_cast<std::size_t>(conditions[i].close);
    open.insert(open.end(), static_cast<std::size_t>(conditions[i].open), i);
    if (closing > open.size())
      refuseBracket(conditions, i, "closes a bracket that is not open",
                    "lower its 'close' or raise an 'open' before it");
    open.resize(open.size() - closing);
  }
  if (!open.empty())
    refuseBracket(conditions, open.back(), "opens a bracket that is never closed",
                  "lower its 'open' or raise a 'close' after it");
}

JoinField readJoinField(const NodeReader& nodes, const toml::table& table) {
  const char* const what = "a comparison of a join";
  nodes.checkKeys(table, what, {"from", "to", "is", "value"});
  JoinField field;
  field.to = nodes.nonEmptyText(nodes.need(table, what, "to", "to = \"U_Order\""), "to");
  checkOneOf(nodes, table, what, "from");
  if (const toml::node* const value = table.get("value"))
    field.value = nodes.value(*value, "value");
  field.operation = readOperation(nodes, table);
  if (const toml::node* const from = table.get("from")) {
    field.from = nodes.nonEmptyText(*from, "from");
    // The layer ignores the operation of two columns, so another one would be lost silently.
    if (field.operation != Persistence::co_Equal)
      nodes.refuse(table.get("is")->source(), "two columns of a join compare by \"=\" only",
                   "leave 'is' out or compare with a value");
  }
  return field;
}

Join readJoin(const NodeReader& nodes, const toml::table& table) {
  const char* const what = "a join";
  nodes.checkKeys(table, what, {"table", "user-table", "as", "kind", "fields", "on"});
  Join join;
  join.table = nodes.nonEmptyText(nodes.need(table, what, "table", "table = \"@LINES\""), "table");
  join.userTable = readUserTable(nodes, table, join.table);
  join.as = nodes.nonEmptyText(nodes.need(table, what, "as", "as = \"T1\""), "as");
  join.mode = readWord(nodes, table, "kind", kJoinModes);
  if (const toml::node* const fields = table.get("fields"))
    join.fields = nodes.names(*fields, "fields");
  const toml::node& on =
      nodes.need(table, what, "on", "on = [ { from = \"Code\", to = \"U_Order\" } ]");
  for (const toml::node& entry : nodes.list(on, "on"))
    join.on.push_back(readJoinField(nodes, nodes.table(entry, "on")));
  if (join.on.empty())
    nodes.refuse(on.source(), "'on' is empty", "write what the two tables have in common");
  return join;
}

}  // namespace

Persistence::HvConditionOperation readOperation(const NodeReader& nodes, const toml::table& table) {
  return readWord(nodes, table, "is", kOperations);
}

bool readUserTable(const NodeReader& nodes, const toml::table& table,
                   const std::u16string& tableName) {
  const toml::node* const node = table.get("user-table");
  return node == nullptr ? tableName.starts_with(u'@') : nodes.flag(*node, "user-table");
}

std::vector<Condition> readConditions(const NodeReader& nodes, const toml::node& node) {
  std::vector<Condition> conditions;
  for (const toml::node& entry : nodes.list(node, "where"))
    conditions.push_back(readCondition(nodes, nodes.table(entry, "where")));
  checkBrackets(conditions);
  return conditions;
}

std::vector<Join> readJoins(const NodeReader& nodes, const toml::node& node) {
  std::vector<Join> joins;
  for (const toml::node& entry : nodes.list(node, "join"))
    joins.push_back(readJoin(nodes, nodes.table(entry, "join")));
  return joins;
}

}  // namespace qx::sqlprint
