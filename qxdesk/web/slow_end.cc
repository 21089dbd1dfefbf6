#include "qxdesk/web/slow_end.h"

#include <boost/asio/buffer.hpp>

#include <array>
#include <chrono>
#include <memory>
#include <utility>

namespace qx::web {
namespace {

using boost::system::error_code;

constexpr auto kTime = std::chrono::seconds(1);
constexpr std::size_t kBytes = 1024 * 1024;

struct Discarded {
  boost::beast::tcp_stream& stream;
  std::function<void()> done;
  std::array<char, 4096> bytes{};
  std::size_t count = 0;
};

void discard(const std::shared_ptr<Discarded>& state) {
  state->stream.async_read_some(boost::asio::buffer(state->bytes),
                                [state](error_code error, std::size_t size) {
                                  state->count += size;
                                  if (error || state->count > kBytes) return state->done();
                                  discard(state);
                                });
}

}  // namespace

void endSlowly(boost::beast::tcp_stream& stream, std::function<void()> done) {
  error_code ignored;
  stream.socket().shutdown(boost::asio::ip::tcp::socket::shutdown_send, ignored);
  stream.expires_after(kTime);
  discard(std::make_shared<Discarded>(Discarded{stream, std::move(done)}));
}

}  // namespace qx::web
