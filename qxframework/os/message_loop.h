#pragma once

// The message loop of an add-on. Every thread has a queue of messages and tasks in the order in
// which they were posted; a window is only an address to which messages are posted. A loop takes
// messages with GetMessageW() and passes them to their windows with DispatchMessageW().
// RunMessageLoop() does both until the quit message. Tasks run inside GetMessageW() and
// PeekMessageW(), so that every loop runs them.
//
// Another event loop can poll messageLoopFd() and call PeekMessageW() when it is readable.

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
/// The first message number for an add-on's own use.
inline constexpr UINT WM_APP = 0x8000;

inline constexpr UINT PM_NOREMOVE = 0;
inline constexpr UINT PM_REMOVE = 1;

/// A message in a thread's queue. A null `hwnd` means the thread itself.
struct MSG {
  HWND hwnd = nullptr;
  UINT message = 0;
  std::uintptr_t wParam = 0;
  std::intptr_t lParam = 0;
};

namespace qx {
/// Handles a message of its window. Returns true if the message is handled; otherwise the default
/// handling follows, which posts the quit message with code 0 for WM_DESTROY and does nothing else.
using MessageHandler = std::function<bool(const MSG&)>;
}  // namespace qx

/// Creates a window of the calling thread. With an empty handler all messages get the default
/// handling.
QX_API HWND CreateMessageWindow(qx::MessageHandler handler);
/// Removes a window of the calling thread; its queued messages will be dropped. Returns false if it
/// is no window of this thread.
QX_API bool DestroyMessageWindow(HWND window);

/// Appends a message to the queue of the window's thread, from any thread. A null window means the
/// calling thread. Returns false if the window does not exist or belongs to another process.
QX_API bool PostMessageW(HWND window, UINT message, std::uintptr_t wParam, std::intptr_t lParam);
/// Ends the calling thread's loop as soon as its queue is empty.
QX_API void PostQuitMessage(int exitCode);

/// Waits for the next message of the calling thread and runs the tasks before it. Returns false for
/// WM_QUIT, whose `wParam` is the exit code. Throws the exception of a task; the rest stays queued.
QX_API bool GetMessageW(MSG* message);
/// Copies the next message without waiting, after the tasks before it have run; PM_REMOVE also
/// takes it out of the queue. Returns false if there is no message.
QX_API bool PeekMessageW(MSG* message, UINT remove);
/// Calls the handler of the message's window. Does nothing if the window no longer exists.
QX_API void DispatchMessageW(const MSG* message);
/// Takes and dispatches messages until WM_QUIT and returns its exit code.
QX_API int RunMessageLoop();

namespace qx {

class MessageQueue;

/// Posts tasks to the loop of one thread, from any thread. A copy posts to the same thread.
class QX_API TaskQueue {
 public:
  static TaskQueue ofThisThread();
  /// Appends a task to the thread's queue. Returns false and drops it if the thread has ended.
  bool post(std::function<void()> task) const;

 private:
  explicit TaskQueue(std::shared_ptr<MessageQueue> queue);
  std::shared_ptr<MessageQueue> queue_;
};

/// Posts a task to the calling thread's own loop.
QX_API void postTask(std::function<void()> task);

/// Returns a descriptor that is readable while the calling thread's queue is not empty. The queue
/// owns it: the caller neither reads nor closes it.
QX_API int messageLoopFd();

/// Returns the process that created the window, this one or another. Returns 0 for null.
QX_API pid_t windowProcessId(HWND window);
/// Returns the path of a running process's executable. Returns nothing if the process has ended or
/// this user may not inspect it.
QX_API std::optional<std::filesystem::path> processExecutable(pid_t process);

}  // namespace qx
