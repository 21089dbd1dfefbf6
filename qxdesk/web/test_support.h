#pragma once

// What the tests of the server share: a desk that records its calls, a client of plain sockets that
// can also misbehave, and a server with a page of its own.

#include "qxdesk/session/web_server.h"
#include "qxdesk/web/server.h"
#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_object.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

namespace qx::web {

using desk::PageNumber;

/// Records "opened 1", "said 1 text" and "closed 1"; ticks are counted apart.
class RecordingDesk final : public ComObject<desk::IWebDesk> {
 public:
  void PageOpened(PageNumber page) noexcept override;
  void PageSaid(PageNumber page, const char* text, std::size_t length) noexcept override;
  void PageClosed(PageNumber page) noexcept override;
  void Tick() noexcept override;
  void ProcessEnds() noexcept override;

  /// Waits for the next call and returns it; "<silence>" after half a minute.
  std::string next();
  /// Waits until `count` ticks have come. Returns false after half a minute.
  bool awaitTicks(int count);
  /// Returns the calls that next() has not returned.
  std::deque<std::string> rest();

  /// Runs on the server's thread in PageOpened.
  std::function<void()> whenOpened;
  /// Runs on the server's thread in ProcessEnds.
  std::function<void()> whenProcessEnds;

 private:
  void add(std::string call);

  std::mutex lock_;
  std::condition_variable changed_;
  std::deque<std::string> calls_;
  int ticks_ = 0;
};

struct Response {
  int status = 0;
  std::string head;  ///< as received, to the empty line
  std::map<std::string, std::string> headers;
  std::string body;
};

struct Frame {
  int opcode = -1;  ///< -1: the connection has ended
  std::string payload;
};

/// "1008 reason" for a frame that closes, "text" for a text, "<end>" for the end.
std::string show(const Frame& frame);

/// The bytes of a frame. Clients mask theirs.
std::string frameOf(int opcode, std::string_view payload, bool isFinal = true,
                    bool isMasked = true);
inline constexpr int kText = 1;
inline constexpr int kBinary = 2;
inline constexpr int kClose = 8;
inline constexpr int kPing = 9;
inline constexpr int kPong = 10;

class Client {
 public:
  explicit Client(std::uint16_t port, const std::string& ip = "127.0.0.1");
  ~Client();
  Client(Client&& other) noexcept;
  Client(const Client&) = delete;
  Client& operator=(const Client&) = delete;

  /// Returns false if the server has ended the connection.
  bool send(std::string_view bytes);
  bool sendText(std::string_view text) { return send(frameOf(kText, text)); }
  /// Reads an answer; its status is 0 if the connection ends first. `hasBody` is false for HEAD.
  Response readResponse(bool hasBody = true);
  Frame readFrame();
  /// Reads frames up to the next that is no ping.
  std::string next();
  /// Reads until the server ends the connection. Returns what came, and "<silence>" at the end if
  /// the server has not ended it after half a minute.
  std::string rest();
  /// Ends the connection without a word.
  void vanish();
  /// Closes the page as a browser does.
  void closePage();
  /// Lets the system take little for this client.
  static Client withSmallBuffer(std::uint16_t port);

 private:
  explicit Client(int socket) : socket_(socket) {}
  bool fill();
  std::optional<std::string> take(std::size_t count);

  int socket_;
  std::string buffer_;
};

/// A page of two files.
std::span<const PageFile> testPage();

/// A started server with its desk.
struct RunningServer {
  explicit RunningServer(Limits limits = {}, Clock clock = nullptr,
                         const std::u16string& listen = u"127.0.0.1:0");
  ~RunningServer() { server->Stop(); }

  std::string host() const { return "127.0.0.1:" + std::to_string(port); }
  /// Sends a request with the cookie on a connection of its own.
  Response get(std::string_view target);
  /// The text of a request with the cookie and `more` headers, each with its line end.
  std::string request(std::string_view target, const std::string& more = "") const;
  std::string upgrade(const std::string& origin) const;
  /// Opens a page and waits until the desk knows it as number `page`.
  Client openPage(PageNumber page);
  /// Lets a client ask for a page. Returns the status of the answer.
  int askForPage(Client& client);
  void send(PageNumber page, std::string_view text) {
    server->Send(page, text.data(), text.size());
  }

  CComPtr<RecordingDesk> desk = makeObject<RecordingDesk>();
  CComPtr<desk::IWebServer> server;
  std::string address;
  std::uint16_t port = 0;
  std::string token;
  std::string cookie;  ///< NAME=VALUE
};

}  // namespace qx::web
