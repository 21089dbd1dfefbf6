#include "qxframework/os/message_loop.h"

#include "qxframework/os/unique_fd.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <deque>
#include <mutex>
#include <string>
#include <system_error>
#include <unordered_map>
#include <utility>

namespace qx {

// The items queued for one thread. Invariant: under the lock, the event descriptor is readable
// exactly while there is an item or a quit code.
class MessageQueue {
 public:
  struct Item {
    MSG message;
    std::function<void()> task;  // if set, the item is a task and no message
  };

  MessageQueue() : event_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
    if (!event_) throw std::system_error(errno, std::generic_category(), "no event descriptor");
  }

  // Returns false if the thread has ended.
  bool push(Item item) {
    const std::lock_guard lock(mutex_);
    if (closed_) return false;
    items_.push_back(std::move(item));
    signal();
    return true;
  }

  // Not an item of the queue: messages that are posted later still precede the quit message.
  void quit(int exitCode) {
    const std::lock_guard lock(mutex_);
    quitCode_ = exitCode;
    signal();
  }

  // Removes and returns the next item; the quit message only if no other is left.
  std::optional<Item> take() {
    const std::lock_guard lock(mutex_);
    std::optional<Item> item;
    if (!items_.empty()) {
      item = std::move(items_.front());
      items_.pop_front();
    } else if (quitCode_) {
      item = quitItem();
      quitCode_.reset();
    }
    if (items_.empty() && !quitCode_) clearSignal();
    return item;
  }

  // Returns the next message without removing it, or nothing if a task or nothing is next.
  std::optional<MSG> peek() {
    const std::lock_guard lock(mutex_);
    if (!items_.empty()) {
      if (items_.front().task) return std::nullopt;
      return items_.front().message;
    }
    if (quitCode_) return quitItem().message;
    return std::nullopt;
  }

  std::size_t size() {
    const std::lock_guard lock(mutex_);
    return items_.size();
  }

  bool isTaskNext() {
    const std::lock_guard lock(mutex_);
    return !items_.empty() && items_.front().task;
  }

  void wait() const {
    pollfd entry{event_.get(), POLLIN, 0};
    // A signal ends poll() even if its handler restarts other system calls.
    while (poll(&entry, 1, -1) < 0) {
      if (errno != EINTR) throw std::system_error(errno, std::generic_category(), "poll");
    }
  }

  void close() {
    // Destroyed after the lock is released: a task may own anything, even something that posts.
    std::deque<Item> dropped;
    const std::lock_guard lock(mutex_);
    closed_ = true;
    dropped.swap(items_);
  }

  int descriptor() const { return event_.get(); }

 private:
  Item quitItem() const {
    return {{nullptr, WM_QUIT, static_cast<std::uintptr_t>(*quitCode_), 0}, nullptr};
  }

  // The counter of the descriptor may become any number: one read resets it to 0.
  void signal() const { eventfd_write(event_.get(), 1); }

  void clearSignal() const {
    eventfd_t ignored = 0;
    eventfd_read(event_.get(), &ignored);
  }

  UniqueFd event_;
  std::mutex mutex_;
  std::deque<Item> items_;
  std::optional<int> quitCode_;
  bool closed_ = false;
};

namespace {

// The handler is shared, so that a window can be destroyed while its handler runs.
struct Window {
  std::shared_ptr<MessageQueue> queue;
  std::shared_ptr<const MessageHandler> handler;
};

// The windows of this process by the lower half of their handle.
class WindowTable {
 public:
  static WindowTable& instance() {
    // Never destroyed, because threads may end after the process's statics were destroyed.
    static auto* table = new WindowTable;
    return *table;
  }

  std::uint32_t add(Window window) {
    const std::lock_guard lock(mutex_);
    // Skips 0, and numbers still in use after the counter has wrapped around.
    while (++last_ == 0 || windows_.contains(last_)) {
    }
    windows_.emplace(last_, std::move(window));
    return last_;
  }

  std::optional<Window> find(std::uint32_t serial) {
    const std::lock_guard lock(mutex_);
    const auto found = windows_.find(serial);
    if (found == windows_.end()) return std::nullopt;
    return found->second;
  }

  bool remove(std::uint32_t serial, const std::shared_ptr<MessageQueue>& owner) {
    // Destroyed after the lock is released: a handler may own anything, even another window.
    std::optional<Window> removed;
    const std::lock_guard lock(mutex_);
    const auto found = windows_.find(serial);
    if (found == windows_.end() || found->second.queue != owner) return false;
    removed = std::move(found->second);
    windows_.erase(found);
    return true;
  }

  void removeAll(const std::shared_ptr<MessageQueue>& owner) {
    std::deque<Window> removed;
    const std::lock_guard lock(mutex_);
    for (auto each = windows_.begin(); each != windows_.end();) {
      if (each->second.queue != owner) {
        ++each;
        continue;
      }
      removed.push_back(std::move(each->second));
      each = windows_.erase(each);
    }
  }

 private:
  std::mutex mutex_;
  std::unordered_map<std::uint32_t, Window> windows_;
  std::uint32_t last_ = 0;
};

// The calling thread's queue, closed when the thread ends. Posters may hold it longer.
class ThreadQueue {
 public:
  ThreadQueue() : queue_(std::make_shared<MessageQueue>()) {}
  ~ThreadQueue() {
    queue_->close();
    WindowTable::instance().removeAll(queue_);
  }
  ThreadQueue(const ThreadQueue&) = delete;
  ThreadQueue& operator=(const ThreadQueue&) = delete;

  static const std::shared_ptr<MessageQueue>& get() {
    thread_local const ThreadQueue queue;
    return queue.queue_;
  }

 private:
  std::shared_ptr<MessageQueue> queue_;
};

constexpr unsigned kProcessShift = 32;
static_assert(sizeof(HWND) == 8, "a window's handle holds a process id and a number");

// The process id makes a handle of another process recognisable, instead of being mistaken for the
// window of this process with the same number.
HWND handleOf(std::uint32_t serial) {
  const auto process = static_cast<std::uintptr_t>(static_cast<std::uint32_t>(getpid()));
  return reinterpret_cast<HWND>(process << kProcessShift | serial);
}

std::uint32_t serialOf(HWND window) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(window));
}

// Returns a copy, so that the handler is called without the table's lock.
std::optional<Window> findWindow(HWND window) {
  if (windowProcessId(window) != getpid()) return std::nullopt;
  return WindowTable::instance().find(serialOf(window));
}

// Runs the tasks that precede the next message. Tasks that these post are left for the next call;
// otherwise a task that posts itself would never let PeekMessageW() return.
void runTasks(MessageQueue& queue) {
  for (std::size_t left = queue.size(); left > 0 && queue.isTaskNext(); --left) {
    queue.take()->task();
  }
}

}  // namespace

TaskQueue TaskQueue::ofThisThread() { return TaskQueue(ThreadQueue::get()); }

TaskQueue::TaskQueue(std::shared_ptr<MessageQueue> queue) : queue_(std::move(queue)) {}

bool TaskQueue::post(std::function<void()> task) const {
  return queue_->push({MSG{}, std::move(task)});
}

void postTask(std::function<void()> task) { TaskQueue::ofThisThread().post(std::move(task)); }

int messageLoopFd() { return ThreadQueue::get()->descriptor(); }

pid_t windowProcessId(HWND window) {
  return static_cast<pid_t>(reinterpret_cast<std::uintptr_t>(window) >> kProcessShift);
}

std::optional<std::filesystem::path> processExecutable(pid_t process) {
  std::error_code error;
  std::string path =
      std::filesystem::read_symlink("/proc/" + std::to_string(process) + "/exe", error).string();
  if (error || process <= 0) return std::nullopt;
  // The kernel appends this to the path of an executable that was removed or replaced.
  constexpr std::string_view kDeleted = " (deleted)";
  if (path.ends_with(kDeleted)) path.resize(path.size() - kDeleted.size());
  return path;
}

}  // namespace qx

HWND CreateMessageWindow(qx::MessageHandler handler) {
  qx::Window window{qx::ThreadQueue::get(), nullptr};
  if (handler) window.handler = std::make_shared<const qx::MessageHandler>(std::move(handler));
  return qx::handleOf(qx::WindowTable::instance().add(std::move(window)));
}

bool DestroyMessageWindow(HWND window) {
  if (qx::windowProcessId(window) != getpid()) return false;
  return qx::WindowTable::instance().remove(qx::serialOf(window), qx::ThreadQueue::get());
}

bool PostMessageW(HWND window, UINT message, std::uintptr_t wParam, std::intptr_t lParam) {
  const MSG item{window, message, wParam, lParam};
  if (window == nullptr) return qx::ThreadQueue::get()->push({item, nullptr});
  const std::optional<qx::Window> target = qx::findWindow(window);
  return target && target->queue->push({item, nullptr});
}

void PostQuitMessage(int exitCode) { qx::ThreadQueue::get()->quit(exitCode); }

bool GetMessageW(MSG* message) {
  const std::shared_ptr<qx::MessageQueue> queue = qx::ThreadQueue::get();
  for (;;) {
    queue->wait();
    // Removed from the queue before its task runs, so that a task that throws does not run again.
    const std::optional<qx::MessageQueue::Item> item = queue->take();
    if (!item) continue;
    if (!item->task) {
      *message = item->message;
      return message->message != WM_QUIT;
    }
    item->task();
  }
}

bool PeekMessageW(MSG* message, UINT remove) {
  const std::shared_ptr<qx::MessageQueue> queue = qx::ThreadQueue::get();
  qx::runTasks(*queue);
  const std::optional<MSG> next = queue->peek();
  if (!next) return false;
  *message = *next;
  if ((remove & PM_REMOVE) != 0) queue->take();
  return true;
}

void DispatchMessageW(const MSG* message) {
  const std::optional<qx::Window> window = qx::findWindow(message->hwnd);
  if (!window) return;
  if (window->handler && (*window->handler)(*message)) return;
  if (message->message == WM_DESTROY) PostQuitMessage(0);
}

int RunMessageLoop() {
  MSG message;
  while (GetMessageW(&message)) DispatchMessageW(&message);
  return static_cast<int>(message.wParam);
}
