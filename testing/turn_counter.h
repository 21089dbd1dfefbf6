#pragma once

// Counts the turns to a PostgreSQL server: how often a client sends something and waits for the
// answer. It is a relay between the client and the server's socket, so it counts what the driver
// really does.

#include <atomic>
#include <filesystem>
#include <string>
#include <thread>

namespace qx::test {

class TurnCounter {
 public:
  /// Relays the connections to the server of an ODBC connection string whose Server is the folder
  /// of a socket. Throws std::runtime_error.
  explicit TurnCounter(std::string connection);
  ~TurnCounter();
  TurnCounter(const TurnCounter&) = delete;
  TurnCounter& operator=(const TurnCounter&) = delete;

  /// Returns the ODBC connection string of the relay.
  const std::string& connection() const { return connection_; }
  /// Returns the turns of all connections so far. A turn counts from its first byte on, so that all
  /// turns of a call count when the call returns.
  int turns() const { return turns_; }

 private:
  void relay();

  std::filesystem::path folder_;
  std::string server_;  // the path of the server's socket
  std::string connection_;
  int listener_ = -1;
  int stop_[2] = {-1, -1};  // a pipe; closing its end to write ends the thread
  std::atomic<int> turns_ = 0;
  std::thread thread_;
};

}  // namespace qx::test
