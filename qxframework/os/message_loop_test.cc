#include "qxframework/os/message_loop.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace qx {
namespace {

bool isReadable(int fd) {
  pollfd entry{fd, POLLIN, 0};
  return poll(&entry, 1, 0) == 1;
}

/// Runs each test on a thread of its own, so that each has a fresh queue.
template <typename Body>
void onFreshThread(Body body) {
  std::thread(body).join();
}

TEST(MessageLoop, DeliversMessagesToTheirWindowInOrder) {
  onFreshThread([] {
    std::vector<UINT> seen;
    const HWND window = CreateMessageWindow([&](const MSG& message) {
      seen.push_back(message.message);
      return true;
    });
    EXPECT_TRUE(PostMessageW(window, WM_APP, 0, 0));
    EXPECT_TRUE(PostMessageW(window, WM_APP + 1, 0, 0));
    PostQuitMessage(7);
    EXPECT_EQ(RunMessageLoop(), 7);
    EXPECT_EQ(seen, (std::vector<UINT>{WM_APP, WM_APP + 1}));
  });
}

TEST(MessageLoop, CarriesBothArguments) {
  onFreshThread([] {
    const HWND window = CreateMessageWindow({});
    PostMessageW(window, WM_APP, ~std::uintptr_t{0}, -5);
    MSG message;
    ASSERT_TRUE(GetMessageW(&message));
    EXPECT_EQ(message.hwnd, window);
    EXPECT_EQ(message.wParam, ~std::uintptr_t{0});
    EXPECT_EQ(message.lParam, -5);
  });
}

TEST(MessageLoop, DestroyMessageToAWindowWithoutHandlerEndsTheLoop) {
  onFreshThread([] {
    const HWND window = CreateMessageWindow({});
    PostMessageW(window, WM_DESTROY, 0, 0);
    EXPECT_EQ(RunMessageLoop(), 0);
  });
}

TEST(MessageLoop, DestroyMessageThatIsNotHandledEndsTheLoop) {
  onFreshThread([] {
    int calls = 0;
    const HWND window = CreateMessageWindow([&](const MSG&) { return ++calls > 1; });
    PostMessageW(window, WM_DESTROY, 0, 0);
    EXPECT_EQ(RunMessageLoop(), 0);
    EXPECT_EQ(calls, 1);
  });
}

TEST(MessageLoop, DestroyMessageThatIsHandledDoesNotEndTheLoop) {
  onFreshThread([] {
    const HWND window = CreateMessageWindow([](const MSG& message) {
      if (message.message == WM_APP) PostQuitMessage(3);
      return true;
    });
    PostMessageW(window, WM_DESTROY, 0, 0);
    PostMessageW(window, WM_APP, 0, 0);
    EXPECT_EQ(RunMessageLoop(), 3);
  });
}

TEST(MessageLoop, QuitFollowsTheQueuedMessages) {
  onFreshThread([] {
    PostQuitMessage(5);
    PostMessageW(nullptr, WM_APP, 0, 0);
    MSG message;
    EXPECT_TRUE(GetMessageW(&message));
    EXPECT_EQ(message.message, WM_APP);
    EXPECT_FALSE(GetMessageW(&message));
    EXPECT_EQ(message.wParam, 5U);
    EXPECT_FALSE(PeekMessageW(&message, PM_REMOVE));
  });
}

TEST(MessageLoop, PostingToADestroyedWindowIsRefused) {
  onFreshThread([] {
    const HWND window = CreateMessageWindow({});
    EXPECT_TRUE(DestroyMessageWindow(window));
    EXPECT_FALSE(PostMessageW(window, WM_APP, 0, 0));
    EXPECT_FALSE(DestroyMessageWindow(window));
    EXPECT_FALSE(DestroyMessageWindow(nullptr));
  });
}

TEST(MessageLoop, MessagesForADestroyedWindowAreDropped) {
  onFreshThread([] {
    const HWND window = CreateMessageWindow({});
    PostMessageW(window, WM_DESTROY, 0, 0);
    DestroyMessageWindow(window);
    PostQuitMessage(9);
    EXPECT_EQ(RunMessageLoop(), 9);
  });
}

TEST(MessageLoop, AWindowMayBeDestroyedInItsOwnHandler) {
  onFreshThread([] {
    HWND window = nullptr;
    window = CreateMessageWindow([&](const MSG&) {
      EXPECT_TRUE(DestroyMessageWindow(window));
      PostQuitMessage(1);
      return true;
    });
    PostMessageW(window, WM_APP, 0, 0);
    EXPECT_EQ(RunMessageLoop(), 1);
  });
}

TEST(MessageLoop, OnlyItsOwnThreadCanDestroyAWindow) {
  const HWND window = CreateMessageWindow({});
  onFreshThread([window] { EXPECT_FALSE(DestroyMessageWindow(window)); });
  EXPECT_TRUE(DestroyMessageWindow(window));
}

TEST(MessageLoop, AnotherThreadCanPost) {
  std::promise<HWND> ready;
  int exitCode = 0;
  std::thread loop([&] {
    ready.set_value(CreateMessageWindow([](const MSG& message) {
      PostQuitMessage(static_cast<int>(message.wParam));
      return true;
    }));
    exitCode = RunMessageLoop();
  });
  EXPECT_TRUE(PostMessageW(ready.get_future().get(), WM_APP, 11, 0));
  loop.join();
  EXPECT_EQ(exitCode, 11);
}

TEST(MessageLoop, WindowsEndWithTheirThread) {
  HWND window = nullptr;
  onFreshThread([&] { window = CreateMessageWindow({}); });
  EXPECT_FALSE(PostMessageW(window, WM_APP, 0, 0));
}

TEST(MessageLoop, PostingToAnotherProcessIsRefused) {
  const HWND window = CreateMessageWindow({});
  const pid_t child = fork();
  if (child == 0) _exit(PostMessageW(window, WM_APP, 0, 0) ? 1 : 0);
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  DestroyMessageWindow(window);
}

TEST(MessageLoop, PeekLeavesOrRemovesTheMessage) {
  onFreshThread([] {
    MSG message;
    EXPECT_FALSE(PeekMessageW(&message, PM_REMOVE));
    PostMessageW(nullptr, WM_APP, 1, 0);
    EXPECT_TRUE(PeekMessageW(&message, PM_NOREMOVE));
    EXPECT_TRUE(PeekMessageW(&message, PM_REMOVE));
    EXPECT_EQ(message.wParam, 1U);
    EXPECT_FALSE(PeekMessageW(&message, PM_REMOVE));
    PostQuitMessage(2);
    EXPECT_TRUE(PeekMessageW(&message, PM_REMOVE));
    EXPECT_EQ(message.message, WM_QUIT);
    EXPECT_EQ(message.wParam, 2U);
  });
}

TEST(MessageLoop, DescriptorIsReadableWhileTheQueueIsNotEmpty) {
  onFreshThread([] {
    const int fd = messageLoopFd();
    MSG message;
    EXPECT_FALSE(isReadable(fd));
    PostMessageW(nullptr, WM_APP, 0, 0);
    PostMessageW(nullptr, WM_APP, 0, 0);
    EXPECT_TRUE(isReadable(fd));
    GetMessageW(&message);
    EXPECT_TRUE(isReadable(fd));
    GetMessageW(&message);
    EXPECT_FALSE(isReadable(fd));
    PostQuitMessage(0);
    EXPECT_TRUE(isReadable(fd));
    GetMessageW(&message);
    EXPECT_FALSE(isReadable(fd));
  });
}

TEST(Tasks, RunInTheLoopInOrderWithMessages) {
  onFreshThread([] {
    std::string seen;
    const HWND window = CreateMessageWindow([&](const MSG&) {
      seen += "message ";
      return true;
    });
    postTask([&] { seen += "first "; });
    PostMessageW(window, WM_APP, 0, 0);
    postTask([&] {
      seen += "last";
      PostQuitMessage(0);
    });
    EXPECT_EQ(RunMessageLoop(), 0);
    EXPECT_EQ(seen, "first message last");
  });
}

TEST(Tasks, PeekRunsThemAndEmptiesTheQueue) {
  onFreshThread([] {
    int runs = 0;
    postTask([&] { ++runs; });
    MSG message;
    EXPECT_FALSE(PeekMessageW(&message, PM_NOREMOVE));
    EXPECT_EQ(runs, 1);
    EXPECT_FALSE(isReadable(messageLoopFd()));
  });
}

TEST(Tasks, ATaskThatPostsItselfDoesNotBlockPeek) {
  onFreshThread([] {
    int runs = 0;
    std::function<void()> again = [&] {
      ++runs;
      postTask(again);
    };
    postTask(again);
    MSG message;
    EXPECT_FALSE(PeekMessageW(&message, PM_REMOVE));
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(isReadable(messageLoopFd()));
  });
}

TEST(Tasks, CanBePostedFromOtherThreads) {
  const std::thread::id self = std::this_thread::get_id();
  std::thread::id ran;
  const TaskQueue queue = TaskQueue::ofThisThread();
  std::thread other([&, queue] {
    EXPECT_TRUE(queue.post([&] {
      ran = std::this_thread::get_id();
      PostQuitMessage(0);
    }));
  });
  EXPECT_EQ(RunMessageLoop(), 0);
  other.join();
  EXPECT_EQ(ran, self);
}

TEST(Tasks, AreRefusedAfterTheirThreadHasEnded) {
  std::promise<TaskQueue> handle;
  onFreshThread([&] { handle.set_value(TaskQueue::ofThisThread()); });
  EXPECT_FALSE(handle.get_future().get().post([] {}));
}

TEST(Tasks, AnExceptionLeavesTheLoopAndKeepsTheQueue) {
  onFreshThread([] {
    postTask([] { throw std::runtime_error("task"); });
    PostMessageW(nullptr, WM_APP, 0, 0);
    MSG message;
    EXPECT_THROW(GetMessageW(&message), std::runtime_error);
    EXPECT_TRUE(GetMessageW(&message));
    EXPECT_EQ(message.message, WM_APP);
  });
}

TEST(Tasks, MayRunALoopOfTheirOwn) {
  onFreshThread([] {
    postTask([] { EXPECT_EQ(RunMessageLoop(), 1); });
    postTask([] { PostQuitMessage(1); });
    MSG message;
    EXPECT_FALSE(PeekMessageW(&message, PM_REMOVE));
  });
}

TEST(WindowProcess, IsTheProcessThatCreatedTheWindow) {
  const HWND window = CreateMessageWindow({});
  EXPECT_EQ(windowProcessId(window), getpid());
  EXPECT_EQ(windowProcessId(nullptr), 0);
  EXPECT_EQ(processExecutable(windowProcessId(window)),
            std::filesystem::read_symlink("/proc/self/exe"));
  DestroyMessageWindow(window);
}

TEST(WindowProcess, AProcessThatDoesNotExistHasNoExecutable) {
  EXPECT_EQ(processExecutable(0), std::nullopt);
  EXPECT_EQ(processExecutable(-1), std::nullopt);
  const pid_t child = fork();
  if (child == 0) _exit(0);
  ASSERT_EQ(waitpid(child, nullptr, 0), child);
  EXPECT_EQ(processExecutable(child), std::nullopt);
}

}  // namespace
}  // namespace qx
