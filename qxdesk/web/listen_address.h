#pragma once

// The address at which the server listens, as the user writes it:
//
//     127.0.0.1:0          port 0 takes a free one
//     [::1]:8080
//     localhost:8080       the same as 127.0.0.1
//     any:0.0.0.0:8080     "any:" allows an address that other machines reach
//
// Names other than localhost are refused. A name can lead to several addresses, and another user's
// program may have the same port of another one; the browser could then send the token to it.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qx::web {

struct ListenAddress {
  std::string ip;  ///< "127.0.0.1" or "::1", as the system writes it
  bool isV6 = false;
  std::uint16_t port = 0;
};

/// Reports a text that is no such address. what() is a sentence in UTF-8 with the remedy.
class ListenAddressError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Throws ListenAddressError for a text that is no address, and for an address that other machines
/// reach if the text does not begin with "any:".
ListenAddress parseListenAddress(std::string_view text);

/// Returns the IP address as the host of a URL: "127.0.0.1", "[::1]".
std::string urlHost(const ListenAddress& address);

}  // namespace qx::web
