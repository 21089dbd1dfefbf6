#include "qxdesk/web/listener.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

namespace qx::web {
namespace {

using boost::asio::ip::tcp;
using boost::system::error_code;

constexpr auto kPauseWithoutDescriptors = std::chrono::milliseconds(100);

[[noreturn]] void refuse(const ListenAddress& address, int error) {
  const std::string port = std::to_string(address.port);
  const std::string ip = urlHost(address);
  switch (error) {
    case EADDRINUSE:
      throw ListenError("Port " + port + " of " + ip +
                        " is in use; end the program that has it, or write port 0, which takes a "
                        "free one.");
    case EACCES:
      throw ListenError("Port " + port + " of " + ip +
                        " is for privileged programs; write one from 1024 on, or 0, which takes a "
                        "free one.");
    case EADDRNOTAVAIL:
      throw ListenError("This machine does not have the address " + ip +
                        "; write 127.0.0.1:" + port + ".");
    default:
      throw ListenError("The server cannot listen at port " + port + " of " + ip + ": " +
                        std::generic_category().message(error) + ".");
  }
}

void setOption(int socket, int level, int name) {
  const int on = 1;
  setsockopt(socket, level, name, &on, sizeof on);
}

}  // namespace

Listener::Listener(boost::asio::io_context& context, const ListenAddress& address)
    : context_(context), acceptor_(context), pause_(context) {
  const tcp protocol = address.isV6 ? tcp::v6() : tcp::v4();
  // By hand, since the library would make a socket that programs started by this process inherit;
  // they would keep the port.
  const int made = socket(protocol.family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (made < 0) refuse(address, errno);
  acceptor_.assign(protocol, made);
  // A port whose last connections are still in their time of waiting can be taken again.
  setOption(made, SOL_SOCKET, SO_REUSEADDR);
  if (address.isV6) setOption(made, IPPROTO_IPV6, IPV6_V6ONLY);
  error_code error;
  acceptor_.bind({boost::asio::ip::make_address(address.ip), address.port}, error);
  if (!error) acceptor_.listen(tcp::acceptor::max_listen_connections, error);
  if (error) refuse(address, error.value());
  port_ = acceptor_.local_endpoint().port();
}

void Listener::start(Accepted accepted) {
  accepted_ = std::move(accepted);
  await();
}

void Listener::stop() {
  error_code ignored;
  acceptor_.close(ignored);
  pause_.cancel();
}

void Listener::await() {
  acceptor_.async_wait(tcp::acceptor::wait_read, [this](error_code error) {
    if (!error) accept();
  });
}

void Listener::accept() {
  const int made =
      accept4(acceptor_.native_handle(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
  const int error = errno;
  if (made < 0 && (error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM)) {
    // The connection waits in the system's queue. Without a pause the thread would spin.
    pause_.expires_after(kPauseWithoutDescriptors);
    pause_.async_wait([this](error_code stopped) {
      if (!stopped) await();
    });
    return;
  }
  // First, so that listening goes on whatever becomes of this connection.
  await();
  if (made < 0) return;
  setOption(made, IPPROTO_TCP, TCP_NODELAY);
  tcp::socket socket(context_);
  error_code failed;
  socket.assign(acceptor_.local_endpoint().protocol(), made, failed);
  if (failed) {
    close(made);
    return;
  }
  accepted_(std::move(socket));
}

}  // namespace qx::web
