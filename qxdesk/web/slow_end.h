#pragma once

#include <boost/beast/core/tcp_stream.hpp>

#include <functional>

namespace qx::web {

/// Ends a connection whose last bytes have been sent: reads and throws away what still comes, until
/// the browser ends the connection too, and calls `done`, which owns the stream. A connection that
/// is closed while something is unread is reset, and the browser may lose what it was sent. Gives
/// up after a second.
void endSlowly(boost::beast::tcp_stream& stream, std::function<void()> done);

}  // namespace qx::web
