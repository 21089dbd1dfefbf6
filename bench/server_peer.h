#pragma once

// The peer of server_bench: the ODBC driver with one prepared statement. It has a file of its own,
// because the headers of ODBC and those of the framework define some types alike.

#include "qxframework/automation/civil_time.h"

#include <memory>
#include <string>
#include <string_view>

namespace qx::bench {

/// A row of the table @FEW; the texts are valid until the next one.
struct ServerRow {
  std::u16string_view code;
  std::u16string_view name;
  long count = 0;
  double price = 0;
  double share = 0;
  CivilTime from;
  CivilTime until;
  std::u16string_view note;
};

class ServerPeer {
 public:
  /// Connects and prepares. Throws std::runtime_error.
  explicit ServerPeer(const std::string& connection);
  ~ServerPeer();
  ServerPeer(const ServerPeer&) = delete;
  ServerPeer& operator=(const ServerPeer&) = delete;

  /// Reads the row of a code. Throws std::runtime_error if there is none.
  const ServerRow& read(std::u16string code);

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace qx::bench
