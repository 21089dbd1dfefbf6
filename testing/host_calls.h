#pragma once

#include "qxframework/automation/text.h"
#include "qxframework/automation/types.h"

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace qx::test {

inline std::string narrow(const OLECHAR* text) {
  if (text == nullptr) return "null";
  return toUtf8(std::u16string_view(text));
}

/// What the fakes of the host were asked for, in order, as "Object.Operation(arguments)". Any
/// operation, recorded or not, can be made to fail, to answer with a code or to run a hook by its
/// name.
class HostCalls {
 public:
  HRESULT enter(const std::string& name) {
    if (const auto entry = hooks.find(name); entry != hooks.end()) {
      const auto hook = entry->second;  // it may take itself out of the list
      hook();
    }
    const auto failure = failures.find(name);
    return failure == failures.end() ? S_OK : failure->second;
  }
  HRESULT record(const std::string& name, const std::string& arguments) {
    calls.push_back(name + "(" + arguments + ")");
    return enter(name);
  }
  /// Listed without brackets.
  HRESULT record(const std::string& name) {
    calls.push_back(name);
    return enter(name);
  }
  /// The calls that begin with `head`, without it.
  std::vector<std::string> of(std::string_view head) const {
    std::vector<std::string> found;
    for (const std::string& call : calls)
      if (call.starts_with(head)) found.push_back(call.substr(head.size()));
    return found;
  }
  bool has(const std::string& call) const {
    for (const std::string& each : calls)
      if (each == call) return true;
    return false;
  }
  /// The answer that `name` is to give instead of 0, an error number of the host.
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
