#pragma once

// The interface of the logging component. The identities are frozen: an installed component and an
// installed add-on find each other by them.

#include "qxframework/automation/types.h"

namespace QXLoggerLib {

/// Severity of a record. The component records those at or below the level of its settings.
enum HvSeverityLevel : int {
  sl_Error = 1,
  sl_Warning = 2,
  sl_Information = 3,
  sl_Debug0 = 4,
  sl_Debug1 = 5,
  sl_Debug2 = 6,
};

/// The logging component. Instances are cheap: every scope creates one.
class IQXLogger : public IDispatch {
 public:
  static constexpr GUID kIid{
      0x8E2A41C7, 0x0002, 0x4D0F, {0xB1, 0x66, 0x7A, 0x3C, 0x95, 0x0E, 0x42, 0xD8}};
  /// Records one line of the module. The texts, UTF-16, are borrowed for the call. Returns S_OK
  /// also if the settings drop the line. Returns S_FALSE, which is no failure, if the line is lost:
  /// for a level outside 1 to 6, a full disk or a folder that cannot be written.
  virtual HRESULT WriteLog(long appId, BSTR module, HvSeverityLevel level, BSTR function,
                           BSTR message) = 0;
  /// Returns the settings in force: the number of files per module, the megabytes per file, the
  /// highest severity number that is recorded, and the one module that is recorded, empty for all.
  /// The caller frees `*module`.
  virtual HRESULT ReadSettings(long* fileCount, long* fileSize, long* level, BSTR* module) = 0;
  /// Stores the settings for all processes of the user, which follow them within a second. Returns
  /// E_INVALIDARG for a file count outside 1 to 10, a size below 1 or a level outside 1 to 6, and
  /// another failure if the settings cannot be stored; the log has the reason.
  virtual HRESULT WriteSettings(long fileCount, long fileSize, long level, BSTR module) = 0;

 protected:
  ~IQXLogger() = default;
};

inline constexpr CLSID CLSID_QXLogger{
    0x8E2A41C7, 0x0001, 0x4D0F, {0xB1, 0x66, 0x7A, 0x3C, 0x95, 0x0E, 0x42, 0xD8}};

}  // namespace QXLoggerLib
