#include "qxframework/runtime/internal/framework_texts.h"

#include "qxframework/host/application.h"

namespace qx {

// The raw operation, since a client that is gone must not turn the report of a failure into
// another.
void showInClient(IApplication* application, const CComBSTR& text, const CComBSTR& button,
                  const CComBSTR& otherButtons) {
  long pressed = 0;
  application->raw_MessageBox(text, 1, button, otherButtons, otherButtons, &pressed);
}

}  // namespace qx
