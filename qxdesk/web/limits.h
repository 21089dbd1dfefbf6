#pragma once

// What a browser may take of the process. Whatever exceeds a limit ends its own connection only.

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace qx::web {

struct Limits {
  std::size_t messageBytes = 64 * 1024;        ///< of one message of a page
  std::size_t pages = 8;                       ///< open at the same time
  std::size_t connections = 64;                ///< of all kinds, pages included
  double messagesPerSecond = 200;              ///< of one page
  double messageBurst = 400;                   ///< at once after a rest
  std::size_t queueBytes = 16 * 1024 * 1024;   ///< that wait to be sent to one page
  std::uint32_t headerBytes = 16 * 1024;       ///< of one request
  std::chrono::milliseconds request{10'000};   ///< for the arrival of a request, and for an answer
  std::chrono::milliseconds silence{60'000};   ///< of a page that does not answer pings either
  std::chrono::milliseconds farewell{10'000};  ///< for a page to confirm that it closes
  std::chrono::milliseconds stop{2'000};       ///< to send what is queued when the server stops
  std::chrono::milliseconds exit{200};         ///< the same if the process ends without a stop
};

}  // namespace qx::web
