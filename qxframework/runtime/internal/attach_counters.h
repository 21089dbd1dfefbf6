#pragma once

// How many add-ons are attached to each running client, over all add-on processes of the machine:
// it tells an add-on whether it is the last one out. The index is the host's application number.

namespace qx {

/// The name of the shared block. Frozen: add-ons of different releases count together.
inline constexpr char16_t kAttachCounters[] = u"AttachCounters";

/// Opens the counters now, so that this process is one of their users from here on.
void openAttachCounters() noexcept;

/// E_FAIL for an application number of 50 or more, or when the machine does not let us count. A
/// negative number is no error and counts nothing.
long incAttachCount(long appId) noexcept;
/// E_FAIL for an application number below 0 or of 50 or more, or when the machine does not let us
/// count. A counter at 0 stays there.
long decAttachCount(long appId) noexcept;
/// 0 for an application number without a counter.
long getAttachCount(long appId) noexcept;

}  // namespace qx
