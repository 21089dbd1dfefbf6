#include "qxdesk/web/page.h"

#include "qxdesk/web/rate_limit.h"
#include "qxdesk/web/slow_end.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core/bind_handler.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <boost/beast/websocket/stream.hpp>

#include <deque>
#include <string>
#include <string_view>
#include <utility>

namespace qx::web {
namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;
using boost::system::error_code;

using UpgradeRequest = http::request<http::empty_body>;

/// The stream below the socket. The library asks it to end the connection after the last frame, and
/// would wait for the browser's end before it reports that the page is closed.
class PageStream : public beast::tcp_stream {
 public:
  explicit PageStream(beast::tcp_stream stream) : beast::tcp_stream(std::move(stream)) {}
};

template <class Handler>
void async_teardown(beast::role_type, PageStream& stream, Handler&& handler) {
  asio::post(stream.get_executor(),
             beast::bind_front_handler(std::forward<Handler>(handler), error_code()));
}

class Page final : public Peer, public OpenPage, public std::enable_shared_from_this<Page> {
 public:
  Page(std::shared_ptr<Hub> hub, beast::tcp_stream stream, UpgradeRequest request)
      : hub_(std::move(hub)),
        socket_(PageStream(std::move(stream))),
        request_(std::move(request)),
        rate_(hub_->limits().messagesPerSecond, hub_->limits().messageBurst) {
    hub_->enter(*this);
  }
  ~Page() {
    left();
    hub_->leave(*this);
  }

  void open();

  bool isPage() const override { return true; }
  void drop() override;
  void finish() override;
  void send(OutgoingText text) override;
  void refuse() override { close(CloseCode::Rules, "The page broke the rules of its texts."); }

 private:
  enum class State { Opening, Open, Finishing, Closing };

  void setLimits();
  void opened(error_code error);
  void read();
  void received(error_code error);
  void write();
  void written(error_code error);
  void countMessage();
  void close(CloseCode code, std::string_view reason);
  void left();
  void end();

  std::shared_ptr<Hub> hub_;
  websocket::stream<PageStream> socket_;
  UpgradeRequest request_;
  RateLimit rate_;
  State state_ = State::Opening;
  PageNumber number_ = 0;  // 0: not among the hub's pages
  beast::flat_buffer buffer_;
  std::deque<OutgoingText> queue_;
  std::size_t queuedBytes_ = 0;
  OutgoingText current_;  // is being written; null: none
};

void Page::open() {
  setLimits();
  socket_.async_accept(request_,
                       [self = shared_from_this()](error_code error) { self->opened(error); });
}

void Page::setLimits() {
  websocket::stream_base::timeout timeout{};
  timeout.handshake_timeout = hub_->limits().farewell;
  timeout.idle_timeout = hub_->limits().silence;
  timeout.keep_alive_pings = true;
  socket_.set_option(timeout);
  socket_.set_option(websocket::stream_base::decorator(
      [](websocket::response_type& response) { response.set(http::field::server, "qxdesk"); }));
  // received() has the limit, so that the page gets the reason; it never holds more than one byte
  // beyond it.
  socket_.read_message_max(0);
  socket_.text(true);
  socket_.auto_fragment(false);
  // Pings count as messages. The socket may not be closed from within this callback.
  socket_.control_callback([this](websocket::frame_type, beast::string_view) {
    asio::post(socket_.get_executor(), [weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->countMessage();
    });
  });
}

void Page::opened(error_code error) {
  if (error || state_ == State::Closing) return;
  if (hub_->isFull()) {
    return close(CloseCode::TooMany,
                 std::to_string(hub_->limits().pages) + " pages are open; close one of them.");
  }
  state_ = State::Open;
  number_ = hub_->open(*this);
  read();
}

void Page::read() {
  socket_.async_read_some(
      buffer_, hub_->limits().messageBytes + 1 - buffer_.size(),
      [self = shared_from_this()](error_code error, std::size_t) { self->received(error); });
}

void Page::received(error_code error) {
  // The closing of the socket reads on by itself.
  if (state_ == State::Closing) return;
  if (error) return end();
  if (!socket_.got_text()) return close(CloseCode::NoText, "Only texts are understood.");
  if (buffer_.size() > hub_->limits().messageBytes) {
    return close(CloseCode::TooLong, "A message has more than " +
                                         std::to_string(hub_->limits().messageBytes) + " bytes.");
  }
  if (!socket_.is_message_done()) return read();
  countMessage();
  if (state_ == State::Closing) return;
  const asio::const_buffer text = buffer_.data();
  hub_->said(number_, static_cast<const char*>(text.data()), text.size());
  buffer_.consume(text.size());
  read();
}

void Page::countMessage() {
  if (rate_.allow(hub_->now())) return;
  close(CloseCode::Rules, "The page sends too many messages.");
}

void Page::send(OutgoingText text) {
  if (state_ == State::Closing) return;
  queuedBytes_ += text->size();
  if (queuedBytes_ > hub_->limits().queueBytes) {
    return close(CloseCode::Rules, "The page does not take what it is sent.");
  }
  queue_.push_back(std::move(text));
  if (current_ == nullptr) write();
}

void Page::write() {
  current_ = std::move(queue_.front());
  queue_.pop_front();
  socket_.async_write(
      asio::buffer(*current_),
      [self = shared_from_this()](error_code error, std::size_t) { self->written(error); });
}

void Page::written(error_code error) {
  queuedBytes_ -= current_->size();
  current_ = nullptr;
  if (state_ == State::Closing) return;
  if (error) return drop();
  if (!queue_.empty()) return write();
  if (state_ == State::Finishing) close(CloseCode::Ends, "The host ends.");
}

void Page::finish() {
  if (state_ == State::Opening) return drop();
  if (state_ != State::Open) return;
  state_ = State::Finishing;
  if (current_ == nullptr) close(CloseCode::Ends, "The host ends.");
}

// The page may take its time with the answer; it is gone for the desk at once. A text that is being
// written goes first.
void Page::close(CloseCode code, std::string_view reason) {
  if (state_ == State::Closing) return;
  state_ = State::Closing;
  left();
  for (const OutgoingText& text : queue_) queuedBytes_ -= text->size();
  queue_.clear();
  const websocket::close_reason why(static_cast<websocket::close_code>(code),
                                    beast::string_view(reason.data(), reason.size()));
  socket_.async_close(why, [self = shared_from_this()](error_code) { self->end(); });
}

// The last frame has been sent, or there is no connection any more.
void Page::end() {
  state_ = State::Closing;
  left();
  endSlowly(beast::get_lowest_layer(socket_), [self = shared_from_this()] { self->drop(); });
}

void Page::drop() {
  state_ = State::Closing;
  left();
  hub_->leave(*this);
  beast::get_lowest_layer(socket_).close();
}

void Page::left() {
  if (const PageNumber number = std::exchange(number_, 0); number != 0) hub_->closed(number);
}

}  // namespace

void openPage(const std::shared_ptr<Hub>& hub, beast::tcp_stream stream, UpgradeRequest request) {
  std::make_shared<Page>(hub, std::move(stream), std::move(request))->open();
}

}  // namespace qx::web
