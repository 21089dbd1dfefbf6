#include "qxdesk/web/site.h"

#include "qxdesk/web/secret.h"

#include <array>

namespace qx::web {
namespace {

constexpr std::string_view kWrongHost =
    "This server does not have the name by which it was called. Open the address that the program "
    "has printed.\n";
constexpr std::string_view kNoKey =
    "This page shows the desk of a running program to its user only. Open the address that the "
    "program has printed when it started; it holds the key. A new start prints a new one.\n";
constexpr std::string_view kWrongOrigin = "The socket opens for this server's own page only.\n";
constexpr std::string_view kNoUpgrade = "This is the socket of the page.\n";
constexpr std::string_view kNotFound = "There is no such file.\n";
constexpr std::string_view kWrongMethod = "Only GET and HEAD are understood.\n";
constexpr std::string_view kBody = "A request has no body here.\n";
constexpr std::string_view kMalformed = "This is no request that the server understands.\n";

Answer refusal(int status, std::string_view sentence) {
  Answer answer;
  answer.status = status;
  answer.body = sentence;
  return answer;
}

/// The same, and the connection ends: what follows in it cannot be trusted to be a request.
Answer lastRefusal(int status, std::string_view sentence) {
  Answer answer = refusal(status, sentence);
  answer.closes = true;
  return answer;
}

std::string contentPolicy(std::string_view host) {
  // 'self' does not cover the socket in older browsers.
  const std::string socket = host.empty() ? "" : " ws://" + std::string(host);
  return "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src "
         "'self'" +
         socket +
         "; base-uri 'none'; form-action 'none'; frame-ancestors 'none'; "
         "require-trusted-types-for 'script'";
}

void addHeaders(Answer& answer, std::string_view host) {
  answer.headers.emplace_back("Cache-Control", "no-store");
  answer.headers.emplace_back("Content-Security-Policy", contentPolicy(host));
  answer.headers.emplace_back("Cross-Origin-Opener-Policy", "same-origin");
  answer.headers.emplace_back("Cross-Origin-Resource-Policy", "same-origin");
  answer.headers.emplace_back("Referrer-Policy", "no-referrer");
  answer.headers.emplace_back("X-Content-Type-Options", "nosniff");
}

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

}  // namespace

bool isOwnHost(std::string_view host, std::uint16_t port, std::string_view localIp) {
  const std::string suffix = ":" + std::to_string(port);
  const bool isV6 = localIp.find(':') != std::string_view::npos;
  const std::string local = isV6 ? "[" + std::string(localIp) + "]" : std::string(localIp);
  for (const std::string_view name :
       std::array<std::string_view, 4>{"127.0.0.1", "[::1]", "localhost", local}) {
    if (name.empty() || !host.starts_with(name)) continue;
    const std::string_view rest = host.substr(name.size());
    if (rest == suffix || (port == 80 && rest.empty())) return true;
  }
  return false;
}

std::vector<std::string_view> cookieValues(std::string_view cookies, std::string_view name) {
  std::vector<std::string_view> values;
  while (!cookies.empty()) {
    const std::size_t end = std::min(cookies.find(';'), cookies.size());
    const std::string_view pair = trimmed(cookies.substr(0, end));
    cookies.remove_prefix(std::min(end + 1, cookies.size()));
    const std::size_t equals = pair.find('=');
    if (equals == std::string_view::npos || pair.substr(0, equals) != name) continue;
    values.push_back(pair.substr(equals + 1));
  }
  return values;
}

std::optional<std::string_view> tokenOf(std::string_view target) {
  constexpr std::string_view kBefore = "/?token=";
  if (!target.starts_with(kBefore)) return std::nullopt;
  return target.substr(kBefore.size());
}

std::string_view reasonPhrase(int status) {
  switch (status) {
    case 200:
      return "OK";
    case 303:
      return "See Other";
    case 400:
      return "Bad Request";
    case 403:
      return "Forbidden";
    case 404:
      return "Not Found";
    case 405:
      return "Method Not Allowed";
    case 413:
      return "Content Too Large";
    case 426:
      return "Upgrade Required";
    default:
      return "Unknown";
  }
}

Site::Site(std::uint16_t port, Secrets secrets, std::span<const PageFile> files)
    : port_(port), secrets_(std::move(secrets)), files_(files) {}

std::string Site::cookieName() const { return "qxdesk-" + std::to_string(port_); }

Answer Site::answer(const Request& request) const {
  const bool isOwn =
      !request.isMalformed && request.host && isOwnHost(*request.host, port_, request.localIp);
  Answer answer = request.isMalformed ? lastRefusal(400, kMalformed)
                  : isOwn             ? decide(request)
                                      : lastRefusal(403, kWrongHost);
  addHeaders(answer, isOwn ? *request.host : std::string_view());
  return answer;
}

Answer Site::answerToGarbage() const {
  Answer answer = lastRefusal(400, kMalformed);
  addHeaders(answer, {});
  return answer;
}

Answer Site::decide(const Request& request) const {
  if (request.method != "GET" && request.method != "HEAD") {
    Answer answer = lastRefusal(405, kWrongMethod);
    answer.headers.emplace_back("Allow", "GET, HEAD");
    return answer;
  }
  if (request.hasBody) return lastRefusal(413, kBody);
  if (const auto token = tokenOf(request.target)) return enter(*token);
  if (!holdsCookie(request.cookies)) return refusal(403, kNoKey);
  const std::string_view path = request.target.substr(0, request.target.find('?'));
  if (path == kSocketPath) return answerToSocket(request);
  for (const PageFile& file : files_) {
    const bool isIt = path == "/" ? file.name == "index.html"
                                  : path.starts_with('/') && path.substr(1) == file.name;
    if (!isIt) continue;
    Answer answer;
    answer.type = file.type;
    answer.body = file.content;
    return answer;
  }
  return refusal(404, kNotFound);
}

Answer Site::enter(std::string_view token) const {
  if (!isSecret(secrets_.token, token)) return refusal(403, kNoKey);
  Answer answer;
  answer.status = 303;
  answer.headers.emplace_back("Location", "/");
  answer.headers.emplace_back(
      "Set-Cookie", cookieName() + "=" + secrets_.cookie + "; Path=/; HttpOnly; SameSite=Strict");
  return answer;
}

Answer Site::answerToSocket(const Request& request) const {
  if (request.origin != "http://" + std::string(*request.host)) {
    return lastRefusal(403, kWrongOrigin);
  }
  if (!request.wantsSocket) {
    Answer answer = refusal(426, kNoUpgrade);
    answer.headers.emplace_back("Upgrade", "websocket");
    return answer;
  }
  Answer answer;
  answer.opensSocket = true;
  return answer;
}

bool Site::holdsCookie(std::string_view cookies) const {
  // Another port of the host can plant a cookie of the same name, so that there are two.
  for (const std::string_view value : cookieValues(cookies, cookieName())) {
    if (isSecret(secrets_.cookie, value)) return true;
  }
  return false;
}

}  // namespace qx::web
