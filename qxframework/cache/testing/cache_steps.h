#pragma once

// Random steps that the record cache and its model take side by side. A difference is shown with
// the shortest sequence of steps that still has one.

#include "qxframework/automation/text.h"
#include "qxframework/cache/db_record_cache.h"
#include "qxframework/cache/testing/cache_model.h"
#include "qxframework/cache/testing/cache_step_source.h"
#include "qxframework/host/company_sharing.h"
#include "qxframework/os/clock.h"
#include "qxframework/query/testing/query_parts.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace qx::test {

/// Where the steps run.
struct CacheSurroundings {
  CComPtr<ICompany> company;
  std::vector<std::string> caches;            ///< their names
  std::map<std::string, std::string> tables;  ///< of the caches
  const OLECHAR* group = u"U_G";              ///< the names of two columns of whole numbers
  const OLECHAR* number = u"U_N";
  std::function<void(const ModelTables&)> fill;  ///< makes the rows of the tables these
  std::function<std::size_t()> statementCount;   ///< that have reached the company
  std::function<std::string(std::size_t)> statement;
  std::function<void(int)> failIn;  ///< the number of statements to the one that fails
  std::function<void()> start, commit, rollback;
  std::function<void(const std::string&)> rename;  ///< null if the company keeps its name
};

/// Reads a statement of any dialect. Its columns are Code, Name and the two of the surroundings.
inline ModelStatement parsedStatement(const std::string& text, const CacheSurroundings& around) {
  std::string plain;
  for (const char c : text)
    if (c != '[' && c != ']' && c != '"') plain += c;
  const std::string group = toUtf8(around.group);
  const std::string number = toUtf8(around.number);
  const auto after = [&plain](const std::string& head) {
    const std::size_t at = plain.find(head);
    if (at == std::string::npos) return std::string();
    const std::size_t from = at + head.size();
    return plain.substr(from, plain.find_first_of(" ,)\r'", from) - from);
  };
  const auto numberAfter = [&](const std::string& head) -> std::optional<long> {
    const std::string found = after(head);
    return found.empty() ? std::nullopt : std::optional(std::stol(found));
  };
  ModelStatement parsed{};
  if (plain.starts_with("INSERT")) {
    parsed = {ModelStatement::Insert, after("INTO "), after("(N'")};
    // The name comes between the code and the two numbers.
    const std::size_t values = plain.find("VALUES (");
    const std::size_t second = plain.find("', N'", values);
    const std::size_t numbers = plain.find("', ", second + 4) + 3;
    const std::size_t comma = plain.find(", ", numbers);
    parsed.group = std::stol(plain.substr(numbers));
    parsed.number = std::stol(plain.substr(comma + 2));
    return parsed;
  }
  if (plain.starts_with("UPDATE")) {
    return {ModelStatement::Update, after("UPDATE "), after("Code=N'"), numberAfter(group + "="),
            numberAfter(number + "=")};
  }
  if (plain.starts_with("DELETE")) {
    if (const auto ofGroup = numberAfter(group + "="))
      return {ModelStatement::DeleteGroup, after("FROM "), {}, ofGroup};
    return {ModelStatement::Delete, after("FROM "), after("Code=N'")};
  }
  if (plain.starts_with("SELECT MAX")) return {ModelStatement::Max, after("FROM ")};
  parsed = {ModelStatement::Select, after("FROM "), after("Code = N'")};
  parsed.group = numberAfter(group + " = ");
  parsed.start = numberAfter(group + " >= ");
  parsed.ties = plain.find("top 3 WITH TIES") != std::string::npos;
  parsed.keysOnly = plain.find(", *") == std::string::npos;
  if (!parsed.code.empty()) parsed.kind = ModelStatement::One;
  if (plain.starts_with("SELECT COUNT")) parsed.kind = ModelStatement::Count;
  if (parsed.kind != ModelStatement::Select) parsed.keysOnly = false;
  return parsed;
}

/// Takes the same steps on the caches and on the model.
class CacheSteps {
 public:
  CacheSteps(CacheSurroundings around, ManualClock& clock)
      : around_(std::move(around)), clock_(clock) {}

  /// Returns what differs after the first step that differs, with its position; nothing if all
  /// steps have the same effects.
  struct Difference {
    std::size_t step;
    std::string text;
  };
  std::optional<Difference> run(const std::vector<CacheStep>& steps) {
    begin();
    for (std::size_t i = 0; i < steps.size(); ++i) {
      const std::string ours = taken([&] { return takeOurs(steps[i]); });
      const std::string expected = taken([&] { return takeModel(steps[i]); });
      const std::string text = differenceOf(ours, expected, steps[i]);
      if (!text.empty()) return end(Difference{i, text});
    }
    return end({});
  }

  /// Returns a description of the first difference and of the shortest sequence with one that was
  /// found by leaving out steps; an empty text if there is none.
  std::string check(std::vector<CacheStep> steps) {
    std::optional<Difference> found = run(steps);
    if (!found) return "";
    steps.resize(found->step + 1);
    for (std::size_t part = std::max<std::size_t>(steps.size() / 2, 1); part > 0;) {
      bool shorter = false;
      for (std::size_t at = 0; at + part <= steps.size();) {
        std::vector<CacheStep> fewer = steps;
        const auto first = fewer.begin() + static_cast<std::ptrdiff_t>(at);
        fewer.erase(first, first + static_cast<std::ptrdiff_t>(part));
        if (const auto still = run(fewer)) {
          found = still;
          fewer.resize(still->step + 1);
          steps = std::move(fewer);
          shorter = true;
        } else {
          ++at;
        }
      }
      if (!shorter) part /= 2;
    }
    shortest = steps.size();
    std::string text = found->text;
    for (const CacheStep& step : steps) text += "\n  " + shown(step);
    return text;
  }

  std::size_t shortest = 0;  ///< the number of steps in the last description
  long extraSeconds = 0;     ///< a fault of the model

 private:
  using Cache = Persistence::CDBRecordCache;
  using Values = Persistence::TyFieldValues;

  void begin() {
    Cache::ClearAllCaches(false, true);
    model_.emplace(around_.tables);
    model_->extraSeconds = extraSeconds;
    model_->shared = CComQIPtr<ICompanySharing>(around_.company) != nullptr;
    model_->company = "FIRST";
    if (around_.rename) around_.rename("FIRST");
    for (const auto& [cache, table] : around_.tables) {
      for (long i = 0; i < CacheStepSource::kFirstNewCode; ++i)
        model_->tables.tables[table][hexCode(i * CacheStepSource::kCodeStep)] = {i % 4, i};
    }
    around_.failIn(0);
    around_.fill(model_->tables);
    inTransaction_ = false;
    seen_ = around_.statementCount();
    read_ = 0;
  }
  std::optional<Difference> end(std::optional<Difference> result) {
    Cache::ClearAllCaches(false, true);
    if (inTransaction_) around_.rollback();
    return result;
  }

  template <class Take>
  static std::string taken(Take take) {
    try {
      return take();
    } catch (const ModelFailure&) {
    } catch (const _com_error&) {
    } catch (const Persistence::CQXPersistenceException&) {
    }
    return "failed";
  }

  qx_ptr<Cache> cacheOf(const CacheStep& step) {
    return Cache::GetInstance(around_.company, CComBSTR(toUtf16(nameOf(step))));
  }
  const std::string& nameOf(const CacheStep& step) const {
    return around_.caches[static_cast<std::size_t>(step.cache)];
  }
  CComBSTR tableOf(const CacheStep& step) const {
    return CComBSTR(toUtf16(around_.tables.at(nameOf(step))));
  }
  long seconds() const {
    return std::chrono::duration_cast<std::chrono::seconds>(clock_.now().time_since_epoch())
        .count();
  }
  static Values codeOf(const std::string& code) {
    return values({{u"Code", toUtf16(code).c_str()}});
  }

  qx_ptr<Persistence::TyLoadParameter_WithPrefetchKeys> parameter(const CacheStep& step) {
    using namespace Persistence;
    qx_ptr<TyLoadParameter_WithPrefetchKeys> param(new TyLoadParameter_WithPrefetchKeys, true);
    const std::vector<CComBSTR> keys{u"Code"};
    param->SetKeyFields(&keys);
    param->SetMajorTable(tableOf(step));
    param->SetKeyFieldsOnly(step.param.keysOnly);
    if (step.param.condition) {
      param->SetConditions(
          conditions({{around_.group, co_Equal,
                       toUtf16(std::to_string(*step.param.condition)).c_str(), u""}}));
    }
    const Values start = step.param.start ? values({{around_.group, *step.param.start}}) : Values();
    switch (step.param.kind) {
      case ModelParam::NoReadAhead:
        param->SetPrefetchBehavior(pb_NoPrefetch, nullptr, 0);
        break;
      case ModelParam::All:
        param->SetPrefetchBehavior(pb_AllRows, nullptr, 0);
        break;
      case ModelParam::Page:
        param->SetPrefetchBehavior(pb_FirstRowsFrom, &start, 3);
        break;
      case ModelParam::AllFrom:
        param->SetPrefetchBehavior(pb_FirstRowsFrom, &start, 100001);
        break;
    }
    param->SetMaxCacheTimeSpan(COleDateTimeSpan(0, 0, 0, static_cast<int>(step.param.span)));
    return param;
  }
  qx_ptr<Persistence::TyLoadParameter_WithPrefetchKeys> parameterOfOne(const CacheStep& step) {
    CacheStep all = step;
    all.param = {};
    all.param.kind = ModelParam::NoReadAhead;
    const auto param = parameter(all);
    param->SetConditions(codeIs(toUtf16(hexCode(step.code)).c_str()));
    return param;
  }

  std::string shownRow(const Persistence::TyRow& row) const {
    const auto number = [&](const OLECHAR* name) -> std::optional<long> {
      const CComVariant* const value = row.m_Fields.find(name);
      if (value == nullptr) return std::nullopt;
      CComVariant whole;
      raiseIfFailed(whole.ChangeType(VT_I4, value));
      return whole.lVal;
    };
    const CComVariant* const code = row.m_Fields.find(u"Code");
    return utf8(row.m_KeyFields.GetValueAt(0)) +
           shown(ModelRow{code == nullptr ? std::nullopt : std::optional(utf8(*code)),
                          number(around_.group), number(around_.number)});
  }
  static std::string shownRow(const std::string& key, const ModelRow& row) {
    return key + shown(row);
  }
  Persistence::TyRow written(const CacheStep& step, bool withCode) const {
    const std::u16string code = toUtf16(hexCode(step.code));
    Persistence::TyRow row;
    row.m_KeyFields.Add(u"Code", code.c_str());
    if (withCode) {
      row.m_Fields.Add(u"Code", code.c_str());
      row.m_Fields.Add(u"Name", code.c_str());
    }
    if (step.group) row.m_Fields.Add(around_.group, *step.group);
    row.m_Fields.Add(around_.number, step.number);
    return row;
  }

  std::string takeOurs(const CacheStep& step) {
    const std::u16string code = toUtf16(hexCode(step.code));
    switch (step.kind) {
      case CacheStep::Load: {
        Persistence::TyRowsByKey rows;
        const auto param = parameter(step);
        std::string text = std::to_string(cacheOf(step)->Load(param, rows));
        for (const auto& [key, row] : rows) text += " " + shownRow(*row);
        return text;
      }
      case CacheStep::Add:
        cacheOf(step)->Add(tableOf(step), false, written(step, true));
        return "";
      case CacheStep::AddGenerated: {
        Persistence::TyRow row = written(step, false);
        row.m_KeyFields.Clear();
        cacheOf(step)->Add(tableOf(step), true, row);
        return "";
      }
      case CacheStep::Update:
        cacheOf(step)->Update(tableOf(step), written(step, false));
        return "";
      case CacheStep::Remove:
        cacheOf(step)->DeleteByKey(tableOf(step), codeOf(hexCode(step.code)));
        return "";
      case CacheStep::RemoveGroup:
        cacheOf(step)->DeleteByFieldValues(tableOf(step), values({{around_.group, *step.group}}));
        return "";
      case CacheStep::Direct: {
        const auto row = cacheOf(step)->GetByKey_DirectFromDB(parameterOfOne(step));
        return row == nullptr ? "none" : shownRow(*row);
      }
      case CacheStep::Exists: {
        const auto param = parameterOfOne(step);
        param->SetReturnRecordCountOnly(true);
        return cacheOf(step)->ExistsInDB(param) ? "yes" : "no";
      }
      case CacheStep::Find: {
        const auto row = cacheOf(step)->GetRowByKey(codeOf(hexCode(step.code)));
        const auto keys = cacheOf(step)->GetKeyCollection(values({{around_.group, *step.group}}));
        std::string text = row == nullptr ? "none" : shownRow(*row);
        if (keys == nullptr) return text;
        for (const Values& key : *keys) text += " " + utf8(key.GetValueAt(0));
        return text + ".";
      }
      case CacheStep::Flush:
        cacheOf(step)->FlushToDB();
        return "";
      case CacheStep::FlushAll:
        Cache::FlushAllCaches();
        return "";
      case CacheStep::ClearRows:
        cacheOf(step)->ClearCache(true, step.number % 2 == 0);
        return "";
      case CacheStep::ClearBuffer:
        cacheOf(step)->ClearBufferedSQL();
        return "";
      case CacheStep::ClearAll:
        Cache::ClearAllCaches(step.number % 2 == 0, true);
        return "";
      case CacheStep::Start:
        if (inTransaction_) return "";
        Cache::BeforeTransaction_Start();
        around_.start();
        return "";
      case CacheStep::Commit:
        if (!inTransaction_) return "";
        Cache::BeforeTransaction_Commit();
        around_.commit();
        return "";
      case CacheStep::Rollback:
        if (!inTransaction_) return "";
        Cache::BeforeTransaction_Rollback();
        around_.rollback();
        return "";
      case CacheStep::Rename:
        if (!around_.rename) return "";
        around_.rename(std::to_string(step.number));
        cacheOf(step);
        return "";
      case CacheStep::Fail:
        around_.failIn(static_cast<int>(step.number));
        return "";
      default:
        return "";
    }
  }

  // Runs after takeOurs: the time and the open transaction change here, for both.
  std::string takeModel(const CacheStep& step) {
    const std::string& name = nameOf(step);
    model_->time = seconds();
    switch (step.kind) {
      case CacheStep::Load: {
        ModelParam param = step.param;
        param.stamp = seconds();
        const CacheModel::Loaded loaded = model_->load(name, param);
        std::string text = std::to_string(loaded.count);
        for (const auto& [key, row] : loaded.rows) text += " " + shownRow(key, row);
        return text;
      }
      case CacheStep::Add:
        model_->add(name, hexCode(step.code), *step.group, step.number);
        return "";
      case CacheStep::AddGenerated:
        model_->add(name, std::nullopt, *step.group, step.number);
        return "";
      case CacheStep::Update:
        model_->update(name, hexCode(step.code), step.group, step.number);
        return "";
      case CacheStep::Remove:
        model_->remove(name, hexCode(step.code));
        return "";
      case CacheStep::RemoveGroup:
        model_->removeGroup(name, *step.group);
        return "";
      case CacheStep::Direct: {
        const auto row = model_->direct(name, hexCode(step.code));
        return row ? shownRow(*row->code, *row) : "none";
      }
      case CacheStep::Exists:
        return model_->exists(name, hexCode(step.code)) ? "yes" : "no";
      case CacheStep::Find: {
        const CacheModel::Cache& at = model_->cache(name);
        const auto row = at.rows.find(hexCode(step.code));
        const auto keys = at.lists.find(*step.group);
        std::string text = row == at.rows.end() ? "none" : shownRow(row->first, row->second);
        if (keys == at.lists.end()) return text;
        for (const std::string& key : keys->second) text += " " + key;
        return text + ".";
      }
      case CacheStep::Flush:
        model_->flush(model_->cache(name));
        return "";
      case CacheStep::FlushAll:
        model_->flushAll();
        return "";
      case CacheStep::ClearRows:
        model_->clear(model_->cache(name), step.number % 2 == 0);
        return "";
      case CacheStep::ClearBuffer:
        CacheModel::discard(model_->cache(name));
        return "";
      case CacheStep::ClearAll:
        model_->clearAll(step.number % 2 == 0, true);
        return "";
      case CacheStep::Wait:
        clock_.advance(std::chrono::seconds(step.number));
        return "";
      case CacheStep::ClockBack:
        clock_.setNow(clock_.now() - std::chrono::seconds(10 * step.number));
        return "";
      case CacheStep::Start:
        if (!inTransaction_) {
          model_->startTransaction();
          inTransaction_ = true;
        }
        return "";
      case CacheStep::Commit:
        if (inTransaction_) {
          model_->commit();
          inTransaction_ = false;
        }
        return "";
      case CacheStep::Rollback:
        if (inTransaction_) {
          model_->rollback();
          inTransaction_ = false;
        }
        return "";
      case CacheStep::Rename:
        if (!around_.rename) return "";
        model_->company = std::to_string(step.number);
        model_->cache(name);
        return "";
      case CacheStep::Fail:
        model_->failIn = static_cast<int>(step.number);
        return "";
      default:
        return "";
    }
  }

  std::string differenceOf(const std::string& ours, const std::string& expected,
                           const CacheStep& step) {
    if (ours != expected) return shown(step) + ": '" + ours + "' instead of '" + expected + "'";
    for (; seen_ < around_.statementCount(); ++seen_, ++read_) {
      const std::string text = around_.statement(seen_);
      const std::string run = shown(parsedStatement(text, around_));
      const std::string planned = read_ < model_->log.size() ? shown(model_->log[read_]) : "none";
      if (run != planned)
        return shown(step) + ": ran " + text + ", that is " + run + ", instead of " + planned;
    }
    if (read_ < model_->log.size())
      return shown(step) + ": did not run " + shown(model_->log[read_]);
    // What this runs, if the company has another name, is compared after the next step.
    const auto flag = [](bool loaded) { return std::string(loaded ? "loaded" : "not loaded"); };
    const std::string state = taken([&] { return flag(cacheOf(step)->IsLoaded()); });
    const std::string planned = taken([&] { return flag(model_->cache(nameOf(step)).loaded); });
    return state == planned ? "" : shown(step) + ": is " + state + " instead of " + planned;
  }

  CacheSurroundings around_;
  ManualClock& clock_;
  std::optional<CacheModel> model_;
  bool inTransaction_ = false;
  std::size_t seen_ = 0;
  std::size_t read_ = 0;
};

}  // namespace qx::test
