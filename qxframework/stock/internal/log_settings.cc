#include "qxframework/stock/internal/log_settings.h"

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/text.h"
#include "qxframework/logging/function_log.h"

namespace {

constexpr std::size_t kModuleLength = 10;
constexpr long kDefaultFileCount = 2;
constexpr long kMostFiles = 10;
// From here on the levels are those of debugging, which are stored as one.
constexpr long kFirstDebugLevel = 4;
constexpr long kAllLevels = 6;

}  // namespace

CLog::CLog() {
  if (Open() < 0) return;
  long count = 0;
  long size = 0;
  long level = 0;
  CComBSTR module;
  if (m_ptrLogger->ReadSettings(&count, &size, &level, &module) < 0) return;
  // As they are: the setters' rules apply to what the user enters.
  m_lFileCount = count;
  m_lFileSize = size;
  m_lLevel = level;
  m_strModule = module.View().substr(0, kModuleLength);
}

void CLog::SetFileCount(long count) {
  m_lFileCount = count < 1 ? kDefaultFileCount : count > kMostFiles ? kMostFiles : count;
}

void CLog::SetFileSize(long megabytes) { m_lFileSize = megabytes < 1 ? 1 : megabytes; }

void CLog::SetLevel(long level) {
  m_lLevel = level < 1 ? 1 : level >= kFirstDebugLevel ? kAllLevels : level;
}

void CLog::SetModule(const OLECHAR* module) {
  if (module == nullptr) return;
  m_strModule = qx::toUpperByUnit(qx::viewOf(module).substr(0, kModuleLength));
}

long CLog::Save() {
  if (const long hr = Open(); hr < 0) return hr;
  return m_ptrLogger->WriteSettings(m_lFileCount, m_lFileSize, m_lLevel, CComBSTR(m_strModule));
}

// createLogger writes a line to the developer trace if there is no component.
long CLog::Open() {
  if (m_ptrLogger == nullptr) m_ptrLogger = qx::createLogger();
  return m_ptrLogger == nullptr ? E_FAIL : S_OK;
}
