// The example `orders` with a second sink on its client, which prints each event as a line that
// begins with "event ". So the events of a script can be compared with those of a real browser.

#include "qxframework/automation/class_object.h"
#include "qxframework/automation/com_error.h"
#include "qxframework/automation/text.h"
#include "qxframework/host/gui_api.h"
#include "testing/event_lines.h"

#include <iostream>
#include <string>

// The main() of the example, which this program is built with under another name.
int ordersMain(int argc, char** argv);

namespace {

// Starts the client, which the add-on joins, since it has the same connection string.
CComPtr<IApplication> record(const char* connection) {
  CComPtr<IHalvexGuiApi> api;
  qx::raiseIfFailed(qx::createInstance(CLSID_HalvexGuiApi, CLSCTX_ALL, &api.p));
  qx::raiseIfFailed(api->Connect(CComBSTR(qx::toUtf16(connection))));
  CComPtr<IApplication> application = api->GetApplication(-1);
  qx::test::listEvents(application, [](const std::string& line) {
    std::cout << "event " + line + "\n" << std::flush;
  });
  return application;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::cerr << "usage: recorded_orders CONNECTION\n", 2;
  try {
    const CComPtr<IApplication> application = record(argv[1]);
    return ordersMain(argc, argv);
  } catch (const _com_error& error) {
    std::cerr << "the client cannot be recorded: " << error.Error() << '\n';
    return 1;
  }
}
