#include "qxframework/runtime/internal/attach_counters.h"

#include "qxframework/automation/com_object.h"
#include "qxframework/os/shared_counters.h"

namespace qx {
namespace {

constexpr long kCount = static_cast<long>(SharedCounters::kCount);

// Never destroyed: a static add-on object lowers its counter while statics are being destroyed.
SharedCounters& counters() {
  static auto* const block = new SharedCounters(kAttachCounters);
  return *block;
}

}  // namespace

void openAttachCounters() noexcept {
  guarded([] { counters(); });
}

long incAttachCount(long appId) noexcept {
  if (appId >= kCount) return E_FAIL;
  if (appId < 0) return S_OK;
  return guarded([&] { counters().add(static_cast<std::size_t>(appId), 1); });
}

long decAttachCount(long appId) noexcept {
  if (appId < 0 || appId >= kCount) return E_FAIL;
  return guarded([&] {
    const auto index = static_cast<std::size_t>(appId);
    if (counters().get(index) != 0) counters().add(index, -1);
  });
}

long getAttachCount(long appId) noexcept {
  long count = 0;
  if (appId < 0 || appId >= kCount) return count;
  guarded([&] { count = counters().get(static_cast<std::size_t>(appId)); });
  return count;
}

}  // namespace qx
