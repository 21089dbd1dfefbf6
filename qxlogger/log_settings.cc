#include "qxlogger/log_settings.h"

#include "qxlogger/record.h"
#include "qxlogger/text.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace qx::logger {
namespace {

constexpr std::size_t kFormCapacity = 10;

}  // namespace

bool LogSettings::matchesModule(std::u16string_view recordModule) const {
  const bool maybeCut = module.size() == kFormCapacity && recordModule.size() > kFormCapacity;
  return equalIgnoringCase(module, maybeCut ? recordModule.substr(0, kFormCapacity) : recordModule);
}

LogSettings withinLimits(LogSettings settings) {
  if (settings.fileCount < kLeastFileCount) settings.fileCount = LogSettings{}.fileCount;
  settings.fileCount = std::min(settings.fileCount, kMostFileCount);
  settings.fileSize = std::clamp(settings.fileSize, kLeastFileSize, kMostFileSize);
  settings.level = std::clamp(settings.level, kError, kDebug2);
  return settings;
}

}  // namespace qx::logger
