#include "testing/walk.h"

#include "qxframework/automation/com_error.h"
#include "qxframework/os/message_loop.h"
#include "testing/event_lines.h"

#include <poll.h>
#include <unistd.h>

#include <cstdlib>
#include <iostream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>

namespace qx::test {
namespace {

// Longer than the parent waits for anything, so that it is the one that says what is missing.
constexpr int kPatienceMilliseconds = 90'000;

std::string variable(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? std::string() : value;
}

// The host and the test library print on standard output, too, so each line is complete at once.
void say(const std::string& line) { std::cout << "walk " + line + "\n" << std::flush; }

// Returns a line without the number in the UID of a form: how many forms a program has opened
// before depends on its other tests. The UID of a menu entry stays as it is.
std::string withoutNumbers(const std::string& line) {
  if (line.starts_with("menu ")) return line;
  std::istringstream words(line);
  std::string out;
  for (std::string word; std::getline(words, word, ' ');) {
    const std::size_t end = word.find_last_not_of("0123456789");
    const bool isForm = end != std::string::npos && word[end] == '_' && end + 1 < word.size();
    if (!out.empty()) out += ' ';
    out += isForm ? word.substr(0, end + 1) + "#" : word;
  }
  return out;
}

// Runs the messages and tasks that wait. A quit message is for the loop of the add-on.
void runMessages(std::optional<int>& quit) {
  for (MSG message; PeekMessageW(&message, PM_REMOVE);) {
    if (message.message == WM_QUIT) {
      quit = static_cast<int>(message.wParam);
    } else {
      DispatchMessageW(&message);
    }
  }
}

char readChar() {
  char read = 0;
  if (::read(STDIN_FILENO, &read, 1) != 1) {
    throw std::runtime_error("the process that does the steps has ended");
  }
  return read;
}

// Reads a line of standard input, and runs the message loop until there is one.
std::string lineMeanwhileServed() {
  std::optional<int> quit;
  std::string line;
  for (;;) {
    runMessages(quit);
    pollfd both[] = {{STDIN_FILENO, POLLIN, 0}, {messageLoopFd(), POLLIN, 0}};
    if (::poll(both, 2, kPatienceMilliseconds) <= 0) {
      throw std::runtime_error("no answer came to a step");
    }
    if (both[0].revents == 0) continue;
    for (char next = readChar(); next != '\n'; next = readChar()) line += next;
    if (quit) PostQuitMessage(*quit);
    return line;
  }
}

bool callAndSay(const std::function<bool()>& call, bool isOffered) {
  try {
    const bool done = call();
    say(isOffered ? (done ? "< done" : "< vetoed") : "< only by a call");
    return done;
  } catch (const _com_error& error) {
    say("< refused " + std::to_string(error.Error()));
    throw;
  }
}

}  // namespace

std::unique_ptr<Walk> Walk::ofEnvironment() {
  const std::string way = variable("QX_WALK");
  if (way.empty()) return nullptr;
  if (way != "calls" && way != "clicks") {
    throw std::runtime_error("QX_WALK=" + way + ": only calls and clicks are known");
  }
  return std::unique_ptr<Walk>(new Walk(way == "clicks"));
}

std::string Walk::keys() const {
  const std::string language = variable("QX_WALK_LANGUAGE");
  return (language.empty() ? "" : "&language=" + language) + (byClicks_ ? "&web=127.0.0.1:0" : "");
}

void Walk::watch(IApplication* application) {
  listEvents(application, [](const std::string& line) { say("event " + withoutNumbers(line)); });
}

bool Walk::act(const std::string& step, const std::function<bool()>& call,
               const std::function<std::string()>& menus) {
  say("> " + withoutNumbers(step));
  if (!byClicks_) return callAndSay(call, true);
  if (step.starts_with("menu ")) {
    std::istringstream lines(menus());
    for (std::string line; std::getline(lines, line);) say("tree " + line);
  }
  const std::string outcome = ask(step);
  if (outcome == "absent") return callAndSay(call, false);
  say("< " + outcome);
  constexpr std::string_view kRefused = "refused ";
  if (outcome.starts_with(kRefused)) {
    raiseError(static_cast<HRESULT>(std::stol(outcome.substr(kRefused.size()))));
  }
  if (outcome == "done" || outcome == "vetoed") return outcome == "done";
  throw std::runtime_error("step '" + step + "': " + outcome);
}

std::string Walk::ask(const std::string& step) {
  static int last = 0;
  const std::string number = std::to_string(++last);
  if (step.find('\n') != std::string::npos) {
    throw std::runtime_error("a step with a line end cannot be walked");
  }
  // What the test itself has changed reaches the page before the step does.
  std::optional<int> quit;
  runMessages(quit);
  if (quit) PostQuitMessage(*quit);
  say("ask " + number + " " + step);
  const std::string answer = lineMeanwhileServed();
  if (!answer.starts_with(number + " ")) {
    throw std::runtime_error("step " + number + " got the answer '" + answer + "'");
  }
  return answer.substr(number.size() + 1);
}

}  // namespace qx::test
