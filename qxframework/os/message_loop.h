#pragma once

// The message loop of an add-on. Every thread has a queue of messages and tasks, in the order in
// which they were posted; windows are nothing but addresses in it. A loop takes messages with
// GetMessageW() and hands them to their windows with DispatchMessageW(); RunMessageLoop() does
// both until somebody posts the quit message. Tasks run inside GetMessageW() and PeekMessageW(), so
// that every loop serves them.
//
// A loop of another kind can poll messageLoopFd() and take messages with PeekMessageW() when it is
// readable.

#include "qxframework/automation/export.h"
#include "qxframework/automation/types.h"
#include "qxframework/os/window_handle.h"

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>

inline constexpr UINT WM_DESTROY = 0x0002;
inline constexpr UINT WM_QUIT = 0x0012;
/// The first message number that is free for an add-on's own use.
inline constexpr UINT WM_APP = 0x8000;

inline constexpr UINT PM_NOREMOVE = 0;
inline constexpr UINT PM_REMOVE = 1;

struct MSG {
  HWND hwnd = nullptr;
  UINT message = 0;
  std::uintptr_t wParam = 0;
  std::intptr_t lParam = 0;
};

namespace qx {
/// Handles a message of its window. True: handled. False: the default handling follows, which
/// for WM_DESTROY posts the quit message with code 0 and else does nothing.
using MessageHandler = std::function<bool(const MSG&)>;
}  // namespace qx

/// A window of the calling thread. An empty handler leaves everything to the default handling.
QX_API HWND CreateMessageWindow(qx::MessageHandler handler);
/// Removes a window of the calling thread; its messages are dropped from then on. False when it is
/// no window of this thread.
QX_API bool DestroyMessageWindow(HWND window);

/// Puts a message into the queue of the window's thread, from any thread; a null window means the
/// calling thread itself. False when the window does not exist or belongs to another process.
QX_API bool PostMessageW(HWND window, UINT message, std::uintptr_t wParam, std::intptr_t lParam);
/// Ends the calling thread's loop once the messages that wait are taken.
QX_API void PostQuitMessage(int exitCode);

/// Waits for the next message of the calling thread. False when it is WM_QUIT, whose `wParam` is
/// the exit code. What a task throws comes out of here; the queue stays in order.
QX_API bool GetMessageW(MSG* message);
/// The next message, without waiting; false when there is none. `remove`: PM_REMOVE takes it out of
/// the queue.
QX_API bool PeekMessageW(MSG* message, UINT remove);
/// Calls the handler of the message's window; nothing for a window that is gone.
QX_API void DispatchMessageW(const MSG* message);
/// Takes and dispatches messages until WM_QUIT; the result is its exit code.
QX_API int RunMessageLoop();

namespace qx {

class MessageQueue;

/// Hands work to a thread's loop, from any thread. Copies stand for the same thread.
class QX_API TaskQueue {
 public:
  static TaskQueue ofThisThread();
  /// False, and the task is dropped, when the thread has ended.
  bool post(std::function<void()> task) const;

 private:
  explicit TaskQueue(std::shared_ptr<MessageQueue> queue);
  std::shared_ptr<MessageQueue> queue_;
};

/// TaskQueue::ofThisThread().post(task)
QX_API void postTask(std::function<void()> task);

/// A descriptor that is readable while the calling thread's queue holds something. It stays the
/// queue's: neither read nor close it.
QX_API int messageLoopFd();

/// The process that the window belongs to, of this process or another; 0 for null.
QX_API pid_t windowProcessId(HWND window);
/// The executable of a running process; nothing when it is gone or may not be looked at.
QX_API std::optional<std::filesystem::path> processExecutable(pid_t process);

}  // namespace qx
