#include "qxframework/logging/module_name.h"

#include "qxframework/logging/function_log.h"

#include <algorithm>

namespace qx {
namespace {

char16_t g_name[kMaxKeptModuleName];
std::size_t g_length{};

}  // namespace

void setLogModuleName(const std::u16string& name) {
  logModuleName() = CComBSTR(name);
  g_length = std::min(name.size(), kMaxKeptModuleName);
  name.copy(g_name, g_length);
}

std::u16string_view keptModuleName() { return {g_name, g_length}; }

}  // namespace qx
