#include "qxdesk/web/test_support.h"

#include "qxframework/automation/text.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <stdexcept>
#include <utility>

namespace qx::web {
namespace {

constexpr auto kPatience = std::chrono::seconds(30);

int openSocket(int receiveBuffer, std::uint16_t port, const std::string& ip) {
  const bool v6 = ip.find(':') != std::string::npos;
  const int made = socket(v6 ? AF_INET6 : AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (receiveBuffer != 0) {
    setsockopt(made, SOL_SOCKET, SO_RCVBUF, &receiveBuffer, sizeof receiveBuffer);
  }
  // A server that says nothing fails the test and does not stop it.
  const timeval patience{kPatience.count(), 0};
  setsockopt(made, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  sockaddr_in v4Address{};
  v4Address.sin_family = AF_INET;
  v4Address.sin_port = htons(port);
  sockaddr_in6 v6Address{};
  v6Address.sin6_family = AF_INET6;
  v6Address.sin6_port = htons(port);
  void* const place =
      v6 ? static_cast<void*>(&v6Address.sin6_addr) : static_cast<void*>(&v4Address.sin_addr);
  inet_pton(v6 ? AF_INET6 : AF_INET, ip.c_str(), place);
  const auto* const address =
      v6 ? reinterpret_cast<const sockaddr*>(&v6Address) : reinterpret_cast<sockaddr*>(&v4Address);
  if (connect(made, address, v6 ? sizeof v6Address : sizeof v4Address) != 0) {
    close(made);
    throw std::runtime_error("no connection to port " + std::to_string(port));
  }
  return made;
}

}  // namespace

void RecordingDesk::PageOpened(PageNumber page) noexcept {
  if (whenOpened) whenOpened();
  add("opened " + std::to_string(page));
}

void RecordingDesk::PageSaid(PageNumber page, const char* text, std::size_t length) noexcept {
  add("said " + std::to_string(page) + " " + std::string(text, length));
}

void RecordingDesk::PageClosed(PageNumber page) noexcept { add("closed " + std::to_string(page)); }

void RecordingDesk::Tick() noexcept {
  const std::lock_guard guard(lock_);
  ++ticks_;
  changed_.notify_all();
}

void RecordingDesk::ProcessEnds() noexcept {
  if (whenProcessEnds) whenProcessEnds();
}

void RecordingDesk::add(std::string call) {
  const std::lock_guard guard(lock_);
  calls_.push_back(std::move(call));
  changed_.notify_all();
}

std::string RecordingDesk::next() {
  std::unique_lock guard(lock_);
  if (!changed_.wait_for(guard, kPatience, [&] { return !calls_.empty(); })) return "<silence>";
  std::string call = std::move(calls_.front());
  calls_.pop_front();
  return call;
}

bool RecordingDesk::awaitTicks(int count) {
  std::unique_lock guard(lock_);
  return changed_.wait_for(guard, kPatience, [&] { return ticks_ >= count; });
}

std::deque<std::string> RecordingDesk::rest() {
  const std::lock_guard guard(lock_);
  return std::exchange(calls_, {});
}

std::string show(const Frame& frame) {
  if (frame.opcode == -1) return "<end>";
  if (frame.opcode == kText) return frame.payload;
  if (frame.opcode == kPing) return "<ping>";
  if (frame.opcode == kPong) return "<pong> " + frame.payload;
  if (frame.opcode != kClose || frame.payload.size() < 2) return "<frame>";
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(frame.payload[i]); };
  const std::string reason = frame.payload.substr(2);
  return std::to_string(byte(0) * 256 + byte(1)) + (reason.empty() ? "" : " " + reason);
}

std::string frameOf(int opcode, std::string_view payload, bool isFinal, bool isMasked) {
  std::string bytes(1, static_cast<char>(opcode | (isFinal ? 0x80 : 0)));
  const char mask = isMasked ? static_cast<char>(0x80) : '\0';
  const std::size_t size = payload.size();
  const int lengthBytes = size < 126 ? 0 : size < 65536 ? 2 : 8;
  bytes += static_cast<char>(mask | static_cast<char>(lengthBytes == 0   ? static_cast<int>(size)
                                                      : lengthBytes == 2 ? 126
                                                                         : 127));
  for (int i = lengthBytes - 1; i >= 0; --i) bytes += static_cast<char>(size >> (8 * i));
  constexpr std::string_view kKey = "\x12\x34\x56\x78";
  if (isMasked) bytes += kKey;
  for (std::size_t i = 0; i < size; ++i) {
    bytes += static_cast<char>(isMasked ? payload[i] ^ kKey[i % 4] : payload[i]);
  }
  return bytes;
}

Client::Client(std::uint16_t port, const std::string& ip) : Client(openSocket(0, port, ip)) {}
Client::~Client() { vanish(); }
Client::Client(Client&& other) noexcept
    : socket_(std::exchange(other.socket_, -1)), buffer_(std::move(other.buffer_)) {}
Client Client::withSmallBuffer(std::uint16_t port) {
  return Client(openSocket(4096, port, "127.0.0.1"));
}

void Client::vanish() {
  if (socket_ >= 0) close(std::exchange(socket_, -1));
}

bool Client::send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

bool Client::fill() {
  char bytes[65536];
  const ssize_t count = recv(socket_, bytes, sizeof bytes, 0);
  if (count <= 0) return false;
  buffer_.append(bytes, static_cast<std::size_t>(count));
  return true;
}

std::optional<std::string> Client::take(std::size_t count) {
  while (buffer_.size() < count) {
    if (!fill()) return std::nullopt;
  }
  std::string taken = buffer_.substr(0, count);
  buffer_.erase(0, count);
  return taken;
}

Response Client::readResponse(bool hasBody) {
  Response response;
  std::size_t end = 0;
  while ((end = buffer_.find("\r\n\r\n")) == std::string::npos) {
    if (!fill()) return response;
  }
  response.head = *take(end + 4);
  response.status = std::stoi(response.head.substr(9, 3));
  for (std::size_t at = response.head.find("\r\n") + 2; at + 2 < response.head.size();) {
    const std::size_t next = response.head.find("\r\n", at);
    const std::string line = response.head.substr(at, next - at);
    response.headers[line.substr(0, line.find(':'))] = line.substr(line.find(':') + 2);
    at = next + 2;
  }
  if (hasBody && response.headers.contains("Content-Length")) {
    response.body =
        take(std::stoul(response.headers["Content-Length"])).value_or("<the body is cut off>");
  }
  return response;
}

Frame Client::readFrame() {
  const auto head = take(2);
  if (!head) return {};
  const auto byte = [](char c) { return static_cast<unsigned char>(c); };
  std::size_t size = byte((*head)[1]) & 0x7F;
  if (size >= 126) {
    const auto length = take(size == 126 ? 2 : 8);
    if (!length) return {};
    size = 0;
    for (const char c : *length) size = size * 256 + byte(c);
  }
  auto payload = take(size);
  if (!payload) return {};
  return {byte((*head)[0]) & 0x0F, std::move(*payload)};
}

std::string Client::next() {
  Frame frame = readFrame();
  while (frame.opcode == kPing) frame = readFrame();
  return show(frame);
}

std::string Client::rest() {
  errno = 0;
  while (fill()) {
  }
  if (errno == EAGAIN) buffer_ += "<silence>";
  return std::exchange(buffer_, {});
}

void Client::closePage() {
  send(frameOf(kClose, "\x03\xE9"));
  rest();
  vanish();
}

std::span<const PageFile> testPage() {
  static const std::array<PageFile, 2> files{{
      {"index.html", "text/html; charset=utf-8", "<!doctype html><title>Desk</title>\n"},
      {"parts/app.js", "text/javascript; charset=utf-8", "export {};\n"},
  }};
  return files;
}

RunningServer::RunningServer(Limits limits, Clock clock, const std::u16string& listen) {
  ServiceSettings settings;
  settings.files = testPage();
  settings.limits = limits;
  if (clock) settings.clock = std::move(clock);
  server = makeWebServer(settings);
  CComBSTR said;
  const HRESULT result = server->Start(CComBSTR(listen), desk, &said);
  address = toUtf8(said.View());
  if (result != S_OK) throw std::runtime_error(address);
  const std::size_t query = address.find("/?token=");
  token = address.substr(query + 8);
  port = static_cast<std::uint16_t>(std::stoi(address.substr(address.rfind(':', query) + 1)));
  Client client(port, listen.find(u'[') == listen.npos ? "127.0.0.1" : "::1");
  client.send("GET /?token=" + token + " HTTP/1.1\r\nHost: " + host() + "\r\n\r\n");
  const std::string given = client.readResponse().headers["Set-Cookie"];
  cookie = given.substr(0, given.find(';'));
}

std::string RunningServer::request(std::string_view target, const std::string& more) const {
  return "GET " + std::string(target) + " HTTP/1.1\r\nHost: " + host() + "\r\nCookie: " + cookie +
         "\r\n" + more + "\r\n";
}

Response RunningServer::get(std::string_view target) {
  Client client(port);
  client.send(request(target));
  return client.readResponse();
}

std::string RunningServer::upgrade(const std::string& origin) const {
  return request("/socket", (origin.empty() ? "" : "Origin: " + origin + "\r\n") +
                                "Connection: Upgrade\r\nUpgrade: websocket\r\n"
                                "Sec-WebSocket-Version: 13\r\n"
                                "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n");
}

int RunningServer::askForPage(Client& client) {
  client.send(upgrade("http://" + host()));
  return client.readResponse().status;
}

Client RunningServer::openPage(PageNumber page) {
  Client client(port);
  EXPECT_EQ(askForPage(client), 101);
  EXPECT_EQ(desk->next(), "opened " + std::to_string(page));
  return client;
}

}  // namespace qx::web
