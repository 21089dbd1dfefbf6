#include "qxdesk/web/listen_address.h"

#include <arpa/inet.h>

#include <array>
#include <charconv>
#include <optional>

namespace qx::web {
namespace {

constexpr std::size_t kLongestQuote = 100;

[[noreturn]] void refuse(std::string_view text, const std::string& fault) {
  std::string shown(text.substr(0, kLongestQuote));
  if (text.size() > kLongestQuote) shown += "...";
  throw ListenAddressError("\"" + shown + "\" " + fault);
}

std::optional<std::uint16_t> parsePort(std::string_view digits) {
  std::uint16_t port = 0;
  const char* const end = digits.data() + digits.size();
  const auto read = std::from_chars(digits.data(), end, port);
  if (digits.empty() || read.ec != std::errc() || read.ptr != end) return std::nullopt;
  return port;
}

/// Reads an IP address. Returns false if it is none, and if the text holds a zero.
bool parseIp(const std::string& text, bool v6, ListenAddress& out, bool& isLoopback) {
  if (text.find('\0') != std::string::npos) return false;
  std::array<char, INET6_ADDRSTRLEN> written{};
  if (v6) {
    in6_addr ip{};
    if (inet_pton(AF_INET6, text.c_str(), &ip) != 1) return false;
    isLoopback = IN6_IS_ADDR_LOOPBACK(&ip) != 0;
    inet_ntop(AF_INET6, &ip, written.data(), written.size());
  } else {
    in_addr ip{};
    if (inet_pton(AF_INET, text.c_str(), &ip) != 1) return false;
    isLoopback = ntohl(ip.s_addr) >> 24 == 127;
    inet_ntop(AF_INET, &ip, written.data(), written.size());
  }
  out.ip = written.data();
  out.isV6 = v6;
  return true;
}

}  // namespace

ListenAddress parseListenAddress(std::string_view text) {
  constexpr std::string_view kAny = "any:";
  const bool anyone = text.starts_with(kAny);
  const std::string_view address = anyone ? text.substr(kAny.size()) : text;
  const std::size_t colon = address.rfind(':');
  const auto port =
      colon == std::string_view::npos ? std::nullopt : parsePort(address.substr(colon + 1));
  if (!port) {
    refuse(text,
           "has no port from 0 to 65535 behind a colon; write 127.0.0.1:0, which takes a "
           "free port.");
  }
  std::string host(address.substr(0, colon));
  if (host == "localhost") host = "127.0.0.1";
  const bool v6 = host.size() >= 2 && host.front() == '[' && host.back() == ']';
  ListenAddress result;
  result.port = *port;
  bool isLoopback = false;
  if (!parseIp(v6 ? host.substr(1, host.size() - 2) : host, v6, result, isLoopback)) {
    refuse(text,
           "is no address with a port; write one such as 127.0.0.1:0, [::1]:0 or "
           "localhost:8080.");
  }
  if (!isLoopback && !anyone) {
    refuse(text,
           "is an address that other machines reach; write 127.0.0.1:" + std::to_string(*port) +
               ", or any:" + std::string(address) + " if they shall reach it.");
  }
  return result;
}

std::string urlHost(const ListenAddress& address) {
  return address.isV6 ? "[" + address.ip + "]" : address.ip;
}

}  // namespace qx::web
