#pragma once

// What the server answers to a request, decided without any connection: who may enter, by which
// door, and what lies behind it.
//
// The address that the user gets holds the token. Its one use is exchanged for a cookie, and the
// browser goes on to "/" without it. All else needs the cookie. A request must name this server as
// its host, so that a name that a stranger lets point to this machine leads nowhere, and the socket
// opens for the server's own page only, since browsers send cookies from foreign pages too.

#include "qxdesk/web/page_files.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx::web {

/// Keys of the lock: `token` is in the address that the user opens, `cookie` in the browser.
struct Secrets {
  std::string token;
  std::string cookie;
};

/// The parts of a request that decide. A header that comes twice makes `isMalformed` true.
struct Request {
  std::string_view method;
  std::string_view target;
  std::optional<std::string_view> host;
  std::optional<std::string_view> origin;
  std::string_view cookies;
  std::string_view localIp;  ///< the address of this machine that the connection came to
  bool hasBody = false;
  bool wantsSocket = false;
  bool isMalformed = false;
};

struct Answer {
  int status = 200;
  std::string_view type = "text/plain; charset=utf-8";
  std::string_view body;                                     ///< static, or of a page file
  std::vector<std::pair<std::string, std::string>> headers;  ///< all but those of the connection
  bool closes = false;                                       ///< the connection ends after it
  bool opensSocket = false;                                  ///< nothing is sent: it is a socket
};

/// Returns the path of the socket.
inline constexpr std::string_view kSocketPath = "/socket";

class Site {
 public:
  Site(std::uint16_t port, Secrets secrets, std::span<const PageFile> files);

  Answer answer(const Request& request) const;
  /// Returns the answer to what is no request.
  Answer answerToGarbage() const;

  /// Returns "qxdesk-PORT". Browsers send a cookie to all ports of a host, so its name has the
  /// port.
  std::string cookieName() const;

 private:
  Answer decide(const Request& request) const;
  Answer enter(std::string_view token) const;
  Answer answerToSocket(const Request& request) const;
  bool holdsCookie(std::string_view cookies) const;

  std::uint16_t port_;
  Secrets secrets_;
  std::span<const PageFile> files_;
};

/// True if `host` is a name of this server: 127.0.0.1, [::1] or localhost, or the address that the
/// connection came to, with the port. A browser leaves out port 80.
bool isOwnHost(std::string_view host, std::uint16_t port, std::string_view localIp);

/// Returns the values of all cookies called `name` in a Cookie header.
std::vector<std::string_view> cookieValues(std::string_view cookies, std::string_view name);

/// Returns the token of a target "/?token=...".
std::optional<std::string_view> tokenOf(std::string_view target);

/// Returns the reason phrase of a status that the site answers with.
std::string_view reasonPhrase(int status);

}  // namespace qx::web
