#pragma once

// The interface of the logging component. The identities are frozen: an installed component and an
// installed add-on find each other by them.

#include "qxframework/automation/types.h"

namespace QXLoggerLib {

/// Severity of a record. The component records what is at or below the level of its settings.
enum HvSeverityLevel : int {
  sl_Error = 1,
  sl_Warning = 2,
  sl_Information = 3,
  sl_Debug0 = 4,
  sl_Debug1 = 5,
  sl_Debug2 = 6,
};

/// An instance is cheap: one is made for every traced function.
class IQXLogger : public IDispatch {
 public:
  static constexpr GUID kIid{
      0x8E2A41C7, 0x0002, 0x4D0F, {0xB1, 0x66, 0x7A, 0x3C, 0x95, 0x0E, 0x42, 0xD8}};
  /// Records one line. The texts are borrowed for the call. Never fails the caller for a full disk
  /// or an unwritable folder: the result is then S_FALSE.
  virtual HRESULT WriteLog(long appId, BSTR module, HvSeverityLevel level, BSTR function,
                           BSTR message) = 0;
  /// The settings in force: number of files kept per module, megabytes per file, highest severity
  /// number that is recorded, and the one module that is recorded (empty for all). `*module` is
  /// new and belongs to the caller.
  virtual HRESULT ReadSettings(long* fileCount, long* fileSize, long* level, BSTR* module) = 0;
  /// Stores the settings for all processes of the user, which honour them within a second.
  /// E_INVALIDARG for a file count outside 1 to 10, a size below 1 or a level outside 1 to 6.
  virtual HRESULT WriteSettings(long fileCount, long fileSize, long level, BSTR module) = 0;

 protected:
  ~IQXLogger() = default;
};

inline constexpr CLSID CLSID_QXLogger{
    0x8E2A41C7, 0x0001, 0x4D0F, {0xB1, 0x66, 0x7A, 0x3C, 0x95, 0x0E, 0x42, 0xD8}};

}  // namespace QXLoggerLib
