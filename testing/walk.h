#pragma once

// The user of an embedded client as a person at a screen. With the environment variable QX_WALK
// set, each action of EmbeddedClient is one step of a walk, and a test prints its steps, their
// results and the events of the client on standard output, one line each:
//
//   walk > press QX_FCL_# 1
//   walk event item 1 QX_FCL_# 1 before
//   walk < done
//
// QX_WALK=calls carries the steps out by calls, as EmbeddedClient does without a walk.
// QX_WALK=clicks leaves them to the parent process (tests/browser/walk.py), which does them in a
// browser: the line "walk ask 3 press QX_FCL_1 1" asks for step 3, and the parent answers with a
// line on standard input: the number, then "done", "vetoed", "refused CODE", "absent" if the page
// does not offer the action, or "failed WHY". Meanwhile the message loop runs, so that the page is
// served. A handler of the add-on may make a step, too, during a step.

#include "qxframework/host/application.h"

#include <functional>
#include <memory>
#include <string>

namespace qx::test {

class Walk {
 public:
  /// Returns null without QX_WALK. Throws std::runtime_error for an unknown value.
  static std::unique_ptr<Walk> ofEnvironment();

  /// Returns the keys of the connection string that the walk needs, each preceded by "&". The
  /// environment variable QX_WALK_LANGUAGE has the number of the user's language.
  std::string keys() const;
  /// Prints the events of the client from now on.
  void watch(IApplication* application);

  /// Does a step, which is written as in a play script; `call` does it by a call and `menus`
  /// returns the printed menus of the client. Returns false if an add-on has vetoed the step.
  /// Throws _com_error if the client has refused it, and std::runtime_error if the parent process
  /// cannot do it. If the page does not offer the action, `call` does it: what a page keeps from
  /// its user, the client refuses, too. If it does not, the walk prints "walk < only by a call".
  bool act(const std::string& step, const std::function<bool()>& call,
           const std::function<std::string()>& menus);

 private:
  explicit Walk(bool byClicks) : byClicks_(byClicks) {}
  std::string ask(const std::string& step);

  bool byClicks_;
};

}  // namespace qx::test
