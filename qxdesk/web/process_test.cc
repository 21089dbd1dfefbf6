// The server and its process: children, the end of the process, descriptors and signals.

#include "qxdesk/web/test_support.h"
#include "qxframework/automation/text.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <future>
#include <optional>
#include <string>
#include <thread>

namespace qx::web {
namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kChecksLeaks = true;
#elif defined(__has_feature)
constexpr bool kChecksLeaks = __has_feature(address_sanitizer);
#else
constexpr bool kChecksLeaks = false;
#endif

/// Runs `body` in a child, which ends with its result after half a minute at the latest. Returns
/// its exit code, or minus the signal that ended it.
class Child {
 public:
  explicit Child(const std::function<void()>& body) : pid_(fork()) {
    if (pid_ != 0) return;
    alarm(30);
    body();
    _exit(9);
  }
  void end(int signal) const { kill(pid_, signal); }
  int wait() const {
    int status = 0;
    waitpid(pid_, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

 private:
  pid_t pid_;
};

/// A server in a child, which does `body` when a page is open.
class ServerInChild {
 public:
  explicit ServerInChild(const std::function<void(RunningServer&)>& body) {
    if (pipe(address_) != 0) ADD_FAILURE() << "no pipe";
    child_.emplace([this, &body] {
      // Left to the end of the process.
      static auto* const running = new RunningServer;
      const std::string line = std::to_string(running->port) + " " + running->cookie + "\n";
      if (write(address_[1], line.data(), line.size()) < 0) _exit(1);
      if (running->desk->next() != "opened 1") _exit(2);
      body(*running);
    });
    close(address_[1]);
  }
  ~ServerInChild() { close(address_[0]); }

  const Child& child() const { return *child_; }
  Client openPage() const {
    char line[200]{};
    if (read(address_[0], line, sizeof line - 1) <= 0) ADD_FAILURE() << "no address";
    const std::string text(line);
    const std::string port = text.substr(0, text.find(' '));
    const std::string cookie = text.substr(port.size() + 1, text.size() - port.size() - 2);
    Client page(static_cast<std::uint16_t>(std::stoi(port)));
    page.send("GET /socket HTTP/1.1\r\nHost: 127.0.0.1:" + port + "\r\nCookie: " + cookie +
              "\r\nOrigin: http://127.0.0.1:" + port +
              "\r\nConnection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
              "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n");
    EXPECT_EQ(page.readResponse().status, 101);
    return page;
  }

 private:
  int address_[2]{-1, -1};
  std::optional<Child> child_;
};

TEST(Process, ThatIsEndedByASignalLetsTheDeskSayItsLastWords) {
  for (const int signal : {SIGTERM, SIGINT}) {
    const ServerInChild server([](RunningServer& running) {
      running.desk->whenProcessEnds = [&running] { running.send(0, "last words"); };
      running.send(1, "ready");
      for (;;) pause();
    });
    Client page = server.openPage();
    EXPECT_EQ(page.next(), "ready");
    server.child().end(signal);
    EXPECT_EQ(page.next(), "last words");
    EXPECT_EQ(page.next(), "1001 The host ends.");
    page.closePage();
    EXPECT_EQ(server.child().wait(), -signal);
  }
}

TEST(Process, ThatIsEndedByASignalDoesNotWaitForAPageThatIsSilent) {
  const ServerInChild server([](RunningServer& running) {
    running.send(1, "ready");
    for (;;) pause();
  });
  Client page = server.openPage();
  EXPECT_EQ(page.next(), "ready");
  server.child().end(SIGTERM);
  EXPECT_EQ(server.child().wait(), -SIGTERM);
}

TEST(Process, WithoutAPageIsEndedByASignal) {
  const Child child([] {
    RunningServer running;
    raise(SIGTERM);
    for (;;) pause();
  });
  EXPECT_EQ(child.wait(), -SIGTERM);
}

TEST(Process, IsEndedAtOnceByASecondSignal) {
  const Child child([] {
    RunningServer running;
    std::promise<void> entered;
    running.desk->whenProcessEnds = [&] {
      entered.set_value();
      std::promise<void>().get_future().wait();
    };
    raise(SIGTERM);
    entered.get_future().wait();
    raise(SIGTERM);
    _exit(1);
  });
  EXPECT_EQ(child.wait(), -SIGTERM);
}

TEST(Process, KeepsItsOwnAnswerToTheSignals) {
  const Child child([] {
    signal(SIGTERM, [](int) { _exit(7); });
    signal(SIGINT, SIG_IGN);
    RunningServer running;
    raise(SIGINT);
    raise(SIGTERM);
  });
  EXPECT_EQ(child.wait(), 7);
}

TEST(Process, HasTheSignalsAsBeforeWhenItsServersHaveStopped) {
  const auto isDefault = [](int signal) {
    struct sigaction now {};
    sigaction(signal, nullptr, &now);
    return now.sa_handler == SIG_DFL;
  };
  const Child child([&] {
    RunningServer first;
    { RunningServer second; }
    if (isDefault(SIGTERM) || isDefault(SIGINT)) _exit(1);
    first.server->Stop();
    _exit(isDefault(SIGTERM) && isDefault(SIGINT) ? 0 : 2);
  });
  EXPECT_EQ(child.wait(), 0);
}

TEST(Process, IsNotEndedByASignalForItsChild) {
  RunningServer running;
  std::atomic<bool> ended = false;
  running.desk->whenProcessEnds = [&] { ended = true; };
  Client page = running.openPage(1);
  const Child child([] {
    for (;;) pause();
  });
  child.end(SIGTERM);
  EXPECT_EQ(child.wait(), -SIGTERM);
  running.send(1, "still here");
  EXPECT_EQ(page.next(), "still here");
  EXPECT_FALSE(ended);
}

TEST(Process, ThatEndsWithoutAStopClosesItsPages) {
  const ServerInChild server([](RunningServer& running) {
    running.send(1, "last words");
    std::exit(0);
  });
  Client page = server.openPage();
  EXPECT_EQ(page.next(), "last words");
  EXPECT_EQ(page.next(), "1001 The host ends.");
  page.closePage();
  EXPECT_EQ(server.child().wait(), 0);
}

TEST(Process, ThatEndsFromAnotherThreadDoesNotHang) {
  const Child child([] {
    static auto* const running = new RunningServer;
    static Client page = running->openPage(1);
    std::thread([] { std::exit(0); }).join();
  });
  EXPECT_EQ(child.wait(), 0);
}

TEST(Process, ThatEndsOnTheServersThreadDoesNotHang) {
  const Child child([] {
    static auto* const running = new RunningServer;
    running->desk->whenOpened = [] { std::exit(0); };
    // Never destroyed: the thread that ends the process is not the one that uses it.
    static auto* const page = new Client(running->port);
    running->askForPage(*page);
    running->desk->next();
  });
  EXPECT_EQ(child.wait(), 0);
}

TEST(Process, AChildDoesNotDisturbTheServer) {
  RunningServer running;
  Client page = running.openPage(1);
  const Child child([&] {
    running.send(1, "from the child");
    running.server->ClosePage(1);
    running.server->Stop();
    running.server = nullptr;
    RunningServer own;
    if (own.get("/").status != 200) _exit(3);
    own.server->Stop();
    // A leak check would miss the memory that only the parent's thread has.
    if (kChecksLeaks) _exit(0);
    std::exit(0);
  });
  EXPECT_EQ(child.wait(), 0);
  running.send(1, "from the parent");
  EXPECT_EQ(page.next(), "from the parent");
  page.sendText("heard");
  EXPECT_EQ(running.desk->next(), "said 1 heard");
}

TEST(Process, ProgramsThatItStartsInheritNoSocket) {
  RunningServer running;
  Client page = running.openPage(1);
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    const std::string target = std::filesystem::read_symlink(entry.path(), gone).string();
    if (!target.starts_with("socket:")) continue;
    const int descriptor = std::stoi(entry.path().filename().string());
    EXPECT_EQ(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC) << target;
  }
}

TEST(Process, ServesAgainAfterItHadNoDescriptors) {
  const Child child([] {
    RunningServer running;
    Client page = running.openPage(1);
    Client waiting = Client(running.port);
    if (running.get("/").status != 200) _exit(1);
    // Sockets first, so that the client has one when the server can take none.
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const int free = dup(0);
    close(free);
    const rlimit tight{static_cast<rlim_t>(free) + 1, limit.rlim_max};
    if (setrlimit(RLIMIT_NOFILE, &tight) != 0) _exit(2);
    Client late(running.port);
    late.send(running.request("/"));
    running.send(1, "the thread is well");
    if (page.next() != "the thread is well") _exit(3);
    if (setrlimit(RLIMIT_NOFILE, &limit) != 0) _exit(4);
    if (late.readResponse().status != 200) _exit(5);
    _exit(0);
  });
  EXPECT_EQ(child.wait(), 0);
}

TEST(Process, KeepsItsSignalsAwayFromTheServersThread) {
  struct sigaction before {};
  sigaction(SIGPIPE, nullptr, &before);
  RunningServer running;
  sigset_t blocked;
  sigemptyset(&blocked);
  running.desk->whenOpened = [&] { pthread_sigmask(SIG_BLOCK, nullptr, &blocked); };
  Client page = running.openPage(1);
  for (const int signal : {SIGTERM, SIGINT, SIGUSR1, SIGALRM, SIGCHLD, SIGPIPE}) {
    EXPECT_EQ(sigismember(&blocked, signal), 1) << signal;
  }
  // A fault in the desk's own code is reported as one.
  for (const int signal : {SIGSEGV, SIGBUS, SIGABRT}) EXPECT_EQ(sigismember(&blocked, signal), 0);
  sigset_t own;
  pthread_sigmask(SIG_BLOCK, nullptr, &own);
  EXPECT_EQ(sigismember(&own, SIGTERM), 0);
  struct sigaction after {};
  sigaction(SIGPIPE, nullptr, &after);
  EXPECT_EQ(after.sa_handler, before.sa_handler);
}

}  // namespace
}  // namespace qx::web
