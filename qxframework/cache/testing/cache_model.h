#pragma once

// The rules of the record cache once more, in the plainest form: a map of rows, lists of codes and
// a list of statements for each cache, over tables that are maps too. The model tests compare the
// caches with it step by step.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace qx::test {

inline std::string hexCode(long number) {
  char text[16];
  std::snprintf(text, sizeof(text), "%08lX", static_cast<unsigned long>(number));
  return text;
}

/// A row of a table, and one in memory: there a column may be missing.
struct ModelRow {
  std::optional<std::string> code;
  std::optional<long> group;
  std::optional<long> number;
  friend bool operator==(const ModelRow&, const ModelRow&) = default;
};

inline std::string shown(const ModelRow& row) {
  return "{" + row.code.value_or("-") + " " + (row.group ? std::to_string(*row.group) : "-") + " " +
         (row.number ? std::to_string(*row.number) : "-") + "}";
}

struct ModelStatement {
  enum Kind { Insert, Update, Delete, DeleteGroup, Select, One, Count, Max };
  Kind kind;
  std::string table;
  std::string code = {};
  std::optional<long> group = {};   // written, or the condition
  std::optional<long> number = {};  // written
  std::optional<long> start = {};   // the first group of a page
  bool ties = false;                // a page of three rows, and the rest of its last group
  bool keysOnly = false;
  friend bool operator==(const ModelStatement&, const ModelStatement&) = default;
};

inline std::string shown(const ModelStatement& statement) {
  static const char* const kNames[] = {"INSERT", "UPDATE", "DELETE", "DELETE GROUP",
                                       "SELECT", "ONE",    "COUNT",  "MAX"};
  const auto part = [](const char* name, const std::optional<long>& value) {
    return value ? std::string(" ") + name + "=" + std::to_string(*value) : std::string();
  };
  return std::string(kNames[statement.kind]) + " " + statement.table + " " + statement.code +
         part("group", statement.group) + part("number", statement.number) +
         part("from", statement.start) + (statement.ties ? " ties" : "") +
         (statement.keysOnly ? " keys" : "");
}

/// The failure of a statement.
struct ModelFailure {};

/// The tables of a company.
struct ModelTables {
  using Table = std::map<std::string, std::pair<long, long>>;  // group and number by code
  std::map<std::string, Table> tables;

  /// Returns the rows of a query. Throws ModelFailure for a code that is there already.
  std::vector<ModelRow> run(const ModelStatement& statement) {
    Table& table = tables[statement.table];
    switch (statement.kind) {
      case ModelStatement::Insert:
        if (!table.insert({statement.code, {*statement.group, *statement.number}}).second)
          throw ModelFailure();
        return {};
      case ModelStatement::Update:
        if (const auto found = table.find(statement.code); found != table.end()) {
          if (statement.group) found->second.first = *statement.group;
          if (statement.number) found->second.second = *statement.number;
        }
        return {};
      case ModelStatement::Delete:
        table.erase(statement.code);
        return {};
      case ModelStatement::DeleteGroup:
        std::erase_if(table, [&](const auto& row) { return row.second.first == *statement.group; });
        return {};
      case ModelStatement::One:
        if (const auto found = table.find(statement.code); found != table.end())
          return {{found->first, found->second.first, found->second.second}};
        return {};
      case ModelStatement::Count:
        return std::vector<ModelRow>(table.count(statement.code));
      case ModelStatement::Max:
        if (table.empty()) return {};
        return {{table.rbegin()->first, {}, {}}};
      default:
        return select(table, statement);
    }
  }

 private:
  static std::vector<ModelRow> select(const Table& table, const ModelStatement& statement) {
    std::vector<ModelRow> rows;
    for (const auto& [code, values] : table) {
      if (statement.group && values.first != *statement.group) continue;
      if (statement.start && values.first < *statement.start) continue;
      rows.push_back({code, values.first, values.second});
    }
    if (!statement.start) return rows;
    std::stable_sort(rows.begin(), rows.end(),
                     [](const ModelRow& a, const ModelRow& b) { return *a.group < *b.group; });
    constexpr std::size_t kPage = 3;
    std::size_t count = rows.size();
    if (statement.ties && count > kPage) {
      count = kPage;
      while (count < rows.size() && rows[count].group == rows[kPage - 1].group) ++count;
    }
    rows.resize(count);
    return rows;
  }
};

/// What a load asks for.
struct ModelParam {
  enum Kind { NoReadAhead, All, Page, AllFrom };
  Kind kind = All;
  std::optional<long> condition;  // of the group
  std::optional<long> start;      // of a page, and of all rows from there
  bool keysOnly = false;
  long span = 300;
  long stamp = 0;  // the second of the last change
};

/// The caches by the rules.
class CacheModel {
 public:
  explicit CacheModel(std::map<std::string, std::string> tableOfCache)
      : tableOf_(std::move(tableOfCache)) {}

  struct Cache {
    std::map<std::string, ModelRow> rows;
    std::map<long, std::vector<std::string>> lists;
    std::optional<ModelParam> last;
    bool loaded = false;
    std::vector<ModelStatement> buffer;
    long lastTime = 0;
    long nextCode = -1;
    long firstUnsent = -1;          // of the generated codes in the buffer
    std::optional<long> keptSince;  // the second from which a shared company keeps the codes
  };
  struct Loaded {
    long count = 0;
    std::map<std::string, ModelRow> rows;
  };

  Cache& cache(const std::string& name) {
    if (company != current_) {
      clearAll(true, false);
      current_ = company;
    }
    return caches_[name];
  }

  Loaded load(const std::string& name, const ModelParam& param) {
    Cache& at = cache(name);
    const long now = time;
    const bool other = at.last && !equal(*at.last, param);
    const bool old = now - at.lastTime > param.span + extraSeconds;
    if (other || old || !at.loaded || param.kind == ModelParam::NoReadAhead) {
      clear(at, true);
      at.last.reset();
    }
    if (param.start) {
      if (at.lists.contains(*param.start)) return listed(at, at.lists[*param.start]);
    } else if (at.last) {
      return {static_cast<long>(at.rows.size()), at.rows};
    }
    clear(at, true);
    ModelStatement query{ModelStatement::Select, tableOf_[name]};
    query.group = param.condition;
    query.start = param.start;
    query.ties = param.kind == ModelParam::Page;
    query.keysOnly = param.keysOnly;
    for (const ModelRow& row : run(query)) {
      at.rows[*row.code] = param.keysOnly ? ModelRow{row.code, {}, {}} : row;
      if (param.start) at.lists[*row.group].push_back(*row.code);
    }
    at.lastTime = now;
    at.last = param;
    at.last->stamp = now;
    at.loaded = true;
    if (!param.start) return {static_cast<long>(at.rows.size()), at.rows};
    return listed(at, at.lists[*param.start]);
  }

  /// Without a code the table's next one is taken.
  void add(const std::string& name, std::optional<std::string> code, long group, long number) {
    Cache& at = cache(name);
    const bool generated = !code;
    if (generated && (at.nextCode < 0 || !codesGoOn(at, tableOf_[name]))) {
      const long drawn = nextAfter(run({ModelStatement::Max, tableOf_[name]}));
      at.nextCode = at.firstUnsent < 0 ? drawn : std::max(drawn, at.nextCode);
      at.keptSince = time;
    }
    if (generated && at.firstUnsent < 0) at.firstUnsent = at.nextCode;
    const std::string key = generated ? hexCode(at.nextCode) : *code;
    if (at.nextCode >= 0) ++at.nextCode;
    push(at, {ModelStatement::Insert, tableOf_[name], key, group, number});
    if (!at.last) return;
    at.rows[key] = {generated ? std::nullopt : std::optional(key), group, number};
    if (at.last->start && at.lists.contains(group)) at.lists[group].push_back(key);
  }

  void update(const std::string& name, const std::string& code, std::optional<long> group,
              long number) {
    Cache& at = cache(name);
    push(at, {ModelStatement::Update, tableOf_[name], code, group, number});
    if (at.last && at.rows.contains(code)) at.rows[code] = {{}, group, number};
  }

  void remove(const std::string& name, const std::string& code) {
    Cache& at = cache(name);
    if (at.last && at.rows.contains(code)) {
      const std::optional<long> group = at.rows[code].group;
      if (at.last->start && group && at.lists.contains(*group)) std::erase(at.lists[*group], code);
      at.rows.erase(code);
    }
    push(at, {ModelStatement::Delete, tableOf_[name], code});
  }

  void removeGroup(const std::string& name, long group) {
    Cache& at = cache(name);
    push(at, {ModelStatement::DeleteGroup, tableOf_[name], {}, group});
    clear(at, false);
  }

  std::optional<ModelRow> direct(const std::string& name, const std::string& code) {
    flush(cache(name));
    const std::vector<ModelRow> rows = run({ModelStatement::One, tableOf_[name], code});
    return rows.empty() ? std::nullopt : std::optional(rows[0]);
  }
  bool exists(const std::string& name, const std::string& code) {
    flush(cache(name));
    return !run({ModelStatement::Count, tableOf_[name], code}).empty();
  }

  void flush(Cache& at) {
    at.keptSince.reset();
    for (const ModelStatement& each : at.buffer) run(each);
    discard(at);
  }
  static void discard(Cache& at) {
    at.buffer.clear();
    at.firstUnsent = -1;
    at.keptSince.reset();
  }
  void flushAll() {
    for (auto& [name, at] : caches_) flush(at);
  }
  static void clearRows(Cache& at) {
    at.rows.clear();
    at.lists.clear();
    at.loaded = false;
  }
  void clear(Cache& at, bool flushFirst) {
    if (flushFirst) flush(at);
    clearRows(at);
  }
  void clearAll(bool flushFirst, bool discardBuffered) {
    for (auto& [name, at] : caches_) {
      clear(at, flushFirst);
      if (!flushFirst && discardBuffered) discard(at);
    }
    caches_.clear();
    current_.clear();
  }

  void startTransaction() {
    flushAll();
    before_ = tables;
  }
  void commit() { flushAll(); }
  void rollback() {
    clearAll(false, true);
    tables = before_;
  }

  /// Returns whether a parameter of the last load answers another: a common second of change
  /// passes for equal tables and conditions.
  static bool equal(const ModelParam& a, const ModelParam& b) {
    const bool sameBase =
        a.stamp == b.stamp || (a.keysOnly == b.keysOnly && a.condition == b.condition);
    return sameBase && a.kind == b.kind && a.span == b.span;
  }

  ModelTables tables;
  std::vector<ModelStatement> log;  // that ran, the failed ones too
  long time = 0;
  std::string company;
  bool shared = false;    // the company is asked whether codes go on
  int failIn = 0;         // the number of statements to the one that fails; 0 for none
  long extraSeconds = 0;  // a fault, for the test of the test

 private:
  std::vector<ModelRow> run(const ModelStatement& statement) {
    log.push_back(statement);
    if (failIn > 0 && --failIn == 0) throw ModelFailure();
    return tables.run(statement);
  }
  static long nextAfter(const std::vector<ModelRow>& highest) {
    return highest.empty() ? 0 : std::stol(*highest[0].code, nullptr, 16) + 1;
  }
  bool codesGoOn(Cache& at, const std::string& table) {
    if (!shared || (at.keptSince && time - *at.keptSince <= 1)) return true;
    const long next = at.firstUnsent >= 0 ? at.firstUnsent : at.nextCode;
    // The question is no statement.
    const bool goOn = nextAfter(tables.run({ModelStatement::Max, table})) <= next;
    at.keptSince = goOn ? std::optional(time) : std::nullopt;
    return goOn;
  }
  void push(Cache& at, ModelStatement statement) {
    constexpr std::size_t kBuffer = 100;
    at.buffer.push_back(std::move(statement));
    if (at.buffer.size() >= kBuffer) flush(at);
  }
  static Loaded listed(const Cache& at, const std::vector<std::string>& codes) {
    Loaded loaded{static_cast<long>(codes.size()), {}};
    for (const std::string& code : codes)
      if (const auto row = at.rows.find(code); row != at.rows.end()) loaded.rows.insert(*row);
    return loaded;
  }

  std::map<std::string, std::string> tableOf_;
  std::map<std::string, Cache> caches_;
  ModelTables before_;
  std::string current_;
};

}  // namespace qx::test
