#pragma once

// The statements of this process's add-ons as they run, for a screen that shows them to the author.
// The company library has one log for all of its companies; it is activated by class id. Without a
// listener a statement costs one test of a pointer more.

#include "qxframework/automation/types.h"
#include "qxframework/host/ids.h"

#include <cstddef>
#include <cstdint>

namespace qx::desk {

inline constexpr CLSID kStatementLogClass = hostId(0x0305);

/// The most bytes of a statement's text that are reported.
inline constexpr std::size_t kStatementExcerpt = 4096;

/// A statement that has run. `text` is UTF-8 without a terminating zero, at most kStatementExcerpt
/// bytes of the statement, with passwords as "***".
struct StatementReport {
  const char* text = nullptr;
  std::size_t length = 0;
  long rows = -1;  ///< -1 if the statement is no query or failed
  std::int64_t microseconds = 0;
  long code = 0;  ///< 0, or the code with which the company refused it
};

class IStatementListener : public IUnknown {
 public:
  static constexpr GUID kIid = hostId(0x0321);
  /// Called on the thread of the statement. `report` is good for the call only.
  virtual void StatementRan(const StatementReport& report) noexcept = 0;

 protected:
  ~IStatementListener() = default;
};

class IStatementLog : public IUnknown {
 public:
  static constexpr GUID kIid = hostId(0x0322);
  /// Adds a listener. Returns E_POINTER for null.
  virtual HRESULT Attach(IStatementListener* listener) = 0;
  /// Returns E_INVALIDARG for a listener that is not attached.
  virtual HRESULT Detach(IStatementListener* listener) = 0;

 protected:
  ~IStatementLog() = default;
};

}  // namespace qx::desk
