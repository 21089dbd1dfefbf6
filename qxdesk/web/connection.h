#pragma once

#include "qxdesk/web/hub.h"

#include <boost/asio/ip/tcp.hpp>

#include <memory>

namespace qx::web {

/// Serves a connection: the requests in it one after the other, until it ends or becomes a page.
void serve(const std::shared_ptr<Hub>& hub, boost::asio::ip::tcp::socket socket);

}  // namespace qx::web
