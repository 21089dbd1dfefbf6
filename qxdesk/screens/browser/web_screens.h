#pragma once

// Shows the screens of a desk in browsers: makes the web server by its class id and starts it.

#include "qxdesk/screens/browser/desk_pages.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qx::screens {

/// Reports that the screens cannot be shown in browsers. what() is a sentence in UTF-8 with the
/// reason and the remedy.
class WebScreensError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Listens at `address`, such as "127.0.0.1:0", and prints the line with the address to open.
/// Returns the binding of the desk to the pages, which stops the server at its end. Throws
/// WebScreensError.
std::unique_ptr<DeskPages> showInBrowsers(Desk& desk, DeskPages::Keep keep,
                                          const std::string& address,
                                          const std::function<void(std::string_view)>& print);

}  // namespace qx::screens
