#include "qxdesk/web/web_service.h"

#include "qxdesk/web/connection.h"
#include "qxdesk/web/secret.h"

#include <boost/asio/post.hpp>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <mutex>
#include <utility>
#include <vector>

namespace qx::web {
namespace {

/// The services whose threads run. Never destroyed, since the end of the process needs it.
struct Running {
  std::mutex lock;
  std::vector<WebService*> services;
  /// The process that has started one last. A child reads it before it takes the lock, which
  /// another thread of its parent may have held.
  std::atomic<pid_t> process{0};
};

Running& running() {
  static auto* const all = new Running;
  return *all;
}

void stopAll() {
  Running& all = running();
  if (all.process != getpid()) return;
  const std::lock_guard guard(all.lock);
  for (WebService* const service : all.services) {
    if (!service->isOwnProcess() || service->isOwnThread()) continue;
    service->stop(service->limits().exit);
  }
}

void enlist(WebService* service) {
  // Registered by the first service, so after the statics of the libraries that it uses.
  [[maybe_unused]] static const int registered = std::atexit(stopAll);
  Running& all = running();
  const std::lock_guard guard(all.lock);
  all.process = getpid();
  all.services.push_back(service);
}

void delist(WebService* service) {
  const std::lock_guard guard(running().lock);
  std::erase(running().services, service);
}

/// Blocks the signals of this thread, and so of threads that it starts, except those that a fault
/// raises: the add-on's own handlers run on the add-on's threads, and a crash is still reported.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGSYS}) {
      sigdelset(&all, fault);
    }
    pthread_sigmask(SIG_BLOCK, &all, &before_);
  }
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;

 private:
  sigset_t before_{};
};

/// Returns the host of the address that is printed. A server that listens everywhere is printed
/// with the address that surely reaches it.
std::string printedHost(const ListenAddress& address) {
  if (address.ip == "0.0.0.0") return "127.0.0.1";
  if (address.ip == "::") return "[::1]";
  return urlHost(address);
}

}  // namespace

WebService::WebService(const ListenAddress& address, const ServiceSettings& settings,
                       IWebDesk* desk)
    : limits_(settings.limits),
      process_(getpid()),
      work_(context_.get_executor()),
      orders_(context_.get_executor()),
      listener_(context_, address),
      endSignal_(context_) {
  const std::uint16_t port = listener_.port();
  Secrets secrets{makeSecret(), makeSecret()};
  address_ =
      "http://" + printedHost(address) + ":" + std::to_string(port) + "/?token=" + secrets.token;
  hub_ = std::make_shared<Hub>(context_, Site(port, std::move(secrets), settings.files), limits_,
                               settings.clock, desk);
  listener_.start([this](boost::asio::ip::tcp::socket socket) { serve(hub_, std::move(socket)); });
  startThread();
}

WebService::~WebService() { delist(this); }

void WebService::startThread() try {
  enlist(this);
  endSignals_.emplace();
  endSignal_.assign(endSignals_->descriptor());
  awaitEndSignal();
  const SignalsBlocked blocked;
  thread_ = std::thread([this] { run(); });
  pthread_setname_np(thread_.native_handle(), "qxdesk-web");
} catch (...) {
  delist(this);
  throw;
}

void WebService::run() {
  while (!context_.stopped()) {
    // What a connection throws, such as for want of memory, ends that connection.
    try {
      context_.run();
    } catch (...) {
    }
  }
  hub_->dropAll();
  // The handlers of what has been ended hold its sockets.
  context_.restart();
  try {
    context_.poll();
  } catch (...) {
  }
}

void WebService::awaitEndSignal() {
  endSignal_.async_wait(boost::asio::posix::descriptor_base::wait_read,
                        [this](boost::system::error_code error) {
                          if (!error) leaveWithProcess();
                        });
}

// The desk's thread goes on meanwhile, or hangs in a handler of the add-on; nothing waits for it.
void WebService::leaveWithProcess() {
  hub_->processEnds();
  // Behind what the desk has sent just now.
  boost::asio::post(orders_, [this] {
    listener_.stop();
    hub_->stop(limits_.exit, [this] { endSignals_->done(); });
  });
}

bool WebService::isOwnProcess() const { return process_ == getpid(); }

void WebService::send(PageNumber page, OutgoingText text) {
  if (!isOwnProcess()) return;
  boost::asio::post(orders_, [this, page, text = std::move(text)] { hub_->send(page, text); });
}

void WebService::refuse(PageNumber page) {
  if (!isOwnProcess()) return;
  boost::asio::post(orders_, [this, page] { hub_->refuse(page); });
}

void WebService::stop(std::chrono::milliseconds patience) {
  if (!isOwnProcess()) return;
  // The end of the process can come while another thread stops the server.
  const std::lock_guard guard(stopping_);
  if (!thread_.joinable()) return;
  boost::asio::post(orders_, [this, patience] {
    listener_.stop();
    hub_->stop(patience);
    endSignal_.close();
    work_.reset();
  });
  thread_.join();
  endSignals_.reset();
}

}  // namespace qx::web
