#include "qxlogger/log_settings.h"

#include "qxframework/automation/text.h"
#include "qxlogger/record.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace qx::logger {
namespace {

// The settings form has room for this many characters.
constexpr std::size_t kFormCapacity = 10;

}  // namespace

bool LogSettings::matchesModule(std::u16string_view recordModule) const {
  const bool maybeCut = module.size() == kFormCapacity && recordModule.size() > kFormCapacity;
  return equalsIgnoreCase(module, maybeCut ? recordModule.substr(0, kFormCapacity) : recordModule);
}

LogSettings withinLimits(LogSettings settings) {
  // Unlike the other values, a file count below its range becomes the default and not the minimum.
  if (settings.fileCount < kLeastFileCount) settings.fileCount = LogSettings{}.fileCount;
  settings.fileCount = std::min(settings.fileCount, kMostFileCount);
  settings.fileSize = std::clamp(settings.fileSize, kLeastFileSize, kMostFileSize);
  settings.level = std::clamp(settings.level, kError, kDebug2);
  return settings;
}

}  // namespace qx::logger
