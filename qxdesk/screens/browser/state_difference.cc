#include "qxdesk/screens/browser/state_difference.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <utility>

namespace qx::screens {
namespace {

using nlohmann::json;

// A list that moves by more entries at once is written anew.
constexpr std::size_t kMostShift = 8;

class Difference {
 public:
  json operations = json::array();

  // For values that are not equal.
  void compare(const std::string& path, const json& from, const json& to) {
    if (from.is_object() && to.is_object()) {
      compareObjects(path, from, to);
    } else if (from.is_array() && to.is_array()) {
      compareArrays(path, from, to);
    } else {
      add("replace", path, &to);
    }
  }

 private:
  void add(const char* operation, const std::string& path, const json* value) {
    json out = json::object();
    out["op"] = operation;
    out["path"] = path;
    if (value != nullptr) out["value"] = *value;
    operations.push_back(std::move(out));
  }

  // A key in a path has "~" as "~0" and "/" as "~1".
  static std::string below(const std::string& path, std::string_view key) {
    std::string out = path + "/";
    for (const char c : key) {
      if (c == '~') {
        out += "~0";
      } else if (c == '/') {
        out += "~1";
      } else {
        out += c;
      }
    }
    return out;
  }

  static std::string below(const std::string& path, std::size_t index) {
    return path + "/" + std::to_string(index);
  }

  // Both are sorted by their keys.
  void compareObjects(const std::string& path, const json& from, const json& to) {
    for (auto at = from.begin(); at != from.end(); ++at) {
      const auto now = to.find(at.key());
      if (now == to.end()) {
        add("remove", below(path, at.key()), nullptr);
      } else if (*at != *now) {
        compare(below(path, at.key()), *at, *now);
      }
    }
    for (auto at = to.begin(); at != to.end(); ++at) {
      if (!from.contains(at.key())) add("add", below(path, at.key()), &*at);
    }
  }

  // Returns by how many entries the list has moved towards its beginning; 0 for not.
  static std::size_t shiftOf(const json& from, const json& to) {
    for (std::size_t shift = 1; shift <= kMostShift && shift < from.size(); ++shift) {
      const std::size_t rest = from.size() - shift;
      if (rest > to.size()) continue;
      const auto first = from.begin() + static_cast<std::ptrdiff_t>(shift);
      if (std::equal(first, from.end(), to.begin())) return shift;
    }
    return 0;
  }

  void compareArrays(const std::string& path, const json& from, const json& to) {
    if (const std::size_t shift = shiftOf(from, to); shift > 0) {
      for (std::size_t i = 0; i < shift; ++i) add("remove", below(path, std::size_t{0}), nullptr);
      append(path, to, from.size() - shift);
      return;
    }
    const std::size_t common = std::min(from.size(), to.size());
    const std::size_t head = equalAtTheStart(from, to, common);
    const std::size_t tail = equalAtTheEnd(from, to, common - head);
    const std::size_t changed = common - head - tail;
    for (std::size_t i = head; i < head + changed; ++i) {
      if (from[i] != to[i]) compare(below(path, i), from[i], to[i]);
    }
    // What is left is in one of the two only.
    const std::size_t place = head + changed;
    for (std::size_t i = from.size() - tail; i > place; --i) {
      add("remove", below(path, i - 1), nullptr);
    }
    for (std::size_t i = place; i + tail < to.size(); ++i) add("add", below(path, i), &to[i]);
  }

  void append(const std::string& path, const json& to, std::size_t first) {
    for (std::size_t i = first; i < to.size(); ++i) add("add", below(path, i), &to[i]);
  }

  static std::size_t equalAtTheStart(const json& from, const json& to, std::size_t most) {
    std::size_t count = 0;
    while (count < most && from[count] == to[count]) ++count;
    return count;
  }

  static std::size_t equalAtTheEnd(const json& from, const json& to, std::size_t most) {
    std::size_t count = 0;
    while (count < most && from[from.size() - 1 - count] == to[to.size() - 1 - count]) ++count;
    return count;
  }
};

}  // namespace

json differenceOf(const json& from, const json& to) {
  Difference difference;
  if (from != to) difference.compare("", from, to);
  return std::move(difference.operations);
}

}  // namespace qx::screens
