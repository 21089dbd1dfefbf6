#pragma once

#include "qxdesk/web/listen_address.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>

#include <functional>
#include <stdexcept>

namespace qx::web {

/// Reports that the server cannot listen. what() is a sentence with the remedy.
class ListenError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Listens at an address. No socket of it is passed on to a program that this process starts.
class Listener {
 public:
  using Accepted = std::function<void(boost::asio::ip::tcp::socket)>;

  /// Throws ListenError.
  Listener(boost::asio::io_context& context, const ListenAddress& address);

  /// Returns the port, also if the address had 0.
  std::uint16_t port() const { return port_; }
  /// Calls `accepted` on the context's thread for each connection from now on.
  void start(Accepted accepted);
  void stop();

 private:
  void await();
  void accept();

  boost::asio::io_context& context_;
  boost::asio::ip::tcp::acceptor acceptor_;
  boost::asio::steady_timer pause_;
  Accepted accepted_;
  std::uint16_t port_ = 0;
};

}  // namespace qx::web
