#pragma once

// The thread of a server, from its start to its end. It ends at the latest when the process does:
// while the statics of libraries are destroyed, no thread of this library runs any more. A child
// made by fork() has the object but not the thread; there, nothing that is called has an effect.

#include "qxdesk/web/end_signals.h"
#include "qxdesk/web/hub.h"
#include "qxdesk/web/listener.h"
#include "qxdesk/web/service_settings.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/strand.hpp>
#include <sys/types.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace qx::web {

class WebService {
 public:
  /// Listens and starts the thread. Throws ListenError, std::system_error.
  WebService(const ListenAddress& address, const ServiceSettings& settings, IWebDesk* desk);
  /// Requires stop().
  ~WebService();
  WebService(const WebService&) = delete;
  WebService& operator=(const WebService&) = delete;

  /// Returns the address to open, with the token.
  const std::string& address() const { return address_; }

  void send(PageNumber page, OutgoingText text);
  void refuse(PageNumber page);
  /// Ends the thread, `patience` after the call at the latest, and waits for its end. A second call
  /// does nothing. Must not be called on the thread itself.
  void stop(std::chrono::milliseconds patience);

  bool isOwnThread() const { return thread_.get_id() == std::this_thread::get_id(); }
  /// False in a child of the process that made it.
  bool isOwnProcess() const;
  const Limits& limits() const { return limits_; }

 private:
  using Context = boost::asio::io_context;

  void startThread();
  void run();
  void awaitEndSignal();
  void leaveWithProcess();

  Limits limits_;
  pid_t process_;
  Context context_{1};
  boost::asio::executor_work_guard<Context::executor_type> work_;
  // Keeps the order of what other threads ask for.
  boost::asio::strand<Context::executor_type> orders_;
  Listener listener_;
  std::string address_;
  std::shared_ptr<Hub> hub_;
  std::optional<EndSignals> endSignals_;  // while the thread runs
  boost::asio::posix::stream_descriptor endSignal_;
  std::thread thread_;
  std::mutex stopping_;
};

}  // namespace qx::web
