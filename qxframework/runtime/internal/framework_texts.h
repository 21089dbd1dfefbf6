#pragma once

// The texts that the runtime shows, and the boxes in which the client shows them.

#include "qxframework/util/framework_text.h"

class IApplication;

namespace qx {

/// String ids of the framework. Frozen: its string tables use the same numbers.
enum FrameworkText : unsigned {
  kTextOk = 1,
  kTextExit = 101,
  kTextUpgrade = 102,
  kTextInitializationFailed = 202,
  kTextWaitForStart = 229,
  kTextRestartUpgrade = 700,
  kTextReallyRestartUpgrade = 701,
  kTextQuit = 550,
  kTextLogSettings = 551,
  kTextSetUpFailed = 600,
  kTextNoResponse = 602,
};

/// Shows `text` in a box of the client with one button. Failures are ignored, since the caller is
/// reporting a failure already.
void showInClient(IApplication* application, const CComBSTR& text, const CComBSTR& button,
                  const CComBSTR& otherButtons);

}  // namespace qx
