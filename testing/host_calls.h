#pragma once

// The record that all fakes of one host share: which operations were called, and what they are to
// do instead of succeeding.

#include "qxframework/automation/text.h"
#include "qxframework/automation/types.h"

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qx::test {

/// Returns the text as UTF-8, "null" for a null pointer.
inline std::string narrow(const OLECHAR* text) {
  if (text == nullptr) return "null";
  return toUtf8(std::u16string_view(text));
}

/// Lists the calls in order as "Object.Operation(arguments)". A test makes any operation fail,
/// return an error number or run a hook by its name, also operations that are not listed because
/// they only read.
class HostCalls {
 public:
  /// Runs the hook of `name` and returns its failure, S_OK if the test has set none.
  HRESULT enter(const std::string& name) {
    if (const auto entry = hooks.find(name); entry != hooks.end()) {
      const auto hook = entry->second;  // a hook may remove itself from the map
      hook();
    }
    const auto failure = failures.find(name);
    return failure == failures.end() ? S_OK : failure->second;
  }
  /// Lists the call with its arguments, then enters it.
  HRESULT record(const std::string& name, const std::string& arguments) {
    calls.push_back(name + "(" + arguments + ")");
    return enter(name);
  }
  /// Lists the call without brackets, then enters it.
  HRESULT record(const std::string& name) {
    calls.push_back(name);
    return enter(name);
  }
  /// Returns the calls that begin with `head`, without it.
  std::vector<std::string> of(std::string_view head) const {
    std::vector<std::string> found;
    for (const std::string& call : calls)
      if (call.starts_with(head)) found.push_back(call.substr(head.size()));
    return found;
  }
  /// True if the list contains exactly this call.
  bool has(const std::string& call) const {
    return std::find(calls.begin(), calls.end(), call) != calls.end();
  }
  /// Returns the error number that the test has set for `name`, 0 if none.
  long answer(const std::string& name) const {
    const auto found = answers.find(name);
    return found == answers.end() ? 0 : found->second;
  }

  std::vector<std::string> calls;
  std::map<std::string, HRESULT> failures;
  std::map<std::string, std::function<void()>> hooks;
  std::map<std::string, long> answers;
};

}  // namespace qx::test
