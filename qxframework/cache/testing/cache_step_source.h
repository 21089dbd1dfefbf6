#pragma once

// The steps of the random test of the record cache, and their source.

#include "qxframework/cache/testing/cache_model.h"

#include <iterator>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace qx::test {

struct CacheStep {
  enum Kind {
    Load,
    Add,
    AddGenerated,
    Update,
    Remove,
    RemoveGroup,
    Direct,
    Exists,
    Find,
    Flush,
    FlushAll,
    ClearRows,
    ClearBuffer,
    ClearAll,
    Wait,
    ClockBack,
    Start,
    Commit,
    Rollback,
    Rename,
    Fail,
    kKinds
  };
  Kind kind;
  int cache = 0;
  ModelParam param = {};
  long code = 0;
  std::optional<long> group = {};
  long number = 0;
};

inline std::string shown(const CacheStep& step) {
  static const char* const kNames[CacheStep::kKinds] = {
      "Load",   "Add",       "AddGenerated", "Update",   "Remove",    "RemoveGroup", "Direct",
      "Exists", "Find",      "Flush",        "FlushAll", "ClearRows", "ClearBuffer", "ClearAll",
      "Wait",   "ClockBack", "Start",        "Commit",   "Rollback",  "Rename",      "Fail"};
  std::string text = std::string(kNames[step.kind]) + " cache=" + std::to_string(step.cache) +
                     " code=" + hexCode(step.code) + " number=" + std::to_string(step.number);
  if (step.group) text += " group=" + std::to_string(*step.group);
  if (step.kind != CacheStep::Load) return text;
  text += " kind=" + std::to_string(step.param.kind) + " span=" + std::to_string(step.param.span);
  if (step.param.condition) text += " condition=" + std::to_string(*step.param.condition);
  if (step.param.start) text += " start=" + std::to_string(*step.param.start);
  return text + (step.param.keysOnly ? " keys" : "");
}

/// Draws steps. Codes that are added are new, so that most statements succeed.
class CacheStepSource {
 public:
  static constexpr long kCodeStep = 16;  // generated codes fall between
  static constexpr long kFirstNewCode = 10;
  explicit CacheStepSource(unsigned seed, int caches) : random_(seed), caches_(caches) {}

  std::vector<CacheStep> draw(std::size_t count) {
    added_ = kFirstNewCode;
    std::vector<CacheStep> steps;
    for (std::size_t i = 0; i < count; ++i) steps.push_back(next());
    return steps;
  }

 private:
  long below(long end) { return std::uniform_int_distribution<long>(0, end - 1)(random_); }
  CacheStep next() {
    using S = CacheStep;
    static constexpr int kWeights[S::kKinds] = {34, 9, 4, 8, 7, 1, 4, 2, 8, 3, 1,
                                                1,  1, 1, 6, 1, 3, 2, 1, 1, 2};
    std::discrete_distribution<int> kinds(std::begin(kWeights), std::end(kWeights));
    S step{static_cast<S::Kind>(kinds(random_)), static_cast<int>(below(caches_))};
    step.code = below(added_ + 1) * kCodeStep;
    if (step.kind == S::Add) step.code = ++added_ * kCodeStep;
    if (step.kind != S::Update || below(2) == 0) step.group = below(6);
    step.number = below(100);
    if (step.kind == S::Wait) step.number = below(4) == 0 ? 299 + below(4) : below(100);
    if (step.kind == S::Fail) step.number = 1 + below(5);
    if (step.kind == S::Load) step.param = parameter();
    return step;
  }
  ModelParam parameter() {
    ModelParam param;
    const long kind = below(10);
    param.kind = kind < 1   ? ModelParam::NoReadAhead
                 : kind < 4 ? ModelParam::All
                 : kind < 9 ? ModelParam::Page
                            : ModelParam::AllFrom;
    if (param.kind == ModelParam::Page || param.kind == ModelParam::AllFrom) {
      param.start = below(6);
    } else if (below(4) == 0) {
      param.condition = below(3);
    }
    param.keysOnly = below(8) == 0;
    if (below(20) == 0) param.span = 60;
    return param;
  }

  std::mt19937 random_;
  int caches_;
  long added_ = 0;
};

}  // namespace qx::test
