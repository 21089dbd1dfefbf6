#include "tools/sqlprint/statement_warnings.h"

#include "qxframework/automation/text.h"
#include "tools/sqlprint/statement_texts.h"

#include <algorithm>

namespace qx::sqlprint {
namespace {

// Collects the warnings of one statement.
class Warnings {
 public:
  Warnings(const NodeReader& nodes, const toml::table& table, const Statement& statement)
      : nodes_(nodes), table_(table), statement_(statement) {}

  std::vector<std::string> all() {
    warnOfFields();
    warnOfJoins();
    warnOfBrackets();
    warnOfKeyValues();
    warnOfAnEmptyWhere();
    warnOfRawTexts();
    warnOfValues();
    warnOfTimes(table_);
    warnOfTitles();
    return std::move(all_);
  }

 private:
  bool is(Kind kind) const { return statement_.kind == kind; }

  void add(const Location& place, const std::string& text) {
    all_.push_back(place.file + ":" + std::to_string(place.line) + ":" +
                   std::to_string(place.column) + ": warning: " + text);
  }

  // Returns the place of `key` in the table; the place of the table if it has no such key.
  Location placeOf(const toml::table& table, std::string_view key) const {
    const toml::node* const node = table.get(key);
    return nodes_.at(node == nullptr ? table.source() : node->source());
  }

  // Returns the table at `index` of the list under `key`.
  const toml::table& tableOf(std::string_view key, std::size_t index) const {
    return nodes_.table(*nodes_.list(*table_.get(key), key).get(index), key);
  }

  void warnOfFields() {
    if (is(Kind::select) && statement_.keysOnly && !statement_.fields.empty())
      add(placeOf(table_, "fields"),
          "the fields are not selected, since a collection fetches keys only by "
          "default; add keys-only = false");
  }

  void warnOfJoins() {
    const bool keysOnly = is(Kind::select) && statement_.keysOnly;
    for (std::size_t i = 0; i < statement_.joins.size(); ++i) {
      const Join& join = statement_.joins[i];
      // The layer itself refuses this only if it selects fields.
      if (keysOnly && statement_.as.empty() && comparesColumns(join))
        add(placeOf(tableOf("join", i), "on"),
            "the columns compare with those of a table without a name, which no server accepts; "
            "add as = \"T0\" to [select]");
      if (join.fields.empty()) continue;
      const Location place = placeOf(tableOf("join", i), "fields");
      if (keysOnly) {
        add(place,
            "the fields of the join are not selected, since a collection fetches keys only by "
            "default; add keys-only = false");
      } else if (join.fields == statement_.fields) {
        add(place,
            "the fields of the join are those of the table, and then the layer writes no comma "
            "before them, which no server accepts; change their order or their number");
      }
    }
  }

  static bool comparesColumns(const Join& join) {
    return std::any_of(join.on.begin(), join.on.end(),
                       [](const JoinField& field) { return field.from.has_value(); });
  }

  void warnOfBrackets() {
    if (!statement_.where) return;
    // Three writers of a WHERE in the layer, and three forms of brackets: none, misplaced, right.
    const bool leavesOut = is(Kind::load) || is(Kind::update);
    for (std::size_t i = 0; i < statement_.where->size(); ++i) {
      const Condition& condition = (*statement_.where)[i];
      if (leavesOut && condition.open + condition.close > 0)
        add(condition.place, "the layer writes no brackets in [" +
                                 std::string(nameOf(statement_.kind)) +
                                 "]; give the conditions an order that needs none");
      if (is(Kind::remove) && i > 0 && condition.open > 0)
        add(condition.place,
            "in [delete] the layer writes the bracket before AND and OR, which no server "
            "accepts; give the conditions an order that needs none");
    }
  }

  void warnOfKeyValues() {
    skipped_ = skippedKeyValues(statement_);  // read again by warnOfAnEmptyWhere
    if (skipped_.empty()) return;
    const auto entries = inOrder(nodes_.table(*table_.get("key-values"), "key-values"));
    for (const std::size_t position : skipped_)
      add(nodes_.at(entries[position].first->source()),
          "the layer leaves " + quoted(toUtf8(statement_.keyValues[position].first)) +
              " out of the WHERE, since no column in 'values' has that name; add it there or "
              "correct the name");
  }

  void warnOfAnEmptyWhere() {
    const bool always = is(Kind::remove) || is(Kind::update);
    if (statement_.where ? !statement_.where->empty() : !always) return;
    if (skipped_.size() < statement_.keyValues.size()) return;
    add(placeOf(table_, "where"),
        "nothing follows WHERE, which no server accepts; add a condition to 'where'");
  }

  void warnOfRawTexts() {
    if (!statement_.where) return;
    for (std::size_t i = 0; i < statement_.where->size(); ++i) {
      const std::optional<std::u16string>& raw = (*statement_.where)[i].raw;
      if (raw && raw->find_first_not_of(u" \t\r\n") == std::u16string::npos)
        add(placeOf(tableOf("where", i), "raw"),
            "nothing follows the operator, which no server accepts; write what the column "
            "compares with");
    }
  }

  void warnOfValues() {
    if (is(Kind::insert) && statement_.values.empty())
      add(placeOf(table_, "values"),
          "the insert has no values, and then the layer writes lists that no server accepts; add a "
          "column to 'values'");
    if (is(Kind::update) && std::all_of(statement_.values.begin(), statement_.values.end(),
                                        [this](const auto& value) { return isKey(value.first); }))
      add(placeOf(table_, "values"),
          "nothing follows SET, which no server accepts; add a column that is none of 'keys' "
          "to 'values'");
  }

  // Searches the whole table: a date can only be a value.
  void warnOfTimes(const toml::node& node) {
    if (const toml::table* const table = node.as_table())
      for (const auto& entry : inOrder(*table)) warnOfTimes(*entry.second);
    if (const toml::array* const list = node.as_array())
      for (const toml::node& entry : *list) warnOfTimes(entry);
    const auto moment = node.value_exact<toml::date_time>();
    if (moment && moment->time != toml::time{})
      add(nodes_.at(node.source()),
          "the layer writes a date without its time of day; leave the time out, or in a condition "
          "write the text of it as 'raw'");
  }

  void warnOfTitles() {
    const bool quotes =
        std::any_of(statement_.titles.begin(), statement_.titles.end(), [](const auto& title) {
          return title.second.find_first_of(u"'\"") != std::u16string::npos;
        });
    if (quotes)
      add(placeOf(table_, "fields"),
          "the layer writes the quotes of a title as they are, and servers take them for its end; "
          "write \u2019 or leave them out");
  }

  bool isKey(const std::u16string& name) const {
    return std::find(statement_.keys.begin(), statement_.keys.end(), name) != statement_.keys.end();
  }

  const NodeReader& nodes_;
  const toml::table& table_;
  const Statement& statement_;
  std::vector<std::size_t> skipped_;  // positions of key values
  std::vector<std::string> all_;
};

}  // namespace

std::vector<std::string> warningsOf(const NodeReader& nodes, const toml::table& table,
                                    const Statement& statement) {
  return Warnings(nodes, table, statement).all();
}

}  // namespace qx::sqlprint
