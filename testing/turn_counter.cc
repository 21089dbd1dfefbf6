#include "testing/turn_counter.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <vector>

namespace qx::test {

namespace {

constexpr std::string_view kServer = "Server=";
constexpr std::string_view kPort = "Port=";

// Returns the place and length of the value of a key.
std::pair<std::size_t, std::size_t> valueOf(const std::string& connection, std::string_view key) {
  const std::size_t at = connection.find(key);
  if (at == std::string::npos) return {connection.size(), 0};
  const std::size_t from = at + key.size();
  return {from, std::min(connection.find(';', from), connection.size()) - from};
}

sockaddr_un addressOf(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (path.size() >= sizeof address.sun_path) throw std::runtime_error("too long: " + path);
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

int openSocket() {
  const int opened = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (opened < 0) throw std::runtime_error("no socket");
  return opened;
}

struct Pair {
  int client = -1;
  int server = -1;
  bool answered = true;  // the server spoke last
};

// Passes on what one side has sent. Returns false at its end.
bool pass(int from, int to) {
  std::array<char, 64 * 1024> bytes{};
  const ssize_t got = read(from, bytes.data(), bytes.size());
  for (ssize_t sent = 0; sent < got;) {
    const ssize_t part =
        send(to, bytes.data() + sent, static_cast<std::size_t>(got - sent), MSG_NOSIGNAL);
    if (part <= 0) return false;
    sent += part;
  }
  return got > 0;
}

}  // namespace

TurnCounter::TurnCounter(std::string connection) : connection_(std::move(connection)) {
  std::string folder = (std::filesystem::temp_directory_path() / "qx_turns_XXXXXX").string();
  if (mkdtemp(folder.data()) == nullptr) throw std::runtime_error("no temporary folder");
  folder_ = folder;
  const auto [port, portLength] = valueOf(connection_, kPort);
  const std::string name =
      "/.s.PGSQL." + (portLength > 0 ? connection_.substr(port, portLength) : "5432");
  const auto [at, length] = valueOf(connection_, kServer);
  server_ = connection_.substr(at, length) + name;
  connection_.replace(at, length, folder);
  const sockaddr_un address = addressOf(folder + name);
  listener_ = openSocket();
  if (bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
      listen(listener_, 8) != 0 || pipe(stop_) != 0) {
    throw std::runtime_error("the relay does not start");
  }
  thread_ = std::thread([this] { relay(); });
}

TurnCounter::~TurnCounter() {
  close(stop_[1]);
  thread_.join();
  close(stop_[0]);
  close(listener_);
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void TurnCounter::relay() {
  std::vector<Pair> pairs;
  for (;;) {
    std::vector<pollfd> waited = {{stop_[0], POLLIN, 0}, {listener_, POLLIN, 0}};
    for (const Pair& pair : pairs) {
      waited.push_back({pair.client, POLLIN, 0});
      waited.push_back({pair.server, POLLIN, 0});
    }
    if (poll(waited.data(), waited.size(), -1) < 0 || waited[0].revents != 0) break;
    for (std::size_t i = pairs.size(); i-- > 0;) {
      Pair& pair = pairs[i];
      bool open = true;
      // The server first: what the client sends after an answer begins a turn.
      if (waited[2 * i + 3].revents != 0) {
        open = pass(pair.server, pair.client);
        pair.answered = true;
      }
      if (open && waited[2 * i + 2].revents != 0) {
        // Counted before the server has it, and so before the client can have the answer.
        if (pair.answered) ++turns_;
        pair.answered = false;
        open = pass(pair.client, pair.server);
      }
      if (open) continue;
      close(pair.client);
      close(pair.server);
      pairs.erase(pairs.begin() + static_cast<std::ptrdiff_t>(i));
    }
    if (waited[1].revents == 0) continue;
    Pair pair{accept(listener_, nullptr, nullptr), openSocket()};
    const sockaddr_un address = addressOf(server_);
    if (connect(pair.server, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
      pairs.push_back(pair);
    } else {
      close(pair.client);
      close(pair.server);
    }
  }
  for (const Pair& pair : pairs) {
    close(pair.client);
    close(pair.server);
  }
}

}  // namespace qx::test
