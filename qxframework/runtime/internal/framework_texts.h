#pragma once

// The framework's own module, its texts, and the boxes that the runtime shows in the client.

#include "qxframework/automation/bstr.h"
#include "qxframework/host/enums.h"
#include "qxframework/os/module.h"

class IApplication;

namespace qx {

/// The internal name in the version block of the framework's module, by which it is found.
inline constexpr OLECHAR kFrameworkModule[] = u"QXFramework.dll";

/// String ids of the framework. Frozen: its string tables use the same numbers.
enum FrameworkText : unsigned {
  kTextOk = 1,
  kTextExit = 101,
  kTextUpgrade = 102,
  kTextInitializationFailed = 202,
  kTextRestartUpgrade = 700,
  kTextReallyRestartUpgrade = 701,
  kTextQuit = 550,
  kTextLogSettings = 551,
  kTextSetUpFailed = 600,
  kTextNoResponse = 602,
};

/// Returns null if no loaded module has that name.
HINSTANCE frameworkModule();

/// Returns string `id` of the framework's module in `language`, or an empty text if it has none.
CComBSTR frameworkText(FrameworkText id, HvLanguages language);

/// Shows `text` in a box of the client with one button. Failures are ignored, since the caller is
/// reporting a failure already.
void showInClient(IApplication* application, const CComBSTR& text, const CComBSTR& button,
                  const CComBSTR& otherButtons);

}  // namespace qx
