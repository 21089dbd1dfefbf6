#pragma once

#include "qxdesk/web/hub.h"

#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/message.hpp>

#include <memory>

namespace qx::web {

/// The codes with which the server closes a page's socket. The page's script relies on them.
enum class CloseCode : std::uint16_t {
  Ends = 1001,     ///< the host ends
  NoText = 1003,   ///< the page has sent something else than a text
  BadText = 1007,  ///< the text is not UTF-8
  Rules = 1008,    ///< too many messages, too slow, or a text that breaks the desk's rules
  TooLong = 1009,  ///< a message is too long
  TooMany = 1013,  ///< too many pages are open
};

/// Opens the socket that `request` asks for and, if there are not too many, a page.
void openPage(const std::shared_ptr<Hub>& hub, boost::beast::tcp_stream stream,
              boost::beast::http::request<boost::beast::http::empty_body> request);

}  // namespace qx::web
