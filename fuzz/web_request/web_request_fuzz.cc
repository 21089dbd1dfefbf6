// Arbitrary requests to the server of the page, and arbitrary addresses to listen at. The input has
// one part per line: method, target, host, origin, cookies, the address that the connection came
// to. Nobody gets in without the token or the cookie, and no foreign origin opens the socket.

#include "qxdesk/web/listen_address.h"
#include "qxdesk/web/rate_limit.h"
#include "qxdesk/web/site.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

using qx::web::Answer;
using qx::web::PageFile;
using qx::web::Request;
using qx::web::Site;

constexpr std::string_view kToken = "token-token-token";
constexpr std::string_view kCookie = "cookie-cookie";
constexpr std::uint16_t kPort = 4711;
constexpr std::array<PageFile, 1> kFiles{{{"index.html", "text/html", "page"}}};

std::string_view nextLine(std::string_view& rest) {
  const std::size_t end = std::min(rest.find('\n'), rest.size());
  const std::string_view line = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return line;
}

void require(bool holds) {
  if (!holds) std::abort();
}

Request readRequest(std::string_view input) {
  Request request;
  request.method = nextLine(input);
  request.target = nextLine(input);
  if (const std::string_view host = nextLine(input); host != "-") request.host = host;
  if (const std::string_view origin = nextLine(input); origin != "-") request.origin = origin;
  request.cookies = nextLine(input);
  request.localIp = nextLine(input);
  request.wantsSocket = input.find('s') != std::string_view::npos;
  request.hasBody = input.find('b') != std::string_view::npos;
  request.isMalformed = input.find('m') != std::string_view::npos;
  return request;
}

void checkRequest(std::string_view input) {
  const Site site(kPort, {std::string(kToken), std::string(kCookie)}, kFiles);
  const Request request = readRequest(input);
  const Answer answer = site.answer(request);
  require(qx::web::reasonPhrase(answer.status) != "Unknown");
  const bool knowsToken = request.target == "/?token=" + std::string(kToken);
  const bool knowsCookie = request.cookies.find(kCookie) != std::string_view::npos;
  const bool isIn = answer.status == 200 || answer.status == 404 || answer.opensSocket;
  require(!isIn || (knowsCookie && request.host.has_value()));
  require(answer.status != 303 || (knowsToken && request.host.has_value()));
  require(!answer.opensSocket || request.origin == "http://" + std::string(*request.host));
  for (const auto& [name, value] : answer.headers) {
    require(value.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos);
    // The token is never repeated, and the cookie only where it is given.
    require(value.find(kToken) == std::string::npos);
    require(name == "Set-Cookie" || value.find(kCookie) == std::string::npos);
  }
}

void checkAddress(std::string_view text) {
  try {
    const qx::web::ListenAddress address = qx::web::parseListenAddress(text);
    const std::string written =
        "any:" + qx::web::urlHost(address) + ":" + std::to_string(address.port);
    const qx::web::ListenAddress again = qx::web::parseListenAddress(written);
    require(again.ip == address.ip && again.port == address.port && again.isV6 == address.isV6);
    const bool isLoopback = address.ip == "::1" || address.ip.starts_with("127.");
    require(isLoopback || text.starts_with("any:"));
  } catch (const qx::web::ListenAddressError& error) {
    require(std::string_view(error.what()).size() < 400);
  }
}

/// The bytes are the milliseconds between events; the limit never lets more through than it may.
void checkRate(const std::uint8_t* data, std::size_t size) {
  qx::web::RateLimit limit(200, 400);
  qx::web::RateLimit::Time now{};
  double allowed = 0;
  for (std::size_t i = 0; i < size; ++i) {
    now += std::chrono::milliseconds(data[i] % 8);
    allowed += limit.allow(now) ? 1 : 0;
  }
  const std::chrono::duration<double> passed = now.time_since_epoch();
  require(allowed <= 400 + passed.count() * 200 + 0.001);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  checkRequest(input);
  checkAddress(input);
  checkRate(data, size);
  return 0;
}
