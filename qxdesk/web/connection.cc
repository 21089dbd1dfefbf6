#include "qxdesk/web/connection.h"

#include "qxdesk/web/page.h"
#include "qxdesk/web/slow_end.h"

#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/websocket/rfc6455.hpp>

#include <array>
#include <limits>
#include <optional>
#include <string>
#include <utility>

namespace qx::web {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using boost::system::error_code;

/// The most that is read at once, beyond the first bytes of the next request.
constexpr std::size_t kReadBytes = 64 * 1024;

std::string_view view(beast::string_view text) { return {text.data(), text.size()}; }

class Connection final : public Peer, public std::enable_shared_from_this<Connection> {
 public:
  Connection(std::shared_ptr<Hub> hub, asio::ip::tcp::socket socket)
      : hub_(std::move(hub)),
        stream_(std::move(socket)),
        buffer_(hub_->limits().headerBytes + kReadBytes) {
    error_code ignored;
    localIp_ = stream_.socket().local_endpoint(ignored).address().to_string();
    hub_->enter(*this);
  }
  ~Connection() { hub_->leave(*this); }

  void read();

  bool isPage() const override { return false; }
  void drop() override {
    hub_->leave(*this);
    stream_.close();
  }
  void finish() override { drop(); }

 private:
  using Parser = http::request_parser<http::empty_body>;

  void received(error_code error);
  Request request() const;
  void become();
  void answer(const Answer& answer);
  void answered(error_code error);
  void end();

  std::shared_ptr<Hub> hub_;
  beast::tcp_stream stream_;
  beast::flat_buffer buffer_;
  std::string localIp_;
  std::optional<Parser> parser_;
  std::string head_;  // of the answer that is being sent
  bool closes_ = false;
};

void Connection::read() {
  parser_.emplace();
  parser_->header_limit(hub_->limits().headerBytes);
  // A body is refused by the site, whatever its size.
  parser_->body_limit(std::numeric_limits<std::uint64_t>::max());
  stream_.expires_after(hub_->limits().request);
  http::async_read_header(
      stream_, buffer_, *parser_,
      [self = shared_from_this()](error_code error, std::size_t) { self->received(error); });
}

void Connection::received(error_code error) {
  if (error == http::error::end_of_stream) return end();
  if (error && error.category() != http::make_error_code(http::error::bad_target).category()) {
    return drop();
  }
  const Answer decided = error ? hub_->site().answerToGarbage() : hub_->site().answer(request());
  if (!decided.opensSocket) return answer(decided);
  // A browser waits for the answer before it sends anything to the socket.
  if (buffer_.size() != 0) return answer(hub_->site().answerToGarbage());
  become();
}

Request Connection::request() const {
  const auto& message = parser_->get();
  const auto header = [&](http::field name) -> std::optional<std::string_view> {
    const auto at = message.find(name);
    if (at == message.end()) return std::nullopt;
    return view(at->value());
  };
  Request request;
  request.method = view(message.method_string());
  request.target = view(message.target());
  request.host = header(http::field::host);
  request.origin = header(http::field::origin);
  request.cookies = header(http::field::cookie).value_or("");
  request.localIp = localIp_;
  request.hasBody = parser_->chunked() || parser_->content_length().value_or(0) != 0;
  request.wantsSocket = beast::websocket::is_upgrade(message);
  for (const http::field once : {http::field::host, http::field::origin, http::field::cookie}) {
    request.isMalformed = request.isMalformed || message.count(once) > 1;
  }
  return request;
}

void Connection::become() {
  // The page takes the place of this connection among those that are counted.
  hub_->leave(*this);
  stream_.expires_never();
  openPage(hub_, std::move(stream_), parser_->release());
}

void Connection::answer(const Answer& answer) {
  closes_ = answer.closes || !parser_->keep_alive();
  head_ = "HTTP/1.1 " + std::to_string(answer.status) + " ";
  head_ += std::string(reasonPhrase(answer.status)) + "\r\n";
  head_ += "Content-Length: " + std::to_string(answer.body.size()) + "\r\n";
  if (!answer.body.empty()) head_ += "Content-Type: " + std::string(answer.type) + "\r\n";
  for (const auto& [name, value] : answer.headers) head_ += name + ": " + value + "\r\n";
  if (closes_) head_ += "Connection: close\r\n";
  head_ += "\r\n";
  const bool headOnly = parser_->get().method() == http::verb::head;
  const std::string_view body = headOnly ? std::string_view() : answer.body;
  const std::array<asio::const_buffer, 2> parts{asio::buffer(head_),
                                                asio::buffer(body.data(), body.size())};
  stream_.expires_after(hub_->limits().request);
  asio::async_write(stream_, parts, [self = shared_from_this()](error_code error, std::size_t) {
    self->answered(error);
  });
}

void Connection::answered(error_code error) {
  if (error) return drop();
  if (closes_) return end();
  read();
}

void Connection::end() {
  endSlowly(stream_, [self = shared_from_this()] { self->drop(); });
}

}  // namespace

void serve(const std::shared_ptr<Hub>& hub, asio::ip::tcp::socket socket) {
  if (!hub->makeRoom()) return;
  std::make_shared<Connection>(hub, std::move(socket))->read();
}

}  // namespace qx::web
