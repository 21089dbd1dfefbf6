#include "qxframework/sql/dialects.h"

#include <algorithm>
#include <array>

namespace qx {
namespace {

template <const Dialect&... kEach>
constexpr std::array<const Dialect*, sizeof...(kEach)> pointersTo(DialectList<kEach...>) {
  return {&kEach...};
}

constexpr auto kDialects = pointersTo(AllDialects());

// Returns null if no dialect meets the condition.
template <class Condition>
const Dialect* find(Condition condition) {
  const auto found = std::find_if(kDialects.begin(), kDialects.end(),
                                  [&](const Dialect* each) { return condition(*each); });
  return found == kDialects.end() ? nullptr : *found;
}

}  // namespace

std::span<const Dialect* const> allDialects() { return kDialects; }

const Dialect& dialectOf(long serverType) {
  const Dialect* const found =
      find([=](const Dialect& each) { return each.serverType == serverType; });
  return found == nullptr ? kMssqlDialect : *found;
}

const Dialect* dialectNamed(std::string_view name) {
  return find([=](const Dialect& each) { return each.name == name; });
}

}  // namespace qx
