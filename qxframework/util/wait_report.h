#pragma once

// The report that an add-on waits for another program, so that a user who sees an add-on hang knows
// for whom it waits.

#include "qxframework/automation/bstr.h"
#include "qxframework/automation/com_ptr.h"
#include "qxframework/host/enums.h"
#include "qxframework/os/lock_holder.h"

#include <chrono>
#include <functional>
#include <optional>

class IApplication;

namespace qx {

/// A lock that is waited for: its name in the log, and the string of the framework that users see,
/// a format of the holder's name. The strings' numbers are frozen.
struct Waiting {
  const OLECHAR* function;  ///< under which the log has the record
  const OLECHAR* what;
  unsigned text;
};

/// Returns the name of the holder in a language, such as "the program 'orders' (process 7)", or "an
/// unknown program".
CComBSTR nameOfHolder(const std::optional<LockHolder>& holder, HvLanguages language);
/// Returns what the database says of the holder, or "an unknown program" for an empty text.
CComBSTR nameOfHolder(const CComBSTR& holder, HvLanguages language);

/// Reports to the developer trace, to the log as a warning of `appId`, and, unless `application` is
/// null, to the user on the status bar. A client that cannot show it is no failure.
void reportWaiting(const Waiting& waiting, const std::function<CComBSTR(HvLanguages)>& holder,
                   std::chrono::seconds waited, long appId,
                   const CComPtr<IApplication>& application);

}  // namespace qx
