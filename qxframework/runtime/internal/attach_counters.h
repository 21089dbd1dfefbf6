#pragma once

// The number of add-ons attached to each running client, over all add-on processes of the machine.
// An add-on that stops learns from it whether it is the client's last. The index is the host's
// application number.

namespace qx {

/// The name of the shared block. Frozen: add-ons of different releases count together.
inline constexpr char16_t kAttachCounters[] = u"AttachCounters";

/// Opens the counters, which makes this process one of their users until it ends.
void openAttachCounters() noexcept;

/// Adds 1. Returns E_FAIL for an application number of 50 or more, or if the shared memory cannot
/// be opened. For a negative number, returns 0 and counts nothing.
long incAttachCount(long appId) noexcept;
/// Subtracts 1; a counter at 0 stays 0. Returns E_FAIL for an application number below 0 or above
/// 49, or if the shared memory cannot be opened.
long decAttachCount(long appId) noexcept;
/// Returns the counter, or 0 for an application number that has none.
long getAttachCount(long appId) noexcept;

}  // namespace qx
