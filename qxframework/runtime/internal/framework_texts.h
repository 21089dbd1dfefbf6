#pragma once

// The framework's own module, its texts, and the boxes that the runtime shows in the client.

#include "qxframework/automation/bstr.h"
#include "qxframework/host/enums.h"
#include "qxframework/os/module.h"

class IApplication;

namespace qx {

/// The internal name by which the framework's module is found.
inline constexpr OLECHAR kFrameworkModule[] = u"QXFramework.dll";

/// String ids of the framework; the same numbers stand in its string tables.
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

HINSTANCE frameworkModule();

/// String `id` of the framework's module in `language`, an empty text when there is none.
CComBSTR frameworkText(FrameworkText id, HvLanguages language);

/// Shows `text` in the client with one button. A client that cannot show it is no failure of the
/// caller, who has one to report already.
void showInClient(IApplication* application, const CComBSTR& text, const CComBSTR& button,
                  const CComBSTR& otherButtons);

}  // namespace qx
