#include "qxdesk/company/at_exit.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <string>
#include <thread>
#include <vector>

namespace qx::desk {
namespace {

/// Runs `body` in a process of its own, which then ends by exit(), and returns what `body` and the
/// actions write to the descriptor.
std::string outputOf(const std::function<void(int)>& body) {
  std::array<int, 2> ends{};
  EXPECT_EQ(pipe(ends.data()), 0);
  const pid_t child = fork();
  if (child == 0) {
    body(ends[1]);
    std::exit(0);
  }
  close(ends[1]);
  std::string text;
  std::array<char, 64> part{};
  for (ssize_t got = 1; (got = read(ends[0], part.data(), part.size())) > 0;) {
    text.append(part.data(), static_cast<std::size_t>(got));
  }
  close(ends[0]);
  waitpid(child, nullptr, 0);
  return text;
}

/// Returns an object that nothing destroys. It stays reachable, so that a leak check is silent.
AtExit* leaked(int to, char mark) {
  static auto* const all = new std::vector<AtExit*>;
  return all->emplace_back(new AtExit([=] {
    if (write(to, &mark, 1) != 1) _exit(1);
  }));
}

TEST(AtExitTest, RunsTheActionsOfLeakedObjectsTheLatestFirst) {
  EXPECT_EQ(outputOf([](int to) {
              leaked(to, 'a');
              leaked(to, 'b');
            }),
            "ba");
}

TEST(AtExitTest, ADestroyedObjectHasNoActionAnyMore) {
  EXPECT_EQ(
      outputOf([](int to) { const AtExit gone([=] { _exit(write(to, "a", 1) == 1 ? 0 : 1); }); }),
      "");
}

TEST(AtExitTest, TheActionOfAnotherThreadDoesNotRun) {
  EXPECT_EQ(outputOf([](int to) {
              std::thread([=] { leaked(to, 'a'); }).join();
              leaked(to, 'b');
            }),
            "b");
}

TEST(AtExitTest, TheActionOfTheParentDoesNotRunInAChild) {
  EXPECT_EQ(outputOf([](int to) {
              leaked(to, 'a');
              const pid_t child = fork();
              if (child == 0) std::exit(0);
              waitpid(child, nullptr, 0);
              leaked(to, 'b');
            }),
            "ba");
}

}  // namespace
}  // namespace qx::desk
