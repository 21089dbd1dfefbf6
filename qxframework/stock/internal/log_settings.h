#pragma once

// The settings of the logging component while the user edits them: read when the object is made,
// changed by rules that keep them valid, written back by Save.

#include "qxframework/automation/com_ptr.h"
#include "qxframework/logging/qx_logger.h"
#include "qxframework/runtime/critical_section.h"

#include <string>
#include <string_view>

class CLog {
 public:
  /// Reads the settings; without a logging component they have their defaults.
  CLog();

  /// Values out of range are replaced: a count below 1 by 2 and above 10 by 10, a size below 1 by
  /// 1, a level below 1 by 1 and above 3 by 6.
  void SetFileCount(long count);
  void SetFileSize(long megabytes);
  void SetLevel(long level);
  /// Stores the module in upper case, cut to 10 characters; null changes nothing.
  void SetModule(const OLECHAR* module);
  /// Writes the settings. Returns the component's result, or E_FAIL without one.
  long Save();

  long fileCount() const { return m_lFileCount; }
  long fileSize() const { return m_lFileSize; }
  long level() const { return m_lLevel; }
  std::u16string_view module() const { return m_strModule; }

 private:
  long Open();

  long m_lFileCount = 2;
  long m_lFileSize = 1;
  std::u16string m_strModule;  // empty for all modules
  long m_lLevel = 1;
  CComPtr<QXLoggerLib::IQXLogger> m_ptrLogger;
  qx::CriticalSection m_cs;
};
