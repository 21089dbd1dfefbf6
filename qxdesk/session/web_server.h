#pragma once

// The server that shows a desk in browsers. It serves the page and carries texts between the page's
// script and the desk; it knows neither forms nor events. docs/web-protocol.md has the texts.
//
// The server has a thread of its own. IWebDesk is called on it, IWebServer from any thread. It is
// a class of its own library, so that only a client with screens in a browser loads it.

#include "qxframework/automation/types.h"
#include "qxframework/host/ids.h"

#include <cstdint>

namespace qx::desk {

inline constexpr CLSID kWebServerClass = hostId(0x0303);

/// An open page in a browser: a number from 1, never used twice by a server.
using PageNumber = std::uint64_t;

/// Receives what the pages do, always on the server's thread. The calls return at once: they
/// neither wait for the desk's thread nor throw. No call comes after IWebServer::Stop has returned.
class IWebDesk : public IUnknown {
 public:
  static constexpr GUID kIid = hostId(0x0311);
  virtual void PageOpened(PageNumber page) noexcept = 0;
  /// `text` is a message of the page: valid UTF-8 without a terminating zero, within the server's
  /// limit of size. Nothing else about it has been checked.
  virtual void PageSaid(PageNumber page, const char* text, std::size_t length) noexcept = 0;
  virtual void PageClosed(PageNumber page) noexcept = 0;
  /// Comes every kTickMilliseconds while a page is open.
  virtual void Tick() noexcept = 0;
  /// Comes once if a signal ends the process. What the call sends is the last that pages get.
  virtual void ProcessEnds() noexcept = 0;

 protected:
  ~IWebDesk() = default;
};

inline constexpr int kTickMilliseconds = 250;

class IWebServer : public IUnknown {
 public:
  static constexpr GUID kIid = hostId(0x0312);
  /// Starts to listen. `listen` is an address and a port, "127.0.0.1:0" or "[::1]:8080"; port 0
  /// takes a free one. Writes the address to open, which holds the token. On failure, writes a
  /// sentence to `address` instead and returns E_INVALIDARG for a text that is no such address and
  /// E_FAIL otherwise, such as for a port in use.
  virtual HRESULT Start(BSTR listen, IWebDesk* desk, BSTR* address) = 0;
  /// Sends a text to a page, or to all pages if `page` is 0. The order of the calls is kept. A page
  /// that does not take what it is sent is closed. Does nothing for a page that is closed.
  virtual void Send(PageNumber page, const char* text, std::size_t length) noexcept = 0;
  /// Closes a page that breaks the rules of its texts.
  virtual void ClosePage(PageNumber page) noexcept = 0;
  /// Sends what is queued, for two seconds at most, closes all pages and ends the thread. A second
  /// call does nothing.
  virtual void Stop() noexcept = 0;

 protected:
  ~IWebServer() = default;
};

}  // namespace qx::desk
