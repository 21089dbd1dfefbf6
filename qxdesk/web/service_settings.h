#pragma once

#include "qxdesk/web/limits.h"
#include "qxdesk/web/page_files.h"

#include <chrono>
#include <functional>
#include <span>

namespace qx::web {

using Clock = std::function<std::chrono::steady_clock::time_point()>;

/// What a server serves and what it allows; tests hand in their own.
struct ServiceSettings {
  std::span<const PageFile> files = {};
  Limits limits = {};
  Clock clock = [] { return std::chrono::steady_clock::now(); };
};

}  // namespace qx::web
